// Values as text and text as values: the printed forms, the bytes of numeric literals, and the clean-ups that make a
// number of a text. Numbers are read and printed in the C locale, whatever the process has set.

#include "VarDataText.h"

#include <algorithm>
#include <charconv>
#include <clocale>
#include <cstdlib>

#include "KestroBufferPool.h"
#include "VarDataKernel.h"

namespace {

/** Milliseconds are written only if there are any. */
constexpr int FRACTION_IF_ANY = -1;

/** "%f". */
int PrintDouble(double dblValue, char* lpszText) {
    char* const lpszEnd = lpszText + KESTRO_VALUE_TEXT_SIZE - 1;
    char* const lpszPrinted = std::to_chars(lpszText, lpszEnd, dblValue, std::chars_format::fixed, 6).ptr;
    *lpszPrinted = 0;
    return static_cast<int>(lpszPrinted - lpszText);
}

/** The text of a number in the pool, as a value of a type whose length counts `nTail` bytes behind it. */
int PrintIntoPool(const CONVERSION& st, BYTE bType, int nTail, st_VARDATA& stResult) {
    char szText[KESTRO_VALUE_TEXT_SIZE];
    const int nLen = PrintShortValue(st.m_stSource, szText);
    char* const lpszText = CopyToPool(st.m_lpPool, szText, nLen);
    if (!lpszText) return ERR_MEMORY;
    stResult.SetData(lpszText, nLen + nTail, 0);
    stResult.m_vt = bType;
    return ERR_OK;
}

/** The same with the bytes of a literal. */
int DecodeIntoPool(const CONVERSION& st, BYTE bType, int nTail, st_VARDATA& stResult) {
    const auto nSize = static_cast<UINT>(LiteralSize(st.m_stSource)) + 1;
    char* const lpszText = st.m_lpPool ? static_cast<char*>(st.m_lpPool->AllocBuffer(nSize)) : nullptr;
    if (!lpszText) return ERR_MEMORY;
    const int nLen = DecodeLiteral(st.m_stSource, lpszText);
    stResult.SetData(lpszText, nLen + nTail, 0);
    stResult.m_vt = bType;
    return ERR_OK;
}

bool IsMark(char c) {
    return c == ' ' || c == '-' || c == ':';
}

/** Of a number without sign and exponent. */
bool IsNoDigit(char c) {
    return (c < '0' || c > '9') && c != '.';
}

} // namespace

// ---- Reading and writing

CBoundedText::CBoundedText(const char* lpszText, int nLen) : m_lpszText(lpszText) {
    const std::size_t nSize = lpszText && nLen > 0 ? static_cast<std::size_t>(nLen) : 0;
    // Nearly every text ends with its terminator, so the search is rare.
    if (nSize != 0 && (lpszText[nSize - 1] == 0 || std::memchr(lpszText, 0, nSize))) return;
    const std::size_t nCopied = std::min(nSize, sizeof(m_szCopy) - 1);
    if (nCopied != 0) std::memcpy(m_szCopy, lpszText, nCopied);
    m_szCopy[nCopied] = 0;
    m_lpszText = m_szCopy;
}

int TextLen(const st_VARDATA& stText) {
    if (!stText.m_lpszValue || stText.m_nStrLen <= 0) return 0;
    return static_cast<int>(strnlen(stText.m_lpszValue, static_cast<std::size_t>(stText.m_nStrLen)));
}

double ReadDouble(const char* lpszText) {
    // The C locale is part of the C library: nothing is allocated, and nothing to be freed.
    static const locale_t hLocale = newlocale(LC_ALL_MASK, "C", nullptr);
    return strtod_l(lpszText, nullptr, hLocale);
}

char* CopyToPool(CKestroBufferPool* lpPool, const char* lpBytes, int nLen) {
    const auto nSize = static_cast<std::size_t>(nLen);
    char* const lpCopy = lpPool ? static_cast<char*>(lpPool->AllocBuffer(static_cast<UINT>(nSize) + 1)) : nullptr;
    if (!lpCopy) return nullptr;
    std::memcpy(lpCopy, lpBytes, nSize);
    lpCopy[nSize] = 0;
    return lpCopy;
}

int PrintValue(const st_VARDATA& stValue, char* lpszText) {
    switch (stValue.m_vt) {
        case VT_INT:
            return KestroConvert(int{stValue.m_nValue}, lpszText);
        case VT_BIGINT:
            return KestroConvert(static_cast<long long>(stValue.m_llValue), lpszText);
        case VT_DOUBLE:
            return PrintDouble(stValue.m_dblValue, lpszText);
        case VT_DATETIME:
            return CKestroDate::FormatDateTime(double{stValue.m_dblValue}, lpszText, FRACTION_IF_ANY);
        case VT_DATE:
            return CKestroDate::FormatDate(stValue.m_stDate, lpszText);
        case VT_TIME:
            return CKestroDate::FormatTime(stValue.m_stTime, lpszText);
        case VT_DECIMAL:
            return CKestroDecimal::PrintDecimal(&stValue, lpszText);
        default:
            return -1;
    }
}

int PrintShortValue(const st_VARDATA& stValue, char* lpszText) {
    const int nLen = PrintValue(stValue, lpszText);
    return stValue.m_vt == VT_DOUBLE ? TrimTailZero(lpszText, true) : nLen;
}

int LiteralSize(const st_VARDATA& stLiteral) {
    // In front stands "0x", behind the terminator; of an odd number of digits the last one is lost.
    return stLiteral.m_lpszValue && stLiteral.m_nStrLen > 3 ? (stLiteral.m_nStrLen - 3) / 2 : 0;
}

int DecodeLiteral(const st_VARDATA& stLiteral, char* lpBytes) {
    int nLen = 0;
    const int nSize = LiteralSize(stLiteral);
    if (nSize != 0) {
        // What isn't a digit ends the bytes.
        (void)CharConvertHex(stLiteral.m_lpszValue + 2, stLiteral.m_nStrLen - 2, reinterpret_cast<BYTE*>(lpBytes),
                             nSize, nLen);
    }
    lpBytes[nLen] = 0;
    return nLen;
}

// ---- Kernels with text as their result

int NumToTxt(const CONVERSION& st, st_VARDATA& stResult) {
    return PrintIntoPool(st, VT_VARCHAR, 1, stResult);
}

int NumToBlob(const CONVERSION& st, st_VARDATA& stResult) {
    return PrintIntoPool(st, VT_BLOB, 0, stResult);
}

int HexToTxt(const CONVERSION& st, st_VARDATA& stResult) {
    return DecodeIntoPool(st, VT_VARCHAR, 1, stResult);
}

int HexToBlob(const CONVERSION& st, st_VARDATA& stResult) {
    return DecodeIntoPool(st, VT_BLOB, 0, stResult);
}

// ---- Operations

int st_VARDATA::GetCompatibleStringValue(char* lpszText) const {
    if (m_vt == VT_HEXSTR && m_lpszValue) return DecodeLiteral(*this, lpszText) + 1;
    const int nLen = PrintShortValue(*this, lpszText);
    if (nLen >= 0) return nLen + 1;
    *lpszText = 0;
    return 0;
}

void st_VARDATA::Covert2String(char* lpszBuffer) {
    const int nLen = PrintValue(*this, lpszBuffer);
    // The terminator isn't counted. Intended: only here.
    if (nLen >= 0) SetData(lpszBuffer, nLen, 0);
}

void st_VARDATA::CovertString2Data(unsigned char bType) {
    if (m_vt == VT_VARCHAR) (void)ConvertValue(FLAVOUR_TEXT, {*this, nullptr, bType, false, nullptr}, *this);
}

void st_VARDATA::CovertString2Data(unsigned char bType, const char* lpszText, int nLen) {
    st_VARDATA stText;
    stText.SetData(lpszText, nLen, 0);
    if (ConvertValue(FLAVOUR_TEXT, {stText, nullptr, bType, false, nullptr}, *this) != ERR_OK) Free();
}

int st_VARDATA::CovertStringToNumber(CKestroBufferPool* lpPool) {
    if (m_vt != VT_VARCHAR) return ERR_DATA_TYPE;
    // The bytes of a hexadecimal literal are a number as they stand.
    if (!m_lpszValue || m_bCharset == KESTRO_CHARSET_HEX)
        return GetCompatableFieldValue(lpPool, VT_DOUBLE, *this, false);
    const char* const lpszOther = std::find_if(m_lpszValue, m_lpszValue + TextLen(*this), IsNoDigit);
    // Cut off in a copy, as a view may lie where nothing can be written. The missing terminator sees to it.
    st_VARDATA stNumber;
    stNumber.SetData(m_lpszValue, static_cast<int>(lpszOther - m_lpszValue), 0);
    return stNumber.GetCompatableFieldValue(lpPool, VT_DOUBLE, *this, false);
}

int st_VARDATA::CovertDateStrToNumberStr(CKestroBufferPool* lpPool) {
    if (m_vt != VT_VARCHAR) return ERR_DATA_TYPE;
    const int nLen = TextLen(*this);
    if (std::none_of(m_lpszValue, m_lpszValue + nLen, IsMark)) return ERR_OK;
    char* const lpszText = m_bAutoRelease ? m_lpszValue : CopyToPool(lpPool, m_lpszValue, nLen);
    if (!lpszText) return ERR_MEMORY;
    char* const lpszEnd = std::remove_if(lpszText, lpszText + nLen, IsMark);
    *lpszEnd = 0;
    m_lpszValue = lpszText;
    m_nStrLen = static_cast<int>(lpszEnd - lpszText) + 1;
    return ERR_OK;
}
