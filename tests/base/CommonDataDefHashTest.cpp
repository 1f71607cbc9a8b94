#include <gtest/gtest.h>

#include <random>
#include <string>

#include "CommonDataDef.h"
#include "ExactBytes.h"
#include "Platform.h"

namespace {

/** Byte by byte: each goes to its place in its word, each bit moved on by the word's number. */
UINT PlainSqlHash(const std::string& strText) {
    const std::size_t nCounted = strText.size() < 4 ? strText.size() : strText.size() / 4 * 4;
    UINT nHash = 0;
    for (std::size_t i = 0; i < nCounted; ++i)
        for (std::size_t nBit = 0; nBit < 8; ++nBit)
            if (strText[i] >> nBit & 1) nHash += 1u << ((i % 4 * 8 + nBit + i / 4 % 30) % 32);
    return nHash;
}

TEST(CommonDataDefHashTest, SqlHashAgreesWithBitwiseReference) {
    std::mt19937 stRandom(1);
    std::string strText;
    for (; strText.size() < 300; strText += static_cast<char>(stRandom())) {
        const ExactText stText(strText);
        EXPECT_EQ(CalcSQLHash(stText.Data(), stText.Size()), PlainSqlHash(strText)) << strText.size();
    }
    EXPECT_EQ(CalcSQLHash("abc", -1), 0u);
}

TEST(CommonDataDefHashTest, KeysAndBuckets) {
    EXPECT_EQ(BKDRHash("ab", 2), 97u * 131 + 98);
    EXPECT_EQ(BKDRHash("b\xFF", 2), 98u * 131 - 1);
    EXPECT_EQ(BKDRHash("\xFF", 1), 0x7FFFFFFFu);
    constexpr long long START = 0xD3202B73;
    EXPECT_EQ(CalcKeyHash("x", 0), 0u);
    EXPECT_EQ(CalcKeyHash("", 0xFFFFFFFF), START + 211);
    EXPECT_EQ(CalcKeyHash("7", 97), ReduceToBucket(START * 10 + 7, 97));
    EXPECT_EQ(CalcKeyHash("zZ", 97), ReduceToBucket((START * 37 + 35) * 37 + 35, 97));
    EXPECT_EQ(CalcKeyHash("_\xFF", 97), ReduceToBucket((START * 131 + 95) * 131 + 255, 97));
    EXPECT_EQ(ReduceToBucket(300, 128), 300u % 128);
    EXPECT_EQ(ReduceToBucket(-1, 128), 0x8FFFFFFFFFFFFFFEu % 128);
    EXPECT_EQ(ReduceToBucket(0x7000000000000001, 1000), (0x70000000u + 1) % 1000);
    EXPECT_EQ(ReduceToBucket(0x7FFFFFFF, 0x1000000), 0xFFFFFFu);
    EXPECT_EQ(ReduceToBucket(-1, 0x1000000), 0xFFFFFDu);
}

TEST(CommonDataDefHashTest, TokenIsNeverZero) {
    static std::int64_t nNow;
    const PLATFORM stSaved = g_stPlatform;
    g_stPlatform.m_lpfnMicroseconds = [] { return nNow; };
    for (nNow = -32765; nNow <= 32765; nNow += 32765)
        EXPECT_EQ(CreateDataToken(), 1);
    nNow = -1;
    EXPECT_EQ(CreateDataToken(), 1977);
    g_stPlatform = stSaved;
}

} // namespace
