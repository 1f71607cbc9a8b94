#pragma once

#include "TypeDef.h"

/**
 * A statement's words. The arrays lie in the scratch memory of the compilation and go with it; each has `m_nMax`
 * elements.
 */
struct stu_KestroWordArray {
    char** m_arWord = nullptr;       // the words, terminated, with their quotes
    int* m_arPos = nullptr;          // the byte of the text at which each begins
    int* m_arWordLen = nullptr;      // bytes
    int* m_arKeyword = nullptr;      // codes of KESTROKEYWORD; WORD_NONE until a word is asked for
    BYTE* m_arType = nullptr;        // the parsers'
    int m_nNum = 0;                  // words
    int m_nMax = 0;                  // capacity
    int m_nEstimateNum = 0;          // the parsers'
    const char* m_lpszSQL = nullptr; // the parsers'
    int m_nSqlLen = 0;               // the parsers'
};
using KESTROWORDARRAY = stu_KestroWordArray;

/** The cursor of the parsers, and what they tell those they call. */
struct st_PARSEPARAM {
    int m_nBeginPos = 0;       // the first word of the range; moves on
    int m_nEndPos = 0;         // behind its last word
    int m_nQueryEnd = 0;       // where the enclosing query ends
    BYTE m_bObjectType = 0;    // kind of object compiled against
    BYTE m_bObjectNum = 0;     // objects in FROM so far
    BYTE m_bSubQueryType = 0;  // 0 in a query on top, else the kind of subquery
    BYTE m_bReserved = 0;      // zero
    UINT m_nGroupByOffset = 0; // plan offset of a GROUP BY list in front
    BOOL m_bAggreFun = 0;      // an aggregate function has been met
    BOOL m_bDistinct = 0;      // DISTINCT has been met
    BOOL m_bJoin = 0;          // in a join
    BOOL m_bHaving = 0;        // in HAVING, where a condition may have aggregates
    BOOL m_bCondition = 0;     // in a condition: comparison and logic words are operators
    BOOL m_bStringLink = 0;    // reserved

    void Clear() { *this = st_PARSEPARAM(); }
};
using PARSEPARAM = st_PARSEPARAM;
