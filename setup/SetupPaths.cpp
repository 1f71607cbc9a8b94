// The path globals of the setup program, and how they follow from the program's own place.

#include "SetupPaths.h"

#include <cstdio>
#include <string_view>

char g_lpBaseFilePath[MAX_PATH];
char g_lpWorkingPath[MAX_PATH];
char g_lpDataFilePath[MAX_PATH];
char g_lpDatabasePath[MAX_PATH];
char g_lpConfigPath[MAX_PATH];

namespace {

using PATHTEXT = char[MAX_PATH];

bool FormatPath(PATHTEXT& szPath, std::string_view strBase, const char* lpszBelow) {
    const int nLen =
        std::snprintf(szPath, MAX_PATH, "%.*s%s", static_cast<int>(strBase.size()), strBase.data(), lpszBelow);
    return nLen >= 0 && nLen < static_cast<int>(MAX_PATH);
}

// What stands in front of the last slash at or before a place, slash included; empty without one.
std::string_view CutBehindSlash(std::string_view strPath) {
    return strPath.substr(0, strPath.rfind('/') + 1);
}

} // namespace

bool SetPaths(const char* lpszProgram) {
    const std::string_view strWorking = CutBehindSlash(lpszProgram);
    if (strWorking.empty()) return false;
    const std::string_view strBase = CutBehindSlash(strWorking.substr(0, strWorking.size() - 1));
    if (strBase.empty()) return false;
    return FormatPath(g_lpWorkingPath, strWorking, "") && FormatPath(g_lpBaseFilePath, strBase, "") &&
           FormatPath(g_lpDataFilePath, strBase, "Data/") &&
           FormatPath(g_lpConfigPath, strWorking, "KestroConfig.ini") && SetDatabasePath(INSTANCE_NAME);
}

bool SetDatabasePath(const char* lpszInstance) {
    const int nLen = std::snprintf(g_lpDatabasePath, MAX_PATH, "%s%s/", g_lpDataFilePath, lpszInstance);
    return nLen >= 0 && nLen < static_cast<int>(MAX_PATH);
}
