// Widths: what a value takes in a record, by one table of types. The field of a column is CommonDataDefColumn.cpp's.

#include <algorithm>
#include <array>
#include <climits>

#include "KestroDecimal.h"
#include "VarData.h"

namespace {

/** Widths that depend on the value. */
constexpr signed char LEN_N = -1;
constexpr signed char LEN_TEXT = -2;
constexpr signed char LEN_DECIMAL = -3;

struct TYPEWIDTHS {
    BYTE m_bType;
    /** Bytes of a value written to a field of this type. */
    signed char m_nFieldValue;
    /** Bytes of a value of this type, and of its buffer. */
    signed char m_nOwn;
    signed char m_nBuffer;
};

// Both small integers count 1, and a BLOB 0, as its writers know its length: intended.
constexpr TYPEWIDTHS TYPE_WIDTHS[] = {
    {VT_INT, 4, 4, 4},
    {VT_BIGINT, 8, 8, 8},
    {VT_DOUBLE, 8, 8, 8},
    {VT_DATETIME, 8, 8, 8},
    {VT_CHAR, LEN_TEXT, LEN_N, 0},
    {VT_VARCHAR, LEN_TEXT, LEN_N, LEN_N},
    {VT_CLOB, LEN_TEXT, LEN_N, 0},
    {VT_BLOB, 0, LEN_N, LEN_N},
    {VT_NULL, 0, 0, 0},
    {VT_TIME, 4, 4, 4},
    {VT_DATE, 4, 4, 4},
    {VT_JSON, LEN_TEXT, LEN_N, LEN_N},
    {VT_JSON2, 0, LEN_N, LEN_N},
    {VT_TINYINT, 1, 0, 0},
    {VT_SMALLINT, 1, 0, 0},
    {VT_DECIMAL, LEN_DECIMAL, LEN_DECIMAL, LEN_DECIMAL},
    {VT_ENUM, 0, 0, 0},
};

constexpr std::array<TYPEWIDTHS, 256> WIDTHS_BY_CODE = [] {
    std::array<TYPEWIDTHS, 256> arWidths{};
    for (int i = 0; i < 256; ++i)
        arWidths[i] = {static_cast<BYTE>(i), 0, 0, 0};
    for (const TYPEWIDTHS& stRow : TYPE_WIDTHS)
        arWidths[stRow.m_bType] = stRow;
    return arWidths;
}();

/** A text with its length, of one byte or above 250 of five; what doesn't fit an int stays its greatest. */
int TextLen(int nLen) {
    nLen = std::max(nLen, 0);
    const int nPrefix = nLen > 250 ? 5 : 1;
    return nLen > INT_MAX - nPrefix ? INT_MAX : nLen + nPrefix;
}

} // namespace

int st_VARDATA::GetDataLen(unsigned char bType) const {
    if (m_vt == VT_EMPTY || m_vt == VT_NULL) return 0;
    switch (const signed char nLen = WIDTHS_BY_CODE[bType].m_nFieldValue) {
        case LEN_TEXT:
            return TextLen(m_nStrLen);
        case LEN_DECIMAL:
            return CKestroDecimal::CalcBinLen(this);
        default:
            return nLen;
    }
}

int st_VARDATA::GetDataLen() const {
    switch (const signed char nLen = WIDTHS_BY_CODE[m_vt].m_nOwn) {
        case LEN_N:
            return m_nStrLen;
        case LEN_DECIMAL:
            return m_bPrecison != 0 && m_bPrecison != DECIMAL_PRECISION_QUOTIENT
                       ? CKestroDecimal::CalcBinLen(int{m_bPrecison})
                       : CKestroDecimal::CalcBinLen(this);
        default:
            return nLen;
    }
}

int st_VARDATA::GetDataBufferLen(unsigned char bPrecision) const {
    switch (const signed char nLen = WIDTHS_BY_CODE[m_vt].m_nBuffer) {
        case LEN_N:
            return m_nStrLen;
        case LEN_DECIMAL:
            return bPrecision ? CKestroDecimal::CalcBinLen(int{bPrecision}) : CKestroDecimal::CalcBinLen(this);
        default:
            return nLen;
    }
}
