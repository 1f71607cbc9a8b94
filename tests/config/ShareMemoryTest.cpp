// Segments and the store's area, under keys of their own. Some of the system's answers are given by the test.

#include "ShareMemory.h"

#include <gtest/gtest.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "ConfigHelper.h"
#include "Platform.h"
#include "ScratchDir.h"

namespace {

constexpr int SMALL = 100;

/** A key that no segment has, in place of the area's; what was made under it goes at the end. */
class OwnArea : public testing::Test {
protected:
    void SetUp() override {
        m_stPlatform = g_stPlatform;
        std::random_device stRandom;
        int nID = -1;
        for (int i = 0; i < 100 && nID < 0; ++i) {
            s_nKey = static_cast<key_t>(stRandom() | 1);
            nID = shmget(s_nKey, SMALL, IPC_CREAT | IPC_EXCL | 0600);
            if (nID < 0 && errno != EEXIST) GTEST_SKIP() << "no shared memory here";
        }
        shmctl(nID, IPC_RMID, nullptr);
        g_stPlatform.m_lpfnShmGet = [](key_t, std::size_t nSize, int nFlags) { return shmget(s_nKey, nSize, nFlags); };
    }
    void TearDown() override {
        shmctl(shmget(s_nKey, 0, 0), IPC_RMID, nullptr);
        g_stPlatform = m_stPlatform;
    }

    static key_t s_nKey;

private:
    PLATFORM m_stPlatform;
};

key_t OwnArea::s_nKey;

/** The area as another process sees it. */
class Attached {
public:
    Attached() : m_lpArea(CShareMemory::ShMemAttach(CShareMemory::OpenShareMemory(0, nullptr), nullptr, 0)) {}
    ~Attached() { CShareMemory::ShMemDetach(m_lpArea); }
    Attached(const Attached&) = delete;
    Attached& operator=(const Attached&) = delete;
    char* Bytes() const { return static_cast<char*>(m_lpArea); }

private:
    void* m_lpArea;
};

std::string Value(ConfigHelper& stStore, const char* lpszSection, const char* lpszKey) {
    char szValue[201];
    return stStore.getValueString(lpszSection, lpszKey, nullptr, szValue, 200) == 0 ? szValue : "-";
}

/** Runs the body in a child; its status as `waitpid` gives it. */
int InChild(const std::function<bool()>& lpfnBody) {
    const pid_t nChild = fork();
    if (nChild == 0) _exit(lpfnBody() ? 0 : 1);
    int nStatus = -1;
    waitpid(nChild, &nStatus, 0);
    return nStatus;
}

// Answers of the system, one a call, in the order of the calls.
struct {
    std::vector<int> m_arIDs;
    std::vector<int> m_arRemovals;
    std::string m_strCalls;
} g_stScript;

int Next(std::vector<int>& arAnswers) {
    if (arAnswers.empty()) return -1;
    const int nAnswer = arAnswers.front();
    arAnswers.erase(arAnswers.begin());
    if (nAnswer < 0) errno = -nAnswer;
    return nAnswer < 0 ? -1 : nAnswer;
}

TEST(ShareMemory, SettlesWhatTheSystemAnswers) {
    const struct {
        std::vector<int> m_arIDs;
        std::vector<int> m_arRemovals;
        MFID m_nID;
        bool m_bExisted;
        const char* m_lpszCalls;
    } arRows[] = {
        {{7}, {}, 7, false, "new "},
        {{-EEXIST, 8}, {}, 8, true, "new old "},
        {{-EEXIST, -EINVAL}, {}, 0, true, "new old "},
        {{-ENOSYS}, {}, 0, false, "new "},
        {{0, 9}, {0}, 9, false, "new 1ms remove new "},
        {{-EEXIST, 0, 9}, {-EPERM, 0}, 9, false, "new old 1ms remove 100ms remove new "},
        {{-EEXIST, 0, -EEXIST, 0}, {-EPERM, -EPERM}, 0, true, "new old 1ms remove 100ms remove new old "},
    };
    const PLATFORM stPlatform = g_stPlatform;
    g_stPlatform.m_lpfnShmGet = [](key_t, std::size_t, int nFlags) {
        g_stScript.m_strCalls += nFlags == (IPC_CREAT | IPC_EXCL | 0666) ? "new " : "old ";
        return Next(g_stScript.m_arIDs);
    };
    g_stPlatform.m_lpfnShmRemove = [](int) {
        g_stScript.m_strCalls += "remove ";
        return Next(g_stScript.m_arRemovals);
    };
    g_stPlatform.m_lpfnSleep = [](std::int64_t n) { g_stScript.m_strCalls += std::to_string(n / 1000) + "ms "; };
    for (const auto& stRow : arRows) {
        g_stScript = {stRow.m_arIDs, stRow.m_arRemovals, ""};
        bool bExisted = !stRow.m_bExisted;
        EXPECT_EQ(CShareMemory::CreateShareMemory(1, SMALL, nullptr, bExisted), stRow.m_nID);
        EXPECT_EQ(bExisted, stRow.m_bExisted) << stRow.m_lpszCalls;
        EXPECT_EQ(g_stScript.m_strCalls, stRow.m_lpszCalls);
    }
    g_stScript = {{}, {-EPERM, 0}, ""};
    MFID nID = 5;
    EXPECT_TRUE(CShareMemory::DestoryShareMemory(nID));
    EXPECT_FALSE(CShareMemory::DestoryShareMemory(nID));
    EXPECT_EQ(g_stScript.m_strCalls, "remove 10ms remove ");
    g_stPlatform = stPlatform;
}

// Refused, and not to be attached: a store answers without its area.
TEST_F(OwnArea, IsMissedByNobody) {
    const ScratchDir stScratch;
    for (const auto& [nID, bMade] : {std::pair{-1, false}, std::pair{0x7FFFFFFF, true}}) {
        g_stScript = {{nID}, {}, ""};
        g_stPlatform.m_lpfnShmGet = [](key_t, std::size_t, int) { return Next(g_stScript.m_arIDs); };
        ConfigHelper stStore;
        EXPECT_EQ(stStore.InitSharedMemory(), bMade);
        EXPECT_FALSE(stStore.AddItemToSharedadd("S", "k", "v", 1));
        EXPECT_FALSE(stStore.updateFromShared(2));
        stStore.setPath(stScratch.Path("a.ini").c_str());
        EXPECT_TRUE(stStore.setValueString("S", "k", "v"));
        EXPECT_EQ(Value(stStore, "s", "K"), "v");
        EXPECT_EQ(stStore.DestoryMemory(), bMade);
    }
    EXPECT_EQ(ConfigHelper::getHandle(), nullptr);
}

TEST_F(OwnArea, CarriesEntriesBetweenProcesses) {
    ConfigHelper stStore;
    ASSERT_TRUE(stStore.InitSharedMemory());
    const std::string strLong(49, 's'), strValue(99, 'v'), strTooLong(100, 'x');
    EXPECT_EQ(InChild([&] {
                  ConfigHelper stOther;
                  return stOther.InitSharedMemory() && stOther.AddItemToSharedadd(strLong.c_str(), "k", "old", 1) &&
                         stOther.AddItemToSharedadd(strLong.c_str(), "k", strValue.c_str(), 1) &&
                         !stOther.AddItemToSharedadd(strTooLong.c_str() + 50, "k", "v", 1) &&
                         !stOther.AddItemToSharedadd("s", strTooLong.c_str() + 50, "v", 1) &&
                         !stOther.AddItemToSharedadd("s", "k", strTooLong.c_str(), 1);
              }),
              0);
    EXPECT_FALSE(stStore.updateFromShared(1));
    EXPECT_TRUE(stStore.updateFromShared(2));
    EXPECT_EQ(Value(stStore, strLong.c_str(), "k"), strValue);
    const Attached stArea;
    EXPECT_EQ(std::string(stArea.Bytes(), 5), std::string(5, '\0'));

    // Eighty wait, no more; a writer of the other side begins anew, and so does whoever starts.
    for (int i = 0; i < 80; ++i)
        ASSERT_TRUE(stStore.AddItemToSharedadd("S", ("k" + std::to_string(i)).c_str(), "1", 3));
    EXPECT_FALSE(stStore.AddItemToSharedadd("S", "k", "1", 3));
    EXPECT_EQ(std::string(stArea.Bytes(), 5), std::string("\x50\0\0\0\3", 5));
    EXPECT_STREQ(stArea.Bytes() + 55 + 200 * 79, "k79");
    ConfigHelper stNext;
    ASSERT_TRUE(stNext.InitSharedMemory());
    EXPECT_TRUE(stNext.AddItemToSharedadd("S", "a", "1", 4) && stNext.AddItemToSharedadd("S", "b", "1", 5));
    EXPECT_TRUE(stStore.updateFromShared(4));
    EXPECT_EQ(Value(stStore, "S", "a") + Value(stStore, "S", "b") + Value(stStore, "S", "k0"), "-1-");
}

// Any bytes another process may leave: nothing breaks, and the file keeps one line an entry.
TEST_F(OwnArea, BearsAnyBytes) {
    const ScratchDir stScratch;
    const std::string strFile = stScratch.Path("a.ini");
    ConfigHelper stStore;
    ASSERT_TRUE(stStore.InitSharedMemory());
    const Attached stArea;
    std::mt19937 stRandom(11);
    constexpr std::string_view ALPHABET("Sk=[]#\n\r \0\xFF", 11);
    for (int i = 0; i < 60; ++i) {
        for (int n = 5; n < 2005; ++n)
            stArea.Bytes()[n] = ALPHABET[stRandom() % (i % 3 ? 11 : 2)];
        constexpr int COUNTS[] = {1, 10, 80, 81, -1, -2147483647, 2147483647};
        std::memcpy(stArea.Bytes(), &COUNTS[stRandom() % std::size(COUNTS)], 4);
        stArea.Bytes()[4] = 1;
        std::filesystem::remove(strFile);
        stStore.setPath(strFile.c_str());
        (void)stStore.AddItemToSharedadd("S", "k", "v", 1);
        EXPECT_TRUE(stStore.updateFromShared(2));
    }
    // A full text without an end ends with its field, and no text reaches into another line.
    const int nCount = 2;
    std::memset(stArea.Bytes(), 'x', 405);
    std::memcpy(stArea.Bytes(), &nCount, 4);
    std::memcpy(stArea.Bytes() + 305, "1\n[evil]", 9);
    std::filesystem::remove(strFile);
    stStore.setPath(strFile.c_str());
    EXPECT_TRUE(stStore.updateFromShared(2));
    EXPECT_EQ(ReadFile(strFile),
              "[" + std::string(50, 'x') + "]\n" + std::string(50, 'x') + "=" + std::string(100, 'x'));
}

} // namespace
