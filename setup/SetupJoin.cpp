// The join of a slave or standby node: it gets a system file with the master's id and running services here, and the
// master does the rest. The two flows say some things otherwise; that stands in a record each.

#include <unistd.h>

#include "DBInterface.h"
#include "KestroErrorCode.h"
#include "LinuxCommonAPI.h"
#include "Platform.h"
#include "SetupAddress.h"
#include "SetupBringUpMessages.h"
#include "SetupConfig.h"
#include "SetupConnection.h"
#include "SetupJoinMaster.h"
#include "SetupJoinMessages.h"
#include "SetupMessages.h"
#include "SetupPaths.h"
#include "SetupProgress.h"
#include "SetupService.h"
#include "SystemFile.h"

namespace {

constexpr int LOCAL_ATTEMPTS = 60;
constexpr int SECOND_MS = 1000;
constexpr int PROGRESS_PAUSE_MS = 100;

struct JOINFLOW {
    /** What the master calls the type of the node. */
    int m_nNodeType;
    const MESSAGE& m_stSystemFileDone;
    const SERVICETEXTS& m_stService;
    void (*m_lpfnSayLocalFailed)(int, int, int, int, int nPort, int nAttempts);
    bool (*m_lpfnShowProgress)(CSetupProgress& stProgress);
};

// A join that the server reports as failed doesn't fail the run: the request was sent. As in the other flow the failure
// is told on the line that the progress has left open. Both intended.
bool ShowSlaveProgress(CSetupProgress& stProgress) {
    for (;; SleepMilliseconds(PROGRESS_PAUSE_MS)) {
        const SETUPPROGRESSINFO stNow = stProgress.Read();
        const int nCurrent = stNow.m_nCurrent;
        if (stNow.m_nTotal == -1) {
            Say<MSG_JOIN_FAILED_SLAVE>(nCurrent);
            break;
        }
        stProgress.Show(stNow);
        if (stNow.m_nRunning != 0) continue;
        CSetupProgress::ShowEnd(stNow, nCurrent);
        Say<MSG_JOIN_DONE_SLAVE>();
        break;
    }
    SleepMilliseconds(1);
    return true;
}

// A step that has ended shows as complete, whatever it counts.
bool ShowStandbyProgress(CSetupProgress& stProgress) {
    for (;; SleepMilliseconds(PROGRESS_PAUSE_MS)) {
        const SETUPPROGRESSINFO stNow = stProgress.Read();
        const int nTotal = stNow.m_nTotal;
        if (nTotal == -1) {
            Say<MSG_JOIN_REQUEST_FAILED>(int{stNow.m_nCurrent});
            return false;
        }
        stProgress.Show(stNow);
        if (stNow.m_nRunning != 0) continue;
        CSetupProgress::ShowEnd(stNow, nTotal);
        SleepMilliseconds(1);
        return true;
    }
}

const JOINFLOW g_stSlaveFlow = {1, MSG_SYSTEM_FILE_DONE_SLAVE, g_stSlaveService,
                                Say<MSG_LOCAL_FAILED_SLAVE, int, int, int, int, int, int>, ShowSlaveProgress};
const JOINFLOW g_stStandbyFlow = {3, MSG_SYSTEM_FILE_DONE_STANDBY, g_stStandbyService,
                                  Say<MSG_LOCAL_FAILED_STANDBY, int, int, int, int, int, int>, ShowStandbyProgress};

// The configuration is written before the directory is tested. Intended.
bool PrepareNode(const JOINFLOW& stFlow, SETUPPARAM& stParam, int nID) {
    WriteJoinConfig(stParam);
    if (access(g_lpDatabasePath, F_OK) == 0) {
        Say<MSG_DATABASE_EXISTS>(g_lpDatabasePath);
        return false;
    }
    CreateDirectory(g_lpDatabasePath, nullptr);
    const int nResult = CreateSystemDataFile(SYSTEMFILE_BUFFER_SIZE, stParam.m_szCacheSize, stParam.m_szLogs, nID,
                                             stParam.m_usListenPort, stParam.m_nUserRestrict);
    if (nResult != 0) {
        Say<MSG_SYSTEM_FILE_FAILED>(nResult);
        return false;
    }
    SayText(stFlow.m_stSystemFileDone);
    return StartServices(stFlow.m_stService);
}

// The connection only proves that the local server came up.
bool ProveLocalServer(const JOINFLOW& stFlow, CDBInterface& stLocal, const SETUPPARAM& stParam) {
    Say<MSG_CONNECT_BEGIN>();
    const std::uint32_t nIP = stParam.m_nLocalIP;
    if (ConnectAsRoot(stLocal, nIP, stParam.m_usListenPort, LOCAL_ATTEMPTS) == ERR_OK) return true;
    stFlow.m_lpfnSayLocalFailed(AddressByte(nIP, 0), AddressByte(nIP, 1), AddressByte(nIP, 2), AddressByte(nIP, 3),
                                stParam.m_usListenPort, LOCAL_ATTEMPTS);
    return false;
}

bool RequestJoin(const JOINFLOW& stFlow, CDBInterface& stMaster, SETUPPARAM& stParam, int nID) {
    const int nCode = stMaster.AddNewNode(static_cast<unsigned short>(nID), stParam.m_nLocalIP, stFlow.m_nNodeType,
                                          stParam.m_usListenPort, stParam.m_szLocalIP);
    if (nCode != ERR_OK) {
        Say<MSG_JOIN_REQUEST_FAILED>(nCode);
        return false;
    }
    SleepMilliseconds(SECOND_MS);
    CSetupProgress stProgress;
    SleepMilliseconds(SECOND_MS);
    if (!stProgress.IsOpen()) {
        Say<MSG_PROGRESS_ABSENT>(PROGRESS_SEGMENT_KEY);
        return false;
    }
    stProgress.Clear();
    return stFlow.m_lpfnShowProgress(stProgress);
}

} // namespace

JOINEND JoinCluster(int nMode, bool bDialogue, SETUPPARAM& stParam) {
    const JOINFLOW& stFlow = nMode == SETUP_SLAVE ? g_stSlaveFlow : g_stStandbyFlow;
    CDBInterface stMaster;
    CDBInterface stLocal;
    int nID = 0;
    const JOINEND nLogin = LogInAtMaster(nMode, bDialogue, stMaster, stParam, nID);
    if (nLogin != JOINEND::Done) return nLogin;
    FormatAddress(stParam.m_szLocalIP, stParam.m_nLocalIP);
    FormatAddress(stParam.m_szMasterIP, stParam.m_nMasterIP);
    const bool bJoined = PrepareNode(stFlow, stParam, nID) && ProveLocalServer(stFlow, stLocal, stParam) &&
                         AwaitMasterOpen(nMode, bDialogue, stMaster, nID) &&
                         RequestJoin(stFlow, stMaster, stParam, nID);
    return bJoined ? JOINEND::Done : JOINEND::Failed;
}
