// Writes dates and times in their fixed forms, into the caller's buffer or the pool. Formats have their own writer.

#include "KestroDateFormatOutput.h"
#include "KestroErrorCode.h"

namespace {

/** Years have four digits here: 0000 stands for all before year 1, 9999 for all behind it. */
template <KESTROCHAR T>
T* PutDate(T* lpOut, int nYear, int nMonth, int nDay) {
    nYear = nYear < 0 ? 0 : nYear > 9999 ? 9999 : nYear;
    lpOut = PutPair(PutPair(lpOut, nYear / 100), nYear % 100);
    *lpOut++ = '-';
    lpOut = PutPair(lpOut, nMonth);
    *lpOut++ = '-';
    return PutPair(lpOut, nDay);
}

/** Digits of a rounded number; nothing is carried, so an overflow gives the first digit a ":". Intended. */
template <KESTROCHAR T>
T* PutFractionDigits(T* lpOut, int nMicrosecond, int nDigits) {
    static constexpr int UNITS[6] = {1'000'000, 100'000, 10'000, 1'000, 100, 10};
    // A double just under a second of a late year may lack some microseconds to zero.
    int nRest = CutToInt((nMicrosecond < 0 ? 0 : nMicrosecond) / static_cast<double>(UNITS[nDigits]) + 0.5);
    for (int i = nDigits - 1; i > 0; --i) {
        lpOut[i] = static_cast<T>('0' + nRest % 10);
        nRest /= 10;
    }
    lpOut[0] = static_cast<T>('0' + nRest);
    return lpOut + nDigits;
}

template <KESTROCHAR T>
T* PutFraction(T* lpOut, int nMicrosecond, int nDigits) {
    if (nDigits < 0) nDigits = nDigits == -1 && nMicrosecond != 0 ? 3 : 0;
    if (nDigits == 0) return lpOut;
    *lpOut++ = '.';
    // Six places, of which a sign takes one.
    if (nDigits >= 6) return PutNumber(lpOut, nMicrosecond, nMicrosecond < 0 ? 5 : 6);
    return PutFractionDigits(lpOut, nMicrosecond, nDigits);
}

template <KESTROCHAR T>
int Finish(T* lpszBuffer, T* lpEnd) {
    *lpEnd = 0;
    return static_cast<int>(lpEnd - lpszBuffer);
}

} // namespace

template <KESTROCHAR T>
int CKestroDate::FormatDate(const KESTRODATE& stDate, T* lpszBuffer) {
    // The record's bytes may hold anything; a text has two digits for them.
    return Finish(lpszBuffer, PutDate(lpszBuffer, stDate.m_sYear, stDate.m_bMonth % 100, stDate.m_bDay % 100));
}

template <KESTROCHAR T>
int CKestroDate::FormatDate(DATE dblDate, T* lpszBuffer) {
    int nYear, nMonth, nDay;
    if (ConvertDate(dblDate, nYear, nMonth, nDay) != ERR_OK) {
        // The same as a date and time out of range gives.
        const bool bFuture = dblDate > 0;
        nYear = bFuture ? 9999 : 0;
        nMonth = bFuture ? 12 : 0;
        nDay = bFuture ? 31 : 0;
    }
    return Finish(lpszBuffer, PutDate(lpszBuffer, nYear, nMonth, nDay));
}

template <KESTROCHAR T>
int CKestroDate::FormatTime(const KESTROTIME& stTime, T* lpszBuffer) {
    const DURATION st(stTime);
    T* lpOut = lpszBuffer;
    if (st.m_bNegative) *lpOut++ = '-';
    // A negative time below ten hours has one digit for them. Intended.
    lpOut = stTime.m_nDay == 0 ? PutPair(lpOut, st.m_nHours % 100) : PutNumber(lpOut, st.m_nHours, 1);
    *lpOut++ = ':';
    lpOut = PutPair(lpOut, st.m_nMinutes % 100);
    *lpOut++ = ':';
    return Finish(lpszBuffer, PutPair(lpOut, st.m_nSeconds % 100));
}

template <KESTROCHAR T>
int CKestroDate::FormatTime(DATE dblDate, T* lpszBuffer) {
    int nHour = 0, nMinute = 0, nSecond = 0, nMicrosecond = 0;
    if (HasDayNumber(dblDate)) ConvertTime(dblDate, nHour, nMinute, nSecond, nMicrosecond);
    return Finish(lpszBuffer, PutClock(lpszBuffer, nHour, nMinute, nSecond));
}

template <KESTROCHAR T>
int CKestroDate::FormatDateTime(DATE dblDate, T* lpszBuffer, int nFractionDigits) {
    int nYear, nMonth, nDay, nHour, nMinute, nSecond, nMicrosecond;
    // Out of range the parts are those of the last moment, or zeros, and are written as such.
    (void)ConvertDateTime(dblDate, nYear, nMonth, nDay, nHour, nMinute, nSecond, nMicrosecond);
    T* lpOut = PutDate(lpszBuffer, nYear, nMonth, nDay);
    *lpOut++ = ' ';
    lpOut = PutClock(lpOut, nHour, nMinute, nSecond);
    return Finish(lpszBuffer, PutFraction(lpOut, nMicrosecond, nFractionDigits));
}

int CKestroDate::Format(CKestroBufferPool* lpPool, const DATE& dblDate, st_VARDATA& stResult) {
    char szText[KESTRO_DATETIME_TEXT_SIZE];
    const int nLen = FormatDateTime(dblDate, szText, 0);
    return DateTextToValue(lpPool, szText, nLen, stResult);
}

#define INSTANTIATE(T)                                           \
    template int CKestroDate::FormatDate(const KESTRODATE&, T*); \
    template int CKestroDate::FormatDate(DATE, T*);              \
    template int CKestroDate::FormatTime(const KESTROTIME&, T*); \
    template int CKestroDate::FormatTime(DATE, T*);              \
    template int CKestroDate::FormatDateTime(DATE, T*, int);
INSTANTIATE(char)
INSTANTIATE(wchar_t)
#undef INSTANTIATE
