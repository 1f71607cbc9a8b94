// The keys that the driver writes to the configuration file, one row each, in the order of writing. What the system
// file adds stands with it.

#include "SetupConfig.h"

#include <span>

#include "LinuxCommonAPIProfile.h"
#include "SetupAddress.h"
#include "SetupMessage.h"
#include "SetupPaths.h"

namespace {

struct CONFIGROW {
    const char* m_lpszSection;
    const char* m_lpszKey;
    const char* m_lpszValue;
};

constexpr const char* SYSTEM = "System";
constexpr const char* CONFIG = "Config";

void WriteRows(std::span<const CONFIGROW> stRows) {
    for (const CONFIGROW& stRow : stRows)
        WriteConfigKey(stRow.m_lpszSection, stRow.m_lpszKey, stRow.m_lpszValue);
}

} // namespace

void WriteConfigKey(const char* lpszSection, const char* lpszKey, const char* lpszValue) {
    if (WritePrivateProfileString(lpszSection, lpszKey, lpszValue, g_lpConfigPath) || g_bConfigNotWrittenSaid) return;
    g_bConfigNotWrittenSaid = true;
    Say<MSG_CONFIG_NOT_WRITTEN>(g_lpConfigPath);
}

void WriteMasterConfig(const SETUPPARAM& stParam) {
    SETUPTEXT szLocal{};
    FormatAddress(szLocal, stParam.m_nLocalIP);
    const CONFIGROW stRows[] = {
        {SYSTEM, "listenip", szLocal},       {CONFIG, "cluster", stParam.m_nLocalIP == 0 ? "0" : "1"},
        {CONFIG, "clusterlocalip", szLocal}, {CONFIG, "clusterhostip", szLocal},
        {CONFIG, "clusternode", "0"},        {CONFIG, "clustervip", stParam.m_szVirtualIP},
        {CONFIG, "clusteriplist", ""},       {CONFIG, "clusterconnectpools", "32"},
    };
    WriteRows(stRows);
}

void WriteJoinConfig(const SETUPPARAM& stParam) {
    SETUPTEXT szLocal{};
    SETUPTEXT szMaster{};
    FormatAddress(szLocal, stParam.m_nLocalIP);
    FormatAddress(szMaster, stParam.m_nMasterIP);
    const CONFIGROW stRows[] = {
        {SYSTEM, "listenip", szLocal},       {CONFIG, "cluster", "1"},
        {CONFIG, "clusternode", "0"},        {CONFIG, "clusterlocalip", szLocal},
        {CONFIG, "clusterhostip", szMaster}, {CONFIG, "clustervip", "0.0.0.0"},
        {CONFIG, "clusteriplist", ""},       {CONFIG, "clusterconnectpools", "32"},
    };
    WriteRows(stRows);
}
