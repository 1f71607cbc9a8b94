// kestroplan: compiles a statement and prints its plan, or says where the statement is in error. It connects to nothing
// and knows no tables: names in a plan are text.

#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <new>
#include <optional>
#include <string>
#include <string_view>

#include "Complain.h"
#include "ErrorCatalogue.h"
#include "KestroPlanFault.h"
#include "KestroPlanMessages.h"
#include "ParseSql.h"
#include "PlanPrinter.h"

namespace {

enum EXITSTATUS {
    EXIT_PLAN = 0,
    EXIT_STATEMENT = 1,
    EXIT_USE = 2,
};

/** What the command line asks for. */
struct CALL {
    PLANPRINT m_stPrint;
    bool m_bHelp = false;
    bool m_bVersion = false;
    std::optional<std::string> m_strStatement; // none: it comes from standard input
};

struct OPTION {
    std::string_view m_szName;
    void (*m_lpfnSet)(CALL& stCall);
    MESSAGE m_stHelp;
};

constexpr OPTION OPTIONS[] = {
    {"--json",
     [](CALL& stCall) { stCall.m_stPrint.m_nFormat = PLANFORMAT_JSON; },
     {"以JSON格式打印", "print it as JSON"}},
    {"--dot",
     [](CALL& stCall) { stCall.m_stPrint.m_nFormat = PLANFORMAT_DOT; },
     {"打印为Graphviz图", "print it as a graph for Graphviz"}},
    {"--chinese", [](CALL&) { g_nLanguage_Chinese = 1; }, {"使用中文消息", "messages in Chinese"}},
    {"--help", [](CALL& stCall) { stCall.m_bHelp = true; }, {"打印本帮助", "print this help"}},
    {"--version", [](CALL& stCall) { stCall.m_bVersion = true; }, {"打印版本", "print the version"}},
};

template <const MESSAGE& stMessage>
int RefuseUse(const char* lpszArgument) {
    Complain<stMessage>(EXIT_USE, ShowText(lpszArgument).c_str());
    return Complain<MSG_HINT>(EXIT_USE);
}

const OPTION* FindOption(std::string_view szArgument) {
    for (const OPTION& stOption : OPTIONS)
        if (stOption.m_szName == szArgument) return &stOption;
    return nullptr;
}

int ReadCall(int argc, char* argv[], CALL& stCall) {
    bool bOptions = true;
    for (int i = 1; i < argc; ++i) {
        const std::string_view szArgument = argv[i];
        if (bOptions && szArgument == "--") {
            bOptions = false;
        } else if (bOptions && szArgument.starts_with('-')) {
            const OPTION* const lpOption = FindOption(szArgument);
            if (!lpOption) return RefuseUse<MSG_UNKNOWN_OPTION>(argv[i]);
            lpOption->m_lpfnSet(stCall);
        } else {
            if (stCall.m_strStatement) return RefuseUse<MSG_MORE_STATEMENTS>(argv[i]);
            stCall.m_strStatement = szArgument;
        }
    }
    return EXIT_PLAN;
}

int ReadInput(std::string& strText) {
    char szBytes[65536];
    ssize_t nLen = 0;
    while (strText.size() <= INT_MAX && (nLen = read(STDIN_FILENO, szBytes, sizeof szBytes)) != 0) {
        if (nLen > 0)
            strText.append(szBytes, static_cast<std::size_t>(nLen));
        else if (errno != EINTR)
            return Complain<MSG_NOT_READ>(EXIT_USE, std::strerror(errno));
    }
    return EXIT_PLAN;
}

int WriteOutput(std::string_view szText) {
    while (!szText.empty()) {
        const ssize_t nLen = write(STDOUT_FILENO, szText.data(), szText.size());
        if (nLen >= 0)
            szText.remove_prefix(static_cast<std::size_t>(nLen));
        else if (errno != EINTR)
            return Complain<MSG_NOT_WRITTEN>(EXIT_USE, std::strerror(errno));
    }
    return EXIT_PLAN;
}

int WriteHelp() {
    std::string strHelp = Text(MSG_USAGE);
    for (const OPTION& stOption : OPTIONS)
        strHelp.append("  ")
            .append(stOption.m_szName)
            .append(13 - stOption.m_szName.size(), ' ')
            .append(Text(stOption.m_stHelp))
            .append("\n");
    return WriteOutput(strHelp + Text(MSG_USAGE_END));
}

int PrintStatement(std::string_view szSql, const PLANPRINT& stPrint) {
    if (szSql.size() > INT_MAX) return Complain<MSG_TOO_LONG>(EXIT_USE, INT_MAX);
    CParseSql stParse;
    EXECUTEPLANBSON* lpPlan = nullptr;
    if (const int nCode = stParse.ParseSql(szSql.data(), static_cast<int>(szSql.size()), lpPlan, 0, 0, 0)) {
        const SHOWNPLACE stPlace = ShowPlace(szSql, FindFault(szSql, nCode, stParse));
        return Complain<MSG_STATEMENT_ERROR>(EXIT_STATEMENT, nCode, GetErrorText(nCode), stPlace.m_nLine,
                                             stPlace.m_nColumn, stPlace.m_strLine.c_str(), stPlace.m_strBlank.c_str());
    }
    CPlanReader stPlan;
    if (stPlan.Open(lpPlan, lpPlan->m_nTotalDataSize) != ERR_OK)
        return Complain<MSG_PLAN_REFUSED>(EXIT_USE, stPlan.Fault() ? stPlan.Fault() : GetErrorText(ERR_MEMORY));
    return WriteOutput(PrintPlan(stPlan, stPrint));
}

int Run(int argc, char* argv[]) {
    CALL stCall;
    if (const int nStatus = ReadCall(argc, argv, stCall)) return nStatus;
    if (stCall.m_bHelp) return WriteHelp();
    if (stCall.m_bVersion) return WriteOutput("kestroplan " KESTRO_VERSION "\n");
    if (!stCall.m_strStatement)
        if (const int nStatus = ReadInput(stCall.m_strStatement.emplace())) return nStatus;
    return PrintStatement(*stCall.m_strStatement, stCall.m_stPrint);
}

} // namespace

int main(int argc, char* argv[]) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    // A reader that has gone away is an error of writing like any other.
    signal(SIGPIPE, SIG_IGN);
    try {
        return Run(argc, argv);
    } catch (const std::bad_alloc&) {
        return Complain<MSG_NO_MEMORY>(EXIT_USE);
    }
}
