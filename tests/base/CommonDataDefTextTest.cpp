#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <random>
#include <string>

#include "CommonDataDef.h"
#include "ExactBytes.h"

namespace {

using namespace std::string_literals;

TEST(CommonDataDefTextTest, FormsOfNumbers) {
    const struct {
        std::string_view m_szText;
        int m_nForm;
    } arRow[] = {{"0", 1},   {"-12", 1},  {"+7", 1},   {"", 0},      {"-", 0},   {"1 ", 0},    {" 1", 0},
                 {"12a", 0}, {"0x1F", 2}, {"0Xaf", 2}, {"0x", 0},    {"0xg", 0}, {"-0x1", 0},  {"1.5", 3},
                 {"-.5", 3}, {"5.", 3},   {".", 0},    {"1.2.3", 0}, {"1e3", 3}, {"1E-03", 3}, {"1.5e+3", 3},
                 {"1e", 0},  {"1e+", 0},  {"e3", 0},   {".e3", 0},   {"1e3x", 0}};
    for (const auto& stRow : arRow) {
        const ExactText stText(stRow.m_szText);
        EXPECT_EQ(IsNumber(stText.Data(), stText.Size()), stRow.m_nForm) << stRow.m_szText;
        EXPECT_EQ(IsNumber(stRow.m_szText.data()), stRow.m_nForm);
    }
    EXPECT_EQ(IsNumber("12", -1), NUMBER_NONE);
    EXPECT_EQ(IsNumber(nullptr), NUMBER_NONE);
}

TEST(CommonDataDefTextTest, ZerosAtTheEnd) {
    const struct {
        std::string m_strText;
        bool m_bForce;
        const char* m_lpszResult;
    } arRow[] = {{"1.500", false, "1.5"}, {"1.000", false, "1"},  {"100", false, "100"}, {"1.2.0", false, "1.2.0"},
                 {"1.2.0", true, "1.2"},  {"100", true, "1"},     {"000", true, ""},     {".0", false, ""},
                 {"", true, ""},          {"0.000000", true, "0"}};
    for (const auto& stRow : arRow) {
        std::string strText = stRow.m_strText;
        const int nLen = TrimTailZero(strText.data(), stRow.m_bForce);
        EXPECT_EQ(std::string(strText.c_str()), stRow.m_lpszResult) << stRow.m_strText;
        EXPECT_EQ(static_cast<std::size_t>(nLen), std::string(stRow.m_lpszResult).size());
    }
}

template <typename T>
void ExpectConverted(T nValue) {
    const ExactText stText(std::string(KESTRO_INTEGER_SIZE, '?'));
    const int nLen = KestroConvert(nValue, stText.Data());
    EXPECT_EQ(std::string(stText.Data()), std::to_string(nValue));
    EXPECT_EQ(nLen, static_cast<int>(std::to_string(nValue).size()));
}

TEST(CommonDataDefTextTest, IntegersAndTheirDigits) {
    ExpectConverted(std::numeric_limits<short>::min());
    ExpectConverted(std::numeric_limits<int>::min());
    ExpectConverted(std::numeric_limits<long long>::min());
    ExpectConverted(std::numeric_limits<unsigned long long>::max());
    for (const long long ll : {0LL, 9LL, 10LL, -999LL, 1000LL, LLONG_MAX, LLONG_MIN})
        EXPECT_EQ(GetIntegerFigure(ll), static_cast<int>(std::to_string(ll).size()) - (ll < 0));
    EXPECT_EQ(GetStringFigure("-123.45", 7), 3);
    EXPECT_EQ(GetStringFigure("123", 2), 2);
    EXPECT_EQ(GetStringFigure("abc", 3), 0);
}

TEST(CommonDataDefTextTest, BitsAsText) {
    const struct {
        unsigned long long m_ullValue;
        int m_nBits, m_nSize, m_nResult;
        std::string m_strText;
    } arRow[] = {{0, 0, 2, 1, "0"}, {5, 0, 4, 3, "101"}, {5, 6, 7, 6, "000101"},
                 {5, 6, 6, -1, ""}, {5, -9, 0, -1, "?"}, {~0ULL, 99, 65, 64, std::string(64, '1')}};
    for (const auto& stRow : arRow) {
        const ExactText stText(std::string(static_cast<std::size_t>(std::max(stRow.m_nSize, 1)), '?'));
        EXPECT_EQ(ConvertBitToString(stRow.m_ullValue, stRow.m_nBits, stText.Data(), stRow.m_nSize), stRow.m_nResult);
        EXPECT_EQ(stText.View().substr(0, stRow.m_strText.size()), stRow.m_strText);
    }
}

TEST(CommonDataDefTextTest, LengthPrefixedTextsAndAllTheirTruncations) {
    const struct {
        std::string m_strPrefix;
        std::size_t m_nLen;
    } arRow[] = {{"\x00"s, 0},
                 {"\x05"s, 5},
                 {"\xFA"s, 250},
                 {"\xFC\x2C\x01"s, 300},
                 {"\xFD\x02\x00\x00"s, 2},
                 {"\xFE\x03\0\0\0\0\0\0\0"s, 3}};
    const char* lpszText;
    int nLen;
    for (const auto& stRow : arRow) {
        const std::string strWhole = stRow.m_strPrefix + std::string(stRow.m_nLen, 'x');
        for (std::size_t nCut = 0; nCut <= strWhole.size(); ++nCut) {
            const ExactText stData(std::string_view(strWhole).substr(0, nCut));
            const int nTaken =
                ConvertMySQLVarchar(reinterpret_cast<const BYTE*>(stData.Data()), stData.Size(), lpszText, nLen);
            EXPECT_EQ(nTaken, nCut == strWhole.size() ? stData.Size() : 0);
            EXPECT_EQ(nLen, nTaken == 0 ? 0 : static_cast<int>(stRow.m_nLen));
        }
    }
    const BYTE arLong[] = {0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 'x'};
    EXPECT_EQ(ConvertMySQLVarchar(arLong, 10, lpszText, nLen), 0);
    const BYTE arNull[] = {251, 255};
    EXPECT_EQ(ConvertMySQLVarchar(arNull, 2, lpszText, nLen), 1);
    EXPECT_EQ(lpszText, nullptr);
    EXPECT_EQ(ConvertMySQLVarchar(arNull + 1, 1, lpszText, nLen), 0);
}

std::string PlainReplace(std::string strText, const std::string& strFrom, const std::string& strTo) {
    for (std::size_t n = 0; !strFrom.empty() && (n = strText.find(strFrom, n)) != std::string::npos; n += strTo.size())
        strText.replace(n, strFrom.size(), strTo);
    return strText;
}

TEST(CommonDataDefTextTest, SearchAndReplacementAgreeWithTheLibrary) {
    std::mt19937 stRandom(4);
    const auto Random = [&](std::size_t nMax) {
        std::string strText(stRandom() % (nMax + 1), 0);
        for (char& c : strText)
            c = "ab\0"[stRandom() % 3];
        return strText;
    };
    for (int i = 0; i < 3000; ++i) {
        const ExactText stText(Random(20)), stFrom(Random(3)), stTo(Random(3));
        const std::string strWanted =
            PlainReplace(std::string(stText.View()), std::string(stFrom.View()), std::string(stTo.View()));
        const int nLen = static_cast<int>(strWanted.size());
        EXPECT_EQ(SubStringFind(stText.Data(), stText.Size(), stFrom.Data(), stFrom.Size()),
                  static_cast<int>(stText.View().find(stFrom.View())));
        for (const int nSize : {nLen + 1, nLen}) {
            const ExactText stOut(std::string(static_cast<std::size_t>(nSize), '?'));
            EXPECT_EQ(KestroCharReplace(stText.Data(), stText.Size(), stFrom.Data(), stFrom.Size(), stTo.Data(),
                                        stTo.Size(), stOut.Data(), nSize),
                      nSize > nLen ? nLen : -1);
            EXPECT_TRUE(nSize == nLen || stOut.View().substr(0, strWanted.size()) == strWanted);
        }
        EXPECT_EQ(KestroCharReplace(stText.Data(), stText.Size(), stFrom.Data(), stFrom.Size(), stTo.Data(),
                                    stTo.Size(), nullptr, 0),
                  nLen);
    }
    const std::string strLong(1 << 17, 'a');
    EXPECT_EQ(KestroCharReplace(strLong.data(), 1 << 17, "a", 1, strLong.data(), 1 << 17, nullptr, 0), -1);
    EXPECT_EQ(SubStringMatch("\xE4\xB8\xAD"
                             "ab",
                             5, "b", 1),
              2);
    EXPECT_EQ(SubStringMatch("ab", 2, "c", 1), -1);
}

TEST(CommonDataDefTextTest, LikePatterns) {
    const struct {
        std::string m_strText;
        const char* m_lpszEscape;
        std::string m_strResult;
        int m_bPercent;
    } arRow[] = {{"a%b_", nullptr, "a\1b\2", 1},
                 {"a\\%b\\_", nullptr, "a%b_", 0},
                 {"\\\\%", nullptr, "\\\1", 1},
                 {"\\a\\", nullptr, "\\a\\", 0},
                 {"a!%!_%", "!", "a%_\1", 1},
                 {"a\\%", "!", "a\\\1", 1},
                 {"!!_!", "!", "!\2!", 0},
                 {"a\\%", "", "a\\\1", 1},
                 {"x<>%<", "<>", "x%<", 0},
                 {"%%_", "%", "%\2", 0},
                 {"", nullptr, "", 0}};
    for (const auto& stRow : arRow) {
        const ExactText stText(stRow.m_strText);
        BYTE bPercent = 9;
        const int nLen = StrPretreatment(stText.Data(), stText.Size(), stRow.m_lpszEscape, bPercent);
        EXPECT_EQ(stText.View().substr(0, static_cast<std::size_t>(nLen)), stRow.m_strResult) << stRow.m_strText;
        EXPECT_EQ(bPercent, stRow.m_bPercent) << stRow.m_strText;
        EXPECT_TRUE(nLen == stText.Size() || stText.Data()[nLen] == 0);
    }
}

TEST(CommonDataDefTextTest, JsonStrings) {
    for (const char* lpsz : {R"("")", R"("a b")", R"("\"\\\/\b\f\n\r\t\u00Af")", "\"\xE4\xB8\xAD\""})
        EXPECT_TRUE(CheckJsonString(ExactText(lpsz).Data(), static_cast<int>(std::strlen(lpsz)))) << lpsz;
    for (const char* lpsz : {"", "\"", "a", R"("a)", R"(a")", R"("a"b")", R"("\")", R"("\x")", R"("\u12")",
                             R"("\u123")", R"("\u123g")", "\"a\tb\""})
        EXPECT_FALSE(CheckJsonString(ExactText(lpsz).Data(), static_cast<int>(std::strlen(lpsz)))) << lpsz;
}

} // namespace
