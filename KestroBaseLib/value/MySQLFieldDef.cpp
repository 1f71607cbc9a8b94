// Columns as the client sees them.

#include <algorithm>
#include <cstring>

#include "CommonDataDef.h"
#include "KestroErrorCode.h"
#include "VarData.h"

int st_MYSQLFIELDDEF::GetEnumIndex(const char* lpszText, int& nIndex) const {
    return GetEnumIndex(lpszText, lpszText ? static_cast<int>(std::strlen(lpszText)) : 0, nIndex);
}

int st_MYSQLFIELDDEF::GetEnumIndex(const char* lpszText, int nLen, int& nIndex) const {
    const std::size_t nSize = nLen > 0 ? static_cast<std::size_t>(nLen) : 0;
    for (std::uint32_t i = 0; m_arrEnumData && i < m_nEnumNum; ++i) {
        const char* lpszMember = m_arrEnumData[i] ? m_arrEnumData[i] : "";
        if (std::strlen(lpszMember) != nSize) continue;
        if (nSize != 0 && KestroCompareNoCase(lpszText, lpszMember, nLen) != 0) continue;
        nIndex = static_cast<int>(i);
        return ERR_OK;
    }
    nIndex = 0;
    return -1;
}

int st_MYSQLFIELDDEF::GetSetMask(const char* lpszText, int nLen, unsigned long long& ullMask) const {
    ullMask = 0;
    if (!lpszText || nLen <= 0) return ERR_OK;
    int nResult = ERR_OK;
    const char* const lpszEnd = lpszText + nLen;
    for (const char* lpszPiece = lpszText;; ++lpszPiece) {
        const char* const lpszComma = std::find(lpszPiece, lpszEnd, ',');
        int nIndex;
        if (GetEnumIndex(lpszPiece, static_cast<int>(lpszComma - lpszPiece), nIndex) == ERR_OK)
            ullMask |= 1ULL << (nIndex & 63);
        else
            nResult = -1;
        if (lpszComma == lpszEnd) return nResult;
        lpszPiece = lpszComma;
    }
}

void st_MYSQLFIELDDEF::Free() {
    delete[] m_lpDefaultExp;
    delete[] m_lpDefaultExpString;
    delete[] m_lpOnUpdateExp;
    delete[] m_lpOnUpdateExpString;
    for (std::uint32_t i = 0; m_arrEnumData && i < m_nEnumNum; ++i)
        delete[] m_arrEnumData[i];
    delete[] m_arrEnumData;
    if (m_lpVirtualField) {
        delete[] m_lpVirtualField->m_lpExpressionBuffer;
        delete[] m_lpVirtualField->m_lpExpressionString;
        delete m_lpVirtualField;
    }
    m_lpDefaultExp = m_lpOnUpdateExp = nullptr;
    m_lpDefaultExpLen = m_nOnUpdateExpLen = 0;
    m_lpDefaultExpString = m_lpOnUpdateExpString = nullptr;
    m_arrEnumData = nullptr;
    m_nEnumNum = 0;
    m_lpVirtualField = nullptr;
}
