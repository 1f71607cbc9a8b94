// Profile files as rows: a file's text and a request in, a text out. The writer is checked on the whole new file.

#include "LinuxCommonAPIProfile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <climits>
#include <random>

#include "ScratchDir.h"

namespace {

const ScratchDir g_stScratch;

/** A new file of the text given, under one name: writing over an old one is slow on some disks. */
const char* File(const std::string& strText) {
    static const std::string strPath = g_stScratch.Path("profile.ini");
    std::filesystem::remove(strPath);
    WriteFile(strPath, strText);
    return strPath.c_str();
}

/** Reads into a buffer of exactly the size given, which must come back zeroed behind the result. */
std::string Get(const char* lpszSection, const char* lpszKey, const char* lpszDefault, int nSize,
                const char* lpszFile) {
    std::vector<char> arBuffer(static_cast<std::size_t>(nSize), 'z');
    const int nLen = GetPrivateProfileString(lpszSection, lpszKey, lpszDefault, arBuffer.data(), nSize, lpszFile);
    const std::string strResult(arBuffer.data(), static_cast<std::size_t>(nLen));
    EXPECT_EQ(std::string(arBuffer.begin() + nLen, arBuffer.end()), std::string(arBuffer.size() - strResult.size(), 0));
    return strResult;
}

const std::string MEGABYTE(1 << 20, 'x');
const std::string LISTS = "a=0\n[One]\nk=1\n#c=2\nlong name =3\n[Two] # x\n;m=4\n[half\n[odd=5\n";

TEST(Profile, Reads) {
    const struct {
        std::string m_strText;
        const char *m_lpszSection, *m_lpszKey, *m_lpszDefault;
        std::string m_strResult;
        int m_nSize = 32;
    } arRows[] = {
        {" [s]x \n\t K \t= \t 5 6\t\v\n", "\tS ", " k ", "d", "5 6"},
        {"[T]\nk=4\n[S]\n[T]\nk=5\n[S]\nk=6", "S", "k", "d", "5"},
        {"[S ]\nk=5\n[S2]\nk=6\n[]\nk=7\n", "S", "k", "d", "d"},
        {"[S]\nkk=4\nk k=5\nk=6\n", "S", "k", "d", "6"},
        {"[S]\n#k=4\n ;k=5\n;k\n k=6=7\n", "S", "k", "d", "6=7"},
        {"[S]\nk = 5 # note\n", "S", "k", "d", "5"},
        {"[S]\nk=#5\n", "S", "k", "d", ""},
        {"[S]\nk= \nk=5\n", "S", "k", "d", ""},
        {"[S]\n=5\n", "S", "", "d", "5"},
        {"[k=5\n[S]\n[k=6\n", "S", "[k", "d", "6"},
        {"[S]\n[k=6]\n[k=7]=8\n", "S", "[k", "d", "d"},
        {"\xEF\xBB\xBF[S]\r\nk=5\r\nj=6\r\n", "S", "j", "d", "6"},
        {"\xEF\xBB\xBFx[S]\nk=5\n", "S", "k", "d", "d"},
        {"[S]\rk=5\rj=6", "S", "j", "d", "6"},
        {"[S]\rk=5\nj=6\rl=7\rm=8", "S", "l", "d", "7"},
        {"[S]\nk=5\rj=6\nl=7", "S", "k", "d", "5\rj=6"},
        {std::string("[S]\n\0k=5\n", 9), "S", "k", "d", "d"},
        {std::string("[S]\nk=5\0006\nj=1", 12), "S", "k", "d", "5"},
        {"", "S", "k", "d  ", "d"},
        {"", nullptr, "k", "d", "d"},
        {"[S]\n", "S", "k", "a\t ", "a\t"},
        {"[S]\n", "S", "k", nullptr, ""},
        {"[S]\nk=12345678\n", "S", "j", "12", "1", 2},
        {"[S]\nk=12345678\n", "S", "k", "d", "1234567", 8},
        {"[S]\nk=5\n", "S", "k", "d", "", 1},
        {"[S]\nk=5\n", "S", "k", "d", "", 0},
        {LISTS, nullptr, "k", "d", "One\tTwo\t"},
        {LISTS, nullptr, "k", "d", "One\tTwo\t", 9},
        {LISTS, nullptr, "k", "d", "One\t", 8},
        {LISTS, nullptr, "k", "d", "", 4},
        {LISTS, "One", nullptr, "d", "k\tlong name\t;m\t[odd\t"},
        {LISTS, "Three", nullptr, "d", "d"},
        {"[S]\n" + MEGABYTE + "=1\n" + MEGABYTE + "\nk=" + MEGABYTE, "S", "k", "d", MEGABYTE, 1 << 21},
        {MEGABYTE + "\r" + std::string(1 << 20, '\r') + "[S]\rk=5", "S", "k", "d", "5"},
    };
    for (const auto& stRow : arRows)
        EXPECT_EQ(Get(stRow.m_lpszSection, stRow.m_lpszKey, stRow.m_lpszDefault, stRow.m_nSize, File(stRow.m_strText)),
                  stRow.m_strResult)
            << stRow.m_strText.substr(0, 60);
}

// Permission bits mean nothing to root, who therefore becomes someone else for the moment.
TEST(Profile, CountsUnusableFilesAsMissing) {
    const std::string strFolder = g_stScratch.Path(), strHuge = g_stScratch.Path("huge.ini");
    WriteFile(strHuge, "[S]\nk=5\n");
    std::filesystem::resize_file(strHuge, 1ULL << 40);
    const char* lpszReadOnly = File("[S]\nk=5\n");
    chmod(lpszReadOnly, 0444);
    chmod(strHuge.c_str(), 0666);
    chmod(strFolder.c_str(), 0755);
    const bool bRoot = geteuid() == 0;
    ASSERT_EQ(bRoot ? seteuid(65534) : 0, 0);
    for (const char* lpszFile :
         {static_cast<const char*>(nullptr), "", strFolder.c_str(), strHuge.c_str(), lpszReadOnly}) {
        EXPECT_EQ(Get("S", "k", "d ", 9, lpszFile), "d");
        EXPECT_EQ(Get(nullptr, "k", "d", 9, lpszFile), "");
        EXPECT_EQ(WritePrivateProfileString("S", "k", "6", lpszFile), lpszFile == strHuge.c_str());
    }
    ASSERT_EQ(bRoot ? seteuid(0) : 0, 0);
    chmod(lpszReadOnly, 0644);
    EXPECT_EQ(ReadFile(lpszReadOnly), "[S]\nk=5\n");
    EXPECT_EQ(std::filesystem::file_size(strHuge), 1ULL << 40);
}

TEST(Profile, ReadsNumbers) {
    const std::pair<const char*, int> arRows[] = {{"k=8000 # port", 8000}, {"k=-12.7", -12}, {"k=1e3", 1000},
                                                  {"k=7 up", 7},           {"k=", 0},        {"k=up", 0},
                                                  {"j=5", INT_MIN}};
    for (const auto& [lpszLine, nResult] : arRows)
        EXPECT_EQ(GetPrivateProfileInt("S", "k", INT_MIN, File(std::string("[S]\n") + lpszLine)), nResult) << lpszLine;
}

TEST(Profile, Writes) {
    const std::string SAME = "same";
    const struct {
        std::string m_strText;
        const char *m_lpszSection, *m_lpszKey, *m_lpszValue;
        std::string m_strNew;
        bool m_bResult = true;
    } arRows[] = {
        // A new file, a new section.
        {"", " S ", " k ", "  v ", "[S]\nk=v \n"},
        {"", "S", "k", nullptr, SAME, false},
        {"", nullptr, "k", "v", SAME, false},
        {"[T]\n\n", "S", "k", "v", "[T]\n\n[S]\nk=v\n"},
        {"[S ]\n#[S]\n[S\n", "S", "k", "v", "[S ]\n#[S]\n[S\n[S]\nk=v\n"},
        {"\xEF\xBB\xBF[S]\nk=1\n", "S", "k", "v", "\xEF\xBB\xBF[S]\nk=1\n[S]\nk=v\n"},
        {std::string("[T]\0[S]\n", 8), "S", "k", "v", "[T]\n[S]\nk=v\n"},
        {"[T]\nk=1\n", "S", nullptr, nullptr, SAME},
        {"[T]\nk=1\n[S]\n[T]\nk=5\n", "S", "k", nullptr, SAME},
        // The entry exists.
        {"[S]\n  K  =  1 # note \t\nj=2\n", "s", "k", " v ", "[S]\n  K  =v  \t\nj=2\n"},
        {"[S]\r\nk=1\r\nj=2\r\n", "S", "k", "v", "[S]\r\nk=v\r\nj=2\r\n"},
        {"[S]\nk=1=2", "S", "k", "", "[S]\nk="},
        {"[S]\nk = 5 # note\t\n", "S", "k", "5 # note", SAME},
        {"[S]\n#k=0\nj=1\n  k=2 \t\nl=3\n", "S", "k", nullptr, "[S]\n#k=0\nj=1\n \t\nl=3\n"},
        {"[T]\nk=1\n[S]\nk=2\n[S]\nk=3\n", "S", "k", "v", "[T]\nk=1\n[S]\nk=v\n[S]\nk=3\n"},
        {"[S]\nk=" + MEGABYTE + "\n", "S", "k", "v", "[S]\nk=v\n"},
        // The section exists.
        {"[S]\nj=1 # x \n\n \n  [T]\nk=5\n", "S", "k", "v", "[S]\nj=1 # x\nk=v \n\n \n  [T]\nk=5\n"},
        {"[S]\nj=1\n[half\nk=5\n", "S", "k", "v", "[S]\nj=1\nk=v\n[half\nk=5\n"},
        {"[S]", "S", "k", "v", "[S]\nk=v\n"},
        {"[S]\nj=1\n", "S", "k", "", "[S]\nj=1\nk=\n\n"},
        {"[S]\r\nj=1\r\n", "S", "k", "v", "[S]\r\nj=1\nk=v\r\n"},
        {"a=1\n [S]\n=1\n\n [T]\nk=5\n", "S", nullptr, "v", "a=1\n [T]\nk=5\n"},
    };
    constexpr std::filesystem::file_time_type OLD{};
    for (const auto& stRow : arRows) {
        const char* lpszFile = File(stRow.m_strText);
        std::filesystem::last_write_time(lpszFile, OLD);
        EXPECT_EQ(WritePrivateProfileString(stRow.m_lpszSection, stRow.m_lpszKey, stRow.m_lpszValue, lpszFile),
                  stRow.m_bResult);
        EXPECT_EQ(ReadFile(lpszFile), stRow.m_strNew == SAME ? stRow.m_strText : stRow.m_strNew);
        EXPECT_EQ(std::filesystem::last_write_time(lpszFile) == OLD, stRow.m_strNew == SAME);
    }
    const std::string strMissing = g_stScratch.Path("missing.ini");
    EXPECT_TRUE(WritePrivateProfileString("S", "k", "v", strMissing.c_str()));
    EXPECT_EQ(ReadFile(strMissing), "[S]\nk=v\n");
}

// Into whatever bytes entries are written: they are found again, written again they change nothing, and one goes alone.
TEST(Profile, SettlesAnyBytes) {
    constexpr std::string_view ALPHABET("[]=# \t\n\nskSK;\xEF\0\r", 16);
    std::mt19937 stRandom(7);
    for (int i = 0; i < 120; ++i) {
        std::string strText;
        for (unsigned n = stRandom() % 24; n > 0; --n)
            strText += ALPHABET[stRandom() % ALPHABET.size()];
        if (i % 2) strText.insert(stRandom() % (strText.size() + 1), "\n[s]\n");
        const char* lpszFile = File(strText);
        std::string strNew;
        for (const bool bAgain : {false, true}) {
            ASSERT_TRUE(WritePrivateProfileString("S", "k", "v", lpszFile));
            ASSERT_TRUE(WritePrivateProfileString("S", "j", "", lpszFile));
            ASSERT_TRUE(ReadFile(lpszFile) == std::exchange(strNew, ReadFile(lpszFile)) || !bAgain) << strText;
        }
        ASSERT_EQ(Get("S", "k", "d", 9, lpszFile) + Get("S", "j", "d", 9, lpszFile), "v") << strText;
        ASSERT_TRUE(WritePrivateProfileString("S", "j", nullptr, lpszFile));
        ASSERT_EQ(Get("S", "k", "d", 9, lpszFile) + Get("S", "j", "d", 9, lpszFile), "vd") << strText;
        (void)Get(i % 3 ? "S" : nullptr, nullptr, "d", 5, lpszFile);
    }
}

} // namespace
