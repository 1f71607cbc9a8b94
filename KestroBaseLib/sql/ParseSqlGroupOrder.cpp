// GROUP BY and ORDER BY. A column names a field of the select list, by alias or by the field's own words, or becomes a
// hidden field: one that the server works out and the client doesn't see. Fields and hidden fields are each counted
// from 0.

#include <climits>

#include "CommonDataDef.h"
#include "ParseExpressionManager.h"
#include "ParseSqlQuery.h"

namespace {

/** A name without its quotes; other words as they are. */
std::string_view Bare(std::string_view szWord) {
    const bool bQuoted = szWord.size() >= 2 && (szWord.front() == '"' || szWord.front() == '`');
    return bQuoted ? szWord.substr(1, szWord.size() - 2) : szWord;
}

/** Strings as they stand, all else without regard to case. */
bool SameWord(const CSqlWordReader& stReader, int nFirst, int nSecond) {
    const std::string_view szFirst = stReader.Word(nFirst), szSecond = stReader.Word(nSecond);
    if (szFirst.front() == '\'' || szSecond.front() == '\'') return szFirst == szSecond;
    const std::string_view szBare = Bare(szFirst), szOther = Bare(szSecond);
    return szBare.size() == szOther.size() &&
           KestroCompareNoCase(szBare.data(), szOther.data(), static_cast<int>(szBare.size())) == 0;
}

/** Equal for equal words; a list may be long, so that its items are told apart by a number first. */
UINT HashWords(const CSqlWordReader& stReader, int nBegin, int nEnd) {
    UINT nHash = static_cast<UINT>(nEnd - nBegin);
    for (int i = nBegin; i < nEnd; ++i)
        for (const char c : Bare(stReader.Word(i)))
            nHash = nHash * 131 + (static_cast<BYTE>(c) | 0x20); // the case of letters doesn't count
    return nHash;
}

void HashItem(const CSqlWordReader& stReader, LISTITEM& stItem) {
    stItem.m_nHash = HashWords(stReader, stItem.m_nBegin, stItem.m_nEnd);
    if (stItem.m_nTitle >= 0) stItem.m_nTitleHash = HashWords(stReader, stItem.m_nTitle, stItem.m_nTitle + 1);
}

void HashItems(const CSqlWordReader& stReader, const ITEMLIST& stList) {
    for (int i = 0; i < stList.m_nNum; ++i)
        HashItem(stReader, stList.m_arItem[i]);
}

bool SameWords(const CSqlWordReader& stReader, const LISTITEM& stFirst, const LISTITEM& stSecond) {
    const int nNum = stFirst.m_nEnd - stFirst.m_nBegin;
    if (stFirst.m_nHash != stSecond.m_nHash || nNum != stSecond.m_nEnd - stSecond.m_nBegin) return false;
    for (int i = 0; i < nNum; ++i)
        if (!SameWord(stReader, stFirst.m_nBegin + i, stSecond.m_nBegin + i)) return false;
    return true;
}

bool SameTitle(const CSqlWordReader& stReader, const LISTITEM& stField, const LISTITEM& stColumn) {
    return stField.m_nTitle >= 0 && stField.m_nTitleHash == stColumn.m_nHash &&
           SameWord(stReader, stField.m_nTitle, stColumn.m_nBegin);
}

/** What a column may name a field by. */
enum FIELDNAMING {
    BY_ALIAS,
    BY_WORDS
};

/** The first field that a column names so, -1 for none. */
int FindField(const CSqlWordReader& stReader, const ITEMLIST& stFields, const LISTITEM& stColumn, FIELDNAMING nNaming) {
    const bool bOneWord = stColumn.m_nEnd - stColumn.m_nBegin == 1;
    if (nNaming == BY_ALIAS && !bOneWord) return -1;
    for (int i = 0; i < stFields.m_nNum; ++i) {
        const LISTITEM& stField = stFields.m_arItem[i];
        if (nNaming == BY_WORDS ? SameWords(stReader, stField, stColumn) : SameTitle(stReader, stField, stColumn))
            return i;
    }
    return -1;
}

} // namespace

/** Before the columns are compiled: what they may name. The select list itself is compiled behind GROUP BY. */
int CParseSql::CutColumns(QUERYBLOCK& stBlock) {
    if (!stBlock.Has(CLAUSE_GROUP) && !stBlock.Has(CLAUSE_ORDER)) return ERR_OK;
    const CLAUSERANGE& stFields = stBlock.Clause(CLAUSE_FIELDS);
    const bool bDistinct = GetKeyword(stBlock.m_lpWords, stFields.m_nBegin) == KW_DISTINCT;
    ITEMLIST& stList = stBlock.m_stFields;
    if (const int nCode = CutList(stBlock.m_lpWords, stFields.m_nBegin + bDistinct, stFields.m_nEnd, true, stList))
        return nCode;
    HashItems(CSqlWordReader(*this, *stBlock.m_lpWords), stList);
    return ERR_OK;
}

int CParseSql::AllocColumns(const ITEMLIST& stList, COLUMNDEF*& arColumn, UINT& nOffset) {
    // Their number is a byte.
    if (stList.m_nNum > UCHAR_MAX) return Fail(ERR_FIELD_NUMBER, stList.m_arItem[UCHAR_MAX].m_nBegin);
    LPBYTE lpBytes = nullptr;
    const UINT nSize = static_cast<UINT>(stList.m_nNum) * UINT{sizeof(COLUMNDEF)};
    if (const int nCode = m_stBson.AllocFromBsonBuffer(nSize, nOffset, lpBytes)) return nCode;
    arColumn = reinterpret_cast<COLUMNDEF*>(lpBytes);
    return ERR_OK;
}

int CParseSql::ParseGroupBy(QUERYBLOCK& stBlock) {
    const CLAUSERANGE& stClause = stBlock.Clause(CLAUSE_GROUP);
    ITEMLIST& stList = stBlock.m_stGroup;
    if (const int nCode = CutList(stBlock.m_lpWords, stClause.m_nBegin, stClause.m_nEnd, false, stList)) return nCode;
    GROUPBY* lpGroup = nullptr;
    COLUMNDEF* arColumn = nullptr;
    UINT nOffset = 0, nColumnOffset = 0;
    if (const int nCode = m_stBson.AllocFromBsonBuffer(lpGroup, nOffset)) return nCode;
    if (const int nCode = AllocColumns(stList, arColumn, nColumnOffset)) return nCode;
    lpGroup->m_bFieldNum = static_cast<BYTE>(stList.m_nNum);
    lpGroup->m_nColumnOffset = nColumnOffset;
    stBlock.m_lpQuery->m_nGroupByOffset = nOffset;

    const CSqlWordReader stReader(*this, *stBlock.m_lpWords);
    HashItems(stReader, stList);
    CFieldChain stChain(m_stBson, stBlock.m_nFieldOffset, stBlock.m_nFieldNum);
    for (int i = 0; i < stList.m_nNum; ++i) {
        // A group is one of values that the objects have, so the field's own words count before an alias.
        int nField = FindField(stReader, stBlock.m_stFields, stList.m_arItem[i], BY_WORDS);
        if (nField < 0) nField = FindField(stReader, stBlock.m_stFields, stList.m_arItem[i], BY_ALIAS);
        if (const int nCode = SetColumn(stBlock, stList.m_arItem[i], nField, stChain, arColumn[i])) return nCode;
    }
    return ERR_OK;
}

int CParseSql::ParseOrderBy(QUERYBLOCK& stBlock) {
    const CLAUSERANGE& stClause = stBlock.Clause(CLAUSE_ORDER);
    ITEMLIST stList;
    if (const int nCode = CutList(stBlock.m_lpWords, stClause.m_nBegin, stClause.m_nEnd, false, stList)) return nCode;
    ORDERBY* lpOrder = nullptr;
    COLUMNDEF* arColumn = nullptr;
    UINT nOffset = 0, nColumnOffset = 0;
    if (const int nCode = m_stBson.AllocFromBsonBuffer(lpOrder, nOffset)) return nCode;
    if (const int nCode = AllocColumns(stList, arColumn, nColumnOffset)) return nCode;
    lpOrder->m_bFieldNum = static_cast<BYTE>(stList.m_nNum);
    lpOrder->m_nColumnOffset = nColumnOffset;
    stBlock.m_lpQuery->m_nOrderByOffset = nOffset;

    CFieldChain stChain(m_stBson, stBlock.m_nFieldOffset, stBlock.m_nFieldNum);
    bool bSubset = stBlock.Has(CLAUSE_GROUP);
    for (int i = 0; i < stList.m_nNum; ++i) {
        if (const int nCode = ParseOrderColumn(stBlock, stList.m_arItem[i], stChain, arColumn[i])) return nCode;
        bSubset = bSubset && IsGroupColumn(stBlock, stList.m_arItem[i], arColumn[i]);
    }
    lpOrder->m_bSubsetWithGroupBy = bSubset;
    return ERR_OK;
}

/** One column of ORDER BY, whose direction leaves its words. */
int CParseSql::ParseOrderColumn(QUERYBLOCK& stBlock, LISTITEM& stItem, CFieldChain& stChain, COLUMNDEF& stColumn) {
    const CSqlWordReader stReader(*this, *stBlock.m_lpWords);
    stColumn.m_bSortType = SORT_ASCENDING;
    const int nLast = stItem.m_nEnd > stItem.m_nBegin ? stReader.Keyword(stItem.m_nEnd - 1) : int{WORD_NONE};
    if (nLast == KW_ASC || nLast == KW_DESC) {
        --stItem.m_nEnd;
        if (nLast == KW_DESC) stColumn.m_bSortType = SORT_DESCENDING;
    }
    HashItem(stReader, stItem);
    int nField = -1;
    if (stItem.m_nEnd - stItem.m_nBegin == 1 && stReader.Keyword(stItem.m_nBegin) == WORD_INTEGER) {
        int nPlace = 0;
        if (!stReader.ReadInteger(stItem.m_nBegin, nPlace) || nPlace < 1 || nPlace > stBlock.m_stFields.m_nNum)
            return Fail(ERR_SYNTAX_SELECT, stItem.m_nBegin);
        nField = nPlace - 1;
    } else {
        // What is sorted is the result, so an alias counts before a field's own words.
        nField = FindField(stReader, stBlock.m_stFields, stItem, BY_ALIAS);
        if (nField < 0) nField = FindField(stReader, stBlock.m_stFields, stItem, BY_WORDS);
    }
    return SetColumn(stBlock, stItem, nField, stChain, stColumn);
}

/**
 * A column that names select field `nField`, or below 0 one for which a hidden field is made: ORDER BY makes its own,
 * though GROUP BY has one of the same words.
 */
int CParseSql::SetColumn(QUERYBLOCK& stBlock, const LISTITEM& stItem, int nField, CFieldChain& stChain,
                         COLUMNDEF& stColumn) {
    if (stItem.m_nBegin >= stItem.m_nEnd) return Fail(ERR_SYNTAX_SELECT, stItem.m_nBegin);
    if (nField >= 0) {
        if (nField > USHRT_MAX) return Fail(ERR_FIELD_NUMBER, stItem.m_nBegin);
        stColumn.m_nFieldIndex = static_cast<USHORT>(nField);
        return ERR_OK;
    }
    if (stBlock.m_nHiddenNum > UCHAR_MAX) return Fail(ERR_FIELD_NUMBER, stItem.m_nBegin);
    EXECUTEFIELDBSON* lpField = nullptr;
    UINT nOffset = 0;
    if (const int nCode = stChain.Append(lpField, nOffset)) return nCode;
    lpField->m_bHide = 1;
    stColumn.m_bHideFieldIndex = static_cast<BYTE>(stBlock.m_nHiddenNum++);
    stColumn.m_nHideFieldOffset = nOffset;
    st_PARSEPARAM stParam = stBlock.m_stParam;
    stParam.m_nGroupByOffset = stBlock.m_lpQuery->m_nGroupByOffset;
    CParseExpressionManager stExpression;
    bool bAggregate = false;
    return ParseFieldExpression(stBlock.m_lpWords, stItem, stParam, stExpression, *lpField, bAggregate);
}

/** Whether a column of ORDER BY is one of GROUP BY: the same field, or a hidden one of the same words. */
bool CParseSql::IsGroupColumn(const QUERYBLOCK& stBlock, const LISTITEM& stItem, const COLUMNDEF& stColumn) {
    const CSqlWordReader stReader(*this, *stBlock.m_lpWords);
    const auto* const lpGroup =
        reinterpret_cast<GROUPBY*>(m_stBson.ConvertOffset2Addr(stBlock.m_lpQuery->m_nGroupByOffset));
    const auto* const arGroup = reinterpret_cast<COLUMNDEF*>(m_stBson.ConvertOffset2Addr(lpGroup->m_nColumnOffset));
    for (int i = 0; i < stBlock.m_stGroup.m_nNum; ++i) {
        const bool bHidden = arGroup[i].m_nHideFieldOffset != 0;
        if (bHidden != (stColumn.m_nHideFieldOffset != 0)) continue;
        if (bHidden ? SameWords(stReader, stBlock.m_stGroup.m_arItem[i], stItem)
                    : arGroup[i].m_nFieldIndex == stColumn.m_nFieldIndex)
            return true;
    }
    return false;
}
