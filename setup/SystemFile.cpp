// Creates System.dbf: the head from the configuration, the objects through SystemFileObject.cpp, then the write. The
// file is written from one buffer without a second copy in the stream, whatever its size.

#include "SystemFile.h"

#include <arpa/inet.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "KestroErrorCode.h"
#include "LinuxCommonAPI.h"
#include "LinuxCommonAPIProfile.h"
#include "Platform.h"
#include "SetupConfig.h"
#include "SetupPaths.h"
#include "SystemFileMessages.h"

namespace {

struct FREEMEMORY {
    void operator()(void* lpMemory) const { std::free(lpMemory); }
};
using BUFFERPTR = std::unique_ptr<BYTE, FREEMEMORY>;

// The objects that every instance begins with, in the order of their blocks.
constexpr int SYSTEMFILE_INITIAL_OBJECTS[] = {
    1, 2, 3, 4, SYSTEMOBJECT_USER, SYSTEMOBJECT_PRIVILEGE, SYSTEMOBJECT_DATABASE};

// A failure must not look like success, even where the library left no error number.
int ErrorNumber() {
    return errno != 0 ? errno : EIO;
}

// Ticks of 100 nanoseconds since 1 January 1601, times 32.
long long VersionStamp() {
    const auto nTicks = static_cast<std::uint64_t>(NowMicroseconds()) * 10 + 116444736000000000ULL;
    return static_cast<long long>(nTicks << 5);
}

int ConfigInt(const char* lpszKey, int nDefault) {
    return GetPrivateProfileInt("System", lpszKey, nDefault, g_lpConfigPath);
}

// Host order; a text that is no address gives 0xFFFFFFFF.
std::uint32_t ConfigAddress(const char* lpszKey) {
    char lpszAddress[MAX_PATH];
    GetPrivateProfileString("System", lpszKey, "0.0.0.0", lpszAddress, sizeof(lpszAddress), g_lpConfigPath);
    return ntohl(inet_addr(lpszAddress));
}

// The number that a text of the installation gives, held within the limits; an absent or empty one gives the default.
int TextNumber(const char* lpszText, int nDefault, int nMin, int nMax) {
    if (!lpszText || !*lpszText) return nDefault;
    return static_cast<int>(std::clamp<long>(std::strtol(lpszText, nullptr, 10), nMin, nMax));
}

// The values flow back from the tool into the configuration, where the server looks for them.
void WriteConfig(int nBufferCacheSize) {
    char lpszCacheSize[16];
    std::snprintf(lpszCacheSize, sizeof(lpszCacheSize), "%d", nBufferCacheSize);
    WriteConfigKey("System", "databasepath", g_lpDatabasePath);
    WriteConfigKey("System", "buffercachesize", lpszCacheSize);
}

// The buffer, then zeros up to the size. A file below the buffer's size still gets the whole buffer.
int WriteSystemFile(STREAMPTR pFile, BYTE* pBuffer, long long nFileSize) {
    errno = 0;
    if (std::fwrite(pBuffer, 1, SYSTEMFILE_BUFFER_SIZE, pFile.get()) != SYSTEMFILE_BUFFER_SIZE) return ErrorNumber();
    std::memset(pBuffer, 0, SYSTEMFILE_BUFFER_SIZE);
    for (long long nLeft = nFileSize - SYSTEMFILE_BUFFER_SIZE; nLeft > 0; nLeft -= SYSTEMFILE_BUFFER_SIZE) {
        const auto nPiece = static_cast<std::size_t>(std::min<long long>(nLeft, SYSTEMFILE_BUFFER_SIZE));
        if (std::fwrite(pBuffer, 1, nPiece, pFile.get()) != nPiece) return ErrorNumber();
    }
    return std::fclose(pFile.release()) == 0 ? 0 : ErrorNumber();
}

} // namespace

int CreateSystemDataFile(long long nFileSize, char* cachesize, char* logs, int nDatabaseGuid, unsigned short& port,
                         int nUserRestrict) {
    const BUFFERPTR pBuffer(static_cast<BYTE*>(std::calloc(1, SYSTEMFILE_BUFFER_SIZE)));
    if (!pBuffer) {
        const int nError = ErrorNumber();
        Say<MSG_ALLOC_FAILED>(nError);
        return nError;
    }
    char lpszPath[MAX_PATH + sizeof("System.dbf")];
    std::snprintf(lpszPath, sizeof(lpszPath), "%sSystem.dbf", g_lpDatabasePath);
    if (access(lpszPath, F_OK) == 0) {
        Say<MSG_SYSTEM_FILE_EXISTS>(lpszPath);
        return ERR_FAILED;
    }
    STREAMPTR pFile(std::fopen(lpszPath, "w+"));
    if (!pFile) {
        const int nError = ErrorNumber();
        Say<MSG_SYSTEM_FILE_NOT_CREATED>(lpszPath, nError);
        return nError;
    }
    std::setvbuf(pFile.get(), nullptr, _IONBF, 0);

    auto* lpHead = reinterpret_cast<SYSTEMFILEHEAD*>(pBuffer.get());
    ReadSysConfigParam(lpHead, nFileSize, cachesize, logs, port);
    if (nDatabaseGuid != 0) lpHead->m_usDatabaseGuid = static_cast<std::uint16_t>(nDatabaseGuid);
    const long long nStamp = VersionStamp();
    for (const int nObjectID : SYSTEMFILE_INITIAL_OBJECTS) {
        const int nResult = CreateSystemObject(pBuffer.get(), nObjectID, nStamp, nUserRestrict);
        if (nResult != 0) return nResult;
    }
    return WriteSystemFile(std::move(pFile), pBuffer.get(), nFileSize);
}

void ReadSysConfigParam(SYSTEMFILEHEAD* lpHead, long long nFileSize, char* cachesize, char* logs,
                        unsigned short& port) {
    new (lpHead) SYSTEMFILEHEAD();
    lpHead->m_usDatabaseGuid = CreateDatabaseGuid();
    lpHead->m_nFileSize = nFileSize;
    GetPrivateProfileString("System", "databasename", "Kestro", lpHead->m_pDatabaseName,
                            sizeof(lpHead->m_pDatabaseName), g_lpConfigPath);
    std::snprintf(lpHead->m_pDatabasePath, sizeof(lpHead->m_pDatabasePath), "%s", g_lpDatabasePath);

    // Too few processes count as none given.
    const int nProcesses = ConfigInt("processes", 1024);
    lpHead->m_nProcesses = nProcesses > 3 ? nProcesses : 1024;
    lpHead->m_nListenIP = ConfigAddress("listenip");
    lpHead->m_nListenPort = ConfigInt("listenport", 8000);
    lpHead->m_nCharCompareNoCase = ConfigInt("charcomparenocase", 0);
    lpHead->m_nUndoAreaSize = ConfigInt("undoareasize", 768);
    lpHead->m_nProcessPrivateArea = static_cast<int>(static_cast<UINT>(ConfigInt("processprivatearea", 2)) << 20);
    lpHead->m_nPersistenceIntervals = ConfigInt("persistenceintervals", 3);
    lpHead->m_nLogGroups = TextNumber(logs, 4, 3, 64);
    lpHead->m_nPgaMaxSize = ConfigInt("pgamaxsize", 0);
    lpHead->m_nBufferCacheSize = TextNumber(cachesize, 0, 0, INT_MAX);
    // Looked up from [System], and found in [Config] behind it, where the installation writes it.
    lpHead->m_nClusterVIP = ConfigAddress("clustervip");
    lpHead->m_nMaxAllowedPacket = ConfigInt("max_allowed_packet", 0x2000000);
    // Read like its neighbours, but the head has no place for it. Intended.
    static_cast<void>(ConfigAddress("standbyip"));

    WriteConfig(lpHead->m_nBufferCacheSize);
    port = static_cast<unsigned short>(lpHead->m_nListenPort);
}

unsigned short CreateDatabaseGuid() {
    const auto nClock = static_cast<std::uint64_t>(NowMicroseconds());
    for (const int nShift : {0, 16}) {
        const auto nGuid = static_cast<unsigned short>(nClock >> nShift);
        if (nGuid != 0) return nGuid;
    }
    return static_cast<unsigned short>(nClock >> 32);
}
