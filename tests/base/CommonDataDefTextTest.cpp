#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <string>

#include "CommonDataDef.h"
#include "ExactBytes.h"
#include "Fields.h"

namespace {

TEST(CommonDataDefTextTest, FormsOfNumbers) {
    const struct {
        int m_nForm;
        const char* m_lpszTexts;
    } arRow[] = {{0, "|-|1 | 1|12a|0x|0xg|-0x1|.|1.2.3|1e|1e+|e3|.e3|1e3x|1.2e3.4"},
                 {1, "0|-12|+7|007"},
                 {2, "0x1F|0Xaf"},
                 {3, "1.5|-.5|5.|1e3|1E-03|1.5e+3"}};
    for (const auto& stRow : arRow)
        for (const std::string& strText : Fields(stRow.m_lpszTexts)) {
            const ExactText stText(strText);
            EXPECT_EQ(IsNumber(stText.Data(), stText.Size()), stRow.m_nForm) << strText;
            EXPECT_EQ(IsNumber(strText.c_str()), stRow.m_nForm);
        }
    EXPECT_EQ(IsNumber("12", -1), NUMBER_NONE);
}

TEST(CommonDataDefTextTest, ZerosAtTheEnd) {
    for (const char* lpszRow : {"1.500|0|1.5", "1.000|0|1", "100|0|100", "1.2.0|0|1.2.0", "1.2.0|1|1.2", "100|1|1",
                                "000|1|", ".0|0|", "|1|", "0.000000|1|0"}) {
        auto arField = Fields(lpszRow);
        const int nLen = TrimTailZero(arField[0].data(), arField[1] == "1");
        EXPECT_EQ(std::string(arField[0].c_str()), arField[2]) << lpszRow;
        EXPECT_EQ(nLen, static_cast<int>(arField[2].size()));
    }
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
    const auto Convert = [&](std::string_view szData) {
        const ExactText stData(szData);
        return ConvertMySQLVarchar(reinterpret_cast<const BYTE*>(stData.Data()), stData.Size(), lpszText, nLen);
    };
    const std::string arPrefix[] = {{5}, {-4, 5, 0}, {-3, 5, 0, 0}, {-2, 5, 0, 0, 0, 0, 0, 0, 0}};
    for (const std::string& strPrefix : arPrefix) {
        const std::string strWhole = strPrefix + "12345";
        for (std::size_t nCut = 0; nCut < strWhole.size(); ++nCut)
            EXPECT_EQ(Convert(strWhole.substr(0, nCut)), 0);
        EXPECT_EQ(Convert(strWhole), static_cast<int>(strWhole.size()));
        EXPECT_EQ(nLen, 5);
    }
    EXPECT_EQ(Convert("\xFB\xFF"), 1);
    EXPECT_EQ(lpszText, nullptr);
    EXPECT_EQ(Convert("\xFF"), 0);
    EXPECT_EQ(Convert("\xFE\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFFx"), 0);
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

// Text, escape ("none" for a missing one), result with 1 and 2 for the wildcard bytes' places, percent flag.
TEST(CommonDataDefTextTest, LikePatterns) {
    for (const char* lpszRow :
         {"a%b_|none|a\1b\2|1", "a\\%b\\_|none|a%b_|0", "\\\\%|none|\\\1|1", "\\a\\|none|\\a\\|0", "a!%!_%|!|a%_\1|1",
          "a\\%|!|a\\\1|1", "!!_!|!|!\2!|0", "a\\%||a\\\1|1", "x<>%<|<>|x%<|0", "%%_|%|%\2|0", "|none||0"}) {
        const auto arField = Fields(lpszRow);
        const ExactText stText(arField[0]);
        BYTE bPercent = 9;
        const int nLen = StrPretreatment(stText.Data(), stText.Size(),
                                         arField[1] == "none" ? nullptr : arField[1].c_str(), bPercent);
        EXPECT_EQ(stText.View().substr(0, static_cast<std::size_t>(nLen)), arField[2]) << lpszRow;
        EXPECT_EQ(bPercent, std::stoi(arField[3])) << lpszRow;
        EXPECT_TRUE(nLen == stText.Size() || stText.Data()[nLen] == 0);
    }
}

TEST(CommonDataDefTextTest, JsonStrings) {
    const std::string_view arRow[] = {R"("")",
                                      R"("\"\\\/\b\f\n\r\t\u00Af")",
                                      "\"\xE4\xB8\xAD a\"",
                                      "",
                                      "\"",
                                      "a",
                                      R"("a)",
                                      R"(a")",
                                      R"("a"b")",
                                      R"("\")",
                                      R"("\x")",
                                      R"("\u12")",
                                      R"("\u123")",
                                      R"("\u123g")",
                                      "\"a\tb\""};
    for (const std::string_view& szRow : arRow)
        EXPECT_EQ(CheckJsonString(ExactText(szRow).Data(), ExactText(szRow).Size()), &szRow - arRow < 3) << szRow;
}

} // namespace
