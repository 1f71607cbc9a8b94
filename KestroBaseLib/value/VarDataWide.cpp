// Numbers, dates, bytes and decimals as wide text in arrays of their own.

#include "VarDataWide.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <new>

#include "CommonDataDef.h"
#include "KestroDate.h"
#include "KestroDecimal.h"

namespace {

constexpr int INTEGER_SIZE = 22;
constexpr int LONG_DOUBLE_SIZE = 32;
constexpr int BINARY_SIZE = 80;
constexpr int BINARY_MAX_BYTES = 32;

constexpr double INT64_LIMIT = 9223372036854775808.0;
constexpr int AS_INTEGER = -1;

struct DOUBLEFORM {
    /** Magnitudes above this one. */
    double m_dblAbove;
    /** Places, or `AS_INTEGER`. */
    int m_nPlaces;
};

constexpr DOUBLEFORM DOUBLE_FORMS[] = {
    {2147483647.0, AS_INTEGER}, {1048576.0, 2}, {1024.0, 4}, {1.0, 6}, {0.001, 9},
};
constexpr int PLACES_BELOW = 12;

wchar_t* NewWide(int nSize) {
    return new (std::nothrow) wchar_t[static_cast<std::size_t>(nSize)];
}

/** A copy of an ASCII text in an array of at least `nSize` elements. */
wchar_t* Widen(const char* lpszText, int nLen, int nSize) {
    wchar_t* const lpszWide = NewWide(std::max(nLen + 1, nSize));
    if (!lpszWide) return nullptr;
    *std::copy(lpszText, lpszText + nLen, lpszWide) = 0;
    return lpszWide;
}

int PrintFixed(double dblValue, int nPlaces, char (&szText)[KESTRO_VALUE_TEXT_SIZE]) {
    char* const lpszEnd = szText + KESTRO_VALUE_TEXT_SIZE - 1;
    char* const lpszPrinted = std::to_chars(szText, lpszEnd, dblValue, std::chars_format::fixed, nPlaces).ptr;
    *lpszPrinted = 0;
    return static_cast<int>(lpszPrinted - szText);
}

int PlacesFor(double dblMagnitude) {
    for (const DOUBLEFORM& stForm : DOUBLE_FORMS)
        if (dblMagnitude > stForm.m_dblAbove) return stForm.m_nPlaces;
    return PLACES_BELOW;
}

/** Writes the text into an array and gives its size in elements. */
template <typename PRINT>
wchar_t* PrintWide(int nSize, PRINT Print) {
    wchar_t* const lpszWide = NewWide(nSize);
    if (lpszWide) Print(lpszWide);
    return lpszWide;
}

} // namespace

wchar_t* KestroConvertNumber2WChar(long long llValue) {
    char szText[KESTRO_INTEGER_SIZE];
    const int nLen = KestroConvert(llValue, szText);
    return Widen(szText, nLen, INTEGER_SIZE);
}

wchar_t* KestroConvertNumber2WChar(double dblValue) {
    char szText[KESTRO_VALUE_TEXT_SIZE];
    const double dblMagnitude = std::fabs(dblValue);
    // A number too long for the usual array gets one that holds all of it.
    if ((dblMagnitude >= INT64_LIMIT && dblValue != -INT64_LIMIT) || dblMagnitude < 1e-6)
        return Widen(szText, PrintFixed(dblValue, 6, szText), LONG_DOUBLE_SIZE);
    const int nPlaces = PlacesFor(dblMagnitude);
    if (nPlaces == AS_INTEGER) return KestroConvertNumber2WChar(static_cast<long long>(dblValue));
    PrintFixed(dblValue, nPlaces, szText);
    return Widen(szText, TrimTailZero(szText, true), INTEGER_SIZE);
}

wchar_t* KestroConvertTime(const KESTROTIME& stTime) {
    return PrintWide(KESTRO_TIME_TEXT_SIZE, [&](wchar_t* lpsz) { CKestroDate::FormatTime(stTime, lpsz); });
}

wchar_t* KestroConvertDate(const KESTRODATE& stDate) {
    return PrintWide(KESTRO_DATE_TEXT_SIZE + 1, [&](wchar_t* lpsz) { CKestroDate::FormatDate(stDate, lpsz); });
}

wchar_t* KestroConvertDate(double dblValue) {
    return PrintWide(KESTRO_DATETIME_TEXT_SIZE,
                     [&](wchar_t* lpsz) { CKestroDate::FormatDateTime(dblValue, lpsz, -1); });
}

wchar_t* KestroConvertBinary(const unsigned char* lpData, int nLen) {
    nLen = lpData ? std::max(nLen, 0) : 0;
    return PrintWide(BINARY_SIZE, [&](wchar_t* lpsz) {
        char szLen[KESTRO_INTEGER_SIZE];
        *lpsz++ = L'(';
        lpsz = std::copy_n(szLen, KestroConvert(nLen, szLen), lpsz);
        *lpsz++ = L')';
        *lpsz++ = L' ';
        HexConvertWC(lpData, std::min(nLen, BINARY_MAX_BYTES), lpsz);
    });
}

wchar_t* KestroDecimal2WChar(const st_VARDATA* lpValue) {
    char szText[DECIMAL_TEXT_SIZE];
    const int nLen = CKestroDecimal::PrintDecimal(lpValue, szText);
    return Widen(szText, nLen, nLen + 1);
}
