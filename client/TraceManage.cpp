// The trace log's front: formatting a line, the queue, and the life of the one instance. What happens to the files, and
// the writer thread, stand in TraceManageFile.cpp.

#include "TraceManage.h"

#include <limits.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>

#include "KestroKeywordParse.h"
#include "Language.h"
#include "LanguageSetting.h"
#include "LinuxCommonAPI.h"
#include "Platform.h"
#include "TraceHook.h"

namespace {

/** The head of a line; a long function name is cut to fit. */
constexpr std::size_t TRACE_HEAD_SIZE = 256;

constexpr MESSAGE MSG_TRACE_NO_WRITER{"创建日志写入线程失败，日志无法写入文件！",
                                      "Failed to create the log writer thread, the log can't be written to a file!"};

/** Held while the instance is created. */
constinit pthread_mutex_t g_csInstance = PTHREAD_MUTEX_INITIALIZER;

// Set while the program is loaded, so that no line of the base library comes too early.
[[maybe_unused]] const bool g_bHooked = (g_lpfnTraceHook = Trace0, true);

/** Puts errno back at its end: a caller logs between a failure and the look at its cause. */
struct ERRNOKEEPER {
    const int m_nError = errno;
    ~ERRNOKEEPER() { errno = m_nError; }
};

int CurrentThreadID() {
    return static_cast<int>(syscall(SYS_gettid));
}

template <int DIGITS>
char* PutDigits(char* lpOut, unsigned nValue) {
    for (int i = DIGITS; i-- > 0; nValue /= 10)
        lpOut[i] = static_cast<char>('0' + nValue % 10);
    return lpOut + DIGITS;
}

char* PutNumber(char* lpOut, int nValue, std::ptrdiff_t nWidth, char cFill) {
    char szDigits[12];
    const std::ptrdiff_t nLen = std::to_chars(szDigits, std::end(szDigits), nValue).ptr - szDigits;
    if (nLen < nWidth) lpOut = std::fill_n(lpOut, nWidth - nLen, cFill);
    return std::copy_n(szDigits, nLen, lpOut);
}

// As the conversion "% d" of that width: a blank stands where a minus would.
char* PutSigned(char* lpOut, int nValue, std::ptrdiff_t nWidth) {
    if (nValue < 0) return PutNumber(lpOut, nValue, nWidth, ' ');
    *lpOut++ = ' ';
    return PutNumber(lpOut, nValue, nWidth - 1, ' ');
}

// "\r\n2024-05-06 07:08:09.010 <thread>\t<level>   <code> <function> ", the break in front: a file ends without one.
// By hand, as snprintf would cost more than all the rest of a line.
std::string_view FormatHead(char (&szHead)[TRACE_HEAD_SIZE], const SYSTEMTIME& stNow, int nThreadID, int nLevel,
                            int nCode, const char* lpszFunction) {
    char* lpOut = std::copy_n("\r\n", 2, szHead);
    lpOut = PutNumber(lpOut, stNow.wYear, 4, '0');
    const struct {
        char m_cBefore;
        WORD m_nValue;
    } arPair[]{{'-', stNow.wMonth}, {'-', stNow.wDay}, {' ', stNow.wHour}, {':', stNow.wMinute}, {':', stNow.wSecond}};
    for (const auto& [cBefore, nValue] : arPair) {
        *lpOut++ = cBefore;
        lpOut = PutDigits<2>(lpOut, nValue);
    }
    *lpOut++ = '.';
    lpOut = PutDigits<3>(lpOut, stNow.wMilliseconds);
    *lpOut++ = ' ';
    lpOut = PutNumber(lpOut, nThreadID, 1, ' ');
    *lpOut++ = '\t';
    lpOut = PutSigned(lpOut, nLevel, 2);
    lpOut = std::fill_n(lpOut, 3, ' ');
    lpOut = PutSigned(lpOut, nCode, 10);
    *lpOut++ = ' ';
    // The last byte stays out of use, as if it held a terminator.
    const char* lpEnd = std::end(szHead) - 1;
    if (lpszFunction) lpOut = std::copy_n(lpszFunction, strnlen(lpszFunction, lpEnd - lpOut), lpOut);
    if (lpOut < lpEnd) *lpOut++ = ' ';
    return {szHead, lpOut};
}

void LogLine(const char* lpszFunction, int nLevel, int nCode, std::string_view strText) {
    const int nThreadID = CurrentThreadID();
    KESTROCRITICALSECTION stRecord{};
    try {
        if (CTraceManage* pTrace = CTraceManage::instance())
            pTrace->WriteLog(&stRecord, lpszFunction, nThreadID, nLevel, nCode, strText);
    } catch (...) {
        // The line is lost; its caller goes on.
        KestroCriticalRelease(&stRecord);
    }
}

// "Log/" beside the program, created if it isn't there; null without memory. A "\" ends a directory as a "/" does.
char* CreateLogPath() {
    constexpr char szLog[] = "Log/";
    char szPath[PATH_MAX + sizeof szLog] = "";
    GetModuleFileName(nullptr, szPath, PATH_MAX);
    char* lpName = szPath + std::strlen(szPath);
    while (lpName > szPath && lpName[-1] != '/' && lpName[-1] != '\\')
        --lpName;
    std::copy_n(szLog, sizeof szLog, lpName);
    if (access(szPath, F_OK) != 0) CreateDirectory(szPath, nullptr);
    return strdup(szPath);
}

} // namespace

constinit std::atomic<CTraceManage*> CTraceManage::m_pSinstance = nullptr;

void Trace(const char* lpszFunction, int nLevel, int nCode, const char* lpszFormat, ...) {
    const ERRNOKEEPER stKeeper;
    char szText[TRACE_TEXT_MAX + 1];
    va_list lpArguments;
    va_start(lpArguments, lpszFormat);
    const int nLen = vsnprintf(szText, sizeof szText, lpszFormat, lpArguments);
    va_end(lpArguments);
    // A format that fails, as on a wide character that has no bytes, leaves an empty text.
    LogLine(lpszFunction, nLevel, nCode, {szText, std::min<std::size_t>(std::max(nLen, 0), TRACE_TEXT_MAX)});
}

void Trace0(const char* lpszFunction, int nLevel, int nCode, const char* lpszText) {
    const ERRNOKEEPER stKeeper;
    LogLine(lpszFunction, nLevel, nCode, lpszText ? lpszText : "");
}

void InitTraceSystem() {
    InitLanguageSetting(0);
    Trace0("InitTraceSystem", 0, TRACE_CODE_OWN, "客户端组件初始化！");
    // Made here, so that the first statement doesn't pay for it; without memory that one tries again.
    static_cast<void>(CKestroKeywordParse::instance());
}

void ExitTraceSystem() {
    // The name is that of the start. Intended.
    Trace0("InitTraceSystem", 0, TRACE_CODE_OWN, "客户端组件析构！");
    CTraceManage::DestoryInstance();
    CKestroKeywordParse::DestoryInstance();
}

CTraceManage::CTraceManage(int bDirectWrite) : m_pLogPath(CreateLogPath()), m_bDirectWrite(bDirectWrite) {
    pthread_mutexattr_t stRecursive;
    pthread_mutexattr_init(&stRecursive);
    pthread_mutexattr_settype(&stRecursive, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&m_csQueue, &stRecursive);
    pthread_mutexattr_destroy(&stRecursive);
    sem_init(&m_semStop, 0, 0);
    tzset();
    // With direct writing a writer's file of the same second would empty ours.
    if (m_bDirectWrite) return;
    if (CreateThreadAllPlateForm(&m_hThread, WriteTraceThread, this) == 0) return;
    m_hThread = 0;
    // Into our own queue: Trace would wait for the instance that is being created here.
    WriteLog(nullptr, "CTraceManage", 0, 1, TRACE_CODE_OWN, Text(MSG_TRACE_NO_WRITER));
}

CTraceManage::~CTraceManage() {
    if (m_hThread) static_cast<void>(StopWriter(50, 100));
    sem_destroy(&m_semStop);
    if (m_pFile) fclose(m_pFile);
    free(m_pLogPath);
    while (GetTrace(nullptr)) {
    }
    pthread_mutex_destroy(&m_csQueue);
}

CTraceManage* CTraceManage::instance() {
    if (CTraceManage* pTrace = m_pSinstance.load(std::memory_order_acquire)) return pTrace;
    CCriticalSectionPtr csInstance(&g_csInstance);
    if (!m_pSinstance.load(std::memory_order_relaxed))
        m_pSinstance.store(new (std::nothrow) CTraceManage, std::memory_order_release);
    return m_pSinstance.load(std::memory_order_relaxed);
}

void CTraceManage::DestoryInstance() {
    std::unique_ptr<CTraceManage> pTrace(m_pSinstance.exchange(nullptr));
    if (!pTrace) return;
    if (pTrace->m_hThread && !pTrace->StopWriter(1000, 1) && !pTrace->StopWriter(50, 100)) {
        // The writer hangs and will still read the object.
        static_cast<void>(pTrace.release());
        return;
    }
    SleepMilliseconds(1);
}

// Whether the writer has ended, asked so many times in such a distance.
bool CTraceManage::StopWriter(int nTimes, int nMilliseconds) {
    const std::atomic_ref bExited(m_bThreadExited);
    sem_post(&m_semStop);
    for (int i = 0; i < nTimes && !bExited.load(std::memory_order_acquire); ++i)
        SleepMilliseconds(nMilliseconds);
    return bExited.load(std::memory_order_acquire) != 0;
}

int CTraceManage::WriteLog(KESTROCRITICALSECTION* pRecord, const char* lpszFunction, int nThreadID, int nLevel,
                           int nCode, std::string_view strText) {
    std::unique_ptr<std::string> pLine;
    if (!m_bDirectWrite) {
        pLine.reset(new (std::nothrow) std::string);
        if (!pLine) return 1;
    }
    SYSTEMTIME stNow{};
    GetLocalTime(&stNow);
    char szHead[TRACE_HEAD_SIZE];
    const std::string_view strHead =
        FormatHead(szHead, stNow, nThreadID ? nThreadID : CurrentThreadID(), nLevel, nCode, lpszFunction);
    if (m_bDirectWrite) return WriteDirect(strHead, strText);
    pLine->reserve(strHead.size() + strText.size());
    pLine->append(strHead).append(strText);
    AddTrace(std::move(pLine), pRecord);
    return 1;
}

void CTraceManage::AddTrace(std::unique_ptr<std::string> pText, KESTROCRITICALSECTION* pRecord) {
    // Made in front of the lock, and freed behind it when there is no room.
    std::unique_ptr<TRACENODE> pNode(new (std::nothrow) TRACENODE{pText.get(), nullptr});
    if (!pNode) return;
    CKestroCriticalSectionPtr csQueue(&m_csQueue, pRecord);
    if (m_nCount >= TRACE_QUEUE_MAX) return;
    (m_pTail ? m_pTail->m_pNext : m_pHead) = pNode.get();
    m_pTail = pNode.release();
    ++m_nCount;
    static_cast<void>(pText.release());
}

std::unique_ptr<std::string> CTraceManage::GetTrace(KESTROCRITICALSECTION* pRecord) {
    std::unique_ptr<TRACENODE> pNode;
    CKestroCriticalSectionPtr csQueue(&m_csQueue, pRecord);
    if (!m_pHead) return nullptr;
    pNode.reset(m_pHead);
    m_pHead = m_pHead->m_pNext;
    --m_nCount;
    if (!m_pHead) {
        m_pTail = nullptr;
        m_nCount = 0;
    }
    csQueue.UnLock();
    return std::unique_ptr<std::string>(pNode->m_pText);
}
