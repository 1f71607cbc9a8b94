#pragma once

#include <semaphore.h>
#include <sys/time.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>

/**
 * The calls by which the system looks at the clock, waits, runs a command, draws a uuid and comes by what it shares
 * with other processes, and the place of the process file system. All code goes through `g_stPlatform`, so that a test
 * can drive them; the programs never change it. It stands before the first static object is built. A test sets it
 * before it starts a thread and puts it back afterwards.
 */
struct PLATFORM {
    /** Microseconds since 1970, UTC. */
    std::int64_t (*m_lpfnMicroseconds)();
    /** Blocks the calling thread for at least the time given. */
    void (*m_lpfnSleep)(std::int64_t nMicroseconds);
    /** Runs a shell command and answers its wait status. */
    int (*m_lpfnSystem)(const char* lpszCommand);
    /** Fills 16 random bytes. */
    void (*m_lpfnUuid)(unsigned char* lpUuid);
    /** Mount point of the process file system, "/proc". */
    const char* m_lpszProcPath;
    /** `shmget`: the id of a shared memory segment, or -1 with `errno`. */
    int (*m_lpfnShmGet)(key_t nKey, std::size_t nSize, int nFlags);
    /** `shmctl` with IPC_RMID: 0, or -1 with `errno`. */
    int (*m_lpfnShmRemove)(int nID);
    /** The named semaphore, made with the value 1 if there is none; null where it is refused. */
    sem_t* (*m_lpfnSemOpen)(const char* lpszName, mode_t nMode);
};

extern PLATFORM g_stPlatform;

inline std::int64_t NowMicroseconds() {
    return g_stPlatform.m_lpfnMicroseconds();
}

inline void SleepMicroseconds(std::int64_t nMicroseconds) {
    g_stPlatform.m_lpfnSleep(nMicroseconds);
}

inline void SleepMilliseconds(std::int64_t nMilliseconds) {
    SleepMicroseconds(nMilliseconds * 1000);
}
