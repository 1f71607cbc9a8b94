#pragma once

#include <cstring>

#include "TypeDef.h"

/** Type codes: one byte, used alike in values, column definitions, plan elements and rows. */
enum KESTROFIELDTYPE : BYTE {
    VT_EMPTY = 0,
    VT_INT = 1,
    VT_BIGINT = 2,
    VT_DOUBLE = 3,
    VT_DATETIME = 4,
    VT_CHAR = 5,
    VT_VARCHAR = 6,
    VT_CLOB = 7,
    VT_BLOB = 8,
    VT_NULL = 10,
    VT_TIME = 11,
    VT_DATE = 12,
    VT_RAW64 = 13,
    VT_DEFAULT = 19,
    VT_MARK = 20,
    VT_JSON = 30,
    VT_JSON2 = 31,
    VT_UNKNOWN = 49,
    VT_ANY = 50,
    VT_STOP = 51,
    VT_TINYINT = 80,
    VT_SMALLINT = 81,
    VT_HEXSTR = 127,
    VT_DECIMAL = 240,
    VT_ENUM = 247,
    VT_SET = 248,
};

/** A day: 4 bytes. Years 1 to 65535. */
struct KESTRO_PACKED KESTRODATE {
    /** 1 to 31. */
    BYTE m_bDay;
    /** 1 to 12. */
    BYTE m_bMonth;
    std::uint16_t m_sYear;
};

/** A time of day or a duration: 4 bytes. */
struct KESTRO_PACKED KESTROTIME {
    /** 0 to 59. */
    BYTE m_bSecond;
    /** 0 to 59. */
    BYTE m_bMintue;
    /** 0 to 23. */
    BYTE m_bHour;
    /** Whole days, -127 to 127, with the sign of the whole; `KESTRO_MINUS_ZERO_DAYS`: a negative time below one day. */
    signed char m_nDay;
};

constexpr signed char KESTRO_MINUS_ZERO_DAYS = -128;

static_assert(sizeof(KESTRODATE) == 4 && sizeof(KESTROTIME) == 4);

/** Days since 30 December 1899, the time of day as fraction; the fraction of a negative value points away from zero. */
using DATE = double;

/**
 * The dynamically typed value, 28 bytes: a type code, three side flags, a 20-byte overlay with a string face (types 5
 * to 8, 30, 31, 127) and a number face (all others), and a counter. Byte 7 is the owner flag of one face and the
 * precision of the other: nothing reads `m_bAutoRelease` before it knows the type.
 */
struct KESTRO_PACKED st_VARDATA {
    /** Type code. */
    BYTE m_vt;
    /** The value is hidden from output. */
    BYTE m_bHide;
    union KESTRO_PACKED {
        /** 255: a running sum that still has to be divided by `m_nDataCount`. */
        BYTE m_bAvg;
        BYTE m_bFind;
        /** Variable scope of a plan element. */
        BYTE m_bScope;
    };
    BYTE m_bCommonIndex;
    union KESTRO_PACKED {
        /** Text: the pattern holds a "%". */
        BYTE m_bPercentSym;
        /** Decimal: 1 negative. BIGINT: 255 came from an unsigned 64-bit integer. */
        BYTE m_bSign;
    };
    union KESTRO_PACKED {
        /** Text: the wildcards have already become the bytes 1 and 2. */
        BYTE m_bProcessWildcard;
        /** Decimal: digits behind the point, -128 to 127. */
        signed char m_bScale;
        /** Integers: length of a bit literal. */
        BYTE m_bBitLength;
        BYTE m_bSecondBitLength;
        BYTE m_nValueDataLen;
        /** Integers: the boolean marker. */
        BYTE m_bBoolean;
    };
    union KESTRO_PACKED {
        /** Text: character set; 255 marks the digits of a hexadecimal literal. */
        BYTE m_bCharset;
        /** Decimal: base-10^9 groups in use, 0 to 4. */
        BYTE m_bValid;
    };
    union KESTRO_PACKED {
        /** Text: the buffer was made with array new and belongs to this value. */
        BYTE m_bAutoRelease;
        /** Decimal: declared precision; 0 none, 255 a quotient of full precision. */
        BYTE m_bPrecison;
        /** Integers: 1 an ENUM value, 2 a SET value, 0 plain. */
        BYTE m_bEnumType;
    };
    union KESTRO_PACKED {
        char* m_lpszValue;
        LPBYTE m_lpValue;
        long long m_llSymbolic;
        int m_nValue;
        unsigned int m_uValue;
        double m_dblValue;
        long long m_llValue;
        unsigned long long m_ullValue;
        /** Decimal: groups of 0 to 999,999,999, least significant first; unused groups are zero. */
        int m_arDecimalData[4];
        struct KESTRO_PACKED {
            long long m_llTextPointer;
            /** Text: length in bytes; of type 6 with its terminator, of type 8 without. */
            int m_nStrLen;
            union KESTRO_PACKED {
                /** Text: offset in the plan. */
                unsigned int m_nStringDataOffset;
                /** Text: capacity of a reusable buffer. */
                int m_nCacheBufferSize;
            };
        };
    };
    /** Rows summed so far in an aggregate; no copy of a value copies it. */
    unsigned int m_nDataCount;

    /** VT_EMPTY, nothing owned; only the first 16 bytes are touched. */
    st_VARDATA() { std::memset(static_cast<void*>(this), 0, 16); }
};

static_assert(sizeof(st_VARDATA) == 28);
static_assert(offsetof(st_VARDATA, m_bSign) == 4 && offsetof(st_VARDATA, m_bPrecison) == 7);
static_assert(offsetof(st_VARDATA, m_arDecimalData) == 8 && offsetof(st_VARDATA, m_nStrLen) == 16);
static_assert(offsetof(st_VARDATA, m_nStringDataOffset) == 20 && offsetof(st_VARDATA, m_nDataCount) == 24);
