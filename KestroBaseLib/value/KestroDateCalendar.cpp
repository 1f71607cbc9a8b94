// Days and parts: the conversions between a day number with a fraction and year, month, day and time. No text here, and
// no clock.

#include <array>
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
/** Of the leap year 0. */
constexpr int DAYS_OF_JANUARY_AND_FEBRUARY = 60;
/** 1 January of year 1. */
constexpr int FIRST_DAY = FIRST_DAY_OF_YEAR_0 + DAYS_OF_YEAR_0;

/** A century year is a multiple of 25 and of 4, and a leap year if it is one of 16. */
constexpr bool IsLeap(int nYear) {
    return (nYear & (nYear % 25 == 0 ? 15 : 3)) == 0;
}

/** Day number of 1 January of a year other than 0. */
constexpr long long FirstDayOfYear(int nYear) {
    // 400-year cycles that bring each 32-bit year above zero.
    constexpr std::uint64_t CYCLES = 6'000'000;
    const std::uint64_t uYear = CYCLES * 400 + static_cast<std::uint64_t>(static_cast<long long>(nYear)) - 1;
    const std::uint64_t uCentury = uYear / 100;
    const std::uint64_t uDays = uYear * 365 + uYear / 4 - uCentury + uCentury / 4;
    return FIRST_DAY + static_cast<long long>(uDays - CYCLES * DAYS_OF_400_YEARS) + (nYear < 0 ? DAYS_OF_YEAR_0 : 0);
}

struct CIVILDAY {
    int m_nYear, m_nMonth, m_nDay;
    /** 0 based. */
    int m_nDayOfYear;
};

/**
 * The date of a day number, without a branch that depends on the day: years begin in March, so that the leap day is a
 * year's last, and the divisions are multiplications (Neri and Schneider, "Euclidean affine functions and their
 * application to calendar algorithms", 2022).
 */
constexpr CIVILDAY CivilDay(int nDayNumber) {
    // 400-year cycles that bring each 32-bit day number above zero.
    constexpr std::uint64_t CYCLES = 16'000;
    constexpr std::uint64_t SHIFT = CYCLES * DAYS_OF_400_YEARS - FIRST_DAY_OF_YEAR_0 - DAYS_OF_JANUARY_AND_FEBRUARY;
    const int nYear0 = nDayNumber < FIRST_DAY ? DAYS_OF_YEAR_0 : 0;
    const std::uint64_t uDays = SHIFT + static_cast<std::uint64_t>(static_cast<long long>(nDayNumber) - nYear0);
    const std::uint64_t uCentury = (4 * uDays + 3) / DAYS_OF_400_YEARS;
    const auto uDayOfCentury = static_cast<std::uint32_t>((4 * uDays + 3) % DAYS_OF_400_YEARS / 4);
    const std::uint64_t uProduct = std::uint64_t{2'939'745} * (4 * uDayOfCentury + 3);
    const std::uint32_t uDayOfYear = static_cast<std::uint32_t>(uProduct) / 2'939'745 / 4;
    const std::uint32_t uMonthAndDay = 2141 * uDayOfYear + 197'913;
    const int nNewYear = uDayOfYear >= 306 ? 1 : 0;
    const int nYear = static_cast<int>(static_cast<long long>(100 * uCentury + (uProduct >> 32)) -
                                       static_cast<long long>(CYCLES * 400)) +
                      nNewYear;
    const int nLeapDay = IsLeap(nYear) ? 1 : 0;
    return {nYear, static_cast<int>(uMonthAndDay >> 16) - 12 * nNewYear,
            static_cast<int>((uMonthAndDay & 0xFFFF) / 2141) + 1,
            static_cast<int>(uDayOfYear) + (nNewYear ? -306 : DAYS_OF_JANUARY_AND_FEBRUARY - 1 + nLeapDay)};
}

constexpr void DateOfDay(int nDayNumber, int& nYear, int& nMonth, int& nDay) {
    const CIVILDAY stDay = CivilDay(nDayNumber);
    nYear = stDay.m_nYear;
    nMonth = stDay.m_nMonth;
    nDay = stDay.m_nDay;
}

constexpr bool DateExists(int nYear, int nMonth, int nDay) {
    if (nYear == 0 || nMonth < 1 || nMonth > 12 || nDay < 1) return false;
    return nDay <= g_nLastDay[nMonth - 1] + (nMonth == 2 && IsLeap(nYear) ? 1 : 0);
}

constexpr bool IsBelow(int nValue, unsigned nLimit) {
    return static_cast<unsigned>(nValue) < nLimit;
}

constexpr bool TimeExists(int nHour, int nMinute, int nSecond, int nMicrosecond) {
    return IsBelow(nHour, 24) && IsBelow(nMinute, 60) && IsBelow(nSecond, 61) && IsBelow(nMicrosecond, 1'000'000);
}

/** 0 to COUNT - 1 divided by a number, so that the usual time needs no division. */
template <std::size_t COUNT>
constexpr auto Quotients(double dblDivisor) {
    std::array<double, COUNT> arQuotients{};
    for (std::size_t i = 0; i < COUNT; ++i)
        arQuotients[i] = static_cast<double>(i) / dblDivisor;
    return arQuotients;
}

constexpr auto HOUR_PARTS = Quotients<24>(24);
constexpr auto MINUTE_PARTS = Quotients<60>(1440);
constexpr auto SECOND_PARTS = Quotients<61>(86400);

/** The part of a day that a tested time is; the order of the sum is behaviour. */
double TimePart(int nHour, int nMinute, int nSecond, int nMicrosecond) {
    const double dblTime = HOUR_PARTS[static_cast<std::size_t>(nHour)] +
                           MINUTE_PARTS[static_cast<std::size_t>(nMinute)] +
                           SECOND_PARTS[static_cast<std::size_t>(nSecond)];
    return nMicrosecond == 0 ? dblTime : dblTime + nMicrosecond / 86400000000.0;
}

/** The time always points away from zero. */
constexpr double Join(double dblDays, double dblTime) {
    return dblDays >= 0 ? dblDays + dblTime : dblDays - dblTime;
}

struct TIMEOFDAY {
    int m_nHour, m_nMinute, m_nSecond, m_nMicrosecond;
};

/** Cuts the time out of a fraction, each stage with its own allowance for the double's rounding. */
template <typename CUT>
TIMEOFDAY CutTimeWith(double dblFraction, CUT lpfnCut) {
    TIMEOFDAY st;
    st.m_nHour = lpfnCut(dblFraction * 24 + 0.00000001);
    double dblRest = (dblFraction * 24 - st.m_nHour) * 60;
    st.m_nMinute = lpfnCut(dblRest + 0.000001);
    dblRest = (dblRest - st.m_nMinute) * 60;
    st.m_nSecond = lpfnCut(dblRest + 0.0001);
    st.m_nMicrosecond = lpfnCut((dblRest - st.m_nSecond) * 1000 * 1000 + 0.5);
    return st;
}

TIMEOFDAY CutTime(double dblFraction) {
    // Below 1 all stages fit an integer; what isn't a fraction is cut with care.
    if (dblFraction < 1) return CutTimeWith(dblFraction, [](double dbl) { return static_cast<int>(dbl); });
    return CutTimeWith(dblFraction, CutToInt);
}

void CutTime(double dblFraction, int& nHour, int& nMinute, int& nSecond, int& nMicrosecond) {
    const TIMEOFDAY st = CutTime(dblFraction);
    nHour = st.m_nHour;
    nMinute = st.m_nMinute;
    nSecond = st.m_nSecond;
    nMicrosecond = st.m_nMicrosecond;
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
    const int nLeapDay = static_cast<int>(nMonth > 2) & static_cast<int>(IsLeap(nYear));
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
    const double dblTime = stTime.m_bHour / 24.0 + stTime.m_bMintue / 1440.0 + stTime.m_bSecond / 86400.0;
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
    const CIVILDAY stDay = CivilDay(nDays);
    nYear = stDay.m_nYear;
    nMonth = stDay.m_nMonth;
    nDay = stDay.m_nDay;
    nDayOfYear = stDay.m_nDayOfYear;
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
    const TIMEOFDAY st = CutTime(std::fabs(dblValue - nDays));
    const bool bMinusZero = nDays == 0 && dblValue < 0;
    stTime = {static_cast<BYTE>(st.m_nSecond), static_cast<BYTE>(st.m_nMinute), static_cast<BYTE>(st.m_nHour),
              bMinusZero ? KESTRO_MINUS_ZERO_DAYS : static_cast<signed char>(nDays)};
    return ERR_OK;
}
