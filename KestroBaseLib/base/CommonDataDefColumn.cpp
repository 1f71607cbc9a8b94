// What follows from a column's type: the index it can have, its length in a record buffer and the codes by which MySQL
// clients know types and indexes.

#include <climits>

#include "CommonDataDef.h"
#include "KestroErrorCode.h"
#include "VarData.h"

namespace {

constexpr BYTE MYSQL_TYPE_DEFAULT = 253;

/** How the length of a column's field in a record buffer comes about. */
enum FIELDFORM : BYTE {
    FORM_NONE,
    FORM_FIXED,
    /** A leading byte, a length of 1 byte or, from 250 on, of 5, and the value. */
    FORM_COUNTED,
    /** A leading byte and the value. */
    FORM_PLAIN,
    FORM_DECIMAL,
};

struct FIELDTYPEROW {
    BYTE m_bFieldType;
    FIELDFORM m_nForm;
    /** Length with the leading byte, of fixed forms. */
    BYTE m_nFixedLen;
    BYTE m_bMysqlType;
};

/** Types without a row have no field form and the default column type. */
constexpr FIELDTYPEROW FIELD_TYPES[] = {
    {VT_INT, FORM_FIXED, 5, 3},
    {VT_BIGINT, FORM_FIXED, 9, 8},
    {VT_DOUBLE, FORM_FIXED, 9, 5},
    {VT_DATETIME, FORM_FIXED, 9, 12},
    {VT_CHAR, FORM_COUNTED, 0, 254},
    {VT_VARCHAR, FORM_COUNTED, 0, MYSQL_TYPE_DEFAULT},
    {VT_CLOB, FORM_COUNTED, 0, MYSQL_TYPE_DEFAULT},
    {VT_BLOB, FORM_COUNTED, 0, 252},
    {VT_NULL, FORM_FIXED, 0, MYSQL_TYPE_DEFAULT},
    {VT_TIME, FORM_FIXED, 5, 11},
    {VT_DATE, FORM_FIXED, 5, 10},
    {VT_JSON, FORM_PLAIN, 0, MYSQL_TYPE_DEFAULT},
    {VT_TINYINT, FORM_FIXED, 2, 1},
    {VT_SMALLINT, FORM_FIXED, 3, 2},
    {VT_DECIMAL, FORM_DECIMAL, 0, MYSQL_TYPE_DEFAULT},
    {VT_ENUM, FORM_FIXED, 3, MYSQL_TYPE_DEFAULT},
};

constexpr FIELDTYPEROW NO_FIELD_TYPE = {VT_EMPTY, FORM_NONE, 0, MYSQL_TYPE_DEFAULT};

const FIELDTYPEROW& FieldType(BYTE bFieldType) {
    for (const FIELDTYPEROW& stRow : FIELD_TYPES)
        if (stRow.m_bFieldType == bFieldType) return stRow;
    return NO_FIELD_TYPE;
}

/** The index type of a column type, for each kind of file that holds indexes; 0 for none. */
struct INDEXROW {
    BYTE m_bFieldType;
    BYTE m_bTree;
    BYTE m_bKV;
    BYTE m_bHashTree;
};

constexpr INDEXROW INDEX_TYPES[] = {
    {VT_INT, INDEXTYPE_TREE_INT, INDEXTYPE_KV_INT, INDEXTYPE_HASHTREE_INT},
    {VT_TIME, INDEXTYPE_TREE_INT, INDEXTYPE_KV_INT, INDEXTYPE_HASHTREE_INT},
    {VT_DATE, INDEXTYPE_TREE_INT, INDEXTYPE_KV_INT, INDEXTYPE_HASHTREE_INT},
    {VT_TINYINT, INDEXTYPE_TREE_INT, INDEXTYPE_KV_INT, INDEXTYPE_HASHTREE_INT},
    {VT_SMALLINT, INDEXTYPE_TREE_INT, INDEXTYPE_KV_INT, INDEXTYPE_HASHTREE_INT},
    {VT_BIGINT, INDEXTYPE_TREE_BIGINT, INDEXTYPE_KV_BIGINT, INDEXTYPE_HASHTREE_INT},
    {VT_DOUBLE, INDEXTYPE_TREE_DOUBLE, 0, 0},
    {VT_DATETIME, INDEXTYPE_TREE_DOUBLE, 0, 0},
    {VT_DECIMAL, INDEXTYPE_TREE_MIXED, 0, 0},
    {VT_CHAR, INDEXTYPE_TREE_TEXT, INDEXTYPE_KV_CHAR, INDEXTYPE_HASHTREE_CHAR},
    {VT_VARCHAR, INDEXTYPE_TREE_TEXT, 0, 0},
    {VT_CLOB, INDEXTYPE_TREE_TEXT, 0, 0},
};

/** A kind of file: the column of INDEXROW that holds for it, null for none, and the error when there is no index. */
struct INDEXFILEROW {
    BYTE m_bFileType;
    BYTE INDEXROW::*m_lpColumn;
    int m_nError;
};

constexpr INDEXFILEROW INDEX_FILES[] = {
    {FILETYPE_SYSTEM, nullptr, ERR_INDEX_SYSTEM_FILE},
    {FILETYPE_DATA, nullptr, ERR_INDEX_SYSTEM_FILE},
    {FILETYPE_TABLE, nullptr, ERR_INDEX_SYSTEM_FILE},
    {FILETYPE_TREE, &INDEXROW::m_bTree, ERR_INDEX_FIELD_TYPE},
    {FILETYPE_INDEX, &INDEXROW::m_bTree, ERR_INDEX_FIELD_TYPE},
    {FILETYPE_KV, &INDEXROW::m_bKV, ERR_INDEX_FIELD_TYPE},
    // An unfit column answers as an unfit file here. Intended.
    {FILETYPE_HASHTREE, &INDEXROW::m_bHashTree, ERR_INDEX_SYSTEM_FILE},
};

BYTE FindIndexType(BYTE bFieldType, BYTE INDEXROW::*lpColumn) {
    if (!lpColumn) return 0;
    for (const INDEXROW& stRow : INDEX_TYPES)
        if (stRow.m_bFieldType == bFieldType) return stRow.*lpColumn;
    return 0;
}

struct INDEXWORDROW {
    BYTE m_bIndexType;
    const char* m_lpszWord;
};

constexpr INDEXWORDROW INDEX_WORDS[] = {
    {INDEXTYPE_KV_INT, "HASH"},       {INDEXTYPE_KV_BIGINT, "HASH"},     {INDEXTYPE_KV_CHAR, "HASH"},
    {INDEXTYPE_HASHTREE_INT, "HASH"}, {INDEXTYPE_HASHTREE_CHAR, "HASH"}, {INDEXTYPE_TREE_INT, "BTREE"},
    {INDEXTYPE_TREE_BIGINT, "BTREE"}, {INDEXTYPE_TREE_DOUBLE, "BTREE"},  {INDEXTYPE_TREE_MIXED, "BTREE"},
    {INDEXTYPE_SUFFIX2, "FULLTEXT"},  {INDEXTYPE_SUFFIX, "FULLTEXT"},    {INDEXTYPE_TREE_TEXT, "BTREE"},
};

/** Length of a decimal column's field, the longest that its precision needs; 255 stands for any precision. */
int DecimalFieldLen(BYTE bPrecision) {
    if (bPrecision == 255) return 19;
    if (bPrecision < 3) return 4;
    if (bPrecision < 5) return 5;
    if (bPrecision < 8) return 6;
    if (bPrecision < 10) return 7;
    return ((bPrecision < 36 ? bPrecision : 36) - 1) / 9 * 4 + 7;
}

} // namespace

int GetIndexType(BYTE bFileType, BYTE bFieldType, BYTE bSuffix, BYTE& bIndexType) {
    for (const INDEXFILEROW& stFile : INDEX_FILES) {
        if (stFile.m_bFileType != bFileType) continue;
        BYTE bFound = FindIndexType(bFieldType, stFile.m_lpColumn);
        if (bFound == 0) return stFile.m_nError;
        if (bFound == INDEXTYPE_TREE_TEXT && bSuffix == SUFFIX_FLAG) bFound = INDEXTYPE_SUFFIX;
        if (bFound == INDEXTYPE_TREE_TEXT && bSuffix == SUFFIX2_FLAG) bFound = INDEXTYPE_SUFFIX2;
        bIndexType = bFound;
        return 0;
    }
    return ERR_INDEX_FILE_TYPE;
}

const char* GetMysqlIndexType(BYTE bIndexType) {
    for (const INDEXWORDROW& stRow : INDEX_WORDS)
        if (stRow.m_bIndexType == bIndexType) return stRow.m_lpszWord;
    return nullptr;
}

BYTE GetMysqlFieldType(BYTE bFieldType) {
    return FieldType(bFieldType).m_bMysqlType;
}

int GetFieldBufferLen(BYTE bFieldType, BYTE bPrecision, int nLen, int& nBufferLen) {
    const FIELDTYPEROW& stRow = FieldType(bFieldType);
    const bool bByLength = stRow.m_nForm == FORM_COUNTED || stRow.m_nForm == FORM_PLAIN;
    if (bByLength && (nLen < 0 || nLen > INT_MAX - 6)) return ERR_DATA_TYPE;
    switch (stRow.m_nForm) {
        case FORM_FIXED:
            nBufferLen = stRow.m_nFixedLen;
            return 0;
        case FORM_COUNTED:
            nBufferLen = nLen + (nLen > 249 ? 6 : 2);
            return 0;
        case FORM_PLAIN:
            nBufferLen = nLen + 1;
            return 0;
        case FORM_DECIMAL:
            nBufferLen = DecimalFieldLen(bPrecision);
            return 0;
        case FORM_NONE:
            break;
    }
    return ERR_DATA_TYPE;
}
