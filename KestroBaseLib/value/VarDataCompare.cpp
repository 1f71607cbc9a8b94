// Comparison of values of any two types, with a tolerance between doubles and exact for grouping. One matrix says how a
// pair is compared and one what each operator makes of the outcome. NULL is no third truth here: that is the callers'
// matter.

#include <cmath>

#include "CommonDataDef.h"
#include "KestroDate.h"
#include "VarDataOperand.h"

namespace {

/** Doubles no further apart than this are equal. */
constexpr double TOLERANCE = 1e-8;

/** In `m_bEnumType`. */
constexpr BYTE ENUM_VALUE = 1;
constexpr BYTE SET_VALUE = 2;

/** What a comparison comes to. */
enum ORDER : BYTE {
    /** Not comparable. */
    ORDER_NONE,
    ORDER_LESS,
    ORDER_EQUAL,
    ORDER_GREATER,
    /** Neither is less, and yet they aren't equal. */
    ORDER_ALIKE,
    /** Not equal, and no order between them. */
    ORDER_UNEQUAL,
    ORDER_COUNT,
};

enum COMPARISON : BYTE {
    CMP_EQ,
    CMP_NE,
    CMP_GT,
    CMP_GE,
    CMP_LT,
    CMP_LE,
    CMP_COUNT
};

/** What a comparison answers, by outcome. */
constexpr BOOL ANSWERS[CMP_COUNT][ORDER_COUNT] = {
    //        none less equal greater alike unequal
    /* == */ {0, 0, 1, 0, 0, 0},
    /* != */ {0, 1, 0, 1, 1, 1},
    /* >  */ {0, 0, 0, 1, 0, 0},
    /* >= */ {0, 0, 1, 1, 1, 0},
    /* <  */ {0, 1, 0, 0, 0, 0},
    /* <= */ {0, 1, 1, 0, 1, 0},
};

/** How a pair is compared. */
enum COMPARERULE : BYTE {
    CR_NONE,
    CR_INTEGER,
    CR_DOUBLE,
    CR_INTDECIMAL,
    CR_DECIMAL,
    CR_DATE,
    CR_TIME,
    CR_NUMBERTEXT,
    CR_DATETEXT,
    CR_TIMETEXT,
    CR_TEXT,
    CR_NULL,
    CR_COUNT,
};

/** Rows and columns: the seven classes of values, text, NULL. */
constexpr std::size_t CC_COUNT = OC_VALUES + 2;

using COMPARETABLE = std::array<std::array<COMPARERULE, CC_COUNT>, CC_COUNT>;

constexpr COMPARERULE NO = CR_NONE, INT = CR_INTEGER, REAL = CR_DOUBLE, MIXED = CR_INTDECIMAL, EXACT = CR_DECIMAL,
                      DAY = CR_DATE, CLOCK = CR_TIME, NUM_T = CR_NUMBERTEXT, DAY_T = CR_DATETEXT, CLK_T = CR_TIMETEXT,
                      TEXT = CR_TEXT, NUL = CR_NULL;

// clang-format off
/** Only the half from the diagonal on is filled: a pair below it is turned round, and so is its outcome. */
constexpr COMPARETABLE COMPARE_RULES = {{
    //               INT    BIGINT DOUBLE DTTIME DECIM. DATE   TIME   text   NULL
    /* INT       */ {INT,   INT,   REAL,  REAL,  MIXED, REAL,  NO,    NUM_T, NO},
    /* BIGINT    */ {NO,    INT,   REAL,  REAL,  MIXED, REAL,  NO,    NUM_T, NO},
    /* DOUBLE    */ {NO,    NO,    REAL,  REAL,  EXACT, REAL,  NO,    NUM_T, NO},
    /* DATETIME  */ {NO,    NO,    NO,    REAL,  EXACT, REAL,  NO,    DAY_T, NO},
    /* DECIMAL   */ {NO,    NO,    NO,    NO,    EXACT, EXACT, NO,    NUM_T, NO},
    /* DATE      */ {NO,    NO,    NO,    NO,    NO,    DAY,   NO,    DAY_T, NO},
    /* TIME      */ {NO,    NO,    NO,    NO,    NO,    NO,    CLOCK, CLK_T, NO},
    /* text      */ {NO,    NO,    NO,    NO,    NO,    NO,    NO,    TEXT,  NO},
    /* NULL      */ {NO,    NO,    NO,    NO,    NO,    NO,    NO,    NO,    NUL},
}};
// clang-format on

ORDER OrderOf(long long llSign) {
    return llSign < 0 ? ORDER_LESS : llSign > 0 ? ORDER_GREATER : ORDER_EQUAL;
}

ORDER OrderOfIntegers(long long a, long long b) {
    return OrderOf((a > b) - (a < b));
}

/** What isn't a number differs from all. */
ORDER OrderOfDoubles(double a, double b) {
    const double dblDifference = a - b;
    if (a == b || std::fabs(dblDifference) <= TOLERANCE) return ORDER_EQUAL;
    if (std::isnan(dblDifference)) return ORDER_UNEQUAL;
    return dblDifference < 0 ? ORDER_LESS : ORDER_GREATER;
}

ORDER OrderOfDecimals(const st_VARDATA* a, const st_VARDATA* b) {
    if (!a || !b) return ORDER_NONE;
    const int nResult = CKestroDecimal::Compare(a, b);
    return nResult == DECIMAL_NOT_COMPARABLE ? ORDER_NONE : OrderOf(nResult);
}

/** The texts as their lengths have them; a length below 1 makes them empty, and nothing beyond is looked at. */
int CompareTexts(const st_VARDATA& a, const st_VARDATA& b, bool bCaseSensitive) {
    const bool bFirst = HasText(a) && a.m_nStrLen > 0, bSecond = HasText(b) && b.m_nStrLen > 0;
    return KestroCompare(bFirst ? a.m_lpszValue : "", bFirst ? int{a.m_nStrLen} : 1, bSecond ? b.m_lpszValue : "",
                         bSecond ? int{b.m_nStrLen} : 1, bCaseSensitive);
}

/** Nothing is equal to a text without a buffer on the right, though it sorts as the empty one. */
ORDER OrderOfTexts(const st_VARDATA& a, const st_VARDATA& b, bool bCaseSensitive) {
    const ORDER nOrder = OrderOf(CompareTexts(a, b, bCaseSensitive));
    return nOrder == ORDER_EQUAL && !HasText(b) ? ORDER_ALIKE : nOrder;
}

// ---- Rules

ORDER NotComparable(const st_VARDATA&, const st_VARDATA&) {
    return ORDER_NONE;
}

ORDER AlwaysEqual(const st_VARDATA&, const st_VARDATA&) {
    return ORDER_EQUAL;
}

ORDER ByIntegers(const st_VARDATA& a, const st_VARDATA& b) {
    return OrderOfIntegers(IntegerOf(a), IntegerOf(b));
}

ORDER ByDoubles(const st_VARDATA& a, const st_VARDATA& b) {
    double dblFirst, dblSecond;
    if (!DoubleOf(a, dblFirst) || !DoubleOf(b, dblSecond)) return ORDER_NONE;
    return OrderOfDoubles(dblFirst, dblSecond);
}

ORDER ByDecimals(const st_VARDATA& a, const st_VARDATA& b) {
    st_VARDATA stFirst, stSecond;
    return OrderOfDecimals(DecimalOf(a, stFirst), DecimalOf(b, stSecond));
}

/** A whole number of up to 18 digits is compared as the integer it is. */
ORDER ByIntAndDecimal(const st_VARDATA& a, const st_VARDATA& b) {
    if (b.m_bScale != 0 || b.m_bValid < 1 || b.m_bValid > 2) return ByDecimals(a, b);
    const long long llHigh = b.m_bValid == 2 ? b.m_arDecimalData[1] : 0;
    const long long llMagnitude = llHigh * KestroPowers10[9] + b.m_arDecimalData[0];
    return OrderOfIntegers(IntegerOf(a), b.m_bSign ? -llMagnitude : llMagnitude);
}

/** As a number the record's bytes are year, month, day from the top. */
ORDER ByDates(const st_VARDATA& a, const st_VARDATA& b) {
    return OrderOfIntegers(a.m_uValue, b.m_uValue);
}

long long SignedSeconds(const KESTROTIME& stTime) {
    const long long llTime = stTime.m_bHour * 3600LL + stTime.m_bMintue * 60LL + stTime.m_bSecond;
    if (stTime.m_nDay == KESTRO_MINUS_ZERO_DAYS) return -llTime;
    return stTime.m_nDay * 86400LL + (stTime.m_nDay < 0 ? -llTime : llTime);
}

/** Equal only by all their bytes; records that stand for the same time are then ordered by these. */
ORDER ByTimes(const st_VARDATA& a, const st_VARDATA& b) {
    const ORDER nOrder = OrderOfIntegers(SignedSeconds(a.m_stTime), SignedSeconds(b.m_stTime));
    return nOrder == ORDER_EQUAL ? OrderOfIntegers(a.m_uValue, b.m_uValue) : nOrder;
}

// ---- Rules for a value and a text

/** The text as a member of the value's ENUM; what is no member differs, and has no place in the order. */
ORDER ByMember(const st_VARDATA& a, const st_VARDATA& b) {
    int nIndex;
    if (a.m_enumValue.m_pField->GetEnumIndex(b.m_lpszValue, TextLen(b), nIndex) != ERR_OK) return ORDER_UNEQUAL;
    return OrderOfIntegers(IntegerOf(a), nIndex);
}

/** The text as members of the value's SET; what is no member counts for nothing. */
ORDER ByMembers(const st_VARDATA& a, const st_VARDATA& b) {
    unsigned long long ullMask;
    (void)a.m_enumValue.m_pField->GetSetMask(b.m_lpszValue, TextLen(b), ullMask);
    return OrderOfIntegers(IntegerOf(a), static_cast<long long>(ullMask));
}

/** A text that is no number is ordered among the texts of numbers, but never equal to one. */
ORDER ByNumberText(const st_VARDATA& a, const st_VARDATA& b) {
    char szNumber[KESTRO_VALUE_TEXT_SIZE];
    st_VARDATA stNumber;
    stNumber.SetData(szNumber, a.GetCompatibleStringValue(szNumber), 0);
    const ORDER nOrder = OrderOfTexts(stNumber, b, false);
    return nOrder == ORDER_EQUAL ? ORDER_ALIKE : nOrder;
}

/** Whether the decimal passes for an integer of the value's type, and which. */
bool IsIntegerLike(const st_VARDATA& a, const st_VARDATA& stDecimal, long long& llValue) {
    if (a.m_vt == VT_BIGINT) return CKestroDecimal::IsInt64(&stDecimal, llValue) != 0;
    int nValue;
    if (!CKestroDecimal::IsInt(&stDecimal, nValue)) return false;
    llValue = nValue;
    return true;
}

ORDER ByNumberAndText(const st_VARDATA& a, const st_VARDATA& b) {
    if (!HasText(b)) return ORDER_NONE;
    const bool bInteger = a.m_vt == VT_INT || a.m_vt == VT_BIGINT;
    if (bInteger && a.m_bEnumType != 0 && a.m_enumValue.m_pField) {
        if (a.m_bEnumType == ENUM_VALUE) return ByMember(a, b);
        if (a.m_bEnumType == SET_VALUE) return ByMembers(a, b);
    }
    const CTextOperand stText(b);
    const int nForm = IsNumber(stText.Text(), stText.Len());
    if (nForm != NUMBER_INTEGER && nForm != NUMBER_REAL) return ByNumberText(a, b);
    st_VARDATA stDecimal, stHeld;
    if (!stText.Decimal(stDecimal)) return ORDER_NONE;
    long long llValue;
    if (bInteger && IsIntegerLike(a, stDecimal, llValue)) return OrderOfIntegers(IntegerOf(a), llValue);
    const ORDER nOrder = OrderOfDecimals(DecimalOf(a, stHeld), &stDecimal);
    // An integer equals only a text that passes for one: "10.0" equals 10, "1.0" doesn't equal 1. Intended.
    return bInteger && nOrder == ORDER_EQUAL ? ORDER_ALIKE : nOrder;
}

/** By the moment that the text names, with its time of day; a run of digits names a date only. */
ORDER ByDateAndText(const st_VARDATA& a, const st_VARDATA& b) {
    for (const BYTE bType : {VT_DATETIME, VT_DATE}) {
        st_VARDATA stDate;
        if (b.GetCompatibleNumberValue(bType, stDate, false) == ERR_OK && stDate.m_vt == bType)
            return ByDoubles(a, stDate);
    }
    return ORDER_NONE;
}

ORDER ByTimeAndText(const st_VARDATA& a, const st_VARDATA& b) {
    st_VARDATA stTime;
    if (b.GetCompatibleNumberValue(VT_TIME, stTime, false) != ERR_OK || stTime.m_vt != VT_TIME) return ORDER_NONE;
    return ByTimes(a, stTime);
}

ORDER ByTexts(const st_VARDATA& a, const st_VARDATA& b) {
    return OrderOfTexts(a, b, false);
}

// ---- The way of a pair

using RULE = ORDER (*)(const st_VARDATA&, const st_VARDATA&);

/** By the codes of `COMPARERULE`. */
constexpr std::array<RULE, CR_COUNT> RULES = {NotComparable, ByIntegers,    ByDoubles, ByIntAndDecimal,
                                              ByDecimals,    ByDates,       ByTimes,   ByNumberAndText,
                                              ByDateAndText, ByTimeAndText, ByTexts,   AlwaysEqual};

struct PAIR {
    RULE m_lpfnRule;
    /** The operands change places, and so does their order. */
    bool m_bTurned;
};

/** The matrix by the classes of operands, whole. */
constexpr auto PAIRS = [] {
    constexpr OPERANDCLASS COMPARED[CC_COUNT] = {OC_INT,  OC_BIGINT, OC_DOUBLE, OC_DATETIME, OC_DECIMAL,
                                                 OC_DATE, OC_TIME,   OC_TEXT,   OC_NULL};
    std::array<std::array<PAIR, OC_COUNT>, OC_COUNT> arPairs{};
    for (auto& arRow : arPairs)
        arRow.fill({NotComparable, false});
    for (std::size_t i = 0; i < CC_COUNT; ++i)
        for (std::size_t j = i; j < CC_COUNT; ++j) {
            const RULE lpfnRule = RULES[COMPARE_RULES[i][j]];
            arPairs[COMPARED[j]][COMPARED[i]] = {lpfnRule, i != j};
            arPairs[COMPARED[i]][COMPARED[j]] = {lpfnRule, false};
        }
    return arPairs;
}();

constexpr ORDER TURNED_ROUND[ORDER_COUNT] = {ORDER_NONE, ORDER_GREATER, ORDER_EQUAL,
                                             ORDER_LESS, ORDER_ALIKE,   ORDER_UNEQUAL};

ORDER Order(const st_VARDATA& a, const st_VARDATA& b) {
    const PAIR& stPair = PAIRS[ClassOf(a)][ClassOf(b)];
    return stPair.m_bTurned ? TURNED_ROUND[stPair.m_lpfnRule(b, a)] : stPair.m_lpfnRule(a, b);
}

BOOL Compare(const st_VARDATA& a, const st_VARDATA& b, COMPARISON nComparison) {
    return ANSWERS[nComparison][Order(a, b)];
}

/** The codes of comparisons in plans. */
constexpr BYTE OP_NULLSAFE_EQUAL = 19;
constexpr BYTE OP_FIRST = 20;
constexpr COMPARISON OPERATORS[] = {CMP_EQ, CMP_NE, CMP_GT, CMP_GE, CMP_LT, CMP_LE};

} // namespace

BOOL st_VARDATA::operator==(const st_VARDATA& stOther) const {
    return Compare(*this, stOther, CMP_EQ);
}

BOOL st_VARDATA::operator!=(const st_VARDATA& stOther) const {
    return Compare(*this, stOther, CMP_NE);
}

BOOL st_VARDATA::operator<(const st_VARDATA& stOther) const {
    return Compare(*this, stOther, CMP_LT);
}

BOOL st_VARDATA::operator<=(const st_VARDATA& stOther) const {
    return Compare(*this, stOther, CMP_LE);
}

BOOL st_VARDATA::operator>(const st_VARDATA& stOther) const {
    return Compare(*this, stOther, CMP_GT);
}

BOOL st_VARDATA::operator>=(const st_VARDATA& stOther) const {
    return Compare(*this, stOther, CMP_GE);
}

BYTE st_VARDATA::IsEqual(const st_VARDATA& stOther, int nCaseSensitive) const {
    if (m_vt != stOther.m_vt) return *this == stOther ? 1 : 0;
    switch (m_vt) {
        case VT_NULL:
        case VT_EMPTY:
            return 2;
        case VT_UNKNOWN:
            return 3;
        case VT_DOUBLE:
        case VT_DATETIME:
            return m_dblValue == stOther.m_dblValue;
        case VT_VARCHAR:
            return OrderOfTexts(*this, stOther, nCaseSensitive != 0) == ORDER_EQUAL;
        default:
            return *this == stOther ? 1 : 0;
    }
}

int CompareData(const st_VARDATA& a, const st_VARDATA& b, unsigned char bOperator, int& nResult) {
    if (bOperator == OP_NULLSAFE_EQUAL) {
        nResult = a.IsNull() || b.IsNull() ? a.IsNull() && b.IsNull() : a == b;
        return ERR_OK;
    }
    const unsigned nOperator = static_cast<unsigned>(bOperator) - OP_FIRST;
    if (nOperator >= std::size(OPERATORS)) return ERR_OPERATOR;
    nResult = Compare(a, b, OPERATORS[nOperator]);
    return ERR_OK;
}
