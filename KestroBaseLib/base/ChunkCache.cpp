// Chunks from the heap, with a cache per thread in front of it: a stack of freed chunks for each size class, bounded in
// bytes over all classes. Eight classes an octave waste at most an eighth, and of that only addresses: whole pages that
// nobody touches are never committed. Small and very large requests go to the heap as they are.

#include "ChunkCache.h"

#include <sys/mman.h>

#include <bit>
#include <cstdlib>
#include <utility>

namespace {

/** In front of each chunk; 16 bytes, so that the chunk keeps the heap's alignment. */
struct CHUNKHEAD {
    union {
        /** Live: the bytes requested. */
        std::size_t m_nSize;
        /** Cached: the next chunk of the class. */
        CHUNKHEAD* m_pNext;
    };
    std::size_t m_nClass;
};
static_assert(sizeof(CHUNKHEAD) == 16);

constexpr std::size_t HUGE_PAGE_BYTES = 2 << 20;

/** The cached range, head included: above 1 KB, below which the heap is as quick, to all that the cache may hold. */
constexpr unsigned CHUNK_FIRST_OCTAVE = 10;
constexpr std::size_t CHUNK_CLASS_COUNT = (23 - CHUNK_FIRST_OCTAVE) * 8;
constexpr std::size_t CHUNK_NO_CLASS = CHUNK_CLASS_COUNT;

/** The class whose chunks hold `nBytes`; `nBytes` becomes their size. */
constexpr std::size_t TakeClass(std::size_t& nBytes) {
    if (nBytes <= std::size_t{1} << CHUNK_FIRST_OCTAVE || nBytes > CHUNK_CACHE_BYTES) return CHUNK_NO_CLASS;
    const unsigned nOctave = std::bit_width(nBytes - 1) - 1;
    const std::size_t nEighth = (nBytes - 1) >> (nOctave - 3);
    nBytes = (nEighth + 1) << (nOctave - 3);
    return (nOctave - CHUNK_FIRST_OCTAVE) * 8 + nEighth - 8;
}

/** The size of a class's chunks. */
constexpr std::size_t ClassBytes(std::size_t nClass) {
    return (nClass % 8 + 9) << (nClass / 8 + CHUNK_FIRST_OCTAVE - 3);
}
static_assert(ClassBytes(CHUNK_CLASS_COUNT - 1) == 8 << 20);

enum CHUNKSTATE : unsigned char {
    /** Nothing was freed yet, so the thread's end need not be watched. */
    CHUNK_IDLE,
    CHUNK_WATCHED,
    /** The thread ends: what its last objects free goes to the heap. */
    CHUNK_CLOSED
};

/** Plain data that needs no construction, so that reaching it costs no check. */
struct CHUNKCACHE {
    CHUNKHEAD* m_arrFree[CHUNK_CLASS_COUNT];
    std::size_t m_nCachedBytes;
    /** The class from which the next chunk goes when the cache is full. */
    std::size_t m_nHand;
    std::int64_t m_nLiveChunks;
    std::int64_t m_nLiveBytes;
    /** Requests up to the one that fails; 0 for none. */
    std::int64_t m_nFailNth;
    CHUNKSTATE m_nState;
};

constinit thread_local CHUNKCACHE t_stCache{};

CHUNKHEAD* PopChunk(std::size_t nClass) {
    CHUNKHEAD* const lpHead = t_stCache.m_arrFree[nClass];
    if (!lpHead) return nullptr;
    t_stCache.m_arrFree[nClass] = lpHead->m_pNext;
    t_stCache.m_nCachedBytes -= ClassBytes(nClass);
    return lpHead;
}

/** Frees one chunk after the other, each from another class in turn, until at most `nBytes` are left. */
[[gnu::noinline]] void ShrinkCache(std::size_t nBytes) {
    while (t_stCache.m_nCachedBytes > nBytes) {
        t_stCache.m_nHand = (t_stCache.m_nHand + 1) % CHUNK_CLASS_COUNT;
        std::free(PopChunk(t_stCache.m_nHand));
    }
}

struct CHUNKTHREADEND {
    ~CHUNKTHREADEND() {
        t_stCache.m_nState = CHUNK_CLOSED;
        ShrinkCache(0);
    }
};

void WatchThreadEnd() {
    [[maybe_unused]] static thread_local CHUNKTHREADEND t_stEnd;
    t_stCache.m_nState = CHUNK_WATCHED;
}

void* HeapBlock(std::size_t nBytes) {
    if (nBytes < HUGE_PAGE_BYTES) return std::malloc(nBytes);
    void* lpBlock = nullptr;
    if (posix_memalign(&lpBlock, HUGE_PAGE_BYTES, nBytes) != 0) return nullptr;
    // Whole huge pages only: one more for the last few bytes would be cleared for nothing. A refusal costs only speed.
    (void)madvise(lpBlock, nBytes & ~(HUGE_PAGE_BYTES - 1), MADV_HUGEPAGE);
    return lpBlock;
}

/** A block of the heap; when there is none, what the cache holds may be the memory that is missing. */
[[gnu::noinline]] CHUNKHEAD* HeapChunk(std::size_t nBytes) {
    void* lpBlock = HeapBlock(nBytes);
    if (!lpBlock && t_stCache.m_nCachedBytes != 0) {
        ShrinkCache(0);
        lpBlock = HeapBlock(nBytes);
    }
    return static_cast<CHUNKHEAD*>(lpBlock);
}

} // namespace

void* KestroChunkAlloc(std::size_t nSize) noexcept {
    if (t_stCache.m_nFailNth != 0 && --t_stCache.m_nFailNth == 0) return nullptr;
    if (nSize > PTRDIFF_MAX - sizeof(CHUNKHEAD)) return nullptr;
    std::size_t nBytes = nSize + sizeof(CHUNKHEAD);
    const std::size_t nClass = TakeClass(nBytes);
    CHUNKHEAD* lpHead = nClass == CHUNK_NO_CLASS ? nullptr : PopChunk(nClass);
    if (!lpHead) lpHead = HeapChunk(nBytes);
    if (!lpHead) return nullptr;
    lpHead->m_nSize = nSize;
    lpHead->m_nClass = nClass;
    ++t_stCache.m_nLiveChunks;
    t_stCache.m_nLiveBytes += static_cast<std::int64_t>(nSize);
    return lpHead + 1;
}

void KestroChunkFree(void* lpChunk) noexcept {
    if (!lpChunk) return;
    CHUNKHEAD* const lpHead = static_cast<CHUNKHEAD*>(lpChunk) - 1;
    --t_stCache.m_nLiveChunks;
    t_stCache.m_nLiveBytes -= static_cast<std::int64_t>(lpHead->m_nSize);
    if (t_stCache.m_nState == CHUNK_IDLE) WatchThreadEnd();
    const std::size_t nClass = lpHead->m_nClass;
    if (nClass == CHUNK_NO_CLASS || t_stCache.m_nState == CHUNK_CLOSED) return std::free(lpHead);
    const std::size_t nRoom = CHUNK_CACHE_BYTES - ClassBytes(nClass);
    if (t_stCache.m_nCachedBytes > nRoom) ShrinkCache(nRoom);
    lpHead->m_pNext = t_stCache.m_arrFree[nClass];
    t_stCache.m_arrFree[nClass] = lpHead;
    t_stCache.m_nCachedBytes += ClassBytes(nClass);
}

void KestroChunkTrim() noexcept {
    ShrinkCache(0);
}

CHUNKCOUNT KestroChunkCount() noexcept {
    return {t_stCache.m_nLiveChunks, t_stCache.m_nLiveBytes, t_stCache.m_nCachedBytes};
}

std::int64_t KestroChunkFailNth(std::int64_t nNth) noexcept {
    return std::exchange(t_stCache.m_nFailNth, nNth);
}
