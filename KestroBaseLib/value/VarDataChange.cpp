// Conversions in place: the operations, and the kernels that only they have, for integers without loss, for the bytes
// of a text or BLOB, and for the members of ENUM and SET.

#include <climits>
#include <cmath>

#include "IntegerCut.h"
#include "VarDataKernel.h"

namespace {

/** Doubles nearer than this to an integer are that integer. */
constexpr double NEAR_INTEGER = 1e-8;

/** What a decimal must not go beyond as a double, in 32 and in 64 bits. */
constexpr double INT_TOP = 2147483647.0;
constexpr double INT_BOTTOM = -2147483648.0;
constexpr double BIGINT_TOP = 9.223372036854776e18;

/** The integer if the double is near to it, otherwise the double. */
template <CONVERTKERNEL KERNEL>
int SafeDouble(const CONVERSION& st, st_VARDATA& stResult) {
    if (const int nResult = KERNEL(st, stResult)) return nResult;
    if (std::fabs(st.m_stSource.m_dblValue - stResult.GetCompatibleDouble()) < NEAR_INTEGER) return ERR_OK;
    return Keep(st, stResult);
}

/** NULL for a decimal out of range. Its digits stay behind the type. Intended. */
template <CONVERTKERNEL KERNEL>
int ForcedDecimal(const CONVERSION& st, double dblBottom, double dblTop, st_VARDATA& stResult) {
    const double dblValue = st.m_stSource.GetCompatibleDouble();
    if (dblValue >= dblBottom && dblValue <= dblTop) return KERNEL(st, stResult);
    if (const int nResult = Keep(st, stResult)) return nResult;
    stResult.m_vt = VT_NULL;
    return ERR_OK;
}

} // namespace

int BigToSafeInt(const CONVERSION& st, st_VARDATA& stResult) {
    const long long llValue = st.m_stSource.m_llValue;
    return static_cast<int>(llValue) == llValue ? BigToInt(st, stResult) : Keep(st, stResult);
}

int DblToSafeInt(const CONVERSION& st, st_VARDATA& stResult) {
    return SafeDouble<DblToInt>(st, stResult);
}

int DblToSafeBig(const CONVERSION& st, st_VARDATA& stResult) {
    return SafeDouble<DblToBig>(st, stResult);
}

int DecToSafeInt(const CONVERSION& st, st_VARDATA& stResult) {
    if (const int nResult = Keep(st, stResult)) return nResult;
    CKestroDecimal::SafeConvert2Int(&stResult);
    return ERR_OK;
}

int DecToSafeBig(const CONVERSION& st, st_VARDATA& stResult) {
    if (const int nResult = Keep(st, stResult)) return nResult;
    CKestroDecimal::SafeConvert2Int64(&stResult);
    return ERR_OK;
}

int DecToForcedInt(const CONVERSION& st, st_VARDATA& stResult) {
    return ForcedDecimal<DecToInt>(st, INT_BOTTOM, INT_TOP, stResult);
}

int DecToForcedBig(const CONVERSION& st, st_VARDATA& stResult) {
    return ForcedDecimal<DecToBig>(st, -BIGINT_TOP, BIGINT_TOP, stResult);
}

int TxtToBlob(const CONVERSION& st, st_VARDATA& stResult) {
    const st_VARDATA& stText = st.m_stSource;
    stResult.SetBinaryData(stText.m_lpValue, stText.m_nStrLen > 0 ? stText.m_nStrLen - 1 : 0);
    return ERR_OK;
}

int BlobToTxt(const CONVERSION& st, st_VARDATA& stResult) {
    if (!st.m_stSource.m_lpszValue) return Nothing(st, stResult);
    // The byte behind a BLOB needn't be there, so the terminator is put behind a copy.
    const int nLen = st.m_stSource.m_nStrLen > 0 ? int{st.m_stSource.m_nStrLen} : 0;
    if (nLen == INT_MAX) return ERR_MEMORY;
    char* const lpszText = CopyToPool(st.m_lpPool, st.m_stSource.m_lpszValue, nLen);
    if (!lpszText) return ERR_MEMORY;
    stResult.SetData(lpszText, nLen + 1, 0);
    return ERR_OK;
}

int TxtToEnum(const CONVERSION& st, st_VARDATA& stResult) {
    int nIndex;
    if (st.m_lpField->GetEnumIndex(st.m_stSource.m_lpszValue, TextLen(st.m_stSource), nIndex) != ERR_OK) {
        stResult.SetNull();
        return ERR_DATA_TRUNCATED;
    }
    stResult.SetData(nIndex);
    return ERR_OK;
}

int TxtToSet(const CONVERSION& st, st_VARDATA& stResult) {
    unsigned long long ullMask;
    if (st.m_lpField->GetSetMask(st.m_stSource.m_lpszValue, TextLen(st.m_stSource), ullMask) != ERR_OK) {
        stResult.SetNull();
        return ERR_DATA_TRUNCATED;
    }
    stResult.SetData(static_cast<long long>(ullMask));
    return ERR_OK;
}

int IntToSet(const CONVERSION& st, st_VARDATA& stResult) {
    stResult.SetData(static_cast<long long>(1ULL << (st.m_stSource.m_nValue & 63)));
    return ERR_OK;
}

int st_VARDATA::ChangeTypeCore(CKestroBufferPool* lpPool, unsigned char bType, bool bRound, bool bForce) {
    return ConvertValue(bForce ? FLAVOUR_FORCED : FLAVOUR_SAFE, {*this, lpPool, bType, bRound, nullptr}, *this);
}

int st_VARDATA::ChangeFieldTypeCore(CKestroBufferPool* lpPool, unsigned char bType, st_MYSQLFIELDDEF* lpField,
                                    bool bRound) {
    return ConvertValue(FLAVOUR_COLUMN, {*this, lpPool, bType, bRound, lpField}, *this);
}
