// Setting and releasing values, and the small questions about them. Copies stand in VarDataCopy.cpp, hashes in
// VarDataHash.cpp, lengths in VarDataLen.cpp.

#include "VarData.h"

#include <algorithm>

#include "CommonDataDef.h"

void st_VARDATA::Free() {
    if (m_vt == VT_EMPTY) return;
    if (HasOwnerFlag()) {
        ReleaseOwned();
        m_bAutoRelease = 0;
        m_lpszValue = nullptr;
        m_nStrLen = 0;
    } else if (m_vt == VT_DECIMAL) {
        m_bPrecison = 0;
    } else {
        m_llValue = 0;
    }
    m_vt = VT_EMPTY;
}

void st_VARDATA::SetNull() {
    if (m_vt == VT_NULL) return;
    if (m_vt != VT_EMPTY) {
        ReleaseOwned();
        m_lpszValue = nullptr;
    }
    m_vt = VT_NULL;
    m_nStrLen = 0;
}

void st_VARDATA::AttachBuffer(unsigned char bType, char* lpBuffer, int nLen) {
    Free();
    m_vt = lpBuffer ? bType : static_cast<BYTE>(VT_NULL);
    m_bAutoRelease = 1;
    m_lpszValue = bType == VT_VARCHAR || bType == VT_BLOB ? lpBuffer : nullptr;
    m_nStrLen = nLen;
    m_nStringDataOffset = 0;
}

void st_VARDATA::AttachString(char* lpszText, int nLen, unsigned int nOffset) {
    // In a value that held a number, byte 7 was no owner flag.
    if (!HasOwnerFlag()) m_bAutoRelease = 0;
    m_vt = VT_VARCHAR;
    m_lpszValue = lpszText;
    m_nStrLen = nLen;
    m_nStringDataOffset = nOffset;
}

void st_VARDATA::AttachBinaryData(unsigned char* lpData, int nLen, unsigned int nOffset) {
    AttachString(reinterpret_cast<char*>(lpData), nLen, nOffset);
    m_vt = VT_BLOB;
}

void st_VARDATA::DetachBuffer() {
    if (m_vt == VT_VARCHAR || m_vt == VT_BLOB) m_lpszValue = nullptr;
}

/** A view owns nothing; the side bytes of what the value held before go. */
void st_VARDATA::BecomeView(unsigned char bType, char* lpBuffer, int nLen) {
    ReleaseOwned();
    std::memset(&m_bPercentSym, 0, 4);
    m_vt = bType;
    m_lpszValue = lpBuffer;
    m_nStrLen = nLen;
    m_nStringDataOffset = 0;
}

void st_VARDATA::SetBinaryData(unsigned char* lpData, int nLen) {
    BecomeView(VT_BLOB, reinterpret_cast<char*>(lpData), nLen);
}

void st_VARDATA::SetData(const char* lpszText, int nLen, unsigned char bCharset) {
    BecomeView(VT_VARCHAR, const_cast<char*>(lpszText), nLen);
    m_bCharset = bCharset;
}

int st_VARDATA::IsTrue() const {
    switch (m_vt) {
        case VT_INT:
            return m_nValue != 0;
        case VT_BIGINT:
            return m_llValue != 0;
        case VT_DOUBLE:
        case VT_DATETIME:
            return m_dblValue > 1e-8 || m_dblValue < -1e-8;
        case VT_VARCHAR:
        case VT_BLOB:
            return m_nStrLen != 0;
        case VT_NULL:
            return 2;
        case VT_TIME:
        case VT_DATE:
            return m_nValue != 0;
        case VT_ANY:
            return 1;
        case VT_DECIMAL:
            for (int i = 0; i < m_bValid && i < 4; ++i)
                if (m_arDecimalData[i] != 0) return 1;
            return 0;
        default:
            return 0;
    }
}

bool st_VARDATA::IsAllWildcard() const {
    if (m_vt != VT_VARCHAR) return false;
    return !m_lpszValue || m_nStrLen < 1 ||
           std::all_of(m_lpValue, m_lpValue + m_nStrLen, [](BYTE bByte) { return bByte <= 2; });
}

int st_VARDATA::GetCharNum() const {
    if (m_vt != VT_VARCHAR || !m_lpszValue || m_nStrLen < 2) return 0;
    int nNum = 0;
    for (const char* p = m_lpszValue; p < m_lpszValue + m_nStrLen - 1 && *p; ++p)
        nNum += (*p & 0xC0) != 0x80;
    return nNum;
}

int st_VARDATA::Upper(int nLen) {
    if (HasOwnerFlag() && m_lpszValue) KestroMakeUpper(m_lpszValue, std::min(nLen, int{m_nStrLen}));
    return 0;
}

int st_VARDATA::Lower(int nLen) {
    if (HasOwnerFlag() && m_lpszValue) KestroMakeLower(m_lpszValue, std::min(nLen, int{m_nStrLen}));
    return 0;
}

bool st_MULTIVARDATA::isNull() const {
    return std::all_of(m_arrVarData, m_arrVarData + m_bNum, [](const st_VARDATA& st) { return st.IsNull(); });
}

bool st_MULTIVARDATA::isAnyType() const {
    return std::any_of(m_arrVarData, m_arrVarData + m_bNum, [](const st_VARDATA& st) { return st.m_vt == VT_ANY; });
}
