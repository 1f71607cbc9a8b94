// Segments and the store's area, under a key of the test's own.

#include "ShareMemory.h"

#include <gtest/gtest.h>
#include <sys/shm.h>

#include <cstring>
#include <random>
#include <string>

#include "ConfigHelper.h"
#include "Platform.h"
#include "ScratchDir.h"

namespace {

key_t g_nKey;
/** Lends the area's key to a segment of the test, whose key nobody has; it goes at the end. */
class ShareMemory : public testing::Test {
protected:
    ShareMemory() {
        std::random_device stRandom;
        do
            g_nKey = static_cast<key_t>(stRandom() | 1);
        while (shmget(g_nKey, 0, 0) >= 0);
        g_stPlatform.m_lpfnShmGet = [](key_t, std::size_t nSize, int nFlags) { return shmget(g_nKey, nSize, nFlags); };
    }
    ~ShareMemory() override {
        shmctl(shmget(g_nKey, 0, 0), IPC_RMID, nullptr);
        g_stPlatform = m_stPlatform;
    }

private:
    PLATFORM m_stPlatform = g_stPlatform;
};

// Refused, or not to be attached: a store answers without its area.
TEST_F(ShareMemory, IsNotNeeded) {
    for (const int nID : {-1, 0x7FFFFFFF}) {
        g_nKey = nID;
        g_stPlatform.m_lpfnShmGet = [](key_t, std::size_t, int) { return g_nKey; };
        ConfigHelper stStore;
        EXPECT_EQ(stStore.InitSharedMemory(), nID > 0);
        EXPECT_FALSE(stStore.AddItemToSharedadd("S", "k", "v", 1) || stStore.updateFromShared(2));
        EXPECT_TRUE(stStore.setValueString("S", "k", "5"));
        EXPECT_EQ(stStore.getValueInt("S", "k", 0), 5);
        EXPECT_EQ(stStore.DestoryMemory(), nID > 0);
    }
}

TEST_F(ShareMemory, CarriesEntriesBetweenStores) {
    ConfigHelper stStore, stOther;
    if (!stStore.InitSharedMemory() || !stOther.InitSharedMemory()) GTEST_SKIP() << "no shared memory here";
    const std::string strName(49, 's'), strValue(99, '0');
    EXPECT_TRUE(stOther.AddItemToSharedadd("S", "k", "1", 1));
    EXPECT_TRUE(stOther.AddItemToSharedadd(strName.c_str(), strName.c_str(), strValue.c_str(), 1));
    EXPECT_TRUE(stOther.AddItemToSharedadd("S", "k", "2", 1));
    EXPECT_FALSE(stOther.AddItemToSharedadd((strName + "s").c_str(), "k", "1", 1));
    EXPECT_FALSE(stOther.AddItemToSharedadd("S", "k", (strValue + "1").c_str(), 1));
    EXPECT_FALSE(stStore.updateFromShared(1));
    EXPECT_TRUE(stStore.updateFromShared(2));
    EXPECT_EQ(stStore.getValueInt("S", "k", 0), 2);
    char szValue[101];
    EXPECT_EQ(stStore.getValueString(strName.c_str(), strName.c_str(), "", szValue, 100), 0);
    EXPECT_EQ(szValue, strValue);
    // Eighty wait, no more; a writer of the other side begins anew once they were taken, and so does whoever starts.
    for (int i = 0; i < 81; ++i)
        EXPECT_EQ(stStore.AddItemToSharedadd("S", "k", "3", 3), i < 80);
    ConfigHelper stNext;
    EXPECT_TRUE(stNext.InitSharedMemory());
    EXPECT_TRUE(stNext.AddItemToSharedadd("S", "a", "4", 4) && stNext.AddItemToSharedadd("S", "b", "5", 5));
    EXPECT_TRUE(stStore.updateFromShared(4));
    EXPECT_EQ(stStore.getValueInt("S", "k", 0) * 100 + stStore.getValueInt("S", "a", 0) * 10 +
                  stStore.getValueInt("S", "b", 0),
              205);
}

// Whatever another process leaves there: texts end with their fields, and none reaches into another line.
TEST_F(ShareMemory, BearsAnyBytes) {
    const ScratchDir stScratch;
    const std::string strFile = stScratch.Path("a.ini");
    ConfigHelper stStore;
    if (!stStore.InitSharedMemory()) GTEST_SKIP() << "no shared memory here";
    void* lpArea = CShareMemory::ShMemAttach(CShareMemory::OpenShareMemory(0, nullptr), nullptr, 0);
    char* lpBytes = static_cast<char*>(lpArea);
    std::mt19937 stRandom(11);
    for (const int nCount : {1, 10, 80, 81, -1, -2147483647, 2147483647, 2}) {
        for (int n = 5; n < 2005; ++n)
            lpBytes[n] = "Sk=[]#\n\r \xFF"[stRandom() % (nCount % 2 ? 11 : 2)];
        if (nCount == 2) std::memset(lpBytes, 'x', 305);
        if (nCount == 2) std::memcpy(lpBytes + 305, "1\n[evil]", 9);
        std::memcpy(lpBytes, &nCount, sizeof(nCount));
        lpBytes[4] = 1;
        std::filesystem::remove(strFile);
        stStore.setPath(strFile.c_str());
        (void)stStore.AddItemToSharedadd("S", "k", "v", 1);
        lpBytes[0] = static_cast<char>(nCount);
        EXPECT_TRUE(stStore.updateFromShared(2));
    }
    EXPECT_TRUE(CShareMemory::ShMemDetach(lpArea));
    EXPECT_EQ(ReadFile(strFile).substr(0, 52), "[" + std::string(50, 'x') + "]");
    EXPECT_EQ(ReadFile(strFile).find("evil"), std::string::npos);
}

} // namespace
