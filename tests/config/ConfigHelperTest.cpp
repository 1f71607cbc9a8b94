// The store and its file.

#include "ConfigHelper.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

#include "ScratchDir.h"

namespace {

/** A store of a file with the text given; whether it was read to its end stands in `m_bRead`. */
struct STORE : ConfigHelper {
    ScratchDir m_stScratch;
    std::string m_strFile = m_stScratch.Path("store.ini");
    bool m_bRead;

    explicit STORE(const std::string& strText) {
        WriteFile(m_strFile, strText);
        m_bRead = setPath(m_strFile.c_str());
    }
    std::string Value(const char* lpszSection, const char* lpszKey) {
        char szValue[101];
        return getValueString(lpszSection, lpszKey, "d", szValue, 100) == 0 ? szValue : "-";
    }
};

TEST(ConfigHelper, ReadsItsFile) {
    const std::string SEVEN = "[1]\n[2]\n[3]\n[4]\n[5]\n[6]\n[7]\nk=7\n";
    const std::tuple<std::string, bool, const char*, const char*> arRows[] = {
        {"\xEF\xBB\xBF[S]\r\n K = v # w \r\n", true, "s", "v # w"},
        {"[S]\rk=1=2\rk=3", true, "S", "1=2"},
        {"[S]\n#k=1\n k\nk\t=2\n[T]\nk=3\n", true, "S", "-"},
        {"\t[S]\nk=1\n", false, "S", "-"},
        {"[S]\n[T]\nk=2\n[s]\nk=3\n", false, "T", "2"},
        {"k\n[]\nk=2\n", true, "", "2"},
        {SEVEN + "[8]\nk=8\n", true, "8", "-"},
        {SEVEN + "[1]\n", false, "7", "7"},
        {std::string("[S]\n\0k=1\n", 9), true, "S", "-"},
    };
    for (const auto& [strText, bRead, lpszSection, strValue] : arRows) {
        STORE stStore(strText);
        EXPECT_EQ(stStore.m_bRead, bRead) << strText;
        EXPECT_EQ(stStore.Value(lpszSection, "k"), strValue) << strText;
    }
}

TEST(ConfigHelper, GivesTextsAndNumbers) {
    STORE stStore("[S]\nk=abcde\nn= -12x\nlong=00000000000000000000000000000042999\n");
    std::string strBuffer(8, '~');
    for (const auto& [nSize, strText] : {std::pair{1, "a"}, {4, "abcd"}, {5, "abcde"}, {6, "abcde"}}) {
        EXPECT_EQ(stStore.getValueString("S", "k", "d", strBuffer.data(), nSize), 0);
        EXPECT_STREQ(strBuffer.c_str(), strText);
    }
    EXPECT_EQ(stStore.getValueString("S", "x", "d", strBuffer.data(), 6), -1);
    EXPECT_STREQ(strBuffer.c_str(), "");
    for (const auto& [lpszKey, nValue] : {std::pair{"n", -12}, {"k", 0}, {"x", 0}, {"long", 42}})
        EXPECT_EQ(stStore.getValueInt("S", lpszKey, 9), nValue) << lpszKey;
}

TEST(ConfigHelper, WritesItsFile) {
    const std::tuple<const char*, const char*> arRows[] = {
        {"", "[S]\nk=v"},
        {"[S]\nj=2\nk=1\n", "[S]\nj=2\nk=v"},
        {"[T]\nk=1\n", "[T]\nk=1\n\r\n[S]\r\nk=v"},
        {"[s]\r\n K = 1 # x\r\nj=2\r\n", "[s]\r\nk=v\r\nj=2\r\n"},
        {"[S]\nk=1\n\n# end", "[S]\r\nk=v\r\n\n# end"},
        {"[S]\nj=1\n\n [T]\nk=1\n", "[S]\nj=1\n\r\nk=v\r\n [T]\nk=1\n"},
        {"\xEF\xBB\xBF[S]\rk=1\rj=2", "\xEF\xBB\xBF[S]\r\nk=v\r\nj=2"},
    };
    for (const auto& [lpszText, strNew] : arRows) {
        STORE stStore(lpszText);
        EXPECT_TRUE(stStore.setValueString("S", "k", "v"));
        EXPECT_EQ(ReadFile(stStore.m_strFile), strNew);
        EXPECT_EQ(stStore.Value("S", "k"), "v");
    }
}

TEST(ConfigHelper, RefusesWhatItsFileCannotHold) {
    STORE stStore("[S]\nk=1\n");
    const char* arRows[][3] = {{"", "k", "v"},       {nullptr, "k", "v"}, {"S", "", "v"},   {"S\n[T]", "k", "v"},
                               {"S", "k", "v\nj=1"}, {"S", "a=b", "v"},   {"S", "#k", "v"}, {"S", "[k", "v]"}};
    for (const auto& [lpszSection, lpszKey, lpszValue] : arRows)
        EXPECT_FALSE(stStore.setValueString(lpszSection, lpszKey, lpszValue));
    for (const char* lpszSection : {"2", "3", "4", "5", "6", "7", "8", "9"})
        EXPECT_EQ(stStore.setValueString(lpszSection, "k", "v"), *lpszSection < '9');
    // A disk that doesn't take it is no failure.
    EXPECT_FALSE(stStore.setPath("/dev/null/no.ini"));
    EXPECT_TRUE(stStore.setValueString("S", "k", "v"));
    EXPECT_EQ(stStore.Value("S", "k"), "v");
}

// Two stores of one file that don't read it again: what either sets is there for whoever reads it then.
TEST(ConfigHelper, KeepsTheFileReadable) {
    std::mt19937 stRandom(3);
    STORE stFirst("# first\n[a]\n# second\nk1=0\n\n[b]\nk2=0"), stSecond("");
    ASSERT_TRUE(stSecond.setPath(stFirst.getPath()));
    std::map<std::pair<std::string, std::string>, std::string> stExpected;
    for (int n = 0; n < 100; ++n) {
        const std::string strSection(1, "abcdefg"[stRandom() % 7]);
        const std::string strKey = "k" + std::to_string(stRandom() % 4), strValue = std::to_string(stRandom());
        ConfigHelper& stStore = n % 2 ? stFirst : stSecond;
        ASSERT_TRUE(stStore.setValueString(strSection.c_str(), strKey.c_str(), strValue.c_str()));
        stExpected[{strSection, strKey}] = strValue;
    }
    STORE stReader(ReadFile(stFirst.m_strFile));
    ASSERT_TRUE(stReader.m_bRead);
    for (const auto& [stName, strValue] : stExpected)
        EXPECT_EQ(stReader.Value(stName.first.c_str(), stName.second.c_str()), strValue);
    EXPECT_TRUE(ReadFile(stFirst.m_strFile).starts_with("# first\n[a]\n# second\r\nk1="));
}

} // namespace
