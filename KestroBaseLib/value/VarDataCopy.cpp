// The three copies of a value: into a pool, to the heap, into a procedure's variable. They differ in what becomes of
// text that the source owns; text that it doesn't own is shared by the first two.

#include <algorithm>
#include <new>

#include "KestroBufferPool.h"
#include "KestroErrorCode.h"
#include "VarData.h"

namespace {

/** Capacity of the block in which a procedure's variable keeps its text, at the least. */
constexpr int VARIABLE_BLOCK_SIZE = 100;

bool IsPseudo(BYTE bType) {
    return bType == VT_NULL || bType == VT_UNKNOWN || bType == VT_ANY;
}

} // namespace

/** Numbers and times that both copies treat alike: the type, the sign and the payload. */
void st_VARDATA::CopyNumber(const st_VARDATA& stSource) {
    BecomeNumber(stSource.m_vt, stSource.m_llValue);
    if (stSource.m_vt == VT_INT || stSource.m_vt == VT_BIGINT) m_bSign = stSource.m_bSign;
}

/** What both copies do alike; false for text and bytes, which are left to them. */
bool st_VARDATA::CopyPlain(const st_VARDATA& stSource) {
    switch (stSource.m_vt) {
        case VT_VARCHAR:
        case VT_BLOB:
        case VT_HEXSTR:
            return false;
        case VT_INT:
        case VT_BIGINT:
        case VT_DOUBLE:
        case VT_DATETIME:
        case VT_TIME:
        case VT_DATE:
            CopyNumber(stSource);
            return true;
        case VT_JSON:
            BecomeView(VT_JSON, stSource.m_lpszValue, stSource.m_nStrLen);
            m_nStringDataOffset = stSource.m_nStringDataOffset;
            return true;
        case VT_NULL:
        case VT_UNKNOWN:
        case VT_ANY:
            BecomeView(stSource.m_vt, nullptr, 0);
            return true;
        case VT_MARK:
            ReleaseOwned();
            m_vt = VT_MARK;
            return true;
        case VT_DECIMAL:
            ReleaseOwned();
            std::memcpy(static_cast<void*>(this), &stSource, 24);
            return true;
        default:
            if (!IsPseudo(m_vt)) Free();
            return true;
    }
}

void st_VARDATA::SetData(CKestroBufferPool* lpPool, const st_VARDATA& stSource) {
    if (this == &stSource) return;
    if (CopyPlain(stSource)) {
        if (stSource.m_vt != VT_INT && stSource.m_vt != VT_BIGINT) return;
        if (stSource.m_bEnumType == 0) {
            m_bBitLength = stSource.m_bBitLength;
        } else {
            m_bEnumType = stSource.m_bEnumType;
            m_enumValue.m_pField = stSource.m_enumValue.m_pField;
        }
        return;
    }
    char* lpText = stSource.m_lpszValue;
    if (stSource.m_bAutoRelease && lpText && stSource.m_nStrLen >= 1) {
        const UINT nLen = static_cast<UINT>(stSource.m_nStrLen);
        lpText = lpPool ? static_cast<char*>(lpPool->AllocBuffer(nLen)) : nullptr;
        if (!lpText) return Free();
        std::memcpy(lpText, stSource.m_lpszValue, nLen);
    }
    BecomeView(stSource.m_vt, lpText, stSource.m_nStrLen);
    if (m_vt == VT_VARCHAR) std::memcpy(&m_bPercentSym, &stSource.m_bPercentSym, 3);
    m_nStringDataOffset = stSource.m_nStringDataOffset;
}

void st_VARDATA::SetDataEx(const st_VARDATA& stSource) {
    if (this == &stSource || IsPseudo(m_vt) || CopyPlain(stSource)) return;
    char* lpText = stSource.m_lpszValue;
    const bool bOwned = stSource.m_bAutoRelease && lpText;
    if (bOwned) {
        // A text gets a terminator behind its length, as nothing tells how far the source's buffer goes beyond.
        const std::size_t nLen = static_cast<std::size_t>(std::max(int{stSource.m_nStrLen}, 0));
        lpText = new (std::nothrow) char[nLen + 1];
        if (!lpText) return SetNull();
        std::memcpy(lpText, stSource.m_lpszValue, nLen);
        lpText[nLen] = '\0';
    }
    BecomeView(stSource.m_vt, lpText, stSource.m_nStrLen);
    if (m_vt == VT_VARCHAR) std::memcpy(&m_bPercentSym, &stSource.m_bPercentSym, 3);
    m_bAutoRelease = bOwned ? 1 : 0;
    m_nStringDataOffset = stSource.m_nStringDataOffset;
}

int st_VARDATA::SetDataProce(CKestroBufferPool* lpPool, const st_VARDATA& stSource) {
    if (this == &stSource) return ERR_OK;
    if (stSource.m_vt != VT_VARCHAR && stSource.m_vt != VT_BLOB) {
        SetData(lpPool, stSource);
        // The next text takes a new block.
        if (stSource.m_vt == VT_NULL) m_nCacheBufferSize = 0;
        return ERR_OK;
    }
    const int nLen = stSource.m_lpszValue ? std::max(int{stSource.m_nStrLen}, 0) : 0;
    const bool bReuse = (m_vt == VT_VARCHAR || m_vt == VT_BLOB) && !m_bAutoRelease && m_lpszValue &&
                        m_nCacheBufferSize >= VARIABLE_BLOCK_SIZE && m_nCacheBufferSize >= nLen;
    const int nCapacity = bReuse ? int{m_nCacheBufferSize} : std::max(nLen, VARIABLE_BLOCK_SIZE);
    char* lpBlock = m_lpszValue;
    if (!bReuse) lpBlock = lpPool ? static_cast<char*>(lpPool->AllocBuffer(static_cast<UINT>(nCapacity))) : nullptr;
    if (!lpBlock) return ERR_MEMORY;
    if (nLen > 0) std::memmove(lpBlock, stSource.m_lpszValue, static_cast<std::size_t>(nLen));
    BecomeView(stSource.m_vt, lpBlock, nLen);
    m_nCacheBufferSize = nCapacity;
    return ERR_OK;
}

void st_VARDATA::Swap(CKestroBufferPool* lpPool, st_VARDATA& stOther) {
    st_VARDATA stHeld;
    stHeld.SetData(lpPool, *this);
    SetData(lpPool, stOther);
    stOther.SetData(lpPool, stHeld);
}
