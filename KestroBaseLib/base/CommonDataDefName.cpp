// Names, strings, passwords and titles out of the words of SQL text. A word is read within its length only, and one
// that holds a zero byte is refused.

#include <array>
#include <cstring>

#include "CommonDataDef.h"
#include "CommonDataDefChar.h"

namespace {

constexpr int MAX_NAME_LEN = KESTRO_NAME_SIZE - 1;
constexpr char ANY_QUOTE[] = "\"`'";

/** What one kind of name takes. */
struct NAMERULE {
    const char* m_lpszQuotes;
    /** Longest quoted name, quotes aside. */
    int m_nMaxQuoted;
    int m_nQuotedResult;
    /** Class of a plain name's first byte. */
    BYTE m_bFirstClass;
    /** Names in backticks and plain ones become capitals. */
    bool m_bUpper;
};

constexpr NAMERULE OBJECT_RULE = {"\"`", MAX_NAME_LEN - 1, NAME_QUOTED, CC_NAME_START, true};
constexpr NAMERULE USER_RULE = {ANY_QUOTE, MAX_NAME_LEN - 1, NAME_QUOTED, CC_LETTER, false};
// A quoted database name counts as plain and may be one byte longer. Intended.
constexpr NAMERULE DATABASE_RULE = {ANY_QUOTE, MAX_NAME_LEN, NAME_PLAIN, CC_NAME_START, false};

/** Each byte as it stands in a plain name of capitals; 0 for one that has no place there. */
constexpr std::array<char, 256> UPPER_NAME_CHAR = [] {
    std::array<char, 256> arChar{};
    for (int i = 0; i < 256; ++i) {
        const char c = static_cast<char>(i);
        if (IsCharClass(c, CC_NAME)) arChar[static_cast<std::size_t>(i)] = FoldToUpper(c);
    }
    return arChar;
}();

bool HasZero(const char* lpszText, int nLen) {
    return std::memchr(lpszText, 0, static_cast<std::size_t>(nLen)) != nullptr;
}

/** Whether a word of at least one byte begins with one of the quotes. */
bool BeginsQuoted(const char* lpszText, const char* lpszQuotes) {
    return *lpszText != 0 && std::strchr(lpszQuotes, *lpszText) != nullptr;
}

/** Whether a word that begins with a quote ends with the same. */
bool EndsQuoted(const char* lpszText, int nLen) {
    return nLen >= 2 && lpszText[nLen - 1] == lpszText[0];
}

bool IsPlainWord(const char* lpszText, int nLen, BYTE bFirstClass) {
    if (!IsCharClass(*lpszText, bFirstClass)) return false;
    for (int i = 1; i < nLen; ++i)
        if (!IsCharClass(lpszText[i], CC_NAME)) return false;
    return true;
}

void CopyBytes(const char* lpszText, int nLen, char* lpszOut) {
    std::memcpy(lpszOut, lpszText, static_cast<std::size_t>(nLen));
    lpszOut[nLen] = 0;
}

int CopyName(const char* lpszText, int nLen, char* lpszName, const NAMERULE& stRule) {
    *lpszName = 0;
    if (!lpszText || nLen <= 0 || nLen > MAX_NAME_LEN + 2 || HasZero(lpszText, nLen)) return NAME_BAD;
    if (BeginsQuoted(lpszText, stRule.m_lpszQuotes)) {
        const int nInner = nLen - 2;
        if (nInner < 1 || nInner > stRule.m_nMaxQuoted || !EndsQuoted(lpszText, nLen)) return NAME_BAD;
        CopyBytes(lpszText + 1, nInner, lpszName);
        if (stRule.m_bUpper && *lpszText == '`') KestroMakeUpper(lpszName, nInner);
        return stRule.m_nQuotedResult;
    }
    if (nLen > MAX_NAME_LEN || !IsPlainWord(lpszText, nLen, stRule.m_bFirstClass)) return NAME_BAD;
    CopyBytes(lpszText, nLen, lpszName);
    if (stRule.m_bUpper) KestroMakeUpper(lpszName, nLen);
    return NAME_PLAIN;
}

} // namespace

// Nearly all names are plain: those are checked and copied in one pass, and all others go the long way.
int CopyNameFromSql(const char* lpszText, int nLen, char* lpszName) {
    if (lpszText && nLen > 0 && nLen <= MAX_NAME_LEN && IsCharClass(*lpszText, OBJECT_RULE.m_bFirstClass)) {
        char cLeast = 1;
        for (int i = 0; i < nLen; ++i) {
            const char c = lpszName[i] = UPPER_NAME_CHAR[static_cast<BYTE>(lpszText[i])];
            cLeast = c != 0 ? cLeast : '\0';
        }
        lpszName[cLeast != 0 ? nLen : 0] = 0;
        return cLeast != 0 ? NAME_PLAIN : NAME_BAD;
    }
    return CopyName(lpszText, nLen, lpszName, OBJECT_RULE);
}

int CopyUserNameFromSql(const char* lpszText, int nLen, char* lpszName) {
    return CopyName(lpszText, nLen, lpszName, USER_RULE);
}

int CopyDatabaseNameFromSql(const char* lpszText, int nLen, char* lpszName) {
    return CopyName(lpszText, nLen, lpszName, DATABASE_RULE);
}

int CopyStringFromSql(const char* lpszText, int nLen, char* lpszString, int nSize) {
    if (nSize > 0) *lpszString = 0;
    if (!lpszText || nLen <= 0 || *lpszText != '\'') return STRING_BAD;
    if (nLen > nSize) return STRING_TOO_LONG;
    if (HasZero(lpszText, nLen) || !EndsQuoted(lpszText, nLen)) return STRING_BAD;
    const char* lpszEnd = lpszText + nLen - 1;
    for (const char* p = lpszText + 1; p < lpszEnd; ++p) {
        *lpszString++ = *p;
        if (*p == '\'' && p + 1 < lpszEnd && p[1] == '\'') ++p;
    }
    *lpszString = 0;
    return STRING_COPIED;
}

int CopyPassWordFromSql(const char* lpszText, int nLen, char* lpszPassword) {
    *lpszPassword = 0;
    if (!lpszText || nLen <= 0 || HasZero(lpszText, nLen)) return NAME_BAD;
    if (BeginsQuoted(lpszText, ANY_QUOTE)) {
        if (!EndsQuoted(lpszText, nLen)) return NAME_BAD;
        CopyBytes(lpszText + 1, nLen - 2, lpszPassword);
        return NAME_QUOTED;
    }
    if (!IsPlainWord(lpszText, nLen, CC_LETTER)) return NAME_BAD;
    CopyBytes(lpszText, nLen, lpszPassword);
    return NAME_PLAIN;
}

int CopyTitleFromSql(const char* lpszText, int nLen, char* lpszTitle) {
    *lpszTitle = 0;
    if (!lpszText || nLen <= 0 || HasZero(lpszText, nLen)) return NAME_BAD;
    const bool bQuoted = BeginsQuoted(lpszText, ANY_QUOTE);
    if (bQuoted) {
        if (!EndsQuoted(lpszText, nLen)) return NAME_BAD;
        ++lpszText;
        nLen -= 2;
    }
    int nCopy = nLen;
    if (nCopy >= KESTRO_TITLE_SIZE)
        for (nCopy = KESTRO_TITLE_SIZE - 1; nCopy > 0 && !IsCharStart(lpszText[nCopy]);)
            --nCopy;
    if (nCopy == 0) return NAME_BAD;
    CopyBytes(lpszText, nCopy, lpszTitle);
    return bQuoted ? NAME_QUOTED : NAME_PLAIN;
}
