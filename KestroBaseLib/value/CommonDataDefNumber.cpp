// Number texts through the decimal parser, and plain integers in a given base.

#include "CommonDataDefNumber.h"

#include <climits>
#include <cstring>

#include "KestroDecimal.h"

namespace {

constexpr int MIN_BASE = 2;
constexpr int MAX_BASE = 36;

/** Value of a digit, or MAX_BASE for any other character. */
int DigitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'Z') return c - 'A' + 10;
    if (c >= 'a' && c <= 'z') return c - 'a' + 10;
    return MAX_BASE;
}

/** Most texts are whole numbers of up to 18 digits, which need no decimal; false for any other. */
bool ReadWholeNumber(const char* lpszText, long long& llValue) {
    const bool bNegative = *lpszText == '-';
    if (bNegative) ++lpszText;
    const char* const lpszDigits = lpszText;
    long long llDigits = 0;
    for (; lpszText - lpszDigits < 18 && *lpszText >= '0' && *lpszText <= '9'; ++lpszText)
        llDigits = llDigits * 10 + (*lpszText - '0');
    if (lpszText == lpszDigits || *lpszText != 0) return false;
    llValue = bNegative ? -llDigits : llDigits;
    return true;
}

} // namespace

int StringToInt(const char* lpszText) {
    long long llValue;
    if (ReadWholeNumber(lpszText, llValue)) return static_cast<int>(llValue);
    st_VARDATA stValue;
    if (CKestroDecimal::Convert2Decimal(lpszText, &stValue) != 0) return 0;
    return CKestroDecimal::Convert2Int(&stValue, 0);
}

long long StringToLongLong(const char* lpszText) {
    long long llValue;
    if (ReadWholeNumber(lpszText, llValue)) return llValue;
    st_VARDATA stValue;
    if (CKestroDecimal::Convert2Decimal(lpszText, &stValue) != 0) return 0;
    return CKestroDecimal::Convert2Int64(&stValue, 0);
}

double ToDouble(const char* lpszText) {
    st_VARDATA stValue;
    if (CKestroDecimal::Convert2Decimal(lpszText, &stValue) != 0) return 0;
    return CKestroDecimal::Convert2Double(&stValue);
}

unsigned long long ConvertBitToNumber(const char* lpszText) {
    return ConvSpecifiedStringToDecimal(lpszText, 2);
}

unsigned long long ConvSpecifiedStringToDecimal(const char* lpszText, int nBase) {
    if (nBase < MIN_BASE || nBase > MAX_BASE) return 0;
    unsigned long long ullValue = 0;
    for (int nDigit; (nDigit = DigitValue(*lpszText)) < nBase; ++lpszText) {
        if (__builtin_mul_overflow(ullValue, static_cast<unsigned long long>(nBase), &ullValue) ||
            __builtin_add_overflow(ullValue, static_cast<unsigned long long>(nDigit), &ullValue))
            return ULLONG_MAX;
    }
    return ullValue;
}

int ConvDecimalToSpecifiedString(unsigned long long ullValue, int nBase, char* lpszText, int nSize) {
    if (nSize > 0) lpszText[0] = 0;
    if (nBase < MIN_BASE || nBase > MAX_BASE) return 0;
    char szDigits[64];
    int nStart = sizeof(szDigits);
    do {
        szDigits[--nStart] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"[ullValue % static_cast<unsigned>(nBase)];
        ullValue /= static_cast<unsigned>(nBase);
    } while (ullValue != 0);
    const int nLen = static_cast<int>(sizeof(szDigits)) - nStart;
    if (nLen >= nSize) return 0;
    std::memcpy(lpszText, szDigits + nStart, static_cast<std::size_t>(nLen));
    lpszText[nLen] = 0;
    return nLen;
}
