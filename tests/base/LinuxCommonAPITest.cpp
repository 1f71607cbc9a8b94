// The Win32-like interface on a scratch directory, a driven clock and files in the place of the process file system.

#include "LinuxCommonAPI.h"

#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Platform.h"
#include "ScratchDir.h"

namespace {

/** A clock that only sleep moves. */
std::int64_t g_nClock;
/** What sleep puts into the file "stat", if anything. */
std::string g_strNextStat;

class LinuxCommonAPI : public testing::Test {
protected:
    LinuxCommonAPI() {
        g_nClock = 1'700'000'000'999'999;
        g_strNextStat.clear();
        g_stPlatform.m_lpszProcPath = m_strProc.c_str();
        g_stPlatform.m_lpfnMicroseconds = [] { return g_nClock; };
        g_stPlatform.m_lpfnSleep = [](std::int64_t nMicroseconds) {
            g_nClock += nMicroseconds;
            if (!g_strNextStat.empty()) WriteFile(std::string(g_stPlatform.m_lpszProcPath) + "/stat", g_strNextStat);
            sched_yield();
        };
    }
    ~LinuxCommonAPI() override {
        g_stPlatform = m_stPlatform;
        setenv("PATH", m_strPath.c_str(), 1);
    }

    void SetProgram(const char* lpszProgram) {
        std::filesystem::create_directories(m_stScratch.Path("self"));
        std::filesystem::create_symlink(lpszProgram, m_stScratch.Path("self/exe"));
    }
    void Script(const char* lpszName, const std::string& strText) {
        WriteFile(m_stScratch.Path(lpszName), "#!/bin/sh\n" + strText);
        chmod(m_stScratch.Path(lpszName).c_str(), 0755);
    }

    const ScratchDir m_stScratch;
    const PLATFORM m_stPlatform = g_stPlatform;
    const std::string m_strPath = std::getenv("PATH");
    const std::string m_strProc = m_stScratch.Path();
};

TEST_F(LinuxCommonAPI, NamesPrograms) {
    SetProgram("/opt/bin/tool");
    WriteFile(m_stScratch.Path("tool"), "");
    setenv("PATH", ("/nowhere::" + m_strProc + ":" + std::string(300, 'd')).c_str(), 1);
    const std::size_t nFound = m_strProc.size() + 6;
    const std::tuple<const char*, std::size_t, int, std::string> arRows[] = {
        {nullptr, 14, 0, "/opt/bin/tool"},
        {nullptr, 13, 0, "/opt/bin/too"},
        {"a/b", 3, -1, "a/"},
        {"tool", nFound, 0, m_strProc + "/tool"},
        {"tool", nFound - 1, -1, std::string(nFound - 2, 'd')},
        {"none", 300, -1, std::string(252, 'd') + "/none"}};
    for (const auto& [lpszModule, nSize, nResult, strName] : arRows) {
        std::vector<char> arBuffer(nSize, 'z');
        EXPECT_EQ(GetModuleFileName(lpszModule, arBuffer.data(), static_cast<UINT>(nSize)), nResult);
        EXPECT_EQ(arBuffer.data(), strName);
    }
}

TEST_F(LinuxCommonAPI, OpensByDisposition) {
    constexpr DWORD READ = GENERIC_READ, WRITE = GENERIC_WRITE, BOTH = READ | WRITE, NONE = 0;
    // The size of a file of 3 bytes after the call, and of one that was missing; -1 for no handle.
    const std::tuple<DWORD, DWORD, int, int> arRows[] = {
        {CREATE_NEW, BOTH, -1, 0},         {CREATE_NEW, NONE, -1, -1},       {CREATE_ALWAYS, BOTH, 0, 0},
        {CREATE_ALWAYS, READ, 0, 0},       {CREATE_ALWAYS, NONE, -1, -1},    {77, WRITE, 0, 0},
        {OPEN_EXISTING, BOTH, 3, -1},      {OPEN_EXISTING, READ, 3, -1},     {OPEN_EXISTING, NONE, -1, -1},
        {OPEN_ALWAYS, BOTH, 3, 0},         {OPEN_ALWAYS, READ, 3, 0},        {TRUNCATE_EXISTING, BOTH, 0, -1},
        {TRUNCATE_EXISTING, READ, -1, -1}, {TRUNCATE_EXISTING, WRITE, 0, -1}};
    const std::string strFile = m_stScratch.Path("file");
    for (const auto& [nDisposition, nAccess, nExisting, nMissing] : arRows)
        for (const bool bExists : {true, false}) {
            std::filesystem::remove(strFile);
            if (bExists) WriteFile(strFile, "abc");
            const HANDLE hFile = Kestro_OpenFile(strFile.c_str(), nAccess, 1, nDisposition, 0x80);
            ASSERT_EQ(hFile ? Kestro_GetFileSize(hFile) : -1, bExists ? nExisting : nMissing)
                << nDisposition << ' ' << nAccess << bExists;
            struct stat stFile;
            EXPECT_TRUE(stat(strFile.c_str(), &stFile) != 0 || (stFile.st_mode & 0777) == 0666);
            EXPECT_TRUE(!hFile || (write(*static_cast<int*>(hFile), "x", 1) == 1) == !!(nAccess & WRITE));
            Kestro_CloseFile(hFile);
        }
    std::filesystem::create_directories(m_stScratch.Path("folder/inner"));
    EXPECT_EQ(Kestro_OpenFile(m_stScratch.Path("folder").c_str(), BOTH, 0, CREATE_ALWAYS, 0), nullptr);
}

TEST_F(LinuxCommonAPI, KeepsThePositionWhenItTellsASize) {
    WriteFile(m_stScratch.Path("file"), "abcdef");
    const HANDLE hFile = Kestro_OpenFile(m_stScratch.Path("file").c_str(), GENERIC_READ, 0, OPEN_EXISTING, 0);
    EXPECT_EQ(Kestro_SeekFile(hFile, -2, FILE_END), 0);
    EXPECT_EQ(Kestro_GetFileSize(hFile), 6);
    const STREAMPTR lpFile(fdopen(*static_cast<int*>(hFile), "r"));
    EXPECT_EQ(GetFileSize(lpFile.get(), nullptr), 6);
    EXPECT_EQ(std::fgetc(lpFile.get()), 'e');
    EXPECT_EQ(Kestro_SeekFile(hFile, -1, FILE_BEGIN), -1);
    delete static_cast<int*>(hFile);
}

TEST_F(LinuxCommonAPI, TellsTheTime) {
    setenv("TZ", "CST-8", 1);
    tzset();
    SYSTEMTIME stTime{0, 0, 9, 0, 0, 0, 0, 0};
    GetLocalTime(&stTime);
    unsetenv("TZ");
    tzset();
    const WORD arTime[] = {2023, 11, 9, 15, 6, 13, 20, 999};
    EXPECT_EQ(std::memcmp(&stTime, arTime, sizeof(arTime)), 0);
    timeval stValue{1, 999'999};
    TimeraddMS(&stValue, 0xFFFFFFFF);
    EXPECT_EQ(stValue.tv_sec * 1'000'000 + stValue.tv_usec, 4'294'969'294'999);
}

/** A thread that waits for a semaphore. It leaves by the exit that skips the rest of its callers. */
void* WaitForGate(void* lpGate) {
    while (sem_wait(static_cast<sem_t*>(lpGate)) != 0) {
    }
    pthread_exit(nullptr);
}

TEST_F(LinuxCommonAPI, WaitsForThreads) {
    sem_t stGate;
    sem_init(&stGate, 0, 0);
    pthread_t arIDs[3]{};
    EXPECT_EQ(WaitForSingleObject(arIDs[1], 5), WAIT_FAILED);
    ASSERT_EQ(CreateThreadAllPlateForm(&arIDs[0], WaitForGate, &stGate), 0);
    ASSERT_EQ(CreateThreadAllPlateForm(&arIDs[2], WaitForGate, &stGate), 0);
    const std::int64_t nStart = g_nClock;
    EXPECT_EQ(WaitForSingleObject(arIDs[0], 5), WAIT_TIMEOUT);
    EXPECT_EQ(g_nClock - nStart, 6000) << "the time must be exceeded";
    EXPECT_EQ(WaitForMultipleObjects(3, arIDs, 0, 5), WAIT_TIMEOUT);
    sem_post(&stGate);
    sem_post(&stGate);
    pthread_t nEnded = arIDs[0];
    EXPECT_EQ(WaitForMultipleObjects(3, arIDs, 0, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(arIDs[0] + arIDs[1] + arIDs[2], 0U);
    EXPECT_EQ(WaitForSingleObject(nEnded, 0), WAIT_OBJECT_0);
    pthread_t nSelf = pthread_self();
    EXPECT_EQ(WaitForSingleObject(nSelf, 0), WAIT_TIMEOUT);
    sem_destroy(&stGate);
}

TEST_F(LinuxCommonAPI, WaitsForSemaphores) {
    sem_t stSemaphore;
    sem_init(&stSemaphore, 0, 2);
    EXPECT_EQ(WaitForSingleObject(stSemaphore, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(&stSemaphore, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(&stSemaphore, 0), WAIT_TIMEOUT);
    // The driven clock stands in the past, and so does the deadline.
    EXPECT_EQ(WaitForSingleObject(stSemaphore, 1), WAIT_TIMEOUT);
    sem_destroy(&stSemaphore);
    EXPECT_EQ(WaitForSingleObject(static_cast<sem_t*>(nullptr), 9), WAIT_TIMEOUT);
}

TEST_F(LinuxCommonAPI, ReadsMemoryFigures) {
    using FIGURES = std::vector<long long>;
    FIGURES n{1, 2, 3, 4, 5};
    get_mem_info(n[0], n[1], n[2]);
    EXPECT_EQ(n, (FIGURES{0, 0, 3, 4, 5}));
    const std::pair<std::string, FIGURES> arRows[] = {
        {"MemTotal:  16 kB\nMemFree: 9 kB\nMemAvailable:\t12 kB\n", {16, 9, 12, 4, 5}},
        {"MemFree: 9 kB\nMemTotal: 16 kB\nMemAvailable: 12 kB\n", {0, 0, 12, 4, 5}},
        {"MemTotal: 99999999999999999999\nMemFree: x\n" + std::string(9000, 'x'), {LLONG_MAX, 0, 0, 4, 5}}};
    for (const auto& [strText, arFigures] : arRows) {
        WriteFile(m_stScratch.Path("meminfo"), strText);
        get_mem_info(n[0], n[1], n[2]);
        EXPECT_EQ(n, arFigures);
    }
    const std::string strOwn = m_stScratch.Path(std::to_string(getpid()));
    std::filesystem::create_directories(strOwn);
    WriteFile(strOwn + "/status", "Name: x\nVmPeak:\t 20 kB\nVmSize: 10 kB\nVmHWM:\t40 kB\nVmData: 7 kB\n");
    WriteFile(strOwn + "/statm", "1 2 3 4 5 6 70\n8 8 8 8 8 8 8\n");
    get_processmem_info(n[0], n[1], n[2], n[3], n[4]);
    EXPECT_EQ(n, (FIGURES{10, 20, 0, 40, 70}));
}

TEST_F(LinuxCommonAPI, MeasuresLoadOverASecond) {
    const std::tuple<const char*, const char*, int> arRows[] = {
        {"cpu  10 0 0 100 0 0 0 5\ncpu0 1\n", "cpu  20 1 2 187 0 0 0 9\n", 13},
        {"x 1\ncpu 0 0 0 0 0 0 0\n", "cpu 1 0 0 1 1 0 0\n", 67},
        {"cpu 1 1 1 1 1 1 1\n", "cpu 1 1 1 1 1 1 1\n", 0},
        {"cpu 0 0 0 9223372036854775807", "cpu 0 0 0 -9223372036854775808 0 0 1", 50}};
    int nBusy = 7;
    get_cpu_info(nBusy);
    EXPECT_EQ(nBusy, 0);
    for (const auto& [lpszFirst, lpszSecond, nExpected] : arRows) {
        WriteFile(m_stScratch.Path("stat"), lpszFirst);
        g_strNextStat = lpszSecond;
        const std::int64_t nStart = g_nClock;
        get_cpu_info(nBusy);
        EXPECT_EQ(g_nClock - nStart, 1'000'000);
        EXPECT_EQ(nBusy, nExpected) << lpszSecond;
    }
}

TEST_F(LinuxCommonAPI, DumpsStacks) {
    SetProgram("/opt/tool");
    setenv("PATH", (m_strProc + ":" + m_strPath).c_str(), 1);
    Script("pidof", "echo 42");
    Script("gdb", "[ $1 = --version ] && exit\necho \"(gdb) #$*\"\necho noise\nwhile read l; do echo \"#$l\"; done\n");
    const std::string strSetup = "#set width 0\n#set height 0\n#set pagination no\n";
    const std::string strAll = "#--quiet -nx tool 42\n" + strSetup + "#thread apply all bt\n";
    const std::string strOne = "#--quiet -nx /opt/tool 7\n" + strSetup + "#bt\n";
    char szText[200];
    EXPECT_EQ(get_specified_thread_stacktrace_of_current_process(7, szText, 200), static_cast<int>(strOne.size()));
    EXPECT_EQ(szText, strOne);
    for (const std::size_t nSize : {strAll.size() + 1, strAll.size(), std::size_t{1}}) {
        std::vector<char> arBuffer(nSize, 'z');
        EXPECT_EQ(get_all_thread_stacktrace_of_specified_process("tool", arBuffer.data(), static_cast<int>(nSize)),
                  static_cast<int>(nSize) - 1);
        EXPECT_EQ(arBuffer.data(), strAll.substr(0, nSize - 1));
    }
    for (const std::string& strName : {std::string("a;b"), std::string("-x"), std::string(), std::string(200, 'a')})
        EXPECT_EQ(get_all_thread_stacktrace_of_specified_process(strName.c_str(), szText, 200), 0) << strName;
}

TEST_F(LinuxCommonAPI, ConvertsTexts) {
    char szText[8];
    EXPECT_EQ(CodeConvert("utf-8", "gb2312", "\xE4\xB8\xAD!", 4, szText, 8), 0);
    EXPECT_EQ(std::string(szText, 8), std::string("\xD6\xD0!\0\0\0\0\0", 8));
    EXPECT_EQ(CodeConvert("utf-8", "gb2312", "abc", 3, szText, 2), 1);
    EXPECT_EQ(CodeConvert("utf-8", "no such code", "abc", 3, szText, 8), 1);
    const std::unique_ptr<char[]> lpszAnsi(UTF8ConvertAnsi("\xE4\xB8\xAD\xE6\x96\x87"));
    EXPECT_STREQ(lpszAnsi.get(), "\xD6\xD0\xCE\xC4");
    EXPECT_EQ(UTF8ConvertAnsi("\xFF"), nullptr);
}

} // namespace
