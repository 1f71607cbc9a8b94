#include "SetupPaths.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(SetupPaths, FollowFromTheProgramsPlace) {
    ASSERT_TRUE(SetPaths("/opt/db/bin/kestrosetup"));
    EXPECT_EQ(std::string(g_lpWorkingPath) + g_lpBaseFilePath + g_lpDataFilePath + g_lpDatabasePath + g_lpConfigPath,
              "/opt/db/bin//opt/db//opt/db/Data//opt/db/Data/Kestro//opt/db/bin/KestroConfig.ini");
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
