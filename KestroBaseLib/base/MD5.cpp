// The MD5 digest, as RFC 1321 describes it. Nothing here is fit for secrets: the digest serves the SQL function of that
// name and checks against accident.

#include "MD5.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include "CommonDataDef.h"

namespace {

constexpr std::size_t BLOCK_SIZE = 64;
/** Where the message's length stands in its last block. */
constexpr std::size_t LENGTH_POS = 56;

/** The integer part of 2^32 times the absolute sine of 1 to 64. */
constexpr std::uint32_t SINES[64] = {
    0xD76AA478, 0xE8C7B756, 0x242070DB, 0xC1BDCEEE, 0xF57C0FAF, 0x4787C62A, 0xA8304613, 0xFD469501,
    0x698098D8, 0x8B44F7AF, 0xFFFF5BB1, 0x895CD7BE, 0x6B901122, 0xFD987193, 0xA679438E, 0x49B40821,
    0xF61E2562, 0xC040B340, 0x265E5A51, 0xE9B6C7AA, 0xD62F105D, 0x02441453, 0xD8A1E681, 0xE7D3FBC8,
    0x21E1CDE6, 0xC33707D6, 0xF4D50D87, 0x455A14ED, 0xA9E3E905, 0xFCEFA3F8, 0x676F02D9, 0x8D2A4C8A,
    0xFFFA3942, 0x8771F681, 0x6D9D6122, 0xFDE5380C, 0xA4BEEA44, 0x4BDECFA9, 0xF6BB4B60, 0xBEBFBC70,
    0x289B7EC6, 0xEAA127FA, 0xD4EF3085, 0x04881D05, 0xD9D4D039, 0xE6DB99E5, 0x1FA27CF8, 0xC4AC5665,
    0xF4292244, 0x432AFF97, 0xAB9423A7, 0xFC93A039, 0x655B59C3, 0x8F0CCC92, 0xFFEFF47D, 0x85845DD1,
    0x6FA87E4F, 0xFE2CE6E0, 0xA3014314, 0x4E0811A1, 0xF7537E82, 0xBD3AF235, 0x2AD7D2BB, 0xEB86D391};

/** One of the four rounds: the word that step i takes is (i * m_nStride + m_nStart) mod 16. */
struct ROUND {
    int m_nStride;
    int m_nStart;
    int m_arRotate[4];
};
constexpr ROUND ROUNDS[4] = {
    {1, 0, {7, 12, 17, 22}}, {5, 1, {5, 9, 14, 20}}, {3, 5, {4, 11, 16, 23}}, {7, 0, {6, 10, 15, 21}}};

template <int ROUND_NO>
constexpr std::uint32_t Mix(std::uint32_t x, std::uint32_t y, std::uint32_t z) {
    if constexpr (ROUND_NO == 0) return z ^ (x & (y ^ z));
    if constexpr (ROUND_NO == 1) return y ^ (z & (x ^ y));
    if constexpr (ROUND_NO == 2) return x ^ y ^ z;
    return y ^ (x | ~z);
}

template <int ROUND_NO>
inline void RunRound(std::uint32_t (&s)[4], const std::uint32_t* lpWords) {
    constexpr ROUND stRound = ROUNDS[ROUND_NO];
#pragma GCC unroll 16
    for (int i = 0; i < 16; ++i) {
        const std::uint32_t nSum = s[0] + Mix<ROUND_NO>(s[1], s[2], s[3]) + SINES[ROUND_NO * 16 + i] +
                                   lpWords[(i * stRound.m_nStride + stRound.m_nStart) % 16];
        s[0] = s[3];
        s[3] = s[2];
        s[2] = s[1];
        s[1] += std::rotl(nSum, stRound.m_arRotate[i % 4]);
    }
}

} // namespace

MD5::MD5() {
    MD5Init();
}

void MD5::MD5Init() {
    state[0] = 0x67452301;
    state[1] = 0xEFCDAB89;
    state[2] = 0x98BADCFE;
    state[3] = 0x10325476;
    count[0] = count[1] = 0;
}

void MD5::MD5Transform(const unsigned char* lpBlock) {
    std::uint32_t arWords[16];
    std::memcpy(arWords, lpBlock, sizeof arWords);
    std::uint32_t s[4];
    std::copy(state, state + 4, s);
    RunRound<0>(s, arWords);
    RunRound<1>(s, arWords);
    RunRound<2>(s, arWords);
    RunRound<3>(s, arWords);
    for (int i = 0; i < 4; ++i)
        state[i] = (state[i] + s[i]) & 0xFFFFFFFF;
}

void MD5::MD5Update(const void* lpData, int nLen) {
    if (nLen > 0) Append(static_cast<const unsigned char*>(lpData), static_cast<std::size_t>(nLen));
}

void MD5::Append(const unsigned char* lpData, std::size_t nLen) {
    const std::size_t nHeld = count[0] / 8 % BLOCK_SIZE;
    const std::uint64_t nBits = ((std::uint64_t{count[1]} << 32) | count[0]) + std::uint64_t{nLen} * 8;
    count[0] = nBits & 0xFFFFFFFF;
    count[1] = nBits >> 32;

    const std::size_t nFill = std::min(nLen, BLOCK_SIZE - nHeld);
    std::memcpy(buffer + nHeld, lpData, nFill);
    if (nHeld + nFill < BLOCK_SIZE) return;
    MD5Transform(buffer);
    std::size_t nPos = nFill;
    for (; nLen - nPos >= BLOCK_SIZE; nPos += BLOCK_SIZE)
        MD5Transform(lpData + nPos);
    std::memcpy(buffer, lpData + nPos, nLen - nPos);
}

void MD5::MD5Final(unsigned char* lpDigest) {
    static constexpr unsigned char PADDING[BLOCK_SIZE] = {0x80};
    const std::uint64_t nBits = (std::uint64_t{count[1]} << 32) | count[0];
    const std::size_t nHeld = nBits / 8 % BLOCK_SIZE;
    unsigned char arLength[8];
    std::memcpy(arLength, &nBits, sizeof arLength);
    Append(PADDING, (nHeld < LENGTH_POS ? LENGTH_POS : LENGTH_POS + BLOCK_SIZE) - nHeld);
    Append(arLength, sizeof arLength);
    for (int i = 0; i < 4; ++i) {
        const auto nWord = static_cast<std::uint32_t>(state[i]);
        std::memcpy(lpDigest + i * 4, &nWord, sizeof nWord);
    }
    MD5Init();
}

void MD5::MD5Final(char* lpszDigest) {
    unsigned char arDigest[16];
    MD5Final(arDigest);
    HexConvertChar(arDigest, sizeof arDigest, lpszDigest);
    KestroMakeLower(lpszDigest, 32);
}
