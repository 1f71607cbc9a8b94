// What a format's output is made of and ends in: the meaning of its quotes, literal characters as bytes, and the
// finished text in the pool.

#include "KestroDateFormatOutput.h"

#include "KestroBufferPool.h"
#include "KestroErrorCode.h"

namespace {

constexpr bool IsHighSurrogate(unsigned uChar) {
    return uChar >= 0xD800 && uChar <= 0xDBFF;
}

constexpr bool IsLowSurrogate(unsigned uChar) {
    return uChar >= 0xDC00 && uChar <= 0xDFFF;
}

/** The last bytes of a character in UTF-8, six bits each. */
char* PutTail(char* lpOut, unsigned uChar, int nBytes) {
    while (nBytes-- > 0)
        *lpOut++ = static_cast<char>(0x80 | (uChar >> 6 * nBytes & 0x3F));
    return lpOut;
}

} // namespace

char* PutUtf8(char* lpOut, unsigned uChar) {
    if (uChar < 0x80) {
        *lpOut++ = static_cast<char>(uChar);
        return lpOut;
    }
    const int nTail = uChar < 0x800 ? 1 : uChar < 0x10000 ? 2 : 3;
    constexpr unsigned LEADS[] = {0, 0xC0, 0xE0, 0xF0};
    *lpOut++ = static_cast<char>(LEADS[nTail] | uChar >> 6 * nTail);
    return PutTail(lpOut, uChar, nTail);
}

char* PutLiteral(char* lpOut, const wchar_t*& lpFormat) {
    auto uChar = static_cast<unsigned>(*lpFormat++);
    if (IsHighSurrogate(uChar) && IsLowSurrogate(static_cast<unsigned>(*lpFormat)))
        uChar = 0x10000 + ((uChar - 0xD800) << 10) + (static_cast<unsigned>(*lpFormat++) - 0xDC00);
    const bool bNoCharacter = uChar > 0x10FFFF || (uChar >= 0xD800 && uChar <= 0xDFFF);
    return PutUtf8(lpOut, bNoCharacter ? '?' : uChar);
}

template <KESTROCHAR T>
bool QuotesBoundText(const T* lpszFormat) {
    bool bQuoted = false, bTokens = false;
    while (*lpszFormat) {
        const T c = *lpszFormat;
        if (c == '"') {
            bQuoted = !bQuoted;
        } else if (!bQuoted && CKestroDate::GetFormatType(lpszFormat) != DF_NONE) {
            if (c == '%') return false;
            bTokens = true;
            continue;
        }
        ++lpszFormat;
    }
    return bTokens;
}

template bool QuotesBoundText(const char*);
template bool QuotesBoundText(const wchar_t*);

int DateTextToValue(CKestroBufferPool* lpPool, const char* lpText, int nLen, st_VARDATA& stResult) {
    auto* const lpszText = static_cast<char*>(lpPool->AllocBuffer(static_cast<UINT>(nLen) + 1));
    if (!lpszText) return ERR_MEMORY;
    std::memcpy(lpszText, lpText, static_cast<std::size_t>(nLen));
    lpszText[nLen] = 0;
    stResult.SetData(lpszText, nLen + 1, 0);
    return ERR_OK;
}
