// Functions about NULL: what stands in its place, what becomes it, and whether something is it.

#include "BaseExpressionOperator.h"
#include "BaseFunManager.h"

namespace {

/** The empty text counts as NULL here, and here alone. */
bool IsMissing(const st_VARDATA& st) {
    if (st.IsNull()) return true;
    return st.m_vt == VT_VARCHAR && (!st.m_lpszValue || st.m_nStrLen < 1 || *st.m_lpszValue == 0);
}

} // namespace

int CBaseFunManager::Nvl(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b, st_VARDATA& stResult) {
    if (a.IsNull()) return CopyValue(lpPool, b, stResult);
    if (a.m_vt == VT_ANY || b.m_vt == VT_ANY) return CopyValue(lpPool, a.m_vt == VT_ANY ? a : b, stResult);
    if (a.m_vt == VT_EMPTY) return ERR_OK;
    return CopyValue(lpPool, IsMissing(a) ? b : a, stResult);
}

int CBaseFunManager::Nvl2(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b, const st_VARDATA& c,
                          st_VARDATA& stResult) {
    return CopyValue(lpPool, a.IsNull() ? c : b, stResult);
}

int CBaseFunManager::NullIf(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b, st_VARDATA& stResult) {
    if (!(a == b)) return CopyValue(lpPool, a, stResult);
    stResult.SetNull();
    return ERR_OK;
}

int CBaseFunManager::IsNull(CKestroBufferPool*, const st_VARDATA& a, st_VARDATA& stResult) {
    stResult.SetData(a.m_vt == VT_NULL || a.m_vt == VT_EMPTY ? 1 : 0);
    return ERR_OK;
}
