#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <ifaddrs.h>

#include <regex>
#include <sstream>

#include "Program.h"
#include "ScratchDir.h"

// Runs of the setup program in a scratch tree, and the texts around them.

inline const std::string FAILED[] = {"Failed to create database service! Setup Exit...\n",
                                     "创建数据库服务失败！安装程序退出...\n"};
/** What a master's run says between its checks and its end where the storage service can't be started. */
inline const std::string CREATED[] = {
    "Create database service system files...\nCreate database service system file successfully!\n"
    "Start storage service...\nStart service kestrostorage failed, error code:768\n",
    "正在创建数据库服务系统文件...\n创建数据库服务系统文件成功！\n"
    "正在启动存储服务...\n启动服务kestrostorage失败，错误代码：768\n"};

inline std::string Replace(std::string strText, const std::string& strFrom, const std::string& strTo) {
    for (std::size_t n = 0; (n = strText.find(strFrom, n)) != strText.npos; n += strTo.size())
        strText.replace(n, strFrom.size(), strTo);
    return strText;
}

/** An address of this machine other than the loopback; empty if it has none. */
inline std::string MachineAddress() {
    ifaddrs* lpList = nullptr;
    std::string strFound;
    if (getifaddrs(&lpList) != 0) return "";
    for (const ifaddrs* lpEntry = lpList; lpEntry && strFound.empty(); lpEntry = lpEntry->ifa_next) {
        if (!lpEntry->ifa_addr || lpEntry->ifa_addr->sa_family != AF_INET) continue;
        const char* lpszText = inet_ntoa(reinterpret_cast<const sockaddr_in*>(lpEntry->ifa_addr)->sin_addr);
        if (strcmp(lpszText, "127.0.0.1") != 0) strFound = lpszText;
    }
    freeifaddrs(lpList);
    return strFound;
}

/** A fresh tree as an operator has it before the first run. */
class Installation {
public:
    explicit Installation(int nLanguage, const std::string& strBase = "base",
                          const char* lpszProgram = KESTROSETUP_PATH)
        : m_strBase(m_stDir.Path(strBase)), m_nLanguage(nLanguage) {
        std::filesystem::create_directories(m_strBase + "/bin");
        std::filesystem::create_directories(m_strBase + "/Data");
        std::filesystem::copy_file(lpszProgram, Program());
        SetPort(1);
        SetService("exit 3");
    }
    ~Installation() { setenv("PATH", m_strPath.c_str(), 1); }

    /** Sets the shell script that runs, for this process and its children, as the command `service`. */
    void SetService(const std::string& strScript) const {
        const std::string strFolder = m_stDir.Path("commands");
        std::filesystem::create_directories(strFolder);
        WriteFile(strFolder + "/service", "#!/bin/sh\n" + strScript + "\n");
        std::filesystem::permissions(strFolder + "/service", std::filesystem::perms::owner_all);
        setenv("PATH", (strFolder + ":" + m_strPath).c_str(), 1);
    }

    /** Writes the configuration with the port of the local server, at first one on which nothing listens. */
    void SetPort(int nPort) const {
        const std::string strNumbers = std::to_string(m_nLanguage) + "\nlistenport=" + std::to_string(nPort);
        WriteFile(Config(), "[System]\nLanguage=" + strNumbers + "\n[Config]\n");
    }

    std::string Program() const { return m_strBase + "/bin/kestrosetup"; }
    std::string Config() const { return m_strBase + "/bin/KestroConfig.ini"; }
    std::string SystemFile() const { return m_strBase + "/Data/Kestro/System.dbf"; }

    /** Fills $BASE and $IP in. */
    std::string Fill(const std::string& strText) const {
        return Replace(Replace(strText, "$BASE", m_strBase), "$IP", MachineAddress());
    }

    /** A command line's words, '' for an empty one, behind the program's path. */
    std::vector<std::string> Arguments(const std::string& strLine) const {
        std::vector<std::string> strArguments{Program()};
        std::istringstream stWords(Fill(strLine));
        for (std::string strWord; stWords >> strWord;)
            strArguments.push_back(strWord == "''" ? "" : strWord);
        return strArguments;
    }

    /** Runs with a command line; whatever happens, the exit status is 0. */
    std::string Run(const std::string& strLine, const std::string& strInput = "") const {
        const PROGRAMRUN stRun = RunProgram(Arguments(strLine), strInput);
        EXPECT_EQ(stRun.m_nStatus, 0) << strLine;
        return stRun.m_strOutput;
    }

private:
    ScratchDir m_stDir;
    std::string m_strBase;
    int m_nLanguage;
    static inline const std::string m_strPath = getenv("PATH");
};

inline std::string Transcript(const std::string& strName) {
    const std::string strText = ReadFile(std::string(KESTRO_TRANSCRIPTS) + "/" + strName + ".txt");
    EXPECT_NE(strText, "") << strName;
    return strText;
}

/** A row of a transcript: the fields of a line "$ field | field", and the lines behind it but for comments. */
struct TRANSCRIPTROW {
    std::vector<std::string> m_strFields;
    std::string m_strLines;
};

inline std::vector<TRANSCRIPTROW> TranscriptRows(const std::string& strName) {
    const std::regex stBar(R"( \| )");
    std::vector<TRANSCRIPTROW> arRow;
    std::istringstream stLines(Transcript(strName));
    for (std::string strLine; std::getline(stLines, strLine);)
        if (strLine.starts_with("$ "))
            arRow.push_back({{std::sregex_token_iterator(strLine.begin() + 2, strLine.end(), stBar, -1), {}}, ""});
        else if (!strLine.starts_with("#"))
            arRow.back().m_strLines += strLine + "\n";
    return arRow;
}

/** A transcript's text as it is printed: "<" at a line's start is a carriage return, $SERVICES a flow's services. */
inline std::string Printed(const std::string& strText, int nLanguage, const std::string& strFlow = "master") {
    const std::string strAll = Transcript("services." + std::to_string(nLanguage)), strHead = "= " + strFlow + "\n";
    const std::size_t nBegin = strAll.find(strHead) + strHead.size();
    const std::string strServices = strAll.substr(nBegin, strAll.find("= ", nBegin) - nBegin);
    return Replace(Replace(strText, "$SERVICES\n", strServices), "\n<", "\r");
}
