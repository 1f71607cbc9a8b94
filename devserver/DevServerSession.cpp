// A link: frames in and out.

#include "DevServerSession.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>

#include "DevServerMessages.h"
#include "Platform.h"

namespace {

/** The longest body that is taken, and the step in which it is read. */
constexpr UINT BODY_MOST = 1u << 30;
constexpr UINT BODY_STEP = 1u << 16;

/** What a client may still send on a link that ends: microseconds between its pieces, and their number. */
constexpr long DRAIN_PAUSE = 200'000;
constexpr int DRAIN_PIECE_MOST = 256;

} // namespace

CDevServerSession::CDevServerSession(int nSocket, int nNumber, CDevServerInstance& stInstance, CFaultScript& stScript,
                                     const CDevServerStop& stStop, bool bTrace)
    : m_nSocket(nSocket),
      m_nNumber(nNumber),
      m_stInstance(stInstance),
      m_stScript(stScript),
      m_stStop(stStop),
      m_bTrace(bTrace) {
    const int bNoDelay = 1;
    setsockopt(m_nSocket, IPPROTO_TCP, TCP_NODELAY, &bNoDelay, sizeof bNoDelay);
    sockaddr_in stAddress{};
    socklen_t nLen = sizeof stAddress;
    if (getsockname(m_nSocket, reinterpret_cast<sockaddr*>(&stAddress), &nLen) == 0)
        m_stSelf = {ntohl(stAddress.sin_addr.s_addr), ntohs(stAddress.sin_port)};
}

CDevServerSession::~CDevServerSession() {
    Close();
}

void CDevServerSession::Run() {
    try {
        while (!m_stStop.Wait(0) && ServeRequest()) {
        }
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, Text(MSG_LINK_MEMORY), m_nNumber);
    }
    Close();
    m_bDone = true;
}

void CDevServerSession::Shut() {
    const std::lock_guard stLock(m_csSocket);
    if (m_nSocket >= 0) shutdown(m_nSocket, SHUT_RDWR);
}

void CDevServerSession::Close() {
    const std::lock_guard stLock(m_csSocket);
    if (m_nSocket >= 0) close(m_nSocket);
    m_nSocket = -1;
}

// --- reading ---------------------------------------------------------------------------------------------------------

bool CDevServerSession::ReadBytes(void* lpBytes, std::size_t nLen) {
    auto* lpTo = static_cast<char*>(lpBytes);
    while (nLen > 0) {
        const ssize_t nGot = recv(m_nSocket, lpTo, nLen, 0);
        if (nGot < 0 && errno == EINTR) continue;
        if (nGot <= 0) return false;
        lpTo += nGot;
        nLen -= static_cast<std::size_t>(nGot);
    }
    return true;
}

bool CDevServerSession::ReadBody(UINT nLen, std::string& strBody) {
    while (strBody.size() < nLen) {
        const std::size_t nHas = strBody.size(), nStep = std::min<std::size_t>(nLen - nHas, BODY_STEP);
        strBody.resize(nHas + nStep);
        if (!ReadBytes(strBody.data() + nHas, nStep)) return false;
    }
    return true;
}

bool CDevServerSession::DiscardBody(UINT nLen) {
    char arPiece[4096];
    for (UINT nPiece; nLen > 0; nLen -= nPiece) {
        nPiece = std::min<UINT>(nLen, sizeof arPiece);
        if (!ReadBytes(arPiece, nPiece)) return false;
    }
    return true;
}

// --- one request -----------------------------------------------------------------------------------------------------

bool CDevServerSession::ServeRequest() {
    DEVREQUEST stRequest;
    if (!ReadBytes(&stRequest.m_stHead, sizeof stRequest.m_stHead)) return false;
    const TCPFRAMEHEAD& stHead = stRequest.m_stHead;
    DEVREPLY stReply;
    stReply.m_stHead.m_bProtocol = FRAME_PROTOCOL;
    stReply.m_stHead.m_bCommand = MF_REPLY_OK;
    stReply.m_stHead.m_bToken = stHead.m_bToken;
    ++m_nRequests;

    int nCode = ERR_OK;
    const DEVCOMMAND* const lpCommand = FindCommand(stHead.m_bCommand);
    if (stHead.m_bProtocol != FRAME_PROTOCOL)
        nCode = ERR_PROTOCOL;
    else if (!lpCommand)
        nCode = ERR_NOT_DEVELOPED;
    else if (lpCommand->m_bLogin && m_nSession == 0)
        nCode = ERR_LINK_NOT_OPEN;
    else if (lpCommand->m_nBody == DEVBODY_NONE ? stHead.m_nBodyLen != 0 : stHead.m_nBodyLen > BODY_MOST)
        nCode = ERR_MEMORY_SIZE;

    // Who speaks another protocol has no length that could be counted off.
    if (nCode == ERR_PROTOCOL) stReply.m_nThen = THEN_CLOSE;
    if (stReply.m_nThen == THEN_STAY &&
        !(nCode == ERR_OK ? ReadBody(stHead.m_nBodyLen, stRequest.m_strBody) : DiscardBody(stHead.m_nBodyLen)))
        return false;

    const FAULT stFault = m_stScript.Next(stHead.m_bCommand);
    stRequest.m_nAbort = stFault.CodeWithin();
    if (nCode == ERR_OK && !stFault.IsInstead()) nCode = CarryOut(*lpCommand, stRequest, stReply);
    if (nCode != ERR_OK) stReply.Fail(nCode);
    stFault.Apply(stReply);
    if (m_bTrace) TraceRequest(stRequest, stReply);
    return SendReply(stReply);
}

int CDevServerSession::CarryOut(const DEVCOMMAND& stCommand, DEVREQUEST& stRequest, DEVREPLY& stReply) {
    const std::int64_t nStart = NowMicroseconds();
    if (stCommand.m_nBody == DEVBODY_PLAN)
        if (const int nCode = stRequest.m_stPlan.Open(stRequest.m_strBody.data(), stRequest.m_strBody.size()))
            return nCode;
    const int nCode = (this->*stCommand.m_pHandler)(stRequest, stReply);
    if (nCode == ERR_OK && stCommand.m_nBody == DEVBODY_PLAN) SetStatistics(stRequest, nStart, stReply);
    return nCode;
}

// Our own figures: the client hands them on unread.
void CDevServerSession::SetStatistics(const DEVREQUEST& stRequest, std::int64_t nStart, DEVREPLY& stReply) const {
    STATISTICSPARAM& stStatistics = stReply.m_stHead.m_stStatistics;
    stStatistics.m_nServerStat[0] = NowMicroseconds() - nStart;
    stStatistics.m_nServerStat[1] = static_cast<std::int64_t>(stRequest.m_strBody.size());
    stStatistics.m_nServerStat[2] = static_cast<std::int64_t>(stReply.m_strBody.size());
    stStatistics.m_nServerStat[3] = m_nRequests;
    stStatistics.m_nServerStat11 = m_nSession;
}

// --- sending ---------------------------------------------------------------------------------------------------------

bool CDevServerSession::SendBytes(std::string_view szBytes) {
    while (!szBytes.empty()) {
        const ssize_t nSent = send(m_nSocket, szBytes.data(), szBytes.size(), MSG_NOSIGNAL);
        if (nSent < 0 && errno == EINTR) continue;
        if (nSent < 0) return false;
        szBytes.remove_prefix(static_cast<std::size_t>(nSent));
    }
    return true;
}

bool CDevServerSession::SendReply(const DEVREPLY& stReply) {
    if (stReply.m_nDelay > 0 && m_stStop.Wait(stReply.m_nDelay)) return false;
    const std::string strBytes = stReply.Bytes();
    if (!SendBytes(stReply.m_strBefore) || !SendBytes(std::string_view(strBytes).substr(0, stReply.m_nSend)))
        return false;
    if (stReply.m_nThen == THEN_CLOSE) Drain();
    if (stReply.m_nThen == THEN_RESET) {
        const linger stReset{1, 0};
        setsockopt(m_nSocket, SOL_SOCKET, SO_LINGER, &stReset, sizeof stReset);
    }
    return stReply.m_nThen == THEN_STAY;
}

// A socket that is closed with bytes unread resets the link, and what was sent may be lost on its way. So the client is
// given a moment to close first.
void CDevServerSession::Drain() {
    shutdown(m_nSocket, SHUT_WR);
    const timeval stTimeout{0, DRAIN_PAUSE};
    setsockopt(m_nSocket, SOL_SOCKET, SO_RCVTIMEO, &stTimeout, sizeof stTimeout);
    char arPiece[4096];
    for (int i = 0; i < DRAIN_PIECE_MOST && recv(m_nSocket, arPiece, sizeof arPiece, 0) > 0; ++i) {
    }
}

void CDevServerSession::TraceRequest(const DEVREQUEST& stRequest, const DEVREPLY& stReply) const {
    const DEVCOMMAND* const lpCommand = FindCommand(stRequest.m_stHead.m_bCommand);
    const std::string strName =
        lpCommand ? std::string(lpCommand->m_szName) : std::to_string(stRequest.m_stHead.m_bCommand);
    std::printf(Text(MSG_TRACE), m_nNumber, strName.c_str(), static_cast<int>(stRequest.m_stHead.m_bToken),
                static_cast<unsigned>(stRequest.m_stHead.m_nBodyLen), static_cast<int>(stReply.m_stHead.m_bCommand),
                static_cast<int>(stReply.m_stHead.m_nValue), static_cast<unsigned>(stReply.m_strBody.size()));
    std::fflush(stdout);
}
