// Writes dates by a format: a table gives each code what it writes. A format of picture words may hold literal text in
// double quotes; in one with a "%" token quotes have no meaning.

#include <cstdlib>

#include "KestroDateFormatOutput.h"
#include "KestroDateWeek.h"
#include "KestroErrorCode.h"

namespace {

/** A date in its parts, as `CKestroDate::ConvertDateTime` gives them. */
struct WRITTENDATE {
    int m_nYear, m_nMonth, m_nDay, m_nWeekDay, m_nYearDay, m_nHour, m_nMinute, m_nSecond, m_nMicrosecond;
};

using ST = const WRITTENDATE&;

// --- numbers derived from the parts ----------------------------------------------------------------------------------

constexpr int YearDigits(int nYear, int nModulus) {
    // Parts of a year don't show its sign.
    return nYear < 0 ? -(nYear % nModulus) : nYear % nModulus;
}

template <int MODULUS>
constexpr int YearModulo(ST st) {
    return YearDigits(st.m_nYear, MODULUS);
}

constexpr int HourOf12(ST st) {
    return Hour12(st.m_nHour);
}

/** Rounded half up; 999500 microseconds and more make 1000. */
constexpr int Milliseconds(ST st) {
    return CutToInt(st.m_nMicrosecond / 1000.0 + 0.5);
}

constexpr int DayOfYear(ST st) {
    return st.m_nYearDay + 1;
}

constexpr int SecondOfDay(ST st) {
    return (st.m_nHour * 60 + st.m_nMinute) * 60 + st.m_nSecond;
}

constexpr int WeekDay(ST st) {
    return st.m_nWeekDay;
}

constexpr int WeekDay1(ST st) {
    return st.m_nWeekDay + 1;
}

constexpr int WeekDayMonday(ST st) {
    return (st.m_nWeekDay + 6) % 7;
}

int WeekSunday(ST st) {
    return WeekFromSunday(st.m_nYearDay, st.m_nWeekDay);
}

int WeekMonday(ST st) {
    return WeekFromMonday(st.m_nYearDay, st.m_nWeekDay);
}

int WeekIso(ST st) {
    return IsoWeek(st.m_nYear, st.m_nYearDay, st.m_nWeekDay);
}

constexpr int WeekOfYear(ST st) {
    return st.m_nYearDay / 7 + 1;
}

constexpr int WeekOfMonth(ST st) {
    return st.m_nDay / 7 + 1;
}

constexpr int Century(ST st) {
    return (st.m_nYear - 1) / 100 + 1;
}

constexpr int Quarter(ST st) {
    return (st.m_nMonth + 2) / 3;
}

// --- what writes -----------------------------------------------------------------------------------------------------

using WRITER = char* (*)(char* lpOut, ST st);

/** A derived number in at least so many digits. */
template <int (*VALUE)(ST), int DIGITS>
char* Number(char* lpOut, ST st) {
    return DIGITS == 2 ? PutTwo(lpOut, VALUE(st)) : PutNumber(lpOut, VALUE(st), DIGITS);
}

char* Year(char* lpOut, ST st) {
    return PutFour(lpOut, st.m_nYear);
}

using WEEKRULE = KESTROWEEK (*)(int nYear, int nYearDay, int nWeekDay);

template <WEEKRULE RULE>
char* YearWeek(char* lpOut, ST st) {
    return PutTwo(lpOut, RULE(st.m_nYear, st.m_nYearDay, st.m_nWeekDay).m_nWeek);
}

template <WEEKRULE RULE>
char* WeekYear(char* lpOut, ST st) {
    return PutFour(lpOut, RULE(st.m_nYear, st.m_nYearDay, st.m_nWeekDay).m_nYear);
}

char* Microseconds(char* lpOut, ST st) {
    // Six places, of which a sign takes one: just under a second of a late year a few may be missing to zero.
    return PutNumber(lpOut, st.m_nMicrosecond, st.m_nMicrosecond < 0 ? 5 : 6);
}

char* MonthName(char* lpOut, ST st) {
    return PutText(lpOut, MONTH_NAMES[static_cast<std::size_t>(st.m_nMonth - 1)]);
}

char* MonthShort(char* lpOut, ST st) {
    return PutText(lpOut, MONTH_NAMES[static_cast<std::size_t>(st.m_nMonth - 1)].substr(0, SHORT_NAME));
}

char* DayName(char* lpOut, ST st) {
    return PutText(lpOut, DAY_NAMES[static_cast<std::size_t>(st.m_nWeekDay)]);
}

char* DayShort(char* lpOut, ST st) {
    return PutText(lpOut, DAY_NAMES[static_cast<std::size_t>(st.m_nWeekDay)].substr(0, SHORT_NAME));
}

char* MonthRoman(char* lpOut, ST st) {
    // October is a letter X in the form of three bytes, which is no valid UTF-8. Intended.
    if (st.m_nMonth == 10) return PutText(lpOut, "\xE0\x81\x98");
    return PutUtf8(lpOut, 0x2160U + static_cast<unsigned>(st.m_nMonth) - 1);
}

char* AmPm(char* lpOut, ST st) {
    return PutAmPm(lpOut, st.m_nHour);
}

char* Clock12(char* lpOut, ST st) {
    return PutClock12(lpOut, st.m_nHour, st.m_nMinute, st.m_nSecond);
}

char* Clock(char* lpOut, ST st) {
    return PutClock(lpOut, st.m_nHour, st.m_nMinute, st.m_nSecond);
}

char* DayOrdinal(char* lpOut, ST st) {
    // The 11th to the 13th follow no ending of their last digit.
    static constexpr std::string_view ENDINGS[10] = {"th", "st", "nd", "rd", "th", "th", "th", "th", "th", "th"};
    const bool bTeen = st.m_nDay / 10 == 1;
    return PutText(PutNumber(lpOut, st.m_nDay, 1), ENDINGS[bTeen ? 0 : st.m_nDay % 10]);
}

char* YearComma(char* lpOut, ST st) {
    if (st.m_nYear < 0) *lpOut++ = '-';
    const int nYear = std::abs(st.m_nYear);
    lpOut = PutNumber(lpOut, nYear / 1000, 1);
    *lpOut++ = ',';
    return PutNumber(lpOut, nYear % 1000, 3);
}

char* JulianDay(char* lpOut, ST st) {
    const long long nYear = st.m_nYear;
    const int a = (st.m_nMonth - 14) / 12;
    const long long nDay = 1461 * (nYear + 4800 + a) / 4 + 367 * (st.m_nMonth - 2 - 12 * a) / 12 -
                           3 * ((nYear + 4900 + a) / 100) / 4 + st.m_nDay - 32075;
    return PutNumber(lpOut, nDay, 1);
}

char* Era(char* lpOut, ST) {
    // Years before year 1 are "AD" as well, and so is the picture "BC". Intended.
    return PutText(lpOut, "AD");
}

char* EraPoints(char* lpOut, ST) {
    return PutText(lpOut, "A.D.");
}

/** How a code is written: a part of the date in two digits at once, all else by a function. */
struct CODEWRITER {
    KESTRODATEFORMAT m_nCode;
    int WRITTENDATE::*m_lpPart;
    WRITER m_lpfnWrite;

    constexpr CODEWRITER() : m_nCode(DF_NONE), m_lpPart(nullptr), m_lpfnWrite(nullptr) {}
    constexpr CODEWRITER(KESTRODATEFORMAT nCode, int WRITTENDATE::*lpPart)
        : m_nCode(nCode), m_lpPart(lpPart), m_lpfnWrite(nullptr) {}
    constexpr CODEWRITER(KESTRODATEFORMAT nCode, WRITER lpfnWrite)
        : m_nCode(nCode), m_lpPart(nullptr), m_lpfnWrite(lpfnWrite) {}
};

constexpr CODEWRITER CODE_WRITERS[] = {
    {DF_YEAR, Year},
    {DF_MONTH_C, &WRITTENDATE::m_nMonth},
    {DF_DAY_E, &WRITTENDATE::m_nDay},
    {DF_HOUR_K, &WRITTENDATE::m_nHour},
    {DF_MINUTE, &WRITTENDATE::m_nMinute},
    {DF_SECOND, &WRITTENDATE::m_nSecond},
    {DF_MICROSECOND, Microseconds},
    {DF_MILLISECOND, Number<Milliseconds, 3>},
    {DF_YEAR_OF_CENTURY, Number<YearModulo<100>, 2>},
    {DF_YEAR_RR, Number<YearModulo<100>, 2>},
    {DF_YEAR_RRRR, Year},
    {DF_HOUR_12, Number<HourOf12, 2>},
    {DF_DAY_OF_YEAR, Number<DayOfYear, 3>},
    {DF_AM_PM, AmPm},
    {DF_MONTH, &WRITTENDATE::m_nMonth},
    {DF_DAY, &WRITTENDATE::m_nDay},
    {DF_HOUR, &WRITTENDATE::m_nHour},
    {DF_MONTH_SHORT, MonthShort},
    {DF_MONTH_NAME, MonthName},
    {DF_MONTH_ROMAN, MonthRoman},
    {DF_CLOCK_12, Clock12},
    {DF_CLOCK, Clock},
    {DF_DAY_ORDINAL, DayOrdinal},
    {DF_SECOND_OF_DAY, Number<SecondOfDay, 5>},
    {DF_WEEKDAY_SHORT, DayShort},
    {DF_WEEKDAY_NAME, DayName},
    {DF_WEEKDAY, Number<WeekDay, 1>},
    {DF_WEEKDAY_1, Number<WeekDay1, 1>},
    {DF_WEEK_SUNDAY, Number<WeekSunday, 2>},
    {DF_WEEK_MONDAY, Number<WeekMonday, 2>},
    {DF_WEEK_SUNDAY_V, YearWeek<YearWeekFromSunday>},
    {DF_WEEK_MONDAY_V, YearWeek<YearWeekFromMonday>},
    {DF_WEEK_OF_YEAR, Number<WeekOfYear, 2>},
    {DF_WEEK_OF_MONTH, Number<WeekOfMonth, 1>},
    {DF_WEEK_YEAR_SUNDAY, WeekYear<YearWeekFromSunday>},
    {DF_WEEK_YEAR_MONDAY, WeekYear<YearWeekFromMonday>},
    {DF_CENTURY, Number<Century, 2>},
    {DF_YEAR_1, Number<YearModulo<10>, 1>},
    {DF_YEAR_2, Number<YearModulo<100>, 2>},
    {DF_YEAR_3, Number<YearModulo<1000>, 3>},
    {DF_YEAR_COMMA, YearComma},
    {DF_JULIAN_DAY, JulianDay},
    {DF_QUARTER, Number<Quarter, 1>},
    {DF_WEEKDAY_MONDAY, Number<WeekDayMonday, 1>},
    {DF_WEEK_ISO, Number<WeekIso, 2>},
    {DF_ERA, Era},
    {DF_ERA_POINTS, EraPoints},
};

/** By code; numbers that are no code have DF_NONE. */
constexpr auto WRITERS = [] {
    std::array<CODEWRITER, DATE_FORMAT_CODES> arWriters{};
    for (const CODEWRITER& stRow : CODE_WRITERS)
        arWriters[static_cast<std::size_t>(stRow.m_nCode)] = stRow;
    return arWriters;
}();

constexpr bool EachCodeHasItsWriter() {
    for (int nCode = 0; nCode < DATE_FORMAT_CODES; ++nCode) {
        if (WRITERS[static_cast<std::size_t>(nCode)].m_nCode != (IsDateFormatCode(nCode) ? nCode : DF_NONE))
            return false;
    }
    return true;
}
static_assert(EachCodeHasItsWriter());

} // namespace

template <KESTROCHAR T>
int CKestroDate::Format(CKestroBufferPool* lpPool, const DATE& dblDate, const T* lpszFormat, st_VARDATA& stResult) {
    if (!lpszFormat) return ERR_DATE_FORMAT;
    if (!HasDayNumber(dblDate)) return ERR_OK;
    WRITTENDATE st;
    ConvertDateTime(dblDate, st.m_nYear, st.m_nMonth, st.m_nDay, st.m_nWeekDay, st.m_nYearDay, st.m_nHour, st.m_nMinute,
                    st.m_nSecond, st.m_nMicrosecond);
    DATEOUTPUT stOutput;
    WriteDateFormat(stOutput, lpszFormat, QUOTES_UNKNOWN, [&st](char* lpOut, signed char nCode) {
        const CODEWRITER& stWriter = WRITERS[static_cast<std::size_t>(nCode)];
        return stWriter.m_lpPart ? PutTwo(lpOut, st.*stWriter.m_lpPart) : stWriter.m_lpfnWrite(lpOut, st);
    });
    return DateTextToValue(lpPool, stOutput.m_szText, stOutput.Length(), stResult);
}

template int CKestroDate::Format(CKestroBufferPool*, const DATE&, const char*, st_VARDATA&);
template int CKestroDate::Format(CKestroBufferPool*, const DATE&, const wchar_t*, st_VARDATA&);
