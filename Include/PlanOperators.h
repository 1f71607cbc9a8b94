#pragma once

// What the operator byte of a plan's expressions and comparisons holds: the codes of operators, and above them those of
// functions. Client and server share them.

#include "TypeDef.h"

/** Operators. The comparisons that no text writes are in `PLANCOMPARE`. */
enum PLANOPERATOR : BYTE {
    OP_NONE = 0, // a wrapper around one operand
    OP_ADD = 1,
    OP_SUB = 2,
    OP_MUL = 3,
    OP_DIVIDE = 4, // "/"
    OP_MOD = 5,    // "%"
    OP_LINK = 6,   // "||"
    OP_LIKE = 7,
    OP_IN = 8,
    OP_NOT_IN = 9,
    OP_EXISTS = 0xA,
    OP_NOT_EXISTS = 0xB,
    OP_COMMA = 0xF,
    OP_NOT_LIKE = 0x10,
    OP_DIV = 0x11,        // DIV, the integer quotient
    OP_PLUS = 0x12,       // unary "+"
    OP_EQUAL_NULL = 0x13, // "=" that also finds two NULLs equal
    OP_EQUAL = 0x14,
    OP_NOT_EQUAL = 0x15,
    OP_GREATER = 0x16,
    OP_GREATER_EQUAL = 0x17,
    OP_LESS = 0x18,
    OP_LESS_EQUAL = 0x19,
    OP_BETWEEN = 0x1B,           // both bounds belong to the range
    OP_BETWEEN_BELOW = 0x1C,     // all but the upper bound
    OP_BETWEEN_ABOVE = 0x1D,     // all but the lower bound
    OP_BETWEEN_INSIDE = 0x1E,    // neither bound
    OP_PRIOR_LEFT_EQUAL = 0x20,  // "PRIOR a = b", while it is compiled
    OP_PRIOR_RIGHT_EQUAL = 0x21, // "a = PRIOR b", while it is compiled
    OP_IS = 0x22,
    OP_IS_NOT = 0x23,
    OP_BIT_NOT = 0x26,     // "~"
    OP_EXCLAMATION = 0x27, // "!"
    OP_AND = 0x28,
    OP_OR = 0x29,
    OP_NOT = 0x2A,
    OP_MINUS = 0x2B, // unary "-"
    OP_BIT_AND = 0x2D,
    OP_BIT_XOR = 0x2E,
    OP_BIT_OR = 0x2F,
    OP_SHIFT_LEFT = 0x30,
    OP_SHIFT_RIGHT = 0x31,
    OP_BRACKET = 0x5D,      // an open bracket, while it is compiled
    OP_NAME_OR_CALL = 0xFF, // a word that is a field or a call without "()"
};

/** Functions. Where one code stands for several names, the argument list's sub-type tells which. */
enum PLANFUNCTION : BYTE {
    FN_FIRST = 50, // an operator byte from here to `FN_LAST` is a function's
    FN_SYSDATE = 50,
    FN_SEQUENCE = 51, // a word and a point, while it is compiled
    FN_NEXTVAL = 52,
    FN_CURRVAL = 53,
    FN_TO_CHAR = 54,
    FN_TO_DATE = 55,
    FN_CHECKCHILD = 56,
    FN_CURRENT_DATE = 58,
    FN_DBTIMEZONE = 59,
    FN_USER = 60,
    FN_ABS = 61,
    FN_CEIL = 62,
    FN_FLOOR = 63,
    FN_LOWER = 64,
    FN_MOD = 65,
    FN_NULLIF = 66,
    FN_NVL = 67,
    FN_NVL2 = 68,
    FN_POWER = 69,
    FN_ROUND = 70,
    FN_SQRT = 71,
    FN_TRUNC = 72,
    FN_UPPER = 73,
    FN_AGGREGATE_FIRST = 80,
    FN_COUNT = 80,
    FN_AVG = 81,
    FN_MIN = 82,
    FN_MAX = 83,
    FN_SUM = 84,
    FN_BIT_AND = 86,
    FN_BIT_OR = 87,
    FN_BIT_XOR = 88,
    FN_JSON_ARRAYAGG = 89,
    FN_JSON_OBJECTAGG = 90,
    FN_AGGREGATE_LAST = 90,
    FN_STARTNODEID = 91,
    FN_ENDNODEID = 92,
    FN_JSON_ARRAY_APPEND = 109,
    FN_JSON_OBJECT = 110,
    FN_JSON_ARRAY = 111,
    FN_JSON_QUOTE = 112,
    FN_JSON_VALID = 113,
    FN_JSON_TYPE = 114,
    FN_JSON_DEPTH = 115,
    FN_JSON_LENGTH = 116,
    FN_JSON_KEYS = 117,
    FN_JSON_UNQUOTE = 126,
    FN_REPLACE = 131,
    FN_CONCAT = 132,
    FN_CASE = 133,
    FN_CHAR_LENGTH = 134,
    FN_LENGTH = 135,
    FN_SUBSTRING = 136,
    FN_LAST_INSERT_ID = 137,
    FN_UUID = 138,
    FN_CURRENT_TIME = 146,
    FN_ISNULL = 149,
    FN_EXP = 150,
    FN_GREATEST = 151,
    FN_LEAST = 152,
    FN_SPECIAL_LOG = 153, // LN, LOG2, LOG10: FNLOG
    FN_LOG = 154,
    FN_PI = 155,
    FN_RAND = 156,
    FN_SIGN = 157,
    FN_ASCII = 158,
    FN_BIT_LENGTH = 159,
    FN_CONCAT_WS = 160,
    FN_FIND_IN_SET = 161,
    FN_QUOTE = 162,
    FN_REPEAT = 163,
    FN_REVERSE = 164,
    FN_LTRIM = 165,
    FN_RTRIM = 166,
    FN_TRIM = 167,
    FN_DATE_PART = 168, // YEAR, MONTH and the like
    FN_WEEK = 169,
    FN_FROM_UNIXTIME = 170,
    FN_FORMAT = 171,
    FN_SUBSTRING_INDEX = 172,
    FN_CONVERT = 173,
    FN_CAST = 174,
    FN_CONV = 175,
    FN_ELT = 176,
    FN_FIELD = 177,
    FN_EXPORT_SET = 178,
    FN_CRC32 = 193,
    FN_INTERVAL = 234,
    FN_YEARWEEK = 235,
    FN_SIMILARITY = 237,
    FN_GET_LOCK = 240,
    FN_IS_FREE_LOCK = 241,
    FN_RELEASE_LOCK = 242,
    FN_IS_USED_LOCK = 243,
    FN_RELEASE_ALL_LOCKS = 244,
    FN_XML_EXTRACT = 246,
    FN_LAST = 249,
    FN_SERVER_254 = 254, // the server's
};

/** Sub-types of `FN_SPECIAL_LOG`. */
enum FNLOG : BYTE {
    FNLOG_LN = 30,
    FNLOG_LOG2 = 31,
    FNLOG_LOG10 = 32,
};

constexpr bool IsFunctionCode(BYTE bOperator) {
    return bOperator >= FN_FIRST && bOperator <= FN_LAST;
}

constexpr bool IsAggregateCode(BYTE bOperator) {
    return bOperator >= FN_AGGREGATE_FIRST && bOperator <= FN_AGGREGATE_LAST;
}
