// Values as text by a format, and dates read by one. The formats of dates are those of `CKestroDate`.

#include <algorithm>
#include <charconv>
#include <cstring>

#include "BaseExpressionOperator.h"
#include "BaseFunManager.h"
#include "KestroDate.h"
#include "KestroDecimal.h"
#include "VarDataText.h"

namespace {

/** Places that a format of numbers asks for at most. */
constexpr int MOST_FORMAT_PLACES = DECIMAL_MAX_DIGITS;

/** The format in which a date or time is written without one; null for other values. */
const char* UsualFormat(BYTE bType) {
    switch (bType) {
        case VT_DATE:
            return "YYYY-MM-DD";
        case VT_TIME:
            return "HH24:MI:SS";
        case VT_DATETIME:
            return "YYYY-MM-DD HH24:MI:SS";
        default:
            return nullptr;
    }
}

/** A format as text; one that was left out is empty. */
int TakeFormat(CKestroBufferPool* lpPool, const st_VARDATA& stFormat, st_VARDATA& stText) {
    if (stFormat.m_vt != VT_DEFAULT) return CBaseFunManager::TakeArgument(lpPool, stFormat, VT_VARCHAR, stText);
    stText.SetData("", 1, 0);
    return ERR_OK;
}

int DateToChar(CKestroBufferPool* lpPool, const st_VARDATA& a, const char* lpszFormat, st_VARDATA& stResult) {
    st_VARDATA stDate;
    if (const int nCode = CBaseFunManager::TakeArgument(lpPool, a, VT_DATETIME, stDate)) return nCode;
    if (stDate.IsNull()) return ERR_OK;
    const DATE dblDate = stDate.m_dblValue;
    return CKestroDate::Format(lpPool, dblDate, lpszFormat, stResult);
}

} // namespace

int CBaseFunManager::ToChar(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& stFormat,
                            st_VARDATA& stResult) {
    stResult.SetNull();
    st_VARDATA stText;
    if (const int nCode = TakeFormat(lpPool, stFormat, stText)) return nCode;
    if (a.IsNull() || stText.IsNull()) return ERR_OK;
    const CBoundedText stBounded(stText);
    const char* const lpszFormat = stBounded.Text();
    if (const char* const lpszUsual = UsualFormat(a.m_vt))
        return DateToChar(lpPool, a, *lpszFormat ? lpszFormat : lpszUsual, stResult);
    if (!*lpszFormat) {
        if (const int nCode = TakeArgument(lpPool, a, VT_VARCHAR, stText)) return nCode;
        return CopyValue(lpPool, stText, stResult);
    }
    return IsNumberFormat(lpszFormat) ? NumberToChar(lpPool, a, stResult, lpszFormat)
                                      : DateToChar(lpPool, a, lpszFormat, stResult);
}

bool CBaseFunManager::IsNumberFormat(const char* lpszFormat) {
    return *lpszFormat != 0 && lpszFormat[std::strspn(lpszFormat, "09.,")] == 0;
}

int CBaseFunManager::NumberToChar(CKestroBufferPool* lpPool, const st_VARDATA& a, st_VARDATA& stResult,
                                  const char* lpszFormat) {
    stResult.SetNull();
    st_VARDATA stNumber;
    if (const int nCode = TakeArgument(lpPool, a, VT_DOUBLE, stNumber)) return nCode;
    if (stNumber.IsNull()) return ERR_OK;
    const char* const lpszPoint = std::strchr(lpszFormat, '.');
    const auto nPlaces = lpszPoint ? std::count_if(lpszPoint, lpszPoint + std::strlen(lpszPoint),
                                                   [](char c) { return c == '0' || c == '9'; })
                                   : 0;
    // Room for the digits of the greatest double, a sign and a point.
    char szNumber[KESTRO_VALUE_TEXT_SIZE];
    const auto nMost = std::min<std::ptrdiff_t>(nPlaces, MOST_FORMAT_PLACES);
    const auto stEnd = std::to_chars(szNumber, szNumber + sizeof szNumber, double{stNumber.m_dblValue},
                                     std::chars_format::fixed, static_cast<int>(nMost));
    const auto nLen = static_cast<int>(stEnd.ptr - szNumber);
    const char* const lpszNumber = CopyToPool(lpPool, szNumber, nLen);
    if (!lpszNumber) return ERR_MEMORY;
    stResult.SetData(lpszNumber, nLen + 1, 0);
    return ERR_OK;
}

int CBaseFunManager::ToDate(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& stFormat,
                            st_VARDATA& stResult) {
    stResult.SetNull();
    st_VARDATA stFormatText, stText;
    if (const int nCode = TakeFormat(lpPool, stFormat, stFormatText)) return nCode;
    if (stFormatText.IsNull()) return ERR_OK;
    if (UsualFormat(a.m_vt)) return CopyValue(lpPool, a, stResult);
    if (const int nCode = TakeArgument(lpPool, a, VT_VARCHAR, stText)) return nCode;
    if (stText.IsNull()) return ERR_OK;
    DATE dblDate = 0;
    if (CKestroDate::ParseDate(dblDate, CBoundedText(stText).Text(), CBoundedText(stFormatText).Text()) == ERR_OK)
        stResult.SetData(dblDate, VT_DATETIME);
    return ERR_OK;
}
