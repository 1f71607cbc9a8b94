// Conversions between numbers, dates and times, and their reading from text. Text as a result is made in
// VarDataText.cpp, what only happens in place in VarDataChange.cpp.

#include "VarDataKernel.h"

#include "CommonDataDefNumber.h"
#include "IntegerCut.h"

namespace {

constexpr unsigned SECONDS_PER_DAY = 86400;

/** What is left to cut, half away from zero being added if asked for. */
double Rounded(double dblValue, bool bRound) {
    if (!bRound) return dblValue;
    return dblValue < 0 ? dblValue - 0.5 : dblValue + 0.5;
}

/** More days than the record's byte holds wrap. */
KESTROTIME TimeOfSeconds(int nSeconds) {
    const unsigned uSeconds = nSeconds < 0 ? 0U - static_cast<unsigned>(nSeconds) : static_cast<unsigned>(nSeconds);
    const int nDays = static_cast<int>(uSeconds / SECONDS_PER_DAY);
    int nSigned = nDays;
    if (nSeconds < 0) nSigned = nDays == 0 ? int{KESTRO_MINUS_ZERO_DAYS} : -nDays;
    return {static_cast<BYTE>(uSeconds % 60), static_cast<BYTE>(uSeconds / 60 % 60),
            static_cast<BYTE>(uSeconds / 3600 % 24), static_cast<signed char>(nSigned)};
}

} // namespace

int Refuse(const CONVERSION&, st_VARDATA&) {
    return ERR_TYPE_COMPATIBILITY;
}

int Nothing(const CONVERSION&, st_VARDATA& stResult) {
    stResult.SetNull();
    return ERR_OK;
}

int Keep(const CONVERSION& st, st_VARDATA& stResult) {
    stResult.SetData(st.m_lpPool, st.m_stSource);
    return stResult.m_vt == VT_EMPTY && st.m_stSource.OwnsBuffer() ? ERR_MEMORY : ERR_OK;
}

int IntToBig(const CONVERSION& st, st_VARDATA& stResult) {
    stResult.SetData(static_cast<long long>(st.m_stSource.m_nValue));
    return ERR_OK;
}

int BigToInt(const CONVERSION& st, st_VARDATA& stResult) {
    stResult.SetData(static_cast<int>(st.m_stSource.m_llValue));
    return ERR_OK;
}

int DblToInt(const CONVERSION& st, st_VARDATA& stResult) {
    stResult.SetData(CutToInt(Rounded(st.m_stSource.m_dblValue, st.m_bRound)));
    return ERR_OK;
}

int DblToBig(const CONVERSION& st, st_VARDATA& stResult) {
    stResult.SetData(CutToInt64(Rounded(st.m_stSource.m_dblValue, st.m_bRound)));
    return ERR_OK;
}

int DecToInt(const CONVERSION& st, st_VARDATA& stResult) {
    stResult.SetData(CKestroDecimal::Convert2Int(&st.m_stSource, st.m_bRound));
    return ERR_OK;
}

int DecToBig(const CONVERSION& st, st_VARDATA& stResult) {
    stResult.SetData(CKestroDecimal::Convert2Int64(&st.m_stSource, st.m_bRound));
    return ERR_OK;
}

int DecToNear(const CONVERSION& st, st_VARDATA& stResult) {
    stResult.SetData(CKestroDecimal::Convert2Int64(&st.m_stSource, 1));
    return ERR_OK;
}

int NumToDbl(const CONVERSION& st, st_VARDATA& stResult) {
    stResult.SetData(st.m_stSource.GetCompatibleDouble(), st.m_bType);
    return ERR_OK;
}

int IntToDec(const CONVERSION& st, st_VARDATA& stResult) {
    return CKestroDecimal::Convert2Decimal(int{st.m_stSource.m_nValue}, &stResult);
}

int BigToDec(const CONVERSION& st, st_VARDATA& stResult) {
    return CKestroDecimal::Convert2Decimal(static_cast<long long>(st.m_stSource.m_llValue), &stResult);
}

int DblToDec(const CONVERSION& st, st_VARDATA& stResult) {
    return CKestroDecimal::Convert2Decimal(double{st.m_stSource.m_dblValue}, &stResult);
}

int NumToDate(const CONVERSION& st, st_VARDATA& stResult) {
    KESTRODATE stDate;
    // A number that is no day of the calendar is NULL, like a text that is none.
    if (CKestroDate::ConvertDate(st.m_stSource.GetCompatibleDouble(), stDate) != ERR_OK) return Nothing(st, stResult);
    stResult.SetData(stDate);
    return ERR_OK;
}

int NumToTime(const CONVERSION& st, st_VARDATA& stResult) {
    KESTROTIME stTime;
    CKestroDate::ConvertTime(st.m_stSource.GetCompatibleDouble(), stTime);
    stTime.m_nDay = 0;
    stResult.SetData(stTime);
    return ERR_OK;
}

int SecToTime(const CONVERSION& st, st_VARDATA& stResult) {
    // Of a BIGINT these are the low 32 bits. Intended.
    stResult.SetData(TimeOfSeconds(st.m_stSource.m_nValue));
    return ERR_OK;
}

int DecToSec(const CONVERSION& st, st_VARDATA& stResult) {
    stResult.SetData(TimeOfSeconds(CKestroDecimal::Convert2Int(&st.m_stSource, 1)));
    return ERR_OK;
}

int TxtToInt(const CONVERSION& st, st_VARDATA& stResult) {
    stResult.SetData(StringToInt(CBoundedText(st.m_stSource).Text()));
    return ERR_OK;
}

int TxtToBig(const CONVERSION& st, st_VARDATA& stResult) {
    stResult.SetData(StringToLongLong(CBoundedText(st.m_stSource).Text()));
    return ERR_OK;
}

int TxtToDbl(const CONVERSION& st, st_VARDATA& stResult) {
    stResult.SetData(ReadDouble(CBoundedText(st.m_stSource).Text()), VT_DOUBLE);
    return ERR_OK;
}

int TxtToDec(const CONVERSION& st, st_VARDATA& stResult) {
    // A text that is no number has become NULL; why doesn't matter here.
    (void)CKestroDecimal::Convert2Decimal(CBoundedText(st.m_stSource).Text(), &stResult);
    return ERR_OK;
}

int TxtToStamp(const CONVERSION& st, st_VARDATA& stResult) {
    int nYear, nMonth, nDay, nHour, nMinute, nSecond, nMicrosecond;
    CKestroDate stReader;
    double dblDate;
    if (stReader.ParseDate(nYear, nMonth, nDay, nHour, nMinute, nSecond, nMicrosecond,
                           static_cast<const char*>(st.m_stSource.m_lpszValue), TextLen(st.m_stSource)) != ERR_OK)
        return Nothing(st, stResult);
    // A time alone is no point in time.
    if (nYear == 0 && nMonth == 0) return Nothing(st, stResult);
    if (nHour == -1 && nMinute == -1 && nSecond == -1) nHour = nMinute = nSecond = nMicrosecond = 0;
    if (CKestroDate::ConvertVariantTime(dblDate, nYear, nMonth, nDay, nHour, nMinute, nSecond, nMicrosecond) != ERR_OK)
        return Nothing(st, stResult);
    stResult.SetData(dblDate, VT_DATETIME);
    return ERR_OK;
}

int TxtToDate(const CONVERSION& st, st_VARDATA& stResult) {
    KESTRODATE stDate;
    const char* lpszText = st.m_stSource.m_lpszValue;
    if (CKestroDate().ParseDate(stDate, lpszText, TextLen(st.m_stSource)) != ERR_OK) return Nothing(st, stResult);
    stResult.SetData(stDate);
    return ERR_OK;
}

int TxtToTime(const CONVERSION& st, st_VARDATA& stResult) {
    KESTROTIME stTime;
    const char* lpszText = st.m_stSource.m_lpszValue;
    if (CKestroDate().ParseTime(stTime, lpszText, TextLen(st.m_stSource)) != ERR_OK) return Nothing(st, stResult);
    stResult.SetData(stTime);
    return ERR_OK;
}
