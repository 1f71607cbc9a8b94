#pragma once

// Inside of the decimal unit: the four base-10^9 groups of a value as one 128-bit integer, with powers of ten, digit
// counts and division by powers of ten. Everything works on magnitudes below 10^36 and below 2^120.

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#include "KestroDecimal.h"

__extension__ using UINT128 = unsigned __int128;

inline constexpr std::uint32_t DECIMAL_GROUP = 1'000'000'000;
inline constexpr std::uint64_t DECIMAL_HALF = 1'000'000'000'000'000'000;
inline constexpr int DECIMAL_GROUP_DIGITS = 9;

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

/** 10^36, the first magnitude that doesn't fit. */
inline constexpr UINT128 DECIMAL_LIMIT = DECIMAL_POWERS[DECIMAL_MAX_DIGITS];

/** Number of decimal digits, 0 for zero; up to 38 digits. */
inline int CountDigits(UINT128 nMagnitude) {
    const auto ullHigh = static_cast<std::uint64_t>(nMagnitude >> 64);
    const auto ullLow = static_cast<std::uint64_t>(nMagnitude);
    const int nBits = ullHigh ? 128 - std::countl_zero(ullHigh) : 64 - std::countl_zero(ullLow);
    // 1233 / 4096 is log10(2) from below; the estimate is right or one too low.
    const int nDigits = (nBits * 1233) >> 12;
    return nDigits + (nMagnitude >= DECIMAL_POWERS[nDigits]);
}

/** Groups in use, 1 for zero. */
inline int CountGroups(UINT128 nMagnitude) {
    if (nMagnitude < DECIMAL_HALF) return 1 + (nMagnitude >= DECIMAL_GROUP);
    return 3 + (nMagnitude >= DECIMAL_POWERS[27]);
}

/** The two base-10^18 halves of a magnitude. */
struct DECIMALHALVES {
    std::uint64_t m_ullHigh;
    std::uint64_t m_ullLow;
};

inline DECIMALHALVES SplitHalves(UINT128 nMagnitude) {
    if (nMagnitude < DECIMAL_HALF) return {0, static_cast<std::uint64_t>(nMagnitude)};
    // The top 64 of 120 bits times 2^123 / 10^18 give the quotient or one less.
    constexpr auto ullReciprocal = static_cast<std::uint64_t>((UINT128{1} << 123) / DECIMAL_HALF);
    const auto ullTop = static_cast<std::uint64_t>(nMagnitude >> 56);
    auto ullHigh = static_cast<std::uint64_t>((UINT128{ullTop} * ullReciprocal) >> 67);
    std::uint64_t ullLow = static_cast<std::uint64_t>(nMagnitude) - ullHigh * DECIMAL_HALF;
    if (ullLow >= DECIMAL_HALF) {
        ++ullHigh;
        ullLow -= DECIMAL_HALF;
    }
    return {ullHigh, ullLow};
}

/** Two groups as they lie in memory. */
inline std::uint64_t PackGroups(std::uint64_t ullHalf) {
    const std::uint64_t ullHigh = ullHalf / DECIMAL_GROUP;
    return ullHigh << 32 | (ullHalf - ullHigh * DECIMAL_GROUP);
}

inline std::uint64_t UnpackGroups(std::uint64_t ullPacked) {
    return (ullPacked >> 32) * DECIMAL_GROUP + static_cast<std::uint32_t>(ullPacked);
}

/** The bytes of the four groups: the record is packed, so nothing points at them as integers. */
inline const BYTE* DecimalGroups(const st_VARDATA* lpValue) {
    return reinterpret_cast<const BYTE*>(lpValue) + offsetof(st_VARDATA, m_arDecimalData);
}

inline BYTE* DecimalGroups(st_VARDATA* lpValue) {
    return reinterpret_cast<BYTE*>(lpValue) + offsetof(st_VARDATA, m_arDecimalData);
}

/** The groups as one integer below 10^36; groups that are out of range give some integer in that range. */
inline UINT128 LoadMagnitude(const st_VARDATA* lpValue) {
    std::uint64_t ullLow, ullHigh;
    std::memcpy(&ullLow, DecimalGroups(lpValue), 8);
    std::memcpy(&ullHigh, DecimalGroups(lpValue) + 8, 8);
    const UINT128 nMagnitude = UINT128{UnpackGroups(ullHigh)} * DECIMAL_HALF + UnpackGroups(ullLow);
    return nMagnitude < DECIMAL_LIMIT ? nMagnitude : DECIMAL_LIMIT - 1;
}

inline void StoreMagnitude(st_VARDATA* lpValue, UINT128 nMagnitude) {
    const DECIMALHALVES stHalves = SplitHalves(nMagnitude);
    const std::uint64_t ullLow = PackGroups(stHalves.m_ullLow);
    const std::uint64_t ullHigh = PackGroups(stHalves.m_ullHigh);
    std::memcpy(DecimalGroups(lpValue), &ullLow, 8);
    std::memcpy(DecimalGroups(lpValue) + 8, &ullHigh, 8);
}

/** Makes a value of its parts. Zero counts one group. */
inline void StoreDecimal(st_VARDATA* lpValue, bool bNegative, int nScale, UINT128 nMagnitude, BYTE bPrecision = 0) {
    lpValue->m_vt = VT_DECIMAL;
    lpValue->m_bSign = bNegative;
    lpValue->m_bScale = static_cast<signed char>(nScale);
    lpValue->m_bValid = static_cast<BYTE>(CountGroups(nMagnitude));
    lpValue->m_bPrecison = bPrecision;
    StoreMagnitude(lpValue, nMagnitude);
}

/** NULL, with no digits left for whoever reads on. */
inline void StoreNull(st_VARDATA* lpValue) {
    constexpr std::size_t nFace = offsetof(st_VARDATA, m_bSign);
    std::memset(reinterpret_cast<BYTE*>(lpValue) + nFace, 0, offsetof(st_VARDATA, m_nDataCount) - nFace);
    lpValue->m_vt = VT_NULL;
}

/** Copies the value; the counter of an aggregate stays. */
inline void CopyDecimal(st_VARDATA* lpTarget, const st_VARDATA* lpSource) {
    std::memmove(static_cast<void*>(lpTarget), lpSource, offsetof(st_VARDATA, m_nDataCount));
}

/** A product of two magnitudes. */
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
    std::array<DECIMALRECIPROCAL, 39> arReciprocals{};
    for (std::size_t i = 0; i < arReciprocals.size(); ++i) {
        const UINT128 nPower = DECIMAL_POWERS[i];
        int nBits = 0;
        while (nBits < 128 && nPower >> nBits != 0)
            ++nBits;
        // Long division of 2^(127 + bits), bit by bit; 10^0 gives all ones for want of a 129th bit.
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
        arReciprocals[i] = {i == 0 ? ~UINT128{0} : nQuotient, nBits};
    }
    return arReciprocals;
}();

/** A quotient by a power of ten, and whether the first digit dropped is 5 or more. */
struct DECIMALQUOTIENT {
    UINT128 m_nQuotient;
    bool m_bHalf;
};

/** Any 128-bit number / 10^nDigits, 1 to 38 digits. */
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

/** Writes the digits of N without leading zeros and without a terminator; answers how many, at least 1, at most 36. */
int WriteDecimalDigits(const st_VARDATA* lpValue, char* lpszText);
