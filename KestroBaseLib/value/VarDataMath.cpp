// Functions on one number, most of them in place: absolute value, rounding to whole numbers, cutting of places, roots,
// powers, and the mean of a running sum.

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>

#include "IntegerCut.h"
#include "VarDataConvert.h"
#include "VarDataOperand.h"

namespace {

/** What the functions answer for a value they can't take. */
constexpr int NO_NUMBER = -1;
/** Places behind the point in the text of a double. */
constexpr int DOUBLE_TEXT_PLACES = 6;
/** Digits of the longest BIGINT. */
constexpr long long BIGINT_DIGITS = 19;

/** Makes a date or time the number that its digits write, and a text the number that it begins with. */
bool MakeNumber(st_VARDATA& st, CKestroBufferPool* lpPool) {
    const OPERANDCLASS nClass = ClassOf(st);
    if (nClass == OC_DATE || nClass == OC_DATETIME || nClass == OC_TIME) {
        if (st.ChangeTypeCore(lpPool, VT_VARCHAR, false, false) != ERR_OK) return false;
        if (st.CovertDateStrToNumberStr(lpPool) != ERR_OK) return false;
    } else if (nClass != OC_TEXT) {
        return true;
    }
    return HasText(st) && st.CovertStringToNumber(lpPool) == ERR_OK;
}

/** Sets a double to a whole number by `lpfnWhole`; integers stay. */
template <typename F>
int MakeWhole(st_VARDATA& st, CKestroBufferPool* lpPool, F lpfnWhole) {
    if (!MakeNumber(st, lpPool)) return NO_NUMBER;
    if (st.m_vt == VT_DOUBLE)
        st.SetData(CutToInt64(lpfnWhole(st.m_dblValue)));
    else if (st.m_vt != VT_INT && st.m_vt != VT_BIGINT)
        return NO_NUMBER;
    return st.GetDataLen();
}

/** The last `nPlaces` digits become zeros. */
long long WithoutDigits(long long llValue, long long nPlaces) {
    if (nPlaces >= BIGINT_DIGITS) return 0;
    long long llPower = 1;
    for (; nPlaces > 0; --nPlaces)
        llPower *= 10;
    return llValue / llPower * llPower;
}

/** Cuts a double's text behind a place; with a place below 0 that many digits in front of the point become zeros. */
double WithoutPlaces(const st_VARDATA& stDouble, long long llPlaces) {
    double dblValue = stDouble.m_dblValue;
    if (llPlaces >= DOUBLE_TEXT_PLACES || !std::isfinite(dblValue)) return dblValue;
    char szText[KESTRO_VALUE_TEXT_SIZE];
    char* const lpszPoint = szText + PrintValue(stDouble, szText) - DOUBLE_TEXT_PLACES - 1;
    char* const lpszFirst = szText + (*szText == '-' ? 1 : 0);
    if (llPlaces < 0) std::fill(lpszPoint - std::min<long long>(-llPlaces, lpszPoint - lpszFirst), lpszPoint, '0');
    std::from_chars(szText, lpszPoint + 1 + std::max(llPlaces, 0LL), dblValue);
    return dblValue;
}

} // namespace

int st_VARDATA::Trunc(const st_VARDATA& stPlaces) {
    if (stPlaces.m_vt != VT_INT && stPlaces.m_vt != VT_BIGINT) return ERR_DATA_TYPE;
    const long long llPlaces = std::max(IntegerOf(stPlaces), -LLONG_MAX);
    switch (m_vt) {
        case VT_BIGINT:
            if (llPlaces < 0) m_llValue = WithoutDigits(m_llValue, -llPlaces);
            return GetDataLen();
        case VT_DOUBLE:
            m_dblValue = WithoutPlaces(*this, llPlaces);
            return GetDataLen();
        case VT_DECIMAL: {
            st_VARDATA stCut;
            const auto cScale = static_cast<char>(std::clamp(llPlaces, -127LL, 127LL));
            // What can't be written with that many places has nothing to cut.
            if (CKestroDecimal::Zoom(this, &stCut, cScale, 0) == ERR_OK) TakeResult(*this, stCut);
            return GetDataLen();
        }
        case VT_INT:
            // An INT keeps all its digits. Intended.
            return GetDataLen();
        default:
            // No width: a text's might be taken for the code above.
            return 0;
    }
}

int st_VARDATA::Abs(CKestroBufferPool* lpPool) {
    if (!MakeNumber(*this, lpPool)) return NO_NUMBER;
    switch (m_vt) {
        // The lowest integers have no positive counterpart and stay.
        case VT_INT:
            if (m_nValue < 0) m_uValue = 0 - m_uValue;
            break;
        case VT_BIGINT:
            if (m_llValue < 0) m_ullValue = 0 - m_ullValue;
            break;
        case VT_DOUBLE:
            m_dblValue = std::fabs(m_dblValue);
            break;
        case VT_DECIMAL:
            m_bSign = 0;
            break;
        default:
            return NO_NUMBER;
    }
    return GetDataLen();
}

int st_VARDATA::Floor(CKestroBufferPool* lpPool) {
    return MakeWhole(*this, lpPool, [](double dbl) { return std::floor(dbl); });
}

int st_VARDATA::Ceil(CKestroBufferPool* lpPool) {
    return MakeWhole(*this, lpPool, [](double dbl) { return std::ceil(dbl); });
}

int st_VARDATA::Sqrt(CKestroBufferPool* lpPool) {
    if (!MakeNumber(*this, lpPool)) return NO_NUMBER;
    double dblValue;
    if (m_vt != VT_INT && m_vt != VT_BIGINT && m_vt != VT_DOUBLE) return NO_NUMBER;
    if (!DoubleOf(*this, dblValue) || dblValue < 0) return NO_NUMBER;
    SetData(std::sqrt(dblValue), VT_DOUBLE);
    return GetDataLen();
}

st_VARDATA st_VARDATA::Power(const st_VARDATA& a, const st_VARDATA& b) {
    st_VARDATA stResult;
    const auto IsPlain = [](BYTE bType) { return bType == VT_INT || bType == VT_BIGINT || bType == VT_DOUBLE; };
    double dblBase, dblExponent;
    if (!IsPlain(a.m_vt) || !IsPlain(b.m_vt) || !DoubleOf(a, dblBase) || !DoubleOf(b, dblExponent) ||
        (dblBase < 0 && b.m_vt == VT_DOUBLE)) {
        stResult.SetNull();
        return stResult;
    }
    const double dblPower = std::pow(dblBase, dblExponent);
    if (a.m_vt == VT_DOUBLE || b.m_vt == VT_DOUBLE)
        stResult.SetData(dblPower, VT_DOUBLE);
    else
        stResult.SetData(CutToInt64(dblPower));
    return stResult;
}

void st_VARDATA::Avg(CKestroBufferPool*) {
    constexpr BYTE RUNNING_SUM = 255;
    if (m_bAvg != RUNNING_SUM) return;
    m_bAvg = 0;
    if (m_vt != VT_INT && m_vt != VT_BIGINT && m_vt != VT_DOUBLE && m_vt != VT_DECIMAL) return;
    st_VARDATA stCount;
    stCount.SetData(static_cast<long long>(m_nDataCount));
    TakeResult(*this, *this / stCount);
}
