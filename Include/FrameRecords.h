#pragma once

// What crosses the wire between client and server: the frame's head with the parameters of the commands, and the bodies
// that have no file of their own. A frame is the head and, where the command or the reply has one, a body directly
// behind it. One request is under way on a link, and the token ties a reply to it. All records are packed and
// little-endian; a request starts as zeros, and what a command doesn't use stays zero. IP addresses and ports in a
// frame are host-order integers. A text field is as long as its terminator says or fills its field; nobody may count on
// the terminator.

#include "TypeDef.h"

/** `m_bProtocol` of every frame: the one mark of the protocol's version. */
constexpr BYTE FRAME_PROTOCOL = 3;

/** Token of the probe that finds out whether a port speaks this protocol; other requests draw theirs, never 0. */
constexpr BYTE FRAME_PROBE_TOKEN = 0xFA;

/** Nodes of a cluster. */
constexpr int CLUSTER_NODE_MOST = 10;

/** `m_bCommand` of a request. */
enum FRAMECOMMAND : BYTE {
    MF_CMD_EXECUTE = 5,         // body: a plan
    MF_CMD_QUERY = 6,           // body: a plan; the reply's is a recordset
    MF_CMD_UPDATE_RS = 7,       // body: the plan of a recordset's changes and its sections
    MF_CMD_BEGIN_TX = 8,        // `m_szText`; the reply's value is the transaction
    MF_CMD_END_TX = 9,          // value: the transaction
    MF_CMD_PLAN_INFO = 10,      // body: a plan; the reply's is EXECUTEPLANINFO
    MF_CMD_REDO = 11,           // value: an argument; body: a redo record, which begins with its length
    MF_CMD_LOGIN = 20,          // value: the session so far; `m_stLogin`; the reply's `m_stSession`, value: the server
    MF_CMD_LOGOUT = 21,         // `m_stLogout`
    MF_CMD_USE = 25,            // `m_szText`: a database; the reply's flag is its number
    MF_CMD_BACKUP = 55,         // flag: the backup's kind; `m_stBackup`; pending replies tell progress
    MF_CMD_RECOVER = 56,        // `m_stBackup`; pending replies tell progress
    MF_CMD_DELETE_BACKUP = 57,  // `m_stBackup`
    MF_CMD_DELETE_ARCHIVE = 58, // `m_stBackup`
    MF_CMD_CLUSTER_STATUS = 65, // the reply's body is CLUSTERSTATUS
    MF_CMD_ADD_NODE = 68,       // value: the node's number; `m_stNewNode`
    MF_CMD_DROP_NODE = 69,      // `m_stNode`; the reply's flag tells what becomes of the link
    MF_CMD_MODIFY_NODE = 112,   // flag: the node's new state; `m_stNode`; the reply's flag as above
};

/** `m_bCommand` of a reply. */
enum FRAMEREPLY : BYTE {
    MF_REPLY_PENDING = 0, // the server is at work; with flag 1 `m_stProgress` tells how far
    MF_REPLY_OK = 1,      // value: the count or handle of the operation; `m_stStatistics`
    MF_REPLY_FAIL = 2,    // value: an error code
};

/** `m_bFlag` of a pending reply that tells progress. */
constexpr BYTE FRAME_FLAG_PROGRESS = 1;

/** `m_bFlag` of the reply to a change of a node: the server drops this link, and its address moves to another node. */
constexpr BYTE FRAME_FLAG_LINK_DROPPED = 2;

/** Parameters of MF_CMD_LOGIN. */
struct KESTRO_PACKED LOGINPARAM {
    BYTE m_bClientType;       // 1
    BYTE m_bDirectConnect;    // 1: the connection stays on its address
    char m_szProcessName[24]; // name of the program
    int m_nProcessID;
    int m_nThreadID;       // the kernel's
    DWORD m_dwClientIP;    // of the client's end of the link
    USHORT m_usClientPort; // likewise
    char m_szUserName[36]; // at most 32 bytes
    char m_szPassword[24]; // as given
};

/** Parameters of MF_CMD_LOGOUT. */
struct KESTRO_PACKED LOGOUTPARAM {
    char m_szUserName[36];
    char m_szPassword[24];
    BYTE m_bReserved[40];
};

/** Parameters of backup, recovery and the deletion of what they leave. Their meaning is the server's. */
struct KESTRO_PACKED BACKUPPARAM {
    std::int64_t m_nFirst;  // backup, recovery; the backup to delete
    std::int64_t m_nSecond; // recovery
    int m_nThird;           // recovery, the deletion of archive logs
    BYTE m_bReserved[80];
};

/** Parameters of MF_CMD_DROP_NODE and MF_CMD_MODIFY_NODE. */
struct KESTRO_PACKED NODEPARAM {
    DWORD m_dwIP;
    USHORT m_usPort;
    BYTE m_bFlag; // the server's; MF_CMD_DROP_NODE only
    BYTE m_bReserved[93];
};

/** Parameters of MF_CMD_ADD_NODE. */
struct KESTRO_PACKED NEWNODEPARAM {
    DWORD m_dwIP;
    USHORT m_usPort;
    BYTE m_bUnused[2];
    BYTE m_bFlag; // the node's type
    BYTE m_bUnused2[3];
    char m_szName[32];     // at most 31 bytes
    char m_szHostName[32]; // of the client's machine, at most 31 bytes
    BYTE m_bReserved[24];
};

/** Parameters of the reply to MF_CMD_LOGIN. */
struct KESTRO_PACKED SESSIONPARAM {
    int m_nSessionID;
    int m_nThreadID;
    BYTE m_bReserved[92];
};

/** Parameters of a pending reply that tells progress. */
struct KESTRO_PACKED PROGRESSPARAM {
    char m_szText[80];
    int m_nTotal;
    int m_nCurrent;
    BYTE m_bReserved[12];
};

/** Parameters of a reply to a statement: figures whose meaning is the server's. */
struct KESTRO_PACKED STATISTICSPARAM {
    std::int64_t m_nServerStat[11]; // the words 2 and 3 in exchanged order
    int m_nServerStat11;
    USHORT m_usServerFlag;
    BYTE m_bReserved[6];
};

/** The head of every frame. */
struct KESTRO_PACKED TCPFRAMEHEAD {
    BYTE m_bProtocol; // FRAME_PROTOCOL
    BYTE m_bCommand;  // FRAMECOMMAND, FRAMEREPLY
    BYTE m_bToken;    // of the request
    BYTE m_bFlag;
    int m_nValue;
    UINT m_nBodyLen; // bytes behind the head
    union KESTRO_PACKED {
        BYTE m_bParam[100];
        char m_szText[100];
        LOGINPARAM m_stLogin;
        LOGOUTPARAM m_stLogout;
        BACKUPPARAM m_stBackup;
        NODEPARAM m_stNode;
        NEWNODEPARAM m_stNewNode;
        SESSIONPARAM m_stSession;
        PROGRESSPARAM m_stProgress;
        STATISTICSPARAM m_stStatistics;
    };
};

/** How a plan would be executed: the body of the reply to MF_CMD_PLAN_INFO. */
struct KESTRO_PACKED EXECUTEPLANINFO {
    char m_szFirstName[32]; // the texts are UTF-8
    BYTE m_bFirstKind;
    char m_szSecondName[32];
    BYTE m_bSecondKind;
    BYTE m_bThirdKind;
    BYTE m_bFourthKind;
    int m_nValue;
    char m_szDetail[100];
};

/** The same for the caller, with wide texts, each with its terminator. */
struct KESTRO_PACKED EXECUTEPLANDESCRIBE {
    wchar_t m_szFirstName[32];
    BYTE m_bFirstKind;
    wchar_t m_szSecondName[32];
    BYTE m_bSecondKind;
    BYTE m_bThirdKind;
    BYTE m_bFourthKind;
    int m_nValue;
    wchar_t m_szDetail[100];
};

/** A node of the cluster. */
struct KESTRO_PACKED CLUSTERNODE {
    DWORD m_dwClusterIP;  // by which the cluster knows it
    DWORD m_dwIP;         // for clients
    USHORT m_usPort;      // for clients
    BYTE m_bReserved[16]; // the server's
    UINT m_nNodeInfo;     // the server's
};

/** The cluster: the body of the reply to MF_CMD_CLUSTER_STATUS. The server sends the nodes that there are. */
struct KESTRO_PACKED CLUSTERSTATUS {
    DWORD m_dwMasterIP;
    USHORT m_usMasterPort;
    int m_nNodeNum;
    CLUSTERNODE m_arNode[CLUSTER_NODE_MOST];
};

/**
 * What a statement took, and what became of it. Times in microseconds since 1970, but for the two file times: ticks of
 * 100 nanoseconds since 1601, UTC. Before a query the error code holds the rows of a page and the position the number
 * of the page, 0 for what the statement itself says.
 */
struct KESTRO_PACKED MF_EXECUTE_STATISTICS {
    std::int64_t m_nServerStat[11]; // the server's
    int m_nServerStat11;            // the server's
    std::int64_t m_nStartFileTime;
    std::int64_t m_nEndFileTime;
    std::int64_t m_nFrequency; // 1,000,000: of the counters below
    std::int64_t m_nCallStart;
    std::int64_t m_nSendTime;
    std::int64_t m_nReceiveTime;
    std::int64_t m_nCallEnd;
    int m_nErrorCode;     // of what failed; errno, or the bytes sent, of a query whose link broke
    int m_nErrorPos;      // of a statement that doesn't compile: the number of the word at fault, plus 2
    int m_nStatementKind; // set by `SqlQuery`
    int m_nRowNum;        // rows that the server has for a query
    USHORT m_usServerFlag;
    BYTE m_bReserved[2];
};

// The places of all fields, which both ends take for granted.
#define FRAME_RECORD(RECORD, SIZE) static_assert(sizeof(RECORD) == (SIZE) && alignof(RECORD) == 1)
#define FRAME_FIELD(RECORD, FIELD, OFFSET) static_assert(offsetof(RECORD, FIELD) == (OFFSET))
FRAME_RECORD(TCPFRAMEHEAD, 112);
FRAME_FIELD(TCPFRAMEHEAD, m_bProtocol, 0);
FRAME_FIELD(TCPFRAMEHEAD, m_bCommand, 1);
FRAME_FIELD(TCPFRAMEHEAD, m_bToken, 2);
FRAME_FIELD(TCPFRAMEHEAD, m_bFlag, 3);
FRAME_FIELD(TCPFRAMEHEAD, m_nValue, 4);
FRAME_FIELD(TCPFRAMEHEAD, m_nBodyLen, 8);
FRAME_FIELD(TCPFRAMEHEAD, m_bParam, 12);
FRAME_FIELD(TCPFRAMEHEAD, m_szText, 12);
FRAME_RECORD(LOGINPARAM, 100);
FRAME_FIELD(TCPFRAMEHEAD, m_stLogin.m_bClientType, 12);
FRAME_FIELD(TCPFRAMEHEAD, m_stLogin.m_bDirectConnect, 13);
FRAME_FIELD(TCPFRAMEHEAD, m_stLogin.m_szProcessName, 14);
FRAME_FIELD(TCPFRAMEHEAD, m_stLogin.m_nProcessID, 38);
FRAME_FIELD(TCPFRAMEHEAD, m_stLogin.m_nThreadID, 42);
FRAME_FIELD(TCPFRAMEHEAD, m_stLogin.m_dwClientIP, 46);
FRAME_FIELD(TCPFRAMEHEAD, m_stLogin.m_usClientPort, 50);
FRAME_FIELD(TCPFRAMEHEAD, m_stLogin.m_szUserName, 52);
FRAME_FIELD(TCPFRAMEHEAD, m_stLogin.m_szPassword, 88);
FRAME_RECORD(LOGOUTPARAM, 100);
FRAME_FIELD(TCPFRAMEHEAD, m_stLogout.m_szUserName, 12);
FRAME_FIELD(TCPFRAMEHEAD, m_stLogout.m_szPassword, 48);
FRAME_RECORD(BACKUPPARAM, 100);
FRAME_FIELD(TCPFRAMEHEAD, m_stBackup.m_nFirst, 12);
FRAME_FIELD(TCPFRAMEHEAD, m_stBackup.m_nSecond, 20);
FRAME_FIELD(TCPFRAMEHEAD, m_stBackup.m_nThird, 28);
FRAME_RECORD(NODEPARAM, 100);
FRAME_FIELD(TCPFRAMEHEAD, m_stNode.m_dwIP, 12);
FRAME_FIELD(TCPFRAMEHEAD, m_stNode.m_usPort, 16);
FRAME_FIELD(TCPFRAMEHEAD, m_stNode.m_bFlag, 18);
FRAME_RECORD(NEWNODEPARAM, 100);
FRAME_FIELD(TCPFRAMEHEAD, m_stNewNode.m_dwIP, 12);
FRAME_FIELD(TCPFRAMEHEAD, m_stNewNode.m_usPort, 16);
FRAME_FIELD(TCPFRAMEHEAD, m_stNewNode.m_bFlag, 20);
FRAME_FIELD(TCPFRAMEHEAD, m_stNewNode.m_szName, 24);
FRAME_FIELD(TCPFRAMEHEAD, m_stNewNode.m_szHostName, 56);
FRAME_RECORD(SESSIONPARAM, 100);
FRAME_FIELD(TCPFRAMEHEAD, m_stSession.m_nSessionID, 12);
FRAME_FIELD(TCPFRAMEHEAD, m_stSession.m_nThreadID, 16);
FRAME_RECORD(PROGRESSPARAM, 100);
FRAME_FIELD(TCPFRAMEHEAD, m_stProgress.m_szText, 12);
FRAME_FIELD(TCPFRAMEHEAD, m_stProgress.m_nTotal, 92);
FRAME_FIELD(TCPFRAMEHEAD, m_stProgress.m_nCurrent, 96);
FRAME_RECORD(STATISTICSPARAM, 100);
FRAME_FIELD(TCPFRAMEHEAD, m_stStatistics.m_nServerStat, 12);
FRAME_FIELD(TCPFRAMEHEAD, m_stStatistics.m_nServerStat11, 100);
FRAME_FIELD(TCPFRAMEHEAD, m_stStatistics.m_usServerFlag, 104);
FRAME_RECORD(EXECUTEPLANINFO, 172);
FRAME_FIELD(EXECUTEPLANINFO, m_szFirstName, 0);
FRAME_FIELD(EXECUTEPLANINFO, m_bFirstKind, 32);
FRAME_FIELD(EXECUTEPLANINFO, m_szSecondName, 33);
FRAME_FIELD(EXECUTEPLANINFO, m_bSecondKind, 65);
FRAME_FIELD(EXECUTEPLANINFO, m_bThirdKind, 66);
FRAME_FIELD(EXECUTEPLANINFO, m_bFourthKind, 67);
FRAME_FIELD(EXECUTEPLANINFO, m_nValue, 68);
FRAME_FIELD(EXECUTEPLANINFO, m_szDetail, 72);
FRAME_RECORD(EXECUTEPLANDESCRIBE, 164 * sizeof(wchar_t) + 8);
FRAME_FIELD(EXECUTEPLANDESCRIBE, m_szFirstName, 0);
FRAME_FIELD(EXECUTEPLANDESCRIBE, m_bFirstKind, 32 * sizeof(wchar_t));
FRAME_FIELD(EXECUTEPLANDESCRIBE, m_szSecondName, 32 * sizeof(wchar_t) + 1);
FRAME_FIELD(EXECUTEPLANDESCRIBE, m_bSecondKind, 64 * sizeof(wchar_t) + 1);
FRAME_FIELD(EXECUTEPLANDESCRIBE, m_bThirdKind, 64 * sizeof(wchar_t) + 2);
FRAME_FIELD(EXECUTEPLANDESCRIBE, m_bFourthKind, 64 * sizeof(wchar_t) + 3);
FRAME_FIELD(EXECUTEPLANDESCRIBE, m_nValue, 64 * sizeof(wchar_t) + 4);
FRAME_FIELD(EXECUTEPLANDESCRIBE, m_szDetail, 64 * sizeof(wchar_t) + 8);
FRAME_RECORD(CLUSTERNODE, 30);
FRAME_FIELD(CLUSTERNODE, m_dwClusterIP, 0);
FRAME_FIELD(CLUSTERNODE, m_dwIP, 4);
FRAME_FIELD(CLUSTERNODE, m_usPort, 8);
FRAME_FIELD(CLUSTERNODE, m_nNodeInfo, 26);
FRAME_RECORD(CLUSTERSTATUS, 10 + CLUSTER_NODE_MOST * 30);
FRAME_FIELD(CLUSTERSTATUS, m_dwMasterIP, 0);
FRAME_FIELD(CLUSTERSTATUS, m_usMasterPort, 4);
FRAME_FIELD(CLUSTERSTATUS, m_nNodeNum, 6);
FRAME_FIELD(CLUSTERSTATUS, m_arNode, 10);
FRAME_RECORD(MF_EXECUTE_STATISTICS, 168);
FRAME_FIELD(MF_EXECUTE_STATISTICS, m_nServerStat11, 88);
FRAME_FIELD(MF_EXECUTE_STATISTICS, m_nStartFileTime, 92);
FRAME_FIELD(MF_EXECUTE_STATISTICS, m_nEndFileTime, 100);
FRAME_FIELD(MF_EXECUTE_STATISTICS, m_nFrequency, 108);
FRAME_FIELD(MF_EXECUTE_STATISTICS, m_nCallStart, 116);
FRAME_FIELD(MF_EXECUTE_STATISTICS, m_nSendTime, 124);
FRAME_FIELD(MF_EXECUTE_STATISTICS, m_nReceiveTime, 132);
FRAME_FIELD(MF_EXECUTE_STATISTICS, m_nCallEnd, 140);
FRAME_FIELD(MF_EXECUTE_STATISTICS, m_nErrorCode, 148);
FRAME_FIELD(MF_EXECUTE_STATISTICS, m_nErrorPos, 152);
FRAME_FIELD(MF_EXECUTE_STATISTICS, m_nStatementKind, 156);
FRAME_FIELD(MF_EXECUTE_STATISTICS, m_nRowNum, 160);
FRAME_FIELD(MF_EXECUTE_STATISTICS, m_usServerFlag, 164);
#undef FRAME_RECORD
#undef FRAME_FIELD
