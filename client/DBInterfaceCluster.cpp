// The nodes of a cluster: their state, a new one, one that leaves, one that changes. A change may take away the node
// that this connection is on; then it follows the address to the node that takes it over.

#include <unistd.h>

#include <cstring>

#include "DBInterfaceExchange.h"
#include "DBInterfaceOperation.h"
#include "Platform.h"

namespace {

constexpr OPERATIONROW OPERATION_STATUS{
    .m_lpszFunction = "GetClusterStatus", .m_nOperation = 29, .m_stException = MSG_EXCEPTION};
constexpr OPERATIONROW OPERATION_ADD{
    .m_lpszFunction = "AddNewNode", .m_nOperation = 41, .m_stException = MSG_EXCEPTION};
constexpr OPERATIONROW OPERATION_DROP{
    .m_lpszFunction = "ClusterDropNode", .m_nOperation = 71, .m_stException = MSG_EXCEPTION};
constexpr OPERATIONROW OPERATION_MODIFY{
    .m_lpszFunction = "ClusterModifyNode",
    .m_nOperation = 61,
    .m_stException = {"修改集群节点异常，错误码：%d", "Group node modification exception, error code: %d"}};

/** A node's name and its machine's, in bytes. */
constexpr std::size_t NODE_NAME_MOST = 31;

/** Milliseconds until the link is dropped, and between the tries to reach the next node. */
constexpr int DROP_PAUSE = 500;
constexpr int FOLLOW_PAUSE = 100;
/** Microseconds in which an address must have moved. */
constexpr std::int64_t FOLLOW_MOST = 60'000'000;

} // namespace

int CDBInterface::GetClusterStatus(unsigned char* pBuffer, unsigned int nSize, int bProbe) {
    return Guard<OPERATION_STATUS>("", [&](KESTROCRITICALSECTION*) {
        EXCHANGE stExchange(bProbe ? COMMAND_PROBE : COMMAND_CLUSTER_STATUS);
        stExchange.m_lpBuffer = pBuffer;
        stExchange.m_nBufferSize = nSize;
        return Exchange(stExchange);
    });
}

int CDBInterface::AddNewNode(unsigned short usNodeNo, unsigned int dwIP, int nFlag, unsigned short usPort,
                             char* lpszName) {
    if (!IsLoggedIn()) return ERR_LINK_NOT_OPEN;
    if (!lpszName) return ERR_NULL_POINTER;
    // The caller sees the name as the cluster knows it.
    if (strnlen(lpszName, NODE_NAME_MOST + 1) > NODE_NAME_MOST) lpszName[NODE_NAME_MOST] = '\0';
    return Guard<OPERATION_ADD>("", [&](KESTROCRITICALSECTION*) {
        if (m_nSocket == -1)
            if (const int nCode = OpenDatabase(1, 0)) return nCode;
        EXCHANGE stExchange(COMMAND_ADD_NODE);
        stExchange.m_stHead.m_nValue = usNodeNo;
        NEWNODEPARAM& stNode = stExchange.m_stHead.m_stNewNode;
        stNode.m_dwIP = dwIP;
        stNode.m_usPort = usPort;
        stNode.m_bFlag = static_cast<BYTE>(nFlag);
        SetField(stNode.m_szName, lpszName);
        char szHost[256] = "";
        if (gethostname(szHost, sizeof szHost - 1) == 0) SetField(stNode.m_szHostName, szHost, NODE_NAME_MOST);
        return Exchange(stExchange);
    });
}

int CDBInterface::ClusterDropNodeCore(KESTROCRITICALSECTION* pRecord, unsigned int dwIP, unsigned short usPort,
                                      int nFlag) {
    CKestroCriticalSectionPtr csLock(&m_csLock, pRecord);
    EXCHANGE stExchange(COMMAND_DROP_NODE);
    NODEPARAM& stNode = stExchange.m_stHead.m_stNode;
    stNode.m_dwIP = dwIP;
    stNode.m_usPort = usPort;
    stNode.m_bFlag = static_cast<BYTE>(nFlag);
    return ChangeNode(stExchange);
}

int CDBInterface::ClusterDropNode(unsigned int dwIP, unsigned short usPort, int nFlag) {
    return RunBusy<OPERATION_DROP>(
        [&](KESTROCRITICALSECTION* pRecord) { return ClusterDropNodeCore(pRecord, dwIP, usPort, nFlag); });
}

int CDBInterface::ClusterModifyNodeCore(KESTROCRITICALSECTION* pRecord, unsigned int dwIP, unsigned short usPort,
                                        unsigned char bState) {
    CKestroCriticalSectionPtr csLock(&m_csLock, pRecord);
    EXCHANGE stExchange(COMMAND_MODIFY_NODE);
    stExchange.m_stHead.m_bFlag = bState;
    NODEPARAM& stNode = stExchange.m_stHead.m_stNode;
    stNode.m_dwIP = dwIP;
    stNode.m_usPort = usPort;
    return ChangeNode(stExchange);
}

int CDBInterface::ClusterModifyNode(unsigned int dwIP, unsigned short usPort, unsigned char bState) {
    return RunBusy<OPERATION_MODIFY>(
        [&](KESTROCRITICALSECTION* pRecord) { return ClusterModifyNodeCore(pRecord, dwIP, usPort, bState); });
}

int CDBInterface::ChangeNode(EXCHANGE& stExchange) {
    const int nCode = Exchange(stExchange);
    if (nCode != ERR_OK || stExchange.m_stReply.m_bFlag != FRAME_FLAG_LINK_DROPPED) return nCode;
    return FollowAddress();
}

// Waits until the address answers again, and logs in there with a new session; the server's identity must be the same
// as before, as with every login. After an error the link is lost: the next request tries again.
int CDBInterface::FollowAddress() {
    SleepMilliseconds(DROP_PAUSE);
    std::int64_t nStart = NowMicroseconds();
    while (Connect(0) != ERR_OK) {
        const std::int64_t nNow = NowMicroseconds();
        if (nNow - nStart > FOLLOW_MOST) {
            CloseSocket();
            return ERR_VIP_SWITCH;
        }
        // A clock that was set back would make the wait longer by as much.
        if (nNow < nStart) nStart = nNow;
        SleepMilliseconds(FOLLOW_PAUSE);
    }
    m_nSessionID = 0;
    if (const int nCode = UserLogin()) {
        CloseSocket();
        return nCode;
    }
    m_nLoginState = 0;
    SetLogin(1);
    return ERR_OK;
}
