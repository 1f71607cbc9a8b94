// Short transactions and the replay of a redo record: requests without a plan.

#include <cstring>

#include "DBInterfaceExchange.h"
#include "DBInterfaceOperation.h"
#include "LogLine.h"

namespace {

constexpr std::size_t TRANSACTION_TEXT_MOST = 95;

constexpr OPERATIONROW OPERATION_START{
    .m_lpszFunction = "StartTransactionLogic",
    .m_nOperation = 34,
    .m_stException = MSG_EXCEPTION,
    .m_stEnd = {"启动短事务锁的命令执行结束，耗时：%d微秒，返回值：0X%X，事务ID：%d，bstrTransactionData：%s",
                "The execution of the start short transaction lock command ends with: %d microseconds, return value: "
                "0X%X, transaction ID: %d, bstrTransactionData: %s"}};
constexpr OPERATIONROW OPERATION_STOP{
    .m_lpszFunction = "StopTransactionLogic",
    .m_nOperation = 35,
    .m_stException = MSG_EXCEPTION,
    .m_stEnd = {"停止短事务锁的命令执行结束，耗时：%d微秒，返回值：0X%X，lTransactionID：%d",
                "End of execution of short transaction lock command, elapsed time: %d microseconds, return value: "
                "0X%X, lTransactionID: %d"}};
constexpr OPERATIONROW OPERATION_REDO{
    .m_lpszFunction = "KestroRedo",
    .m_nOperation = 63,
    .m_stException = {"重做日志时出现异常，错误码：%d", "An exception occurred while redoing the log. Error code: %d"}};

constexpr LOGLINE LINE_TEXT_TOO_LONG{
    888'015'001,
    {"启动事务命令的数据字符串过长，执行失败。数据字符串：%s",
     "The data string for the start transaction command was too long and failed. The data string: %s"}};

} // namespace

int CDBInterface::TCPStartTransactionLogic(KESTROCRITICALSECTION* pRecord, const char* lpszParam, int& nTransaction,
                                           MF_EXECUTE_STATISTICS* pStat) {
    nTransaction = 0;
    CKestroCriticalSectionPtr csLock(&m_csLock, pRecord);
    EXCHANGE stExchange(COMMAND_BEGIN_TX, pStat);
    if (strnlen(lpszParam, TRANSACTION_TEXT_MOST + 1) > TRANSACTION_TEXT_MOST) {
        // A refused text uses up a token, as a request does. Intended.
        CreateRandomFactor();
        Log<LINE_TEXT_TOO_LONG>(stExchange.m_stRow.m_lpszFunction, lpszParam);
        return ERR_PARAMETER;
    }
    SetField(stExchange.m_stHead.m_szText, lpszParam);
    if (const int nCode = Exchange(stExchange)) return nCode;
    nTransaction = stExchange.m_stReply.m_nValue;
    return ERR_OK;
}

int CDBInterface::TCPStopTransactionLogic(KESTROCRITICALSECTION* pRecord, int nTransaction,
                                          MF_EXECUTE_STATISTICS* pStat) {
    CKestroCriticalSectionPtr csLock(&m_csLock, pRecord);
    EXCHANGE stExchange(COMMAND_END_TX, pStat);
    stExchange.m_stHead.m_nValue = nTransaction;
    return Exchange(stExchange);
}

int CDBInterface::StartTransactionLogic(char* lpszParam, int& nTransaction) {
    MF_EXECUTE_STATISTICS stStat{};
    const char* const lpszText = lpszParam ? lpszParam : "";
    return RunOperation<OPERATION_START>(stStat, lpszText, &nTransaction, [&](KESTROCRITICALSECTION* pRecord) {
        return TCPStartTransactionLogic(pRecord, lpszText, nTransaction, &stStat);
    });
}

int CDBInterface::StopTransactionLogic(int nTransaction) {
    MF_EXECUTE_STATISTICS stStat{};
    return RunOperation<OPERATION_STOP>(stStat, "", &nTransaction, [&](KESTROCRITICALSECTION* pRecord) {
        return TCPStopTransactionLogic(pRecord, nTransaction, &stStat);
    });
}

// The record begins with its length, which counts itself; a smaller one has nothing else to send.
int CDBInterface::KestroRedoCore(KESTROCRITICALSECTION* pRecord, const unsigned char* pRedo, unsigned short usParam) {
    if (!pRedo) return ERR_NULL_POINTER;
    CKestroCriticalSectionPtr csLock(&m_csLock, pRecord);
    EXCHANGE stExchange(COMMAND_REDO);
    UINT nLen = 0;
    std::memcpy(&nLen, pRedo, sizeof nLen);
    stExchange.m_stHead.m_nValue = usParam;
    stExchange.m_stHead.m_nBodyLen = nLen;
    if (nLen != 0) stExchange.m_arPart.push_back({pRedo, nLen});
    return Exchange(stExchange);
}

int CDBInterface::KestroRedo(unsigned char* pRecord, unsigned short usParam) {
    return RunBusy<OPERATION_REDO>(
        [&](KESTROCRITICALSECTION* pLocks) { return KestroRedoCore(pLocks, pRecord, usParam); });
}
