// Columns as the client sees them.

#include "CommonDataDef.h"
#include "KestroErrorCode.h"
#include "VarData.h"

int st_MYSQLFIELDDEF::GetEnumIndex(const char* lpszText, int& nIndex) const {
    for (std::uint32_t i = 0; m_arrEnumData && i < m_nEnumNum; ++i) {
        if (CompareNoCase(lpszText, m_arrEnumData[i]) != 0) continue;
        nIndex = static_cast<int>(i);
        return ERR_OK;
    }
    nIndex = 0;
    return -1;
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
    m_lpDefaultExpString = m_lpOnUpdateExpString = nullptr;
    m_arrEnumData = nullptr;
    m_nEnumNum = 0;
    m_lpVirtualField = nullptr;
}
