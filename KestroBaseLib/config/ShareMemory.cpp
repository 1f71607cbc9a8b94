// System V shared memory and named semaphores. Where the machine refuses them the results say so, and nothing else
// happens.

#include "ShareMemory.h"

#include <sys/shm.h>

#include <algorithm>
#include <cerrno>

#include "Platform.h"

namespace {

constexpr int OPEN_TO_ALL = 0666;
constexpr mode_t SEMAPHORE_MODE = 0644;

/** Id of a new or an old segment, or -1. */
MFID MakeOrOpen(key_t nKey, std::size_t nSize, bool& bExisted) {
    const MFID nID = g_stPlatform.m_lpfnShmGet(nKey, nSize, IPC_CREAT | IPC_EXCL | OPEN_TO_ALL);
    bExisted = nID < 0 && errno == EEXIST;
    return bExisted ? g_stPlatform.m_lpfnShmGet(nKey, nSize, IPC_CREAT | OPEN_TO_ALL) : nID;
}

} // namespace

MFID CShareMemory::CreateShareMemory(key_t nKey, std::size_t nSize, const char*, bool& bExisted) {
    MFID nID = MakeOrOpen(nKey, nSize, bExisted);
    if (nID == 0) {
        // The first segment of a machine or container. Callers take 0 for none, so it makes room for one with another
        // id.
        SleepMilliseconds(1);
        if (g_stPlatform.m_lpfnShmRemove(nID) != 0) {
            SleepMilliseconds(100);
            (void)g_stPlatform.m_lpfnShmRemove(nID);
        }
        nID = MakeOrOpen(nKey, nSize, bExisted);
    }
    return std::max(nID, 0);
}

MFID CShareMemory::OpenShareMemory(key_t nKey, const char*) {
    return g_stPlatform.m_lpfnShmGet(nKey, 0, 0);
}

void* CShareMemory::ShMemAttach(MFID nID, const void* lpAddress, int nFlags) {
    void* lpMemory = shmat(nID, lpAddress, nFlags);
    return lpMemory == reinterpret_cast<void*>(-1) ? nullptr : lpMemory;
}

bool CShareMemory::ShMemDetach(void*& lpMemory) {
    const bool bDetached = shmdt(lpMemory) == 0;
    lpMemory = nullptr;
    return bDetached;
}

bool CShareMemory::CloseShareMemory(MFID& nID) {
    nID = 0;
    return true;
}

bool CShareMemory::DestoryShareMemory(MFID& nID) {
    const MFID nGiven = nID;
    nID = 0;
    // None, which to the system is an id: of a segment of somebody else.
    if (!ShareMemoryExsist(nGiven)) return false;
    if (g_stPlatform.m_lpfnShmRemove(nGiven) == 0) return true;
    SleepMilliseconds(10);
    return g_stPlatform.m_lpfnShmRemove(nGiven) == 0;
}

sem_t* CShareMemory::CreateEventSem(const void*, const char* lpszName) {
    return g_stPlatform.m_lpfnSemOpen(lpszName, SEMAPHORE_MODE);
}
