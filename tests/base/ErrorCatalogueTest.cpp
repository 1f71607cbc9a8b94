#include "ErrorCatalogue.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include "KestroErrorCode.h"
#include "Language.h"
#include "LinuxCommonAPI.h"

namespace {

TEST(ErrorCatalogue, FindsEachCodeInItsOwnRowAndNoCodeInTheGaps) {
    int nRow = 0;
    for (int nError = -2; nError <= 10076; ++nError) {
        if (nRow < ERROR_ROW_NUM && g_pKestroErrorDef[nRow].nErrorNO == nError) {
            ASSERT_EQ(GetErrorDescription(nError), g_pKestroErrorDef[nRow].lpszDescription) << nError;
            ASSERT_EQ(GetErrorDescriptionE(nError), g_pKestroErrorDefE[nRow].lpszDescription) << nError;
            ++nRow;
        } else {
            ASSERT_STREQ(GetErrorDescription(nError), "未知错误码") << nError;
            ASSERT_STREQ(GetErrorDescriptionE(nError), "Unknown error!") << nError;
        }
    }
    EXPECT_EQ(nRow, ERROR_ROW_NUM);
    EXPECT_STREQ(GetErrorDescriptionE(INT_MIN), "Unknown error!");
    EXPECT_STREQ(GetErrorDescriptionE(INT_MAX), "Unknown error!");
}

TEST(ErrorCatalogue, ChineseTextsAreChineseInUtf8) {
    for (const auto& [nError, lpszText] : g_pKestroErrorDef) {
        char arWide[2 * ERROR_DESCRIPTION_SIZE];
        EXPECT_EQ(CodeConvert("UTF-8", "UTF-16LE", lpszText, std::strlen(lpszText), arWide, sizeof arWide), 0)
            << nError;
        EXPECT_EQ(CodeConvert("UTF-8", "ASCII", lpszText, std::strlen(lpszText), arWide, sizeof arWide), 1) << nError;
    }
}

// Codes and English texts are shared with the server as they are, odd spellings and stray blanks included: whoever
// mends one changes this FNV-1a sum over all of them.
TEST(ErrorCatalogue, EnglishTextsAreUntouched) {
    std::uint64_t nSum = 0xCBF29CE484222325;
    for (const auto& [nError, lpszText] : g_pKestroErrorDefE)
        for (const char ch : std::to_string(nError) + '\t' + lpszText + '\n')
            nSum = (nSum ^ static_cast<unsigned char>(ch)) * 0x100000001B3;
    EXPECT_EQ(nSum, 0x8702F4DCC5642892ULL);
}

TEST(ErrorCatalogue, TextFollowsTheLanguage) {
    const int nBefore = std::exchange(g_nLanguage_Chinese, 1);
    EXPECT_STREQ(GetErrorText(ERR_MEMORY), "分配内存失败");
    g_nLanguage_Chinese = 0;
    EXPECT_STREQ(GetErrorText(ERR_MEMORY), "Failed to allocate memory");
    g_nLanguage_Chinese = nBefore;
}

} // namespace
