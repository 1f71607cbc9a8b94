// The real clock, sleep, shell, uuid, shared memory and semaphores behind g_stPlatform.

#include "Platform.h"

#include <fcntl.h>
#include <sys/shm.h>
#include <uuid/uuid.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>

namespace {

std::int64_t RealMicroseconds() {
    timeval stNow{};
    gettimeofday(&stNow, nullptr);
    return static_cast<std::int64_t>(stNow.tv_sec) * 1'000'000 + stNow.tv_usec;
}

// A signal doesn't shorten the wait.
void RealSleep(std::int64_t nMicroseconds) {
    timespec stLeft{nMicroseconds / 1'000'000, (nMicroseconds % 1'000'000) * 1000};
    while (nanosleep(&stLeft, &stLeft) != 0 && errno == EINTR) {
    }
}

int RealSystem(const char* lpszCommand) {
    return system(lpszCommand);
}

void RealUuid(unsigned char* lpUuid) {
    uuid_generate(lpUuid);
}

int RealShmGet(key_t nKey, std::size_t nSize, int nFlags) {
    return shmget(nKey, nSize, nFlags);
}

int RealShmRemove(int nID) {
    return shmctl(nID, IPC_RMID, nullptr);
}

sem_t* RealSemOpen(const char* lpszName, mode_t nMode) {
    sem_t* lpSemaphore = sem_open(lpszName, O_CREAT, nMode, 1);
    return lpSemaphore == SEM_FAILED ? nullptr : lpSemaphore;
}

} // namespace

// Without a run-time initialiser: what is built before main uses it already.
constinit PLATFORM g_stPlatform{RealMicroseconds, RealSleep,  RealSystem,    RealUuid,
                                "/proc",          RealShmGet, RealShmRemove, RealSemOpen};
