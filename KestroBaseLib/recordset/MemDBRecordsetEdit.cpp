// Changes of the current row, and rows that come and go. Each value is turned to its column's type when it is set, so
// what can't be saved is refused here; nothing is sent.

#include <charconv>
#include <climits>
#include <cmath>
#include <cwchar>

#include "CommonDataDef.h"
#include "KestroDate.h"
#include "KestroDecimal.h"
#include "MemDBRecordset.h"

namespace {

bool IsText(BYTE bType) {
    return bType == VT_CHAR || bType == VT_VARCHAR || bType == VT_CLOB;
}

/** An integer column and the values that its bytes hold, with a sign or without; others are refused, not cut. */
struct INTEGERCOLUMN {
    BYTE m_bType;
    long long m_llLowest;
    long long m_llHighest;
};

constexpr INTEGERCOLUMN INTEGER_COLUMNS[] = {
    {VT_TINYINT, -128, 255},
    {VT_SMALLINT, -32768, 65535},
    {VT_INT, -2147483648LL, 4294967295LL},
};

bool FitsColumn(BYTE bType, long long llValue) {
    for (const INTEGERCOLUMN& stColumn : INTEGER_COLUMNS)
        if (stColumn.m_bType == bType) return llValue >= stColumn.m_llLowest && llValue <= stColumn.m_llHighest;
    return true;
}

/** A number as a 64-bit integer, rounded half away from zero; false for one that doesn't fit. */
bool RoundToInteger(const st_VARDATA& stSource, long long& llValue) {
    st_VARDATA stNumber;
    if (stSource.GetCompatableFieldValue(nullptr, VT_DECIMAL, stNumber, false) != ERR_OK) return false;
    st_VARDATA stWhole;
    if (stNumber.m_vt != VT_DECIMAL || CKestroDecimal::Zoom(&stNumber, &stWhole, 0, 1) != ERR_OK) return false;
    char szText[DECIMAL_TEXT_SIZE];
    const int nLen = CKestroDecimal::PrintDecimal(&stWhole, szText);
    return std::from_chars(szText, szText + nLen, llValue).ec == std::errc();
}

int ToInteger(BYTE bType, const st_VARDATA& stSource, st_VARDATA& stValue) {
    long long llValue = 0;
    if (stSource.m_vt == VT_INT || stSource.m_vt == VT_BIGINT)
        llValue = stSource.GetCompatibleBigInt();
    else if (!RoundToInteger(stSource, llValue))
        return ERR_DATA_TYPE;
    if (!FitsColumn(bType, llValue)) return ERR_DATA_TYPE;
    if (bType == VT_BIGINT)
        stValue.SetData(llValue);
    else
        stValue.SetData(static_cast<int>(llValue));
    return ERR_OK;
}

/** A text without the blanks around it. */
void Trim(const char*& lpszText, int& nLen) {
    while (nLen > 0 && *lpszText == ' ')
        ++lpszText, --nLen;
    while (nLen > 0 && lpszText[nLen - 1] == ' ')
        --nLen;
}

/** The number that a whole text writes, as a decimal; for a column of doubles as a double. */
int ReadNumberText(BYTE bType, const char* lpszText, int nLen, st_VARDATA& stNumber) {
    Trim(lpszText, nLen);
    if (IsNumber(lpszText, nLen) == NUMBER_NONE) return ERR_DATA_TYPE;
    st_VARDATA stText;
    stText.SetData(lpszText, nLen, 0);
    const int nCode =
        stText.GetCompatableFieldValue(nullptr, bType == VT_DOUBLE ? VT_DOUBLE : VT_DECIMAL, stNumber, false);
    return nCode == ERR_OK && stNumber.m_vt == VT_NULL ? ERR_DATA_TYPE : nCode;
}

int ReadDateText(BYTE bType, const char* lpszText, int nLen, st_VARDATA& stValue) {
    CKestroDate stParser;
    if (bType == VT_TIME) {
        KESTROTIME stTime;
        if (const int nCode = stParser.ParseTime(stTime, lpszText, nLen)) return nCode;
        stValue.SetData(stTime);
        return ERR_OK;
    }
    DATE dblDate = 0;
    if (bType == VT_DATETIME) {
        if (const int nCode = stParser.ParseDate(dblDate, lpszText, nLen)) return nCode;
        stValue.SetData(dblDate, VT_DATETIME);
        return ERR_OK;
    }
    KESTRODATE stDate;
    if (const int nCode = stParser.ParseDate(stDate, lpszText, nLen)) return nCode;
    // The reader leaves month and day untested.
    if (const int nCode = CKestroDate::ConvertVariantTime(dblDate, stDate)) return nCode;
    stValue.SetData(stDate);
    return ERR_OK;
}

/** A clock as a duration: what `FieldValue` made of one. */
int ToDuration(const tm& stClock, KESTROTIME& stTime) {
    const bool bNegative = stClock.tm_hour < 0 || stClock.tm_min < 0 || stClock.tm_sec < 0;
    const long long nHour = std::abs(static_cast<long long>(stClock.tm_hour));
    const long long nMinute = std::abs(static_cast<long long>(stClock.tm_min));
    const long long nSecond = std::abs(static_cast<long long>(stClock.tm_sec));
    if (nHour / 24 > 127 || nMinute > 59 || nSecond > 59) return ERR_DATE_DATA;
    const int nDay = static_cast<int>(nHour / 24);
    stTime.m_nDay = static_cast<signed char>(!bNegative ? nDay : nDay == 0 ? KESTRO_MINUS_ZERO_DAYS : -nDay);
    stTime.m_bHour = static_cast<BYTE>(nHour % 24);
    stTime.m_bMintue = static_cast<BYTE>(nMinute);
    stTime.m_bSecond = static_cast<BYTE>(nSecond);
    return ERR_OK;
}

int ToStamp(const tm& stClock, st_VARDATA& stValue) {
    double dblStamp = 0;
    if (stClock.tm_year > 65535 || stClock.tm_mon > 11) return ERR_DATE_DATA;
    if (const int nCode =
            CKestroDate::ConvertVariantTime(dblStamp, stClock.tm_year + 1900, stClock.tm_mon + 1, stClock.tm_mday,
                                            stClock.tm_hour, stClock.tm_min, stClock.tm_sec, 0))
        return nCode;
    stValue.SetData(dblStamp, VT_DATETIME);
    return ERR_OK;
}

} // namespace

// --- values ----------------------------------------------------------------------------------------------------------

char* CMemDBRecordset::AllocText(const char* lpText, UINT nLen) {
    auto* const lpCopy = static_cast<char*>(m_stBufferPool.AllocBuffer(nLen + 1));
    if (!lpCopy) return nullptr;
    if (nLen != 0) std::memcpy(lpCopy, lpText, nLen);
    lpCopy[nLen] = 0;
    return lpCopy;
}

int CMemDBRecordset::CheckChange(int nField) const {
    // A row that was just deleted still shows its values, but takes none.
    if (!m_lpCurrentRecord || m_lpCurrentRecord->m_bRecordStatus == STATUS_DELETED) return ERR_NULL_POINTER;
    const st_FIELD* const lpField = Field(nField);
    if (!lpField) return ERR_FIELD_NUMBER;
    if (!m_bRecordsetCanModify) return ERR_RECORDSET_READ_ONLY;
    return lpField->m_bFieldNameType == 1 ? ERR_OK : ERR_FIELD_READ_ONLY;
}

/** `stValue` is a value that owns nothing; its texts lie in the pool. */
void CMemDBRecordset::StoreField(int nField, const st_VARDATA& stValue) {
    stu_RECORD& stRecord = *m_lpCurrentRecord;
    stRecord.m_lpFieldData[nField].Free();
    std::memcpy(static_cast<void*>(stRecord.m_lpFieldData + nField), &stValue, offsetof(st_VARDATA, m_nDataCount));
    if (stRecord.m_pFieldStr) stRecord.m_pFieldStr[nField] = nullptr;
    stRecord.m_pFieldModify[nField] = 1;
    if (stRecord.m_bRecordStatus == STATUS_UNCHANGED) stRecord.m_bRecordStatus = STATUS_UPDATED;
}

/** A number or a time as a column's type has it. */
int CMemDBRecordset::ConvertForField(BYTE bFieldType, const st_VARDATA& stSource, st_VARDATA& stValue) {
    switch (bFieldType) {
        case VT_INT:
        case VT_BIGINT:
        case VT_TINYINT:
        case VT_SMALLINT:
            return ToInteger(bFieldType, stSource, stValue);
        case VT_JSON:
            stValue.SetData(nullptr, stSource);
            return ERR_OK;
        case VT_CHAR:
        case VT_VARCHAR:
        case VT_CLOB: {
            const int nCode = stSource.GetCompatableFieldValue(&m_stBufferPool, bFieldType, stValue, true);
            // The conversion counts the terminator, a recordset doesn't.
            if (nCode == ERR_OK && stValue.m_vt == VT_VARCHAR) --stValue.m_nStrLen;
            return nCode;
        }
        case VT_DOUBLE:
        case VT_DATETIME:
        case VT_TIME:
        case VT_DATE:
        case VT_DECIMAL: {
            const int nCode = stSource.GetCompatableFieldValue(&m_stBufferPool, bFieldType, stValue, true);
            const bool bNone = nCode == ERR_TYPE_COMPATIBILITY || (nCode == ERR_OK && stValue.m_vt != bFieldType);
            return bNone ? ERR_DATA_TYPE : nCode;
        }
        default:
            return ERR_FIELD;
    }
}

int CMemDBRecordset::SetFieldData(int nField, const st_VARDATA& stSource) {
    if (const int nCode = CheckChange(nField)) return nCode;
    st_VARDATA stValue;
    if (const int nCode = ConvertForField(m_lpFieldInfo[nField].m_bFieldType, stSource, stValue)) return nCode;
    StoreField(nField, stValue);
    return ERR_OK;
}

int CMemDBRecordset::SetFieldNull(int nField) {
    if (const int nCode = CheckChange(nField)) return nCode;
    st_VARDATA stValue;
    stValue.SetNull();
    StoreField(nField, stValue);
    return ERR_OK;
}

int CMemDBRecordset::SetField(int nField, long long llValue) {
    st_VARDATA stValue;
    stValue.SetData(llValue);
    return SetFieldData(nField, stValue);
}

int CMemDBRecordset::SetField(int nField, double dblValue) {
    if (const int nCode = CheckChange(nField)) return nCode;
    if (!std::isfinite(dblValue)) return ERR_DATA_TYPE;
    st_VARDATA stValue;
    stValue.SetData(dblValue, VT_DOUBLE);
    return SetFieldData(nField, stValue);
}

int CMemDBRecordset::SetField(int nField, const tm& stValue) {
    if (const int nCode = CheckChange(nField)) return nCode;
    st_VARDATA stTime;
    if (m_lpFieldInfo[nField].m_bFieldType != VT_TIME) {
        if (const int nCode = ToStamp(stValue, stTime)) return nCode;
    } else {
        KESTROTIME stDuration;
        if (const int nCode = ToDuration(stValue, stDuration)) return nCode;
        stTime.SetData(stDuration);
    }
    return SetFieldData(nField, stTime);
}

// --- texts and bytes -------------------------------------------------------------------------------------------------

int CMemDBRecordset::SetField(int nField, const char* lpszValue) {
    return SetFieldText(nField, lpszValue, lpszValue ? static_cast<int>(strnlen(lpszValue, INT_MAX)) : 0);
}

int CMemDBRecordset::SetFieldText(int nField, const char* lpszText, int nLen) {
    if (nLen == 0) return SetFieldNull(nField);
    if (const int nCode = CheckChange(nField)) return nCode;
    const BYTE bType = m_lpFieldInfo[nField].m_bFieldType;
    st_VARDATA stValue;
    switch (bType) {
        case VT_CHAR:
        case VT_VARCHAR:
        case VT_CLOB:
        case VT_JSON: {
            char* const lpszCopy = AllocText(lpszText, static_cast<UINT>(nLen));
            if (!lpszCopy) return ERR_MEMORY;
            stValue.SetData(lpszCopy, nLen, 0);
            StoreField(nField, stValue);
            return ERR_OK;
        }
        case VT_DATETIME:
        case VT_TIME:
        case VT_DATE:
            if (const int nCode = ReadDateText(bType, lpszText, nLen, stValue)) return nCode;
            StoreField(nField, stValue);
            return ERR_OK;
        case VT_INT:
        case VT_BIGINT:
        case VT_DOUBLE:
        case VT_TINYINT:
        case VT_SMALLINT:
        case VT_DECIMAL:
            if (const int nCode = ReadNumberText(bType, lpszText, nLen, stValue)) return nCode;
            return SetFieldData(nField, stValue);
        default:
            return ERR_FIELD;
    }
}

int CMemDBRecordset::SetFieldValue(int nField, const wchar_t* lpszValue) {
    if (!lpszValue || *lpszValue == 0) return SetFieldNull(nField);
    if (const int nCode = CheckChange(nField)) return nCode;
    constexpr std::size_t BYTES_PER_ELEMENT = 4;
    const std::size_t nLen = std::wcslen(lpszValue);
    if (nLen > INT_MAX / BYTES_PER_ELEMENT - 1) return ERR_STRING_LENGTH;
    const std::size_t nSize = nLen * BYTES_PER_ELEMENT + 1;
    auto* const lpszText = static_cast<char*>(KestroChunkAlloc(nSize));
    if (!lpszText) return ERR_MEMORY;
    const int nBytes = KestroUnicode2UTF8(lpszValue, static_cast<int>(nLen), lpszText, static_cast<int>(nSize));
    const int nCode = nBytes < 0 ? ERR_CHARSET_CONVERT : SetFieldText(nField, lpszText, nBytes);
    KestroChunkFree(lpszText);
    return nCode;
}

int CMemDBRecordset::SetField(int nField, const unsigned char* lpValue, int nLen) {
    if (!lpValue) return SetFieldNull(nField);
    if (const int nCode = CheckChange(nField)) return nCode;
    const BYTE bType = m_lpFieldInfo[nField].m_bFieldType;
    if (bType != VT_BLOB && !IsText(bType)) return ERR_FIELD;
    if (nLen < 0) return ERR_STRING_LENGTH;
    if (nLen == 0 && bType != VT_BLOB) return SetFieldNull(nField);
    char* const lpCopy = AllocText(reinterpret_cast<const char*>(lpValue), static_cast<UINT>(nLen));
    if (!lpCopy) return ERR_MEMORY;
    st_VARDATA stValue;
    if (bType == VT_BLOB)
        stValue.SetBinaryData(reinterpret_cast<LPBYTE>(lpCopy), nLen);
    else
        stValue.SetData(lpCopy, nLen, 0);
    StoreField(nField, stValue);
    return ERR_OK;
}

// --- rows ------------------------------------------------------------------------------------------------------------

stu_RECORD* CMemDBRecordset::NewRow(long long nDataID, RECORDSTATUS nStatus) {
    LPBYTE const lpPiece = AllocAligned(sizeof(stu_RECORD) + std::uint64_t{ArraysSize()});
    if (!lpPiece) return nullptr;
    auto* const lpRow = reinterpret_cast<stu_RECORD*>(lpPiece);
    InitRow(*lpRow, lpPiece + sizeof(stu_RECORD));
    lpRow->m_nDataID = nDataID;
    lpRow->m_bRecordStatus = nStatus;
    return m_vecInsertRecord.Push(lpRow) ? lpRow : nullptr;
}

int CMemDBRecordset::AddNew(long long& nDataID) {
    nDataID = 0;
    if (!m_bRecordsetCanModify) return ERR_RECORDSET_READ_ONLY;
    if (!NewRow(m_nInsertDataID, STATUS_INSERTED)) return ERR_MEMORY;
    nDataID = m_nInsertDataID--;
    return MoveLast();
}

int CMemDBRecordset::Delete() {
    if (!m_bRecordsetCanModify) return ERR_RECORDSET_READ_ONLY;
    if (!m_lpCurrentRecord || m_lpCurrentRecord->m_bRecordStatus == STATUS_DELETED) return ERR_NULL_POINTER;
    const int nOriginal = m_vecOriginalRecord.Size();
    if (m_nCurrentRowNo < nOriginal) {
        // The row stays for the plan that deletes it in the server.
        m_vecOriginalRecord.Erase(m_nCurrentRowNo);
        m_lpCurrentRecord->m_bRecordStatus = STATUS_DELETED;
    } else {
        m_vecInsertRecord.Erase(m_nCurrentRowNo - nOriginal);
        m_lpCurrentRecord = nullptr;
    }
    return ERR_OK;
}
