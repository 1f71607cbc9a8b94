#include "ErrorCatalogue.h"

#include <gtest/gtest.h>
#include <iconv.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <string>

#include "KestroErrorCode.h"
#include "Language.h"

namespace {

// First and last code of each run of codes without a gap.
constexpr int g_pRuns[][2] = {
    {0, 127},       {130, 133},     {140, 140},    {150, 156},   {200, 203},   {300, 340},   {345, 346},
    {350, 351},     {360, 363},     {380, 380},    {500, 524},   {526, 526},   {529, 542},   {545, 546},
    {551, 574},     {580, 583},     {585, 585},    {590, 595},   {607, 616},   {650, 657},   {660, 664},
    {670, 671},     {700, 702},     {710, 710},    {800, 801},   {804, 845},   {870, 872},   {874, 874},
    {900, 912},     {1000, 1010},   {1016, 1038},  {1040, 1041}, {1050, 1080}, {1085, 1096}, {1100, 1105},
    {1110, 1112},   {1150, 1164},   {1170, 1172},  {1200, 1203}, {1300, 1300}, {1305, 1310}, {1313, 1313},
    {1315, 1315},   {1500, 1506},   {1508, 1551},  {1555, 1558}, {1560, 1565}, {1610, 1610}, {1612, 1612},
    {1700, 1703},   {1800, 1802},   {2500, 2501},  {2600, 2602}, {3000, 3009}, {3500, 3503}, {3550, 3550},
    {4000, 4002},   {4500, 4503},   {5000, 5028},  {5030, 5038}, {5100, 5102}, {5104, 5107}, {6000, 6002},
    {6500, 6501},   {8000, 8002},   {8010, 8014},  {8020, 8021}, {8030, 8030}, {8050, 8052}, {8054, 8055},
    {8100, 8102},   {8500, 8506},   {8510, 8526},  {8600, 8609}, {9000, 9037}, {9500, 9503}, {10001, 10045},
    {10050, 10054}, {10060, 10064}, {10070, 10074}};

bool HasRow(int nError) {
    for (const auto& pRun : g_pRuns)
        if (nError >= pRun[0] && nError <= pRun[1]) return true;
    return false;
}

bool IsUtf8(const char* lpszText) {
    char pWide[4 * ERROR_DESCRIPTION_SIZE];
    char* lpIn = const_cast<char*>(lpszText);
    char* lpOut = pWide;
    size_t nIn = std::strlen(lpszText);
    size_t nOut = sizeof(pWide);
    const iconv_t hCode = iconv_open("UTF-16LE", "UTF-8");
    const size_t nResult = iconv(hCode, &lpIn, &nIn, &lpOut, &nOut);
    iconv_close(hCode);
    return nResult == 0 && nIn == 0;
}

bool IsAscii(const char* lpszText) {
    while (*lpszText > 0)
        ++lpszText;
    return *lpszText == 0;
}

TEST(ErrorCatalogue, FindsEachCodeInItsOwnRowAndNoCodeInTheGaps) {
    int nRow = 0;
    for (int nError = -2; nError <= 10076; ++nError) {
        if (HasRow(nError)) {
            ASSERT_EQ(GetErrorDescription(nError), g_pKestroErrorDef[nRow].lpszDescription) << nError;
            ASSERT_EQ(GetErrorDescriptionE(nError), g_pKestroErrorDefE[nRow].lpszDescription) << nError;
            ++nRow;
        } else {
            ASSERT_STREQ(GetErrorDescription(nError), "未知错误码") << nError;
            ASSERT_STREQ(GetErrorDescriptionE(nError), "Unknown error!") << nError;
        }
    }
    EXPECT_EQ(nRow, ERROR_ROW_NUM);
    for (int nError : {INT_MIN, INT_MIN + 1, INT_MAX - 1, INT_MAX}) {
        EXPECT_STREQ(GetErrorDescription(nError), "未知错误码");
        EXPECT_STREQ(GetErrorDescriptionE(nError), "Unknown error!");
    }
}

TEST(ErrorCatalogue, ChineseTextsAreChineseInUtf8) {
    for (const KESTROERROR_DEF& stRow : g_pKestroErrorDef) {
        EXPECT_TRUE(IsUtf8(stRow.lpszDescription)) << stRow.nErrorNO;
        EXPECT_FALSE(IsAscii(stRow.lpszDescription)) << stRow.nErrorNO;
    }
}

// The English texts are shared with the server as they are, odd spellings and stray blanks included: whoever mends one
// changes this FNV-1a sum over all of them.
TEST(ErrorCatalogue, EnglishTextsAreUntouched) {
    std::uint64_t nSum = 0xCBF29CE484222325;
    for (const KESTROERROR_DEF& stRow : g_pKestroErrorDefE)
        for (const char ch : std::to_string(stRow.nErrorNO) + '\t' + stRow.lpszDescription + '\n')
            nSum = (nSum ^ static_cast<unsigned char>(ch)) * 0x100000001B3;
    EXPECT_EQ(nSum, 0x8702F4DCC5642892ULL);
}

TEST(ErrorCatalogue, TextFollowsTheLanguage) {
    const int nBefore = g_nLanguage_Chinese;
    g_nLanguage_Chinese = 1;
    EXPECT_STREQ(GetErrorText(ERR_MEMORY), "分配内存失败");
    g_nLanguage_Chinese = 0;
    EXPECT_STREQ(GetErrorText(ERR_MEMORY), "Failed to allocate memory");
    g_nLanguage_Chinese = nBefore;
}

} // namespace
