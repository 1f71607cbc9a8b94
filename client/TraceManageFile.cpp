// The trace log's files: naming, opening and closing them, the writer thread and direct writing. Old log files are not
// cleaned away, see LogFileManage.

#include <dirent.h>
#include <limits.h>
#include <sys/stat.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>

#include <ctime>
#include <tuple>

#include "LinuxCommonAPI.h"
#include "Platform.h"
#include "TraceManage.h"

namespace {

constexpr char LOG_FILE_STEM[] = "KestroInterface";
constexpr char LOG_FILE_PATTERN[] = "KestroInterface*.log";
constexpr int LOG_OPEN_ATTEMPTS = 5;

constexpr DWORD LOG_ROUND_MILLISECONDS = 3000;

/** A file above its size is closed at the end of the batch, or of the directly written line. */
constexpr long long LOG_FILE_MAX = 0x3200000;
constexpr long long LOG_DIRECT_FILE_MAX = 0x320C800;

/** Limits of a log directory, and how many files one cleaning removes. */
constexpr long long LOG_DIRECTORY_BYTES_MAX = 0x25800000;
constexpr int LOG_DIRECTORY_FILES_MAX = 50;
constexpr int LOG_CLEAN_FILES_MAX = 11;

constexpr std::string_view UTF8_MARK = "\xEF\xBB\xBF";
constexpr std::string_view COLUMN_LINE =
    "Timestamp               Thread\tLevel    Code     FuncationName\t\tDescription";

bool Write(FILE* lpFile, std::string_view strBytes) {
    return fwrite(strBytes.data(), 1, strBytes.size(), lpFile) == strBytes.size();
}

// Opens the file of this second. A file of the same second is emptied. Intended. Started services don't inherit it.
FILE* CreateLogFile(const char* lpszLogPath) {
    for (int i = 0; lpszLogPath && i < LOG_OPEN_ATTEMPTS; ++i) {
        if (i > 0) SleepMilliseconds(1);
        SYSTEMTIME stNow{};
        GetLocalTime(&stNow);
        char szPath[PATH_MAX + 64];
        snprintf(szPath, sizeof szPath, "%s%s%04d%02d%02d%02d%02d%02d.log", lpszLogPath, LOG_FILE_STEM, stNow.wYear,
                 stNow.wMonth, stNow.wDay, stNow.wHour, stNow.wMinute, stNow.wSecond);
        if (FILE* lpFile = fopen(szPath, "wbe")) return lpFile;
    }
    return nullptr;
}

bool WriteBanner(FILE* lpFile) {
    utsname stName{};
    uname(&stName);
    struct sysinfo stMemory {};
    sysinfo(&stMemory);
    return fprintf(lpFile,
                   "Nodename: %s\r\nSystem: %s\r\nHardware: %s\r\nVersion: %s, %s\r\nToalRam: %luMB, FreeRam: %luMB, "
                   "SharedRam: %luMB, BufferRam: %luMB, TotalSwap: %luMB, FreeSwap: %luMB, Procs: %d\r\n\r\n",
                   stName.nodename, stName.sysname, stName.machine, stName.release, stName.version,
                   stMemory.totalram >> 20, stMemory.freeram >> 20, stMemory.sharedram >> 20, stMemory.bufferram >> 20,
                   stMemory.totalswap >> 20, stMemory.freeswap >> 20, stMemory.procs) >= 0;
}

// The head of an empty file. Another process may have opened the same name in the same second and written already.
bool WriteFileHead(FILE* lpFile, bool bBanner) {
    if (GetFileSize(lpFile, nullptr) != 0) return fseek(lpFile, 0, SEEK_END) == 0;
    return Write(lpFile, UTF8_MARK) && (!bBanner || WriteBanner(lpFile)) && Write(lpFile, COLUMN_LINE);
}

void Close(FILE*& lpFile) {
    if (lpFile) fclose(lpFile);
    lpFile = nullptr;
}

// A flush that fails is found by the next write.
void CloseOrFlush(FILE*& lpFile, long long nMaxSize) {
    if (GetFileSize(lpFile, nullptr) > nMaxSize)
        Close(lpFile);
    else
        fflush(lpFile);
}

struct LOGDIRECTORY {
    int m_nFiles = 0;
    long long m_nBytes = 0;
    timespec m_stOldest{};
    char m_szOldest[NAME_MAX + 1] = "";
};

bool ReadLogDirectory(const char* lpszPath, LOGDIRECTORY& stDirectory) {
    DIR* lpDirectory = opendir(lpszPath);
    if (!lpDirectory) return false;
    while (const dirent* lpEntry = readdir(lpDirectory)) {
        struct stat stFile {};
        // By the bare name, that is in the current directory, where the file is removed too. Intended.
        if (lstat(lpEntry->d_name, &stFile) != 0 || !S_ISREG(stFile.st_mode)) continue;
        const auto& [nSeconds, nNanoseconds] = stDirectory.m_stOldest;
        if (stDirectory.m_nFiles == 0 ||
            std::tie(stFile.st_ctim.tv_sec, stFile.st_ctim.tv_nsec) < std::tie(nSeconds, nNanoseconds)) {
            stDirectory.m_stOldest = stFile.st_ctim;
            snprintf(stDirectory.m_szOldest, sizeof stDirectory.m_szOldest, "%s", lpEntry->d_name);
        }
        ++stDirectory.m_nFiles;
        stDirectory.m_nBytes += stFile.st_size;
    }
    closedir(lpDirectory);
    return true;
}

} // namespace

int CTraceManage::LogFileManage(const char* lpszPattern) {
    // The pattern is taken as the name of a directory; no such one exists, and old log files stay. Intended.
    char szPath[PATH_MAX + 64];
    snprintf(szPath, sizeof szPath, "%s%s", m_pLogPath ? m_pLogPath : "", lpszPattern);
    for (int i = 0; i < LOG_CLEAN_FILES_MAX; ++i) {
        LOGDIRECTORY stDirectory;
        if (!ReadLogDirectory(szPath, stDirectory)) return 0;
        if (stDirectory.m_nBytes <= LOG_DIRECTORY_BYTES_MAX && stDirectory.m_nFiles < LOG_DIRECTORY_FILES_MAX) break;
        DeleteFile(stDirectory.m_szOldest);
    }
    return 1;
}

// A new log file with its head written, or null.
FILE* CTraceManage::OpenLogFile(bool bBanner) {
    LogFileManage(LOG_FILE_PATTERN);
    FILE* lpFile = CreateLogFile(m_pLogPath);
    if (lpFile && !WriteFileHead(lpFile, bBanner)) Close(lpFile);
    return lpFile;
}

int CTraceManage::CheckLogFile() {
    if (!m_pFile) m_pFile = OpenLogFile(true);
    return m_pFile ? 1 : 0;
}

int CTraceManage::WriteDirect(std::string_view strHead, std::string_view strText) {
    if (!CheckLogFile()) return 0;
    if (!Write(m_pFile, strHead) || !Write(m_pFile, strText)) {
        Close(m_pFile);
        return 0;
    }
    CloseOrFlush(m_pFile, LOG_DIRECT_FILE_MAX);
    return 1;
}

// Writes lines until the queue is empty. False on a write error: the line in hand is lost, the others stay.
bool CTraceManage::WriteQueue(FILE* lpFile) {
    while (const std::unique_ptr<std::string> pLine = GetTrace(nullptr))
        if (!Write(lpFile, *pLine)) return false;
    return true;
}

// Rounds of at most 3 seconds until the stop. Without a file the lines wait in the queue for the next round.
void* CTraceManage::WriteTraceThread(void* lpTrace) {
    CTraceManage* pTrace = static_cast<CTraceManage*>(lpTrace);
    FILE* lpFile = nullptr;
    for (bool bStop = false; !bStop;) {
        bStop = WaitForSingleObject(&pTrace->m_semStop, LOG_ROUND_MILLISECONDS) == WAIT_OBJECT_0;
        // Here the zone's file is looked at again, since callers never do.
        tzset();
        if (!lpFile) lpFile = pTrace->OpenLogFile(false);
        if (!lpFile) continue;
        if (pTrace->WriteQueue(lpFile))
            CloseOrFlush(lpFile, LOG_FILE_MAX);
        else
            Close(lpFile);
    }
    Close(lpFile);
    // From here on the object may be gone.
    std::atomic_ref(pTrace->m_bThreadExited).store(1, std::memory_order_release);
    return nullptr;
}
