#pragma once

#include "KestroErrorCode.h"
#include "VarData.h"

/** Powers of ten that fit a group. */
inline constexpr int KestroPowers10[10] = {1,       10,        100,        1'000,       10'000,
                                           100'000, 1'000'000, 10'000'000, 100'000'000, 1'000'000'000};

/** Most digits a decimal holds. */
inline constexpr int DECIMAL_MAX_DIGITS = 36;
/**
 * Bytes for the longest text of `PrintDecimal`, terminator included: a sign, 36 digits and the 128 zeros of the lowest
 * scale. It also holds every text of `PrintDecimalHex`.
 */
inline constexpr int DECIMAL_TEXT_SIZE = 1 + DECIMAL_MAX_DIGITS + 128 + 1;
/** Bytes for the longest binary image: header, scale and four groups. */
inline constexpr int DECIMAL_BIN_SIZE = 2 + 16;
/** Declared precision of a quotient: all 36 digits are held, few are printed. */
inline constexpr BYTE DECIMAL_PRECISION_QUOTIENT = 255;
/** As a scale asked of `FormatBin` and `VerificationData`: the value keeps its own. */
inline constexpr int DECIMAL_SCALE_KEEP = 127;
/** Answer of `Compare` when a value has no digits. */
inline constexpr int DECIMAL_NOT_COMPARABLE = 255;

/**
 * Exact decimal arithmetic on values of type `VT_DECIMAL`: sign and magnitude, N * 10^-scale, with N below 10^36 held
 * in `m_arDecimalData` as groups of nine digits, least significant first, aligned to the end of the digits and not to
 * the point. Zero has `m_bValid` 1; `m_bValid` 0 is a value without digits.
 *
 * What needs more than 36 digits is rounded back to 36 by moving the scale, so arithmetic loses low digits and does not
 * fail. A value that can't be given becomes `VT_NULL` with a cleared number face.
 *
 * A result may be an operand. Results write the type and the number face (bytes 0 and 4 to 23); the side flags follow
 * only where a value is copied as a whole, and `m_nDataCount` never. An owned text in a result is not released here.
 * Values whose groups, group count or scale are out of range give some result, and nothing is read or written outside
 * of the records. All functions are pure: any thread, no memory taken.
 */
class CKestroDecimal {
public:
    // --- from text and numbers ---------------------------------------------------------------------------------------

    /**
     * Reads a number: blanks, sign, digits, point, exponent of up to three digits; also the literals b'01', 0b01 and
     * 0x1F, which have no sign. What follows the number is ignored. No number, over 163 integer digits, "na", "nan", or
     * a scale outside -127 to 127 give NULL and 0; another text that begins with n gives NULL and ERR_DECIMAL_LOAD.
     */
    [[nodiscard]] static int Convert2Decimal(const char* lpszText, st_VARDATA* lpValue);
    /**
     * The same for a text of `nLen` bytes. The byte at `nLen` must be readable: if it is zero the text is read in
     * place, otherwise its first 535 bytes are.
     */
    [[nodiscard]] static int Convert2Decimal(const char* lpszText, int nLen, st_VARDATA* lpValue);
    /** Exact; scale 0. Always 0. The lowest signed values come out positive. */
    static int Convert2Decimal(int nValue, st_VARDATA* lpValue);
    static int Convert2Decimal(unsigned int uValue, st_VARDATA* lpValue);
    static int Convert2Decimal(long long llValue, st_VARDATA* lpValue);
    static int Convert2Decimal(unsigned long long ullValue, st_VARDATA* lpValue);
    /**
     * 15 to 18 significant digits without trailing zeros; the scale may become negative. Over 160 integer digits,
     * infinity and NaN give NULL. Always 0.
     */
    static int Convert2Decimal(double dblValue, st_VARDATA* lpValue);

    // --- to numbers --------------------------------------------------------------------------------------------------

    /** The nearest double; 0 for a value without digits. */
    [[nodiscard]] static double Convert2Double(const st_VARDATA* lpValue);
    /** `bRound` 0 cuts a fraction, else half away from zero. Over 32 bits it wraps up to 18 digits, then gives 0. */
    [[nodiscard]] static int Convert2Int(const st_VARDATA* lpValue, int bRound);
    /** As above; a positive value up to 2^64-1 gives that bit pattern. */
    [[nodiscard]] static long long Convert2Int64(const st_VARDATA* lpValue, int bRound);
    /** Make the value `VT_INT`, `VT_BIGINT` if nothing is lost; otherwise it stays as it is. */
    static void SafeConvert2Int(st_VARDATA* lpValue);
    static void SafeConvert2Int64(st_VARDATA* lpValue);
    /**
     * 1 and the integer if the value is one, else 0 with the integer untouched. Also takes `VT_INT`, `VT_BIGINT` (both
     * by their low 32 bits) and `VT_DOUBLE`. A fraction of zeros passes only with one more zero in front of the point:
     * 10.00 does, 12.00 doesn't.
     */
    [[nodiscard]] static int IsInt(const st_VARDATA* lpValue, int& nValue);
    [[nodiscard]] static int IsInt64(const st_VARDATA* lpValue, long long& llValue);

    // --- to text -----------------------------------------------------------------------------------------------------

    /** Writes the text with a terminator into `DECIMAL_TEXT_SIZE` bytes, any of which may change; answers its length.
     */
    static int PrintDecimal(const st_VARDATA* lpValue, char* lpszText);
    /** The same in hexadecimal, rounded to a whole number: "0x..." up to 64 bits, bare byte pairs beyond. */
    static int PrintDecimalHex(const st_VARDATA* lpValue, char* lpszText);

    // --- arithmetic: 0 or a code -------------------------------------------------------------------------------------

    /** Always 0. A scale that can't be held gives a zero with `m_bValid` 0. */
    static int Add(const st_VARDATA* lpFirst, const st_VARDATA* lpSecond, st_VARDATA* lpResult);
    static int Sub(const st_VARDATA* lpFirst, const st_VARDATA* lpSecond, st_VARDATA* lpResult);
    static int Mul(const st_VARDATA* lpFirst, const st_VARDATA* lpSecond, st_VARDATA* lpResult);
    /** 36 significant digits. A zero divisor gives NULL and 0; the result's scale wraps at 8 bits. */
    static int Div(const st_VARDATA* lpFirst, const st_VARDATA* lpSecond, st_VARDATA* lpResult);
    /**
     * Exact remainder, with the sign of the first and the larger scale. A zero divisor gives NULL and 0; a dividend
     * without digits NULL and ERR_DATA.
     */
    [[nodiscard]] static int Mod(const st_VARDATA* lpFirst, const st_VARDATA* lpSecond, st_VARDATA* lpResult);
    static int Add(st_VARDATA* lpValue, const st_VARDATA* lpOther);
    static int Sub(st_VARDATA* lpValue, const st_VARDATA* lpOther);
    /** Adds `nUnits` units of the value's last place. A carry out at scale -128 gives NULL. */
    static int Add(st_VARDATA* lpValue, int nUnits);
    /** -1, 0, 1, or `DECIMAL_NOT_COMPARABLE`. The signs decide first: a negative zero is below a positive one. */
    [[nodiscard]] static int Compare(const st_VARDATA* lpFirst, const st_VARDATA* lpSecond);

    // --- scale -------------------------------------------------------------------------------------------------------

    /**
     * Rescales; `bRound` 0 cuts, else half away from zero. A magnitude that would need over 36 digits gives NULL and
     * ERR_DECIMAL_PRECISION. At the same scale a plain copy of 24 bytes, otherwise the precision becomes 0.
     */
    [[nodiscard]] static int Zoom(const st_VARDATA* lpSource, st_VARDATA* lpTarget, char cScale, int bRound);
    /** Raises the scale by `bDigits`; for callers who know that 36 digits suffice, as digits above are lost. */
    static void ZoomOut(const st_VARDATA* lpSource, st_VARDATA* lpTarget, unsigned char bDigits);
    /** Drops digits of a fraction that a display doesn't need. */
    static void Clean(st_VARDATA* lpValue);
    /** Whole numbers of scale 0; ERR_DECIMAL_PRECISION and NULL if 36 digits don't hold them. */
    [[nodiscard]] static int Floor(const st_VARDATA* lpValue, st_VARDATA* lpResult);
    [[nodiscard]] static int Ceil(const st_VARDATA* lpValue, st_VARDATA* lpResult);
    /** Digits of N, 0 for zero. */
    [[nodiscard]] static int CalcValidDigit(const st_VARDATA* lpValue);

    // --- binary image: header, scale, payload ------------------------------------------------------------------------

    /** Length of a column's image, of a value's image. */
    [[nodiscard]] static int CalcBinLen(int nPrecision);
    [[nodiscard]] static int CalcBinLen(const st_VARDATA* lpValue);
    /** Writes the shortest image, or that of the declared precision, into `DECIMAL_BIN_SIZE` bytes. 0, or as below. */
    [[nodiscard]] static int FormatBin(const st_VARDATA* lpValue, unsigned char* lpImage, int& nLen);
    /**
     * Writes the image of a column; a value that doesn't fit loses low digits. ERR_DECIMAL_PRECISION with `nLen` 0 if
     * the scale can't be reached.
     */
    [[nodiscard]] static int FormatBin(const st_VARDATA* lpValue, int nPrecision, int nScale, unsigned char* lpImage,
                                       int& nLen);
    /** Reads an image of up to `DECIMAL_BIN_SIZE` readable bytes. A bad one gives NULL and ERR_DECIMAL_LOAD. */
    [[nodiscard]] static int LoadBin(const unsigned char* lpImage, st_VARDATA* lpValue);
    /** The same of at most `nAvailable` readable bytes; an image that is longer is a bad one. */
    [[nodiscard]] static int LoadBin(const unsigned char* lpImage, int nAvailable, st_VARDATA* lpValue);
    /** Writes the image with the greatest value of a column, for the ends of ranges. Answers its length. */
    static int GetMax(int nPrecision, unsigned char* lpImage);
    /** Makes a value fit a column; NULL and ERR_DECIMAL_PRECISION if it can't. */
    [[nodiscard]] static int VerificationData(st_VARDATA* lpValue, unsigned char bPrecision, char cScale);

    /** Hash of `VT_INT`, `VT_BIGINT`, `VT_DOUBLE` and `VT_DECIMAL`: alike for equal numbers, blind for the sign. */
    [[nodiscard]] static long long CalcHashFactor(const st_VARDATA* lpValue);

    // --- groups, least significant first -----------------------------------------------------------------------------

    /** Adds n groups onto others; answers the carry out of the top. */
    static int AddIntArray(int* lpGroups, const int* lpOther, int n);
    /** -1, 0, 1 from the top group down. */
    [[nodiscard]] static int CompareIntArray(const int* lpFirst, const int* lpSecond, int n);
    /** Takes a group and the borrow from another group; leaves the new borrow, 0 or 1. */
    static void Sub2(int& nValue, int nSubtrahend, int& nBorrow);
};
