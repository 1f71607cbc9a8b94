// A recordset's copy: the block decoded once more, the rows' states, and the new rows as they are.

#include <new>

#include "MemDBRecordset.h"

int CMemDBRecordset::Clone(IKestroDBRecordset*& pRecordset) {
    pRecordset = nullptr;
    auto* const lpClone = new (std::nothrow) CMemDBRecordset;
    if (!lpClone) return ERR_MEMORY;
    const int nCode = lpClone->CopyFrom(*this);
    if (nCode != ERR_OK) {
        lpClone->Release();
        return nCode;
    }
    pRecordset = lpClone;
    return ERR_OK;
}

int CMemDBRecordset::CopyFrom(const CMemDBRecordset& stSource) {
    if (stSource.m_lpBuffer) {
        const auto nSize = static_cast<std::size_t>(stSource.m_nBufferSize);
        auto* const lpBlock = new (std::nothrow) BYTE[nSize];
        if (!lpBlock) return ERR_MEMORY;
        std::memcpy(lpBlock, stSource.m_lpBuffer, nSize);
        if (const int nCode = AnalysisRecordset(lpBlock, stSource.m_nBufferSize, 1)) return nCode;
    }
    m_vecOriginalRecord.Clear();
    for (int i = 0; i < m_nQueryRowNum; ++i) {
        const BYTE bStatus = m_lpRecordset[i].m_bRecordStatus = stSource.m_lpRecordset[i].m_bRecordStatus;
        if (bStatus != STATUS_DELETED && !m_vecOriginalRecord.Push(m_lpRecordset + i)) return ERR_MEMORY;
    }
    for (int i = 0; i < stSource.m_vecInsertRecord.Size(); ++i)
        if (const int nCode = CopyNewRow(*stSource.m_vecInsertRecord[i])) return nCode;
    // No two new rows of one set share an identity.
    m_nInsertDataID = stSource.m_nInsertDataID;
    m_nCurrentRowNo = stSource.m_nCurrentRowNo;
    SeatCursor();
    return ERR_OK;
}

int CMemDBRecordset::CopyNewRow(const stu_RECORD& stSource) {
    stu_RECORD* const lpRow = NewRow(stSource.m_nDataID, static_cast<RECORDSTATUS>(stSource.m_bRecordStatus));
    if (!lpRow) return ERR_MEMORY;
    std::memcpy(lpRow->m_pFieldModify, stSource.m_pFieldModify, static_cast<std::size_t>(m_nFieldNum));
    // Wide texts are made again when they are asked for.
    for (int i = 0; i < m_nFieldNum; ++i) {
        st_VARDATA& stValue = lpRow->m_lpFieldData[i];
        stValue.SetDataEx(stSource.m_lpFieldData[i]);
        if (stValue.m_vt != VT_VARCHAR && stValue.m_vt != VT_BLOB) continue;
        // A text lives in the pool of its recordset, which may end before the clone.
        stValue.m_lpszValue = AllocText(stValue.m_lpszValue, static_cast<UINT>(stValue.m_nStrLen));
        if (!stValue.m_lpszValue) return ERR_MEMORY;
    }
    return ERR_OK;
}
