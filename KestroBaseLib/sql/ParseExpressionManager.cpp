// Expressions in operator precedence: the words of a range go through an operator stack into a postfix queue, which
// ParseExpressionFold.cpp makes a tree of. Brackets lie on the stack as marks and leave no trace, so they don't recurse
// here; calls do. Operands stand in ParseExpressionElement.cpp, calls in ParseExpressionFunction.cpp.

#include "ParseExpressionManager.h"

#include "ParseDepth.h"
#include "ParseSql.h"
#include "PlanOperators.h"

void CParseExpressionManager::Initial(CBaseBson* pBson, stu_KestroWordArray* lpWordArray, CParseSql* pParseSql) {
    m_pBson = pBson;
    m_lpWordArray = lpWordArray;
    m_pParseSql = pParseSql;
}

int CParseExpressionManager::ParseMathExpression(st_PARSEPARAM* lpParam) {
    if (const int nCode = ParseTree(lpParam)) return nCode;
    // Once for the whole, and not for each argument on the way.
    if (!lpParam->m_bAggreFun) return ERR_OK;
    const int nCode = CheckAgrreMixedExpression(m_nExpressionOffset);
    return nCode == ERR_OK ? ERR_OK : Fail(nCode, lpParam->m_nBeginPos);
}

int CParseExpressionManager::ParseTree(st_PARSEPARAM* lpParam) {
    st_PARSEPARAM& stParam = *lpParam;
    const int nBegin = stParam.m_nBeginPos, nEnd = stParam.m_nEndPos;
    stParam.m_bAggreFun = 0;
    if (nBegin == nEnd) return ERR_OK;
    const CParseDepth stDepth;
    if (nBegin > nEnd || nEnd > m_lpWordArray->m_nNum || stDepth.IsTooDeep())
        return Fail(ERR_EXPECT_EXPRESSION, nBegin);
    const int nFirst = Keyword(nBegin);
    if (nFirst == WORD_STAR && nBegin + 1 == nEnd) return ParseAllFields();
    // A literal alone, as nearly all values of rows are, needs neither stack nor queue.
    if (nBegin + 1 == nEnd && IsLiteral(nFirst)) {
        Push(nBegin);
        return ParseLoneLiteral(nBegin);
    }
    if (nFirst == WORD_PAREN_CLOSE || CheckValidOperator(nBegin, stParam.m_bCondition) == OPCLASS_BINARY)
        return Fail(ERR_EXPECT_EXPRESSION, nBegin);

    int nOpen = 0;
    for (int nPos = nBegin; nPos < nEnd; ++nPos)
        if (const int nCode = ParseWord(stParam, nPos, nOpen)) return nCode;
    if (nOpen != 0) return Fail(ERR_EXPECT_EXPRESSION, nEnd - 1);
    if (const int nCode = PopOperators(PRIORITY_NONE)) return nCode;
    const int nCode = CreateMathExpression();
    return nCode == ERR_OK ? ERR_OK : Fail(nCode, nEnd - 1);
}

int CParseExpressionManager::ParseLoneLiteral(int nPos) {
    st_PARSEPARAM stParam;
    stParam.m_nBeginPos = nPos;
    stParam.m_nEndPos = nPos + 1;
    UINT nLiteral = 0;
    if (const int nCode = ParseLiteral(stParam, nLiteral)) return nCode;
    return WrapOperand(EXP_ELEMENT, nLiteral);
}

/** The word at `nPos` and those that belong to it; `nPos` is the last of them then. */
int CParseExpressionManager::ParseWord(st_PARSEPARAM& stParam, int& nPos, int& nOpen) {
    const int nKeyword = Keyword(nPos);
    if (nKeyword == WORD_PAREN_CLOSE) {
        Push(nPos);
        --nOpen;
        const int nCode = PopToBracket();
        return nCode == ERR_OK ? ERR_OK : Fail(nCode, nPos);
    }
    if (nKeyword == WORD_PAREN_OPEN) return OpenBracket(stParam, nPos, nOpen);
    if (const BYTE bClass = CheckValidOperator(nPos, stParam.m_bCondition); bClass != OPCLASS_NONE)
        return ParseOperator(stParam, nPos, bClass);
    if (const BYTE bFunction = CheckValidFunction(nPos); bFunction != OP_NONE)
        return ParseCallOperand(stParam, bFunction, nPos, stParam.m_bAggreFun);
    if (nKeyword == KW_ANY || nKeyword == KW_ALL || nKeyword == KW_SELECT)
        return ParseSubQueryOperand(stParam, nPos, nOpen);
    return ParseElementOperand(stParam, nPos);
}

int CParseExpressionManager::CheckOperatorPlace(const st_PARSEPARAM& stParam, int nPos, int nLast, BYTE bClass) {
    if (!IsOperatorPlace(nLast, stParam)) return Fail(ERR_EXPECT_EXPRESSION, nLast + 1);
    if (bClass == OPCLASS_BINARY && IsSign(nPos, stParam)) return Fail(ERR_EXPECT_EXPRESSION, nPos);
    if (bClass == OPCLASS_PREFIX && nPos > stParam.m_nBeginPos && Keyword(nPos - 1) == WORD_PAREN_CLOSE)
        return Fail(ERR_EXPECT_EXPRESSION, nPos);
    return ERR_OK;
}

int CParseExpressionManager::OpenBracket(const st_PARSEPARAM& stParam, int nPos, int& nOpen) {
    const int nNext = nPos + 1;
    if (nNext >= stParam.m_nEndPos || Keyword(nNext) == WORD_PAREN_CLOSE ||
        CheckValidOperator(nNext, stParam.m_bCondition) == OPCLASS_BINARY)
        return Fail(ERR_EXPECT_EXPRESSION, nNext);
    Push(nPos);
    ++nOpen;
    return PushOperator(OP_BRACKET);
}

int CParseExpressionManager::ParseOperator(const st_PARSEPARAM& stParam, int nPos, BYTE bClass) {
    if (const int nCode = CheckOperatorPlace(stParam, nPos, nPos, bClass)) return nCode;
    const bool bSign = IsSign(nPos, stParam);
    BYTE bCode = ConvertOperatorString(Keyword(nPos));
    if (bCode == OP_NONE || (bCode == OP_IS && !IsTruthWord(nPos + 1))) return Fail(ERR_EXPECT_OPERATOR, nPos);
    if (bSign && bClass == OPCLASS_MINUS) bCode = OP_MINUS;
    if (bSign && bClass == OPCLASS_PLUS) bCode = OP_PLUS;
    Push(nPos);
    // What stands in front of its operand takes none from the left: nothing there is complete yet.
    if (!bSign) {
        stu_MATHOPERATOR stOperator;
        stOperator.Set(bCode);
        if (const int nCode = PopOperators(stOperator.m_bPriority)) return nCode;
    }
    return PushOperator(bCode);
}

int CParseExpressionManager::ParseSubQueryOperand(const st_PARSEPARAM& stParam, int& nPos, int& nOpen) {
    const int nKeyword = Keyword(nPos);
    const bool bQuantified = nKeyword != KW_SELECT;
    if (bQuantified) {
        if (nPos + 1 >= stParam.m_nEndPos || Keyword(nPos + 1) != WORD_PAREN_OPEN)
            return Fail(ERR_SYNTAX_SELECT, nPos + 1);
        if (nPos + 2 >= stParam.m_nEndPos || Keyword(nPos + 2) != KW_SELECT)
            return Fail(ERR_SELECT_CONDITION, nPos + 2);
        Push(nPos);
        Push(nPos + 1);
        if (const int nCode = PushOperator(OP_BRACKET)) return nCode;
        ++nOpen;
        nPos += 2;
    }
    if (nPos == stParam.m_nBeginPos || Keyword(nPos - 1) != WORD_PAREN_OPEN) return Fail(ERR_SYNTAX_SELECT, nPos);
    const int nClose = FindFunctionEndPos(nPos - 1, stParam.m_nEndPos);
    if (nClose < 0) return Fail(ERR_SYNTAX_SELECT, nPos);

    UINT nOffset = 0;
    const BYTE bType = !bQuantified ? SUBQUERY_PLAIN : nKeyword == KW_ANY ? SUBQUERY_ANY : SUBQUERY_ALL;
    if (const int nCode = ParseSubQuery(nPos, nClose, bType, nOffset)) return nCode;
    nPos = nClose - 1;
    return PushOperand(MIXNODE_SUBQUERY, nOffset);
}

int CParseExpressionManager::ParseSubQuery(int nSelect, int nEnd, BYTE bType, UINT& nOffset) {
    st_PARSEPARAM stQuery;
    stQuery.m_nBeginPos = nSelect + 1;
    stQuery.m_nEndPos = stQuery.m_nQueryEnd = nEnd;
    stQuery.m_bSubQueryType = bType;
    int bLockOption = 0;
    BYTE bExecuteParam = 0;
    long long llTimestamp = 0;
    if (const int nCode = m_pParseSql->ParseSingleQuery(m_lpWordArray, &stQuery, bLockOption, bExecuteParam, nOffset,
                                                        llTimestamp, 0, 0))
        return Fail(nCode, m_pParseSql->GetErrorPos());
    return bLockOption ? Fail(ERR_FOR_UPDATE, nSelect) : ERR_OK;
}

int CParseExpressionManager::ParseCallOperand(const st_PARSEPARAM& stParam, BYTE bCode, int& nPos, BOOL& bAggregate) {
    if (bCode == FN_SEQUENCE) m_bSequence = 1;
    st_PARSEPARAM stCall = stParam;
    stCall.m_nBeginPos = nPos;
    stCall.m_bAggreFun = 0;
    BYTE bState = 0;
    if (const int nCode = ParseFunction(&stCall, bCode, bState)) return nCode;
    if (stCall.m_bAggreFun) bAggregate = 1;
    const int nLast = stCall.m_nEndPos;
    if (nLast == nPos && IsFunctionWithoutParam(bCode)) {
        // Without brackets it may be a column as well: the server gets both and decides.
        if (const int nCode = PopOperators(PRIORITY_NAME_OR_CALL)) return nCode;
        if (const int nCode = PushOperator(OP_NAME_OR_CALL)) return nCode;
        UINT nOffset = 0;
        if (const int nCode = NewWordField(nPos, nOffset)) return nCode;
        if (const int nCode = PushOperand(MIXNODE_ELEMENT, nOffset)) return nCode;
    }
    if (!IsOperandEnd(nLast + 1, stParam)) return Fail(ERR_EXPECT_OPERATOR, nLast + 1);
    nPos = nLast;
    return ERR_OK;
}

int CParseExpressionManager::ParseElementOperand(const st_PARSEPARAM& stParam, int& nPos) {
    st_PARSEPARAM stElement = stParam;
    stElement.m_nBeginPos = nPos;
    UINT nOffset = 0;
    if (const int nCode = ParseMathElement(&stElement, nOffset)) return nCode;
    nPos = stElement.m_nBeginPos;
    return PushOperand(MIXNODE_ELEMENT, nOffset);
}

/** "*" as the whole expression. */
int CParseExpressionManager::ParseAllFields() {
    MATHEXPELEMENTBSON* lpElement = nullptr;
    UINT nOffset = 0;
    if (const int nCode = NewElement(1, lpElement, nOffset)) return nCode;
    lpElement->m_nDataLen = 0;
    lpElement->m_bDataSource = SOURCE_FIELD;
    lpElement->m_bAllField = 1;
    Push("*", 1);
    if (const int nCode = PushOperand(MIXNODE_ELEMENT, nOffset)) return nCode;
    return CreateMathExpression();
}

// --- queue and stack -------------------------------------------------------------------------------------------------

int CParseExpressionManager::PushNode(const stu_EXPFIELDBSON_MIXQUEUENODE& stNode) {
    LPBYTE lpBytes = nullptr;
    if (const int nCode = m_pBson->AllocFromBufferPool(sizeof stNode, lpBytes, 0)) return nCode;
    return PushEntry(m_queMathQueue, static_cast<void*>(new (lpBytes) stu_EXPFIELDBSON_MIXQUEUENODE(stNode)));
}

int CParseExpressionManager::PushOperand(BYTE bType, UINT nOffset) {
    stu_EXPFIELDBSON_MIXQUEUENODE stNode{};
    stNode.m_bNodeType = bType;
    stNode.m_nExpFieldOffset = nOffset;
    return PushNode(stNode);
}

int CParseExpressionManager::QueueOperator(const stu_MATHOPERATOR& stOperator) {
    stu_EXPFIELDBSON_MIXQUEUENODE stNode{};
    stNode.m_bNodeType = MIXNODE_OPERATOR;
    stNode.m_bMathOp = stOperator.m_bMathOp;
    stNode.m_nParamNum = stOperator.m_bParamNum;
    const bool bCombined = stOperator.m_bMathOp == FN_SPECIAL_LOG || stOperator.m_bMathOp == FN_DATE_PART;
    stNode.m_bCombinedType = bCombined ? m_bCombinedType : BYTE{0};
    return PushNode(stNode);
}

int CParseExpressionManager::PushOperator(BYTE bCode) {
    LPBYTE lpBytes = nullptr;
    if (const int nCode = m_pBson->AllocFromBufferPool(sizeof(stu_MATHOPERATOR), lpBytes, 0)) return nCode;
    auto* const lpOperator = new (lpBytes) stu_MATHOPERATOR;
    lpOperator->Set(bCode);
    return PushEntry(m_skOperatorStack, static_cast<void*>(lpOperator));
}

int CParseExpressionManager::PopOperator() {
    if (const int nCode = QueueOperator(*TopOperator())) return nCode;
    m_skOperatorStack.pop();
    return ERR_OK;
}

int CParseExpressionManager::PopOperators(BYTE bPriority) {
    while (const stu_MATHOPERATOR* const lpTop = TopOperator()) {
        if (lpTop->m_bMathOp == OP_BRACKET || lpTop->m_bPriority < bPriority) break;
        if (const int nCode = PopOperator()) return nCode;
    }
    return ERR_OK;
}

int CParseExpressionManager::PopToBracket() {
    if (const int nCode = PopOperators(PRIORITY_NONE)) return nCode;
    if (m_skOperatorStack.empty()) return ERR_EXPECT_EXPRESSION;
    m_skOperatorStack.pop();
    return ERR_OK;
}
