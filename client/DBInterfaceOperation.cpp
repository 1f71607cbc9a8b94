// What the outer operations have in common: the clock, the recovery that a server asks for, the line in the log, and
// the end of an exception.

#include "DBInterfaceOperation.h"

#include <cerrno>

#include "Platform.h"
#include "TraceManage.h"

namespace {

constexpr std::int64_t COUNTER_FREQUENCY = 1'000'000;

/** Ticks of 100 nanoseconds since 1601. */
std::int64_t FileTime(std::int64_t nMicroseconds) {
    return nMicroseconds * 10 + 116'444'736'000'000'000;
}

} // namespace

void CDBInterface::BeginOperation(const OPERATIONROW& stRow, MF_EXECUTE_STATISTICS& stStat) {
    if (stRow.m_bBusy) SetBusy(1);
    const std::int64_t nNow = NowMicroseconds();
    stStat.m_nStartFileTime = FileTime(nNow);
    stStat.m_nFrequency = COUNTER_FREQUENCY;
    stStat.m_nCallStart = nNow;
}

/** Whether to call once more: at once and without end when the cluster is back, or on the next node. */
bool CDBInterface::MustRepeat(KESTROCRITICALSECTION* pRecord, MF_EXECUTE_STATISTICS& stStat, int& nCode) {
    if (nCode == ERR_GROUP_RECOVERED) return true;
    if (nCode != ERR_NODE_LEFT) return false;
    CKestroCriticalSectionPtr csLock(&m_csLock, pRecord);
    nCode = OpenDatabase(1, 1);
    if (nCode == ERR_OK) return true;
    stStat.m_nErrorCode = nCode;
    return false;
}

void CDBInterface::EndOperation(const OPERATIONROW& stRow, MF_EXECUTE_STATISTICS& stStat, const char* lpszText,
                                const int* pCount, int nCode) {
    stStat.m_nCallEnd = NowMicroseconds();
    if (Shared(m_bTraceTime).load(std::memory_order_relaxed) == 1) {
        const int nTime =
            static_cast<int>((stStat.m_nCallEnd - stStat.m_nCallStart) * COUNTER_FREQUENCY / stStat.m_nFrequency);
        if (pCount)
            Trace(stRow.m_lpszFunction, 0, stRow.LogCode(1), Text(stRow.m_stEnd), nTime, nCode, *pCount, lpszText);
        else
            Trace(stRow.m_lpszFunction, 0, stRow.LogCode(1), Text(stRow.m_stEnd), nTime, nCode, lpszText);
    }
    stStat.m_nEndFileTime = FileTime(NowMicroseconds());
}

void CDBInterface::Abandon(const OPERATIONROW& stRow, KESTROCRITICALSECTION* pRecord, const char* lpszText) {
    const int nError = errno;
    KestroCriticalRelease(pRecord);
    Trace(stRow.m_lpszFunction, 0, stRow.LogCode(99), Text(stRow.m_stException), nError, lpszText);
}
