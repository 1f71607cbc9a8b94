#pragma once

#include <bit>
#include <charconv>
#include <cstdint>

#include "VarData.h"

/** Bytes that `WriteFixed` may write. */
constexpr int FIXED_TEXT_SIZE = KESTRO_VALUE_TEXT_SIZE;

/**
 * Writes a double as "%f" does in the C locale, without a terminator, and answers the end. Below 10^12 the six places
 * are worked out exactly in 128 bits: the mantissa times 10^6, shifted, and rounded half to even like the C library.
 */
inline char* WriteFixed(double dblValue, char* lpOut) {
    constexpr double FAST_LIMIT = 1e12;
    constexpr int MANTISSA_BITS = 52, EXPONENT_BIAS = 1075;
    constexpr std::uint64_t PLACES = 1'000'000, HIDDEN_BIT = std::uint64_t{1} << MANTISSA_BITS;
    const auto uBits = std::bit_cast<std::uint64_t>(dblValue);
    const int nShift = EXPONENT_BIAS - static_cast<int>(uBits >> MANTISSA_BITS & 0x7FF);
    if (!(dblValue > -FAST_LIMIT && dblValue < FAST_LIMIT) || nShift <= 0)
        return std::to_chars(lpOut, lpOut + FIXED_TEXT_SIZE, dblValue, std::chars_format::fixed, 6).ptr;
    std::uint64_t uScaled = 0;
    // From this shift on the number is below half a unit of the last place.
    if (nShift < MANTISSA_BITS + 22) {
        const unsigned __int128 uProduct =
            static_cast<unsigned __int128>((uBits & (HIDDEN_BIT - 1)) | HIDDEN_BIT) * PLACES;
        const unsigned __int128 uHalf = static_cast<unsigned __int128>(1) << (nShift - 1);
        const unsigned __int128 uRest = uProduct & (2 * uHalf - 1);
        uScaled = static_cast<std::uint64_t>(uProduct >> nShift);
        uScaled += uRest > uHalf || (uRest == uHalf && (uScaled & 1) != 0);
    }
    if (uBits >> 63) *lpOut++ = '-';
    lpOut = std::to_chars(lpOut, lpOut + 20, uScaled / PLACES).ptr;
    *lpOut = '.';
    auto uFraction = static_cast<unsigned>(uScaled % PLACES);
    for (int i = 6; i > 0; --i, uFraction /= 10)
        lpOut[i] = static_cast<char>('0' + uFraction % 10);
    return lpOut + 7;
}
