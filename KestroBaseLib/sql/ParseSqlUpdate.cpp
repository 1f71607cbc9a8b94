// UPDATE objects SET column = value, ... [WHERE condition]. A column may have a qualifier. The rows are selected by a
// query of their own, which is that of a SELECT without fields.

#include <cstring>

#include "CommonDataDef.h"
#include "ParseSqlRows.h"
#include "SqlWordReader.h"

namespace {

bool IsJsonModification(int nKeyword) {
    return nKeyword == KW_JSON_INSERT || nKeyword == KW_JSON_REPLACE || nKeyword == KW_JSON_SET;
}

} // namespace

int CParseSql::ParseUpdate(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan) {
    return ParseText(lpszSql, nPos, lpPlan, &CParseSql::ParseUpdate);
}

int CParseSql::ParseUpdate(stu_KestroWordArray* lpWords, int nBegin, int nEnd, EXECUTEPLANBSON* lpPlan) {
    stu_KestroWordArray stWords = SqlWordsUpTo(*lpWords, nEnd);
    const int nKind = GetKeyword(&stWords, nBegin);
    if ((nKind == KW_NODE || nKind == KW_RELATION) && GetKeyword(&stWords, nBegin + 1) != KW_SET)
        return Fail(ERR_NOT_DEVELOPED, nBegin);
    UPDATEEXECUTEPLANBSON* lpUpdate = nullptr;
    UINT nOffset = 0;
    if (const int nCode = m_stBson.AllocFromBsonBuffer(lpUpdate, nOffset)) return nCode;
    lpPlan->m_nCommandOffset = nOffset;
    return ParseCommonUpdate(&stWords, nBegin, *lpUpdate);
}

int CParseSql::ParseCommonUpdate(stu_KestroWordArray* lpWords, int nBegin, UPDATEEXECUTEPLANBSON& stUpdate) {
    const CSqlWordReader stReader(*this, *lpWords);
    const int nSet = stReader.Find(KW_SET, nBegin, stReader.Num());
    if (!stReader.Has(nSet) || nSet == nBegin) return Fail(ERR_SYNTAX_UPDATE, nSet);
    const int nWhere = stReader.Find(KW_WHERE, nSet + 1, stReader.Num());
    ROWSELECTION stRows(lpWords);
    if (const int nCode = ParseRowObjects(nBegin, nSet, stRows)) return nCode;
    stUpdate.m_stExecuteObject.m_nObjectOffset = stRows.m_stBlock.m_nObjectOffset;
    if (const int nCode = ParseUpdateField(lpWords, nSet + 1, nWhere, stUpdate)) return nCode;
    stUpdate.m_nQueryPlanOffset = stRows.m_stBlock.m_nOffset;
    return ParseRowCondition(nWhere, stRows);
}

int CParseSql::ParseUpdateField(stu_KestroWordArray* lpWords, int nBegin, int nEnd, UPDATEEXECUTEPLANBSON& stUpdate) {
    const CSqlWordReader stReader(*this, *lpWords);
    UINT nFirst = 0, nNum = 0, nOffset = 0;
    CFieldChain stChain(m_stBson, nFirst, nNum);
    for (int nWord = nBegin;; ++nWord) {
        const int nItemEnd = stReader.Find(WORD_COMMA, nWord, nEnd);
        EXECUTEFIELDBSON* lpField = nullptr;
        if (nWord == nItemEnd) return Fail(ERR_SYNTAX_UPDATE, nWord);
        if (const int nCode = stChain.Append(lpField, nOffset)) return nCode;
        if (const int nCode = ParseUpdateName(lpWords, nWord, *lpField)) return nCode;
        if (nWord + 1 >= nItemEnd || stReader.Keyword(nWord) != WORD_EQUAL) return Fail(ERR_SYNTAX_UPDATE, nWord);
        if (IsJsonModification(stReader.Keyword(++nWord))) return Fail(ERR_NOT_DEVELOPED, nWord);
        UINT nValue = 0;
        if (const int nCode = ParseValue(lpWords, nWord, nItemEnd, nValue, lpField->m_bExpressionType)) return nCode;
        lpField->m_nExpOffset = nValue;
        nWord = nItemEnd;
        if (nWord < nEnd) continue;
        stUpdate.m_nExecuteFieldOffset = nFirst;
        stUpdate.m_nExecuteFieldNum = nNum;
        return ERR_OK;
    }
}

/** The column at `nWord`, with or without a qualifier; `nWord` is behind it then. */
int CParseSql::ParseUpdateName(stu_KestroWordArray* lpWords, int& nWord, EXECUTEFIELDBSON& stField) {
    const CSqlWordReader stReader(*this, *lpWords);
    const int nFirst = nWord;
    char szName[3][KESTRO_NAME_SIZE] = {}; // database, object, column; the column is always there
    for (bool bMore = true; bMore; nWord += bMore ? 2 : 1) {
        if (stReader.Keyword(nWord) == WORD_DOLLAR) return Fail(ERR_NOT_DEVELOPED, nWord);
        if (*szName[0]) return Fail(ERR_SYNTAX_UPDATE, nWord);
        std::memmove(szName[0], szName[1], 2 * KESTRO_NAME_SIZE);
        if (CopyNameFromSql(stReader.Text(nWord), stReader.Len(nWord), szName[2]) == NAME_BAD)
            return Fail(ERR_EXPECT_TABLE_NAME, nWord);
        bMore = stReader.Keyword(nWord + 1) == WORD_POINT;
    }
    if (*szName[1]) stField.m_bObjectNo = FindObject(szName[0], szName[1], 0);
    if (*szName[1] && stField.m_bObjectNo == 0) return Fail(ERR_EXPECT_TABLE_NAME, nFirst);
    UINT nText = 0;
    stField.m_bNameLen = static_cast<BYTE>(std::strlen(szName[2]));
    const int nCode = CopyToPlan(szName[2], stField.m_bNameLen, nText);
    stField.m_nExpNameOffset = nText;
    return nCode;
}
