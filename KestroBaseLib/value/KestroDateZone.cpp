// Now, time zones and the clocks of other systems as day numbers.

#include <atomic>

#include "KestroDate.h"
#include "KestroErrorCode.h"
#include "LinuxCommonAPI.h"
#include "Platform.h"

namespace {

constexpr int ZONE_UNKNOWN = 10000;
std::atomic<int> nKestroTimeZone{ZONE_UNKNOWN};

/** Day number of 1 January 1970. */
constexpr double DAY_OF_1970 = 25569.0;
/** Days from 1 January 1601 to 30 December 1899. */
constexpr double DAYS_FROM_1601 = 109205.0;
/** Ticks of 100 nanoseconds from 1601 to 1970. */
constexpr long long TICKS_TO_1970 = 116444736000000000;

/** Reads a run of digits, at most four of them so that nothing overflows; answers how many there were. */
int ReadDigits(const char*& lpszText, int& nValue) {
    int nDigits = 0;
    for (nValue = 0; *lpszText >= '0' && *lpszText <= '9' && nDigits < 4; ++lpszText, ++nDigits)
        nValue = nValue * 10 + (*lpszText - '0');
    return nDigits;
}

} // namespace

int DbTimeZoneValue() {
    int nZone = nKestroTimeZone.load(std::memory_order_relaxed);
    if (nZone != ZONE_UNKNOWN) return nZone;
    nZone = static_cast<int>(ZoneSeconds() / 3600);
    nKestroTimeZone.store(nZone, std::memory_order_relaxed);
    return nZone;
}

DATE CKestroDate::ConvertTimetoDate(time_t nTime) {
    return static_cast<double>(nTime) / 86400.0 + DbTimeZoneValue() / 24.0 + DAY_OF_1970;
}

DATE CKestroDate::ConvertFileTimetoDate(long long nTicks) {
    return static_cast<double>(nTicks / 10) / 86400000000.0 + DbTimeZoneValue() / 24.0 - DAYS_FROM_1601;
}

DATE CKestroDate::ConvertFileTimetoDate(const _FILETIME& stTime) {
    const auto nTicks = static_cast<unsigned long long>(stTime.dwHighDateTime) << 32 | stTime.dwLowDateTime;
    return ConvertFileTimetoDate(static_cast<long long>(nTicks));
}

DATE CKestroDate::GetCurrentDateTime() {
    return ConvertFileTimetoDate(NowMicroseconds() * 10 + TICKS_TO_1970);
}

int CKestroDate::GetCentury() {
    int nYear, nMonth, nDay;
    return ConvertDate(GetCurrentDateTime(), nYear, nMonth, nDay) == ERR_OK ? (nYear - 1) / 100 : 20;
}

int CKestroDate::TZToValue(const char* lpszText, double& dblDays) {
    if (!lpszText || (*lpszText != '+' && *lpszText != '-')) return ERR_FAILED;
    const int nSign = *lpszText++ == '-' ? -1 : 1;
    int nHours, nMinutes;
    if (ReadDigits(lpszText, nHours) == 0 || *lpszText++ != ':') return ERR_FAILED;
    ReadDigits(lpszText, nMinutes);
    if (*lpszText != '\0' || nMinutes > 59) return ERR_FAILED;
    nHours *= nSign;
    if (nHours < -12 || nHours > 13 || (nHours == 13 && nMinutes != 0)) return ERR_FAILED;
    dblDays = nHours / 24.0 + nSign * nMinutes / 24.0 / 60.0;
    return ERR_OK;
}

int CKestroDate::ConvertTZ(CKestroBufferPool*, DATE dblDate, const char* lpszFrom, const char* lpszTo,
                           st_VARDATA& stResult) {
    double dblFrom, dblTo;
    if (TZToValue(lpszFrom, dblFrom) == ERR_OK && TZToValue(lpszTo, dblTo) == ERR_OK)
        stResult.SetData(dblDate + dblTo - dblFrom, VT_DATETIME);
    else
        stResult.SetNull();
    return ERR_OK;
}

void CKestroDate::ReviseYear(int& nYear) {
    if (nYear >= 0 && nYear <= 99) nYear += nYear < 70 ? 2000 : 1900;
}

void CKestroDate::ReviseYear(unsigned long& nYear) {
    if (nYear <= 99) nYear += nYear < 70 ? 2000 : 1900;
}
