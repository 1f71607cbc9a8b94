#pragma once

#include "ParseSqlQuery.h"

/** The query that selects the rows of an UPDATE or DELETE: it has objects and WHERE, and nothing else of a query. */
struct CParseSql::ROWSELECTION {
    explicit ROWSELECTION(stu_KestroWordArray* lpWords)
        : m_stBlock{lpWords, m_stParam, m_bLockOption, m_bExecuteParam, m_llTimestamp, 0, 0} {}

    st_PARSEPARAM m_stParam;
    int m_bLockOption = 0;
    BYTE m_bExecuteParam = FOR_UPDATE_NONE;
    long long m_llTimestamp = 0;
    QUERYBLOCK m_stBlock;
};
