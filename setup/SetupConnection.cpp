// Connections to servers that are on their way up.

#include "SetupConnection.h"

#include "DBInterface.h"
#include "KestroErrorCode.h"
#include "Platform.h"

int ConnectAsRoot(CDBInterface& stConnection, std::uint32_t nIP, std::uint16_t usPort, int nAttempts) {
    char szUser[] = "root";
    char szPassword[] = "";
    for (int i = 1;; ++i) {
        const int nCode = stConnection.OpenWithAddress(szUser, szPassword, nIP, usPort, 1);
        if (nCode == ERR_OK || i >= nAttempts) return nCode;
        SleepMilliseconds(1000);
    }
}
