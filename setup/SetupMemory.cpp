// Whether the machine has the memory for an instance. By its total memory, not by what is free at the moment.

#include "SetupMemory.h"

#include <initializer_list>

#include "LinuxCommonAPI.h"
#include "LinuxCommonAPIProfile.h"
#include "SetupPaths.h"

namespace {

/** Fixed needs beside the files: in MB, and in kilobytes. */
constexpr int MEMORY_FIXED_MB = 100;
constexpr int MEMORY_FIXED_KB = 34049;
/** Kilobytes of the machine that no instance may count on. */
constexpr double MEMORY_OF_SYSTEM_KB = 1048576;
constexpr double MEMORY_SHARE_REFUSED = 0.95;
constexpr double MEMORY_SHARE_WARNED = 0.8;
constexpr int UNDO_AREA_DEFAULT_MB = 256;

} // namespace

double NeededMemory(const SETUPPARAM& stParam, int nUndoAreaSize) {
    __int128 nMegabytes = __int128{MEMORY_FIXED_MB} + nUndoAreaSize;
    for (const char* lpszSize : {stParam.m_szSystemFile, stParam.m_szDataFile, stParam.m_szTreeFile, stParam.m_szKVFile,
                                 stParam.m_szCacheSize})
        nMegabytes += std::strtoll(lpszSize, nullptr, 10);
    return static_cast<double>(nMegabytes * 1024 + MEMORY_FIXED_KB);
}

MEMORYVERDICT JudgeMemory(double dNeed, long long nMemTotal) {
    const double dLimit = static_cast<double>(nMemTotal) - MEMORY_OF_SYSTEM_KB;
    if (dNeed > dLimit * MEMORY_SHARE_REFUSED) return MEMORYVERDICT::Short;
    return dNeed > dLimit * MEMORY_SHARE_WARNED ? MEMORYVERDICT::Tight : MEMORYVERDICT::Enough;
}

MEMORYVERDICT CheckMemory(const SETUPPARAM& stParam) {
    const int nUndo = GetPrivateProfileInt("System", "undoareasize", UNDO_AREA_DEFAULT_MB, g_lpConfigPath);
    long long nTotal = 0;
    long long nFree = 0;
    long long nAvailable = 0;
    get_mem_info(nTotal, nFree, nAvailable);
    return JudgeMemory(NeededMemory(stParam, nUndo), nTotal);
}
