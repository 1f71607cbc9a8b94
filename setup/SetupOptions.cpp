// The command line: options of the two types that run without questions, one row each, and the checks behind them.
// Names are matched without regard to case. An option takes the next argument unless that begins with "-"; then it is
// passed over and its parameter stays as it was.

#include "SetupOptions.h"

#include <strings.h>
#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <span>

#include "LocalAddress.h"
#include "SetupAddress.h"
#include "SetupMessages.h"

namespace {

constexpr const char* TYPE_OPTION = "-type";

struct OPTIONROW {
    const char* m_lpszName;
    SETUPTEXT SETUPPARAM::*m_lpText;
};

constexpr OPTIONROW g_stMasterOptions[] = {
    {"-ip", &SETUPPARAM::m_szLocalIP},
    {"-vip", &SETUPPARAM::m_szVirtualIP},
    {"-systemfile", &SETUPPARAM::m_szSystemFile},
    {"-datafile", &SETUPPARAM::m_szDataFile},
    {"-treefile", &SETUPPARAM::m_szTreeFile},
    {"-kvfile", &SETUPPARAM::m_szKVFile},
    {"-tablefile", &SETUPPARAM::m_szTableFile},
    {"-indexfile", &SETUPPARAM::m_szIndexFile},
    {"-cachesize", &SETUPPARAM::m_szCacheSize},
    {"-logs", &SETUPPARAM::m_szLogs},
    {"-userrestrict", &SETUPPARAM::m_szUserRestrict},
};

constexpr OPTIONROW g_stSlaveOptions[] = {
    {"-ip", &SETUPPARAM::m_szLocalIP},
    {"-masterip", &SETUPPARAM::m_szMasterIP},
    {"-masterport", &SETUPPARAM::m_szMasterPort},
    {"-user", &SETUPPARAM::m_szUser},
    {"-password", &SETUPPARAM::m_szPassword},
};

const OPTIONROW* FindOption(int nType, const char* lpszName) {
    const std::span<const OPTIONROW> stRows = nType == SETUP_MASTER ? std::span<const OPTIONROW>(g_stMasterOptions)
                                                                    : std::span<const OPTIONROW>(g_stSlaveOptions);
    for (const OPTIONROW& stRow : stRows)
        if (strcasecmp(stRow.m_lpszName, lpszName) == 0) return &stRow;
    return nullptr;
}

bool IsTypeOption(const char* lpszArgument) {
    return strcasecmp(lpszArgument, TYPE_OPTION) == 0;
}

// A text without a number in it isn't the number 0, which would open root, still without a password, to every host.
int ParseUserRestrict(const char* lpszText) {
    char* lpszEnd = nullptr;
    const long nValue = std::strtol(lpszText, &lpszEnd, 10);
    return lpszEnd == lpszText ? 1 : static_cast<int>(std::clamp<long>(nValue, INT_MIN, INT_MAX));
}

bool CheckLocalIP(const SETUPPARAM& stParam, bool bFormat) {
    if (!bFormat) {
        Say<MSG_IP_FORMAT>(stParam.m_szLocalIP);
        return false;
    }
    if (stParam.m_nLocalIP != 0 && CheckLocalIPValid(stParam.m_nLocalIP) == 0) {
        Say<MSG_LOCAL_IP_ABSENT>();
        return false;
    }
    return true;
}

// A virtual address that doesn't parse at all is taken as it stands, an absent one among them. Intended.
bool CheckVirtualIP(const SETUPPARAM& stParam) {
    const std::uint32_t nIP = ParseAddress(stParam.m_szVirtualIP);
    if (nIP == ADDRESS_NONE) return true;
    if (!HasFourNumbers(stParam.m_szVirtualIP) || !IsNodeAddress(nIP)) {
        Say<MSG_VIP_FORMAT>(stParam.m_szVirtualIP);
        return false;
    }
    if (nIP == stParam.m_nLocalIP) {
        Say<MSG_VIP_IS_LOCAL>(stParam.m_szVirtualIP);
        return false;
    }
    return true;
}

bool CheckMasterOptions(SETUPPARAM& stParam) {
    stParam.m_nLocalIP = ParseAddress(stParam.m_szLocalIP);
    if (!CheckLocalIP(stParam, stParam.m_nLocalIP == 0 || IsNodeAddress(stParam.m_nLocalIP))) return false;
    if (!CheckVirtualIP(stParam)) return false;
    if (!SystemFileInRange(stParam)) {
        Say<MSG_SYSTEM_FILE_SMALL>();
        return false;
    }
    if (!LogsInRange(stParam)) {
        Say<MSG_LOGS_RANGE>();
        return false;
    }
    return true;
}

bool CheckSlaveOptions(SETUPPARAM& stParam) {
    stParam.m_nLocalIP = ParseAddress(stParam.m_szLocalIP);
    if (!CheckLocalIP(stParam, IsNodeAddress(stParam.m_nLocalIP))) return false;
    stParam.m_nMasterIP = ParseAddress(stParam.m_szMasterIP);
    if (!HasFourNumbers(stParam.m_szMasterIP) || !IsNodeAddress(stParam.m_nMasterIP)) {
        SayAddress<MSG_MASTER_IP_FORMAT>(stParam.m_nMasterIP);
        return false;
    }
    return true;
}

} // namespace

int FindSetupType(int argc, char* argv[]) {
    // Only arguments at odd places count in this search. Intended.
    for (int i = 1; i < argc; i += 2) {
        if (!IsTypeOption(argv[i])) continue;
        const long nType = i + 1 < argc ? std::strtol(argv[i + 1], nullptr, 10) : 0;
        return nType == SETUP_MASTER || nType == SETUP_SLAVE ? static_cast<int>(nType) : 0;
    }
    return 0;
}

bool ReadOptions(int nType, int argc, char* argv[], SETUPPARAM& stParam) {
    for (int i = 1; i < argc; ++i) {
        if (IsTypeOption(argv[i])) {
            ++i;
            continue;
        }
        const OPTIONROW* lpRow = FindOption(nType, argv[i]);
        if (!lpRow) {
            Say<MSG_UNKNOWN_PARAMETER>(argv[i]);
            return false;
        }
        if (i + 1 >= argc || argv[i + 1][0] == '-') continue;
        ++i;
        // Half an address or a cut size would pass for another one. The value itself may be a password: it isn't shown.
        if (std::strlen(argv[i]) >= SETUP_TEXT_SIZE) {
            Say<MSG_VALUE_TOO_LONG>(static_cast<int>(SETUP_TEXT_SIZE - 1), lpRow->m_lpszName);
            return false;
        }
        KeepText(stParam.*lpRow->m_lpText, argv[i]);
    }
    stParam.m_nUserRestrict = ParseUserRestrict(stParam.m_szUserRestrict);
    return true;
}

bool CheckOptions(int nType, SETUPPARAM& stParam) {
    return nType == SETUP_MASTER ? CheckMasterOptions(stParam) : CheckSlaveOptions(stParam);
}
