// The file is compared with an image built from rows of offset, width and value, never through the writer's records:
// so every byte that no row names must be zero.

#include "SystemFile.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <concepts>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "Language.h"
#include "LocalAddress.h"
#include "Platform.h"
#include "ScratchDir.h"
#include "SetupConfig.h"
#include "SetupPaths.h"

namespace {

constexpr long long MB4 = 0x400000;
constexpr std::int64_t CLOCK = 1'700'000'000'123'456;
constexpr std::size_t USER = 0x18403C;

std::int64_t g_nClock;
std::int64_t g_nSlept;

// A field of the expected file.
struct FIELD {
    std::size_t m_nOffset;
    std::string m_strBytes;

    FIELD(std::size_t nOffset, std::size_t nWidth, std::integral auto nValue) : m_nOffset(nOffset) {
        for (auto n = static_cast<unsigned long long>(nValue); nWidth > 0; --nWidth, n >>= 8)
            m_strBytes += static_cast<char>(n & 0xFF);
    }
    FIELD(std::size_t nOffset, std::size_t nWidth, std::string strText) : m_nOffset(nOffset), m_strBytes(strText) {
        m_strBytes.resize(nWidth);
    }
};
using FIELDS = std::vector<FIELD>;

// Fields of a record that lies at an offset of the image.
void Put(std::string& strImage, std::size_t nRecord, const FIELDS& arFields) {
    for (const FIELD& stField : arFields)
        strImage.replace(nRecord + stField.m_nOffset, stField.m_strBytes.size(), stField.m_strBytes);
}

const FIELDS HEAD_CONSTANTS{
    {0x000, 4, 0x46534253}, {0x00C, 1, 1},          {0x012, 4, 7},        {0x016, 4, 100},       {0x01A, 4, 7},
    {0x026, 4, 0x4000},     {0x02A, 4, 20},         {0x02E, 4, 0x40000},  {0x032, 4, 0x4000},    {0x036, 4, 0x4C6},
    {0x03A, 8, 0x84000},    {0x042, 4, 8},          {0x04E, 8, 0x244000}, {0x06A, 4, 0x5000000}, {0x06E, 4, 100},
    {0x072, 1, 2},          {0x076, 4, 1},          {0x3CA, 4, 1024},     {0x3D6, 4, 8000},      {0x3DA, 4, 60},
    {0x3DE, 4, 10},         {0x3EA, 4, 1},          {0x3EE, 4, 1000000},  {0x3FA, 4, 768},       {0x3FE, 4, 0x200000},
    {0x406, 4, 0x1800000},  {0x40A, 4, 0x1F400000}, {0x40E, 4, 3},        {0x412, 4, 3},         {0x416, 4, 4},
    {0x41A, 4, 0x10000000}, {0x41E, 4, 0x1400000},  {0x422, 4, 0x40000},  {0x426, 4, 0x2000},    {0x42A, 4, 0x40000},
    {0x42E, 4, 0x40000},    {0x432, 4, 8},          {0x436, 4, 4},        {0x43A, 4, 80},        {0x43E, 4, 90},
    {0x442, 4, 40},         {0x446, 4, 80},         {0x44A, 4, 10},       {0x44E, 4, 1000},      {0x452, 4, 100},
    {0x456, 4, 60},         {0x472, 4, 2},          {0x47A, 4, 8},        {0x482, 4, 3306},      {0x486, 4, 1},
    {0x48A, 4, 10},         {0x48E, 4, 1},          {0x492, 4, 28800},    {0x49A, 4, 0x2000000}, {0x4AA, 4, 30},
    {0x3CDE, 4, 1},         {0x3CE2, 4, 1},         {0x3CE6, 4, 256},     {0x3CEE, 4, 33},       {0x3CF2, 4, 63},
    {0x3CF6, 4, 33},        {0x3CFA, 4, 33},        {0x3D06, 4, 2},       {0x3D0A, 4, 28800},    {0x3D0E, 4, 30},
    {0x3D12, 4, 60},        {0x3D16, 4, 10},        {0x3D1A, 4, 1},       {0x3D22, 4, 1}};

// Object, record size, records: the initial objects.
constexpr int OBJECTS[7][3] = {{1, 348, 1}, {2, 24, 0}, {3, 72, 0}, {4, 68, 0}, {8, 192, 1}, {9, 164, 33}, {11, 84, 3}};

// Names and descriptions in turn.
const char PRIVILEGES[] =
    "Usage|No privileges - allow connect only|Super|To use KILL thread, SET GLOBAL, CHANGE MASTER, etc.|Create "
    "tablespace|To create/alter/drop tablespaces|Create|To create new databases and tables|Alter|To alter the "
    "table|Drop|To drop databases, tables, and views|Event|To create, alter, drop and execute events|Trigger|To "
    "use triggers|Select|To retrieve rows from table|Insert|To insert data into tables|Update|To update existing "
    "rows|Delete|To delete existing rows|Index|To create or drop indexes|Create user|To create new users|Create "
    "view|To create new views|Process|To view the plain text of currently executing queries|Lock tables|To use "
    "LOCK TABLES (together with SELECT privilege)|Show databases|To see all databases with SHOW DATABASES|Show "
    "view|To see views with SHOW CREATE VIEW|References|To have references on tables|Shutdown|To shut down the "
    "server|Create temporary tables|To use CREATE TEMPORARY TABLE|Alter routine|To alter or drop stored "
    "functions/procedures|Create routine|To use CREATE FUNCTION/PROCEDURE|Execute|To execute stored "
    "routines|File|To read and write files on the server|Proxy|To make proxy user possible|Reload|To reload or "
    "refresh tables, logs and privileges|Replication client|To ask where the slave or master servers "
    "are|Replication slave|To read binary log events from the master|Grant option|To give to other users those "
    "privileges you possess|Create role|Enable role creation.|Drop role|Enable roles to be dropped.|";

// The first 4 MB with an empty configuration and all defaults.
std::string Image(std::int64_t nClock, long long nFileSize) {
    const auto nStamp = (static_cast<unsigned long long>(nClock) * 10 + 116444736000000000) * 32;
    std::string strImage(MB4, '\0');
    Put(strImage, 0, HEAD_CONSTANTS);
    Put(strImage, 0, {{0x004, 8, nStamp}, {0x010, 2, nClock}, {0x01E, 8, nFileSize}});
    Put(strImage, 0, {{0x0A6, 32, "Kestro"}, {0x0C6, 260, std::string(g_lpDatabasePath)}});
    Put(strImage, 0x4000, {{0, 4, 0x424D4253}, {4, 4, 7}});
    for (std::size_t i = 0; i < 7; ++i) {
        const auto [nID, nSize, nRecords] = OBJECTS[i];
        const std::size_t nMapRow = 0x4020 + 20 * i, nBlock = 0x84000 + 0x40000 * i;
        Put(strImage, 0x4C6 + 56 * nID, {{0, 4, nID}, {12, 8, nMapRow}});
        Put(strImage, nMapRow, {{0, 4, i + 1}, {4, 8, nBlock}});
        Put(strImage, nBlock, {{0, 4, 0x42444253}, {4, 4, i + 1}, {8, 8, nStamp}, {24, 4, 0x40000}, {28, 4, 60}});
        Put(strImage, nBlock, {{33, 1, 1}, {36, 4, nID}, {40, 4, nRecords}, {44, 4, 60 + nSize * nRecords}});
        Put(strImage, nBlock, {{48, 4, 0x40000}, {52, 4, nSize}, {56, 4, nRecords}});
    }
    Put(strImage, 0x8403C, {{4, 2, 0x0101}});
    Put(strImage, USER, {{4, 4, nClock / 1'000'000 - 1489968000}, {12, 1, 1}, {16, 36, "root"}});
    Put(strImage, USER, {{76, 4, 0x3FFFFFFF}, {84, 64, "localhost"}});
    std::istringstream stTexts(PRIVILEGES);
    std::string strName, strDescription;
    for (int i = 0; std::getline(std::getline(stTexts, strName, '|'), strDescription, '|'); ++i)
        Put(strImage, 0x1C403C + 164 * i, {{0, 1, i}, {4, 32, strName}, {36, 128, strDescription}});
    const char* const arDatabases[] = {"Kestro", "information_schema", "performance_schema"};
    for (std::size_t i = 0; i < 3; ++i)
        Put(strImage, 0x20403C + 84 * i, {{0, 64, arDatabases[i]}, {64, 1, i}, {66, 2, 0x2121}});
    return strImage;
}

// The first byte in which two images differ, told by its offset.
testing::AssertionResult Same(const std::string& strFile, const std::string& strExpected) {
    if (strFile == strExpected) return testing::AssertionSuccess();
    if (strFile.size() != strExpected.size()) return testing::AssertionFailure() << "length " << strFile.size();
    const auto [it, itExpected] = std::ranges::mismatch(strFile, strExpected);
    return testing::AssertionFailure() << "at offset " << it - strFile.begin() << ": " << (*it & 0xFF) << " instead of "
                                       << (*itExpected & 0xFF);
}

// Lowers a soft limit for as long as it lives.
struct LIMIT {
    __rlimit_resource m_nResource;
    rlimit m_stOld{};

    LIMIT(__rlimit_resource nResource, rlim_t nSoft) : m_nResource(nResource) {
        getrlimit(nResource, &m_stOld);
        const rlimit stNew{nSoft, m_stOld.rlim_max};
        setrlimit(nResource, &stNew);
    }
    ~LIMIT() { setrlimit(m_nResource, &m_stOld); }
};

// What an operator gives.
struct INSTALL {
    std::string m_strCacheSize;
    std::string m_strLogs;
    int m_nGuid = 0;
    int m_nUserRestrict = 1;
};

class SystemFile : public testing::Test {
protected:
    SystemFile() {
        g_nClock = CLOCK;
        g_nSlept = 0;
        g_stPlatform.m_lpfnMicroseconds = [] { return g_nClock; };
        g_stPlatform.m_lpfnSleep = [](std::int64_t nMicroseconds) { g_nSlept += nMicroseconds; };
        SetPath(g_lpDatabasePath, m_stDir.Path() + "/");
        SetPath(g_lpConfigPath, m_stDir.Path("Config.ini"));
    }
    ~SystemFile() override {
        g_stPlatform = m_stPlatform;
        g_nLanguage_Chinese = 0;
    }
    static void SetPath(char (&lpPath)[MAX_PATH], const std::string& strPath) {
        snprintf(lpPath, sizeof(lpPath), "%s", strPath.c_str());
    }
    // Runs a call and keeps what it says.
    int Run(auto Call) {
        testing::internal::CaptureStdout();
        const int nResult = Call();
        m_strSaid = testing::internal::GetCapturedStdout();
        return nResult;
    }
    int Create(long long nFileSize, INSTALL stInstall = {}) {
        return Run([&] {
            return CreateSystemDataFile(nFileSize, stInstall.m_strCacheSize.data(), stInstall.m_strLogs.data(),
                                        stInstall.m_nGuid, m_usPort, stInstall.m_nUserRestrict);
        });
    }
    // In the buffer of a file that is to have 16 MB.
    int CreateObject(int nObjectID) {
        return Run([&] { return CreateSystemObject(m_lpBuffer, nObjectID, 0, 1); });
    }
    int Add(const char* lpszName, const char* lpszDescription) {
        return Run([&] { return AddAuthority(m_lpBuffer, 77, lpszName, lpszDescription, 0); });
    }
    int Int(std::size_t nOffset) const {
        int nValue;
        std::memcpy(&nValue, m_lpBuffer + nOffset, sizeof(nValue));
        return nValue;
    }

    ScratchDir m_stDir;
    const std::string m_strFile = m_stDir.Path("System.dbf");
    const PLATFORM m_stPlatform = g_stPlatform;
    std::string m_strBuffer = Image(CLOCK, 16 << 20).replace(0x12, 4, 4, '\0').replace(0x4C6, 56 * 256, 56 * 256, '\0');
    BYTE* m_lpBuffer = reinterpret_cast<BYTE*>(m_strBuffer.data());
    unsigned short m_usPort = 0;
    std::string m_strSaid;
};

} // namespace

// Every row creates a file and compares all of it with the default image and the fields told.
TEST_F(SystemFile, HoldsExactlyTheseBytes) {
    const FIELDS arAllKeys{{0x010, 2, 0x2345},  {0x3CA, 4, 4},        {0x3D2, 4, 0x0A010203},
                           {0x3D6, 4, 70000},   {0x3F2, 4, 1},        {0x3FA, 4, 100},
                           {0x3FE, 4, 5 << 20}, {0x40E, 4, 9},        {0x416, 4, 64},
                           {0x462, 4, 7},       {0x476, 4, 512},      {0x47E, 4, 0x0A010204},
                           {0x49A, 4, 99},      {USER + 84, 64, "%"}, {0x0A6, 32, "a name that is longer than its "}};
    const FIELDS arLimits{{0x3FE, 4, 0}, {0x416, 4, 64}, {0x476, 4, INT_MAX}, {0x47E, 4, 0xFFFFFFFF}};
    const struct {
        const char* m_lpszConfig;
        INSTALL m_stInstall;
        std::int64_t m_nClock;
        int m_nPort;
        FIELDS m_arFields;
    } arRows[] = {
        {"", {}, CLOCK, 8000, {}},
        {"[System]\nlistenip=10.1.2.3\nlistenport=70000\nprocesses=4\ncharcomparenocase=1\nundoareasize=100\n"
         "processprivatearea=5\npersistenceintervals=9\npgamaxsize=7\nmax_allowed_packet=99\n"
         "databasename=a name that is longer than its field\nstandbyip=1.2.3.4\n[Config]\nclustervip=10.1.2.4\n",
         {"512", "64", 0x12345, 0},
         CLOCK,
         70000 - 65536,
         arAllKeys},
        {"[System]\nclustervip=1.2.3.400\nprocessprivatearea=4096\n", {"99999999999", "65"}, CLOCK, 8000, arLimits},
        {"[Config]\nclustervip=10.1.2.4\n[System]\nprocesses=3\n", {"-5", "2", 0, 5}, CLOCK, 8000, {{0x416, 4, 3}}},
        {"[System]\nlistenip=nowhere\n", {"abc", "abc"}, CLOCK, 8000, {{0x3D2, 4, 0xFFFFFFFF}, {0x416, 4, 3}}},
        // The id is the lowest 16 bits of the clock that aren't 0, of 48.
        {"", {}, 0x6'5432'0000, 8000, {{0x010, 2, 0x5432}}},
        {"", {}, 0x6'0000'0000, 8000, {{0x010, 2, 6}}},
        {"", {}, 1LL << 50, 8000, {{0x010, 2, 0}}},
    };
    for (const auto& stRow : arRows) {
        SCOPED_TRACE(testing::Message() << "row " << &stRow - arRows);
        g_nClock = stRow.m_nClock;
        WriteFile(g_lpConfigPath, stRow.m_lpszConfig);
        ASSERT_EQ(Create(MB4, stRow.m_stInstall), 0);
        std::string strExpected = Image(stRow.m_nClock, MB4);
        Put(strExpected, 0, stRow.m_arFields);
        EXPECT_TRUE(Same(ReadFile(m_strFile), strExpected));
        EXPECT_EQ(m_usPort, stRow.m_nPort);
        EXPECT_EQ(m_strSaid, "");
        std::filesystem::remove(m_strFile);
    }
    EXPECT_EQ(g_nSlept, 7 * 1000 * std::ssize(arRows));
}

TEST_F(SystemFile, HasTheSizeAskedForAndZerosBehindTheBuffer) {
    for (const long long nSize : {MB4 - 1, MB4, MB4 + 1, 16LL << 20}) {
        ASSERT_EQ(Create(nSize, {"16", ""}), 0) << nSize;
        std::string strExpected = Image(CLOCK, nSize);
        Put(strExpected, 0, {{0x476, 4, 16}});
        strExpected.resize(std::max(nSize, MB4));
        EXPECT_TRUE(Same(ReadFile(m_strFile), strExpected)) << nSize;
        std::filesystem::remove(m_strFile);
    }
    EXPECT_EQ(ReadFile(g_lpConfigPath), "[System]\ndatabasepath=" + m_stDir.Path() + "/\nbuffercachesize=16\n");
}

TEST_F(SystemFile, TellsWhyItFailed) {
    const std::string strNowhere = m_stDir.Path("nowhere/"), strFull = m_stDir.Path("full/");
    std::filesystem::create_directory(strFull);
    WriteFile(strFull + "System.dbf", "kept");
    const struct {
        long long m_nFileSize;
        std::string m_strDatabasePath;
        std::string m_strConfigPath;
        int m_nChinese;
        int m_nResult;
        std::string m_strSaid;
    } arRows[] = {
        {0x243FFF, m_stDir.Path() + "/", m_stDir.Path("k.ini"), 0, 11,
         "When allocating data blocks, it is found that the remaining space is insufficient, file size:2375679, "
         "current free location:2113536, and the space size to be allocated is:262144\n"},
        {LLONG_MIN, m_stDir.Path() + "/", m_stDir.Path("k.ini"), 1, 11,
         "分配数据块时，发现剩余空间不足，文件大小：-9223372036854775808，当前空闲位置：540672，"
         "需要分配的空间大小：262144\n"},
        {MB4, strFull, m_stDir.Path("k.ini"), 0, 1,
         "The database service system file already exists! File path：" + strFull + "System.dbf！\n"},
        {MB4, strFull, m_stDir.Path("k.ini"), 1, 1,
         "数据库服务系统文件已存在！文件路径：" + strFull + "System.dbf！\n"},
        {MB4, strNowhere, m_stDir.Path("k.ini"), 0, ENOENT,
         "Failed to create database service system file! File path: " + strNowhere + "System.dbf, Error code: 2! \n"},
        {MB4, m_stDir.Path() + "/", strNowhere, 0, 0,
         "The configuration file cannot be written, file path: " + strNowhere + "\n"},
    };
    for (const auto& stRow : arRows) {
        g_nLanguage_Chinese = stRow.m_nChinese;
        g_bConfigNotWrittenSaid = false;
        SetPath(g_lpDatabasePath, stRow.m_strDatabasePath);
        SetPath(g_lpConfigPath, stRow.m_strConfigPath);
        EXPECT_EQ(Create(stRow.m_nFileSize), stRow.m_nResult) << stRow.m_strSaid;
        EXPECT_EQ(m_strSaid, stRow.m_strSaid);
        // A failed object leaves an empty file.
        EXPECT_EQ(std::filesystem::exists(m_strFile), stRow.m_nResult == 0 || stRow.m_nResult == 11);
        EXPECT_EQ(ReadFile(m_strFile).size(), stRow.m_nResult == 0 ? MB4 : 0) << stRow.m_strSaid;
        std::filesystem::remove(m_strFile);
    }
    EXPECT_EQ(ReadFile(strFull + "System.dbf"), "kept");
}

TEST_F(SystemFile, AnswersTheErrorOfAShortWrite) {
    const auto lpfnOld = std::signal(SIGXFSZ, SIG_IGN);
    for (const long long nSpace : {MB4 / 2, MB4 + 7}) {
        const LIMIT stLimit(RLIMIT_FSIZE, nSpace);
        EXPECT_EQ(Create(16LL << 20), EFBIG);
        EXPECT_EQ(std::filesystem::file_size(m_strFile), nSpace);
        std::filesystem::remove(m_strFile);
    }
    std::signal(SIGXFSZ, lpfnOld);
}

// In a child, whose address space has no room left. A sanitizer would end it.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST_F(SystemFile, AnswersTheErrorOfAMissingBuffer) {
    const pid_t nChild = fork();
    if (nChild == 0) {
        if (!std::freopen("/dev/null", "w", stdout)) _exit(1);
        const LIMIT stLimit(RLIMIT_AS, MB4);
        void* volatile lpMemory = nullptr;
        do
            lpMemory = std::malloc(MB4);
        while (lpMemory);
        _exit(CreateSystemDataFile(MB4, nullptr, nullptr, 0, m_usPort, 1));
    }
    int nStatus = 0;
    ASSERT_EQ(waitpid(nChild, &nStatus, 0), nChild);
    EXPECT_EQ(WEXITSTATUS(nStatus), ENOMEM);
    EXPECT_FALSE(std::filesystem::exists(m_strFile));
}
#endif

TEST_F(SystemFile, EntersObjectsBeyondTheInitialOnes) {
    // Object, record size, records.
    const int arRows[][3] = {{5, 188, 0}, {7, 192, 0}, {10, 348, 1}, {12, 424, 0}, {13, 88, 0}, {99, 24, 0}};
    int nBlocks = 0;
    for (const auto& [nObjectID, nRecordSize, nRecords] : arRows) {
        EXPECT_EQ(CreateObject(nObjectID), 0);
        const std::size_t nBlock = 0x84000 + 0x40000 * nBlocks++;
        EXPECT_EQ(Int(nBlock + 36), nObjectID);
        EXPECT_EQ(Int(nBlock + 52), nRecordSize) << nObjectID;
        EXPECT_EQ(Int(nBlock + 56), nRecords) << nObjectID;
    }
    EXPECT_EQ(CreateObject(100), 0); // has no block
    EXPECT_EQ(Int(0x012), nBlocks);

    for (const int nObjectID : {-1, 5, 256}) {
        EXPECT_EQ(CreateObject(nObjectID), 20);
        EXPECT_EQ(m_strSaid, "When creating a system object, the corresponding object is used, and the object ID is：" +
                                 std::to_string(nObjectID) + "\n");
    }
    Put(m_strBuffer, 0x4C6 + 6 * 56, {{12, 8, 1}});
    EXPECT_EQ(CreateObject(6), 20);
    EXPECT_EQ(m_strSaid, "When creating system objects, new objects already have blocks!\n");

    // The buffer holds 13 blocks, however large the file is to be.
    for (; nBlocks < 13; ++nBlocks)
        ASSERT_EQ(CreateObject(20 + nBlocks), 0);
    EXPECT_EQ(CreateObject(50), 11);
    Put(m_strBuffer, 0, {{0x08A, 8, 1}});
    EXPECT_EQ(CreateObject(51), 20);
    EXPECT_EQ(m_strSaid, "When you create a new system object, there are empty blocks in the system file！\n");
}

TEST_F(SystemFile, AddsPrivilegesAndDatabasesUntilTheirBlocksAreFull) {
    EXPECT_EQ(Add("Fly", "To fly"), 4);
    EXPECT_EQ(m_strSaid,
              "When adding permissions, it is found that the permission object is empty, Permission name：Fly\n");
    EXPECT_EQ(AddDatabase(m_lpBuffer, "db", 3, 0), 1);
    ASSERT_EQ(CreateObject(9), 0);
    ASSERT_EQ(CreateObject(11), 0);
    EXPECT_EQ(Add(nullptr, "To fly"), 2);
    EXPECT_EQ(m_strSaid, "An unknown exception occurs when permissions are added, Permission name：, Error code: 22\n");
    EXPECT_EQ(AddDatabase(m_lpBuffer, nullptr, 3, 0), 1);

    // A text longer than its field is cut; the last field of the object's row is cleared.
    const std::size_t nRow = 0x4C6 + 9 * 56, nRecord = 0x8403C + 33 * 164;
    Put(m_strBuffer, nRow, {{20, 8, -1}});
    std::string strExpected = m_strBuffer.substr(nRecord, 164);
    Put(strExpected, 0, {{0, 4, 77}, {4, 32, std::string(32, 'n')}, {36, 128, std::string(128, 'd')}});
    ASSERT_EQ(Add(std::string(40, 'n').c_str(), std::string(200, 'd').c_str()), 0);
    EXPECT_TRUE(Same(m_strBuffer.substr(nRecord, 164), strExpected));
    EXPECT_EQ(Int(nRow + 20), 0);

    int nAdded = 34;
    const int nResult = Run([&] {
        for (; nAdded < 5000; ++nAdded)
            if (const int nFailed = AddAuthority(m_lpBuffer, 1, "Fly", "To fly", 0)) return nFailed;
        return 0;
    });
    EXPECT_EQ(nResult, 1000);
    EXPECT_EQ(nAdded, 1597);
    EXPECT_EQ(m_strSaid,
              "When adding permissions, it is found that the remaining database space returned is insufficient, "
              "Permission name：Fly\n");
    nAdded = 3;
    while (nAdded < 5000 && AddDatabase(m_lpBuffer, "db", 3, 0) == 0)
        ++nAdded;
    EXPECT_EQ(nAdded, 3119);
}

TEST(LocalAddress, FindsTheAddressesOfThisMachine) {
    EXPECT_EQ(CheckLocalIPValid(0x7F000001), 1);
    EXPECT_EQ(CheckLocalIPValid(0xC0000201), 0); // 192.0.2.1 is for documents only

    testing::internal::CaptureStdout();
    {
        const LIMIT stNoMoreFiles(RLIMIT_NOFILE, 0);
        EXPECT_EQ(CheckLocalIPValid(0x7F000001), 0);
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Unable to get local IP list(24)！\n");
}

TEST(LocalAddress, TellsNumbersFromOtherTexts) {
    const struct {
        const char* m_lpszText;
        bool m_bValid;
        const char* m_lpszLeft;
    } arRows[] = {{" \t12 3\r\n ", true, "12 3"}, {"-7", true, "-7"}, {"5x", true, "5x"}, {"0", false, "0"},
                  {" abc ", false, "abc"},        {" \n", false, ""}, {"", false, ""}};
    for (const auto& stRow : arRows) {
        std::string strText = stRow.m_lpszText;
        EXPECT_EQ(is_valid_digital(strText.data()), stRow.m_bValid) << stRow.m_lpszText;
        EXPECT_STREQ(strText.c_str(), stRow.m_lpszLeft);
    }
    EXPECT_FALSE(is_valid_digital(nullptr));
}
