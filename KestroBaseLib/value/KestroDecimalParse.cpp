// Decimals from text: [blanks][+-]digits[.digits][e[+-]ddd], the literals b'01', 0b01 and 0x1F, and the words for no
// number. Digits beyond the 36th are dropped as they are read; text behind the number is not looked at.

#include <strings.h>

#include <algorithm>
#include <optional>

#include "CommonDataDefNumber.h"
#include "KestroDecimalMagnitude.h"

namespace {

constexpr std::ptrdiff_t MAX_INTEGER_DIGITS = 163;
/** Scales a text may give; the arithmetic also knows -128. */
constexpr std::ptrdiff_t MAX_TEXT_SCALE = 127;
constexpr int TEXT_COPY_SIZE = 536;

bool IsDigit(char c) {
    return static_cast<unsigned char>(c - '0') <= 9;
}

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

/** The leading digits of a number, at most 36, the first 18 and the others. */
class CDigits {
public:
    /** Takes digits up to the 36th; answers the first character not taken. */
    const char* Take(const char* lpszText) {
        if (m_nKept < DECIMAL_HALF_DIGITS) {
            lpszText = TakeHalf(lpszText, DECIMAL_HALF_DIGITS, m_ullHigh);
            if (m_nKept < DECIMAL_HALF_DIGITS) return lpszText;
        }
        return TakeHalf(lpszText, DECIMAL_MAX_DIGITS, m_ullLow);
    }

    [[nodiscard]] DECIMALHALVES Halves() const {
        if (m_nKept <= DECIMAL_HALF_DIGITS) return {m_ullHigh, 0};
        const std::ptrdiff_t nMore = m_nKept - DECIMAL_HALF_DIGITS;
        const std::uint64_t ullPower = DECIMAL_POWERS64[DECIMAL_HALF_DIGITS - nMore];
        const std::uint64_t ullUpper = m_ullHigh / ullPower;
        return {(m_ullHigh - ullUpper * ullPower) * DECIMAL_POWERS64[nMore] + m_ullLow, ullUpper};
    }

private:
    const char* TakeHalf(const char* lpszText, std::ptrdiff_t nLimit, std::uint64_t& ullHalf) {
        nLimit -= m_nKept;
        std::ptrdiff_t i = 0;
        for (; i < nLimit; ++i) {
            const unsigned uDigit = static_cast<unsigned char>(lpszText[i]) - unsigned{'0'};
            if (uDigit > 9) break;
            ullHalf = ullHalf * 10 + uDigit;
        }
        m_nKept += i;
        return lpszText + i;
    }

    std::uint64_t m_ullHigh = 0;
    std::uint64_t m_ullLow = 0;
    std::ptrdiff_t m_nKept = 0;
};

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

/** What a number's text comes to in front of its exponent. */
struct NUMBERTEXT {
    DECIMALHALVES m_stMagnitude;
    std::ptrdiff_t m_nScale;
    bool m_bRoundUp;
    /** False: there is no digit at all, or too many in front of the point. */
    bool m_bNumber;
    const char* m_lpszExponent;
};

/** Applies rounding and exponent and stores the number. */
int StoreNumber(NUMBERTEXT stNumber, bool bNegative, st_VARDATA* lpValue) {
    // Only positive numbers are rounded, negative ones are cut. Intended.
    std::ptrdiff_t nScale = stNumber.m_nScale - RoundHalves(stNumber.m_stMagnitude, stNumber.m_bRoundUp && !bNegative);
    bool bInRange = nScale <= MAX_TEXT_SCALE;
    if ((*stNumber.m_lpszExponent | 0x20) == 'e') [[unlikely]] {
        int nExponent = 0;
        const bool bExponent = ReadExponent(stNumber.m_lpszExponent, nExponent);
        nScale -= nExponent;
        bInRange = nScale <= MAX_TEXT_SCALE && (nScale >= -MAX_TEXT_SCALE || !bExponent);
    }
    if (!stNumber.m_bNumber || !bInRange) [[unlikely]]
        StoreNull(lpValue);
    else
        StoreDecimal(lpValue, bNegative, static_cast<int>(nScale), PackHalves(stNumber.m_stMagnitude));
    return 0;
}

/** An integer of over 36 digits, and a fraction that is not looked at. */
[[gnu::noinline]] int ParseLongInteger(const char* lpszFirst, const char* lpszKept, DECIMALHALVES stMagnitude,
                                       bool bNegative, st_VARDATA* lpValue) {
    const char* lpszEnd = SkipDigits(lpszKept);
    const std::ptrdiff_t nInteger = lpszEnd - lpszFirst;
    // It is the last digit kept that rounds, not the first one dropped. Intended.
    return StoreNumber({stMagnitude, DECIMAL_MAX_DIGITS - nInteger, lpszKept[-1] >= '5', nInteger <= MAX_INTEGER_DIGITS,
                        *lpszEnd == '.' ? SkipDigits(lpszEnd + 1) : lpszEnd},
                       bNegative, lpValue);
}

/** A number behind its sign. */
int ParseNumber(const char* lpszText, bool bNegative, st_VARDATA* lpValue) {
    CDigits stDigits;
    const char* lpszFirst = SkipZeros(lpszText);
    const char* lpszEnd = stDigits.Take(lpszFirst);
    const std::ptrdiff_t nInteger = lpszEnd - lpszFirst;
    if (nInteger == DECIMAL_MAX_DIGITS && IsDigit(*lpszEnd)) [[unlikely]]
        return ParseLongInteger(lpszFirst, lpszEnd, stDigits.Halves(), bNegative, lpValue);
    bool bNumber = lpszEnd != lpszText, bRoundUp = false;
    std::ptrdiff_t nScale = 0;
    if (*lpszEnd == '.') {
        const char* lpszFraction = lpszEnd + 1;
        // Without digits in front, zeros behind the point aren't among the 36 either.
        lpszEnd = stDigits.Take(nInteger == 0 ? SkipZeros(lpszFraction) : lpszFraction);
        nScale = lpszEnd - lpszFraction;
        bNumber |= nScale != 0;
        // With over 32 places the character behind the digits decides even if it is none: an "e" rounds up. Intended.
        if (IsDigit(*lpszEnd) || (nInteger > 0 && nScale > 32)) [[unlikely]] {
            bRoundUp = *lpszEnd > '4';
            lpszEnd = SkipDigits(lpszEnd);
        }
    }
    return StoreNumber({stDigits.Halves(), nScale, bRoundUp, bNumber, lpszEnd}, bNegative, lpValue);
}

/** The forms that are no decimal number; nothing if the text is none of them. */
std::optional<int> ParseLiteral(const char* lpszText, st_VARDATA* lpValue) {
    // Only the small b begins bits behind a zero, but either x begins hexadecimal digits.
    if ((lpszText[0] == '0' && lpszText[1] == 'b') || ((lpszText[0] | 0x20) == 'b' && lpszText[1] == '\''))
        return CKestroDecimal::Convert2Decimal(ConvertBitToNumber(lpszText + 2), lpValue);
    if (lpszText[0] == '0' && (lpszText[1] | 0x20) == 'x')
        return CKestroDecimal::Convert2Decimal(ConvSpecifiedStringToDecimal(lpszText + 2, 16), lpValue);
    if ((lpszText[0] | 0x20) != 'n') return std::nullopt;
    // A word for no number, or a mistake.
    StoreNull(lpValue);
    return strcasecmp(lpszText, "na") == 0 || strcasecmp(lpszText, "nan") == 0 ? 0 : ERR_DECIMAL_LOAD;
}

} // namespace

int CKestroDecimal::Convert2Decimal(const char* lpszText, st_VARDATA* lpValue) {
    while (*lpszText == ' ')
        ++lpszText;
    if (*lpszText == '0' || *lpszText > '9') [[unlikely]] {
        if (const auto nCode = ParseLiteral(lpszText, lpValue)) return *nCode;
    }
    const bool bNegative = *lpszText == '-';
    return ParseNumber(lpszText + (bNegative || *lpszText == '+'), bNegative, lpValue);
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
