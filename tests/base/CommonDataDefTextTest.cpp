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
    const auto Check = [](auto nValue) {
        const ExactText stText(std::string(KESTRO_INTEGER_SIZE, '?'));
        const std::string strWanted = std::to_string(nValue);
        EXPECT_EQ(KestroConvert(nValue, stText.Data()), static_cast<int>(strWanted.size()));
        EXPECT_EQ(stText.Data(), strWanted);
    };
    Check(short{SHRT_MIN});
    Check(INT_MIN);
    Check(LLONG_MIN);
    Check(ULLONG_MAX);
    for (const long long ll : {0LL, 9LL, 10LL, -999LL, 1000LL, LLONG_MAX, LLONG_MIN})
        EXPECT_EQ(GetIntegerFigure(ll), static_cast<int>(std::to_string(ll).size()) - (ll < 0));
    EXPECT_EQ(GetStringFigure("-123.45", 7), 3);
    EXPECT_EQ(GetStringFigure("123", 2), 2);
    EXPECT_EQ(GetStringFigure("abc", 3), 0);
}

TEST(CommonDataDefTextTest, BitsAsText) {
    for (const char* lpszRow : {"0|0|2|1|0", "5|0|4|3|101", "5|6|7|6|000101", "5|6|6|-1|", "1|-9|2|1|1"}) {
        const auto arField = Fields(lpszRow);
        const ExactText stText(std::string(std::stoul(arField[2]), '?'));
        EXPECT_EQ(ConvertBitToString(std::stoull(arField[0]), std::stoi(arField[1]), stText.Data(), stText.Size()),
                  std::stoi(arField[3]));
        EXPECT_EQ(stText.Data(), arField[4]);
    }
    char szAll[65];
    EXPECT_EQ(ConvertBitToString(~0ULL, 99, szAll, 65), 64);
    EXPECT_EQ(szAll, std::string(64, '1'));
}

TEST(CommonDataDefTextTest, LengthPrefixedTextsAndAllTheirTruncations) {
    const char* lpszText;
    int nLen;
    for (const std::size_t nWidth : {0, 2, 3, 8})
        for (const std::size_t nText : {0, 5, 250}) {
            const BYTE arMark[] = {0, 0, 252, 253, 0, 0, 0, 0, 254};
            std::string strWhole(1 + nWidth, 0);
            strWhole[0] = static_cast<char>(nWidth == 0 ? nText : arMark[nWidth]);
            if (nWidth != 0) strWhole[1] = static_cast<char>(nText);
            strWhole.resize(1 + nWidth + nText, 'x');
            for (std::size_t nCut = 0; nCut <= strWhole.size(); ++nCut) {
                const ExactBytes<BYTE> stData({reinterpret_cast<const BYTE*>(strWhole.data()), nCut});
                const int nTaken = ConvertMySQLVarchar(stData.Data(), stData.Size(), lpszText, nLen);
                EXPECT_EQ(nTaken, nCut == strWhole.size() ? stData.Size() : 0);
                EXPECT_EQ(nLen, nTaken == 0 ? 0 : static_cast<int>(nText));
            }
        }
    const BYTE arOdd[] = {251, 255, 254, 255, 255, 255, 255, 255, 255, 255, 255, 'x'};
    EXPECT_EQ(ConvertMySQLVarchar(arOdd, 2, lpszText, nLen), 1);
    EXPECT_EQ(lpszText, nullptr);
    EXPECT_EQ(ConvertMySQLVarchar(arOdd + 1, 1, lpszText, nLen), 0);
    EXPECT_EQ(ConvertMySQLVarchar(arOdd + 2, 10, lpszText, nLen), 0);
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
        return ExactText(strText);
    };
    for (int i = 0; i < 3000; ++i) {
        const ExactText stText = Random(20), stFrom = Random(3), stTo = Random(3);
        const std::string strWanted =
            PlainReplace(std::string(stText.View()), std::string(stFrom.View()), std::string(stTo.View()));
        const int nLen = static_cast<int>(strWanted.size());
        const auto Replace = [&](char* lpszOut, int nSize) {
            return KestroCharReplace(stText.Data(), stText.Size(), stFrom.Data(), stFrom.Size(), stTo.Data(),
                                     stTo.Size(), lpszOut, nSize);
        };
        const ExactText stOut(strWanted + '?');
        EXPECT_EQ(SubStringFind(stText.Data(), stText.Size(), stFrom.Data(), stFrom.Size()),
                  static_cast<int>(stText.View().find(stFrom.View())));
        EXPECT_EQ(Replace(nullptr, 0), nLen);
        EXPECT_EQ(Replace(stOut.Data(), nLen), -1);
        EXPECT_EQ(Replace(stOut.Data(), nLen + 1), nLen);
        EXPECT_EQ(stOut.View(), strWanted + '\0');
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
    const auto Check = [](const char* lpszText) {
        const ExactText stText(lpszText);
        return CheckJsonString(stText.Data(), stText.Size());
    };
    for (const char* lpsz : {R"("")", R"("a b")", R"("\"\\\/\b\f\n\r\t\u00Af")", "\"\xE4\xB8\xAD\""})
        EXPECT_TRUE(Check(lpsz)) << lpsz;
    for (const char* lpsz : {"", "\"", "a", R"("a)", R"(a")", R"("a"b")", R"("\")", R"("\x")", R"("\u12")",
                             R"("\u123")", R"("\u123g")", "\"a\tb\""})
        EXPECT_FALSE(Check(lpsz)) << lpsz;
}

} // namespace
