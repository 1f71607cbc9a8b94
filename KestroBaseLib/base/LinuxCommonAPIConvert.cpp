// Code pages by iconv, and small helpers on letters and numbers.

#include <iconv.h>

#include <cstring>
#include <memory>
#include <new>

#include "LinuxCommonAPI.h"

int CodeConvert(const char* lpszFrom, const char* lpszTo, const char* lpszInput, std::size_t nInputLen,
                char* lpszOutput, std::size_t nOutputSize) {
    if (!lpszOutput) return 1;
    std::memset(lpszOutput, 0, nOutputSize);
    if (!lpszFrom || !lpszTo || !lpszInput) return 1;
    const iconv_t hConvert = iconv_open(lpszTo, lpszFrom);
    if (hConvert == reinterpret_cast<iconv_t>(-1)) return 1;
    // iconv only reads the input, though its declaration doesn't say so.
    char* lpInput = const_cast<char*>(lpszInput);
    const std::size_t nResult = iconv(hConvert, &lpInput, &nInputLen, &lpszOutput, &nOutputSize);
    iconv_close(hConvert);
    return nResult == static_cast<std::size_t>(-1) ? 1 : 0;
}

char* UTF8ConvertAnsi(const char* lpszText) {
    if (!lpszText) return nullptr;
    const std::size_t nLen = std::strlen(lpszText);
    std::unique_ptr<char[]> lpResult(new (std::nothrow) char[nLen * 2 + 1]);
    if (!lpResult || CodeConvert("utf-8", "gb2312", lpszText, nLen, lpResult.get(), nLen * 2 + 1) != 0) return nullptr;
    return lpResult.release();
}

char* strupr(char* lpszText) {
    for (char* p = lpszText; p && *p; ++p)
        if (*p >= 'a' && *p <= 'z') *p = static_cast<char>(*p - 0x20);
    return lpszText;
}

bool IsCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '/' ||
           c == '.';
}

long long _abs64(long long nValue) {
    return nValue < 0 ? static_cast<long long>(0ULL - static_cast<unsigned long long>(nValue)) : nValue;
}
