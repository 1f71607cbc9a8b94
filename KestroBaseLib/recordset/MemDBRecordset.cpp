// The life of a recordset, its fields' descriptions and its cursor. Decoding, reading, editing, cloning and saving
// stand in the other MemDBRecordset sources.

#include "MemDBRecordset.h"

#include <new>
#include <utility>

namespace {

constexpr UINT POOL_PAGE_SIZE = 65536;
constexpr long long FIRST_INSERT_ID = -1;

struct CATEGORYROW {
    BYTE m_bType;
    KESTROFIELDCATEGORY m_nCategory;
};

constexpr CATEGORYROW CATEGORIES[] = {
    {VT_INT, CATEGORY_INTEGER},   {VT_BIGINT, CATEGORY_INTEGER},   {VT_DOUBLE, CATEGORY_FLOAT},
    {VT_DATETIME, CATEGORY_TIME}, {VT_CHAR, CATEGORY_TEXT},        {VT_VARCHAR, CATEGORY_TEXT},
    {VT_CLOB, CATEGORY_TEXT},     {VT_BLOB, CATEGORY_BINARY},      {VT_TIME, CATEGORY_TIME},
    {VT_DATE, CATEGORY_TIME},     {VT_JSON, CATEGORY_TEXT},        {VT_TINYINT, CATEGORY_INTEGER},
    {VT_ENUM, CATEGORY_INTEGER},  {VT_SMALLINT, CATEGORY_INTEGER}, {VT_DECIMAL, CATEGORY_DECIMAL},
    {VT_SET, CATEGORY_INTEGER},
};

} // namespace

// --- life ------------------------------------------------------------------------------------------------------------

CMemDBRecordset::CMemDBRecordset() {
    m_stBufferPool.SetPoolPageSize(POOL_PAGE_SIZE);
}

CMemDBRecordset::~CMemDBRecordset() {
    Free();
}

int CMemDBRecordset::CreateInstance(IKestroDBRecordset*& pRecordset) {
    pRecordset = new (std::nothrow) CMemDBRecordset;
    return pRecordset ? ERR_OK : ERR_MEMORY;
}

void CMemDBRecordset::Free() {
    m_nFieldNum = m_nQueryRowNum = m_nCurrentRowNo = 0;
    m_nInsertDataID = FIRST_INSERT_ID;
    m_bFetchData = m_bRecordsetCanModify = 0;
    if (m_bAutoRelease) delete[] m_lpBuffer;
    m_lpBuffer = nullptr;
    m_nBufferSize = 0;
    m_bAutoRelease = 1;
    m_vecOriginalRecord.Free();
    m_vecInsertRecord.Free();
    // The tables of names go with the pool: without fields nothing asks them.
    m_mapName2Index.Free();
    m_mapNameW2Index.Free();
    m_lpFieldInfo = nullptr;
    m_lpRecordset = m_lpCurrentRecord = nullptr;
    m_stBufferPool.Free();
}

// --- fields ----------------------------------------------------------------------------------------------------------

const wchar_t* CMemDBRecordset::FieldTitleW(int nField) {
    const st_FIELD* const lpField = Field(nField);
    return lpField ? lpField->m_lpszTitle : nullptr;
}

const char* CMemDBRecordset::FieldTitle(int nField) {
    const st_FIELD* const lpField = Field(nField);
    return lpField ? lpField->m_lpTitle : nullptr;
}

const wchar_t* CMemDBRecordset::FieldNameW(int nField) {
    const st_FIELD* const lpField = Field(nField);
    return lpField ? lpField->m_lpszRsName : nullptr;
}

const char* CMemDBRecordset::FieldName(int nField) {
    const st_FIELD* const lpField = Field(nField);
    return lpField ? lpField->m_lpRsName : nullptr;
}

const char* CMemDBRecordset::FieldBaseTableName(int nField) {
    const st_FIELD* const lpField = Field(nField);
    return lpField ? lpField->m_lpTableName : nullptr;
}

const wchar_t* CMemDBRecordset::FieldBaseTableNameW(int nField) {
    const st_FIELD* const lpField = Field(nField);
    return lpField ? lpField->m_lpszTableName : nullptr;
}

int CMemDBRecordset::FieldIndex(const char* lpszName) {
    if (!lpszName || m_nFieldNum == 0) return -1;
    if (std::strlen(lpszName) < sizeof(CFieldName2Index::stu_Field_BaseData::m_lpszName))
        return m_mapName2Index.Get(lpszName);
    // The table holds short names only. As there, of two names the last counts, of two titles the first.
    for (int i = m_nFieldNum; i-- > 0;)
        if (std::strcmp(m_lpFieldInfo[i].m_lpRsName, lpszName) == 0) return i;
    for (int i = 0; i < m_nFieldNum; ++i)
        if (std::strcmp(m_lpFieldInfo[i].m_lpTitle, lpszName) == 0) return i;
    return -1;
}

int CMemDBRecordset::FieldType(int nField) {
    const st_FIELD* const lpField = Field(nField);
    return lpField ? lpField->m_bFieldType : 0;
}

int CMemDBRecordset::FieldPrimaryKey(int nField) {
    const st_FIELD* const lpField = Field(nField);
    return lpField ? lpField->m_bPrimaryKey : 0;
}

int CMemDBRecordset::FieldAllowNull(int nField) {
    const st_FIELD* const lpField = Field(nField);
    return lpField ? lpField->m_bAllowNull : 0;
}

int CMemDBRecordset::FieldMaxLen(int nField) {
    const st_FIELD* const lpField = Field(nField);
    return lpField ? lpField->m_bMaxLen : 0;
}

int CMemDBRecordset::FieldCategory(int nField) {
    for (const CATEGORYROW& stRow : CATEGORIES)
        if (stRow.m_bType == FieldType(nField)) return stRow.m_nCategory;
    return CATEGORY_NONE;
}

// --- cursor ----------------------------------------------------------------------------------------------------------

stu_RECORD* CMemDBRecordset::Row(int nRow) const {
    const int nOriginal = m_vecOriginalRecord.Size();
    return nRow < nOriginal ? m_vecOriginalRecord[nRow] : m_vecInsertRecord[nRow - nOriginal];
}

/** The row at the position becomes the current one; a position behind the rows becomes their end. */
void CMemDBRecordset::SeatCursor() {
    const int nRows = GetRowNum();
    if (m_nCurrentRowNo > nRows) m_nCurrentRowNo = nRows;
    m_lpCurrentRecord = m_nCurrentRowNo < nRows ? Row(m_nCurrentRowNo) : nullptr;
}

int CMemDBRecordset::Fetch() {
    const bool bLater = std::exchange(m_bFetchData, BYTE{1}) != 0;
    return bLater || m_nCurrentRowNo != 0 ? MoveNext() : static_cast<int>(ERR_OK);
}

int CMemDBRecordset::MoveFirst() {
    m_nCurrentRowNo = 0;
    SeatCursor();
    return ERR_OK;
}

int CMemDBRecordset::MoveNext() {
    // Where a row was deleted, the next one has moved into its place; in front of the first row, that one comes next.
    if (m_lpCurrentRecord && m_lpCurrentRecord->m_bRecordStatus != STATUS_DELETED) ++m_nCurrentRowNo;
    SeatCursor();
    return ERR_OK;
}

int CMemDBRecordset::MovePrevious() {
    if (m_nCurrentRowNo == 0) {
        m_lpCurrentRecord = nullptr;
        return ERR_OK;
    }
    --m_nCurrentRowNo;
    SeatCursor();
    return ERR_OK;
}

int CMemDBRecordset::MoveLast() {
    const int nRows = GetRowNum();
    m_nCurrentRowNo = nRows == 0 ? 0 : nRows - 1;
    SeatCursor();
    return ERR_OK;
}

int CMemDBRecordset::SetCurrentRow(int nRow) {
    if (nRow < 0 || nRow >= GetRowNum()) return ERR_FAILED;
    m_nCurrentRowNo = nRow;
    SeatCursor();
    return ERR_OK;
}

int CMemDBRecordset::SetCurrentRow(long long nDataID) {
    // From here on and then from the first row: who goes through the identities in order finds each at once.
    const int nRows = GetRowNum();
    for (int i = 0, nRow = m_nCurrentRowNo; i < nRows; ++i, ++nRow) {
        if (nRow >= nRows) nRow = 0;
        if (Row(nRow)->m_nDataID == nDataID) return SetCurrentRow(nRow);
    }
    return ERR_FAILED;
}

int CMemDBRecordset::GetDataID(long long& nDataID) {
    nDataID = 0;
    if (!m_lpCurrentRecord) return ERR_NULL_POINTER;
    nDataID = m_lpCurrentRecord->m_nDataID;
    return ERR_OK;
}
