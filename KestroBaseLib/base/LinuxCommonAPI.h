#pragma once

#include <pthread.h>
#include <semaphore.h>
#include <sys/time.h>

#include <cstdio>
#include <memory>

#include "TypeDef.h"

// A small Win32-like interface on Linux: files, waits on threads and semaphores, time, the process file system, stack
// dumps. Nothing here prints or traces; results tell all. Clock, sleep and the place of the process file system are
// those of `g_stPlatform`. The profile functions stand in LinuxCommonAPIProfile.h, since they read decimal numbers.

// ---- Files

/** Access word of `Kestro_OpenFile`; at least one bit is needed. */
constexpr DWORD GENERIC_READ = 0x80000000;
constexpr DWORD GENERIC_WRITE = 0x40000000;

/** Disposition of `Kestro_OpenFile`; any other value acts as CREATE_ALWAYS. */
constexpr DWORD CREATE_NEW = 1;
constexpr DWORD CREATE_ALWAYS = 2;
constexpr DWORD OPEN_EXISTING = 3;
constexpr DWORD OPEN_ALWAYS = 4;
constexpr DWORD TRUNCATE_EXISTING = 5;

/** Flag of `Kestro_OpenFile`: past the page cache, and on the disk when a write returns. */
constexpr DWORD FILE_FLAG_NO_BUFFERING = 0x20000000;

/** Origins of `Kestro_SeekFile`. */
constexpr DWORD FILE_BEGIN = 0;
constexpr DWORD FILE_CURRENT = 1;
constexpr DWORD FILE_END = 2;

/**
 * With no module name: the path of this program; answers 0. A path that doesn't fit is cut; the buffer always ends with
 * a zero byte. With a name that holds a "/": copies it and answers -1. With a bare name: looks in the directories of
 * PATH and answers 0 with the path found in the buffer, or -1 with anything in it.
 */
int GetModuleFileName(const char* lpszModule, char* lpszBuffer, UINT nSize);

/** 0, or -1 with `errno`; an existing directory is a failure with EEXIST. The second argument is unused. */
int CreateDirectory(const char* lpszPath, void* lpUnused);

/** Removes a file or an empty directory. */
bool DeleteFile(const char* lpszPath);

/**
 * Opens a file and sets its mode to 0666. The share mode is ignored. Answers a handle, an `int` from `new` that holds
 * the descriptor, which belongs to the caller until `Kestro_CloseFile`; or null with `errno`.
 */
[[nodiscard]] HANDLE Kestro_OpenFile(const char* lpszPath, DWORD nAccess, DWORD nShareMode, DWORD nDisposition,
                                     DWORD nFlags);

/** Closes the descriptor and frees the handle; null is allowed. */
void Kestro_CloseFile(HANDLE hFile);

/** 0, or -1. */
[[nodiscard]] int Kestro_SeekFile(HANDLE hFile, long long nOffset, DWORD nOrigin);

/** Size in bytes, 0 for a null handle or a file that can't seek. The position is kept. */
[[nodiscard]] long long Kestro_GetFileSize(HANDLE hFile);

/** Size of a stream's file in bytes, 0 on failure. The position is kept. The second argument is unused. */
[[nodiscard]] long long GetFileSize(FILE* lpFile, void* lpUnused);

/** A stream that is closed with its scope. */
struct STREAMCLOSER {
    void operator()(FILE* lpFile) const { std::fclose(lpFile); }
};
using STREAMPTR = std::unique_ptr<FILE, STREAMCLOSER>;

// ---- Time

struct _SYSTEMTIME {
    WORD wYear;
    /** 1 to 12. */
    WORD wMonth;
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};
using SYSTEMTIME = _SYSTEMTIME;
using LPSYSTEMTIME = _SYSTEMTIME*;

/** The time of day in the machine's zone, as `tzset` or the first use took it. `wDayOfWeek` is left as it was. */
void GetLocalTime(LPSYSTEMTIME lpTime);

/**
 * Seconds by which the machine's zone is ahead of UTC, as local midnight of 1 January 2017 has it: a day without summer
 * time north of the equator.
 */
[[nodiscard]] long long ZoneSeconds();

/** Microseconds since 1970; answers 1. There is no frequency call: a tick is a microsecond. */
BOOL QueryPerformanceCounter(long long* lpCounter);

/** Adds milliseconds to a time whose microseconds are below one second, and carries. */
void TimeraddMS(timeval* lpTime, DWORD nMilliseconds);

// ---- Threads and waits: WAIT_OBJECT_0, WAIT_TIMEOUT or WAIT_FAILED; times in milliseconds

/** Stack of new threads in bytes, 1 to 10 MB; `InitLanguageSetting` sets it before a thread starts. */
extern int g_nThreadStackSize;

/**
 * Starts a detached thread. Answers 0, or 1 with the id set to 0. The last two arguments are unused.
 * The id may be waited for as long as no later thread has got it anew.
 */
[[nodiscard]] int CreateThreadAllPlateForm(pthread_t* lpThreadID, void* (*lpfnStart)(void*), void* lpArgument,
                                           DWORD nUnused = 0, void* lpUnused = nullptr);

/**
 * Waits for the end of a thread. The id 0 fails, after a millisecond if a time is given. A thread that was started by
 * other means counts as ended when its id was that of one started here.
 */
[[nodiscard]] DWORD WaitForSingleObject(pthread_t& nThreadID, DWORD nMilliseconds);

/** Waits for a semaphore; 0 only tries. A signal handler that runs meanwhile ends the wait with WAIT_FAILED. */
[[nodiscard]] DWORD WaitForSingleObject(sem_t& stSemaphore, DWORD nMilliseconds);

/** The same; a null pointer times out, after a millisecond if a time is given. */
[[nodiscard]] DWORD WaitForSingleObject(sem_t* lpSemaphore, DWORD nMilliseconds);

/** Waits for the end of all threads, whatever the flag says. Ids of threads found ended are set to 0. */
[[nodiscard]] DWORD WaitForMultipleObjects(DWORD nCount, pthread_t* lpThreadIDs, BOOL bWaitAll, DWORD nMilliseconds);

// ---- Code pages and letters

/**
 * Converts a text between two character sets named as `iconv` names them. The output is zeroed first; it ends with a
 * zero byte only if the result is shorter than its size. 0; or 1, with what was converted so far in the output.
 */
[[nodiscard]] int CodeConvert(const char* lpszFrom, const char* lpszTo, const char* lpszInput, std::size_t nInputLen,
                              char* lpszOutput, std::size_t nOutputSize);

/** UTF-8 to GB 2312. A new text, which the caller frees with `delete[]`; null if it can't be converted. */
[[nodiscard]] char* UTF8ConvertAnsi(const char* lpszText);

/** Capitals in place, a to z only. */
char* strupr(char* lpszText);

/** Letters, digits, "_", "/" and ".". */
[[nodiscard]] bool IsCharacter(char c);

/** Absolute value; the smallest number stays itself. */
[[nodiscard]] long long _abs64(long long nValue);

// ---- The process file system

/** Memory of the machine in kilobytes. Without the file the first two become 0 and the third stays as it was. */
void get_mem_info(long long& nTotal, long long& nFree, long long& nAvailable);

/**
 * Memory of this process: virtual size, its peak, resident size, its peak, in kilobytes; and the seventh of its page
 * counts. A figure that isn't found stays as it was.
 */
void get_processmem_info(long long& nVmSize, long long& nVmPeak, long long& nVmRss, long long& nVmHwm,
                         long long& nStatm);

/** Load of all processors over the next second, in percent; 0 if it can't be read. Blocks for that second. */
void get_cpu_info(int& nBusy);

// ---- Stack dumps, by a debugger run through the shell

/**
 * Stacks of all threads of the process named. The text ends with a zero byte; answers its length, 0 without a debugger
 * or for a name that the shell would not take as a plain word.
 */
[[nodiscard]] int get_all_thread_stacktrace_of_specified_process(const char* lpszProcess, char* lpszBuffer, int nSize);

/** Stack of one thread of this process, by its kernel id; otherwise the same. */
[[nodiscard]] int get_specified_thread_stacktrace_of_current_process(int nThreadID, char* lpszBuffer, int nSize);

// ---- Security descriptors, which have no meaning here

inline BOOL InitializeSecurityDescriptor(void*, DWORD) {
    return 1;
}

inline BOOL SetSecurityDescriptorDacl(void*, BOOL, void*, BOOL) {
    return 1;
}
