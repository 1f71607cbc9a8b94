#pragma once

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>
#include <span>
#include <vector>

#include "DBInterface.h"
#include "KestroErrorCode.h"
#include "Language.h"
#include "TraceManage.h"

// The table of commands: what makes one request different from another stands here, and `CDBInterface::Exchange` does
// all the rest.

/** How a request leaves. */
enum SENDRULE : BYTE {
    SEND_HEAD,  // a head alone
    SEND_PLAN,  // head and plan in one piece: the plan's buffer keeps room for the head
    SEND_PARTS, // the head, and then each part of the body by itself
};

/** What happens to a request on a broken link. */
enum LINKRULE : BYTE {
    LINK_AS_IS,   // it fails: the link is being set up or ended, or the caller knows better
    LINK_REPAIR,  // after a failed send reconnect and send once more; after a lost reply a further attempt
    LINK_ATTEMPT, // after a failed send a further attempt too
};

/** What happens to a reply with another token than the request's: it answers an earlier attempt. */
enum TOKENRULE : BYTE {
    TOKEN_RESEND,  // clear the stream and send again
    TOKEN_READ_ON, // take the next one; the fifth such reply counts as if it matched. Intended.
    TOKEN_PROBE,   // a fixed token, which the first bytes must show; a failed probe leaves the link as it is
};

/** The body of a reply that tells success. */
enum BODYRULE : BYTE {
    BODY_NONE,
    BODY_OWNED,   // of any length; its memory goes to the caller
    BODY_EXACT,   // as long as the caller's buffer
    BODY_AT_MOST, // not longer than the caller's buffer
};

/** Lines of the log that all requests have in common. */
enum FRAMEEVENT : BYTE {
    EVENT_SEND,    // result, errno
    EVENT_CLOSED,  // result, errno
    EVENT_SOCKET,  // result, errno
    EVENT_STATUS,  // m_bCommand of the reply
    EVENT_BODY,    // m_nBodyLen where there may be none
    EVENT_NO_BODY, // no body where there must be one
    EVENT_MEMORY,  // m_nBodyLen that finds no room, errno
    EVENT_SUM,     // bytes sent, bytes announced
    EVENT_COUNT
};

/** The line about a request that the server refused: code and subject, or the other way round, as many as it takes. */
struct FAILURELINE {
    BYTE m_bPlace;
    bool m_bSubjectFirst;
    MESSAGE m_stMessage;
};

enum COMMANDNO : BYTE {
    COMMAND_EXECUTE,
    COMMAND_EXECUTE_CURSOR,
    COMMAND_QUERY,
    COMMAND_UPDATE_RS,
    COMMAND_PLAN_INFO,
    COMMAND_BEGIN_TX,
    COMMAND_END_TX,
    COMMAND_REDO,
    COMMAND_LOGIN,
    COMMAND_LOGOUT,
    COMMAND_USE,
    COMMAND_PROBE,
    COMMAND_CLUSTER_STATUS,
    COMMAND_ADD_NODE,
    COMMAND_DROP_NODE,
    COMMAND_MODIFY_NODE,
    COMMAND_BACKUP,
    COMMAND_RECOVER,
    COMMAND_DELETE_BACKUP,
    COMMAND_DELETE_ARCHIVE,
    COMMAND_COUNT
};

enum COMMANDFLAG : BYTE {
    REPEAT_CLOSED = 1,  // a link that was closed while the reply was due gets a further attempt, as a reset one does
    CHECK_PROTOCOL = 2, // a reply of another protocol is told apart: 66
    NOTE_ERRNO = 4,     // a broken link notes errno, or the count sent, instead of the code. Intended.
    BODY_IS_STATUS = 8, // the line about a body where there may be none is the one about a wrong status. Intended.
};

/** A command, or one way of using it. */
struct COMMANDROW {
    COMMANDNO m_nNo;
    const char* m_lpszFunction; // as the log names it
    USHORT m_nOperation;        // FFF of the log's code 888FFFNNN
    FRAMECOMMAND m_bCommand;
    SENDRULE m_nSend;
    LINKRULE m_nLink;
    TOKENRULE m_nToken;
    BODYRULE m_nBody;
    BYTE m_bFlags; // COMMANDFLAG
    FAILURELINE m_stFailure;
    BYTE m_arPlace[EVENT_COUNT]; // NNN of the common lines, 0 where there is none

    constexpr bool Has(COMMANDFLAG bFlag) const { return (m_bFlags & bFlag) != 0; }
    int LogCode(int nPlace) const { return 888'000'000 + m_nOperation * 1000 + nPlace; }
};

inline constexpr MESSAGE MSG_SERVER_FAILURE{"服务器返回执行失败，错误码：%d",
                                            "Server return execution failure, error code: %d"};
inline constexpr MESSAGE MSG_SERVER_FAILURE_SQL{"服务器返回执行失败，错误码：%d，SQL：%s",
                                                "Server return execution failure, error code: %d, SQL: %s"};
inline constexpr MESSAGE MSG_LOGIN_FAILURE{"用户登录失败，用户名：%s", "User login failed, user name %s"};
inline constexpr MESSAGE MSG_LOGOUT_FAILURE{"用户注销登录，用户名：%s，返回值：%d",
                                            "User login logout, user name %s, return value: %d"};
inline constexpr MESSAGE MSG_USE_FAILURE{"切换数据库失败，库名：%s", "Failed to switch database, library name: %s"};

// clang-format off
/** One row a command, in the order of COMMANDNO. */
inline constexpr COMMANDROW COMMANDS[] = {
    // number, function, operation, command,
    //     send, link, token, body, flags, failure, places of: send, closed, socket, status, body, no body, memory, sum
    {COMMAND_EXECUTE, "TCPExecuteCommand", 11, MF_CMD_EXECUTE,
        SEND_PLAN, LINK_REPAIR, TOKEN_RESEND, BODY_NONE, REPEAT_CLOSED,
        {11, false, MSG_SERVER_FAILURE_SQL}, {1, 4, 5, 13, 12, 0, 0, 0}},
    {COMMAND_EXECUTE_CURSOR, "TCPExecuteCommand", 62, MF_CMD_EXECUTE,
        SEND_PLAN, LINK_REPAIR, TOKEN_RESEND, BODY_NONE, REPEAT_CLOSED,
        {11, false, MSG_SERVER_FAILURE_SQL}, {1, 4, 5, 13, 12, 0, 0, 0}},
    {COMMAND_QUERY, "TCPGetRecordset", 12, MF_CMD_QUERY,
        SEND_PLAN, LINK_REPAIR, TOKEN_RESEND, BODY_OWNED, REPEAT_CLOSED | NOTE_ERRNO,
        {13, false, MSG_SERVER_FAILURE_SQL}, {1, 4, 5, 14, 0, 11, 12, 0}},
    {COMMAND_UPDATE_RS, "TCPUpdateRecordset", 13, MF_CMD_UPDATE_RS,
        SEND_PARTS, LINK_ATTEMPT, TOKEN_RESEND, BODY_NONE, REPEAT_CLOSED,
        {11, false, MSG_SERVER_FAILURE}, {1, 5, 6, 13, 12, 0, 0, 4}},
    {COMMAND_PLAN_INFO, "TCPGetExecutePlanInfo", 14, MF_CMD_PLAN_INFO,
        SEND_PARTS, LINK_ATTEMPT, TOKEN_RESEND, BODY_EXACT, REPEAT_CLOSED,
        {11, false, MSG_SERVER_FAILURE_SQL}, {1, 5, 6, 14, 0, 12, 13, 4}},
    {COMMAND_BEGIN_TX, "TCPStartTransactionLogic", 15, MF_CMD_BEGIN_TX,
        SEND_HEAD, LINK_REPAIR, TOKEN_RESEND, BODY_NONE, REPEAT_CLOSED,
        {11, false, MSG_SERVER_FAILURE}, {2, 4, 5, 13, 12, 0, 0, 0}},
    {COMMAND_END_TX, "TCPStopTransactionLogic", 16, MF_CMD_END_TX,
        SEND_HEAD, LINK_REPAIR, TOKEN_RESEND, BODY_NONE, REPEAT_CLOSED,
        {11, false, MSG_SERVER_FAILURE}, {1, 4, 5, 13, 12, 0, 0, 0}},
    {COMMAND_REDO, "KestroRedoCore", 63, MF_CMD_REDO,
        SEND_PARTS, LINK_REPAIR, TOKEN_RESEND, BODY_NONE, 0,
        {11, false, MSG_SERVER_FAILURE}, {1, 4, 5, 13, 12, 0, 0, 3}},
    {COMMAND_LOGIN, "UserLogin", 2, MF_CMD_LOGIN,
        SEND_HEAD, LINK_AS_IS, TOKEN_READ_ON, BODY_NONE, CHECK_PROTOCOL,
        {5, true, MSG_LOGIN_FAILURE}, {1, 2, 3, 6, 7, 0, 0, 0}},
    {COMMAND_LOGOUT, "UserLogOut", 42, MF_CMD_LOGOUT,
        SEND_HEAD, LINK_AS_IS, TOKEN_RESEND, BODY_NONE, 0, {10, true, MSG_LOGOUT_FAILURE}, {1, 4, 5, 12, 11, 0, 0, 0}},
    {COMMAND_USE, "UseDatabase", 67, MF_CMD_USE,
        SEND_HEAD, LINK_AS_IS, TOKEN_READ_ON, BODY_NONE, 0, {6, true, MSG_USE_FAILURE}, {2, 3, 4, 7, 8, 0, 0, 0}},
    {COMMAND_PROBE, "GetClusterStatus", 29, MF_CMD_CLUSTER_STATUS,
        SEND_HEAD, LINK_AS_IS, TOKEN_PROBE, BODY_AT_MOST, CHECK_PROTOCOL,
        {10, false, MSG_SERVER_FAILURE}, {1, 4, 5, 13, 0, 11, 12, 0}},
    {COMMAND_CLUSTER_STATUS, "GetClusterStatus", 29, MF_CMD_CLUSTER_STATUS,
        SEND_HEAD, LINK_AS_IS, TOKEN_RESEND, BODY_AT_MOST, CHECK_PROTOCOL,
        {10, false, MSG_SERVER_FAILURE}, {1, 4, 5, 13, 0, 11, 12, 0}},
    {COMMAND_ADD_NODE, "AddNewNode", 41, MF_CMD_ADD_NODE,
        SEND_HEAD, LINK_AS_IS, TOKEN_RESEND, BODY_NONE, BODY_IS_STATUS,
        {10, false, MSG_SERVER_FAILURE}, {1, 4, 5, 13, 0, 0, 0, 0}},
    {COMMAND_DROP_NODE, "ClusterDropNodeCore", 71, MF_CMD_DROP_NODE,
        SEND_HEAD, LINK_REPAIR, TOKEN_RESEND, BODY_NONE, REPEAT_CLOSED,
        {11, false, MSG_SERVER_FAILURE}, {1, 4, 5, 13, 12, 0, 0, 0}},
    {COMMAND_MODIFY_NODE, "ClusterModifyNodeCore", 61, MF_CMD_MODIFY_NODE,
        SEND_HEAD, LINK_REPAIR, TOKEN_RESEND, BODY_NONE, REPEAT_CLOSED,
        {11, false, MSG_SERVER_FAILURE}, {1, 4, 5, 13, 12, 0, 0, 0}},
    {COMMAND_BACKUP, "BackupCore", 49, MF_CMD_BACKUP,
        SEND_HEAD, LINK_REPAIR, TOKEN_RESEND, BODY_NONE, REPEAT_CLOSED,
        {11, false, MSG_SERVER_FAILURE}, {1, 4, 5, 13, 12, 0, 0, 0}},
    {COMMAND_RECOVER, "RecoverCore", 55, MF_CMD_RECOVER,
        SEND_HEAD, LINK_REPAIR, TOKEN_RESEND, BODY_NONE, REPEAT_CLOSED,
        {11, false, MSG_SERVER_FAILURE}, {1, 4, 5, 13, 12, 0, 0, 0}},
    {COMMAND_DELETE_BACKUP, "DeleteBackupCore", 56, MF_CMD_DELETE_BACKUP,
        SEND_HEAD, LINK_REPAIR, TOKEN_RESEND, BODY_NONE, REPEAT_CLOSED,
        {11, false, MSG_SERVER_FAILURE}, {1, 4, 5, 13, 12, 0, 0, 0}},
    {COMMAND_DELETE_ARCHIVE, "DeleteArchiveLogCore", 57, MF_CMD_DELETE_ARCHIVE,
        SEND_HEAD, LINK_REPAIR, TOKEN_RESEND, BODY_NONE, REPEAT_CLOSED,
        {11, false, MSG_SERVER_FAILURE}, {1, 4, 5, 13, 12, 0, 0, 0}},
};
// clang-format on
static_assert(std::size(COMMANDS) == COMMAND_COUNT);

/** Whether the lines that a row's rules can ask for have places of their own. */
constexpr bool HasItsPlaces(const COMMANDROW& stRow) {
    const bool bBody = stRow.m_nBody != BODY_NONE;
    const bool bOwnLine = !bBody && !stRow.Has(BODY_IS_STATUS);
    const bool arNeeded[EVENT_COUNT] = {true, true, true, true, bOwnLine, bBody, bBody, stRow.m_nSend == SEND_PARTS};
    for (int i = 0; i < EVENT_COUNT; ++i) {
        const BYTE bPlace = stRow.m_arPlace[i];
        if ((bPlace != 0) != arNeeded[i] || (arNeeded[i] && bPlace == stRow.m_stFailure.m_bPlace)) return false;
        for (int j = 0; j < i; ++j)
            if (arNeeded[i] && stRow.m_arPlace[j] == bPlace) return false;
    }
    return true;
}
/** Whether a refusal's line takes no other arguments than its code and its subject. */
constexpr bool HasItsArguments(const FAILURELINE& stLine) {
    const char* const lpszText = stLine.m_stMessage.m_lpszEnglish;
    return stLine.m_bSubjectFirst ? ArgumentsFit<const char*>(lpszText) || ArgumentsFit<const char*, int>(lpszText)
                                  : ArgumentsFit<int>(lpszText) || ArgumentsFit<int, const char*>(lpszText);
}
static_assert(std::all_of(std::begin(COMMANDS), std::end(COMMANDS), [](const COMMANDROW& stRow) {
    return &stRow == &COMMANDS[stRow.m_nNo] && HasItsPlaces(stRow) && HasItsArguments(stRow.m_stFailure);
}));

/** How far an exchange came. */
enum EXCHANGEEND : BYTE {
    EXCHANGE_NOT_SENT,
    EXCHANGE_NO_REPLY, // no reply that could be used
    EXCHANGE_FAILED,   // the server answers an error
    EXCHANGE_DONE,     // the server answers success; the body may still have failed
};

/** One request and its reply. */
struct EXCHANGE {
    explicit EXCHANGE(COMMANDNO nCommand, MF_EXECUTE_STATISTICS* pStat = nullptr, KESTROPROGRESS lpfnProgress = nullptr,
                      void* pUser = nullptr)
        : m_stRow(COMMANDS[nCommand]), m_pStat(pStat), m_lpfnProgress(lpfnProgress), m_pUser(pUser) {
        m_stHead.m_bProtocol = FRAME_PROTOCOL;
        m_stHead.m_bCommand = m_stRow.m_bCommand;
    }

    const COMMANDROW& m_stRow;
    /** The request; the exchange draws the token. */
    TCPFRAMEHEAD m_stHead{};
    /** SEND_PLAN. */
    EXECUTEPLANBSON* m_pPlan = nullptr;
    /** SEND_PARTS. */
    std::vector<std::span<const BYTE>> m_arPart;
    /** What a refusal's line names. */
    const char* m_lpszSubject = "";
    /** Filled in; null for none. */
    MF_EXECUTE_STATISTICS* m_pStat;
    KESTROPROGRESS m_lpfnProgress;
    void* m_pUser;

    TCPFRAMEHEAD m_stReply{};
    EXCHANGEEND m_nEnd = EXCHANGE_NOT_SENT;
    /** BODY_EXACT, BODY_AT_MOST: the caller's buffer. */
    BYTE* m_lpBuffer = nullptr;
    UINT m_nBufferSize = 0;
    /** BODY_OWNED. */
    std::unique_ptr<BYTE[]> m_lpBody;
    /** What the statistics get as error code instead of the code. */
    int m_nNote = 0;
    bool m_bNote = false;

    void SetPlan(EXECUTEPLANBSON* pPlan) {
        m_pPlan = pPlan;
        m_stHead.m_nBodyLen = pPlan->m_nTotalDataSize;
    }
    void Note(int nNote) {
        m_bNote = m_stRow.Has(NOTE_ERRNO);
        m_nNote = nNote;
    }
};

/** The caller's statistics, or a block in their place; the caller's are written at the end. */
class CStatistics {
public:
    explicit CStatistics(void* pStatistics) : m_pOut(pStatistics) {}
    CStatistics(const CStatistics&) = delete;
    CStatistics& operator=(const CStatistics&) = delete;
    ~CStatistics() {
        if (m_pOut) std::memcpy(m_pOut, &m_stStat, sizeof m_stStat);
    }

    MF_EXECUTE_STATISTICS m_stStat{};

private:
    void* m_pOut;
};

/** Puts a text into a field of a record: at most `nMost` of its bytes, the rest zeros. Null is empty. */
template <std::size_t N>
void SetField(char (&szField)[N], const char* lpszText, std::size_t nMost = N) {
    const std::size_t nLen = lpszText ? strnlen(lpszText, std::min(nMost, N)) : 0;
    std::fill(std::copy_n(lpszText, nLen, szField), std::end(szField), '\0');
}

/** The seconds of a socket's time-outs: it waits for the server as long as the server works. */
constexpr long SOCKET_TIMEOUT = 0x7FFFFFFF;
