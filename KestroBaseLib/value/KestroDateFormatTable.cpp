// The tokens of date formats: "%" letters, which mind their case, and picture words, which don't. Of the words the
// longest one that fits is taken.

#include "KestroDateFormatTable.h"

namespace {

struct FORMATTOKEN {
    KESTRODATEFORMAT m_nCode;
    std::string_view m_szLetters;
    const char* m_arWords[4];
};

constexpr FORMATTOKEN TOKENS[] = {
    {DF_PERCENT, "%", {}},
    // Three "R" are no token, although two of them would be one. Intended.
    {DF_NONE, "", {"RRR"}},
    {DF_YEAR, "Y", {"YYYY", "IYYY"}},
    {DF_MONTH_C, "c", {}},
    {DF_DAY_E, "e", {}},
    {DF_HOUR_K, "k", {}},
    {DF_MINUTE, "i", {"MI"}},
    {DF_SECOND, "Ss", {"SS"}},
    {DF_MICROSECOND, "f", {"FF6"}},
    {DF_MILLISECOND, "", {"FF3", "FF"}},
    {DF_YEAR_OF_CENTURY, "y", {}},
    {DF_YEAR_RR, "", {"RR"}},
    {DF_YEAR_RRRR, "", {"RRRR"}},
    {DF_HOUR_12, "Ihl", {"HH", "HH12"}},
    {DF_DAY_OF_YEAR, "j", {"DDD"}},
    {DF_AM_PM, "p", {"AM", "PM", "A.M.", "P.M."}},
    {DF_MONTH, "m", {"MM"}},
    {DF_DAY, "d", {"DD"}},
    {DF_HOUR, "H", {"HH24"}},
    {DF_MONTH_SHORT, "b", {"MON"}},
    {DF_MONTH_NAME, "M", {"MONTH"}},
    {DF_MONTH_ROMAN, "", {"RM"}},
    {DF_CLOCK_12, "r", {"TS"}},
    {DF_CLOCK, "T", {}},
    {DF_DAY_ORDINAL, "D", {}},
    {DF_SECOND_OF_DAY, "", {"SSSSS"}},
    {DF_WEEKDAY_SHORT, "a", {"DY"}},
    {DF_WEEKDAY_NAME, "W", {"DAY"}},
    {DF_WEEKDAY, "w", {}},
    {DF_WEEKDAY_1, "", {"D"}},
    {DF_WEEK_SUNDAY, "U", {}},
    {DF_WEEK_MONDAY, "u", {}},
    {DF_WEEK_SUNDAY_V, "V", {}},
    {DF_WEEK_MONDAY_V, "v", {}},
    {DF_WEEK_OF_YEAR, "", {"WW"}},
    {DF_WEEK_OF_MONTH, "", {"W"}},
    {DF_WEEK_YEAR_SUNDAY, "X", {}},
    {DF_WEEK_YEAR_MONDAY, "x", {}},
    {DF_CENTURY, "", {"CC", "SCC"}},
    {DF_YEAR_1, "", {"Y", "I"}},
    {DF_YEAR_2, "", {"YY", "IY"}},
    {DF_YEAR_3, "", {"YYY", "IYY"}},
    {DF_YEAR_COMMA, "", {"Y,YYY"}},
    {DF_JULIAN_DAY, "", {"J"}},
    {DF_QUARTER, "", {"Q"}},
    {DF_WEEKDAY_MONDAY, "", {"DW"}},
    {DF_WEEK_ISO, "", {"IW"}},
    {DF_ERA, "", {"AD", "BC"}},
    {DF_ERA_POINTS, "", {"A.D.", "B.C."}},
};

constexpr bool TokensAreWhole() {
    int nCode = DF_PERCENT;
    for (const FORMATTOKEN& stToken : TOKENS) {
        if (stToken.m_nCode != nCode++) return false;
        while (nCode >= 0 && nCode < DATE_FORMAT_CODES && !IsDateFormatCode(nCode))
            ++nCode;
    }
    return nCode == DATE_FORMAT_CODES;
}
static_assert(TokensAreWhole(), "one row for each code, in the order of the codes");

constexpr bool IsLetter(char c) {
    return c >= 'A' && c <= 'Z';
}

constexpr DATEWORD MakeWord(KESTRODATEFORMAT nCode, std::string_view szWord) {
    DATEWORD stWord{0, 0, nCode, static_cast<BYTE>(szWord.size())};
    for (std::size_t i = 0; i < szWord.size(); ++i) {
        stWord.m_uText |= std::uint64_t{static_cast<BYTE>(szWord[i])} << 8 * i;
        stWord.m_uMask |= (IsLetter(szWord[i]) ? 0xDFULL : 0xFFULL) << 8 * i;
    }
    return stWord;
}

constexpr DATEFORMATINDEX BuildIndex() {
    DATEFORMATINDEX stIndex;
    stIndex.m_arLetters.fill(DF_NONE);
    for (const FORMATTOKEN& stToken : TOKENS) {
        for (const char c : stToken.m_szLetters)
            stIndex.m_arLetters[static_cast<BYTE>(c)] = stToken.m_nCode;
    }
    std::size_t nWords = 0;
    for (std::size_t nLetter = 0; nLetter < DATE_LETTERS; ++nLetter) {
        stIndex.m_arFirst[nLetter] = static_cast<BYTE>(nWords);
        for (std::size_t nLen = DATE_WORD_MAX_LEN; nLen > 0; --nLen) {
            for (const FORMATTOKEN& stToken : TOKENS) {
                for (const char* const lpszWord : stToken.m_arWords) {
                    const std::string_view szWord = lpszWord ? lpszWord : "";
                    if (szWord.size() == nLen && szWord[0] == static_cast<char>('A' + nLetter))
                        stIndex.m_arWords[nWords++] = MakeWord(stToken.m_nCode, szWord);
                }
            }
        }
        ++nWords;
    }
    return nWords == stIndex.m_arWords.size() ? stIndex : DATEFORMATINDEX{};
}

constexpr int CountWords() {
    int nWords = 0;
    for (const FORMATTOKEN& stToken : TOKENS) {
        for (const char* const lpszWord : stToken.m_arWords)
            nWords += lpszWord != nullptr;
    }
    return nWords;
}
static_assert(CountWords() == DATE_WORDS && BuildIndex().m_arFirst.back() != 0, "no word is longer than the longest");

/** The first characters of a text whose length isn't known, zeros behind its end. */
template <KESTROCHAR T>
std::uint64_t LoadDateWord(const T* lpszText) {
    std::uint64_t u = 0;
    for (int i = 0; i < DATE_WORD_MAX_LEN && lpszText[i]; ++i)
        u |= std::uint64_t{CharIndex(lpszText[i])} << 8 * i;
    return u;
}

} // namespace

constinit const DATEFORMATINDEX g_stDateFormatIndex = BuildIndex();

template <KESTROCHAR T>
signed char CKestroDate::GetFormatType(const T*& lpszPosition) {
    if (!lpszPosition) return DF_NONE;
    int nLen = 2;
    signed char nCode = DF_NONE;
    if (*lpszPosition == '%')
        nCode = FindDateLetter(lpszPosition[1]);
    else if (IsDateLetter(*lpszPosition))
        nCode = FindDateWord(LoadDateWord(lpszPosition), nLen);
    if (nCode != DF_NONE) lpszPosition += nLen;
    return nCode;
}

template signed char CKestroDate::GetFormatType(const char*&);
template signed char CKestroDate::GetFormatType(const wchar_t*&);
