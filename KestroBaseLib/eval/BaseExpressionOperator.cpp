// Logic with three truths, integer division, and the table of the operators that an expression can be computed with.
// The arithmetic itself stands with the values.

#include "BaseExpressionOperator.h"

#include <array>
#include <functional>

#include "BaseExpression.h"
#include "VarDataText.h"

// Conditions have names of their own for these codes.
static_assert(BYTE{OP_AND} == BYTE{LOGIC_AND} && BYTE{OP_OR} == BYTE{LOGIC_OR} && BYTE{OP_NONE} == BYTE{COMPARE_BARE});

namespace {

void SetTruth(BYTE bTruth, st_VARDATA& stResult) {
    stResult.SetData(static_cast<int>(bTruth));
}

struct SHIFTLEFT {
    auto operator()(const st_VARDATA& a, const st_VARDATA& b) const { return a << b; }
};

struct SHIFTRIGHT {
    auto operator()(const st_VARDATA& a, const st_VARDATA& b) const { return a >> b; }
};

/** An operator that gives a new value. */
template <typename OP>
int ByValue(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b, st_VARDATA& stResult) {
    return CopyValue(lpPool, OP()(a, b), stResult);
}

/** One that the result becomes. */
template <auto OP>
int ByResult(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b, st_VARDATA& stResult) {
    return (stResult.*OP)(lpPool, a, b);
}

/** A sum or difference. An interval is added by the functions of dates, whose work it is to know its units. */
template <auto OP>
int Sum(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b, st_VARDATA& stResult) {
    return IsInterval(a) || IsInterval(b) ? ERR_FUNCTION_TYPE : (stResult.*OP)(lpPool, a, b);
}

int Same(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA&, st_VARDATA& stResult) {
    return CopyValue(lpPool, a, stResult);
}

int Link(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b, st_VARDATA& stResult) {
    return a.Link(lpPool, b, stResult);
}

int Complement(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA&, st_VARDATA& stResult) {
    return CopyValue(lpPool, ~a, stResult);
}

int Negation(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA&, st_VARDATA& stResult) {
    return CBaseExpression::Not(lpPool, a, stResult);
}

/** The right side is absent, and so the 0 that the left is taken from. */
int Minus(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b, st_VARDATA& stResult) {
    return Sum<&st_VARDATA::Sub>(lpPool, b, a, stResult);
}

constexpr struct {
    PLANOPERATOR m_nOperator;
    OPERATORFUNCTION m_lpfnCompute;
} OPERATORS[] = {
    {OP_NONE, Same},
    {OP_PLUS, Same},
    {OP_ADD, Sum<&st_VARDATA::Add>},
    {OP_SUB, Sum<&st_VARDATA::Sub>},
    {OP_MUL, ByResult<&st_VARDATA::Mul>},
    {OP_DIVIDE, ByResult<&st_VARDATA::Div>},
    {OP_LINK, Link},
    {OP_DIV, CBaseExpression::Div},
    {OP_BIT_NOT, Complement},
    {OP_AND, CBaseExpression::And},
    {OP_OR, CBaseExpression::Or},
    {OP_NOT, Negation},
    {OP_MINUS, Minus},
    {OP_BIT_AND, ByValue<std::bit_and<>>},
    {OP_BIT_XOR, ByValue<std::bit_xor<>>},
    {OP_BIT_OR, ByValue<std::bit_or<>>},
    {OP_SHIFT_LEFT, ByValue<SHIFTLEFT>},
    {OP_SHIFT_RIGHT, ByValue<SHIFTRIGHT>},
};

/** Functions begin where operators end. */
constexpr auto OPERATOR_FUNCTIONS = [] {
    std::array<OPERATORFUNCTION, FN_FIRST> arFunction{};
    for (const auto& stRow : OPERATORS)
        arFunction[stRow.m_nOperator] = stRow.m_lpfnCompute;
    return arFunction;
}();

} // namespace

OPERATORFUNCTION GetOperatorFunction(BYTE bOperator) {
    return bOperator < OPERATOR_FUNCTIONS.size() ? OPERATOR_FUNCTIONS[bOperator] : nullptr;
}

int CopyValue(CKestroBufferPool* lpPool, const st_VARDATA& stSource, st_VARDATA& stResult) {
    stResult.SetData(lpPool, stSource);
    // A text that found no memory leaves nothing behind.
    return stResult.m_vt == VT_EMPTY && stSource.HasOwnerFlag() ? ERR_MEMORY : ERR_OK;
}

int CBaseExpression::And(CKestroBufferPool*, const st_VARDATA& a, const st_VARDATA& b, st_VARDATA& stResult) {
    st_VARDATA stTrue;
    stTrue.SetData(1);
    const bool bNull = a.IsNull() || b.IsNull();
    // Beside a NULL only a false side decides.
    const BYTE bTruth = a.IsNull() ? stTrue && b : b.IsNull() ? stTrue && a : a && b;
    if (bNull && bTruth != 0)
        stResult.SetNull();
    else
        SetTruth(bTruth, stResult);
    return ERR_OK;
}

int CBaseExpression::Or(CKestroBufferPool*, const st_VARDATA& a, const st_VARDATA& b, st_VARDATA& stResult) {
    st_VARDATA stFalse;
    stFalse.SetData(0);
    const bool bNull = a.IsNull() || b.IsNull();
    // Beside a NULL only a true side decides.
    const BYTE bTruth = a.IsNull() ? stFalse || b : b.IsNull() ? stFalse || a : a || b;
    if (bNull && bTruth != 1)
        stResult.SetNull();
    else
        SetTruth(bTruth, stResult);
    return ERR_OK;
}

int CBaseExpression::Xor(CKestroBufferPool*, const st_VARDATA& a, const st_VARDATA& b, st_VARDATA& stResult) {
    if (a.IsNull() || b.IsNull())
        stResult.SetNull();
    else
        SetTruth(a.IsTrue() + b.IsTrue() == 1, stResult);
    return ERR_OK;
}

int CBaseExpression::Not(CKestroBufferPool*, const st_VARDATA& a, st_VARDATA& stResult) {
    if (a.IsNull())
        stResult.SetNull();
    else
        SetTruth(!a, stResult);
    return ERR_OK;
}

int CBaseExpression::Div(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b, st_VARDATA& stResult) {
    st_VARDATA stDividend, stDivisor;
    const int nFirst = a.GetCompatableFieldValue(lpPool, VT_BIGINT, stDividend, false);
    const int nSecond = b.GetCompatableFieldValue(lpPool, VT_BIGINT, stDivisor, false);
    if (nFirst == ERR_MEMORY || nSecond == ERR_MEMORY) return ERR_MEMORY;
    if (nFirst != ERR_OK || nSecond != ERR_OK || stDividend.m_vt != VT_BIGINT || stDivisor.m_vt != VT_BIGINT ||
        stDivisor.m_llValue == 0) {
        stResult.SetNull();
        return ERR_OK;
    }
    // The lowest integer has no positive counterpart: divided by -1 it wraps, as sums do.
    const bool bNegate = stDivisor.m_llValue == -1;
    const auto ullNegated = 0 - static_cast<unsigned long long>(stDividend.m_llValue);
    stResult.SetData(bNegate ? static_cast<long long>(ullNegated) : stDividend.m_llValue / stDivisor.m_llValue);
    return ERR_OK;
}
