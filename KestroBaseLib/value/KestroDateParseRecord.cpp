// Reads date text without a format into the packed date and time, and numbers as dates and times. The day's existence
// is tested for numbers only.

#include "KestroDateParts.h"
#include "KestroErrorCode.h"

namespace {

/** Longest duration: 838:59:59. */
constexpr int MAX_DURATION_HOURS = 838;

struct CLOCK {
    int m_nHour, m_nMinute, m_nSecond;

    bool IsTimeOfDay() const { return m_nHour <= 23 && m_nMinute <= 59 && m_nSecond <= 59; }
};

CLOCK ClockAt(const DATEPARTS& stParts, int nFirst) {
    return {stParts[nFirst], stParts[nFirst + 1], stParts[nFirst + 2]};
}

/** "hhmmss" as a number; what stands in front of the minutes is all hours. */
constexpr CLOCK ClockOfNumber(int nNumber) {
    return {nNumber / 10'000, nNumber / 100 % 100, nNumber % 100};
}

/** Days and a time of day in them. */
int SetDaysAndClock(KESTROTIME& stTime, int nDays, const CLOCK& stClock) {
    if (nDays > 127 || !stClock.IsTimeOfDay()) return ERR_DATE_DATA;
    stTime = {static_cast<BYTE>(stClock.m_nSecond), static_cast<BYTE>(stClock.m_nMinute),
              static_cast<BYTE>(stClock.m_nHour), static_cast<signed char>(nDays)};
    return ERR_OK;
}

/** The first run of digits behind blanks, and behind a sign; only ever as long as a group. */
template <KESTROCHAR T>
int ReadDigitsAsDuration(KESTROTIME& stTime, const T* lpszText, const T* lpEnd) {
    if (lpszText != lpEnd && *lpszText == '-') ++lpszText;
    lpszText = SkipBlanks(lpszText, lpEnd);
    int nDigits = 0, nNumber = 0;
    for (; lpszText != lpEnd && IsDigit(*lpszText) && nDigits < DATE_MAX_GROUP_DIGITS; ++lpszText, ++nDigits)
        nNumber = nNumber * 10 + static_cast<int>(*lpszText - '0');
    if (nDigits == 0) return ERR_DATE_FORMAT;
    const CLOCK stClock = ClockOfNumber(nNumber);
    const bool bCapped = stClock.m_nHour > MAX_DURATION_HOURS;
    if (!bCapped && (stClock.m_nMinute > 59 || stClock.m_nSecond > 59)) return ERR_DATE_DATA;
    SetDuration(stTime, stClock.m_nHour, stClock.m_nMinute, stClock.m_nSecond);
    return ERR_OK;
}

/** The time by the place at which the text's first mark of a time put it. */
template <KESTROCHAR T>
int ReadDuration(const DATEPARTS& stParts, int nTimeIndex, KESTROTIME& stTime, const T* lpszText, int nLen) {
    switch (nTimeIndex) {
        case -1:
            return ReadDigitsAsDuration(stTime, lpszText, lpszText + nLen);
        case 0:
            if (stParts.m_nParts == 0) return ERR_DATE_FORMAT;
            if (!stParts.TimeInRange(0, false)) return ERR_DATE_DATA;
            SetDuration(stTime, stParts[0], stParts[1], stParts[2]);
            return ERR_OK;
        case 1:
            return SetDaysAndClock(stTime, stParts[0], ClockAt(stParts, 1));
        case 3:
            if (stParts.m_nParts < 4) return ERR_DATE_FORMAT;
            if (!stParts.DateTimeInRange(false)) return ERR_DATE_DATA;
            return SetDaysAndClock(stTime, 0, ClockAt(stParts, 3));
        default:
            return ERR_DATE_FORMAT;
    }
}

/** "yymmdd" or "yyyymmdd". */
bool SplitDigitsOfDate(DATEPARTS& stParts) {
    const int nDigits = stParts.m_arDigits[0];
    if (nDigits != 6 && nDigits != 8) return false;
    const int nNumber = stParts[0];
    stParts.m_arNumbers[0] = nNumber / 10'000;
    stParts.m_arDigits[0] = static_cast<BYTE>(nDigits - 4);
    stParts.m_arNumbers[1] = nNumber / 100 % 100;
    stParts.m_arNumbers[2] = nNumber % 100;
    return stParts.Year() != 0;
}

} // namespace

void SetDuration(KESTROTIME& stTime, int nHours, int nMinutes, int nSeconds) {
    if (nHours > MAX_DURATION_HOURS) {
        nHours = MAX_DURATION_HOURS;
        nMinutes = nSeconds = 59;
    }
    stTime = {static_cast<BYTE>(nSeconds), static_cast<BYTE>(nMinutes), static_cast<BYTE>(nHours % 24),
              static_cast<signed char>(nHours / 24)};
}

template <KESTROCHAR T>
int CKestroDate::ParseTime(KESTROTIME& stTime, const T* lpszText, int nLen) {
    if (!IsDateTextLength(lpszText, nLen)) return ERR_DATE_FORMAT;
    stTime.m_nDay = 0;
    DATEPARTS stParts;
    if (const int nResult = SplitDateText(*this, stParts, lpszText, static_cast<std::size_t>(nLen))) return nResult;
    if (const int nResult = ReadDuration(stParts, m_nTimeIndex, stTime, lpszText, nLen)) return nResult;
    if (BeginsWithMinus(lpszText, nLen))
        stTime.m_nDay = stTime.m_nDay ? static_cast<signed char>(-stTime.m_nDay) : KESTRO_MINUS_ZERO_DAYS;
    return ERR_OK;
}

template <KESTROCHAR T>
int CKestroDate::ParseDate(KESTRODATE& stDate, const T* lpszText, int nLen) {
    if (!IsDateTextLength(lpszText, nLen) || BeginsWithMinus(lpszText, nLen)) return ERR_DATE_FORMAT;
    DATEPARTS stParts;
    if (const int nResult = SplitDateText(*this, stParts, lpszText, static_cast<std::size_t>(nLen))) return nResult;
    const bool bDigitsOnly = m_nTimeIndex == -1 && stParts.m_nParts == 1;
    const bool bGroups = (m_nTimeIndex == -1 || m_nTimeIndex == 3) && stParts.m_nParts >= 3;
    if (bDigitsOnly ? !SplitDigitsOfDate(stParts) : !bGroups) return ERR_DATE_FORMAT;
    const int nYear = stParts.Year(), nMonth = stParts[1], nDay = stParts[2];
    // Month 13 and 31 February pass; what the record has no room for doesn't.
    if (nDay > 31 || nMonth > 255 || nYear > 65535) return ERR_DATE_FORMAT;
    stDate = {static_cast<BYTE>(nDay), static_cast<BYTE>(nMonth), static_cast<std::uint16_t>(nYear)};
    return ERR_OK;
}

bool CKestroDate::ValidDate(long long nNumber, int& nYear, int& nMonth, int& nDay) {
    if (nNumber >= 10'000'101'000'000 && nNumber <= 99'991'231'235'959) {
        int nHour, nMinute, nSecond;
        if (!ValidTime(nNumber % 1'000'000, nHour, nMinute, nSecond)) return false;
        nNumber /= 1'000'000;
    }
    if (nNumber < 10'000'101 || nNumber > 99'991'231) return false;
    nYear = static_cast<int>(nNumber / 10'000);
    nMonth = static_cast<int>(nNumber / 100 % 100);
    nDay = static_cast<int>(nNumber % 100);
    return nMonth >= 1 && nMonth <= 12 && CheckValidDay(nMonth, nDay, IsLeapYear(nYear));
}

bool CKestroDate::ValidTime(long long nNumber, int& nHour, int& nMinute, int& nSecond) {
    if (nNumber >= 10'000'101'000'000 && nNumber <= 99'991'231'235'959) {
        int nYear, nMonth, nDay;
        if (!ValidDate(nNumber / 1'000'000, nYear, nMonth, nDay)) return false;
        nNumber %= 1'000'000;
    }
    if (nNumber < 0 || nNumber > 235'959) return false;
    const CLOCK stClock = ClockOfNumber(static_cast<int>(nNumber));
    nHour = stClock.m_nHour;
    nMinute = stClock.m_nMinute;
    nSecond = stClock.m_nSecond;
    return stClock.IsTimeOfDay();
}

#define INSTANTIATE(T)                                               \
    template int CKestroDate::ParseTime(KESTROTIME&, const T*, int); \
    template int CKestroDate::ParseDate(KESTRODATE&, const T*, int);
INSTANTIATE(char)
INSTANTIATE(wchar_t)
#undef INSTANTIATE
