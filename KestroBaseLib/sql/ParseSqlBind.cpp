// Parameters: the "?" of a statement, and the values that are bound to them once it's compiled. A value stands at the
// end of the plan, and the element of its "?" holds type, length and offset.

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstring>

#include "KestroDecimal.h"
#include "ParsePush.h"
#include "ParseSql.h"

namespace {

/** The bytes of a value as a plan holds them; none stands for NULL. */
struct VALUEIMAGE {
    const void* m_lpBytes = nullptr;
    int m_nLen = 0;
    BYTE m_arDecimal[DECIMAL_BIN_SIZE];
};

int MakeImage(const st_VARDATA& stValue, VALUEIMAGE& stImage) {
    switch (stValue.m_vt) {
        case VT_VARCHAR:
        case VT_BLOB:
            stImage.m_lpBytes = stValue.m_lpszValue;
            stImage.m_nLen = stValue.m_lpszValue ? std::max(stValue.m_nStrLen, 0) : 0;
            return ERR_OK;
        case VT_DECIMAL:
            stImage.m_lpBytes = stImage.m_arDecimal;
            return CKestroDecimal::FormatBin(&stValue, stImage.m_arDecimal, stImage.m_nLen);
        case VT_INT:
        case VT_TIME:
        case VT_DATE:
        case VT_BIGINT:
        case VT_DOUBLE:
        case VT_DATETIME:
            stImage.m_lpBytes = &stValue.m_llValue;
            stImage.m_nLen = stValue.GetDataLen();
            return ERR_OK;
        default:
            return ERR_OK;
    }
}

/** The last four bytes of a "?" element: where its value stands. */
LPBYTE ValueOffset(MATHEXPELEMENTBSON* lpElement) {
    return reinterpret_cast<LPBYTE>(lpElement) + offsetof(MATHEXPELEMENTBSON, m_bDataBuffer);
}

} // namespace

int CParseSql::AddParameter(UINT nElementOffset) {
    return PushEntry(m_vecFieldOffset, nElementOffset);
}

int CParseSql::BindData(int nIndex, st_VARDATA& stValue) {
    if (nIndex < 1 || nIndex > GetParameterNum()) return ERR_OUT_OF_BOUNDS;
    VALUEIMAGE stImage;
    if (const int nCode = MakeImage(stValue, stImage)) return nCode;
    const UINT nElement = m_vecFieldOffset.get(nIndex - 1);
    UINT nOffset = 0;
    if (stImage.m_nLen != 0)
        if (const int nCode = AllocBound(nElement, static_cast<UINT>(stImage.m_nLen), nOffset)) return nCode;

    // Only now: the plan may have moved.
    auto* const lpElement = reinterpret_cast<MATHEXPELEMENTBSON*>(m_stBson.ConvertOffset2Addr(nElement));
    if (nOffset != 0)
        std::memcpy(m_stBson.ConvertOffset2Addr(nOffset), stImage.m_lpBytes, static_cast<std::size_t>(stImage.m_nLen));
    lpElement->m_bDataType = nOffset != 0 ? stValue.m_vt : BYTE{VT_NULL};
    lpElement->m_nDataLen = nOffset != 0 ? stImage.m_nLen : static_cast<int>(sizeof nOffset);
    std::memcpy(ValueOffset(lpElement), &nOffset, sizeof nOffset);
    return ERR_OK;
}

/** A place for a value: that of the one bound before, if it's large enough, so that a plan used again doesn't grow. */
int CParseSql::AllocBound(UINT nElementOffset, UINT nLen, UINT& nOffset) {
    auto* const lpElement = reinterpret_cast<MATHEXPELEMENTBSON*>(m_stBson.ConvertOffset2Addr(nElementOffset));
    std::memcpy(&nOffset, ValueOffset(lpElement), sizeof nOffset);
    if (nOffset != 0 && nLen <= static_cast<UINT>(lpElement->m_nDataLen)) return ERR_OK;
    for (bool bMoved = false;; bMoved = true) {
        LPBYTE lpValue = nullptr;
        const int nCode = m_stBson.AllocFromBsonBuffer(nLen, nOffset, lpValue);
        const UINT nSize = m_stBson.GetBufferSize();
        if (nCode != ERR_MEMORY || bMoved || nLen > UINT_MAX - nSize) return nCode;
        // The one place where a plan moves.
        if (const int nMoveCode = m_stBson.ReAllocBsonBuffer(nSize + nLen)) return nMoveCode;
    }
}

int CParseSql::ExecuteBind() {
    EXECUTEPLANBSON* const lpPlan = GetExecutePlan();
    return lpPlan ? ClosePlan(lpPlan) : static_cast<int>(ERR_NULL_POINTER);
}
