// Time of day and the microsecond counter, both from the platform's clock, and the machine's zone.

#include <ctime>

#include "LinuxCommonAPI.h"
#include "Platform.h"

void GetLocalTime(LPSYSTEMTIME lpTime) {
    const std::int64_t nNow = NowMicroseconds();
    const std::time_t nSeconds = nNow / 1'000'000;
    std::tm stLocal{};
    // Without tzset, which looks at the zone's file each time: log lines take their time here.
    localtime_r(&nSeconds, &stLocal);
    lpTime->wYear = static_cast<WORD>(stLocal.tm_year + 1900);
    lpTime->wMonth = static_cast<WORD>(stLocal.tm_mon + 1);
    lpTime->wDay = static_cast<WORD>(stLocal.tm_mday);
    lpTime->wHour = static_cast<WORD>(stLocal.tm_hour);
    lpTime->wMinute = static_cast<WORD>(stLocal.tm_min);
    lpTime->wSecond = static_cast<WORD>(stLocal.tm_sec);
    lpTime->wMilliseconds = static_cast<WORD>(nNow % 1'000'000 / 1000);
}

long long ZoneSeconds() {
    std::tm stMidnight{};
    stMidnight.tm_year = 2017 - 1900;
    stMidnight.tm_mday = 1;
    const std::time_t nLocal = std::mktime(&stMidnight);
    std::tm stUtc{};
    gmtime_r(&nLocal, &stUtc);
    return nLocal - std::mktime(&stUtc);
}

BOOL QueryPerformanceCounter(long long* lpCounter) {
    *lpCounter = NowMicroseconds();
    return 1;
}

void TimeraddMS(timeval* lpTime, DWORD nMilliseconds) {
    const std::int64_t nMicroseconds = lpTime->tv_usec + std::int64_t{nMilliseconds} * 1000;
    lpTime->tv_sec += nMicroseconds / 1'000'000;
    lpTime->tv_usec = nMicroseconds % 1'000'000;
}
