#pragma once

#include <array>

/** "00" to "99", from which numbers are written two digits at a time. */
inline constexpr auto kestro_int_c = [] {
    std::array<std::array<char, 2>, 100> arPairs{};
    for (int i = 0; i < 100; ++i)
        arPairs[i] = {static_cast<char>('0' + i / 10), static_cast<char>('0' + i % 10)};
    return arPairs;
}();
