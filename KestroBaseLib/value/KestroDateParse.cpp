// Reads date text without a format into parts, a number or a value: "yyyy-mm-dd", "hh:mm:ss[.ffffff]", the two
// together, and 12 or 14 digits in a row. The groups of digits come from the splitting; records are read next door.

#include "KestroDateParts.h"
#include "KestroErrorCode.h"

namespace {

/** Parts that a text gives; those of a time that isn't there are -1. */
struct DATETIMEPARTS {
    int m_nYear = 0, m_nMonth = 0, m_nDay = 0;
    int m_nHour = -1, m_nMinute = -1, m_nSecond = -1, m_nMicrosecond = -1;

    bool HasDate() const { return m_nYear != 0 || m_nMonth != 0; }
    bool HasTime() const { return m_nHour >= 0; }
};

/** Splits 14 digits in a row into 4, 2, 2, 2, 2, 2, or 12 into pairs; whatever follows them is not read. */
template <KESTROCHAR T>
bool SplitDigitRun(CKestroDate& stDate, const T* lpszText, int nLen) {
    const T* const lpEnd = lpszText + nLen;
    lpszText = SkipBlanks(lpszText, lpEnd);
    int nDigits = 0;
    while (nDigits < 14 && lpszText + nDigits != lpEnd && IsDigit(lpszText[nDigits]))
        ++nDigits;
    if (nDigits < 12) return false;
    stDate = {};
    for (int nPart = 0; nPart < 6; ++nPart) {
        const int nPartDigits = nPart == 0 && nDigits == 14 ? 4 : 2;
        if (stDate.Push(lpszText, nPartDigits)) return false;
        lpszText += nPartDigits;
    }
    stDate.m_nTimeIndex = 3;
    return true;
}

/** Microseconds of a part that stands behind a point. From seven digits on nothing is cut. Intended. */
int Fraction(int nNumber, int nDigits) {
    constexpr int SCALE[] = {0, 100'000, 10'000, 1'000, 100, 10, 1, 1, 1};
    return nNumber * SCALE[nDigits];
}

/** The time from its first part on; what it leaves out is 0. */
void TakeTime(const DATEPARTS& stParts, int nFirst, DATETIMEPARTS& st) {
    st.m_nHour = stParts[nFirst];
    st.m_nMinute = stParts[nFirst + 1];
    st.m_nSecond = stParts[nFirst + 2];
    st.m_nMicrosecond = Fraction(stParts[nFirst + 3], stParts.m_arDigits[nFirst + 3]);
}

/** Whether so many groups, the time beginning with one of them, are a date, a time or both. */
bool IsDateShape(int nTimeIndex, int nParts) {
    if (nTimeIndex == 3) return nParts >= 4;
    return nTimeIndex == 0 ? nParts == 3 || nParts == 4 : nTimeIndex == -1 && nParts == 3;
}

template <KESTROCHAR T>
[[gnu::always_inline]] inline int ReadParts(CKestroDate& stDate, DATETIMEPARTS& st, const T* lpszText, int nLen,
                                            bool bDigitRun) {
    if (!IsDateTextLength(lpszText, nLen)) return ERR_DATE_FORMAT;
    DATEPARTS stParts;
    if (SplitDateText(stDate, stParts, lpszText, static_cast<std::size_t>(nLen)) != ERR_OK) {
        if (!bDigitRun || !SplitDigitRun(stDate, lpszText, nLen)) return ERR_DATE_FORMAT;
        stParts = DATEPARTS(stDate);
    }
    const int nTimeIndex = stDate.m_nTimeIndex;
    if (!IsDateShape(nTimeIndex, stParts.m_nParts)) return ERR_DATE_FORMAT;
    // A time alone is not tested here: its hours may be those of a duration.
    if (nTimeIndex != 0) {
        if (!stParts.DateTimeInRange(true)) return ERR_DATE_DATA;
        if (BeginsWithMinus(lpszText, nLen)) return ERR_DATE_FORMAT;
        st.m_nYear = stParts.Year();
        st.m_nMonth = stParts[1];
        st.m_nDay = stParts[2];
    }
    if (nTimeIndex >= 0) TakeTime(stParts, nTimeIndex, st);
    return ERR_OK;
}

int PartsToDate(DATE& dblDate, const DATETIMEPARTS& st) {
    if (!st.HasTime()) return CKestroDate::ConvertVariantTime(dblDate, st.m_nYear, st.m_nMonth, st.m_nDay, 0, 0, 0, 0);
    return CKestroDate::ConvertVariantTime(dblDate, st.m_nYear, st.m_nMonth, st.m_nDay, st.m_nHour, st.m_nMinute,
                                           st.m_nSecond, st.m_nMicrosecond);
}

/** A sign is not seen here, so the time is never negative. */
int PartsToTime(st_VARDATA& stResult, const DATETIMEPARTS& st) {
    if (st.m_nMinute > 59 || st.m_nSecond > 59) return ERR_DATE_DATA;
    KESTROTIME stTime;
    SetDuration(stTime, st.m_nHour, st.m_nMinute, st.m_nSecond);
    stResult.SetData(stTime);
    return ERR_OK;
}

int PartsToValue(st_VARDATA& stResult, const DATETIMEPARTS& st) {
    if (!st.HasDate()) return PartsToTime(stResult, st);
    if (!st.HasTime()) {
        if (st.m_nYear > 65535) return ERR_DATE_DATA;
        stResult.SetData(KESTRODATE{static_cast<BYTE>(st.m_nDay), static_cast<BYTE>(st.m_nMonth),
                                    static_cast<std::uint16_t>(st.m_nYear)});
        return ERR_OK;
    }
    DATE dblDate;
    if (const int nResult = PartsToDate(dblDate, st)) return nResult;
    stResult.SetData(dblDate, VT_DATETIME);
    return ERR_OK;
}

} // namespace

template <KESTROCHAR T>
int CKestroDate::ParseDate(int& nYear, int& nMonth, int& nDay, int& nHour, int& nMinute, int& nSecond,
                           int& nMicrosecond, const T* lpszText, int nLen, int) {
    DATETIMEPARTS st;
    const int nResult = ReadParts(*this, st, lpszText, nLen, true);
    nYear = st.m_nYear;
    nMonth = st.m_nMonth;
    nDay = st.m_nDay;
    nHour = st.m_nHour;
    nMinute = st.m_nMinute;
    nSecond = st.m_nSecond;
    nMicrosecond = st.m_nMicrosecond;
    return nResult;
}

template <KESTROCHAR T>
int CKestroDate::ParseDate(DATE& dblDate, const T* lpszText, int nLen, int) {
    DATETIMEPARTS st;
    if (const int nResult = ReadParts(*this, st, lpszText, nLen, false)) return nResult;
    if (!st.HasDate()) {
        st.m_nYear = TIME_ONLY_YEAR;
        st.m_nMonth = TIME_ONLY_MONTH;
        st.m_nDay = TIME_ONLY_DAY;
    }
    return PartsToDate(dblDate, st);
}

template <KESTROCHAR T>
int CKestroDate::ParseDate(st_VARDATA* lpResult, const T* lpszText, int nLen, int) {
    DATETIMEPARTS st;
    int nResult = ReadParts(*this, st, lpszText, nLen, true);
    if (nResult == ERR_OK) nResult = PartsToValue(*lpResult, st);
    if (nResult != ERR_OK) lpResult->SetNull();
    return nResult;
}

#define INSTANTIATE(T)                                                                                 \
    template int CKestroDate::ParseDate(int&, int&, int&, int&, int&, int&, int&, const T*, int, int); \
    template int CKestroDate::ParseDate(DATE&, const T*, int, int);                                    \
    template int CKestroDate::ParseDate(st_VARDATA*, const T*, int, int);
INSTANTIATE(char)
INSTANTIATE(wchar_t)
#undef INSTANTIATE
