// Search and replacement by bytes, LIKE patterns and JSON strings. Nothing here allocates.

#include <algorithm>
#include <climits>
#include <cstring>

#include "CommonDataDef.h"
#include "CommonDataDefChar.h"

namespace {

/** Length of a text that may be null or have a negative length. */
std::size_t TextSize(const char* lpszText, int nLen) {
    return lpszText && nLen > 0 ? static_cast<std::size_t>(nLen) : 0;
}

/** First place of a text that is not empty within another; null for none. */
const char* FindText(const char* lpszText, const char* lpszEnd, const char* lpszSub, std::size_t nSubLen) {
    return static_cast<const char*>(memmem(lpszText, static_cast<std::size_t>(lpszEnd - lpszText), lpszSub, nSubLen));
}

bool BeginsWith(const char* lpszText, const char* lpszEnd, const char* lpszSub, std::size_t nSubLen) {
    return static_cast<std::size_t>(lpszEnd - lpszText) >= nSubLen && std::memcmp(lpszText, lpszSub, nSubLen) == 0;
}

bool IsHexDigits(const char* lpszText, const char* lpszEnd, int nDigits) {
    return lpszEnd - lpszText >= nDigits &&
           std::all_of(lpszText, lpszText + nDigits, [](char c) { return IsCharClass(c, CC_HEX); });
}

} // namespace

int SubStringFind(const char* lpszText, int nLen, const char* lpszSub, int nSubLen) {
    const std::size_t nSub = TextSize(lpszSub, nSubLen);
    if (nSub == 0) return 0;
    if (TextSize(lpszText, nLen) == 0) return -1;
    const char* lpszFound = FindText(lpszText, lpszText + nLen, lpszSub, nSub);
    return lpszFound ? static_cast<int>(lpszFound - lpszText) : -1;
}

int SubStringMatch(const char* lpszText, int nLen, const char* lpszSub, int nSubLen) {
    const int nPos = SubStringFind(lpszText, nLen, lpszSub, nSubLen);
    return nPos <= 0 ? nPos : static_cast<int>(std::count_if(lpszText, lpszText + nPos, IsCharStart));
}

int KestroCharReplace(const char* lpszText, int nLen, const char* lpszFrom, int nFromLen, const char* lpszTo,
                      int nToLen, char* lpszResult, int nSize) {
    const std::size_t nFrom = TextSize(lpszFrom, nFromLen);
    const std::size_t nTo = TextSize(lpszTo, nToLen);
    // The longest result that is given out; a count stops there too.
    const std::size_t nRoom = lpszResult ? TextSize(lpszResult, nSize) : std::size_t{INT_MAX} + 1;
    if (nRoom == 0) return -1;
    std::size_t nResult = 0;
    const auto Put = [&](const char* lpszPart, std::size_t nPart) {
        if (nPart >= nRoom - nResult) return false;
        if (lpszResult && nPart != 0) std::memcpy(lpszResult + nResult, lpszPart, nPart);
        nResult += nPart;
        return true;
    };
    const char* p = lpszText;
    const char* lpszEnd = lpszText + TextSize(lpszText, nLen);
    bool bFits = true;
    while (bFits && nFrom != 0 && p != lpszEnd) {
        const char* lpszFound = FindText(p, lpszEnd, lpszFrom, nFrom);
        if (!lpszFound) break;
        bFits = Put(p, static_cast<std::size_t>(lpszFound - p)) && Put(lpszTo, nTo);
        p = lpszFound + nFrom;
    }
    bFits = bFits && Put(p, static_cast<std::size_t>(lpszEnd - p));
    if (lpszResult) lpszResult[bFits ? nResult : 0] = 0;
    return bFits ? static_cast<int>(nResult) : -1;
}

int StrPretreatment(char* lpszText, int nLen, const char* lpszEscape, BYTE& bPercentSym) {
    bPercentSym = 0;
    if (!lpszText || nLen <= 0) return 0;
    if (!lpszEscape) lpszEscape = "\\";
    const std::size_t nEscape = std::strlen(lpszEscape);
    const char* lpszEnd = lpszText + nLen;
    char* lpszOut = lpszText;
    for (const char* p = lpszText; p < lpszEnd;) {
        if (nEscape != 0 && BeginsWith(p, lpszEnd, lpszEscape, nEscape)) {
            const char* lpszNext = p + nEscape;
            const bool bDoubled = BeginsWith(lpszNext, lpszEnd, lpszEscape, nEscape);
            if (bDoubled || (lpszNext < lpszEnd && (*lpszNext == '%' || *lpszNext == '_'))) {
                const std::size_t nKept = bDoubled ? nEscape : 1;
                std::memmove(lpszOut, lpszNext, nKept);
                lpszOut += nKept;
                p = lpszNext + nKept;
                continue;
            }
        }
        const char c = *p++;
        *lpszOut++ = c == '%' ? WILDCARD_ANY_TEXT : c == '_' ? WILDCARD_ANY_CHAR : c;
        if (c == '%') bPercentSym = 1;
    }
    if (lpszOut < lpszEnd) *lpszOut = 0;
    return static_cast<int>(lpszOut - lpszText);
}

bool CheckJsonString(const char* lpszText, int nLen) {
    if (!lpszText || nLen < 2 || lpszText[0] != '"' || lpszText[nLen - 1] != '"') return false;
    const char* lpszEnd = lpszText + nLen - 1;
    for (const char* p = lpszText + 1; p < lpszEnd; ++p) {
        if (*p == '"' || static_cast<BYTE>(*p) < 0x20) return false;
        if (*p != '\\') continue;
        if (++p == lpszEnd) return false;
        if (*p == 'u') {
            if (!IsHexDigits(p + 1, lpszEnd, 4)) return false;
            p += 4;
        } else if (*p == 0 || !std::strchr("\"\\/bfnrt", *p)) {
            return false;
        }
    }
    return true;
}
