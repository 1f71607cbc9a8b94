#pragma once

#include "SetupParam.h"

/**
 * Write the keys of a new node to the configuration file: a master's before its instance directory is made, a joining
 * node's after its login at the master. A file that can't be written is said once, and the run goes on: the server has
 * defaults, and the system file holds the values too.
 */
void WriteMasterConfig(const SETUPPARAM& stParam);
void WriteJoinConfig(const SETUPPARAM& stParam);
