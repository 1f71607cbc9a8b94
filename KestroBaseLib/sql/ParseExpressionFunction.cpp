// Calls: which words are functions, what each takes, and the handlers of the shapes. Arguments are expressions of their
// own, so calls inside calls recurse; their depth is limited. A function's node follows its arguments in the queue at
// once, as nothing binds closer.

#include <array>
#include <cstring>
#include <iterator>

#include "BaseExpression.h"
#include "CommonDataDef.h"
#include "ParseExpressionManager.h"
#include "ParseSql.h"
#include "PlanOperators.h"

namespace {

/** Who takes the call. */
enum FUNCTIONHANDLER : BYTE {
    HANDLER_NONE, // ERR_FUNCTION_TYPE
    HANDLER_COMMON,
    HANDLER_OPTIONAL, // common; the last argument may be left out
    HANDLER_AGGREGATE,
    HANDLER_SEQUENCE,
    HANDLER_CONVERT,
    HANDLER_CASE,
    HANDLER_CHECK_CHILD,
    HANDLER_JSON,
};

/** A function: its words, and what its call looks like. */
struct FUNCTIONROW {
    BYTE m_bCode;
    BYTE m_bShape;
    BYTE m_bHandler;
    /** Up to the first WORD_NONE. */
    int m_arKeyword[5];
};

// The codes without a word can't be written; whoever calls by code gets them.
constexpr FUNCTIONROW FUNCTIONS[] = {
    {FN_SYSDATE,
     SHAPE_NONE,
     HANDLER_COMMON,
     {KW_SYSDATE, KW_NOW, KW_CURRENT_TIMESTAMP, KW_LOCALTIME, KW_LOCALTIMESTAMP}},
    {FN_SEQUENCE, SHAPE_NONE, HANDLER_SEQUENCE, {}},
    {FN_TO_CHAR, SHAPE_TWO, HANDLER_OPTIONAL, {KW_TO_CHAR, KW_DATE_FORMAT}},
    {FN_TO_DATE, SHAPE_TWO, HANDLER_OPTIONAL, {KW_TO_DATE, KW_STR_TO_DATE}},
    {FN_CHECKCHILD, SHAPE_ANY, HANDLER_CHECK_CHILD, {KW_CHECKCHILD}},
    {FN_CURRENT_DATE, SHAPE_NONE, HANDLER_COMMON, {KW_CURRENT_DATE}},
    {FN_DBTIMEZONE, SHAPE_NONE, HANDLER_COMMON, {KW_DBTIMEZONE}},
    {FN_USER, SHAPE_NONE, HANDLER_COMMON, {KW_USER}},
    {FN_ABS, SHAPE_ONE, HANDLER_COMMON, {KW_ABS}},
    {FN_CEIL, SHAPE_ONE, HANDLER_COMMON, {KW_CEIL, KW_CEILING}},
    {FN_FLOOR, SHAPE_ONE, HANDLER_COMMON, {KW_FLOOR}},
    {FN_LOWER, SHAPE_ONE, HANDLER_COMMON, {KW_LOWER, KW_LCASE}},
    {FN_MOD, SHAPE_TWO, HANDLER_COMMON, {KW_MOD}},
    {FN_NULLIF, SHAPE_TWO, HANDLER_COMMON, {KW_NULLIF}},
    {FN_NVL, SHAPE_TWO, HANDLER_COMMON, {KW_NVL}},
    {FN_NVL2, SHAPE_THREE, HANDLER_COMMON, {KW_NVL2}},
    {FN_POWER, SHAPE_TWO, HANDLER_COMMON, {KW_POWER, KW_POW}},
    {FN_ROUND, SHAPE_TWO, HANDLER_OPTIONAL, {KW_ROUND}},
    {FN_SQRT, SHAPE_ONE, HANDLER_COMMON, {KW_SQRT}},
    {FN_TRUNC, SHAPE_TWO, HANDLER_OPTIONAL, {KW_TRUNCATE, KW_TRUNC}},
    {FN_UPPER, SHAPE_ONE, HANDLER_COMMON, {KW_UPPER, KW_UCASE}},
    {FN_COUNT, SHAPE_AGGREGATE, HANDLER_AGGREGATE, {KW_COUNT}},
    {FN_AVG, SHAPE_AGGREGATE, HANDLER_AGGREGATE, {KW_AVG}},
    {FN_MIN, SHAPE_AGGREGATE, HANDLER_AGGREGATE, {KW_MIN}},
    {FN_MAX, SHAPE_AGGREGATE, HANDLER_AGGREGATE, {KW_MAX}},
    {FN_SUM, SHAPE_AGGREGATE, HANDLER_AGGREGATE, {KW_SUM}},
    {FN_BIT_AND, SHAPE_AGGREGATE, HANDLER_AGGREGATE, {KW_BIT_AND}},
    {FN_BIT_OR, SHAPE_AGGREGATE, HANDLER_AGGREGATE, {KW_BIT_OR}},
    {FN_BIT_XOR, SHAPE_AGGREGATE, HANDLER_AGGREGATE, {KW_BIT_XOR}},
    {FN_JSON_ARRAYAGG, SHAPE_AGGREGATE, HANDLER_AGGREGATE, {KW_JSON_ARRAYAGG}},
    {FN_JSON_OBJECTAGG, SHAPE_AGGREGATE, HANDLER_AGGREGATE, {KW_JSON_OBJECTAGG}},
    {FN_STARTNODEID, SHAPE_NONE, HANDLER_COMMON, {KW_STARTNODEID}},
    {FN_ENDNODEID, SHAPE_NONE, HANDLER_COMMON, {KW_ENDNODEID}},
    {FN_JSON_ARRAY_APPEND, SHAPE_JSON, HANDLER_NONE, {KW_JSON_ARRAY_APPEND}},
    {FN_JSON_OBJECT, SHAPE_JSON, HANDLER_JSON, {KW_JSON_OBJECT}},
    {FN_JSON_ARRAY, SHAPE_JSON, HANDLER_JSON, {KW_JSON_ARRAY}},
    {FN_JSON_QUOTE, SHAPE_JSON, HANDLER_NONE, {KW_JSON_QUOTE}},
    {FN_JSON_VALID, SHAPE_JSON, HANDLER_JSON, {KW_JSON_VALID}},
    {FN_JSON_TYPE, SHAPE_JSON, HANDLER_JSON, {KW_JSON_TYPE}},
    {FN_JSON_DEPTH, SHAPE_JSON, HANDLER_JSON, {KW_JSON_DEPTH}},
    {FN_JSON_LENGTH, SHAPE_JSON, HANDLER_JSON, {KW_JSON_LENGTH}},
    {FN_JSON_KEYS, SHAPE_JSON, HANDLER_JSON, {KW_JSON_KEYS}},
    {FN_JSON_UNQUOTE, SHAPE_JSON, HANDLER_NONE, {KW_JSON_UNQUOTE}},
    {FN_CONCAT, SHAPE_ANY, HANDLER_COMMON, {}},
    {FN_CASE, SHAPE_ANY, HANDLER_CASE, {}},
    {FN_CURRENT_TIME, SHAPE_NONE, HANDLER_COMMON, {}},
    {FN_ISNULL, SHAPE_ONE, HANDLER_NONE, {KW_ISNULL}},
    {FN_EXP, SHAPE_ONE, HANDLER_COMMON, {KW_EXP}},
    {FN_GREATEST, SHAPE_ANY, HANDLER_COMMON, {KW_GREATEST}},
    {FN_LEAST, SHAPE_ANY, HANDLER_COMMON, {KW_LEAST}},
    // Its sub-types follow the words.
    {FN_SPECIAL_LOG, SHAPE_ONE, HANDLER_COMMON, {KW_LN, KW_LOG2, KW_LOG10}},
    {FN_LOG, SHAPE_TWO, HANDLER_OPTIONAL, {KW_LOG}},
    {FN_PI, SHAPE_NONE, HANDLER_COMMON, {KW_PI}},
    {FN_RAND, SHAPE_ONE, HANDLER_OPTIONAL, {KW_RAND}},
    {FN_SIGN, SHAPE_ONE, HANDLER_COMMON, {KW_SIGN}},
    {FN_ASCII, SHAPE_ONE, HANDLER_COMMON, {KW_ASCII}},
    {FN_BIT_LENGTH, SHAPE_ONE, HANDLER_COMMON, {KW_BIT_LENGTH}},
    {FN_CONCAT_WS, SHAPE_ANY, HANDLER_COMMON, {KW_CONCAT_WS}},
    {FN_FIND_IN_SET, SHAPE_TWO, HANDLER_COMMON, {KW_FIND_IN_SET}},
    {FN_QUOTE, SHAPE_ONE, HANDLER_COMMON, {KW_QUOTE}},
    {FN_REPEAT, SHAPE_TWO, HANDLER_COMMON, {KW_REPEAT}},
    {FN_REVERSE, SHAPE_ONE, HANDLER_COMMON, {KW_REVERSE}},
    {FN_LTRIM, SHAPE_ONE, HANDLER_COMMON, {KW_LTRIM}},
    {FN_RTRIM, SHAPE_ONE, HANDLER_COMMON, {KW_RTRIM}},
    {FN_TRIM, SHAPE_THREE, HANDLER_COMMON, {KW_TRIM}},
    {FN_DATE_PART, SHAPE_ONE, HANDLER_COMMON, {}},
    {FN_WEEK, SHAPE_TWO, HANDLER_OPTIONAL, {}},
    {FN_FROM_UNIXTIME, SHAPE_TWO, HANDLER_OPTIONAL, {KW_FROM_UNIXTIME}},
    {FN_FORMAT, SHAPE_TWO, HANDLER_COMMON, {KW_FORMAT}},
    {FN_SUBSTRING_INDEX, SHAPE_THREE, HANDLER_COMMON, {}},
    {FN_CONVERT, SHAPE_TWO, HANDLER_CONVERT, {KW_CONVERT}},
    {FN_CAST, SHAPE_TWO, HANDLER_CONVERT, {KW_CAST}},
    {FN_CONV, SHAPE_THREE, HANDLER_COMMON, {}},
    {FN_YEARWEEK, SHAPE_TWO, HANDLER_OPTIONAL, {}},
    {FN_SIMILARITY, SHAPE_TWO, HANDLER_COMMON, {KW_SIMILARITY}},
    {FN_GET_LOCK, SHAPE_ANY, HANDLER_COMMON, {}},
    {FN_IS_FREE_LOCK, SHAPE_ANY, HANDLER_COMMON, {}},
    {FN_RELEASE_LOCK, SHAPE_ANY, HANDLER_COMMON, {}},
    {FN_IS_USED_LOCK, SHAPE_ANY, HANDLER_COMMON, {}},
    {FN_RELEASE_ALL_LOCKS, SHAPE_NONE, HANDLER_COMMON, {}},
    {FN_XML_EXTRACT, SHAPE_TWO, HANDLER_OPTIONAL, {KW_XML_EXTRACT}},
    {FN_SERVER_254, SHAPE_ANY, HANDLER_COMMON, {}},
};
static_assert(std::size(FUNCTIONS) < 255, "rows are numbered from 1 by a byte");
static_assert(FNLOG_LOG2 == FNLOG_LN + 1 && FNLOG_LOG10 == FNLOG_LN + 2);

/** The row of each code, from 1; 0 for none. */
constexpr std::array<BYTE, 256> ROW_OF_CODE = [] {
    std::array<BYTE, 256> arRow{};
    for (std::size_t i = 0; i < std::size(FUNCTIONS); ++i)
        arRow[FUNCTIONS[i].m_bCode] = static_cast<BYTE>(i + 1);
    return arRow;
}();

constexpr int KEYWORD_END = KW_SIMILARITY + 1;

/** The code of each keyword; 0 for none. */
constexpr std::array<BYTE, KEYWORD_END> CODE_OF_KEYWORD = [] {
    std::array<BYTE, KEYWORD_END> arCode{};
    for (const FUNCTIONROW& stRow : FUNCTIONS)
        for (const int nKeyword : stRow.m_arKeyword)
            if (nKeyword != WORD_NONE) arCode.at(static_cast<std::size_t>(nKeyword)) = stRow.m_bCode;
    return arCode;
}();

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

/** A call that is being parsed. */
struct CParseExpressionManager::CALL {
    /** Its last word is `m_nEndPos` in the end. */
    st_PARSEPARAM& m_stParam;
    const FUNCTIONROW& m_stRow;
    /** The function's word, and where its brackets close. */
    int m_nName;
    int m_nClose = -1;
};

BYTE CParseExpressionManager::CheckValidFunction(int nPos) {
    const int nKeyword = Keyword(nPos);
    const BYTE bCode = nKeyword < KEYWORD_END ? CODE_OF_KEYWORD[static_cast<std::size_t>(nKeyword)] : BYTE{0};
    if (bCode == FN_SPECIAL_LOG)
        m_bCombinedType = nKeyword == KW_LN ? FNLOG_LN : nKeyword == KW_LOG2 ? FNLOG_LOG2 : FNLOG_LOG10;
    if (bCode != 0 || Keyword(nPos + 1) != WORD_POINT || nKeyword == KW_NEW || nKeyword == KW_OLD) return bCode;
    // Neither a database nor an object of this statement: a sequence.
    char szName[KESTRO_NAME_SIZE];
    if (CopyNameFromSql(m_lpWordArray->m_arWord[nPos], m_lpWordArray->m_arWordLen[nPos], szName) == NAME_BAD) return 0;
    return m_pParseSql->FindDataBaseName(szName) || m_pParseSql->FindObjectName(szName) ? BYTE{0} : BYTE{FN_SEQUENCE};
}

bool CParseExpressionManager::IsFunctionWithoutParam(BYTE bCode) {
    switch (bCode) {
        case FN_SYSDATE:
        case FN_CURRENT_DATE:
        case FN_DBTIMEZONE:
        case FN_USER:
        case FN_STARTNODEID:
        case FN_ENDNODEID:
        case FN_LAST_INSERT_ID:
        case FN_UUID:
        case FN_CURRENT_TIME:
        case FN_PI:
            return true;
        default:
            return false;
    }
}

int CParseExpressionManager::ParseFunction(st_PARSEPARAM* lpParam, BYTE bCode, BYTE& bState) {
    const int nName = lpParam->m_nBeginPos;
    const BYTE bRow = ROW_OF_CODE[bCode];
    if (bRow == 0) return Fail(ERR_FUNCTION_TYPE, nName);
    CALL stCall{*lpParam, FUNCTIONS[bRow - 1], nName};
    bState = CALLSTATE_CALL;
    switch (stCall.m_stRow.m_bHandler) {
        case HANDLER_COMMON:
        case HANDLER_OPTIONAL:
            return ParseCommonFunction(stCall);
        case HANDLER_AGGREGATE:
            lpParam->m_bAggreFun = 1;
            return ParseAgrreFunction(stCall);
        case HANDLER_SEQUENCE:
            bState = CALLSTATE_SEQUENCE;
            return ParseSEQ(stCall);
        case HANDLER_CONVERT:
            return ParseConvertOrCast(stCall);
        case HANDLER_CASE:
            return ParseCaseWhen(stCall);
        case HANDLER_CHECK_CHILD:
            return ParseCheckChild(stCall);
        case HANDLER_JSON:
            return Fail(ERR_NOT_DEVELOPED, nName);
        default:
            return Fail(ERR_FUNCTION_TYPE, nName);
    }
}

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

bool CParseExpressionManager::CheckFunctionParam(int nActual, BYTE bShape, BYTE bCode, bool bOptional, int& nTaken) {
    nTaken = nActual;
    // The count of a list of arguments is a byte.
    if (nActual > UCHAR_MAX) return false;
    switch (bShape) {
        case SHAPE_NONE:
            return nActual == 0;
        case SHAPE_ONE:
            if (bCode == FN_RAND) nTaken = 1;
            return nActual == 1 || (bCode == FN_RAND && nActual == 0);
        case SHAPE_TWO:
            if (bOptional) nTaken = 2;
            return nActual == 2 || bOptional;
        case SHAPE_THREE:
            return nActual == 3;
        case SHAPE_AGGREGATE:
            return nActual == 1;
        case SHAPE_ANY:
            return nActual > 1 || (bCode != FN_GREATEST && bCode != FN_LEAST && bCode != FN_CONCAT_WS);
        default:
            return false;
    }
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
    if (stRow.m_bHandler == HANDLER_OPTIONAL)
        if (const int nCode = SetDefaultParam(stRow.m_bCode, nActual)) return nCode;
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
    if (stRoot.m_bOperator == OP_NONE && CBaseExpression::GetExpressionType(m_pBson, nOffset) == EXPCLASS_FIELD)
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
    // A value that comes with the statement's run isn't there yet.
    if (CBaseExpression::GetExpressionType(m_pBson, nOffset) != EXPCLASS_CONSTANT ||
        CBaseExpression::HoldsParameter(m_pBson, nOffset))
        return PushArgument(nOffset);
    st_VARDATA stValue;
    const auto* const lpRoot = reinterpret_cast<const st_MATHEXPBSON*>(m_pBson->ConvertOffset2Addr(nOffset));
    const int nCode = CBaseExpression::GetExpressionResult(m_pBson, lpRoot, stValue);
    if (nCode == ERR_FUNCTION_TYPE) return PushArgument(nOffset);
    if (nCode != ERR_OK) return Fail(nCode, nBegin);
    if (const int nValueCode = CovertValueToOffset(stValue, nOffset)) return Fail(nValueCode, nBegin);
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
    // Other than that of a text, its length doesn't count the terminator. Intended.
    UINT nOffset = 0;
    if (const int nCode = NewLiteral(VT_VARCHAR, szName, static_cast<int>(std::strlen(szName)), nOffset)) return nCode;
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

int CParseExpressionManager::ParseCaseWhen(CALL& stCall) {
    return Fail(ERR_NOT_DEVELOPED, stCall.m_nName);
}
