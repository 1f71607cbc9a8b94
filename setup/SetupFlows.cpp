// The flows behind the driver. Neither is built yet: no service is started, no master is asked, and so no run can end
// as a success.

#include "SetupFlows.h"

bool StartInstance(const SETUPPARAM&) {
    return false;
}

JOINEND JoinCluster(int, bool, SETUPPARAM&) {
    return JOINEND::Failed;
}
