// The walk over the pages of the buffer pools, which the three classes share: they differ in where a page comes from
// and in the few bytes that one of them holds itself. Pages of the heap come from the thread's chunk cache.
// What a page of a CBaseBson is made of, the floor of that class knows.

#include "KestroBufferPool.h"

#include <algorithm>
#include <climits>
#include <new>

#include "ChunkCache.h"

constinit BSONPAGES g_stBsonPages{};

namespace {

/** A page with this much free or less is not worth a look at each request. */
constexpr UINT PAGE_SPARE_SIZE = 1024;

constexpr UINT PAGE_SIZE_EXTRA = 40;

bool HasSpare(const CKestroBufferPool::stu_BufferPool& stPage) {
    return std::uint64_t{stPage.m_nPos} + PAGE_SPARE_SIZE < stPage.m_nSize;
}

/** Takes the page that `lpLink` points to out of its list and puts it at the front of another. */
void MovePage(CKestroBufferPool::stu_BufferPool*& lpLink, CKestroBufferPool::stu_BufferPool*& lpList) {
    CKestroBufferPool::stu_BufferPool* const lpPage = lpLink;
    lpLink = lpPage->m_pNext;
    lpPage->m_pNext = lpList;
    lpList = lpPage;
}

} // namespace

CKestroBufferPool::~CKestroBufferPool() {
    FreePages(nullptr);
}

void CKestroBufferPool::SetPoolPageSize(UINT nSize) {
    m_nPoolPageSize = nSize > UINT_MAX - PAGE_SIZE_EXTRA ? UINT_MAX : nSize + PAGE_SIZE_EXTRA;
}

void CKestroBufferPool::Free() {
    FreePages(nullptr);
}

void CKestroBufferPool::ResetBuffer() {
    const auto Empty = [](stu_BufferPool& stPage) {
        PoisonBytes(&stPage + 1, stPage.m_nPos - PAGE_HEAD_SIZE);
        stPage.m_nPos = PAGE_HEAD_SIZE;
    };
    // Behind an empty page none is looked at: they are taken for unused. One that is used, because the empty one in
    // front was too small for its pieces, stays as full as it is until it moves to the other list. Intended.
    for (stu_BufferPool* lpPage = m_lpCurrentPool; lpPage && lpPage->m_nPos != PAGE_HEAD_SIZE; lpPage = lpPage->m_pNext)
        Empty(*lpPage);
    while (m_lpBufferPool) {
        Empty(*m_lpBufferPool);
        MovePage(m_lpBufferPool, m_lpCurrentPool);
    }
}

LPVOID CKestroBufferPool::AllocFromOwnPages(UINT nSize) {
    const bool bFirst = !m_lpCurrentPool;
    LPVOID lpPiece = AllocFromPages(nSize, nullptr);
    // A first page made for a piece larger than a page states the usual size all the same, so it counts as full at
    // once. Intended.
    if (bFirst && lpPiece) m_lpCurrentPool->m_nSize = m_nPoolPageSize;
    return lpPiece;
}

LPVOID CKestroBufferPool::AllocFromPages(UINT nSize, CBaseBson* pBson) {
    const std::uint64_t nPiece = PieceSize(nSize);
    if (nPiece > UINT_MAX - PAGE_HEAD_SIZE) return nullptr;
    const UINT nBytes = static_cast<UINT>(nPiece) + PAGE_HEAD_SIZE;
    if (!m_lpCurrentPool) {
        if (!AllocBufferPool(m_lpCurrentPool, std::max(m_nPoolPageSize, nBytes), pBson)) return nullptr;
        return Cut(*m_lpCurrentPool, nSize);
    }
    if (nBytes > m_nPoolPageSize) {
        if (!AllocBufferPool(m_lpBufferPool, nBytes, pBson)) return nullptr;
        return Cut(*m_lpBufferPool, nSize);
    }
    stu_BufferPool* lpPage = FindFurtherPage(nPiece);
    // Also when a further page serves: the next request begins with a page that is worth it.
    if (!HasSpare(*m_lpCurrentPool)) MovePage(m_lpCurrentPool, m_lpBufferPool);
    if (!lpPage) {
        if (!AllocBufferPool(m_lpCurrentPool, m_nPoolPageSize, pBson)) return nullptr;
        lpPage = m_lpCurrentPool;
    }
    return Cut(*lpPage, nSize);
}

// The first page behind the head that has room. Those passed on the way leave the list when they are nearly full, which
// bounds the walk.
CKestroBufferPool::stu_BufferPool* CKestroBufferPool::FindFurtherPage(std::uint64_t nPiece) {
    stu_BufferPool** lpLink = &m_lpCurrentPool->m_pNext;
    while (*lpLink && !HasRoom(**lpLink, nPiece)) {
        if (HasSpare(**lpLink))
            lpLink = &(*lpLink)->m_pNext;
        else
            MovePage(*lpLink, m_lpBufferPool);
    }
    return *lpLink;
}

// A new page at the front of a list.
bool CKestroBufferPool::AllocBufferPool(stu_BufferPool*& lpList, UINT nBytes, CBaseBson* pBson) {
    LPBYTE lpPage = nullptr;
    void* lpToken = nullptr;
    if (!pBson)
        lpPage = static_cast<LPBYTE>(KestroChunkAlloc(nBytes));
    else if (g_stBsonPages.m_lpfnAlloc(pBson, lpPage, nBytes, lpToken, 1) != 0)
        return false;
    if (!lpPage) return false;
    lpList = new (lpPage) stu_BufferPool{nBytes, PAGE_HEAD_SIZE, lpToken, lpList};
    PoisonBytes(lpPage + PAGE_HEAD_SIZE, nBytes - PAGE_HEAD_SIZE);
    return true;
}

void CKestroBufferPool::FreePages(CBaseBson* pBson) {
    FreeList(m_lpBufferPool, pBson);
    FreeList(m_lpCurrentPool, pBson);
}

void CKestroBufferPool::FreeList(stu_BufferPool*& lpList, CBaseBson* pBson) {
    while (stu_BufferPool* const lpPage = lpList) {
        lpList = lpPage->m_pNext;
        UnpoisonBytes(lpPage, lpPage->m_nSize);
        if (pBson)
            g_stBsonPages.m_lpfnFree(pBson, reinterpret_cast<LPBYTE>(lpPage), lpPage->m_pPtr);
        else
            KestroChunkFree(lpPage);
    }
}

CKestroBufferPoolEx::~CKestroBufferPoolEx() {
    FreePages(m_pBson);
}

void CKestroBufferPoolEx::Free() {
    FreePages(m_pBson);
}

void CKestroBufferPoolEx::ResetBuffer() {
    CKestroBufferPool::ResetBuffer();
    m_nBufferPos = 0;
}

CKestroBufferPoolEx2::~CKestroBufferPoolEx2() {
    FreePages(m_pBson);
}

void CKestroBufferPoolEx2::Free() {
    FreePages(m_pBson);
}
