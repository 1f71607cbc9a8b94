// A recordset as CSV text. Two walks: the first adds up what the cells need at most, the second writes them, so that
// the one block never grows. Quoting is that of RFC 4180.

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <new>

#include "CommonDataDef.h"
#include "MemDBRecordset.h"
#include "RecordsetNumberText.h"

namespace {

constexpr std::uint64_t CSV_BLOCK_STEP = 1024;
constexpr std::uint64_t CSV_SPARE = 32;
constexpr std::uint64_t LINE_END_SIZE = 2;

/** How a column's cells are written. A type without a row has blanks, dates and times of day among them. Intended. */
enum CSVFORM : BYTE {
    CSV_BLANK,
    CSV_NUMBER,
    CSV_HEX,
    CSV_TEXT,
};

struct CSVROW {
    BYTE m_bType;
    CSVFORM m_nForm;
};

constexpr CSVROW CSV_ROWS[] = {
    {VT_INT, CSV_NUMBER},    {VT_TINYINT, CSV_NUMBER}, {VT_SMALLINT, CSV_NUMBER}, {VT_BIGINT, CSV_NUMBER},
    {VT_DOUBLE, CSV_NUMBER}, {VT_DECIMAL, CSV_NUMBER}, {VT_BLOB, CSV_HEX},        {VT_DATETIME, CSV_TEXT},
    {VT_CHAR, CSV_TEXT},     {VT_VARCHAR, CSV_TEXT},   {VT_CLOB, CSV_TEXT},       {VT_JSON, CSV_TEXT},
};

constexpr std::array<CSVFORM, 256> CSV_FORMS = [] {
    std::array<CSVFORM, 256> arForm{};
    for (const CSVROW& stRow : CSV_ROWS)
        arForm[stRow.m_bType] = stRow.m_nForm;
    return arForm;
}();

/** Bytes of a text's cell at most: of a short one all may be quotes, which costs less than to count them. */
std::uint64_t QuotedSize(const char* lpszText, int nLen) {
    constexpr int LONG_TEXT = 64;
    const auto nQuotes = nLen < LONG_TEXT ? nLen : std::count(lpszText, lpszText + nLen, '"');
    return static_cast<std::uint64_t>(nLen) + static_cast<std::uint64_t>(nQuotes) + 2;
}

/** Whether a value's text lies in it as it stands. */
bool IsText(const st_VARDATA& stValue) {
    return stValue.m_vt == VT_VARCHAR;
}

bool IsBlank(CSVFORM nForm, const st_VARDATA& stValue) {
    if (nForm == CSV_BLANK || stValue.m_vt == VT_EMPTY || stValue.m_vt == VT_NULL) return true;
    return (nForm == CSV_HEX) != (stValue.m_vt == VT_BLOB);
}

/** Bytes at most of a cell of a value without a text, by its type. */
constexpr std::array<std::uint16_t, 256> CELL_SIZES = [] {
    std::array<std::uint16_t, 256> arSize{};
    arSize.fill(KESTRO_VALUE_TEXT_SIZE);
    arSize[VT_EMPTY] = arSize[VT_NULL] = 1;
    arSize[VT_INT] = arSize[VT_BIGINT] = 20;
    arSize[VT_DATETIME] = arSize[VT_DATE] = arSize[VT_TIME] = 32;
    return arSize;
}();

/** Bytes of a cell at most, in whatever form. */
std::uint64_t CellSize(const st_VARDATA& stValue) {
    constexpr std::uint64_t SHORT_DOUBLE_SIZE = 24;
    constexpr double SHORT_DOUBLE = 1e15;
    if (IsText(stValue)) return QuotedSize(stValue.m_lpszValue, stValue.m_nStrLen);
    if (stValue.m_vt == VT_BLOB) return 2 * static_cast<std::uint64_t>(stValue.m_nStrLen) + 1;
    // A double takes up to 309 digits in front of its point, but hardly one does.
    if (stValue.m_vt == VT_DOUBLE && std::abs(stValue.m_dblValue) < SHORT_DOUBLE) return SHORT_DOUBLE_SIZE;
    return CELL_SIZES[stValue.m_vt];
}

char* WriteNumber(const st_VARDATA& stValue, char* lpOut) {
    switch (stValue.m_vt) {
        case VT_INT:
            return std::to_chars(lpOut, lpOut + KESTRO_INTEGER_SIZE, int{stValue.m_nValue}).ptr;
        case VT_BIGINT:
            return std::to_chars(lpOut, lpOut + KESTRO_INTEGER_SIZE, static_cast<long long>(stValue.m_llValue)).ptr;
        case VT_DOUBLE:
            return WriteFixed(stValue.m_dblValue, lpOut);
        default: {
            char szText[KESTRO_VALUE_TEXT_SIZE];
            const int nLen = std::max(stValue.GetCompatibleStringValue(szText) - 1, 0);
            return std::copy_n(szText, nLen, lpOut);
        }
    }
}

/** Copies bytes, many at a time as there is no branch, and answers whether one of them wants quotes around its text. */
template <int LEN>
unsigned CopyBlock(const char* lpszText, char* lpOut) {
    unsigned char bSpecial = 0;
    for (int i = 0; i < LEN; ++i) {
        const char c = lpszText[i];
        bSpecial |= (c == '"') | (c == ',') | (c == '\n') | (c == '\t');
    }
    std::memcpy(lpOut, lpszText, LEN);
    return bSpecial;
}

char* WriteText(const char* lpszText, int nLen, char* lpOut) {
    static_cast<void>(CMemDBRecordset::DelteteSpecialChar(lpszText, lpOut, nLen));
    return lpOut + nLen;
}

char* WriteCell(CSVFORM nForm, const st_VARDATA& stValue, char* lpOut) {
    if (IsBlank(nForm, stValue)) {
        *lpOut = ' ';
        return lpOut + 1;
    }
    if (nForm == CSV_HEX) {
        HexConvertChar(stValue.m_lpValue, stValue.m_nStrLen, lpOut);
        return lpOut + 2 * stValue.m_nStrLen;
    }
    if (!IsText(stValue)) return WriteNumber(stValue, lpOut);
    if (nForm == CSV_TEXT) return WriteText(stValue.m_lpszValue, stValue.m_nStrLen, lpOut);
    return std::copy_n(stValue.m_lpszValue, stValue.m_nStrLen, lpOut);
}

char* EndLine(char* lpOut) {
    *lpOut++ = '\r';
    *lpOut++ = '\n';
    return lpOut;
}

} // namespace

int CMemDBRecordset::DelteteSpecialChar(const char* lpszText, char* lpszCell, int& nLen) {
    const char* const lpszEnd = lpszText + nLen;
    // Most texts are plain, so they are copied as they are looked at.
    const char* p = lpszText;
    unsigned uSpecial = 0;
    for (; lpszEnd - p >= 16; p += 16)
        uSpecial |= CopyBlock<16>(p, lpszCell + (p - lpszText));
    for (; lpszEnd - p >= 4; p += 4)
        uSpecial |= CopyBlock<4>(p, lpszCell + (p - lpszText));
    for (; p != lpszEnd; ++p)
        uSpecial |= CopyBlock<1>(p, lpszCell + (p - lpszText));
    if (uSpecial == 0) return ERR_OK;
    char* lpOut = lpszCell;
    *lpOut++ = '"';
    for (; lpszText != lpszEnd; ++lpszText) {
        if (*lpszText == '"') *lpOut++ = '"';
        *lpOut++ = *lpszText;
    }
    *lpOut++ = '"';
    nLen = static_cast<int>(lpOut - lpszCell);
    return ERR_OK;
}

std::uint64_t CMemDBRecordset::CsvSize() const {
    std::uint64_t nSize = CSV_SPARE + LINE_END_SIZE;
    for (int i = 0; i < m_nFieldNum; ++i) {
        const char* const lpszName = m_lpFieldInfo[i].m_lpRsName;
        nSize += QuotedSize(lpszName, static_cast<int>(std::strlen(lpszName))) + 1;
    }
    const int nRows = m_vecOriginalRecord.Size() + m_vecInsertRecord.Size();
    for (int nRow = 0; nRow < nRows; ++nRow) {
        const stu_RECORD& stRecord = *Row(nRow);
        nSize += LINE_END_SIZE;
        for (int i = 0; i < m_nFieldNum; ++i)
            nSize += CellSize(stRecord.m_lpFieldData[i]) + 1;
    }
    return (nSize + CSV_BLOCK_STEP - 1) / CSV_BLOCK_STEP * CSV_BLOCK_STEP;
}

char* CMemDBRecordset::WriteCsvNames(char* lpOut) const {
    for (int i = 0; i < m_nFieldNum; ++i) {
        const char* const lpszName = m_lpFieldInfo[i].m_lpRsName;
        const auto nLen = static_cast<int>(std::strlen(lpszName));
        if (i > 0) {
            *lpOut++ = ',';
            lpOut = WriteText(lpszName, nLen, lpOut);
        } else {
            // Some spreadsheets take a file that begins with a bare ID for another format.
            const bool bID = std::strcmp(lpszName, "ID") == 0;
            if (bID) *lpOut++ = '"';
            lpOut = std::copy_n(lpszName, nLen, lpOut);
            if (bID) *lpOut++ = '"';
        }
    }
    return EndLine(lpOut);
}

int CMemDBRecordset::RecordsetToCSV(char*& lpszText) {
    if (GetRowNum() == 0) return ERR_OK;
    const std::uint64_t nSize = CsvSize();
    lpszText = new (std::nothrow) char[nSize];
    if (!lpszText) return ERR_MEMORY;
    char* lpOut = WriteCsvNames(lpszText);
    const int nRows = GetRowNum();
    for (int nRow = 0; nRow < nRows; ++nRow) {
        const st_VARDATA* const lpData = Row(nRow)->m_lpFieldData;
        for (int i = 0; i < m_nFieldNum; ++i) {
            if (i > 0) *lpOut++ = ',';
            const CSVFORM nForm = CSV_FORMS[m_lpFieldInfo[i].m_bFieldType];
            lpOut = WriteCell(nForm, lpData[i], lpOut);
        }
        lpOut = EndLine(lpOut);
    }
    m_nCurrentRowNo = nRows;
    SeatCursor();
    *lpOut = 0;
    return ERR_OK;
}
