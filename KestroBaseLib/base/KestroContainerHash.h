#pragma once

#include <cstddef>
#include <type_traits>

#include "TypeDef.h"

/** Characters of a name that a hash looks at. */
constexpr std::size_t HASHED_CHAR_NUM = 64;

/**
 * Hash of a text up to its terminator or `nMax` characters: the sum of its characters, bytes as signed, each shifted
 * left by its index modulo `SHIFT_NUM`, without its sign. The smallest number stays itself.
 */
template <unsigned SHIFT_NUM, typename CHAR>
int ContainerHash(const CHAR* lpszText, std::size_t nMax) {
    using SIGNED = std::conditional_t<sizeof(CHAR) == 1, signed char, int>;
    UINT nSum = 0;
    unsigned nShift = 0;
    for (const CHAR* p = lpszText; static_cast<std::size_t>(p - lpszText) < nMax && *p; ++p) {
        nSum += static_cast<UINT>(static_cast<SIGNED>(*p)) << nShift;
        if (++nShift == SHIFT_NUM) nShift = 0;
    }
    return static_cast<int>(static_cast<int>(nSum) < 0 ? 0 - nSum : nSum);
}
