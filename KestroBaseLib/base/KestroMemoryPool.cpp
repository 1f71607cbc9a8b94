// Blocks in fixed sizes, cut from chunks and kept on free lists; above 4 MB a chunk for each block. The chunks come
// from the thread's chunk cache, so that a pool which lives for one statement costs no fresh page.

#include "KestroMemoryPool.h"

#include <algorithm>
#include <iterator>
#include <new>

#include "ChunkCache.h"
#include "Poison.h"

namespace {

using CHUNK = CKestroMemoryPool::stu_MemoryPool;
using BLOCK = CKestroMemoryPool::stu_BufferPool;

/** The sizes of blocks, ascending. There is none of 512 KB. */
constexpr UINT CLASS_SIZES[] = {0x4000, 0x8000, 0x10000, 0x20000, 0x40000, 0x100000, 0x200000, 0x400000};
static_assert(std::ranges::is_sorted(CLASS_SIZES));

/** Blocks up to 256 KB come from small chunks, all others from large ones. */
constexpr UINT SMALL_CHUNK_BLOCK = 0x40000;
constexpr UINT SMALL_CHUNK_SIZE = 0x100800;
constexpr UINT LARGE_CHUNK_SIZE = 0x400200;

/** A chunk with less left is full: not even the smallest block would fit. */
constexpr UINT CHUNK_FULL_BELOW = 0x4020;

/** What a chunk for one large block has beside the block's bytes. */
constexpr UINT BIG_CHUNK_EXTRA = 0x40;

/** The class of the smallest block that holds `nSize`; the count of classes if none does. */
std::size_t ClassOf(UINT nSize) {
    return static_cast<std::size_t>(std::ranges::lower_bound(CLASS_SIZES, nSize) - CLASS_SIZES);
}

LPBYTE BytesOf(BLOCK* lpBlock) {
    return reinterpret_cast<LPBYTE>(lpBlock + 1);
}

void FreeChunks(CHUNK*& lpList) {
    while (CHUNK* const lpChunk = lpList) {
        lpList = lpChunk->m_pNext;
        UnpoisonBytes(lpChunk, lpChunk->m_nSize);
        KestroChunkFree(lpChunk);
    }
}

} // namespace

LPBYTE CKestroMemoryPool::Alloc(UINT& nSize) {
    static_assert(std::size(CLASS_SIZES) == CLASS_COUNT);
    const std::size_t nClass = ClassOf(nSize);
    if (nClass == CLASS_COUNT) return AllocBig(nSize);
    nSize = CLASS_SIZES[nClass];
    if (stu_BufferPool* const lpBlock = m_lpBufferPool[nClass]) {
        m_lpBufferPool[nClass] = lpBlock->m_pNext;
        *lpBlock = {nSize, 1, nullptr};
        UnpoisonBytes(BytesOf(lpBlock), nSize);
        return BytesOf(lpBlock);
    }
    const bool bRoom = m_lpFreePool && nSize <= m_lpFreePool->m_nSize - sizeof(BLOCK) - m_lpFreePool->m_nPos;
    if (!bRoom && !AllocChunk(nSize <= SMALL_CHUNK_BLOCK ? SMALL_CHUNK_SIZE : LARGE_CHUNK_SIZE)) return nullptr;
    return CutBlock(nSize);
}

// A new chunk at the front of those to be cut.
bool CKestroMemoryPool::AllocChunk(UINT nChunk) {
    const bool bAllowed = m_nMaxTotalSize == 0 || m_nAllocedSize + (nChunk - 1) < m_nMaxTotalSize;
    // The totals count the attempt, refused and failed ones too. Intended.
    m_nAllocedSize += nChunk;
    m_nTotalSize += nChunk;
    void* const lpMemory = bAllowed ? KestroChunkAlloc(nChunk) : nullptr;
    if (!lpMemory) return false;
    m_lpFreePool = new (lpMemory) stu_MemoryPool{nChunk, sizeof(stu_MemoryPool), m_lpFreePool};
    PoisonBytes(m_lpFreePool + 1, nChunk - sizeof(stu_MemoryPool));
    return true;
}

// A block of the first chunk, which has room for it.
LPBYTE CKestroMemoryPool::CutBlock(UINT nSize) {
    stu_MemoryPool* const lpChunk = m_lpFreePool;
    LPBYTE lpMemory = reinterpret_cast<LPBYTE>(lpChunk) + lpChunk->m_nPos;
    UnpoisonBytes(lpMemory, sizeof(BLOCK) + nSize);
    lpChunk->m_nPos += static_cast<UINT>(sizeof(BLOCK)) + nSize;
    if (lpChunk->m_nSize - lpChunk->m_nPos < CHUNK_FULL_BELOW) {
        m_lpFreePool = lpChunk->m_pNext;
        lpChunk->m_pNext = m_lpFullPool;
        m_lpFullPool = lpChunk;
    }
    return BytesOf(new (lpMemory) BLOCK{nSize, 1, nullptr});
}

LPBYTE CKestroMemoryPool::AllocBig(UINT nSize) {
    const std::int64_t nChunk = std::int64_t{nSize} + BIG_CHUNK_EXTRA;
    // A refused block is no part of the sum that the limit is held against, but of the other. Intended.
    m_nTotalSize += nChunk;
    if (m_nMaxTotalSize != 0 && m_nAllocedSize + nSize > m_nMaxTotalSize) return nullptr;
    m_nAllocedSize += nSize;
    // The chunk's head has 32 bits for its size.
    void* const lpMemory = nChunk > UINT32_MAX ? nullptr : KestroChunkAlloc(static_cast<std::size_t>(nChunk));
    if (!lpMemory) return nullptr;
    const UINT nEnd = static_cast<UINT>(nChunk);
    m_lpBigPool = new (lpMemory) stu_MemoryPool{nEnd, nEnd, m_lpBigPool};
    return BytesOf(new (m_lpBigPool + 1) BLOCK{nSize, 1, nullptr});
}

void CKestroMemoryPool::Free(LPBYTE lpBlock) {
    if (!lpBlock) return;
    stu_BufferPool* const lpHead = reinterpret_cast<stu_BufferPool*>(lpBlock) - 1;
    if (lpHead->m_bStatus == 0) return;
    lpHead->m_bStatus = 0;
    const UINT nSize = lpHead->m_nSize;
    const std::size_t nClass = ClassOf(nSize);
    if (nClass == CLASS_COUNT || CLASS_SIZES[nClass] != nSize) return FreeBig(lpBlock, nSize);
    lpHead->m_pNext = m_lpBufferPool[nClass];
    m_lpBufferPool[nClass] = lpHead;
    PoisonBytes(lpBlock, nSize);
}

void CKestroMemoryPool::FreeBig(LPBYTE lpBlock, UINT nSize) {
    m_nAllocedSize -= nSize;
    const void* const lpChunk = lpBlock - sizeof(stu_BufferPool) - sizeof(stu_MemoryPool);
    for (stu_MemoryPool** lpLink = &m_lpBigPool; *lpLink; lpLink = &(*lpLink)->m_pNext) {
        if (*lpLink != lpChunk) continue;
        stu_MemoryPool* const lpFound = *lpLink;
        *lpLink = lpFound->m_pNext;
        return KestroChunkFree(lpFound);
    }
}

void CKestroMemoryPool::FreeAll() {
    std::ranges::fill(m_lpBufferPool, nullptr);
    FreeChunks(m_lpFullPool);
    FreeChunks(m_lpFreePool);
    FreeChunks(m_lpBigPool);
    m_nTotalSize = 0;
    m_nAllocedSize = 0;
}
