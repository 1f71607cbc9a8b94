#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "KestroBufferPool.h"
#include "KestroErrorCode.h"
#include "KestroMemoryPool.h"
#include "MemDBCommonDef.h"

/**
 * The arena in which a plan is built, and all further memory of a compilation; freeing the object ends both. The plan
 * is a tree of packed records that name each other by offsets and ids, never by pointers, so its bytes are sent as they
 * stand:
 *
 *     m_lpBuf      112 bytes for the sender's frame head, so that frame and plan leave together
 *     m_lpBuffer   the main buffer: EXECUTEPLANBSON, the statement's text, unaligned records in the order of allocation
 *     sections     further blocks of three kinds, numbered from 1, sent behind the main buffer; for write-backs only
 *
 * Never sent: bson sections (overflow of the main buffer, for those who allow it), scratch memory (a fixed block, then
 * a pool) and the tables of sections.
 *
 * What allocates answers 0, ERR_MEMORY or ERR_PARAMETER, and after an error all is as it was, but for
 * `AllocBsonBuffer`. Nothing moves or grows the main buffer but `ReAllocBsonBuffer`, because parsers hold pointers into
 * it: who runs out of room starts again in a larger one. Offsets count from `m_lpBuffer`, less `m_nBsonStartOffset`; 0
 * and 0xFFFFFFFF are none.
 *
 * Every byte that a plan contains was handed out zeroed, written by an append, or cleared: a sent plan holds no stale
 * memory. A fresh block is not cleared as a whole, which would cost more than compiling a short statement, but up to a
 * high-water mark behind which no byte was ever used; its memory comes from the thread's chunk cache.
 *
 * One thread at a time. A subclass that replaces the source of blocks calls `Free` in its own destructor.
 */
class CBaseBson {
public:
    CBaseBson() { SetConstructed(); }
    CBaseBson(const CBaseBson&) = delete;
    CBaseBson& operator=(const CBaseBson&) = delete;
    virtual ~CBaseBson();

    /** Releases all and returns to the state of a new object. */
    virtual void Free();
    /**
     * Moves the main buffer to a new block for `nSize` bytes, contents and all. ERR_PARAMETER if the bytes in use would
     * not fit. The block that it leaves is released only if this object allocated it.
     */
    [[nodiscard]] virtual int ReAllocBsonBuffer(UINT nSize);
    /** A section of `nSize` bytes, at least 12, with a zeroed head: the next number, of no kind yet. Up to 65,535. */
    [[nodiscard]] virtual int AllocBufferSection(UINT nSize, LPBYTE& lpSection);
    /** Bytes of the whole plan, less the start offset. */
    virtual UINT GetExecutePlanDataSize() { return m_nExecutePlanDataSize - m_nBsonStartOffset; }
    /** The server's; here 1, and nothing is done. */
    virtual int ConvertAddrID2Addr(UINT nAddrID, LPBYTE& lpAddr);
    /** The server's; here nothing is done. */
    virtual void GetSectionBufferAddr(int nSectionNo, LPBYTE& lpAddr);
    /** Before sending: writes the size of each open section and where each next one starts. May be called again. */
    virtual void SetSectionOffset();
    /** Null for no offset, and for one behind the main buffer. */
    virtual LPBYTE ConvertOffset2Addr(UINT nOffset);
    virtual EXECUTEPLANBSON* GetExecutePlan() {
        return m_bNoneExecutePlan ? nullptr : reinterpret_cast<EXECUTEPLANBSON*>(m_lpBuffer);
    }
    /**
     * The source of blocks: of the memory object's, else this one's pool, which may raise `nSize` and gives a null
     * token. No block is cleared here, `bZero` or not. A block with another token isn't this class's to free.
     */
    [[nodiscard]] virtual int AllocMemoryBufferPool(LPBYTE& lpBlock, UINT& nSize, void*& lpToken, int bZero);
    virtual void FreeMemoryBufferPool(LPBYTE lpBlock, void* lpToken);

    // --- the main buffer ---------------------------------------------------------------------------------------------

    /**
     * Makes the main buffer, for `nSize` bytes or some more, and the scratch block; what was there goes, sections too.
     * `pMemoryBson` supplies this object's blocks, and must outlive it; null for the own pool. The counters of bytes
     * stay as they were: who uses an object again calls `Free` first. After ERR_MEMORY there is no main buffer.
     */
    [[nodiscard]] int AllocBsonBuffer(CBaseBson* pMemoryBson, UINT nSize);
    /**
     * `nSize` zeroed bytes; without a main buffer it makes one first. Size 0 gives offset 0 and leaves the pointer.
     * A null `lpPointer` appends; in a full buffer the bytes come from a bson section if that is allowed, and the
     * offset is an id with bit 31 set. A `lpPointer` into the buffer claims: these bytes are zeroed where they are and
     * become the last in use, which may lower the size; ERR_PARAMETER past the buffer's end.
     */
    [[nodiscard]] int AllocFromBsonBuffer(UINT nSize, volatile UINT& nOffset, LPBYTE& lpPointer);
    /** The same for one record; `lpRecord` comes in null, else it claims. */
    template <typename T>
    [[nodiscard]] int AllocFromBsonBuffer(T*& lpRecord, volatile UINT& nOffset);
    /** Appends at a multiple of 4, no sections. Bytes that this plan had in use before aren't zeroed again. */
    [[nodiscard]] int AllocFromBsonBufferEx(UINT nSize, UINT& nOffset, LPBYTE& lpPointer);
    /**
     * Adopts a block, which stays the caller's; negative sizes count as 0. A main buffer of its own is out of use then,
     * and its memory comes back with `Free` of the object that supplied it.
     */
    void SetBuffer(LPBYTE lpBuffer, int nSize, int nDataSize);
    /** Gives the main buffer out of hand; its block lives until `Free` or the next main buffer. */
    LPBYTE DetachBuffer();

    /** Append a value, unaligned, outside the plan's total size: 1, or 0 if it would pass the buffer's end. */
    BOOL AppendByte(BYTE bValue) { return AppendBuffer(&bValue, sizeof bValue); }
    BOOL AppendShort(short nValue) { return AppendBuffer(&nValue, sizeof nValue); }
    BOOL AppendInt32(int nValue) { return AppendBuffer(&nValue, sizeof nValue); }
    BOOL AppendInt64(long long llValue) { return AppendBuffer(&llValue, sizeof llValue); }
    BOOL AppendDouble(double dblValue) { return AppendBuffer(&dblValue, sizeof dblValue); }
    BOOL AppendBuffer(const void* lpBytes, int nLen);

    /**
     * Writes `bTypeCode` and behind it the value in the form of a field of type `bFieldType`; the place is that of
     * `AllocFromBsonBuffer`. A type without such a form writes nothing and answers 0.
     */
    [[nodiscard]] int WriteFieldData(BYTE bFieldType, BYTE bTypeCode, st_VARDATA& stValue, LPBYTE lpPosition);

    // --- bson sections -----------------------------------------------------------------------------------------------

    /** `nSize` zeroed bytes of the open bson section or a new one; ERR_MEMORY where bson sections aren't allowed. */
    [[nodiscard]] int AllocFromBsonBufferSection(int nSize, LPBYTE& lpPointer, volatile UINT& nAddrID);
    /** Opens the next bson section, of the default size or for `nSize` bytes. Up to 32,767. */
    [[nodiscard]] int AllocBsonBufferSection(UINT nSize);

    // --- sections, all in the topmost object of the masters' chain ---------------------------------------------------

    /** `nSize` zeroed bytes of the open general section or a new one. */
    [[nodiscard]] int AllocFromBufferSection(UINT nSize, UINT& nAddrID, LPBYTE& lpPointer);
    template <typename T>
    [[nodiscard]] int AllocFromBufferSection(T*& lpRecord, UINT& nAddrID);
    /**
     * One zeroed record in the sections of its kind. Where these move on, the flags tell the reader: SECTION_LAST in
     * the record before, SECTION_FIRST in the new one. A record keeps its other flags and gets no SECTION_FIRST.
     */
    [[nodiscard]] int AllocRecord(RECORDHEAD*& lpRecord, UINT& nAddrID);
    [[nodiscard]] int AllocStep(EXECUTESTEP*& lpStep, UINT& nAddrID);
    [[nodiscard]] int AllocBlockInfo(BLOCKINFO*& lpBlock, UINT& nAddrID);
    /** A section by its number, from 1; null if there is none. */
    LPBYTE GetBufferSection(USHORT nSectionNo);

    // --- scratch -----------------------------------------------------------------------------------------------------

    /** Scratch memory at a multiple of 4; it dies with the object, or with what `ResetTempDataPos` gives back. */
    [[nodiscard]] int AllocFromBufferPool(UINT nSize, LPBYTE& lpPointer, int bZero);
    /** `nCount` null pointers. */
    [[nodiscard]] int AllocBsonMetaData(int nCount, LPBYTE*& arPointer);

    // --- small questions and settings --------------------------------------------------------------------------------

    void SetDefaultBufferSectionSize(UINT nSize) { m_nDefaultBufferSectionSize = nSize; }
    USHORT GetBufferSectionNum() const { return m_nBufferSectionNum; }
    /** Bytes in use in the open general section. */
    UINT GetCurretSectionDataSize() const { return m_nCurrentDataSize; }
    void SetBsonStartOffset(UINT nOffset) { m_nBsonStartOffset = nOffset; }
    UINT GetBsonDataSize() const { return m_nBsonDataSize; }
    UINT GetBsonBufferSize() const { return m_nBsonBufferSize; }
    /**
     * Set the bytes in use, at most the buffer's size. Those that no call has handed out yet arrive zeroed, so they are
     * written after the call.
     */
    void SetDataLen(UINT nLen);
    void AddDataLen(UINT nLen) { SetDataLen(m_nBsonDataSize + std::min(nLen, ~m_nBsonDataSize)); }
    LPBYTE GetBuffer() const { return m_lpBuffer; }
    UINT GetBufferSize() const { return m_nBsonBufferSize; }
    /** Empties the main buffer and keeps it; of what it held, nothing shows in the next plan. */
    void ResetBuffer();
    /** The offset of a place in the main buffer, 0 for null. */
    UINT GetOffset(const BYTE* lpPlace) const {
        return lpPlace ? static_cast<UINT>(lpPlace - m_lpBuffer) - m_nBsonStartOffset : 0;
    }
    /** The id of the first free byte of the last section, 0 without sections. */
    UINT GetFreeSectionAddrID();
    void SetAllowBsonSection(BOOL bAllow) { m_bAllowBsonSection = bAllow; }
    /** The place at which the next piece of a bson section goes, and the way back to it; the blocks behind it stay. */
    void GetBsonSectionPos(USHORT& nSectionNum, UINT& nDataSize) const {
        nSectionNum = m_nBsonSectionNum;
        nDataSize = m_nBsonCurrentDataSize;
    }
    void ResetBsonSectionPos(USHORT nSectionNum, UINT nDataSize);
    /** The same for the scratch block; pieces from the pool stay. */
    UINT GetTempDataPos() const { return m_nTempDataSize; }
    void ResetTempDataPos(UINT nPos) { m_nTempDataSize = nPos; }
    CKestroBufferPool* GetBufferPool() { return &m_stBufferPool; }
    /** 2: the main block is this object's to release; 0: it isn't. */
    void SetAutoReleaseFlag(int nAutoRelease) { m_nAutoRelease = nAutoRelease; }

    /** Space in front of the plan for the sender's frame head. */
    static constexpr UINT FRAME_SPACE = 112;

protected:
    static constexpr int SECTION_TABLE_COUNT = 8;
    static constexpr UINT META_SPACE_SIZE = 1024;
    /** A block of metadata begins with the pointer to the one before. */
    static constexpr UINT META_LINK_SIZE = 8;

    LPBYTE m_lpBuf;   // the main block
    void* m_lpBufPtr; // its token
    CBaseBson* m_pMasterBson;
    CBaseBson* m_pMemoryBson;
    LPBYTE m_lpBuffer; // the plan
    UINT m_nFreeBufferSize;
    UINT m_nOriginFreeBufferSize; // here and below: a snapshot of its twin
    UINT m_nExecutePlanDataSize;  // main buffer and sections
    UINT m_nOriginExecutePlanDataSize;
    UINT m_nBsonStartOffset;
    int m_nAutoRelease;
    UINT m_nDefaultBufferSectionSize;
    UINT m_nOriginBsonBufferSize;
    UINT m_nBsonBufferSize;
    UINT m_nOriginBsonDataSize;
    UINT m_nBsonDataSize;

    LPBYTE* m_lpBsonSectionArray; // slots behind m_nBsonSectionNum hold blocks to be used again, or null
    int m_nBsonSectionArrayCount;
    USHORT m_nBsonSectionNum;
    LPBYTE m_lpBsonCurrentSection;
    UINT m_nBsonCurrentDataSize;
    USHORT m_nBsonCurrentSectionNo; // with BSON_SECTION_MARK
    UINT m_nBsonCurrentSectionSize;
    BOOL m_bAllowBsonSection;

    LPBYTE m_lpCurrentSection; // the open general section
    LPBYTE m_lpOriginCurrentSection;
    UINT m_nCurrentDataSize;
    UINT m_nOriginDataSize;
    UINT m_nCurrentSectionSize;
    UINT m_nOriginSectionSize;
    USHORT m_nCurrentSectionNo;
    USHORT m_nOrginSectionNo;

    LPBYTE m_lpRecordSection; // the open section of records
    LPBYTE m_lpOriginRecordSection;
    UINT m_nCurrentRecordDataSize;
    UINT m_nOriginRecordDataSize;
    UINT m_nCurrentRecordSectionSize;
    UINT m_nOrginRecordSectionSize;
    USHORT m_nCurrentRecordSectionNo;
    USHORT m_nOrginRecordSectionNo;

    LPBYTE m_lpStepSection; // the open section of steps
    LPBYTE m_lpOriginStepSection;
    UINT m_nCurrentStepDataSize;
    UINT m_nOriginStepDataSize;
    UINT m_nCurrentStepSectionSize;
    UINT m_nOrginStepSectionSize;
    USHORT m_nCurrentStepSectionNo;
    USHORT m_nOrginStepSectionNo;

    LPBYTE m_arrBufferSection[SECTION_TABLE_COUNT]; // the first table of sections
    LPBYTE* m_lpBufferSectionArray;                 // the table in use
    int m_nSectionArrayCount;
    USHORT m_nBufferSectionNum;
    USHORT m_nOriginBufferSectionNum;
    UINT m_nSectionStartOffset;
    UINT m_nOriginSectionStartOffset;
    BOOL m_bChangeSection; // the general section has changed since the last block record
    BOOL m_bNoneExecutePlan;

    UINT m_nBsonMetaPos;
    UINT m_nBsonMetaSize;
    LPBYTE m_lpBsonMetaBuf;
    // There is no block before the first one: in place of a link it holds the high-water mark of the main buffer.
    alignas(void*) BYTE m_lpBsonMetaSpace[META_SPACE_SIZE];

    RECORDHEAD* m_lpPreRecordHead;
    EXECUTESTEP* m_lpPreExecuteStep;
    BLOCKINFO* m_lpPreBlockInfo;

    LPBYTE m_lpTempBuffer; // the scratch block
    void* m_lpTempBufferPtr;
    UINT m_nTempBufferSize;
    UINT m_nTempDataSize;
    CKestroBufferPoolEx2 m_stBufferPool;
    CKestroMemoryPool m_stMemoryPool;

private:
    /** The open section of a kind. */
    struct OPENSECTION {
        LPBYTE& m_lpSection;
        UINT& m_nDataSize;
        UINT& m_nSectionSize;
        USHORT& m_nSectionNo;
    };

    void SetConstructed();
    void ReleaseMemory();
    void ForgetSections();
    int AllocMainBlock(UINT nSize, LPBYTE& lpBuf, void*& lpToken, UINT& nCapacity);
    int AllocFirstBuffer(UINT nSize);
    int AllocFirstRecord(UINT nSize, volatile UINT& nOffset, LPBYTE& lpPointer);
    int AllocScratch(UINT nSize, LPBYTE& lpPointer, int bZero);
    int WriteTagged(BYTE bTypeCode, const void* lpFirst, UINT nFirst, const void* lpSecond, UINT nSecond,
                    LPBYTE lpPlace);

    bool HasRoom(UINT nSize) const {
        return nSize <= m_nBsonBufferSize && m_nBsonDataSize <= m_nBsonBufferSize - nSize;
    }
    /** The plan's bytes from here on were never used, and hold what memory held. Never below `m_nBsonDataSize`. */
    UINT GetCleanEnd() const {
        UINT nEnd;
        std::memcpy(&nEnd, m_lpBsonMetaSpace, sizeof nEnd);
        return nEnd;
    }
    void SetCleanEnd(UINT nEnd) { std::memcpy(m_lpBsonMetaSpace, &nEnd, sizeof nEnd); }
    /** Clears what is left to clear in front of `nEnd`. */
    void ClearTo(UINT nEnd);
    /** Counts the bytes of the main buffer from `nPos` on as the last in use. */
    void TakeBytes(UINT nPos, UINT nSize) {
        m_nExecutePlanDataSize += nPos + nSize - m_nBsonDataSize;
        m_nBsonDataSize = nPos + nSize;
        // A claim takes the same bytes once more, so the count may come to its end early.
        m_nFreeBufferSize -= std::min(nSize, m_nFreeBufferSize);
    }

    CBaseBson* Top() {
        CBaseBson* pTop = this;
        while (pTop->m_pMasterBson)
            pTop = pTop->m_pMasterBson;
        return pTop;
    }
    OPENSECTION OpenSectionOf(BYTE bType);
    int OpenNextSection(BYTE bType, std::uint64_t nSize);
    int AllocFromOpenSection(BYTE bType, UINT nSize, UINT& nAddrID, LPBYTE& lpPointer, bool& bChanged);
    UINT SectionDataSize(LPBYTE lpSection);
    int GrowTable(LPBYTE*& arTable, int& nCount, int nFirst, int nMost);
};

template <typename T>
int CBaseBson::AllocFromBsonBuffer(T*& lpRecord, volatile UINT& nOffset) {
    static_assert(alignof(T) == 1, "records of a plan are packed");
    const UINT nPos = m_nBsonDataSize;
    if (m_lpBuffer && !lpRecord && HasRoom(sizeof(T))) [[likely]] {
        void* const lpBytes = std::memset(m_lpBuffer + nPos, 0, sizeof(T));
        TakeBytes(nPos, sizeof(T));
        SetCleanEnd(std::max(GetCleanEnd(), m_nBsonDataSize));
        nOffset = nPos - m_nBsonStartOffset;
        lpRecord = static_cast<T*>(lpBytes);
        return ERR_OK;
    }
    LPBYTE lpBytes = reinterpret_cast<LPBYTE>(lpRecord);
    const int nCode = AllocFirstRecord(sizeof(T), nOffset, lpBytes);
    if (nCode == ERR_OK) lpRecord = reinterpret_cast<T*>(lpBytes);
    return nCode;
}

template <typename T>
int CBaseBson::AllocFromBufferSection(T*& lpRecord, UINT& nAddrID) {
    static_assert(alignof(T) == 1, "records of a plan are packed");
    LPBYTE lpBytes = nullptr;
    const int nCode = AllocFromBufferSection(sizeof(T), nAddrID, lpBytes);
    if (nCode == ERR_OK) lpRecord = reinterpret_cast<T*>(lpBytes);
    return nCode;
}

inline int CBaseBson::AllocFromBufferPool(UINT nSize, LPBYTE& lpPointer, int bZero) {
    const std::uint64_t nPiece = (std::uint64_t{nSize} + 3) & ~std::uint64_t{3};
    if (!m_lpTempBuffer || nPiece + m_nTempDataSize > m_nTempBufferSize) return AllocScratch(nSize, lpPointer, bZero);
    lpPointer = m_lpTempBuffer + m_nTempDataSize;
    m_nTempDataSize += static_cast<UINT>(nPiece);
    if (bZero) std::memset(lpPointer, 0, nPiece);
    return ERR_OK;
}
