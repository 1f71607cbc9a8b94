// A statement of any kind, run as its first word tells.

#include <strings.h>

#include <algorithm>
#include <cstring>

#include "DBInterface.h"
#include "KestroErrorCode.h"
#include "MemDBRecordset.h"

namespace {

constexpr int STATEMENT_EXPLAIN = 0;
constexpr int STATEMENT_SELECT = 1;
constexpr int FIRST_PAGE = 1;
constexpr int PAGE_ROWS = 100;
constexpr int NO_SUCH_STATEMENT = static_cast<int>(0x80004005);
constexpr int WORD_MOST = 32;
constexpr int WORD_SIZE = 34;

struct STATEMENTKIND {
    const char* m_lpszWord;
    int m_nKind;
};

/** The first words, in capitals or not; a word that goes on behind one of them counts as it. */
constexpr STATEMENTKIND STATEMENT_KINDS[] = {
    {"explain", STATEMENT_EXPLAIN},
    {"select", STATEMENT_SELECT},
    {"insert", 2},
    {"update", 2},
    {"delete", 2},
    {"create", 3},
    {"revoke", 3},
    {"alter", 3},
    {"grant", 3},
    {"drop", 3},
    {"truncate", 3},
    {"rename", 3},
    {"set", 3},
    {"fix", 3},
    {"begin", 10},
    {"commit", 11},
    {"rollback", 12},
    {"savepoint", 13},
    {"use", 14},
};

bool IsSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

char* SkipSpace(char* lpszText) {
    while (IsSpace(*lpszText))
        ++lpszText;
    return lpszText;
}

/** Skips white space and comments. */
char* SkipToText(char* lpszText) {
    for (;;) {
        lpszText = SkipSpace(lpszText);
        if (lpszText[0] != '-' || lpszText[1] != '-') return lpszText;
        lpszText += std::strcspn(lpszText, "\r\n");
    }
}

/** The first word: what stands behind white space, comments and opening brackets. */
char* FirstWord(char* lpszText) {
    lpszText = SkipToText(lpszText);
    while (*lpszText == '(')
        lpszText = SkipToText(lpszText + 1);
    return lpszText;
}

char* TrimEnd(char* lpszStart, char* lpszEnd) {
    while (lpszEnd > lpszStart && IsSpace(lpszEnd[-1]))
        --lpszEnd;
    return lpszEnd;
}

/**
 * How many pairs of brackets stand around the whole text. In one pass: a pair does if the depth never falls below it
 * between the brackets at the start and those at the end.
 */
int CountBrackets(char* lpszStart, char* lpszEnd) {
    int nOpen = 0, nClose = 0;
    char* lpszFirst = lpszStart;
    for (; *lpszFirst == '('; lpszFirst = SkipSpace(lpszFirst + 1))
        ++nOpen;
    char* lpszLast = lpszEnd;
    for (; lpszLast > lpszFirst && lpszLast[-1] == ')'; lpszLast = TrimEnd(lpszFirst, lpszLast - 1))
        ++nClose;
    int nDepth = nOpen, nLeast = nOpen;
    for (const char* p = lpszFirst; p < lpszLast; ++p) {
        if (*p == '(') ++nDepth;
        if (*p == ')') nLeast = std::min(nLeast, --nDepth);
    }
    return nDepth == nClose ? std::max(std::min(nLeast, nClose), 0) : 0;
}

} // namespace

char* CDBInterface::RemoveSpaceFromString(char* lpszSql, char* lpszWord) {
    if (!lpszSql) return nullptr;
    char* lpszStart = SkipToText(lpszSql);
    const char* const lpszText = FirstWord(lpszStart);
    const std::size_t nWord = std::min<std::size_t>(std::strcspn(lpszText, " \t\r\n:*"), WORD_MOST);
    *std::copy_n(lpszText, nWord, lpszWord) = 0;

    char* lpszEnd = TrimEnd(lpszStart, lpszStart + std::strlen(lpszStart));
    *lpszEnd = 0;
    for (int i = CountBrackets(lpszStart, lpszEnd); i > 0; --i) {
        lpszStart = SkipSpace(lpszStart + 1);
        lpszEnd = TrimEnd(lpszStart, std::max(lpszStart, lpszEnd - 1));
    }
    *lpszEnd = 0;
    return lpszStart;
}

int CDBInterface::SqlQuery(char* lpszSql, int& nCount, CMemDBRecordset& stRecordset, EXECUTEPLANDESCRIBE* pDescribe,
                           MF_EXECUTE_STATISTICS* pStat) {
    if (!IsLoggedIn()) return ERR_LINK_NOT_OPEN;
    MF_EXECUTE_STATISTICS stOwn{};
    MF_EXECUTE_STATISTICS& stStat = pStat ? *pStat : stOwn;
    if (!lpszSql) {
        stStat.m_nErrorCode = ERR_FAILED;
        return ERR_EMPTY_COMMAND;
    }
    char szWord[WORD_SIZE];
    char* const lpszText = RemoveSpaceFromString(lpszSql, szWord);
    if (!*lpszText) {
        stStat.m_nErrorCode = ERR_EMPTY_STRING;
        return ERR_OK;
    }
    const auto* const lpKind =
        std::find_if(std::begin(STATEMENT_KINDS), std::end(STATEMENT_KINDS), [&](const STATEMENTKIND& stKind) {
            return strncasecmp(szWord, stKind.m_lpszWord, std::strlen(stKind.m_lpszWord)) == 0;
        });
    if (lpKind == std::end(STATEMENT_KINDS)) {
        stStat.m_nErrorCode = ERR_FAILED;
        return NO_SUCH_STATEMENT;
    }
    stStat.m_nStatementKind = lpKind->m_nKind;
    switch (lpKind->m_nKind) {
        case STATEMENT_EXPLAIN:
            return GetExecutePlanInfo(FirstWord(lpszText) + std::strlen(lpKind->m_lpszWord), pDescribe, &stStat);
        case STATEMENT_SELECT: {
            stStat.m_nErrorCode = PAGE_ROWS;
            stStat.m_nErrorPos = FIRST_PAGE;
            const int nCode = GetRecordset(lpszText, stRecordset, &stStat);
            nCount = stRecordset.GetRowNum();
            return nCode;
        }
        default:
            return ExecuteCommand(static_cast<const char*>(lpszText), nCount, &stStat);
    }
}
