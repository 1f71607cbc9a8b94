// The store and its file.

#include "ConfigHelper.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <thread>

#include "LinuxCommonAPI.h"
#include "ScratchDir.h"

namespace {

const ScratchDir& Scratch() {
    static const ScratchDir stScratch;
    return stScratch;
}

const std::string& File() {
    static const std::string strFile = Scratch().Path("store.ini");
    return strFile;
}

bool Load(ConfigHelper& stStore, const std::string& strText) {
    WriteFile(File(), strText);
    return stStore.setPath(File().c_str());
}

std::string Value(ConfigHelper& stStore, const std::string& strSection, const std::string& strKey) {
    char szValue[101];
    return stStore.getValueString(strSection.c_str(), strKey.c_str(), "d", szValue, 100) == 0 ? szValue : "-";
}

TEST(ConfigHelper, ReadsItsFile) {
    const std::string MARK = "\xEF\xBB\xBF";
    const struct {
        std::string m_strText;
        bool m_bRead;
        const char* m_lpszSection;
        const char* m_lpszKey;
        const char* m_lpszValue;
    } arRows[] = {
        {MARK + "[S]\r\n k = v # w \r\n", true, "s", "K", "v # w"},
        {"[S]\rk=1=2\rk=3", true, "S", "k", "1=2"},
        {"[S]\n#k=1\n k\nk=2\n", true, "S", "k", "2"},
        {"\t[S]\nk=1\n", false, "S", "k", "-"},
        {"[S]\nk\t=1\n", true, "S", "k", "-"},
        {"[S]\n[T]\nk=1\n", true, "S", "k", "-"},
        {"[S]\nk=1\n[T]\nk=2\n[s]\nk=3\n[U]\nk=4", false, "T", "k", "2"},
        {"[S]\n[T]\n[s]\n[U]\nk=4", false, "U", "k", "-"},
        {"k=1\n[S]\nk=2\n", false, "S", "k", "-"},
        {"k\n[]\nk=2\n", true, "", "k", "2"},
        {"[1]\n[2]\n[3]\n[4]\n[5]\n[6]\n[7]\nk=7\n[8]\nk=8\n", true, "7", "k", "7"},
        {"[1]\n[2]\n[3]\n[4]\n[5]\n[6]\n[7]\nk=7\n[8]\nk=8\n", true, "8", "k", "-"},
        {"[1]\n[2]\n[3]\n[4]\n[5]\n[6]\n[7]\n[1]\n", false, "8", "k", "-"},
        {std::string("[S]\nk=1\n\0[T]\nk=2\n", 17), true, "T", "k", "-"},
        {"", true, "S", "k", "-"},
    };
    ConfigHelper stStore;
    for (const auto& stRow : arRows) {
        EXPECT_EQ(Load(stStore, stRow.m_strText), stRow.m_bRead) << stRow.m_strText;
        EXPECT_EQ(Value(stStore, stRow.m_lpszSection, stRow.m_lpszKey), stRow.m_lpszValue) << stRow.m_strText;
    }
    EXPECT_FALSE(stStore.setPath(Scratch().Path("missing.ini").c_str()));
    EXPECT_FALSE(stStore.setPath(nullptr));
}

TEST(ConfigHelper, GivesTextsAndNumbers) {
    ConfigHelper stStore;
    ASSERT_TRUE(Load(stStore, "[S]\nk=abcde\nn= -12x\nlong=00000000000000000000000000000042999\n"));
    char szBuffer[8];
    for (const auto& [nSize, strText] : {std::pair{1, "a"}, {4, "abcd"}, {5, "abcde"}, {6, "abcde"}}) {
        std::fill_n(szBuffer, sizeof(szBuffer), '~');
        EXPECT_EQ(stStore.getValueString("S", "k", "d", szBuffer, nSize), 0);
        EXPECT_STREQ(szBuffer, strText);
        EXPECT_EQ(szBuffer[nSize + 1], '~');
    }
    EXPECT_EQ(stStore.getValueString("S", "k", "d", szBuffer, 0), -1);
    EXPECT_EQ(stStore.getValueString("S", "k", "d", nullptr, 5), -1);
    EXPECT_EQ(stStore.getValueString("S", "x", "d", szBuffer, 1), -1);
    EXPECT_STREQ(szBuffer, "");
    for (const auto& [lpszKey, nValue] : {std::pair{"n", -12}, {"k", 0}, {"x", 0}, {"long", 42}})
        EXPECT_EQ(stStore.getValueInt("S", lpszKey, 9), nValue) << lpszKey;
}

TEST(ConfigHelper, WritesItsFile) {
    const struct {
        const char* m_lpszText;
        const char* m_lpszSection;
        const char* m_lpszKey;
        const char* m_lpszValue;
        const char* m_lpszNew;
    } arRows[] = {
        {"", "S", "k", "v", "[S]\nk=v"},
        {"# a", "S", "k", "v", "# a\r\n[S]\r\nk=v"},
        {"[T]\nk=1\n", "S", "k", "v", "[T]\nk=1\n\r\n[S]\r\nk=v"},
        {"[S]\r\n k = 1 # x\r\nj=2\r\n", "s", "K", "v", "[S]\r\nK=v\r\nj=2\r\n"},
        {"[S]\nk=1\n\n# end", "S", "k", "v", "[S]\r\nk=v\r\n\n# end"},
        {"[S]\nk=1", "S", "k", "v", "[S]\r\nk=v"},
        {"[S]\n#k=1\nj=1\n", "S", "k", "", "[S]\n#k=1\nj=1\r\nk="},
        {"[S]\nj=1\n\n [T]\nk=1\n", "S", "k", "v", "[S]\nj=1\n\r\nk=v\r\n [T]\nk=1\n"},
        {"\xEF\xBB\xBF[S]\rk=1\rj=2", "S", "k", "v", "\xEF\xBB\xBF[S]\r\nk=v\r\nj=2"},
    };
    for (const auto& stRow : arRows) {
        ConfigHelper stStore;
        (void)Load(stStore, stRow.m_lpszText);
        // The second time changes nothing more, but for the line break in front of a new file's first entry.
        for (int i = 0; i < 2; ++i) {
            EXPECT_TRUE(stStore.setValueString(stRow.m_lpszSection, stRow.m_lpszKey, stRow.m_lpszValue));
            EXPECT_EQ(ReadFile(File()), *stRow.m_lpszText || i == 0 ? stRow.m_lpszNew : "[S]\r\nk=v")
                << stRow.m_lpszText;
            EXPECT_EQ(Value(stStore, stRow.m_lpszSection, stRow.m_lpszKey), stRow.m_lpszValue);
        }
    }
}

TEST(ConfigHelper, RefusesWhatItsFileCannotHold) {
    ConfigHelper stStore;
    ASSERT_TRUE(Load(stStore, "[S]\nk=1\n"));
    const char* arRows[][3] = {{"", "k", "v"},       {"S", "", "v"},     {nullptr, "k", "v"},  {"S", nullptr, "v"},
                               {"S\n[T]", "k", "v"}, {"S", "a\rb", "v"}, {"S", "k", "v\nj=1"}, {"S", "a=b", "v"},
                               {"S", "#k", "v"},     {"S", "[k", "v]"}};
    for (const auto& [lpszSection, lpszKey, lpszValue] : arRows)
        EXPECT_FALSE(stStore.setValueString(lpszSection, lpszKey, lpszValue));
    EXPECT_EQ(ReadFile(File()), "[S]\nk=1\n");
    for (char c = '2'; c <= '8'; ++c)
        EXPECT_TRUE(stStore.setValueString(std::string(1, c).c_str(), "k", "v"));
    EXPECT_FALSE(stStore.setValueString("9", "k", "v"));
    // A disk that doesn't take it is no failure.
    EXPECT_FALSE(stStore.setPath(Scratch().Path("no/where.ini").c_str()));
    EXPECT_TRUE(stStore.setValueString("S", "k", "v"));
    EXPECT_EQ(Value(stStore, "S", "k"), "v");
}

// Two stores of one file, which neither reads again: what either sets is there for whoever reads then.
TEST(ConfigHelper, KeepsTheFileReadable) {
    std::mt19937 stRandom(3);
    for (int i = 0; i < 6; ++i) {
        ConfigHelper arStores[2], stReader;
        for (ConfigHelper& stStore : arStores)
            ASSERT_TRUE(Load(stStore, i % 2 ? "# first\n[a]\n# second\nk1=0\n\n[b]\nk2=0" : "# first # second\r\n"));
        std::map<std::pair<std::string, std::string>, std::string> stExpected;
        for (int n = 0; n < 20; ++n) {
            const std::string strSection(1, static_cast<char>('a' + stRandom() % 7));
            const std::string strKey = "k" + std::to_string(stRandom() % 4), strValue = std::to_string(stRandom());
            ASSERT_TRUE(arStores[n % 2].setValueString(strSection.c_str(), strKey.c_str(), strValue.c_str()));
            stExpected[{strSection, strKey}] = strValue;
        }
        ASSERT_TRUE(stReader.setPath(File().c_str()));
        for (const auto& [stName, strValue] : stExpected)
            ASSERT_EQ(Value(stReader, stName.first, stName.second), strValue) << ReadFile(File());
        const std::string strText = ReadFile(File());
        ASSERT_LT(strText.find("# first"), strText.find("# second"));
    }
}

TEST(ConfigHelper, ServesThreadsThatGuardIt) {
    WriteFile(File(), "");
    EXPECT_TRUE(KestroConfigInit(File().c_str()));
    const auto Work = [](const char* lpszKey) {
        for (int i = 1; i <= 10; ++i) {
            ASSERT_EQ(WaitForSingleObject(ConfigHelper::m_csCriticalSection.m_stSemaphore, 10'000), WAIT_OBJECT_0);
            EXPECT_EQ(KestroConfigGetValueInt("S", lpszKey, 5), i - 1);
            EXPECT_TRUE(KestroConfigSetValueString("S", lpszKey, std::to_string(i).c_str()));
            sem_post(&ConfigHelper::m_csCriticalSection.m_stSemaphore);
        }
    };
    std::thread stFirst(Work, "a"), stSecond(Work, "b");
    stFirst.join();
    stSecond.join();
    char szValue[5];
    EXPECT_EQ(KestroConfigGetValueString("S", "a", "d", szValue, 4), 0);
    EXPECT_STREQ(szValue, "10");
    KestroConfigClose();
    EXPECT_EQ(KestroConfigGetValueString("S", "a", "d", szValue, 4), -1);
    EXPECT_STREQ(szValue, "");
}

} // namespace
