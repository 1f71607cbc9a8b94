#pragma once

#include <climits>
#include <cstring>

#include "ChunkCache.h"

/** Entries that a queue or a stack holds inside the object. */
constexpr int INNER_ENTRY_NUM = 64;

/**
 * Puts an array of twice the capacity in place of `pData`, with the old entries in its first half and zero in the
 * other. `lpInner` is the array inside the object, which is never freed. Without memory nothing changes.
 */
template <typename T>
[[nodiscard, gnu::noinline]] bool DoubleArray(T* lpInner, T*& pData, int& nCount) {
    if (nCount > INT_MAX / 2) return false;
    const std::size_t nBytes = static_cast<std::size_t>(nCount) * sizeof(T);
    auto* const lpNew = static_cast<T*>(KestroChunkAlloc(2 * nBytes));
    if (!lpNew) return false;
    std::memcpy(lpNew, pData, nBytes);
    std::memset(lpNew + nCount, 0, nBytes);
    if (pData != lpInner) KestroChunkFree(pData);
    pData = lpNew;
    nCount *= 2;
    return true;
}

/** Frees an array that lies outside the object, and goes back to the one inside. */
template <typename T>
void BackToInnerArray(T* lpInner, T*& pData, int& nCount) {
    if (pData != lpInner) KestroChunkFree(pData);
    pData = lpInner;
    nCount = INNER_ENTRY_NUM;
}
