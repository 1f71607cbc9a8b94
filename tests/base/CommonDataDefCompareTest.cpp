#include <gtest/gtest.h>
#include <strings.h>

#include <cctype>
#include <cmath>
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

/** The same text but for the case of its letters and, where `nChange` lies in it, one byte. */
std::string Variant(const std::string& strText, std::mt19937& stRandom, std::size_t nChange) {
    std::string strOther = strText;
    for (char& c : strOther)
        if (stRandom() % 2) c = static_cast<char>(std::isupper(c) ? std::tolower(c) : std::toupper(c));
    if (nChange < strOther.size()) strOther[nChange] = NEAR_LETTERS[stRandom() % 16];
    return strOther;
}

TEST(CommonDataDefCompareTest, AgreesWithTheLibraryAtEveryLengthAndPlace) {
    std::mt19937 stRandom(2);
    for (std::size_t nLen = 0; nLen < 70; ++nLen)
        for (std::size_t nChange = 0; nChange <= nLen; ++nChange) {
            std::string strText(nLen, 0);
            for (char& c : strText)
                c = NEAR_LETTERS[stRandom() % 16];
            const ExactText a(strText);
            const ExactText b(Variant(strText, stRandom, nChange));
            const int nLibrary = strncasecmp(a.Data(), b.Data(), nLen);
            const int nSize = static_cast<int>(nLen);
            EXPECT_EQ(KestroCompareNoCase(a.Data(), b.Data(), nSize) == 0, nLibrary == 0) << strText;
            if (nLen == 0) continue;
            EXPECT_EQ(Sign(KestroCompare(a.Data(), nSize, b.Data(), nSize, true)), Sign(a.View().compare(b.View())));
            std::string strA(a.View()), strB(b.View());
            for (std::string* lpText : {&strA, &strB})
                for (char& c : *lpText)
                    c = static_cast<char>(std::toupper(static_cast<BYTE>(c)));
            EXPECT_EQ(Sign(KestroCompare(a.Data(), nSize, b.Data(), nSize, false)), Sign(strA.compare(strB)));
            EXPECT_EQ(Sign(CompareNoCase(strA.c_str(), strB.c_str())) == 0, strA == strB);
        }
}

TEST(CommonDataDefCompareTest, ZeroBytesAndNulls) {
    EXPECT_EQ(KestroCompareNoCase("a\0b", "A\0c", 3), 'b' - 'c');
    EXPECT_EQ(KestroCompareNoCase("a\0b", "A\0B", 3), 0);
    EXPECT_EQ(KestroCompareNoCase("\xE1", "\xC1", 1), 0x20);
    EXPECT_EQ(KestroCompareNoCase("a", nullptr, 0), -1);
    EXPECT_EQ(KestroCompareNoCase(nullptr, "a", 1), 1);
    EXPECT_EQ(KestroCompareNoCase("a", "b", -1), 0);
    EXPECT_EQ(CompareNoCase("abc", "ABD"), 1);
    EXPECT_EQ(CompareNoCase("abc", "ab"), -'C');
    EXPECT_EQ(CompareNoCase(nullptr, nullptr), 0);
    EXPECT_EQ(CompareNoCase(nullptr, "1"), '1');
    EXPECT_EQ(CompareNoCase("1", nullptr), -'1');
}

TEST(CommonDataDefCompareTest, OrderOfTexts) {
    const struct {
        const char* m_lpszFirst;
        int m_nFirst;
        const char* m_lpszSecond;
        int m_nSecond;
        bool m_bCase;
        int m_nSign;
    } arRow[] = {
        {"abc", 3, "ABC", 3, false, 0},     {"abc", 3, "ABC", 3, true, 1},    {"ab", 2, "ABC", 3, false, -1},
        {"ab\0\0", 4, "AB", 2, false, 0},   {"abc", 0, "abcd", -1, true, -1}, {"abcX", 3, "abcY", 3, true, 0},
        {"_", 1, "a", 1, false, 1},         {"\xE4", 1, "z", 1, false, 1},    {"a\0b", 3, "a\0c", 3, false, -1},
        {nullptr, 5, "a", 1, false, -1},    {"a", 1, nullptr, 0, true, 1},    {nullptr, 0, nullptr, 3, true, 0},
        {nullptr, 0, "\xE4", 1, false, -1}, {"\0\0", 2, "", 0, true, 0}};
    for (const auto& r : arRow)
        EXPECT_EQ(Sign(KestroCompare(r.m_lpszFirst, r.m_nFirst, r.m_lpszSecond, r.m_nSecond, r.m_bCase)), r.m_nSign)
            << &r - arRow;
}

TEST(CommonDataDefCompareTest, DoublesWithTolerance) {
    EXPECT_EQ(CompareDouble(1, 1.0000009), 0);
    EXPECT_EQ(CompareDouble(1, 1.0000011), -1);
    EXPECT_EQ(CompareDouble(2, 1), 1);
    EXPECT_EQ(CompareDouble(INFINITY, INFINITY), 0);
}

TEST(CommonDataDefCompareTest, CaseChangesLettersOnly) {
    std::string strAll;
    for (int c = 0; c < 256; ++c)
        strAll += static_cast<char>(c);
    for (std::size_t nLen = 0; nLen <= 40; ++nLen)
        for (std::size_t nFrom = 0; nFrom + nLen <= 256; nFrom += 5) {
            const ExactText stUpper(std::string_view(strAll).substr(nFrom, nLen));
            const ExactText stLower(stUpper.View());
            KestroMakeUpper(stUpper.Data(), stUpper.Size());
            KestroMakeLower(stLower.Data(), stLower.Size());
            for (std::size_t i = 0; i < nLen; ++i) {
                ASSERT_EQ(static_cast<BYTE>(stUpper.Data()[i]), std::toupper(static_cast<int>(nFrom + i)));
                ASSERT_EQ(static_cast<BYTE>(stLower.Data()[i]), std::tolower(static_cast<int>(nFrom + i)));
            }
        }
}

} // namespace
