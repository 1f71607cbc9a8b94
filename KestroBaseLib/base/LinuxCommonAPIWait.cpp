// Threads and waits. Threads are detached, so the system's own id of one that has ended may no longer be asked about:
// a register of the threads started here says which of them run. Waits on threads poll it every millisecond.

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <memory>
#include <mutex>
#include <new>
#include <vector>

#include "LinuxCommonAPI.h"
#include "Platform.h"

int g_nThreadStackSize = 1 << 20;

namespace {

/**
 * The threads started here, at most one row an id. An ended thread's row stays until the system gives its id to a new
 * thread. All members may be called from any thread.
 */
class CThreadRegister {
public:
    /** Starts the thread and enters it before it can leave; 0 or 1. */
    int Start(pthread_t* lpThreadID, const pthread_attr_t& stAttributes, void* (*lpfnStart)(void*), void* lpArgument) {
        const std::lock_guard stGuard(m_stMutex);
        try {
            m_arThreads.reserve(m_arThreads.size() + 1);
        } catch (const std::bad_alloc&) {
            return 1;
        }
        if (pthread_create(lpThreadID, &stAttributes, lpfnStart, lpArgument) != 0) return 1;
        if (THREADROW* lpRow = Find(*lpThreadID))
            lpRow->m_bRuns = true;
        else
            m_arThreads.push_back({*lpThreadID, true});
        return 0;
    }

    void Leave(pthread_t nThreadID) {
        const std::lock_guard stGuard(m_stMutex);
        if (THREADROW* lpRow = Find(nThreadID)) lpRow->m_bRuns = false;
    }

    /** Whether a thread runs. A thread of another maker must be one the system still knows. */
    bool Runs(pthread_t nThreadID) {
        const std::lock_guard stGuard(m_stMutex);
        if (const THREADROW* lpRow = Find(nThreadID)) return lpRow->m_bRuns;
        const int nResult = pthread_kill(nThreadID, 0);
        return nResult != ESRCH && nResult != EINVAL;
    }

private:
    struct THREADROW {
        pthread_t m_nThreadID;
        bool m_bRuns;
    };

    THREADROW* Find(pthread_t nThreadID) {
        const auto it = std::find_if(m_arThreads.begin(), m_arThreads.end(),
                                     [=](const THREADROW& stRow) { return stRow.m_nThreadID == nThreadID; });
        return it == m_arThreads.end() ? nullptr : &*it;
    }

    std::mutex m_stMutex;
    std::vector<THREADROW> m_arThreads;
};

// Never destroyed: a detached thread may end after the program's static objects have gone.
CThreadRegister& Register() {
    static CThreadRegister& stRegister = *new CThreadRegister;
    return stRegister;
}

struct THREADSTART {
    void* (*m_lpfnStart)(void*);
    void* m_lpArgument;
};

void* RunThread(void* lpArgument) {
    const std::unique_ptr<THREADSTART> lpGiven(static_cast<THREADSTART*>(lpArgument));
    // Leaves by destructor, so that pthread_exit and cancellation are noticed too.
    struct LEAVER {
        ~LEAVER() { Register().Leave(pthread_self()); }
    } stLeaver;
    return lpGiven->m_lpfnStart(lpGiven->m_lpArgument);
}

/** Whether more than the time given has gone by since `nStart`. */
bool TimeIsOver(std::int64_t nStart, DWORD nMilliseconds) {
    return (NowMicroseconds() - nStart) / 1000 > std::int64_t{nMilliseconds};
}

/** Polls the threads once: ids of ended ones become 0. */
DWORD PollThreads(DWORD nCount, pthread_t* lpThreadIDs, std::int64_t nStart, DWORD nMilliseconds, bool& bAllEnded) {
    bAllEnded = true;
    for (DWORD i = 0; i < nCount; ++i) {
        if (lpThreadIDs[i] != 0 && !Register().Runs(lpThreadIDs[i])) lpThreadIDs[i] = 0;
        if (lpThreadIDs[i] == 0) continue;
        bAllEnded = false;
        if (TimeIsOver(nStart, nMilliseconds)) return WAIT_TIMEOUT;
    }
    return WAIT_OBJECT_0;
}

} // namespace

int CreateThreadAllPlateForm(pthread_t* lpThreadID, void* (*lpfnStart)(void*), void* lpArgument, DWORD, void*) {
    *lpThreadID = 0;
    std::unique_ptr<THREADSTART> lpGiven(new (std::nothrow) THREADSTART{lpfnStart, lpArgument});
    pthread_attr_t stAttributes;
    if (!lpGiven || pthread_attr_init(&stAttributes) != 0) return 1;
    int nResult = 1;
    if (pthread_attr_setdetachstate(&stAttributes, PTHREAD_CREATE_DETACHED) == 0 &&
        pthread_attr_setstacksize(&stAttributes, static_cast<std::size_t>(g_nThreadStackSize)) == 0)
        nResult = Register().Start(lpThreadID, stAttributes, RunThread, lpGiven.get());
    pthread_attr_destroy(&stAttributes);
    if (nResult == 0)
        (void)lpGiven.release();
    else
        *lpThreadID = 0;
    return nResult;
}

DWORD WaitForSingleObject(pthread_t& nThreadID, DWORD nMilliseconds) {
    if (nThreadID == 0) {
        if (nMilliseconds != 0) SleepMilliseconds(1);
        return WAIT_FAILED;
    }
    const std::int64_t nStart = NowMicroseconds();
    while (Register().Runs(nThreadID)) {
        if (TimeIsOver(nStart, nMilliseconds)) return WAIT_TIMEOUT;
        SleepMilliseconds(1);
    }
    return WAIT_OBJECT_0;
}

DWORD WaitForSingleObject(sem_t& stSemaphore, DWORD nMilliseconds) {
    if (nMilliseconds == 0) return sem_trywait(&stSemaphore) == 0 ? WAIT_OBJECT_0 : WAIT_TIMEOUT;
    const std::int64_t nNow = NowMicroseconds();
    timeval stDeadline{nNow / 1'000'000, nNow % 1'000'000};
    TimeraddMS(&stDeadline, nMilliseconds);
    const timespec stUntil{stDeadline.tv_sec, stDeadline.tv_usec * 1000};
    if (sem_timedwait(&stSemaphore, &stUntil) == 0) return WAIT_OBJECT_0;
    return errno == ETIMEDOUT || errno == EAGAIN ? WAIT_TIMEOUT : WAIT_FAILED;
}

DWORD WaitForSingleObject(sem_t* lpSemaphore, DWORD nMilliseconds) {
    if (lpSemaphore) return WaitForSingleObject(*lpSemaphore, nMilliseconds);
    if (nMilliseconds != 0) SleepMilliseconds(1);
    return WAIT_TIMEOUT;
}

DWORD WaitForMultipleObjects(DWORD nCount, pthread_t* lpThreadIDs, BOOL, DWORD nMilliseconds) {
    const std::int64_t nStart = NowMicroseconds();
    for (;;) {
        bool bAllEnded;
        if (PollThreads(nCount, lpThreadIDs, nStart, nMilliseconds, bAllEnded) != WAIT_OBJECT_0) return WAIT_TIMEOUT;
        if (bAllEnded) return WAIT_OBJECT_0;
        SleepMilliseconds(1);
    }
}
