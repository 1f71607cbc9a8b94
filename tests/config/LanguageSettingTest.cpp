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

void Restore() {
    unsetenv("TZ");
    tzset();
    g_nLanguage_Chinese = 0;
    g_nThreadStackSize = 1 << 20;
}

TEST(LanguageSetting, FollowsKeyFileAndZone) {
    const std::tuple<const char*, const char*, int, int> arRows[] = {
        {"Language=1\nthreadstacksize=4\n", "UTC0", 1, 4},
        {"Language=0\nthreadstacksize=0\n", "CST-8", 0, 1},
        {"Language=5\nthreadstacksize=10\n", "CST-8", 5, 10},
        {"Language=77\nthreadstacksize=11\n", "CST-8", 1, 10},
        {"threadstacksize=-2147483648\n", "CST-8", 1, 1},
        {"", "PST8", 0, 1},
        {"", "AWST-8:30", 0, 1},
        {"Language=\n", "CST-8", 0, 1},
    };
    const ScratchDir stScratch;
    std::filesystem::create_directories(stScratch.Path("self"));
    std::filesystem::create_symlink(stScratch.Path("program"), stScratch.Path("self/exe"));
    const PLATFORM stPlatform = g_stPlatform;
    const std::string strProc = stScratch.Path();
    g_stPlatform.m_lpszProcPath = strProc.c_str();
    for (const auto& [lpszKeys, lpszZone, nLanguage, nStackMB] : arRows) {
        WriteFile(stScratch.Path("KestroConfig.ini"), std::string("[System]\n") + lpszKeys);
        setenv("TZ", lpszZone, 1);
        InitLanguageSetting(0);
        EXPECT_EQ(g_nLanguage_Chinese, nLanguage) << lpszKeys << lpszZone;
        EXPECT_EQ(g_nThreadStackSize, nStackMB << 20) << lpszKeys;
    }
    g_stPlatform = stPlatform;
    Restore();
}

TEST(LanguageSetting, FollowsTheStore) {
    const std::tuple<const char*, int, int> arRows[] = {
        {"[System]\nLanguage=1\nthreadstacksize=4\n", 1, 4},
        {"[System]\nLanguage=77\n", 1, 1},
        {"[System]\n[Config]\nLanguage=1\n", 0, 1},
        {"", 0, 1},
    };
    const ScratchDir stScratch;
    setenv("TZ", "CST-8", 1);
    for (const auto& [lpszText, nLanguage, nStackMB] : arRows) {
        WriteFile(stScratch.Path("store.ini"), lpszText);
        EXPECT_TRUE(KestroConfigInit(stScratch.Path("store.ini").c_str()));
        InitLanguageSetting(1);
        EXPECT_EQ(g_nLanguage_Chinese, nLanguage) << lpszText;
        EXPECT_EQ(g_nThreadStackSize, nStackMB << 20) << lpszText;
    }
    KestroConfigClose();
    Restore();
}

} // namespace
