#pragma once

#include <set>

#include "DevServer.h"
#include "Installation.h"

/** An installation, of the quick program if no other is named, with services that start and a development server that
 * stands behind them. */
class CServedInstallation : public Installation {
public:
    explicit CServedInstallation(int nLanguage, std::vector<std::string> arOption = {},
                                 const char* lpszProgram = KESTROSETUP_QUICK_PATH)
        : Installation(nLanguage, "base", lpszProgram), m_stServer(Served(std::move(arOption))) {
        SetPort(m_stServer.Port());
        SetService("exit 0");
    }

    /** The instance's files with their sizes in MB. */
    std::string Files() const {
        std::set<std::string> strFiles;
        for (const auto& stEntry : std::filesystem::directory_iterator(Fill("$BASE/Data/Kestro")))
            strFiles.insert(stEntry.path().stem().string() + " " + std::to_string(stEntry.file_size() >> 20));
        std::string strAll;
        for (const std::string& strFile : strFiles)
            strAll += (strAll.empty() ? "" : ", ") + strFile;
        return strAll;
    }
    /** The trace log, with what differs from run to run left out. */
    std::string Log() const {
        std::string strLog;
        for (const auto& stEntry : std::filesystem::directory_iterator(Fill("$BASE/bin/Log")))
            strLog += Replace(ReadFile(stEntry.path()), "\r\n", "\n");
        strLog =
            std::regex_replace(strLog, std::regex(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} \d+\t)"), "TIME THREAD\t");
        return Replace(std::regex_replace(strLog, std::regex("(Thread|线程)ID(: |：)\\d+"), "$1ID$2N"), Fill("$BASE"),
                       "$BASE");
    }

private:
    std::vector<std::string> Served(std::vector<std::string> arOption) const {
        arOption.insert(arOption.end(), {"--path", Fill("$BASE/Data/Kestro")});
        return arOption;
    }
    CDevServerRun m_stServer;
};
