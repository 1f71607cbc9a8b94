// The socket under the frames: sending and receiving bytes, clearing a stream that has lost step, tokens, the figures
// in a reply, and the client's end of a link. What a request is made of, and what follows from a failure, stands in
// DBInterfaceExchange.cpp.

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>

#include "CommonDataDef.h"
#include "DBInterfaceExchange.h"
#include "LogLine.h"
#include "Platform.h"

namespace {

/** Receive failures in a row, once data has come, before a call gives up. */
constexpr int RECEIVE_TIMEOUT_MOST = 31;
constexpr int RECEIVE_ERROR_MOST = 4;

constexpr std::size_t CLEAR_PIECE = 1024;
/** A stream that goes on for so many pieces isn't going to fall silent, be it fast or byte by byte. */
constexpr int CLEAR_PIECE_MOST = 1 << 16;

constexpr LOGLINE LINE_CUT_SHORT{
    888'010'099,
    {"收发消息体数据长度不正确！包头描述长度：%d，剩余：%d未接收！错误：%s",
     "The length of the received and sent message body data is incorrect! Header description length: %d, remaining: %d "
     "not received! Error: %s"}};

// The details in that line have no English form. Intended.
constexpr const char* DETAIL_CLOSED = "连接被关闭了，返回值为0";
constexpr const char* DETAIL_TIMEOUT = "重试了30次都出现接收超时";
constexpr const char* DETAIL_RESET = "连接被关闭了，返回值为-1";
constexpr const char* DETAIL_ERROR = "重试了3次都出现接收错误，返回值为-1，但是WSAGetLastError的返回值为：0x%x";

/** Why data that had begun to come will not go on; a look at one failure after another. */
class CReceiveFailures {
public:
    /** Null: try again. */
    const char* Next(int nError) {
        switch (nError) {
            case EAGAIN:
                return ++m_nTimeouts >= RECEIVE_TIMEOUT_MOST ? DETAIL_TIMEOUT : nullptr;
            case EPIPE:
            case ECONNRESET:
            case ENOTCONN:
            case ENOTSOCK:
                return DETAIL_RESET;
            default:
                if (++m_nErrors < RECEIVE_ERROR_MOST) return nullptr;
                snprintf(m_szDetail, sizeof m_szDetail, DETAIL_ERROR, static_cast<unsigned>(nError));
                return m_szDetail;
        }
    }
    void Restart() { m_nTimeouts = m_nErrors = 0; }

private:
    int m_nTimeouts = 0;
    int m_nErrors = 0;
    char m_szDetail[256] = "";
};

/** The address that other machines know this one by, in host order; 127.0.0.1 if there is none. */
unsigned int LookUpOwnAddress() {
    unsigned int dwIP = INADDR_LOOPBACK;
    char szHost[256] = "";
    if (gethostname(szHost, sizeof szHost - 1) != 0) return dwIP;
    hostent stHost{}, *lpHost = nullptr;
    char szBuffer[8192];
    int nError = 0;
    if (gethostbyname_r(szHost, &stHost, szBuffer, sizeof szBuffer, &lpHost, &nError) != 0 || !lpHost) return dwIP;
    for (char** lpAddress = lpHost->h_addr_list; *lpAddress; ++lpAddress) {
        in_addr stAddress{};
        std::memcpy(&stAddress, *lpAddress, sizeof stAddress);
        dwIP = ntohl(stAddress.s_addr);
        if (dwIP != INADDR_LOOPBACK) break;
    }
    return dwIP;
}

} // namespace

long CDBInterface::SendBytes(const void* lpBytes, std::size_t nLen) {
    // A broken link is an answer here, not a signal that ends the program.
    return send(m_nSocket, lpBytes, nLen, MSG_NOSIGNAL);
}

// Interruptions don't count.
long CDBInterface::ReceiveBytes(void* lpBytes, std::size_t nLen) {
    for (;;) {
        errno = 0;
        const long nResult = recv(m_nSocket, lpBytes, nLen, 0);
        if (nResult >= 0 || (errno != EINTR && errno != EALREADY && errno != EINPROGRESS)) return nResult;
    }
}

int CDBInterface::ReceiveBuffer(char* pBuffer, int nLength, int& nError, unsigned char bToken) {
    nError = 0;
    if (nLength == 0) return 0;
    if (nLength < 0) {
        Log<LINE_CUT_SHORT>("ReceiveBuffer", nLength, nLength, "");
        return -1;
    }
    CReceiveFailures stFailures;
    const char* lpszDetail = nullptr;
    int nGot = 0;
    long nResult = 0;
    while (nGot < nLength && !lpszDetail) {
        nResult = ReceiveBytes(pBuffer + nGot, static_cast<std::size_t>(nLength - nGot));
        if (nResult > 0) {
            const bool bFirst = nGot == 0;
            nGot += static_cast<int>(nResult);
            stFailures.Restart();
            if (!bFirst || bToken == 0) continue;
            // Whoever speaks this protocol sends a head in one piece.
            TCPFRAMEHEAD stHead{};
            std::memcpy(&stHead, pBuffer, std::min<std::size_t>(sizeof stHead, static_cast<std::size_t>(nGot)));
            if (stHead.m_bToken == bToken && stHead.m_bProtocol == FRAME_PROTOCOL) continue;
            CloseSocket();
            nResult = 0;
            break;
        }
        nError = errno;
        if (nGot == 0) break;
        lpszDetail = nResult == 0 ? DETAIL_CLOSED : stFailures.Next(nError);
    }
    if (nGot == nLength && m_nSocket != -1) return nLength;
    std::memset(pBuffer + nGot, 0, static_cast<std::size_t>(nLength - nGot));
    if (lpszDetail) Log<LINE_CUT_SHORT>("ReceiveBuffer", nLength, nLength - nGot, lpszDetail);
    return static_cast<int>(nResult);
}

void CDBInterface::SetReceiveTimeout(long nSeconds, long nMicroseconds) {
    const timeval stTimeout{nSeconds, nMicroseconds};
    setsockopt(m_nSocket, SOL_SOCKET, SO_RCVTIMEO, &stTimeout, sizeof stTimeout);
}

unsigned long long CDBInterface::ClearSocket() {
    unsigned long long nCleared = 0;
    BYTE arPiece[CLEAR_PIECE];
    SetReceiveTimeout(0, 1);
    // A peer that has closed ends this as silence does.
    for (int i = 0; i < CLEAR_PIECE_MOST; ++i) {
        const long nResult = ReceiveBytes(arPiece, sizeof arPiece);
        if (nResult <= 0) {
            SetReceiveTimeout(SOCKET_TIMEOUT, 0);
            return nCleared;
        }
        nCleared += static_cast<unsigned long long>(nResult);
    }
    CloseSocket();
    return nCleared;
}

void CDBInterface::CloseSocket() {
    if (m_nSocket != -1) close(m_nSocket);
    m_nSocket = -1;
}

unsigned char CDBInterface::CreateRandomFactor() {
    BYTE arUuid[16];
    do
        g_stPlatform.m_lpfnUuid(arUuid);
    while (arUuid[0] == 0 || arUuid[0] == m_bToken);
    return m_bToken = arUuid[0];
}

namespace {

void CopyStatistics(MF_EXECUTE_STATISTICS* pStat, const STATISTICSPARAM& stParam) {
    std::memcpy(pStat->m_nServerStat, stParam.m_nServerStat, sizeof pStat->m_nServerStat);
    // The words 2 and 3 change places on the way. Intended.
    pStat->m_nServerStat[2] = stParam.m_nServerStat[3];
    pStat->m_nServerStat[3] = stParam.m_nServerStat[2];
    pStat->m_nServerStat11 = stParam.m_nServerStat11;
}

} // namespace

int CDBInterface::GetStatisticsData(MF_EXECUTE_STATISTICS* pStat, char* pParam) {
    STATISTICSPARAM stParam;
    std::memcpy(&stParam, pParam, sizeof stParam);
    CopyStatistics(pStat, stParam);
    pStat->m_usServerFlag = stParam.m_usServerFlag;
    return ERR_OK;
}

int CDBInterface::ConvertStatisticsData(MF_EXECUTE_STATISTICS* pStat, const char* pHex) {
    STATISTICSPARAM stParam{};
    int nLen = 0;
    // What isn't hexadecimal leaves the figures from there on 0.
    static_cast<void>(CharConvertHex(pHex, reinterpret_cast<BYTE*>(&stParam), 96, nLen));
    CopyStatistics(pStat, stParam);
    return ERR_OK;
}

void CDBInterface::GetSocketInfo(unsigned int& dwIP, unsigned short& usPort) {
    dwIP = INADDR_LOOPBACK;
    usPort = 0;
    sockaddr_in stLocal{};
    socklen_t nLen = sizeof stLocal;
    if (getsockname(m_nSocket, reinterpret_cast<sockaddr*>(&stLocal), &nLen) != 0) return;
    dwIP = ntohl(stLocal.sin_addr.s_addr);
    usPort = ntohs(stLocal.sin_port);
    if (dwIP != INADDR_LOOPBACK && dwIP != 0) return;
    // Looked up once for the process: it may ask the network, and each statement names this address.
    static const unsigned int dwOwn = LookUpOwnAddress();
    dwIP = dwOwn;
}
