// Which node a connection talks to: connecting, the probe that tells a port of ours from a foreign one, the cluster's
// list of nodes, the way to its master, and to the next node when one can't serve. The login stands in
// DBInterfaceLogin.cpp.

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "DBInterfaceExchange.h"
#include "LogLine.h"
#include "Platform.h"

namespace {

/** Further tries of a reconnection, and the milliseconds between them. */
constexpr int CONNECT_RETRY_MOST = 4;
constexpr int CONNECT_PAUSE = 100;

/** What a switch answers that finds nowhere to go. */
constexpr int NO_OTHER_NODE = -3;

/** Room for the cluster's state. */
constexpr UINT CLUSTER_STATUS_MOST = 4096;

constexpr LOGLINE LINE_NO_SOCKET{
    888'003'001, {"创建套接字连接失败，错误码：%d", "Failed to create socket connection. Error code: %d"}};
constexpr MESSAGE MSG_CONNECT_FAILED{"连接服务器失败，错误码：%d，服务器IP：%s，端口：%d",
                                     "Connection to server failed, error code: %d, server IP: %s, port: %d"};
constexpr LOGLINE LINE_CONNECT_FAILED{888'003'002, MSG_CONNECT_FAILED};
constexpr LOGLINE LINE_RETRY_FAILED{888'003'003, MSG_CONNECT_FAILED};
// One text for both languages. Intended.
constexpr MESSAGE MSG_FOREIGN_PORT{"可能连接错端口(%d)导致，请检查是否为Kestro协议端口",
                                   "可能连接错端口(%d)导致，请检查是否为Kestro协议端口"};
constexpr LOGLINE LINE_FOREIGN_PORT_DIRECT{888'043'001, MSG_FOREIGN_PORT};
constexpr LOGLINE LINE_FOREIGN_PORT{888'043'002, MSG_FOREIGN_PORT};

} // namespace

void CDBInterface::SetServer(DWORD dwIP, USHORT usPort) {
    m_dwServerIP = dwIP;
    m_usServerPort = usPort;
}

int CDBInterface::Connect(int bRetry) {
    CloseSocket();
    m_nSocket = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (m_nSocket == -1) {
        Log<LINE_NO_SOCKET>("Connect", errno);
        return ERR_SOCKET_CREATE;
    }
    sockaddr_in stServer{};
    stServer.sin_family = AF_INET;
    stServer.sin_addr.s_addr = m_dwServerIP;
    stServer.sin_port = m_usServerPort;
    // An attempt that a signal interrupts goes on by itself; the next call waits for its end, or finds it done.
    const auto Try = [&] {
        int nResult;
        do
            nResult = connect(m_nSocket, reinterpret_cast<const sockaddr*>(&stServer), sizeof stServer);
        while (nResult != 0 && errno == EINTR);
        return nResult == 0 || errno == EISCONN;
    };
    bool bConnected = Try();
    for (int i = 0; i < CONNECT_RETRY_MOST && bRetry && !bConnected; ++i) {
        SleepMilliseconds(CONNECT_PAUSE);
        bConnected = Try();
    }
    if (!bConnected) {
        const int nError = errno;
        char szIP[INET_ADDRSTRLEN] = "";
        inet_ntop(AF_INET, &m_dwServerIP, szIP, sizeof szIP);
        const auto LogFailure =
            bRetry ? Log<LINE_RETRY_FAILED, int, char*, USHORT> : Log<LINE_CONNECT_FAILED, int, char*, USHORT>;
        LogFailure("Connect", nError, szIP, ntohs(m_usServerPort));
        return ERR_CONNECT;
    }
    const int bNoDelay = 1;
    setsockopt(m_nSocket, IPPROTO_TCP, TCP_NODELAY, &bNoDelay, sizeof bNoDelay);
    const timeval stTimeout{SOCKET_TIMEOUT, 0};
    setsockopt(m_nSocket, SOL_SOCKET, SO_SNDTIMEO, &stTimeout, sizeof stTimeout);
    SetReceiveTimeout(SOCKET_TIMEOUT, 0);
    return ERR_OK;
}

// The cluster's state with at most as many nodes as there is room for. A server that can't tell gives none, and isn't
// wrong for that: 902 only for a port of another protocol.
int CDBInterface::Probe(CLUSTERSTATUS& stStatus) {
    BYTE arBody[CLUSTER_STATUS_MOST] = {};
    stStatus = CLUSTERSTATUS();
    if (GetClusterStatus(arBody, sizeof arBody, 1) != ERR_OK) {
        if (m_nSocket != -1) return ERR_OK;
        const auto LogForeign =
            m_bDirectConnect ? Log<LINE_FOREIGN_PORT_DIRECT, USHORT> : Log<LINE_FOREIGN_PORT, USHORT>;
        LogForeign("ConnectToService", ntohs(m_usServerPort));
        return ERR_CONNECT;
    }
    std::memcpy(&stStatus, arBody, sizeof stStatus);
    int nNodes = std::clamp(static_cast<int>(stStatus.m_nNodeNum), 0, CLUSTER_NODE_MOST);
    // A report may count more nodes than it holds: those have no address.
    while (nNodes > 0 && stStatus.m_arNode[nNodes - 1].m_dwIP == 0)
        --nNodes;
    stStatus.m_nNodeNum = nNodes;
    return ERR_OK;
}

int CDBInterface::ConnectToService(int bRetry, int bSwitchNode) {
    if (bSwitchNode) return SwitchNode(bRetry, NO_OTHER_NODE);
    // Without a link there is nobody to probe.
    if (const int nCode = Connect(bRetry)) {
        if (!m_bDirectConnect) return SwitchNode(bRetry, nCode);
        m_nAddressNum = 0;
        return nCode;
    }
    CLUSTERSTATUS stStatus;
    if (const int nCode = Probe(stStatus)) return nCode;
    m_nAddressNum = stStatus.m_nNodeNum;
    // A direct connection counts the nodes and takes no addresses: it has nowhere else to go.
    return m_bDirectConnect ? static_cast<int>(ERR_OK) : FollowMaster(stStatus, bRetry);
}

// Takes the list of nodes, and moves to the master if this node isn't it. A master that can't be reached is no failure.
int CDBInterface::FollowMaster(const CLUSTERSTATUS& stStatus, int bRetry) {
    if (m_nAddressNum == 0) return ERR_OK;
    for (int i = 0; i < m_nAddressNum; ++i) {
        const CLUSTERNODE& stNode = stStatus.m_arNode[i];
        m_arrAddress[i] = {htonl(stNode.m_dwIP), htons(stNode.m_usPort), stNode.m_nNodeInfo};
    }
    m_nAddressIndex = 0;
    m_dwFirstNodeIP = m_arrAddress[0].m_dwIP;
    m_usFirstNodePort = m_arrAddress[0].m_usPort;
    if (m_nAddressNum < 2 || stStatus.m_dwMasterIP == stStatus.m_arNode[0].m_dwClusterIP) return ERR_OK;

    struct CKEPTSOCKET {
        int m_nSocket;
        ~CKEPTSOCKET() {
            if (m_nSocket != -1) close(m_nSocket);
        }
    } stKept{std::exchange(m_nSocket, -1)};
    const DWORD dwKeptIP = m_dwServerIP;
    const USHORT usKeptPort = m_usServerPort;
    SetServer(htonl(stStatus.m_dwMasterIP), htons(stStatus.m_usMasterPort));
    for (int i = 0; i < m_nAddressNum; ++i) {
        const bool bIsMaster =
            stStatus.m_arNode[i].m_dwClusterIP == stStatus.m_dwMasterIP || m_arrAddress[i].m_dwIP == m_dwServerIP;
        if (!bIsMaster || m_arrAddress[i].m_usPort != m_usServerPort) continue;
        m_nAddressIndex = i;
        break;
    }
    if (Connect(bRetry) == ERR_OK) return ERR_OK;
    CloseSocket();
    m_nSocket = std::exchange(stKept.m_nSocket, -1);
    SetServer(dwKeptIP, usKeptPort);
    return ERR_OK;
}

// Round the list from behind the node in use. That one's place stays, so the next switch begins there again.
int CDBInterface::SwitchNode(int bRetry, int nCode) {
    const DWORD dwKeptIP = m_dwServerIP;
    const USHORT usKeptPort = m_usServerPort;
    for (int i = 1; m_nAddressNum > 1 && i <= m_nAddressNum; ++i) {
        const NODEADDRESS& stNode = m_arrAddress[(m_nAddressIndex + i) % m_nAddressNum];
        if (stNode.m_dwIP == dwKeptIP && stNode.m_usPort == usKeptPort) continue;
        SetServer(stNode.m_dwIP, stNode.m_usPort);
        if ((nCode = Connect(bRetry)) == ERR_OK) return ERR_OK;
    }
    SetServer(dwKeptIP, usKeptPort);
    return nCode;
}

unsigned int CDBInterface::StringToIpAddress(char* lpszHost) {
    if (!lpszHost) return 0;
    const in_addr_t dwIP = inet_addr(lpszHost);
    if (dwIP != INADDR_NONE) return ntohl(dwIP);
    hostent stHost{}, *lpHost = nullptr;
    char szBuffer[8192];
    int nError = 0;
    if (gethostbyname_r(lpszHost, &stHost, szBuffer, sizeof szBuffer, &lpHost, &nError) != 0 || !lpHost ||
        !lpHost->h_addr_list[0])
        return INADDR_NONE;
    in_addr stAddress{};
    std::memcpy(&stAddress, lpHost->h_addr_list[0], sizeof stAddress);
    return ntohl(stAddress.s_addr);
}

unsigned int CDBInterface::GetIpAddress() {
    ifaddrs* lpFirst = nullptr;
    if (getifaddrs(&lpFirst) != 0) return INADDR_LOOPBACK;
    unsigned int dwFound = INADDR_LOOPBACK;
    for (const ifaddrs* lpEntry = lpFirst; lpEntry; lpEntry = lpEntry->ifa_next) {
        if (!lpEntry->ifa_addr || lpEntry->ifa_addr->sa_family != AF_INET) continue;
        sockaddr_in stAddress{};
        std::memcpy(&stAddress, lpEntry->ifa_addr, sizeof stAddress);
        const unsigned int dwIP = ntohl(stAddress.sin_addr.s_addr);
        if (dwIP == 0 || dwIP == INADDR_LOOPBACK || dwIP == INADDR_BROADCAST) continue;
        dwFound = dwIP;
        break;
    }
    freeifaddrs(lpFirst);
    return dwFound;
}
