#pragma once

// Values and columns: the records that client and server share, and their operations.

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

/** Bytes for the text of any number, date or time, the terminator included. */
constexpr int KESTRO_VALUE_TEXT_SIZE = 416;

/** As character set of a text: it holds the bytes of a hexadecimal literal. */
constexpr BYTE KESTRO_CHARSET_HEX = 255;

struct st_MYSQLFIELDDEF;
class CBaseBson;
class CKestroBufferPool;

/** The payload of an ENUM value (the member's index) or a SET value (bit i-1 for index i), and its column. */
struct KESTRO_PACKED KESTROENUM {
    union KESTRO_PACKED {
        std::int32_t m_nVal;
        std::uint32_t m_uVal;
        std::int64_t m_llVal;
        std::uint64_t m_ullVal;
    };
    st_MYSQLFIELDDEF* m_pField;
};

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
        KESTRODATE m_stDate;
        KESTROTIME m_stTime;
        KESTROENUM m_enumValue;
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
    /** Rows summed so far in an aggregate; no copy of a value copies it, and nothing here sets it. */
    unsigned int m_nDataCount;

    // --- life --------------------------------------------------------------------------------------------------------

    /** VT_EMPTY, nothing owned; only the first 16 bytes are touched. */
    st_VARDATA() { std::memset(static_cast<void*>(this), 0, 16); }
    /** A heap copy, as `SetDataEx`. */
    st_VARDATA(const st_VARDATA& stOther) : st_VARDATA() { SetDataEx(stOther); }
    /** A heap copy, as `SetDataEx`: assigning to a NULL leaves a NULL. */
    st_VARDATA& operator=(const st_VARDATA& stOther) {
        SetDataEx(stOther);
        return *this;
    }
    ~st_VARDATA() { ReleaseOwned(); }

    /** Releases an owned buffer and becomes VT_EMPTY. */
    void Free();
    /** Releases an owned buffer and becomes VT_NULL. */
    void SetNull();
    /** Exchanges two values through pool copies. */
    void Swap(CKestroBufferPool* lpPool, st_VARDATA& stOther);

    // --- buffers -----------------------------------------------------------------------------------------------------

    /**
     * Takes over a buffer made with array new, after `Free`. A null buffer gives VT_NULL. Types other than 6 and 8
     * don't take the pointer: the buffer stays the caller's.
     */
    void AttachBuffer(unsigned char bType, char* lpBuffer, int nLen);
    /** Become a view of a text, of bytes. For a value that owns nothing: neither an old buffer nor the owner flag is
     * touched. */
    void AttachString(char* lpszText, int nLen, unsigned int nOffset);
    void AttachBinaryData(unsigned char* lpData, int nLen, unsigned int nOffset);
    /** Types 6 and 8: forgets the buffer, which is the caller's now. */
    void DetachBuffer();
    /** Becomes a view of bytes, after `Free`. */
    void SetBinaryData(unsigned char* lpData, int nLen);
    void GetBinaryData(unsigned char*& lpData) const { lpData = m_lpValue; }

    // --- values; an owned buffer is released first -------------------------------------------------------------------

    void SetData(char cValue) { SetData(static_cast<int>(cValue)); }
    void SetData(short nValue) { SetData(static_cast<int>(nValue)); }
    void SetData(int nValue) { BecomeNumber(VT_INT, nValue); }
    void SetData(long long llValue) { BecomeNumber(VT_BIGINT, llValue); }
    /** BIGINT with 255 in `m_bSign`. */
    void SetData(unsigned long long ullValue) {
        BecomeNumber(VT_BIGINT, static_cast<long long>(ullValue));
        m_bSign = 255;
    }
    /** VT_DOUBLE or VT_DATETIME. */
    void SetData(double dblValue, unsigned char bType) {
        BecomeNumber(bType, 0);
        m_dblValue = dblValue;
    }
    void SetData(const KESTRODATE& stDate) {
        BecomeNumber(VT_DATE, 0);
        m_stDate = stDate;
    }
    void SetData(const KESTROTIME& stTime) {
        BecomeNumber(VT_TIME, 0);
        m_stTime = stTime;
    }
    /** Becomes a view of a text; `nLen` counts its terminator. */
    void SetData(const char* lpszText, int nLen, unsigned char bCharset);

    // --- copies ------------------------------------------------------------------------------------------------------

    /**
     * The pool copy of evaluators: text that the source owns is copied into the pool, other text is shared; the copy
     * owns nothing. Without memory the copy stays VT_EMPTY. Types without a rule leave the value released.
     */
    void SetData(CKestroBufferPool* lpPool, const st_VARDATA& stSource);
    /**
     * The heap copy: text that the source owns is copied with array new and owned, other text is shared. A value of
     * type VT_NULL, VT_UNKNOWN or VT_ANY keeps its state. Without memory the copy is VT_NULL.
     */
    void SetDataEx(const st_VARDATA& stSource);
    /**
     * The copy into a procedure's variable: text and bytes go into a block of at least 100 bytes that the next
     * assignment uses again. Answers 0 or 3; the value is then as before. Only such variables may be given, or values
     * without text.
     */
    [[nodiscard]] int SetDataProce(CKestroBufferPool* lpPool, const st_VARDATA& stSource);

    // --- conversion --------------------------------------------------------------------------------------------------
    //
    // Text without a number gives 0 or NULL and a text that is no date NULL; what a narrower type doesn't hold wraps,
    // or becomes the lowest integer if it was a double. A fraction is cut, with `bRound` rounded half away from zero;
    // text is always cut. All answer 0; 3 without memory; 516 for a pair of types without a conversion. The result, or
    // the value changed in place, keeps its state after 3 and 516. New text lies in the pool and isn't owned; its
    // length counts the terminator, that of a BLOB doesn't. Of a text no byte beyond its length is read. The result may
    // be the value itself. Types 0 and 10, and a text without a buffer, are NULL for every type.

    /** For all uses. A target of no conversion gets a plain copy. */
    [[nodiscard]] int GetCompatibleValue(CKestroBufferPool* lpPool, unsigned char bType, st_VARDATA& stOut,
                                         bool bRound) const;
    /**
     * For a column: knows its types 5, 7, 80 and 81 as well, leaves VT_ANY as it is, and reads the text of a
     * hexadecimal literal (`m_bCharset` 255) as the number that its bytes are.
     */
    [[nodiscard]] int GetCompatableFieldValue(CKestroBufferPool* lpPool, unsigned char bType, st_VARDATA& stOut,
                                              bool bRound) const;
    /** For an operand: numbers and times only, any other target is 516. A decimal becomes a BIGINT rounded. */
    [[nodiscard]] int GetCompatibleNumberValue(unsigned char bType, st_VARDATA& stOut, bool bRound) const;
    /**
     * For a bit column of 32 bits (types 1, 80, 81) or of 64 (all others), from numbers and from the big-endian bytes
     * of a text or BLOB. Values of other types leave `stOut` as it is. Always 0.
     */
    [[nodiscard]] int GetCompatableBitValue(unsigned char bType, st_VARDATA& stOut) const;

    /**
     * In place, for an expression. To 1 and 2 with `bForce` a decimal out of range becomes NULL; without it a number
     * that would lose something stays as it is. A target of no conversion leaves the value alone.
     */
    [[nodiscard]] int ChangeTypeCore(CKestroBufferPool* lpPool, unsigned char bType, bool bRound, bool bForce);
    /**
     * In place, for storing into a column. `lpField` is needed for ENUM and SET: 4 without it, and 1041 with a NULL
     * value for a text that isn't among its members. A BLOB takes the bytes or the text of all types.
     */
    [[nodiscard]] int ChangeFieldTypeCore(CKestroBufferPool* lpPool, unsigned char bType, st_MYSQLFIELDDEF* lpField,
                                          bool bRound);
    /** In place, as `GetCompatableBitValue`, but an INT becomes a BIGINT for target 2 only. Always 0. */
    [[nodiscard]] int ChangeBitFieldTypeCore(unsigned char bType);

    [[nodiscard]] int ChangeType(CKestroBufferPool* lpPool, unsigned char bType, bool bRound, bool bForce) {
        return ChangeTypeCore(lpPool, bType, bRound, bForce);
    }
    [[nodiscard]] int ChangeFieldType(CKestroBufferPool* lpPool, unsigned char bType, st_MYSQLFIELDDEF* lpField,
                                      bool bRound) {
        return ChangeFieldTypeCore(lpPool, bType, lpField, bRound);
    }
    [[nodiscard]] int ChangeBitFieldType(unsigned char bType) { return ChangeBitFieldTypeCore(bType); }

    /** The number in a value of a numeric type; decimals are rounded, other values give the bytes of their payload. */
    int GetCompatibleInt() const;
    long long GetCompatibleBigInt() const;
    double GetCompatibleDouble() const;

    // --- text forms --------------------------------------------------------------------------------------------------

    /**
     * Writes the text of a number, a time or a numeric literal's bytes, with a terminator, and answers its length with
     * it; any other value gives an empty text and 0. Needs `KESTRO_VALUE_TEXT_SIZE` bytes, for VT_HEXSTR the half of
     * its length and 1.
     */
    int GetCompatibleStringValue(char* lpszText) const;
    /**
     * A number or a time becomes a view of its text, written into `KESTRO_VALUE_TEXT_SIZE` bytes. Unlike elsewhere a
     * double keeps its six places and the length doesn't count the terminator. Other values stay.
     */
    void Covert2String(char* lpszBuffer);
    /** A text becomes the value of a column's type that it writes: NULL where it writes none. Other targets: nothing */
    void CovertString2Data(unsigned char bType);
    /** The same with a given text, of which types 5 to 7 become a view; other targets leave the value released. */
    void CovertString2Data(unsigned char bType, const char* lpszText, int nLen);
    /** A text becomes the VT_DOUBLE that its leading digits and points write. 0; 1501 for any other type. */
    [[nodiscard]] int CovertStringToNumber(CKestroBufferPool* lpPool);
    /**
     * Deletes blanks, "-" and ":" from a text: in an owned buffer, or in a pool copy, as a view may lie in a literal.
     * 0; 3; 1501 for any other type.
     */
    [[nodiscard]] int CovertDateStrToNumberStr(CKestroBufferPool* lpPool);

    // --- questions ---------------------------------------------------------------------------------------------------

    /** 0, 1, or 2 for NULL. Every text with a length is true. */
    int IsTrue() const;
    bool IsNull() const { return m_vt == VT_NULL; }
    bool IsUnknown() const { return m_vt == VT_UNKNOWN; }
    /** Whether a pattern, its wildcards already processed, holds nothing else. */
    bool IsAllWildcard() const;
    /** Characters of a text of type 6, by the lead bytes of UTF-8; 0 for all else. */
    int GetCharNum() const;
    /** Turn the ASCII letters in the first `nLen` bytes of the buffer, whoever owns it. Always 0. */
    int Upper(int nLen);
    int Lower(int nLen);

    /** Bytes in a record, for a field of type `bType`; of the value's own type; of its buffer. */
    int GetDataLen(unsigned char bType) const;
    int GetDataLen() const;
    int GetDataBufferLen(unsigned char bPrecision) const;

    /** Fold the value into a running hash, so that equal values of different types hash alike. */
    void CalcHashFactor(long long& llHash) const;
    /** The same at a short, fixed cost: at most 16 bytes of a text count. */
    void CalcHashFactorEx(unsigned long long& ullHash) const;

    /** Whether byte 7 is the owner flag in a value of this type. */
    bool HasOwnerFlag() const { return m_vt == VT_VARCHAR || m_vt == VT_BLOB || m_vt == VT_HEXSTR; }
    bool OwnsBuffer() const { return HasOwnerFlag() && m_bAutoRelease; }

    // --- operators ---------------------------------------------------------------------------------------------------
    //
    // Each is a matrix over the types of both operands, and no operator reports: a pair without a rule gives NULL, and
    // so does a division by zero. A text operand counts as the number, date or time that it holds. An operand may be
    // the result as well. Of a text no byte beyond its length is read, whatever it is, and none beyond its end mark but
    // by the comparison of two texts.

    /**
     * Become the sum, the difference of two values; side flags and counter stay. Always 0. NULL comes before the
     * pseudo-values, whatever the side.
     */
    int Add(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b);
    int Sub(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b);
    /** Become the result of the operators `*`, `/`, `%` as a pool copy. Always 0. */
    int Mul(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b);
    int Div(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b);
    int Mod(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b);

    /** New values that own nothing. A left operand that is NULL or a pseudo-value comes out as it is. */
    st_VARDATA operator+(const st_VARDATA& stOther) const;
    st_VARDATA operator-(const st_VARDATA& stOther) const;
    /** Integers whose product might not fit 64 bits give an exact DECIMAL. */
    st_VARDATA operator*(const st_VARDATA& stOther) const;
    /** A DOUBLE, or beside a decimal a DECIMAL of 36 digits; never an integer. */
    st_VARDATA operator/(const st_VARDATA& stOther) const;
    /** With the sign of the dividend. */
    st_VARDATA operator%(const st_VARDATA& stOther) const;

    /** A BIGINT with 255 in `m_bSign`. Operands are rounded to 64 bits; shifting by 64 or more gives 0. */
    st_VARDATA operator&(const st_VARDATA& stOther) const;
    st_VARDATA operator|(const st_VARDATA& stOther) const;
    st_VARDATA operator^(const st_VARDATA& stOther) const;
    st_VARDATA operator<<(const st_VARDATA& stOther) const;
    st_VARDATA operator>>(const st_VARDATA& stOther) const;
    st_VARDATA operator~() const;

    /** 0, 1, or 2 if an operand is NULL. Unlike in `IsTrue` a text is as true as the number it begins with. */
    BYTE operator&&(const st_VARDATA& stOther) const;
    BYTE operator||(const st_VARDATA& stOther) const;
    BYTE operator!() const;

    /**
     * Comparison: 0 or 1, and all six 0 for what can't be compared, such as NULL with a value; two NULLs are equal.
     * Doubles and dates that lie within 1e-8 are equal. Texts compare without case.
     */
    BOOL operator==(const st_VARDATA& stOther) const;
    BOOL operator!=(const st_VARDATA& stOther) const;
    BOOL operator<(const st_VARDATA& stOther) const;
    BOOL operator<=(const st_VARDATA& stOther) const;
    BOOL operator>(const st_VARDATA& stOther) const;
    BOOL operator>=(const st_VARDATA& stOther) const;
    /**
     * For grouping: as `==`, but doubles without a tolerance and texts with regard to case if `nCaseSensitive` is not
     * 0. Also 2 for two NULL or two EMPTY, 3 for two UNKNOWN.
     */
    BYTE IsEqual(const st_VARDATA& stOther, int nCaseSensitive) const;

    /**
     * Both values as text, one behind the other, into the pool; NULL adds nothing. What has no text makes the result
     * NULL. Answers 0, or 3 and leaves the result as it was, or VT_EMPTY if it was to be a copy of one operand.
     */
    [[nodiscard]] int Link(CKestroBufferPool* lpPool, const st_VARDATA& b, st_VARDATA& stResult) const;

    /**
     * Cuts the places behind the given one without rounding; a place below 0 makes digits in front of the point zero.
     * An INT keeps its digits. Answers the width of the number, 0 for a value that is none and is left alone, 1501 if
     * the place is no integer.
     */
    [[nodiscard]] int Trunc(const st_VARDATA& stPlaces);
    /**
     * In place. Answer the width of the result, or -1 for a value that is no number. A date or time counts as the
     * number that its digits write, which takes the pool; a text as the number of its leading digits.
     */
    [[nodiscard]] int Abs(CKestroBufferPool* lpPool);
    /** INT and BIGINT stay; a DOUBLE becomes a BIGINT. */
    [[nodiscard]] int Floor(CKestroBufferPool* lpPool);
    [[nodiscard]] int Ceil(CKestroBufferPool* lpPool);
    /** A DOUBLE; -1 for a negative value. */
    [[nodiscard]] int Sqrt(CKestroBufferPool* lpPool);
    /** A DOUBLE if one of the two is, otherwise a BIGINT; NULL for other types. */
    static st_VARDATA Power(const st_VARDATA& a, const st_VARDATA& b);
    /** Divides a running sum, marked by 255 in `m_bAvg`, by the rows in `m_nDataCount` and clears the mark. */
    void Avg(CKestroBufferPool* lpPool);

private:
    void ReleaseOwned() {
        if (!OwnsBuffer()) return;
        delete[] m_lpszValue;
        m_lpszValue = nullptr;
        m_bAutoRelease = 0;
    }
    /** Sign, scale and precision of what the value held before go, so that no integer passes for an ENUM. */
    void BecomeNumber(unsigned char bType, long long llValue) {
        ReleaseOwned();
        std::memset(&m_bPercentSym, 0, 4);
        m_vt = bType;
        m_llValue = llValue;
    }
    void BecomeView(unsigned char bType, char* lpBuffer, int nLen);
    void CopyNumber(const st_VARDATA& stSource);
    bool CopyPlain(const st_VARDATA& stSource);
};

static_assert(sizeof(st_VARDATA) == 28);
static_assert(offsetof(st_VARDATA, m_bSign) == 4 && offsetof(st_VARDATA, m_bPrecison) == 7);
static_assert(offsetof(st_VARDATA, m_arDecimalData) == 8 && offsetof(st_VARDATA, m_nStrLen) == 16);
static_assert(offsetof(st_VARDATA, m_nStringDataOffset) == 20 && offsetof(st_VARDATA, m_nDataCount) == 24);

/**
 * A comparison by its operator's code in plans: 19 `==` that also finds two NULLs equal and one NULL unequal, 20 `==`,
 * 21 `!=`, 22 `>`, 23 `>=`, 24 `<`, 25 `<=`. Answers 0, or 1503 for another code and leaves the result.
 */
[[nodiscard]] int CompareData(const st_VARDATA& a, const st_VARDATA& b, unsigned char bOperator, int& nResult);

/** A run of values: the arguments of a call, or the right side of a row comparison. */
struct KESTRO_PACKED st_MULTIVARDATA {
    BYTE m_bNum;
    BYTE m_bReserved[3];
    /** `m_bNum` values; the declared length is 1. */
    st_VARDATA m_arrVarData[1];

    /** Bytes for a run of `nNum` values, 1 to 255. */
    static constexpr UINT Size(UINT nNum) { return (nNum - 1) * 28 + 32; }

    /** Whether all values are NULL. */
    bool isNull() const;
    /** Whether some value is VT_ANY. */
    bool isAnyType() const;
    /** Makes the pointers of texts and bytes from their plan offsets. */
    void GetMultiStringData(CBaseBson* lpBson);
};

static_assert(sizeof(st_MULTIVARDATA) == 32 && st_MULTIVARDATA::Size(1) == 32);

/** A generated column's expression. The two buffers are made with array new and belong to the column. */
struct KESTRO_PACKED st_VIRTUALFIELDINMEMORY {
    BYTE m_bStored;
    BYTE m_bReserved[3];
    std::uint32_t m_nExpressionSize;
    /** Root of the expression in its buffer. */
    std::uint32_t m_nExpressionOffset;
    std::uint32_t m_nExpressionStringLen;
    LPBYTE m_lpExpressionBuffer;
    char* m_lpExpressionString;
};

/**
 * A column as the client sees it. What its pointers name goes with `Free`; all is made with array new, but the record
 * of a generated column with plain new.
 */
struct KESTRO_PACKED st_MYSQLFIELDDEF {
    /** Position in the result, in the table. */
    BYTE m_bFieldNo;
    BYTE m_bObjectFieldNo;
    BYTE m_bFieldType;
    BYTE m_bAttribute;
    BYTE m_bPrimaryKey;
    /** Has a default. */
    BYTE m_bDefault;
    BYTE m_bZerofill;
    BYTE m_bUnsigned;
    /** Type code as stored. */
    BYTE m_bKestroFieldType;
    BYTE m_bScale;
    BYTE m_bCharacterSet;
    BYTE m_bBinary;
    BYTE m_bAutoIncrement;
    BYTE m_bCollation;
    BYTE m_bStatics;
    /** Generated column. */
    BYTE m_bVirtualField;
    /** Length in characters. */
    std::uint32_t m_bCharLen;
    char m_lpszName[32];
    char m_bColComment[64];
    /** Compiled default expression, its length, its root, its text. */
    LPBYTE m_lpDefaultExp;
    std::uint32_t m_lpDefaultExpLen;
    std::uint32_t m_nDefaultExpRootOffset;
    char* m_lpDefaultExpString;
    /** Compiled ON UPDATE expression, its length, its root, its text. */
    LPBYTE m_lpOnUpdateExp;
    std::uint32_t m_nOnUpdateExpLen;
    std::uint32_t m_nOnUpdateExpRootOffset;
    char* m_lpOnUpdateExpString;
    /** Members of an ENUM or SET. */
    std::uint32_t m_nEnumNum;
    char** m_arrEnumData;
    st_VIRTUALFIELDINMEMORY* m_lpVirtualField;

    /** The place from 0 of a member, without regard to case: 0; or -1 with the index 0. */
    [[nodiscard]] int GetEnumIndex(const char* lpszText, int& nIndex) const;
    /** The same for a text of `nLen` bytes, terminator or not. */
    [[nodiscard]] int GetEnumIndex(const char* lpszText, int nLen, int& nIndex) const;
    /**
     * The bits of the members that a text of `nLen` bytes lists between commas, bit 0 for the first; members 64 apart
     * share a bit. 0; or -1 if one isn't a member, with the bits of those that are. The empty text lists none.
     */
    [[nodiscard]] int GetSetMask(const char* lpszText, int nLen, unsigned long long& ullMask) const;
    /** Releases all that the record owns and clears its pointers and their lengths. */
    void Free();
};

static_assert(offsetof(st_MYSQLFIELDDEF, m_lpszName) == 20 && sizeof(st_MYSQLFIELDDEF) == 184);
