#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string>

#include "CommonDataDef.h"
#include "ExactBytes.h"
#include "Fields.h"

namespace {

UINT ElementOf(char c) {
    return static_cast<BYTE>(c);
}
UINT ElementOf(wchar_t c) {
    return static_cast<UINT>(c);
}

/** The first `nLen` elements, or fewer so that no character is cut: an element in `nLow` to `nLow` + `nCount` follows.
 */
template <typename T>
std::basic_string<T> WholePart(const std::basic_string<T>& strText, std::size_t nLen, UINT nLow, UINT nCount) {
    while (nLen < strText.size() && nLen > 0 && ElementOf(strText[nLen]) - nLow < nCount)
        --nLen;
    return strText.substr(0, nLen);
}

// The standard library's conversions are the peer. Every size of the destination as well.
TEST(CommonDataDefUtfTest, AgreesWithTheLibraryAndCutsAtCharacters) {
    std::mt19937 stRandom(3);
    std::u32string strCodes;
    while (strCodes.size() < 60) {
        const char32_t arLimit[] = {0x80, 0x80, 0x80, 0x800, 0x10000, 0x110000};
        const char32_t nCode = 1 + stRandom() % (arLimit[strCodes.size() % 6] - 1);
        if (nCode >= 0xD800 && nCode < 0xE000) continue;
        strCodes += nCode;
        const std::filesystem::path stPath(strCodes);
        const std::u16string strUnits = stPath.u16string();
        const ExactText stUtf(stPath.string());
        const ExactWide stWide(std::wstring(strUnits.begin(), strUnits.end()));
        for (int nSize = 1; nSize <= stUtf.Size() + 1; ++nSize) {
            const std::size_t nRoom = static_cast<std::size_t>(nSize) - 1;
            const ExactWide stOut(std::wstring(nRoom + 1, L'?'));
            const std::wstring strFit = WholePart(std::wstring(stWide.View()), nRoom, 0xDC00, 0x400);
            ASSERT_EQ(KestroUTF82Unicode(stUtf.Data(), stUtf.Size(), stOut.Data(), nSize),
                      static_cast<int>(strFit.size()));
            ASSERT_EQ(stOut.Data(), strFit);
            const ExactText stBack(std::string(nRoom + 1, '?'));
            const std::string strBack = WholePart(std::string(stUtf.View()), nRoom, 0x80, 0x40);
            ASSERT_EQ(KestroUnicode2UTF8(stWide.Data(), stWide.Size(), stBack.Data(), nSize),
                      static_cast<int>(strBack.size()));
            ASSERT_EQ(stBack.Data(), strBack);
        }
    }
}

// Bytes, code, bytes used.
TEST(CommonDataDefUtfTest, DecodesEveryFormAndOddBytes) {
    for (const char* lpszRow :
         {"A|41|1", "\xC3\xA4|E4|2", "\xE4\xB8\xAD|4E2D|3", "\xF0\x9F\x98\x80|1F600|4", "\xF8\x88\x80\x80\x80|200000|5",
          "\xFD\xBF\xBF\xBF\xBF\xBF|7FFFFFFF|6", "\x80|80|1", "\xFE\x80|FE|1", "\xFF|FF|1", "\xC3-|ED|2",
          "\xE4\xB8|E4|1", "\xFD\xBF\xBF\xBF\xBF|FD|1", "|0|0"}) {
        const auto arField = Fields(lpszRow);
        const ExactText stText(arField[0]);
        const UINT nCode = static_cast<UINT>(std::stoul(arField[1], nullptr, 16));
        int nUsed;
        EXPECT_EQ(KestroGetUnicode(stText.Data(), stText.Size(), nUsed), nCode) << lpszRow;
        EXPECT_EQ(nUsed, std::stoi(arField[2])) << lpszRow;
        EXPECT_EQ(KestroGetUnicode(arField[0].c_str()), nCode);
    }
}

TEST(CommonDataDefUtfTest, PackedSequences) {
    const UINT arRow[][4] = {{'A', 1, 'A', 0},
                             {0xC3A4, 1, 0xE4, 0},
                             {0xE4B8AD, 1, 0x4E2D, 0},
                             {0xF09F9880, 2, 0xD83D, 0xDE00},
                             {0, 1, 0, 0}};
    for (const auto& stRow : arRow) {
        wchar_t arUnits[2] = {};
        EXPECT_EQ(KestroCode2UTF16(stRow[0], arUnits), static_cast<int>(stRow[1]));
        EXPECT_TRUE(static_cast<UINT>(arUnits[0]) == stRow[2] && static_cast<UINT>(arUnits[1]) == stRow[3]);
    }
    for (const UINT nBad : {0x80u, 0xFFu, 0xC341u, 0xE4B8u, 0x4100u, 0xF4908080u, 0xF8888080u})
        EXPECT_EQ(KestroCode2UTF16(nBad, nullptr), -1);
    EXPECT_EQ(KestroCode2UTF8(0x110000, nullptr), -1);
}

TEST(CommonDataDefUtfTest, RefusesWhatUtf16CantHold) {
    wchar_t szWide[9];
    char szText[9];
    EXPECT_EQ(KestroUTF82Unicode("ab\xF8\x88\x80\x80\x80", 7, szWide, 9), -1);
    EXPECT_STREQ(szWide, L"ab");
    const wchar_t arBad[] = {L'a', 0x110000, L'b'};
    EXPECT_EQ(KestroUnicode2UTF8(arBad, 3, szText, 9), -1);
    EXPECT_STREQ(szText, "a");
    const wchar_t arLone[] = {0x1F600, 0xD83D, L'x', 0, L'y'};
    EXPECT_EQ(KestroUnicode2UTF8(arLone, 5, szText, 9), 8);
    EXPECT_STREQ(szText, "\xF0\x9F\x98\x80\xED\xA0\xBDx");
    EXPECT_EQ(KestroUTF82Unicode("a\0b", 3, szWide, 9), 1);
    EXPECT_EQ(KestroUTF82Unicode("a", -1, szWide, 9), 0);
    EXPECT_EQ(KestroUTF82Unicode("a", 1, szWide, 0), -1);
}

} // namespace
