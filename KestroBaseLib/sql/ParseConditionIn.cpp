// The right side of IN: a subquery, or a list of expressions, of which those that are constant are worked out here.

#include <cstddef>
#include <cstring>

#include "BaseExpression.h"
#include "ParseConditionManager.h"
#include "ParseSql.h"
#include "PlanOperators.h"

int CParseConditionManager::ParseInCondition(st_PARSEPARAM* lpParam) {
    st_PARSEPARAM& stParam = *lpParam;
    if (stParam.m_nBeginPos < stParam.m_nEndPos && Keyword(stParam.m_nBeginPos) == KW_SELECT)
        return ParseInSubQuery(stParam);
    UINT nEntries = 1;
    int nDepth = 0;
    for (int i = stParam.m_nBeginPos; i < stParam.m_nEndPos; ++i) {
        const int nKeyword = Keyword(i);
        nDepth += (nKeyword == WORD_PAREN_OPEN) - (nKeyword == WORD_PAREN_CLOSE);
        if (nDepth < 0) return Fail(ERR_SELECT_CONDITION, i);
        nEntries += nDepth == 0 && nKeyword == WORD_COMMA;
    }
    if (nDepth != 0) return Fail(ERR_SELECT_CONDITION, stParam.m_nEndPos);
    return ParseInList(stParam, nEntries);
}

int CParseConditionManager::ParseInList(st_PARSEPARAM& stParam, UINT nEntries) {
    LPBYTE lpBytes = nullptr;
    UINT nOffset = 0;
    const UINT nTail = (nEntries - 1) * static_cast<UINT>(sizeof(UINT));
    if (const int nCode = m_pBson->AllocFromBsonBuffer(sizeof(INCONDITIONBSON) + nTail, nOffset, lpBytes)) return nCode;
    if (const int nCode = PushEntry(m_queCompareQueue, nOffset)) return nCode;
    auto& stIn = *reinterpret_cast<INCONDITIONBSON*>(lpBytes);
    stIn.m_nDataNum = nEntries;

    const int nEnd = stParam.m_nEndPos;
    bool bConstant = true;
    st_PARSEPARAM stEntry = stParam;
    stEntry.m_bCondition = 0;
    for (UINT i = 0; i < nEntries; ++i) {
        stEntry.m_nEndPos = FindWord(WORD_COMMA, stEntry.m_nBeginPos, nEnd);
        const int nNext = stEntry.m_nEndPos + 1;
        UINT nEntry = 0;
        if (const int nCode = ParseInEntry(stEntry, nEntry, bConstant)) return nCode;
        std::memcpy(lpBytes + offsetof(INCONDITIONBSON, m_nExpressionOffset) + i * sizeof nEntry, &nEntry,
                    sizeof nEntry);
        if (stEntry.m_bAggreFun) stParam.m_bAggreFun = 1;
        stEntry.m_nBeginPos = nNext;
    }
    stIn.m_bType = bConstant ? IN_CONSTANTS : IN_LIST;
    return ERR_OK;
}

int CParseConditionManager::ParseInEntry(st_PARSEPARAM& stEntry, UINT& nOffset, bool& bConstant) {
    const int nBegin = stEntry.m_nBeginPos;
    if (nBegin == stEntry.m_nEndPos) return Fail(ERR_EXPECT_EXPRESSION, nBegin);
    CParseExpressionManager stExpression;
    stExpression.Initial(m_pBson, m_lpWordArray, m_pParseSql);
    stExpression.SetGroupByOffset(m_nGroupByOffset);
    if (const int nCode = stExpression.ParseMathExpression(&stEntry)) return Fail(nCode, stExpression.GetSqlErrorPos());
    if (stEntry.m_bAggreFun && !stEntry.m_bHaving) return Fail(ERR_EXPECT_EXPRESSION, nBegin);
    nOffset = stExpression.GetExpressionOffset();
    const int nCode = FoldInEntry(nOffset, bConstant);
    return nCode == ERR_OK ? ERR_OK : Fail(nCode, nBegin);
}

/** A constant entry becomes a literal; what isn't computed here, or has no such form, stays and ends `bConstant`. */
int CParseConditionManager::FoldInEntry(UINT nOffset, bool& bConstant) {
    const bool bFoldable =
        ClassOfTree(*m_pBson, nOffset) == EXPCLASS_CONSTANT && !CBaseExpression::HoldsParameter(m_pBson, nOffset);
    int nCode = ERR_FUNCTION_TYPE;
    UINT nLiteral = 0;
    auto& stRoot = Record<st_MATHEXPBSON>(nOffset);
    if (bFoldable) {
        st_VARDATA stValue;
        nCode = CBaseExpression::GetExpressionResult(m_pBson, &stRoot, stValue);
        if (nCode == ERR_OK) nCode = WriteFolded(stValue, nLiteral);
    }
    if (nCode == ERR_FUNCTION_TYPE || nCode == ERR_DATA_TYPE) {
        bConstant = false;
        return ERR_OK;
    }
    if (nCode != ERR_OK) return nCode;
    stRoot = st_MATHEXPBSON{};
    stRoot.m_bExpressionType1 = EXP_ELEMENT;
    stRoot.m_bExpressionType2 = EXP_NONE;
    stRoot.m_nExpOffset1 = nLiteral;
    return ERR_OK;
}

int CParseConditionManager::ParseInSubQuery(const st_PARSEPARAM& stParam) {
    INCONDITIONBSON* lpIn = nullptr;
    UINT nOffset = 0;
    if (const int nCode = m_pBson->AllocFromBsonBuffer(lpIn, nOffset)) return nCode;
    if (const int nCode = PushEntry(m_queCompareQueue, nOffset)) return nCode;
    lpIn->m_bType = IN_SUBQUERY;
    const int nQuantifier = Keyword(stParam.m_nBeginPos - 2);
    const BYTE bKind = nQuantifier == KW_ANY ? SUBQUERY_ANY : nQuantifier == KW_ALL ? SUBQUERY_ALL : SUBQUERY_PLAIN;
    UINT nQuery = 0;
    if (const int nCode = ParseSubQuery(stParam.m_nBeginPos, stParam.m_nEndPos, bKind, nQuery)) return nCode;
    std::memcpy(reinterpret_cast<LPBYTE>(lpIn) + offsetof(INCONDITIONBSON, m_nExpressionOffset), &nQuery,
                sizeof nQuery);
    return ERR_OK;
}
