#pragma once

#include <cxxabi.h>

#include <new>

#include "DBInterface.h"
#include "KestroErrorCode.h"
#include "Language.h"

/** What one outer operation says in the log; the code is 888FFFNNN. */
struct OPERATIONROW {
    const char* m_lpszFunction;
    USHORT m_nOperation; // FFF
    /** An exception: errno and the text. NNN is 99. */
    MESSAGE m_stException;
    /** Its end: time, code, the count if it has one, and the text. NNN is 1. */
    MESSAGE m_stEnd{"", ""};
    /** It takes the caller's statistics, and shows that it's busy. */
    bool m_bBusy = false;
    /** It's called again when the cluster has recovered, and on the next node when this one can't serve. */
    bool m_bRecover = false;

    constexpr int LogCode(int nPlace) const { return 888'000'000 + m_nOperation * 1000 + nPlace; }
    constexpr bool HasItsArguments() const {
        const char *const lpszEnd = m_stEnd.m_lpszEnglish, *const lpszException = m_stException.m_lpszEnglish;
        using TEXT = const char*;
        return (!*lpszEnd || ArgumentsFit<int, int>(lpszEnd) || ArgumentsFit<int, int, TEXT>(lpszEnd) ||
                ArgumentsFit<int, int, int>(lpszEnd) || ArgumentsFit<int, int, int, TEXT>(lpszEnd)) &&
               (ArgumentsFit<int>(lpszException) || ArgumentsFit<int, TEXT>(lpszException));
    }
};

/** The exception of operations that have no line of their own. */
inline constexpr MESSAGE MSG_EXCEPTION{
    "通过TCP调用服务器时出现未知异常，错误码：%d",
    "An unknown exception occurred while calling the server through TCP. Error code: %d"};

/**
 * All that an outer operation runs goes through here: nothing is thrown out of it, and no lock stays taken. Only the
 * cancellation of a thread passes. Memory that isn't there is 3, any other exception 2.
 */
template <const OPERATIONROW& stRow, typename INNER>
int CDBInterface::Guard(const char* lpszText, INNER Inner) {
    static_assert(stRow.HasItsArguments(), "a line takes other arguments than there are");
    KESTROCRITICALSECTION stRecord{};
    int nCode = ERR_EXCEPTION;
    try {
        return Inner(&stRecord);
    } catch (const abi::__forced_unwind&) {
        SetBusy(0);
        throw;
    } catch (const std::bad_alloc&) {
        nCode = ERR_MEMORY;
    } catch (...) {
    }
    Abandon(stRow, &stRecord, lpszText);
    return nCode;
}

/** An operation with clock, recovery and its line in the log. The text and the count, which may be null, are for that.
 */
template <const OPERATIONROW& stRow, typename INNER>
int CDBInterface::RunOperation(MF_EXECUTE_STATISTICS& stStat, const char* lpszText, const int* pCount, INNER Inner) {
    if (!IsLoggedIn()) return ERR_LINK_NOT_OPEN;
    const int nBefore = stStat.m_nErrorCode;
    const int nCode = Guard<stRow>(lpszText, [&](KESTROCRITICALSECTION* pRecord) {
        BeginOperation(stRow, stStat);
        int nInner = ERR_OK;
        do {
            // What was repeated has not failed.
            stStat.m_nErrorCode = nBefore;
            nInner = Inner(pRecord);
        } while (stRow.m_bRecover && MustRepeat(pRecord, stStat, nInner));
        EndOperation(stRow, stStat, lpszText, pCount, nInner);
        return nInner;
    });
    // Some failures note more than their code.
    if (nCode != ERR_OK && stStat.m_nErrorCode == nBefore) stStat.m_nErrorCode = nCode;
    SetBusy(0);
    return nCode;
}

/** An operation without a clock, which shows that it's busy. */
template <const OPERATIONROW& stRow, typename INNER>
int CDBInterface::RunBusy(INNER Inner) {
    if (!IsLoggedIn()) return ERR_LINK_NOT_OPEN;
    SetBusy(1);
    const int nCode = Guard<stRow>("", Inner);
    SetBusy(0);
    return nCode;
}
