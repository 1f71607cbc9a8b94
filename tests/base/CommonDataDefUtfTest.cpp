#include <gtest/gtest.h>

#include <climits>
#include <filesystem>
#include <random>
#include <string>

#include "ChunkFault.h"
#include "CommonDataDef.h"
#include "ExactBytes.h"
#include "Fields.h"
#include "KestroBufferPool.h"

namespace {

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
        const std::wstring strWide(strUnits.begin(), strUnits.end());
        const ExactText stUtf(stPath.string());
        const ExactWide stWide(strWide);
        for (std::size_t nRoom = 0; nRoom <= stPath.string().size(); ++nRoom) {
            const ExactWide stOut(std::wstring(nRoom + 1, L'?'));
            std::size_t nFit = std::min(nRoom, strWide.size());
            if (nFit < strWide.size() && (strWide[nFit] & ~0x3FF) == 0xDC00) --nFit;
            ASSERT_EQ(KestroUTF82Unicode(stUtf.Data(), stUtf.Size(), stOut.Data(), stOut.Size()), int(nFit));
            ASSERT_EQ(stOut.Data(), strWide.substr(0, nFit));
            const ExactText stBack(std::string(nRoom + 1, '?'));
            for (nFit = nRoom; nFit < stUtf.View().size() && (stUtf.Data()[nFit] & 0xC0) == 0x80;)
                --nFit;
            ASSERT_EQ(KestroUnicode2UTF8(stWide.Data(), stWide.Size(), stBack.Data(), stBack.Size()), int(nFit));
            ASSERT_EQ(stBack.Data(), stUtf.View().substr(0, nFit));
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
    wchar_t arUnits[2];
    EXPECT_EQ(KestroCode2UTF16(0xC3A4, arUnits), 1);
    EXPECT_EQ(arUnits[0], 0xE4);
    EXPECT_EQ(KestroCode2UTF16(0xE4B8AD, arUnits), 1);
    EXPECT_EQ(arUnits[0], 0x4E2D);
    EXPECT_EQ(KestroCode2UTF16(0xF09F9880, arUnits), 2);
    EXPECT_TRUE(arUnits[0] == 0xD83D && arUnits[1] == 0xDE00);
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

TEST(CommonDataDefUtfTest, ConvertsIntoAPool) {
    CKestroBufferPool stPool;
    const ExactText stText("\xE4\xB8\xADxy");
    EXPECT_STREQ(KestroConvertWChar(stText.Data(), stText.Size(), &stPool), L"\u4E2Dxy");
    EXPECT_STREQ(KestroConvertWChar(nullptr, 0, &stPool), L"");
    EXPECT_EQ(KestroConvertWChar("\xFD\xBF\xBF\xBF\xBF\xBF", 6, &stPool), nullptr);
    EXPECT_EQ(KestroConvertWChar("", INT_MAX, &stPool), nullptr);
    const CChunkFault stFault(1);
    EXPECT_EQ(KestroConvertWChar("a", 1, &stPool), nullptr);
}

} // namespace
