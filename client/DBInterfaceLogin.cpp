// The life of a connection and of its session: opening, logging in and out, the current database, closing.

#include "DBInterfaceOperation.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstring>
#include <new>

#include "DBInterfaceExchange.h"
#include "LinuxCommonAPI.h"
#include "LogLine.h"

namespace {

constexpr USHORT DEFAULT_PORT = 8000;
constexpr std::size_t USER_NAME_MOST = 32;

constexpr OPERATIONROW OPERATION_OPEN{
    .m_lpszFunction = "Open",
    .m_nOperation = 1,
    .m_stException = {"打开数据库连接异常，错误码：%d", "Open database connection abnormal, error code: %d"}};

constexpr LOGLINE LINE_LOGGED_IN{
    888'000'000, {"登录成功（会话ID：%d，线程ID：%d）！", "Login successful (SessionID: %d, ThreadID: %d)!"}};
constexpr LOGLINE LINE_NAME_TOO_LONG{
    888'067'001, {"传入的库名过长，切换数据库失败！", "Incoming library name too long, failed to switch database!"}};

/** The program's name: what stands behind the last slash of its path. */
void SetProcessName(LOGINPARAM& stLogin) {
    char szPath[MAX_PATH] = "";
    GetModuleFileName(nullptr, szPath, sizeof szPath);
    const char* lpszName = szPath;
    for (const char* p = szPath; *p; ++p)
        if (*p == '/' || *p == '\\') lpszName = p + 1;
    SetField(stLogin.m_szProcessName, lpszName);
}

} // namespace

CDBInterface::CDBInterface() : m_dwServerIP(htonl(INADDR_LOOPBACK)), m_usServerPort(htons(DEFAULT_PORT)) {
    pthread_mutexattr_t stRecursive;
    pthread_mutexattr_init(&stRecursive);
    pthread_mutexattr_settype(&stRecursive, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&m_csLock, &stRecursive);
    pthread_mutexattr_destroy(&stRecursive);
}

CDBInterface::~CDBInterface() {
    CDBInterface::Close();
    CloseSocket();
    pthread_mutex_destroy(&m_csLock);
}

int CDBInterface::CreateInstance(IKestroDBConnection*& pConnection) {
    pConnection = new (std::nothrow) CDBInterface;
    return ERR_OK;
}

int CreateKestroDBInstance(IKestroDBConnection*& pConnection) {
    return CDBInterface::CreateInstance(pConnection);
}

void CDBInterface::Release() {
    if (IsLoggedIn()) Close();
    delete this;
}

void CDBInterface::Close() {
    CCriticalSectionPtr csLock(&m_csLock);
    EndSession();
}

// What the logout answers doesn't matter: the link goes in any case. The session goes too when there is no link to log
// out on, so that the next login is a new one.
void CDBInterface::EndSession() {
    int nReserved = 0;
    if (m_nSocket != -1) static_cast<void>(UserLogOut(nReserved));
    CloseSocket();
    SetField(m_szDatabase, "");
    m_usServerID = 0;
    m_nSessionID = 0;
    m_nThreadID = 0;
    SetLogin(0);
}

int CDBInterface::Open(char* lpszConnect, char* lpszUser, char* lpszPassword) {
    return Guard<OPERATION_OPEN>("", [&](KESTROCRITICALSECTION* pRecord) {
        CKestroCriticalSectionPtr csLock(&m_csLock, pRecord);
        EndSession();
        return OpenCore(lpszConnect, lpszUser, lpszPassword);
    });
}

int CDBInterface::Open(char* lpszHost, unsigned short usPort, char* lpszUser, char* lpszPassword) {
    return Guard<OPERATION_OPEN>("", [&](KESTROCRITICALSECTION* pRecord) {
        CKestroCriticalSectionPtr csLock(&m_csLock, pRecord);
        EndSession();
        return OpenCore(lpszHost, usPort, lpszUser, lpszPassword);
    });
}

// No connect descriptor can be read, so none is found.
int CDBInterface::OpenCore(const char*, const char*, const char*) {
    return ERR_DESCRIPTOR_FILE;
}

int CDBInterface::OpenCore(const char* lpszHost, USHORT usPort, const char* lpszUser, const char* lpszPassword) {
    SetServer(lpszHost ? inet_addr(lpszHost) : INADDR_NONE, htons(usPort));
    // Anything but an address and a port is a descriptor's name.
    if (m_dwServerIP == 0 || m_dwServerIP == INADDR_NONE || usPort == 0)
        return OpenCore(lpszHost, lpszUser, lpszPassword);
    m_bDirectConnect = 0;
    SetField(m_szUserName, "");
    SetField(m_szPassword, "");
    SetCredentials(lpszUser, lpszPassword);
    return OpenDatabase(0, 0);
}

// What isn't given stays as it was.
void CDBInterface::SetCredentials(const char* lpszUser, const char* lpszPassword) {
    if (lpszUser) SetField(m_szUserName, lpszUser, USER_NAME_MOST);
    if (lpszPassword) SetField(m_szPassword, lpszPassword);
}

int CDBInterface::OpenWithAddress(char* lpszUser, char* lpszPassword, unsigned int dwIP, unsigned short usPort,
                                  int bDirectConnect) {
    Close();
    m_bDirectConnect = bDirectConnect;
    SetServer(htonl(dwIP), htons(usPort));
    SetCredentials(lpszUser, lpszPassword);
    return OpenDatabase(0, 0);
}

int CDBInterface::OpenDatabase(int bRetry, int bSwitchNode) {
    int nCode = ConnectToService(bRetry, bSwitchNode);
    if (nCode == ERR_OK) nCode = UserLogin();
    if (nCode != ERR_OK) {
        // Who was logged in still is: the next request tries again.
        CloseSocket();
        return nCode;
    }
    m_nLoginState = 0;
    SetLogin(1);
    return ERR_OK;
}

int CDBInterface::UserLogin() {
    EXCHANGE stExchange(COMMAND_LOGIN);
    stExchange.m_lpszSubject = m_szUserName;
    stExchange.m_stHead.m_nValue = m_nSessionID;
    LOGINPARAM& stLogin = stExchange.m_stHead.m_stLogin;
    stLogin.m_bClientType = 1;
    stLogin.m_bDirectConnect = m_bDirectConnect != 0;
    SetProcessName(stLogin);
    stLogin.m_nProcessID = getpid();
    stLogin.m_nThreadID = static_cast<int>(syscall(SYS_gettid));
    unsigned short usPort = 0;
    GetSocketInfo(m_dwClientIP, usPort);
    stLogin.m_dwClientIP = m_dwClientIP;
    stLogin.m_usClientPort = usPort;
    SetField(stLogin.m_szUserName, m_szUserName);
    std::memcpy(stLogin.m_szPassword, m_szPassword, sizeof m_szPassword);
    const int nCode = Exchange(stExchange);
    return nCode == ERR_OK ? FinishLogin(stExchange.m_stReply) : nCode;
}

// A session goes on only with its server and in its database.
int CDBInterface::FinishLogin(const TCPFRAMEHEAD& stReply) {
    const USHORT usServerID = static_cast<USHORT>(stReply.m_nValue);
    bool bSame = m_usServerID == 0 || m_usServerID == usServerID;
    if (bSame && m_szDatabase[0]) {
        BYTE bDatabaseNo = 0;
        bSame = SendUse(m_szDatabase, bDatabaseNo) == ERR_OK;
        if (bSame) Shared(m_bDatabaseNo).store(bDatabaseNo, std::memory_order_relaxed);
    }
    if (!bSame) {
        SetLogin(0);
        return ERR_LINK_NOT_OPEN;
    }
    m_nSessionID = stReply.m_stSession.m_nSessionID;
    m_usServerID = usServerID;
    m_nThreadID = stReply.m_stSession.m_nThreadID;
    Log<LINE_LOGGED_IN>("UserLogin", m_nSessionID, m_nThreadID);
    return ERR_OK;
}

int CDBInterface::UserLogOut(int&) {
    if (!IsLoggedIn()) return ERR_OK;
    SetLogin(0);
    m_nSessionID = 0;
    m_nThreadID = 0;
    EXCHANGE stExchange(COMMAND_LOGOUT);
    stExchange.m_lpszSubject = m_szUserName;
    LOGOUTPARAM& stLogout = stExchange.m_stHead.m_stLogout;
    SetField(stLogout.m_szUserName, m_szUserName);
    std::memcpy(stLogout.m_szPassword, m_szPassword, sizeof m_szPassword);
    const int nCode = Exchange(stExchange);
    // A dead link is as good as a logout.
    if (stExchange.m_nEnd == EXCHANGE_NOT_SENT) return ERR_OK;
    if (nCode != ERR_OK) return nCode;
    SetField(m_szUserName, "");
    SetField(m_szPassword, "");
    return ERR_OK;
}

int CDBInterface::UseDatabase(const char* lpszDatabase) {
    if (!IsLoggedIn()) return ERR_LINK_NOT_OPEN;
    if (!lpszDatabase) return ERR_NULL_POINTER;
    if (strnlen(lpszDatabase, sizeof m_szDatabase) == sizeof m_szDatabase) {
        Log<LINE_NAME_TOO_LONG>("UseDatabase");
        return ERR_FAILED;
    }
    if (m_nSocket == -1)
        if (const int nCode = OpenDatabase(1, 0)) return nCode;
    BYTE bDatabaseNo = 0;
    if (const int nCode = SendUse(lpszDatabase, bDatabaseNo)) return nCode;
    Shared(m_bDatabaseNo).store(bDatabaseNo, std::memory_order_relaxed);
    if (lpszDatabase != m_szDatabase) SetField(m_szDatabase, lpszDatabase);
    return ERR_OK;
}

int CDBInterface::SendUse(const char* lpszDatabase, BYTE& bDatabaseNo) {
    EXCHANGE stExchange(COMMAND_USE);
    stExchange.m_lpszSubject = lpszDatabase;
    SetField(stExchange.m_stHead.m_szText, lpszDatabase);
    const int nCode = Exchange(stExchange);
    bDatabaseNo = stExchange.m_stReply.m_bFlag;
    return nCode;
}
