#pragma once

#include <cstddef>
#include <cstdint>

#include "Poison.h"

/**
 * Bytes of freed chunks that a thread keeps for its next requests. Under AddressSanitizer it keeps none: each chunk is
 * a block of the heap, so that a use after the end of its life is found.
 */
constexpr std::size_t CHUNK_CACHE_BYTES = KESTRO_ADDRESS_SANITIZER ? 0 : 8 << 20;

/**
 * The one source of memory beneath the pools and the plan buffer: a block aligned to 16 bytes, contents undefined, or
 * null. A chunk of 2 MB or more begins at a huge page (less the 16 bytes of its head) and asks the kernel for such
 * pages. Freed chunks stay with the thread that freed them, up to `CHUNK_CACHE_BYTES`, because a page fresh from the
 * kernel costs more than most statements; they go to the heap at the thread's end. Any thread may free any chunk.
 */
[[nodiscard]] void* KestroChunkAlloc(std::size_t nSize) noexcept;

/** Takes a chunk back; null is nothing. */
void KestroChunkFree(void* lpChunk) noexcept;

/** Gives what the calling thread's cache holds to the heap. */
void KestroChunkTrim() noexcept;

/**
 * What the calling thread did. A chunk freed by another thread than the one that took it stays in the count of the
 * former, below zero, and of the latter; the sums over all threads are exact.
 */
struct CHUNKCOUNT {
    std::int64_t m_nLiveChunks;
    /** Bytes as they were requested. */
    std::int64_t m_nLiveBytes;
    /** Bytes in the cache; not live. */
    std::size_t m_nCachedBytes;
};

CHUNKCOUNT KestroChunkCount() noexcept;

/**
 * For tests: the `nNth` request of the calling thread from here on answers null, once; 0 takes that back. Answers how
 * many requests were left of an earlier order, 0 if it has come true.
 */
std::int64_t KestroChunkFailNth(std::int64_t nNth) noexcept;
