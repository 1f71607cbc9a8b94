// Dates down to a unit or to the nearest one. The turn of the year is one day short in both, for the rules count 365
// days of a leap year and 364 of another.

#include "BaseFunManager.h"
#include "CommonDataDef.h"
#include "KestroDate.h"

namespace {

constexpr struct {
    const char* m_lpszFormat;
    KESTROROUNDTYPE m_nType;
} ROUND_FORMATS[] = {
    {"CC", ROUND_CENTURY},     {"SCC", ROUND_CENTURY},                                                  //
    {"Y", ROUND_YEAR},         {"YY", ROUND_YEAR},     {"YYY", ROUND_YEAR},   {"YYYY", ROUND_YEAR},     //
    {"SYYYY", ROUND_YEAR},     {"YEAR", ROUND_YEAR},   {"I", ROUND_YEAR},     {"IY", ROUND_YEAR},       //
    {"IYY", ROUND_YEAR},       {"IYYY", ROUND_YEAR},   {"Q", ROUND_QUARTER},  {"MM", ROUND_MONTH},      //
    {"MON", ROUND_MONTH},      {"MONTH", ROUND_MONTH}, {"RM", ROUND_MONTH},   {"WW", ROUND_WEEK},       //
    {"D", ROUND_DAY},          {"DD", ROUND_DAY},      {"DDD", ROUND_DAY},    {"DY", ROUND_DAY},        //
    {"DAY", ROUND_DAY},        {"J", ROUND_DAY},       {"HH", ROUND_HOUR},    {"HH12", ROUND_HOUR},     //
    {"HH24", ROUND_HOUR},      {"HOUR", ROUND_HOUR},   {"MI", ROUND_MINUTE},  {"MIN", ROUND_MINUTE},    //
    {"MINUTE", ROUND_MINUTE},  {"SS", ROUND_SECOND},   {"SEC", ROUND_SECOND}, {"SECOND", ROUND_SECOND}, //
    {"IW", ROUND_WEEK_MONDAY},
};

/**
 * The month whose first day a date rounds to by quarters: up to the 15th, and from the 16th on; 13 is January of the
 * next year. Early in the second month of a quarter it is that month, not the quarter's first. Intended.
 */
constexpr BYTE QUARTER_MONTHS[12][2] = {{1, 1}, {2, 4},  {4, 4},   {4, 4},   {5, 7},   {7, 7},
                                        {7, 7}, {8, 10}, {10, 10}, {10, 10}, {11, 13}, {13, 13}};

/** A date in parts. Days of the year count from 0, those of the week from 0 for Sunday. */
struct DATEFIELDS {
    int m_nYear, m_nMonth, m_nDay, m_nWeekDay, m_nYearDay, m_nHour, m_nMinute, m_nSecond, m_nMicrosecond;

    int Split(DATE dblDate) {
        // Only this form looks at the range.
        if (const int nCode = CKestroDate::ConvertDateTime(dblDate, m_nYear, m_nMonth, m_nDay, m_nHour, m_nMinute,
                                                           m_nSecond, m_nMicrosecond))
            return nCode;
        return CKestroDate::ConvertDateTime(dblDate, m_nYear, m_nMonth, m_nDay, m_nWeekDay, m_nYearDay, m_nHour,
                                            m_nMinute, m_nSecond, m_nMicrosecond);
    }

    /** The first day of a month; 13 is January of the next year. */
    int JoinMonth(int nMonth, double& dblResult) const {
        const int nCarry = nMonth > 12 ? 1 : 0;
        return CKestroDate::ConvertVariantTime(dblResult, m_nYear + nCarry, nMonth - 12 * nCarry, 1, 0, 0, 0, 0);
    }
    int JoinYear(int nYear, double& dblResult) const {
        return CKestroDate::ConvertVariantTime(dblResult, nYear, 1, 1, 0, 0, 0, 0);
    }

    /** Clears the parts of the time below a unit. */
    void ClearBelow(int nType) {
        if (nType <= ROUND_DAY || nType == ROUND_WEEK_MONDAY) m_nHour = 0;
        if (nType <= ROUND_HOUR || nType == ROUND_WEEK_MONDAY) m_nMinute = 0;
        if (nType <= ROUND_MINUTE || nType == ROUND_WEEK_MONDAY) m_nSecond = 0;
    }
    /** By the day of the year, without microseconds. */
    int JoinYearDay(double& dblResult) {
        if (m_nYearDay < 0) {
            --m_nYear;
            // One day short of the year. Intended.
            m_nYearDay += CKestroDate::IsLeapYear(m_nYear) ? 365 : 364;
        }
        return CKestroDate::ConvertVariantTime(dblResult, m_nYear, m_nYearDay, m_nHour, m_nMinute, m_nSecond, 0);
    }

    /** Adds one to the unit that is the nearest one now, and carries upward. */
    void Carry() {
        CarryInto(m_nSecond, 60, m_nMinute);
        CarryInto(m_nMinute, 60, m_nHour);
        CarryInto(m_nHour, 24, m_nYearDay);
        const bool bLeapYear = CKestroDate::IsLeapYear(m_nYear);
        if (m_nYearDay <= (bLeapYear ? 365 : 364)) return;
        // One day short of the year, so that a step past 31 December lands on 2 January. Intended.
        m_nYearDay -= bLeapYear ? 365 : 364;
        ++m_nYear;
    }
    static void CarryInto(int& nPart, int nLimit, int& nNext) {
        if (nPart < nLimit) return;
        nPart -= nLimit;
        ++nNext;
    }
};

constexpr int CenturyOf(int nYear) {
    return (nYear - 1) / 100;
}

/** The unit's next one, for a date in its second half. */
void StepUp(DATEFIELDS& st, int nType) {
    switch (nType) {
        case ROUND_WEEK:
            st.m_nYearDay += st.m_nWeekDay < 4 ? -st.m_nWeekDay : 7 - st.m_nWeekDay;
            break;
        case ROUND_DAY:
            st.m_nYearDay += st.m_nHour >= 12 ? 1 : 0;
            break;
        case ROUND_HOUR:
            st.m_nHour += st.m_nMinute >= 30 ? 1 : 0;
            break;
        case ROUND_MINUTE:
            st.m_nMinute += st.m_nSecond >= 30 ? 1 : 0;
            break;
        default:
            st.m_nSecond += st.m_nMicrosecond >= 500'000 ? 1 : 0;
    }
}

} // namespace

int CBaseFunManager::GetRoundType(const char* lpszFormat) {
    for (const auto& stRow : ROUND_FORMATS)
        if (CompareNoCase(stRow.m_lpszFormat, lpszFormat) == 0) return stRow.m_nType;
    return ROUND_NONE;
}

int CBaseFunManager::Trunc(DATE dblDate, const char* lpszFormat, double& dblResult) {
    const int nType = GetRoundType(lpszFormat);
    if (nType == ROUND_NONE) return ERR_PARAMETER;
    DATEFIELDS st;
    if (const int nCode = st.Split(dblDate)) return nCode;
    switch (nType) {
        case ROUND_CENTURY:
            return st.JoinYear(CenturyOf(st.m_nYear) * 100 + 1, dblResult);
        case ROUND_YEAR:
            return st.JoinYear(st.m_nYear, dblResult);
        case ROUND_QUARTER:
            return st.JoinMonth((st.m_nMonth - 1) / 3 * 3 + 1, dblResult);
        case ROUND_MONTH:
            return st.JoinMonth(st.m_nMonth, dblResult);
        case ROUND_WEEK:
            st.m_nYearDay -= st.m_nWeekDay;
            break;
        case ROUND_WEEK_MONDAY:
            st.m_nYearDay -= st.m_nWeekDay == 0 ? 6 : st.m_nWeekDay - 1;
            break;
        default:
            break;
    }
    st.ClearBelow(nType);
    return st.JoinYearDay(dblResult);
}

int CBaseFunManager::Round(DATE dblDate, const char* lpszFormat, double& dblResult) {
    const int nType = GetRoundType(lpszFormat);
    if (nType == ROUND_NONE) return ERR_PARAMETER;
    DATEFIELDS st;
    if (const int nCode = st.Split(dblDate)) return nCode;
    const int nHalf = st.m_nDay > 15 ? 1 : 0;
    switch (nType) {
        case ROUND_CENTURY:
            return st.JoinYear((CenturyOf(st.m_nYear) + ((st.m_nYear - 1) % 100 > 49 ? 1 : 0)) * 100 + 1, dblResult);
        case ROUND_YEAR:
            return st.JoinYear(st.m_nYear + (st.m_nMonth >= 7 ? 1 : 0), dblResult);
        case ROUND_QUARTER:
            return st.JoinMonth(QUARTER_MONTHS[st.m_nMonth - 1][nHalf], dblResult);
        case ROUND_MONTH:
            return st.JoinMonth(st.m_nMonth + nHalf, dblResult);
        case ROUND_WEEK_MONDAY:
            return ERR_NOT_DEVELOPED;
        default:
            StepUp(st, nType);
            st.ClearBelow(nType);
            st.Carry();
            return st.JoinYearDay(dblResult);
    }
}
