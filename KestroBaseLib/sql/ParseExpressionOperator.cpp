// Operators as words, codes and priorities: one table. What a word is depends on where it stands: comparison and logic
// are operators in conditions only. Bit operators have codes, but the grammar doesn't have them: such a word is no
// operator, and falls to the parser of operands, which refuses it.

#include <array>
#include <cstring>

#include "ParseExpressionManager.h"
#include "PlanOperators.h"
#include "SqlWordReader.h"

namespace {

struct OPERATORROW {
    BYTE m_bCode;
    /** WORD_NONE for what no single word stands for. */
    int m_nKeyword;
    BYTE m_bPriority;
    BYTE m_bType;
};

constexpr OPERATORROW OPERATORS[] = {
    {OP_ADD, WORD_PLUS, PRIORITY_ADD, OPTYPE_MATH},
    {OP_SUB, WORD_MINUS, PRIORITY_ADD, OPTYPE_MATH},
    {OP_MUL, WORD_STAR, PRIORITY_MUL, OPTYPE_MATH},
    {OP_DIVIDE, WORD_SLASH, PRIORITY_MUL, OPTYPE_MATH},
    {OP_MOD, WORD_PERCENT, PRIORITY_MUL, OPTYPE_MATH},
    {OP_LINK, WORD_CONCAT, PRIORITY_LINK, OPTYPE_MATH},
    {OP_LIKE, KW_LIKE, PRIORITY_COMPARE, OPTYPE_COMPARE},
    {OP_IN, KW_IN, PRIORITY_COMPARE, OPTYPE_COMPARE},
    {OP_NOT_IN, WORD_NONE, PRIORITY_COMPARE, OPTYPE_COMPARE},
    {OP_EXISTS, KW_EXISTS, PRIORITY_COMPARE, OPTYPE_COMPARE},
    {OP_NOT_EXISTS, WORD_NONE, PRIORITY_COMPARE, OPTYPE_COMPARE},
    {OP_COMMA, WORD_COMMA, PRIORITY_COMMA, OPTYPE_MATH},
    {OP_NOT_LIKE, WORD_NONE, PRIORITY_COMPARE, OPTYPE_COMPARE},
    {OP_DIV, KW_DIV, PRIORITY_MUL, OPTYPE_MATH},
    {OP_PLUS, WORD_NONE, PRIORITY_UNARY, OPTYPE_MATH},
    {OP_EQUAL, WORD_EQUAL, PRIORITY_COMPARE, OPTYPE_COMPARE},
    {OP_NOT_EQUAL, WORD_NOT_EQUAL, PRIORITY_COMPARE, OPTYPE_COMPARE},
    {OP_GREATER, WORD_GREATER, PRIORITY_COMPARE, OPTYPE_COMPARE},
    {OP_GREATER_EQUAL, WORD_GREATER_EQUAL, PRIORITY_COMPARE, OPTYPE_COMPARE},
    {OP_LESS, WORD_LESS, PRIORITY_COMPARE, OPTYPE_COMPARE},
    {OP_LESS_EQUAL, WORD_LESS_EQUAL, PRIORITY_COMPARE, OPTYPE_COMPARE},
    {OP_BETWEEN, KW_BETWEEN, PRIORITY_COMPARE, OPTYPE_COMPARE},
    {COMPARE_PRIOR_EQUAL, WORD_NONE, PRIORITY_COMPARE, OPTYPE_COMPARE},
    {OP_PRIOR_LEFT_EQUAL, WORD_NONE, PRIORITY_COMPARE, OPTYPE_COMPARE},
    {OP_PRIOR_RIGHT_EQUAL, WORD_NONE, PRIORITY_COMPARE, OPTYPE_COMPARE},
    {OP_IS, KW_IS, PRIORITY_COMPARE, OPTYPE_COMPARE},
    {OP_IS_NOT, WORD_NONE, PRIORITY_COMPARE, OPTYPE_COMPARE},
    {OP_BIT_NOT, WORD_TILDE, PRIORITY_NONE, OPTYPE_NONE},
    {OP_EXCLAMATION, WORD_EXCLAMATION, PRIORITY_NONE, OPTYPE_NONE},
    {OP_AND, KW_AND, PRIORITY_AND, OPTYPE_LOGIC},
    {OP_OR, KW_OR, PRIORITY_OR, OPTYPE_LOGIC},
    {OP_NOT, KW_NOT, PRIORITY_NOT, OPTYPE_LOGIC},
    {OP_MINUS, WORD_NONE, PRIORITY_UNARY, OPTYPE_MATH},
    {OP_BIT_AND, WORD_AMPERSAND, PRIORITY_NONE, OPTYPE_NONE},
    {OP_BIT_XOR, WORD_CARET, PRIORITY_NONE, OPTYPE_NONE},
    {OP_BIT_OR, WORD_BAR, PRIORITY_NONE, OPTYPE_NONE},
    {OP_SHIFT_LEFT, WORD_SHIFT_LEFT, PRIORITY_NONE, OPTYPE_NONE},
    {OP_SHIFT_RIGHT, WORD_SHIFT_RIGHT, PRIORITY_NONE, OPTYPE_NONE},
    {OP_BRACKET, WORD_NONE, PRIORITY_NONE, OPTYPE_NONE},
    {OP_NAME_OR_CALL, WORD_NONE, PRIORITY_NAME_OR_CALL, OPTYPE_MATH},
};

/** Codes above those of the words that are operators. */
constexpr int KEYWORD_END = KW_BETWEEN > KW_DIV ? KW_BETWEEN + 1 : KW_DIV + 1;

constexpr std::array<BYTE, KEYWORD_END> CODE_OF_KEYWORD = [] {
    std::array<BYTE, KEYWORD_END> arCode{};
    for (const OPERATORROW& stRow : OPERATORS)
        if (stRow.m_nKeyword != WORD_NONE) arCode.at(stRow.m_nKeyword) = stRow.m_bCode;
    return arCode;
}();

/** All codes that aren't an operator's count as functions. */
constexpr std::array<stu_MATHOPERATOR, 256> OPERATOR_OF_CODE = [] {
    std::array<stu_MATHOPERATOR, 256> arOperator{};
    for (int i = 0; i < 256; ++i) {
        const BYTE bCode = static_cast<BYTE>(i);
        arOperator[i].m_bMathOp = bCode;
        if (bCode < FN_FIRST) continue;
        arOperator[i].m_bPriority = PRIORITY_FUNCTION;
        arOperator[i].m_bType = OPTYPE_FUNCTION;
    }
    for (const OPERATORROW& stRow : OPERATORS)
        arOperator[stRow.m_bCode] = {stRow.m_bCode, stRow.m_bPriority, stRow.m_bType, 0};
    return arOperator;
}();

struct FORMROW {
    BYTE m_bFirst;
    BYTE m_bLast;
    BYTE m_bForm;
};

/** Codes that aren't of a form here take two operands. */
constexpr FORMROW FORMS[] = {
    {OP_PLUS, OP_PLUS, OPFORM_UNARY},
    {OP_MINUS, OP_MINUS, OPFORM_UNARY},
    {FN_SYSDATE, FN_UPPER, OPFORM_PARAM_LIST},
    {FN_COUNT, FN_ENDNODEID, OPFORM_PARAM_LIST},
    {0x6A, 0x6A, OPFORM_JSON_ARGUMENTS},
    {FN_JSON_ARRAY_APPEND, FN_JSON_KEYS, OPFORM_JSON_ARGUMENTS},
    {FN_JSON_UNQUOTE, FN_JSON_UNQUOTE, OPFORM_JSON_ARGUMENTS},
    {0x82, 0x82, OPFORM_JSON_ARGUMENTS},
    {FN_REPLACE, FN_REPLACE, OPFORM_PARAM_LIST},
    {FN_UUID, FN_UUID, OPFORM_PARAM_LIST},
    {FN_CURRENT_TIME, FN_CURRENT_TIME, OPFORM_PARAM_LIST},
    {FN_ISNULL, FN_FORMAT, OPFORM_PARAM_LIST},
    {FN_CONVERT, FN_CAST, OPFORM_PARAM_LIST},
    {FN_YEARWEEK, FN_YEARWEEK, OPFORM_PARAM_LIST},
    {FN_SIMILARITY, FN_SIMILARITY, OPFORM_PARAM_LIST},
    {FN_GET_LOCK, FN_RELEASE_ALL_LOCKS, OPFORM_PARAM_LIST},
    {FN_XML_EXTRACT, FN_XML_EXTRACT, OPFORM_PARAM_LIST},
    {FN_SERVER_254, FN_SERVER_254, OPFORM_PARAM_LIST},
};

constexpr std::array<BYTE, 256> FORM_OF_CODE = [] {
    std::array<BYTE, 256> arForm{};
    arForm.fill(OPFORM_BINARY);
    for (const FORMROW& stRow : FORMS)
        for (int i = stRow.m_bFirst; i <= stRow.m_bLast; ++i)
            arForm[i] = stRow.m_bForm;
    return arForm;
}();

} // namespace

void stu_MATHOPERATOR::Set(BYTE bCode) {
    *this = OPERATOR_OF_CODE[bCode];
}

BYTE CParseExpressionManager::ConvertOperatorString(int nKeyword) {
    return nKeyword >= 0 && nKeyword < KEYWORD_END ? CODE_OF_KEYWORD[static_cast<std::size_t>(nKeyword)]
                                                   : BYTE{OP_NONE};
}

BYTE CParseExpressionManager::CheckOperatorType(BYTE bCode) {
    return FORM_OF_CODE[bCode];
}

BYTE CParseExpressionManager::ClassOfOperator(int nKeyword, int nPos, int bCondition) const {
    switch (nKeyword) {
        case WORD_STAR:
        case WORD_SLASH:
        case WORD_PERCENT:
        case WORD_CONCAT:
        case WORD_COMMA:
        case KW_DIV:
            return OPCLASS_BINARY;
        case WORD_PLUS:
            return OPCLASS_PLUS;
        case WORD_MINUS:
            return OPCLASS_MINUS;
        case KW_PRIOR:
            return OPCLASS_PRIOR;
        case WORD_EQUAL:
        case WORD_NOT_EQUAL:
        case WORD_GREATER:
        case WORD_LESS:
        case WORD_GREATER_EQUAL:
        case WORD_LESS_EQUAL:
        case KW_AND:
        case KW_OR:
        case KW_BETWEEN:
        case KW_IS:
            return bCondition ? OPCLASS_BINARY : OPCLASS_NONE;
        case KW_EXISTS:
            return bCondition ? OPCLASS_PREFIX : OPCLASS_NONE;
        case KW_NOT: {
            const int nNext = Keyword(nPos + 1);
            if (!bCondition || nNext == WORD_NONE) return OPCLASS_NONE;
            return nNext == KW_LIKE || nNext == KW_IN ? OPCLASS_BINARY : OPCLASS_PREFIX;
        }
        case KW_IN:
        case KW_LIKE:
            // Behind NOT it's the second half of one operator.
            return bCondition && Keyword(nPos - 1) != KW_NOT ? OPCLASS_BINARY : OPCLASS_NONE;
        default:
            return OPCLASS_NONE;
    }
}

bool CParseExpressionManager::IsSign(int nPos, const st_PARSEPARAM& stParam) const {
    const int nFront = Keyword(nPos - 1);
    // The LIKE of NOT LIKE is no operator by itself.
    return nPos == stParam.m_nBeginPos || nFront == WORD_PAREN_OPEN || (nFront == KW_LIKE && stParam.m_bCondition) ||
           CheckValidOperator(nPos - 1, stParam.m_bCondition) != OPCLASS_NONE;
}

bool CParseExpressionManager::IsJoinOperator(int nPos) const {
    return Keyword(nPos) == WORD_PAREN_OPEN && Keyword(nPos + 1) == WORD_PLUS && Keyword(nPos + 2) == WORD_PAREN_CLOSE;
}

bool CParseExpressionManager::IsOperandEnd(int nPos, const st_PARSEPARAM& stParam) const {
    return nPos >= stParam.m_nEndPos || Keyword(nPos) == WORD_PAREN_CLOSE ||
           CheckValidOperator(nPos, stParam.m_bCondition) != OPCLASS_NONE || IsJoinOperator(nPos);
}

bool CParseExpressionManager::IsOperatorPlace(int nPos, const st_PARSEPARAM& stParam) const {
    const int nNext = nPos + 1;
    if (nNext >= stParam.m_nEndPos || Keyword(nNext) == WORD_PAREN_CLOSE) return false;
    stu_MATHOPERATOR stOperator;
    stOperator.Set(ConvertOperatorString(Keyword(nPos)));
    switch (CheckValidOperator(nNext, stParam.m_bCondition)) {
        case OPCLASS_NONE:
        case OPCLASS_PLUS:
        case OPCLASS_MINUS:
            return true;
        case OPCLASS_PREFIX:
            return stOperator.m_bType == OPTYPE_LOGIC;
        case OPCLASS_PRIOR:
            return stParam.m_bCondition;
        default:
            return false;
    }
}

bool CParseExpressionManager::IsTruthWord(int nPos) const {
    const int nKeyword = Keyword(nPos) == KW_NOT ? Keyword(nPos + 1) : Keyword(nPos);
    return nKeyword == KW_UNKNOWN || nKeyword == KW_NULL || nKeyword == KW_FALSE || nKeyword == KW_TRUE;
}

int CParseExpressionManager::FindFunctionEndPos(int nOpen, int nEnd) const {
    return CSqlWordReader(*m_pParseSql, *m_lpWordArray).FindClose(nOpen, nEnd);
}

int CParseExpressionManager::FindWord(int nKeyword, int nBegin, int nEnd) const {
    return CSqlWordReader(*m_pParseSql, *m_lpWordArray).Find(nKeyword, nBegin, nEnd);
}

void CParseExpressionManager::Push(int nPos) {
    Push(m_lpWordArray->m_arWord[nPos], m_lpWordArray->m_arWordLen[nPos]);
}

// What doesn't fit whole fills what is left, and the capture ends with it.
void CParseExpressionManager::Push(const char* lpszText, int nLen) {
    constexpr int TEXT_FULL = sizeof m_strExpression;
    if (m_nExpressionLen == TEXT_FULL) return;
    const bool bFits = nLen < TEXT_FULL - m_nExpressionLen;
    const int nCopied = bFits ? nLen : TEXT_FULL - 1 - m_nExpressionLen;
    std::memcpy(m_strExpression + m_nExpressionLen, lpszText, static_cast<std::size_t>(nCopied));
    m_strExpression[m_nExpressionLen + nCopied] = 0;
    m_nExpressionLen = bFits ? m_nExpressionLen + nLen : TEXT_FULL;
}
