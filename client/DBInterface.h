#pragma once

#include <pthread.h>

#include <atomic>

#include "KestroCriticalSection.h"
#include "KestroDBInterface.h"
#include "MemDBCommonDef.h"

class CMemDBRecordset;
class CParseSql;
enum COMMANDNO : BYTE;
struct COMMANDROW;
struct EXCHANGE;
struct OPERATIONROW;

/** What ends an operation from within, as a progress callback may; the operation then answers 2. */
class KestroExeception {};

/**
 * Told of progress by the thread that waits for the reply; 0 gives the operation up. It may not use the connection,
 * whose lock is held. The text lives for the call.
 */
using KESTROPROGRESS = int (*)(void* pUser, const char* lpszText, int nTotal, int nCurrent);

/** A node of the cluster that a connection can move to; address and port in network order. */
struct NODEADDRESS {
    DWORD m_dwIP;
    USHORT m_usPort;
    /** The server's. */
    UINT m_nNodeInfo;
};

/**
 * A connection: one socket, the credentials, the session, the nodes of the cluster, and one lock that keeps requests
 * apart. Its states:
 *
 *     closed      no socket, not logged in
 *     connected   a socket, not logged in; only while it opens
 *     logged in   a socket, logged in
 *     link lost   no socket, logged in: the next request reconnects
 *
 * An exchange that failed in a way that leaves bytes on the stream which belong to nobody closes the socket. What a
 * thread does without the lock, it does through `Shared`: the marks of the login, of work and of tracing, and the
 * database's number, which a compilation reads.
 */
class CDBInterface : public IKestroDBConnection {
public:
    CDBInterface();
    CDBInterface(const CDBInterface&) = delete;
    CDBInterface& operator=(const CDBInterface&) = delete;
    ~CDBInterface() override;
    static int CreateInstance(IKestroDBConnection*& pConnection);

    // --- IKestroDBConnection -----------------------------------------------------------------------------------------

    void Release() override;
    int Open(char* lpszConnect, char* lpszUser, char* lpszPassword) override;
    int Open(char* lpszHost, unsigned short usPort, char* lpszUser, char* lpszPassword) override;
    void Close() override;
    int Parse(char* lpszSql, void*& pCursor) override;
    int Bind(void* pCursor, int nNo, unsigned char bType, void* pValue, int nLen) override;
    int Execute(void* pCursor, int& nAffect, void* pStatistics) override;
    int CloseCursor(void* pCursor) override;
    int Execute(char* lpszSql, int& nAffect, void* pStatistics) override;
    int GetRecordset(char* lpszSql, IKestroDBRecordset** ppRecordset, void* pStatistics) override;
    int UpdateRecordset(IKestroDBRecordset* pRecordset, void* pStatistics) override;
    int StartTransactionLogic(char* lpszParam, int& nTransaction) override;
    int StopTransactionLogic(int nTransaction) override;
    int KestroRedo(unsigned char* pRecord, unsigned short usParam) override;
    int UseDatabase(const char* lpszDatabase) override;

    // --- statements: 0 or an error code; statistics may be null ------------------------------------------------------

    [[nodiscard]] int Execute(const char* lpszSql, int& nAffect, MF_EXECUTE_STATISTICS* pStat,
                              KESTROPROGRESS lpfnProgress, void* pUser);
    [[nodiscard]] int ExecuteCommand(const char* lpszSql, int& nAffect, MF_EXECUTE_STATISTICS* pStat);
    /** Runs a cursor, which stays. */
    [[nodiscard]] int ExecuteCommand(void* pCursor, int& nAffect, MF_EXECUTE_STATISTICS* pStat);
    /** Fills the caller's recordset; the statistics may say a page. */
    [[nodiscard]] int GetRecordset(const char* lpszSql, CMemDBRecordset& stRecordset, MF_EXECUTE_STATISTICS* pStat);
    [[nodiscard]] int UpdateRecordset(CMemDBRecordset& stRecordset, MF_EXECUTE_STATISTICS* pStat);
    [[nodiscard]] int GetExecutePlanInfo(const char* lpszSql, EXECUTEPLANDESCRIBE* pDescribe,
                                         MF_EXECUTE_STATISTICS* pStat);

    /**
     * Runs a statement as its first word tells: EXPLAIN into the description, SELECT (its first 100 rows) into the
     * recordset, others as a command. The text is trimmed in place. 503 for null; an empty statement notes 537 in the
     * statistics and answers 0; 0x80004005 for a word that it doesn't know.
     */
    [[nodiscard]] int SqlQuery(char* lpszSql, int& nCount, CMemDBRecordset& stRecordset, EXECUTEPLANDESCRIBE* pDescribe,
                               MF_EXECUTE_STATISTICS* pStat);
    /**
     * Trims a statement in place, of the brackets around it too, and answers where it starts, null for null. Its first
     * word, cut to 32 bytes, goes into a buffer of 34.
     */
    static char* RemoveSpaceFromString(char* lpszSql, char* lpszWord);

    // One attempt each, without clock and recovery: they compile, take the lock into the record, and exchange.
    [[nodiscard]] int TCPExecuteCommand(KESTROCRITICALSECTION* pRecord, const char* lpszSql, int& nAffect,
                                        MF_EXECUTE_STATISTICS* pStat, KESTROPROGRESS lpfnProgress, void* pUser);
    [[nodiscard]] int TCPExecuteCommand(KESTROCRITICALSECTION* pRecord, void* pCursor, int& nAffect,
                                        MF_EXECUTE_STATISTICS* pStat, KESTROPROGRESS lpfnProgress, void* pUser);
    [[nodiscard]] int TCPGetRecordset(KESTROCRITICALSECTION* pRecord, const char* lpszSql, CMemDBRecordset& stRecordset,
                                      MF_EXECUTE_STATISTICS* pStat, int nPageNo, int nPageSize);
    [[nodiscard]] int TCPUpdateRecordset(KESTROCRITICALSECTION* pRecord, CMemDBRecordset& stRecordset,
                                         MF_EXECUTE_STATISTICS* pStat);
    [[nodiscard]] int TCPGetExecutePlanInfo(KESTROCRITICALSECTION* pRecord, const char* lpszSql, EXECUTEPLANINFO* pInfo,
                                            MF_EXECUTE_STATISTICS* pStat);
    [[nodiscard]] int TCPStartTransactionLogic(KESTROCRITICALSECTION* pRecord, const char* lpszParam, int& nTransaction,
                                               MF_EXECUTE_STATISTICS* pStat);
    [[nodiscard]] int TCPStopTransactionLogic(KESTROCRITICALSECTION* pRecord, int nTransaction,
                                              MF_EXECUTE_STATISTICS* pStat);
    [[nodiscard]] int KestroRedoCore(KESTROCRITICALSECTION* pRecord, const unsigned char* pRedo,
                                     unsigned short usParam);

    // --- administration (DBInterfaceBackup.cpp, DBInterfaceCluster.cpp) ----------------------------------------------
    //
    // 0 or an error code. The meaning of the arguments is the server's; addresses and ports are in host order. The
    // progress may be null; when it gives up, the answer is 1 and the socket is closed.

    [[nodiscard]] int Backup(unsigned char bType, long long nParam, KESTROPROGRESS lpfnProgress, void* pUser);
    [[nodiscard]] int Recover(long long nParam1, long long nParam2, int nParam3, KESTROPROGRESS lpfnProgress,
                              void* pUser);
    [[nodiscard]] int DeleteBackup(long long nBackupID);
    [[nodiscard]] int DeleteArchiveLog(int nParam);
    /**
     * Take a node out of the cluster, and give it a new state. When the server drops this link for that, they wait up
     * to 60 seconds, with the lock, for the node that takes its address over, and open a new session there; 5031 if
     * there is none in time.
     */
    [[nodiscard]] int ClusterDropNode(unsigned int dwIP, unsigned short usPort, int nFlag);
    [[nodiscard]] int ClusterModifyNode(unsigned int dwIP, unsigned short usPort, unsigned char bState);
    /**
     * Takes a node into the cluster. Takes no lock: the caller doesn't share the connection at that moment. A name is
     * cut to 31 bytes where it stands, in the caller's buffer; null answers 4.
     */
    [[nodiscard]] int AddNewNode(unsigned short usNodeNo, unsigned int dwIP, int nFlag, unsigned short usPort,
                                 char* lpszName);

    // The same under the lock, which they take into the record.
    [[nodiscard]] int BackupCore(KESTROCRITICALSECTION* pRecord, unsigned char bType, long long nParam,
                                 KESTROPROGRESS lpfnProgress, void* pUser);
    [[nodiscard]] int RecoverCore(KESTROCRITICALSECTION* pRecord, long long nParam1, long long nParam2, int nParam3,
                                  KESTROPROGRESS lpfnProgress, void* pUser);
    [[nodiscard]] int DeleteBackupCore(KESTROCRITICALSECTION* pRecord, long long nBackupID);
    [[nodiscard]] int DeleteArchiveLogCore(KESTROCRITICALSECTION* pRecord, int nParam);
    [[nodiscard]] int ClusterDropNodeCore(KESTROCRITICALSECTION* pRecord, unsigned int dwIP, unsigned short usPort,
                                          int nFlag);
    [[nodiscard]] int ClusterModifyNodeCore(KESTROCRITICALSECTION* pRecord, unsigned int dwIP, unsigned short usPort,
                                            unsigned char bState);

    // --- opening (DBInterfaceConnect.cpp, DBInterfaceLogin.cpp) ------------------------------------------------------
    //
    // None of these takes the lock; the caller has it, or doesn't share the connection at that moment.

    /** Address and port in host order; closes first. */
    [[nodiscard]] int OpenWithAddress(char* lpszUser, char* lpszPassword, unsigned int dwIP, unsigned short usPort,
                                      int bDirectConnect);
    /** Connects and logs in: every reconnection. After an error the socket is closed. */
    [[nodiscard]] int OpenDatabase(int bRetry, int bSwitchNode);
    /** Finds the node to talk to; with `bSwitchNode` another one than now, -3 if there is none. */
    [[nodiscard]] int ConnectToService(int bRetry, int bSwitchNode);
    /** 901, 902; with `bRetry` five tries 100 milliseconds apart. After 902 there is an unconnected socket. */
    [[nodiscard]] int Connect(int bRetry);
    [[nodiscard]] int UserLogin();
    /** Also 0 when the link is dead. The argument is unused. */
    [[nodiscard]] int UserLogOut(int& nReserved);
    /**
     * Reads the cluster's state into a buffer. With `bProbe` a port of another protocol shows at its first bytes: 906,
     * and the socket is closed.
     */
    [[nodiscard]] int GetClusterStatus(unsigned char* pBuffer, unsigned int nSize, int bProbe);

    /** An address or a host's first address in host order; 0 for null, 0xFFFFFFFF for an unknown host. */
    static unsigned int StringToIpAddress(char* lpszHost);
    /** The first address of this machine's interfaces that others can reach, in host order, else 127.0.0.1. */
    static unsigned int GetIpAddress();

    // --- frames (DBInterfaceFrame.cpp) -------------------------------------------------------------------------------

    /** A new token, neither 0 nor the last one. */
    unsigned char CreateRandomFactor();
    /**
     * Reads exactly `nLength` bytes and answers that number. Otherwise 0 when the peer closed the link, -1 when the
     * socket failed, with `errno` in `nError`; what didn't come is zero in the buffer. With a token the first data must
     * show it and the protocol, or the socket is closed and the answer 0.
     */
    [[nodiscard]] int ReceiveBuffer(char* pBuffer, int nLength, int& nError, unsigned char bToken);
    /** Throws away what has arrived until now, and answers its amount. */
    unsigned long long ClearSocket();
    /** Copies the figures that begin at `pParam`, the parameters of a reply. Answers 0. */
    static int GetStatisticsData(MF_EXECUTE_STATISTICS* pStat, char* pParam);
    /** The same from hexadecimal text, without the flag. Answers 0. */
    static int ConvertStatisticsData(MF_EXECUTE_STATISTICS* pStat, const char* pHex);
    /** The client's end of the link in host order; for one on this machine the machine's own address. */
    void GetSocketInfo(unsigned int& dwIP, unsigned short& usPort);

protected:
    /** Nodes that the server last reported, at most CLUSTER_NODE_MOST. */
    int m_nAddressNum = 0;
    /** The node in use. */
    int m_nAddressIndex = 0;
    NODEADDRESS m_arrAddress[CLUSTER_NODE_MOST] = {};
    /** Recursive. */
    pthread_mutex_t m_csLock;
    /** The first node of the last report, in network order. */
    DWORD m_dwFirstNodeIP = 0xFFFFFFFF;
    USHORT m_usFirstNodePort = 0;
    int m_bLogin = 0;
    int m_nLoginState = 0;
    /** 1 while an operation runs. */
    int m_bBusy = 0;
    int m_nSessionID = 0;
    int m_nThreadID = 0;
    /** 1: each statement writes its time to the log. */
    int m_bTraceTime = 0;
    /** In network order. */
    DWORD m_dwServerIP;
    USHORT m_usServerPort;
    /** 0 until the first login. */
    USHORT m_usServerID = 0;
    /** 1: the connection stays on its address and doesn't follow the cluster. */
    int m_bDirectConnect = 1;
    /** -1 when closed. */
    int m_nSocket = -1;
    /** The last token drawn, which the next request takes; 0 for none yet. */
    BYTE m_bToken = 0;
    /** Number of the current database. */
    BYTE m_bDatabaseNo = 0;
    /** At most 32 bytes are filled. */
    char m_szUserName[40] = {};
    /** Without a terminator when all are filled. Kept, as a reconnection logs in anew, until a logout. */
    char m_szPassword[24] = {};
    char m_szDatabase[32] = {};

private:
    struct SENT;

    template <typename T>
    static std::atomic_ref<T> Shared(T& nField) {
        return std::atomic_ref<T>(nField);
    }
    bool IsLoggedIn() { return Shared(m_bLogin).load(std::memory_order_relaxed) != 0; }
    void SetLogin(int bLogin) { Shared(m_bLogin).store(bLogin, std::memory_order_relaxed); }
    void SetBusy(int bBusy) { Shared(m_bBusy).store(bBusy, std::memory_order_relaxed); }

    // The exchange (DBInterfaceExchange.cpp).
    int Exchange(EXCHANGE& stExchange);
    int RunAttempts(EXCHANGE& stExchange);
    bool SendRequest(EXCHANGE& stExchange, int nAttempt, int& nCode);
    SENT SendFrame(EXCHANGE& stExchange);
    bool ReceiveReply(EXCHANGE& stExchange, int nAttempt, int& nCode);
    bool LostReply(EXCHANGE& stExchange, int nAttempt, int nResult, int nError, int& nCode);
    bool CallProgress(EXCHANGE& stExchange);
    int FinishReply(EXCHANGE& stExchange);
    int ServerFailure(EXCHANGE& stExchange);
    int ReceiveBody(EXCHANGE& stExchange);
    int ReadBody(EXCHANGE& stExchange, BYTE* lpBody, UINT nLen);
    bool DiscardBody(UINT nLen, int& nResult, int& nError);
    void DrainReply(UINT nBodyLen);
    long SendBytes(const void* lpBytes, std::size_t nLen);
    long ReceiveBytes(void* lpBytes, std::size_t nLen);
    void SetReceiveTimeout(long nSeconds, long nMicroseconds);
    void CloseSocket();

    // The outer operations (DBInterfaceOperation.h, .cpp).
    template <const OPERATIONROW& stRow, typename INNER>
    int Guard(const char* lpszText, INNER Inner);
    template <const OPERATIONROW& stRow, typename INNER>
    int RunOperation(MF_EXECUTE_STATISTICS& stStat, const char* lpszText, const int* pCount, INNER Inner);
    template <const OPERATIONROW& stRow, typename INNER>
    int RunBusy(INNER Inner);
    void BeginOperation(const OPERATIONROW& stRow, MF_EXECUTE_STATISTICS& stStat);
    bool MustRepeat(KESTROCRITICALSECTION* pRecord, MF_EXECUTE_STATISTICS& stStat, int& nCode);
    void EndOperation(const OPERATIONROW& stRow, MF_EXECUTE_STATISTICS& stStat, const char* lpszText, const int* pCount,
                      int nCode);
    void Abandon(const OPERATIONROW& stRow, KESTROCRITICALSECTION* pRecord, const char* lpszText);

    // Statements (DBInterfaceExecute.cpp).
    int Compile(const COMMANDROW& stRow, CParseSql& stParseSql, const char* lpszSql, int nPageNo, int nPageSize,
                MF_EXECUTE_STATISTICS* pStat, EXECUTEPLANBSON*& pPlan);
    int UseDatabaseOf(CParseSql& stParseSql);
    void SetPlan(EXCHANGE& stExchange, EXECUTEPLANBSON* pPlan, const char* lpszSql);
    int RunPlan(EXCHANGE& stExchange, KESTROCRITICALSECTION* pRecord, EXECUTEPLANBSON* pPlan, const char* lpszSql,
                int& nAffect);

    // Nodes (DBInterfaceCluster.cpp).
    int ChangeNode(EXCHANGE& stExchange);
    int FollowAddress();

    // Opening.
    int OpenCore(const char* lpszConnect, const char* lpszUser, const char* lpszPassword);
    int OpenCore(const char* lpszHost, USHORT usPort, const char* lpszUser, const char* lpszPassword);
    void SetCredentials(const char* lpszUser, const char* lpszPassword);
    void EndSession();
    int Probe(CLUSTERSTATUS& stStatus);
    int FollowMaster(const CLUSTERSTATUS& stStatus, int bRetry);
    int SwitchNode(int bRetry, int nCode);
    void SetServer(DWORD dwIP, USHORT usPort);
    int FinishLogin(const TCPFRAMEHEAD& stReply);
    int SendUse(const char* lpszDatabase, BYTE& bDatabaseNo);
};
