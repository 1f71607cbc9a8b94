// The functions of expressions: how many arguments each takes, and who computes it, in a table for each number of
// arguments. The functions themselves stand with `CBaseFunManager`.

#include <array>

#include "BaseExpression.h"
#include "BaseFunManager.h"

namespace {

using FUNCTION0 = int (*)(CKestroBufferPool* lpPool, st_VARDATA& stResult);
using FUNCTION1 = int (*)(CKestroBufferPool* lpPool, BYTE bCombinedType, st_VARDATA& a, st_VARDATA& stResult);
using FUNCTION2 = int (*)(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b, st_VARDATA& stResult);
using FUNCTION3 = int (*)(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b, const st_VARDATA& c,
                          st_VARDATA& stResult);

/** A function that a form knows. Without a pointer it can't be computed here. */
template <typename F>
struct FUNCTIONROW {
    PLANFUNCTION m_nCode;
    F m_lpfnCompute = nullptr;
};

/** One without a sub-type, whatever it does with its argument. */
template <auto F>
int Plain(CKestroBufferPool* lpPool, BYTE, st_VARDATA& a, st_VARDATA& stResult) {
    return F(lpPool, a, stResult);
}

int CharLength(CKestroBufferPool*, BYTE, st_VARDATA& a, st_VARDATA& stResult) {
    return CBaseFunManager::CharLength(a, stResult);
}

int SpecialLog(CKestroBufferPool* lpPool, BYTE bCombinedType, st_VARDATA& a, st_VARDATA& stResult) {
    return CBaseFunManager::SpecialLog(lpPool, a, bCombinedType, stResult);
}

/** Among the other functions of that name. */
constexpr FUNCTION2 ROUND_VALUE = CBaseFunManager::Round;
constexpr FUNCTION2 TRUNC_VALUE = CBaseFunManager::Trunc;

constexpr FUNCTIONROW<FUNCTION0> FUNCTIONS_0[] = {
    {FN_SYSDATE, CBaseFunManager::SysDate},
    {FN_DBTIMEZONE, CBaseFunManager::DbTimeZone},
    {FN_STARTNODEID},
    {FN_ENDNODEID},
    {FN_PI, CBaseFunManager::Pi},
};

constexpr FUNCTIONROW<FUNCTION1> FUNCTIONS_1[] = {
    {FN_ABS, Plain<CBaseFunManager::Abs>},
    {FN_CEIL, Plain<CBaseFunManager::Ceil>},
    {FN_FLOOR, Plain<CBaseFunManager::Floor>},
    {FN_LOWER, Plain<CBaseFunManager::Lower>},
    {FN_SQRT, Plain<CBaseFunManager::Sqrt>},
    {FN_UPPER, Plain<CBaseFunManager::Upper>},
    {FN_CHAR_LENGTH, CharLength},
    {FN_LENGTH, Plain<CBaseFunManager::LengthOfValue>},
    {FN_ISNULL, Plain<CBaseFunManager::IsNull>},
    {FN_EXP, Plain<CBaseFunManager::Exp>},
    {FN_SPECIAL_LOG, SpecialLog},
    {FN_RAND, Plain<CBaseFunManager::Rand>},
    {FN_SIGN, Plain<CBaseFunManager::Sign>},
    {FN_ASCII, Plain<CBaseFunManager::AsciiOrd>},
    {FN_BIT_LENGTH, Plain<CBaseFunManager::Bit_Length>},
    {FN_QUOTE},
    {FN_REVERSE},
    {FN_LTRIM},
    {FN_RTRIM},
    {FN_CRC32},
};

constexpr FUNCTIONROW<FUNCTION2> FUNCTIONS_2[] = {
    {FN_TO_CHAR, CBaseFunManager::ToChar},
    {FN_TO_DATE, CBaseFunManager::ToDate},
    {FN_MOD, CBaseFunManager::Mod},
    {FN_NULLIF, CBaseFunManager::NullIf},
    {FN_NVL, CBaseFunManager::Nvl},
    {FN_POWER, CBaseFunManager::Power},
    {FN_ROUND, ROUND_VALUE},
    {FN_TRUNC, TRUNC_VALUE},
    {FN_LOG, CBaseFunManager::Log},
    {FN_FIND_IN_SET},
    {FN_REPEAT},
    {FN_FROM_UNIXTIME},
    {FN_FORMAT},
    {FN_CONVERT},
    {FN_CAST},
    {FN_XML_EXTRACT},
};

constexpr FUNCTIONROW<FUNCTION3> FUNCTIONS_3[] = {
    {FN_NVL2, CBaseFunManager::Nvl2}, {FN_REPLACE}, {FN_SUBSTRING}, {FN_TRIM}, {FN_SUBSTRING_INDEX}, {FN_CONV},
};

/** Codes by their number of arguments. A form may lack some of them, and know one that has no number. */
constexpr BYTE CODES_OF_0[] = {FN_SYSDATE,   FN_CURRENT_DATE,     FN_DBTIMEZONE, FN_STARTNODEID,
                               FN_ENDNODEID, FN_LAST_INSERT_ID,   FN_UUID,       FN_CURRENT_TIME,
                               FN_PI,        FN_RELEASE_ALL_LOCKS};
// CRC32 isn't among them, so that no call of it is computed. Intended.
constexpr BYTE CODES_OF_1[] = {FN_ABS,         FN_CEIL,        FN_FLOOR,  FN_LOWER,  FN_SQRT,
                               FN_UPPER,       FN_CHAR_LENGTH, FN_LENGTH, FN_ISNULL, FN_EXP,
                               FN_SPECIAL_LOG, FN_RAND,        FN_SIGN,   FN_ASCII,  FN_BIT_LENGTH,
                               FN_QUOTE,       FN_REVERSE,     FN_LTRIM,  FN_RTRIM,  FN_DATE_PART};
constexpr BYTE CODES_OF_2[] = {FN_TO_CHAR, FN_TO_DATE,  FN_MOD,           FN_NULLIF,     FN_NVL,
                               FN_POWER,   FN_ROUND,    FN_TRUNC,         FN_LOG,        FN_FIND_IN_SET,
                               FN_REPEAT,  FN_WEEK,     FN_FROM_UNIXTIME, FN_FORMAT,     FN_CONVERT,
                               FN_CAST,    FN_YEARWEEK, FN_SIMILARITY,    FN_XML_EXTRACT};
constexpr BYTE CODES_OF_3[] = {FN_NVL2, FN_REPLACE, FN_SUBSTRING, FN_TRIM, FN_SUBSTRING_INDEX, FN_CONV};
constexpr BYTE CODES_OF_5[] = {FN_EXPORT_SET};
constexpr BYTE CODES_OF_ANY[] = {FN_CONCAT,       FN_GREATEST,     FN_LEAST,        FN_CONCAT_WS,
                                 FN_ELT,          FN_FIELD,        FN_INTERVAL,     FN_GET_LOCK,
                                 FN_IS_FREE_LOCK, FN_RELEASE_LOCK, FN_IS_USED_LOCK, FN_SERVER_254};

constexpr auto ARGUMENT_NUMBERS = [] {
    std::array<signed char, 256> arNumber{};
    arNumber.fill(CBaseExpression::NO_FUNCTION);
    const auto Fill = [&arNumber](const auto& arCode, signed char nNumber) {
        for (const BYTE bCode : arCode)
            arNumber[bCode] = nNumber;
    };
    Fill(CODES_OF_0, 0);
    Fill(CODES_OF_1, 1);
    Fill(CODES_OF_2, 2);
    Fill(CODES_OF_3, 3);
    Fill(CODES_OF_5, 5);
    Fill(CODES_OF_ANY, CBaseExpression::VARIABLE_ARGUMENTS);
    return arNumber;
}();

constexpr BYTE NO_ROW = 255;

/** The place of each code in a table, or NO_ROW. */
template <const auto& ROWS>
constexpr auto ROW_OF = [] {
    std::array<BYTE, 256> arRow{};
    arRow.fill(NO_ROW);
    for (BYTE i = 0; i < std::size(ROWS); ++i)
        arRow[ROWS[i].m_nCode] = i;
    return arRow;
}();

/** Calls a table's function; `nUnknown` for a code that the table doesn't have. */
template <const auto& ROWS, typename... ARGUMENTS>
int CallFrom(BYTE bCode, int nUnknown, CBaseBson* pBson, ARGUMENTS&&... arArgument) {
    const BYTE bRow = ROW_OF<ROWS>[bCode];
    if (bRow == NO_ROW) return nUnknown;
    const auto lpfnCompute = ROWS[bRow].m_lpfnCompute;
    return lpfnCompute ? lpfnCompute(pBson->GetBufferPool(), arArgument...) : ERR_FUNCTION_TYPE;
}

} // namespace

int CBaseExpression::GetFunParamNum(unsigned char bCode) {
    return ARGUMENT_NUMBERS[bCode];
}

int CBaseExpression::GetFunctionVal(CBaseBson* pBson, unsigned char bCode, unsigned char bCombinedType,
                                    st_VARDATA* arArgument, st_VARDATA& stResult) {
    const int nNum = GetFunParamNum(bCode);
    if (nNum == NO_FUNCTION) return ERR_FUNCTION_TYPE;
    for (int i = 0; i < nNum && nNum != VARIABLE_ARGUMENTS; ++i)
        if (arArgument[i].m_vt == VT_STOP) return ERR_OK;
    switch (nNum) {
        case 0:
            return GetFunctionVal(pBson, bCode, stResult);
        case 1:
            return GetFunctionVal(pBson, bCode, bCombinedType, arArgument[0], stResult);
        case 2:
            return GetFunctionVal(pBson, bCode, arArgument[0], arArgument[1], stResult);
        case 3:
            return GetFunctionVal(pBson, bCode, arArgument[0], arArgument[1], arArgument[2], stResult);
        default:
            return ERR_FAILED;
    }
}

int CBaseExpression::GetFunctionVal(CBaseBson* pBson, unsigned char bCode, st_VARDATA& stResult) {
    return CallFrom<FUNCTIONS_0>(bCode, ERR_FUNCTION_TYPE, pBson, stResult);
}

int CBaseExpression::GetFunctionVal(CBaseBson* pBson, unsigned char bCode, unsigned char bCombinedType, st_VARDATA& a,
                                    st_VARDATA& stResult) {
    return CallFrom<FUNCTIONS_1>(bCode, ERR_FUNCTION_TYPE, pBson, bCombinedType, a, stResult);
}

int CBaseExpression::GetFunctionVal(CBaseBson* pBson, unsigned char bCode, st_VARDATA& a, st_VARDATA& b,
                                    st_VARDATA& stResult) {
    return CallFrom<FUNCTIONS_2>(bCode, ERR_FAILED, pBson, a, b, stResult);
}

int CBaseExpression::GetFunctionVal(CBaseBson* pBson, unsigned char bCode, st_VARDATA& a, st_VARDATA& b, st_VARDATA& c,
                                    st_VARDATA& stResult) {
    return CallFrom<FUNCTIONS_3>(bCode, ERR_FAILED, pBson, a, b, c, stResult);
}
