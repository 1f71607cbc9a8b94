#include <gtest/gtest.h>
#include <strings.h>

#include <cctype>
#include <cmath>
#include <numeric>
#include <random>
#include <string>

#include "CommonDataDef.h"
#include "ExactBytes.h"

namespace {

int Sign(int nValue) {
    return (nValue > 0) - (nValue < 0);
}

/** Letters in both cases and their neighbours, also 0x20 and 0x80 away: what a wrong fold would take for equal. */
constexpr char NEAR_LETTERS[] = "aAbBzZ@`[{\x81\xA1\xC1\xE1\x01!";

std::string Upper(std::string strText) {
    for (char& c : strText)
        c = static_cast<char>(std::toupper(static_cast<BYTE>(c)));
    return strText;
}

TEST(CommonDataDefCompareTest, AgreesWithTheLibraryAtEveryLengthAndPlace) {
    std::mt19937 stRandom(2);
    for (std::size_t nLen = 1; nLen < 70; ++nLen)
        for (std::size_t nChange = 0; nChange <= nLen; ++nChange) {
            std::string strFirst(nLen, 0);
            for (char& c : strFirst)
                c = NEAR_LETTERS[stRandom() % 16];
            std::string strSecond = strFirst;
            for (char& c : strSecond)
                if (std::isalpha(c) && stRandom() % 2) c = static_cast<char>(c ^ 0x20);
            if (nChange < nLen) strSecond[nChange] = NEAR_LETTERS[stRandom() % 16];
            const ExactText a(strFirst), b(strSecond);
            EXPECT_EQ(KestroCompareNoCase(a.Data(), b.Data(), a.Size()) == 0,
                      strncasecmp(a.Data(), b.Data(), nLen) == 0);
            EXPECT_EQ(Sign(KestroCompare(a.Data(), a.Size(), b.Data(), b.Size(), true)),
                      Sign(strFirst.compare(strSecond)));
            const int nOrder = Sign(Upper(strFirst).compare(Upper(strSecond)));
            EXPECT_EQ(Sign(KestroCompare(a.Data(), a.Size(), b.Data(), b.Size(), false)), nOrder) << strFirst;
            EXPECT_EQ(CompareNoCase(strFirst.c_str(), strSecond.c_str()) == 0, nOrder == 0);
        }
}

TEST(CommonDataDefCompareTest, ZeroBytesNullsAndLengths) {
    EXPECT_EQ(KestroCompareNoCase("a\0b", "A\0c", 3), 'b' - 'c');
    EXPECT_EQ(KestroCompareNoCase("\xE1", "\xC1", 1), 0x20);
    EXPECT_EQ(KestroCompareNoCase("a", nullptr, 0), -1);
    EXPECT_EQ(KestroCompareNoCase("a", "b", -1), 0);
    EXPECT_EQ(CompareNoCase("abc", "ABD"), 1);
    EXPECT_EQ(CompareNoCase("abc", "ab"), -'C');
    EXPECT_EQ(CompareNoCase(nullptr, nullptr), 0);
    EXPECT_EQ(CompareNoCase(nullptr, "a"), 'a');
    EXPECT_EQ(CompareNoCase("\xE1", nullptr), 0x1F);
    EXPECT_EQ(KestroCompare("ab\0\0", 4, "AB", 2, false), 0);
    EXPECT_EQ(KestroCompare("abcX", 3, "abcY", 3, true), 0);
    EXPECT_LT(KestroCompare("ab", 2, "ABC", 3, false), 0);
    EXPECT_LT(KestroCompare("abc", 0, "abcd", -1, true), 0);
    EXPECT_LT(KestroCompare("a\0b", 3, "a\0c", 3, false), 0);
    EXPECT_GT(KestroCompare("_", 1, "a", 1, false), 0);
    EXPECT_EQ(KestroCompare(nullptr, 0, "\xE4", 1, false), -0xE4);
    EXPECT_EQ(KestroCompare("a", 1, nullptr, 0, true), 'a');
    EXPECT_EQ(CompareDouble(1, 1.0000009), 0);
    EXPECT_EQ(CompareDouble(1, 1.0000011), -1);
    EXPECT_EQ(CompareDouble(INFINITY, INFINITY), 0);
}

TEST(CommonDataDefCompareTest, CaseChangesLettersOnly) {
    for (int nLen = 0; nLen <= 40; ++nLen)
        for (int nFrom = 0; nFrom + nLen <= 256; nFrom += 5) {
            std::string strText(static_cast<std::size_t>(nLen), 0);
            std::iota(strText.begin(), strText.end(), static_cast<char>(nFrom));
            const ExactText stUpper(strText), stLower(strText);
            KestroMakeUpper(stUpper.Data(), nLen);
            KestroMakeLower(stLower.Data(), nLen);
            EXPECT_EQ(stUpper.View(), Upper(strText));
            for (char& c : strText)
                c = static_cast<char>(std::tolower(static_cast<BYTE>(c)));
            EXPECT_EQ(stLower.View(), strText);
        }
}

} // namespace
