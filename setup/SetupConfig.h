#pragma once

#include "SetupParam.h"

/** Whether it has been said that the configuration can't be written; once is enough for a run. */
inline bool g_bConfigNotWrittenSaid = false;

/** Writes a key to the configuration file. A file that can't be written is said once, and the run goes on. */
void WriteConfigKey(const char* lpszSection, const char* lpszKey, const char* lpszValue);

/**
 * Write the keys of a new node: a master's before its instance directory is made, a joining node's after its login at
 * the master.
 */
void WriteMasterConfig(const SETUPPARAM& stParam);
void WriteJoinConfig(const SETUPPARAM& stParam);
