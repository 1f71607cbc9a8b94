#pragma once

// Records of queries, expressions, conditions, the join tree, graph patterns and JSON paths. `PlanRecords.h` tells what
// holds for all records of a plan.

#include "TypeDef.h"

/** A set of objects: bit (n - 1) mod 64 stands for object n. */
using relbitmap = std::uint64_t;

/** `m_bSubQueryType` of a query: how the condition around it takes its rows. */
enum PLANSUBQUERY : BYTE {
    SUBQUERY_NONE = 0, // the statement itself
    SUBQUERY_PLAIN = 1,
    SUBQUERY_ALL = 2,
    SUBQUERY_ANY = 3,
};

/** `m_bJoin`: what `m_nWhereOffset` of the conditions holds. */
enum PLANWHERE : BYTE {
    WHERE_PLAIN = 0,
    WHERE_AND_JOIN = 1, // the join condition and WHERE, under one AND
    WHERE_JOIN = 2,     // the join condition alone
};

/** `m_bSortType` of a column. */
enum PLANSORT : BYTE {
    SORT_ASCENDING = 1,
    SORT_DESCENDING = 2,
};

/** `m_bUnionType`. */
enum PLANUNION : BYTE {
    UNION_DISTINCT = 1,
    UNION_ALL = 2,
    UNION_INTERSECT = 3,
    UNION_MINUS = 4, // EXCEPT too
};

/** What an operand's offset of an expression leads to. */
enum EXPOPERAND : BYTE {
    EXP_ELEMENT = 0,
    EXP_EXPRESSION = 1,
    EXP_PARAM_LIST = 2, // on the left only
    EXP_NONE = 3,
    EXP_SUBQUERY = 7,
    EXP_CONSTANT = 8, // the server's: a value
    EXP_JSON_ELEMENT = 9,
    EXP_JSON_ARGUMENTS = 0xB,
};

/** The class of an expression: what its value depends on. */
enum EXPCLASS : BYTE {
    EXPCLASS_NONE = 0,
    EXPCLASS_FIELD = 1, // one plain field, alone
    EXPCLASS_FUNCTION = 2,
    EXPCLASS_AGGREGATE = 3,
    EXPCLASS_CONSTANT = 4,
    EXPCLASS_SCALAR = 5, // depends on fields
    EXPCLASS_IN = 6,     // no expression: the `INCONDITIONBSON` of a comparison
    EXPCLASS_SUBQUERY = 7,
    EXPCLASS_JSON = 9,
    EXPCLASS_MIXED = 10, // an aggregate and something else
};

/** `m_bDataSource` of an element. */
enum ELEMENTSOURCE : BYTE {
    SOURCE_LITERAL = 0,
    SOURCE_FIELD = 1,
    SOURCE_PARAM = 2, // "?"
    SOURCE_NEW = 5,
    SOURCE_OLD = 6,
};

/** `m_bJsonField` of an element. */
enum ELEMENTJSON : BYTE {
    JSON_FIELD_NONE = 0,
    JSON_FIELD_PATH = 1,
    JSON_FIELD_ARROW = 0xB,     // "->"
    JSON_FIELD_ARROW_TEXT = 0xC // "->>"
};

/** `m_bFieldNo` of a JSON path on the whole record. */
constexpr BYTE FIELDNO_JSON = 0xFE;

/** Comparison codes that no operator of the text has. */
enum PLANCOMPARE : BYTE {
    COMPARE_BARE = 0, // an expression, true if its value is
    COMPARE_PRIOR_EQUAL = 0x1F,
    COMPARE_FALSE = 0x25, // all other fields are 0
};

/** `m_bJoinType` of a comparison: where a "(+)" stands. */
enum PLANOUTER : BYTE {
    OUTER_NONE = 1,
    OUTER_RIGHT = 2,
    OUTER_LEFT = 3,
};

/** What an operand's offset of a condition leads to. */
enum CONDITIONOPERAND : BYTE {
    CONDITION_COMPARE = 0,
    CONDITION_NODE = 1,
    CONDITION_NONE = 3,
};

/** `m_bLogicOperator` of a condition. */
enum PLANLOGIC : BYTE {
    LOGIC_NONE = 0, // a wrapper around one operand
    LOGIC_AND = 0x28,
    LOGIC_OR = 0x29,
};

/** `m_bType` of the right side of IN. */
enum PLANIN : BYTE {
    IN_LIST = 0, // some entry isn't constant
    IN_CONSTANTS = 4,
    IN_SUBQUERY = 7,
};

/** `m_bType` of a node of the join tree. */
enum QUERYTREENODE : BYTE {
    QUERYTREE_RELATION = 1,
    QUERYTREE_JOIN = 2,
};

/** `m_bJoinType` of a join. A right join is stored as a left one with its children exchanged. */
enum PLANJOIN : BYTE {
    JOIN_INNER = 1,
    JOIN_LEFT = 2,
    JOIN_RIGHT = 3,
    JOIN_FULL = 4,
};

/** `m_bDirection` of a relation in a MATCH pattern. */
enum MATCHDIRECTION : BYTE {
    MATCH_EITHER = 0, // -[...]-
    MATCH_RIGHT = 1,  // -[...]->
    MATCH_LEFT = 2,   // <-[...]-
};

/** One query block; also how UPDATE and DELETE select their rows. */
struct KESTRO_PACKED QUERYEXECUTEPLANBSON {
    UINT m_nExtensionOffset; // extension record, 0 from the compiler
    BYTE m_bAggreFun;        // 1: an aggregate stands in the select list
    BYTE m_bPageType;        // 1: paged
    BYTE m_bQueryID;         // number of this query
    BYTE m_bSubQueryType;    // PLANSUBQUERY
    BYTE m_bGetQueryPath;    // 1: the client asks for the access path
    BYTE m_bQueryLevel;      // nesting depth
    BYTE m_bDistinct;        // 1: SELECT DISTINCT
    BYTE m_bAggreMixed;      // 1: aggregates and plain fields are mixed
    int m_nPageSize;         // rows of a page
    union KESTRO_PACKED {
        int m_nPageStartNo; // first row
        int m_nPageNo;      // page number
    };
    USHORT m_nObjectNum;          // FROM objects
    USHORT m_nWaitTime;           // seconds of FOR UPDATE WAIT, 65,535 at most
    UINT m_nExecuteFieldNum;      // select fields
    UINT m_nConditionFieldNum;    // fields that the condition refers to
    UINT m_nObjectOffset;         // first object
    UINT m_nExecuteFieldOffset;   // first select field
    UINT m_nConditionOffset;      // conditions
    UINT m_nConditionFieldOffset; // fields that the condition refers to
    UINT m_nQueryPathOffset;      // root of the join tree
    UINT m_nGroupByOffset;        // GROUP BY
    UINT m_nOrderByOffset;        // ORDER BY
    UINT m_nUnionOffset;          // next query of a set operation
    UINT m_nOutFileNameOffset;    // file of SELECT INTO OUTFILE
    BYTE m_bContainFieldInfo;     // 1: the file holds field information
    BYTE m_bOutFileType;          // file kind
    BYTE m_bReserved2[2];         // 0
    char m_nFieldsTerminated[8];  // text behind a field
    char m_nLinesTerminated[8];   // text behind a line
};

/** The conditions of a query block. */
struct KESTRO_PACKED COMMONCONDITION {
    BYTE m_bMatchObjectTempNo;  // number of the object named by MATCH
    BYTE m_bReserved[2];        // 0
    BYTE m_bJoin;               // PLANWHERE
    std::int64_t m_nRowNum;     // row limit from ROWNUM
    int m_nNodeNumber;          // nodes of the MATCH pattern
    int m_nRelationNumber;      // relations of the MATCH pattern
    UINT m_nNodeCondOffset;     // first of the nodes, one behind the other
    UINT m_nRelationCondOffset; // first of the relations, one behind the other
    UINT m_nWhereOffset;        // root of WHERE
    UINT m_nHavingCondOffset;   // HAVING
    UINT m_nConnOffset;         // START WITH and CONNECT BY
    UINT m_nIndexOffset;        // index information
};

/** HAVING. */
struct KESTRO_PACKED HAVINGCONDITION {
    UINT m_nConditionOffset;      // root
    UINT m_nConditionFieldNum;    // fields referred to
    UINT m_nConditionFieldOffset; // their list
};

/** A field of the select list, a hidden one of GROUP BY or ORDER BY, or an item of SET. */
struct KESTRO_PACKED EXECUTEFIELDBSON {
    BYTE m_bExpressionType; // class of its expression, EXPCLASS
    BYTE m_bFieldNo;        // field number; FIELDNO_JSON for a JSON path
    union KESTRO_PACKED {
        BYTE m_bHide;       // 1: the client doesn't see it
        BYTE m_bFieldIndex; // index of the field
    };
    BYTE m_bNameLen;     // length of the name
    BYTE m_bTitleLen;    // length of the alias
    BYTE m_bObjectNo;    // object that qualifies it
    BYTE m_bMixAggreNum; // aggregates inside a mixed expression
    BYTE m_bObjectType;  // the server's
    int m_nObjectID;     // 0
    union KESTRO_PACKED {
        UINT m_nExpNameOffset;  // name: the field's or the expression's text
        UINT m_nJsonDataOffset; // JSON data
    };
    union KESTRO_PACKED {
        UINT m_nExpTitleOffset;          // alias
        UINT m_nSubQueryCondFieldOffset; // condition field of a subquery
        UINT m_nJsonDataLen;             // length of the JSON data
    };
    UINT m_nExpOffset;  // root of the expression
    UINT m_nNextOffset; // next field
};

/** GROUP BY. */
struct KESTRO_PACKED GROUPBY {
    BYTE m_bFieldNum;     // columns
    BYTE m_bReserved[3];  // 0
    UINT m_nColumnOffset; // first column, one behind the other
};

/** ORDER BY. */
struct KESTRO_PACKED ORDERBY {
    BYTE m_bFieldNum;          // columns
    BYTE m_bOrderByCoverIndex; // the server's
    BYTE m_bSubsetWithGroupBy; // 1: all columns are columns of GROUP BY
    BYTE m_bReserved;          // 0
    UINT m_nColumnOffset;      // first column, one behind the other
};

/** A column of GROUP BY or ORDER BY. */
struct KESTRO_PACKED COLUMNDEF {
    BYTE m_bHideFieldIndex;  // index into the hidden fields
    BYTE m_bSortType;        // PLANSORT
    USHORT m_nFieldIndex;    // position of the select field
    UINT m_nHideFieldOffset; // hidden field added for it
};

/** How the next query of a set operation is joined. */
struct KESTRO_PACKED UNIONINFO {
    BYTE m_bUnionType;       // PLANUNION
    BYTE m_bReserved[3];     // 0
    UINT m_nQueryPlanOffset; // the next query
};

/** START WITH. */
struct KESTRO_PACKED STARTINFO {
    UINT m_nWhereOffset; // root
    UINT m_nIndexOffset; // index information
};

/** START WITH and CONNECT BY. */
struct KESTRO_PACKED RECURSION {
    BYTE m_bDrection;            // direction of the walk
    BYTE m_bLevel;               // levels, 255 without LEVELS
    BYTE m_bIndexFieldNo;        // field number of the indexed side
    BYTE m_bDriverFieldNo;       // field number of the driving side
    BYTE m_bIndexObjectNo;       // object of the indexed side
    BYTE m_bDriveObjectNo;       // object of the driving side
    BYTE m_bObjectType;          // the server's
    BYTE m_bReserved;            // 0
    char m_pIndexFieldName[32];  // name of the indexed field
    char m_pDriverFieldName[32]; // name of the driving field
    UINT m_nStartCondOffset;     // START WITH condition
    UINT m_nConnectCondOffset;   // CONNECT BY condition
    int m_nObjectID;             // 0
    UINT m_nReserved[2];         // 0
};

/** A node of an expression tree: an operator or a function over one or two operands. */
struct KESTRO_PACKED st_MATHEXPBSON {
    BYTE m_bExpressionType1; // kind of the left operand, EXPOPERAND
    BYTE m_bExpressionType2; // kind of the right operand, EXPOPERAND
    BYTE m_bOperator;        // operator or function code; 0 for a wrapper around one operand
    BYTE m_bValType;         // result type, 0 from the compiler
    BYTE m_bAllowNull;       // 1: "(+)" stands on this side of a comparison
    BYTE m_bDataIndex;       // the server's
    BYTE m_bOptimizeLevel;   // the server's
    BYTE m_bAggreArrayNo;    // the server's
    UINT m_nExpOffset1;      // left operand
    UINT m_nExpOffset2;      // right operand
};

/** A leaf of an expression: a literal, a field or a parameter. The data extends behind the record. */
struct KESTRO_PACKED MATHEXPELEMENTBSON {
    BYTE m_bDataType;   // a literal's field type; 0 for a name
    BYTE m_bDataSource; // ELEMENTSOURCE
    BYTE m_bAllField;   // 1: "*" or "t.*"
    BYTE m_bObjectType; // the server's
    union KESTRO_PACKED {
        BYTE m_bFieldNo; // field number; FIELDNO_JSON for a JSON path on the whole record
        BYTE m_bScope;   // scope of a variable
    };
    BYTE m_bObjectNo;        // object of the qualifier, 0 without one
    BYTE m_bQueryLevel;      // the server's
    BYTE m_bJsonField;       // ELEMENTJSON
    int m_nObjectID;         // 0
    UINT m_nFieldDataOffset; // the server's
    BYTE m_bProcessWildcard; // 1: a text whose wildcards may be processed
    BYTE m_bReserved[2];     // 0
    union KESTRO_PACKED {
        BYTE m_bBitLength; // length of a bit literal
        BYTE m_bCharset;   // character set of a text
        BYTE m_bBoolean;   // boolean marker
    };
    int m_nDataLen;        // bytes of data
    char m_bDataBuffer[1]; // `m_nDataLen` bytes: a name, a text, a number, or the offset of a value or path
};

/** The arguments of a function. */
struct KESTRO_PACKED FUNCTIONPARAMLIST {
    BYTE m_bNum;           // arguments
    BYTE m_bCombinedType;  // sub-type of a shared function code
    BYTE m_bDistinct;      // 0
    BYTE m_bCaseSensitive; // 0
    UINT m_nExpOffset[1];  // `m_bNum` offsets of `FUNCTIONPARAM`
};

/** An argument. */
struct KESTRO_PACKED FUNCTIONPARAM {
    BYTE m_bExpressionType; // EXP_ELEMENT or EXP_EXPRESSION
    union KESTRO_PACKED {
        BYTE m_bObjectNo; // the server's
        BYTE m_bFieldNo;  // the server's
    };
    BYTE m_bReserved[2]; // 0
    UINT m_nExpOffset;   // the argument
};

/** One branch of a CASE. */
struct KESTRO_PACKED CASEWHENEXPRESSION {
    UINT m_nWhenOffset; // condition, 0 for ELSE
    UINT m_nThenOffset; // result
};

/** A comparison, leaf of a condition tree. */
struct KESTRO_PACKED COMPAREEXPBSON {
    BYTE m_bOperator;           // comparison code, or a PLANCOMPARE
    BYTE m_bLogicNot;           // 1: negated
    BYTE m_bExpressionType1;    // class of the first side, EXPCLASS
    BYTE m_bExpressionType2;    // of the second side; EXPCLASS_IN for an `INCONDITIONBSON`
    BYTE m_bExpressionType3;    // of the third side
    BYTE m_bCompareType;        // the server's
    BYTE m_bEqNo;               // the server's
    BYTE m_bJoinType;           // PLANOUTER
    BYTE m_bMaxObjectLocInPath; // the server's
    BYTE m_bCompareValue;       // folded truth value
    BYTE m_bReserved[2];        // 0
    UINT m_nMathExpOffset1;     // first side
    UINT m_nMathExpOffset2;     // second side
    UINT m_nMathExpOffset3;     // third side: the upper bound of BETWEEN
};

/** A node of a condition tree. */
struct KESTRO_PACKED BASECONDITIONBSON {
    BYTE m_bConditionType1;   // kind of the first operand, CONDITIONOPERAND
    BYTE m_bConditionType2;   // kind of the second operand, CONDITIONOPERAND
    BYTE m_bLogicNot;         // 1: negated
    BYTE m_bLogicOperator;    // PLANLOGIC
    UINT m_nConditionOffset1; // first operand
    UINT m_nConditionOffset2; // second operand
};

/** The right side of IN. */
struct KESTRO_PACKED INCONDITIONBSON {
    BYTE m_bType;                // PLANIN
    BYTE m_bReserved[3];         // 0
    UINT m_nDataNum;             // entries
    UINT m_nExpressionOffset[1]; // `m_nDataNum` offsets of expressions; the query of IN_SUBQUERY
};

/** A relation of the join tree. */
struct KESTRO_PACKED st_BASEREL {
    int m_nObjectID;        // 0
    BYTE m_bObjectType;     // PLANOBJECT
    BYTE m_bObjectNo;       // object number
    BYTE m_bScanPathType;   // kind of the access path, the server's
    BYTE m_bReserved;       // 0
    UINT m_nScanPathOffset; // access path, the server's
    UINT m_nReserved;       // 0
};

/** A join of the join tree. */
struct KESTRO_PACKED st_JOINRS {
    BYTE m_bJoinType;            // PLANJOIN
    BYTE m_bReserved[3];         // 0
    UINT m_nJoinConditionOffset; // ON condition
    UINT m_nLChildNodeOffset;    // left child
    UINT m_nRChildNodeOffset;    // right child
};

/** A node of the join tree. */
struct KESTRO_PACKED st_NODE_QUERYTREE {
    BYTE m_bType;        // QUERYTREENODE
    BYTE m_bStraight;    // 1: the written order stays (STRAIGHT_JOIN)
    BYTE m_bReserved[2]; // 0
    relbitmap m_bRelis;  // relations below this node
    union KESTRO_PACKED {
        st_BASEREL m_stBaseRel; // QUERYTREE_RELATION
        st_JOINRS m_stJoinRs;   // QUERYTREE_JOIN
    };
};

/** A node of a MATCH pattern. */
struct KESTRO_PACKED NODECONDITION {
    UINT m_nConditionOffset;      // node condition
    UINT m_nIndexOffset;          // index information
    UINT m_nConditionFieldNum;    // fields referred to
    UINT m_nConditionFieldOffset; // their list
};

/** A relation of a MATCH pattern. */
struct KESTRO_PACKED RELATIONCONDITION {
    BYTE m_bDirection;            // MATCHDIRECTION
    BYTE m_bReserved[3];          // 0
    int m_nStartLevel;            // first level
    int m_nEndLevel;              // last level
    UINT m_nConditionOffset;      // relation condition
    UINT m_nIndexOffset;          // index information
    UINT m_nConditionFieldNum;    // fields referred to
    UINT m_nConditionFieldOffset; // their list
};

/** SHORTESTPATH. */
struct KESTRO_PACKED SHORTESTPATH {
    int m_bObjectLinkLevel;   // deepest level
    UINT m_nStartCondOffset;  // condition on the start node
    UINT m_nEndCondOffset;    // condition on the end node
    UINT m_nStartIndexOffset; // index information of the start
    UINT m_nEndIndexOffset;   // index information of the end
};

/** A step of a JSON path. */
struct KESTRO_PACKED JSONCOLUMINFO {
    BYTE m_bKeyLen;    // length of the key
    BYTE m_bJsonArray; // 1: an array index
    USHORT m_sIndex;   // array index
    UINT m_nKeyOffset; // key
};

/** A JSON path. */
struct KESTRO_PACKED JSONCOLUMPATH {
    BYTE m_bColumnNum;               // steps
    BYTE m_bReserved[3];             // 0
    JSONCOLUMINFO m_stColumnInfo[1]; // `m_bColumnNum` steps
};

/** A path and the value for it. */
struct KESTRO_PACKED MODIFYCOLUMNINFO {
    UINT m_nColumnPathOffset;      // path
    UINT m_nValueExpressionOffset; // value
};

/** JSON_SET, JSON_INSERT or JSON_REPLACE. */
struct KESTRO_PACKED JSONMODIFY {
    int m_nJsonColumnNum;               // items
    BYTE m_bModifyType;                 // which of the three
    BYTE m_bReserved[3];                // 0
    MODIFYCOLUMNINFO m_stColumnInfo[1]; // `m_nJsonColumnNum` items
};
