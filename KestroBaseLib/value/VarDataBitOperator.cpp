// The operators on bits and the operators of logic. Bits are those of a 64-bit integer, to which both operands are
// rounded; logic knows the third truth, 2 for NULL.

#include "VarDataOperand.h"

namespace {

constexpr BYTE TRUTH_NULL = 2;
constexpr unsigned long long BITS = 64;

/** Of two operands the first of these that one of them is becomes the result; EMPTY gives NULL. */
constexpr struct {
    BYTE m_bOperand;
    BYTE m_bResult;
} PSEUDO_RESULTS[] = {{VT_NULL, VT_NULL}, {VT_ANY, VT_ANY}, {VT_UNKNOWN, VT_UNKNOWN}, {VT_EMPTY, VT_NULL}};

st_VARDATA Pseudo(BYTE bType) {
    st_VARDATA stResult;
    stResult.m_vt = bType;
    stResult.m_nStrLen = 0;
    return stResult;
}

bool BitsOf(const st_VARDATA& stValue, unsigned long long& ullBits) {
    st_VARDATA stInteger;
    if (stValue.GetCompatibleNumberValue(VT_BIGINT, stInteger, true) != ERR_OK || stInteger.m_vt != VT_BIGINT)
        return false;
    ullBits = stInteger.m_ullValue;
    return true;
}

/** Applies `lpfnBits(a, b)` to the bits of two operands. */
template <typename F>
st_VARDATA WithBits(const st_VARDATA& a, const st_VARDATA& b, F lpfnBits) {
    for (const auto& stRow : PSEUDO_RESULTS)
        if (a.m_vt == stRow.m_bOperand || b.m_vt == stRow.m_bOperand) return Pseudo(stRow.m_bResult);
    unsigned long long ullFirst, ullSecond;
    if (!BitsOf(a, ullFirst) || !BitsOf(b, ullSecond)) return Pseudo(VT_NULL);
    st_VARDATA stResult;
    stResult.SetData(lpfnBits(ullFirst, ullSecond));
    return stResult;
}

bool HasDigits(const st_VARDATA& stDecimal) {
    for (int i = 0; i < stDecimal.m_bValid && i < 4; ++i)
        if (stDecimal.m_arDecimalData[i] != 0) return true;
    return false;
}

/** Truth of an operand that isn't NULL. A text is as true as the number it begins with; what is no value, as it says.
 */
bool Truth(const st_VARDATA& st) {
    double dblDay;
    switch (ClassOf(st)) {
        case OC_INT:
        case OC_TIME:
            return st.m_nValue != 0;
        case OC_BIGINT:
            return st.m_llValue != 0;
        case OC_DOUBLE:
        case OC_DATETIME:
            return st.m_dblValue != 0;
        case OC_DECIMAL:
            return HasDigits(st);
        case OC_DATE:
            return DoubleOf(st, dblDay) && dblDay != 0;
        case OC_TEXT:
            return HasText(st) && CTextOperand(st).Double() != 0;
        default:
            return st.IsTrue() == 1;
    }
}

} // namespace

st_VARDATA st_VARDATA::operator&(const st_VARDATA& stOther) const {
    return WithBits(*this, stOther, [](auto a, auto b) { return a & b; });
}

st_VARDATA st_VARDATA::operator|(const st_VARDATA& stOther) const {
    return WithBits(*this, stOther, [](auto a, auto b) { return a | b; });
}

st_VARDATA st_VARDATA::operator^(const st_VARDATA& stOther) const {
    return WithBits(*this, stOther, [](auto a, auto b) { return a ^ b; });
}

st_VARDATA st_VARDATA::operator<<(const st_VARDATA& stOther) const {
    return WithBits(*this, stOther, [](auto a, auto b) { return b < BITS ? a << b : 0; });
}

st_VARDATA st_VARDATA::operator>>(const st_VARDATA& stOther) const {
    return WithBits(*this, stOther, [](auto a, auto b) { return b < BITS ? a >> b : 0; });
}

st_VARDATA st_VARDATA::operator~() const {
    if (m_vt == VT_EMPTY || m_vt == VT_NULL || m_vt == VT_UNKNOWN || m_vt == VT_ANY) return Pseudo(m_vt);
    unsigned long long ullBits;
    if (!BitsOf(*this, ullBits)) return Pseudo(VT_NULL);
    st_VARDATA stResult;
    stResult.SetData(~ullBits);
    return stResult;
}

BYTE st_VARDATA::operator&&(const st_VARDATA& stOther) const {
    if (IsNull() || stOther.IsNull()) return TRUTH_NULL;
    return Truth(*this) && Truth(stOther);
}

BYTE st_VARDATA::operator||(const st_VARDATA& stOther) const {
    if (IsNull() || stOther.IsNull()) return TRUTH_NULL;
    return Truth(*this) || Truth(stOther);
}

BYTE st_VARDATA::operator!() const {
    switch (ClassOf(*this)) {
        case OC_NULL:
            return TRUTH_NULL;
        case OC_DATE:
            // By the parts, and not by the day number: of day 0, 30 December 1899, neither it nor its negation is true.
            return m_stDate.m_sYear == 0 || m_stDate.m_bMonth == 0 || m_stDate.m_bDay == 0;
        case OC_INT:
        case OC_BIGINT:
        case OC_DOUBLE:
        case OC_DATETIME:
        case OC_DECIMAL:
        case OC_TIME:
        case OC_TEXT:
            return !Truth(*this);
        default:
            // What has no truth has no negation either.
            return 0;
    }
}
