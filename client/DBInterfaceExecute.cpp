// Statements that change something, and cursors: compiled here, outside the lock, and sent as a plan. A statement that
// switches the database is no plan but a command.

#include <climits>
#include <cstring>
#include <memory>
#include <new>

#include "DBInterfaceExchange.h"
#include "DBInterfaceOperation.h"
#include "ParseSql.h"

namespace {

constexpr MESSAGE MSG_EXCEPTION{"数据库命令执行异常，错误码：%d，SQL：%s",
                                "Database command execution exception, error code: %d, SQL: %s"};
constexpr MESSAGE MSG_COMMAND_END{
    "数据库命令执行结束，耗时：%d微秒，返回值：0X%X，影响行数：%d，SQL：%s",
    "Database command execution ended, time: %d microseconds, return value: 0X%X, affect the number of lines: %d, SQL: "
    "%s"};
constexpr MESSAGE MSG_EXECUTE_END{
    "数据库命令执行结束，耗时：%d微秒，返回值：0X%X，影响行数：%d，bstrCmd：%s",
    "Database command execution ends, time: %d microseconds, return value: 0X%X, number of affected lines: %d, "
    "bstrCmd: %s"};

constexpr OPERATIONROW OPERATION_COMMAND{"ExecuteCommand", 30, MSG_EXCEPTION, MSG_COMMAND_END, true, true};
constexpr OPERATIONROW OPERATION_EXECUTE{"Execute", 47, MSG_EXCEPTION, MSG_EXECUTE_END, false, true};
constexpr OPERATIONROW OPERATION_EXECUTE_PROGRESS{"Execute", 48, MSG_EXCEPTION, MSG_EXECUTE_END, true, true};
constexpr OPERATIONROW OPERATION_EXECUTE_CURSOR{"Execute", 50, MSG_EXCEPTION, MSG_EXECUTE_END, false, true};

constexpr MESSAGE MSG_PARSE_FAILED{"解析SQL语句[%s]失败，返回值：%d",
                                   "Failed to parse SQL statement [%s], return value: %d"};

const char* Shown(const char* lpszSql) {
    return lpszSql ? lpszSql : "";
}

/** The statement of a cursor. */
const char* TextOf(CParseSql& stCursor) {
    const EXECUTEPLANBSON* const pPlan = stCursor.GetExecutePlan();
    return pPlan ? reinterpret_cast<const char*>(pPlan) + pPlan->m_nSqlOffset : "";
}

template <typename T>
T Read(const void* pValue) {
    T nValue;
    std::memcpy(&nValue, pValue, sizeof nValue);
    return nValue;
}

} // namespace

// --- compiling -------------------------------------------------------------------------------------------------------

int CDBInterface::Compile(const COMMANDROW& stRow, CParseSql& stParseSql, const char* lpszSql, int nPageNo,
                          int nPageSize, MF_EXECUTE_STATISTICS* pStat, EXECUTEPLANBSON*& pPlan) {
    pPlan = nullptr;
    const std::size_t nLen = std::strlen(Shown(lpszSql));
    const BYTE bDatabaseNo = Shared(m_bDatabaseNo).load(std::memory_order_relaxed);
    const int nCode = nLen > INT_MAX ? static_cast<int>(ERR_MEMORY_SIZE)
                                     : stParseSql.ParseSql(Shown(lpszSql), static_cast<int>(nLen), pPlan, nPageNo,
                                                           nPageSize, bDatabaseNo);
    if (nCode == ERR_OK) return ERR_OK;
    if (pStat) {
        pStat->m_nErrorCode = nCode;
        pStat->m_nErrorPos = stParseSql.GetErrorPos() + 2;
    }
    Trace(stRow.m_lpszFunction, 0, stRow.LogCode(0), Text(MSG_PARSE_FAILED), Shown(lpszSql), nCode);
    return nCode;
}

// What a plan says about its sender. Once and before the first send: a request that is repeated has the same bytes.
void CDBInterface::SetPlan(EXCHANGE& stExchange, EXECUTEPLANBSON* pPlan, const char* lpszSql) {
    unsigned int dwIP = 0;
    unsigned short usPort = 0;
    GetSocketInfo(dwIP, usPort);
    pPlan->m_bDatabaseNo = pPlan->m_bSessionDatabaseNo = Shared(m_bDatabaseNo).load(std::memory_order_relaxed);
    pPlan->m_dwClientIP = dwIP;
    pPlan->m_nUserID = 0;
    stExchange.SetPlan(pPlan);
    stExchange.m_lpszSubject = lpszSql;
}

// --- one attempt -----------------------------------------------------------------------------------------------------

int CDBInterface::TCPExecuteCommand(KESTROCRITICALSECTION* pRecord, const char* lpszSql, int& nAffect,
                                    MF_EXECUTE_STATISTICS* pStat, KESTROPROGRESS lpfnProgress, void* pUser) {
    nAffect = 0;
    CParseSql stParseSql;
    EXECUTEPLANBSON* pPlan = nullptr;
    EXCHANGE stExchange(COMMAND_EXECUTE, pStat, lpfnProgress, pUser);
    if (const int nCode = Compile(stExchange.m_stRow, stParseSql, lpszSql, 0, 0, pStat, pPlan)) return nCode;
    if (pPlan->m_nType == PLAN_USE) return UseDatabaseOf(stParseSql);
    return RunPlan(stExchange, pRecord, pPlan, lpszSql, nAffect);
}

int CDBInterface::TCPExecuteCommand(KESTROCRITICALSECTION* pRecord, void* pCursor, int& nAffect,
                                    MF_EXECUTE_STATISTICS* pStat, KESTROPROGRESS lpfnProgress, void* pUser) {
    nAffect = 0;
    if (!pCursor) return ERR_NULL_POINTER;
    CParseSql& stCursor = *static_cast<CParseSql*>(pCursor);
    if (const int nCode = stCursor.ExecuteBind()) return nCode;
    EXCHANGE stExchange(COMMAND_EXECUTE_CURSOR, pStat, lpfnProgress, pUser);
    return RunPlan(stExchange, pRecord, stCursor.GetExecutePlan(), TextOf(stCursor), nAffect);
}

int CDBInterface::RunPlan(EXCHANGE& stExchange, KESTROCRITICALSECTION* pRecord, EXECUTEPLANBSON* pPlan,
                          const char* lpszSql, int& nAffect) {
    CKestroCriticalSectionPtr csLock(&m_csLock, pRecord);
    SetPlan(stExchange, pPlan, lpszSql);
    if (const int nCode = Exchange(stExchange)) return nCode;
    nAffect = stExchange.m_stReply.m_nValue;
    return ERR_OK;
}

// Without the lock: who switches the database doesn't share the connection at that moment.
int CDBInterface::UseDatabaseOf(CParseSql& stParseSql) {
    CBaseBson& stBson = stParseSql.GetParseBson();
    const auto* const lpDatabase =
        reinterpret_cast<const DATABASEBSON*>(stBson.ConvertOffset2Addr(stBson.GetExecutePlan()->m_nCommandOffset));
    char szDatabase[sizeof lpDatabase->m_pDatabaseName + 1] = "";
    if (lpDatabase) std::memcpy(szDatabase, lpDatabase->m_pDatabaseName, sizeof lpDatabase->m_pDatabaseName);
    return UseDatabase(lpDatabase ? szDatabase : nullptr);
}

// --- the operations --------------------------------------------------------------------------------------------------

int CDBInterface::ExecuteCommand(const char* lpszSql, int& nAffect, MF_EXECUTE_STATISTICS* pStat) {
    MF_EXECUTE_STATISTICS stOwn{};
    MF_EXECUTE_STATISTICS& stStat = pStat ? *pStat : stOwn;
    return RunOperation<OPERATION_COMMAND>(stStat, Shown(lpszSql), &nAffect, [&](KESTROCRITICALSECTION* pRecord) {
        return TCPExecuteCommand(pRecord, lpszSql, nAffect, &stStat, nullptr, nullptr);
    });
}

int CDBInterface::ExecuteCommand(void* pCursor, int& nAffect, MF_EXECUTE_STATISTICS* pStat) {
    MF_EXECUTE_STATISTICS stOwn{};
    MF_EXECUTE_STATISTICS& stStat = pStat ? *pStat : stOwn;
    const char* const lpszSql = pCursor ? TextOf(*static_cast<CParseSql*>(pCursor)) : "";
    return RunOperation<OPERATION_COMMAND>(stStat, lpszSql, &nAffect, [&](KESTROCRITICALSECTION* pRecord) {
        return TCPExecuteCommand(pRecord, pCursor, nAffect, &stStat, nullptr, nullptr);
    });
}

int CDBInterface::Execute(char* lpszSql, int& nAffect, void* pStatistics) {
    CStatistics stStat(IsLoggedIn() ? pStatistics : nullptr);
    return RunOperation<OPERATION_EXECUTE>(
        stStat.m_stStat, Shown(lpszSql), &nAffect, [&](KESTROCRITICALSECTION* pRecord) {
            return TCPExecuteCommand(pRecord, lpszSql, nAffect, &stStat.m_stStat, nullptr, nullptr);
        });
}

int CDBInterface::Execute(const char* lpszSql, int& nAffect, MF_EXECUTE_STATISTICS* pStat, KESTROPROGRESS lpfnProgress,
                          void* pUser) {
    CStatistics stStat(IsLoggedIn() ? pStat : nullptr);
    return RunOperation<OPERATION_EXECUTE_PROGRESS>(
        stStat.m_stStat, Shown(lpszSql), &nAffect, [&](KESTROCRITICALSECTION* pRecord) {
            return TCPExecuteCommand(pRecord, lpszSql, nAffect, &stStat.m_stStat, lpfnProgress, pUser);
        });
}

int CDBInterface::Execute(void* pCursor, int& nAffect, void* pStatistics) {
    if (!pCursor) return ERR_NULL_POINTER;
    const std::unique_ptr<CParseSql> pEnded(static_cast<CParseSql*>(pCursor));
    CStatistics stStat(IsLoggedIn() ? pStatistics : nullptr);
    return RunOperation<OPERATION_EXECUTE_CURSOR>(
        stStat.m_stStat, TextOf(*pEnded), &nAffect, [&](KESTROCRITICALSECTION* pRecord) {
            return TCPExecuteCommand(pRecord, pCursor, nAffect, &stStat.m_stStat, nullptr, nullptr);
        });
}

// --- cursors ---------------------------------------------------------------------------------------------------------

int CDBInterface::Parse(char* lpszSql, void*& pCursor) {
    pCursor = nullptr;
    if (!IsLoggedIn()) return ERR_LINK_NOT_OPEN;
    std::unique_ptr<CParseSql> pParseSql(new (std::nothrow) CParseSql);
    if (!pParseSql) return ERR_MEMORY;
    EXECUTEPLANBSON* pPlan = nullptr;
    if (const int nCode = Compile(COMMANDS[COMMAND_EXECUTE_CURSOR], *pParseSql, lpszSql, 0, 0, nullptr, pPlan))
        return nCode;
    pCursor = pParseSql.release();
    return ERR_OK;
}

int CDBInterface::Bind(void* pCursor, int nNo, unsigned char bType, void* pValue, int nLen) {
    if (!IsLoggedIn()) return ERR_LINK_NOT_OPEN;
    if (!pCursor) return ERR_NULL_POINTER;
    st_VARDATA stValue;
    switch (pValue ? bType : BYTE{VT_EMPTY}) {
        case VT_INT:
            stValue.m_vt = VT_INT;
            stValue.m_llValue = Read<std::uint32_t>(pValue);
            break;
        case VT_BIGINT:
        case VT_DOUBLE:
        case VT_DATETIME:
            stValue.m_vt = bType;
            stValue.m_llValue = Read<std::int64_t>(pValue);
            break;
        case VT_CHAR:
        case VT_VARCHAR:
        case VT_CLOB:
            stValue.AttachString(static_cast<char*>(pValue), nLen, 0);
            break;
        case VT_BLOB:
            stValue.SetBinaryData(static_cast<unsigned char*>(pValue), nLen);
            break;
        case VT_TINYINT:
            stValue.SetData(int{Read<signed char>(pValue)});
            break;
        case VT_SMALLINT:
            stValue.SetData(int{Read<std::int16_t>(pValue)});
            break;
        default:
            break;
    }
    return static_cast<CParseSql*>(pCursor)->BindData(nNo, stValue);
}

int CDBInterface::CloseCursor(void* pCursor) {
    if (!pCursor) return ERR_NULL_POINTER;
    delete static_cast<CParseSql*>(pCursor);
    return ERR_OK;
}
