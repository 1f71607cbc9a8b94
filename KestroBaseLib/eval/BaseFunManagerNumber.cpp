// Functions of numbers. Roots, powers and logarithms are those of the C library, in doubles; whole numbers of decimals
// are exact. Rounding to places stands in BaseFunManagerRound.cpp.

#include <bit>
#include <cmath>
#include <cstring>
#include <numbers>

#include "BaseFunManager.h"
#include "KestroDecimal.h"
#include "Platform.h"

namespace {

/** Below it a number counts as 0. */
constexpr double SMALLEST_NUMBER = 1e-6;
/** Beyond it no double holds the exponential. */
constexpr double LARGEST_EXPONENT = 709.782712893;
// The base of LN has the digits that stand here, and no more. Intended.
constexpr double LN_BASE = 2.718281828459;
static_assert(std::bit_cast<std::uint64_t>(LN_BASE) == 0x4005BF0A8B145703);
static_assert(std::bit_cast<std::uint64_t>(std::numbers::pi) == 0x400921FB54442D18);

bool IsPlainNumber(const st_VARDATA& st) {
    return st.m_vt == VT_INT || st.m_vt == VT_BIGINT || st.m_vt == VT_DOUBLE;
}

/** Integers and doubles as they are, others as a double, or NULL. */
int TakePlainNumber(CKestroBufferPool* lpPool, const st_VARDATA& a, st_VARDATA& stNumber) {
    if (!IsPlainNumber(a)) return CBaseFunManager::TakeArgument(lpPool, a, VT_DOUBLE, stNumber);
    stNumber.SetData(lpPool, a);
    return ERR_OK;
}

/** Computes `lpfnCompute(double, result)`, which answers a code, on an argument that isn't NULL. */
template <typename F>
int OnDouble(CKestroBufferPool* lpPool, const st_VARDATA& a, st_VARDATA& stResult, F lpfnCompute) {
    st_VARDATA stNumber;
    if (const int nCode = CBaseFunManager::TakeArgument(lpPool, a, VT_DOUBLE, stNumber)) return nCode;
    stResult.SetNull();
    return stNumber.IsNull() ? ERR_OK : lpfnCompute(double{stNumber.m_dblValue});
}

/** A number that no double can write is none. */
void SetDouble(double dblValue, st_VARDATA& stResult) {
    if (std::isfinite(dblValue))
        stResult.SetData(dblValue, VT_DOUBLE);
    else
        stResult.SetNull();
}

template <int (*WHOLE)(const st_VARDATA*, st_VARDATA*)>
int MakeWhole(CKestroBufferPool* lpPool, const st_VARDATA& a, st_VARDATA& stResult) {
    st_VARDATA stDecimal;
    if (const int nCode = CBaseFunManager::TakeArgument(lpPool, a, VT_DECIMAL, stDecimal)) return nCode;
    stResult.SetNull();
    st_VARDATA stWhole;
    // One beyond the digits of a decimal has no whole number either.
    if (!stDecimal.IsNull() && WHOLE(&stDecimal, &stWhole) == ERR_OK) stResult.SetData(lpPool, stWhole);
    return ERR_OK;
}

} // namespace

int CBaseFunManager::TakeArgument(CKestroBufferPool* lpPool, const st_VARDATA& stArgument, BYTE bType,
                                  st_VARDATA& stValue) {
    const int nCode = stArgument.GetCompatableFieldValue(lpPool, bType, stValue, true);
    if (nCode == ERR_MEMORY) return nCode;
    if (nCode != ERR_OK || stValue.m_vt != bType) stValue.SetNull();
    return ERR_OK;
}

int CBaseFunManager::Abs(CKestroBufferPool* lpPool, const st_VARDATA& a, st_VARDATA& stResult) {
    if (const int nCode = TakePlainNumber(lpPool, a, stResult)) return nCode;
    if (stResult.IsNull()) return ERR_OK;
    return stResult.Abs(lpPool) < 0 ? ERR_DATA_TYPE : ERR_OK;
}

int CBaseFunManager::Ceil(CKestroBufferPool* lpPool, const st_VARDATA& a, st_VARDATA& stResult) {
    return MakeWhole<CKestroDecimal::Ceil>(lpPool, a, stResult);
}

int CBaseFunManager::Floor(CKestroBufferPool* lpPool, const st_VARDATA& a, st_VARDATA& stResult) {
    return MakeWhole<CKestroDecimal::Floor>(lpPool, a, stResult);
}

int CBaseFunManager::Sqrt(CKestroBufferPool* lpPool, const st_VARDATA& a, st_VARDATA& stResult) {
    if (const int nCode = TakePlainNumber(lpPool, a, stResult)) return nCode;
    if (!stResult.IsNull() && stResult.Sqrt(lpPool) < 0) stResult.SetNull();
    return ERR_OK;
}

int CBaseFunManager::Exp(CKestroBufferPool* lpPool, const st_VARDATA& a, st_VARDATA& stResult) {
    return OnDouble(lpPool, a, stResult, [&stResult](double dblValue) -> int {
        if (dblValue > LARGEST_EXPONENT) return ERR_DATA;
        stResult.SetData(std::exp(dblValue), VT_DOUBLE);
        return ERR_OK;
    });
}

int CBaseFunManager::SpecialLog(CKestroBufferPool* lpPool, const st_VARDATA& a, BYTE bSelector, st_VARDATA& stResult) {
    constexpr double BASES[] = {LN_BASE, 2, 10};
    static_assert(FNLOG_LOG2 == FNLOG_LN + 1 && FNLOG_LOG10 == FNLOG_LN + 2);
    if (bSelector < FNLOG_LN || bSelector > FNLOG_LOG10) return ERR_FUNCTION_TYPE;
    return OnDouble(lpPool, a, stResult, [&](double dblValue) -> int {
        if (dblValue >= SMALLEST_NUMBER)
            SetDouble(std::log(dblValue) / std::log(BASES[bSelector - FNLOG_LN]), stResult);
        return ERR_OK;
    });
}

int CBaseFunManager::Log(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b, st_VARDATA& stResult) {
    if (b.m_vt == VT_DEFAULT) return SpecialLog(lpPool, a, FNLOG_LN, stResult);
    st_VARDATA stNumber;
    if (const int nCode = TakeArgument(lpPool, b, VT_DOUBLE, stNumber)) return nCode;
    return OnDouble(lpPool, a, stResult, [&](double dblBase) -> int {
        if (stNumber.IsNull() || std::fabs(dblBase - 1) < SMALLEST_NUMBER) return ERR_OK;
        // Of 0 there is no logarithm that could be written.
        if (dblBase >= 0 && stNumber.m_dblValue >= 0)
            SetDouble(std::log(stNumber.m_dblValue) / std::log(dblBase), stResult);
        return ERR_OK;
    });
}

int CBaseFunManager::Power(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b, st_VARDATA& stResult) {
    // The power itself knows no decimals, which all numbers in a statement are.
    st_VARDATA stBase, stExponent;
    if (const int nCode = TakePlainNumber(lpPool, a, stBase)) return nCode;
    if (const int nCode = TakePlainNumber(lpPool, b, stExponent)) return nCode;
    stResult.SetData(lpPool, st_VARDATA::Power(stBase, stExponent));
    return ERR_OK;
}

int CBaseFunManager::Mod(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b, st_VARDATA& stResult) {
    stResult.Mod(lpPool, a, b);
    const BYTE t = stResult.m_vt;
    return t == VT_DATETIME || t == VT_TIME || t == VT_DATE ? ERR_DATA_TYPE : ERR_OK;
}

int CBaseFunManager::Sign(CKestroBufferPool* lpPool, const st_VARDATA& a, st_VARDATA& stResult) {
    return OnDouble(lpPool, a, stResult, [&stResult](double dblValue) -> int {
        stResult.SetData(std::fabs(dblValue) < SMALLEST_NUMBER ? 0 : dblValue < 0 ? -1 : 1);
        return ERR_OK;
    });
}

int CBaseFunManager::Pi(CKestroBufferPool*, st_VARDATA& stResult) {
    stResult.SetData(std::numbers::pi, VT_DOUBLE);
    return ERR_OK;
}

int CBaseFunManager::Rand(CKestroBufferPool* lpPool, const st_VARDATA& stSeed, st_VARDATA& stResult) {
    if (stSeed.m_vt == VT_DEFAULT) {
        BYTE arUuid[16];
        g_stPlatform.m_lpfnUuid(arUuid);
        std::uint32_t nDrawn;
        std::memcpy(&nDrawn, arUuid, sizeof nDrawn);
        stResult.SetData(nDrawn / 4294967295.0, VT_DOUBLE);
        return ERR_OK;
    }
    st_VARDATA stNumber;
    if (const int nCode = TakeArgument(lpPool, stSeed, VT_INT, stNumber)) return nCode;
    if (stNumber.IsNull()) {
        stResult.SetNull();
        return ERR_OK;
    }
    // Without a sign, so that a seed below 0 gives a number from 0 to 1 as well.
    constexpr std::uint64_t MODULUS = 1073741823;
    const std::uint64_t nSeed = stNumber.m_uValue;
    const std::uint64_t nFirst = (nSeed * 65537 + 55555555) % MODULUS, nSecond = nSeed * 268435457 % MODULUS;
    stResult.SetData(static_cast<double>((nFirst * 3 + nSecond) % MODULUS) / 1073741823.0, VT_DOUBLE);
    return ERR_OK;
}
