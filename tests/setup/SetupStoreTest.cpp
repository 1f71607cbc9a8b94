// What each run of the setup program shares with the machine's other processes, seen in a namespace of its own. All
// other tests run it where sharing is refused.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <semaphore.h>
#include <sys/mount.h>
#include <sys/shm.h>

#include <cstring>

#include "Program.h"

namespace {

constexpr int SKIPPED = 77;
constexpr std::size_t CLEARED_SIZE = 0x3E88;

struct BEFORE {
    const char* m_lpszName;
    /** Size of the segment that stands before the run; 0 for none. */
    std::size_t m_nSize;
    /** Whether it has the id 0, as the first of a machine does. */
    bool m_bFirst;
};

/** A machine of our own: no segment, no semaphore. */
bool Isolate() {
    return unshare(CLONE_NEWIPC | CLONE_NEWNS) == 0 &&
           mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("tmpfs", "/dev/shm", "tmpfs", 0, nullptr) == 0;
}

char* Attach(int nID) {
    return static_cast<char*>(shmat(nID, nullptr, 0));
}

/** Runs the program with a semaphore that nobody gives back, and looks at the segment then. 0, or a step's number. */
int RunIsolated(const BEFORE& stBefore) {
    if (!Isolate()) return SKIPPED;
    sem_t* lpSemaphore = sem_open("CONFIGHELPER", O_CREAT, 0666, 0);
    if (lpSemaphore == SEM_FAILED) return 1;
    if (!stBefore.m_bFirst && shmget(1, 1, IPC_CREAT | 0666) != 0) return 2;
    if (stBefore.m_nSize != 0) {
        const int nID = shmget(CONFIG_AREA_KEY, stBefore.m_nSize, IPC_CREAT | 0600);
        if ((nID == 0) != stBefore.m_bFirst) return 3;
        std::memset(Attach(nID), 'x', stBefore.m_nSize);
    }
    const pid_t nChild = fork();
    if (nChild == 0) {
        alarm(20);
        execl(KESTROSETUP_PATH, KESTROSETUP_PATH, "-type", "9", nullptr);
    }
    int nStatus = -1;
    waitpid(nChild, &nStatus, 0);
    if (nStatus != 0) return 4;
    const int nID = shmget(CONFIG_AREA_KEY, 0, 0);
    if (nID <= 0) return 5;
    if (stBefore.m_nSize != 0 && stBefore.m_nSize < CONFIG_AREA_SIZE) return *Attach(nID) == 'x' ? 0 : 6;
    const std::string strExpected =
        std::string(CLEARED_SIZE, '\0') + std::string(CONFIG_AREA_SIZE - CLEARED_SIZE, stBefore.m_bFirst ? '\0' : 'x');
    if (std::memcmp(Attach(nID), strExpected.data(), CONFIG_AREA_SIZE) != 0) return 7;
    int nValue = -1;
    return sem_getvalue(lpSemaphore, &nValue) == 0 && nValue == 0 ? 0 : 8;
}

TEST(SetupStore, MakesAndClearsTheAreaAtEachStart) {
    const BEFORE arRows[] = {
        {"none", 0, true},
        {"of other processes", CONFIG_AREA_SIZE, false},
        {"with the id 0", CONFIG_AREA_SIZE, true},
        {"too small", 100, false},
    };
    for (const BEFORE& stRow : arRows) {
        const int nOutput = open("/dev/null", O_RDWR | O_CLOEXEC);
        const pid_t nChild = fork();
        if (nChild == 0) {
            dup2(nOutput, STDIN_FILENO);
            dup2(nOutput, STDOUT_FILENO);
            _exit(RunIsolated(stRow));
        }
        close(nOutput);
        int nStatus = -1;
        waitpid(nChild, &nStatus, 0);
        if (WEXITSTATUS(nStatus) == SKIPPED) GTEST_SKIP() << "no namespace for this user";
        EXPECT_EQ(nStatus, 0) << stRow.m_lpszName << ", step " << WEXITSTATUS(nStatus);
    }
}

} // namespace
