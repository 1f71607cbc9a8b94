// The one exchange of request and reply: attempts, reconnection, tokens, pending replies, the body. All commands go
// through it; what makes them different is their row in DBInterfaceExchange.h. The caller holds the lock.

#include "DBInterfaceExchange.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <new>

#include "Platform.h"

namespace {

/** Sends of a request in all: where links break, and where replies have another token. */
constexpr int LINK_ATTEMPT_MOST = 3;
constexpr int TOKEN_ATTEMPT_MOST = 4;
/** Replies with another token that TOKEN_READ_ON passes over. */
constexpr int STALE_REPLY_MOST = 4;
/** Step in which a body is read. Its memory is touched only as bytes arrive, whatever length was announced. */
constexpr UINT BODY_STEP = 1u << 20;

constexpr MESSAGE MSG_FRAME[] = {
    {"通过TCP向服务器发送数据失败，返回值：%d，错误码：%d",
     "Failed to send data to server through TCP, return value: %d, error code: %d"},
    {"接收服务器数据时出现连接关闭错误，返回值：%d，错误码：%d",
     "Connection closed error while receiving server data. Return value: %d, error code: %d"},
    {"接收服务器数据时出现套接字错误，返回值：%d，错误码：%d",
     "Socket error occurs when receiving server data. Return value: %d, error code: %d"},
    {"客户端自动清理TCP缓存数据，收到的命令类型为：%d",
     "The client automatically cleans up the TCP cache data. The command type received is %d"},
    {"服务器返回的数据内容不正确，客户端自动清理TCP缓存数据，预期为0，实际收到：%d",
     "The data content returned by the server is incorrect, and the client automatically cleans up the TCP cache data, "
     "expecting 0 but actually receiving: %d"},
    {"服务器返回的数据内容不正确，预期不为0，实际收到0",
     "The data content returned by the server is incorrect, not expected to be 0, but actually received 0"},
    {"分配接收BSON数据的内存失败，预期内存大小：%d，错误码：%d",
     "Failed to allocate memory to receive BSON data, expected memory size: %d, error code: %d"},
    {"实际发送的数据长度与指定长度不相等，实际值：%d，指定值：%d",
     "The actual length of the sent data is not equal to the specified length, with the actual value: %d and the "
     "specified value: %d"},
};
static_assert(std::size(MSG_FRAME) == EVENT_COUNT);
static_assert(std::all_of(std::begin(MSG_FRAME), std::end(MSG_FRAME), [](const MESSAGE& stMessage) {
    const char* const lpszText = stMessage.m_lpszEnglish;
    return ArgumentsFit<>(lpszText) || ArgumentsFit<int>(lpszText) || ArgumentsFit<int, int>(lpszText);
}));

void LogFrame(const COMMANDROW& stRow, FRAMEEVENT nEvent, long nFirst = 0, long nSecond = 0) {
    Trace(stRow.m_lpszFunction, 0, stRow.LogCode(stRow.m_arPlace[nEvent]), Text(MSG_FRAME[nEvent]),
          static_cast<int>(nFirst), static_cast<int>(nSecond));
}

bool IsBroken(int nError) {
    return nError == EPIPE || nError == ECONNRESET;
}

} // namespace

/** What became of a frame: bytes sent, or -1 with errno. */
struct CDBInterface::SENT {
    long m_nSent;
    int m_nError;
    bool m_bWhole;
};

// An exchange that an exception or a cancelled thread leaves half done takes the link with it.
int CDBInterface::Exchange(EXCHANGE& stExchange) {
    if (stExchange.m_stRow.m_nLink != LINK_AS_IS && !IsLoggedIn()) return ERR_LINK_NOT_OPEN;
    struct CLINKGUARD {
        CDBInterface* m_pLink;
        ~CLINKGUARD() {
            if (m_pLink) m_pLink->CloseSocket();
        }
    } stGuard{this};
    const int nCode = RunAttempts(stExchange);
    stGuard.m_pLink = nullptr;
    if (nCode != ERR_OK && stExchange.m_pStat)
        stExchange.m_pStat->m_nErrorCode = stExchange.m_bNote ? stExchange.m_nNote : nCode;
    return nCode;
}

int CDBInterface::RunAttempts(EXCHANGE& stExchange) {
    int nCode = ERR_OK;
    for (int nAttempt = 1;; ++nAttempt) {
        if (!SendRequest(stExchange, nAttempt, nCode)) continue;
        if (nCode != ERR_OK || ReceiveReply(stExchange, nAttempt, nCode)) return nCode;
    }
}

// --- sending; what answers false asks for a further attempt ----------------------------------------------------------

CDBInterface::SENT CDBInterface::SendFrame(EXCHANGE& stExchange) {
    if (m_nSocket == -1) return {-1, ENOTCONN, false};
    const TCPFRAMEHEAD& stHead = stExchange.m_stHead;
    SENT stSent{0, 0, false};
    const auto Send = [&](const void* lpBytes, std::size_t nLen) {
        const long nResult = SendBytes(lpBytes, nLen);
        stSent.m_nError = nResult < 0 ? errno : 0;
        stSent.m_nSent = nResult < 0 ? -1 : stSent.m_nSent + nResult;
        return nResult >= 0 && static_cast<std::size_t>(nResult) == nLen;
    };
    if (stExchange.m_stRow.m_nSend == SEND_PLAN) {
        BYTE* const lpFrame = reinterpret_cast<BYTE*>(stExchange.m_pPlan) - sizeof stHead;
        std::memcpy(lpFrame, &stHead, sizeof stHead);
        stSent.m_bWhole = Send(lpFrame, sizeof stHead + std::size_t{stHead.m_nBodyLen});
        return stSent;
    }
    if (!Send(&stHead, sizeof stHead)) return stSent;
    // A part cut short is a frame cut short, for a redo record too: the server would wait for the rest, and this side
    // for its reply.
    for (const std::span<const BYTE> arPart : stExchange.m_arPart)
        if (!Send(arPart.data(), arPart.size())) return stSent;
    stSent.m_bWhole = stSent.m_nSent == static_cast<long>(sizeof stHead) + stHead.m_nBodyLen;
    return stSent;
}

bool CDBInterface::SendRequest(EXCHANGE& stExchange, int nAttempt, int& nCode) {
    const COMMANDROW& stRow = stExchange.m_stRow;
    nCode = ERR_OK;
    if (m_bToken == 0) CreateRandomFactor();
    stExchange.m_stHead.m_bToken = stRow.m_nToken == TOKEN_PROBE ? FRAME_PROBE_TOKEN : m_bToken;
    if (stExchange.m_pStat) stExchange.m_pStat->m_nSendTime = NowMicroseconds();
    stExchange.m_nEnd = EXCHANGE_NOT_SENT;
    SENT stSent = SendFrame(stExchange);
    // The next request's token, while the server works: drawing one takes as long as a system call or two.
    if (stRow.m_nToken != TOKEN_PROBE) CreateRandomFactor();
    const bool bLost = m_nSocket == -1 || IsBroken(stSent.m_nError);
    if (!stSent.m_bWhole && stRow.m_nLink == LINK_REPAIR) {
        CloseSocket();
        if ((nCode = OpenDatabase(1, 0)) != ERR_OK) return true;
        // With the token of its attempt, although the login has drawn others.
        stSent = SendFrame(stExchange);
    } else if (bLost && stRow.m_nLink == LINK_ATTEMPT && nAttempt < LINK_ATTEMPT_MOST) {
        CloseSocket();
        return (nCode = OpenDatabase(1, 0)) != ERR_OK;
    }
    if (stSent.m_bWhole) return true;
    if (stRow.m_nSend == SEND_PARTS && stSent.m_nSent >= 0)
        LogFrame(stRow, EVENT_SUM, stSent.m_nSent - static_cast<long>(sizeof stExchange.m_stHead),
                 stExchange.m_stHead.m_nBodyLen);
    else
        LogFrame(stRow, EVENT_SEND, stSent.m_nSent, stSent.m_nError);
    stExchange.Note(static_cast<int>(stSent.m_nSent));
    if (stRow.m_nToken != TOKEN_PROBE) CloseSocket();
    nCode = ERR_SEND;
    return true;
}

// --- receiving -------------------------------------------------------------------------------------------------------

bool CDBInterface::ReceiveReply(EXCHANGE& stExchange, int nAttempt, int& nCode) {
    const COMMANDROW& stRow = stExchange.m_stRow;
    TCPFRAMEHEAD& stReply = stExchange.m_stReply;
    stExchange.m_nEnd = EXCHANGE_NO_REPLY;
    for (int nStale = 0;;) {
        int nError = 0;
        int nResult = ReceiveBuffer(reinterpret_cast<char*>(&stReply), sizeof stReply, nError,
                                    stRow.m_nToken == TOKEN_PROBE ? FRAME_PROBE_TOKEN : BYTE{0});
        if (nResult != sizeof stReply) return LostReply(stExchange, nAttempt, nResult, nError, nCode);
        if (stRow.Has(CHECK_PROTOCOL) && stReply.m_bProtocol != FRAME_PROTOCOL) {
            CloseSocket();
            nCode = ERR_PROTOCOL;
            return true;
        }
        const bool bMatch = stReply.m_bToken == stExchange.m_stHead.m_bToken;
        if (stReply.m_bCommand == MF_REPLY_PENDING) {
            if (!bMatch || stReply.m_bFlag != FRAME_FLAG_PROGRESS || CallProgress(stExchange)) continue;
            CloseSocket();
            nCode = ERR_FAILED;
            return true;
        }
        if (bMatch) break;
        if (stRow.m_nToken == TOKEN_READ_ON) {
            if (++nStale > STALE_REPLY_MOST) break;
            if (!DiscardBody(stReply.m_nBodyLen, nResult, nError))
                return LostReply(stExchange, nAttempt, nResult, nError, nCode);
            continue;
        }
        if (nAttempt < TOKEN_ATTEMPT_MOST) {
            ClearSocket();
            return false;
        }
        CloseSocket();
        nCode = ERR_TOKEN;
        return true;
    }
    if (stExchange.m_pStat) stExchange.m_pStat->m_nReceiveTime = NowMicroseconds();
    nCode = FinishReply(stExchange);
    return true;
}

// A link that broke before the reply was there, or within its head.
bool CDBInterface::LostReply(EXCHANGE& stExchange, int nAttempt, int nResult, int nError, int& nCode) {
    const COMMANDROW& stRow = stExchange.m_stRow;
    const bool bClosed = nResult == 0;
    LogFrame(stRow, bClosed ? EVENT_CLOSED : EVENT_SOCKET, nResult, nError);
    stExchange.Note(nError);
    nCode = ERR_RECEIVE;
    if (!bClosed && nError == EAGAIN) nCode = ERR_RECEIVE_TIMEOUT;
    if (!bClosed && IsBroken(nError)) nCode = ERR_LINK_RESET;
    if (stRow.m_nToken == TOKEN_PROBE) return true;
    CloseSocket();
    const bool bRepeat = bClosed ? stRow.Has(REPEAT_CLOSED) : nCode == ERR_LINK_RESET;
    if (!bRepeat || stRow.m_nLink == LINK_AS_IS || nAttempt >= LINK_ATTEMPT_MOST) return true;
    if (OpenDatabase(1, 0) != ERR_OK) return true;
    stExchange.m_bNote = false;
    nCode = ERR_OK;
    return false;
}

bool CDBInterface::CallProgress(EXCHANGE& stExchange) {
    if (!stExchange.m_lpfnProgress) return true;
    const PROGRESSPARAM& stProgress = stExchange.m_stReply.m_stProgress;
    char szText[sizeof stProgress.m_szText + 1] = "";
    std::memcpy(szText, stProgress.m_szText, sizeof stProgress.m_szText);
    return stExchange.m_lpfnProgress(stExchange.m_pUser, szText, stProgress.m_nTotal, stProgress.m_nCurrent) != 0;
}

int CDBInterface::FinishReply(EXCHANGE& stExchange) {
    TCPFRAMEHEAD& stReply = stExchange.m_stReply;
    switch (stReply.m_bCommand) {
        case MF_REPLY_FAIL:
            stExchange.m_nEnd = EXCHANGE_FAILED;
            return ServerFailure(stExchange);
        case MF_REPLY_OK:
            stExchange.m_nEnd = EXCHANGE_DONE;
            if (stExchange.m_pStat && (stExchange.m_stRow.m_nBody != BODY_NONE || stReply.m_nBodyLen == 0))
                GetStatisticsData(stExchange.m_pStat, stReply.m_szText);
            return ReceiveBody(stExchange);
        default:
            DrainReply(stReply.m_nBodyLen);
            LogFrame(stExchange.m_stRow, EVENT_STATUS, stReply.m_bCommand);
            return ERR_RECEIVED_DATA;
    }
}

int CDBInterface::ServerFailure(EXCHANGE& stExchange) {
    const TCPFRAMEHEAD& stReply = stExchange.m_stReply;
    const FAILURELINE& stLine = stExchange.m_stRow.m_stFailure;
    if (stReply.m_nBodyLen != 0) DrainReply(stReply.m_nBodyLen);
    // A refusal without a code stays one.
    const int nCode = stReply.m_nValue != ERR_OK ? stReply.m_nValue : static_cast<int>(ERR_FAILED);
    const char* const lpszFunction = stExchange.m_stRow.m_lpszFunction;
    const int nLogCode = stExchange.m_stRow.LogCode(stLine.m_bPlace);
    // A format that takes one of the two leaves the other alone.
    if (stLine.m_bSubjectFirst)
        Trace(lpszFunction, 0, nLogCode, Text(stLine.m_stMessage), stExchange.m_lpszSubject, nCode);
    else
        Trace(lpszFunction, 0, nLogCode, Text(stLine.m_stMessage), nCode, stExchange.m_lpszSubject);
    return nCode;
}

// --- the body --------------------------------------------------------------------------------------------------------

// Clears the stream behind a reply that isn't to be used. More or less than it announced: the stream is out of step.
void CDBInterface::DrainReply(UINT nBodyLen) {
    if (ClearSocket() != nBodyLen) CloseSocket();
}

bool CDBInterface::DiscardBody(UINT nLen, int& nResult, int& nError) {
    char arPiece[4096];
    for (UINT nPiece; nLen != 0; nLen -= nPiece) {
        nPiece = std::min<UINT>(nLen, sizeof arPiece);
        nResult = ReceiveBuffer(arPiece, static_cast<int>(nPiece), nError, 0);
        if (nResult != static_cast<int>(nPiece)) return false;
    }
    return true;
}

int CDBInterface::ReceiveBody(EXCHANGE& stExchange) {
    const COMMANDROW& stRow = stExchange.m_stRow;
    const UINT nLen = stExchange.m_stReply.m_nBodyLen;
    if (stRow.m_nBody == BODY_NONE) {
        if (nLen == 0) return ERR_OK;
        DrainReply(nLen);
        if (stRow.Has(BODY_IS_STATUS))
            LogFrame(stRow, EVENT_STATUS, stExchange.m_stReply.m_bCommand);
        else
            LogFrame(stRow, EVENT_BODY, nLen);
        return ERR_RECEIVED_DATA;
    }
    if (nLen == 0) {
        LogFrame(stRow, EVENT_NO_BODY);
        DrainReply(0);
        return ERR_RECEIVED_DATA;
    }
    BYTE* lpBody = stExchange.m_lpBuffer;
    bool bRoom =
        lpBody && (stRow.m_nBody == BODY_EXACT ? nLen == stExchange.m_nBufferSize : nLen <= stExchange.m_nBufferSize);
    if (stRow.m_nBody == BODY_OWNED) {
        if (nLen <= INT_MAX) stExchange.m_lpBody.reset(new (std::nothrow) BYTE[nLen]);
        lpBody = stExchange.m_lpBody.get();
        bRoom = lpBody;
    }
    if (bRoom) return ReadBody(stExchange, lpBody, nLen);
    LogFrame(stRow, EVENT_MEMORY, nLen, errno);
    DrainReply(nLen);
    return stRow.m_nBody == BODY_OWNED ? ERR_MEMORY : ERR_RECEIVED_DATA;
}

int CDBInterface::ReadBody(EXCHANGE& stExchange, BYTE* lpBody, UINT nLen) {
    for (UINT nGot = 0; nGot < nLen;) {
        const int nStep = static_cast<int>(std::min(nLen - nGot, BODY_STEP));
        int nError = 0;
        const int nResult = ReceiveBuffer(reinterpret_cast<char*>(lpBody) + nGot, nStep, nError, 0);
        if (nResult != nStep) {
            LogFrame(stExchange.m_stRow, nResult == 0 ? EVENT_CLOSED : EVENT_SOCKET, nResult, nError);
            stExchange.m_lpBody.reset();
            if (stExchange.m_stRow.m_nToken != TOKEN_PROBE) CloseSocket();
            return stExchange.m_stRow.m_nBody == BODY_EXACT ? ERR_RECEIVED_DATA : ERR_RECEIVE;
        }
        nGot += static_cast<UINT>(nStep);
    }
    return ERR_OK;
}
