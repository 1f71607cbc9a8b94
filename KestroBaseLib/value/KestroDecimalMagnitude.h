#pragma once

// Inside of the decimal unit: the forms in which it computes with the four base-10^9 groups of a value, and how they
// are loaded and stored. Packed groups, two in 64 bits, for sums of one scale; base-10^18 halves for products and
// digits that come or go at the end; one integer below 10^36 in 128 bits for the rest. Groups that are out of range
// give some number, but never one of over 36 digits where an index or a division depends on it.

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#include "KestroDecimal.h"

__extension__ using UINT128 = unsigned __int128;

inline constexpr std::uint32_t DECIMAL_GROUP = 1'000'000'000;
inline constexpr std::uint64_t DECIMAL_HALF = 1'000'000'000'000'000'000;
inline constexpr int DECIMAL_GROUP_DIGITS = 9;
inline constexpr int DECIMAL_HALF_DIGITS = 18;
/** The lowest scale that is held, and the range of what was brought to fit. */
inline constexpr int DECIMAL_MIN_SCALE = -128;
inline constexpr int DECIMAL_SCALE_LIMIT = 127;

/** 10^0 to 10^38. */
inline constexpr auto DECIMAL_POWERS = [] {
    std::array<UINT128, 39> arPowers{};
    UINT128 n = 1;
    for (UINT128& nPower : arPowers) {
        nPower = n;
        n *= 10;
    }
    return arPowers;
}();

/** 10^0 to 10^19. */
inline constexpr auto DECIMAL_POWERS64 = [] {
    std::array<std::uint64_t, 20> arPowers{};
    for (std::size_t i = 0; i < arPowers.size(); ++i)
        arPowers[i] = static_cast<std::uint64_t>(DECIMAL_POWERS[i]);
    return arPowers;
}();

/** 10^36, the first magnitude that doesn't fit. */
inline constexpr UINT128 DECIMAL_LIMIT = DECIMAL_POWERS[DECIMAL_MAX_DIGITS];

/** All ones if so, and the compiler makes no branch of it again: for what is random to the processor. */
inline std::uint64_t MaskOf(bool bSet) {
    std::uint64_t ullMask = -std::uint64_t{bSet};
    asm("" : "+r"(ullMask));
    return ullMask;
}

/** Number of decimal digits, 0 for zero; below 10^19. */
inline int CountDigits64(std::uint64_t ullNumber) {
    // 1233 / 4096 is log10(2) from below; the estimate is right or one too low. Zero counts as one bit: no case apart.
    const int nDigits = ((64 - std::countl_zero(ullNumber | 1)) * 1233) >> 12;
    return nDigits + (ullNumber >= DECIMAL_POWERS64[nDigits]);
}

/** Number of decimal digits, 0 for zero; up to 39 digits. */
inline int CountDigits(UINT128 nMagnitude) {
    const auto ullHigh = static_cast<std::uint64_t>(nMagnitude >> 64);
    const auto ullLow = static_cast<std::uint64_t>(nMagnitude);
    const int nBits = ullHigh ? 128 - std::countl_zero(ullHigh) : 64 - std::countl_zero(ullLow | 1);
    const int nDigits = (nBits * 1233) >> 12;
    return nDigits + (nMagnitude >= DECIMAL_POWERS[nDigits]);
}

/**
 * The four groups as they lie in memory, two by two in 64 bits. Two such pairs compare like the magnitudes, and sums of
 * groups don't run over 32 bits, so same-scale work needs no other form.
 */
struct PACKEDGROUPS {
    std::uint64_t m_ullLow;
    std::uint64_t m_ullHigh;

    friend bool operator==(const PACKEDGROUPS&, const PACKEDGROUPS&) = default;
    friend bool operator<(const PACKEDGROUPS& stFirst, const PACKEDGROUPS& stSecond) {
        return stFirst.Whole() < stSecond.Whole();
    }
    [[nodiscard]] bool IsZero() const { return (m_ullLow | m_ullHigh) == 0; }

private:
    [[nodiscard]] UINT128 Whole() const { return UINT128{m_ullHigh} << 64 | m_ullLow; }
};

/** Groups in use, 1 for zero. */
inline int CountGroups(const PACKEDGROUPS& stGroups) {
    const int nLow = 1 + (stGroups.m_ullLow >> 32 != 0), nHigh = 3 + (stGroups.m_ullHigh >> 32 != 0);
    return nLow + ((nHigh - nLow) & static_cast<int>(MaskOf(stGroups.m_ullHigh != 0)));
}

/** Below 10^18 into two groups, and back. */
inline std::uint64_t PackHalf(std::uint64_t ullHalf) {
    const std::uint64_t ullHigh = ullHalf / DECIMAL_GROUP;
    return ullHigh << 32 | (ullHalf - ullHigh * DECIMAL_GROUP);
}

inline std::uint64_t JoinPair(std::uint64_t ullPacked) {
    return (ullPacked >> 32) * DECIMAL_GROUP + static_cast<std::uint32_t>(ullPacked);
}

/** The same, where groups that are out of range give some number in the range. */
inline std::uint64_t UnpackHalf(std::uint64_t ullPacked) {
    const std::uint64_t ullHalf = JoinPair(ullPacked);
    if (ullHalf >= DECIMAL_HALF) [[unlikely]]
        return DECIMAL_HALF - 1;
    return ullHalf;
}

/** A number as base-10^18 halves. */
struct DECIMALHALVES {
    std::uint64_t m_ullLow;
    std::uint64_t m_ullHigh;
};

/** Splits a number below 2^122. */
inline DECIMALHALVES SplitHalves(UINT128 nNumber) {
    // The top 64 bits times 2^123 / 10^18 give the upper half or one less.
    constexpr auto ullReciprocal = static_cast<std::uint64_t>((UINT128{1} << 123) / DECIMAL_HALF);
    const std::uint64_t ullTop =
        static_cast<std::uint64_t>(nNumber >> 64) << 6 | static_cast<std::uint64_t>(nNumber) >> 58;
    const auto ullHigh = static_cast<std::uint64_t>((UINT128{ullTop} * ullReciprocal) >> 65);
    const std::uint64_t ullLow = static_cast<std::uint64_t>(nNumber) - ullHigh * DECIMAL_HALF;
    const bool bMore = ullLow >= DECIMAL_HALF;
    return {ullLow - (DECIMAL_HALF & MaskOf(bMore)), ullHigh + bMore};
}

inline PACKEDGROUPS PackHalves(const DECIMALHALVES& stHalves) {
    return {PackHalf(stHalves.m_ullLow), PackHalf(stHalves.m_ullHigh)};
}

inline DECIMALHALVES UnpackHalves(const PACKEDGROUPS& stGroups) {
    return {UnpackHalf(stGroups.m_ullLow), UnpackHalf(stGroups.m_ullHigh)};
}

/** Adds 0 or 1. Answers the digits that must be dropped for it: 1 where 36 nines became 10^36, which then is 10^35. */
inline int RoundHalves(DECIMALHALVES& stHalves, bool bUp) {
    stHalves.m_ullLow += bUp;
    if (stHalves.m_ullLow != DECIMAL_HALF) [[likely]]
        return 0;
    stHalves = {0, stHalves.m_ullHigh + 1};
    if (stHalves.m_ullHigh != DECIMAL_HALF) return 0;
    stHalves.m_ullHigh /= 10;
    return 1;
}

/** The groups as one integer below 10^36. */
inline UINT128 JoinGroups(const PACKEDGROUPS& stGroups) {
    return UINT128{UnpackHalf(stGroups.m_ullHigh)} * DECIMAL_HALF + UnpackHalf(stGroups.m_ullLow);
}

inline PACKEDGROUPS SplitMagnitude(UINT128 nMagnitude) {
    return PackHalves(SplitHalves(nMagnitude));
}

/** Multiplies by 10^nDigits, from 1 digit on; false, and nothing done, if there is no room. Zero has room for 36. */
inline bool RaiseGroups(PACKEDGROUPS& stGroups, int nDigits) {
    if (nDigits > DECIMAL_MAX_DIGITS) return false;
    if (nDigits > DECIMAL_HALF_DIGITS) {
        const std::uint64_t ullHalf = UnpackHalf(stGroups.m_ullLow);
        if (stGroups.m_ullHigh != 0 || ullHalf >= DECIMAL_POWERS64[DECIMAL_MAX_DIGITS - nDigits]) return false;
        stGroups = {0, PackHalf(ullHalf * DECIMAL_POWERS64[nDigits - DECIMAL_HALF_DIGITS])};
        return true;
    }
    const DECIMALHALVES stHalves = UnpackHalves(stGroups);
    if (stHalves.m_ullHigh >= DECIMAL_POWERS64[DECIMAL_HALF_DIGITS - nDigits]) return false;
    const std::uint64_t ullPower = DECIMAL_POWERS64[nDigits];
    const DECIMALHALVES stLow = SplitHalves(UINT128{stHalves.m_ullLow} * ullPower);
    stGroups = PackHalves({stLow.m_ullLow, stHalves.m_ullHigh * ullPower + stLow.m_ullHigh});
    return true;
}

/** The bytes of the four groups: the record is packed, so nothing points at them as integers. */
inline const BYTE* DecimalGroups(const st_VARDATA* lpValue) {
    return reinterpret_cast<const BYTE*>(lpValue) + offsetof(st_VARDATA, m_arDecimalData);
}

inline BYTE* DecimalGroups(st_VARDATA* lpValue) {
    return reinterpret_cast<BYTE*>(lpValue) + offsetof(st_VARDATA, m_arDecimalData);
}

inline PACKEDGROUPS LoadGroups(const st_VARDATA* lpValue) {
    PACKEDGROUPS stGroups;
    std::memcpy(&stGroups.m_ullLow, DecimalGroups(lpValue), 8);
    std::memcpy(&stGroups.m_ullHigh, DecimalGroups(lpValue) + 8, 8);
    return stGroups;
}

inline UINT128 LoadMagnitude(const st_VARDATA* lpValue) {
    return JoinGroups(LoadGroups(lpValue));
}

/** Sign, scale, group count and precision, which lie together and are loaded and stored in one piece. */
struct DECIMALHEAD {
    BYTE m_bSign;
    signed char m_bScale;
    BYTE m_bValid;
    BYTE m_bPrecison;
};

inline DECIMALHEAD LoadHead(const st_VARDATA* lpValue) {
    DECIMALHEAD stHead;
    std::memcpy(&stHead, reinterpret_cast<const BYTE*>(lpValue) + offsetof(st_VARDATA, m_bSign), sizeof(stHead));
    return stHead;
}

/** Makes a value of its parts; the count of groups is set here. */
inline void StoreDecimal(st_VARDATA* lpValue, DECIMALHEAD stHead, const PACKEDGROUPS& stGroups) {
    lpValue->m_vt = VT_DECIMAL;
    stHead.m_bValid = static_cast<BYTE>(CountGroups(stGroups));
    std::memcpy(reinterpret_cast<BYTE*>(lpValue) + offsetof(st_VARDATA, m_bSign), &stHead, sizeof(stHead));
    std::memcpy(DecimalGroups(lpValue), &stGroups.m_ullLow, 8);
    std::memcpy(DecimalGroups(lpValue) + 8, &stGroups.m_ullHigh, 8);
}

inline void StoreDecimal(st_VARDATA* lpValue, bool bNegative, int nScale, const PACKEDGROUPS& stGroups,
                         BYTE bPrecision = 0) {
    StoreDecimal(lpValue, {bNegative, static_cast<signed char>(nScale), 0, bPrecision}, stGroups);
}

inline void StoreDecimal(st_VARDATA* lpValue, bool bNegative, int nScale, UINT128 nMagnitude, BYTE bPrecision = 0) {
    StoreDecimal(lpValue, bNegative, nScale, SplitMagnitude(nMagnitude), bPrecision);
}

inline void StoreZero(st_VARDATA* lpValue, BYTE bPrecision) {
    StoreDecimal(lpValue, false, 0, PACKEDGROUPS{0, 0}, bPrecision);
}

/** What is left of a sum or product whose scale can't be held: a zero without digits. */
inline void StoreLostScale(st_VARDATA* lpValue) {
    StoreZero(lpValue, 0);
    lpValue->m_bValid = 0;
}

/** NULL, with no digits left for whoever reads on. */
inline void StoreNull(st_VARDATA* lpValue) {
    constexpr std::size_t nFace = offsetof(st_VARDATA, m_bSign);
    std::memset(reinterpret_cast<BYTE*>(lpValue) + nFace, 0, offsetof(st_VARDATA, m_nDataCount) - nFace);
    lpValue->m_vt = VT_NULL;
}

/** Copies the side flags in front of the number face. */
inline void CopyFlags(st_VARDATA* lpTarget, const st_VARDATA* lpSource) {
    std::memmove(static_cast<void*>(lpTarget), lpSource, offsetof(st_VARDATA, m_bSign));
}

/** Copies the value; the counter of an aggregate stays. */
inline void CopyDecimal(st_VARDATA* lpTarget, const st_VARDATA* lpSource) {
    std::memmove(static_cast<void*>(lpTarget), lpSource, offsetof(st_VARDATA, m_nDataCount));
}

/** A product of two 128-bit numbers. */
struct UINT256 {
    UINT128 m_nHigh;
    UINT128 m_nLow;
};

inline UINT256 MultiplyWide(UINT128 nFirst, UINT128 nSecond) {
    const auto ullFirst = static_cast<std::uint64_t>(nFirst), ullSecond = static_cast<std::uint64_t>(nSecond);
    const auto ullFirstHigh = static_cast<std::uint64_t>(nFirst >> 64);
    const auto ullSecondHigh = static_cast<std::uint64_t>(nSecond >> 64);
    const UINT128 nLow = UINT128{ullFirst} * ullSecond;
    const UINT128 nMiddle = UINT128{ullFirstHigh} * ullSecond + static_cast<std::uint64_t>(nLow >> 64);
    const UINT128 nOther = UINT128{ullFirst} * ullSecondHigh + static_cast<std::uint64_t>(nMiddle);
    return {UINT128{ullFirstHigh} * ullSecondHigh + (nMiddle >> 64) + (nOther >> 64),
            nOther << 64 | static_cast<std::uint64_t>(nLow)};
}

/**
 * Division by 10^n with a reciprocal instead of a divide: floor(2^(127 + bits) / 10^n), which fills 128 bits, where
 * bits is the length of 10^n (Granlund and Montgomery, "Division by invariant integers using multiplication", 1994).
 */
struct DECIMALRECIPROCAL {
    UINT128 m_nFactor;
    int m_nBits;
};

inline constexpr auto DECIMAL_RECIPROCALS = [] {
    std::array<DECIMALRECIPROCAL, DECIMAL_MAX_DIGITS + 1> arReciprocals{};
    for (std::size_t i = 1; i < arReciprocals.size(); ++i) {
        const UINT128 nPower = DECIMAL_POWERS[i];
        int nBits = 0;
        while (nBits < 128 && nPower >> nBits != 0)
            ++nBits;
        // Long division of 2^(127 + bits), bit by bit.
        UINT128 nRemainder = UINT128{1} << (nBits - 1), nQuotient = 0;
        for (int nBit = 0; nBit < 128; ++nBit) {
            const bool bCarry = nRemainder >> 127 != 0;
            nRemainder <<= 1;
            nQuotient <<= 1;
            if (bCarry || nRemainder >= nPower) {
                nRemainder -= nPower;
                nQuotient |= 1;
            }
        }
        arReciprocals[i] = {nQuotient, nBits};
    }
    return arReciprocals;
}();

/** A quotient by a power of ten, and whether the first digit dropped is 5 or more. */
struct DECIMALQUOTIENT {
    UINT128 m_nQuotient;
    bool m_bHalf;
};

/** Any 128-bit number / 10^nDigits, 1 to 36 digits. */
inline DECIMALQUOTIENT DividePower(UINT128 nNumber, int nDigits) {
    const DECIMALRECIPROCAL& stReciprocal = DECIMAL_RECIPROCALS[nDigits];
    const UINT128 nPower = DECIMAL_POWERS[nDigits];
    // The estimate is right or one too low.
    UINT128 nQuotient = MultiplyWide(nNumber, stReciprocal.m_nFactor).m_nHigh >> (stReciprocal.m_nBits - 1);
    UINT128 nRemainder = nNumber - nQuotient * nPower;
    if (nRemainder >= nPower) {
        ++nQuotient;
        nRemainder -= nPower;
    }
    return {nQuotient, nRemainder >= nPower / 2};
}

/** Magnitude / 10^nDigits, cut or rounded half up; any number of digits from 0. */
inline UINT128 DropDigits(UINT128 nMagnitude, int nDigits, bool bRound) {
    if (nDigits == 0) return nMagnitude;
    if (nDigits > DECIMAL_MAX_DIGITS) return 0;
    const DECIMALQUOTIENT stQuotient = DividePower(nMagnitude, nDigits);
    return stQuotient.m_nQuotient + (bRound && stQuotient.m_bHalf);
}

/** The 36 digits of a magnitude, followed by bytes that may be copied along, or be written. */
struct DIGITTEXT {
    char m_szText[2 * DECIMAL_MAX_DIGITS + 8];
    /** Digits without leading zeros, at least 1. */
    int m_nDigits;

    explicit DIGITTEXT(const PACKEDGROUPS& stGroups);
    /** The first of them. */
    [[nodiscard]] const char* Digits() const { return m_szText + DECIMAL_MAX_DIGITS - m_nDigits; }
};
