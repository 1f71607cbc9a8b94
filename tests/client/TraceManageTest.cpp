#include "TraceManage.h"

#include <sys/stat.h>

#include <climits>
#include <random>

#include "Language.h"
#include "LinkTest.h"
#include "LinuxCommonAPI.h"
#include "ScratchDir.h"
#include "TraceHook.h"

namespace {

namespace fs = std::filesystem;

constexpr std::int64_t SECOND = 1'000'000;
const std::string FILE_HEAD =
    "\xEF\xBB\xBFTimestamp               Thread\tLevel    Code     FuncationName\t\tDescription";

/**
 * The clock stands still, at a time that no other process has, so the log file's name is known and nobody else's. In
 * the future the writer sleeps until it is stopped; in the past it never sleeps.
 */
class TraceManageTest : public testing::Test {
protected:
    void SetUp() override {
        CTraceManage::DestoryInstance();
        g_stPlatform.m_lpfnMicroseconds = [] { return m_nNow.load(); };
        SetNow(OwnTime(2200));
    }
    void TearDown() override {
        CTraceManage::DestoryInstance();
        g_stPlatform = m_stPlatform;
        for (const std::string& strFile : m_arFile)
            fs::remove(strFile);
    }

    void SetNow(std::int64_t nNow) {
        m_nNow = nNow;
        m_arFile.push_back(LogFile());
    }

    static std::string LogFile() { return LogFileAt(m_nNow); }
    static std::string Head(const char* lpszFunction, int nLevel, int nCode) {
        char szHead[256];
        snprintf(szHead, sizeof szHead, "\r\n%s.%03d %d\t% 2d   % 10d %s ",
                 TimeTextAt(m_nNow, "%Y-%m-%d %H:%M:%S").c_str(), static_cast<int>(m_nNow / 1000 % 1000), gettid(),
                 nLevel, nCode, lpszFunction);
        return szHead;
    }
    static std::string Flush() {
        CTraceManage::DestoryInstance();
        return ReadFile(LogFile());
    }

    static inline std::atomic<std::int64_t> m_nNow;
    const PLATFORM m_stPlatform = g_stPlatform;
    std::vector<std::string> m_arFile;
};

TEST_F(TraceManageTest, LineIsHeadAndTextAndLiesInOrder) {
    const std::int64_t nStart = m_nNow;
    const std::string strLongName(300, 'F');
    std::mt19937 stRandom(7);
    std::string strExpected = FILE_HEAD + Head("InitTraceSystem", 0, 999999999) + "客户端组件初始化！";
    InitTraceSystem();
    for (int i = 0; i < 500; ++i) {
        m_nNow = nStart + static_cast<std::int64_t>(stRandom() % 100'000'000) * 1000;
        const char* lpszFunction = i % 50 == 0 ? strLongName.c_str() : "UserLogin";
        const int nShift = static_cast<int>(stRandom() % 32);
        const int nLevel = static_cast<int>(stRandom()) >> nShift,
                  nCode = static_cast<int>(stRandom()) >> (31 - nShift);
        Trace(lpszFunction, nLevel, nCode, "第%d行 100%%", i);
        strExpected += Head(lpszFunction, nLevel, nCode) + "第" + std::to_string(i) + "行 100%";
    }
    m_nNow = nStart;
    // A character without bytes here, which leaves an empty text and no trace in errno.
    errno = ENOTDIR;
    Trace(nullptr, INT_MIN, INT_MAX, "%lc", wint_t{0x4E2D});
    EXPECT_EQ(errno, ENOTDIR);
    Trace0(nullptr, INT_MIN, INT_MAX, nullptr);
    TraceLine("ParseRecordset", 0, 888000000, "%s by the base library");
    strExpected += Head("", INT_MIN, INT_MAX) + Head("", INT_MIN, INT_MAX);
    strExpected += Head("ParseRecordset", 0, 888000000) + "%s by the base library";
    // Only a formatted text is cut.
    const std::string strText(30'000, 'x');
    Trace("F", 0, 0, "%s", strText.c_str());
    Trace0("F", 0, 0, strText.c_str());
    strExpected += Head("F", 0, 0) + strText.substr(0, 20471) + Head("F", 0, 0) + strText;
    ExitTraceSystem();
    EXPECT_EQ(ReadFile(LogFile()), strExpected + Head("InitTraceSystem", 0, 999999999) + "客户端组件析构！");
}

TEST_F(TraceManageTest, LinesPastTheBoundAreDroppedAndANewInstanceFollows) {
    std::string strExpected = FILE_HEAD;
    for (int i = 0; i < 1001; ++i) {
        Trace("F", 0, 0, "%d", i);
        if (i < 1000) strExpected += Head("F", 0, 0) + std::to_string(i);
    }
    EXPECT_EQ(Flush(), strExpected);
    // The file of the same second is emptied.
    Trace0("F", 0, 0, "again");
    EXPECT_EQ(Flush(), FILE_HEAD + Head("F", 0, 0) + "again");
}

// From four threads that also race for the first line.
TEST_F(TraceManageTest, ThreadsTearNoLine) {
    const auto Line = [](int nThread, int nLine) {
        return std::to_string(nThread) + ' ' + std::to_string(nLine) + std::string(nLine % 30, '$');
    };
    for (const int nYear : {1980, 2200}) {
        SetNow(OwnTime(nYear));
        std::vector<std::jthread> arThread;
        for (int nThread = 0; nThread < 4; ++nThread)
            arThread.emplace_back([=] {
                for (int i = 0; i < 50'000; ++i)
                    Trace("F", 0, 0, "%s", Line(nThread, i).c_str());
            });
        arThread.clear();
        std::string strText = Flush();
        std::erase(strText, '\r');
        std::istringstream stFile(strText);
        const std::string strTime = TimeTextAt(m_nNow, "%Y-%m-%d %H:%M:%S.000 ");
        std::string strLine;
        getline(stFile, strLine);
        ASSERT_EQ(strLine, FILE_HEAD);
        int arLast[4] = {-1, -1, -1, -1}, nLines = 0;
        for (; getline(stFile, strLine); ++nLines) {
            ASSERT_TRUE(strLine.starts_with(strTime)) << strLine;
            int nThread = 4, nLine = 0, nText = 0;
            sscanf(strLine.c_str() + strTime.size(), "%*d 0 0 F %n%d %d", &nText, &nThread, &nLine);
            ASSERT_LT(nThread, 4) << strLine;
            ASSERT_EQ(strLine.substr(strTime.size() + nText), Line(nThread, nLine));
            ASSERT_GT(nLine, std::exchange(arLast[nThread], nLine));
        }
        // All that the queue takes while the writer sleeps, and more while it doesn't.
        EXPECT_TRUE(nLines == 1000 || (nYear == 1980 && nLines > 1000)) << nLines;
    }
}

TEST_F(TraceManageTest, FileAboveFiftyMebibytesIsFollowedByANewOne) {
    SetNow(OwnTime(1980));
    const std::string strFirst = LogFile();
    Trace0("F", 0, 0, "first");
    while (!ReadFile(strFirst).ends_with("first"))
        sched_yield();
    SetNow(m_nNow + SECOND);
    ASSERT_EQ(truncate(strFirst.c_str(), 52'428'801), 0);
    while (!fs::exists(LogFile()))
        sched_yield();
    Trace0("F", 0, 0, "second");
    EXPECT_EQ(Flush(), FILE_HEAD + Head("F", 0, 0) + "second");
    EXPECT_EQ(fs::file_size(strFirst), 52'428'801u);
}

TEST_F(TraceManageTest, WithoutAWriterLinesWaitAndAreDropped) {
    g_nLanguage_Chinese = 0;
    const int nStackSize = std::exchange(g_nThreadStackSize, 1);
    CTraceManage* pTrace = CTraceManage::instance();
    g_nThreadStackSize = nStackSize;
    for (int i = 0; i < 2000; ++i)
        Trace0("F", 0, 0, "x");
    EXPECT_EQ(*pTrace->GetTrace(nullptr),
              Head("CTraceManage", 1, 999999999) +
                  "Failed to create the log writer thread, the log can't be written to a file!");
    int nLines = 0;
    for (; pTrace->GetTrace(nullptr); ++nLines) {
    }
    EXPECT_EQ(nLines, 999);
    EXPECT_EQ(Flush(), "");
}

// The writer hangs in opening a pipe that nobody reads.
TEST_F(TraceManageTest, HangingWriterKeepsItsObject) {
    Trace0("F", 0, 0, "late");
    const std::unique_ptr<CTraceManage> pTrace(CTraceManage::instance());
    ASSERT_EQ(mkfifo(LogFile().c_str(), 0600), 0);
    g_stPlatform.m_lpfnSleep = [](std::int64_t) {};
    CTraceManage::DestoryInstance();
    g_stPlatform.m_lpfnSleep = m_stPlatform.m_lpfnSleep;
    EXPECT_EQ(ReadFile(LogFile()), FILE_HEAD + Head("F", 0, 0) + "late");
}

class CDirectTrace : public CTraceManage {
public:
    explicit CDirectTrace(const std::string& strPath) : CTraceManage(1) { SetPath(strPath); }
    void SetPath(const std::string& strPath) {
        free(m_pLogPath);
        m_pLogPath = strdup((strPath + "/").c_str());
    }
    int Write(const char* lpszText) { return WriteLog(nullptr, "F", 0, 4, 0, lpszText); }
    using CTraceManage::m_pFile;
};

TEST_F(TraceManageTest, DirectWritingNeedsNoQueue) {
    const ScratchDir stDir;
    CDirectTrace stTrace(stDir.Path());
    const std::string strFile = stDir.Path(fs::path(LogFile()).filename()), strHead = Head("F", 4, 0);
    EXPECT_EQ(stTrace.Write("one"), 1);
    const std::string strText = ReadFile(strFile);
    EXPECT_TRUE(strText.starts_with("\xEF\xBB\xBFNodename: ")) << strText;
    EXPECT_TRUE(strText.ends_with("\r\n\r\n" + FILE_HEAD.substr(3) + strHead + "one")) << strText;
    // At the limit the file stays; above it the next line opens a new one, here of the same second.
    for (const off_t nSize : {52'480'000, 52'480'001}) {
        ASSERT_EQ(truncate(strFile.c_str(), nSize), 0);
        EXPECT_EQ(stTrace.Write("two"), 1);
        EXPECT_EQ(stTrace.m_pFile != nullptr, nSize == 52'480'000);
    }
    EXPECT_EQ(stTrace.Write("three"), 1);
    EXPECT_EQ(ReadFile(strFile).find("one"), std::string::npos);
    // A full disk, then a directory that is gone.
    fclose(std::exchange(stTrace.m_pFile, fopen("/dev/full", "wb")));
    setvbuf(stTrace.m_pFile, nullptr, _IONBF, 0);
    EXPECT_EQ(stTrace.Write("four"), 0);
    EXPECT_EQ(stTrace.m_pFile, nullptr);
    stTrace.SetPath(stDir.Path("none"));
    EXPECT_EQ(stTrace.Write("five"), 0);
}

TEST_F(TraceManageTest, CleaningRemovesElevenFilesAtMost) {
    constexpr int arRow[][3] = {{62, 0, 51}, {55, 0, 49}, {49, 0, 49}, {3, 300 << 20, 2}, {2, 300 << 20, 2}};
    const fs::path stBefore = fs::current_path();
    for (const auto& [nFiles, nSize, nLeft] : arRow) {
        const ScratchDir stDir;
        CDirectTrace stTrace(stDir.Path());
        fs::create_directory(stDir.Path("logs"));
        fs::current_path(stDir.Path("logs"));
        fs::create_directory("not a file");
        for (int i = 0; i < nFiles; ++i) {
            const std::string strFile = std::to_string(i);
            WriteFile(strFile, "");
            fs::resize_file(strFile, nSize);
            // The clock of the file system goes in coarse steps.
            while (i == 1 && fs::last_write_time(strFile) <= fs::last_write_time("0"))
                fs::resize_file(strFile, nSize);
        }
        EXPECT_EQ(stTrace.LogFileManage("logs"), 1);
        EXPECT_EQ(std::distance(fs::directory_iterator("."), {}), nLeft + 1);
        EXPECT_EQ(fs::exists("0"), nLeft == nFiles);
        EXPECT_EQ(stTrace.LogFileManage("KestroInterface*.log"), 0);
        fs::current_path(stBefore);
    }
}

} // namespace
