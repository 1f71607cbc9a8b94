// Queries, whose answer is decoded outside the lock, and the write-back of what was changed in a recordset.

#include <cstring>
#include <memory>
#include <new>

#include "BaseBson.h"
#include "DBInterfaceExchange.h"
#include "DBInterfaceOperation.h"
#include "LogLine.h"
#include "MemDBRecordset.h"
#include "ParseSql.h"

namespace {

constexpr MESSAGE MSG_QUERY_EXCEPTION{"数据库检索执行异常，错误码：%d，SQL：%s",
                                      "Database retrieval execution exception, error code: %d, SQL: %s"};
constexpr MESSAGE MSG_UPDATE_END{"结果集修改操作结束，耗时：%d微秒，返回值：0X%X",
                                 "End of result set modification operation, time: %d microseconds, return value: 0X%X"};

constexpr OPERATIONROW OPERATION_QUERY{
    "GetRecordset",
    31,
    MSG_QUERY_EXCEPTION,
    {"数据库检索执行结束，耗时：%d微秒，返回值：0X%X，返回数据条数：%d，SQL：%s",
     "Database retrieval execution ended, time: %d microseconds, return value: 0X%X, return data number: %d, SQL: %s"},
    true,
    true};
constexpr OPERATIONROW OPERATION_QUERY_INTERFACE{
    "GetRecordset",
    51,
    MSG_QUERY_EXCEPTION,
    {"数据库检索执行结束，耗时：%d微秒，返回值：0X%X，返回数据条数：%d，bstrSql：%s",
     "Database retrieval execution ends, time: %d microseconds, return value: 0X%X, number of returned data: %d, "
     "bstrSql: %s"},
    false,
    true};
constexpr OPERATIONROW OPERATION_UPDATE{
    "UpdateRecordset", 32,   {"更新结果集异常，错误码：%d", "Update result set abnormal, error code: %d"},
    MSG_UPDATE_END,    true, true};
constexpr OPERATIONROW OPERATION_UPDATE_INTERFACE{
    "UpdateRecordset",
    52,
    {"修改结果集时出现异常，错误码：%d", "An exception occurred while modifying the result set. Error code: %d"},
    MSG_UPDATE_END,
    false,
    true};

constexpr LOGLINE LINE_RESOLVE_FAILED{888'013'000,
                                      {"解析结果集失败，返回值：%d", "Failed to resolve result set, return value: %d"}};

/** Buffers tried for the plan of a write-back: 1, 4, 16, 64 and 256 MiB. */
constexpr UINT UPDATE_BUFFER_FIRST = 1u << 20;
constexpr UINT UPDATE_BUFFER_FACTOR = 4;
constexpr UINT UPDATE_BUFFER_ENOUGH = 0xA000000;
constexpr UINT UPDATE_BUFFER_MOST = 0x14000000;

/** The plan of a recordset's changes, in the smallest buffer that holds it. */
int WriteChanges(CMemDBRecordset& stRecordset, std::unique_ptr<CBaseBson>& pBson, EXECUTEPLANBSON*& pPlan) {
    for (UINT nSize = UPDATE_BUFFER_FIRST;; nSize = std::min(nSize * UPDATE_BUFFER_FACTOR, UPDATE_BUFFER_MOST)) {
        pBson.reset(new (std::nothrow) CBaseBson);
        if (!pBson) return ERR_MEMORY;
        int nCode = pBson->AllocBsonBuffer(nullptr, nSize);
        if (nCode == ERR_OK) nCode = stRecordset.ParseRecordset(*pBson, pPlan);
        if (nCode != ERR_MEMORY) return nCode;
        if (nSize > UPDATE_BUFFER_ENOUGH) return ERR_MEMORY_SIZE;
    }
}

} // namespace

int CDBInterface::TCPGetRecordset(KESTROCRITICALSECTION* pRecord, const char* lpszSql, CMemDBRecordset& stRecordset,
                                  MF_EXECUTE_STATISTICS* pStat, int nPageNo, int nPageSize) {
    CParseSql stParseSql;
    EXECUTEPLANBSON* pPlan = nullptr;
    EXCHANGE stExchange(COMMAND_QUERY, pStat);
    if (const int nCode = Compile(stExchange.m_stRow, stParseSql, lpszSql, nPageNo, nPageSize, pStat, pPlan))
        return nCode;
    CKestroCriticalSectionPtr csLock(&m_csLock, pRecord);
    SetPlan(stExchange, pPlan, lpszSql);
    if (const int nCode = Exchange(stExchange)) return nCode;
    // Decoding takes long, and others may use the connection meanwhile.
    csLock.UnLock();
    const int nLen = static_cast<int>(stExchange.m_stReply.m_nBodyLen);
    if (const int nCode = stRecordset.AnalysisRecordset(stExchange.m_lpBody.release(), nLen, 1)) return nCode;
    if (pStat) pStat->m_nRowNum = stExchange.m_stReply.m_nValue;
    return ERR_OK;
}

int CDBInterface::TCPUpdateRecordset(KESTROCRITICALSECTION* pRecord, CMemDBRecordset& stRecordset,
                                     MF_EXECUTE_STATISTICS* pStat) {
    EXCHANGE stExchange(COMMAND_UPDATE_RS, pStat);
    std::unique_ptr<CBaseBson> pBson;
    EXECUTEPLANBSON* pPlan = nullptr;
    if (const int nCode = WriteChanges(stRecordset, pBson, pPlan)) {
        Log<LINE_RESOLVE_FAILED>(stExchange.m_stRow.m_lpszFunction, nCode);
        if (pStat) pStat->m_nErrorCode = nCode;
        return nCode;
    }
    const auto* const lpUpdate =
        reinterpret_cast<const UPDATERECORDSETPLANBSON*>(pBson->ConvertOffset2Addr(pPlan->m_nCommandOffset));
    if (!lpUpdate || lpUpdate->m_stExecuteObject.m_stExecuteStep.m_nExecuteStepNum == 0) return ERR_OK;

    CKestroCriticalSectionPtr csLock(&m_csLock, pRecord);
    SetPlan(stExchange, pPlan, "");
    stExchange.m_arPart.push_back({reinterpret_cast<const BYTE*>(pPlan), pPlan->m_nClientBsonDataSize});
    for (USHORT i = 1; i <= pBson->GetBufferSectionNum(); ++i) {
        const LPBYTE lpSection = pBson->GetBufferSection(i);
        stExchange.m_arPart.push_back({lpSection, reinterpret_cast<BUFFERSECTIONHEAD*>(lpSection)->m_nSectionDataSize});
    }
    if (const int nCode = Exchange(stExchange)) return nCode;
    stRecordset.ClearState();
    return ERR_OK;
}

int CDBInterface::GetRecordset(const char* lpszSql, CMemDBRecordset& stRecordset, MF_EXECUTE_STATISTICS* pStat) {
    MF_EXECUTE_STATISTICS stOwn{};
    MF_EXECUTE_STATISTICS& stStat = pStat ? *pStat : stOwn;
    // What a failed call leaves there is no page.
    const int nPageNo = stStat.m_nErrorPos, nPageSize = stStat.m_nErrorCode;
    const char* const lpszText = lpszSql ? lpszSql : "";
    int nRowNum = 0;
    return RunOperation<OPERATION_QUERY>(stStat, lpszText, &nRowNum, [&](KESTROCRITICALSECTION* pRecord) {
        const int nCode = TCPGetRecordset(pRecord, lpszText, stRecordset, &stStat, nPageNo, nPageSize);
        nRowNum = stRecordset.GetRowNum();
        return nCode;
    });
}

int CDBInterface::GetRecordset(char* lpszSql, IKestroDBRecordset** ppRecordset, void* pStatistics) {
    if (!ppRecordset) return ERR_NULL_POINTER;
    *ppRecordset = nullptr;
    if (!IsLoggedIn()) return ERR_LINK_NOT_OPEN;
    if (const int nCode = CMemDBRecordset::CreateInstance(*ppRecordset)) return nCode;
    auto& stRecordset = *static_cast<CMemDBRecordset*>(*ppRecordset);
    CStatistics stStat(pStatistics);
    const char* const lpszText = lpszSql ? lpszSql : "";
    int nRowNum = 0;
    return RunOperation<OPERATION_QUERY_INTERFACE>(
        stStat.m_stStat, lpszText, &nRowNum, [&](KESTROCRITICALSECTION* pRecord) {
            const int nCode = TCPGetRecordset(pRecord, lpszText, stRecordset, &stStat.m_stStat, 0, 0);
            nRowNum = stRecordset.GetRowNum();
            return nCode;
        });
}

int CDBInterface::UpdateRecordset(CMemDBRecordset& stRecordset, MF_EXECUTE_STATISTICS* pStat) {
    MF_EXECUTE_STATISTICS stOwn{};
    MF_EXECUTE_STATISTICS& stStat = pStat ? *pStat : stOwn;
    return RunOperation<OPERATION_UPDATE>(stStat, "", nullptr, [&](KESTROCRITICALSECTION* pRecord) {
        return TCPUpdateRecordset(pRecord, stRecordset, &stStat);
    });
}

// All recordsets of this library are of the one class.
int CDBInterface::UpdateRecordset(IKestroDBRecordset* pRecordset, void* pStatistics) {
    if (!IsLoggedIn()) return ERR_LINK_NOT_OPEN;
    if (!pRecordset) return ERR_NULL_POINTER;
    CStatistics stStat(pStatistics);
    return RunOperation<OPERATION_UPDATE_INTERFACE>(stStat.m_stStat, "", nullptr, [&](KESTROCRITICALSECTION* pRecord) {
        return TCPUpdateRecordset(pRecord, *static_cast<CMemDBRecordset*>(pRecordset), &stStat.m_stStat);
    });
}
