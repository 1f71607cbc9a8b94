#pragma once

// What the readers and writers of date text share: classes of characters, numbers written from the table of pairs, the
// names of months and days. For the sources of `CKestroDate` only.

#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <cwchar>
#include <string_view>
#include <type_traits>

#include "DigitPairs.h"
#include "IntegerCut.h"
#include "KestroDate.h"

static_assert(std::endian::native == std::endian::little, "a text's first character is the lowest byte of its word");

/** What a character is to the reader of free text. */
enum DATECHAR : BYTE {
    DATECHAR_OTHER,
    DATECHAR_DIGIT,
    DATECHAR_SEPARATOR,
    DATECHAR_COLON,
    DATECHAR_TIME_MARK,
    DATECHAR_ZONE_MARK,
    DATECHAR_QUOTE,
};

inline constexpr auto DATE_CHARS = [] {
    std::array<DATECHAR, 256> arChars{};
    for (const char c : std::string_view("0123456789"))
        arChars[static_cast<BYTE>(c)] = DATECHAR_DIGIT;
    for (const char c : std::string_view("\t \r\n/-.,"))
        arChars[static_cast<BYTE>(c)] = DATECHAR_SEPARATOR;
    arChars[':'] = DATECHAR_COLON;
    arChars['t'] = arChars['T'] = DATECHAR_TIME_MARK;
    arChars['z'] = arChars['Z'] = DATECHAR_ZONE_MARK;
    arChars['"'] = arChars['\''] = DATECHAR_QUOTE;
    return arChars;
}();

/** A character as an index of tables; what no table knows becomes 255. */
template <KESTROCHAR T>
constexpr unsigned CharIndex(T c) {
    const auto u = static_cast<std::make_unsigned_t<std::conditional_t<sizeof(T) == 1, char, int>>>(c);
    return u < 255 ? u : 255;
}

/** Eight characters as bytes, the first one lowest. */
inline std::uint64_t LoadEight(const char* lpText) {
    std::uint64_t u;
    std::memcpy(&u, lpText, sizeof(u));
    return u;
}

inline std::uint64_t LoadEight(const wchar_t* lpText) {
    std::uint64_t u = 0;
    for (int i = 0; i < 8; ++i)
        u |= std::uint64_t{CharIndex(lpText[i])} << 8 * i;
    return u;
}

/** The eight characters at a place of a text of known length, zeros behind its end; nothing outside of it is read. */
template <KESTROCHAR T>
inline std::uint64_t LoadWord(const T* lpText, std::size_t nLen, std::size_t nPlace) {
    if (nLen - nPlace >= 8) return LoadEight(lpText + nPlace);
    if (nLen >= 8) return LoadEight(lpText + nLen - 8) >> 8 * (nPlace + 8 - nLen);
    std::uint64_t u = 0;
    for (std::size_t i = nPlace; i < nLen; ++i)
        u |= std::uint64_t{CharIndex(lpText[i])} << 8 * (i - nPlace);
    return u;
}

/** The limit of a text whose length isn't known. */
constexpr std::size_t DATE_TEXT_NO_LIMIT = PTRDIFF_MAX / sizeof(wchar_t);

/** Length of a text, at most a limit. */
inline std::size_t TextLength(const char* lpszText, std::size_t nMax) {
    return strnlen(lpszText, nMax);
}

inline std::size_t TextLength(const wchar_t* lpszText, std::size_t nMax) {
    return wcsnlen(lpszText, nMax);
}

template <KESTROCHAR T>
constexpr DATECHAR ClassOf(T c) {
    return DATE_CHARS[CharIndex(c)];
}

template <KESTROCHAR T>
constexpr bool IsDigit(T c) {
    return c >= '0' && c <= '9';
}

template <KESTROCHAR T>
constexpr bool IsBlank(T c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

/** Upper case of an ASCII letter, narrowed; 255 for what isn't ASCII. */
template <KESTROCHAR T>
constexpr BYTE UpperOf(T c) {
    const unsigned u = CharIndex(c);
    if (u > 127) return 255;
    return static_cast<BYTE>(u >= 'a' && u <= 'z' ? u - 32 : u);
}

inline constexpr std::array<std::string_view, 12> MONTH_NAMES = {"January",   "February", "March",    "April",
                                                                 "May",       "June",     "July",     "August",
                                                                 "September", "October",  "November", "December"};
/** From Sunday on, as days of the week count. */
inline constexpr std::array<std::string_view, 7> DAY_NAMES = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                              "Thursday", "Friday", "Saturday"};
/** Letters of the short form of a name. */
constexpr int SHORT_NAME = 3;

/** The date of a time that has none. It isn't the current day. Intended. */
constexpr int TIME_ONLY_YEAR = 2017, TIME_ONLY_MONTH = 3, TIME_ONLY_DAY = 20;

/** Whether a value's days fit 32 bits. */
inline bool HasDayNumber(DATE dblDate) {
    return std::fabs(dblDate - CutToInt(dblDate)) < 1;
}

/** A duration in hours and less, its sign apart. */
struct DURATION {
    bool m_bNegative;
    int m_nHours, m_nMinutes, m_nSeconds;

    explicit DURATION(const KESTROTIME& stTime)
        : m_bNegative(stTime.m_nDay < 0),
          m_nHours(stTime.m_bHour),
          m_nMinutes(stTime.m_bMintue),
          m_nSeconds(stTime.m_bSecond) {
        if (stTime.m_nDay != KESTRO_MINUS_ZERO_DAYS) m_nHours += (m_bNegative ? -stTime.m_nDay : stTime.m_nDay) * 24;
    }
};

inline char* PutText(char* lpOut, std::string_view szText) {
    std::memcpy(lpOut, szText.data(), szText.size());
    return lpOut + szText.size();
}

/** Writes 0 to 99 in two digits; answers the place behind them. */
template <KESTROCHAR T>
inline T* PutPair(T* lpOut, int nNumber) {
    if constexpr (sizeof(T) == 1) {
        std::memcpy(lpOut, kestro_int_c[nNumber].data(), 2);
    } else {
        lpOut[0] = kestro_int_c[nNumber][0];
        lpOut[1] = kestro_int_c[nNumber][1];
    }
    return lpOut + 2;
}

/** Writes any number in at least so many digits, at most 20, a "-" in front of a negative one. */
template <KESTROCHAR T>
T* PutNumber(T* lpOut, long long nNumber, int nMinDigits) {
    auto u = static_cast<unsigned long long>(nNumber);
    if (nNumber < 0) {
        *lpOut++ = '-';
        u = 0 - u;
    }
    T arDigits[20];
    int nDigits = 0;
    do {
        arDigits[nDigits++] = static_cast<T>('0' + u % 10);
        u /= 10;
    } while (u != 0);
    while (nDigits < nMinDigits)
        arDigits[nDigits++] = '0';
    while (nDigits > 0)
        *lpOut++ = arDigits[--nDigits];
    return lpOut;
}

/** Writes two digits, or more for a number that needs them. */
template <KESTROCHAR T>
inline T* PutTwo(T* lpOut, int nNumber) {
    return static_cast<unsigned>(nNumber) < 100 ? PutPair(lpOut, nNumber) : PutNumber(lpOut, nNumber, 2);
}

/** Writes four digits, or more for a number that needs them. */
template <KESTROCHAR T>
inline T* PutFour(T* lpOut, int nNumber) {
    if (static_cast<unsigned>(nNumber) >= 10'000) return PutNumber(lpOut, nNumber, 4);
    return PutPair(PutPair(lpOut, nNumber / 100), nNumber % 100);
}

/** Writes "hh:mm:ss", the hours given apart. */
template <KESTROCHAR T>
inline T* PutClock(T* lpOut, int nHour, int nMinute, int nSecond) {
    lpOut = PutTwo(lpOut, nHour);
    *lpOut++ = ':';
    lpOut = PutTwo(lpOut, nMinute);
    *lpOut++ = ':';
    return PutTwo(lpOut, nSecond);
}

constexpr int Hour12(int nHour) {
    return nHour % 12 == 0 ? 12 : nHour % 12;
}

/** Noon is "AM" and midnight "PM". Intended. */
inline char* PutAmPm(char* lpOut, int nHour) {
    *lpOut++ = nHour == 0 || nHour > 12 ? 'P' : 'A';
    *lpOut++ = 'M';
    return lpOut;
}

/** "hh:mm:ss AM". */
inline char* PutClock12(char* lpOut, int nHour, int nMinute, int nSecond) {
    lpOut = PutClock(lpOut, Hour12(nHour), nMinute, nSecond);
    *lpOut++ = ' ';
    return PutAmPm(lpOut, nHour);
}
