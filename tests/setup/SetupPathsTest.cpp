#include "SetupPaths.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(SetupPaths, FollowFromTheProgramsPlace) {
    ASSERT_TRUE(SetPaths("/opt/db/bin/kestrosetup"));
    EXPECT_STREQ(g_lpWorkingPath, "/opt/db/bin/");
    EXPECT_STREQ(g_lpBaseFilePath, "/opt/db/");
    EXPECT_STREQ(g_lpDataFilePath, "/opt/db/Data/");
    EXPECT_STREQ(g_lpDatabasePath, "/opt/db/Data/Kestro/");
    EXPECT_STREQ(g_lpConfigPath, "/opt/db/bin/KestroConfig.ini");
    ASSERT_TRUE(SetPaths("/bin/kestrosetup"));
    EXPECT_STREQ(g_lpDatabasePath, "/Data/Kestro/");
    for (const char* lpszBad : {"", "kestrosetup", "/kestrosetup", "bin/kestrosetup"})
        EXPECT_FALSE(SetPaths(lpszBad)) << lpszBad;
    // The longest of them, the configuration's, holds 259 bytes in front of its end.
    const std::string strProgram = "/" + std::string(MAX_PATH - sizeof("//KestroConfig.ini"), 'd') + "/k";
    EXPECT_TRUE(SetPaths(strProgram.c_str()));
    EXPECT_FALSE(SetPaths(("/d" + strProgram.substr(1)).c_str()));
}

} // namespace
