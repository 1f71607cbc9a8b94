// The main buffer of a plan: its block, what is appended and claimed in it, the scratch memory beside it, and the
// object's life. Sections are in BaseBsonSection.cpp.

#include "BaseBson.h"

#include <climits>

#include "ChunkCache.h"

namespace {

constexpr UINT DEFAULT_SECTION_SIZE = 65536;
/** Taken where a caller wants room for a first record. */
constexpr UINT FIRST_BUFFER_SIZE = 65536;
/** Scratch blocks: of an object with a pool of its own, and of one that is supplied by another. */
constexpr UINT TEMP_BUFFER_SIZE = 131072;
constexpr UINT TEMP_BUFFER_SIZE_SUPPLIED = 16384;
/** What scratch memory takes at a time when its block is full: whole blocks, less what a page has beside its bytes. */
constexpr UINT SCRATCH_PAGE_SIZE = 65536 - 40;
/** The main block is this object's to release. */
constexpr int AUTO_RELEASE = 2;

// The pools that take their pages from a plan buffer stand below it and reach it through this table.
[[maybe_unused]] const bool g_bPagesFilled = [] {
    g_stBsonPages.m_lpfnAlloc = [](CBaseBson* pBson, LPBYTE& lpPage, UINT& nSize, void*& lpToken, int bZero) {
        return pBson->AllocMemoryBufferPool(lpPage, nSize, lpToken, bZero);
    };
    g_stBsonPages.m_lpfnFree = [](CBaseBson* pBson, LPBYTE lpPage, void* lpToken) {
        pBson->FreeMemoryBufferPool(lpPage, lpToken);
    };
    return true;
}();

/** The 64 KB steps behind `nSize`: always at least one byte more, so an exact multiple gets a whole step. */
constexpr std::uint64_t NextStep(std::uint64_t nSize) {
    return (nSize & ~std::uint64_t{0xFFFF}) + 0x10000;
}

} // namespace

// --- life ------------------------------------------------------------------------------------------------------------

void CBaseBson::SetConstructed() {
    m_lpBuf = m_lpBuffer = m_lpTempBuffer = nullptr;
    m_lpBufPtr = m_lpTempBufferPtr = nullptr;
    m_pMasterBson = m_pMemoryBson = nullptr;
    m_nFreeBufferSize = m_nOriginFreeBufferSize = 0;
    m_nExecutePlanDataSize = m_nOriginExecutePlanDataSize = 0;
    m_nBsonStartOffset = 0;
    m_nAutoRelease = 0;
    m_nDefaultBufferSectionSize = DEFAULT_SECTION_SIZE;
    m_nBsonBufferSize = m_nOriginBsonBufferSize = 0;
    m_nBsonDataSize = m_nOriginBsonDataSize = 0;
    m_lpBsonSectionArray = nullptr;
    m_nBsonSectionArrayCount = 0;
    m_bAllowBsonSection = 0;
    ForgetSections();
    m_lpOriginCurrentSection = m_lpOriginRecordSection = m_lpOriginStepSection = nullptr;
    m_nOriginDataSize = m_nOriginRecordDataSize = m_nOriginStepDataSize = 0;
    m_nOriginSectionSize = m_nOrginRecordSectionSize = m_nOrginStepSectionSize = 0;
    m_nOrginSectionNo = m_nOrginRecordSectionNo = m_nOrginStepSectionNo = 0;
    m_lpBufferSectionArray = m_arrBufferSection;
    m_nSectionArrayCount = SECTION_TABLE_COUNT;
    m_nOriginBufferSectionNum = 0;
    m_nSectionStartOffset = m_nOriginSectionStartOffset = 0;
    m_bNoneExecutePlan = 0;
    m_nBsonMetaPos = META_LINK_SIZE;
    m_nBsonMetaSize = META_SPACE_SIZE;
    m_lpBsonMetaBuf = m_lpBsonMetaSpace;
    SetCleanEnd(0);
    m_nTempBufferSize = m_nTempDataSize = 0;
    m_stBufferPool.SetBson(this);
    m_stBufferPool.SetPoolPageSize(SCRATCH_PAGE_SIZE);
}

// The pool of scratch pages is a member in front of the pool that holds them, so it must be empty before both die.
CBaseBson::~CBaseBson() {
    CBaseBson::Free();
}

void CBaseBson::Free() {
    ReleaseMemory();
    while (m_lpBsonMetaBuf != m_lpBsonMetaSpace) {
        LPBYTE const lpBlock = m_lpBsonMetaBuf;
        std::memcpy(&m_lpBsonMetaBuf, lpBlock, sizeof m_lpBsonMetaBuf);
        KestroChunkFree(lpBlock);
    }
    SetConstructed();
}

// Gives back all memory but that of the tables, and forgets what lay in it.
void CBaseBson::ReleaseMemory() {
    if (m_nAutoRelease == AUTO_RELEASE && m_lpBuf) FreeMemoryBufferPool(m_lpBuf, m_lpBufPtr);
    if (m_lpTempBuffer) FreeMemoryBufferPool(m_lpTempBuffer, m_lpTempBufferPtr);
    m_stBufferPool.Free();
    m_stMemoryPool.FreeAll();
    m_lpBuf = m_lpBuffer = m_lpTempBuffer = nullptr;
    m_lpBufPtr = m_lpTempBufferPtr = nullptr;
    m_nBsonBufferSize = m_nFreeBufferSize = 0;
    m_nTempBufferSize = m_nTempDataSize = 0;
    ForgetSections();
}

// --- blocks ----------------------------------------------------------------------------------------------------------

int CBaseBson::AllocMemoryBufferPool(LPBYTE& lpBlock, UINT& nSize, void*& lpToken, int bZero) {
    if (m_pMemoryBson) return m_pMemoryBson->AllocMemoryBufferPool(lpBlock, nSize, lpToken, bZero);
    lpToken = nullptr;
    lpBlock = m_stMemoryPool.Alloc(nSize);
    return lpBlock ? ERR_OK : ERR_MEMORY;
}

void CBaseBson::FreeMemoryBufferPool(LPBYTE lpBlock, void* lpToken) {
    if (m_pMemoryBson) return m_pMemoryBson->FreeMemoryBufferPool(lpBlock, lpToken);
    if (!lpToken) m_stMemoryPool.Free(lpBlock);
}

// A main block for `nSize` bytes of plan, with the space for the frame head cleared and nothing else.
int CBaseBson::AllocMainBlock(UINT nSize, LPBYTE& lpBuf, void*& lpToken, UINT& nCapacity) {
    const std::uint64_t nBlock = NextStep(std::uint64_t{nSize} + FRAME_SPACE);
    if (nBlock > UINT_MAX) return ERR_MEMORY;
    // The pool may give a larger block. The plan's capacity stays that of the rule, whatever the pool's sizes are.
    UINT nReal = static_cast<UINT>(nBlock);
    if (const int nCode = AllocMemoryBufferPool(lpBuf, nReal, lpToken, 1)) return nCode;
    std::memset(lpBuf, 0, FRAME_SPACE);
    nCapacity = static_cast<UINT>(nBlock) - FRAME_SPACE;
    return ERR_OK;
}

int CBaseBson::AllocBsonBuffer(CBaseBson* pMemoryBson, UINT nSize) {
    ReleaseMemory();
    m_nAutoRelease = AUTO_RELEASE;
    m_pMemoryBson = pMemoryBson;
    if (const int nCode = AllocMainBlock(nSize, m_lpBuf, m_lpBufPtr, m_nBsonBufferSize)) {
        m_lpBuf = nullptr;
        return nCode;
    }
    UINT nTemp = pMemoryBson ? TEMP_BUFFER_SIZE_SUPPLIED : TEMP_BUFFER_SIZE;
    if (const int nCode = AllocMemoryBufferPool(m_lpTempBuffer, nTemp, m_lpTempBufferPtr, 0)) {
        m_lpTempBuffer = nullptr;
        ReleaseMemory();
        return nCode;
    }
    m_nTempBufferSize = pMemoryBson ? TEMP_BUFFER_SIZE_SUPPLIED : TEMP_BUFFER_SIZE;
    m_lpBuffer = m_lpBuf + FRAME_SPACE;
    m_nFreeBufferSize = m_nBsonBufferSize;
    SetCleanEnd(0);
    ClearTo(std::min(m_nBsonDataSize, m_nBsonBufferSize));
    return ERR_OK;
}

int CBaseBson::ReAllocBsonBuffer(UINT nSize) {
    if (std::min<std::uint64_t>(NextStep(std::uint64_t{nSize} + FRAME_SPACE) - FRAME_SPACE, UINT_MAX) < m_nBsonDataSize)
        return ERR_PARAMETER;
    LPBYTE lpBuf = nullptr;
    void* lpToken = nullptr;
    UINT nCapacity = 0;
    if (const int nCode = AllocMainBlock(nSize, lpBuf, lpToken, nCapacity)) return nCode;
    const UINT nCopied = std::min({GetCleanEnd(), m_nBsonBufferSize, nCapacity});
    if (nCopied != 0) std::memcpy(lpBuf + FRAME_SPACE, m_lpBuffer, nCopied);
    if (m_nAutoRelease == AUTO_RELEASE && m_lpBuf) FreeMemoryBufferPool(m_lpBuf, m_lpBufPtr);
    m_nAutoRelease = AUTO_RELEASE;
    m_lpBuf = lpBuf;
    m_lpBufPtr = lpToken;
    m_lpBuffer = lpBuf + FRAME_SPACE;
    m_nBsonBufferSize = nCapacity;
    m_nFreeBufferSize = nCapacity - m_nBsonDataSize;
    SetCleanEnd(nCopied);
    ClearTo(m_nBsonDataSize);
    return ERR_OK;
}

void CBaseBson::SetBuffer(LPBYTE lpBuffer, int nSize, int nDataSize) {
    m_lpBuffer = lpBuffer;
    m_nBsonBufferSize = static_cast<UINT>(std::max(nSize, 0));
    m_nBsonDataSize = m_nExecutePlanDataSize = static_cast<UINT>(std::max(nDataSize, 0));
    m_nAutoRelease = 0;
    // What the block holds is the caller's, to its end.
    SetCleanEnd(m_nBsonBufferSize);
}

LPBYTE CBaseBson::DetachBuffer() {
    LPBYTE const lpBuffer = m_lpBuffer;
    m_lpBuffer = nullptr;
    m_nBsonBufferSize = m_nBsonDataSize = 0;
    SetCleanEnd(0);
    return lpBuffer;
}

// --- bytes of the main buffer ----------------------------------------------------------------------------------------

void CBaseBson::ClearTo(UINT nEnd) {
    const UINT nBegin = GetCleanEnd();
    if (nEnd <= nBegin) return;
    std::memset(m_lpBuffer + nBegin, 0, nEnd - nBegin);
    SetCleanEnd(nEnd);
}

// A buffer for a request that finds none.
int CBaseBson::AllocFirstBuffer(UINT nSize) {
    const std::uint64_t nWanted = NextStep(nSize);
    return nWanted > UINT_MAX ? ERR_MEMORY : AllocBsonBuffer(nullptr, static_cast<UINT>(nWanted));
}

int CBaseBson::AllocFromBsonBuffer(UINT nSize, volatile UINT& nOffset, LPBYTE& lpPointer) {
    if (nSize == 0) {
        nOffset = 0;
        return ERR_OK;
    }
    if (!m_lpBuffer)
        if (const int nCode = AllocFirstBuffer(nSize)) return nCode;
    UINT nPos = m_nBsonDataSize;
    if (lpPointer) {
        // As numbers: the pointer may lie anywhere.
        const std::uintptr_t nPlace =
            reinterpret_cast<std::uintptr_t>(lpPointer) - reinterpret_cast<std::uintptr_t>(m_lpBuffer);
        if (nSize > m_nBsonBufferSize || nPlace > m_nBsonBufferSize - nSize) return ERR_PARAMETER;
        nPos = static_cast<UINT>(nPlace);
    } else if (!HasRoom(nSize)) {
        if (nSize > INT_MAX) return ERR_MEMORY;
        return AllocFromBsonBufferSection(static_cast<int>(nSize), lpPointer, nOffset);
    }
    const UINT nUsed = std::min(nPos + nSize, GetCleanEnd());
    if (nUsed > nPos) std::memset(m_lpBuffer + nPos, 0, nUsed - nPos);
    ClearTo(nPos + nSize);
    TakeBytes(nPos, nSize);
    lpPointer = m_lpBuffer + nPos;
    nOffset = nPos - m_nBsonStartOffset;
    return ERR_OK;
}

int CBaseBson::AllocFirstRecord(UINT nSize, volatile UINT& nOffset, LPBYTE& lpPointer) {
    if (!m_lpBuffer)
        if (const int nCode = AllocBsonBuffer(nullptr, FIRST_BUFFER_SIZE)) return nCode;
    return AllocFromBsonBuffer(nSize, nOffset, lpPointer);
}

int CBaseBson::AllocFromBsonBufferEx(UINT nSize, UINT& nOffset, LPBYTE& lpPointer) {
    if (nSize == 0) {
        nOffset = 0;
        return ERR_OK;
    }
    if (!m_lpBuffer)
        if (const int nCode = AllocFirstBuffer(nSize)) return nCode;
    const std::uint64_t nPos = (std::uint64_t{m_nBsonDataSize} + 3) & ~std::uint64_t{3};
    if (nPos + nSize > m_nBsonBufferSize) return ERR_MEMORY;
    // The pad is nobody's to write, and may have been in use before.
    std::memset(m_lpBuffer + m_nBsonDataSize, 0, nPos - m_nBsonDataSize);
    ClearTo(static_cast<UINT>(nPos) + nSize);
    TakeBytes(static_cast<UINT>(nPos), nSize);
    lpPointer = m_lpBuffer + nPos;
    nOffset = static_cast<UINT>(nPos) - m_nBsonStartOffset;
    return ERR_OK;
}

void CBaseBson::SetDataLen(UINT nLen) {
    nLen = std::min(nLen, m_nBsonBufferSize);
    ClearTo(nLen);
    m_nBsonDataSize = nLen;
}

void CBaseBson::ResetBuffer() {
    // Appended bytes aren't in the total.
    m_nExecutePlanDataSize -= std::min(m_nBsonDataSize, m_nExecutePlanDataSize);
    m_nBsonDataSize = 0;
    m_nFreeBufferSize = m_nBsonBufferSize;
    // What the last plan wrote is stale for the next one; an adopted block's bytes are the caller's.
    if (m_lpBuf && m_lpBuffer == m_lpBuf + FRAME_SPACE) SetCleanEnd(0);
}

LPBYTE CBaseBson::ConvertOffset2Addr(UINT nOffset) {
    const UINT nPlace = nOffset + m_nBsonStartOffset;
    // An offset is at times a number from outside; 0xFFFFFFFF, which means none, is behind every buffer too.
    return nPlace == 0 || nPlace >= m_nBsonBufferSize || !m_lpBuffer ? nullptr : m_lpBuffer + nPlace;
}

// --- scratch ---------------------------------------------------------------------------------------------------------

// What the scratch block has no room for.
int CBaseBson::AllocScratch(UINT nSize, LPBYTE& lpPointer, int bZero) {
    void* const lpPiece = bZero ? m_stBufferPool.AllocBufferEx(nSize) : m_stBufferPool.AllocBuffer(nSize);
    if (!lpPiece) return ERR_MEMORY;
    lpPointer = static_cast<LPBYTE>(lpPiece);
    return ERR_OK;
}
