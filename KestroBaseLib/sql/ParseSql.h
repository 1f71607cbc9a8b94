#pragma once

#include <string_view>

#include "BaseBson.h"
#include "KestroKeywordParse.h"
#include "KestroQueue.h"
#include "ParseSqlWords.h"

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
 * plan buffer that is too small as well. One statement, one object; one thread at a time.
 */
class CParseSql {
public:
    CParseSql();
    CParseSql(const CParseSql&) = delete;
    CParseSql& operator=(const CParseSql&) = delete;
    virtual ~CParseSql();

    CBaseBson& GetParseBson() { return m_stBson; }

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

protected:
    static constexpr int OBJECT_NUM_START = 16;
    static constexpr int QUERY_LEVEL_NUM = 32;

    OBJECTNAME* m_arrObjectName = nullptr; // from `malloc`, at the first object
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

private:
    int CopyWords(std::string_view szSql, int nStart, char*& lpszCopiesEnd, stu_KestroWordArray* lpWords);
    int LookUpKeyword(stu_KestroWordArray* lpWords, int nIndex) const;
    [[gnu::noinline]] int GrowWords(stu_KestroWordArray* lpWords);
    int GrowWords(stu_KestroWordArray* lpWords, int nMax);
};
