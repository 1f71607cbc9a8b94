// What INSERT, UPDATE and DELETE have in common: a text as its words, a value's expression, and the query that selects
// the rows of UPDATE and DELETE.

#include "ParseSqlRows.h"

#include <cstring>

#include "BaseExpression.h"
#include "ParseExpressionManager.h"

int CParseSql::ParseText(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan, PARSEWORDS pParse) {
    stu_KestroWordArray stWords;
    if (const int nCode = Parse(lpszSql, nPos, &stWords)) return nCode;
    if (const int nCode = (this->*pParse)(&stWords, 0, stWords.m_nNum, lpPlan)) return nCode;
    return ClosePlan(lpPlan);
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

// A query of its own, so that qualifiers find the objects.
int CParseSql::ParseRowObjects(int nBegin, int nEnd, ROWSELECTION& stRows) {
    QUERYBLOCK& stBlock = stRows.m_stBlock;
    stBlock.m_arClause[CLAUSE_FROM] = {nBegin, nBegin, nEnd};
    if (const int nCode = EnterQuery()) return Fail(nCode, nBegin);
    if (const int nCode = BeginBlock(stBlock)) return nCode;
    return ParseFrom(stBlock);
}

int CParseSql::ParseRowCondition(int nWhere, ROWSELECTION& stRows) {
    QUERYBLOCK& stBlock = stRows.m_stBlock;
    const int nEnd = stBlock.m_lpWords->m_nNum;
    if (nWhere < nEnd) {
        stBlock.m_arClause[CLAUSE_WHERE] = {nWhere, nWhere + 1, nEnd};
        if (const int nCode = ParseWhere(stBlock)) return nCode;
    }
    if (const int nCode = JoinConditions(stBlock)) return nCode;
    LeaveQuery();
    return ERR_OK;
}
