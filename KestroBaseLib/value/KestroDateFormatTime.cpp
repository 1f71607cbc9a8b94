// Writes durations by a format. Only the tokens of a time of day stand here; a token of a date makes the result NULL.

#include "KestroDateFormatOutput.h"
#include "KestroErrorCode.h"

namespace {

/** What a token is to a duration. */
enum TOKENUSE {
    TOKEN_OF_TIME,
    TOKEN_OF_DATE,
    TOKEN_REFUSED,
};

constexpr TOKENUSE UseOf(signed char nCode) {
    switch (nCode) {
        case DF_HOUR_K:
        case DF_HOUR:
        case DF_MINUTE:
        case DF_SECOND:
        case DF_MICROSECOND:
        case DF_MILLISECOND:
        case DF_HOUR_12:
        case DF_CLOCK_12:
        case DF_CLOCK:
            return TOKEN_OF_TIME;
        // These are refused, although some are dates as well. Intended.
        case DF_SECOND_OF_DAY:
        case DF_WEEK_ISO:
        case DF_ERA:
        case DF_ERA_POINTS:
            return TOKEN_REFUSED;
        default:
            return TOKEN_OF_DATE;
    }
}

char* PutZeros(char* lpOut, const DURATION& st, int nDigits) {
    if (st.m_bNegative) *lpOut++ = '-';
    return PutNumber(lpOut, 0, nDigits);
}

char* WriteTimeToken(char* lpOut, const DURATION& st, signed char nCode) {
    switch (nCode) {
        case DF_MINUTE:
            return PutTwo(lpOut, st.m_nMinutes);
        case DF_SECOND:
            return PutTwo(lpOut, st.m_nSeconds);
        // A duration has no fraction, but its sign stands here again. Intended.
        case DF_MICROSECOND:
            return PutZeros(lpOut, st, 6);
        case DF_MILLISECOND:
            return PutZeros(lpOut, st, 3);
        case DF_HOUR_12:
            return PutPair(lpOut, Hour12(st.m_nHours));
        case DF_CLOCK_12:
            return PutClock12(lpOut, st.m_nHours % 24, st.m_nMinutes, st.m_nSeconds);
        case DF_CLOCK:
            return PutClock(lpOut, st.m_nHours % 24, st.m_nMinutes, st.m_nSeconds);
        default:
            return PutTwo(lpOut, st.m_nHours);
    }
}

} // namespace

template <KESTROCHAR T>
int CKestroDate::TimeFormat(CKestroBufferPool* lpPool, const KESTROTIME& stTime, const T* lpszFormat,
                            st_VARDATA& stResult) {
    if (!lpszFormat) return ERR_DATE_FORMAT;
    const DURATION stDuration(stTime);
    TOKENUSE nUse = TOKEN_OF_TIME;
    DATEOUTPUT stOutput;
    if (stDuration.m_bNegative) *stOutput.m_lpEnd++ = '-';
    const bool bWritten = WriteDateFormat(stOutput, lpszFormat, QUOTES_LITERAL, [&](char* lpOut, signed char nCode) {
        nUse = UseOf(nCode);
        return nUse == TOKEN_OF_TIME ? WriteTimeToken(lpOut, stDuration, nCode) : nullptr;
    });
    if (bWritten) return DateTextToValue(lpPool, stOutput.m_szText, stOutput.Length(), stResult);
    if (nUse == TOKEN_REFUSED) return ERR_DATE_FORMAT;
    stResult.SetNull();
    return ERR_OK;
}

template int CKestroDate::TimeFormat(CKestroBufferPool*, const KESTROTIME&, const char*, st_VARDATA&);
template int CKestroDate::TimeFormat(CKestroBufferPool*, const KESTROTIME&, const wchar_t*, st_VARDATA&);
