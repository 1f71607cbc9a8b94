// Readers of the process file system: memory of the machine and of this process, load of the processors. Lines are cut
// at 255 bytes, and a number out of range becomes the largest or smallest one.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "LinuxCommonAPI.h"
#include "Platform.h"

namespace {

constexpr int PROC_LINE_MAX = 256;

STREAMPTR OpenProc(const char* lpszName) {
    char szPath[MAX_PATH];
    std::snprintf(szPath, sizeof(szPath), "%s/%s", g_stPlatform.m_lpszProcPath, lpszName);
    return STREAMPTR(std::fopen(szPath, "re"));
}

STREAMPTR OpenOwnProc(const char* lpszName) {
    char szName[64];
    std::snprintf(szName, sizeof(szName), "%d/%s", static_cast<int>(getpid()), lpszName);
    return OpenProc(szName);
}

/** Moves behind the next word. */
const char* SkipWord(const char* p) {
    p += std::strspn(p, " \t");
    return p + std::strcspn(p, " \t\r\n");
}

/** The number behind `nWords` words of a line; false if none stands there. */
bool NumberBehind(const char* lpszLine, int nWords, long long& nValue) {
    for (int i = 0; i < nWords; ++i)
        lpszLine = SkipWord(lpszLine);
    char* lpEnd = nullptr;
    const long long nRead = std::strtoll(lpszLine, &lpEnd, 10);
    if (lpEnd == lpszLine) return false;
    nValue = nRead;
    return true;
}

/** User, nice, system, idle, iowait, irq, softirq: time since the start in clock ticks, summed over the processors. */
constexpr int CPU_COUNTERS = 7;
constexpr int CPU_IDLE = 3;
struct CPUTIMES {
    long long m_arTicks[CPU_COUNTERS]{};
};

CPUTIMES ReadCpuTimes(FILE* lpFile) {
    CPUTIMES stTimes;
    char szLine[PROC_LINE_MAX];
    while (std::fgets(szLine, sizeof(szLine), lpFile)) {
        if (!std::strstr(szLine, "cpu")) continue;
        for (int i = 0; i < CPU_COUNTERS && NumberBehind(szLine, i + 1, stTimes.m_arTicks[i]); ++i) {
        }
        break;
    }
    return stTimes;
}

/** In single precision, as counters may also run backwards the result need not lie between 0 and 100. */
int BusyPercent(const CPUTIMES& stFirst, const CPUTIMES& stSecond) {
    // Unsigned sums wrap instead of overflowing, whatever the file holds.
    unsigned long long nTotal = 0;
    for (int i = 0; i < CPU_COUNTERS; ++i)
        nTotal += static_cast<unsigned long long>(stSecond.m_arTicks[i]) -
                  static_cast<unsigned long long>(stFirst.m_arTicks[i]);
    const unsigned long long nIdle = static_cast<unsigned long long>(stSecond.m_arTicks[CPU_IDLE]) -
                                     static_cast<unsigned long long>(stFirst.m_arTicks[CPU_IDLE]);
    if (nTotal == 0) return 0;
    const float fIdle = static_cast<float>(static_cast<long long>(nIdle));
    const float fTotal = static_cast<float>(static_cast<long long>(nTotal));
    const float fBusy = 100.0F - 100.0F * fIdle / fTotal + 0.5F;
    return fBusy > -1e9F && fBusy < 1e9F ? static_cast<int>(fBusy) : 0;
}

} // namespace

void get_mem_info(long long& nTotal, long long& nFree, long long& nAvailable) {
    nTotal = 0;
    nFree = 0;
    const STREAMPTR lpFile = OpenProc("meminfo");
    if (!lpFile) return;
    nAvailable = 0;
    struct MEMROW {
        const char* m_lpszWord;
        long long* m_lpValue;
    };
    // Each figure has its fixed line; elsewhere it isn't looked for.
    for (const MEMROW& stRow :
         {MEMROW{"MemTotal", &nTotal}, MEMROW{"MemFree", &nFree}, MEMROW{"MemAvailable", &nAvailable}}) {
        char szLine[PROC_LINE_MAX];
        if (!std::fgets(szLine, sizeof(szLine), lpFile.get())) return;
        if (std::strstr(szLine, stRow.m_lpszWord)) (void)NumberBehind(szLine, 1, *stRow.m_lpValue);
    }
}

void get_processmem_info(long long& nVmSize, long long& nVmPeak, long long& nVmRss, long long& nVmHwm,
                         long long& nStatm) {
    struct STATUSROW {
        const char* m_lpszWord;
        long long* m_lpValue;
    };
    const STATUSROW arRows[] = {{"VmSize", &nVmSize}, {"VmPeak", &nVmPeak}, {"VmRSS", &nVmRss}, {"VmHWM", &nVmHwm}};
    char szLine[PROC_LINE_MAX];
    if (const STREAMPTR lpFile = OpenOwnProc("status"); lpFile) {
        while (std::fgets(szLine, sizeof(szLine), lpFile.get()))
            for (const STATUSROW& stRow : arRows)
                if (std::strstr(szLine, stRow.m_lpszWord)) (void)NumberBehind(szLine, 1, *stRow.m_lpValue);
    }
    if (const STREAMPTR lpFile = OpenOwnProc("statm"); lpFile && std::fgets(szLine, sizeof(szLine), lpFile.get()))
        (void)NumberBehind(szLine, 6, nStatm);
}

void get_cpu_info(int& nBusy) {
    nBusy = 0;
    const STREAMPTR lpFile = OpenProc("stat");
    if (!lpFile) return;
    const CPUTIMES stFirst = ReadCpuTimes(lpFile.get());
    SleepMicroseconds(1'000'000);
    std::rewind(lpFile.get());
    nBusy = BusyPercent(stFirst, ReadCpuTimes(lpFile.get()));
}
