// Comparison without case, and change of case, 16 bytes or a word at a time. Both rest on one rule, the letters of one
// case among the bytes, found without a branch.

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "CommonDataDef.h"
#include "CommonDataDefChar.h"

static_assert(std::endian::native == std::endian::little, "the first byte of a lane is taken for its lowest");

namespace {

// A lane is a run of bytes handled at once. A text of half a lane to a whole one is taken by its two ends, which may
// overlap: what is compared or changed twice stays so.

/** 8 bytes in an integer. */
struct WORDLANE {
    static constexpr std::ptrdiff_t WIDTH = 8;
    std::uint64_t m_nBytes;

    static WORDLANE Load(const char* lpszText) {
        WORDLANE stLane;
        std::memcpy(&stLane.m_nBytes, lpszText, 8);
        return stLane;
    }
    static WORDLANE LoadEnds(const char* lpszText, std::ptrdiff_t nLen) {
        std::uint32_t arEnd[2];
        std::memcpy(&arEnd[0], lpszText, 4);
        std::memcpy(&arEnd[1], lpszText + nLen - 4, 4);
        return {arEnd[0] | std::uint64_t{arEnd[1]} << 32};
    }
    void Store(char* lpszText) const { std::memcpy(lpszText, &m_nBytes, 8); }
    void StoreEnds(char* lpszText, std::ptrdiff_t nLen) const {
        const std::uint32_t arEnd[2] = {static_cast<std::uint32_t>(m_nBytes),
                                        static_cast<std::uint32_t>(m_nBytes >> 32)};
        std::memcpy(lpszText, &arEnd[0], 4);
        std::memcpy(lpszText + nLen - 4, &arEnd[1], 4);
    }
    static constexpr WORDLANE Every(int nByte) { return {0x0101010101010101u * static_cast<BYTE>(nByte)}; }
    WORDLANE operator|(WORDLANE b) const { return {m_nBytes | b.m_nBytes}; }
    WORDLANE operator^(WORDLANE b) const { return {m_nBytes ^ b.m_nBytes}; }
    WORDLANE Without(WORDLANE b) const { return {m_nBytes & ~b.m_nBytes}; }
    /** 0x20 in each byte that lies in `cFirst` to `cFirst` + 25. No sum carries into the next byte. */
    WORDLANE LetterBits(char cFirst) const {
        const std::uint64_t nLow = m_nBytes & Every(0x7F).m_nBytes;
        const std::uint64_t nFrom = nLow + Every(0x80 - cFirst).m_nBytes;
        const std::uint64_t nBehind = nLow + Every(0x80 - cFirst - 26).m_nBytes;
        return {(nFrom & ~nBehind & ~m_nBytes & Every(0x80).m_nBytes) >> 2};
    }
    bool IsZero() const { return m_nBytes == 0; }
    /** Place of the first byte that is not zero. */
    int FirstByte() const { return std::countr_zero(m_nBytes) / 8; }
};

#ifdef __SSE2__
/** 16 bytes in a register. */
struct WIDELANE {
    static constexpr std::ptrdiff_t WIDTH = 16;
    __m128i m_stBytes;

    static WIDELANE Load(const char* lpszText) { return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(lpszText))}; }
    static WIDELANE LoadEnds(const char* lpszText, std::ptrdiff_t nLen) {
        return {_mm_unpacklo_epi64(_mm_loadu_si64(lpszText), _mm_loadu_si64(lpszText + nLen - 8))};
    }
    void Store(char* lpszText) const { _mm_storeu_si128(reinterpret_cast<__m128i*>(lpszText), m_stBytes); }
    void StoreEnds(char* lpszText, std::ptrdiff_t nLen) const {
        _mm_storeu_si64(lpszText, m_stBytes);
        _mm_storeu_si64(lpszText + nLen - 8, _mm_unpackhi_epi64(m_stBytes, m_stBytes));
    }
    static WIDELANE Every(int nByte) { return {_mm_set1_epi8(static_cast<char>(nByte))}; }
    WIDELANE operator|(WIDELANE b) const { return {_mm_or_si128(m_stBytes, b.m_stBytes)}; }
    WIDELANE operator^(WIDELANE b) const { return {_mm_xor_si128(m_stBytes, b.m_stBytes)}; }
    WIDELANE Without(WIDELANE b) const { return {_mm_andnot_si128(b.m_stBytes, m_stBytes)}; }
    /** The letters are moved to the 26 lowest signed bytes. */
    WIDELANE LetterBits(char cFirst) const {
        const __m128i stMoved = _mm_add_epi8(m_stBytes, Every(0x80 - cFirst).m_stBytes);
        const __m128i stLetter = _mm_cmplt_epi8(stMoved, Every(-128 + 26).m_stBytes);
        return {_mm_and_si128(stLetter, Every(0x20).m_stBytes)};
    }
    UINT ZeroMask() const {
        return static_cast<UINT>(_mm_movemask_epi8(_mm_cmpeq_epi8(m_stBytes, _mm_setzero_si128())));
    }
    bool IsZero() const { return ZeroMask() == 0xFFFF; }
    int FirstByte() const { return std::countr_one(ZeroMask()); }
};
#else
using WIDELANE = WORDLANE;
#endif

/** Not zero in each byte in which two lanes differ by more than the case of a letter. */
template <typename L>
inline L Unmatched(L stFirst, L stSecond) {
    return (stFirst ^ stSecond).Without((stFirst | L::Every(0x20)).LetterBits('a'));
}

/** Place of the first unmatched byte in two texts of half a lane to a whole one; `nLen` for none. */
template <typename L>
inline std::ptrdiff_t UnmatchedInEnds(const char* lpszFirst, const char* lpszSecond, std::ptrdiff_t nLen) {
    const L stUnmatched = Unmatched(L::LoadEnds(lpszFirst, nLen), L::LoadEnds(lpszSecond, nLen));
    if (stUnmatched.IsZero()) return nLen;
    const std::ptrdiff_t nByte = stUnmatched.FirstByte();
    return nByte < L::WIDTH / 2 ? nByte : nByte + nLen - L::WIDTH;
}

/** Place of the first unmatched byte in the lanes at two places, or -1. */
inline std::ptrdiff_t UnmatchedInPair(const char* lpszFirst, const char* lpszSecond, std::ptrdiff_t i,
                                      std::ptrdiff_t j) {
    using L = WIDELANE;
    const L stAtI = Unmatched(L::Load(lpszFirst + i), L::Load(lpszSecond + i));
    const L stAtJ = Unmatched(L::Load(lpszFirst + j), L::Load(lpszSecond + j));
    if ((stAtI | stAtJ).IsZero()) [[likely]]
        return -1;
    return stAtI.IsZero() ? j + stAtJ.FirstByte() : i + stAtI.FirstByte();
}

/** The same in texts of at least one lane; `nLen` for none. The last two lanes end with the text. */
inline std::ptrdiff_t UnmatchedInLanes(const char* lpszFirst, const char* lpszSecond, std::ptrdiff_t nLen) {
    constexpr std::ptrdiff_t WIDTH = WIDELANE::WIDTH;
    for (std::ptrdiff_t i = 0; nLen - i > 2 * WIDTH; i += 2 * WIDTH)
        if (const std::ptrdiff_t nFound = UnmatchedInPair(lpszFirst, lpszSecond, i, i + WIDTH); nFound >= 0)
            [[unlikely]]
            return nFound;
    const std::ptrdiff_t nLastButOne = nLen < 2 * WIDTH ? 0 : nLen - 2 * WIDTH;
    const std::ptrdiff_t nFound = UnmatchedInPair(lpszFirst, lpszSecond, nLastButOne, nLen - WIDTH);
    return nFound >= 0 ? nFound : nLen;
}

/** Place of the first byte in which two texts differ by more than the case of a letter; `nLen` for none. */
inline std::ptrdiff_t FirstUnmatched(const char* lpszFirst, const char* lpszSecond, std::ptrdiff_t nLen) {
    if (nLen >= WIDELANE::WIDTH) return UnmatchedInLanes(lpszFirst, lpszSecond, nLen);
    if (nLen >= WIDELANE::WIDTH / 2) return UnmatchedInEnds<WIDELANE>(lpszFirst, lpszSecond, nLen);
    if (nLen >= 4) return UnmatchedInEnds<WORDLANE>(lpszFirst, lpszSecond, nLen);
    for (std::ptrdiff_t i = 0; i < nLen; ++i)
        if (FoldToUpper(lpszFirst[i]) != FoldToUpper(lpszSecond[i])) return i;
    return nLen;
}

template <typename L>
inline L Changed(L stBytes, char cFirst) {
    return stBytes ^ stBytes.LetterBits(cFirst);
}

/** Changes the case of the 26 letters from `cFirst` on. */
void ChangeCase(char* lpszText, std::ptrdiff_t nLen, char cFirst) {
    using L = WIDELANE;
    if (nLen >= L::WIDTH) {
        char* lpszLast = lpszText + nLen - L::WIDTH;
        for (; lpszText < lpszLast; lpszText += L::WIDTH)
            Changed(L::Load(lpszText), cFirst).Store(lpszText);
        Changed(L::Load(lpszLast), cFirst).Store(lpszLast);
    } else if (nLen >= L::WIDTH / 2) {
        Changed(L::LoadEnds(lpszText, nLen), cFirst).StoreEnds(lpszText, nLen);
    } else if (nLen >= 4) {
        Changed(WORDLANE::LoadEnds(lpszText, nLen), cFirst).StoreEnds(lpszText, nLen);
    } else {
        for (std::ptrdiff_t i = 0; i < nLen; ++i)
            if (lpszText[i] >= cFirst && lpszText[i] < cFirst + 26) lpszText[i] ^= 0x20;
    }
}

/** A text's length as it counts in comparison: zero bytes at its end don't. */
inline std::ptrdiff_t ComparedLength(const char* lpszText, std::ptrdiff_t nLen) {
    if (nLen <= 0) return static_cast<std::ptrdiff_t>(std::strlen(lpszText));
    while (nLen > 0 && lpszText[nLen - 1] == 0)
        [[unlikely]]-- nLen;
    return nLen;
}

int UnsignedByte(char c) {
    return static_cast<BYTE>(c);
}

} // namespace

int CompareNoCase(const char* lpszFirst, const char* lpszSecond) {
    if (!lpszFirst || !lpszSecond)
        return static_cast<signed char>(lpszSecond ? *lpszSecond : 0) -
               static_cast<signed char>(lpszFirst ? *lpszFirst : 0);
    // Up to the terminator of the shorter, which is a difference like any other.
    std::ptrdiff_t nPos = 0;
    if (FoldToUpper(*lpszFirst) == FoldToUpper(*lpszSecond)) {
        const auto nCommon = static_cast<std::ptrdiff_t>(std::min(std::strlen(lpszFirst), std::strlen(lpszSecond)));
        nPos = FirstUnmatched(lpszFirst, lpszSecond, nCommon + 1);
        if (nPos > nCommon) return 0;
    }
    const signed char cFirst = FoldToUpper(lpszFirst[nPos]);
    const signed char cSecond = FoldToUpper(lpszSecond[nPos]);
    // The second less the first, against the custom. Intended: callers know the sign.
    return cSecond - cFirst;
}

int KestroCompareNoCase(const char* lpszFirst, const char* lpszSecond, int nLen) {
    if (!lpszSecond) return -1;
    if (!lpszFirst) return 1;
    const std::ptrdiff_t nPos = FirstUnmatched(lpszFirst, lpszSecond, nLen);
    return nPos >= nLen ? 0 : UnsignedByte(lpszFirst[nPos]) - UnsignedByte(lpszSecond[nPos]);
}

int KestroCompare(const char* lpszFirst, int nFirstLen, const char* lpszSecond, int nSecondLen, bool bCaseSensitive) {
    if (!lpszFirst) return lpszSecond ? -UnsignedByte(*lpszSecond) : 0;
    if (!lpszSecond) return UnsignedByte(*lpszFirst);
    const std::ptrdiff_t nFirst = ComparedLength(lpszFirst, nFirstLen);
    const std::ptrdiff_t nSecond = ComparedLength(lpszSecond, nSecondLen);
    const std::ptrdiff_t nCommon = std::min(nFirst, nSecond);
    if (bCaseSensitive) {
        const int nResult = std::memcmp(lpszFirst, lpszSecond, static_cast<std::size_t>(nCommon));
        if (nResult != 0) return nResult;
    } else {
        const std::ptrdiff_t nPos = FirstUnmatched(lpszFirst, lpszSecond, nCommon);
        if (nPos < nCommon)
            return UnsignedByte(FoldToUpper(lpszFirst[nPos])) - UnsignedByte(FoldToUpper(lpszSecond[nPos]));
    }
    return (nFirst > nSecond) - (nFirst < nSecond);
}

int CompareDouble(double dblFirst, double dblSecond) {
    if (dblFirst == dblSecond || std::fabs(dblFirst - dblSecond) < 0.000001) return 0;
    return dblFirst < dblSecond ? -1 : 1;
}

void KestroMakeUpper(char* lpszText, int nLen) {
    ChangeCase(lpszText, nLen, 'a');
}

void KestroMakeLower(char* lpszText, int nLen) {
    ChangeCase(lpszText, nLen, 'A');
}
