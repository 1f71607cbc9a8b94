// The text of numbers: which form a text has, its digits, its zeros at the end, and bits as text. Reading a number's
// value is the decimal parser's work.

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include "CommonDataDef.h"
#include "CommonDataDefChar.h"

namespace {

/** Length prefixes of the MySQL client protocol. */
constexpr BYTE LENGTH_MAX_SHORT = 250;
constexpr BYTE LENGTH_NULL = 251;
constexpr BYTE LENGTH_2 = 252;
constexpr BYTE LENGTH_3 = 253;
constexpr BYTE LENGTH_8 = 254;

const char* SkipDigits(const char* p, const char* lpszEnd) {
    return std::find_if_not(p, lpszEnd, [](char c) { return IsCharClass(c, CC_DIGIT); });
}

const char* SkipSign(const char* p, const char* lpszEnd) {
    return p < lpszEnd && (*p == '-' || *p == '+') ? p + 1 : p;
}

} // namespace

int IsNumber(const char* lpszText, int nLen) {
    if (!lpszText || nLen <= 0) return NUMBER_NONE;
    const char* lpszEnd = lpszText + nLen;
    if (nLen > 2 && lpszText[0] == '0' && FoldToUpper(lpszText[1]) == 'X')
        return std::all_of(lpszText + 2, lpszEnd, [](char c) { return IsCharClass(c, CC_HEX); }) ? NUMBER_HEX
                                                                                                 : NUMBER_NONE;

    const char* lpszDigits = SkipSign(lpszText, lpszEnd);
    const char* p = SkipDigits(lpszDigits, lpszEnd);
    auto nDigits = p - lpszDigits;
    if (p == lpszEnd) return nDigits > 0 ? NUMBER_INTEGER : NUMBER_NONE;
    if (*p == '.') {
        const char* lpszFraction = p + 1;
        p = SkipDigits(lpszFraction, lpszEnd);
        nDigits += p - lpszFraction;
    }
    if (nDigits == 0) return NUMBER_NONE;
    if (p == lpszEnd) return NUMBER_REAL;
    if (FoldToUpper(*p) != 'E') return NUMBER_NONE;
    const char* lpszExponent = SkipSign(p + 1, lpszEnd);
    p = SkipDigits(lpszExponent, lpszEnd);
    return p == lpszEnd && p > lpszExponent ? NUMBER_REAL : NUMBER_NONE;
}

int IsNumber(const char* lpszText) {
    return lpszText ? IsNumber(lpszText, static_cast<int>(std::strlen(lpszText))) : NUMBER_NONE;
}

int TrimTailZero(char* lpszText, bool bForce) {
    char* lpszEnd = lpszText + std::strlen(lpszText);
    // Forced, a text without a point loses its zeros too: "100" becomes "1". Intended: who forces knows of a point.
    if (bForce || std::count(lpszText, lpszEnd, '.') == 1) {
        while (lpszEnd > lpszText && lpszEnd[-1] == '0')
            --lpszEnd;
        if (lpszEnd > lpszText && lpszEnd[-1] == '.') --lpszEnd;
        *lpszEnd = 0;
    }
    return static_cast<int>(lpszEnd - lpszText);
}

int GetIntegerFigure(long long llValue) {
    unsigned long long ullValue = static_cast<unsigned long long>(llValue);
    if (llValue < 0) ullValue = 0 - ullValue;
    int nFigures = 1;
    for (; ullValue >= 10; ullValue /= 10)
        ++nFigures;
    return nFigures;
}

int GetStringFigure(const char* lpszText, int nLen) {
    if (!lpszText || nLen <= 0) return 0;
    const char* lpszEnd = lpszText + nLen;
    const char* lpszDigits = SkipSign(lpszText, lpszEnd);
    return static_cast<int>(SkipDigits(lpszDigits, lpszEnd) - lpszDigits);
}

int ConvertBitToString(unsigned long long ullValue, int nBits, char* lpszText, int nSize) {
    const int nDigits = std::max({std::min(nBits, 64), static_cast<int>(std::bit_width(ullValue)), 1});
    if (nDigits >= nSize) {
        if (nSize > 0) *lpszText = 0;
        return -1;
    }
    for (int i = nDigits; i-- > 0;)
        *lpszText++ = static_cast<char>('0' + (ullValue >> i & 1));
    *lpszText = 0;
    return nDigits;
}

int ConvertMySQLVarchar(const BYTE* lpData, int nSize, const char*& lpszText, int& nLen) {
    lpszText = nullptr;
    nLen = 0;
    if (!lpData || nSize <= 0) return 0;
    const BYTE bFirst = *lpData;
    if (bFirst == LENGTH_NULL) return 1;
    const int nWidth = bFirst <= LENGTH_MAX_SHORT ? 0
                       : bFirst == LENGTH_2       ? 2
                       : bFirst == LENGTH_3       ? 3
                       : bFirst == LENGTH_8       ? 8
                                                  : -1;
    if (nWidth < 0 || nSize - 1 < nWidth) return 0;
    std::uint64_t nTextLen = 0;
    std::memcpy(&nTextLen, lpData + 1, static_cast<std::size_t>(nWidth));
    if (nWidth == 0) nTextLen = bFirst;
    const int nPrefix = 1 + nWidth;
    if (nTextLen > static_cast<std::uint64_t>(nSize - nPrefix)) return 0;
    lpszText = reinterpret_cast<const char*>(lpData + nPrefix);
    nLen = static_cast<int>(nTextLen);
    return nPrefix + nLen;
}
