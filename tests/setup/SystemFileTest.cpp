// The file is compared with an image built from rows of offset, width and value, never through the writer's records:
// so every byte that no row names must be zero.

#include "SystemFile.h"

#include <sys/resource.h>

#include <climits>

#include "Installation.h"
#include "Language.h"
#include "LocalAddress.h"
#include "SetupConfig.h"
#include "SetupPaths.h"
#include "SetupTest.h"

namespace {

constexpr long long MB4 = 0x400000;
constexpr std::int64_t CLOCK = 1'700'000'000'123'456;
constexpr std::size_t USER = 0x18403C;

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

// The fields that are the same in all files.
FIELDS ReadFields() {
    FIELDS arFields;
    std::istringstream stRows(Transcript("system-file"));
    std::size_t nOffset, nWidth;
    for (std::string strRow, strValue; std::getline(stRows, strRow);) {
        std::istringstream stRow(strRow);
        if (!(stRow >> std::hex >> nOffset >> std::dec >> nWidth) || !std::getline(stRow >> std::ws, strValue))
            continue;
        if (strValue[0] == '"')
            arFields.emplace_back(nOffset, nWidth, strValue.substr(1, strValue.size() - 2));
        else
            arFields.emplace_back(nOffset, nWidth, std::stoull(strValue, nullptr, 0));
    }
    return arFields;
}

// The first 4 MB with an empty configuration and all defaults.
std::string Image(std::int64_t nClock, long long nFileSize) {
    static const FIELDS arFields = ReadFields();
    const auto nStamp = (static_cast<unsigned long long>(nClock) * 10 + 116444736000000000) * 32;
    std::string strImage(MB4, '\0');
    Put(strImage, 0, arFields);
    Put(strImage, 0, {{0x004, 8, nStamp}, {0x010, 2, nClock}, {0x01E, 8, nFileSize}});
    Put(strImage, 0, {{0x0C6, 260, std::string(g_lpDatabasePath)}, {USER + 4, 4, nClock / 1'000'000 - 1489968000}});
    for (std::size_t nBlock = 0x84000; nBlock < 0x244000; nBlock += 0x40000)
        Put(strImage, nBlock, {{8, 8, nStamp}});
    return strImage;
}

// The offset of the first byte in which two images differ, -1 for none.
std::ptrdiff_t Difference(const std::string& strFile, const std::string& strExpected) {
    return strFile == strExpected ? -1 : std::ranges::mismatch(strFile, strExpected).in1 - strFile.begin();
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
    std::string m_strCacheSize, m_strLogs;
    int m_nGuid = 0, m_nUserRestrict = 1;
};

class SystemFile : public CLinkTest {
protected:
    void SetUp() override {
        CLinkTest::SetUp();
        m_nNow = CLOCK;
        SetPath(g_lpDatabasePath, m_stDir.Path() + "/");
        SetPath(g_lpConfigPath, m_stDir.Path("Config.ini"));
    }
    static void SetPath(char (&lpPath)[MAX_PATH], const std::string& strPath) {
        snprintf(lpPath, sizeof(lpPath), "%s", strPath.c_str());
    }
    // Runs a call: its code, and what it says.
    static std::string Run(auto Call) {
        int nResult = -1;
        const std::string strSaid = Output([&] { nResult = Call(); });
        return std::to_string(nResult) + " " + strSaid;
    }
    std::string Create(long long nFileSize, INSTALL stInstall = {}) {
        return Run([&] {
            return CreateSystemDataFile(nFileSize, stInstall.m_strCacheSize.data(), stInstall.m_strLogs.data(),
                                        stInstall.m_nGuid, m_usPort, stInstall.m_nUserRestrict);
        });
    }
    // In the buffer of a file that is to have 16 MB.
    std::string CreateObject(int nObjectID) {
        return Run([&] { return CreateSystemObject(m_lpBuffer, nObjectID, 0, 1); });
    }
    std::string Add(const char* lpszName, const char* lpszDescription) {
        return Run([&] { return AddAuthority(m_lpBuffer, 77, lpszName, lpszDescription, 0); });
    }
    int Int(std::size_t nOffset) const { return Get<int>(m_strBuffer, nOffset); }

    ScratchDir m_stDir;
    const std::string m_strFile = m_stDir.Path("System.dbf");
    std::string m_strBuffer = Image(CLOCK, 16 << 20).replace(0x12, 4, 4, '\0').replace(0x4C6, 56 * 256, 56 * 256, '\0');
    BYTE* m_lpBuffer = reinterpret_cast<BYTE*>(m_strBuffer.data());
    unsigned short m_usPort = 0;
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
    const std::tuple<const char*, INSTALL, std::int64_t, int, FIELDS> arRows[] = {
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
    for (const auto& [lpszConfig, stInstall, nClock, nPort, arFields] : arRows) {
        WriteFile(g_lpConfigPath, lpszConfig);
        m_nNow = nClock;
        ASSERT_EQ(Create(MB4, stInstall), "0 ");
        std::string strExpected = Image(nClock, MB4);
        Put(strExpected, 0, arFields);
        EXPECT_EQ(Difference(ReadFile(m_strFile), strExpected), -1) << lpszConfig;
        EXPECT_EQ(m_usPort, nPort);
        std::filesystem::remove(m_strFile);
    }
    EXPECT_EQ(m_nSlept, 7 * 1000 * std::ssize(arRows));

    // The size asked for, and zeros behind the buffer.
    WriteFile(g_lpConfigPath, "");
    for (const long long nSize : {MB4 - 1, MB4 + 1, 16LL << 20}) {
        ASSERT_EQ(Create(nSize, {"16", ""}), "0 ");
        std::string strExpected = Image(m_nNow, nSize);
        Put(strExpected, 0, {{0x476, 4, 16}, {0x010, 2, 0}});
        strExpected.resize(std::max(nSize, MB4));
        EXPECT_EQ(Difference(ReadFile(m_strFile), strExpected), -1) << nSize;
        std::filesystem::remove(m_strFile);
    }
    EXPECT_EQ(ReadFile(g_lpConfigPath), "[System]\ndatabasepath=" + m_stDir.Path() + "/\nbuffercachesize=16\n");
}

TEST_F(SystemFile, TellsWhyItFailed) {
    const std::string strHere = m_stDir.Path() + "/", strNowhere = strHere + "nowhere/", strFull = strHere + "full/";
    std::filesystem::create_directory(strFull);
    WriteFile(strFull + "System.dbf", "kept");
    // The last number is the size of the file left behind; -1: none.
    const std::tuple<long long, std::string, std::string, int, std::string, long long> arRows[] = {
        {0x243FFF, strHere, strHere + "k.ini", 0,
         "11 When allocating data blocks, it is found that the remaining space is insufficient, file size:2375679, "
         "current free location:2113536, and the space size to be allocated is:262144\n",
         0},
        {LLONG_MIN, strHere, strHere + "k.ini", 1,
         "11 分配数据块时，发现剩余空间不足，文件大小：-9223372036854775808，当前空闲位置：540672，"
         "需要分配的空间大小：262144\n",
         0},
        {MB4, strFull, strHere + "k.ini", 0,
         "1 The database service system file already exists! File path：" + strFull + "System.dbf！\n", -1},
        {MB4, strFull, strHere + "k.ini", 1, "1 数据库服务系统文件已存在！文件路径：" + strFull + "System.dbf！\n", -1},
        {MB4, strNowhere, strHere + "k.ini", 0,
         "2 Failed to create database service system file! File path: " + strNowhere + "System.dbf, Error code: 2! \n",
         -1},
        {MB4, strHere, strNowhere, 0, "0 The configuration file cannot be written, file path: " + strNowhere + "\n",
         MB4},
    };
    for (const auto& [nFileSize, strDatabasePath, strConfigPath, nChinese, strSaid, nLeft] : arRows) {
        g_nLanguage_Chinese = nChinese;
        g_bConfigNotWrittenSaid = false;
        SetPath(g_lpDatabasePath, strDatabasePath);
        SetPath(g_lpConfigPath, strConfigPath);
        EXPECT_EQ(Create(nFileSize), strSaid);
        std::error_code stIgnored;
        EXPECT_EQ(static_cast<long long>(std::filesystem::file_size(m_strFile, stIgnored)), nLeft);
        std::filesystem::remove(m_strFile);
    }
    g_nLanguage_Chinese = 0;
    EXPECT_EQ(ReadFile(strFull + "System.dbf"), "kept");
}

TEST_F(SystemFile, AnswersTheErrorOfAShortWrite) {
    const auto lpfnOld = signal(SIGXFSZ, SIG_IGN);
    for (const long long nSpace : {MB4 / 2, MB4 + 7}) {
        const LIMIT stLimit(RLIMIT_FSIZE, nSpace);
        EXPECT_EQ(Create(16LL << 20), std::to_string(EFBIG) + " ");
        EXPECT_EQ(std::filesystem::file_size(m_strFile), nSpace);
        std::filesystem::remove(m_strFile);
    }
    signal(SIGXFSZ, lpfnOld);
}

// A sanitizer needs address space of its own.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST_F(SystemFile, AnswersTheErrorOfAMissingBuffer) {
    const LIMIT stLimit(RLIMIT_AS, MB4);
    // What other tests have freed is taken first.
    void** lpTaken = nullptr;
    while (auto* const lpMore = static_cast<void**>(malloc(MB4))) {
        *lpMore = lpTaken;
        lpTaken = lpMore;
    }
    EXPECT_EQ(Create(MB4), "12 Failed to alloc, Error code: 12! \n");
    EXPECT_FALSE(std::filesystem::exists(m_strFile));
    while (lpTaken)
        free(std::exchange(lpTaken, static_cast<void**>(*lpTaken)));
}
#endif

TEST_F(SystemFile, EntersObjectsBeyondTheInitialOnes) {
    // Object, record size, records.
    const int arRows[][3] = {{5, 188, 0}, {7, 192, 0}, {10, 348, 1}, {12, 424, 0}, {13, 88, 0}, {99, 24, 0}};
    int nBlocks = 0;
    for (const auto& [nObjectID, nRecordSize, nRecords] : arRows) {
        EXPECT_EQ(CreateObject(nObjectID), "0 ");
        const std::size_t nBlock = 0x84000 + 0x40000 * nBlocks++;
        EXPECT_EQ(std::tuple(Int(nBlock + 36), Int(nBlock + 52), Int(nBlock + 56)),
                  std::tuple(nObjectID, nRecordSize, nRecords));
    }
    EXPECT_EQ(CreateObject(100), "0 "); // has no block
    EXPECT_EQ(Int(0x012), nBlocks);

    for (const int nObjectID : {-1, 5, 256})
        EXPECT_EQ(CreateObject(nObjectID),
                  "20 When creating a system object, the corresponding object is used, and the object ID is：" +
                      std::to_string(nObjectID) + "\n");
    Put(m_strBuffer, 0x4C6 + 6 * 56, {{12, 8, 1}});
    EXPECT_EQ(CreateObject(6), "20 When creating system objects, new objects already have blocks!\n");

    // The buffer holds 13 blocks, however large the file is to be.
    for (; nBlocks < 13; ++nBlocks)
        ASSERT_EQ(CreateObject(20 + nBlocks), "0 ");
    EXPECT_TRUE(CreateObject(50).starts_with("11 "));
    Put(m_strBuffer, 0, {{0x08A, 8, 1}});
    EXPECT_EQ(CreateObject(51),
              "20 When you create a new system object, there are empty blocks in the system file！\n");
}

TEST_F(SystemFile, AddsPrivilegesAndDatabasesUntilTheirBlocksAreFull) {
    EXPECT_EQ(Add("Fly", "To fly"),
              "4 When adding permissions, it is found that the permission object is empty, Permission name：Fly\n");
    EXPECT_EQ(AddDatabase(m_lpBuffer, "db", 3, 0), 1);
    ASSERT_EQ(CreateObject(9), "0 ");
    ASSERT_EQ(CreateObject(11), "0 ");
    EXPECT_EQ(Add(nullptr, "To fly"),
              "2 An unknown exception occurs when permissions are added, Permission name：, Error code: 22\n");
    EXPECT_EQ(AddDatabase(m_lpBuffer, nullptr, 3, 0), 1);

    // A text longer than its field is cut; the last field of the object's row is cleared.
    const std::size_t nRow = 0x4C6 + 9 * 56, nRecord = 0x8403C + 33 * 164;
    Put(m_strBuffer, nRow, {{20, 8, -1}});
    std::string strExpected = m_strBuffer.substr(nRecord, 164);
    Put(strExpected, 0, {{0, 4, 77}, {4, 32, std::string(32, 'n')}, {36, 128, std::string(128, 'd')}});
    ASSERT_EQ(Add(std::string(40, 'n').c_str(), std::string(200, 'd').c_str()), "0 ");
    EXPECT_EQ(Difference(m_strBuffer.substr(nRecord, 164), strExpected), -1);
    EXPECT_EQ(Int(nRow + 20), 0);

    int nAdded = 34;
    std::string strFull = "0 ";
    for (; strFull == "0 " && nAdded < 5000; ++nAdded)
        strFull = Add("Fly", "To fly");
    EXPECT_EQ(nAdded, 1598);
    EXPECT_EQ(strFull,
              "1000 When adding permissions, it is found that the remaining database space returned is "
              "insufficient, Permission name：Fly\n");
    for (nAdded = 3; nAdded < 5000 && AddDatabase(m_lpBuffer, "db", 3, 0) == 0;)
        ++nAdded;
    EXPECT_EQ(nAdded, 3119);
}

TEST_F(SystemFile, FindsTheAddressesOfThisMachine) {
    EXPECT_EQ(CheckLocalIPValid(0x7F000001), 1);
    EXPECT_EQ(CheckLocalIPValid(0xC0000201), 0); // 192.0.2.1 is for documents only
    EXPECT_EQ(Run([] {
                  const LIMIT stNoMoreFiles(RLIMIT_NOFILE, 0);
                  return CheckLocalIPValid(0x7F000001);
              }),
              "0 Unable to get local IP list(24)！\n");
}
