// Conditions: the words of a range, read as an expression's, with comparisons and logic as further operators. Each
// operator that is complete goes into one of two postfix queues, which ParseConditionOperator.cpp and
// ParseConditionFold.cpp make expressions and the condition of. Brackets don't recurse; calls, IN and subqueries do.

#include "ParseConditionManager.h"

#include "ParseDepth.h"
#include "PlanOperators.h"
#include "SqlWordReader.h"

/** Where the walk is, and what it has met. */
struct CParseConditionManager::WALK {
    st_PARSEPARAM& m_stParam;
    /** The first word, in front of the brackets around all. */
    int m_nFirst;
    int m_nPos;
    int m_nOpen = 0;
    /** A "(+)" waits for its side. */
    int m_bOuterMark = 0;
    /** A PRIOR waits for its "="; one stood behind its "=", where a condition has one at most. */
    bool m_bPriorWaits = false;
    bool m_bPriorBehind = false;
    /** Neither field, parameter, function nor subquery. */
    bool m_bConstant = true;

    bool IsInside(int nPos) const { return nPos < m_stParam.m_nEndPos; }
};

/** An operator of one word or two. */
struct CParseConditionManager::OPERATORWORDS {
    BYTE m_bCode = OP_NONE;
    int m_nLast = 0;
};

int CParseConditionManager::ParseCondition(st_PARSEPARAM* lpParam) {
    st_PARSEPARAM& stParam = *lpParam;
    stParam.m_bCondition = 1;
    stParam.m_bAggreFun = 0;
    const CParseDepth stDepth;
    if (stDepth.IsTooDeep()) return Fail(ERR_EXPECT_EXPRESSION, stParam.m_nBeginPos);
    WALK stWalk{.m_stParam = stParam, .m_nFirst = stParam.m_nBeginPos, .m_nPos = 0};
    CSqlWordReader(*m_pParseSql, *m_lpWordArray).RemoveOuterBrackets(stParam);
    const int nBegin = stWalk.m_nPos = stParam.m_nBeginPos;
    if (nBegin >= stParam.m_nEndPos || stParam.m_nEndPos > m_lpWordArray->m_nNum ||
        Keyword(nBegin) == WORD_PAREN_CLOSE || CheckValidOperator(nBegin, 1) == OPCLASS_BINARY)
        return Fail(ERR_SELECT_CONDITION, nBegin);
    if (const int nCode = ParseWords(stWalk)) return nCode;

    const int nLast = stParam.m_nEndPos - 1;
    const bool bConstant = stWalk.m_bConstant && IsComputable();
    int nCode = CreateCondition();
    if (nCode == ERR_OK && m_nConditionOffset == 0) nCode = ERR_SELECT_CONDITION;
    if (nCode == ERR_OK && bConstant) nCode = FoldConstant();
    return nCode == ERR_OK ? ERR_OK : Fail(nCode, nLast);
}

int CParseConditionManager::ParseWords(WALK& stWalk) {
    for (; stWalk.IsInside(stWalk.m_nPos); ++stWalk.m_nPos)
        if (const int nCode = ParseConditionWord(stWalk)) return nCode;
    const int nLast = stWalk.m_stParam.m_nEndPos - 1;
    if (stWalk.m_nOpen != 0) return Fail(ERR_SYNTAX_SELECT, nLast);
    if (stWalk.m_bPriorWaits) return Fail(ERR_SELECT_CONDITION, nLast);
    int nCode = OperatorsPop(PRIORITY_NONE, stWalk.m_bOuterMark);
    if (nCode == ERR_OK && !m_queMathQueue.empty()) nCode = CreateConditionByExpression(stWalk.m_bOuterMark);
    return nCode == ERR_OK ? ERR_OK : Fail(nCode, nLast);
}

/** The word at `m_nPos` and those that belong to it; `m_nPos` is the last of them then. */
int CParseConditionManager::ParseConditionWord(WALK& stWalk) {
    const int nPos = stWalk.m_nPos;
    switch (Keyword(nPos)) {
        case WORD_PAREN_OPEN:
            return ParseOpenBracket(stWalk);
        case WORD_PAREN_CLOSE:
            return CloseBracket(stWalk);
        default:
            break;
    }
    const BYTE bClass = CheckValidOperator(nPos, 1);
    if (bClass == OPCLASS_PRIOR) return ParsePrior(stWalk);
    if (bClass != OPCLASS_NONE) return ParseConditionOperator(stWalk, bClass);
    if (const BYTE bFunction = CheckValidFunction(nPos); bFunction != OP_NONE) return ParseCall(stWalk, bFunction);
    return ParseOperand(stWalk);
}

int CParseConditionManager::ParseOpenBracket(WALK& stWalk) {
    const int nPos = stWalk.m_nPos;
    // Behind an operator or a bracket there is nothing to mark.
    if (IsJoinOperator(nPos) && stWalk.IsInside(nPos + 2) && !IsSign(nPos, stWalk.m_stParam)) {
        // Behind a whole comparison neither: the mark would fall on the next one's side.
        if (m_queMathQueue.empty()) return Fail(ERR_SELECT_CONDITION, nPos);
        stWalk.m_bOuterMark = 1;
        stWalk.m_nPos += 2;
        return ERR_OK;
    }
    if (m_skOperatorStack.size() >= OPERATOR_DEPTH_MAX) return Fail(ERR_EXPECT_EXPRESSION, nPos);
    return OpenBracket(stWalk.m_stParam, nPos, stWalk.m_nOpen);
}

int CParseConditionManager::CloseBracket(WALK& stWalk) {
    Push(stWalk.m_nPos);
    --stWalk.m_nOpen;
    int nCode = OperatorsPop(PRIORITY_NONE, stWalk.m_bOuterMark);
    if (nCode == ERR_OK && m_skOperatorStack.empty()) nCode = ERR_EXPECT_EXPRESSION;
    m_skOperatorStack.pop();
    return nCode == ERR_OK ? ERR_OK : Fail(nCode, stWalk.m_nPos);
}

// Behind BY, where brackets around the whole condition may stand in front of it. The other form, behind "=", goes with
// that operator.
int CParseConditionManager::ParsePrior(WALK& stWalk) {
    const bool bFirst = stWalk.m_nPos == stWalk.m_stParam.m_nBeginPos && Keyword(stWalk.m_nFirst - 1) == KW_BY;
    if (!bFirst && Keyword(stWalk.m_nPos - 1) != KW_BY) return Fail(ERR_SELECT_CONDITION, stWalk.m_nPos);
    stWalk.m_bPriorWaits = true;
    return ERR_OK;
}

int CParseConditionManager::ParseCall(WALK& stWalk, BYTE bFunction) {
    const st_PARSEPARAM& stParam = stWalk.m_stParam;
    const int nPos = stWalk.m_nPos;
    BOOL bAggregate = bFunction >= FN_AGGREGATE_FIRST && bFunction <= FN_AGGREGATE_LAST;
    if (!bAggregate || stParam.m_bHaving)
        if (const int nCode = ParseCallOperand(stParam, bFunction, stWalk.m_nPos, bAggregate)) return nCode;
    // It may stand in an argument as well.
    if (bAggregate && !stParam.m_bHaving) return Fail(ERR_EXPECT_EXPRESSION, nPos);
    if (bAggregate) stWalk.m_stParam.m_bAggreFun = 1;
    stWalk.m_bConstant = false;
    return ERR_OK;
}

int CParseConditionManager::ParseOperand(WALK& stWalk) {
    switch (Keyword(stWalk.m_nPos)) {
        case KW_NODE:
        case KW_RELATION:
            // They belong to the name behind them, which looks back.
            return ERR_OK;
        case KW_ANY:
        case KW_ALL:
        case KW_SELECT:
            stWalk.m_bConstant = false;
            return ParseSubQueryOperand(stWalk.m_stParam, stWalk.m_nPos, stWalk.m_nOpen);
        default:
            break;
    }
    if (const int nCode = ParseElementOperand(stWalk.m_stParam, stWalk.m_nPos)) return nCode;
    const auto* const lpNode = static_cast<const stu_EXPFIELDBSON_MIXQUEUENODE*>(m_queMathQueue.back());
    if (Record<MATHEXPELEMENTBSON>(lpNode->m_nExpFieldOffset).m_bDataSource != SOURCE_LITERAL)
        stWalk.m_bConstant = false;
    return ERR_OK;
}

// --- operators -------------------------------------------------------------------------------------------------------

int CParseConditionManager::ParseConditionOperator(WALK& stWalk, BYTE bClass) {
    const st_PARSEPARAM& stParam = stWalk.m_stParam;
    const int nPos = stWalk.m_nPos;
    OPERATORWORDS stWords;
    if (const int nCode = ReadOperator(stWalk, stWords)) return nCode;
    if (stWalk.m_bPriorWaits) return Fail(ERR_SELECT_CONDITION, nPos);
    if (m_skOperatorStack.size() >= OPERATOR_DEPTH_MAX) return Fail(ERR_EXPECT_EXPRESSION, nPos);
    if (const int nCode = CheckOperatorPlace(stParam, nPos, stWords.m_nLast, bClass)) return nCode;
    for (int i = nPos; i <= stWords.m_nLast; ++i)
        Push(i);

    stu_MATHOPERATOR stOperator;
    stOperator.Set(stWords.m_bCode);
    int nCode = ERR_OK;
    // What stands in front of its operand takes none from the left: nothing there is complete yet.
    if (m_bBetween && stWords.m_bCode == OP_AND)
        nCode = PopToBetween(stWalk.m_bOuterMark);
    else if (bClass != OPCLASS_PREFIX && stOperator.m_bPriority != PRIORITY_UNARY)
        nCode = OperatorsPop(stOperator.m_bPriority, stWalk.m_bOuterMark);
    if (nCode == ERR_OK) nCode = OperatorPush(stOperator, stWalk.m_bOuterMark);
    if (nCode != ERR_OK) return Fail(nCode, nPos);
    stWalk.m_nPos = stWords.m_nLast;
    return stWords.m_bCode == OP_IN || stWords.m_bCode == OP_NOT_IN ? ParseIn(stWalk) : ERR_OK;
}

int CParseConditionManager::ReadOperator(WALK& stWalk, OPERATORWORDS& stOperator) {
    const int nPos = stWalk.m_nPos, nNext = stWalk.IsInside(nPos + 1) ? Keyword(nPos + 1) : WORD_NONE;
    BYTE bCode = ConvertOperatorString(Keyword(nPos));
    const auto SetTwoWords = [&](BYTE bTwoWords) {
        bCode = bTwoWords;
        stOperator.m_nLast = nPos + 1;
    };
    stOperator.m_nLast = nPos;
    switch (bCode) {
        case OP_NONE:
            return Fail(ERR_EXPECT_OPERATOR, nPos);
        case OP_ADD:
            if (IsSign(nPos, stWalk.m_stParam)) bCode = OP_PLUS;
            break;
        case OP_SUB:
            if (IsSign(nPos, stWalk.m_stParam)) bCode = OP_MINUS;
            break;
        case OP_NOT:
            if (nNext == KW_IN) SetTwoWords(OP_NOT_IN);
            if (nNext == KW_LIKE) SetTwoWords(OP_NOT_LIKE);
            if (nNext == KW_EXISTS) SetTwoWords(OP_NOT_EXISTS);
            break;
        case OP_IS:
            if (nNext == KW_NOT) SetTwoWords(OP_IS_NOT);
            if (!stWalk.IsInside(stOperator.m_nLast + 1) || !IsTruthWord(nPos + 1))
                return Fail(ERR_EXPECT_OPERATOR, stOperator.m_nLast + 1);
            break;
        case OP_EQUAL:
            if (nNext == KW_PRIOR) {
                if (stWalk.m_bPriorBehind) return Fail(ERR_SELECT_CONDITION, nPos + 1);
                SetTwoWords(OP_PRIOR_RIGHT_EQUAL);
                stWalk.m_bPriorBehind = true;
            } else if (stWalk.m_bPriorWaits) {
                bCode = OP_PRIOR_LEFT_EQUAL;
                stWalk.m_bPriorWaits = false;
            }
            break;
        default:
            break;
    }
    stOperator.m_bCode = bCode;
    const bool bLike = bCode == OP_LIKE || bCode == OP_NOT_LIKE;
    return bLike && !IsLikeSide(nPos - 1) ? Fail(ERR_SELECT_CONDITION, nPos) : ERR_OK;
}

/**
 * Whether the word in front of LIKE may end its left side: a name, which a keyword is there too, or another word that
 * is the whole side. Calls and brackets aren't taken there. Intended.
 */
bool CParseConditionManager::IsLikeSide(int nPos) const {
    const int nKeyword = Keyword(nPos);
    if (nKeyword == WORD_NAME || nKeyword > WORD_EQUAL_NULL || nKeyword == WORD_BRACKET_CLOSE) return true;
    switch (Keyword(nPos - 1)) {
        case KW_OR:
        case KW_WHERE:
        case KW_AND:
        case WORD_PAREN_OPEN:
        case WORD_COMMA:
            return true;
        default:
            return false;
    }
}

int CParseConditionManager::ParseIn(WALK& stWalk) {
    const int nOpen = stWalk.m_nPos + 1, nEnd = stWalk.m_stParam.m_nEndPos;
    if (Keyword(nOpen) != WORD_PAREN_OPEN) return Fail(ERR_EXPECT_EXPRESSION, nOpen);
    const int nClose = FindFunctionEndPos(nOpen, nEnd);
    if (nClose < 0) return Fail(ERR_EXPECT_EXPRESSION, nOpen);
    st_PARSEPARAM stIn = stWalk.m_stParam;
    stIn.m_nBeginPos = nOpen + 1;
    stIn.m_nEndPos = nClose;
    if (const int nCode = ParseInCondition(&stIn)) return nCode;
    if (stIn.m_bAggreFun) stWalk.m_stParam.m_bAggreFun = 1;
    stWalk.m_nPos = nClose;
    return IsOperandEnd(nClose + 1, stWalk.m_stParam) ? ERR_OK : Fail(ERR_EXPECT_OPERATOR, nClose + 1);
}
