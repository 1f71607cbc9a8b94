#include "SetupLine.h"

#include <gtest/gtest.h>

#include <memory>

#include "Platform.h"

namespace {

using FILEPTR = std::unique_ptr<FILE, decltype([](FILE* lpFile) { std::fclose(lpFile); })>;

FILEPTR Input(const std::string& strBytes) {
    FILEPTR pFile(std::tmpfile());
    std::fwrite(strBytes.data(), 1, strBytes.size(), pFile.get());
    std::rewind(pFile.get());
    return pFile;
}

TEST(SetupLine, EndsALineWhereItEnds) {
    const std::string strFull(SETUP_LINE_SIZE - 1, 'a');
    const FILEPTR pFile =
        Input("one\n\n" + strFull + "\n" + strFull + "b\n" + std::string("cut\0here\n\0\r\nlast", 16));
    CSetupLine stInput(pFile.get());
    for (const char* lpszLine : {"one", "", strFull.c_str(), strFull.c_str(), "b", "cut", "", "last", ""})
        EXPECT_STREQ(stInput.Read(), lpszLine);
}

TEST(SetupLine, KeepsOnlyWhatFitsOfAPassword) {
    const std::string strFits(SETUP_TEXT_SIZE - 1, 'p');
    const FILEPTR pFile = Input(strFits + "\n" + strFits + std::string(20'000, 'q') + "\nnext\n\n");
    CSetupLine stInput(pFile.get());
    SETUPTEXT szPassword;
    stInput.ReadPassword(szPassword);
    EXPECT_EQ(szPassword, strFits);
    stInput.ReadPassword(szPassword);
    EXPECT_EQ(szPassword, strFits);
    EXPECT_STREQ(stInput.Read(), "next") << "the rest of a long password answers no other prompt";
    stInput.ReadPassword(szPassword);
    EXPECT_STREQ(szPassword, "");
}

int g_nSeconds = 0;

TEST(SetupLine, WaitsBehindTheEndOfTheInput) {
    const PLATFORM stBefore = g_stPlatform;
    g_nSeconds = 0;
    g_stPlatform.m_lpfnSleep = [](std::int64_t nMicroseconds) { g_nSeconds += nMicroseconds == 1'000'000 ? 1 : 1000; };
    const FILEPTR pFile = Input("first\n");
    CSetupLine stInput(pFile.get());
    EXPECT_STREQ(stInput.Read(), "first");
    for (int i = 1; i <= 13; ++i) {
        EXPECT_STREQ(stInput.Read(), "");
        EXPECT_EQ(g_nSeconds, i <= 10 ? 0 : i - 10);
    }
    // Input that comes after all ends the waiting.
    ASSERT_EQ(pwrite(fileno(pFile.get()), "later\n", 6, 6), 6);
    EXPECT_STREQ(stInput.Read(), "later");
    g_nSeconds = 0;
    EXPECT_STREQ(stInput.Read(), "");
    EXPECT_EQ(g_nSeconds, 0);
    g_stPlatform = stBefore;
}

} // namespace
