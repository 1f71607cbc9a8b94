// Bytes as hexadecimal text and back, narrow and wide.

#include <array>

#include "CommonDataDef.h"
#include "KestroErrorCode.h"

const char* const KestroHexChars = "0123456789ABCDEF";

namespace {

/** What a byte of hexadecimal text is: a digit's value of 0 to 15, or one of these. */
constexpr BYTE HEX_BLANK = 16;
constexpr BYTE HEX_END = 17;
constexpr BYTE HEX_BAD = 18;

constexpr std::array<BYTE, 256> HEX_VALUES = [] {
    std::array<BYTE, 256> arValue{};
    arValue.fill(HEX_BAD);
    for (BYTE i = 0; i < 10; ++i)
        arValue['0' + i] = i;
    for (BYTE i = 0; i < 6; ++i)
        arValue['A' + i] = arValue['a' + i] = static_cast<BYTE>(10 + i);
    for (const char c : {' ', '\t', '\r', '\n'})
        arValue[static_cast<BYTE>(c)] = HEX_BLANK;
    arValue[0] = HEX_END;
    return arValue;
}();

constexpr BYTE HexValue(char c) {
    return HEX_VALUES[static_cast<BYTE>(c)];
}
constexpr BYTE HexValue(wchar_t c) {
    return c >= 0 && c < 256 ? HEX_VALUES[static_cast<BYTE>(c)] : HEX_BAD;
}

template <typename T>
void BytesToHex(const BYTE* lpBytes, int nLen, T* lpszText) {
    for (int i = 0; i < nLen; ++i) {
        *lpszText++ = static_cast<T>(KestroHexChars[lpBytes[i] >> 4]);
        *lpszText++ = static_cast<T>(KestroHexChars[lpBytes[i] & 15]);
    }
    *lpszText = 0;
}

/** `lpszEnd` is null for a text with a terminator. */
template <typename T>
int HexToBytes(const T* lpszText, const T* lpszEnd, BYTE* lpBytes, int nMax, int& nLen) {
    nLen = 0;
    if (!lpszText) return ERR_PARAMETER;
    bool bHalf = false;
    for (BYTE nHigh = 0; nLen < nMax && lpszText != lpszEnd; ++lpszText) {
        const BYTE nValue = HexValue(*lpszText);
        if (nValue == HEX_BLANK) continue;
        if (nValue == HEX_END) return 0;
        if (nValue == HEX_BAD) return ERR_PARAMETER;
        if (bHalf) lpBytes[nLen++] = static_cast<BYTE>(nHigh << 4 | nValue);
        nHigh = nValue;
        bHalf = !bHalf;
    }
    return 0;
}

} // namespace

void HexConvertChar(const BYTE* lpBytes, int nLen, char* lpszText) {
    BytesToHex(lpBytes, nLen, lpszText);
}

void HexConvertWChar(const BYTE* lpBytes, int nLen, wchar_t* lpszText) {
    BytesToHex(lpBytes, nLen, lpszText);
}

int CharConvertHex(const char* lpszText, BYTE* lpBytes, int nMax, int& nLen) {
    return HexToBytes<char>(lpszText, nullptr, lpBytes, nMax, nLen);
}

int CharConvertHex(const char* lpszText, int nTextLen, BYTE* lpBytes, int nMax, int& nLen) {
    return HexToBytes(lpszText, lpszText + (nTextLen > 0 ? nTextLen : 0), lpBytes, nMax, nLen);
}

int WCharConvertHex(const wchar_t* lpszText, BYTE* lpBytes, int nMax, int& nLen) {
    return HexToBytes<wchar_t>(lpszText, nullptr, lpBytes, nMax, nLen);
}

long long HexStringToNumber(const char* lpszText) {
    // The two bytes in front are passed over unseen: the caller knows them for "0x".
    if (!lpszText || !lpszText[0] || !lpszText[1]) return 0;
    unsigned long long ullValue = 0;
    for (const char* p = lpszText + 2; HexValue(*p) < 16; ++p)
        ullValue = ullValue << 4 | HexValue(*p);
    return static_cast<long long>(ullValue);
}

long long GetHexEncodedData(const char* lpszBytes, int nLen) {
    unsigned long long ullValue = 0;
    for (int i = 0; i < nLen && i < 8; ++i)
        ullValue = ullValue << 8 | static_cast<BYTE>(lpszBytes[i]);
    return static_cast<long long>(ullValue);
}
