// How the server would execute a statement.

#include <cstring>

#include "CommonDataDef.h"
#include "DBInterfaceExchange.h"
#include "DBInterfaceOperation.h"
#include "LogLine.h"
#include "ParseSql.h"

namespace {

constexpr OPERATIONROW OPERATION_PLAN_INFO{
    .m_lpszFunction = "GetExecutePlanInfo",
    .m_nOperation = 33,
    .m_stException = {"获取执行计划异常，错误码：%d，SQL：%s", "Get execution plan exception, error code: %d, SQL: %s"},
    .m_stEnd = {"获取执行计划结束，耗时：%d微秒，返回值：0X%X，SQL：%s",
                "Get execution plan complete, time: %d microseconds, return value: 0X%X, SQL: %s"},
    .m_bBusy = true};

constexpr LOGLINE LINE_CONVERT_FAILED{888'033'002,
                                      {"字符串转换失败！错误码：%d", "String conversion failed! Error code: %d"}};

/** UTF-8, which may fill its field, into a wide text with a terminator. */
template <std::size_t N>
bool ConvertStr(const char (&szText)[N], BYTE* lpWide) {
    wchar_t szWide[N] = {};
    const int nLen = KestroUTF82Unicode(szText, static_cast<int>(strnlen(szText, N)), szWide, static_cast<int>(N));
    std::memcpy(lpWide, szWide, sizeof szWide);
    return nLen >= 0;
}

bool Describe(const EXECUTEPLANINFO& stInfo, EXECUTEPLANDESCRIBE& stDescribe) {
    BYTE* const lpDescribe = reinterpret_cast<BYTE*>(&stDescribe);
    stDescribe.m_bFirstKind = stInfo.m_bFirstKind;
    stDescribe.m_bSecondKind = stInfo.m_bSecondKind;
    stDescribe.m_bThirdKind = stInfo.m_bThirdKind;
    stDescribe.m_bFourthKind = stInfo.m_bFourthKind;
    stDescribe.m_nValue = stInfo.m_nValue;
    return ConvertStr(stInfo.m_szFirstName, lpDescribe + offsetof(EXECUTEPLANDESCRIBE, m_szFirstName)) &&
           ConvertStr(stInfo.m_szSecondName, lpDescribe + offsetof(EXECUTEPLANDESCRIBE, m_szSecondName)) &&
           ConvertStr(stInfo.m_szDetail, lpDescribe + offsetof(EXECUTEPLANDESCRIBE, m_szDetail));
}

} // namespace

int CDBInterface::TCPGetExecutePlanInfo(KESTROCRITICALSECTION* pRecord, const char* lpszSql, EXECUTEPLANINFO* pInfo,
                                        MF_EXECUTE_STATISTICS* pStat) {
    CParseSql stParseSql;
    EXECUTEPLANBSON* pPlan = nullptr;
    EXCHANGE stExchange(COMMAND_PLAN_INFO, pStat);
    if (const int nCode = Compile(stExchange.m_stRow, stParseSql, lpszSql, 0, 0, pStat, pPlan)) return nCode;
    CKestroCriticalSectionPtr csLock(&m_csLock, pRecord);
    SetPlan(stExchange, pPlan, lpszSql);
    // Without its sections: a plan that had some would not be whole, and is refused.
    stExchange.m_arPart.push_back({reinterpret_cast<const BYTE*>(pPlan), pPlan->m_nClientBsonDataSize});
    stExchange.m_lpBuffer = reinterpret_cast<BYTE*>(pInfo);
    stExchange.m_nBufferSize = sizeof *pInfo;
    return Exchange(stExchange);
}

int CDBInterface::GetExecutePlanInfo(const char* lpszSql, EXECUTEPLANDESCRIBE* pDescribe,
                                     MF_EXECUTE_STATISTICS* pStat) {
    MF_EXECUTE_STATISTICS stOwn{};
    MF_EXECUTE_STATISTICS& stStat = pStat ? *pStat : stOwn;
    const char* const lpszText = lpszSql ? lpszSql : "";
    return RunOperation<OPERATION_PLAN_INFO>(stStat, lpszText, nullptr, [&](KESTROCRITICALSECTION* pRecord) {
        if (!pDescribe) return static_cast<int>(ERR_NULL_POINTER);
        EXECUTEPLANINFO stInfo{};
        if (const int nCode = TCPGetExecutePlanInfo(pRecord, lpszText, &stInfo, &stStat)) return nCode;
        if (Describe(stInfo, *pDescribe)) return static_cast<int>(ERR_OK);
        Log<LINE_CONVERT_FAILED>(OPERATION_PLAN_INFO.m_lpszFunction, static_cast<int>(ERR_FAILED));
        return static_cast<int>(ERR_FAILED);
    });
}
