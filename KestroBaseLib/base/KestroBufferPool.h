#pragma once

#include <cstring>

#include "Poison.h"
#include "TypeDef.h"

class CBaseBson;

/**
 * How a pool takes its pages from a `CBaseBson` and gives them back. The floor of `CBaseBson` fills the table before
 * `main`, so whoever holds such an object finds it filled; a pool without one never looks at it.
 */
struct BSONPAGES {
    /** A page of at least `nSize` bytes, which becomes its true size, and the token that goes back with it; 0 or a
     * code. */
    int (*m_lpfnAlloc)(CBaseBson* pBson, LPBYTE& lpPage, UINT& nSize, void*& lpToken, int bZero);
    void (*m_lpfnFree)(CBaseBson* pBson, LPBYTE lpPage, void* lpToken);
};

extern BSONPAGES g_stBsonPages;

/**
 * Bump allocator over a list of pages: many small pieces, none freed singly, all given back by one `ResetBuffer` (the
 * pages stay) or `Free` (the pages go). Pieces lie at multiples of 4 from their page's start and are no more aligned
 * than that. One thread at a time.
 *
 * The owner sets the page size; without one each piece gets a page of its own. A failed allocation answers null and
 * leaves all earlier pieces in place.
 */
class CKestroBufferPool {
public:
    /** Head of a page. */
    struct stu_BufferPool {
        /** The limit for `m_nPos`: at most the page's bytes. */
        UINT m_nSize;
        /** The next free offset from the page's start, 24 in an empty page. */
        UINT m_nPos;
        /** The token of a page that came from a `CBaseBson`. */
        void* m_pPtr;
        stu_BufferPool* m_pNext;
    };

    CKestroBufferPool() = default;
    CKestroBufferPool(const CKestroBufferPool&) = delete;
    CKestroBufferPool& operator=(const CKestroBufferPool&) = delete;
    virtual ~CKestroBufferPool();

    /** `nSize` bytes, not cleared, or null. A size of 0 gives a pointer as well; the next piece may have the same. */
    virtual LPVOID AllocBuffer(UINT nSize) {
        if (LPVOID lpPiece = AllocFromFirstPage(nSize)) return lpPiece;
        return AllocFromOwnPages(nSize);
    }
    /** `AllocBuffer`, with the `nSize` bytes zero. */
    virtual LPVOID AllocBufferEx(UINT nSize) { return Cleared(AllocBuffer(nSize), nSize); }
    /** The pages to come hold `nSize` bytes and 40 more, which are the page's head and 16 spare. */
    virtual void SetPoolPageSize(UINT nSize);
    /** Gives all pages back. */
    virtual void Free();
    /** Empties all pages and keeps them. No piece survives it. */
    virtual void ResetBuffer();

protected:
    static constexpr UINT PAGE_HEAD_SIZE = sizeof(stu_BufferPool);

    static constexpr std::uint64_t PieceSize(UINT nSize) { return (std::uint64_t{nSize} + 3) & ~std::uint64_t{3}; }

    /** Whether a piece fits. An exact fit doesn't: a page's last byte is never handed out. */
    static bool HasRoom(const stu_BufferPool& stPage, std::uint64_t nPiece) {
        return nPiece + stPage.m_nPos < stPage.m_nSize;
    }

    static LPVOID Cut(stu_BufferPool& stPage, UINT nSize) {
        LPVOID lpPiece = reinterpret_cast<LPBYTE>(&stPage) + stPage.m_nPos;
        stPage.m_nPos += static_cast<UINT>(PieceSize(nSize));
        UnpoisonBytes(lpPiece, nSize);
        return lpPiece;
    }

    static LPVOID Cleared(LPVOID lpPiece, UINT nSize) { return lpPiece ? std::memset(lpPiece, 0, nSize) : nullptr; }

    /** A piece of the page tried first, or null when there is none or it is too full. */
    LPVOID AllocFromFirstPage(UINT nSize) {
        stu_BufferPool* const lpPage = m_lpCurrentPool;
        return lpPage && HasRoom(*lpPage, PieceSize(nSize)) ? Cut(*lpPage, nSize) : nullptr;
    }

    /**
     * What comes when the first page has no room: the further pages, then a new one, of `pBson` or of the heap. Kept
     * out of line, so that the short way above it saves no registers.
     */
    [[gnu::noinline]] LPVOID AllocFromPages(UINT nSize, CBaseBson* pBson);
    void FreePages(CBaseBson* pBson);

    UINT m_nPoolPageSize = 0;
    /** Pages out of use: full ones, and those made for one large piece. */
    stu_BufferPool* m_lpBufferPool = nullptr;
    /** Pages open for allocation. */
    stu_BufferPool* m_lpCurrentPool = nullptr;

private:
    [[gnu::noinline]] LPVOID AllocFromOwnPages(UINT nSize);
    static bool AllocBufferPool(stu_BufferPool*& lpList, UINT nBytes, CBaseBson* pBson);
    stu_BufferPool* FindFurtherPage(std::uint64_t nPiece);
    static void FreeList(stu_BufferPool*& lpList, CBaseBson* pBson);
};
static_assert(sizeof(CKestroBufferPool::stu_BufferPool) == 24);
static_assert(sizeof(CKestroBufferPool) == 32);

/**
 * The pool for objects that mostly need less than 512 bytes: the first pieces lie in the object itself and touch no
 * heap. Once there is a page, the bytes inside the object rest until the pages are given back.
 */
class CKestroBufferPoolEx : public CKestroBufferPool {
public:
    CKestroBufferPoolEx() = default;
    ~CKestroBufferPoolEx() override;

    LPVOID AllocBuffer(UINT nSize) override {
        if (LPVOID lpPiece = m_lpCurrentPool ? AllocFromFirstPage(nSize) : AllocFromObject(nSize)) return lpPiece;
        return AllocFromPages(nSize, m_pBson);
    }
    LPVOID AllocBufferEx(UINT nSize) override { return Cleared(AllocBuffer(nSize), nSize); }
    /** Gives the pages back. The pieces inside the object stay until `ResetBuffer`. */
    void Free() override;
    void ResetBuffer() override;
    /** Where the pages come from and go to, null for the heap. Only while the pool has no page. */
    void SetBson(CBaseBson* pBson) { m_pBson = pBson; }

protected:
    LPVOID AllocFromObject(UINT nSize) {
        const std::uint64_t nEnd = PieceSize(nSize) + static_cast<UINT>(m_nBufferPos);
        if (nEnd >= sizeof(m_lpBuffer)) return nullptr;
        LPVOID lpPiece = m_lpBuffer + m_nBufferPos;
        m_nBufferPos = static_cast<int>(nEnd);
        return lpPiece;
    }

    BYTE m_lpBuffer[512];
    int m_nBufferPos = 0;
    CBaseBson* m_pBson = nullptr;
};
static_assert(sizeof(CKestroBufferPoolEx) == 560);

/** The pool inside a `CBaseBson`, whose pages come from that plan buffer's own memory. */
class CKestroBufferPoolEx2 : public CKestroBufferPool {
public:
    CKestroBufferPoolEx2() = default;
    ~CKestroBufferPoolEx2() override;

    LPVOID AllocBuffer(UINT nSize) override {
        if (LPVOID lpPiece = AllocFromFirstPage(nSize)) return lpPiece;
        return AllocFromPages(nSize, m_pBson);
    }
    LPVOID AllocBufferEx(UINT nSize) override { return Cleared(AllocBuffer(nSize), nSize); }
    void Free() override;
    /** Where the pages come from and go to, null for the heap. Only while the pool has no page. */
    void SetBson(CBaseBson* pBson) { m_pBson = pBson; }

protected:
    CBaseBson* m_pBson = nullptr;
};
static_assert(sizeof(CKestroBufferPoolEx2) == 40);
