#pragma once

#include "TypeDef.h"

// The paths of an installation, set once at start-up from the program's own place and read by all flows. Those of
// directories end with a slash.

/** Root of the installation: the parent of the program's directory. */
extern char g_lpBaseFilePath[MAX_PATH];
/** The program's directory, where the configuration file lies. */
extern char g_lpWorkingPath[MAX_PATH];
/** Root of all instance data; compared with the master's path in a join. */
extern char g_lpDataFilePath[MAX_PATH];
/** The instance directory, with System.dbf and all data files. */
extern char g_lpDatabasePath[MAX_PATH];
/** The configuration file. */
extern char g_lpConfigPath[MAX_PATH];

/** The name of an instance. */
constexpr const char* INSTANCE_NAME = "Kestro";

/**
 * Sets all paths from the path of the program file. False, with the paths in any state, if that has no directory above
 * its own or if a path doesn't fit.
 */
[[nodiscard]] bool SetPaths(const char* lpszProgram);

/** Sets the instance directory, below the root of all data, by the instance's name. False if it doesn't fit. */
[[nodiscard]] bool SetDatabasePath(const char* lpszInstance);
