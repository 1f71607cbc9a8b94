#include <gtest/gtest.h>
#include <iconv.h>

#include <random>
#include <string>

#include "CommonDataDef.h"
#include "ExactBytes.h"

namespace {

/** The C library's conversion of code points, given as UTF-32, to a code page, as raw bytes. */
std::string Encode(const char* lpszCodePage, std::u32string strCodes) {
    std::string strOut(strCodes.size() * 4, 0);
    char* lpIn = reinterpret_cast<char*>(strCodes.data());
    char* lpOut = strOut.data();
    std::size_t nIn = strCodes.size() * 4, nOut = strOut.size();
    iconv_t stConverter = iconv_open(lpszCodePage, "UTF-32LE");
    EXPECT_EQ(iconv(stConverter, &lpIn, &nIn, &lpOut, &nOut), 0u);
    iconv_close(stConverter);
    strOut.resize(strOut.size() - nOut);
    return strOut;
}

std::wstring Units(const std::u32string& strCodes) {
    const std::string strBytes = Encode("UTF-16LE", strCodes);
    std::wstring strUnits;
    for (std::size_t i = 0; i < strBytes.size(); i += 2)
        strUnits += static_cast<wchar_t>(static_cast<BYTE>(strBytes[i]) | static_cast<BYTE>(strBytes[i + 1]) << 8);
    return strUnits;
}

std::u32string RandomCodes(std::mt19937& stRandom, std::size_t nLen) {
    std::u32string strCodes;
    while (strCodes.size() < nLen) {
        const char32_t arLimit[] = {0x80, 0x80, 0x80, 0x800, 0x10000, 0x110000};
        const char32_t nCode = stRandom() % arLimit[stRandom() % 6];
        if (nCode != 0 && (nCode < 0xD800 || nCode >= 0xE000)) strCodes += nCode;
    }
    return strCodes;
}

// Every size of the destination as well: what comes out is then the longest run of whole characters that fits.
TEST(CommonDataDefUtfTest, AgreesWithIconvAndCutsAtCharacters) {
    std::mt19937 stRandom(3);
    for (std::size_t nCodes = 0; nCodes < 60; ++nCodes) {
        const std::u32string strCodes = RandomCodes(stRandom, nCodes);
        const ExactText stUtf(Encode("UTF-8", strCodes));
        const ExactWide stWide(Units(strCodes));
        for (int nSize = 1, nFit = 0; nSize <= stUtf.Size() + 1; ++nSize) {
            ExactWide stOut(std::wstring(static_cast<std::size_t>(nSize), L'?'));
            const int nUnits = KestroUTF82Unicode(stUtf.Data(), stUtf.Size(), stOut.Data(), nSize);
            nFit = std::min(nSize - 1, stWide.Size());
            if (nFit < stWide.Size() && nFit > 0 && (stWide.Data()[nFit] & ~0x3FF) == 0xDC00) --nFit;
            ASSERT_EQ(std::wstring(stOut.Data(), stOut.Data() + nUnits + 1),
                      std::wstring(stWide.View().substr(0, static_cast<std::size_t>(nFit))) + L'\0');
            ExactText stBack(std::string(static_cast<std::size_t>(nSize), '?'));
            const int nBytes = KestroUnicode2UTF8(stWide.Data(), stWide.Size(), stBack.Data(), nSize);
            nFit = std::min(nSize - 1, stUtf.Size());
            while (nFit < stUtf.Size() && nFit > 0 && (stUtf.Data()[nFit] & 0xC0) == 0x80)
                --nFit;
            ASSERT_EQ(std::string(stBack.Data(), stBack.Data() + nBytes + 1),
                      std::string(stUtf.View().substr(0, static_cast<std::size_t>(nFit))) + '\0');
        }
    }
}

TEST(CommonDataDefUtfTest, DecodesEveryFormAndOddBytes) {
    const struct {
        const char* m_lpszText;
        UINT m_nCode;
        int m_nUsed;
    } arRow[] = {{"A", 'A', 1},
                 {"\xC3\xA4", 0xE4, 2},
                 {"\xE4\xB8\xAD", 0x4E2D, 3},
                 {"\xF0\x9F\x98\x80", 0x1F600, 4},
                 {"\xF8\x88\x80\x80\x80", 0x200000, 5},
                 {"\xFD\xBF\xBF\xBF\xBF\xBF", 0x7FFFFFFF, 6},
                 {"\x80", 0x80, 1},
                 {"\xFE\x80", 0xFE, 1},
                 {"\xFF", 0xFF, 1},
                 {"\xC3"
                  "A",
                  0xC1, 2},
                 {"\xE4\xB8", 0xE4, 1},
                 {"\xFD\xBF\xBF\xBF\xBF", 0xFD, 1},
                 {"", 0, 0}};
    for (const auto& stRow : arRow) {
        const ExactText stText(stRow.m_lpszText);
        int nUsed;
        EXPECT_EQ(KestroGetUnicode(stText.Data(), stText.Size(), nUsed), stRow.m_nCode) << stRow.m_lpszText;
        EXPECT_EQ(nUsed, stRow.m_nUsed) << stRow.m_lpszText;
        EXPECT_EQ(KestroGetUnicode(stRow.m_lpszText), stRow.m_nCode);
    }
}

TEST(CommonDataDefUtfTest, PackedSequences) {
    const struct {
        UINT m_nSequence;
        std::wstring m_strUnits;
    } arRow[] = {{'A', L"A"},   {0xC3A4, L"\u00E4"}, {0xE4B8AD, L"\u4E2D"}, {0xF09F9880, {0xD83D, 0xDE00}},
                 {0x80, L""},   {0xFF, L""},         {0xC341, L""},         {0xE4B8, L""},
                 {0x4100, L""}, {0xF4908080, L""},   {0xF8888080, L""},     {0, std::wstring(1, 0)}};
    for (const auto& stRow : arRow) {
        wchar_t arUnits[2];
        const int nUnits = KestroCode2UTF16(stRow.m_nSequence, arUnits);
        EXPECT_EQ(nUnits, stRow.m_strUnits.empty() ? -1 : static_cast<int>(stRow.m_strUnits.size()));
        EXPECT_EQ(std::wstring(arUnits, arUnits + std::max(nUnits, 0)), stRow.m_strUnits);
    }
    char arBytes[4];
    EXPECT_EQ(KestroCode2UTF8(0x10FFFF, arBytes), 4);
    EXPECT_EQ(KestroCode2UTF8(0x110000, arBytes), -1);
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
