#pragma once

// The matrices of arithmetic: for the classes of the left and the right operand, how the pair is computed. What stands
// in no matrix gives NULL. For VarDataOperator.cpp only.

#include <array>

#include "VarDataOperand.h"

/** How a pair is computed, and the type that comes out. */
enum PAIRRULE : BYTE {
    /** Not at all: NULL. */
    PR_NULL,
    /** In 64 bits: a BIGINT. */
    PR_BIGINT,
    /** In 64 bits: an INT, which the result fits. */
    PR_INT,
    /** In 64 bits if both operands are small enough for that, otherwise exactly: a BIGINT or a DECIMAL. */
    PR_GROWING,
    /** As doubles: a DOUBLE; of dates, a number of days. */
    PR_DOUBLE,
    /** Exactly: a DECIMAL. */
    PR_DECIMAL,
    /** By day numbers: a DATETIME, a DATE, a TIME, or an INT of whole days. */
    PR_DATETIME,
    PR_DATE,
    PR_TIME,
    PR_DAYS,
    PR_COUNT,
};

/** A row for each class of the left operand, a column for each of the right one. */
using PAIRTABLE = std::array<std::array<PAIRRULE, OC_PAIRS>, OC_PAIRS>;

namespace PairTables {

constexpr PAIRRULE NO = PR_NULL, LONG = PR_BIGINT, INT = PR_INT, GROW = PR_GROWING, REAL = PR_DOUBLE,
                   EXACT = PR_DECIMAL, STAMP = PR_DATETIME, DAY = PR_DATE, CLOCK = PR_TIME, DAYS = PR_DAYS;

// clang-format off

// A numeric literal (VT_HEXSTR) and text that is a number have no rows of their own: they are BIGINT or DOUBLE, beside
// a decimal DECIMAL. Two texts that look like dates have no cells: the second stands as a value.

constexpr PAIRTABLE ADD = {{
    //               INT    BIGINT DOUBLE DTTIME DECIM. DATE   TIME   "date" "time" both
    /* INT       */ {LONG,  LONG,  REAL,  STAMP, EXACT, DAY,   CLOCK, DAY,   NO,    STAMP},
    /* BIGINT    */ {LONG,  LONG,  REAL,  STAMP, EXACT, DAY,   CLOCK, DAY,   NO,    STAMP},
    /* DOUBLE    */ {REAL,  REAL,  REAL,  STAMP, EXACT, STAMP, CLOCK, STAMP, NO,    STAMP},
    /* DATETIME  */ {STAMP, STAMP, STAMP, STAMP, STAMP, STAMP, STAMP, STAMP, NO,    STAMP},
    /* DECIMAL   */ {EXACT, EXACT, EXACT, STAMP, EXACT, STAMP, CLOCK, STAMP, NO,    STAMP},
    /* DATE      */ {DAY,   DAY,   STAMP, STAMP, STAMP, STAMP, STAMP, NO,    STAMP, NO},
    /* TIME      */ {CLOCK, CLOCK, CLOCK, STAMP, CLOCK, STAMP, CLOCK, STAMP, CLOCK, STAMP},
    /* "date"    */ {DAY,   DAY,   STAMP, STAMP, STAMP, NO,    STAMP},
    /* "time"    */ {NO,    NO,    NO,    NO,    NO,    STAMP, CLOCK},
    /* both      */ {STAMP, STAMP, STAMP, STAMP, STAMP, NO,    STAMP},
}};

// A date less a date stays a DATETIME, as in the sum; less the text of a date it is a number of days. Intended.
constexpr PAIRTABLE SUB = {{
    //               INT    BIGINT DOUBLE DTTIME DECIM. DATE   TIME   "date" "time" both
    /* INT       */ {LONG,  LONG,  REAL,  STAMP, EXACT, DAY,   CLOCK, DAY,   NO,    STAMP},
    /* BIGINT    */ {LONG,  LONG,  REAL,  STAMP, EXACT, DAY,   CLOCK, DAY,   NO,    STAMP},
    /* DOUBLE    */ {REAL,  REAL,  REAL,  STAMP, EXACT, STAMP, CLOCK, STAMP, NO,    STAMP},
    /* DATETIME  */ {STAMP, STAMP, STAMP, STAMP, STAMP, STAMP, STAMP, STAMP, NO,    STAMP},
    /* DECIMAL   */ {EXACT, EXACT, EXACT, STAMP, EXACT, STAMP, CLOCK, STAMP, NO,    STAMP},
    /* DATE      */ {DAY,   DAY,   DAY,   REAL,  DAY,   STAMP, STAMP, DAYS,  STAMP, REAL},
    /* TIME      */ {CLOCK, CLOCK, CLOCK, STAMP, CLOCK, STAMP, CLOCK, STAMP, CLOCK, STAMP},
    /* "date"    */ {DAY,   DAY,   STAMP, STAMP, STAMP, NO,    STAMP},
    /* "time"    */ {NO,    NO,    NO,    NO,    NO,    STAMP, CLOCK},
    /* both      */ {STAMP, STAMP, STAMP, STAMP, STAMP, NO,    STAMP},
}};

// Products, quotients and remainders are of numbers only; a decimal on either side makes them exact.

constexpr PAIRTABLE MUL = {{
    //               INT    BIGINT DOUBLE DTTIME DECIM.
    /* INT       */ {GROW,  GROW,  REAL,  NO,    EXACT},
    /* BIGINT    */ {GROW,  GROW,  REAL,  NO,    EXACT},
    /* DOUBLE    */ {REAL,  REAL,  REAL,  NO,    EXACT},
    /* DATETIME  */ {},
    /* DECIMAL   */ {EXACT, EXACT, EXACT, NO,    EXACT},
}};

constexpr PAIRTABLE DIV = {{
    //               INT    BIGINT DOUBLE DTTIME DECIM.
    /* INT       */ {REAL,  REAL,  REAL,  NO,    EXACT},
    /* BIGINT    */ {REAL,  REAL,  REAL,  NO,    EXACT},
    /* DOUBLE    */ {REAL,  REAL,  REAL,  NO,    EXACT},
    /* DATETIME  */ {},
    /* DECIMAL   */ {EXACT, EXACT, EXACT, NO,    EXACT},
}};

constexpr PAIRTABLE MOD = {{
    //               INT    BIGINT DOUBLE DTTIME DECIM.
    /* INT       */ {INT,   INT,   REAL,  NO,    EXACT},
    /* BIGINT    */ {LONG,  LONG,  REAL,  NO,    EXACT},
    /* DOUBLE    */ {REAL,  REAL,  REAL,  NO,    EXACT},
    /* DATETIME  */ {},
    /* DECIMAL   */ {EXACT, EXACT, EXACT, NO,    EXACT},
}};

} // namespace PairTables

/** What a pair with an operand that is no value gives: a type code, or the pair's own rule. */
constexpr BYTE BY_PAIR = 255;

/** The columns: what the right operand is. */
enum RIGHTKIND : BYTE { RK_NULL, RK_UNKNOWN, RK_ANY, RK_VALUE, RK_COUNT };

/** Rows are the classes of the left operand from `OC_TEXT` on, with one in front for numbers, dates and times. */
using PSEUDOTABLE = std::array<std::array<BYTE, RK_COUNT>, OC_COUNT - OC_TEXT + 1>;

namespace PseudoTables {

constexpr BYTE NUL = VT_NULL, UNK = VT_UNKNOWN, ANY = VT_ANY;

// A text beside an operand that isn't known is NULL: it may be a date or a number. Intended.

/** `Add`, `Sub`. */
constexpr PSEUDOTABLE SUMS = {{
    //               NULL     UNKNOWN  ANY      value
    /* number    */ {NUL,     UNK,     ANY,     BY_PAIR},
    /* text      */ {NUL,     NUL,     NUL,     BY_PAIR},
    /* NULL      */ {NUL,     NUL,     NUL,     NUL},
    /* UNKNOWN   */ {NUL,     UNK,     ANY,     UNK},
    /* ANY       */ {NUL,     ANY,     ANY,     ANY},
    /* EMPTY     */ {NUL,     NUL,     NUL,     NUL},
    /* any other */ {NUL,     NUL,     NUL,     NUL},
}};

/** The operators that give a new value, and `Mul`, `Div`, `Mod` through them: the left operand comes first. */
constexpr PSEUDOTABLE VALUES = {{
    //               NULL     UNKNOWN  ANY      value
    /* number    */ {NUL,     UNK,     ANY,     BY_PAIR},
    /* text      */ {NUL,     NUL,     NUL,     BY_PAIR},
    /* NULL      */ {NUL,     NUL,     NUL,     NUL},
    /* UNKNOWN   */ {UNK,     UNK,     UNK,     UNK},
    /* ANY       */ {ANY,     ANY,     ANY,     ANY},
    /* EMPTY     */ {NUL,     UNK,     ANY,     NUL},
    /* any other */ {NUL,     NUL,     NUL,     NUL},
}};

} // namespace PseudoTables

// clang-format on
