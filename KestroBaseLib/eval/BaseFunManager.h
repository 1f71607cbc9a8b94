#pragma once

#include "BaseBson.h"
#include "MemDBCommonDef.h"

/**
 * The scalar functions of SQL. Each takes a pool, its arguments and the result, and answers 0 or a code. What holds
 * unless a function says otherwise:
 *
 * - An argument VT_NULL makes the result NULL, and so does one that can't be turned into the type it is used as.
 * - An optional argument that was left out is VT_DEFAULT.
 * - Text is UTF-8. A text that is made lies in the pool, its length counts the terminator; a result owns nothing and
 * may be a view of an argument. ERR_MEMORY if the pool has no room.
 * - The result isn't an argument; after an error it is any value.
 *
 * Functions without a state; a pool belongs to one thread at a time.
 */
class CBaseFunManager {
public:
    // --- numbers (BaseFunManagerNumber.cpp) --------------------------------------------------------------------------

    /** Integers and doubles as they are, others as VT_DOUBLE. */
    [[nodiscard]] static int Abs(CKestroBufferPool* lpPool, const st_VARDATA& a, st_VARDATA& stResult);
    /** Whole decimals; NULL beyond 36 digits. */
    [[nodiscard]] static int Ceil(CKestroBufferPool* lpPool, const st_VARDATA& a, st_VARDATA& stResult);
    [[nodiscard]] static int Floor(CKestroBufferPool* lpPool, const st_VARDATA& a, st_VARDATA& stResult);
    /** A double; NULL for a negative number. */
    [[nodiscard]] static int Sqrt(CKestroBufferPool* lpPool, const st_VARDATA& a, st_VARDATA& stResult);
    /** A double; ERR_DATA where none is large enough. */
    [[nodiscard]] static int Exp(CKestroBufferPool* lpPool, const st_VARDATA& a, st_VARDATA& stResult);
    /** LN, LOG2, LOG10 by `bSelector`, FNLOG; ERR_FUNCTION_TYPE for another. NULL below 1e-6. */
    [[nodiscard]] static int SpecialLog(CKestroBufferPool* lpPool, const st_VARDATA& a, BYTE bSelector,
                                        st_VARDATA& stResult);
    /** The logarithm of the second to the base of the first; of one argument, LN. NULL where there is none. */
    [[nodiscard]] static int Log(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b,
                                 st_VARDATA& stResult);
    /** Of two integers a BIGINT, otherwise a double. */
    [[nodiscard]] static int Power(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b,
                                   st_VARDATA& stResult);
    /** As the operator "%"; ERR_DATA_TYPE for a remainder that is a date or time. */
    [[nodiscard]] static int Mod(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b,
                                 st_VARDATA& stResult);
    /** VT_INT -1, 0, 1; a magnitude below 1e-6 counts as 0. */
    [[nodiscard]] static int Sign(CKestroBufferPool* lpPool, const st_VARDATA& a, st_VARDATA& stResult);
    static int Pi(CKestroBufferPool* lpPool, st_VARDATA& stResult);
    /** A double from 0 to 1: drawn, or with a seed always the same for it. */
    [[nodiscard]] static int Rand(CKestroBufferPool* lpPool, const st_VARDATA& stSeed, st_VARDATA& stResult);

    // --- ROUND and TRUNC (BaseFunManagerRound.cpp, BaseFunManagerRoundDate.cpp) --------------------------------------

    /**
     * To a number of places, to whole numbers or days without one, of a date to the unit that a format text names.
     * Doubles without places, texts and decimals give a decimal; other values keep their type, dates with a number of
     * places become a double. Also the codes of the rounding of dates.
     */
    [[nodiscard]] static int Round(CKestroBufferPool* lpPool, const st_VARDATA& stValue, const st_VARDATA& stPlaces,
                                   st_VARDATA& stResult);
    [[nodiscard]] static int Trunc(CKestroBufferPool* lpPool, const st_VARDATA& stValue, const st_VARDATA& stPlaces,
                                   st_VARDATA& stResult);
    /** Half away from zero, by the decimal digits that the double is written with. The places are a VT_INT. */
    static void Round(double dblValue, const st_VARDATA& stPlaces, st_VARDATA& stResult);
    /**
     * The same of digits in front of the point, for places below 0: at most the number's own, so 55 to the place of
     * thousands is 100. What outgrows its type becomes a wider one.
     */
    static void Round(int nValue, const st_VARDATA& stPlaces, st_VARDATA& stResult);
    static void Round(long long llValue, const st_VARDATA& stPlaces, st_VARDATA& stResult);

    /** The unit that a format text names, of any case: KESTROROUNDTYPE, or -1. */
    [[nodiscard]] static int GetRoundType(const char* lpszFormat);
    /**
     * A date down to its unit, or to the nearest. 0; ERR_PARAMETER for a format that names none, ERR_NOT_DEVELOPED for
     * weeks from Monday in `Round`, ERR_DATE_DATA for a date out of range.
     */
    [[nodiscard]] static int Trunc(DATE dblDate, const char* lpszFormat, double& dblResult);
    [[nodiscard]] static int Round(DATE dblDate, const char* lpszFormat, double& dblResult);

    // --- NULL (BaseFunManagerNull.cpp) -------------------------------------------------------------------------------

    /**
     * `b` in place of a NULL or an empty text `a`, otherwise `a`. VT_ANY on either side is VT_ANY; VT_EMPTY leaves the
     * result as it is.
     */
    [[nodiscard]] static int Nvl(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b,
                                 st_VARDATA& stResult);
    /** `b`, or `c` in place of a NULL. */
    [[nodiscard]] static int Nvl2(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b,
                                  const st_VARDATA& c, st_VARDATA& stResult);
    /** NULL if the two are equal, otherwise `a`. */
    [[nodiscard]] static int NullIf(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b,
                                    st_VARDATA& stResult);
    /** VT_INT 1 for NULL and VT_EMPTY, otherwise 0. */
    [[nodiscard]] static int IsNull(CKestroBufferPool* lpPool, const st_VARDATA& a, st_VARDATA& stResult);

    // --- text (BaseFunManagerText.cpp) -------------------------------------------------------------------------------

    /** The ASCII letters of a text, changed in the argument's own buffer; other values stay as they are. */
    [[nodiscard]] static int Lower(CKestroBufferPool* lpPool, st_VARDATA& a, st_VARDATA& stResult);
    [[nodiscard]] static int Upper(CKestroBufferPool* lpPool, st_VARDATA& a, st_VARDATA& stResult);
    /** The length as values have it, so with the terminator of a text; of a number that of its text. */
    [[nodiscard]] static int LengthOfValue(CKestroBufferPool* lpPool, const st_VARDATA& a, st_VARDATA& stResult);
    /** Characters of a text; of the text of a number, a double with six places. NULL for other values. */
    static int CharLength(const st_VARDATA& a, st_VARDATA& stResult);
    /** The first byte of the text form as a number, 0 for the empty text. */
    [[nodiscard]] static int AsciiOrd(CKestroBufferPool* lpPool, const st_VARDATA& a, st_VARDATA& stResult);
    /** Bits of the text form. */
    [[nodiscard]] static int Bit_Length(CKestroBufferPool* lpPool, const st_VARDATA& a, st_VARDATA& stResult);

    // --- text of values and dates (BaseFunManagerFormat.cpp) ---------------------------------------------------------

    /**
     * A value by a format: dates and times by one of `CKestroDate`, in their usual forms without one; other values by a
     * format of numbers, as their plain text without one, and by any other format as the date that they are read as.
     */
    [[nodiscard]] static int ToChar(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& stFormat,
                                    st_VARDATA& stResult);
    /** Whether a format is made of "0", "9", "." and "," alone. */
    [[nodiscard]] static bool IsNumberFormat(const char* lpszFormat);
    /** A number with as many places as a format of numbers has, rounded; only its places count. */
    [[nodiscard]] static int NumberToChar(CKestroBufferPool* lpPool, const st_VARDATA& a, st_VARDATA& stResult,
                                          const char* lpszFormat);
    /**
     * A text as VT_DATETIME, by a format or, with an empty one, freely; NULL if it can't be read. Dates and times stay
     * what they are.
     */
    [[nodiscard]] static int ToDate(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& stFormat,
                                    st_VARDATA& stResult);

    // --- now (BaseFunManagerDate.cpp) --------------------------------------------------------------------------------

    /** Now in the database's zone, as VT_DATETIME. */
    static int SysDate(CKestroBufferPool* lpPool, st_VARDATA& stResult);
    /** The database's zone as "+08:00". */
    [[nodiscard]] static int DbTimeZone(CKestroBufferPool* lpPool, st_VARDATA& stResult);

    /**
     * An argument as the type it is used as, whole numbers rounded: NULL if it can't be, with the answer 0. The other
     * answer is ERR_MEMORY.
     */
    [[nodiscard]] static int TakeArgument(CKestroBufferPool* lpPool, const st_VARDATA& stArgument, BYTE bType,
                                          st_VARDATA& stValue);
};

/** The units of rounding, by the format texts that name them. */
enum KESTROROUNDTYPE : int {
    ROUND_NONE = -1,
    ROUND_CENTURY = 1,
    ROUND_YEAR = 2,
    ROUND_QUARTER = 3,
    ROUND_MONTH = 4,
    ROUND_WEEK = 5, // from Sunday
    ROUND_DAY = 6,
    ROUND_HOUR = 7,
    ROUND_MINUTE = 8,
    ROUND_SECOND = 9,
    ROUND_WEEK_MONDAY = 10,
};
