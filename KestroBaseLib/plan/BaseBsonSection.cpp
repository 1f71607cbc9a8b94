// Sections: buffer sections, which are sent behind the main buffer, with the records, steps and blocks in them; bson
// sections, which take what the main buffer has no room for; and the tables of both.

#include <climits>

#include "BaseBson.h"
#include "ChunkCache.h"

namespace {

constexpr int SECTION_COUNT_MOST = 65535;
constexpr int SECTION_TABLE_MOST = 65536;
constexpr int BSON_SECTION_COUNT_MOST = 0x7FFF;
constexpr int BSON_SECTION_TABLE_FIRST = 4;
constexpr int BSON_SECTION_TABLE_MOST = 32768;
/** A bson section larger than usual is a multiple of this. */
constexpr std::uint64_t BSON_SECTION_STEP = 8192;

constexpr UINT LINKED_HEAD_SIZE = sizeof(BUFFERSECTIONHEAD) + sizeof(RECORDSECTIONHEAD);
static_assert(sizeof(RECORDSECTIONHEAD) == sizeof(STEPSECTIONHEAD));

constexpr UINT HeadSize(BYTE bType) {
    return bType == SECTION_DATA ? sizeof(BUFFERSECTIONHEAD) : LINKED_HEAD_SIZE;
}

BUFFERSECTIONHEAD& HeadOf(LPBYTE lpSection) {
    return *reinterpret_cast<BUFFERSECTIONHEAD*>(lpSection);
}

/** The neighbours of a section of records or steps, which have one form. */
RECORDSECTIONHEAD& LinkOf(LPBYTE lpSection) {
    return *reinterpret_cast<RECORDSECTIONHEAD*>(lpSection + sizeof(BUFFERSECTIONHEAD));
}

/** Whether a piece fits. An id holds 16 bits of its place, so no piece begins behind them. */
bool FitsSection(UINT nDataSize, std::uint64_t nPiece, UINT nSectionSize) {
    return nDataSize + nPiece <= nSectionSize && nDataSize <= 0xFFFF;
}

/** What the memory pool gave for a request, which may be more than was asked for. */
UINT BlockSize(LPBYTE lpBlock) {
    return (reinterpret_cast<const CKestroMemoryPool::stu_BufferPool*>(lpBlock) - 1)->m_nSize;
}

} // namespace

// --- tables ----------------------------------------------------------------------------------------------------------

// The blocks of all sections have gone: so have the sections.
void CBaseBson::ForgetSections() {
    m_lpBsonCurrentSection = m_lpCurrentSection = m_lpRecordSection = m_lpStepSection = nullptr;
    m_nBsonCurrentDataSize = m_nCurrentDataSize = m_nCurrentRecordDataSize = m_nCurrentStepDataSize = 0;
    m_nBsonCurrentSectionSize = m_nCurrentSectionSize = m_nCurrentRecordSectionSize = m_nCurrentStepSectionSize = 0;
    m_nBsonCurrentSectionNo = m_nCurrentSectionNo = m_nCurrentRecordSectionNo = m_nCurrentStepSectionNo = 0;
    m_nBsonSectionNum = m_nBufferSectionNum = 0;
    m_bChangeSection = 0;
    m_lpPreRecordHead = nullptr;
    m_lpPreExecuteStep = nullptr;
    m_lpPreBlockInfo = nullptr;
    std::fill_n(m_lpBsonSectionArray, m_nBsonSectionArrayCount, nullptr);
}

int CBaseBson::AllocBsonMetaData(int nCount, LPBYTE*& arPointer) {
    if (nCount <= 0) return ERR_PARAMETER;
    const std::uint64_t nBytes = static_cast<std::uint64_t>(nCount) * sizeof(LPBYTE);
    if (nBytes + m_nBsonMetaPos >= m_nBsonMetaSize) {
        const std::uint64_t nBlock = (nBytes + 0x10007) & ~std::uint64_t{0xFFFF};
        LPBYTE const lpBlock = nBlock > UINT_MAX ? nullptr : static_cast<LPBYTE>(KestroChunkAlloc(nBlock));
        if (!lpBlock) return ERR_MEMORY;
        std::memcpy(lpBlock, &m_lpBsonMetaBuf, META_LINK_SIZE);
        m_lpBsonMetaBuf = lpBlock;
        m_nBsonMetaPos = META_LINK_SIZE;
        m_nBsonMetaSize = static_cast<UINT>(nBlock);
    }
    arPointer = reinterpret_cast<LPBYTE*>(m_lpBsonMetaBuf + m_nBsonMetaPos);
    std::fill_n(arPointer, nCount, nullptr);
    m_nBsonMetaPos += static_cast<UINT>(nBytes);
    return ERR_OK;
}

// A table of twice the size, or of the first one. The old table's space is not used again.
int CBaseBson::GrowTable(LPBYTE*& arTable, int& nCount, int nFirst, int nMost) {
    const int nGrown = nCount == 0 ? nFirst : std::min(2 * nCount, nMost);
    LPBYTE* arGrown = nullptr;
    if (const int nCode = AllocBsonMetaData(nGrown, arGrown)) return nCode;
    std::copy_n(arTable, nCount, arGrown);
    arTable = arGrown;
    nCount = nGrown;
    return ERR_OK;
}

// --- bson sections ---------------------------------------------------------------------------------------------------

int CBaseBson::AllocBsonBufferSection(UINT nSize) {
    if (m_nBsonSectionNum >= BSON_SECTION_COUNT_MOST) return ERR_MEMORY;
    const bool bLarge = nSize > m_nDefaultBufferSectionSize;
    const std::uint64_t nWanted =
        bLarge ? (std::uint64_t{nSize} + BSON_SECTION_STEP - 1) / BSON_SECTION_STEP * BSON_SECTION_STEP
               : m_nDefaultBufferSectionSize;
    if (nWanted > UINT_MAX) return ERR_MEMORY;
    if (m_nBsonSectionNum == m_nBsonSectionArrayCount)
        if (const int nCode = GrowTable(m_lpBsonSectionArray, m_nBsonSectionArrayCount, BSON_SECTION_TABLE_FIRST,
                                        BSON_SECTION_TABLE_MOST))
            return nCode;
    LPBYTE& lpSlot = m_lpBsonSectionArray[m_nBsonSectionNum];
    // A block of a former use serves again, unless it is too small because the default has been raised.
    if (bLarge || !lpSlot || BlockSize(lpSlot) < nWanted) {
        UINT nBlock = static_cast<UINT>(nWanted);
        LPBYTE const lpBlock = m_stMemoryPool.Alloc(nBlock);
        if (!lpBlock) return ERR_MEMORY;
        m_stMemoryPool.Free(lpSlot);
        lpSlot = lpBlock;
    }
    ++m_nBsonSectionNum;
    m_lpBsonCurrentSection = lpSlot;
    m_nBsonCurrentDataSize = 0;
    m_nBsonCurrentSectionSize = static_cast<UINT>(nWanted);
    m_nBsonCurrentSectionNo = m_nBsonSectionNum | BSON_SECTION_MARK;
    return ERR_OK;
}

int CBaseBson::AllocFromBsonBufferSection(int nSize, LPBYTE& lpPointer, volatile UINT& nAddrID) {
    if (!m_bAllowBsonSection) return ERR_MEMORY;
    if (nSize < 0) return ERR_PARAMETER;
    const UINT nPiece = static_cast<UINT>(nSize);
    if (!m_lpBsonCurrentSection || !FitsSection(m_nBsonCurrentDataSize, nPiece, m_nBsonCurrentSectionSize))
        if (const int nCode = AllocBsonBufferSection(nPiece)) return nCode;
    lpPointer = static_cast<LPBYTE>(std::memset(m_lpBsonCurrentSection + m_nBsonCurrentDataSize, 0, nPiece));
    nAddrID = MakeAddrID(m_nBsonCurrentSectionNo, m_nBsonCurrentDataSize);
    m_nBsonCurrentDataSize += nPiece;
    return ERR_OK;
}

void CBaseBson::ResetBsonSectionPos(USHORT nSectionNum, UINT nDataSize) {
    m_nBsonSectionNum = std::min(nSectionNum, m_nBsonSectionNum);
    m_lpBsonCurrentSection = m_nBsonSectionNum == 0 ? nullptr : m_lpBsonSectionArray[m_nBsonSectionNum - 1];
    m_nBsonCurrentSectionNo = m_nBsonSectionNum == 0 ? 0 : m_nBsonSectionNum | BSON_SECTION_MARK;
    const UINT nBlock = m_lpBsonCurrentSection ? BlockSize(m_lpBsonCurrentSection) : 0;
    m_nBsonCurrentDataSize = std::min(nDataSize, nBlock);
    m_nBsonCurrentSectionSize = std::min(std::max(m_nBsonCurrentDataSize, m_nDefaultBufferSectionSize), nBlock);
}

// --- buffer sections -------------------------------------------------------------------------------------------------

int CBaseBson::AllocBufferSection(UINT nSize, LPBYTE& lpSection) {
    if (m_nBufferSectionNum >= SECTION_COUNT_MOST) return ERR_MEMORY;
    if (m_nBufferSectionNum + 1 == m_nSectionArrayCount && m_nSectionArrayCount != SECTION_TABLE_MOST)
        if (const int nCode = GrowTable(m_lpBufferSectionArray, m_nSectionArrayCount, 0, SECTION_TABLE_MOST))
            return nCode;
    UINT nBlock = std::max<UINT>(nSize, sizeof(BUFFERSECTIONHEAD));
    LPBYTE const lpBlock = m_stMemoryPool.Alloc(nBlock);
    if (!lpBlock) return ERR_MEMORY;
    std::memset(lpBlock, 0, sizeof(BUFFERSECTIONHEAD));
    m_nExecutePlanDataSize += sizeof(BUFFERSECTIONHEAD);
    m_lpBufferSectionArray[m_nBufferSectionNum++] = lpBlock;
    lpSection = lpBlock;
    return ERR_OK;
}

LPBYTE CBaseBson::GetBufferSection(USHORT nSectionNo) {
    const CBaseBson* const pTop = Top();
    return nSectionNo == 0 || nSectionNo > pTop->m_nBufferSectionNum ? nullptr
                                                                     : pTop->m_lpBufferSectionArray[nSectionNo - 1];
}

CBaseBson::OPENSECTION CBaseBson::OpenSectionOf(BYTE bType) {
    switch (bType) {
        case SECTION_RECORD:
            return {m_lpRecordSection, m_nCurrentRecordDataSize, m_nCurrentRecordSectionSize,
                    m_nCurrentRecordSectionNo};
        case SECTION_STEP:
            return {m_lpStepSection, m_nCurrentStepDataSize, m_nCurrentStepSectionSize, m_nCurrentStepSectionNo};
        default:
            return {m_lpCurrentSection, m_nCurrentDataSize, m_nCurrentSectionSize, m_nCurrentSectionNo};
    }
}

// Closes the open section of a kind, if there is one, and opens the next.
int CBaseBson::OpenNextSection(BYTE bType, std::uint64_t nSize) {
    if (nSize > UINT_MAX) return ERR_MEMORY;
    LPBYTE lpNext = nullptr;
    if (const int nCode = AllocBufferSection(static_cast<UINT>(nSize), lpNext)) return nCode;
    HeadOf(lpNext).m_bSectionType = bType;
    const OPENSECTION stOpen = OpenSectionOf(bType);
    if (stOpen.m_lpSection) HeadOf(stOpen.m_lpSection).m_nSectionDataSize = stOpen.m_nDataSize;
    if (bType != SECTION_DATA) {
        LinkOf(lpNext) = {stOpen.m_lpSection ? stOpen.m_nSectionNo : USHORT{0}, 0};
        if (stOpen.m_lpSection) LinkOf(stOpen.m_lpSection).m_sNextSectionNo = m_nBufferSectionNum;
        m_nExecutePlanDataSize += sizeof(RECORDSECTIONHEAD);
    }
    stOpen.m_lpSection = lpNext;
    stOpen.m_nDataSize = HeadSize(bType);
    stOpen.m_nSectionSize = static_cast<UINT>(nSize);
    stOpen.m_nSectionNo = m_nBufferSectionNum;
    return ERR_OK;
}

// Zeroed bytes of a kind's open section; `bChanged` when they had to go to a further one.
int CBaseBson::AllocFromOpenSection(BYTE bType, UINT nSize, UINT& nAddrID, LPBYTE& lpPointer, bool& bChanged) {
    const OPENSECTION stOpen = OpenSectionOf(bType);
    const bool bOpen = stOpen.m_lpSection != nullptr;
    // A plan tells its size in 32 bits. The heads of a new section are counted whether it is needed or not.
    if (std::uint64_t{m_nExecutePlanDataSize} + HeadSize(bType) + nSize > UINT_MAX) return ERR_MEMORY;
    if (!bOpen || !FitsSection(stOpen.m_nDataSize, nSize, stOpen.m_nSectionSize)) {
        // A section smaller than its first piece is made larger.
        const std::uint64_t nSection =
            std::max<std::uint64_t>(m_nDefaultBufferSectionSize, std::uint64_t{nSize} + HeadSize(bType));
        if (const int nCode = OpenNextSection(bType, nSection)) return nCode;
        bChanged = bOpen;
    }
    lpPointer = static_cast<LPBYTE>(std::memset(stOpen.m_lpSection + stOpen.m_nDataSize, 0, nSize));
    nAddrID = MakeAddrID(stOpen.m_nSectionNo, stOpen.m_nDataSize);
    stOpen.m_nDataSize += nSize;
    m_nExecutePlanDataSize += nSize;
    return ERR_OK;
}

int CBaseBson::AllocFromBufferSection(UINT nSize, UINT& nAddrID, LPBYTE& lpPointer) {
    CBaseBson* const pTop = Top();
    bool bChanged = false;
    const int nCode = pTop->AllocFromOpenSection(SECTION_DATA, nSize, nAddrID, lpPointer, bChanged);
    // The mark stays until a block record sees it: what lies between two of them needn't be one.
    if (bChanged) pTop->m_bChangeSection = 1;
    return nCode;
}

int CBaseBson::AllocRecord(RECORDHEAD*& lpRecord, UINT& nAddrID) {
    CBaseBson* const pTop = Top();
    bool bChanged = false;
    LPBYTE lpBytes = nullptr;
    if (const int nCode = pTop->AllocFromOpenSection(SECTION_RECORD, sizeof(RECORDHEAD), nAddrID, lpBytes, bChanged))
        return nCode;
    // Of records only the last of a section is marked, as one flag among others. Intended.
    if (bChanged && pTop->m_lpPreRecordHead) pTop->m_lpPreRecordHead->m_bFlag |= SECTION_LAST;
    lpRecord = pTop->m_lpPreRecordHead = reinterpret_cast<RECORDHEAD*>(lpBytes);
    return ERR_OK;
}

int CBaseBson::AllocStep(EXECUTESTEP*& lpStep, UINT& nAddrID) {
    CBaseBson* const pTop = Top();
    bool bChanged = false;
    LPBYTE lpBytes = nullptr;
    if (const int nCode = pTop->AllocFromOpenSection(SECTION_STEP, sizeof(EXECUTESTEP), nAddrID, lpBytes, bChanged))
        return nCode;
    lpStep = reinterpret_cast<EXECUTESTEP*>(lpBytes);
    // The very first step of a plan isn't marked, and a step alone in its section ends as its last. Intended.
    if (bChanged) {
        if (pTop->m_lpPreExecuteStep) pTop->m_lpPreExecuteStep->m_bFlag = SECTION_LAST;
        lpStep->m_bFlag = SECTION_FIRST;
    }
    pTop->m_lpPreExecuteStep = lpStep;
    return ERR_OK;
}

int CBaseBson::AllocBlockInfo(BLOCKINFO*& lpBlock, UINT& nAddrID) {
    CBaseBson* const pTop = Top();
    if (const int nCode = pTop->AllocFromBufferSection(lpBlock, nAddrID)) return nCode;
    if (pTop->m_bChangeSection) {
        pTop->m_bChangeSection = 0;
        if (pTop->m_lpPreBlockInfo) pTop->m_lpPreBlockInfo->m_bFlag = SECTION_LAST;
        lpBlock->m_bFlag = SECTION_FIRST;
    }
    pTop->m_lpPreBlockInfo = lpBlock;
    return ERR_OK;
}

// --- sending ---------------------------------------------------------------------------------------------------------

// Bytes in use in a section; in an open one the running count.
UINT CBaseBson::SectionDataSize(LPBYTE lpSection) {
    const BUFFERSECTIONHEAD& stHead = HeadOf(lpSection);
    const bool bKind = stHead.m_bSectionType >= SECTION_DATA && stHead.m_bSectionType <= SECTION_STEP;
    if (!bKind) return stHead.m_nSectionDataSize;
    const OPENSECTION stOpen = OpenSectionOf(stHead.m_bSectionType);
    return stHead.m_nSectionDataSize == 0 || stOpen.m_lpSection == lpSection ? stOpen.m_nDataSize
                                                                             : stHead.m_nSectionDataSize;
}

void CBaseBson::SetSectionOffset() {
    UINT nEnd = m_nBsonDataSize;
    for (int i = 0; i < m_nBufferSectionNum; ++i) {
        LPBYTE const lpSection = m_lpBufferSectionArray[i];
        const UINT nSize = SectionDataSize(lpSection);
        nEnd += nSize;
        HeadOf(lpSection).m_nSectionDataSize = nSize;
        HeadOf(lpSection).m_nNextSectionOffset = i + 1 == m_nBufferSectionNum ? 0 : nEnd;
    }
}

UINT CBaseBson::GetFreeSectionAddrID() {
    CBaseBson* const pTop = Top();
    LPBYTE const lpLast = pTop->GetBufferSection(pTop->m_nBufferSectionNum);
    return lpLast ? MakeAddrID(pTop->m_nBufferSectionNum, pTop->SectionDataSize(lpLast)) : 0;
}

// --- the server's ----------------------------------------------------------------------------------------------------

int CBaseBson::ConvertAddrID2Addr(UINT /*nAddrID*/, LPBYTE& /*lpAddr*/) {
    return ERR_FAILED;
}

void CBaseBson::GetSectionBufferAddr(int /*nSectionNo*/, LPBYTE& /*lpAddr*/) {}
