#pragma once

#include <signal.h>
#include <sys/shm.h>

#include "LinkTest.h"
#include "ProgressRecords.h"

/** What a call wrote. */
template <typename CALL>
std::string Output(CALL Call) {
    testing::internal::CaptureStdout();
    Call();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

/**
 * Runs flows of the setup program inside the test: commands of the system and sleeps are noted, the server's segment is
 * the test's own.
 */
class CSetupTest : public CLinkTest {
protected:
    void SetUp() override {
        CLinkTest::SetUp();
        m_strCalls.clear();
        m_lpfnOnSleep = nullptr;
        g_stPlatform.m_lpfnSleep = [](std::int64_t nTime) {
            m_nSlept += nTime;
            if (m_lpfnOnSleep) m_lpfnOnSleep();
        };
        m_nSegment = -1;
        g_stPlatform.m_lpfnShmGet = [](key_t nKey, std::size_t, int) { return nKey == 0x5342534D ? m_nSegment : -1; };
        g_stPlatform.m_lpfnSystem = [](const char* lpszCommand) {
            struct sigaction stAction {};
            sigaction(SIGCHLD, nullptr, &stAction);
            m_strCalls += std::string(lpszCommand) + (stAction.sa_handler == SIG_DFL ? " at " : " handled at ") +
                          std::to_string(m_nSlept / SECOND) + "\n";
            return m_strFailing.empty() || m_strCalls.find(m_strFailing) == std::string::npos ? 0 : 3 << 8;
        };
    }
    void TearDown() override {
        m_lpfnOnSleep = nullptr;
        if (m_lpBlock) shmdt(reinterpret_cast<char*>(m_lpBlock) - 79);
        m_lpBlock = nullptr;
        CLinkTest::TearDown();
    }

    /** Makes the server's segment, of which m_lpBlock is the progress. */
    static void MakeSegment() {
        m_nSegment = shmget(IPC_PRIVATE, 300, 0600);
        m_lpBlock = reinterpret_cast<SETUPPROGRESSINFO*>(static_cast<char*>(shmat(m_nSegment, nullptr, 0)) + 79);
        shmctl(m_nSegment, IPC_RMID, nullptr);
    }

    static inline SETUPPROGRESSINFO* m_lpBlock = nullptr;
    static inline std::string m_strCalls;
    /** The command that fails, if any. */
    static inline std::string m_strFailing;
    static inline void (*m_lpfnOnSleep)() = nullptr;
    /** Id of the server's segment. */
    static inline int m_nSegment = -1;
};
