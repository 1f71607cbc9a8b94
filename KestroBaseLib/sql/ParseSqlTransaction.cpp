// BEGIN, COMMIT and ROLLBACK, each with WORK or nothing behind it, the first two with GRAPH as well; and USE with the
// name of a database.

#include <cstring>

#include "CommonDataDef.h"
#include "SqlWordReader.h"

/** A statement of transactions. */
struct CParseSql::TRANSACTIONVERB {
    BYTE m_bType;
    BYTE m_bGraphType; // with GRAPH; 0: there is none
    int m_nError;
    bool m_bErrorAtEnd; // too many words are reported behind the last one
};

int CParseSql::ParseTransaction(const TRANSACTIONVERB& stVerb, const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan) {
    stu_KestroWordArray stWords;
    if (const int nCode = Parse(lpszSql, nPos, &stWords)) return nCode;
    const CSqlWordReader stReader(*this, stWords);
    if (stReader.Num() > 1) return Fail(stVerb.m_nError, stVerb.m_bErrorAtEnd ? stReader.Num() : 0);
    lpPlan->m_nType = stVerb.m_bType;
    if (stVerb.m_bGraphType != 0 && stReader.Is(0, "GRAPH"))
        lpPlan->m_nType = stVerb.m_bGraphType;
    else if (stReader.Num() == 1 && !stReader.Is(0, "WORK"))
        return Fail(stVerb.m_nError, 0);
    return ClosePlan(lpPlan);
}

int CParseSql::ParseBeginTx(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan) {
    return ParseTransaction({PLAN_BEGIN, PLAN_BEGIN_GRAPH, ERR_SYNTAX_BEGIN, true}, lpszSql, nPos, lpPlan);
}

int CParseSql::ParseCommitTx(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan) {
    return ParseTransaction({PLAN_COMMIT, PLAN_COMMIT_GRAPH, ERR_SYNTAX_COMMIT, false}, lpszSql, nPos, lpPlan);
}

int CParseSql::ParseRollbackTx(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan) {
    return ParseTransaction({PLAN_ROLLBACK, 0, ERR_SYNTAX_ROLLBACK, false}, lpszSql, nPos, lpPlan);
}

int CParseSql::ParseUse(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan) {
    lpPlan->m_nType = PLAN_USE;
    stu_KestroWordArray stWords;
    if (const int nCode = Parse(lpszSql, nPos, &stWords)) return nCode;
    const CSqlWordReader stReader(*this, stWords);
    if (stReader.Num() != 1) return Fail(ERR_SYNTAX_USE, 0);
    DATABASEBSON* lpDatabase = nullptr;
    UINT nOffset = 0;
    if (const int nCode = m_stBson.AllocFromBsonBuffer(lpDatabase, nOffset)) return nCode;
    lpPlan->m_nCommandOffset = nOffset;
    char szName[KESTRO_NAME_SIZE];
    if (CopyDatabaseNameFromSql(stReader.Text(0), stReader.Len(0), szName) == NAME_BAD) return Fail(ERR_SYNTAX_USE, 1);
    // The longest name fills its field and has no terminator.
    static_assert(sizeof lpDatabase->m_pDatabaseName == KESTRO_NAME_SIZE - 1);
    std::memcpy(lpDatabase->m_pDatabaseName, szName, std::strlen(szName));
    return ClosePlan(lpPlan);
}
