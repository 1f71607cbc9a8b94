#include <climits>
#include <random>
#include <string>

#include "CommonDataDef.h"
#include "Fields.h"

namespace {

using namespace std::string_literals;

TEST(CommonDataDefTextTest, FormsOfNumbers) {
    CheckRows({"=>0",      "-=>0",    "1 =>0",   " 1=>0",  "12a=>0", "0x=>0",   "0xg=>0",     "-0x1=>0",   ".=>0",
               "1.2.3=>0", "1e=>0",   "1e+=>0",  "e3=>0",  ".e3=>0", "1e3x=>0", "1.2e3.4=>0", "0=>1",      "-12=>1",
               "+7=>1",    "0x1F=>2", "0Xaf=>2", "1.5=>3", "-.5=>3", "5.=>3",   "1e3=>3",     "1.5E-03=>3"},
              [](const auto& arText) { return std::to_string(IsNumber(arText[0].Data(), arText[0].Size())); });
    EXPECT_EQ(IsNumber("1.5"), NUMBER_REAL);
}

// Text, and whether forced.
TEST(CommonDataDefTextTest, ZerosAtTheEnd) {
    CheckRows({"1.500|0=>1.5", "1.000|0=>1", "100|0=>100", "1.2.0|0=>1.2.0", "1.2.0|1=>1.2", "100|1=>1", "000|1=>",
               ".0|0=>", "|1=>", "0.000000|1=>0"},
              [](const auto& arText) {
                  std::string strText(arText[0].View());
                  strText.resize(static_cast<std::size_t>(TrimTailZero(strText.data(), arText[1].Number() != 0)));
                  return strText;
              });
}

TEST(CommonDataDefTextTest, IntegersAndTheirDigits) {
    char szText[KESTRO_INTEGER_SIZE];
    for (const long long ll : {0LL, 9LL, 10LL, -999LL, 1000LL, LLONG_MAX, LLONG_MIN}) {
        EXPECT_EQ(KestroConvert(ll, szText), GetIntegerFigure(ll) + (ll < 0));
        EXPECT_EQ(szText, std::to_string(ll));
    }
    EXPECT_EQ(KestroConvert(ULLONG_MAX, szText), 20);
    EXPECT_EQ(szText, std::to_string(ULLONG_MAX));
    EXPECT_EQ(KestroConvert(short{-7}, szText), 2);
    EXPECT_EQ(GetStringFigure("-123.45", 7), 3);
    EXPECT_EQ(GetStringFigure("123", 2), 2);
    char szBits[65];
    EXPECT_EQ(ConvertBitToString(0, 0, szBits, 2), 1);
    EXPECT_EQ(ConvertBitToString(5, 6, szBits, 6), -1);
    EXPECT_EQ(ConvertBitToString(5, 6, szBits, 7), 6);
    EXPECT_STREQ(szBits, "000101");
    EXPECT_EQ(ConvertBitToString(~0ULL, 99, szBits, 65), 64);
}

TEST(CommonDataDefTextTest, LengthPrefixedTextsAndAllTheirTruncations) {
    const char* lpszText;
    int nLen;
    for (const std::string& strPrefix : {"\5"s, "\xFC\5\0"s, "\xFD\5\0\0"s, "\xFE\5\0\0\0\0\0\0\0"s})
        for (std::size_t nCut = 0; nCut <= strPrefix.size() + 5; ++nCut) {
            const ExactBytes<BYTE> stData(
                std::basic_string<BYTE>(strPrefix.begin(), strPrefix.end()).append(5, 'x').substr(0, nCut));
            const bool bWhole = nCut == strPrefix.size() + 5;
            EXPECT_EQ(ConvertMySQLVarchar(stData.Data(), stData.Size(), lpszText, nLen), bWhole ? stData.Size() : 0);
            EXPECT_EQ(nLen, bWhole ? 5 : 0);
        }
    const BYTE arOdd[] = {251, 255, 254, 255, 255, 255, 255, 255, 255, 255, 255, 'x'};
    EXPECT_EQ(ConvertMySQLVarchar(arOdd, 2, lpszText, nLen), 1);
    EXPECT_EQ(lpszText, nullptr);
    EXPECT_EQ(ConvertMySQLVarchar(arOdd + 1, 1, lpszText, nLen), 0);
    EXPECT_EQ(ConvertMySQLVarchar(arOdd + 2, 10, lpszText, nLen), 0);
}

TEST(CommonDataDefTextTest, SearchAndReplacementAgreeWithTheLibrary) {
    std::mt19937 stRandom(4);
    const auto Random = [&](std::size_t nMax) {
        std::string strText(stRandom() % nMax, 0);
        for (char& c : strText)
            c = "ab\0"[stRandom() % 3];
        return strText;
    };
    for (int i = 0; i < 3000; ++i) {
        const std::string strFrom = Random(4), strTo = Random(4);
        std::string strText = Random(20);
        const ExactText stText(strText), stFrom(strFrom), stTo(strTo);
        const auto Replace = [&](char* lpszOut, std::size_t nSize) {
            return KestroCharReplace(stText.Data(), stText.Size(), stFrom.Data(), stFrom.Size(), stTo.Data(),
                                     stTo.Size(), lpszOut, static_cast<int>(nSize));
        };
        std::size_t n = strText.find(strFrom);
        EXPECT_EQ(SubStringFind(stText.Data(), stText.Size(), stFrom.Data(), stFrom.Size()), static_cast<int>(n));
        for (; !strFrom.empty() && n != std::string::npos; n = strText.find(strFrom, n + strTo.size()))
            strText.replace(n, strFrom.size(), strTo);
        const ExactText stOut(strText + '?');
        EXPECT_EQ(Replace(nullptr, 0), static_cast<int>(strText.size()));
        EXPECT_EQ(Replace(stOut.Data(), strText.size()), -1);
        EXPECT_EQ(Replace(stOut.Data(), strText.size() + 1), static_cast<int>(strText.size()));
        EXPECT_EQ(stOut.View(), strText + '\0');
    }
    const std::string strLong(1 << 17, 'a');
    EXPECT_EQ(KestroCharReplace(strLong.data(), 1 << 17, "a", 1, strLong.data(), 1 << 17, nullptr, 0), -1);
    EXPECT_EQ(SubStringMatch("\xE4\xB8\xAD-b", 5, "b", 1), 2);
    EXPECT_EQ(SubStringMatch("ab", 2, "c", 1), -1);
}

// Text and escape ("none" for a missing one); result with the bytes 1 and 2 for the wildcards, and the percent flag.
TEST(CommonDataDefTextTest, LikePatterns) {
    CheckRows({"a%b_|none=>a\1b\2|1", "a\\%b\\_|none=>a%b_|0", "\\\\%|none=>\\\1|1", "\\a\\|none=>\\a\\|0",
               "a!%!_%|!=>a%_\1|1", "a\\%|!=>a\\\1|1", "!!_!|!=>!\2!|0", "a\\%|=>a\\\1|1", "x<><>y<>%<|<>=>x<>y%<|0",
               "%%_|%=>%\2|0", "|none=>|0"},
              [](const auto& arText) {
                  const std::string strEscape(arText[1].View());
                  BYTE bPercent = 9;
                  const int nLen = StrPretreatment(arText[0].Data(), arText[0].Size(),
                                                   strEscape == "none" ? nullptr : strEscape.c_str(), bPercent);
                  EXPECT_TRUE(nLen == arText[0].Size() || arText[0].Data()[nLen] == 0);
                  return std::string(arText[0].Data(), static_cast<std::size_t>(nLen)) + "|" + std::to_string(bPercent);
              });
}

TEST(CommonDataDefTextTest, JsonStrings) {
    const auto Check = [](std::string_view szRow) {
        return CheckJsonString(ExactText(szRow).Data(), ExactText(szRow).Size());
    };
    for (const char* const lpszGood : {R"("")", R"("\"\\\/\b\f\n\r\t\u00Af")", "\"\xE4\xB8\xAD a\""})
        EXPECT_TRUE(Check(lpszGood)) << lpszGood;
    for (const char* const lpszBad : {"", "\"", "a", R"("a)", R"(a")", R"("a"b")", R"("\")", R"("\x")", R"("\u12")",
                                      R"("\u123")", R"("\u123g")", "\"a\tb\""})
        EXPECT_FALSE(Check(lpszBad)) << lpszBad;
}

} // namespace
