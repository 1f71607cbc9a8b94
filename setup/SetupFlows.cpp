// The flow behind the driver for a master. The one for a node that joins stands in SetupJoin.cpp.

#include "SetupFlows.h"

#include "CreateDataFile.h"
#include "SetupBringUpMessages.h"
#include "SetupService.h"

bool StartInstance(SETUPPARAM& stParam) {
    if (!StartServices(g_stMasterService)) return false;
    const int nResult =
        CreateDataFile(stParam.m_szDataFile, stParam.m_szTreeFile, stParam.m_szKVFile, stParam.m_szTableFile,
                       stParam.m_szIndexFile, stParam.m_szLocalIP, stParam.m_usListenPort, nullptr);
    if (nResult == 0) return true;
    Say<MSG_DATA_FILES_FAILED>(nResult);
    return false;
}
