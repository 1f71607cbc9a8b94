// Functions of texts that need no pattern: case, lengths, first byte.

#include <algorithm>

#include "BaseExpressionOperator.h"
#include "BaseFunManager.h"
#include "KestroDecimal.h"
#include "VarDataText.h"

namespace {

/** Computes `lpfnCompute(text)`, a VT_INT, on the text form of an argument. */
template <typename F>
int OnText(CKestroBufferPool* lpPool, const st_VARDATA& a, st_VARDATA& stResult, F lpfnCompute) {
    st_VARDATA stText;
    if (const int nCode = CBaseFunManager::TakeArgument(lpPool, a, VT_VARCHAR, stText)) return nCode;
    if (stText.IsNull())
        stResult.SetNull();
    else
        stResult.SetData(lpfnCompute(stText));
    return ERR_OK;
}

} // namespace

// The argument's own text changes, a literal in the plan too. Intended: nothing is copied for it.

int CBaseFunManager::Lower(CKestroBufferPool* lpPool, st_VARDATA& a, st_VARDATA& stResult) {
    if (a.HasOwnerFlag()) a.Lower(a.m_nStrLen);
    return CopyValue(lpPool, a, stResult);
}

int CBaseFunManager::Upper(CKestroBufferPool* lpPool, st_VARDATA& a, st_VARDATA& stResult) {
    if (a.HasOwnerFlag()) a.Upper(a.m_nStrLen);
    return CopyValue(lpPool, a, stResult);
}

int CBaseFunManager::LengthOfValue(CKestroBufferPool* lpPool, const st_VARDATA& a, st_VARDATA& stResult) {
    // The terminator of a text counts. Intended.
    if (!a.HasOwnerFlag()) return OnText(lpPool, a, stResult, [](const st_VARDATA& st) { return int{st.m_nStrLen}; });
    stResult.SetData(int{a.m_nStrLen});
    return ERR_OK;
}

int CBaseFunManager::CharLength(const st_VARDATA& a, st_VARDATA& stResult) {
    char szText[KESTRO_VALUE_TEXT_SIZE];
    switch (a.m_vt) {
        case VT_INT:
        case VT_BIGINT:
        case VT_DOUBLE:
            stResult.SetData(PrintValue(a, szText));
            break;
        case VT_DECIMAL:
            // The digits that it holds and a point: without the sign, and without a zero in front of the point.
            // Intended.
            stResult.SetData(CKestroDecimal::CalcValidDigit(&a) + (a.m_bScale > 0 ? 1 : 0));
            break;
        case VT_VARCHAR:
            stResult.SetData(a.GetCharNum());
            break;
        default:
            stResult.SetNull();
    }
    return ERR_OK;
}

int CBaseFunManager::AsciiOrd(CKestroBufferPool* lpPool, const st_VARDATA& a, st_VARDATA& stResult) {
    return OnText(lpPool, a, stResult,
                  [](const st_VARDATA& st) { return TextLen(st) > 0 ? static_cast<BYTE>(*st.m_lpszValue) : 0; });
}

int CBaseFunManager::Bit_Length(CKestroBufferPool* lpPool, const st_VARDATA& a, st_VARDATA& stResult) {
    return OnText(lpPool, a, stResult, [](const st_VARDATA& st) {
        // Of a quarter of a gigabyte and more the number wraps.
        return static_cast<int>(static_cast<UINT>(std::max(st.m_nStrLen - 1, 0)) * 8);
    });
}
