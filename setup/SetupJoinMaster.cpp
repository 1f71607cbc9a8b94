// What a joining node asks its master.

#include "SetupJoinMaster.h"

#include <strings.h>

#include <algorithm>

#include "DBInterface.h"
#include "KestroErrorCode.h"
#include "MemDBRecordset.h"
#include "Platform.h"
#include "SetupAddress.h"
#include "SetupBringUpMessages.h"
#include "SetupConnection.h"
#include "SetupJoinMessages.h"
#include "SetupPaths.h"
#include "SetupProgress.h"

namespace {

constexpr std::size_t PATH_COMPARED_MOST = 256;
constexpr char MASTER_ROLE[] = "Master";
constexpr int OPEN_PAUSE_MS = 100;

/** What a master is asked in a flow. */
struct MASTERQUERY {
    const char* m_lpszInstance;
    void (*m_lpfnSayQueryFailed)(int nCode);
    void (*m_lpfnSayColumnFailed)(int nCode);
    /** A node that is no master names the real one. */
    bool m_bRedirect;

    const char* m_lpszStatus;
    void (*m_lpfnSayStatusFailed)(int nCode);
    /** The status's column; the id stands in front of it, if it isn't the first. */
    int m_nStatusColumn;
};

constexpr MASTERQUERY g_stSlaveQuery = {
    "SELECT ID,PATH,CLUSTERSTATUS,MASTERIP,MASTERPORT FROM V$INSTANCE",
    Say<MSG_MASTER_QUERY_FAILED_SLAVE, int>,
    Say<MSG_MASTER_COLUMN_FAILED_SLAVE, int>,
    true,
    "SELECT STATUS FROM V$INSTANCE",
    Say<MSG_STATUS_FAILED, int>,
    0,
};

constexpr MASTERQUERY g_stStandbyQuery = {
    "SELECT ID,PATH,CLUSTERSTATUS FROM V$INSTANCE",
    Say<MSG_MASTER_FAILED_STANDBY, int>,
    Say<MSG_MASTER_FAILED_STANDBY, int>,
    false,
    "SELECT ID, STATUS FROM V$INSTANCE",
    Say<MSG_PARAMETERS_FAILED_STANDBY, int>,
    1,
};

const MASTERQUERY& Query(int nMode) {
    return nMode == SETUP_SLAVE ? g_stSlaveQuery : g_stStandbyQuery;
}

// All nodes of a cluster lie under the same path, so the master's begins with the local one. Only that much is
// compared.
bool PathFits(const char* lpszMasterPath) {
    const std::size_t nLen = std::min(std::strlen(g_lpDataFilePath), PATH_COMPARED_MOST);
    if (strncasecmp(lpszMasterPath, g_lpDataFilePath, nLen) == 0) return true;
    PROGRESSTEXT szShown;
    KeepForeignText(szShown, lpszMasterPath);
    Say<MSG_MASTER_PATH>(szShown);
    return false;
}

// A number is the address in host order; a text is read as an operator's is.
int ReadAddress(CMemDBRecordset& stRecordset, int nField, std::uint32_t& nIP) {
    if (stRecordset.FieldCategory(nField) == CATEGORY_TEXT) {
        char* lpszText = nullptr;
        const int nCode = stRecordset.FieldValue(nField, lpszText);
        if (nCode == ERR_OK) nIP = ParseAddress(lpszText);
        return nCode;
    }
    long long llValue = 0;
    const int nCode = stRecordset.FieldValue(nField, llValue);
    nIP = static_cast<std::uint32_t>(llValue);
    return nCode;
}

bool FollowRedirect(CMemDBRecordset& stRecordset, SETUPPARAM& stParam, std::uint16_t& usPort) {
    int nPort = 0;
    std::uint32_t nIP = 0;
    if (stRecordset.FieldValue(4, nPort) != ERR_OK || ReadAddress(stRecordset, 3, nIP) != ERR_OK) return false;
    if (static_cast<std::uint16_t>(nPort) == 0 || !IsNodeAddress(nIP)) return false;
    usPort = static_cast<std::uint16_t>(nPort);
    stParam.m_nMasterIP = nIP;
    FormatAddress(stParam.m_szMasterIP, nIP);
    return true;
}

/** What one node answered. */
enum class MASTERANSWER {
    Master,
    OtherMaster,
    NoMaster,
    Failed
};

MASTERANSWER AskInstance(const MASTERQUERY& stQuery, CDBInterface& stMaster, SETUPPARAM& stParam, std::uint16_t& usPort,
                         int& nID) {
    CMemDBRecordset stRecordset;
    int nCode = stMaster.GetRecordset(stQuery.m_lpszInstance, stRecordset, nullptr);
    if (nCode != ERR_OK) {
        stQuery.m_lpfnSayQueryFailed(nCode);
        return MASTERANSWER::Failed;
    }
    char* lpszText = nullptr;
    nCode = stRecordset.FieldValue(0, nID);
    if (nCode == ERR_OK) nCode = stRecordset.FieldValue(1, lpszText);
    if (nCode == ERR_OK && !PathFits(lpszText)) return MASTERANSWER::Failed;
    if (nCode == ERR_OK) nCode = stRecordset.FieldValue(2, lpszText);
    if (nCode != ERR_OK) {
        stQuery.m_lpfnSayColumnFailed(nCode);
        return MASTERANSWER::Failed;
    }
    if (strncasecmp(lpszText, MASTER_ROLE, sizeof MASTER_ROLE - 1) == 0) return MASTERANSWER::Master;
    return stQuery.m_bRedirect && FollowRedirect(stRecordset, stParam, usPort) ? MASTERANSWER::OtherMaster
                                                                               : MASTERANSWER::NoMaster;
}

} // namespace

JOINEND LogInAtMaster(int nMode, bool bDialogue, CDBInterface& stMaster, SETUPPARAM& stParam, int& nID) {
    const JOINEND nRefused = bDialogue ? JOINEND::AskMasterAgain : JOINEND::Failed;
    std::uint16_t usPort = stParam.m_usListenPort;
    if (*stParam.m_szMasterPort) usPort = static_cast<std::uint16_t>(std::strtol(stParam.m_szMasterPort, nullptr, 10));
    for (;;) {
        if (stMaster.OpenWithAddress(stParam.m_szUser, stParam.m_szPassword, stParam.m_nMasterIP, usPort, 1) !=
            ERR_OK) {
            Say<MSG_LOGIN_FAILED>(stParam.m_szMasterIP, int{usPort}, stParam.m_szUser);
            return nRefused;
        }
        switch (AskInstance(Query(nMode), stMaster, stParam, usPort, nID)) {
            case MASTERANSWER::Master:
                return JOINEND::Done;
            case MASTERANSWER::OtherMaster:
                // A circle of nodes that name each other isn't noticed. Intended.
                break;
            case MASTERANSWER::NoMaster:
                Say<MSG_NOT_MASTER>(stParam.m_szMasterIP, int{usPort}, stParam.m_szUser);
                return nRefused;
            case MASTERANSWER::Failed:
                return JOINEND::Failed;
        }
    }
}

bool AwaitMasterOpen(int nMode, bool bDialogue, CDBInterface& stMaster, int& nID) {
    const MASTERQUERY& stQuery = Query(nMode);
    CMemDBRecordset stRecordset;
    for (;; SleepMilliseconds(OPEN_PAUSE_MS)) {
        stRecordset.Free();
        int nCode = stMaster.GetRecordset(stQuery.m_lpszStatus, stRecordset, nullptr);
        if (nCode == ERR_OK && stQuery.m_nStatusColumn > 0) nCode = stRecordset.FieldValue(0, nID);
        if (nCode != ERR_OK) {
            stQuery.m_lpfnSayStatusFailed(nCode);
            return false;
        }
        char* lpszStatus = nullptr;
        nCode = stRecordset.FieldValue(stQuery.m_nStatusColumn, lpszStatus);
        if (nCode != ERR_OK) {
            Say<MSG_STATUS_FAILED>(nCode);
            return false;
        }
        if (std::strcmp(lpszStatus, STATUS_OPEN) == 0) return true;
        if (bDialogue) continue;
        SleepMilliseconds(OPEN_PAUSE_MS);
        return false;
    }
}
