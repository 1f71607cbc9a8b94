#pragma once

#include <ctime>

#include "VarData.h"

class CKestroBufferPool;

/** Days of the months of a common year. */
extern const int g_nLastDay[12];

/**
 * Hours east of UTC of the database's zone: those of local midnight of 1 January 2017, so whole hours and never summer
 * time. Worked out at the first call and kept for the life of the process. Any thread.
 */
int DbTimeZoneValue();

/**
 * Dates and times in their three forms (`DATE`, `KESTRODATE`, `KESTROTIME`), converted between each other and into
 * parts. The calendar is the proleptic Gregorian one in both directions; there is no year 0, year -1 goes straight
 * before year 1, and a negative year is a leap year by its own number (-4, -400).
 *
 * All conversions answer 0 or 49 (ERR_DATE_DATA) unless stated. They read only their arguments; any thread may call
 * them.
 */
class CKestroDate {
public:
    /**
     * From parts. The result is 0 on a refusal: year 0, a month outside 1 to 12, a day that the month doesn't have, an
     * hour above 23, a minute above 59, a second above 60 (a leap second passes), a microsecond above 999999.
     */
    [[nodiscard]] static int ConvertVariantTime(double& dblResult, int nYear, int nMonth, int nDay, int nHour,
                                                int nMinute, int nSecond, int nMicrosecond);
    /** The same with a day of the year, 0 based: 0 to 364, in a leap year to 365. */
    [[nodiscard]] static int ConvertVariantTime(double& dblResult, int nYear, int nDayOfYear, int nHour, int nMinute,
                                                int nSecond, int nMicrosecond);
    [[nodiscard]] static int ConvertVariantTime(double& dblResult, const KESTRODATE& stDate);
    /** Days and the time part; the parts are not checked. Always 0. */
    static int ConvertVariantTime(double& dblResult, const KESTROTIME& stTime);

    /**
     * Into parts. A value whose days don't fit 32 bits answers 49 with 9999-12-31 23:59:59 and 999 microseconds if it
     * is positive, and with zeros otherwise. A double that lies just under the next second may give 60 seconds or
     * 1000000 microseconds: nothing is carried.
     */
    [[nodiscard]] static int ConvertDateTime(double dblValue, int& nYear, int& nMonth, int& nDay, int& nHour,
                                             int& nMinute, int& nSecond, int& nMicrosecond);
    /** With the day of the week (0 Sunday) and the day of the year (0 based). Without a test of the range; always 0. */
    static int ConvertDateTime(double dblValue, int& nYear, int& nMonth, int& nDay, int& nDayOfWeek, int& nDayOfYear,
                               int& nHour, int& nMinute, int& nSecond, int& nMicrosecond);
    [[nodiscard]] static int ConvertDate(double dblValue, int& nYear, int& nMonth, int& nDay);
    /** 49 also for a year outside 1 to 65535; the record is then untouched. */
    [[nodiscard]] static int ConvertDate(double dblValue, KESTRODATE& stDate);
    /** The time of day in the fraction. Always 0. */
    static int ConvertTime(double dblValue, int& nHour, int& nMinute, int& nSecond, int& nMicrosecond);
    /** Days and time. Only the low byte of the days is kept: who wants a time of day clears `m_nDay`. Always 0. */
    static int ConvertTime(double dblValue, KESTROTIME& stTime);

    /** Whether a month has a day. A month of 0 or above 12 passes. */
    static bool CheckValidDay(int nMonth, int nDay, bool bLeapYear);
    /** By the number as it stands, its sign left aside. */
    static bool IsLeapYear(int nYear);

    /** (year of now - 1) / 100, or 20 if now can't be worked out. */
    static int GetCentury();
    /** Now in the database's zone. */
    static DATE GetCurrentDateTime();
    static DATE ConvertTimetoDate(time_t nTime);
    static DATE ConvertFileTimetoDate(long long nTicks);
    static DATE ConvertFileTimetoDate(const _FILETIME& stTime);

    /**
     * A zone "+hh:mm" or "-hh:mm" in days: -12 to +13 hours, no minutes behind +13; the sign and the colon are
     * required, the minutes may be empty. Answers 0, or 1 for any other text.
     */
    [[nodiscard]] static int TZToValue(const char* lpszText, double& dblDays);

    /** Completes a year of two digits: 0 to 69 lie in 2000, 70 to 99 in 1900; other years stay. */
    static void ReviseYear(int& nYear);
    static void ReviseYear(unsigned long& nYear);
};
