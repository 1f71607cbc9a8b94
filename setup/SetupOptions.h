#pragma once

#include "SetupParam.h"

// The command line of a run without questions. Each function says what is wrong before it answers false.

/**
 * The installation type: SETUP_MASTER or SETUP_SLAVE, by the value behind the first "-type" at an odd place. 0, without
 * a message, if there is none or if it names another type; the standby node exists in the dialogue only.
 */
[[nodiscard]] int FindSetupType(int argc, char* argv[]);

/** Walks all options of a type into its parameters. */
[[nodiscard]] bool ReadOptions(int nType, int argc, char* argv[], SETUPPARAM& stParam);

/** Checks the parameters of a type in the order told to operators, and parses the addresses. */
[[nodiscard]] bool CheckOptions(int nType, SETUPPARAM& stParam);
