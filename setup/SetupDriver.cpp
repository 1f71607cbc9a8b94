// The main flow of the setup program: paths, language, parameters from the command line or from the dialogue, and the
// creation of a master's system file. What comes behind stands in SetupFlows. Nothing is rolled back: a run that fails
// leaves what it has written.

#include "SetupDriver.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cstdio>

#include "LanguageSetting.h"
#include "LinuxCommonAPI.h"
#include "LinuxCommonAPIProfile.h"
#include "SetupConfig.h"
#include "SetupDialogue.h"
#include "SetupFlows.h"
#include "SetupMemory.h"
#include "SetupMessages.h"
#include "SetupOptions.h"
#include "SetupPaths.h"
#include "SystemFile.h"
#include "TraceManage.h"

namespace {

constexpr int LISTEN_PORT_DEFAULT = 8000;

// Without this, a program started with its output closed would write its messages into whatever it opens next, a
// file or the connection to a server.
void OpenStandardStreams() {
    int nFile = 0;
    while ((nFile = open("/dev/null", O_RDWR)) >= 0 && nFile <= STDERR_FILENO) {
    }
    if (nFile >= 0) close(nFile);
}

void IgnoreBrokenPipes() {
    struct sigaction stAction {};
    stAction.sa_handler = SIG_IGN;
    sigemptyset(&stAction.sa_mask);
    sigaction(SIGPIPE, &stAction, nullptr);
}

// The paths, the port, the language and the signals, in this order. A path that can't be used is said in the language
// of the time zone.
bool StartUp(SETUPPARAM& stParam) {
    // One byte longer than a path may be, so that a path cut to it shows.
    char szProgram[MAX_PATH + 1] = {};
    const bool bProgram =
        GetModuleFileName(nullptr, szProgram, sizeof szProgram) == 0 && std::strlen(szProgram) < MAX_PATH;
    const bool bPaths = bProgram && SetPaths(szProgram);
    if (bPaths)
        stParam.m_usListenPort = static_cast<std::uint16_t>(
            GetPrivateProfileInt("System", "listenport", LISTEN_PORT_DEFAULT, g_lpConfigPath));
    InitLanguageSetting(0);
    IgnoreBrokenPipes();
    if (!bPaths) Say<MSG_PATH_UNUSABLE>(szProgram);
    return bPaths;
}

// The size in bytes, shifted in 32 bits: 2048 MB and more come out negative, 4100 MB as 4 MB. Intended.
long long SystemFileBytes(const SETUPPARAM& stParam) {
    const auto nMegabytes = static_cast<std::uint32_t>(std::strtol(stParam.m_szSystemFile, nullptr, 10));
    return static_cast<std::int32_t>(nMegabytes << 20);
}

// The configuration is written before the directory is tested, so a second run on an installed machine changes it, and
// only then stops. Intended.
bool InstallMaster(SETUPPARAM& stParam) {
    WriteMasterConfig(stParam);
    if (access(g_lpDatabasePath, F_OK) == 0) {
        Say<MSG_DATABASE_EXISTS>(g_lpDatabasePath);
        return false;
    }
    SayText(MSG_SYSTEM_FILE_BEGIN);
    // A directory that can't be made shows as a system file that can't be opened.
    CreateDirectory(g_lpDatabasePath, nullptr);
    const int nResult = CreateSystemDataFile(SystemFileBytes(stParam), stParam.m_szCacheSize, stParam.m_szLogs, 0,
                                             stParam.m_usListenPort, stParam.m_nUserRestrict);
    if (nResult != 0) {
        Say<MSG_SYSTEM_FILE_FAILED>(nResult);
        return false;
    }
    SayText(MSG_SYSTEM_FILE_DONE);
    return StartInstance(stParam);
}

bool MemorySuffices(const SETUPPARAM& stParam, const MESSAGE& stRefusal) {
    const MEMORYVERDICT nVerdict = CheckMemory(stParam);
    if (nVerdict == MEMORYVERDICT::Short) SayText(stRefusal);
    if (nVerdict == MEMORYVERDICT::Tight) SayText(MSG_MEMORY_TIGHT);
    return nVerdict != MEMORYVERDICT::Short;
}

bool NameInstance(SETUPPARAM& stParam) {
    KeepText(stParam.m_szInstanceName, INSTANCE_NAME);
    return SetDatabasePath(stParam.m_szInstanceName);
}

bool RunWithOptions(int argc, char* argv[], SETUPPARAM& stParam) {
    const int nType = FindSetupType(argc, argv);
    if (nType == 0) return false;
    if (nType == SETUP_MASTER && !NameInstance(stParam)) return false;
    if (!ReadOptions(nType, argc, argv, stParam) || !CheckOptions(nType, stParam)) return false;
    if (nType == SETUP_SLAVE) return JoinCluster(nType, false, stParam) == JOINEND::Done;
    return MemorySuffices(stParam, MSG_MEMORY_SHORT) && InstallMaster(stParam);
}

/** What a node type's dialogue and the flow behind it came to. */
enum class MODEEND {
    Done,
    Failed,
    Menu
};

MODEEND RunMaster(CSetupLine& stInput, SETUPPARAM& stParam) {
    if (!NameInstance(stParam)) return MODEEND::Failed;
    for (bool bPromptOnly = false;; bPromptOnly = true) {
        const DIALOGUEEND nEnd = AskMaster(stInput, stParam, bPromptOnly);
        if (nEnd == DIALOGUEEND::Menu) return MODEEND::Menu;
        if (nEnd == DIALOGUEEND::Quit) return MODEEND::Failed;
        if (MemorySuffices(stParam, MSG_MEMORY_RESET)) return InstallMaster(stParam) ? MODEEND::Done : MODEEND::Failed;
    }
}

MODEEND RunJoin(CSetupLine& stInput, int nMode, SETUPPARAM& stParam) {
    for (bool bMasterAgain = false;; bMasterAgain = true) {
        const DIALOGUEEND nEnd = AskJoin(stInput, nMode, stParam, bMasterAgain);
        if (nEnd == DIALOGUEEND::Menu) return MODEEND::Menu;
        if (nEnd == DIALOGUEEND::Quit) return MODEEND::Failed;
        const JOINEND nJoin = JoinCluster(nMode, true, stParam);
        if (nJoin != JOINEND::AskMasterAgain) return nJoin == JOINEND::Done ? MODEEND::Done : MODEEND::Failed;
    }
}

bool RunDialogue(SETUPPARAM& stParam) {
    CSetupLine stInput(stdin);
    for (;;) {
        const int nMode = AskMode(stInput);
        if (nMode == 0) return false;
        const MODEEND nEnd = nMode == SETUP_MASTER ? RunMaster(stInput, stParam) : RunJoin(stInput, nMode, stParam);
        if (nEnd != MODEEND::Menu) return nEnd == MODEEND::Done;
    }
}

} // namespace

int RunSetup(int argc, char* argv[]) {
    OpenStandardStreams();
    // Whole lines at once also into a file or a pipe: a log shows what a run is about while it is about it.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);

    SETUPPARAM stParam;
    const bool bDone = StartUp(stParam) && (argc < 2 ? RunDialogue(stParam) : RunWithOptions(argc, argv, stParam));
    // The last line stands alone, also where no operator's Enter has ended the line of a prompt.
    if (g_bLineOpen) std::putchar('\n');
    SayText(bDone ? MSG_RUN_DONE : MSG_RUN_FAILED);
    std::fflush(stdout);
    // Lines still queued would be lost, among them the code of a data file that failed.
    CTraceManage::DestoryInstance();
    return 0;
}
