// What each run of the setup program shares with the machine's other processes, in a namespace of its own; all other
// tests run it where sharing is refused.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <semaphore.h>
#include <sys/mount.h>
#include <sys/shm.h>

#include "Program.h"

namespace {

constexpr int SKIPPED = 77;

/** Runs the program on a machine where a process died with the semaphore; 0, or the number of a step that failed. */
int RunIsolated(std::size_t nSize, bool bFirst) {
    if (unshare(CLONE_NEWIPC | CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("tmpfs", "/dev/shm", "tmpfs", 0, nullptr) != 0)
        return SKIPPED;
    sem_t* lpSemaphore = sem_open("CONFIGHELPER", O_CREAT, 0666, 0);
    if (lpSemaphore == SEM_FAILED || (!bFirst && shmget(1, 1, IPC_CREAT | 0666) != 0)) return 1;
    if (nSize != 0) memset(shmat(shmget(CONFIG_AREA_KEY, nSize, IPC_CREAT | 0600), nullptr, 0), 'x', nSize);
    const pid_t nChild = fork();
    if (nChild == 0) {
        alarm(20);
        execl(KESTROSETUP_PATH, KESTROSETUP_PATH, "-type", "9", nullptr);
    }
    int nStatus = -1, nValue = -1;
    waitpid(nChild, &nStatus, 0);
    if (nStatus != 0 || sem_getvalue(lpSemaphore, &nValue) != 0 || nValue != 0) return 2;
    const int nID = shmget(CONFIG_AREA_KEY, 0, 0);
    if (nID <= 0) return 3;
    // Only what the area uses is cleared, and nothing of a segment that is too small for it.
    const std::size_t nCleared = nSize == 100 ? 0 : 0x3E88;
    std::string strExpected = std::string(nCleared, '\0');
    if (nSize > nCleared) strExpected.append(nSize - nCleared, bFirst ? '\0' : 'x');
    return memcmp(shmat(nID, nullptr, 0), strExpected.data(), strExpected.size()) == 0 ? 0 : 4;
}

// No segment; one of other processes; one with the id 0, as a machine's first has it; one too small.
TEST(SetupStore, MakesAndClearsTheAreaAtEachStart) {
    for (const auto& [nSize, bFirst] : {std::pair{0, true}, {0x4000, false}, {0x4000, true}, {100, false}}) {
        const pid_t nChild = fork();
        if (nChild == 0) {
            dup2(open("/dev/null", O_RDWR | O_CLOEXEC), STDIN_FILENO);
            dup2(STDIN_FILENO, STDOUT_FILENO);
            _exit(RunIsolated(static_cast<std::size_t>(nSize), bFirst));
        }
        int nStatus = -1;
        waitpid(nChild, &nStatus, 0);
        if (WEXITSTATUS(nStatus) == SKIPPED) GTEST_SKIP() << "no namespace for this user";
        EXPECT_EQ(nStatus, 0) << nSize << ' ' << bFirst << ", step " << WEXITSTATUS(nStatus);
    }
}

} // namespace
