// Language and stack size, with the program's place given by a process file system of our own, or from the store.

#include "LanguageSetting.h"

#include <cstdlib>
#include <ctime>
#include <tuple>

#include <gtest/gtest.h>

#include "ConfigHelper.h"
#include "Language.h"
#include "LinuxCommonAPI.h"
#include "Platform.h"
#include "ScratchDir.h"

namespace {

// The key file is the one beside the program; the store, which knows no defaults, may have read any.
TEST(LanguageSetting, FollowsKeyFileOrStoreAndZone) {
    const std::tuple<int, const char*, const char*, int, int> arRows[] = {
        {0, "[System]\nLanguage=1\nthreadstacksize=4\n", "UTC0", 1, 4},
        {0, "[System]\nLanguage=0\nthreadstacksize=0\n", "CST-8", 0, 1},
        {0, "[System]\nLanguage=5\nthreadstacksize=10\n", "CST-8", 5, 10},
        {0, "[System]\nLanguage=77\nthreadstacksize=11\n", "CST-8", 1, 10},
        {0, "[System]\nthreadstacksize=-2147483648\n", "CST-8", 1, 1},
        {0, "", "PST8", 0, 1},
        {0, "", "AWST-8:30", 0, 1},
        {0, "[System]\nLanguage=\n", "CST-8", 0, 1},
        {1, "[System]\nLanguage=1\nthreadstacksize=4\n", "CST-8", 1, 4},
        {1, "[System]\nLanguage=77\n", "CST-8", 1, 1},
        {1, "[System]\n[Config]\nLanguage=1\n", "CST-8", 0, 1},
        {1, "", "CST-8", 0, 1},
    };
    const ScratchDir stScratch;
    std::filesystem::create_directories(stScratch.Path("self"));
    std::filesystem::create_symlink(stScratch.Path("program"), stScratch.Path("self/exe"));
    const PLATFORM stPlatform = g_stPlatform;
    const std::string strProc = stScratch.Path(), strFile = stScratch.Path("KestroConfig.ini");
    g_stPlatform.m_lpszProcPath = strProc.c_str();
    for (const auto& [nFromStore, lpszText, lpszZone, nLanguage, nStackMB] : arRows) {
        WriteFile(strFile, lpszText);
        EXPECT_TRUE(!nFromStore || KestroConfigInit(strFile.c_str()));
        setenv("TZ", lpszZone, 1);
        InitLanguageSetting(nFromStore);
        EXPECT_EQ(g_nLanguage_Chinese, nLanguage) << lpszText << lpszZone;
        EXPECT_EQ(g_nThreadStackSize, nStackMB << 20) << lpszText;
    }
    KestroConfigClose();
    g_stPlatform = stPlatform;
    unsetenv("TZ");
    tzset();
    g_nLanguage_Chinese = 0;
    g_nThreadStackSize = 1 << 20;
}

} // namespace
