// DELETE FROM objects [WHERE condition]. The rows are selected by a query of their own, as those of an UPDATE.

#include "ParseSqlRows.h"
#include "SqlWordReader.h"

int CParseSql::ParseDelete(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan) {
    return ParseText(lpszSql, nPos, lpPlan, &CParseSql::ParseDelete);
}

int CParseSql::ParseDelete(stu_KestroWordArray* lpWords, int nBegin, int nEnd, EXECUTEPLANBSON* lpPlan) {
    stu_KestroWordArray stWords = SqlWordsUpTo(*lpWords, nEnd);
    const int nKind = GetKeyword(&stWords, nBegin);
    if (nKind == KW_NODE || nKind == KW_RELATION) return Fail(ERR_NOT_DEVELOPED, nBegin);
    if (nKind != KW_FROM) return Fail(ERR_SYNTAX_DELETE, nBegin);
    DELETEEXECUTEPLANBSON* lpDelete = nullptr;
    UINT nOffset = 0;
    if (const int nCode = m_stBson.AllocFromBsonBuffer(lpDelete, nOffset)) return nCode;
    lpPlan->m_nCommandOffset = nOffset;
    return ParseCommonDelete(&stWords, nBegin + 1, *lpDelete);
}

int CParseSql::ParseCommonDelete(stu_KestroWordArray* lpWords, int nBegin, DELETEEXECUTEPLANBSON& stDelete) {
    const CSqlWordReader stReader(*this, *lpWords);
    const int nWhere = stReader.Find(KW_WHERE, nBegin, stReader.Num());
    if (nWhere == nBegin) return Fail(ERR_SYNTAX_DELETE, nBegin);
    ROWSELECTION stRows(lpWords);
    if (const int nCode = ParseRowObjects(nBegin, nWhere, stRows)) return nCode;
    stDelete.m_stExecuteObject.m_nObjectOffset = stRows.m_stBlock.m_nObjectOffset;
    stDelete.m_nQueryPlanOffset = stRows.m_stBlock.m_nOffset;
    return ParseRowCondition(nWhere, stRows);
}
