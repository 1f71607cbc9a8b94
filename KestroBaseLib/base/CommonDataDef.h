#pragma once

#include <charconv>
#include <concepts>

#include "TypeDef.h"

// Free functions that all floors share: hashes, comparison, hexadecimal and Unicode text, names out of SQL text, number
// text, byte search, and the codes of character sets, columns and indexes. None keeps a state; all may be called from
// any thread.
//
// Of a text with a length no byte beyond the length is read, terminator or not, and a negative length counts as 0. Of a
// text without a length the terminator is needed. Letters are ASCII letters; the locale plays no part.

class CKestroBufferPool;

// ---- Hashes (CommonDataDefHash.cpp)

/** Hash of a statement's text, as it is stored in a plan. */
UINT CalcSQLHash(const char* lpszText, int nLen);

/** Polynomial hash of base 131 over signed bytes, 31 bits. */
UINT BKDRHash(const char* lpszText, int nLen);

/**
 * Bucket of a key among `nBuckets`; 0 when there are none. Digits and letters weigh by their value in base 36, other
 * bytes as unsigned.
 */
UINT CalcKeyHash(const char* lpszKey, UINT nBuckets);

/** Bucket of a 64-bit hash among `nBuckets`, which is not 0. */
UINT ReduceToBucket(long long llHash, UINT nBuckets);

/** A request's token, 1 to 65535, drawn from the clock. */
WORD CreateDataToken();

// ---- Comparison and case (CommonDataDefCompare.cpp)

/**
 * 0 when two texts are equal but for the case of letters, otherwise the second text's byte less the first's at the
 * first difference, letters as capitals, bytes as signed. A null counts as the empty text, and the byte beside it as it
 * stands.
 */
[[nodiscard]] int CompareNoCase(const char* lpszFirst, const char* lpszSecond);

/**
 * Compares exactly `nLen` bytes, terminators included, but for the case of letters: 0, or the first text's byte less
 * the second's where they first differ, both unsigned and as they stand. A letter matches its other case and no byte
 * from 0x80 on, 0x20 apart or not. A null second text gives -1, else a null first one 1.
 */
[[nodiscard]] int KestroCompareNoCase(const char* lpszFirst, const char* lpszSecond, int nLen);

/**
 * Order of two texts: below, at or above 0. Zero bytes at the end of either don't count; a length of 0 or less stands
 * for the text's own, up to its terminator. Without case letters compare as capitals. Of two texts that agree over the
 * shorter the longer is the greater. Bytes are unsigned; a null counts as the empty text.
 */
[[nodiscard]] int KestroCompare(const char* lpszFirst, int nFirstLen, const char* lpszSecond, int nSecondLen,
                                bool bCaseSensitive);

/** 0 when two numbers lie less than 0.000001 apart, otherwise -1 or 1. */
[[nodiscard]] int CompareDouble(double dblFirst, double dblSecond);

/** Changes the letters among `nLen` bytes in place. */
void KestroMakeUpper(char* lpszText, int nLen);
void KestroMakeLower(char* lpszText, int nLen);

// ---- Hexadecimal (CommonDataDefHex.cpp)

/** "0123456789ABCDEF". */
extern const char* const KestroHexChars;

/** Writes two capital digits a byte and a terminator: `lpszText` holds 2 * `nLen` + 1 elements. */
void HexConvertChar(const BYTE* lpBytes, int nLen, char* lpszText);
void HexConvertWChar(const BYTE* lpBytes, int nLen, wchar_t* lpszText);
inline void HexConvertWC(const BYTE* lpBytes, int nLen, wchar_t* lpszText) {
    HexConvertWChar(lpBytes, nLen, lpszText);
}

/**
 * Reads digits of either case, up to the terminator or until `nMax` bytes are written; blanks, tabs, line feeds and
 * carriage returns are passed over wherever they stand, and a single digit left at the end is lost. Answers 0, or 25 at
 * any other byte. `nLen` is the number of bytes written in either case.
 */
[[nodiscard]] int CharConvertHex(const char* lpszText, BYTE* lpBytes, int nMax, int& nLen);
[[nodiscard]] int CharConvertHex(const char* lpszText, int nTextLen, BYTE* lpBytes, int nMax, int& nLen);
[[nodiscard]] int WCharConvertHex(const wchar_t* lpszText, BYTE* lpBytes, int nMax, int& nLen);

/** The number in a text like "0x1F", up to the first byte that is no digit; of more than 16 digits the last 16. */
[[nodiscard]] long long HexStringToNumber(const char* lpszText);

/** The first 8 of the bytes that a hexadecimal literal stands for, as a big-endian number. */
[[nodiscard]] long long GetHexEncodedData(const char* lpszBytes, int nLen);

// ---- UTF-8 and wide text (CommonDataDefUtf.cpp)
//
// Wide text holds one UTF-16 unit in each 32-bit element, so a character beyond 0xFFFF takes two.

/**
 * The code of the UTF-8 character at a text, whose first byte alone tells its form; forms of up to six bytes are read,
 * and the bytes behind the first are not checked. A first byte that begins no form, or a form that the text's end cuts
 * off, gives the byte's own value. `nUsed` is the number of bytes taken: at least 1, or 0 with `nLen` 0.
 */
[[nodiscard]] UINT KestroGetUnicode(const char* lpszText, int nLen, int& nUsed);
[[nodiscard]] UINT KestroGetUnicode(const char* lpszText);

/** Writes a code as 1 to 4 bytes of UTF-8, with no terminator, and answers their number; -1 from 0x110000 on. */
[[nodiscard]] int KestroCode2UTF8(UINT nCode, char* lpszText);

/**
 * Writes a UTF-8 character, its bytes packed into one integer with the first one highest, as 1 or 2 wide elements, with
 * no terminator, and answers their number; -1 when the integer is no such character.
 */
[[nodiscard]] int KestroCode2UTF16(UINT nSequence, wchar_t* lpszText);

/**
 * Convert a text, up to its length or a zero byte, into `nSize` elements, terminator included; what doesn't fit is cut
 * off at a character's edge. Answer the number of elements without the terminator, or -1 when a code from 0x110000 on
 * stands in the text or there is no room even for the terminator. Whatever was converted stands terminated. In wide
 * text both a pair of surrogates and a whole code are read.
 */
[[nodiscard]] int KestroUTF82Unicode(const char* lpszText, int nLen, wchar_t* lpszWide, int nSize);
[[nodiscard]] int KestroUnicode2UTF8(const wchar_t* lpszWide, int nLen, char* lpszText, int nSize);

/**
 * The wide form of a text in a piece of the pool, terminated; it lives as long as the pool's pieces. Null when memory
 * is short or the text doesn't convert.
 */
[[nodiscard]] wchar_t* KestroConvertWChar(const char* lpszText, int nLen, CKestroBufferPool* lpPool);

// ---- Names out of SQL text (CommonDataDefName.cpp)

/** What the name functions answer. */
enum NAMERESULT {
    NAME_BAD = 0,
    NAME_QUOTED = 1,
    NAME_PLAIN = 2,
};

/** Room for a name and its terminator, which the name functions take for granted. */
constexpr int KESTRO_NAME_SIZE = 65;
/** Room for a title and its terminator. */
constexpr int KESTRO_TITLE_SIZE = 64;

/**
 * Copy a name; a bad one leaves `lpszName` empty.
 * - Object and column names: in double quotes as it stands, in backticks in capitals, both of 3 to 65 bytes with the
 *   quotes; plain in capitals, beginning with a letter, "_" or "#" and made of letters, digits, "$", "_" and "#".
 * - User names: in double quotes, backticks or single quotes as it stands; plain beginning with a letter, case kept.
 * - Database names: in any of the three quotes as it stands, with the answer NAME_PLAIN; plain as object names but with
 *   their case kept.
 */
[[nodiscard]] int CopyNameFromSql(const char* lpszText, int nLen, char* lpszName);
[[nodiscard]] int CopyUserNameFromSql(const char* lpszText, int nLen, char* lpszName);
[[nodiscard]] int CopyDatabaseNameFromSql(const char* lpszText, int nLen, char* lpszName);

/** Answers of `CopyStringFromSql`. */
enum STRINGRESULT {
    STRING_BAD = 0,
    STRING_COPIED = 1,
    STRING_TOO_LONG = 2,
};

/** Copies a text in single quotes, a doubled quote as one. A word of more than `nSize` bytes is too long. */
[[nodiscard]] int CopyStringFromSql(const char* lpszText, int nLen, char* lpszString, int nSize);

/**
 * Copies a password: the text between quotes of the three kinds as it stands (it may be empty), or a plain word that
 * begins with a letter and is made of letters, digits, "$", "_" and "#". `lpszPassword` holds `nLen` + 1 bytes.
 */
[[nodiscard]] int CopyPassWordFromSql(const char* lpszText, int nLen, char* lpszPassword);

/**
 * Copies a title into KESTRO_TITLE_SIZE bytes: without its quotes of the three kinds, otherwise as it stands; a longer
 * one is cut at a character's edge. An empty title, and one whose quote doesn't close, is bad.
 */
[[nodiscard]] int CopyTitleFromSql(const char* lpszText, int nLen, char* lpszTitle);

// ---- Character sets (CommonDataDefCharset.cpp)

/** Code of a character set or collation by its name, quoted or not, of any case. An unknown name gets a default. */
signed char GetCharacterset(const char* lpszText, int nLen);
signed char GetCollationType(const char* lpszText, int nLen);

/** The name by which iconv knows a character set's code; null for "binary", which is no text, and unknown codes. */
const char* GetCharacterCodetype(signed char nCharset);

// ---- Numbers and their text (CommonDataDefNumberText.cpp)

/** Forms of a number's text. */
enum NUMBERFORM {
    NUMBER_NONE = 0,
    /** Digits, a sign in front or none. */
    NUMBER_INTEGER = 1,
    /** "0x" and hexadecimal digits, no sign. */
    NUMBER_HEX = 2,
    /** With a point or an exponent. */
    NUMBER_REAL = 3,
};

/** Which form of number a whole text is; blanks make it none. */
[[nodiscard]] int IsNumber(const char* lpszText, int nLen);
[[nodiscard]] int IsNumber(const char* lpszText);

/**
 * Cuts the zeros at a number's end in place, and a point that then ends it; answers the length left. Unless forced,
 * only a text with exactly one point is touched.
 */
int TrimTailZero(char* lpszText, bool bForce);

/** Number of decimal digits of an integer, sign aside; 0 has one. */
[[nodiscard]] int GetIntegerFigure(long long llValue);
/** Number of digits of a number text's integer part: the digits behind a sign or none. */
[[nodiscard]] int GetStringFigure(const char* lpszText, int nLen);

/** Room for any integer's decimal text and its terminator. */
constexpr int KESTRO_INTEGER_SIZE = 21;

/** Writes an integer of any type as decimal text into KESTRO_INTEGER_SIZE bytes and answers its length. */
template <std::integral T>
requires(!std::same_as<T, bool> && sizeof(T) <= 8) int KestroConvert(T nValue, char* lpszText) {
    char* lpszEnd = std::to_chars(lpszText, lpszText + KESTRO_INTEGER_SIZE - 1, nValue).ptr;
    *lpszEnd = 0;
    return static_cast<int>(lpszEnd - lpszText);
}

/**
 * Writes a number's bits as zeros and ones, at least one and at least `nBits`, at most 64, with zeros in front; answers
 * their number, or -1 with an empty text when they and the terminator don't fit `nSize`.
 */
[[nodiscard]] int ConvertBitToString(unsigned long long ullValue, int nBits, char* lpszText, int nSize);

/**
 * Reads a text behind a length of the MySQL client protocol: a byte up to 250 is the length itself; 252, 253 and 254
 * announce one of 2, 3 and 8 bytes; 251 is NULL, a null `lpszText`. Answers the bytes taken, or 0 when the text is not
 * whole within `nSize` bytes. The text is a view of the bytes, without a terminator.
 */
[[nodiscard]] int ConvertMySQLVarchar(const BYTE* lpData, int nSize, const char*& lpszText, int& nLen);

// ---- Search and patterns (CommonDataDefSearch.cpp)

/** Bytes in front of the first place where `lpszSub` stands; -1 for none. An empty one stands at the start. */
[[nodiscard]] int SubStringFind(const char* lpszText, int nLen, const char* lpszSub, int nSubLen);

/** The same place, in characters of UTF-8. */
[[nodiscard]] int SubStringMatch(const char* lpszText, int nLen, const char* lpszSub, int nSubLen);

/**
 * Puts `lpszTo` in place of every `lpszFrom`, from the front on and by bytes; an empty `lpszFrom` changes nothing.
 * Answers the result's length. With a null `lpszResult` it only counts; otherwise the result and a terminator must fit
 * `nSize`, else the answer is -1 and the result is empty. -1 also for a result beyond 2 GB.
 */
[[nodiscard]] int KestroCharReplace(const char* lpszText, int nLen, const char* lpszFrom, int nFromLen,
                                    const char* lpszTo, int nToLen, char* lpszResult, int nSize);

/** The bytes by which a prepared pattern stands for its wildcards. */
constexpr char WILDCARD_ANY_TEXT = 1;
constexpr char WILDCARD_ANY_CHAR = 2;

/**
 * Prepares a LIKE pattern in place: "%" and "_" become the wildcard bytes unless the escape text stands in front of
 * them. The escape is dropped there, and of a doubled escape one is kept. A null `lpszEscape` stands for the backslash,
 * an empty one for none. Answers the new length and ends a text that became shorter with a zero byte;
 * `bPercentSym` is 1 when a "%" wildcard came out, otherwise 0.
 */
[[nodiscard]] int StrPretreatment(char* lpszText, int nLen, const char* lpszEscape, BYTE& bPercentSym);

/** Whether a text is one JSON string, double quotes included (RFC 8259; bytes from 0x80 on are not looked at). */
[[nodiscard]] bool CheckJsonString(const char* lpszText, int nLen);

// ---- Columns and indexes (CommonDataDefColumn.cpp)

/** What a data file holds. */
enum KESTROFILETYPE : BYTE {
    FILETYPE_SYSTEM = 1,
    FILETYPE_DATA = 2,
    FILETYPE_TREE = 3,
    FILETYPE_KV = 4,
    FILETYPE_HASHTREE = 5,
    FILETYPE_TABLE = 10,
    FILETYPE_INDEX = 11,
};

/** How an index orders or spreads its keys. */
enum KESTROINDEXTYPE : BYTE {
    INDEXTYPE_KV_INT = 1,
    INDEXTYPE_KV_BIGINT = 2,
    INDEXTYPE_KV_CHAR = 4,
    INDEXTYPE_HASHTREE_INT = 5,
    INDEXTYPE_HASHTREE_CHAR = 6,
    INDEXTYPE_TREE_INT = 11,
    INDEXTYPE_TREE_BIGINT = 12,
    INDEXTYPE_TREE_DOUBLE = 13,
    /** A key of several columns, or of a decimal. */
    INDEXTYPE_TREE_MIXED = 15,
    INDEXTYPE_SUFFIX2 = 18,
    INDEXTYPE_SUFFIX = 25,
    INDEXTYPE_TREE_TEXT = 28,
};

/** Values of `bSuffix` that turn a tree of a text column into a suffix index. */
constexpr BYTE SUFFIX_FLAG = 2;
constexpr BYTE SUFFIX2_FLAG = 5;

/**
 * The index type for a column of type `bFieldType` in a file of type `bFileType`. Answers 0, or 318 (the column's type
 * can't be indexed there), 319 (the file holds no such index) or 320 (no such file type), which leave `bIndexType`.
 */
[[nodiscard]] int GetIndexType(BYTE bFileType, BYTE bFieldType, BYTE bSuffix, BYTE& bIndexType);

/** The word by which MySQL clients know an index type; null for an unknown one. */
const char* GetMysqlIndexType(BYTE bIndexType);

/** The column type of the MySQL client protocol for a type code. */
BYTE GetMysqlFieldType(BYTE bFieldType);

/**
 * Length of a field in a record buffer, its leading byte included, for a column's type and decimal precision and a
 * value of `nLen` bytes. Answers 0, or 1501 for a type without such a form, a negative length or one beyond 2 GB.
 */
[[nodiscard]] int GetFieldBufferLen(BYTE bFieldType, BYTE bPrecision, int nLen, int& nBufferLen);

/** A decimal column's scale when it has none of its own. */
constexpr int DECIMAL_NO_SCALE = 127;

// A column's flag byte: bit 0 tells whether NULL is allowed, bits 3 to 7 hold a decimal's scale of 0 to 30, or 31 for
// none; each pair of functions leaves the other bits alone.
constexpr void SetAllowNull(BYTE& bFlags, bool bAllow) {
    bFlags = static_cast<BYTE>((bFlags & ~1) | (bAllow ? 1 : 0));
}
constexpr bool GetAllowNull(BYTE bFlags) {
    return (bFlags & 1) != 0;
}
/** A scale outside 0 to 30 counts as none. */
constexpr void SetDecimalScale(BYTE& bFlags, int nScale) {
    bFlags = static_cast<BYTE>((bFlags & 7) | ((nScale >= 0 && nScale < 31 ? nScale : 31) << 3));
}
constexpr int GetDecimalScale(BYTE bFlags) {
    return bFlags >> 3 == 31 ? DECIMAL_NO_SCALE : bFlags >> 3;
}

// ---- Planning (CommonDataDefPlanner.cpp)

/** A set of objects of one query. Objects 64 apart share a bit. */
using relbitmap = std::uint64_t;

constexpr bool BmsOverlap(relbitmap nFirst, relbitmap nSecond) {
    return (nFirst & nSecond) != 0;
}
/** Whether `nSecond` holds all of `nFirst`. */
constexpr bool BmsIsSubset(relbitmap nFirst, relbitmap nSecond) {
    return (nFirst & ~nSecond) == 0;
}
/** Adds object number `nNo`, counted from 1. */
constexpr void AddRel(int nNo, relbitmap& nSet) {
    nSet |= relbitmap{1} << ((static_cast<UINT>(nNo) - 1) % 64);
}

/** The share of rows that a comparison lets through when nothing is known of the data; the second argument is free. */
double GetDefalutSelectivity(BYTE bOperator, int);

/** The least n for which 2 to the power n is not below the value; 0 for values below 2. */
int KestroLog2(long long llValue);

/** Logarithm of a value to a base, as the C library divides: no number for a base of 1 or arguments below 0. */
double KestroLog(double dblBase, double dblValue);
