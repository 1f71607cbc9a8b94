#pragma once

#include <string_view>

#include "BaseBson.h"
#include "KestroKeywordParse.h"
#include "KestroQueue.h"
#include "ParseSqlWords.h"

class CFieldChain;
class CParseExpressionManager;
class CSqlWordReader;
struct ITEMLIST;
struct LISTITEM;

/** A table-like object of a statement; its row number, from 1, is its number in the plan. */
struct OBJECTNAME {
    char m_pDataBaseName[68]; // empty if none was named
    char m_pObjectName[68];
    char m_pObjectTitle[68]; // alias, or empty
    BYTE m_bObjectType;
    BYTE m_bQueryLevel; // the level at which it was named
    BYTE m_bSupperID;   // the query it belongs to
    BYTE m_bReserved;   // zero
};

/**
 * Compiles one statement into one plan. What its operations answer is 0 or an error's code; ERR_MEMORY stands for a
 * plan buffer that is too small as well. The plan is this object's and goes with it. One statement, one object; one
 * thread at a time.
 */
class CParseSql {
public:
    CParseSql();
    CParseSql(const CParseSql&) = delete;
    CParseSql& operator=(const CParseSql&) = delete;
    virtual ~CParseSql();

    // --- statements, each from byte `nPos` of a terminated text on (ParseSql.cpp has the verbs) ----------------------

    [[nodiscard]] virtual int ParseQuery(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan, int nPageStart,
                                         int nPageSize, int nParens);
    [[nodiscard]] virtual int ParseInsert(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan);
    [[nodiscard]] virtual int ParseInsert(stu_KestroWordArray* lpWords, int nBegin, int nEnd, EXECUTEPLANBSON* lpPlan);
    [[nodiscard]] virtual int ParseUpdate(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan);
    [[nodiscard]] virtual int ParseUpdate(stu_KestroWordArray* lpWords, int nBegin, int nEnd, EXECUTEPLANBSON* lpPlan);
    [[nodiscard]] virtual int ParseDelete(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan);
    [[nodiscard]] virtual int ParseDelete(stu_KestroWordArray* lpWords, int nBegin, int nEnd, EXECUTEPLANBSON* lpPlan);
    [[nodiscard]] virtual int ParseCreate(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan);
    [[nodiscard]] virtual int ParseDrop(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan);
    [[nodiscard]] virtual int ParseTrancate(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan);
    [[nodiscard]] virtual int ParseAlter(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan);
    [[nodiscard]] virtual int ParseGrant(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan);
    [[nodiscard]] virtual int ParseRevoke(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan);
    [[nodiscard]] virtual int ParseRename(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan);
    [[nodiscard]] virtual int ParseSet(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan);
    [[nodiscard]] int ParseBeginTx(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan);
    [[nodiscard]] int ParseCommitTx(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan);
    [[nodiscard]] int ParseRollbackTx(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan);
    [[nodiscard]] int ParseUse(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan);
    [[nodiscard]] int ParseFix(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan);

    /**
     * Compiles `nLen` bytes of text, which are only read. With 0 `lpPlan` is the finished plan; after an error it is
     * null, and `GetErrorPos` the number of the word at fault, from 0 behind the verb. A plan that comes in is a block
     * of the caller's, tried first, with its capacity in `m_nClientBsonDataSize`. Where a buffer is too small, the
     * statement is compiled again in one of the fourfold size, so ERR_MEMORY means that there is no such block. The
     * page is that of a SELECT: first row and rows, 0 for all.
     */
    [[nodiscard]] int ParseSql(const char* lpszSql, int nLen, EXECUTEPLANBSON*& lpPlan, int nPageStart, int nPageSize,
                               BYTE bDatabaseNo);

    int GetErrorPos() const { return m_nErrorPos; }
    /** Notes the word at fault and answers the code. */
    [[nodiscard]] int Fail(int nCode, int nWord) {
        m_nErrorPos = nWord;
        return nCode;
    }
    CBaseBson& GetParseBson() { return m_stBson; }
    EXECUTEPLANBSON* GetExecutePlan() { return m_stBson.GetExecutePlan(); }

    // --- queries inside statements: the words of a range, whose end the cursor keeps

    /** A query expression with its set operations; `nOffset` is the record of its first query. */
    [[nodiscard]] int ParseCommonQuery(stu_KestroWordArray* lpWords, st_PARSEPARAM* lpParam, int& bLockOption,
                                       BYTE& bExecuteParam, UINT& nOffset, long long& llTimestamp, int nPageStart,
                                       int nPageSize);
    /** One query block. `bLockOption` and `bExecuteParam` tell of FOR UPDATE, `llTimestamp` of AS OF TIMESTAMP. */
    [[nodiscard]] int ParseSingleQuery(stu_KestroWordArray* lpWords, st_PARSEPARAM* lpParam, int& bLockOption,
                                       BYTE& bExecuteParam, UINT& nOffset, long long& llTimestamp, int nPageStart,
                                       int nPageSize);
    /**
     * A FROM list: its objects, the ON conditions of inner and of outer joins, and the root of the join tree; each an
     * offset, 0 for none.
     */
    [[nodiscard]] int ParseExecuteObject(stu_KestroWordArray* lpWords, st_PARSEPARAM* lpParam, USHORT& nObjectNum,
                                         UINT& nObjectOffset, UINT& nInnerOn, UINT& nOuterOn, UINT& nJoinTree,
                                         BYTE bOption);

    // --- parameters (ParseSqlBind.cpp)

    /** Notes a "?" by the plan offset of its element. */
    [[nodiscard]] int AddParameter(UINT nElementOffset);
    int GetParameterNum() const { return m_vecFieldOffset.size(); }
    /**
     * Gives parameter `nIndex`, from 1, its value, as often as wanted: text and binary by their length, numbers, dates
     * and decimals; anything else is NULL. ERR_OUT_OF_BOUNDS, ERR_MEMORY. The plan may move: ask `GetExecutePlan`.
     */
    [[nodiscard]] int BindData(int nIndex, st_VARDATA& stValue);
    /** Closes the plan again once all values are bound. ERR_NULL_POINTER without a plan. */
    [[nodiscard]] int ExecuteBind();

    // --- objects (ParseSqlObject.cpp); names count without regard to case

    /** Whether an object was named with this database; whether there is an object of this name or alias. */
    BOOL FindDataBaseName(const char* lpszDatabase) const;
    BOOL FindObjectName(const char* lpszName) const;
    /**
     * The object that a qualifier means, from the innermost query outward, 0 for none: by its alias, or, if it has
     * none, by its name; of one database and kind unless these are null or empty, and 0.
     */
    BYTE FindObject(const char* lpszDatabase, const char* lpszName, BYTE bType) const;
    /** The number of an object in the current query, which is added if need be. ERR_MEMORY, ERR_OBJECT_NUMBER. */
    [[nodiscard]] int SetObjectName(const char* lpszDatabase, const char* lpszName, BYTE bType, BYTE& bNo);
    /** The same for an object with an alias: ERR_DUPLICATE_ALIAS if the query has this one already. */
    [[nodiscard]] int SetObjectTitle(const char* lpszDatabase, const char* lpszName, BYTE bType, const char* lpszTitle,
                                     BYTE& bNo);
    /**
     * Opens a query inside the current one, which `LeaveQuery` closes. ERR_NESTED_QUERY at the 32nd level, or for the
     * 256th query.
     */
    [[nodiscard]] int EnterQuery();
    void LeaveQuery() { --m_bQueryLevel; }
    BYTE GetQueryLevel() const { return m_bQueryLevel; }
    BYTE GetQueryID() const { return m_bSupperID[m_bQueryLevel]; }

    // --- words (ParseSqlWords.cpp)

    /**
     * Cuts a terminated text from byte `nStart` on into words, as SqlWordScan.h tells; what the array held is
     * forgotten. It reports no lexical errors, only ERR_MEMORY.
     */
    [[nodiscard]] int Parse(const char* lpszSql, int nStart, stu_KestroWordArray* lpWords);

    /**
     * Appends a copy of `nLen` bytes. With `bUnquote` each doubled quote inside a word in single quotes becomes one,
     * and the word so much shorter. A null text is nothing.
     */
    [[nodiscard]] int AddWord(const char* lpszText, int nPos, int nLen, int bUnquote, stu_KestroWordArray* lpWords);

    /**
     * Inserts a copy in front of word `nIndex`; below 0 stands for the front, beyond the last for the end. The codes
     * don't move, so it's only for arrays of which none was asked for yet.
     */
    [[nodiscard]] int InsertWord(const char* lpszText, int nPos, int nLen, int nIndex, stu_KestroWordArray* lpWords);

    /** The code of a word by itself, whatever stands beside it; WORD_NONE for an index without a word. */
    int GetKeyword(stu_KestroWordArray* lpWords, int nIndex) {
        if (nIndex < 0 || nIndex >= lpWords->m_nNum) return WORD_NONE;
        const int nCode = lpWords->m_arKeyword[nIndex];
        return nCode != WORD_NONE ? nCode : LookUpKeyword(lpWords, nIndex);
    }

    /** Capitals in place, a to z, but not between single quotes; each quote opens or closes. */
    static void MakeUpper(char* lpszText, int nLen);

    /** Writes the sizes into the head of a plan, as every parser does at its end: ERR_PLAN_SIZE if they disagree. */
    [[nodiscard]] int ClosePlan(EXECUTEPLANBSON* lpPlan);

protected:
    static constexpr int OBJECT_NUM_START = 16;
    static constexpr int QUERY_LEVEL_NUM = 32;

    OBJECTNAME* m_arrObjectName = nullptr; // a chunk, from the first object on
    int m_nObjectNum = 0;
    int m_nMaxObjectNum = OBJECT_NUM_START;
    int m_nErrorPos = 0;                        // the word at which parsing failed
    CBaseBson m_stBson;                         // the plan and the scratch memory
    CKestroQueueUINT m_vecFieldOffset;          // plan offsets of the "?" elements, in order of appearance
    BYTE m_bQueryLevel = 0;                     // 0 outside of any query
    BYTE m_bID = 1;                             // the next query's number
    BYTE m_bDatabaseNo = 0;                     // the session's database
    BYTE m_bSupperID[QUERY_LEVEL_NUM] = {};     // the query open at each level
    CKestroKeywordParse* m_pKestroKeywordParse; // null without memory

    [[nodiscard]] int ParseAlterSystem(stu_KestroWordArray* lpWords, ALTEREXECUTEPLANBSON* lpAlter);
    [[nodiscard]] int ParseAlterSession(stu_KestroWordArray* lpWords, ALTEREXECUTEPLANBSON* lpAlter);
    [[nodiscard]] int ParseAlterTable(stu_KestroWordArray* lpWords, ALTEREXECUTEPLANBSON* lpAlter);
    [[nodiscard]] int ParseAlterObject(stu_KestroWordArray* lpWords, ALTEREXECUTEPLANBSON* lpAlter);
    [[nodiscard]] int ParseAlterIndex(stu_KestroWordArray* lpWords, ALTEREXECUTEPLANBSON* lpAlter);
    [[nodiscard]] int ParseAlterUser(stu_KestroWordArray* lpWords, ALTEREXECUTEPLANBSON* lpAlter);

    /** Writes the one parameter that a statement sets, and where it is; a longer name than fits is cut. */
    [[nodiscard]] int WriteSetting(BYTE bAction, ALTEREXECUTEPLANBSON* lpAlter, BYTE bDataType,
                                   const char* lpszParameter, int nValue);

    // --- statements that change rows (ParseSqlInsert.cpp, ParseSqlUpdate.cpp, ParseSqlDelete.cpp, ParseSqlRows.cpp)

    using PARSEWORDS = int (CParseSql::*)(stu_KestroWordArray*, int, int, EXECUTEPLANBSON*);
    /** Compiles a text as the words it consists of, and closes the plan. */
    [[nodiscard]] int ParseText(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan, PARSEWORDS pParse);
    /** One expression over a range of words, and its class, EXPCLASS. */
    [[nodiscard]] int ParseValue(stu_KestroWordArray* lpWords, int nBegin, int nEnd, UINT& nOffset, BYTE& bClass);

    [[nodiscard]] int ParseCommonInsert(stu_KestroWordArray* lpWords, int nBegin, EXECUTEPLANBSON* lpPlan);
    [[nodiscard]] int ParseCommonUpdate(stu_KestroWordArray* lpWords, int nBegin, UPDATEEXECUTEPLANBSON& stUpdate);
    [[nodiscard]] int ParseCommonDelete(stu_KestroWordArray* lpWords, int nBegin, DELETEEXECUTEPLANBSON& stDelete);

    // --- parts of a query, each in its own file ----------------------------------------------------------------------

    /**
     * A select list, whose fields go behind those that are there. `m_bDistinct` and `m_bAggreFun` of the parameter tell
     * of DISTINCT and aggregates, `bAggreMixed` whether aggregates and plain fields stand side by side.
     */
    [[nodiscard]] int ParseSelectField(stu_KestroWordArray* lpWords, st_PARSEPARAM* lpParam, UINT& nFieldOffset,
                                       UINT& nFieldNum, int& bAggreMixed);
    /**
     * Whether the steps of a hierarchy in a condition are all joined by AND; `bFound` is set if there is one. FALSE as
     * well for a condition that is nested too deep.
     */
    BOOL CheckConnectCondition(BASECONDITIONBSON* lpNode, int& bFound);

private:
    struct STATEMENT;
    struct VERB;
    struct INSERTROWS;
    struct ROWSELECTION;
    struct TRANSACTIONVERB;
    struct ALTERVERB;
    struct ALTERFILEVERB;
    struct QUERYBLOCK;
    struct QUERYSTEP;
    struct CONNECTSIDE;
    class CFromList;

    void Restart();
    int PreparePlan(const STATEMENT& stStatement, EXECUTEPLANBSON*& lpPlan, UINT nSize);
    int CopyStatement(const STATEMENT& stStatement, EXECUTEPLANBSON* lpPlan);
    int ParseStatement(const STATEMENT& stStatement, EXECUTEPLANBSON* lpPlan);
    int HideHintMark(const STATEMENT& stStatement, const char*& lpszText);
    int ParseTransaction(const TRANSACTIONVERB& stVerb, const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan);
    int ParseAlterFile(const ALTERFILEVERB& stVerb, stu_KestroWordArray* lpWords, ALTEREXECUTEPLANBSON* lpAlter);
    int ParseAlterSet(BYTE bAction, stu_KestroWordArray* lpWords, ALTEREXECUTEPLANBSON* lpAlter);
    int ParseAlterKill(stu_KestroWordArray* lpWords, ALTEREXECUTEPLANBSON* lpAlter);
    int ParseAlterActivate(stu_KestroWordArray* lpWords, ALTEREXECUTEPLANBSON* lpAlter);
    int ParseAlterStorage(stu_KestroWordArray* lpWords, ALTEREXECUTEPLANBSON* lpAlter);
    int AddObject(const char* lpszDatabase, const char* lpszName, BYTE bType, const char* lpszTitle, BYTE& bNo);
    bool IsInQuery(const OBJECTNAME& stObject) const { return stObject.m_bSupperID == GetQueryID(); }
    int ParseInsertTarget(stu_KestroWordArray* lpWords, int& nWord, INSERTEXECUTEPLANBSON& stInsert);
    int ParseInsertField(stu_KestroWordArray* lpWords, int& nWord, INSERTEXECUTEPLANBSON& stInsert);
    int ParseInsertQuery(stu_KestroWordArray* lpWords, int nWord, INSERTEXECUTEPLANBSON& stInsert,
                         EXECUTEPLANBSON* lpPlan);
    int CountInsertRows(stu_KestroWordArray* lpWords, int nBegin, INSERTROWS& stRows);
    int ParseInsertRows(stu_KestroWordArray* lpWords, int nBegin, INSERTEXECUTEPLANBSON& stInsert,
                        EXECUTEPLANBSON* lpPlan);
    int ParseInsertValue(stu_KestroWordArray* lpWords, int& nWord, int nValueNum, CParseExpressionManager& stLiterals,
                         RSFIELDBSON* lpField);
    int ParseUpdateField(stu_KestroWordArray* lpWords, int nBegin, int nEnd, UPDATEEXECUTEPLANBSON& stUpdate);
    int ParseUpdateName(stu_KestroWordArray* lpWords, int& nWord, EXECUTEFIELDBSON& stField);
    int ParseRowObjects(int nBegin, int nEnd, ROWSELECTION& stRows);
    int ParseRowCondition(int nWhere, ROWSELECTION& stRows);
    int AllocBound(UINT nElementOffset, UINT nLen, UINT& nOffset);

    // Queries: ParseSqlQuery.h has their records.
    int InsertHead(int nParens, stu_KestroWordArray* lpWords);
    int ChainQuery(BYTE bUnionType, UINT nQuery, UINT& nLast);
    int ScanClauses(QUERYBLOCK& stBlock);
    int BeginBlock(QUERYBLOCK& stBlock);
    int ParseLock(QUERYBLOCK& stBlock);
    int ParseAsOf(QUERYBLOCK& stBlock);
    int ParseFrom(QUERYBLOCK& stBlock);
    int CutColumns(QUERYBLOCK& stBlock);
    int ParseGroupBy(QUERYBLOCK& stBlock);
    int ParseFields(QUERYBLOCK& stBlock);
    int ParseConnect(QUERYBLOCK& stBlock);
    int ParseWhere(QUERYBLOCK& stBlock);
    int JoinConditions(QUERYBLOCK& stBlock);
    int ParseHaving(QUERYBLOCK& stBlock);
    int ParseOrderBy(QUERYBLOCK& stBlock);
    int ParsePage(QUERYBLOCK& stBlock);
    int ParsePaging(QUERYBLOCK& stBlock);
    bool HasDistinctBits(UINT nObjectOffset);
    int ParseField(stu_KestroWordArray* lpWords, const LISTITEM& stItem, st_PARSEPARAM& stParam,
                   EXECUTEFIELDBSON& stField);
    int ParseFieldExpression(stu_KestroWordArray* lpWords, const LISTITEM& stItem, const st_PARSEPARAM& stParam,
                             CParseExpressionManager& stExpression, EXECUTEFIELDBSON& stField, bool& bAggregate);
    int NameField(const CParseExpressionManager& stExpression, EXECUTEFIELDBSON& stField);
    int AllocColumns(const ITEMLIST& stList, COLUMNDEF*& arColumn, UINT& nOffset);
    int ParseOrderColumn(QUERYBLOCK& stBlock, LISTITEM& stItem, CFieldChain& stChain, COLUMNDEF& stColumn);
    int SetColumn(QUERYBLOCK& stBlock, const LISTITEM& stItem, int nField, CFieldChain& stChain, COLUMNDEF& stColumn);
    bool IsGroupColumn(const QUERYBLOCK& stBlock, const LISTITEM& stItem, const COLUMNDEF& stColumn);
    int ParseConnectStep(QUERYBLOCK& stBlock, int nPos, RECURSION& stRecursion);
    int ParseConnectSide(const CSqlWordReader& stReader, int& nPos, int nEnd, CONNECTSIDE& stSide);
    /** The items of a list between commas outside of brackets; with titles each without its alias. */
    int CutList(stu_KestroWordArray* lpWords, int nBegin, int nEnd, bool bTitles, ITEMLIST& stList);
    /** The condition of a range: its root, 0 for none, and the sides of comparisons that aren't constant. */
    int ParseConditionRange(stu_KestroWordArray* lpWords, const st_PARSEPARAM& stParam, int nBegin, int nEnd,
                            UINT& nCondition, int& nVarNum);
    /** A terminated copy of a text in the plan. */
    int CopyToPlan(const char* lpszText, int nLen, UINT& nOffset);
    /**
     * An object of a FROM list, which is one of its own under each alias. Once more the same without an alias, which no
     * name could tell apart, is ERR_SYNTAX_SELECT; else as `SetObjectTitle`.
     */
    int AddFromObject(const char* lpszDatabase, const char* lpszName, BYTE bType, const char* lpszTitle, BYTE& bNo);

    int CopyWords(std::string_view szSql, int nStart, char*& lpszCopiesEnd, stu_KestroWordArray* lpWords);
    int LookUpKeyword(stu_KestroWordArray* lpWords, int nIndex) const;
    [[gnu::noinline]] int GrowWords(stu_KestroWordArray* lpWords);
    int GrowWords(stu_KestroWordArray* lpWords, int nMax);
};
