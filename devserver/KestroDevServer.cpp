// kestrodevserver: stands in for the database server while a client is developed. It speaks the server's side of the
// protocol, knows one row of one table, makes empty data files, has nodes join its cluster, and misbehaves on request.
// It keeps nothing, and removes its shared memory when it ends. The options, and the way from start to end.

#include <arpa/inet.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <new>
#include <optional>

#include "Complain.h"
#include "DevServerListener.h"
#include "DevServerMessages.h"

namespace {

enum EXITSTATUS {
    EXIT_DONE = 0,
    EXIT_RUN = 1,
    EXIT_USE = 2,
};

/** What the command line asks for. */
struct CALL {
    DEVSETTINGS m_stSettings;
    DEVADDRESS m_stListen{INADDR_LOOPBACK, 8000};
    int m_nKey = PROGRESS_SEGMENT_KEY;
    CFaultScript m_stScript;
    bool m_bTrace = false, m_bHelp = false, m_bVersion = false;
    /** What is wrong has been said already. */
    bool m_bTold = false;
};

// --- values of options -----------------------------------------------------------------------------------------------

template <typename T>
bool ReadNumber(std::string_view szText, T nLeast, T nMost, T& nValue) {
    const bool bHex = szText.starts_with("0x");
    if (bHex) szText.remove_prefix(2);
    const auto stResult = std::from_chars(szText.data(), szText.data() + szText.size(), nValue, bHex ? 16 : 10);
    return stResult.ec == std::errc() && stResult.ptr == szText.data() + szText.size() && nValue >= nLeast &&
           nValue <= nMost;
}

bool ReadIP(const std::string& strText, DWORD& dwIP) {
    in_addr stAddress{};
    if (inet_pton(AF_INET, strText.c_str(), &stAddress) != 1) return false;
    dwIP = ntohl(stAddress.s_addr);
    return true;
}

bool ReadAddress(std::string_view szText, DEVADDRESS& stAddress) {
    const std::size_t nColon = szText.find(':');
    return nColon != std::string_view::npos && ReadIP(std::string(szText.substr(0, nColon)), stAddress.m_dwIP) &&
           ReadNumber<USHORT>(szText.substr(nColon + 1), 1, USHRT_MAX, stAddress.m_usPort);
}

bool AddRule(CALL& stCall, std::string_view szLine) {
    std::string strWhy;
    if (stCall.m_stScript.Add(szLine, strWhy)) return true;
    stCall.m_bTold = true;
    Complain<MSG_BAD_RULE>(EXIT_USE, std::string(szLine).c_str(), strWhy.c_str());
    return false;
}

bool ReadScript(CALL& stCall, const char* lpszPath) {
    std::ifstream stFile(lpszPath);
    bool bRead = stFile.is_open();
    std::string strLine;
    while (bRead && std::getline(stFile, strLine))
        if (!AddRule(stCall, strLine)) return false;
    if (bRead && !stFile.bad()) return true;
    stCall.m_bTold = true;
    Complain<MSG_SCRIPT>(EXIT_USE, lpszPath, std::strerror(errno));
    return false;
}

/** An option: without a value name it stands alone. */
struct OPTION {
    std::string_view m_szName;
    std::string_view m_szValue;
    bool (*m_lpfnSet)(CALL& stCall, const char* lpszValue);
    MESSAGE m_stHelp;
};

bool SetPath(CALL& stCall, const char* lpszValue) {
    stCall.m_stSettings.m_strPath = lpszValue;
    if (!stCall.m_stSettings.m_strPath.ends_with('/')) stCall.m_stSettings.m_strPath += '/';
    return *lpszValue != '\0';
}

bool AddNode(CALL& stCall, const char* lpszValue) {
    std::vector<DEVNODE>& arNode = stCall.m_stSettings.m_arNode;
    return arNode.size() < CLUSTER_NODE_MOST && ReadAddress(lpszValue, arNode.emplace_back().m_stAddress);
}

// clang-format off
constexpr OPTION OPTIONS[] = {
    {"--port", "N",
     [](CALL& stCall, const char* lpszValue) {
         return ReadNumber<USHORT>(lpszValue, 0, USHRT_MAX, stCall.m_stListen.m_usPort);
     },
     {"监听端口，默认8000；0表示由系统选择", "port to listen on, 8000 by default; 0: the system picks one"}},
    {"--listen", "IP",
     [](CALL& stCall, const char* lpszValue) { return ReadIP(lpszValue, stCall.m_stListen.m_dwIP); },
     {"监听地址，默认127.0.0.1", "address to listen on, 127.0.0.1 by default"}},
    {"--id", "N",
     [](CALL& stCall, const char* lpszValue) {
         return ReadNumber<int>(lpszValue, 1, USHRT_MAX, stCall.m_stSettings.m_nId);
     },
     {"实例ID，默认1", "id of the instance, 1 by default"}},
    {"--status", "TEXT",
     [](CALL& stCall, const char* lpszValue) {
         stCall.m_stSettings.m_strStatus = lpszValue;
         return true;
     },
     {"实例状态，默认Open", "status of the instance, \"Open\" by default"}},
    {"--starting", "N",
     [](CALL& stCall, const char* lpszValue) {
         return ReadNumber<int>(lpszValue, 0, INT_MAX, stCall.m_stSettings.m_nStarting);
     },
     {"前N次查询时实例状态为Starting，默认0", "the first N queries find the status \"Starting\", none by default"}},
    {"--path", "DIR", SetPath,
     {"数据目录，默认当前目录；只在其中创建文件", "its data directory, by default this one; files are made in it only"}},
    {"--master", "IP:PORT",
     [](CALL& stCall, const char* lpszValue) { return ReadAddress(lpszValue, stCall.m_stSettings.m_stMaster); },
     {"主节点地址；默认本服务器为主节点", "the cluster's master; by default this server"}},
    {"--node", "IP:PORT", AddNode,
     {"集群节点，可重复；默认只有本服务器", "a node of the cluster, again for each; by default this server alone"}},
    {"--key", "N",
     [](CALL& stCall, const char* lpszValue) { return ReadNumber<int>(lpszValue, 0, INT_MAX, stCall.m_nKey); },
     {"进度共享内存的键值，默认0x5342534d；0表示无键值",
      "key of the progress in shared memory, 0x5342534d by default; 0: without"}},
    {"--pace", "N",
     [](CALL& stCall, const char* lpszValue) {
         return ReadNumber<int>(lpszValue, 0, 3'600'000, stCall.m_stSettings.m_nPace);
     },
     {"每部分进度的毫秒数：每个文件或加入集群的每一步分16部分",
      "milliseconds that a part of the progress takes: a file has 16, and each step of a join"}},
    {"--fault", "RULE", [](CALL& stCall, const char* lpszValue) { return AddRule(stCall, lpszValue); },
     {"一条异常行为规则，可重复", "a rule of misbehaviour, again for each"}},
    {"--script", "FILE", ReadScript,
     {"规则脚本，每行一条，“#”后为注释", "rules from a file, one a line; \"#\" begins a comment"}},
    {"--trace", "", [](CALL& stCall, const char*) { return stCall.m_bTrace = true; },
     {"打印每个请求", "print every request"}},
    {"--chinese", "",
     [](CALL&, const char*) {
         g_nLanguage_Chinese = 1;
         return true;
     },
     {"使用中文消息", "messages in Chinese"}},
    {"--help", "", [](CALL& stCall, const char*) { return stCall.m_bHelp = true; },
     {"打印本帮助", "print this help"}},
    {"--version", "", [](CALL& stCall, const char*) { return stCall.m_bVersion = true; },
     {"打印版本", "print the version"}},
};
// clang-format on

const OPTION* FindOption(std::string_view szArgument) {
    for (const OPTION& stOption : OPTIONS)
        if (stOption.m_szName == szArgument) return &stOption;
    return nullptr;
}

int ReadCall(int argc, char* argv[], CALL& stCall) {
    for (int i = 1; i < argc; ++i) {
        const char* const lpszName = argv[i];
        const OPTION* const lpOption = FindOption(lpszName);
        const char* lpszValue = "";
        if (!lpOption) {
            Complain<MSG_UNKNOWN_OPTION>(EXIT_USE, lpszName);
            return Complain<MSG_HINT>(EXIT_USE);
        }
        if (!lpOption->m_szValue.empty()) {
            if (++i == argc) return Complain<MSG_NO_VALUE>(EXIT_USE, lpszName);
            lpszValue = argv[i];
        }
        if (lpOption->m_lpfnSet(stCall, lpszValue)) continue;
        if (stCall.m_bTold) return EXIT_USE;
        return Complain<MSG_BAD_VALUE>(EXIT_USE, lpszName, lpszValue);
    }
    return EXIT_DONE;
}

int WriteHelp() {
    std::string strHelp = Text(MSG_USAGE);
    for (const OPTION& stOption : OPTIONS) {
        const std::string strName = std::string("  ").append(stOption.m_szName).append(" ").append(stOption.m_szValue);
        strHelp.append(strName).append(20 - strName.size(), ' ').append(Text(stOption.m_stHelp)).append("\n");
    }
    strHelp.append(Text(MSG_USAGE_FAULTS)).append(CFaultScript::Help()).append(Text(MSG_USAGE_END));
    return std::fputs(strHelp.c_str(), stdout) < 0 || std::fflush(stdout) != 0 ? EXIT_RUN : EXIT_DONE;
}

// --- from start to end -----------------------------------------------------------------------------------------------

/**
 * The signals that end the server, to be read from a file; no thread is interrupted by them. The end of its terminal is
 * one, unless the server was started to outlive that. -1 with errno.
 */
int OpenSignals() {
    sigset_t stSet;
    sigemptyset(&stSet);
    sigaddset(&stSet, SIGTERM);
    sigaddset(&stSet, SIGINT);
    struct sigaction stHangUp {};
    if (sigaction(SIGHUP, nullptr, &stHangUp) == 0 && stHangUp.sa_handler != SIG_IGN) sigaddset(&stSet, SIGHUP);
    signal(SIGPIPE, SIG_IGN);
    return pthread_sigmask(SIG_BLOCK, &stSet, nullptr) == 0 ? signalfd(-1, &stSet, SFD_CLOEXEC) : -1;
}

int Serve(CALL& stCall) {
    const int nSignal = OpenSignals();
    if (nSignal < 0) return Complain<MSG_NO_EVENTS>(EXIT_RUN, std::strerror(errno));
    CDevServerStop stStop;
    CProgressSegment stProgress;
    CDevServerInstance stInstance(stCall.m_stSettings, stProgress, stStop);
    CDevServerListener stListener(stInstance, stCall.m_stScript, stStop, stCall.m_bTrace);
    char szIP[INET_ADDRSTRLEN] = "";
    const in_addr stAddress{htonl(stCall.m_stListen.m_dwIP)};
    inet_ntop(AF_INET, &stAddress, szIP, sizeof szIP);
    if (const int nError = stListener.Listen(stCall.m_stListen))
        return Complain<MSG_LISTEN>(EXIT_RUN, static_cast<const char*>(szIP), int{stCall.m_stListen.m_usPort},
                                    std::strerror(nError));
    if (const int nError = stProgress.Create(stCall.m_nKey))
        return Complain<MSG_SEGMENT>(EXIT_RUN, stCall.m_nKey, std::strerror(nError));
    std::printf(Text(MSG_PROGRESS), stProgress.Id());
    std::printf(Text(MSG_LISTENING), szIP, int{stCall.m_stListen.m_usPort});
    std::fflush(stdout);
    stListener.Serve(nSignal);
    close(nSignal);
    return EXIT_DONE;
}

int Run(int argc, char* argv[]) {
    CALL stCall;
    if (const int nStatus = ReadCall(argc, argv, stCall)) return nStatus;
    if (stCall.m_bHelp) return WriteHelp();
    if (stCall.m_bVersion) return std::puts("kestrodevserver " KESTRO_VERSION) < 0 ? EXIT_RUN : EXIT_DONE;
    return Serve(stCall);
}

} // namespace

int main(int argc, char* argv[]) {
    try {
        return Run(argc, argv);
    } catch (const std::bad_alloc&) {
        return Complain<MSG_NO_MEMORY>(EXIT_RUN);
    }
}
