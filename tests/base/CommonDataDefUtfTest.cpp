#include <climits>
#include <filesystem>
#include <random>
#include <string>

#include "ChunkFault.h"
#include "CommonDataDef.h"
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

// Bytes, code and bytes used.
TEST(CommonDataDefUtfTest, DecodesEveryFormAndOddBytes) {
    CheckRows(
        {"A=>65|1", "\xC3\xA4=>228|2", "\xE4\xB8\xAD=>20013|3", "\xF0\x9F\x98\x80=>128512|4",
         "\xF8\x88\x80\x80\x80=>2097152|5", "\xFD\xBF\xBF\xBF\xBF\xBF=>2147483647|6", "\x80=>128|1", "\xFE\x80=>254|1",
         "\xFF=>255|1", "\xC3-=>237|2", "\xE4\xB8=>228|1", "\xFD\xBF\xBF\xBF\xBF=>253|1", "=>0|0"},
        [](const auto& arText) {
            int nUsed;
            const UINT nCode = KestroGetUnicode(arText[0].Data(), arText[0].Size(), nUsed);
            EXPECT_EQ(KestroGetUnicode(std::string(arText[0].View()).c_str()), nCode);
            return std::to_string(nCode) + "|" + std::to_string(nUsed);
        });
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
