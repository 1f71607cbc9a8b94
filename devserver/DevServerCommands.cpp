// The commands: what each one does with a request that was read and found sound.

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "CommonDataDef.h"
#include "DevServerSession.h"

namespace {

constexpr DEVCOMMAND COMMANDS[] = {
    {MF_CMD_EXECUTE, "execute", true, DEVBODY_PLAN, &CDevServerSession::Execute},
    {MF_CMD_QUERY, "query", true, DEVBODY_PLAN, &CDevServerSession::Query},
    {MF_CMD_UPDATE_RS, "update", true, DEVBODY_PLAN, &CDevServerSession::UpdateRecordset},
    {MF_CMD_BEGIN_TX, "begin", true, DEVBODY_NONE, &CDevServerSession::BeginTransaction},
    {MF_CMD_END_TX, "end", true, DEVBODY_NONE, &CDevServerSession::EndTransaction},
    {MF_CMD_PLAN_INFO, "plan-info", true, DEVBODY_PLAN, &CDevServerSession::PlanInfo},
    {MF_CMD_REDO, "redo", true, DEVBODY_REDO, &CDevServerSession::Redo},
    {MF_CMD_LOGIN, "login", false, DEVBODY_NONE, &CDevServerSession::Login},
    {MF_CMD_LOGOUT, "logout", true, DEVBODY_NONE, &CDevServerSession::Logout},
    {MF_CMD_USE, "use", true, DEVBODY_NONE, &CDevServerSession::Use},
    {MF_CMD_CLUSTER_STATUS, "cluster-status", false, DEVBODY_NONE, &CDevServerSession::ClusterStatus},
    {MF_CMD_ADD_NODE, "add-node", true, DEVBODY_NONE, &CDevServerSession::AddNode},
    {MF_CMD_DROP_NODE, "drop-node", true, DEVBODY_NONE, &CDevServerSession::DropNode},
    {MF_CMD_MODIFY_NODE, "modify-node", true, DEVBODY_NONE, &CDevServerSession::ModifyNode},
};

/** Transactions that a link may have open. */
constexpr std::size_t TRANSACTION_MOST = 1000;

template <std::size_t N>
void SetField(char (&szField)[N], std::string_view szText) {
    const std::size_t nLen = std::min(szText.size(), N - 1);
    std::memset(szField, 0, N);
    std::copy_n(szText.data(), nLen, szField);
}

} // namespace

const DEVCOMMAND* FindCommand(BYTE bCommand) {
    for (const DEVCOMMAND& stCommand : COMMANDS)
        if (stCommand.m_bCommand == bCommand) return &stCommand;
    return nullptr;
}

const DEVCOMMAND* FindCommand(std::string_view szName) {
    for (const DEVCOMMAND& stCommand : COMMANDS)
        if (stCommand.m_szName == szName) return &stCommand;
    return nullptr;
}

// --- the session -----------------------------------------------------------------------------------------------------

int CDevServerSession::Login(const DEVREQUEST& stRequest, DEVREPLY& stReply) {
    const LOGINPARAM& stLogin = stRequest.m_stHead.m_stLogin;
    m_nSession = m_stInstance.Login(stRequest.m_stHead.m_nValue, CPlanReader::Field(stLogin.m_szUserName));
    stReply.m_stHead.m_nValue = m_stInstance.ServerID();
    stReply.m_stHead.m_stSession.m_nSessionID = m_nSession;
    stReply.m_stHead.m_stSession.m_nThreadID = static_cast<int>(syscall(SYS_gettid));
    return ERR_OK;
}

int CDevServerSession::Logout(const DEVREQUEST&, DEVREPLY&) {
    m_stInstance.Logout(m_nSession);
    m_nSession = 0;
    m_setTransaction.clear();
    return ERR_OK;
}

int CDevServerSession::Use(const DEVREQUEST& stRequest, DEVREPLY& stReply) {
    BYTE bNumber = 0;
    const int nCode = m_stInstance.UseDatabase(CPlanReader::Field(stRequest.m_stHead.m_szText), bNumber);
    stReply.m_stHead.m_bFlag = bNumber;
    return nCode;
}

// --- nodes -----------------------------------------------------------------------------------------------------------

int CDevServerSession::ClusterStatus(const DEVREQUEST&, DEVREPLY& stReply) {
    stReply.m_strBody = m_stInstance.ClusterStatus(m_stSelf);
    return ERR_OK;
}

// The reply tells that the join has begun; how it goes on stands in shared memory.
int CDevServerSession::AddNode(const DEVREQUEST& stRequest, DEVREPLY&) {
    const NEWNODEPARAM& stNode = stRequest.m_stHead.m_stNewNode;
    return m_stInstance.AddNode({{stNode.m_dwIP, stNode.m_usPort}, stNode.m_bFlag}, stRequest.m_stHead.m_nValue,
                                stRequest.m_nAbort);
}

int CDevServerSession::DropNode(const DEVREQUEST& stRequest, DEVREPLY&) {
    const NODEPARAM& stNode = stRequest.m_stHead.m_stNode;
    return m_stInstance.DropNode({stNode.m_dwIP, stNode.m_usPort});
}

int CDevServerSession::ModifyNode(const DEVREQUEST& stRequest, DEVREPLY&) {
    const NODEPARAM& stNode = stRequest.m_stHead.m_stNode;
    return m_stInstance.ModifyNode({stNode.m_dwIP, stNode.m_usPort}, stRequest.m_stHead.m_bFlag);
}

// --- statements ------------------------------------------------------------------------------------------------------

// Of all statements the one that makes files. Each step of it is told to the client too.
int CDevServerSession::Execute(const DEVREQUEST& stRequest, DEVREPLY& stReply) {
    const CPlanReader& stPlan = stRequest.m_stPlan;
    if (stPlan.Head().m_nType != PLAN_ALTER) return ERR_NOT_DEVELOPED;
    const auto* const lpAlter = stPlan.Record<ALTEREXECUTEPLANBSON>(stPlan.Head().m_nCommandOffset);
    if (!lpAlter) return ERR_PARAMETER;
    if (lpAlter->m_bObjectType != ALTER_SYSTEM || lpAlter->m_nType != ALTER_ADD_FILE) return ERR_NOT_DEVELOPED;
    const auto* const lpFile = stPlan.Record<FILEINFOBSON>(lpAlter->m_nPlanOffset);
    if (!lpFile) return ERR_PARAMETER;
    return m_stInstance.AddFile(*lpFile, stRequest.m_nAbort, [&](const char* lpszText, int nTotal, int nCurrent) {
        TCPFRAMEHEAD stHead{};
        stHead.m_bProtocol = FRAME_PROTOCOL;
        stHead.m_bCommand = MF_REPLY_PENDING;
        stHead.m_bToken = stReply.m_stHead.m_bToken;
        stHead.m_bFlag = FRAME_FLAG_PROGRESS;
        SetField(stHead.m_stProgress.m_szText, lpszText);
        stHead.m_stProgress.m_nTotal = nTotal;
        stHead.m_stProgress.m_nCurrent = nCurrent;
        // A client that has gone away doesn't stop the work.
        SendBytes({reinterpret_cast<const char*>(&stHead), sizeof stHead});
    });
}

int CDevServerSession::Query(const DEVREQUEST& stRequest, DEVREPLY& stReply) {
    if (stRequest.m_stPlan.Head().m_nType != PLAN_SELECT) return ERR_NOT_DEVELOPED;
    int nRows = 0;
    const int nCode = QueryInstance(stRequest.m_stPlan, m_stInstance.Row(m_stSelf), stReply.m_strBody, nRows);
    stReply.m_stHead.m_nValue = nRows;
    return nCode;
}

// There is nothing to save into.
int CDevServerSession::UpdateRecordset(const DEVREQUEST&, DEVREPLY&) {
    return ERR_NOT_DEVELOPED;
}

// What the fields mean is the server's choice. Here: the first two objects with their kinds, how many there are, and
// how many columns are asked for.
int CDevServerSession::PlanInfo(const DEVREQUEST& stRequest, DEVREPLY& stReply) {
    const CPlanReader& stPlan = stRequest.m_stPlan;
    if (stPlan.Head().m_nType != PLAN_SELECT) return ERR_NOT_DEVELOPED;
    const auto* const lpQuery = stPlan.Record<QUERYEXECUTEPLANBSON>(stPlan.Head().m_nCommandOffset);
    if (!lpQuery) return ERR_PARAMETER;
    const auto* const lpFirst = stPlan.Record<OBJECTBSON>(lpQuery->m_nObjectOffset);
    if (!lpFirst) return ERR_PARAMETER;
    const auto Name = [&](const OBJECTBSON& stObject) {
        return stObject.m_bObjectType == OBJECT_SUBQUERY ? std::string_view("()")
                                                         : stPlan.Text(stObject.m_nObjectNameOffset);
    };
    EXECUTEPLANINFO stInfo{};
    SetField(stInfo.m_szFirstName, Name(*lpFirst));
    stInfo.m_bFirstKind = lpFirst->m_bObjectType;
    if (const auto* const lpSecond = stPlan.Record<OBJECTBSON>(lpFirst->m_nNextOffset)) {
        SetField(stInfo.m_szSecondName, Name(*lpSecond));
        stInfo.m_bSecondKind = lpSecond->m_bObjectType;
    }
    stInfo.m_nValue = lpQuery->m_nObjectNum;
    SetField(stInfo.m_szDetail, "columns: " + std::to_string(lpQuery->m_nExecuteFieldNum));
    stReply.m_strBody.assign(reinterpret_cast<const char*>(&stInfo), sizeof stInfo);
    return ERR_OK;
}

// --- transactions, redo ----------------------------------------------------------------------------------------------

int CDevServerSession::BeginTransaction(const DEVREQUEST&, DEVREPLY& stReply) {
    if (m_setTransaction.size() >= TRANSACTION_MOST) return ERR_OUT_OF_BOUNDS;
    const int nHandle = m_setTransaction.empty() ? 1 : *m_setTransaction.rbegin() + 1;
    m_setTransaction.insert(nHandle);
    stReply.m_stHead.m_nValue = nHandle;
    return ERR_OK;
}

// A transaction ends with its link, so after a reconnection it's lost.
int CDevServerSession::EndTransaction(const DEVREQUEST& stRequest, DEVREPLY&) {
    return m_setTransaction.erase(stRequest.m_stHead.m_nValue) != 0 ? ERR_OK : ERR_TRANSACTION_LOST;
}

// The record begins with its length, which is that of the body.
int CDevServerSession::Redo(const DEVREQUEST& stRequest, DEVREPLY&) {
    UINT nLen = 0;
    if (stRequest.m_strBody.size() < sizeof nLen) return ERR_PARAMETER;
    std::memcpy(&nLen, stRequest.m_strBody.data(), sizeof nLen);
    return nLen == stRequest.m_strBody.size() ? ERR_OK : ERR_PARAMETER;
}
