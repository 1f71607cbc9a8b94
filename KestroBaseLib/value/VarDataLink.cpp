// Concatenation, the operator "||" of SQL: NULL adds nothing, and everything else is joined as its text.

#include <climits>

#include "KestroBufferPool.h"
#include "VarDataOperand.h"

namespace {

bool IsMissing(const st_VARDATA& stValue) {
    const OPERANDCLASS nClass = ClassOf(stValue);
    return nClass == OC_NULL || nClass == OC_EMPTY || (nClass == OC_TEXT && !HasText(stValue));
}

/** The pool copy, which leaves the result empty without a message if there is no memory for a text. */
int Copy(CKestroBufferPool* lpPool, const st_VARDATA& stSource, st_VARDATA& stResult) {
    stResult.SetData(lpPool, stSource);
    return stResult.m_vt == VT_EMPTY && stSource.HasOwnerFlag() ? ERR_MEMORY : ERR_OK;
}

/** One side as text. */
class CPiece {
public:
    explicit CPiece(const st_VARDATA& stValue) : m_stValue(stValue), m_lpBytes(stValue.m_lpszValue) {
        switch (ClassOf(stValue)) {
            case OC_TEXT:
                m_nMost = TextLen(stValue);
                return;
            case OC_HEXSTR:
                m_nMost = LiteralSize(stValue);
                return;
            default:
                m_lpBytes = m_szText;
                m_nMost = PrintValue(stValue, m_szText);
        }
    }
    /** The most bytes that it writes, or -1 for a value without a text. */
    int Most() const { return m_nMost; }
    /** Writes the bytes, and perhaps a terminator; answers the place behind the bytes. */
    char* Write(char* lpOut) const {
        if (m_stValue.m_vt == VT_HEXSTR) return lpOut + DecodeLiteral(m_stValue, lpOut);
        std::memcpy(lpOut, m_lpBytes, static_cast<std::size_t>(m_nMost));
        return lpOut + m_nMost;
    }

private:
    const st_VARDATA& m_stValue;
    const char* m_lpBytes;
    int m_nMost;
    char m_szText[KESTRO_VALUE_TEXT_SIZE];
};

} // namespace

int st_VARDATA::Link(CKestroBufferPool* lpPool, const st_VARDATA& b, st_VARDATA& stResult) const {
    if (IsMissing(*this)) return Copy(lpPool, b, stResult);
    if (IsMissing(b)) return Copy(lpPool, *this, stResult);
    const CPiece stFirst(*this), stSecond(b);
    if (stFirst.Most() < 0 || stSecond.Most() < 0) {
        stResult.SetNull();
        return ERR_OK;
    }
    const std::size_t nMost = static_cast<std::size_t>(stFirst.Most()) + static_cast<std::size_t>(stSecond.Most());
    if (!lpPool || nMost >= INT_MAX) return ERR_MEMORY;
    auto* const lpszText = static_cast<char*>(lpPool->AllocBuffer(static_cast<UINT>(nMost + 1)));
    if (!lpszText) return ERR_MEMORY;
    char* const lpszEnd = stSecond.Write(stFirst.Write(lpszText));
    *lpszEnd = 0;
    stResult.SetData(lpszText, static_cast<int>(lpszEnd - lpszText) + 1, 0);
    return ERR_OK;
}
