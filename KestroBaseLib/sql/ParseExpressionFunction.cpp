// Which words are functions, what each takes, and who takes its call.

#include <array>
#include <climits>
#include <iterator>

#include "CommonDataDef.h"
#include "ParseExpressionCall.h"
#include "ParseSql.h"
#include "PlanOperators.h"

namespace {

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

} // namespace

BYTE CParseExpressionManager::FindFunction(int nPos) {
    const int nKeyword = Keyword(nPos);
    const BYTE bCode = nKeyword < KEYWORD_END ? CODE_OF_KEYWORD[static_cast<std::size_t>(nKeyword)] : BYTE{0};
    if (bCode == FN_SPECIAL_LOG)
        m_bCombinedType = nKeyword == KW_LN ? FNLOG_LN : nKeyword == KW_LOG2 ? FNLOG_LOG2 : FNLOG_LOG10;
    if (bCode != 0 || Keyword(nPos + 1) != WORD_POINT || nKeyword == KW_NEW || nKeyword == KW_OLD) return bCode;
    // Neither a database nor an object of this statement: a sequence.
    char szName[KESTRO_NAME_SIZE];
    if (CopyNameFromSql(m_lpWordArray->m_arWord[nPos], m_lpWordArray->m_arWordLen[nPos], szName) == NAME_BAD) return 0;
    return m_pParseSql->FindObjectName(szName) || m_pParseSql->FindDataBaseName(szName) ? BYTE{0} : BYTE{FN_SEQUENCE};
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
