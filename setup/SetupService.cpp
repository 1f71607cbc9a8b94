// The start of the two services. One routine serves all flows; their texts stand in SetupServiceTexts.cpp.

#include "SetupService.h"

#include <signal.h>

#include "Platform.h"
#include "SetupBringUpMessages.h"

namespace {

constexpr int SPINNER_SECONDS = 10;
constexpr int SECOND_MS = 1000;

/** Default handling of SIGCHLD for a scope: where it is ignored, nobody learns how a command ended. */
class CDefaultChildSignal {
public:
    CDefaultChildSignal() {
        struct sigaction stDefault {};
        stDefault.sa_handler = SIG_DFL;
        sigemptyset(&stDefault.sa_mask);
        sigaction(SIGCHLD, &stDefault, &m_stBefore);
    }
    CDefaultChildSignal(const CDefaultChildSignal&) = delete;
    CDefaultChildSignal& operator=(const CDefaultChildSignal&) = delete;
    ~CDefaultChildSignal() { sigaction(SIGCHLD, &m_stBefore, nullptr); }

private:
    struct sigaction m_stBefore {};
};

int RunCommand(const char* lpszCommand) {
    // What the command writes comes behind what was said so far.
    std::fflush(stdout);
    const CDefaultChildSignal stDefault;
    return g_stPlatform.m_lpfnSystem(lpszCommand);
}

void ShowWait(const SERVICEWAIT& stWait) {
    for (int i = 0; i < SPINNER_SECONDS; ++i) {
        SayText(stWait.m_stFrames[i % SPINNER_FRAME_NUM]);
        std::fflush(stdout);
        SleepMilliseconds(SECOND_MS);
    }
    SayText(stWait.m_stClosing);
}

// The line of the beginning ends behind the command in any case, so that a failure stands on a line of its own.
bool StartService(const MESSAGE& stBegin, const char* lpszCommand, void (*lpfnSayFailed)(int),
                  const SERVICEWAIT& stWait) {
    SayText(stBegin);
    const int nStatus = RunCommand(lpszCommand);
    SayText(MSG_LINE_END);
    if (nStatus != 0) {
        lpfnSayFailed(nStatus);
        return false;
    }
    ShowWait(stWait);
    return true;
}

} // namespace

bool StartServices(const SERVICETEXTS& stTexts) {
    if (stTexts.m_lpBegin) SayText(*stTexts.m_lpBegin);
    if (!StartService(MSG_STORAGE_BEGIN, "service kestrostorage start", stTexts.m_lpfnSayStorageFailed,
                      stTexts.m_stStorage))
        return false;
    if (!StartService(MSG_MAIN_BEGIN, "service kestroservice start", Say<MSG_MAIN_FAILED, int>, stTexts.m_stMain))
        return false;
    SayText(stTexts.m_stSuccess);
    SleepMilliseconds(SECOND_MS);
    return true;
}
