// The heap texts of the configuration store.

#include "ConfigHelperText.h"

#include <cstring>
#include <new>
#include <utility>

#include "CommonDataDef.h"

bool TString::Set(std::string_view strText) {
    if (strText.size() > TSTRING_MAX) return false;
    if (static_cast<int>(strText.size()) < m_iTotalLen) {
        std::memmove(m_pData, strText.data(), strText.size());
    } else {
        char* pData = new (std::nothrow) char[strText.size() + 1];
        if (!pData) return false;
        strText.copy(pData, strText.size());
        delete[] std::exchange(m_pData, pData);
        m_iTotalLen = static_cast<int>(strText.size()) + 1;
    }
    m_iDataLen = static_cast<int>(strText.size());
    m_pData[m_iDataLen] = 0;
    return true;
}

void TString::Clear() {
    delete[] std::exchange(m_pData, nullptr);
    m_iDataLen = m_iTotalLen = 0;
}

bool operator==(const TString& stFirst, const char* lpszSecond) {
    return CompareNoCase(stFirst.m_pData, lpszSecond) == 0;
}
