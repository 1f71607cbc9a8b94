// INSERT INTO [database.]table [(column, ...)] and behind it either VALUES (value, ...), ... or a query, which may
// stand in brackets, with ANY or ALL in front or not. The rows of VALUES are counted first and lie in one array.

#include <climits>
#include <cstring>

#include "CommonDataDef.h"
#include "ParseExpressionManager.h"
#include "ParseSqlQuery.h"

namespace {

/** A row's values are numbered by a byte. */
constexpr int ROW_VALUE_NUM_MAX = UCHAR_MAX;

/** Whether a query begins here, behind any number of brackets. */
bool IsQuery(const CSqlWordReader& stReader, int nWord) {
    while (stReader.Keyword(nWord) == WORD_PAREN_OPEN)
        ++nWord;
    return stReader.Keyword(nWord) == KW_SELECT;
}

/** A word of one byte, which a sign is; 0 for all others. Their codes aren't needed to cut rows. */
char SignAt(const stu_KestroWordArray& stWords, int nWord) {
    return stWords.m_arWordLen[nWord] == 1 ? *stWords.m_arWord[nWord] : '\0';
}

/** The "," or ")" behind a value that begins at `nWord`; brackets are known to close. */
int FindValueEnd(const stu_KestroWordArray& stWords, int nWord) {
    for (int nDepth = 0;; ++nWord) {
        const char chSign = SignAt(stWords, nWord);
        if (nDepth == 0 && (chSign == ',' || chSign == ')')) return nWord;
        nDepth += (chSign == '(') - (chSign == ')');
    }
}

} // namespace

/** The rows of VALUES, all of which have as many values. */
struct CParseSql::INSERTROWS {
    UINT m_nRowNum = 0;
    int m_nValueNum = 0;
};

int CParseSql::ParseInsert(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan) {
    return ParseText(lpszSql, nPos, lpPlan, &CParseSql::ParseInsert);
}

int CParseSql::ParseInsert(stu_KestroWordArray* lpWords, int nBegin, int nEnd, EXECUTEPLANBSON* lpPlan) {
    stu_KestroWordArray stWords = SqlWordsUpTo(*lpWords, nEnd);
    const int nKind = GetKeyword(&stWords, nBegin);
    if (nKind == KW_NODE || nKind == KW_RELATION) return Fail(ERR_NOT_DEVELOPED, nBegin);
    if (nKind != KW_INTO) return Fail(ERR_SYNTAX_INSERT, nBegin);
    INSERTEXECUTEPLANBSON* lpInsert = nullptr;
    UINT nOffset = 0;
    if (const int nCode = m_stBson.AllocFromBsonBuffer(lpInsert, nOffset)) return nCode;
    lpPlan->m_nCommandOffset = nOffset;
    return ParseCommonInsert(&stWords, nBegin + 1, lpPlan);
}

int CParseSql::ParseCommonInsert(stu_KestroWordArray* lpWords, int nBegin, EXECUTEPLANBSON* lpPlan) {
    auto* const lpInsert =
        reinterpret_cast<INSERTEXECUTEPLANBSON*>(m_stBson.ConvertOffset2Addr(lpPlan->m_nCommandOffset));
    if (!lpInsert) return Fail(ERR_INSERT_NULL_POINTER, nBegin);
    const CSqlWordReader stReader(*this, *lpWords);
    int nWord = nBegin;
    if (const int nCode = ParseInsertTarget(lpWords, nWord, *lpInsert)) return nCode;
    lpInsert->m_bAllField = stReader.Keyword(nWord) != WORD_PAREN_OPEN || IsQuery(stReader, nWord);
    if (!lpInsert->m_bAllField)
        if (const int nCode = ParseInsertField(lpWords, nWord, *lpInsert)) return nCode;
    const int nKeyword = stReader.Keyword(nWord);
    if (nKeyword == KW_ANY || nKeyword == KW_ALL || IsQuery(stReader, nWord))
        return ParseInsertQuery(lpWords, nWord, *lpInsert, lpPlan);
    if (nKeyword != KW_VALUES) return Fail(ERR_SYNTAX_INSERT, nWord);
    return ParseInsertRows(lpWords, nWord + 1, *lpInsert, lpPlan);
}

/** The table, and `nWord` is behind it. */
int CParseSql::ParseInsertTarget(stu_KestroWordArray* lpWords, int& nWord, INSERTEXECUTEPLANBSON& stInsert) {
    const CSqlWordReader stReader(*this, *lpWords);
    char szDatabase[KESTRO_NAME_SIZE] = {}, szName[KESTRO_NAME_SIZE] = {};
    const bool bDatabase = stReader.Keyword(nWord + 1) == WORD_POINT;
    // The place of a bad name is always told as that of the first word.
    const int nFirst = nWord;
    if (bDatabase && CopyDatabaseNameFromSql(stReader.Text(nWord), stReader.Len(nWord), szDatabase) == NAME_BAD)
        return Fail(ERR_EXPECT_TABLE_NAME, nFirst);
    if (bDatabase) nWord += 2;
    if (CopyNameFromSql(stReader.Text(nWord), stReader.Len(nWord), szName) == NAME_BAD)
        return Fail(ERR_EXPECT_TABLE_NAME, nFirst);
    ++nWord;
    OBJECTBSON* lpObject = nullptr;
    BYTE bNo = 0;
    UINT nOffset = 0, nText = 0;
    if (const int nCode = SetObjectName(szDatabase, szName, OBJECT_TABLE, bNo)) return Fail(nCode, nFirst);
    if (const int nCode = m_stBson.AllocFromBsonBuffer(lpObject, nOffset)) return nCode;
    stInsert.m_stExecuteObject.m_nObjectOffset = nOffset;
    lpObject->m_bObjectType = OBJECT_TABLE;
    lpObject->m_bObjectNo = bNo;
    lpObject->m_bObjectNameLen = static_cast<BYTE>(std::strlen(szName) + 1);
    if (const int nCode = CopyToPlan(szName, lpObject->m_bObjectNameLen - 1, nText)) return nCode;
    lpObject->m_nObjectNameOffset = nText;
    if (!bDatabase) return ERR_OK;
    const int nCode = CopyToPlan(szDatabase, static_cast<int>(std::strlen(szDatabase)), nText);
    lpObject->m_nDataBaseNameOffset = nText;
    return nCode;
}

/** The columns in brackets, and `nWord` is behind them. */
int CParseSql::ParseInsertField(stu_KestroWordArray* lpWords, int& nWord, INSERTEXECUTEPLANBSON& stInsert) {
    const CSqlWordReader stReader(*this, *lpWords);
    UINT nFirst = 0, nNum = 0;
    CFieldChain stChain(m_stBson, nFirst, nNum);
    do {
        char szName[KESTRO_NAME_SIZE];
        ++nWord;
        if (CopyNameFromSql(stReader.Text(nWord), stReader.Len(nWord), szName) == NAME_BAD)
            return Fail(ERR_SYNTAX_INSERT, nWord);
        EXECUTEFIELDBSON* lpField = nullptr;
        UINT nOffset = 0;
        if (const int nCode = stChain.Append(lpField, nOffset)) return nCode;
        lpField->m_bNameLen = static_cast<BYTE>(std::strlen(szName));
        if (const int nCode = CopyToPlan(szName, lpField->m_bNameLen, nOffset)) return nCode;
        lpField->m_nExpNameOffset = nOffset;
        ++nWord;
    } while (stReader.Keyword(nWord) == WORD_COMMA);
    if (stReader.Keyword(nWord) != WORD_PAREN_CLOSE) return Fail(ERR_SYNTAX_INSERT, nWord);
    stInsert.m_nExecuteFieldOffset = nFirst;
    stInsert.m_nExecuteFieldNum = nNum;
    ++nWord;
    return ERR_OK;
}

/** A query to the end, set operations included. */
int CParseSql::ParseInsertQuery(stu_KestroWordArray* lpWords, int nWord, INSERTEXECUTEPLANBSON& stInsert,
                                EXECUTEPLANBSON* lpPlan) {
    const CSqlWordReader stReader(*this, *lpWords);
    const int nKind = stReader.Keyword(nWord);
    const bool bQuantified = nKind == KW_ANY || nKind == KW_ALL;
    if (bQuantified && (stReader.Keyword(nWord + 1) != WORD_PAREN_OPEN || !IsQuery(stReader, nWord + 1)))
        return Fail(ERR_SYNTAX_INSERT, nWord + 1);
    st_PARSEPARAM stParam;
    stParam.m_bSubQueryType = nKind == KW_ANY ? SUBQUERY_ANY : nKind == KW_ALL ? SUBQUERY_ALL : SUBQUERY_NONE;
    stParam.m_nBeginPos = bQuantified ? nWord + 1 : nWord;
    stParam.m_nEndPos = stParam.m_nQueryEnd = stReader.Num();
    int bLockOption = 0;
    BYTE bExecuteParam = FOR_UPDATE_NONE;
    UINT nOffset = 0;
    long long llTimestamp = 0;
    if (const int nCode = ParseCommonQuery(lpWords, &stParam, bLockOption, bExecuteParam, nOffset, llTimestamp, 0, 0))
        return nCode;
    if (bLockOption || bExecuteParam != FOR_UPDATE_NONE) return Fail(ERR_FOR_UPDATE, nWord);
    stInsert.m_bSubQuery = 1;
    stInsert.m_nQueryPlanOffset = nOffset;
    lpPlan->m_nTimestamp = llTimestamp;
    return ERR_OK;
}

/** Counts the rows up to the last word, and sees that they have as many values and that brackets close. */
int CParseSql::CountInsertRows(stu_KestroWordArray* lpWords, int nBegin, INSERTROWS& stRows) {
    const int nEnd = lpWords->m_nNum;
    for (int i = nBegin;; ++i) {
        const int nRow = i;
        if (i >= nEnd || SignAt(*lpWords, i) != '(') return Fail(ERR_SYNTAX_INSERT, i);
        int nValueNum = 1;
        for (int nDepth = 1; nDepth != 0;) {
            if (++i >= nEnd) return Fail(ERR_SYNTAX_INSERT, nEnd);
            const char chSign = SignAt(*lpWords, i);
            nDepth += (chSign == '(') - (chSign == ')');
            nValueNum += chSign == ',' && nDepth == 1;
        }
        if (stRows.m_nRowNum++ == 0) stRows.m_nValueNum = nValueNum;
        if (nValueNum != stRows.m_nValueNum || nValueNum > ROW_VALUE_NUM_MAX) return Fail(ERR_SYNTAX_INSERT, nRow);
        if (++i == nEnd) return ERR_OK;
        if (SignAt(*lpWords, i) != ',') return Fail(ERR_SYNTAX_INSERT, i);
    }
}

int CParseSql::ParseInsertRows(stu_KestroWordArray* lpWords, int nBegin, INSERTEXECUTEPLANBSON& stInsert,
                               EXECUTEPLANBSON* lpPlan) {
    INSERTROWS stRows;
    if (const int nCode = CountInsertRows(lpWords, nBegin, stRows)) return nCode;
    const UINT nValueNum = static_cast<UINT>(stRows.m_nValueNum);
    if (!stInsert.m_bAllField && stInsert.m_nExecuteFieldNum != nValueNum) return Fail(ERR_SYNTAX_INSERT, nBegin);
    const std::uint64_t nHeads = std::uint64_t{stRows.m_nRowNum} * sizeof(RECORDHEAD);
    const std::uint64_t nFields = std::uint64_t{stRows.m_nRowNum} * nValueNum * sizeof(RSFIELDBSON);
    if (nHeads + nFields > UINT_MAX) return ERR_MEMORY;
    UINT nOffset = 0;
    LPBYTE lpBytes = nullptr;
    if (const int nCode = m_stBson.AllocFromBsonBuffer(static_cast<UINT>(nHeads + nFields), nOffset, lpBytes))
        return nCode;
    stInsert.m_stExecuteObject.m_stExecuteRecord.m_nRecordNum = stRows.m_nRowNum;
    stInsert.m_stExecuteObject.m_stExecuteRecord.m_nRecordAddrID = nOffset;
    lpPlan->m_nInsertRecordNum = stRows.m_nRowNum;

    auto* const lpHead = reinterpret_cast<RECORDHEAD*>(lpBytes);
    auto* const lpField = reinterpret_cast<RSFIELDBSON*>(lpBytes + nHeads);
    CParseExpressionManager stLiterals;
    stLiterals.Initial(&m_stBson, lpWords, this);
    int nWord = nBegin;
    for (UINT i = 0; i < stRows.m_nRowNum; ++i) {
        RSFIELDBSON* const lpFirst = lpField + std::size_t{i} * nValueNum;
        lpHead[i].m_bOperationType = RECORD_INSERT;
        lpHead[i].m_bFieldNum = static_cast<BYTE>(nValueNum);
        lpHead[i].m_nRsFieldOffset = m_stBson.GetOffset(reinterpret_cast<const BYTE*>(lpFirst));
        if (const int nCode = ParseInsertValue(lpWords, nWord, stRows.m_nValueNum, stLiterals, lpFirst)) return nCode;
    }
    return ERR_OK;
}

/** The values of the row whose bracket is `nWord`, which then is behind the "," that follows the row. */
int CParseSql::ParseInsertValue(stu_KestroWordArray* lpWords, int& nWord, int nValueNum,
                                CParseExpressionManager& stLiterals, RSFIELDBSON* lpField) {
    for (int i = 0; i < nValueNum; ++i) {
        const int nBegin = nWord + 1;
        nWord = FindValueEnd(*lpWords, nBegin);
        if (nWord == nBegin) return Fail(ERR_SYNTAX_INSERT, nWord);
        UINT nOffset = 0;
        BYTE bClass = EXPCLASS_CONSTANT;
        if (nWord == nBegin + 1 && CParseExpressionManager::IsLiteral(GetKeyword(lpWords, nBegin))) {
            if (const int nCode = stLiterals.ParseLoneLiteral(nBegin)) return Fail(nCode, nBegin);
            nOffset = stLiterals.GetExpressionOffset();
        } else if (const int nCode = ParseValue(lpWords, nBegin, nWord, nOffset, bClass)) {
            return nCode;
        }
        lpField[i].m_bTempNo = static_cast<BYTE>(i + 1);
        lpField[i].m_bFlag = bClass;
        lpField[i].m_nFieldDataOffset = nOffset;
    }
    nWord += 2;
    return ERR_OK;
}
