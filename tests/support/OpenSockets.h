#pragma once

#include <sys/stat.h>

/** How many of this process's first files are sockets. */
inline int OpenSockets() {
    int nSockets = 0;
    for (int nFile = 0; nFile < 100; ++nFile) {
        struct stat stFile {};
        nSockets += fstat(nFile, &stFile) == 0 && S_ISSOCK(stFile.st_mode);
    }
    return nSockets;
}
