// Values written into the main buffer: plain ones at its end, and field values with their type in front.

#include "BaseBson.h"

BOOL CBaseBson::AppendBuffer(const void* lpBytes, int nLen) {
    if (nLen < 0 || !m_lpBuffer || !HasRoom(static_cast<UINT>(nLen))) return 0;
    if (nLen != 0) std::memcpy(m_lpBuffer + m_nBsonDataSize, lpBytes, static_cast<std::size_t>(nLen));
    m_nBsonDataSize += static_cast<UINT>(nLen);
    SetCleanEnd(std::max(GetCleanEnd(), m_nBsonDataSize));
    return 1;
}

// The type code and one or two runs of bytes behind it.
int CBaseBson::WriteTagged(BYTE bTypeCode, const void* lpFirst, UINT nFirst, const void* lpSecond, UINT nSecond,
                           LPBYTE lpPlace) {
    if (nSecond > UINT32_MAX - 1 - nFirst) return ERR_MEMORY;
    UINT nOffset = 0;
    if (const int nCode = AllocFromBsonBuffer(1 + nFirst + nSecond, nOffset, lpPlace)) return nCode;
    *lpPlace = bTypeCode;
    std::memcpy(lpPlace + 1, lpFirst, nFirst);
    if (nSecond != 0) std::memcpy(lpPlace + 1 + nFirst, lpSecond, nSecond);
    return ERR_OK;
}

int CBaseBson::WriteFieldData(BYTE bFieldType, BYTE bTypeCode, st_VARDATA& stValue, LPBYTE lpPosition) {
    const int nValue = stValue.m_nValue;
    const long long llValue = stValue.m_llValue;
    const int nLen = stValue.m_nStrLen;
    switch (bFieldType) {
        case VT_TINYINT:
            return WriteTagged(bTypeCode, &nValue, 1, nullptr, 0, lpPosition);
        case VT_SMALLINT:
            return WriteTagged(bTypeCode, &nValue, 2, nullptr, 0, lpPosition);
        case VT_INT:
            return WriteTagged(bTypeCode, &nValue, 4, nullptr, 0, lpPosition);
        case VT_BIGINT:
        case VT_DOUBLE:
        case VT_DATETIME:
            return WriteTagged(bTypeCode, &llValue, 8, nullptr, 0, lpPosition);
        case VT_CHAR:
        case VT_VARCHAR:
        case VT_CLOB:
        case VT_BLOB:
            if (nLen < 0 || (nLen != 0 && !stValue.m_lpValue)) return ERR_PARAMETER;
            return WriteTagged(bTypeCode, &nLen, 4, stValue.m_lpValue, static_cast<UINT>(nLen), lpPosition);
        default:
            return ERR_OK;
    }
}
