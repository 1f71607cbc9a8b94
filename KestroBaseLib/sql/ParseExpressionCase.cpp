// CASE WHEN condition THEN result [WHEN ...] [ELSE result] END: a record for each branch. No word of the grammar leads
// here yet, CASE is a plain name to it: only who calls the function by its code gets this.

#include <climits>
#include <cstring>

#include "ParseConditionManager.h"
#include "ParseExpressionCall.h"
#include "PlanOperators.h"

/** The next WHEN, THEN, ELSE or END outside of brackets; `nEnd` without one. */
int CParseExpressionManager::FindCaseWord(int nPos, int nEnd) const {
    for (int nDepth = 0; nPos < nEnd; ++nPos) {
        const int nKeyword = Keyword(nPos);
        nDepth += (nKeyword == WORD_PAREN_OPEN) - (nKeyword == WORD_PAREN_CLOSE);
        if (nDepth == 0 && (nKeyword == KW_WHEN || nKeyword == KW_THEN || nKeyword == KW_ELSE || nKeyword == KW_END))
            break;
    }
    return nPos;
}

int CParseExpressionManager::ParseCaseWhen(CALL& stCall) {
    const int nEnd = stCall.m_stParam.m_nEndPos;
    const auto Word = [&](int nPos) { return nPos < nEnd ? Keyword(nPos) : static_cast<int>(WORD_NONE); };
    Push(stCall.m_nName);
    int nNum = 0;
    int nWord = stCall.m_nName + 1;
    while (nNum == 0 || Word(nWord) != KW_END) {
        const bool bElse = nNum > 0 && Word(nWord) == KW_ELSE;
        if (!bElse && Word(nWord) != KW_WHEN) return Fail(ERR_EXPECT_FUNCTION, nWord);
        const int nThen = bElse ? nWord : FindCaseWord(nWord + 1, nEnd);
        if (!bElse && Word(nThen) != KW_THEN) return Fail(ERR_EXPECT_FUNCTION, nThen);
        const int nNext = FindCaseWord(nThen + 1, nEnd);
        const bool bFollows = Word(nNext) == KW_END || (!bElse && (Word(nNext) == KW_WHEN || Word(nNext) == KW_ELSE));
        if (!bFollows || nNum == UCHAR_MAX) return Fail(ERR_EXPECT_FUNCTION, nNext);
        if (const int nCode = ParseBranch(stCall, nWord, nThen, nNext)) return nCode;
        ++nNum;
        nWord = nNext;
    }
    stCall.m_nClose = nWord;
    return CloseCall(stCall, FN_CASE, nNum);
}

/** The branch from WHEN at `nWhen`, or from ELSE, which stands in place of THEN as well. */
int CParseExpressionManager::ParseBranch(CALL& stCall, int nWhen, int nThen, int nEnd) {
    UINT nCondition = 0;
    Push(nWhen);
    if (nWhen != nThen) {
        CParseConditionManager stCondition;
        stCondition.Initial(m_pBson, m_lpWordArray, m_pParseSql);
        st_PARSEPARAM stParam = stCall.m_stParam;
        stParam.m_nBeginPos = nWhen + 1;
        stParam.m_nEndPos = nThen;
        if (const int nCode = stCondition.ParseCondition(&stParam)) return Fail(nCode, stCondition.GetSqlErrorPos());
        if (stParam.m_bAggreFun) stCall.m_stParam.m_bAggreFun = 1;
        nCondition = stCondition.GetConditionOffset();
        Push(stCondition.GetExpressionString(), static_cast<int>(std::strlen(stCondition.GetExpressionString())));
        Push(nThen);
    }
    CParseExpressionManager stResult;
    if (const int nCode = ParseArgumentTree(stCall, nThen + 1, nEnd, stResult)) return nCode;
    CASEWHENEXPRESSION* lpBranch = nullptr;
    UINT nOffset = 0;
    if (const int nCode = m_pBson->AllocFromBsonBuffer(lpBranch, nOffset)) return nCode;
    lpBranch->m_nWhenOffset = nCondition;
    lpBranch->m_nThenOffset = stResult.m_nExpressionOffset;
    return PushOperand(MIXNODE_EXPRESSION, nOffset);
}
