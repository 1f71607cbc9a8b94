// The path globals of the setup program.

#include "SetupPaths.h"

char g_lpBaseFilePath[MAX_PATH];
char g_lpWorkingPath[MAX_PATH];
char g_lpDataFilePath[MAX_PATH];
char g_lpDatabasePath[MAX_PATH];
char g_lpConfigPath[MAX_PATH];
