// SELECT as a whole: its words, the set operations UNION, INTERSECT, MINUS and EXCEPT, and how the queries of one are
// chained. What a single query holds is ParseSqlQueryBlock.cpp's.
//
//     query [UNION [ALL] | INTERSECT | MINUS | EXCEPT query] ...        a query in brackets or not

#include "ParseSqlQuery.h"

#include <algorithm>

#include "ParseDepth.h"

namespace {

/** `m_bUnionType` of a set operator; 0 for another word. */
BYTE SetOperator(int nKeyword) {
    switch (nKeyword) {
        case KW_UNION:
            return UNION_DISTINCT;
        case KW_INTERSECT:
            return UNION_INTERSECT;
        case KW_MINUS:
        case KW_EXCEPT:
            return UNION_MINUS;
        default:
            return 0;
    }
}

/** The first set operator outside of all brackets, the word of an unmatched ")", or the end; `nDepth` is that there. */
int FindSetOperator(const CSqlWordReader& stReader, int nBegin, int nEnd, int& nDepth) {
    nDepth = 0;
    for (int i = nBegin; i < nEnd; ++i) {
        const int nKeyword = stReader.Keyword(i);
        nDepth += (nKeyword == WORD_PAREN_OPEN) - (nKeyword == WORD_PAREN_CLOSE);
        if (nDepth < 0 || (nDepth == 0 && SetOperator(nKeyword) != 0)) return i;
    }
    return nEnd;
}

bool BeginsQuery(int nKeyword) {
    return nKeyword == KW_SELECT || nKeyword == WORD_PAREN_OPEN;
}

template <typename T>
void TurnToFront(T* arElement, int nOld, int nNum) {
    std::rotate(arElement, arElement + nOld, arElement + nNum);
}

} // namespace

int CParseSql::ParseQuery(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan, int nPageStart, int nPageSize,
                          int nParens) {
    stu_KestroWordArray stWords;
    if (const int nCode = Parse(lpszSql, nPos, &stWords)) return nCode;
    if (nParens > 0)
        if (const int nCode = InsertHead(nParens, &stWords)) return nCode;
    st_PARSEPARAM stParam;
    stParam.m_nEndPos = stParam.m_nQueryEnd = stWords.m_nNum;
    int bLockOption = 0;
    BYTE bExecuteParam = lpPlan->m_bExecuteParam;
    long long llTimestamp = lpPlan->m_nTimestamp;
    UINT nOffset = 0;
    if (const int nCode = ParseCommonQuery(&stWords, &stParam, bLockOption, bExecuteParam, nOffset, llTimestamp,
                                           nPageStart, nPageSize))
        return nCode;
    lpPlan->m_nCommandOffset = nOffset;
    lpPlan->m_bExecuteParam = bExecuteParam;
    lpPlan->m_nTimestamp = llTimestamp;
    if (bLockOption || bExecuteParam != FOR_UPDATE_NONE) lpPlan->m_bWriteLog = 1;
    lpPlan->m_bObjectMapNum = static_cast<BYTE>(m_nObjectNum);
    return ClosePlan(lpPlan);
}

/**
 * Puts the "(" and the SELECT that were read with the head back in front. Without brackets there SELECT stays out of
 * the words. They are appended and turned to the front in one go, for any number.
 */
int CParseSql::InsertHead(int nParens, stu_KestroWordArray* lpWords) {
    const int nOld = lpWords->m_nNum;
    for (int i = 0; i < nParens; ++i)
        if (const int nCode = AddWord("(", 0, 1, 0, lpWords)) return nCode;
    if (const int nCode = AddWord("SELECT", 0, 6, 0, lpWords)) return nCode;
    TurnToFront(lpWords->m_arWord, nOld, lpWords->m_nNum);
    TurnToFront(lpWords->m_arPos, nOld, lpWords->m_nNum);
    TurnToFront(lpWords->m_arWordLen, nOld, lpWords->m_nNum);
    return ERR_OK;
}

int CParseSql::ParseCommonQuery(stu_KestroWordArray* lpWords, st_PARSEPARAM* lpParam, int& bLockOption,
                                BYTE& bExecuteParam, UINT& nOffset, long long& llTimestamp, int nPageStart,
                                int nPageSize) {
    const CParseDepth stDepth;
    if (stDepth.IsTooDeep()) return Fail(ERR_NESTED_QUERY, lpParam->m_nBeginPos);
    const CSqlWordReader stReader(*this, *lpWords);
    st_PARSEPARAM stParam = *lpParam;
    stReader.RemoveOuterBrackets(stParam);
    const bool bBracket = stParam.m_nBeginPos != lpParam->m_nBeginPos;
    if (bBracket && !BeginsQuery(stReader.Keyword(stParam.m_nBeginPos)))
        return Fail(ERR_SYNTAX_SELECT, stParam.m_nBeginPos);

    const int nEnd = stParam.m_nEndPos;
    int nDepth = 0;
    int nWord = FindSetOperator(stReader, stParam.m_nBeginPos, nEnd, nDepth);
    if (nDepth != 0) return Fail(ERR_SYNTAX_SELECT, nWord);
    if (nWord == nEnd)
        return ParseSingleQuery(lpWords, &stParam, bLockOption, bExecuteParam, nOffset, llTimestamp, nPageStart,
                                nPageSize);
    // The queries form one chain, in the order of the words: what is in brackets and what isn't reads alike in it. A
    // page is that of a whole statement, so the queries have none.
    UINT nLast = 0;
    for (BYTE bUnionType = 0;;) {
        stParam.m_nEndPos = nWord;
        UINT nQuery = 0;
        if (const int nCode =
                ParseCommonQuery(lpWords, &stParam, bLockOption, bExecuteParam, nQuery, llTimestamp, 0, 0))
            return nCode;
        if (bUnionType == 0)
            nOffset = nLast = nQuery;
        else if (const int nCode = ChainQuery(bUnionType, nQuery, nLast))
            return nCode;
        if (nWord == nEnd) return ERR_OK;

        bUnionType = SetOperator(stReader.Keyword(nWord));
        if (bUnionType == UNION_DISTINCT && stReader.Keyword(nWord + 1) == KW_ALL) {
            bUnionType = UNION_ALL;
            ++nWord;
        }
        stParam.m_nBeginPos = nWord + 1;
        if (stParam.m_nBeginPos >= nEnd) return Fail(ERR_SYNTAX_SELECT, nWord);
        if (!BeginsQuery(stReader.Keyword(stParam.m_nBeginPos))) return Fail(ERR_SYNTAX_SELECT, stParam.m_nBeginPos);
        nWord = FindSetOperator(stReader, stParam.m_nBeginPos, nEnd, nDepth);
        if (nDepth != 0) return Fail(ERR_SYNTAX_SELECT, nWord);
    }
}

/** Chains a query, which may head a chain of its own, behind the last one of the chain that `nLast` leads to. */
int CParseSql::ChainQuery(BYTE bUnionType, UINT nQuery, UINT& nLast) {
    const auto Query = [&](UINT nAt) {
        return reinterpret_cast<QUERYEXECUTEPLANBSON*>(m_stBson.ConvertOffset2Addr(nAt));
    };
    QUERYEXECUTEPLANBSON* lpLast = Query(nLast);
    while (lpLast->m_nUnionOffset != 0) {
        const auto* const lpNext = reinterpret_cast<UNIONINFO*>(m_stBson.ConvertOffset2Addr(lpLast->m_nUnionOffset));
        lpLast = Query(lpNext->m_nQueryPlanOffset);
    }
    UNIONINFO* lpUnion = nullptr;
    UINT nOffset = 0;
    if (const int nCode = m_stBson.AllocFromBsonBuffer(lpUnion, nOffset)) return nCode;
    lpUnion->m_bUnionType = bUnionType;
    lpUnion->m_nQueryPlanOffset = nQuery;
    lpLast->m_nUnionOffset = nOffset;
    nLast = nQuery;
    return ERR_OK;
}
