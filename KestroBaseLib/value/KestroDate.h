#pragma once

#include <concepts>
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

/** What the text functions exist for. Wide text holds one code unit an element. */
template <typename T>
concept KESTROCHAR = std::same_as<T, char> || std::same_as<T, wchar_t>;

/** Elements that the texts of `FormatDate`, `FormatTime` and `FormatDateTime` need at most, the terminator included. */
constexpr int KESTRO_DATE_TEXT_SIZE = 11;
constexpr int KESTRO_TIME_TEXT_SIZE = 12;
constexpr int KESTRO_DATETIME_TEXT_SIZE = 28;

/** A text of so many elements or more is no date for the readers without a format. */
constexpr int KESTRO_DATE_TEXT_LIMIT = 64;

/** Bytes that a format writes at most; its output is cut there without a message. */
constexpr int KESTRO_FORMAT_LIMIT = 256;

/**
 * Dates and times in their three forms (`DATE`, `KESTRODATE`, `KESTROTIME`), converted between each other and into
 * parts. The calendar is the proleptic Gregorian one in both directions; there is no year 0, year -1 goes straight
 * before year 1, and a negative year is a leap year by its own number (-4, -400).
 *
 * All conversions answer 0 or 49 (ERR_DATE_DATA) unless stated. They read only their arguments; any thread may call
 * them.
 *
 * The readers of free text are no static members: they split the text into the object's parse state, so an object
 * belongs to one thread at a time. Every text may be any bytes; a null pointer answers 1504 (ERR_DATE_FORMAT). A length
 * is an upper bound: a terminator inside it ends the text earlier; a negative one answers 1504.
 */
class CKestroDate {
public:
    /** Index of the first part of the time: 3 in a date and time, 0 in a time alone, -1 in a text without a time. */
    int m_nTimeIndex = -1;
    /** How many groups of digits the text last split has. */
    int m_nDataIndex = 0;
    /**
     * The groups in order: up to eight digits each, the rest of the eight bytes zero (a group of eight has no
     * terminator in its part). The eighth part is never filled.
     */
    char m_arData[8][8]{};

    // --- numbers -----------------------------------------------------------------------------------------------------

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

    /**
     * A point in time from one zone to another, as VT_DATETIME; VT_NULL if either text is no zone. Always 0; the pool
     * is not used.
     */
    static int ConvertTZ(CKestroBufferPool* lpPool, DATE dblDate, const char* lpszFrom, const char* lpszTo,
                         st_VARDATA& stResult);

    /** Completes a year of two digits: 0 to 69 lie in 2000, 70 to 99 in 1900; other years stay. */
    static void ReviseYear(int& nYear);
    static void ReviseYear(unsigned long& nYear);

    /** A number yyyymmdd, or yyyymmddhhmmss with a time that exists, from year 1000 on. */
    static bool ValidDate(long long nNumber, int& nYear, int& nMonth, int& nDay);
    /** A number hhmmss, 0 being midnight, or yyyymmddhhmmss with a date that exists. */
    static bool ValidTime(long long nNumber, int& nHour, int& nMinute, int& nSecond);

    // --- free text ---------------------------------------------------------------------------------------------------

    /** Splits a text into the parse state. 0 or 1504. */
    template <KESTROCHAR T>
    [[nodiscard]] int Parse(const T* lpszText);
    /** Appends one group of digits. 1504 for none, for more than eight, for other characters, for the eighth part. */
    template <KESTROCHAR T>
    [[nodiscard]] int Push(const T* lpDigits, int nLen);
    /** `Parse`, with `m_nTimeIndex` as the kind. */
    template <KESTROCHAR T>
    [[nodiscard]] int GetDateTimeType(const T* lpszText, int& nType);

    /**
     * Whether the parts present in the parse state are in range: 0 or 49. The parts are hour, minute, second,
     * microsecond; the hour is tested on demand only, since a duration may have more than 23.
     */
    [[nodiscard]] int CheckValidTime(bool bTestHour) const;
    /** The same for year, month, day, hour, minute, second, microsecond. Any year will do. */
    [[nodiscard]] int CheckValidDateTime(bool bTestHour) const;

    /**
     * A duration or a time of day: "hhmmss" read from the right, "hh:mm:ss", "d hh:mm:ss", or the time of a date and
     * time; a "-" as the very first character makes it negative. From 839 hours on the first two are 838:59:59. 0;
     * 1504; 49 for a part out of range.
     */
    template <KESTROCHAR T>
    [[nodiscard]] int ParseTime(KESTROTIME& stTime, const T* lpszText, int nLen);
    /**
     * A date: "yymmdd", "yyyymmdd", or three groups, with any time behind them. Neither the month nor the length of the
     * month is tested. 0; or 1504, the record untouched.
     */
    template <KESTROCHAR T>
    [[nodiscard]] int ParseDate(KESTRODATE& stDate, const T* lpszText, int nLen);
    /**
     * A date, a date and time or a time into parts: microseconds from up to six digits behind the seconds; more digits
     * are not cut. Without a time its four parts are -1; without a date year, month and day are 0, and no part of the
     * time is tested. 0; 1504; 49 for a part out of range. The digits that a column keeps of the fraction don't change
     * what is read.
     */
    template <KESTROCHAR T>
    [[nodiscard]] int ParseDate(int& nYear, int& nMonth, int& nDay, int& nHour, int& nMinute, int& nSecond,
                                int& nMicrosecond, const T* lpszText, int nLen, int nFractionDigits = -1);
    /** The same without texts of 12 or 14 digits in a row, as a number. A time alone falls on 20 March 2017. */
    template <KESTROCHAR T>
    [[nodiscard]] int ParseDate(DATE& dblDate, const T* lpszText, int nLen, int nFractionDigits = -1);
    /** The same forms as for parts, as VT_TIME, VT_DATE or VT_DATETIME by what the text holds; VT_NULL on a failure. */
    template <KESTROCHAR T>
    [[nodiscard]] int ParseDate(st_VARDATA* lpResult, const T* lpszText, int nLen, int nFractionDigits = -1);

    // --- text by a format --------------------------------------------------------------------------------------------

    /**
     * The token at a position: its code (`KESTRODATEFORMAT`), with the position moved behind it; -2 for "%%", moved
     * too; -1 where there is no token.
     */
    template <KESTROCHAR T>
    static signed char GetFormatType(const T*& lpszPosition);

    /**
     * Reads a text by a format until either ends. What isn't read stays at its start: year, month, day 0; hour, minute,
     * second -1; microsecond 0; day of the year, which counts from 1, 0. Nothing is tested but the hour of a 12-hour
     * clock. 0 or 1504, the parts being as far as they were read.
     */
    template <KESTROCHAR T>
    [[nodiscard]] static int ParseDate(int& nYear, int& nMonth, int& nDay, int& nHour, int& nMinute, int& nSecond,
                                       int& nMicrosecond, int& nDayOfYear, const T* lpszText, const T* lpszFormat);
    /**
     * The same as a number; without a format, or with an empty one, the text is read freely. Needs year, month and day,
     * or year and day of the year, or none of them; and hour, minute and second, or none of them. A time alone falls on
     * 20 March 2017. 0; 1504; 49 for a part out of range.
     */
    template <KESTROCHAR T>
    [[nodiscard]] static int ParseDate(DATE& dblDate, const T* lpszText, const T* lpszFormat);

    /**
     * Writes a date by a format into the pool, as VT_VARCHAR; wide formats give UTF-8 as well. Answers 0; 3; 1504 for a
     * null format. A value whose days don't fit 32 bits answers 0 and leaves the result as it is.
     */
    template <KESTROCHAR T>
    [[nodiscard]] static int Format(CKestroBufferPool* lpPool, const DATE& dblDate, const T* lpszFormat,
                                    st_VARDATA& stResult);
    /** The same for a duration. A token of a date gives VT_NULL and 0; SSSSS, IW and the eras answer 1504. */
    template <KESTROCHAR T>
    [[nodiscard]] static int TimeFormat(CKestroBufferPool* lpPool, const KESTROTIME& stTime, const T* lpszFormat,
                                        st_VARDATA& stResult);

    // --- text in the fixed forms -------------------------------------------------------------------------------------

    /** "yyyy-mm-dd hh:mm:ss" into the pool, as VT_VARCHAR of length 20. 0 or 3. */
    [[nodiscard]] static int Format(CKestroBufferPool* lpPool, const DATE& dblDate, st_VARDATA& stResult);
    // The others write into a buffer of the sizes above, put a terminator and answer the length without it.

    /** "yyyy-mm-dd"; years outside 0 to 9999 become the nearer of the two. */
    template <KESTROCHAR T>
    static int FormatDate(const KESTRODATE& stDate, T* lpszBuffer);
    template <KESTROCHAR T>
    static int FormatDate(DATE dblDate, T* lpszBuffer);
    /** "hh:mm:ss"; from a day on, and for negative times, the hours take the digits they have. */
    template <KESTROCHAR T>
    static int FormatTime(const KESTROTIME& stTime, T* lpszBuffer);
    /** The time of day, days left out. */
    template <KESTROCHAR T>
    static int FormatTime(DATE dblDate, T* lpszBuffer);
    /**
     * "yyyy-mm-dd hh:mm:ss", with a point and so many digits of the fraction behind it, at most six; with -1 three
     * digits if there are microseconds. Years as in `FormatDate`.
     */
    template <KESTROCHAR T>
    static int FormatDateTime(DATE dblDate, T* lpszBuffer, int nFractionDigits);
};
