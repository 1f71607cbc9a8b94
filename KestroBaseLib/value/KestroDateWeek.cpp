// The weeks of the year by the rules of the date formats. No calendar here: day of the year and day of the week come
// in.

#include "KestroDateWeek.h"

#include "KestroDate.h"

namespace {

constexpr int Mod7(int nValue) {
    return (nValue % 7 + 7) % 7;
}

constexpr int DayFromMonday(int nWeekDay) {
    return Mod7(nWeekDay + 6);
}

/** Day of the week of 1 January, when a day of the year has a day of the week. */
constexpr int FirstWeekDay(int nYearDay, int nWeekDay) {
    return Mod7(nWeekDay - nYearDay % 7);
}

int DaysOf(int nYear) {
    return CKestroDate::IsLeapYear(nYear) ? 366 : 365;
}

/** There is no year 0. */
constexpr int YearBefore(int nYear) {
    return nYear == 1 ? -1 : nYear - 1;
}

constexpr int YearAfter(int nYear) {
    return nYear == -1 ? 1 : nYear + 1;
}

} // namespace

int WeekFromSunday(int nYearDay, int nWeekDay) {
    const int nFirst = FirstWeekDay(nYearDay, nWeekDay);
    return nFirst == 0 ? nYearDay / 7 + 1 : (nFirst + nYearDay) / 7;
}

int WeekFromMonday(int nYearDay, int nWeekDay) {
    const int nFirst = FirstWeekDay(nYearDay, DayFromMonday(nWeekDay));
    if (nFirst == 6) return (nYearDay + 6) / 7;
    // In a year that begins on a Saturday the weeks change on Wednesday. Intended.
    return nFirst < 4 ? (nYearDay + 7 + nFirst) / 7 : (nYearDay + 8 - nFirst) / 7;
}

KESTROWEEK YearWeekFromSunday(int nYear, int nYearDay, int nWeekDay) {
    if (nYearDay >= 6 || nYearDay >= nWeekDay) return {WeekFromSunday(nYearDay, nWeekDay), nYear};
    const int nBefore = YearBefore(nYear);
    return {WeekFromSunday(nYearDay + DaysOf(nBefore), nWeekDay), nBefore};
}

KESTROWEEK YearWeekFromMonday(int nYear, int nYearDay, int nWeekDay) {
    const int nDay = DayFromMonday(nWeekDay);
    if (nYearDay < 4 && nDay - nYearDay > 3) {
        const int nBefore = YearBefore(nYear);
        return {WeekFromMonday(nYearDay + DaysOf(nBefore), nWeekDay), nBefore};
    }
    // The last days of a year are tested by their distance from its end less their day of the week. Intended.
    if (DaysOf(nYear) - nYearDay - nDay < 4 && nDay < 3) return {1, YearAfter(nYear)};
    return {WeekFromMonday(nYearDay, nWeekDay), nYear};
}

int IsoWeek(int nYear, int nYearDay, int nWeekDay) {
    const int nFirst = FirstWeekDay(nYearDay, DayFromMonday(nWeekDay));
    const int nWeeks = (nFirst + nYearDay) / 7;
    return DaysOf(nYear) - nFirst - 7 * nWeeks < 1 ? 1 : nWeeks + 1;
}
