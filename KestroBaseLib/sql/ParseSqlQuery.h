#pragma once

#include "ParseSql.h"
#include "SqlWordReader.h"

/** The clauses of a query in the order in which they are written. */
enum QUERYCLAUSE : BYTE {
    CLAUSE_FIELDS = 0, // the select list; always there
    CLAUSE_FROM,
    CLAUSE_MATCH,
    CLAUSE_START,
    CLAUSE_WHERE,
    CLAUSE_GROUP,
    CLAUSE_HAVING,
    CLAUSE_ORDER,
    CLAUSE_PAGING,
    CLAUSE_LOCK,
    CLAUSE_AS_OF,
    CLAUSE_NUM
};

/** Where a clause stands; `m_nBegin` is behind its keywords. Without a word: there is none. */
struct CLAUSERANGE {
    int m_nWord = -1;
    int m_nBegin = 0;
    int m_nEnd = 0;
};

/** An item of a list: its words, and the word that is its alias, which isn't one of them. */
struct LISTITEM {
    int m_nBegin;
    int m_nEnd;
    int m_nTitle = -1;     // none
    UINT m_nHash = 0;      // of the words, once they are compared with others
    UINT m_nTitleHash = 0; // of the alias
};

/** The items of a list, in scratch memory. */
struct ITEMLIST {
    LISTITEM* m_arItem = nullptr;
    int m_nNum = 0;
};

/** One query block while it is compiled. */
struct CParseSql::QUERYBLOCK {
    stu_KestroWordArray* m_lpWords;
    const st_PARSEPARAM& m_stParam;
    int& m_bLockOption;
    BYTE& m_bExecuteParam;
    long long& m_llTimestamp;
    int m_nPageStart;
    int m_nPageSize;

    CLAUSERANGE m_arClause[CLAUSE_NUM] = {};
    UINT m_nOffset = 0;
    QUERYEXECUTEPLANBSON* m_lpQuery = nullptr;
    COMMONCONDITION* m_lpCondition = nullptr;
    UINT m_nFieldOffset = 0;
    UINT m_nFieldNum = 0;
    int m_nHiddenNum = 0;
    ITEMLIST m_stFields = {}; // the select list, if a column may name one of its fields
    ITEMLIST m_stGroup = {};
    UINT m_nObjectOffset = 0;
    UINT m_nInnerOn = 0;
    UINT m_nOuterOn = 0;
    UINT m_nJoinTree = 0;
    UINT m_nWhere = 0;

    bool Has(QUERYCLAUSE nClause) const { return m_arClause[nClause].m_nWord >= 0; }
    const CLAUSERANGE& Clause(QUERYCLAUSE nClause) const { return m_arClause[nClause]; }
};

/** Appends to a chain of fields, whose end it looks for once. First offset and number are the owner's. */
class CFieldChain {
public:
    CFieldChain(CBaseBson& stBson, UINT& nFirst, UINT& nNum);
    /** A zeroed field at the end. */
    [[nodiscard]] int Append(EXECUTEFIELDBSON*& lpField, UINT& nOffset);

private:
    CBaseBson& m_stBson;
    UINT& m_nFirst;
    UINT& m_nNum;
    EXECUTEFIELDBSON* m_lpLast = nullptr;
};

/**
 * A field of a select list without its alias: the last word, if it's a name, and the one before neither an operator nor
 * "." nor "(". AS in front of it belongs to neither.
 */
LISTITEM CutTitle(const CSqlWordReader& stReader, int nBegin, int nEnd);
