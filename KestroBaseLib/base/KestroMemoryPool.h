#pragma once

#include <cstdint>

#include "TypeDef.h"

/**
 * The blocks behind a plan buffer: eight sizes from 16 KB to 4 MB, cut from chunks of 1 or 4 MB, and larger blocks with
 * a chunk of their own. A freed block waits for the next request of its size; the chunks go with `FreeAll` or with the
 * object, and every block with them. One thread at a time.
 *
 * Freeing null, or a block of 4 MB or less that is free already, does nothing.
 */
class CKestroMemoryPool {
public:
    /** Head of a chunk. */
    struct stu_MemoryPool {
        UINT m_nSize;
        /** Offset of the first byte that is not cut yet. */
        UINT m_nPos;
        stu_MemoryPool* m_pNext;
    };

    /** Head of a block; the user's bytes follow. */
    struct stu_BufferPool {
        /** The user's bytes. */
        UINT m_nSize;
        /** 1 while handed out. */
        BOOL m_bStatus;
        /** The next free block of the size. */
        stu_BufferPool* m_pNext;
    };

    CKestroMemoryPool() = default;
    CKestroMemoryPool(const CKestroMemoryPool&) = delete;
    CKestroMemoryPool& operator=(const CKestroMemoryPool&) = delete;
    ~CKestroMemoryPool() { FreeAll(); }

    /** A block aligned to 16, contents undefined, or null. `nSize` becomes the block's size, whatever the result. */
    [[nodiscard]] LPBYTE Alloc(UINT& nSize);
    void Free(LPBYTE lpBlock);
    /** Gives all memory back. The limit stays. */
    void FreeAll();

    /** Bytes taken from the heap, chunk heads included. It never falls before `FreeAll`, and counts failed attempts. */
    std::int64_t GetTotalSize() const { return m_nTotalSize; }
    /** The most that may be taken, 0 for no limit. */
    void SetMaxTotalSize(std::int64_t nSize) { m_nMaxTotalSize = nSize; }

protected:
    static constexpr int CLASS_COUNT = 8;

    /** Chunks with too little room left. */
    stu_MemoryPool* m_lpFullPool = nullptr;
    /** Chunks still to be cut; only the first is tried. */
    stu_MemoryPool* m_lpFreePool = nullptr;
    /** Chunks of one block above 4 MB. */
    stu_MemoryPool* m_lpBigPool = nullptr;
    /** Free blocks by size. */
    stu_BufferPool* m_lpBufferPool[CLASS_COUNT] = {};
    std::int64_t m_nTotalSize = 0;
    std::int64_t m_nMaxTotalSize = 0;
    /** Bytes counted against the limit. */
    std::int64_t m_nAllocedSize = 0;

private:
    bool AllocChunk(UINT nChunk);
    LPBYTE CutBlock(UINT nSize);
    LPBYTE AllocBig(UINT nSize);
    void FreeBig(LPBYTE lpBlock, UINT nSize);
};
static_assert(sizeof(CKestroMemoryPool) == 112);
static_assert(sizeof(CKestroMemoryPool::stu_MemoryPool) == 16);
static_assert(sizeof(CKestroMemoryPool::stu_BufferPool) == 16);
