// Decimals from text: [blanks][+-]digits[.digits][e[+-]ddd], the literals b'01', 0b01 and 0x1F, and the words for no
// number. Digits beyond the 36th are dropped as they are read; text behind the number is not looked at.

#include <strings.h>

#include <algorithm>

#include "CommonDataDefNumber.h"
#include "KestroDecimalMagnitude.h"

namespace {

constexpr std::ptrdiff_t MAX_INTEGER_DIGITS = 163;
constexpr int HALF_DIGITS = 18;
/** Scales a text may give; the arithmetic also knows -128. */
constexpr std::ptrdiff_t MAX_TEXT_SCALE = 127;
constexpr int TEXT_COPY_SIZE = 536;

bool IsDigit(char c) {
    return static_cast<unsigned char>(c - '0') <= 9;
}

/** The leading digits of a number, at most 36, as two halves. */
class CDigits {
public:
    /** Takes digits up to the 36th; answers the first character not taken. */
    const char* Take(const char* lpszText) {
        for (; m_nKept < HALF_DIGITS && IsDigit(*lpszText); ++lpszText, ++m_nKept)
            m_ullHigh = m_ullHigh * 10 + static_cast<unsigned>(*lpszText - '0');
        if (m_nKept < HALF_DIGITS) return lpszText;
        for (; m_nKept < DECIMAL_MAX_DIGITS && IsDigit(*lpszText); ++lpszText, ++m_nKept)
            m_ullLow = m_ullLow * 10 + static_cast<unsigned>(*lpszText - '0');
        return lpszText;
    }

    [[nodiscard]] UINT128 Magnitude() const {
        if (m_nKept <= HALF_DIGITS) return m_ullHigh;
        return m_ullHigh * DECIMAL_POWERS[m_nKept - HALF_DIGITS] + m_ullLow;
    }

private:
    std::uint64_t m_ullHigh = 0;
    std::uint64_t m_ullLow = 0;
    int m_nKept = 0;
};

const char* SkipDigits(const char* lpszText) {
    while (IsDigit(*lpszText))
        ++lpszText;
    return lpszText;
}

const char* SkipZeros(const char* lpszText) {
    while (*lpszText == '0')
        ++lpszText;
    return lpszText;
}

/** A number's text after its sign. */
struct NUMBERTEXT {
    CDigits m_stDigits;
    /** False: there is no digit at all, or too many in front of the point. */
    bool m_bNumber = false;
    bool m_bRoundUp = false;
    std::ptrdiff_t m_nScale = 0;
};

/** Reads from behind the point; `nInteger` digits stand in front, leading zeros not counted. */
const char* ReadFraction(const char* lpszText, std::ptrdiff_t nInteger, NUMBERTEXT& stNumber) {
    const char* lpszStart = lpszText;
    if (nInteger == 0) lpszText = SkipZeros(lpszText);
    lpszText = stNumber.m_stDigits.Take(lpszText);
    stNumber.m_nScale = lpszText - lpszStart;
    // With over 32 places the character behind the digits decides even if it is none: an "e" rounds up. Intended.
    if (IsDigit(*lpszText) || (nInteger > 0 && stNumber.m_nScale > 32)) stNumber.m_bRoundUp = *lpszText > '4';
    lpszText = SkipDigits(lpszText);
    if (lpszText != lpszStart) stNumber.m_bNumber = true;
    return lpszText;
}

/** Reads up to the exponent. */
const char* ReadNumber(const char* lpszText, NUMBERTEXT& stNumber) {
    const char* lpszFirst = SkipZeros(lpszText);
    const char* lpszKept = stNumber.m_stDigits.Take(lpszFirst);
    const char* lpszEnd = SkipDigits(lpszKept);
    const std::ptrdiff_t nInteger = lpszEnd - lpszFirst;
    stNumber.m_bNumber = lpszEnd != lpszText;
    if (nInteger > DECIMAL_MAX_DIGITS) {
        // Of a long integer it is the last digit kept that rounds, not the first one dropped. Intended.
        stNumber.m_bRoundUp = lpszKept[-1] >= '5';
        stNumber.m_nScale = DECIMAL_MAX_DIGITS - nInteger;
        if (nInteger > MAX_INTEGER_DIGITS) stNumber.m_bNumber = false;
        return *lpszEnd == '.' ? SkipDigits(lpszEnd + 1) : lpszEnd;
    }
    return *lpszEnd == '.' ? ReadFraction(lpszEnd + 1, nInteger, stNumber) : lpszEnd;
}

/** Reads an exponent, sign and at most three digits; false if there is none. */
bool ReadExponent(const char* lpszText, int& nExponent) {
    if (*lpszText != 'e' && *lpszText != 'E') return false;
    ++lpszText;
    const bool bNegative = *lpszText == '-';
    if (bNegative || *lpszText == '+') ++lpszText;
    if (!IsDigit(*lpszText)) return false;
    for (int i = 0; i < 3 && IsDigit(*lpszText); ++i, ++lpszText)
        nExponent = nExponent * 10 + (*lpszText - '0');
    if (bNegative) nExponent = -nExponent;
    return true;
}

int ParseNumber(const char* lpszText, bool bNegative, st_VARDATA* lpValue) {
    NUMBERTEXT stNumber;
    const char* lpszExponent = ReadNumber(lpszText, stNumber);
    if (!stNumber.m_bNumber) {
        StoreNull(lpValue);
        return 0;
    }
    UINT128 nMagnitude = stNumber.m_stDigits.Magnitude();
    std::ptrdiff_t nScale = stNumber.m_nScale;
    // Only positive numbers are rounded, negative ones are cut. Intended.
    if (stNumber.m_bRoundUp && !bNegative && ++nMagnitude == DECIMAL_LIMIT) {
        nMagnitude /= 10;
        --nScale;
    }
    int nExponent = 0;
    const bool bExponent = ReadExponent(lpszExponent, nExponent);
    nScale -= nExponent;
    if (nScale > MAX_TEXT_SCALE || (bExponent && nScale < -MAX_TEXT_SCALE)) {
        StoreNull(lpValue);
        return 0;
    }
    StoreDecimal(lpValue, bNegative, static_cast<int>(nScale), nMagnitude);
    return 0;
}

/** A text that begins with n: a word for no number, or a mistake. */
int ParseWord(const char* lpszText, st_VARDATA* lpValue) {
    StoreNull(lpValue);
    return strcasecmp(lpszText, "na") == 0 || strcasecmp(lpszText, "nan") == 0 ? 0 : ERR_DECIMAL_LOAD;
}

} // namespace

int CKestroDecimal::Convert2Decimal(const char* lpszText, st_VARDATA* lpValue) {
    while (*lpszText == ' ')
        ++lpszText;
    switch (*lpszText) {
        case '-':
            return ParseNumber(lpszText + 1, true, lpValue);
        case '+':
            return ParseNumber(lpszText + 1, false, lpValue);
        case 'b':
        case 'B':
            if (lpszText[1] == '\'') return Convert2Decimal(ConvertBitToNumber(lpszText + 2), lpValue);
            break;
        case '0':
            // Only the small b begins bits, but either x begins hexadecimal digits.
            if (lpszText[1] == 'b') return Convert2Decimal(ConvertBitToNumber(lpszText + 2), lpValue);
            if (lpszText[1] == 'x' || lpszText[1] == 'X')
                return Convert2Decimal(ConvSpecifiedStringToDecimal(lpszText + 2, 16), lpValue);
            break;
        case 'n':
        case 'N':
            return ParseWord(lpszText, lpValue);
        default:
            break;
    }
    return ParseNumber(lpszText, false, lpValue);
}

int CKestroDecimal::Convert2Decimal(const char* lpszText, int nLen, st_VARDATA* lpValue) {
    nLen = std::max(nLen, 0);
    if (lpszText[nLen] == 0) return Convert2Decimal(lpszText, lpValue);
    char szCopy[TEXT_COPY_SIZE];
    nLen = std::min(nLen, TEXT_COPY_SIZE - 1);
    std::memcpy(szCopy, lpszText, static_cast<std::size_t>(nLen));
    szCopy[nLen] = 0;
    return Convert2Decimal(szCopy, lpValue);
}
