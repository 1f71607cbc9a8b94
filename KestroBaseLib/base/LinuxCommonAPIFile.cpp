// Files: the program's path, directories, the size of streams, and file handles. A handle is a heap-allocated int with
// the descriptor. Reading and writing go straight to the descriptor and aren't wrapped here.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "LinuxCommonAPI.h"
#include "Platform.h"

namespace {

/** Longest directory of PATH that is looked into; the rest of a longer one is cut. */
constexpr int PATH_DIRECTORY_MAX = 252;

int ReadProgramPath(char* lpszBuffer, UINT nSize) {
    char szLink[MAX_PATH];
    std::snprintf(szLink, sizeof(szLink), "%s/self/exe", g_stPlatform.m_lpszProcPath);
    const ssize_t nLen = readlink(szLink, lpszBuffer, nSize - 1);
    lpszBuffer[nLen > 0 ? nLen : 0] = 0;
    return 0;
}

// A candidate that doesn't fit isn't looked up, since what is left of it names another file. An empty directory is
// passed over.
int FindInPath(const char* lpszModule, char* lpszBuffer, UINT nSize) {
    const char* p = std::getenv("PATH");
    while (p && *p) {
        const int nLen = static_cast<int>(std::strcspn(p, ":"));
        const int nCut = nLen < PATH_DIRECTORY_MAX ? nLen : PATH_DIRECTORY_MAX;
        const int nNeed = std::snprintf(lpszBuffer, nSize, "%.*s/%s", nCut, p, lpszModule);
        if (nLen > 0 && nNeed > 0 && static_cast<UINT>(nNeed) < nSize && access(lpszBuffer, F_OK) == 0) return 0;
        p += nLen;
        if (*p == ':') ++p;
    }
    return -1;
}

/** What a disposition asks of open(2), by access: read, write, both. */
constexpr int NOT_ALLOWED = -1;
struct OPENROW {
    DWORD m_nDisposition;
    int m_arFlags[3];
};
constexpr OPENROW s_arOpen[] = {
    {CREATE_NEW, {O_CREAT, O_CREAT | O_WRONLY, O_CREAT | O_RDWR}},
    {CREATE_ALWAYS, {O_CREAT, O_CREAT | O_WRONLY, O_CREAT | O_RDWR}},
    {OPEN_EXISTING, {O_RDONLY, O_WRONLY, O_RDWR}},
    {OPEN_ALWAYS, {O_CREAT, O_CREAT | O_WRONLY, O_CREAT | O_RDWR}},
    {TRUNCATE_EXISTING, {NOT_ALLOWED, O_TRUNC | O_WRONLY, O_TRUNC | O_RDWR}},
};

int OpenFlags(DWORD nAccess, DWORD nDisposition, DWORD nFlags) {
    const bool bRead = nAccess & GENERIC_READ;
    const bool bWrite = nAccess & GENERIC_WRITE;
    if (!bRead && !bWrite) return NOT_ALLOWED;
    const OPENROW& stRow = s_arOpen[nDisposition - 1];
    const int nOpen = stRow.m_arFlags[bRead ? (bWrite ? 2 : 0) : 1];
    if (nOpen == NOT_ALLOWED) return NOT_ALLOWED;
    return nOpen | O_CLOEXEC | ((nFlags & FILE_FLAG_NO_BUFFERING) ? O_DIRECT | O_SYNC : 0);
}

/** The descriptor, or -1 with errno. */
int OpenDescriptor(const char* lpszPath, bool bExists, DWORD nAccess, DWORD nDisposition, DWORD nFlags) {
    const int nOpen = OpenFlags(nAccess, nDisposition, nFlags);
    int nError = 0;
    if (nOpen == NOT_ALLOWED) nError = EINVAL;
    if (nDisposition == CREATE_NEW && bExists) nError = EEXIST;
    if (nDisposition == OPEN_EXISTING && !bExists) nError = ENOENT;
    if (nError == 0) return open(lpszPath, nOpen, 0600);
    errno = nError;
    return -1;
}

} // namespace

int GetModuleFileName(const char* lpszModule, char* lpszBuffer, UINT nSize) {
    if (!lpszBuffer || nSize == 0) return lpszModule ? -1 : 0;
    if (!lpszModule) return ReadProgramPath(lpszBuffer, nSize);
    if (!std::strchr(lpszModule, '/')) return FindInPath(lpszModule, lpszBuffer, nSize);
    // The path is known, so nothing was looked for: -1 it is.
    std::snprintf(lpszBuffer, nSize, "%s", lpszModule);
    return -1;
}

int CreateDirectory(const char* lpszPath, void*) {
    return mkdir(lpszPath, 0777);
}

bool DeleteFile(const char* lpszPath) {
    return lpszPath && std::remove(lpszPath) == 0;
}

HANDLE Kestro_OpenFile(const char* lpszPath, DWORD nAccess, DWORD, DWORD nDisposition, DWORD nFlags) {
    if (!lpszPath) {
        errno = EINVAL;
        return nullptr;
    }
    if (nDisposition < CREATE_NEW || nDisposition > TRUNCATE_EXISTING) nDisposition = CREATE_ALWAYS;
    const bool bExists = access(lpszPath, F_OK) == 0;
    if (nDisposition == CREATE_ALWAYS && bExists && std::remove(lpszPath) != 0) return nullptr;

    std::unique_ptr<int> lpHandle(new (std::nothrow) int);
    if (!lpHandle) {
        errno = ENOMEM;
        return nullptr;
    }
    *lpHandle = OpenDescriptor(lpszPath, bExists, nAccess, nDisposition, nFlags);
    // A file that could not be opened gets the mode too. Intended.
    const int nError = errno;
    (void)chmod(lpszPath, 0666);
    errno = nError;
    return *lpHandle < 0 ? nullptr : lpHandle.release();
}

void Kestro_CloseFile(HANDLE hFile) {
    if (!hFile) return;
    const std::unique_ptr<int> lpHandle(static_cast<int*>(hFile));
    close(*lpHandle);
}

int Kestro_SeekFile(HANDLE hFile, long long nOffset, DWORD nOrigin) {
    static_assert(FILE_BEGIN == SEEK_SET && FILE_CURRENT == SEEK_CUR && FILE_END == SEEK_END && sizeof(off_t) == 8);
    if (!hFile || nOrigin > FILE_END) return -1;
    return lseek(*static_cast<int*>(hFile), nOffset, static_cast<int>(nOrigin)) < 0 ? -1 : 0;
}

long long Kestro_GetFileSize(HANDLE hFile) {
    if (!hFile) return 0;
    const int nFile = *static_cast<int*>(hFile);
    const off_t nPosition = lseek(nFile, 0, SEEK_CUR);
    if (nPosition < 0) return 0;
    const off_t nSize = lseek(nFile, 0, SEEK_END);
    if (lseek(nFile, nPosition, SEEK_SET) < 0 || nSize < 0) return 0;
    return nSize;
}

long long GetFileSize(FILE* lpFile, void*) {
    if (!lpFile) return 0;
    const off_t nPosition = ftello(lpFile);
    if (nPosition < 0 || fseeko(lpFile, 0, SEEK_END) != 0) return 0;
    const off_t nSize = ftello(lpFile);
    if (fseeko(lpFile, nPosition, SEEK_SET) != 0 || nSize < 0) return 0;
    return nSize;
}
