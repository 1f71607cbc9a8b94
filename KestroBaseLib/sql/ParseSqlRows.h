#pragma once

#include "ParseSql.h"

/** The query that selects the rows of an UPDATE or DELETE. All numbers but the first two are offsets. */
struct CParseSql::ROWSELECTION {
    int m_nError; // for a statement without objects
    USHORT m_nObjectNum = 0;
    UINT m_nObjectOffset = 0;
    UINT m_nInnerOn = 0; // ON conditions
    UINT m_nOuterOn = 0;
    UINT m_nJoinTree = 0;
    UINT m_nQueryOffset = 0;
};
