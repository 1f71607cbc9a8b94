// The calendar against std::chrono, and its own rules where the two part.

#include "KestroDate.h"

#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <cmath>

#include "IntegerCut.h"
#include "KestroErrorCode.h"
#include "ValueText.h"

namespace {

using namespace std::chrono;

constexpr sys_days ZERO_DAY = year{1899} / December / 30;

/** Year, month, day and time of a value as text. */
std::string PartsOf(double dblValue, int nExpected = ERR_OK) {
    int y, m, d, h, mi, s, us;
    EXPECT_EQ(nExpected, CKestroDate::ConvertDateTime(dblValue, y, m, d, h, mi, s, us));
    return PrintText("%d-%d-%d %d:%d:%d.%d", y, m, d, h, mi, s, us);
}

/** The value of such a text. */
int ValueOf(double& dblResult, const std::string& strParts) {
    int y, m, d, h, mi, s, us;
    EXPECT_EQ(7, sscanf(strParts.c_str(), "%d-%d-%d %d:%d:%d.%d", &y, &m, &d, &h, &mi, &s, &us)) << strParts;
    return CKestroDate::ConvertVariantTime(dblResult, y, m, d, h, mi, s, us);
}

TEST(KestroDate, EveryDayOfTheCalendarIsThatOfChrono) {
    for (sys_days stDay = year{1} / January / 1; stDay <= sys_days{year{9999} / December / 31}; stDay += days{1}) {
        const year_month_day stDate{stDay};
        const int nYear = int(stDate.year()), nMonth = unsigned(stDate.month()), nDay = unsigned(stDate.day());
        const int nNumber = (stDay - ZERO_DAY).count();
        double dblValue;
        ASSERT_EQ(ERR_OK, CKestroDate::ConvertVariantTime(dblValue, nYear, nMonth, nDay, 0, 0, 0, 0));
        ASSERT_EQ(nNumber, dblValue);
        int y, m, d, nWeekDay, nYearDay, h, mi, s, us;
        CKestroDate::ConvertDateTime(nNumber, y, m, d, nWeekDay, nYearDay, h, mi, s, us);
        ASSERT_TRUE(y == nYear && m == nMonth && d == nDay) << nNumber;
        ASSERT_EQ((stDay - sys_days{stDate.year() / January / 1}).count(), nYearDay);
        // Up to day 0 the week runs a day behind the calendar's.
        const int nCalendar = weekday{stDay}.c_encoding();
        ASSERT_EQ(nNumber > 0 ? nCalendar : (nCalendar + 1) % 7, nWeekDay) << nNumber;
        ASSERT_EQ(ERR_OK, CKestroDate::ConvertVariantTime(dblValue, y, nYearDay, 0, 0, 0, 0));
        ASSERT_EQ(nNumber, dblValue);
    }
}

TEST(KestroDate, DaysBeforeYear1AreInvertedWithoutAYear0) {
    for (int nDay = -693593 + 3; nDay > -693593 - 2 * 146097 - 800; --nDay) {
        const std::string st = PartsOf(nDay);
        ASSERT_NE('0', st[0]);
        double dblValue;
        ASSERT_EQ(ERR_OK, ValueOf(dblValue, st));
        ASSERT_EQ(nDay, dblValue);
    }
    EXPECT_EQ("-1-12-31 0:0:0.0", PartsOf(-693594));
    EXPECT_EQ("-4-2-29 0:0:0.0", PartsOf(-693593 - 4 * 365 - 1 + 59));
    EXPECT_EQ("-400-1-1 0:0:0.0", PartsOf(-693593 - 146097));
    for (int nDay : {INT_MIN, INT_MAX})
        EXPECT_NE('0', PartsOf(nDay)[0]);
}

TEST(KestroDate, PartsOutsideTheCalendarAreRefused) {
    for (const char* const st : {"1900-2-29 0:0:0.0", "0-1-1 0:0:0.0", "2024-13-1 0:0:0.0", "2024-0-1 0:0:0.0",
                                 "2024-4-31 0:0:0.0", "2024-1-0 0:0:0.0", "2024-1-1 24:0:0.0", "2024-1-1 0:60:0.0",
                                 "2024-1-1 0:0:61.0", "2024-1-1 0:0:0.1000000", "2024-1-1 -1:0:0.0"}) {
        double dblValue = 1;
        EXPECT_EQ(ERR_DATE_DATA, ValueOf(dblValue, st)) << st;
        EXPECT_EQ(0, dblValue);
    }
    double dblValue;
    EXPECT_EQ(ERR_DATE_DATA, CKestroDate::ConvertVariantTime(dblValue, 2023, 365, 0, 0, 0, 0));
    EXPECT_EQ(ERR_DATE_DATA, CKestroDate::ConvertVariantTime(dblValue, KESTRODATE{1, 1, 0}));
    ASSERT_EQ(ERR_OK, ValueOf(dblValue, "2023-12-31 23:59:60.0"));
    EXPECT_EQ("2024-1-1 0:0:0.0", PartsOf(dblValue));
}

TEST(KestroDate, ValuesOutOfRangeAnswerTheFixedEnds) {
    const std::string stEnd = "9999-12-31 23:59:59.999", stNone = "0-0-0 0:0:0.0";
    EXPECT_EQ(stEnd, PartsOf(1e300, ERR_DATE_DATA));
    EXPECT_EQ(stNone, PartsOf(-1e300, ERR_DATE_DATA));
    EXPECT_EQ(stNone, PartsOf(NAN, ERR_DATE_DATA));
    KESTRODATE stDate{7, 7, 7};
    EXPECT_EQ(ERR_DATE_DATA, CKestroDate::ConvertDate(-693594, stDate));
    EXPECT_EQ(7, stDate.m_sYear);
    KESTROTIME stTime;
    CKestroDate::ConvertTime(INFINITY, stTime);
    CKestroDate::ConvertTime(NAN, stTime);
}

TEST(KestroDate, TimesKeepTheirSign) {
    EXPECT_EQ("1900-1-1 12:0:0.0", PartsOf(2.5));
    EXPECT_EQ("1899-12-29 6:0:0.0", PartsOf(-1.25));
    for (const KESTROTIME& st : {KESTROTIME{0, 30, 0, KESTRO_MINUS_ZERO_DAYS}, KESTROTIME{59, 59, 23, -127},
                                 KESTROTIME{1, 0, 0, 0}, KESTROTIME{59, 59, 22, 34}}) {
        double dblValue;
        CKestroDate::ConvertVariantTime(dblValue, st);
        KESTROTIME stBack;
        CKestroDate::ConvertTime(dblValue, stBack);
        EXPECT_EQ(0, memcmp(&st, &stBack, sizeof st)) << dblValue;
    }
}

TEST(KestroDate, ZonesAreReadToTheMinute) {
    for (const auto& [lpszText, nMinutes] :
         {std::pair{"+08:00", 480}, {"-12:59", -779}, {"+13:00", 780}, {"+5:", 300}, {"-00:30", -30}}) {
        double dblDays;
        EXPECT_EQ(ERR_OK, CKestroDate::TZToValue(lpszText, dblDays)) << lpszText;
        EXPECT_NEAR(nMinutes / 1440.0, dblDays, 1e-12);
    }
    for (const char* lpszText :
         {"+13:01", "-13:00", "08:00", "+08", "+08:60", "+08:00 ", "+:30", "", "+99999999999:00"}) {
        double dblDays;
        EXPECT_EQ(ERR_FAILED, CKestroDate::TZToValue(lpszText, dblDays)) << lpszText;
    }
}

TEST(IntegerCut, WhatDoesNotFitIsTheLowestInteger) {
    for (const double dbl : {static_cast<double>(NAN), 2147483648.0, -2147483648.9, -2147483649.0})
        EXPECT_EQ(INT_MIN, CutToInt(dbl)) << dbl;
    EXPECT_EQ(INT_MAX, CutToInt(2147483647.9));
    EXPECT_EQ(LLONG_MIN, CutToInt64(9223372036854775808.0));
    EXPECT_EQ(9223372036854774784, CutToInt64(9223372036854774784.0));
    EXPECT_EQ(LLONG_MIN, CutToInt64(-1e300));
    EXPECT_EQ(-2, CutToInt(-2.9));
}

} // namespace
