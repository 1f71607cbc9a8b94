// Calls by the shapes of their brackets. Arguments are expressions of their own, so calls inside calls recurse; their
// depth is limited. A function's node follows its arguments in the queue at once, as nothing binds closer.

#include <algorithm>
#include <cstring>
#include <iterator>

#include "BaseExpression.h"
#include "CommonDataDef.h"
#include "ParseExpressionCall.h"
#include "PlanOperators.h"

namespace {

struct CONVERTTYPE {
    int m_nKeyword;
    int m_nType;
};

/** The types that CONVERT and CAST can make, and what stands for them. */
constexpr CONVERTTYPE CONVERT_TYPES[] = {
    {KW_UNSIGNED, 0},     {KW_SIGNED, 1},     {KW_DATETIME, VT_DATETIME}, {KW_CHAR, VT_CHAR},
    {KW_BINARY, VT_BLOB}, {KW_TIME, VT_TIME}, {KW_DATE, VT_DATE},         {KW_DECIMAL, VT_DECIMAL},
};

} // namespace

/** The ")" of the "(" at `nOpen` and how many arguments are between; -1 without one. */
int CParseExpressionManager::CountArguments(int nOpen, int nEnd, int& nActual) const {
    int nCommas = 0;
    for (int i = nOpen, nDepth = 0; i < nEnd; ++i) {
        const int nKeyword = Keyword(i);
        nDepth += (nKeyword == WORD_PAREN_OPEN) - (nKeyword == WORD_PAREN_CLOSE);
        if (nDepth == 1 && nKeyword == WORD_COMMA) ++nCommas;
        if (nDepth != 0) continue;
        nActual = i == nOpen + 1 ? 0 : nCommas + 1;
        return i;
    }
    return -1;
}

/** "(" behind the name, its ")" and what `CheckFunctionParam` tells. */
int CParseExpressionManager::OpenCall(CALL& stCall, int& nTaken, int& nActual) {
    const int nOpen = stCall.m_nName + 1;
    if (nOpen >= stCall.m_stParam.m_nEndPos || Keyword(nOpen) != WORD_PAREN_OPEN)
        return Fail(ERR_EXPECT_FUNCTION, nOpen);
    stCall.m_nClose = CountArguments(nOpen, stCall.m_stParam.m_nEndPos, nActual);
    if (stCall.m_nClose < 0) return Fail(ERR_EXPECT_FUNCTION, nOpen);
    const FUNCTIONROW& stRow = stCall.m_stRow;
    const bool bOptional = stRow.m_bHandler == HANDLER_OPTIONAL;
    if (!CheckFunctionParam(nActual, stRow.m_bShape, stRow.m_bCode, bOptional, nTaken))
        return Fail(ERR_EXPECT_FUNCTION, stCall.m_nName);
    Push(stCall.m_nName);
    Push(nOpen);
    return ERR_OK;
}

/** ")" and the function's node. */
int CParseExpressionManager::CloseCall(CALL& stCall, BYTE bCode, int nParamNum) {
    Push(stCall.m_nClose);
    stCall.m_stParam.m_nEndPos = stCall.m_nClose;
    return QueueFunction(bCode, nParamNum);
}

int CParseExpressionManager::QueueFunction(BYTE bCode, int nParamNum) {
    stu_MATHOPERATOR stOperator;
    stOperator.Set(bCode);
    stOperator.m_bParamNum = static_cast<BYTE>(nParamNum);
    return QueueOperator(stOperator);
}

int CParseExpressionManager::ParseCommonFunction(CALL& stCall) {
    const FUNCTIONROW& stRow = stCall.m_stRow;
    const int nOpen = stCall.m_nName + 1;
    if (stRow.m_bShape == SHAPE_NONE && (nOpen >= stCall.m_stParam.m_nEndPos || Keyword(nOpen) != WORD_PAREN_OPEN)) {
        Push(stCall.m_nName);
        stCall.m_stParam.m_nEndPos = stCall.m_nName;
        return QueueFunction(stRow.m_bCode, 0);
    }
    int nTaken = 0, nActual = 0;
    if (const int nCode = OpenCall(stCall, nTaken, nActual)) return nCode;
    const bool bNone = stRow.m_bShape == SHAPE_NONE || (stRow.m_bCode == FN_RAND && nActual == 0);
    if (!bNone)
        if (const int nCode = ParseFunctionParam(stCall, nOpen + 1, stCall.m_nClose, nActual)) return nCode;
    const int nQueued = m_queMathQueue.size();
    if (stRow.m_bHandler == HANDLER_OPTIONAL)
        if (const int nCode = SetDefaultParam(stRow.m_bCode, nActual)) return nCode;
    // A call takes its own arguments, and neither those of the call beside it nor leaves it some.
    const int nGiven = nActual + m_queMathQueue.size() - nQueued;
    if (nGiven != nTaken) return Fail(nGiven < nTaken ? ERR_LOGIC_STACK : ERR_EXPRESSION_STACK, stCall.m_nClose);
    return CloseCall(stCall, stRow.m_bCode, nTaken);
}

/** Arguments with commas between, each into the queue. */
int CParseExpressionManager::ParseFunctionParam(CALL& stCall, int nBegin, int nEnd, int nNum) {
    // Behind the last comma there is nothing to look for, so calls of one argument inside each other are scanned once.
    for (int i = nBegin, nDepth = 0; nNum > 1; ++i) {
        const int nKeyword = Keyword(i);
        nDepth += (nKeyword == WORD_PAREN_OPEN) - (nKeyword == WORD_PAREN_CLOSE);
        if (nDepth != 0 || nKeyword != WORD_COMMA) continue;
        if (const int nCode = ParseArgument(stCall, nBegin, i)) return nCode;
        Push(i);
        nBegin = i + 1;
        --nNum;
    }
    return ParseArgument(stCall, nBegin, nEnd);
}

int CParseExpressionManager::ParseArgument(CALL& stCall, int nBegin, int nEnd) {
    CParseExpressionManager stArgument;
    if (const int nCode = ParseArgumentTree(stCall, nBegin, nEnd, stArgument)) return nCode;
    return PushArgument(stArgument.m_nExpressionOffset);
}

/** An argument by an object of its own, which has its tree then. */
int CParseExpressionManager::ParseArgumentTree(CALL& stCall, int nBegin, int nEnd,
                                               CParseExpressionManager& stArgument) {
    if (nBegin >= nEnd) return Fail(ERR_EXPECT_EXPRESSION, nBegin);
    stArgument.Initial(m_pBson, m_lpWordArray, m_pParseSql);
    stArgument.m_nGroupByOffset = m_nGroupByOffset;
    st_PARSEPARAM stParam = stCall.m_stParam;
    stParam.m_nBeginPos = nBegin;
    stParam.m_nEndPos = nEnd;
    // Comparison and logic have no place in an argument, in conditions neither.
    stParam.m_bCondition = 0;
    if (const int nCode = stArgument.ParseTree(&stParam)) return Fail(nCode, stArgument.m_nErrorPos);
    if (stParam.m_bAggreFun) stCall.m_stParam.m_bAggreFun = 1;
    if (stArgument.m_bSequence) m_bSequence = 1;
    Push(stArgument.m_strExpression, static_cast<int>(std::strlen(stArgument.m_strExpression)));
    return ERR_OK;
}

/** A tree into the queue: a lone field as its element, which its wrapper is left out for. */
int CParseExpressionManager::PushArgument(UINT nOffset) {
    const auto& stRoot = *reinterpret_cast<const st_MATHEXPBSON*>(m_pBson->ConvertOffset2Addr(nOffset));
    if (stRoot.m_bOperator == OP_NONE && ClassOfTree(*m_pBson, nOffset) == EXPCLASS_FIELD)
        return PushOperand(MIXNODE_ELEMENT, stRoot.m_nExpOffset1);
    return PushOperand(MIXNODE_EXPRESSION, nOffset);
}

/** A last argument that was left out. */
int CParseExpressionManager::SetDefaultParam(BYTE bCode, int nActual) {
    constexpr int DEFAULT_DATA = 0;
    UINT nOffset = 0;
    switch (bCode) {
        case FN_TO_CHAR:
        case FN_TO_DATE:
        case FN_FROM_UNIXTIME:
            if (nActual != 1) return ERR_OK;
            if (const int nCode = NewLiteral(VT_VARCHAR, "", 1, nOffset)) return nCode;
            break;
        case FN_ROUND:
        case FN_TRUNC:
        case FN_LOG:
        case FN_RAND:
            if (nActual != (bCode == FN_RAND ? 0 : 1)) return ERR_OK;
            if (const int nCode = NewLiteral(VT_DEFAULT, &DEFAULT_DATA, sizeof DEFAULT_DATA, nOffset)) return nCode;
            break;
        default:
            return ERR_OK;
    }
    return PushOperand(MIXNODE_ELEMENT, nOffset);
}

int CParseExpressionManager::ParseAgrreFunction(CALL& stCall) {
    int nTaken = 0, nActual = 0;
    if (const int nCode = OpenCall(stCall, nTaken, nActual)) return nCode;
    if (const int nCode = ParseAggreFunctionParam(stCall)) return nCode;
    return CloseCall(stCall, stCall.m_stRow.m_bCode, 1);
}

/** "*", which is a field without a name, or an expression; a constant one is worked out. */
int CParseExpressionManager::ParseAggreFunctionParam(CALL& stCall) {
    const int nBegin = stCall.m_nName + 2, nEnd = stCall.m_nClose;
    UINT nOffset = 0;
    if (Keyword(nBegin) == WORD_STAR && nBegin + 1 == nEnd) {
        Push(nBegin);
        MATHEXPELEMENTBSON* lpElement = nullptr;
        if (const int nCode = NewElement(1, lpElement, nOffset)) return nCode;
        lpElement->m_bDataSource = SOURCE_FIELD;
        return PushOperand(MIXNODE_ELEMENT, nOffset);
    }
    CParseExpressionManager stArgument;
    if (const int nCode = ParseArgumentTree(stCall, nBegin, nEnd, stArgument)) return nCode;
    nOffset = stArgument.m_nExpressionOffset;
    // A value that comes with the statement's run isn't there yet. What can't be computed here the server computes.
    if (ClassOfTree(*m_pBson, nOffset) != EXPCLASS_CONSTANT || CBaseExpression::HoldsParameter(m_pBson, nOffset))
        return PushArgument(nOffset);
    st_VARDATA stValue;
    const auto* const lpRoot = reinterpret_cast<const st_MATHEXPBSON*>(m_pBson->ConvertOffset2Addr(nOffset));
    const int nCode = CBaseExpression::GetExpressionResult(m_pBson, lpRoot, stValue);
    if (nCode == ERR_FUNCTION_TYPE) return PushArgument(nOffset);
    if (nCode != ERR_OK) return Fail(nCode, nBegin);
    if (const int nValueCode = WriteFolded(stValue, nOffset)) return Fail(nValueCode, nBegin);
    return PushOperand(MIXNODE_ELEMENT, nOffset);
}

/** `seq.NEXTVAL` and `seq.CURRVAL`: a function of the sequence's name. */
int CParseExpressionManager::ParseSEQ(CALL& stCall) {
    const int nName = stCall.m_nName, nWord = nName + 2;
    char szName[KESTRO_NAME_SIZE];
    if (CopyNameFromSql(m_lpWordArray->m_arWord[nName], m_lpWordArray->m_arWordLen[nName], szName) == NAME_BAD)
        return Fail(ERR_EXPECT_FUNCTION, nName);
    const int nKeyword = nWord < stCall.m_stParam.m_nEndPos ? Keyword(nWord) : WORD_NONE;
    if (nKeyword != KW_NEXTVAL && nKeyword != KW_CURRVAL) return Fail(ERR_SELECT_SEQUENCE, nWord);
    // It's terminated, but other than that of a text its length doesn't count this. Intended.
    UINT nOffset = 0;
    const int nLen = static_cast<int>(std::strlen(szName));
    if (const int nCode = NewLiteral(VT_VARCHAR, szName, nLen + 1, nOffset)) return nCode;
    reinterpret_cast<MATHEXPELEMENTBSON*>(m_pBson->ConvertOffset2Addr(nOffset))->m_nDataLen = nLen;
    if (const int nCode = PushOperand(MIXNODE_ELEMENT, nOffset)) return nCode;
    const bool bNext = nKeyword == KW_NEXTVAL;
    // The text is only this word: it becomes the name of the column.
    Push(bNext ? "NEXTVAL" : "CURRVAL", 7);
    stCall.m_stParam.m_nEndPos = nWord;
    return QueueFunction(bNext ? FN_NEXTVAL : FN_CURRVAL, 1);
}

/** CONVERT(expression, type) and CAST(expression AS type). */
int CParseExpressionManager::ParseConvertOrCast(CALL& stCall) {
    const bool bCast = stCall.m_stRow.m_bCode == FN_CAST;
    const int nOpen = stCall.m_nName + 1;
    if (nOpen >= stCall.m_stParam.m_nEndPos || Keyword(nOpen) != WORD_PAREN_OPEN)
        return Fail(ERR_EXPECT_FUNCTION, nOpen);
    stCall.m_nClose = FindFunctionEndPos(nOpen, stCall.m_stParam.m_nEndPos);
    if (stCall.m_nClose < 0) return Fail(ERR_EXPECT_FUNCTION, nOpen);
    const int nSplit = FindWord(bCast ? KW_AS : WORD_COMMA, nOpen + 1, stCall.m_nClose);
    if (nSplit == stCall.m_nClose) return Fail(ERR_EXPECT_FUNCTION, nSplit);
    const int nType = nSplit + 1;
    const auto* const lpType =
        std::find_if(std::begin(CONVERT_TYPES), std::end(CONVERT_TYPES),
                     [&](const CONVERTTYPE& stType) { return stType.m_nKeyword == Keyword(nType); });
    if (lpType == std::end(CONVERT_TYPES)) return Fail(ERR_EXPECT_FUNCTION, nType);
    if (nType + 1 != stCall.m_nClose) return Fail(ERR_EXPECT_FUNCTION, nType + 1);

    Push(stCall.m_nName);
    Push(nOpen);
    if (const int nCode = ParseArgument(stCall, nOpen + 1, nSplit)) return nCode;
    Push(bCast ? " AS " : " , ", bCast ? 4 : 3);
    Push(nType);
    UINT nOffset = 0;
    if (const int nCode = NewLiteral(VT_INT, &lpType->m_nType, sizeof lpType->m_nType, nOffset)) return nCode;
    if (const int nCode = PushOperand(MIXNODE_ELEMENT, nOffset)) return nCode;
    return CloseCall(stCall, stCall.m_stRow.m_bCode, 2);
}

/** CHECKCHILD(operand, ...): names, texts and numbers, each an element. */
int CParseExpressionManager::ParseCheckChild(CALL& stCall) {
    int nTaken = 0, nActual = 0;
    if (const int nCode = OpenCall(stCall, nTaken, nActual)) return nCode;
    st_PARSEPARAM stOperand = stCall.m_stParam;
    stOperand.m_bCondition = 0;
    stOperand.m_nEndPos = stCall.m_nClose;
    int nPos = stCall.m_nName + 2;
    for (int i = 0; i < nActual; ++i) {
        if (const int nCode = ParseElementOperand(stOperand, nPos)) return nCode;
        const int nExpected = i + 1 < nActual ? WORD_COMMA : WORD_PAREN_CLOSE;
        if (Keyword(++nPos) != nExpected) return Fail(ERR_EXPECT_FUNCTION, nPos);
        if (nExpected == WORD_COMMA) Push(nPos++);
    }
    return CloseCall(stCall, FN_CHECKCHILD, nActual);
}
