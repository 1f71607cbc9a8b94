#pragma once

#include "SetupFlows.h"

class CDBInterface;

/**
 * Logs in at the master and checks that the node fits: the same deployment path, and a master's role. A slave node is
 * sent on to the real master, however often; `stParam` then holds that one's address. `Done`: the connection is logged
 * in, and `nID` the id of the instance. What failed has been said.
 */
[[nodiscard]] JOINEND LogInAtMaster(int nMode, bool bDialogue, CDBInterface& stMaster, SETUPPARAM& stParam, int& nID);

/**
 * Waits until the master is open; a slave node without a dialogue doesn't wait. A standby node takes the id anew.
 * False: the run fails, which has been said if there is something to say.
 */
[[nodiscard]] bool AwaitMasterOpen(int nMode, bool bDialogue, CDBInterface& stMaster, int& nID);
