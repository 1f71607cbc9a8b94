// Arithmetic on values of any two types: sum, difference, product, quotient, remainder. The matrices of
// VarDataOperatorTable.h say how a pair is computed; here stand the rules for computing it. No operator reports: what
// has no result is NULL. Bits, comparison and functions have their own sources.

#include <cmath>
#include <cstdlib>

#include "IntegerCut.h"
#include "KestroDate.h"
#include "VarDataConvert.h"
#include "VarDataOperatorTable.h"

namespace {

constexpr double SECONDS_OF_DAY = 86400;
constexpr double MAX_TIME_DAYS = 127;

// ---- Operations: each in 64 bits, as doubles and exactly; false for no result

struct ADDITION {
    static constexpr const PAIRTABLE& PAIRS = PairTables::ADD;
    static bool Integer(long long a, long long b, long long& llResult) {
        // A sum that doesn't fit wraps. Intended.
        (void)__builtin_add_overflow(a, b, &llResult);
        return true;
    }
    static bool Double(double a, double b, double& dblResult) {
        dblResult = a + b;
        return true;
    }
    static bool Decimal(const st_VARDATA* a, const st_VARDATA* b, st_VARDATA* lpResult) {
        return CKestroDecimal::Add(a, b, lpResult) == ERR_OK;
    }
};

struct SUBTRACTION {
    static constexpr const PAIRTABLE& PAIRS = PairTables::SUB;
    static bool Integer(long long a, long long b, long long& llResult) {
        (void)__builtin_sub_overflow(a, b, &llResult);
        return true;
    }
    static bool Double(double a, double b, double& dblResult) {
        dblResult = a - b;
        return true;
    }
    static bool Decimal(const st_VARDATA* a, const st_VARDATA* b, st_VARDATA* lpResult) {
        return CKestroDecimal::Sub(a, b, lpResult) == ERR_OK;
    }
};

struct MULTIPLICATION {
    static constexpr const PAIRTABLE& PAIRS = PairTables::MUL;
    static bool Integer(long long a, long long b, long long& llResult) {
        return !__builtin_mul_overflow(a, b, &llResult);
    }
    static bool Double(double a, double b, double& dblResult) {
        dblResult = a * b;
        return true;
    }
    static bool Decimal(const st_VARDATA* a, const st_VARDATA* b, st_VARDATA* lpResult) {
        return CKestroDecimal::Mul(a, b, lpResult) == ERR_OK;
    }
};

struct DIVISION {
    static constexpr const PAIRTABLE& PAIRS = PairTables::DIV;
    static bool Double(double a, double b, double& dblResult) {
        if (b == 0) return false;
        dblResult = a / b;
        return true;
    }
    static bool Decimal(const st_VARDATA* a, const st_VARDATA* b, st_VARDATA* lpResult) {
        return CKestroDecimal::Div(a, b, lpResult) == ERR_OK;
    }
};

struct REMAINDER {
    static constexpr const PAIRTABLE& PAIRS = PairTables::MOD;
    static bool Integer(long long a, long long b, long long& llResult) {
        if (b == 0) return false;
        // The lowest integer by -1 has a remainder but no quotient.
        llResult = b == -1 ? 0 : a % b;
        return true;
    }
    static bool Double(double a, double b, double& dblResult) {
        if (b == 0) return false;
        // A quotient beyond 64 bits is the lowest integer. Intended.
        dblResult = a - static_cast<double>(CutToInt64(a / b)) * b;
        return true;
    }
    static bool Decimal(const st_VARDATA* a, const st_VARDATA* b, st_VARDATA* lpResult) {
        return CKestroDecimal::Mod(a, b, lpResult) == ERR_OK;
    }
};

// ---- Rules: how a pair is computed; false for NULL

using RULE = bool (*)(const st_VARDATA&, const st_VARDATA&, st_VARDATA&);

bool NoResult(const st_VARDATA&, const st_VARDATA&, st_VARDATA&) {
    return false;
}

template <typename OP>
bool ByBigint(const st_VARDATA& a, const st_VARDATA& b, st_VARDATA& stResult) {
    long long llResult;
    if (!OP::Integer(IntegerOf(a), IntegerOf(b), llResult)) return false;
    stResult.SetData(llResult);
    return true;
}

template <typename OP>
bool ByInt(const st_VARDATA& a, const st_VARDATA& b, st_VARDATA& stResult) {
    long long llResult;
    if (!OP::Integer(IntegerOf(a), IntegerOf(b), llResult)) return false;
    stResult.SetData(static_cast<int>(llResult));
    return true;
}

template <typename OP>
bool OfDecimals(const st_VARDATA* lpFirst, const st_VARDATA* lpSecond, st_VARDATA& stResult) {
    if (!OP::Decimal(lpFirst, lpSecond, &stResult)) return false;
    return stResult.m_vt == VT_DECIMAL;
}

template <typename OP>
bool ByDecimal(const st_VARDATA& a, const st_VARDATA& b, st_VARDATA& stResult) {
    if (a.m_vt == VT_DECIMAL && b.m_vt == VT_DECIMAL) return OfDecimals<OP>(&a, &b, stResult);
    st_VARDATA stFirst, stSecond;
    const st_VARDATA* const lpFirst = DecimalOf(a, stFirst);
    const st_VARDATA* const lpSecond = DecimalOf(b, stSecond);
    return lpFirst && lpSecond && OfDecimals<OP>(lpFirst, lpSecond, stResult);
}

/** A BIGINT within these bounds has a product of 64 bits with any INT and any other such BIGINT. */
bool IsSmallFactor(const st_VARDATA& st) {
    return st.m_vt == VT_INT || (st.m_llValue >= -2'147'483'647 && st.m_llValue <= 2'147'483'646);
}

template <typename OP>
bool ByGrowing(const st_VARDATA& a, const st_VARDATA& b, st_VARDATA& stResult) {
    return IsSmallFactor(a) && IsSmallFactor(b) ? ByBigint<OP>(a, b, stResult) : ByDecimal<OP>(a, b, stResult);
}

template <typename OP>
bool Compute(const st_VARDATA& a, const st_VARDATA& b, double& dblResult) {
    double dblFirst, dblSecond;
    return DoubleOf(a, dblFirst) && DoubleOf(b, dblSecond) && OP::Double(dblFirst, dblSecond, dblResult);
}

template <typename OP, BYTE TYPE>
bool ByDouble(const st_VARDATA& a, const st_VARDATA& b, st_VARDATA& stResult) {
    double dblResult;
    if (!Compute<OP>(a, b, dblResult)) return false;
    stResult.SetData(dblResult, TYPE);
    return true;
}

template <typename OP>
bool ByDate(const st_VARDATA& a, const st_VARDATA& b, st_VARDATA& stResult) {
    double dblResult;
    KESTRODATE stDate;
    if (!Compute<OP>(a, b, dblResult) || CKestroDate::ConvertDate(dblResult, stDate) != ERR_OK) return false;
    stResult.SetData(stDate);
    return true;
}

/** Cut to whole seconds, with a ten-thousandth for the double's rounding; what lies beyond 127 days is no time. */
template <typename OP>
bool ByTime(const st_VARDATA& a, const st_VARDATA& b, st_VARDATA& stResult) {
    double dblResult;
    if (!Compute<OP>(a, b, dblResult)) return false;
    const double dblSeconds = dblResult * SECONDS_OF_DAY;
    if (!(std::fabs(dblResult) < MAX_TIME_DAYS + 1)) return false;
    st_VARDATA stSeconds;
    stSeconds.SetData(CutToInt(dblSeconds + (dblSeconds < 0 ? -0.0001 : 0.0001)));
    return stSeconds.GetCompatibleNumberValue(VT_TIME, stResult, false) == ERR_OK;
}

template <typename OP>
bool ByDays(const st_VARDATA& a, const st_VARDATA& b, st_VARDATA& stResult) {
    double dblResult;
    if (!Compute<OP>(a, b, dblResult)) return false;
    stResult.SetData(CutToInt(dblResult));
    return true;
}

/** By the codes of `PAIRRULE`. An operation without integers has no rules for them, and its matrix doesn't use any. */
template <typename OP>
constexpr std::array<RULE, PR_COUNT> RULES = [] {
    std::array<RULE, PR_COUNT> arRule{};
    arRule.fill(NoResult);
    if constexpr (requires(long long ll) { OP::Integer(ll, ll, ll); }) {
        arRule[PR_BIGINT] = ByBigint<OP>;
        arRule[PR_INT] = ByInt<OP>;
        arRule[PR_GROWING] = ByGrowing<OP>;
    }
    arRule[PR_DOUBLE] = ByDouble<OP, VT_DOUBLE>;
    arRule[PR_DECIMAL] = ByDecimal<OP>;
    arRule[PR_DATETIME] = ByDouble<OP, VT_DATETIME>;
    arRule[PR_DATE] = ByDate<OP>;
    arRule[PR_TIME] = ByTime<OP>;
    arRule[PR_DAYS] = ByDays<OP>;
    return arRule;
}();

/** By the operands' classes. */
template <typename OP>
constexpr auto PAIR_RULES = [] {
    std::array<std::array<RULE, OC_PAIRS>, OC_PAIRS> arRule{};
    for (std::size_t i = 0; i < OC_PAIRS; ++i)
        for (std::size_t j = 0; j < OC_PAIRS; ++j)
            arRule[i][j] = RULES<OP>[OP::PAIRS[i][j]];
    return arRule;
}();

// ---- The way of a pair

RIGHTKIND RightKind(OPERANDCLASS nClass) {
    switch (nClass) {
        case OC_NULL:
            return RK_NULL;
        case OC_UNKNOWN:
            return RK_UNKNOWN;
        case OC_ANY:
            return RK_ANY;
        default:
            return RK_VALUE;
    }
}

/** The result owns nothing. */
void SetPseudo(st_VARDATA& stResult, BYTE bType) {
    stResult.m_vt = bType;
    stResult.m_llValue = 0;
    stResult.m_nStrLen = 0;
}

/** Pairs with an operand that is a literal, a text or no value. */
template <typename OP>
[[gnu::noinline]] void CalculateOther(const PSEUDOTABLE& arPseudo, const st_VARDATA& a, const st_VARDATA& b,
                                      st_VARDATA& stResult) {
    COperand stFirst(a), stSecond(b);
    const std::size_t nRow = stFirst.Class() < OC_TEXT ? 0 : stFirst.Class() - OC_TEXT + 1;
    const BYTE bPseudo = arPseudo[nRow][RightKind(stSecond.Class())];
    if (bPseudo != BY_PAIR) return SetPseudo(stResult, bPseudo);
    // The second is looked at first, and the first then beside what the second has turned out to be.
    if (!stSecond.Resolve(stFirst.Class()) || !stFirst.Resolve(stSecond.Class()) ||
        !PAIR_RULES<OP>[stFirst.Class()][stSecond.Class()](stFirst.Value(), stSecond.Value(), stResult))
        SetPseudo(stResult, VT_NULL);
}

/** The result owns nothing; it may be an operand, as no rule writes before it has read both. */
template <typename OP>
inline void Calculate(const PSEUDOTABLE& arPseudo, const st_VARDATA& a, const st_VARDATA& b, st_VARDATA& stResult) {
    const OPERANDCLASS nFirst = ClassOf(a), nSecond = ClassOf(b);
    if (nFirst >= OC_VALUES || nSecond >= OC_VALUES) return CalculateOther<OP>(arPseudo, a, b, stResult);
    if (!PAIR_RULES<OP>[nFirst][nSecond](a, b, stResult)) SetPseudo(stResult, VT_NULL);
}

template <typename OP>
inline st_VARDATA NewValue(const PSEUDOTABLE& arPseudo, const st_VARDATA& a, const st_VARDATA& b) {
    st_VARDATA stResult;
    Calculate<OP>(arPseudo, a, b, stResult);
    // A sum of decimals begins as a copy of one of them, side flags and all.
    std::memset(&stResult.m_bHide, 0, 3);
    return stResult;
}

/** The side flags of the target stay, whatever the result is made of. */
template <typename OP>
inline void BecomeSum(st_VARDATA& stTarget, const st_VARDATA& a, const st_VARDATA& b) {
    // An operand may be read from the buffer that the target owns.
    if (stTarget.OwnsBuffer()) return TakeResult(stTarget, NewValue<OP>(PseudoTables::SUMS, a, b));
    const BYTE arFlags[] = {stTarget.m_bHide, stTarget.m_bAvg, stTarget.m_bCommonIndex};
    Calculate<OP>(PseudoTables::SUMS, a, b, stTarget);
    std::memcpy(&stTarget.m_bHide, arFlags, sizeof(arFlags));
}

} // namespace

int st_VARDATA::Add(CKestroBufferPool*, const st_VARDATA& a, const st_VARDATA& b) {
    BecomeSum<ADDITION>(*this, a, b);
    return ERR_OK;
}

int st_VARDATA::Sub(CKestroBufferPool*, const st_VARDATA& a, const st_VARDATA& b) {
    BecomeSum<SUBTRACTION>(*this, a, b);
    return ERR_OK;
}

int st_VARDATA::Mul(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b) {
    SetData(lpPool, a * b);
    return ERR_OK;
}

int st_VARDATA::Div(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b) {
    SetData(lpPool, a / b);
    return ERR_OK;
}

int st_VARDATA::Mod(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b) {
    SetData(lpPool, a % b);
    return ERR_OK;
}

st_VARDATA st_VARDATA::operator+(const st_VARDATA& stOther) const {
    return NewValue<ADDITION>(PseudoTables::VALUES, *this, stOther);
}

st_VARDATA st_VARDATA::operator-(const st_VARDATA& stOther) const {
    return NewValue<SUBTRACTION>(PseudoTables::VALUES, *this, stOther);
}

st_VARDATA st_VARDATA::operator*(const st_VARDATA& stOther) const {
    return NewValue<MULTIPLICATION>(PseudoTables::VALUES, *this, stOther);
}

st_VARDATA st_VARDATA::operator/(const st_VARDATA& stOther) const {
    return NewValue<DIVISION>(PseudoTables::VALUES, *this, stOther);
}

st_VARDATA st_VARDATA::operator%(const st_VARDATA& stOther) const {
    return NewValue<REMAINDER>(PseudoTables::VALUES, *this, stOther);
}
