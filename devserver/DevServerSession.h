#pragma once

#include <atomic>
#include <set>
#include <string>
#include <string_view>

#include "DevServerFaults.h"
#include "DevServerInstance.h"
#include "FrameRecords.h"
#include "PlanReader.h"

/** A request that was read whole. */
struct DEVREQUEST {
    TCPFRAMEHEAD m_stHead{};
    std::string m_strBody;
    CPlanReader m_stPlan; // opened for the commands with a plan
    int m_nAbort = 0;     // the code with which what it begins fails half way; 0: it doesn't
};

/** The body that a command takes. */
enum DEVBODY : BYTE {
    DEVBODY_NONE,
    DEVBODY_PLAN,
    DEVBODY_REDO,
};

class CDevServerSession;

/** A command: it fills the reply, which is a success, or answers the code of a refusal. */
struct DEVCOMMAND {
    FRAMECOMMAND m_bCommand;
    std::string_view m_szName; // in scripts
    bool m_bLogin;             // for who is logged in only
    DEVBODY m_nBody;
    int (CDevServerSession::*m_pHandler)(const DEVREQUEST& stRequest, DEVREPLY& stReply);
};

/** A row of the table of commands, or null. */
const DEVCOMMAND* FindCommand(BYTE bCommand);
const DEVCOMMAND* FindCommand(std::string_view szName);

/**
 * One link with its client, in a thread of its own: reads requests, has them carried out, sends replies. It trusts
 * nothing that comes: a body takes memory as it arrives, and what isn't wanted is read and thrown away, so that the
 * stream stays in step.
 */
class CDevServerSession {
public:
    /** Takes the socket. With `bTrace` every request is a line of output. */
    CDevServerSession(int nSocket, int nNumber, CDevServerInstance& stInstance, CFaultScript& stScript,
                      const CDevServerStop& stStop, bool bTrace);
    CDevServerSession(const CDevServerSession&) = delete;
    CDevServerSession& operator=(const CDevServerSession&) = delete;
    ~CDevServerSession();

    /** Serves until the client goes, the script ends the link, or the server ends. */
    void Run();
    bool IsDone() const { return m_bDone; }
    /** Ends it from another thread: what waits on the socket comes back. */
    void Shut();

    // The commands (DevServerCommands.cpp).
    int Login(const DEVREQUEST& stRequest, DEVREPLY& stReply);
    int Logout(const DEVREQUEST& stRequest, DEVREPLY& stReply);
    int Use(const DEVREQUEST& stRequest, DEVREPLY& stReply);
    int ClusterStatus(const DEVREQUEST& stRequest, DEVREPLY& stReply);
    int AddNode(const DEVREQUEST& stRequest, DEVREPLY& stReply);
    int DropNode(const DEVREQUEST& stRequest, DEVREPLY& stReply);
    int ModifyNode(const DEVREQUEST& stRequest, DEVREPLY& stReply);
    int Execute(const DEVREQUEST& stRequest, DEVREPLY& stReply);
    int Query(const DEVREQUEST& stRequest, DEVREPLY& stReply);
    int UpdateRecordset(const DEVREQUEST& stRequest, DEVREPLY& stReply);
    int PlanInfo(const DEVREQUEST& stRequest, DEVREPLY& stReply);
    int BeginTransaction(const DEVREQUEST& stRequest, DEVREPLY& stReply);
    int EndTransaction(const DEVREQUEST& stRequest, DEVREPLY& stReply);
    int Redo(const DEVREQUEST& stRequest, DEVREPLY& stReply);

private:
    bool ServeRequest();
    bool ReadBytes(void* lpBytes, std::size_t nLen);
    bool ReadBody(UINT nLen, std::string& strBody);
    bool DiscardBody(UINT nLen);
    int CarryOut(const DEVCOMMAND& stCommand, DEVREQUEST& stRequest, DEVREPLY& stReply);
    bool SendBytes(std::string_view szBytes);
    void Drain();
    void Close();
    bool SendReply(const DEVREPLY& stReply);
    void TraceRequest(const DEVREQUEST& stRequest, const DEVREPLY& stReply) const;
    void SetStatistics(const DEVREQUEST& stRequest, std::int64_t nStart, DEVREPLY& stReply) const;

    /** -1 when closed. Its own thread changes it, under the lock. */
    int m_nSocket;
    std::mutex m_csSocket;
    const int m_nNumber;
    CDevServerInstance& m_stInstance;
    CFaultScript& m_stScript;
    const CDevServerStop& m_stStop;
    const bool m_bTrace;
    std::atomic<bool> m_bDone = false;
    DEVADDRESS m_stSelf;
    std::int64_t m_nRequests = 0;
    int m_nSession = 0; // 0: not logged in
    std::set<int> m_setTransaction;
};
