#pragma once

// Records of result sets: the block that answers a query, and the main record of the plan that saves what was changed
// in one. All are packed and little-endian.

#include "PlanRecords.h"

/** A column in the block. Names are UTF-8 with a terminator; offsets count from the block's first byte. */
struct KESTRO_PACKED RECORDFIELD {
    BYTE m_bFieldType;     // type code of the column
    BYTE m_bAllowNull;     // 1: NULL is allowed
    BYTE m_bFieldNameType; // 1: a plain column, which may be changed
    BYTE m_bMaxLen;        // longest value
    BYTE m_bPrimaryKey;    // part of the primary key
    BYTE m_bAutoIncrement; // numbered by the server
    BYTE m_bObjectType;    // kind of the base object, PLANOBJECT
    BYTE m_bScale;         // not read
    UINT m_nColumnOffset;  // not read
    UINT m_nRsNameOffset;  // name that becomes the field's title
    UINT m_nTitleOffset;   // name that becomes the field's result name
    UINT m_nObjectOffset;  // name of the base table, 0 for none
};

/** Head of the block; `m_nFieldNum` columns follow, then names and rows. */
struct KESTRO_PACKED RECORDSETHEAD {
    UINT m_nFieldNum;           // columns
    UINT m_nRowNum;             // rows
    UINT m_nRecordBufferOffset; // first row
    BYTE m_bReserved2;          // not read
    BYTE m_bModify;             // not 0: the rows may be changed and saved
    BYTE m_bStartBufferNo;      // not read
    BYTE m_bReserved;           // not read
};

/** Head of a row; the entries of its fields follow, in ascending order. The next row lies directly behind it. */
struct KESTRO_PACKED RECORDSETROW {
    UINT m_nRowLen;         // bytes of the row, head included
    std::int64_t m_nDataID; // the row's identity in the server
};

/** A column of a write-back. */
struct KESTRO_PACKED RSFIELDINFO {
    BYTE m_bFieldNo;      // 0
    BYTE m_bTempNo;       // number of the field, from 1
    BYTE m_bFieldType;    // 0
    BYTE m_bFieldNameLen; // length of the name, its terminator included
    UINT m_nColumnOffset; // name
};

/** The write-back of a result set: rows to delete, to update and to insert, in this order. */
struct KESTRO_PACKED UPDATERECORDSETPLANBSON {
    EXECUTEOBJECTINFO m_stExecuteObject; // target
    UINT m_nExtensionOffset;             // extension record
    UINT m_nFieldNum;                    // columns
    UINT m_nFieldInfoOffset;             // first column
    UINT m_nInsertStepNo;                // number of the first insert
    UINT m_nInsertStepNum;               // inserts
    UINT m_nUpdateStepNo;                // number of the first update, 0 without updates
    UINT m_nUpdateStepNum;               // updates
    UINT m_nDeleteStepNo;                // number of the first delete, 0 without deletes
    UINT m_nDeleteStepNum;               // deletes
    BYTE m_bReserved[8];                 // 0
};

static_assert(sizeof(RECORDFIELD) == 24 && sizeof(RECORDSETHEAD) == 16 && sizeof(RECORDSETROW) == 12);
