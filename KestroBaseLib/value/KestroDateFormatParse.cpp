// Reads date text by a format, text and format side by side, until either ends. A character of the format that equals
// the text's is literal, even if it could begin a token; so of "MONTH" and "March" the "M" is used up, and what is left
// of the word is no token. Lower case words and "%" letters have no such trouble.

#include "KestroDateFormatTable.h"
#include "KestroDateText.h"
#include "KestroErrorCode.h"

namespace {

/** What a text gave; a part of the time that it didn't give is -1. */
struct READDATE {
    int m_nYear = 0, m_nMonth = 0, m_nDay = 0;
    int m_nHour = -1, m_nMinute = -1, m_nSecond = -1;
    int m_nMicrosecond = 0;
    /** From 1 on, 0 for none. */
    int m_nDayOfYear = 0;
};

template <KESTROCHAR T>
class CFormatReader {
public:
    CFormatReader(const T* lpszText, const T* lpszFormat) : m_lpszText(lpszText), m_lpszFormat(lpszFormat) {}

    int Read(READDATE& st);

private:
    bool ReadToken(READDATE& st, signed char nCode);
    bool ReadClock(int& nHour, int& nMinute, int& nSecond);
    bool ReadNumber(int& nNumber, int nMaxDigits);
    bool ReadYear(int& nYear);
    bool ReadShortYear(int& nYear, int nPivot, int nCentury);
    bool ReadAmPm();
    bool ReadMonthName(int& nMonth);
    bool ReadColon();
    void ReadMonthShort(int& nMonth);
    bool SettleHour(int& nHour) const;

    bool BeginsWith(std::string_view szWord) const;
    void Skip(int nChars);
    bool IsLiteral() const;

    static void SkipBlanks(const T*& lpszText) {
        while (IsBlank(*lpszText))
            ++lpszText;
    }

    const T* m_lpszText;
    const T* m_lpszFormat;
    /** Hour of a 12-hour clock, -1 while there is none. */
    int m_nHour12 = -1;
    /** 'A', 'P', or 0 for no mark. */
    char m_cMark = 0;
};

/** Whether the text goes on with a word in upper case, whatever its own case. */
template <KESTROCHAR T>
bool CFormatReader<T>::BeginsWith(std::string_view szWord) const {
    for (std::size_t i = 0; i < szWord.size(); ++i) {
        if (UpperOf(m_lpszText[i]) != UpperOf(szWord[i])) return false;
    }
    return true;
}

/** Passes over characters, at most to the end of the text. */
template <KESTROCHAR T>
void CFormatReader<T>::Skip(int nChars) {
    while (nChars-- > 0 && *m_lpszText)
        ++m_lpszText;
}

template <KESTROCHAR T>
bool CFormatReader<T>::ReadNumber(int& nNumber, int nMaxDigits) {
    if (!IsDigit(*m_lpszText)) return false;
    for (nNumber = 0; nMaxDigits-- > 0 && IsDigit(*m_lpszText); ++m_lpszText)
        nNumber = nNumber * 10 + static_cast<int>(*m_lpszText - '0');
    return true;
}

template <KESTROCHAR T>
bool CFormatReader<T>::ReadYear(int& nYear) {
    const bool bNegative = *m_lpszText == '-';
    if (bNegative) ++m_lpszText;
    if (!ReadNumber(nYear, 4)) return false;
    if (bNegative) nYear = -nYear;
    return true;
}

/** One or two digits: below the pivot in a century, from it on in the one before. */
template <KESTROCHAR T>
bool CFormatReader<T>::ReadShortYear(int& nYear, int nPivot, int nCentury) {
    if (!ReadNumber(nYear, 2)) return false;
    nYear += (nYear < nPivot ? nCentury : nCentury - 1) * 100;
    return true;
}

template <KESTROCHAR T>
bool CFormatReader<T>::ReadAmPm() {
    if (!BeginsWith("AM") && !BeginsWith("PM")) return false;
    m_cMark = static_cast<char>(UpperOf(*m_lpszText));
    Skip(2);
    return true;
}

/** An unknown month sets nothing, and its three characters are passed over all the same. Intended. */
template <KESTROCHAR T>
void CFormatReader<T>::ReadMonthShort(int& nMonth) {
    for (std::size_t i = 0; i < MONTH_NAMES.size(); ++i) {
        if (BeginsWith(MONTH_NAMES[i].substr(0, SHORT_NAME))) nMonth = static_cast<int>(i) + 1;
    }
    Skip(SHORT_NAME);
}

template <KESTROCHAR T>
bool CFormatReader<T>::ReadMonthName(int& nMonth) {
    for (std::size_t i = 0; i < MONTH_NAMES.size(); ++i) {
        if (!BeginsWith(MONTH_NAMES[i])) continue;
        nMonth = static_cast<int>(i) + 1;
        Skip(static_cast<int>(MONTH_NAMES[i].size()));
        return true;
    }
    return false;
}

/** With blanks around it. */
template <KESTROCHAR T>
bool CFormatReader<T>::ReadColon() {
    SkipBlanks(m_lpszText);
    if (*m_lpszText != ':') return false;
    ++m_lpszText;
    SkipBlanks(m_lpszText);
    return true;
}

template <KESTROCHAR T>
bool CFormatReader<T>::ReadClock(int& nHour, int& nMinute, int& nSecond) {
    return ReadNumber(nHour, 2) && ReadColon() && ReadNumber(nMinute, 2) && ReadColon() && ReadNumber(nSecond, 2);
}

template <KESTROCHAR T>
bool CFormatReader<T>::ReadToken(READDATE& st, signed char nCode) {
    switch (nCode) {
        case DF_YEAR:
            return ReadYear(st.m_nYear);
        case DF_MONTH_C:
        case DF_MONTH:
            return ReadNumber(st.m_nMonth, 2);
        case DF_DAY_E:
        case DF_DAY:
            return ReadNumber(st.m_nDay, 2);
        case DF_HOUR_K:
        case DF_HOUR:
            return ReadNumber(st.m_nHour, 2);
        case DF_MINUTE:
            return ReadNumber(st.m_nMinute, 2);
        case DF_SECOND:
            return ReadNumber(st.m_nSecond, 2);
        case DF_MICROSECOND:
            // Not scaled by its digits: "5" is five microseconds. Intended.
            return ReadNumber(st.m_nMicrosecond, 6);
        case DF_MILLISECOND:
            if (!ReadNumber(st.m_nMicrosecond, 3)) return false;
            st.m_nMicrosecond *= 1000;
            return true;
        case DF_YEAR_OF_CENTURY:
            return ReadShortYear(st.m_nYear, 70, 20);
        case DF_YEAR_RR:
        case DF_YEAR_RRRR:
            // Four "R" write four digits and read two. Intended.
            return ReadShortYear(st.m_nYear, 50, CKestroDate::GetCentury());
        case DF_HOUR_12:
            return ReadNumber(m_nHour12, 2);
        case DF_DAY_OF_YEAR:
            return ReadNumber(st.m_nDayOfYear, 3);
        case DF_AM_PM:
            return ReadAmPm();
        case DF_MONTH_SHORT:
            ReadMonthShort(st.m_nMonth);
            return true;
        case DF_MONTH_NAME:
            return ReadMonthName(st.m_nMonth);
        case DF_CLOCK_12:
            if (!ReadClock(m_nHour12, st.m_nMinute, st.m_nSecond)) return false;
            SkipBlanks(m_lpszText);
            return ReadAmPm();
        case DF_CLOCK:
            return ReadClock(st.m_nHour, st.m_nMinute, st.m_nSecond);
        case DF_WEEKDAY_SHORT:
            Skip(SHORT_NAME);
            return true;
        default:
            return false;
    }
}

/** An "A" or "P" of the format is always a token's first letter, so that "AM" is read as one where it stands. */
template <KESTROCHAR T>
bool CFormatReader<T>::IsLiteral() const {
    const BYTE bUpper = UpperOf(*m_lpszFormat);
    return *m_lpszFormat == *m_lpszText && bUpper != 'A' && bUpper != 'P';
}

/** The hour of a 12-hour clock: 12 is noon with "AM" and midnight with "PM", as the writer has it. Intended. */
template <KESTROCHAR T>
bool CFormatReader<T>::SettleHour(int& nHour) const {
    if (m_nHour12 < 0) return true;
    if (m_nHour12 < 1 || m_nHour12 > 12) return false;
    nHour = m_cMark == 'P' ? (m_nHour12 + 12) % 24 : m_nHour12;
    return true;
}

template <KESTROCHAR T>
int CFormatReader<T>::Read(READDATE& st) {
    while (*m_lpszText && *m_lpszFormat) {
        if (IsLiteral()) {
            ++m_lpszText;
            ++m_lpszFormat;
            continue;
        }
        SkipBlanks(m_lpszFormat);
        SkipBlanks(m_lpszText);
        if (!ReadToken(st, CKestroDate::GetFormatType(m_lpszFormat))) return ERR_DATE_FORMAT;
    }
    return SettleHour(st.m_nHour) ? ERR_OK : ERR_DATE_FORMAT;
}

template <KESTROCHAR T>
int ReadByFormat(READDATE& st, const T* lpszText, const T* lpszFormat) {
    if (!lpszText || !lpszFormat) return ERR_DATE_FORMAT;
    return CFormatReader<T>(lpszText, lpszFormat).Read(st);
}

/** Reads without a format: a date without a time leaves the microseconds out, too. */
template <KESTROCHAR T>
int ReadFreely(READDATE& st, const T* lpszText) {
    if (!lpszText) return ERR_DATE_FORMAT;
    int nLen = 0;
    while (nLen < KESTRO_DATE_TEXT_LIMIT && lpszText[nLen])
        ++nLen;
    CKestroDate stDate;
    const int nResult = stDate.ParseDate(st.m_nYear, st.m_nMonth, st.m_nDay, st.m_nHour, st.m_nMinute, st.m_nSecond,
                                         st.m_nMicrosecond, lpszText, nLen);
    if (st.m_nMicrosecond < 0) st.m_nMicrosecond = 0;
    return nResult;
}

/** A mix of parts that makes a moment becomes its number. */
int JoinParts(DATE& dblDate, READDATE& st) {
    const bool bNoDate = st.m_nYear == 0 && st.m_nMonth == 0 && st.m_nDay == 0;
    const bool bNoTime = st.m_nHour < 0 && st.m_nMinute < 0 && st.m_nSecond < 0;
    const bool bWholeTime = st.m_nHour >= 0 && st.m_nMinute >= 0 && st.m_nSecond >= 0;
    if (!bWholeTime && (bNoDate || !bNoTime)) return ERR_DATE_FORMAT;
    if (bNoTime) st.m_nHour = st.m_nMinute = st.m_nSecond = 0;
    if (bNoDate) {
        st.m_nYear = TIME_ONLY_YEAR;
        st.m_nMonth = TIME_ONLY_MONTH;
        st.m_nDay = TIME_ONLY_DAY;
    }
    if (st.m_nYear == 0) return ERR_DATE_FORMAT;
    if (st.m_nMonth != 0 && st.m_nDay != 0)
        return CKestroDate::ConvertVariantTime(dblDate, st.m_nYear, st.m_nMonth, st.m_nDay, st.m_nHour, st.m_nMinute,
                                               st.m_nSecond, st.m_nMicrosecond);
    if (st.m_nDayOfYear == 0) return ERR_DATE_FORMAT;
    return CKestroDate::ConvertVariantTime(dblDate, st.m_nYear, st.m_nDayOfYear - 1, st.m_nHour, st.m_nMinute,
                                           st.m_nSecond, st.m_nMicrosecond);
}

} // namespace

template <KESTROCHAR T>
int CKestroDate::ParseDate(int& nYear, int& nMonth, int& nDay, int& nHour, int& nMinute, int& nSecond,
                           int& nMicrosecond, int& nDayOfYear, const T* lpszText, const T* lpszFormat) {
    READDATE st;
    const int nResult = ReadByFormat(st, lpszText, lpszFormat);
    nYear = st.m_nYear;
    nMonth = st.m_nMonth;
    nDay = st.m_nDay;
    nHour = st.m_nHour;
    nMinute = st.m_nMinute;
    nSecond = st.m_nSecond;
    nMicrosecond = st.m_nMicrosecond;
    nDayOfYear = st.m_nDayOfYear;
    return nResult;
}

template <KESTROCHAR T>
int CKestroDate::ParseDate(DATE& dblDate, const T* lpszText, const T* lpszFormat) {
    READDATE st;
    const bool bFree = !lpszFormat || !*lpszFormat;
    if (const int nResult = bFree ? ReadFreely(st, lpszText) : ReadByFormat(st, lpszText, lpszFormat)) return nResult;
    return JoinParts(dblDate, st);
}

#define INSTANTIATE(T)                                                                                       \
    template int CKestroDate::ParseDate(int&, int&, int&, int&, int&, int&, int&, int&, const T*, const T*); \
    template int CKestroDate::ParseDate(DATE&, const T*, const T*);
INSTANTIATE(char)
INSTANTIATE(wchar_t)
#undef INSTANTIATE
