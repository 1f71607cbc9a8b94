// The select list: each field's expression, the name under which a client sees it, and its alias. The fields form a
// chain, in which hidden ones of GROUP BY stand in front and those of ORDER BY behind; the number of fields counts all.

#include <cstring>

#include "CommonDataDef.h"
#include "CommonDataDefChar.h"
#include "ParseExpressionManager.h"
#include "ParseSqlQuery.h"

namespace {

/** Bytes of a field's name at most. */
constexpr int FIELD_NAME_LEN = 31;

/** What a list's fields are, to tell whether aggregates and plain fields are mixed. */
enum FIELDMIX {
    MIX_PLAIN = 1,
    MIX_AGGREGATE = 2,
    MIX_BOTH = MIX_PLAIN | MIX_AGGREGATE,
};

int MixOf(BYTE bClass) {
    switch (bClass) {
        case EXPCLASS_FIELD:
        case EXPCLASS_SCALAR:
        case EXPCLASS_JSON:
            return MIX_PLAIN;
        case EXPCLASS_AGGREGATE:
            return MIX_AGGREGATE;
        case EXPCLASS_MIXED:
            return MIX_BOTH;
        default:
            return 0;
    }
}

/** Whether a name behind this word belongs to it, and so isn't an alias. */
bool WantsOperand(int nKeyword) {
    if (nKeyword >= WORD_CONCAT && nKeyword <= WORD_EQUAL_NULL)
        return nKeyword != WORD_QUESTION && nKeyword != WORD_EMPTY;
    switch (nKeyword) {
        case WORD_POINT:
        case WORD_PAREN_OPEN:
        case KW_NODE:
        case KW_RELATION:
        case KW_AND:
        case KW_OR:
        case KW_NOT:
        case KW_DIV:
        case KW_LIKE:
        case KW_IN:
        case KW_IS:
        case KW_BETWEEN:
        case KW_EXISTS:
        case KW_PRIOR:
            return true;
        default:
            return false;
    }
}

/** The longest part of a text that fits and doesn't cut a character. */
int CutLen(const char* lpszText, int nLen, int nMax) {
    if (nLen <= nMax) return nLen;
    while (nMax > 0 && !IsCharStart(lpszText[nMax]))
        --nMax;
    return nMax;
}

} // namespace

CFieldChain::CFieldChain(CBaseBson& stBson, UINT& nFirst, UINT& nNum)
    : m_stBson(stBson), m_nFirst(nFirst), m_nNum(nNum) {
    for (UINT nNext = nFirst; nNext != 0; nNext = m_lpLast->m_nNextOffset)
        m_lpLast = reinterpret_cast<EXECUTEFIELDBSON*>(stBson.ConvertOffset2Addr(nNext));
}

int CFieldChain::Append(EXECUTEFIELDBSON*& lpField, UINT& nOffset) {
    lpField = nullptr;
    if (const int nCode = m_stBson.AllocFromBsonBuffer(lpField, nOffset)) return nCode;
    if (m_lpLast)
        m_lpLast->m_nNextOffset = nOffset;
    else
        m_nFirst = nOffset;
    m_lpLast = lpField;
    ++m_nNum;
    return ERR_OK;
}

LISTITEM CutTitle(const CSqlWordReader& stReader, int nBegin, int nEnd) {
    const LISTITEM stWhole = {nBegin, nEnd};
    const int nTitle = nEnd - 1;
    const bool bAs = nTitle > nBegin && stReader.Keyword(nTitle - 1) == KW_AS;
    if (bAs && stReader.MayBeName(nTitle)) return {nBegin, nTitle - 1, nTitle};
    if (nTitle <= nBegin || stReader.Keyword(nTitle) != WORD_NAME || WantsOperand(stReader.Keyword(nTitle - 1)))
        return stWhole;
    return {nBegin, nTitle, nTitle};
}

int CParseSql::CutList(stu_KestroWordArray* lpWords, int nBegin, int nEnd, bool bTitles, ITEMLIST& stList) {
    const CSqlWordReader stReader(*this, *lpWords);
    int nNum = 1;
    for (int i = nBegin; (i = stReader.Find(WORD_COMMA, i, nEnd)) < nEnd; ++i)
        ++nNum;
    LPBYTE lpBytes = nullptr;
    const UINT nSize = static_cast<UINT>(nNum) * UINT{sizeof(LISTITEM)};
    if (const int nCode = m_stBson.AllocFromBufferPool(nSize, lpBytes, 0)) return nCode;
    stList = {reinterpret_cast<LISTITEM*>(lpBytes), nNum};
    for (int n = 0; n < nNum; ++n) {
        const int nComma = stReader.Find(WORD_COMMA, nBegin, nEnd);
        stList.m_arItem[n] = bTitles ? CutTitle(stReader, nBegin, nComma) : LISTITEM{nBegin, nComma};
        nBegin = nComma + 1;
    }
    return ERR_OK;
}

int CParseSql::ParseSelectField(stu_KestroWordArray* lpWords, st_PARSEPARAM* lpParam, UINT& nFieldOffset,
                                UINT& nFieldNum, int& bAggreMixed) {
    int nBegin = lpParam->m_nBeginPos;
    const int nEnd = lpParam->m_nEndPos;
    if (nBegin < nEnd && GetKeyword(lpWords, nBegin) == KW_DISTINCT) {
        lpParam->m_bDistinct = 1;
        ++nBegin;
    }
    if (nBegin >= nEnd) return Fail(ERR_SYNTAX_SELECT, nBegin);
    ITEMLIST stList;
    if (const int nCode = CutList(lpWords, nBegin, nEnd, true, stList)) return nCode;
    CFieldChain stChain(m_stBson, nFieldOffset, nFieldNum);
    int nMix = 0;
    for (int i = 0; i < stList.m_nNum; ++i) {
        EXECUTEFIELDBSON* lpField = nullptr;
        UINT nOffset = 0;
        if (const int nCode = stChain.Append(lpField, nOffset)) return nCode;
        if (const int nCode = ParseField(lpWords, stList.m_arItem[i], *lpParam, *lpField)) return nCode;
        nMix |= MixOf(lpField->m_bExpressionType);
    }
    bAggreMixed = nMix == MIX_BOTH;
    return ERR_OK;
}

/** One field of the select list; an aggregate in it is noted in the parameter block of the list. */
int CParseSql::ParseField(stu_KestroWordArray* lpWords, const LISTITEM& stItem, st_PARSEPARAM& stParam,
                          EXECUTEFIELDBSON& stField) {
    if (stItem.m_nTitle >= 0) {
        char szTitle[KESTRO_TITLE_SIZE];
        UINT nOffset = 0;
        const char* const lpszWord = lpWords->m_arWord[stItem.m_nTitle];
        if (CopyTitleFromSql(lpszWord, lpWords->m_arWordLen[stItem.m_nTitle], szTitle) == NAME_BAD)
            return Fail(ERR_EXPECT_EXPRESSION, stItem.m_nTitle);
        stField.m_bTitleLen = static_cast<BYTE>(std::strlen(szTitle));
        if (const int nCode = CopyToPlan(szTitle, stField.m_bTitleLen, nOffset)) return nCode;
        stField.m_nExpTitleOffset = nOffset;
    }
    CParseExpressionManager stExpression;
    bool bAggregate = false;
    if (const int nCode = ParseFieldExpression(lpWords, stItem, stParam, stExpression, stField, bAggregate))
        return nCode;
    if (bAggregate) stParam.m_bAggreFun = 1;
    if (bAggregate && stField.m_bExpressionType == EXPCLASS_FIELD && stParam.m_nGroupByOffset == 0)
        return Fail(ERR_EXPECT_EXPRESSION, stItem.m_nBegin);
    return NameField(stExpression, stField);
}

/** The expression of a visible or hidden field, and what it is. */
int CParseSql::ParseFieldExpression(stu_KestroWordArray* lpWords, const LISTITEM& stItem, const st_PARSEPARAM& stParam,
                                    CParseExpressionManager& stExpression, EXECUTEFIELDBSON& stField,
                                    bool& bAggregate) {
    if (stItem.m_nBegin >= stItem.m_nEnd) return Fail(ERR_EXPECT_EXPRESSION, stItem.m_nBegin);
    st_PARSEPARAM stRange = stParam;
    stRange.m_nBeginPos = stItem.m_nBegin;
    stRange.m_nEndPos = stItem.m_nEnd;
    stExpression.Initial(&m_stBson, lpWords, this);
    stExpression.SetGroupByOffset(stParam.m_nGroupByOffset);
    if (const int nCode = stExpression.ParseMathExpression(&stRange)) return Fail(nCode, stExpression.GetSqlErrorPos());
    const UINT nRoot = stExpression.GetExpressionOffset();
    stField.m_nExpOffset = nRoot;
    stField.m_bExpressionType = CParseExpressionManager::ClassOfTree(m_stBson, nRoot);
    if (stField.m_bExpressionType == EXPCLASS_JSON) stField.m_bFieldNo = FIELDNO_JSON;
    bAggregate = stRange.m_bAggreFun != 0;
    return ERR_OK;
}

/** The words of the expression as the field's name, cut; of a lone column without its quotes, and with its object. */
int CParseSql::NameField(const CParseExpressionManager& stExpression, EXECUTEFIELDBSON& stField) {
    const char* lpszName = stExpression.GetExpressionString();
    char szTitle[KESTRO_TITLE_SIZE];
    const auto* const lpRoot = reinterpret_cast<st_MATHEXPBSON*>(m_stBson.ConvertOffset2Addr(stField.m_nExpOffset));
    // "-a" is of the same class and still no lone column.
    if (stField.m_bExpressionType == EXPCLASS_FIELD && lpRoot->m_bOperator == OP_NONE) {
        if (CopyTitleFromSql(lpszName, static_cast<int>(std::strlen(lpszName)), szTitle) != NAME_BAD)
            lpszName = szTitle;
        if (lpRoot->m_bExpressionType1 == EXP_ELEMENT)
            stField.m_bObjectNo =
                reinterpret_cast<MATHEXPELEMENTBSON*>(m_stBson.ConvertOffset2Addr(lpRoot->m_nExpOffset1))->m_bObjectNo;
    }
    const int nLen = CutLen(lpszName, static_cast<int>(std::strlen(lpszName)), FIELD_NAME_LEN);
    UINT nOffset = 0;
    stField.m_bNameLen = static_cast<BYTE>(nLen);
    if (const int nCode = CopyToPlan(lpszName, nLen, nOffset)) return nCode;
    stField.m_nExpNameOffset = nOffset;
    return ERR_OK;
}

int CParseSql::CopyToPlan(const char* lpszText, int nLen, UINT& nOffset) {
    LPBYTE lpBytes = nullptr;
    if (const int nCode = m_stBson.AllocFromBsonBuffer(static_cast<UINT>(nLen) + 1, nOffset, lpBytes)) return nCode;
    std::memcpy(lpBytes, lpszText, static_cast<std::size_t>(nLen));
    return ERR_OK;
}
