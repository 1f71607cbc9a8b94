// Saving: the changes as a plan, and what becomes of them when the server has taken them. The rows lie in record
// sections; their fields and values in the main buffer. A buffer that is too small answers 3, and the caller starts
// again in a larger one.

#include <algorithm>
#include <cwchar>

#include "CommonDataDef.h"
#include "KestroDecimal.h"
#include "MemDBRecordset.h"

namespace {

/** Room for a name in the plan, at least. */
constexpr UINT NAME_ROOM_LEAST = 32;
/** Bytes of the table's name and of a column's at most, the terminator included. */
constexpr int TABLE_NAME_SIZE = 64;
constexpr int COLUMN_NAME_SIZE = RECORDSET_NAME_SIZE * 3;
static_assert(COLUMN_NAME_SIZE <= 255);
/** Fields of a plan, which numbers them from 1 in one byte. */
constexpr int PLAN_FIELD_MOST = 255;
/** From this length on a value's run is counted in 32 bits behind a byte of 255. In rows that begins at 255. */
constexpr UINT LONG_RUN = 250;

/** A wide name as UTF-8 in the plan, cut to `nMost` bytes: its offset, and its length with the terminator. */
int WriteName(CBaseBson& stBson, const wchar_t* lpszWide, int nMost, UINT& nOffset, BYTE& bLen) {
    char szName[COLUMN_NAME_SIZE];
    const auto nElements = static_cast<int>(wcsnlen(lpszWide, RECORDSET_NAME_SIZE));
    const int nLen = KestroUnicode2UTF8(lpszWide, nElements, szName, nMost);
    if (nLen < 0) return ERR_FAILED;
    const UINT nSize = static_cast<UINT>(nLen) + 1;
    LPBYTE lpName = nullptr;
    if (const int nCode = stBson.AllocFromBsonBuffer(std::max(nSize, NAME_ROOM_LEAST), nOffset, lpName)) return nCode;
    std::memcpy(lpName, szName, nSize);
    bLen = static_cast<BYTE>(nSize);
    return ERR_OK;
}

int WriteDecimal(const st_VARDATA& stValue, LPBYTE lpPlace, int nSize) {
    BYTE arImage[DECIMAL_BIN_SIZE];
    int nLen = 0;
    if (const int nCode = CKestroDecimal::FormatBin(&stValue, arImage, nLen)) return nCode;
    if (nLen > nSize) return ERR_DECIMAL_PRECISION;
    std::memcpy(lpPlace, arImage, static_cast<std::size_t>(nLen));
    return ERR_OK;
}

void WriteRun(const st_VARDATA& stValue, LPBYTE lpPlace) {
    const UINT nLen = static_cast<UINT>(stValue.m_nStrLen);
    if (nLen < LONG_RUN) {
        *lpPlace++ = static_cast<BYTE>(nLen);
    } else {
        *lpPlace++ = 255;
        std::memcpy(lpPlace, &nLen, sizeof nLen);
        lpPlace += sizeof nLen;
    }
    if (nLen != 0) std::memcpy(lpPlace, stValue.m_lpValue, nLen);
}

/** Writes a value of a column's type behind its leading byte, into `nSize` zeroed bytes. */
int WriteValue(BYTE bType, const st_VARDATA& stValue, LPBYTE lpPlace, int nSize) {
    switch (bType) {
        case VT_INT:
        case VT_TIME:
        case VT_DATE:
        case VT_BIGINT:
        case VT_DOUBLE:
        case VT_DATETIME:
        case VT_TINYINT:
        case VT_SMALLINT:
            std::memcpy(lpPlace, &stValue.m_llValue, static_cast<std::size_t>(nSize));
            return ERR_OK;
        case VT_CHAR:
        case VT_VARCHAR:
        case VT_CLOB:
        case VT_BLOB:
            WriteRun(stValue, lpPlace);
            return ERR_OK;
        case VT_DECIMAL:
            return WriteDecimal(stValue, lpPlace, nSize);
        default:
            // An ENUM stays zero. Intended.
            return ERR_OK;
    }
}

/** One changed field: its element, and its value in the main buffer. */
int WriteField(CBaseBson& stBson, BYTE bType, const st_VARDATA& stSource, RSFIELDBSON& stElement) {
    CKestroBufferPoolEx stPool;
    st_VARDATA stValue;
    if (const int nCode = stSource.GetCompatableFieldValue(&stPool, bType, stValue, true)) return nCode;
    int nLen = 0;
    if (const int nCode = CMemDBRecordset::GetDataBufferLen(nLen, bType, &stValue)) return nCode;
    if (nLen == 0) return ERR_OK;
    UINT nOffset = 0;
    LPBYTE lpPlace = nullptr;
    if (const int nCode = stBson.AllocFromBsonBuffer(static_cast<UINT>(nLen), nOffset, lpPlace)) return nCode;
    stElement.m_nFieldDataLen = static_cast<UINT>(nLen);
    stElement.m_nFieldDataOffset = nOffset;
    return WriteValue(bType, stValue, lpPlace + 1, nLen - 1);
}

} // namespace

// --- plan ------------------------------------------------------------------------------------------------------------

int CMemDBRecordset::ParseRecordsetMemDB(CBaseBson& stBson, EXECUTEPLANBSON*& pPlan) {
    pPlan = nullptr;
    if (m_nFieldNum > PLAN_FIELD_MOST) return ERR_FIELD_NUMBER;
    // In a plan such an object has a query where others have their name.
    if (m_nFieldNum != 0 && m_lpFieldInfo->m_bObjectType == OBJECT_SUBQUERY) return ERR_INTERNAL_DATA;
    EXECUTEPLANBSON* lpHead = nullptr;
    UPDATERECORDSETPLANBSON* lpUpdate = nullptr;
    UINT nOffset = 0, nCommandOffset = 0;
    if (const int nCode = stBson.AllocFromBsonBuffer(lpHead, nOffset)) return nCode;
    if (const int nCode = stBson.AllocFromBsonBuffer(lpUpdate, nCommandOffset)) return nCode;
    lpHead->m_nCommandOffset = nCommandOffset;

    CountChanges();
    if (const int nCode = WriteObject(stBson)) return nCode;
    if (const int nCode = WriteFieldInfo(stBson)) return nCode;
    if (const int nCode = WriteRows(stBson)) return nCode;
    *lpUpdate = m_stUpdateReocrdsetBson;

    stBson.SetSectionOffset();
    lpHead->m_nType = PLAN_WRITE_BACK;
    lpHead->m_bVersion = PLAN_VERSION;
    lpHead->m_bWriteLog = 1;
    lpHead->m_bObjectMapNum = 1;
    lpHead->m_nClientSectionNum = stBson.GetBufferSectionNum();
    lpHead->m_nClientBsonDataSize = lpHead->m_nSectionStartOffset = stBson.GetBsonDataSize();
    lpHead->m_nBsonDataSize = lpHead->m_nTotalDataSize = stBson.GetExecutePlanDataSize();
    lpHead->m_nFreeSectionAddrID = stBson.GetFreeSectionAddrID();
    pPlan = lpHead;
    return ERR_OK;
}

/** The numbers of the steps: deletes from 1, then updates, then inserts. Deleted rows have left the display order. */
void CMemDBRecordset::CountChanges() {
    UPDATERECORDSETPLANBSON& st = m_stUpdateReocrdsetBson;
    st = UPDATERECORDSETPLANBSON{};
    for (int i = 0; i < m_nQueryRowNum; ++i) {
        const BYTE bStatus = m_lpRecordset[i].m_bRecordStatus;
        st.m_nDeleteStepNum += bStatus == STATUS_DELETED;
        st.m_nUpdateStepNum += bStatus == STATUS_UPDATED;
    }
    for (int i = 0; i < m_vecInsertRecord.Size(); ++i)
        st.m_nInsertStepNum += m_vecInsertRecord[i]->m_bRecordStatus == STATUS_INSERTED;
    // Behind the deletes one number stays free, and the inserts have theirs even if there are none. Intended.
    if (st.m_nDeleteStepNum != 0) st.m_nDeleteStepNo = 1;
    if (st.m_nUpdateStepNum != 0) st.m_nUpdateStepNo = st.m_nDeleteStepNum + 2;
    st.m_nInsertStepNo = st.m_nDeleteStepNum + st.m_nUpdateStepNum + 2;
    const UINT nSteps = st.m_nDeleteStepNum + st.m_nUpdateStepNum + st.m_nInsertStepNum;
    st.m_stExecuteObject.m_stExecuteStep.m_nExecuteStepNum = nSteps;
    st.m_stExecuteObject.m_stExecuteRecord.m_nRecordNum = nSteps;
}

/** The table to change is that of the first field. */
int CMemDBRecordset::WriteObject(CBaseBson& stBson) {
    OBJECTBSON* lpObject = nullptr;
    UINT nOffset = 0, nNameOffset = 0;
    BYTE bNameLen = 0;
    if (const int nCode = stBson.AllocFromBsonBuffer(lpObject, nOffset)) return nCode;
    const wchar_t* const lpszTable = m_nFieldNum == 0 ? L"" : m_lpFieldInfo->m_lpszTableName;
    if (const int nCode = WriteName(stBson, lpszTable, TABLE_NAME_SIZE, nNameOffset, bNameLen)) return nCode;
    lpObject->m_bObjectNameLen = bNameLen;
    lpObject->m_nObjectNameOffset = nNameOffset;
    lpObject->m_bObjectType = m_nFieldNum == 0 ? BYTE{0} : m_lpFieldInfo->m_bObjectType;
    m_stUpdateReocrdsetBson.m_stExecuteObject.m_nObjectOffset = nOffset;
    return ERR_OK;
}

int CMemDBRecordset::WriteFieldInfo(CBaseBson& stBson) {
    const auto nFields = static_cast<UINT>(m_nFieldNum);
    LPBYTE lpTable = nullptr;
    UINT nOffset = 0;
    if (const int nCode = stBson.AllocFromBsonBuffer(nFields * UINT{sizeof(RSFIELDINFO)}, nOffset, lpTable))
        return nCode;
    for (UINT i = 0; i < nFields; ++i) {
        UINT nNameOffset = 0;
        BYTE bNameLen = 0;
        if (const int nCode = WriteName(stBson, m_lpFieldInfo[i].m_lpszTitle, COLUMN_NAME_SIZE, nNameOffset, bNameLen))
            return nCode;
        RSFIELDINFO& stInfo = reinterpret_cast<RSFIELDINFO*>(lpTable)[i];
        stInfo.m_bTempNo = static_cast<BYTE>(i + 1);
        stInfo.m_bFieldNameLen = bNameLen;
        stInfo.m_nColumnOffset = nNameOffset;
    }
    m_stUpdateReocrdsetBson.m_nFieldNum = nFields;
    m_stUpdateReocrdsetBson.m_nFieldInfoOffset = nOffset;
    return ERR_OK;
}

int CMemDBRecordset::WriteRows(CBaseBson& stBson) {
    const auto WriteOriginal = [&](BYTE bStatus, BYTE bOperation) {
        for (int i = 0; i < m_nQueryRowNum; ++i)
            if (m_lpRecordset[i].m_bRecordStatus == bStatus)
                if (const int nCode = WriteRow(stBson, m_lpRecordset[i], bOperation)) return nCode;
        return int{ERR_OK};
    };
    const UPDATERECORDSETPLANBSON& st = m_stUpdateReocrdsetBson;
    if (st.m_nDeleteStepNum != 0)
        if (const int nCode = WriteOriginal(STATUS_DELETED, RECORD_DELETE)) return nCode;
    if (st.m_nUpdateStepNum != 0)
        if (const int nCode = WriteOriginal(STATUS_UPDATED, RECORD_UPDATE)) return nCode;
    for (int i = 0; i < m_vecInsertRecord.Size(); ++i)
        if (m_vecInsertRecord[i]->m_bRecordStatus == STATUS_INSERTED)
            if (const int nCode = WriteRow(stBson, *m_vecInsertRecord[i], RECORD_INSERT)) return nCode;
    return ERR_OK;
}

int CMemDBRecordset::WriteRow(CBaseBson& stBson, stu_RECORD& stRecord, BYTE bOperation) {
    RECORDHEAD* lpHead = nullptr;
    UINT nAddrID = 0;
    if (const int nCode = stBson.AllocRecord(lpHead, nAddrID)) return nCode;
    EXECUTERECORDINFO& stFirst = m_stUpdateReocrdsetBson.m_stExecuteObject.m_stExecuteRecord;
    if (stFirst.m_nRecordAddrID == 0) stFirst.m_nRecordAddrID = nAddrID;
    lpHead->m_bOperationType = bOperation;
    // The server numbers a new row.
    if (bOperation != RECORD_INSERT) lpHead->m_nDataID = stRecord.m_nDataID;
    return bOperation == RECORD_DELETE ? ERR_OK : GetExecuteField(stBson, &stRecord, lpHead);
}

int CMemDBRecordset::GetExecuteField(CBaseBson& stBson, stu_RECORD* pRecord, RECORDHEAD* pHead) {
    const auto nChanged = std::count(pRecord->m_pFieldModify, pRecord->m_pFieldModify + pRecord->m_nFieldNum, BYTE{1});
    pHead->m_bFieldNum = static_cast<BYTE>(nChanged);
    UINT nOffset = 0;
    LPBYTE lpTable = nullptr;
    if (const int nCode =
            stBson.AllocFromBsonBuffer(static_cast<UINT>(nChanged) * UINT{sizeof(RSFIELDBSON)}, nOffset, lpTable))
        return nCode;
    pHead->m_nRsFieldOffset = nOffset;
    auto* lpElement = reinterpret_cast<RSFIELDBSON*>(lpTable);
    for (int i = 0; i < pRecord->m_nFieldNum; ++i) {
        if (pRecord->m_pFieldModify[i] != 1) continue;
        lpElement->m_bTempNo = static_cast<BYTE>(i + 1);
        lpElement->m_bFlag = 1;
        const st_VARDATA& stValue = pRecord->m_lpFieldData[i];
        if (stValue.m_vt != VT_NULL)
            if (const int nCode = WriteField(stBson, m_lpFieldInfo[i].m_bFieldType, stValue, *lpElement)) return nCode;
        ++lpElement;
    }
    return ERR_OK;
}

int CMemDBRecordset::GetDataBufferLen(int& nLen, unsigned char bType, const st_VARDATA* pValue) {
    nLen = 0;
    if (pValue->m_vt == VT_NULL || pValue->m_vt == VT_EMPTY) return ERR_OK;
    if (bType == VT_JSON) return ERR_DATA_TYPE;
    if (bType != VT_DECIMAL) return GetFieldBufferLen(bType, 0, pValue->m_nStrLen, nLen);
    nLen = CKestroDecimal::CalcBinLen(pValue) + 1;
    return ERR_OK;
}

// --- after the plan --------------------------------------------------------------------------------------------------

void CMemDBRecordset::ClearState() {
    const auto Clean = [](stu_RECORD& stRecord) {
        stRecord.m_bRecordStatus = STATUS_UNCHANGED;
        std::memset(stRecord.m_pFieldModify, 0, static_cast<std::size_t>(stRecord.m_nFieldNum));
    };
    for (int i = 0; i < m_nQueryRowNum; ++i)
        Clean(m_lpRecordset[i]);
    m_vecOriginalRecord.Fill(m_lpRecordset, m_nQueryRowNum);
    for (int i = 0; i < m_vecInsertRecord.Size(); ++i)
        Clean(*m_vecInsertRecord[i]);
    // The cursor keeps its number, on which a row that was deleted may stand again.
    SeatCursor();
}
