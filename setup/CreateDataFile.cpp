// The data files of a new instance. The server makes them, each by a statement; the statements run on a thread of their
// own, since a file of many gigabytes takes long.

#include "CreateDataFile.h"

#include <pthread.h>

#include <atomic>
#include <cstring>

#include "DBInterface.h"
#include "KestroErrorCode.h"
#include "LocalAddress.h"
#include "MemDBRecordset.h"
#include "Platform.h"
#include "SetupAddress.h"
#include "SetupBringUpMessages.h"
#include "SetupConnection.h"
#include "SetupPaths.h"
#include "SetupProgress.h"
#include "TraceManage.h"

namespace {

constexpr int CONNECT_ATTEMPTS = 600;
constexpr int QUERY_FAILURES_MOST = 120;
constexpr int SECOND_MS = 1000;
constexpr int SEGMENT_PAUSE_MS = 16;
constexpr int THREAD_PAUSE_MS = 1;
constexpr int PROGRESS_PAUSE_MS = 100;

/** Level of the setup program's progress in the trace log. */
constexpr int TRACE_LEVEL_SETUP = 4;
constexpr const char* TRACE_FUNCTION = "CreateDataFileThread";

struct DATAFILEROW {
    char* CREATEDATAFILEPARAM::*m_lpSize;
    const char* m_lpszKind;
    /** Of the file, without its ending, and of the tablespace. */
    const char* m_lpszName;
    MESSAGE m_stBegin;
    MESSAGE m_stFailed;
};

constexpr DATAFILEROW DATAFILES[] = {
    {&CREATEDATAFILEPARAM::m_lpszDataFile,
     "DATAFILE",
     "KestroDataFile",
     {"正在创建内存数据文件...", "Create Memory Data Files..."},
     {"创建内存数据文件失败（%d）", "Failed to create memory data file（%d）"}},
    {&CREATEDATAFILEPARAM::m_lpszTreeFile,
     "TREEFILE",
     "KestroTreeFile",
     {"正在创建内存索引文件...", "Create the memory index file..."},
     {"创建内存索引文件失败（%d）", "Failed to create memory index file（%d）"}},
    {&CREATEDATAFILEPARAM::m_lpszKVFile,
     "KVFILE",
     "KestroKVFile",
     {"正在创建内存哈希文件...", "Create a memory hash file..."},
     {"创建内存哈希文件失败（%d）", "Failed to create memory hash file（%d）"}},
    {&CREATEDATAFILEPARAM::m_lpszTableFile,
     "TABLEFILE",
     "TableFile",
     {"正在创建表数据文件...", "Create table data files..."},
     {"创建表数据文件失败（%d）", "Failed to create table data file（%d）"}},
    {&CREATEDATAFILEPARAM::m_lpszIndexFile,
     "INDEXFILE",
     "IndexFile",
     {"正在创建表索引文件...", "Create table index files..."},
     {"创建表索引文件失败（%d）", "Failed to create table index file（%d）"}},
};

/** The instance directory inside a text in single quotes, where a doubled quote stands for one. */
using QUOTEDPATH = char[2 * MAX_PATH];

void QuotePath(QUOTEDPATH& szQuoted) {
    char* lpszTo = szQuoted;
    for (const char* lpszFrom = g_lpDatabasePath; *lpszFrom; *lpszTo++ = *lpszFrom++)
        if (*lpszFrom == '\'') *lpszTo++ = '\'';
    *lpszTo = 0;
}

int AddDataFile(CDBInterface& stConnection, const DATAFILEROW& stRow, const char* lpszSize) {
    QUOTEDPATH szPath;
    QuotePath(szPath);
    // Twice the longest path, and a size of at most 31 bytes: it fits.
    char szSql[1024];
    std::snprintf(szSql, sizeof szSql, "ALTER SYSTEM ADD %s '%s%s.dbf' TABLESPACE '%s' %sMB", stRow.m_lpszKind, szPath,
                  stRow.m_lpszName, stRow.m_lpszName, lpszSize);
    MF_EXECUTE_STATISTICS stStat{};
    int nAffect = 0;
    return stConnection.ExecuteCommand(szSql, nAffect, &stStat);
}

bool AddDataFiles(const CREATEDATAFILEPARAM& stParam) {
    for (const DATAFILEROW& stRow : DATAFILES) {
        char* const lpszSize = stParam.*stRow.m_lpSize;
        if (!is_valid_digital(lpszSize)) continue;
        Trace0(TRACE_FUNCTION, TRACE_LEVEL_SETUP, 0, Text(stRow.m_stBegin));
        if (const int nCode = AddDataFile(*stParam.m_pConnection, stRow, lpszSize)) {
            Trace(TRACE_FUNCTION, TRACE_LEVEL_SETUP, 0, Text(stRow.m_stFailed), nCode);
            return false;
        }
    }
    Trace0(TRACE_FUNCTION, TRACE_LEVEL_SETUP, 0, Text(MSG_TRACE_FILES_DONE));
    return true;
}

// Another status than the one awaited, and no row at all, are waited out without a limit; failures of the query add up,
// also where others succeed between them. Intended.
int AwaitOpen(CDBInterface& stConnection) {
    CMemDBRecordset stRecordset;
    for (int nFailures = 0;; SleepMilliseconds(SECOND_MS)) {
        stRecordset.Free();
        int nCode = stConnection.GetRecordset("SELECT STATUS FROM V$INSTANCE", stRecordset, nullptr);
        if (nCode != ERR_OK && ++nFailures < QUERY_FAILURES_MOST) continue;
        if (nCode == ERR_OK && stRecordset.GetRowNum() == 0) {
            Say<MSG_STATUS_NO_ROW>();
            continue;
        }
        // A status that is NULL has no text: -1, which ends the run too.
        char* lpszStatus = nullptr;
        if (nCode == ERR_OK) nCode = stRecordset.FieldValue(0, lpszStatus);
        if (nCode != ERR_OK) {
            Say<MSG_STATUS_FAILED>(nCode);
            return nCode;
        }
        if (std::strcmp(lpszStatus, STATUS_OPEN) == 0) return ERR_OK;
    }
}

int RunDataFileThread(CREATEDATAFILEPARAM& stParam) {
    CSetupProgress stProgress;
    SayText(MSG_DATA_FILES_BEGIN);
    std::fflush(stdout);
    // Neither joined nor detached: its status is awaited, and the process ends soon after it.
    pthread_t nThread;
    if (const int nError = pthread_create(&nThread, nullptr, CreateDataFileThread, &stParam)) {
        Trace(TRACE_FUNCTION, TRACE_LEVEL_SETUP, 0, Text(MSG_TRACE_NO_THREAD), nError);
        stParam.m_nStatus = DATAFILE_FAILED;
    }
    SleepMilliseconds(THREAD_PAUSE_MS);
    AwaitDataFiles(stParam, stProgress);
    return stParam.m_nStatus == DATAFILE_DONE ? 0 : 1;
}

} // namespace

void* CreateDataFileThread(void* lpParam) {
    CREATEDATAFILEPARAM& stParam = *static_cast<CREATEDATAFILEPARAM*>(lpParam);
    const int nStatus = AddDataFiles(stParam) ? DATAFILE_DONE : DATAFILE_FAILED;
    std::atomic_ref(stParam.m_nStatus).store(nStatus, std::memory_order_release);
    return nullptr;
}

void AwaitDataFiles(CREATEDATAFILEPARAM& stParam, CSetupProgress& stProgress) {
    while (std::atomic_ref(stParam.m_nStatus).load(std::memory_order_acquire) == DATAFILE_RUNNING) {
        if (stProgress.IsOpen()) stProgress.Show(stProgress.Read());
        SleepMilliseconds(PROGRESS_PAUSE_MS);
    }
    SayText(MSG_LINE_END);
    SleepMilliseconds(THREAD_PAUSE_MS);
}

int CreateDataFile(char* data, char* tree, char* kv, char* table, char* index, char* localIP, unsigned short port,
                   CDBInterface*) {
    Say<MSG_CONNECT_BEGIN>();
    SleepMilliseconds(SECOND_MS);
    CDBInterface stConnection;
    int nCode = ConnectAsRoot(stConnection, ParseAddress(localIP), port, CONNECT_ATTEMPTS);
    Say<MSG_CONNECT_END>();
    if (nCode != ERR_OK) {
        Say<MSG_CONNECT_FAILED>(int{port}, CONNECT_ATTEMPTS);
        return nCode;
    }
    nCode = AwaitOpen(stConnection);
    if (nCode != ERR_OK) return nCode;
    SleepMilliseconds(SEGMENT_PAUSE_MS);
    CREATEDATAFILEPARAM stParam{DATAFILE_RUNNING, data, tree, kv, table, index, &stConnection};
    return RunDataFileThread(stParam);
}
