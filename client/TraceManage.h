#pragma once

#include <pthread.h>
#include <semaphore.h>

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "KestroCriticalSection.h"

/** Longest text of `Trace` in bytes; a longer one is cut, if need be within a character. */
constexpr std::size_t TRACE_TEXT_MAX = 20471;

/** Lines that wait for the writer; further ones are dropped. */
constexpr int TRACE_QUEUE_MAX = 1000;

/** Code of the trace log's own lines. */
constexpr int TRACE_CODE_OWN = 999999999;

/**
 * Logs one line: 0 the level of normal work, 1 of failures of the trace log itself, 4 of the setup tool's progress; the
 * code tells the place in the source. Callable from any thread, does no file access, keeps errno, and never fails or
 * throws: a line for which there is no room or no memory is dropped. The first line starts the trace log.
 */
void Trace(const char* lpszFunction, int nLevel, int nCode, const char* lpszFormat, ...)
    __attribute__((format(printf, 4, 5)));

/** The same with a text as it stands, of any length. */
void Trace0(const char* lpszFunction, int nLevel, int nCode, const char* lpszText);

/** Chooses the language and logs the start; a client calls it once, before it uses the library or starts a thread. */
void InitTraceSystem();

/**
 * Logs the end, stops the trace log and frees the keyword table; all lines queued so far reach the disk. No other
 * thread may use the library meanwhile.
 */
void ExitTraceSystem();

struct TRACENODE {
    /** Owned by the queue. */
    std::string* m_pText;
    TRACENODE* m_pNext;
};

/**
 * The trace log: a bounded queue of lines, and a detached thread that writes them to Log/KestroInterface<time>.log
 * beside the program, every 3 seconds. Lines still queued at the end of the process are lost, unless `DestoryInstance`
 * ran.
 */
class CTraceManage {
public:
    /** Stops the writer, if that takes no more than 5 seconds, and drops what is queued then. */
    virtual ~CTraceManage();
    CTraceManage(const CTraceManage&) = delete;
    CTraceManage& operator=(const CTraceManage&) = delete;

    /** The one trace log, created if missing; null without memory. It is never destroyed by itself. */
    static CTraceManage* instance();

    /**
     * Writes the queue out and deletes the trace log; a later line creates it anew. No other thread may log meanwhile.
     * A writer that hangs in the file system for 6 seconds keeps its object, which is then never freed.
     */
    static void DestoryInstance();

    /**
     * Queues a line, or writes it directly; a thread id of 0 becomes the caller's. 0 if direct writing failed, else 1.
     * Throws std::bad_alloc without memory for the line's text. Direct writing is for one thread.
     */
    int WriteLog(KESTROCRITICALSECTION* pRecord, const char* lpszFunction, int nThreadID, int nLevel, int nCode,
                 std::string_view strText);

    /** Queues a line, or drops it when TRACE_QUEUE_MAX wait. */
    void AddTrace(std::unique_ptr<std::string> pText, KESTROCRITICALSECTION* pRecord);

    /** Takes the first line, or null. */
    [[nodiscard]] std::unique_ptr<std::string> GetTrace(KESTROCRITICALSECTION* pRecord);

    /**
     * Removes the oldest files of the directory named by the log path and the pattern: one at a time, eleven at most,
     * as long as there are 50 or more or over 600 MiB. 0 if there is no such directory, else 1.
     */
    int LogFileManage(const char* lpszPattern);

    /** Opens the file of direct writing, unless it is open. 0 if it can't be opened or written, else 1. */
    int CheckLogFile();

protected:
    /** An object that writes directly has no writer thread. */
    explicit CTraceManage(int bDirectWrite = 0);

    /** Directory of the log files, with its slash; from `malloc`. */
    char* m_pLogPath;
    /** Non-zero: lines go to m_pFile at once, without lock and queue. */
    int m_bDirectWrite;
    /** Guards the queue: head, tail and count. Recursive. */
    pthread_mutex_t m_csQueue;
    TRACENODE* m_pHead = nullptr;
    TRACENODE* m_pTail = nullptr;
    int m_nCount = 0;
    /** 0 without a writer. */
    pthread_t m_hThread = 0;
    /** Posted to stop the writer. */
    sem_t m_semStop;
    /** 1 when the writer has left the object for good; read and written as an atomic. */
    int m_bThreadExited = 0;
    /** The file of direct writing; the writer has its own. */
    FILE* m_pFile = nullptr;

    static std::atomic<CTraceManage*> m_pSinstance;

private:
    static void* WriteTraceThread(void* lpTrace);
    [[nodiscard]] bool StopWriter(int nTimes, int nMilliseconds);
    [[nodiscard]] FILE* OpenLogFile(bool bBanner);
    [[nodiscard]] bool WriteQueue(FILE* lpFile);
    [[nodiscard]] int WriteDirect(std::string_view strHead, std::string_view strText);
};
