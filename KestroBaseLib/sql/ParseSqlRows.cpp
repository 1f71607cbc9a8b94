// What INSERT, UPDATE and DELETE have in common: a text as its words, a value's expression, and the query that selects
// the rows of UPDATE and DELETE.

#include "ParseSqlRows.h"

#include <cstring>

#include "BaseExpression.h"
#include "ParseConditionManager.h"
#include "ParseSqlJoin.h"

namespace {

/** Whether each object has a bit of its own in the sets of a join tree; objects 64 apart share one. */
bool HasDistinctBits(CBaseBson& stBson, UINT nObjectOffset) {
    relbitmap nAll = 0;
    while (nObjectOffset != 0) {
        const auto* const lpObject = reinterpret_cast<OBJECTBSON*>(stBson.ConvertOffset2Addr(nObjectOffset));
        relbitmap nOne = 0;
        AddRel(lpObject->m_bObjectNo, nOne);
        if (BmsOverlap(nAll, nOne)) return false;
        nAll |= nOne;
        nObjectOffset = lpObject->m_nNextOffset;
    }
    return true;
}

} // namespace

int CParseSql::ParseText(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan, PARSEWORDS pParse) {
    stu_KestroWordArray stWords;
    if (const int nCode = Parse(lpszSql, nPos, &stWords)) return nCode;
    if (const int nCode = (this->*pParse)(&stWords, 0, stWords.m_nNum, lpPlan)) return nCode;
    return ClosePlan(lpPlan);
}

int CParseSql::AddText(const char* lpszText, UINT& nOffset) {
    const std::size_t nSize = std::strlen(lpszText) + 1;
    LPBYTE lpText = nullptr;
    if (const int nCode = m_stBson.AllocFromBsonBuffer(static_cast<UINT>(nSize), nOffset, lpText)) return nCode;
    std::memcpy(lpText, lpszText, nSize);
    return ERR_OK;
}

int CParseSql::ParseValue(stu_KestroWordArray* lpWords, int nBegin, int nEnd, UINT& nOffset, BYTE& bClass) {
    CParseExpressionManager stExpression;
    stExpression.Initial(&m_stBson, lpWords, this);
    st_PARSEPARAM stParam;
    stParam.m_nBeginPos = nBegin;
    stParam.m_nEndPos = stParam.m_nQueryEnd = nEnd;
    if (const int nCode = stExpression.ParseMathExpression(&stParam)) return Fail(nCode, stExpression.GetSqlErrorPos());
    nOffset = stExpression.GetExpressionOffset();
    bClass = CBaseExpression::GetExpressionType(&m_stBson, nOffset);
    return ERR_OK;
}

// The objects belong to a query of their own, so that qualifiers find them.
int CParseSql::ParseRowObjects(stu_KestroWordArray* lpWords, int nBegin, int nEnd, ROWSELECTION& stRows) {
    if (nBegin >= nEnd) return Fail(stRows.m_nError, nBegin);
    if (const int nCode = EnterQuery()) return Fail(nCode, nBegin);
    st_PARSEPARAM stParam;
    stParam.m_nBeginPos = nBegin;
    stParam.m_nEndPos = stParam.m_nQueryEnd = nEnd;
    return ParseExecuteObject(lpWords, &stParam, stRows.m_nObjectNum, stRows.m_nObjectOffset, stRows.m_nInnerOn,
                              stRows.m_nOuterOn, stRows.m_nJoinTree, 0);
}

/** The query record; the condition stands behind WHERE at `nWhere`, which is the last word's successor without one. */
int CParseSql::ParseRowCondition(stu_KestroWordArray* lpWords, int nWhere, ROWSELECTION& stRows) {
    QUERYEXECUTEPLANBSON* lpQuery = nullptr;
    COMMONCONDITION* lpCondition = nullptr;
    UINT nOffset = 0, nRoot = 0;
    if (const int nCode = m_stBson.AllocFromBsonBuffer(lpQuery, stRows.m_nQueryOffset)) return nCode;
    if (const int nCode = m_stBson.AllocFromBsonBuffer(lpCondition, nOffset)) return nCode;
    lpQuery->m_bQueryID = GetQueryID();
    lpQuery->m_bQueryLevel = GetQueryLevel();
    lpQuery->m_nObjectNum = stRows.m_nObjectNum;
    lpQuery->m_nObjectOffset = stRows.m_nObjectOffset;
    lpQuery->m_nConditionOffset = nOffset;
    if (nWhere < lpWords->m_nNum) {
        int nVarNum = 0;
        const int nEnd = lpWords->m_nNum;
        if (const int nCode = ParseConditionRange(lpWords, st_PARSEPARAM(), nWhere + 1, nEnd, nRoot, nVarNum))
            return nCode;
        lpQuery->m_nConditionFieldNum = static_cast<UINT>(nVarNum);
    }
    if (const int nCode = JoinRows(nRoot, stRows)) return Fail(nCode, nWhere);
    if (const int nCode = JoinConditions(nRoot, stRows, *lpCondition)) return nCode;
    lpQuery->m_nQueryPathOffset = stRows.m_nJoinTree;
    LeaveQuery();
    return ERR_OK;
}

/** The join tree of the objects: that of the list, or that of the comparisons with a "(+)" in WHERE. */
int CParseSql::JoinRows(UINT nWhere, ROWSELECTION& stRows) {
    const bool bWritten = stRows.m_nJoinTree != 0;
    if (nWhere != 0) {
        CKestroQueueUINT stMoved;
        if (const int nCode = GetJoinTreeFromCondition(m_stBson, nWhere, stRows.m_nJoinTree, stMoved)) return nCode;
        // Joins are written in one way or the other.
        if (bWritten && !stMoved.empty()) return ERR_SYNTAX_SELECT;
        for (; !stMoved.empty(); stMoved.pop())
            if (const int nCode =
                    AddCondition(&m_stBson, CONDITION_NODE, stMoved.front(), LOGIC_AND, stRows.m_nOuterOn))
                return nCode;
    }
    if (stRows.m_nJoinTree == 0) return ERR_OK;
    if (!HasDistinctBits(m_stBson, stRows.m_nObjectOffset)) return ERR_OBJECT_NUMBER;
    return AddBaseRel2JoinTree(m_stBson, stRows.m_nObjectOffset, stRows.m_nJoinTree);
}

/** Conditions of inner joins count as those of WHERE; those of outer ones stand in front of it. */
int CParseSql::JoinConditions(UINT nWhere, const ROWSELECTION& stRows, COMMONCONDITION& stCondition) {
    if (stRows.m_nInnerOn != 0)
        if (const int nCode = AddCondition(&m_stBson, CONDITION_NODE, stRows.m_nInnerOn, LOGIC_AND, nWhere))
            return nCode;
    UINT nRoot = stRows.m_nOuterOn;
    if (nRoot != 0) stCondition.m_bJoin = nWhere == 0 ? WHERE_JOIN : WHERE_AND_JOIN;
    if (nWhere != 0)
        if (const int nCode = AddCondition(&m_stBson, CONDITION_NODE, nWhere, LOGIC_AND, nRoot)) return nCode;
    stCondition.m_nWhereOffset = nRoot;
    return ERR_OK;
}
