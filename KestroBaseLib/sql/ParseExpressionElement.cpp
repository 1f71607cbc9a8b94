// The operands of expressions: names with and without a qualifier, rows of triggers, parameters, numbers, texts and
// intervals. A name stays text, with the number of the object that qualifies it; what it means the server knows.
//
//     NULL  ''  ?  12.5  'text'  'pattern' ESCAPE '!'  INTERVAL 2 DAY
//     a  t.a  db.t.a  t.*  NEW.a  OLD.a  a -> '$.path'  a ->> '$.path'

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>

#include "CommonDataDef.h"
#include "KestroDecimal.h"
#include "ParseExpressionManager.h"
#include "ParseSql.h"
#include "VarDataText.h"

namespace {

/** Bytes of the escape text of a pattern, its quotes included. */
constexpr int ESCAPE_SIZE = 36;

/** In front of the text of an interval: INTERVAL_MARK, its unit, the kind of the value. */
constexpr char INTERVAL_KIND_INTEGER = 1;
constexpr char INTERVAL_KIND_DECIMAL = static_cast<char>(VT_DECIMAL);
constexpr char INTERVAL_KIND_LITERAL = VT_VARCHAR;
constexpr int INTERVAL_HEAD_SIZE = 3;

/** The units, numbered from 1. */
constexpr int INTERVAL_UNITS[] = {
    KW_MICROSECOND,
    KW_FRAC_SECOND,
    KW_SECOND,
    KW_MINUTE,
    KW_HOUR,
    KW_DAY,
    KW_WEEK,
    KW_MONTH,
    KW_QUARTER,
    KW_YEAR,
    KW_SECOND_MICROSECOND,
    KW_MINUTE_MICROSECOND,
    KW_MINUTE_SECOND,
    KW_HOUR_MICROSECOND,
    KW_HOUR_SECOND,
    KW_HOUR_MINUTE,
    KW_DAY_MICROSECOND,
    KW_DAY_SECOND,
    KW_DAY_MINUTE,
    KW_DAY_HOUR,
    KW_YEAR_MONTH,
};
static_assert(std::size(INTERVAL_UNITS) == 21);

/** 0 for no unit. */
int IntervalUnit(int nKeyword) {
    const int* const lpUnit = std::find(std::begin(INTERVAL_UNITS), std::end(INTERVAL_UNITS), nKeyword);
    return lpUnit == std::end(INTERVAL_UNITS) ? 0 : static_cast<int>(lpUnit - INTERVAL_UNITS) + 1;
}

char* ElementData(MATHEXPELEMENTBSON* lpElement) {
    return reinterpret_cast<char*>(lpElement) + offsetof(MATHEXPELEMENTBSON, m_bDataBuffer);
}

} // namespace

/** A name as it's looked up: terminated, without quotes. */
struct CParseExpressionManager::NAME {
    // Bytes behind the terminator don't matter.
    NAME() { m_szText[0] = 0; }
    char m_szText[KESTRO_NAME_SIZE];
    int m_nLen = 0;
};

int CParseExpressionManager::NewElement(int nDataLen, MATHEXPELEMENTBSON*& lpElement, UINT& nOffset) {
    constexpr std::size_t HEAD_SIZE = offsetof(MATHEXPELEMENTBSON, m_bDataBuffer);
    LPBYTE lpBytes = nullptr;
    const UINT nSize = static_cast<UINT>(HEAD_SIZE + static_cast<std::size_t>(nDataLen));
    if (const int nCode = m_pBson->AllocFromBsonBuffer(nSize, nOffset, lpBytes)) return nCode;
    lpElement = reinterpret_cast<MATHEXPELEMENTBSON*>(lpBytes);
    lpElement->m_nDataLen = nDataLen;
    return ERR_OK;
}

int CParseExpressionManager::NewLiteral(BYTE bDataType, const void* lpData, int nDataLen, UINT& nOffset) {
    MATHEXPELEMENTBSON* lpElement = nullptr;
    if (const int nCode = NewElement(nDataLen, lpElement, nOffset)) return nCode;
    lpElement->m_bDataType = bDataType;
    if (nDataLen != 0) std::memcpy(ElementData(lpElement), lpData, static_cast<std::size_t>(nDataLen));
    return ERR_OK;
}

/** A name with its terminator in room for `nDataLen` bytes, which is more than the name has. */
int CParseExpressionManager::NewField(const NAME& stName, BYTE bSource, BYTE bObjectNo, int nDataLen, UINT& nOffset) {
    MATHEXPELEMENTBSON* lpElement = nullptr;
    if (const int nCode = NewElement(nDataLen, lpElement, nOffset)) return nCode;
    lpElement->m_bDataSource = bSource;
    lpElement->m_bObjectNo = bObjectNo;
    std::memcpy(ElementData(lpElement), stName.m_szText, static_cast<std::size_t>(stName.m_nLen));
    return ERR_OK;
}

/** A field with a word's text as it stands. */
int CParseExpressionManager::NewWordField(int nPos, UINT& nOffset) {
    MATHEXPELEMENTBSON* lpElement = nullptr;
    const int nLen = m_lpWordArray->m_arWordLen[nPos];
    if (const int nCode = NewElement(nLen + 1, lpElement, nOffset)) return nCode;
    lpElement->m_bDataSource = SOURCE_FIELD;
    std::memcpy(ElementData(lpElement), m_lpWordArray->m_arWord[nPos], static_cast<std::size_t>(nLen));
    return ERR_OK;
}

bool CParseExpressionManager::ReadName(int nPos, NAME& stName) const {
    const int nLen = m_lpWordArray->m_arWordLen[nPos];
    const int nKind = CopyNameFromSql(m_lpWordArray->m_arWord[nPos], nLen, stName.m_szText);
    stName.m_nLen = nKind == NAME_QUOTED ? nLen - 2 : nLen;
    return nKind != NAME_BAD;
}

int CParseExpressionManager::ParseMathElement(st_PARSEPARAM* lpParam, UINT& nOffset) {
    st_PARSEPARAM& stParam = *lpParam;
    const int nFirst = stParam.m_nBeginPos;
    if (nFirst >= stParam.m_nEndPos) return Fail(ERR_EXPECT_EXPRESSION, nFirst);
    if (const int nCode = ParseElement(stParam, nOffset)) return nCode;
    for (int i = nFirst; i <= stParam.m_nBeginPos; ++i)
        Push(i);
    const int nNext = stParam.m_nBeginPos + 1;
    return IsOperandEnd(nNext, stParam) ? ERR_OK : Fail(ERR_EXPECT_EXPRESSION, nNext);
}

/** The forms in the order in which they're tried; the cursor stays on the last word. */
int CParseExpressionManager::ParseElement(st_PARSEPARAM& stParam, UINT& nOffset) {
    int& nPos = stParam.m_nBeginPos;
    if (IsLiteral(Keyword(nPos))) return ParseLiteral(stParam, nOffset);
    NAME stDatabase, stName;
    bool bName = ReadName(nPos, stName);
    if (bName && m_pParseSql->FindDataBaseName(stName.m_szText)) {
        if (nPos + 1 >= stParam.m_nEndPos || Keyword(nPos + 1) != WORD_POINT) return Fail(ERR_SYNTAX_SELECT, nPos + 1);
        if (nPos + 2 >= stParam.m_nEndPos) return Fail(ERR_SYNTAX_SELECT, nPos + 2);
        stDatabase = stName;
        nPos += 2;
        bName = ReadName(nPos, stName);
    }
    const int nKeyword = Keyword(nPos);
    if (IsLiteral(nKeyword)) return ParseLiteral(stParam, nOffset);
    if (bName)
        if (const BYTE bNo = m_pParseSql->FindObject(stDatabase.m_szText, stName.m_szText, 0))
            return ParseQualified(stParam, bNo, stName, nOffset);
    if (nKeyword == KW_NEW || nKeyword == KW_OLD) return ParseTriggerRow(stParam, nOffset);
    if (nKeyword == WORD_DOLLAR) return Fail(ERR_NOT_DEVELOPED, nPos);
    if (nKeyword == KW_INTERVAL && nPos + 2 < stParam.m_nEndPos && IntervalUnit(Keyword(nPos + 2)) != 0)
        return ParseInterval(stParam, nOffset);
    return bName ? ParseNamed(stParam, stName, nOffset) : ParseNumber(nPos, nOffset);
}

int CParseExpressionManager::ParseLiteral(st_PARSEPARAM& stParam, UINT& nOffset) {
    switch (Keyword(stParam.m_nBeginPos)) {
        case WORD_STRING:
            return ParseString(stParam, nOffset);
        case WORD_QUESTION:
            return ParseParameter(nOffset);
        case KW_NULL:
        case WORD_EMPTY: // an empty text is NULL; intended
            return NewLiteral(VT_NULL, nullptr, 0, nOffset);
        default:
            return ParseNumber(stParam.m_nBeginPos, nOffset);
    }
}

/** A name that is an object's, as a rule in front of a point. */
int CParseExpressionManager::ParseQualified(st_PARSEPARAM& stParam, BYTE bObjectNo, const NAME& stName, UINT& nOffset) {
    int& nPos = stParam.m_nBeginPos;
    if (nPos + 1 >= stParam.m_nEndPos || Keyword(nPos + 1) != WORD_POINT) {
        // A field with an object's name is none of this object, and its length doesn't count the terminator. Intended.
        if (const int nCode = NewField(stName, SOURCE_FIELD, 0, stName.m_nLen + 1, nOffset)) return nCode;
        reinterpret_cast<MATHEXPELEMENTBSON*>(m_pBson->ConvertOffset2Addr(nOffset))->m_nDataLen = stName.m_nLen;
        return ERR_OK;
    }
    nPos += 2;
    if (nPos >= stParam.m_nEndPos) return Fail(ERR_EXPECT_EXPRESSION, nPos);
    const int nKeyword = Keyword(nPos);
    if (nKeyword == WORD_DOLLAR) return Fail(ERR_NOT_DEVELOPED, nPos);
    if (nKeyword == WORD_STAR) {
        if (m_nGroupByOffset != 0 || stParam.m_nGroupByOffset != 0) return Fail(ERR_SYNTAX_SELECT, nPos);
        if (const int nCode = NewField(NAME(), SOURCE_FIELD, bObjectNo, 1, nOffset)) return nCode;
        auto* const lpElement = reinterpret_cast<MATHEXPELEMENTBSON*>(m_pBson->ConvertOffset2Addr(nOffset));
        lpElement->m_bAllField = 1;
        lpElement->m_nDataLen = 0;
        return ERR_OK;
    }
    NAME stField;
    if (!ReadName(nPos, stField)) return Fail(ERR_EXPECT_EXPRESSION, nPos);
    return NewField(stField, SOURCE_FIELD, bObjectNo, stField.m_nLen + 1, nOffset);
}

/** NEW and OLD: the row that a trigger is about. */
int CParseExpressionManager::ParseTriggerRow(st_PARSEPARAM& stParam, UINT& nOffset) {
    constexpr int DATA_LEN_MIN = 4;
    int& nPos = stParam.m_nBeginPos;
    const BYTE bSource = Keyword(nPos) == KW_NEW ? SOURCE_NEW : SOURCE_OLD;
    if (nPos + 1 >= stParam.m_nEndPos) return Fail(ERR_SYNTAX_SELECT, nPos + 1);
    if (Keyword(nPos + 1) != WORD_POINT) return Fail(ERR_EXPECT_EXPRESSION, nPos + 1);
    nPos += 2;
    if (nPos >= stParam.m_nEndPos) return Fail(ERR_SYNTAX_SELECT, nPos);
    if (Keyword(nPos) == WORD_DOLLAR) return Fail(ERR_NOT_DEVELOPED, nPos);
    NAME stName;
    if (!ReadName(nPos, stName)) return Fail(ERR_EXPECT_EXPRESSION, nPos);
    return NewField(stName, bSource, 0, std::max(stName.m_nLen + 1, DATA_LEN_MIN), nOffset);
}

/** A plain field, or one with a JSON path: name, zero byte, path, and zero bytes in place of its quotes. */
int CParseExpressionManager::ParseNamed(st_PARSEPARAM& stParam, const NAME& stName, UINT& nOffset) {
    int& nPos = stParam.m_nBeginPos;
    // The scanner gives "->>" as two words.
    const bool bSplit = Keyword(nPos + 1) == WORD_ARROW_RIGHT && Keyword(nPos + 2) == WORD_GREATER;
    const bool bText = bSplit || Keyword(nPos + 1) == WORD_ARROW_TEXT;
    const int nPath = nPos + (bSplit ? 3 : 2);
    const bool bArrow = bText || Keyword(nPos + 1) == WORD_ARROW_RIGHT;
    if (!bArrow || nPath >= stParam.m_nEndPos || Keyword(nPath) != WORD_STRING)
        return NewField(stName, SOURCE_FIELD, 0, stName.m_nLen + 1, nOffset);

    const int nPathLen = m_lpWordArray->m_arWordLen[nPath];
    if (const int nCode = NewField(stName, SOURCE_FIELD, 0, stName.m_nLen + 2 + nPathLen, nOffset)) return nCode;
    auto* const lpElement = reinterpret_cast<MATHEXPELEMENTBSON*>(m_pBson->ConvertOffset2Addr(nOffset));
    lpElement->m_bJsonField = bText ? JSON_FIELD_ARROW_TEXT : JSON_FIELD_ARROW;
    char* const lpszPath = ElementData(lpElement) + stName.m_nLen + 1;
    if (CopyStringFromSql(m_lpWordArray->m_arWord[nPath], nPathLen, lpszPath, nPathLen) != STRING_COPIED)
        return Fail(ERR_EXPECT_EXPRESSION, nPath);
    nPos = nPath;
    return ERR_OK;
}

/** "?": its four bytes take the offset of the value that is bound. */
int CParseExpressionManager::ParseParameter(UINT& nOffset) {
    MATHEXPELEMENTBSON* lpElement = nullptr;
    if (const int nCode = NewElement(sizeof(UINT), lpElement, nOffset)) return nCode;
    lpElement->m_bDataSource = SOURCE_PARAM;
    return m_pParseSql->AddParameter(nOffset);
}

/** Every number is a decimal, whatever its form; one that no decimal holds is refused. */
int CParseExpressionManager::ParseNumber(int nPos, UINT& nOffset) {
    const char* const lpszWord = m_lpWordArray->m_arWord[nPos];
    const int nLen = m_lpWordArray->m_arWordLen[nPos];
    if (IsNumber(lpszWord, nLen) == NUMBER_NONE) return Fail(ERR_EXPECT_EXPRESSION, nPos);
    st_VARDATA stValue;
    if (const int nCode = CKestroDecimal::Convert2Decimal(lpszWord, nLen, &stValue)) return Fail(nCode, nPos);
    if (stValue.m_vt != VT_DECIMAL) return Fail(ERR_DECIMAL_PRECISION, nPos);
    return CovertValueToOffset(stValue, nOffset);
}

/** A text; behind LIKE a pattern, whose wildcards become single bytes here, with its ESCAPE. */
int CParseExpressionManager::ParseString(st_PARSEPARAM& stParam, UINT& nOffset) {
    int& nPos = stParam.m_nBeginPos;
    const int nWord = nPos, nWordLen = m_lpWordArray->m_arWordLen[nPos];
    char szEscape[ESCAPE_SIZE];
    const char* lpszEscape = nullptr;
    const bool bPattern = Keyword(nPos - 1) == KW_LIKE;
    if (bPattern && nPos + 1 < stParam.m_nEndPos && Keyword(nPos + 1) == KW_ESCAPE) {
        nPos += 2;
        if (nPos >= stParam.m_nEndPos ||
            CopyStringFromSql(m_lpWordArray->m_arWord[nPos], m_lpWordArray->m_arWordLen[nPos], szEscape, ESCAPE_SIZE) !=
                STRING_COPIED)
            return Fail(ERR_EXPECT_EXPRESSION, nPos);
        lpszEscape = szEscape;
    }
    MATHEXPELEMENTBSON* lpElement = nullptr;
    if (const int nCode = NewElement(nWordLen, lpElement, nOffset)) return nCode;
    lpElement->m_bDataType = VT_VARCHAR;
    lpElement->m_bProcessWildcard = 1;
    char* const lpszText = ElementData(lpElement);
    if (CopyStringFromSql(m_lpWordArray->m_arWord[nWord], nWordLen, lpszText, nWordLen) != STRING_COPIED)
        return Fail(ERR_EXPECT_EXPRESSION, nWord);
    int nLen = static_cast<int>(std::strlen(lpszText));
    BYTE bPercent = 0;
    if (bPattern) nLen = StrPretreatment(lpszText, nLen, lpszEscape, bPercent);
    lpElement->m_nDataLen = nLen + 1;
    return ERR_OK;
}

/** INTERVAL, a number or a text, and a unit: a text of mark, unit, kind and value. */
int CParseExpressionManager::ParseInterval(st_PARSEPARAM& stParam, UINT& nOffset) {
    const int nValue = stParam.m_nBeginPos + 1;
    const char* const lpszWord = m_lpWordArray->m_arWord[nValue];
    const int nWordLen = m_lpWordArray->m_arWordLen[nValue];
    const int nNumber = IsNumber(lpszWord, nWordLen);
    const bool bNumber = nNumber == NUMBER_INTEGER || nNumber == NUMBER_REAL;
    MATHEXPELEMENTBSON* lpElement = nullptr;
    if (const int nCode = NewElement(INTERVAL_HEAD_SIZE + nWordLen + 1, lpElement, nOffset)) return nCode;
    lpElement->m_bDataType = VT_VARCHAR;
    char* const lpszText = ElementData(lpElement);
    lpszText[0] = INTERVAL_MARK;
    lpszText[1] = static_cast<char>(IntervalUnit(Keyword(nValue + 1)));
    lpszText[2] = !bNumber                    ? INTERVAL_KIND_LITERAL
                  : nNumber == NUMBER_INTEGER ? INTERVAL_KIND_INTEGER
                                              : INTERVAL_KIND_DECIMAL;
    if (bNumber)
        std::memcpy(lpszText + INTERVAL_HEAD_SIZE, lpszWord, static_cast<std::size_t>(nWordLen));
    else if (CopyStringFromSql(lpszWord, nWordLen, lpszText + INTERVAL_HEAD_SIZE, nWordLen) != STRING_COPIED)
        return Fail(ERR_EXPECT_EXPRESSION, nValue);
    lpElement->m_nDataLen = static_cast<int>(std::strlen(lpszText)) + 1;
    stParam.m_nBeginPos = nValue + 1;
    return ERR_OK;
}

// In as few digits as it needs: those of the operands may be too few for it, and would round it.
int CParseExpressionManager::WriteFolded(st_VARDATA& stValue, UINT& nOffset) {
    if (stValue.m_vt == VT_DECIMAL) stValue.m_bPrecison = 0;
    return CovertValueToOffset(stValue, nOffset);
}

int CParseExpressionManager::CovertValueToOffset(st_VARDATA& stValue, UINT& nOffset) {
    BYTE arDecimal[DECIMAL_BIN_SIZE];
    int nLen = 0;
    switch (stValue.m_vt) {
        case VT_NULL:
            return NewLiteral(VT_NULL, nullptr, 0, nOffset);
        case VT_INT:
        case VT_BIGINT:
        case VT_DOUBLE:
        case VT_DATETIME:
            nLen = static_cast<int>(stValue.m_vt == VT_INT ? sizeof stValue.m_nValue : sizeof stValue.m_llValue);
            return NewLiteral(stValue.m_vt, &stValue.m_llValue, nLen, nOffset);
        case VT_DECIMAL:
            if (const int nCode = CKestroDecimal::FormatBin(&stValue, arDecimal, nLen)) return nCode;
            return NewLiteral(VT_DECIMAL, arDecimal, nLen, nOffset);
        case VT_VARCHAR: {
            MATHEXPELEMENTBSON* lpElement = nullptr;
            const char* const lpszText = stValue.m_lpszValue ? stValue.m_lpszValue : "";
            const std::size_t nTextLen = stValue.m_lpszValue ? strnlen(lpszText, std::max(stValue.m_nStrLen, 0)) : 0;
            if (const int nCode = NewElement(static_cast<int>(nTextLen) + 1, lpElement, nOffset)) return nCode;
            lpElement->m_bDataType = VT_VARCHAR;
            std::memcpy(ElementData(lpElement), lpszText, nTextLen);
            return ERR_OK;
        }
        default:
            return ERR_DATA_TYPE;
    }
}
