// One query block. A scan finds where its clauses stand, then they are compiled in an order of their own: FROM first,
// so that names find their objects, and GROUP BY in front of the select list, whose fields may be its columns.
//
//     SELECT [DISTINCT] fields FROM objects [MATCH ...] [START WITH ... CONNECT BY ...] [WHERE condition]
//         [GROUP BY columns] [HAVING condition] [ORDER BY columns] [PAGING ...]
//         [FOR UPDATE [NOWAIT | SKIP LOCKED | WAIT n]] [AS OF TIMESTAMP 'date']

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>

#include "CommonDataDef.h"
#include "KestroDate.h"
#include "ParseConditionManager.h"
#include "ParseDepth.h"
#include "ParsePush.h"
#include "ParseSqlJoin.h"
#include "ParseSqlQuery.h"

namespace {

/** How a clause begins. */
struct CLAUSEROW {
    QUERYCLAUSE m_nClause;
    int m_nKeyword;
    int m_nNext;   // the keyword behind it, WORD_NONE for any word
    bool m_bOnTop; // not in a subquery
};

constexpr CLAUSEROW CLAUSES[] = {
    {CLAUSE_FROM, KW_FROM, WORD_NONE, false},
    {CLAUSE_MATCH, KW_MATCH, WORD_NONE, false},
    {CLAUSE_START, KW_START, WORD_NONE, false},
    {CLAUSE_WHERE, KW_WHERE, WORD_NONE, false},
    {CLAUSE_GROUP, KW_GROUP, KW_BY, false},
    {CLAUSE_HAVING, KW_HAVING, WORD_NONE, false},
    {CLAUSE_ORDER, KW_ORDER, KW_BY, false},
    {CLAUSE_PAGING, KW_PAGING, WORD_NONE, true},
    {CLAUSE_LOCK, KW_FOR, KW_UPDATE, false},
    // Behind AS OF only. The stamp is the whole statement's, so a subquery has none of its own.
    {CLAUSE_AS_OF, KW_TIMESTAMP, WORD_NONE, true},
};
static_assert(std::size(CLAUSES) + 1 == CLAUSE_NUM);

constexpr int CLAUSE_KEYWORD_MAX = KW_FOR;

/** Of each keyword the number of its row in `CLAUSES`, from 1. */
constexpr auto CLAUSE_OF_KEYWORD = [] {
    std::array<BYTE, CLAUSE_KEYWORD_MAX + 1> arRow = {};
    for (std::size_t i = 0; i < std::size(CLAUSES); ++i)
        arRow[static_cast<std::size_t>(CLAUSES[i].m_nKeyword)] = static_cast<BYTE>(i + 1);
    return arRow;
}();

const CLAUSEROW* FindClause(const CSqlWordReader& stReader, int nWord) {
    const int nKeyword = stReader.Keyword(nWord);
    if (nKeyword > CLAUSE_KEYWORD_MAX) return nullptr;
    const BYTE bRow = CLAUSE_OF_KEYWORD[static_cast<std::size_t>(nKeyword)];
    if (bRow == 0) return nullptr;
    const CLAUSEROW& stRow = CLAUSES[bRow - 1];
    const bool bStands = stRow.m_nClause != CLAUSE_AS_OF ||
                         (stReader.Keyword(nWord - 1) == KW_OF && stReader.Keyword(nWord - 2) == KW_AS);
    return bStands ? &stRow : nullptr;
}

/** The text of AS OF, quotes included: fewer than 32 characters between them. */
constexpr int AS_OF_SIZE = 34;

/** Day 0 of a date, in days from where stamps count. */
constexpr double STAMP_DAYS = 109205;
constexpr double STAMP_TICKS_A_SECOND = 10000000;
/** The low bits of a stamp that count no time. */
constexpr long long STAMP_FACTOR = 32;

/** False for a day that lies outside of what a stamp holds. */
bool MakeStamp(double dblDay, long long& llStamp) {
    // Factor by factor: servers compare the stamp, and one product of all would round to other ticks.
    const double dblTicks = (dblDay - DbTimeZoneValue() / 24.0 + STAMP_DAYS) * 24 * 60 * 60 * STAMP_TICKS_A_SECOND;
    // Written so that no number fails too.
    if (!(std::fabs(dblTicks) < static_cast<double>(LLONG_MAX / STAMP_FACTOR))) return false;
    llStamp = static_cast<long long>(dblTicks) * STAMP_FACTOR;
    return true;
}

} // namespace

/** A step of the compilation of a block, done if the block has the clause. */
struct CParseSql::QUERYSTEP {
    QUERYCLAUSE m_nClause;
    int (CParseSql::*m_pParse)(QUERYBLOCK& stBlock);
};

int CParseSql::ParseSingleQuery(stu_KestroWordArray* lpWords, st_PARSEPARAM* lpParam, int& bLockOption,
                                BYTE& bExecuteParam, UINT& nOffset, long long& llTimestamp, int nPageStart,
                                int nPageSize) {
    static constexpr QUERYSTEP STEPS[] = {
        {CLAUSE_FIELDS, &CParseSql::BeginBlock},  {CLAUSE_LOCK, &CParseSql::ParseLock},
        {CLAUSE_AS_OF, &CParseSql::ParseAsOf},    {CLAUSE_FROM, &CParseSql::ParseFrom},
        {CLAUSE_FIELDS, &CParseSql::CutColumns},  {CLAUSE_GROUP, &CParseSql::ParseGroupBy},
        {CLAUSE_FIELDS, &CParseSql::ParseFields}, {CLAUSE_START, &CParseSql::ParseConnect},
        {CLAUSE_WHERE, &CParseSql::ParseWhere},   {CLAUSE_FIELDS, &CParseSql::JoinConditions},
        {CLAUSE_HAVING, &CParseSql::ParseHaving}, {CLAUSE_ORDER, &CParseSql::ParseOrderBy},
        {CLAUSE_FIELDS, &CParseSql::ParsePage},
    };
    const CParseDepth stDepth;
    if (stDepth.IsTooDeep()) return Fail(ERR_NESTED_QUERY, lpParam->m_nBeginPos);
    if (const int nCode = EnterQuery()) return Fail(nCode, lpParam->m_nBeginPos);
    QUERYBLOCK stBlock = {lpWords, *lpParam, bLockOption, bExecuteParam, llTimestamp, nPageStart, nPageSize};
    if (const int nCode = ScanClauses(stBlock)) return nCode;
    for (const QUERYSTEP& stStep : STEPS)
        if (stBlock.Has(stStep.m_nClause))
            if (const int nCode = (this->*stStep.m_pParse)(stBlock)) return nCode;
    stBlock.m_lpQuery->m_nExecuteFieldOffset = stBlock.m_nFieldOffset;
    stBlock.m_lpQuery->m_nExecuteFieldNum = stBlock.m_nFieldNum;
    nOffset = stBlock.m_nOffset;
    LeaveQuery();
    return ERR_OK;
}

/** Finds the clauses outside of brackets: in their order, each once, up to where the next one begins. */
int CParseSql::ScanClauses(QUERYBLOCK& stBlock) {
    const CSqlWordReader stReader(*this, *stBlock.m_lpWords);
    const int nEnd = stBlock.m_stParam.m_nEndPos;
    int nBegin = stBlock.m_stParam.m_nBeginPos;
    if (nBegin < nEnd && stReader.Keyword(nBegin) == KW_SELECT) ++nBegin;
    CLAUSERANGE* lpLast = stBlock.m_arClause;
    *lpLast = {nBegin, nBegin, nEnd};
    int nDepth = 0;
    for (int i = nBegin; i < nEnd; ++i) {
        const int nKeyword = stReader.Keyword(i);
        nDepth += (nKeyword == WORD_PAREN_OPEN) - (nKeyword == WORD_PAREN_CLOSE);
        if (nDepth < 0 || (nDepth == 0 && nKeyword == KW_SELECT)) return Fail(ERR_SYNTAX_SELECT, i);
        const CLAUSEROW* const lpRow = nDepth == 0 ? FindClause(stReader, i) : nullptr;
        if (!lpRow) continue;
        CLAUSERANGE* const lpClause = stBlock.m_arClause + lpRow->m_nClause;
        const bool bNested = lpRow->m_bOnTop && stBlock.m_stParam.m_bSubQueryType != SUBQUERY_NONE;
        if (bNested || lpClause <= lpLast) return Fail(ERR_SYNTAX_SELECT, i);
        if (lpRow->m_nClause == CLAUSE_MATCH) return Fail(ERR_NOT_DEVELOPED, i);
        const int nWord = lpRow->m_nClause == CLAUSE_AS_OF ? i - 2 : i;
        // AS or OF may have been taken by the clause in front as its own word.
        if (nWord < lpLast->m_nBegin) return Fail(ERR_SYNTAX_SELECT, i);
        if (lpRow->m_nNext != WORD_NONE && (++i >= nEnd || stReader.Keyword(i) != lpRow->m_nNext))
            return Fail(ERR_SYNTAX_SELECT, i);
        lpLast->m_nEnd = nWord;
        *lpClause = {nWord, i + 1, nEnd};
        lpLast = lpClause;
    }
    if (nDepth != 0 || !stBlock.Has(CLAUSE_FROM)) return Fail(ERR_SYNTAX_SELECT, nEnd);
    return ERR_OK;
}

int CParseSql::BeginBlock(QUERYBLOCK& stBlock) {
    UINT nConditionOffset = 0;
    if (const int nCode = m_stBson.AllocFromBsonBuffer(stBlock.m_lpQuery, stBlock.m_nOffset)) return nCode;
    if (const int nCode = m_stBson.AllocFromBsonBuffer(stBlock.m_lpCondition, nConditionOffset)) return nCode;
    stBlock.m_lpQuery->m_nConditionOffset = nConditionOffset;
    stBlock.m_lpQuery->m_bSubQueryType = stBlock.m_stParam.m_bSubQueryType;
    stBlock.m_lpQuery->m_bQueryID = GetQueryID();
    stBlock.m_lpQuery->m_bQueryLevel = GetQueryLevel();
    return ERR_OK;
}

int CParseSql::ParseLock(QUERYBLOCK& stBlock) {
    const CSqlWordReader stReader(*this, *stBlock.m_lpWords);
    const CLAUSERANGE& stClause = stBlock.Clause(CLAUSE_LOCK);
    const int nWord = stClause.m_nBegin, nNum = stClause.m_nEnd - nWord;
    stBlock.m_bLockOption = 1;
    if (nNum == 0) {
        stBlock.m_bExecuteParam = FOR_UPDATE_PLAIN;
    } else if (nNum == 1 && stReader.Keyword(nWord) == KW_NOWAIT) {
        stBlock.m_bExecuteParam = FOR_UPDATE_NOWAIT;
    } else if (nNum == 2 && stReader.Is(nWord, "SKIP") && stReader.Is(nWord + 1, "LOCKED")) {
        stBlock.m_bExecuteParam = FOR_UPDATE_SKIP_LOCKED;
    } else if (nNum == 2 && stReader.Keyword(nWord) == KW_WAIT) {
        if (IsNumber(stReader.Text(nWord + 1), stReader.Len(nWord + 1)) != NUMBER_INTEGER)
            return Fail(ERR_SYNTAX_SELECT, nWord + 1);
        int nSeconds = USHRT_MAX; // as well for a number of more digits than are read
        if (!stReader.ReadInteger(nWord + 1, nSeconds)) nSeconds = USHRT_MAX;
        stBlock.m_bExecuteParam = FOR_UPDATE_WAIT;
        stBlock.m_lpQuery->m_nWaitTime = static_cast<USHORT>(std::clamp(nSeconds, 0, USHRT_MAX));
    } else {
        return Fail(ERR_SYNTAX_SELECT, nWord);
    }
    return ERR_OK;
}

int CParseSql::ParseAsOf(QUERYBLOCK& stBlock) {
    const CSqlWordReader stReader(*this, *stBlock.m_lpWords);
    const CLAUSERANGE& stClause = stBlock.Clause(CLAUSE_AS_OF);
    const int nWord = stClause.m_nBegin;
    char szText[AS_OF_SIZE];
    if (stClause.m_nEnd == nWord ||
        CopyStringFromSql(stReader.Text(nWord), stReader.Len(nWord), szText, AS_OF_SIZE - 1) != STRING_COPIED)
        return Fail(ERR_SYNTAX_SELECT, nWord);
    if (stClause.m_nEnd != nWord + 1) return Fail(ERR_SYNTAX_SELECT, nWord + 1);
    CKestroDate stDate;
    DATE dblDay = 0;
    if (const int nCode = stDate.ParseDate(dblDay, szText, static_cast<int>(std::strlen(szText))))
        return Fail(nCode, nWord);
    return MakeStamp(dblDay, stBlock.m_llTimestamp) ? ERR_OK : Fail(ERR_DATE_DATA, nWord);
}

int CParseSql::ParseFrom(QUERYBLOCK& stBlock) {
    st_PARSEPARAM stParam = stBlock.m_stParam;
    stParam.m_nBeginPos = stBlock.Clause(CLAUSE_FROM).m_nBegin;
    stParam.m_nEndPos = stBlock.Clause(CLAUSE_FROM).m_nEnd;
    USHORT nObjectNum = 0;
    const int nCode = ParseExecuteObject(stBlock.m_lpWords, &stParam, nObjectNum, stBlock.m_nObjectOffset,
                                         stBlock.m_nInnerOn, stBlock.m_nOuterOn, stBlock.m_nJoinTree, 0);
    stBlock.m_lpQuery->m_nObjectNum = nObjectNum;
    stBlock.m_lpQuery->m_nObjectOffset = stBlock.m_nObjectOffset;
    return nCode;
}

int CParseSql::ParseFields(QUERYBLOCK& stBlock) {
    st_PARSEPARAM stParam = stBlock.m_stParam;
    stParam.m_nBeginPos = stBlock.Clause(CLAUSE_FIELDS).m_nBegin;
    stParam.m_nEndPos = stBlock.Clause(CLAUSE_FIELDS).m_nEnd;
    stParam.m_nGroupByOffset = stBlock.m_lpQuery->m_nGroupByOffset;
    stParam.m_bAggreFun = stParam.m_bDistinct = 0;
    int bAggreMixed = 0;
    const int nCode =
        ParseSelectField(stBlock.m_lpWords, &stParam, stBlock.m_nFieldOffset, stBlock.m_nFieldNum, bAggreMixed);
    stBlock.m_lpQuery->m_bAggreFun = stParam.m_bAggreFun != 0;
    stBlock.m_lpQuery->m_bDistinct = stParam.m_bDistinct != 0;
    stBlock.m_lpQuery->m_bAggreMixed = bAggreMixed != 0;
    return nCode;
}

int CParseSql::ParseConditionRange(stu_KestroWordArray* lpWords, const st_PARSEPARAM& stParam, int nBegin, int nEnd,
                                   UINT& nCondition, int& nVarNum) {
    CParseConditionManager stCondition;
    stCondition.Initial(&m_stBson, lpWords, this);
    st_PARSEPARAM stRange = stParam;
    stRange.m_nBeginPos = nBegin;
    stRange.m_nEndPos = nEnd;
    if (const int nCode = stCondition.ParseCondition(&stRange)) return Fail(nCode, stCondition.GetSqlErrorPos());
    nCondition = stCondition.GetConditionOffset();
    nVarNum = stCondition.GetVarMathExpressionNum();
    return ERR_OK;
}

/** WHERE, out of which comparisons with a "(+)" go into the join tree and their conditions into that of the joins. */
int CParseSql::ParseWhere(QUERYBLOCK& stBlock) {
    const CLAUSERANGE& stClause = stBlock.Clause(CLAUSE_WHERE);
    int nVarNum = 0;
    if (const int nCode = ParseConditionRange(stBlock.m_lpWords, stBlock.m_stParam, stClause.m_nBegin, stClause.m_nEnd,
                                              stBlock.m_nWhere, nVarNum))
        return nCode;
    stBlock.m_lpQuery->m_nConditionFieldNum = static_cast<UINT>(nVarNum);
    if (stBlock.m_nWhere == 0) return ERR_OK;
    const bool bOn = stBlock.m_nInnerOn != 0 || stBlock.m_nOuterOn != 0;
    CKestroQueueUINT stMoved;
    if (const int nCode =
            GetJoinTreeFromCondition(m_stBson, stBlock.m_nWhere, stBlock.m_nObjectOffset, stBlock.m_nJoinTree, stMoved))
        return Fail(nCode, stClause.m_nBegin);
    // A query says how it joins in one of the two ways only.
    if (bOn && !stMoved.empty()) return Fail(ERR_SYNTAX_SELECT, stClause.m_nBegin);
    for (; !stMoved.empty(); stMoved.pop())
        if (const int nCode = AddCondition(&m_stBson, CONDITION_NODE, stMoved.front(), LOGIC_AND, stBlock.m_nOuterOn))
            return nCode;
    return ERR_OK;
}

/** Completes the join tree, and brings WHERE and the conditions of the joins together. */
int CParseSql::JoinConditions(QUERYBLOCK& stBlock) {
    COMMONCONDITION& stCondition = *stBlock.m_lpCondition;
    if (stBlock.m_nJoinTree != 0) {
        if (!HasDistinctBits(stBlock.m_nObjectOffset))
            return Fail(ERR_OBJECT_NUMBER, stBlock.Clause(CLAUSE_FROM).m_nBegin);
        if (const int nCode = AddBaseRel2JoinTree(m_stBson, stBlock.m_nObjectOffset, stBlock.m_nJoinTree)) return nCode;
        stBlock.m_lpQuery->m_nQueryPathOffset = stBlock.m_nJoinTree;
    }
    if (stBlock.m_nInnerOn != 0)
        if (const int nCode = AddCondition(&m_stBson, CONDITION_NODE, stBlock.m_nInnerOn, LOGIC_AND, stBlock.m_nWhere))
            return nCode;
    stCondition.m_nWhereOffset = stBlock.m_nWhere;
    if (stBlock.m_nOuterOn == 0) return ERR_OK;
    if (stBlock.m_nWhere == 0) {
        stCondition.m_nWhereOffset = stBlock.m_nOuterOn;
        stCondition.m_bJoin = WHERE_JOIN;
        return ERR_OK;
    }
    BASECONDITIONBSON* lpBoth = nullptr;
    UINT nOffset = 0;
    if (const int nCode = m_stBson.AllocFromBsonBuffer(lpBoth, nOffset)) return nCode;
    lpBoth->m_bConditionType1 = lpBoth->m_bConditionType2 = CONDITION_NODE;
    lpBoth->m_bLogicOperator = LOGIC_AND;
    lpBoth->m_nConditionOffset1 = stBlock.m_nOuterOn;
    lpBoth->m_nConditionOffset2 = stBlock.m_nWhere;
    stCondition.m_nWhereOffset = nOffset;
    stCondition.m_bJoin = stBlock.m_nJoinTree != 0 ? WHERE_AND_JOIN : WHERE_PLAIN;
    return ERR_OK;
}

/** Whether each object has a bit of its own in a join tree's sets; objects 64 apart share one. */
bool CParseSql::HasDistinctBits(UINT nObjectOffset) {
    relbitmap nAll = 0;
    while (nObjectOffset != 0) {
        const auto* const lpObject = reinterpret_cast<OBJECTBSON*>(m_stBson.ConvertOffset2Addr(nObjectOffset));
        relbitmap nOne = 0;
        AddRel(lpObject->m_bObjectNo, nOne);
        if (BmsOverlap(nAll, nOne)) return false;
        nAll |= nOne;
        nObjectOffset = lpObject->m_nNextOffset;
    }
    return true;
}

int CParseSql::ParseHaving(QUERYBLOCK& stBlock) {
    const CLAUSERANGE& stClause = stBlock.Clause(CLAUSE_HAVING);
    if (!stBlock.Has(CLAUSE_GROUP)) return Fail(ERR_SYNTAX_SELECT, stClause.m_nWord);
    HAVINGCONDITION* lpHaving = nullptr;
    UINT nOffset = 0;
    if (const int nCode = m_stBson.AllocFromBsonBuffer(lpHaving, nOffset)) return nCode;
    stBlock.m_lpCondition->m_nHavingCondOffset = nOffset;
    st_PARSEPARAM stParam = stBlock.m_stParam;
    stParam.m_bHaving = 1;
    stParam.m_nGroupByOffset = stBlock.m_lpQuery->m_nGroupByOffset;
    UINT nCondition = 0;
    int nVarNum = 0;
    if (const int nCode =
            ParseConditionRange(stBlock.m_lpWords, stParam, stClause.m_nBegin, stClause.m_nEnd, nCondition, nVarNum))
        return nCode;
    if (nCondition == 0) return Fail(ERR_SELECT_CONDITION, stClause.m_nBegin);
    if (nVarNum > UCHAR_MAX) return Fail(ERR_SYNTAX_SELECT, stClause.m_nBegin);
    lpHaving->m_nConditionOffset = nCondition;
    lpHaving->m_nConditionFieldNum = static_cast<UINT>(nVarNum);
    return ERR_OK;
}

/** PAGING, or else the page that came with the statement, unless locks, groups or an order forbid it. */
int CParseSql::ParsePage(QUERYBLOCK& stBlock) {
    if (stBlock.Has(CLAUSE_PAGING)) return ParsePaging(stBlock);
    if (stBlock.m_nPageSize == 0 || stBlock.Has(CLAUSE_LOCK) || stBlock.Has(CLAUSE_GROUP) || stBlock.Has(CLAUSE_ORDER))
        return ERR_OK;
    stBlock.m_lpQuery->m_bPageType = 1;
    stBlock.m_lpQuery->m_nPageStartNo = stBlock.m_nPageStart;
    stBlock.m_lpQuery->m_nPageSize = stBlock.m_nPageSize;
    return ERR_OK;
}

/** PAGESIZE = n , PAGENO = m, or the other way round. */
int CParseSql::ParsePaging(QUERYBLOCK& stBlock) {
    constexpr int WORD_NUM = 7, SECOND = 4;
    const CSqlWordReader stReader(*this, *stBlock.m_lpWords);
    const CLAUSERANGE& stClause = stBlock.Clause(CLAUSE_PAGING);
    const int nFirst = stClause.m_nBegin;
    const bool bSizeFirst = stReader.Keyword(nFirst) == KW_PAGESIZE;
    const int arKeyword[] = {bSizeFirst ? KW_PAGESIZE : KW_PAGENO, WORD_EQUAL, WORD_INTEGER, WORD_COMMA,
                             bSizeFirst ? KW_PAGENO : KW_PAGESIZE, WORD_EQUAL, WORD_INTEGER};
    static_assert(std::size(arKeyword) == WORD_NUM);
    int arValue[WORD_NUM] = {};
    for (int i = 0; i < WORD_NUM; ++i) {
        const int nWord = nFirst + i;
        if (nWord >= stClause.m_nEnd || stReader.Keyword(nWord) != arKeyword[i] ||
            (arKeyword[i] == WORD_INTEGER && !stReader.ReadInteger(nWord, arValue[i])))
            return Fail(ERR_SELECT_PAGING, nWord);
    }
    if (stClause.m_nEnd != nFirst + WORD_NUM) return Fail(ERR_SELECT_PAGING, nFirst + WORD_NUM);
    stBlock.m_lpQuery->m_bPageType = 1;
    stBlock.m_lpQuery->m_nPageSize = arValue[bSizeFirst ? 2 : SECOND + 2];
    stBlock.m_lpQuery->m_nPageNo = arValue[bSizeFirst ? SECOND + 2 : 2];
    return ERR_OK;
}
