#pragma once

// The tokens of date formats, and the finding of the one at a place. For the writers and the reader by format.

#include <array>
#include <cstring>

#include "KestroDateText.h"

/**
 * What a token of a date format stands for. The "%" letters and the picture words give the same codes, and the same
 * code drives writing and reading.
 */
enum KESTRODATEFORMAT : signed char {
    DF_PERCENT = -2,          // "%%"
    DF_NONE = -1,             // no token
    DF_YEAR = 0,              // four digits, or all from 10000 on
    DF_MONTH_C = 1,           // month, two digits
    DF_DAY_E = 2,             // day of the month, two digits
    DF_HOUR_K = 3,            // hour 0 to 23, two digits
    DF_MINUTE = 4,            // two digits
    DF_SECOND = 5,            // two digits
    DF_MICROSECOND = 6,       // six digits
    DF_MILLISECOND = 7,       // three digits
    DF_YEAR_OF_CENTURY = 8,   // two digits
    DF_YEAR_RR = 9,           // two digits
    DF_YEAR_RRRR = 10,        // as DF_YEAR
    DF_HOUR_12 = 11,          // hour 1 to 12, two digits
    DF_DAY_OF_YEAR = 12,      // from 1, three digits
    DF_AM_PM = 13,            // "AM" or "PM"
    DF_MONTH = 14,            // month, two digits
    DF_DAY = 15,              // day of the month, two digits
    DF_HOUR = 16,             // hour 0 to 23, two digits
    DF_MONTH_SHORT = 17,      // month name, three letters
    DF_MONTH_NAME = 18,       // month name
    DF_MONTH_ROMAN = 19,      // month as a Roman numeral
    DF_CLOCK_12 = 20,         // "hh:mm:ss AM"
    DF_CLOCK = 21,            // "hh:mm:ss"
    DF_DAY_ORDINAL = 22,      // "1st"
    DF_SECOND_OF_DAY = 23,    // five digits
    DF_WEEKDAY_SHORT = 40,    // day name, three letters
    DF_WEEKDAY_NAME = 41,     // day name
    DF_WEEKDAY = 42,          // 0 for Sunday
    DF_WEEKDAY_1 = 43,        // 1 for Sunday
    DF_WEEK_SUNDAY = 44,      // week of the year from Sunday, two digits
    DF_WEEK_MONDAY = 45,      // week of the year from Monday, two digits
    DF_WEEK_SUNDAY_V = 46,    // the same, early days counted into the year before
    DF_WEEK_MONDAY_V = 47,    // the same, early and late days counted into the neighbouring years
    DF_WEEK_OF_YEAR = 48,     // week from 1 January on, two digits
    DF_WEEK_OF_MONTH = 49,    // one digit
    DF_WEEK_YEAR_SUNDAY = 50, // the year of DF_WEEK_SUNDAY_V
    DF_WEEK_YEAR_MONDAY = 51, // the year of DF_WEEK_MONDAY_V
    DF_CENTURY = 52,          // two digits
    DF_YEAR_1 = 53,           // last digit of the year
    DF_YEAR_2 = 54,           // last two
    DF_YEAR_3 = 55,           // last three
    DF_YEAR_COMMA = 56,       // "2,017"
    DF_JULIAN_DAY = 57,       // Julian day number
    DF_QUARTER = 58,          // one digit
    DF_WEEKDAY_MONDAY = 59,   // 0 for Monday
    DF_WEEK_ISO = 60,         // week of the year from Monday, two digits
    DF_ERA = 61,              // "AD"
    DF_ERA_POINTS = 62,       // "A.D."
};

constexpr int DATE_FORMAT_CODES = 63;

constexpr bool IsDateFormatCode(int nCode) {
    return (nCode >= DF_YEAR && nCode <= DF_SECOND_OF_DAY) || (nCode >= DF_WEEKDAY_SHORT && nCode <= DF_ERA_POINTS);
}

/** A picture word. */
struct DATEWORD {
    /** Its characters, the first one in the lowest byte, and the bits in which a text has to agree: not a letter's
     * case. */
    std::uint64_t m_uText = 0;
    std::uint64_t m_uMask = 0;
    KESTRODATEFORMAT m_nCode = DF_NONE;
    BYTE m_bLen = 0;
};

constexpr int DATE_WORDS = 47;
constexpr int DATE_WORD_MAX_LEN = 5;
constexpr int DATE_LETTERS = 26;

/** The tokens by their spelling. */
struct DATEFORMATINDEX {
    /** By the letter behind a "%". */
    std::array<KESTRODATEFORMAT, 256> m_arLetters{};
    /** By first letter, the longest first, so that the first one that fits is it; then one that fits any text. */
    std::array<DATEWORD, DATE_WORDS + DATE_LETTERS> m_arWords{};
    /** Where the words of a letter begin. */
    std::array<BYTE, DATE_LETTERS> m_arFirst{};
};

extern const DATEFORMATINDEX g_stDateFormatIndex;

/**
 * The code of the longest word at the start of a text that begins with a letter, and its length. The first characters
 * are given, with zeros behind the text's end.
 */
inline signed char FindDateWord(std::uint64_t uText, int& nLen) {
    const std::size_t nLetter = (uText & 0x1F) - 1;
    const DATEWORD* lpWord = &g_stDateFormatIndex.m_arWords[g_stDateFormatIndex.m_arFirst[nLetter]];
    while ((uText & lpWord->m_uMask) != lpWord->m_uText)
        ++lpWord;
    nLen = lpWord->m_bLen;
    return lpWord->m_nCode;
}

/** The code of a letter behind a "%". */
template <KESTROCHAR T>
inline signed char FindDateLetter(T cLetter) {
    return g_stDateFormatIndex.m_arLetters[CharIndex(cLetter)];
}

/** Whether a picture word may begin with a character. */
template <KESTROCHAR T>
constexpr bool IsDateLetter(T c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}
