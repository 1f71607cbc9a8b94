#pragma once

/**
 * The weeks of the year by the rules of the date formats. Days of the year count from 0, days of the week from 0 for
 * Sunday, as `CKestroDate::ConvertDateTime` gives them.
 */
struct KESTROWEEK {
    int m_nWeek;
    /** The year that the week belongs to. */
    int m_nYear;
};

/** Weeks that begin on Sunday; days in front of the first one lie in week 0. */
int WeekFromSunday(int nYearDay, int nWeekDay);
/** Weeks that begin on Monday; week 1 is the first with four days. */
int WeekFromMonday(int nYearDay, int nWeekDay);
/** `WeekFromSunday`, but the days in front of the first Sunday lie in the last week of the year before. */
KESTROWEEK YearWeekFromSunday(int nYear, int nYearDay, int nWeekDay);
/** `WeekFromMonday`, but days at the year's ends may lie in a week of the year before or behind. */
KESTROWEEK YearWeekFromMonday(int nYear, int nYearDay, int nWeekDay);
/** Weeks that begin on Monday; the one with 1 January is week 1, and the year's last days may lie in a week 1 again. */
int IsoWeek(int nYear, int nYearDay, int nWeekDay);
