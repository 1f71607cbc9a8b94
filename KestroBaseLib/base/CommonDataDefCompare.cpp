// Comparison of texts without regard to the case of ASCII letters.

#include <cstdint>
#include <cstring>

#include "CommonDataDef.h"

namespace {

/** Makes capitals of the small ASCII letters among eight bytes. No sum carries into the next byte. */
constexpr std::uint64_t UpperWord(std::uint64_t nWord) {
    constexpr std::uint64_t EACH = 0x0101010101010101;
    const std::uint64_t nLow = nWord & (EACH * 0x7F);
    const std::uint64_t nFromA = nLow + EACH * (0x80 - 'a');
    const std::uint64_t nBehindZ = nLow + EACH * (0x7F - 'z');
    const std::uint64_t nSmall = (nFromA ^ nBehindZ) & ~nWord & (EACH * 0x80);
    return nWord - (nSmall >> 2);
}

constexpr int UpperByte(char c) {
    return static_cast<unsigned char>(c >= 'a' && c <= 'z' ? c - 0x20 : c);
}

std::uint64_t LoadWord(const char* p) {
    std::uint64_t nWord;
    std::memcpy(&nWord, p, sizeof(nWord));
    return nWord;
}

} // namespace

int KestroCompareNoCase(const char* a, const char* b, int nLen) {
    if (!b) return -1;
    if (!a) return 1;
    int i = 0;
    while (nLen - i >= 8 && UpperWord(LoadWord(a + i)) == UpperWord(LoadWord(b + i)))
        i += 8;
    for (; i < nLen; ++i)
        if (UpperByte(a[i]) != UpperByte(b[i]))
            return static_cast<unsigned char>(a[i]) - static_cast<unsigned char>(b[i]);
    return 0;
}
