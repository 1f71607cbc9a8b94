// The progress block in System V shared memory.

#include "DevServerProgress.h"

#include <sys/ipc.h>
#include <sys/shm.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

constexpr std::size_t SEGMENT_SIZE = 4096;
static_assert(SEGMENT_SIZE >= PROGRESS_SEGMENT_OFFSET + sizeof(SETUPPROGRESSINFO));

int MakeSegment(int nKey) {
    return shmget(nKey, SEGMENT_SIZE, IPC_CREAT | IPC_EXCL | 0600);
}

// A segment that nobody is attached to has no server any more.
void RemoveLeftover(int nKey) {
    const int nId = shmget(nKey, 0, 0);
    shmid_ds stState{};
    if (nId >= 0 && shmctl(nId, IPC_STAT, &stState) == 0 && stState.shm_nattch == 0) shmctl(nId, IPC_RMID, nullptr);
}

} // namespace

CProgressSegment::~CProgressSegment() {
    if (m_nId >= 0) shmctl(m_nId, IPC_RMID, nullptr);
    if (m_lpProgress) shmdt(reinterpret_cast<char*>(m_lpProgress) - PROGRESS_SEGMENT_OFFSET);
}

int CProgressSegment::Create(int nKey) {
    m_nId = MakeSegment(nKey);
    if (m_nId < 0 && errno == EEXIST) {
        RemoveLeftover(nKey);
        m_nId = MakeSegment(nKey);
    }
    if (m_nId < 0) return errno;
    void* const lpSegment = shmat(m_nId, nullptr, 0);
    if (lpSegment == reinterpret_cast<void*>(-1)) return errno;
    // What only its id finds can be marked at once: it goes with the last who is attached, even if that one is killed.
    if (nKey == IPC_PRIVATE) shmctl(m_nId, IPC_RMID, nullptr);
    m_lpProgress = reinterpret_cast<SETUPPROGRESSINFO*>(static_cast<char*>(lpSegment) + PROGRESS_SEGMENT_OFFSET);
    return 0;
}

void CProgressSegment::Show(const char* lpszText, int nTotal, int nCurrent, int nRunning) {
    char szText[sizeof m_lpProgress->m_szStepText] = "";
    std::copy_n(lpszText, strnlen(lpszText, sizeof szText - 1), szText);
    // Its readers clear the text and wait for the next one.
    std::memcpy(m_lpProgress->m_szStepText, szText, sizeof szText);
    m_lpProgress->m_nTotal = nTotal;
    m_lpProgress->m_nCurrent = nCurrent;
    m_lpProgress->m_nRunning = nRunning;
}

void CProgressSegment::ShowFailure(int nCode) {
    m_lpProgress->m_nTotal = -1;
    m_lpProgress->m_nCurrent = nCode;
    m_lpProgress->m_nRunning = 0;
}
