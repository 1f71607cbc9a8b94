// Splits date text into groups of digits, in one pass, and tests the groups' ranges. Any of "/", "-", ".", "," and
// blanks separates groups, a ":" or a "T" marks the time, a "Z" ends the text, and quotes may stand around it. Signs,
// names of months and zones are unknown here.

#include "KestroDateParts.h"
#include "KestroErrorCode.h"

namespace {

/** The highest bit of each byte that is no digit. */
constexpr std::uint64_t NonDigits(std::uint64_t u) {
    u ^= 0x3030303030303030;
    return (((u & 0x7F7F7F7F7F7F7F7F) + 0x7676767676767676) | u) & 0x8080808080808080;
}

/** Goes through a text from one character that is no digit to the next, eight at a time, and never outside of it. */
template <KESTROCHAR T>
class CDateSplitter {
public:
    CDateSplitter(CKestroDate& stDate, DATEPARTS& stParts, const T* lpText, std::size_t nLen)
        : m_stDate(stDate),
          m_stParts(stParts),
          m_lpText(lpText),
          m_nLen(nLen),
          m_uFirstWord(LoadWord(lpText, nLen, 0)) {}

    bool Split() {
        std::size_t nWord = 0;
        std::uint64_t uMarks = NonDigits(m_uFirstWord);
        if (TakeUsualHead(uMarks)) {
            if (m_nLen == USUAL_HEAD + 2 && IsDigit(m_lpText[USUAL_HEAD]) && IsDigit(m_lpText[USUAL_HEAD + 1])) {
                Put(m_nParts++, LoadEight(m_lpText + USUAL_HEAD - 6) >> 48, 2);
                return true;
            }
            nWord = USUAL_HEAD - 1;
            uMarks = NonDigits(LoadWord(m_lpText, m_nLen, nWord)) & ~std::uint64_t{0xFF};
        }
        for (;;) {
            for (; uMarks != 0; uMarks &= uMarks - 1) {
                const std::size_t nPlace = nWord + static_cast<std::size_t>(std::countr_zero(uMarks)) / 8;
                if (nPlace >= m_nLen) break;
                if (!TakeMark(nPlace)) return false;
                if (m_bZoneSeen) return true;
                m_nStart = nPlace + 1;
            }
            nWord += 8;
            if (nWord >= m_nLen) return EndGroup(m_nLen);
            uMarks = NonDigits(LoadWord(m_lpText, m_nLen, nWord));
        }
    }

private:
    /** Takes "yyyy-mm-dd hh:mm:" at once, for speed; it comes to the same as taking its marks one by one. */
    bool TakeUsualHead(std::uint64_t uMarks) {
        if (uMarks != 0x8000008000000000 || m_nLen < USUAL_HEAD) return false;
        const std::uint64_t uSecond = LoadEight(m_lpText + 8);
        if (NonDigits(uSecond) != 0x0000800000800000 || m_lpText[13] != ':' || m_lpText[16] != ':') return false;
        const DATECHAR nMiddle = ClassOf(m_lpText[10]);
        if (ClassOf(m_lpText[4]) != DATECHAR_SEPARATOR || ClassOf(m_lpText[7]) != DATECHAR_SEPARATOR) return false;
        if (nMiddle != DATECHAR_SEPARATOR && nMiddle != DATECHAR_TIME_MARK) return false;
        Put(0, m_uFirstWord & 0xFFFFFFFF, 4);
        Put(1, m_uFirstWord >> 40 & 0xFFFF, 2);
        Put(2, uSecond & 0xFFFF, 2);
        Put(3, uSecond >> 24 & 0xFFFF, 2);
        Put(4, uSecond >> 48, 2);
        m_nParts = 5;
        m_nTimeIndex = 3;
        m_nStart = USUAL_HEAD;
        return true;
    }

    /** Pushes the digits in front of a place, if there are any. */
    bool EndGroup(std::size_t nEnd) {
        const std::size_t nDigits = nEnd - m_nStart;
        if (nDigits == 0) return true;
        if (nDigits > DATE_MAX_GROUP_DIGITS) return false;
        const std::uint64_t uUpTo = nEnd >= 8 ? LoadEight(m_lpText + nEnd - 8) : m_uFirstWord << 8 * (8 - nEnd);
        if (m_nParts >= DATE_MAX_PARTS) return false;
        Put(m_nParts++, uUpTo >> 8 * (8 - nDigits), static_cast<int>(nDigits));
        return true;
    }

    void Put(int nPart, std::uint64_t uGroup, int nDigits) {
        std::memcpy(m_stDate.m_arData[nPart], &uGroup, sizeof(uGroup));
        m_stParts.Set(nPart, uGroup, nDigits);
    }

    bool TakeMark(std::size_t nPlace) {
        const T c = m_lpText[nPlace];
        const DATECHAR nClass = ClassOf(c);
        if (nClass == DATECHAR_SEPARATOR) return EndGroup(nPlace);
        if (nClass == DATECHAR_OTHER) return false;
        // What stands in front of the first ":" is the hour already, what stands in front of a "T" is still the day.
        if (nClass == DATECHAR_COLON && m_nTimeIndex < 0) m_nTimeIndex = m_nParts;
        if (!EndGroup(nPlace)) return false;
        if (nClass == DATECHAR_TIME_MARK && m_nTimeIndex < 0) m_nTimeIndex = m_nParts;
        if (nClass == DATECHAR_ZONE_MARK) m_bZoneSeen = true;
        return nClass != DATECHAR_QUOTE || TakeQuote(nPlace);
    }

    /** A quote may open the text, and the same one close it, once. */
    bool TakeQuote(std::size_t nPlace) {
        if (nPlace != 0 && !(m_bQuoteOpen && m_lpText[nPlace] == m_lpText[0])) return false;
        m_bQuoteOpen = nPlace == 0;
        return true;
    }

    /** Characters of "yyyy-mm-dd hh:mm:". */
    static constexpr std::size_t USUAL_HEAD = 17;

    CKestroDate& m_stDate;
    DATEPARTS& m_stParts;
    const T* m_lpText;
    std::size_t m_nLen;
    std::uint64_t m_uFirstWord;
    /** Where the group in hand begins. */
    std::size_t m_nStart = 0;
    bool m_bQuoteOpen = false;
    bool m_bZoneSeen = false;

public:
    // What the members of the object become; kept apart from it while the text is split, for speed.
    int m_nParts = 0;
    int m_nTimeIndex = -1;
};

} // namespace

template <KESTROCHAR T>
int SplitDateText(CKestroDate& stDate, DATEPARTS& stParts, const T* lpszText, std::size_t nLen) {
    stDate = {};
    if (!lpszText) return ERR_DATE_FORMAT;
    CDateSplitter<T> stSplitter(stDate, stParts, lpszText, TextLength(lpszText, nLen));
    const bool bSplit = stSplitter.Split();
    stDate.m_nTimeIndex = stSplitter.m_nTimeIndex;
    stDate.m_nDataIndex = stParts.m_nParts = stSplitter.m_nParts;
    return bSplit ? ERR_OK : ERR_DATE_FORMAT;
}

template <KESTROCHAR T>
int CKestroDate::Parse(const T* lpszText) {
    DATEPARTS stParts;
    return SplitDateText(*this, stParts, lpszText, DATE_TEXT_NO_LIMIT);
}

template <KESTROCHAR T>
int CKestroDate::Push(const T* lpDigits, int nLen) {
    if (!lpDigits || nLen < 1 || nLen > DATE_MAX_GROUP_DIGITS) return ERR_DATE_FORMAT;
    if (m_nDataIndex < 0 || m_nDataIndex >= DATE_MAX_PARTS) return ERR_DATE_FORMAT;
    char arPart[8]{};
    for (int i = 0; i < nLen; ++i) {
        if (!IsDigit(lpDigits[i])) return ERR_DATE_FORMAT;
        arPart[i] = static_cast<char>(lpDigits[i]);
    }
    std::memcpy(m_arData[m_nDataIndex++], arPart, sizeof(arPart));
    return ERR_OK;
}

template <KESTROCHAR T>
int CKestroDate::GetDateTimeType(const T* lpszText, int& nType) {
    if (const int nResult = Parse(lpszText)) return nResult;
    nType = m_nTimeIndex;
    return ERR_OK;
}

int CKestroDate::CheckValidTime(bool bTestHour) const {
    return DATEPARTS(*this).TimeInRange(0, bTestHour) ? ERR_OK : ERR_DATE_DATA;
}

int CKestroDate::CheckValidDateTime(bool bTestHour) const {
    return DATEPARTS(*this).DateTimeInRange(bTestHour) ? ERR_OK : ERR_DATE_DATA;
}

#define INSTANTIATE(T)                                                           \
    template int SplitDateText(CKestroDate&, DATEPARTS&, const T*, std::size_t); \
    template int CKestroDate::Parse(const T*);                                   \
    template int CKestroDate::Push(const T*, int);                               \
    template int CKestroDate::GetDateTimeType(const T*, int&);
INSTANTIATE(char)
INSTANTIATE(wchar_t)
#undef INSTANTIATE
