// kestroquery: runs one statement on one server and prints what comes back. It stays at the server it's told, whatever
// the cluster says.

#include <arpa/inet.h>
#include <signal.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include "Complain.h"
#include "DBInterface.h"
#include "ErrorCatalogue.h"
#include "KestroQueryMessages.h"
#include "MemDBRecordset.h"
#include "TraceManage.h"

namespace {

enum EXITSTATUS {
    EXIT_DONE = 0,
    EXIT_STATEMENT = 1,
    EXIT_USE = 2,
};

/** What the command line asks for. */
struct CALL {
    std::string m_strUser = "root", m_strPassword, m_strAddress, m_strStatement;
    unsigned m_nIP = 0;
    unsigned short m_usPort = 0;
    bool m_bHelp = false, m_bVersion = false;
};

/** An option: without a value's name it stands alone. */
struct OPTION {
    std::string_view m_szName, m_szValue;
    void (*m_lpfnSet)(CALL& stCall, const char* lpszValue);
    MESSAGE m_stHelp;
};

constexpr OPTION OPTIONS[] = {
    {"--user",
     "NAME",
     [](CALL& stCall, const char* lpszValue) { stCall.m_strUser = lpszValue; },
     {"登录用户名，默认root", "log in as this user, \"root\" by default"}},
    {"--password",
     "TEXT",
     [](CALL& stCall, const char* lpszValue) { stCall.m_strPassword = lpszValue; },
     {"登录密码，默认为空", "with this password, none by default"}},
    {"--chinese", "", [](CALL&, const char*) { g_nLanguage_Chinese = 1; }, {"使用中文消息", "messages in Chinese"}},
    {"--help", "", [](CALL& stCall, const char*) { stCall.m_bHelp = true; }, {"打印本帮助", "print this help"}},
    {"--version", "", [](CALL& stCall, const char*) { stCall.m_bVersion = true; }, {"打印版本", "print the version"}},
};

const OPTION* FindOption(std::string_view szArgument) {
    for (const OPTION& stOption : OPTIONS)
        if (stOption.m_szName == szArgument) return &stOption;
    return nullptr;
}

template <const MESSAGE& stMessage, typename... A>
int RefuseUse(A... args) {
    Complain<stMessage>(EXIT_USE, args...);
    return Complain<MSG_HINT>(EXIT_USE);
}

bool ReadAddress(CALL& stCall) {
    const std::string& strText = stCall.m_strAddress;
    const std::size_t nColon = std::min(strText.find(':'), strText.size());
    in_addr stAddress{};
    if (inet_pton(AF_INET, strText.substr(0, nColon).c_str(), &stAddress) != 1) return false;
    stCall.m_nIP = ntohl(stAddress.s_addr);
    const char* const lpszEnd = strText.data() + strText.size();
    const auto stResult =
        std::from_chars(strText.data() + std::min(nColon + 1, strText.size()), lpszEnd, stCall.m_usPort);
    return stResult.ec == std::errc() && stResult.ptr == lpszEnd;
}

// Options stand in front of the address, so a statement may begin with a comment.
int ReadCall(int argc, char* argv[], CALL& stCall) {
    int i = 1;
    for (; i < argc && argv[i][0] == '-'; ++i) {
        const OPTION* const lpOption = FindOption(argv[i]);
        if (!lpOption) return RefuseUse<MSG_UNKNOWN_OPTION>(argv[i]);
        if (!lpOption->m_szValue.empty() && ++i == argc) return RefuseUse<MSG_NO_VALUE>(argv[i - 1]);
        lpOption->m_lpfnSet(stCall, argv[i]);
    }
    if (stCall.m_bHelp || stCall.m_bVersion) return EXIT_DONE;
    if (argc - i != 2) return RefuseUse<MSG_STATEMENTS>();
    stCall.m_strAddress = argv[i];
    stCall.m_strStatement = argv[i + 1];
    return ReadAddress(stCall) ? EXIT_DONE : RefuseUse<MSG_BAD_ADDRESS>(argv[i]);
}

int WriteOutput(const char* lpszText) {
    if (std::fputs(lpszText, stdout) >= 0 && std::fflush(stdout) == 0) return EXIT_DONE;
    return Complain<MSG_NOT_WRITTEN>(EXIT_USE, std::strerror(errno));
}

int WriteHelp() {
    std::string strHelp = Text(MSG_USAGE);
    for (const OPTION& stOption : OPTIONS) {
        const std::string strName = std::string("  ").append(stOption.m_szName).append(" ").append(stOption.m_szValue);
        strHelp.append(strName).append(19 - strName.size(), ' ').append(Text(stOption.m_stHelp)).append("\n");
    }
    return WriteOutput((strHelp + Text(MSG_USAGE_END)).c_str());
}

int Refuse(int nCode) {
    return Complain<MSG_STATEMENT_ERROR>(EXIT_STATEMENT, nCode, GetErrorText(nCode));
}

int Select(CDBInterface& stConnection, const std::string& strStatement) {
    CMemDBRecordset stRecordset;
    char* lpszRows = nullptr;
    int nCode = stConnection.GetRecordset(strStatement.c_str(), stRecordset, nullptr);
    if (nCode == ERR_OK) nCode = stRecordset.RecordsetToCSV(lpszRows);
    const std::unique_ptr<char[]> pRows(lpszRows);
    if (nCode != ERR_OK) return Refuse(nCode);
    return lpszRows ? WriteOutput(lpszRows) : EXIT_DONE;
}

int Execute(CDBInterface& stConnection, const std::string& strStatement) {
    int nAffect = 0;
    if (const int nCode = stConnection.ExecuteCommand(strStatement.c_str(), nAffect, nullptr)) return Refuse(nCode);
    char szLine[80];
    std::snprintf(szLine, sizeof szLine, Text(MSG_AFFECTED), nAffect);
    return WriteOutput(szLine);
}

int RunStatement(CALL& stCall) {
    CDBInterface stConnection;
    if (const int nCode = stConnection.OpenWithAddress(stCall.m_strUser.data(), stCall.m_strPassword.data(),
                                                       stCall.m_nIP, stCall.m_usPort, 1))
        return Complain<MSG_LOGIN_ERROR>(EXIT_STATEMENT, stCall.m_strAddress.c_str(), nCode, GetErrorText(nCode));
    std::string strCopy = stCall.m_strStatement;
    char szWord[34] = "";
    CDBInterface::RemoveSpaceFromString(strCopy.data(), szWord);
    return strcasecmp(szWord, "select") == 0 ? Select(stConnection, stCall.m_strStatement)
                                             : Execute(stConnection, stCall.m_strStatement);
}

int Run(int argc, char* argv[]) {
    CALL stCall;
    if (const int nStatus = ReadCall(argc, argv, stCall)) return nStatus;
    if (stCall.m_bHelp) return WriteHelp();
    if (stCall.m_bVersion) return WriteOutput("kestroquery " KESTRO_VERSION "\n");
    const int nStatus = RunStatement(stCall);
    // Lines still queued for the log would be lost.
    CTraceManage::DestoryInstance();
    return nStatus;
}

} // namespace

int main(int argc, char* argv[]) {
    signal(SIGPIPE, SIG_IGN);
    try {
        return Run(argc, argv);
    } catch (const std::bad_alloc&) {
        return Complain<MSG_NO_MEMORY>(EXIT_USE);
    }
}
