#pragma once

// The parse state of `CKestroDate` as numbers. For the readers of free text only.

#include <bit>

#include "KestroDateText.h"

constexpr int DATE_MAX_PARTS = 7;
constexpr int DATE_MAX_GROUP_DIGITS = 8;

/** The groups of a text, or of a parse state, as numbers; those that aren't there are 0. */
struct DATEPARTS {
    int m_arNumbers[8]{};
    BYTE m_arDigits[8]{};
    int m_nParts = 0;

    DATEPARTS() = default;
    explicit DATEPARTS(const CKestroDate& stDate) {
        for (int i = 0; i < DATE_MAX_PARTS && i < stDate.m_nDataIndex; ++i) {
            std::uint64_t uGroup;
            std::memcpy(&uGroup, stDate.m_arData[i], sizeof(uGroup));
            Set(m_nParts++, uGroup, (71 - std::countl_zero(uGroup)) / 8);
        }
    }

    int operator[](int nPart) const { return m_arNumbers[nPart]; }

    void Set(int nPart, std::uint64_t uGroup, int nDigits) {
        m_arNumbers[nPart] = NumberOf(uGroup, nDigits);
        m_arDigits[nPart] = static_cast<BYTE>(nDigits);
    }

    /** The year in the first part: of one or two digits from 1971 to 2070, of three or more as written. */
    int Year() const {
        const int nYear = m_arNumbers[0];
        return m_arDigits[0] > 2 ? nYear : nYear + (nYear < 71 ? 2000 : 1900);
    }

    /** Tests the parts from a time's first one on: hour, minute, second, microsecond. */
    bool TimeInRange(int nFirst, bool bTestHour) const {
        return (!bTestHour || m_arNumbers[nFirst] <= 23) && m_arNumbers[nFirst + 1] <= 59 &&
               m_arNumbers[nFirst + 2] <= 59 && m_arNumbers[nFirst + 3] <= 999'999;
    }
    bool DateTimeInRange(bool bTestHour) const {
        const int nMonth = m_arNumbers[1], nDay = m_arNumbers[2];
        if (m_nParts > 1 && (nMonth < 1 || nMonth > 12)) return false;
        // Each month has the first 28 days.
        if (m_nParts > 2 && (nDay < 1 || nDay > 28) &&
            !CKestroDate::CheckValidDay(nMonth, nDay, CKestroDate::IsLeapYear(m_arNumbers[0])))
            return false;
        return TimeInRange(3, bTestHour);
    }

private:
    /** The number of digits of which the first one is the lowest byte. */
    static int NumberOf(std::uint64_t uGroup, int nDigits) {
        if (nDigits <= 2) {
            const int nFirst = static_cast<int>(uGroup & 0x0F);
            return nDigits == 2 ? nFirst * 10 + static_cast<int>(uGroup >> 8 & 0x0F) : nFirst;
        }
        // The digits are joined in pairs, the pairs in fours, and these.
        uGroup = (uGroup << (64 - 8 * nDigits)) & 0x0F0F0F0F0F0F0F0F;
        uGroup = (uGroup * (1 + (10ULL << 8))) >> 8 & 0x00FF00FF00FF00FF;
        uGroup = (uGroup * (1 + (100ULL << 16))) >> 16 & 0x0000FFFF0000FFFF;
        return static_cast<int>((uGroup * (1 + (10'000ULL << 32))) >> 32);
    }
};

/** Splits a text up to its terminator, at most `nLen` characters of it, into parse state and new numbers. 0 or 1504. */
template <KESTROCHAR T>
int SplitDateText(CKestroDate& stDate, DATEPARTS& stParts, const T* lpszText, std::size_t nLen);

/** Whether the readers without a format take a text of this length at all. */
template <KESTROCHAR T>
inline bool IsDateTextLength(const T* lpszText, int nLen) {
    return lpszText && nLen >= 0 && nLen < KESTRO_DATE_TEXT_LIMIT;
}

/** A sign counts as the very first character only, not behind blanks or a quote. */
template <KESTROCHAR T>
inline bool BeginsWithMinus(const T* lpszText, int nLen) {
    return nLen > 0 && *lpszText == '-';
}

template <KESTROCHAR T>
inline const T* SkipBlanks(const T* lpszText, const T* lpEnd) {
    while (lpszText != lpEnd && IsBlank(*lpszText))
        ++lpszText;
    return lpszText;
}

/** A duration without a sign: hours from 24 on become days, and 839 hours or more become 838:59:59. */
void SetDuration(KESTROTIME& stTime, int nHours, int nMinutes, int nSeconds);
