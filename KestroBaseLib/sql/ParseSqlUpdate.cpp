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
    if (!stReader.Has(nSet)) return Fail(ERR_SYNTAX_UPDATE, nSet);
    const int nWhere = stReader.Find(KW_WHERE, nSet + 1, stReader.Num());
    ROWSELECTION stRows{ERR_SYNTAX_UPDATE};
    if (const int nCode = ParseRowObjects(lpWords, nBegin, nSet, stRows)) return nCode;
    stUpdate.m_stExecuteObject.m_nObjectOffset = stRows.m_nObjectOffset;
    if (const int nCode = ParseUpdateField(lpWords, nSet + 1, nWhere, stUpdate)) return nCode;
    if (const int nCode = ParseRowCondition(lpWords, nWhere, stRows)) return nCode;
    stUpdate.m_nQueryPlanOffset = stRows.m_nQueryOffset;
    return ERR_OK;
}

int CParseSql::ParseUpdateField(stu_KestroWordArray* lpWords, int nBegin, int nEnd, UPDATEEXECUTEPLANBSON& stUpdate) {
    const CSqlWordReader stReader(*this, *lpWords);
    EXECUTEFIELDBSON* lpLast = nullptr;
    for (int nWord = nBegin;; ++nWord) {
        const int nItemEnd = stReader.Find(WORD_COMMA, nWord, nEnd);
        EXECUTEFIELDBSON* lpField = nullptr;
        UINT nOffset = 0, nValue = 0;
        BYTE bClass = EXPCLASS_NONE;
        if (nWord == nItemEnd) return Fail(ERR_SYNTAX_UPDATE, nWord);
        if (const int nCode = m_stBson.AllocFromBsonBuffer(lpField, nOffset)) return nCode;
        if (const int nCode = ParseUpdateName(lpWords, nWord, *lpField)) return nCode;
        if (stReader.Keyword(nWord) != WORD_EQUAL || nWord >= nItemEnd) return Fail(ERR_SYNTAX_UPDATE, nWord);
        if (++nWord == nItemEnd) return Fail(ERR_SYNTAX_UPDATE, nWord);
        if (IsJsonModification(stReader.Keyword(nWord))) return Fail(ERR_NOT_DEVELOPED, nWord);
        if (const int nCode = ParseValue(lpWords, nWord, nItemEnd, nValue, bClass)) return nCode;
        lpField->m_bExpressionType = bClass;
        lpField->m_nExpOffset = nValue;
        if (lpLast)
            lpLast->m_nNextOffset = nOffset;
        else
            stUpdate.m_nExecuteFieldOffset = nOffset;
        lpLast = lpField;
        ++stUpdate.m_nExecuteFieldNum;
        nWord = nItemEnd;
        if (nWord >= nEnd) return ERR_OK;
    }
}

/** The column at `nWord`, with or without a qualifier; `nWord` is behind it then. */
int CParseSql::ParseUpdateName(stu_KestroWordArray* lpWords, int& nWord, EXECUTEFIELDBSON& stField) {
    const CSqlWordReader stReader(*this, *lpWords);
    char szQualifier[2][KESTRO_NAME_SIZE] = {}; // database, object
    for (; stReader.Keyword(nWord + 1) == WORD_POINT; nWord += 2) {
        if (*szQualifier[0]) return Fail(ERR_SYNTAX_UPDATE, nWord);
        std::memcpy(szQualifier[0], szQualifier[1], KESTRO_NAME_SIZE);
        if (CopyNameFromSql(stReader.Text(nWord), stReader.Len(nWord), szQualifier[1]) == NAME_BAD)
            return Fail(ERR_EXPECT_TABLE_NAME, nWord);
    }
    if (stReader.Keyword(nWord) == WORD_DOLLAR) return Fail(ERR_NOT_DEVELOPED, nWord);
    char szName[KESTRO_NAME_SIZE];
    UINT nText = 0;
    if (*szQualifier[1]) stField.m_bObjectNo = FindObject(szQualifier[0], szQualifier[1], 0);
    if (*szQualifier[1] && stField.m_bObjectNo == 0) return Fail(ERR_EXPECT_TABLE_NAME, nWord - 2);
    if (CopyNameFromSql(stReader.Text(nWord), stReader.Len(nWord), szName) == NAME_BAD)
        return Fail(ERR_EXPECT_TABLE_NAME, nWord);
    const int nCode = AddText(szName, nText);
    stField.m_nExpNameOffset = nText;
    stField.m_bNameLen = static_cast<BYTE>(std::strlen(szName));
    ++nWord;
    return nCode;
}
