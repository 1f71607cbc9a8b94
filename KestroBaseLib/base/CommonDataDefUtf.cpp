// UTF-8 to wide text and back. Decoding is lenient: a byte that fits no form stands for itself, so that text of another
// code page passes; only codes that UTF-16 can't hold are refused.

#include <algorithm>
#include <bit>
#include <climits>
#include <cstdint>
#include <cstring>
#include <cwchar>

#include "CommonDataDef.h"
#include "KestroBufferPool.h"

namespace {

constexpr UINT CODE_END = 0x110000;
constexpr UINT SURROGATE_FIRST = 0xD800;
constexpr UINT SURROGATE_LOW = 0xDC00;
constexpr UINT SURROGATE_END = 0xE000;
constexpr int MAX_SEQUENCE = 6;

/** Bytes of the form that a first byte announces; 1 also for a byte that begins no form. */
constexpr int SequenceLength(BYTE bFirst) {
    const int nOnes = std::countl_one(bFirst);
    return nOnes >= 2 && nOnes <= MAX_SEQUENCE ? nOnes : 1;
}

/** The code in `nBytes` bytes of one form. */
UINT Decode(const char* lpszText, int nBytes) {
    const auto bFirst = static_cast<BYTE>(*lpszText);
    if (nBytes == 1) return bFirst;
    UINT nCode = bFirst & (0x7Fu >> nBytes);
    for (int i = 1; i < nBytes; ++i)
        nCode = nCode << 6 | (static_cast<BYTE>(lpszText[i]) & 0x3F);
    return nCode;
}

/** Writes a code below CODE_END as 1 or 2 UTF-16 units. */
int PutUnits(UINT nCode, wchar_t* lpszWide) {
    if (nCode < 0x10000) {
        *lpszWide = static_cast<wchar_t>(nCode);
        return 1;
    }
    lpszWide[0] = static_cast<wchar_t>(SURROGATE_FIRST + ((nCode - 0x10000) >> 10));
    lpszWide[1] = static_cast<wchar_t>(SURROGATE_LOW + ((nCode - 0x10000) & 0x3FF));
    return 2;
}

/** The code at a wide text of at least one element, a pair of surrogates as one; `nUsed` counts the elements. */
UINT TakeUnits(const wchar_t* lpszWide, int nLen, int& nUsed) {
    const auto nHigh = static_cast<UINT>(lpszWide[0]);
    nUsed = 1;
    if (nHigh < SURROGATE_FIRST || nHigh >= SURROGATE_LOW || nLen < 2) return nHigh;
    const auto nLow = static_cast<UINT>(lpszWide[1]);
    if (nLow < SURROGATE_LOW || nLow >= SURROGATE_END) return nHigh;
    nUsed = 2;
    return 0x10000 + ((nHigh - SURROGATE_FIRST) << 10) + (nLow - SURROGATE_LOW);
}

/** Whether the 8 bytes at a text are ASCII, widened to `lpszWide` then. */
bool WidenAscii(const char* lpszText, wchar_t* lpszWide) {
    std::uint64_t nWord;
    std::memcpy(&nWord, lpszText, sizeof nWord);
    if ((nWord & 0x8080808080808080u) != 0) return false;
    for (int i = 0; i < 8; ++i)
        lpszWide[i] = static_cast<BYTE>(lpszText[i]);
    return true;
}

} // namespace

UINT KestroGetUnicode(const char* lpszText, int nLen, int& nUsed) {
    nUsed = 0;
    if (nLen <= 0) return 0;
    nUsed = SequenceLength(static_cast<BYTE>(*lpszText));
    if (nUsed > nLen) nUsed = 1;
    return Decode(lpszText, nUsed);
}

UINT KestroGetUnicode(const char* lpszText) {
    int nUsed;
    return KestroGetUnicode(lpszText, static_cast<int>(strnlen(lpszText, MAX_SEQUENCE)), nUsed);
}

int KestroCode2UTF8(UINT nCode, char* lpszText) {
    if (nCode >= CODE_END) return -1;
    if (nCode < 0x80) {
        *lpszText = static_cast<char>(nCode);
        return 1;
    }
    const int nBytes = nCode < 0x800 ? 2 : nCode < 0x10000 ? 3 : 4;
    for (int i = nBytes - 1; i > 0; --i, nCode >>= 6)
        lpszText[i] = static_cast<char>(0x80 | (nCode & 0x3F));
    lpszText[0] = static_cast<char>((0xF00u >> nBytes) | nCode);
    return nBytes;
}

int KestroCode2UTF16(UINT nSequence, wchar_t* lpszText) {
    char arBytes[4];
    int nBytes = 0;
    for (int nShift = 24; nShift >= 0; nShift -= 8)
        if (const UINT nRest = nSequence >> nShift; nRest != 0 || nShift == 0)
            arBytes[nBytes++] = static_cast<char>(nRest & 0xFF);
    const auto bFirst = static_cast<BYTE>(arBytes[0]);
    if ((bFirst >= 0x80 && nBytes == 1) || SequenceLength(bFirst) != nBytes) return -1;
    for (int i = 1; i < nBytes; ++i)
        if ((arBytes[i] & 0xC0) != 0x80) return -1;
    const UINT nCode = Decode(arBytes, nBytes);
    return nCode < CODE_END ? PutUnits(nCode, lpszText) : -1;
}

int KestroUTF82Unicode(const char* lpszText, int nLen, wchar_t* lpszWide, int nSize) {
    if (!lpszWide || nSize <= 0) return -1;
    const int nEnd = lpszText && nLen > 0 ? static_cast<int>(strnlen(lpszText, static_cast<std::size_t>(nLen))) : 0;
    const int nRoom = nSize - 1;
    int nPos = 0;
    int nOut = 0;
    bool bValid = true;
    while (nPos < nEnd && nOut < nRoom) {
        if (nEnd - nPos >= 8 && nRoom - nOut >= 8 && WidenAscii(lpszText + nPos, lpszWide + nOut)) {
            nPos += 8;
            nOut += 8;
            continue;
        }
        int nUsed;
        const UINT nCode = KestroGetUnicode(lpszText + nPos, nEnd - nPos, nUsed);
        bValid = nCode < CODE_END;
        if (!bValid || (nCode >= 0x10000 && nRoom - nOut < 2)) break;
        nOut += PutUnits(nCode, lpszWide + nOut);
        nPos += nUsed;
    }
    lpszWide[nOut] = 0;
    return bValid ? nOut : -1;
}

int KestroUnicode2UTF8(const wchar_t* lpszWide, int nLen, char* lpszText, int nSize) {
    if (!lpszText || nSize <= 0) return -1;
    const int nEnd = lpszWide && nLen > 0 ? static_cast<int>(wcsnlen(lpszWide, static_cast<std::size_t>(nLen))) : 0;
    const int nRoom = nSize - 1;
    int nOut = 0;
    bool bValid = true;
    for (int nPos = 0, nUsed = 0; nPos < nEnd; nPos += nUsed) {
        char arBytes[4];
        const int nBytes = KestroCode2UTF8(TakeUnits(lpszWide + nPos, nEnd - nPos, nUsed), arBytes);
        bValid = nBytes > 0;
        if (!bValid || nBytes > nRoom - nOut) break;
        std::memcpy(lpszText + nOut, arBytes, static_cast<std::size_t>(nBytes));
        nOut += nBytes;
    }
    lpszText[nOut] = 0;
    return bValid ? nOut : -1;
}

wchar_t* KestroConvertWChar(const char* lpszText, int nLen, CKestroBufferPool* lpPool) {
    // No character takes more elements than bytes.
    const auto nSize = static_cast<std::uint64_t>(std::max(nLen, 0)) + 1;
    if (nSize > INT_MAX / sizeof(wchar_t)) return nullptr;
    auto* lpszWide = static_cast<wchar_t*>(lpPool->AllocBuffer(static_cast<UINT>(nSize * sizeof(wchar_t))));
    const bool bConverted = lpszWide && KestroUTF82Unicode(lpszText, nLen, lpszWide, static_cast<int>(nSize)) >= 0;
    return bConverted ? lpszWide : nullptr;
}
