// Hashes of statements and keys, and the request token. The hashes are stored and compared by both sides of the wire,
// so their quirks stay; none is fit for secrets.

#include <array>
#include <bit>
#include <cstring>

#include "CommonDataDef.h"
#include "CommonDataDefChar.h"
#include "Platform.h"

namespace {

constexpr long long KEY_HASH_START = 0xD3202B73;
/** From this number of buckets on the hash is folded in another way. */
constexpr UINT MANY_BUCKETS = 0x1000000;
constexpr WORD TOKEN_IN_PLACE_OF_0 = 1977;

/** What a byte does to a key's hash: hash * factor + value. */
struct KEYHASHSTEP {
    BYTE m_nFactor;
    BYTE m_nValue;
};

constexpr std::array<KEYHASHSTEP, 256> KEY_HASH_STEPS = [] {
    std::array<KEYHASHSTEP, 256> arStep{};
    for (int c = 0; c < 256; ++c)
        arStep[c] = {131, static_cast<BYTE>(c)};
    for (int i = 0; i < 10; ++i)
        arStep['0' + i] = {10, static_cast<BYTE>(i)};
    for (int i = 0; i < 26; ++i)
        arStep['A' + i] = arStep['a' + i] = {37, static_cast<BYTE>(10 + i)};
    return arStep;
}();

} // namespace

UINT CalcSQLHash(const char* lpszText, int nLen) {
    if (nLen <= 0) return 0;
    const int nWords = nLen / 4;
    UINT nHash = 0;
    // The bytes behind the last whole word count only in a text that has no whole word. Intended: stored hashes hold
    // it.
    if (nWords == 0) {
        std::memcpy(&nHash, lpszText, static_cast<std::size_t>(nLen));
        return nHash;
    }
    int nRotate = 0;
    for (int i = 0; i < nWords; ++i) {
        UINT nWord;
        std::memcpy(&nWord, lpszText + i * 4LL, 4);
        nHash += std::rotl(nWord, nRotate);
        if (++nRotate == 30) nRotate = 0;
    }
    return nHash;
}

UINT BKDRHash(const char* lpszText, int nLen) {
    UINT nHash = 0;
    for (int i = 0; i < nLen; ++i)
        nHash = nHash * 131 + static_cast<UINT>(static_cast<signed char>(lpszText[i]));
    return nHash & 0x7FFFFFFF;
}

UINT CalcKeyHash(const char* lpszKey, UINT nBuckets) {
    if (nBuckets == 0) return 0;
    unsigned long long ullHash = KEY_HASH_START;
    for (const char* p = lpszKey; *p; ++p) {
        const KEYHASHSTEP stStep = KEY_HASH_STEPS[static_cast<BYTE>(*p)];
        ullHash = ullHash * stStep.m_nFactor + stStep.m_nValue;
    }
    return ReduceToBucket(static_cast<long long>(ullHash), nBuckets);
}

UINT ReduceToBucket(long long llHash, UINT nBuckets) {
    const auto ullHash = static_cast<unsigned long long>(llHash);
    unsigned long long ullFolded = ullHash;
    if (nBuckets < MANY_BUCKETS) {
        // The mask leaves out bits 60 to 62. Intended, like all of this rule.
        ullFolded = static_cast<unsigned long long>(llHash >> 32) + (ullHash & 0x8FFFFFFFFFFFFFFF);
    } else if (ullHash >> 31 != 0) {
        ullFolded = static_cast<unsigned long long>(llHash >> 24) + static_cast<unsigned long long>(llHash >> 48) +
                    (ullHash & 0xFFFFFFFF);
    }
    return static_cast<UINT>(ullFolded < nBuckets ? ullFolded : ullFolded % nBuckets);
}

WORD CreateDataToken() {
    const auto nToken = static_cast<WORD>(NowMicroseconds() % 32765 + 1);
    return nToken != 0 ? nToken : TOKEN_IN_PLACE_OF_0;
}
