// SET TRANSACTION in its forms and SET TIMEZONE: one server parameter each.

#include <algorithm>
#include <string_view>

#include "SqlWordReader.h"

namespace {

/** A form of SET without a value of its own: its words, and what it sets. */
struct SETFORM {
    std::string_view m_arWord[5];
    int m_nWordNum;
    const char* m_lpszParameter;
    int m_nValue;
};

constexpr char READ_WRITE_MODE[] = "KESTRO_READWRITE_MODE";
constexpr char ISOLATION_LEVEL[] = "SERVER_ISOLATIONLEVEL";
constexpr char TIME_ZONE[] = "KESTRO_TIME_ZONE";

constexpr SETFORM FORMS[] = {
    {{"TRANSACTION", "READ", "ONLY"}, 3, READ_WRITE_MODE, 1},
    {{"TRANSACTION", "READ", "WRITE"}, 3, READ_WRITE_MODE, 0},
    {{"TRANSACTION", "ISOLATION", "LEVEL", "REPEATABLE", "READ"}, 5, ISOLATION_LEVEL, 0},
    {{"TRANSACTION", "ISOLATION", "LEVEL", "READ", "COMMITTED"}, 5, ISOLATION_LEVEL, 1},
    {{"TRANSACTION", "ISOLATION", "LEVEL", "SERIALIZABLE"}, 4, ISOLATION_LEVEL, 2},
};

/** Words of a form that the statement has, from the first on. */
int CountMatches(const SETFORM& stForm, const CSqlWordReader& stReader) {
    int nMatches = 0;
    while (nMatches < stForm.m_nWordNum && stReader.Is(nMatches, stForm.m_arWord[nMatches]))
        ++nMatches;
    return nMatches;
}

/** A whole number, whose sign may stand apart. */
bool ReadZone(const CSqlWordReader& stReader, int& nZone) {
    const bool bMinus = stReader.Keyword(1) == WORD_MINUS;
    const int nWord = bMinus || stReader.Keyword(1) == WORD_PLUS ? 2 : 1;
    if (!stReader.ReadInteger(nWord, nZone)) return false;
    if (bMinus) nZone = -nZone;
    return true;
}

} // namespace

int CParseSql::ParseSet(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan) {
    ALTEREXECUTEPLANBSON* lpAlter = nullptr;
    UINT nOffset = 0;
    if (const int nCode = m_stBson.AllocFromBsonBuffer(lpAlter, nOffset)) return nCode;
    lpPlan->m_nCommandOffset = nOffset;
    lpAlter->m_bObjectType = ALTER_SYSTEM;
    stu_KestroWordArray stWords;
    if (const int nCode = Parse(lpszSql, nPos, &stWords)) return nCode;
    const CSqlWordReader stReader(*this, stWords);

    const char* lpszParameter = nullptr;
    int nValue = 0, nFailed = 0;
    if (stReader.Is(0, "TIMEZONE")) {
        if (!ReadZone(stReader, nValue)) return Fail(ERR_EXPECT_STRING, 1);
        lpszParameter = TIME_ZONE;
    }
    // Words behind a form aren't looked at.
    for (const SETFORM& stForm : FORMS) {
        const int nMatches = CountMatches(stForm, stReader);
        nFailed = std::max(nFailed, nMatches);
        if (nMatches != stForm.m_nWordNum) continue;
        lpszParameter = stForm.m_lpszParameter;
        nValue = stForm.m_nValue;
    }
    if (!lpszParameter) return Fail(ERR_KEYWORD_SET, nFailed);
    if (const int nCode = WriteSetting(ALTER_SET, lpAlter, VT_INT, lpszParameter, nValue)) return nCode;
    return ClosePlan(lpPlan);
}
