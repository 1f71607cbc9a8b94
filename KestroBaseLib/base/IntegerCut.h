#pragma once

#include <limits>

/**
 * A double cut toward zero to an integer. What doesn't fit, NaN included, becomes the lowest integer, as the
 * processor's own conversion has it.
 */
template <typename T>
constexpr T CutTo(double dblValue) {
    constexpr double LOWEST = static_cast<double>(std::numeric_limits<T>::min());
    // The next double below the lowest 32-bit integer minus one is cut to it, so the bound is exclusive there.
    const bool bAboveLowest = sizeof(T) < 8 ? dblValue > LOWEST - 1 : dblValue >= LOWEST;
    return bAboveLowest && dblValue < -LOWEST ? static_cast<T>(dblValue) : std::numeric_limits<T>::min();
}

constexpr int CutToInt(double dblValue) {
    return CutTo<int>(dblValue);
}

constexpr long long CutToInt64(double dblValue) {
    return CutTo<long long>(dblValue);
}
