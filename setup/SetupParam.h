#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

/** A parameter as the operator gave it, cut to what fits and zero behind it. */
constexpr std::size_t SETUP_TEXT_SIZE = 32;
using SETUPTEXT = char[SETUP_TEXT_SIZE];

/** Node types, by the numbers of `-type` and of the menu. */
constexpr int SETUP_MASTER = 1;
constexpr int SETUP_SLAVE = 2;
constexpr int SETUP_STANDBY = 4;

/** The smallest System.dbf in MB, and the range of the log group number. */
constexpr long SETUP_SYSTEM_FILE_MIN = 4;
constexpr long SETUP_LOGS_MIN = 3;
constexpr long SETUP_LOGS_MAX = 64;

/**
 * The parameters of an installation. They stay texts until they are used, so that the summary and the configuration
 * show them as they were given. Sizes are in MB.
 */
struct SETUPPARAM {
    SETUPTEXT m_szInstanceName{};
    /** "0" and "0.0.0.0" mean: no cluster. */
    SETUPTEXT m_szLocalIP{};
    SETUPTEXT m_szVirtualIP{};
    SETUPTEXT m_szSystemFile{};
    SETUPTEXT m_szDataFile{};
    SETUPTEXT m_szTreeFile{};
    SETUPTEXT m_szKVFile{};
    SETUPTEXT m_szTableFile{};
    SETUPTEXT m_szIndexFile{};
    SETUPTEXT m_szCacheSize{};
    SETUPTEXT m_szLogs{};
    SETUPTEXT m_szUserRestrict{};

    SETUPTEXT m_szMasterIP{};
    SETUPTEXT m_szMasterPort{};
    SETUPTEXT m_szUser{};
    SETUPTEXT m_szPassword{};

    /** The parsed addresses in host order, known once their texts have passed the checks. */
    std::uint32_t m_nLocalIP = 0;
    std::uint32_t m_nMasterIP = 0;
    /** Port of the local server. */
    std::uint16_t m_usListenPort = 0;
    /** 0 lets the user root log in from any host, any other value from this machine only. */
    int m_nUserRestrict = 1;
};

/** Takes the first 31 bytes of a text; nothing of the value before stays. */
inline void KeepText(SETUPTEXT& szText, const char* lpszFrom) {
    const std::size_t nLen = strnlen(lpszFrom, SETUP_TEXT_SIZE - 1);
    std::memset(szText, 0, SETUP_TEXT_SIZE);
    std::memcpy(szText, lpszFrom, nLen);
}

/** Whether the texts hold numbers in their ranges; a number too large for its type saturates. */
[[nodiscard]] inline bool SystemFileInRange(const SETUPPARAM& stParam) {
    return std::strtol(stParam.m_szSystemFile, nullptr, 10) >= SETUP_SYSTEM_FILE_MIN;
}

[[nodiscard]] inline bool LogsInRange(const SETUPPARAM& stParam) {
    const long nLogs = std::strtol(stParam.m_szLogs, nullptr, 10);
    return nLogs >= SETUP_LOGS_MIN && nLogs <= SETUP_LOGS_MAX;
}
