// Sizes as an operator writes them: 500, 500M, 500MB.

#include "CommonDataDefToNumber.h"

#include <cstring>

#include "CommonDataDef.h"
#include "CommonDataDefChar.h"
#include "CommonDataDefNumber.h"

namespace {

constexpr int MAX_LEN = 62;

/** The units, each 1024 times the one in front of it. */
constexpr char UNITS[] = "KMGT";

/** The factor of a unit; 0 for no unit. */
long long UnitFactor(char cUnit) {
    long long llFactor = 1;
    for (const char* p = UNITS; *p; ++p) {
        llFactor *= 1024;
        if (*p == FoldToUpper(cUnit)) return llFactor;
    }
    return 0;
}

} // namespace

long long ToNumber(const char* lpszText, int nLen) {
    if (!lpszText || nLen <= 0 || nLen > MAX_LEN) return 0;
    long long llFactor = 1;
    // Only a hexadecimal number ends with a letter, and then its B is a digit.
    if (IsNumber(lpszText, nLen) == NUMBER_NONE) {
        if (nLen >= 3 && FoldToUpper(lpszText[nLen - 1]) == 'B') --nLen;
        llFactor = UnitFactor(lpszText[--nLen]);
        if (llFactor == 0 || IsNumber(lpszText, nLen) == NUMBER_NONE) return 0;
    }
    char szNumber[MAX_LEN + 1];
    std::memcpy(szNumber, lpszText, static_cast<std::size_t>(nLen));
    szNumber[nLen] = 0;
    long long llValue;
    return __builtin_mul_overflow(StringToLongLong(szNumber), llFactor, &llValue) ? 0 : llValue;
}
