// Days and parts: the conversions between a day number with a fraction and year, month, day and time. No text here, and
// no clock.

#include <cmath>

#include "IntegerCut.h"
#include "KestroDate.h"
#include "KestroErrorCode.h"

const int g_nLastDay[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

namespace {

/** Days of the months before a month, in a common year. */
constexpr int DAYS_BEFORE_MONTH[12] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};

constexpr int DAYS_OF_400_YEARS = 146097;
/** Day number of 1 January of the year 0 that the astronomers have and this calendar leaves out. */
constexpr int FIRST_DAY_OF_YEAR_0 = -693959;
constexpr int DAYS_OF_YEAR_0 = 366;
/** 1 January of year 1. */
constexpr int FIRST_DAY = FIRST_DAY_OF_YEAR_0 + DAYS_OF_YEAR_0;

constexpr bool IsLeap(int nYear) {
    return nYear % 4 == 0 && (nYear % 100 != 0 || nYear % 400 == 0);
}

/** Day number of 1 January of a year other than 0. */
constexpr long long FirstDayOfYear(int nYear) {
    const long long nCycle = (nYear >= 0 ? nYear : nYear - 399LL) / 400;
    const int nRest = static_cast<int>(nYear - nCycle * 400);
    // The first year of a cycle is a leap year, and so is each fourth one but for the centuries inside the cycle.
    const int nLeapYears = (nRest + 3) / 4 - (nRest > 0 ? (nRest - 1) / 100 : 0);
    const long long nDay = FIRST_DAY_OF_YEAR_0 + nCycle * DAYS_OF_400_YEARS + nRest * 365 + nLeapYears;
    return nYear < 0 ? nDay + DAYS_OF_YEAR_0 : nDay;
}

struct YEARDAY {
    int m_nYear;
    /** 0 based. */
    int m_nDayOfYear;
};

/** The year of a day number, and the day in it. */
constexpr YEARDAY YearOfDay(int nDayNumber) {
    const long long nDays =
        static_cast<long long>(nDayNumber) - FIRST_DAY_OF_YEAR_0 - (nDayNumber < FIRST_DAY ? DAYS_OF_YEAR_0 : 0);
    const long long nCycle = (nDays >= 0 ? nDays : nDays - (DAYS_OF_400_YEARS - 1)) / DAYS_OF_400_YEARS;
    int nDay = static_cast<int>(nDays - nCycle * DAYS_OF_400_YEARS);
    // Each missing leap day of a century year is counted in, so that all blocks of four years have 1461 days.
    if (nDay >= 36525 + 59) nDay += (nDay - (36525 + 59)) / 36524 + 1;
    const int nBlock = nDay / 1461;
    const int nRest = nDay % 1461;
    const int nYearInBlock = nRest < 366 ? 0 : (nRest - 1) / 365;
    const int nYear = static_cast<int>(nCycle * 400) + nBlock * 4 + nYearInBlock;
    int nDayOfYear = nRest - (nYearInBlock ? nYearInBlock * 365 + 1 : 0);
    if (nYearInBlock == 0 && nBlock % 25 == 0 && nBlock != 0 && nDayOfYear >= 60) --nDayOfYear;
    return {nYear, nDayOfYear};
}

/** Month and day of a 0 based day of the year. */
constexpr void MonthOfDay(int nDayOfYear, bool bLeapYear, int& nMonth, int& nDay) {
    // The 29th of February stands between the two tables of a common year.
    if (bLeapYear && nDayOfYear >= 59) {
        if (nDayOfYear == 59) {
            nMonth = 2;
            nDay = 29;
            return;
        }
        --nDayOfYear;
    }
    // No month is longer than 31 days, so the estimate is right or one short.
    nMonth = nDayOfYear / 31;
    if (nMonth < 11 && nDayOfYear >= DAYS_BEFORE_MONTH[nMonth + 1]) ++nMonth;
    nDay = nDayOfYear - DAYS_BEFORE_MONTH[nMonth] + 1;
    ++nMonth;
}

constexpr void DateOfDay(int nDayNumber, int& nYear, int& nMonth, int& nDay) {
    const YEARDAY stDay = YearOfDay(nDayNumber);
    nYear = stDay.m_nYear;
    MonthOfDay(stDay.m_nDayOfYear, IsLeap(nYear), nMonth, nDay);
}

constexpr bool DateExists(int nYear, int nMonth, int nDay) {
    if (nYear == 0 || nMonth < 1 || nMonth > 12 || nDay < 1) return false;
    return nDay <= g_nLastDay[nMonth - 1] + (nMonth == 2 && IsLeap(nYear) ? 1 : 0);
}

constexpr bool TimeExists(int nHour, int nMinute, int nSecond, int nMicrosecond) {
    return nHour >= 0 && nHour <= 23 && nMinute >= 0 && nMinute <= 59 && nSecond >= 0 && nSecond <= 60 &&
           nMicrosecond >= 0 && nMicrosecond <= 999999;
}

constexpr double TimePart(int nHour, int nMinute, int nSecond, int nMicrosecond) {
    return nHour / 24.0 + nMinute / 1440.0 + nSecond / 86400.0 + nMicrosecond / 86400000000.0;
}

/** The time always points away from zero. */
constexpr double Join(double dblDays, double dblTime) {
    return dblDays >= 0 ? dblDays + dblTime : dblDays - dblTime;
}

/** Cuts the time out of a fraction, each stage with its own allowance for the double's rounding. */
void CutTime(double dblFraction, int& nHour, int& nMinute, int& nSecond, int& nMicrosecond) {
    nHour = CutToInt(dblFraction * 24 + 0.00000001);
    double dblRest = (dblFraction * 24 - nHour) * 60;
    nMinute = CutToInt(dblRest + 0.000001);
    dblRest = (dblRest - nMinute) * 60;
    nSecond = CutToInt(dblRest + 0.0001);
    nMicrosecond = CutToInt((dblRest - nSecond) * 1000 * 1000 + 0.5);
}

} // namespace

bool CKestroDate::IsLeapYear(int nYear) {
    return IsLeap(nYear);
}

bool CKestroDate::CheckValidDay(int nMonth, int nDay, bool bLeapYear) {
    if (nMonth < 1 || nMonth > 12) return true;
    return nDay >= 1 && nDay <= g_nLastDay[nMonth - 1] + (nMonth == 2 && bLeapYear ? 1 : 0);
}

int CKestroDate::ConvertVariantTime(double& dblResult, int nYear, int nMonth, int nDay, int nHour, int nMinute,
                                    int nSecond, int nMicrosecond) {
    dblResult = 0;
    if (!DateExists(nYear, nMonth, nDay) || !TimeExists(nHour, nMinute, nSecond, nMicrosecond)) return ERR_DATE_DATA;
    const int nLeapDay = nMonth > 2 && IsLeap(nYear) ? 1 : 0;
    const long long nDays = FirstDayOfYear(nYear) + DAYS_BEFORE_MONTH[nMonth - 1] + nLeapDay + nDay - 1;
    dblResult = Join(static_cast<double>(nDays), TimePart(nHour, nMinute, nSecond, nMicrosecond));
    return ERR_OK;
}

int CKestroDate::ConvertVariantTime(double& dblResult, int nYear, int nDayOfYear, int nHour, int nMinute, int nSecond,
                                    int nMicrosecond) {
    dblResult = 0;
    if (nYear == 0 || nDayOfYear < 0 || nDayOfYear > (IsLeap(nYear) ? 365 : 364)) return ERR_DATE_DATA;
    if (!TimeExists(nHour, nMinute, nSecond, nMicrosecond)) return ERR_DATE_DATA;
    dblResult =
        Join(static_cast<double>(FirstDayOfYear(nYear) + nDayOfYear), TimePart(nHour, nMinute, nSecond, nMicrosecond));
    return ERR_OK;
}

int CKestroDate::ConvertVariantTime(double& dblResult, const KESTRODATE& stDate) {
    return ConvertVariantTime(dblResult, stDate.m_sYear, stDate.m_bMonth, stDate.m_bDay, 0, 0, 0, 0);
}

int CKestroDate::ConvertVariantTime(double& dblResult, const KESTROTIME& stTime) {
    const double dblTime = TimePart(stTime.m_bHour, stTime.m_bMintue, stTime.m_bSecond, 0);
    dblResult = stTime.m_nDay == KESTRO_MINUS_ZERO_DAYS ? -dblTime : Join(stTime.m_nDay, dblTime);
    return ERR_OK;
}

int CKestroDate::ConvertDateTime(double dblValue, int& nYear, int& nMonth, int& nDay, int& nHour, int& nMinute,
                                 int& nSecond, int& nMicrosecond) {
    const int nDays = CutToInt(dblValue);
    const double dblFraction = std::fabs(dblValue - nDays);
    if (!(dblFraction < 1)) {
        const bool bFuture = dblValue > 0;
        nYear = bFuture ? 9999 : 0;
        nMonth = bFuture ? 12 : 0;
        nDay = bFuture ? 31 : 0;
        nHour = bFuture ? 23 : 0;
        nMinute = bFuture ? 59 : 0;
        nSecond = bFuture ? 59 : 0;
        nMicrosecond = bFuture ? 999 : 0;
        return ERR_DATE_DATA;
    }
    DateOfDay(nDays, nYear, nMonth, nDay);
    CutTime(dblFraction, nHour, nMinute, nSecond, nMicrosecond);
    return ERR_OK;
}

int CKestroDate::ConvertDateTime(double dblValue, int& nYear, int& nMonth, int& nDay, int& nDayOfWeek, int& nDayOfYear,
                                 int& nHour, int& nMinute, int& nSecond, int& nMicrosecond) {
    const int nDays = CutToInt(dblValue);
    const YEARDAY stDay = YearOfDay(nDays);
    nYear = stDay.m_nYear;
    nDayOfYear = stDay.m_nDayOfYear;
    MonthOfDay(nDayOfYear, IsLeap(nYear), nMonth, nDay);
    // Up to day 0 the week runs a day behind: 30 December 1899, a Saturday, counts as 0. Intended.
    nDayOfWeek = nDays > 0 ? (nDays - 1) % 7 : (nDays % 7 + 7) % 7;
    CutTime(std::fabs(dblValue - nDays), nHour, nMinute, nSecond, nMicrosecond);
    return ERR_OK;
}

int CKestroDate::ConvertDate(double dblValue, int& nYear, int& nMonth, int& nDay) {
    const int nDays = CutToInt(dblValue);
    if (!(std::fabs(dblValue - nDays) < 1)) return ERR_DATE_DATA;
    DateOfDay(nDays, nYear, nMonth, nDay);
    return ERR_OK;
}

int CKestroDate::ConvertDate(double dblValue, KESTRODATE& stDate) {
    int nYear, nMonth, nDay;
    if (const int nResult = ConvertDate(dblValue, nYear, nMonth, nDay)) return nResult;
    if (nYear < 1 || nYear > 65535) return ERR_DATE_DATA;
    stDate = {static_cast<BYTE>(nDay), static_cast<BYTE>(nMonth), static_cast<std::uint16_t>(nYear)};
    return ERR_OK;
}

int CKestroDate::ConvertTime(double dblValue, int& nHour, int& nMinute, int& nSecond, int& nMicrosecond) {
    CutTime(std::fabs(dblValue - CutToInt(dblValue)), nHour, nMinute, nSecond, nMicrosecond);
    return ERR_OK;
}

int CKestroDate::ConvertTime(double dblValue, KESTROTIME& stTime) {
    const int nDays = CutToInt(dblValue);
    int nHour, nMinute, nSecond, nMicrosecond;
    CutTime(std::fabs(dblValue - nDays), nHour, nMinute, nSecond, nMicrosecond);
    const bool bMinusZero = nDays == 0 && dblValue < 0;
    stTime = {static_cast<BYTE>(nSecond), static_cast<BYTE>(nMinute), static_cast<BYTE>(nHour),
              bMinusZero ? KESTRO_MINUS_ZERO_DAYS : static_cast<signed char>(nDays)};
    return ERR_OK;
}
