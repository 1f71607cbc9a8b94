// What a join brings beside the dialogue's transcripts: its configuration, the way back to the master's address, and
// whole runs against development servers.

#include <memory>
#include <regex>

#include "DevServer.h"
#include "Installation.h"
#include "Language.h"
#include "SetupConfig.h"
#include "SetupDialogue.h"
#include "SetupPaths.h"

namespace {

TEST(SetupJoin, WritesItsConfigurationInOrder) {
    const ScratchDir stDir;
    ASSERT_TRUE(SetPaths(stDir.Path("program").c_str()));
    WriteFile(g_lpConfigPath, "[System]\n[Config]\n");
    SETUPPARAM stParam;
    stParam.m_nLocalIP = 0x0A010203;
    stParam.m_nMasterIP = 0xC0A80004;
    KeepText(stParam.m_szVirtualIP, "10.9.9.9");
    WriteJoinConfig(stParam);
    EXPECT_EQ(ReadFile(g_lpConfigPath),
              "[System]\nlistenip=10.1.2.3\n[Config]\ncluster=1\nclusternode=0\nclusterlocalip=10.1.2.3\n"
              "clusterhostip=192.168.0.4\nclustervip=0.0.0.0\nclusteriplist=\nclusterconnectpools=32\n\n");
}

TEST(SetupJoin, AsksForAnotherMaster) {
    std::string strInput = "192.168.0.4\nyes\nanna\nsecret\n";
    const std::unique_ptr<FILE, decltype([](FILE* lpFile) { std::fclose(lpFile); })> pFile(
        fmemopen(strInput.data(), strInput.size(), "r"));
    CSetupLine stInput(pFile.get());
    SETUPPARAM stParam;
    stParam.m_nLocalIP = 0x0A010203;
    KeepText(stParam.m_szUser, "an earlier one");
    testing::internal::CaptureStdout();
    EXPECT_EQ(AskJoin(stInput, SETUP_STANDBY, stParam, true), DIALOGUEEND::Confirmed);
    const std::string strOutput = testing::internal::GetCapturedStdout();
    EXPECT_TRUE(
        strOutput.starts_with("Please reenter the master node IP, enter \\q to exit the program\n"
                              ">> Master node IP:  Local IP: 10.1.2.3 , Main node IP: 192.168.0.4 \n"))
        << strOutput;
    EXPECT_STREQ(stParam.m_szUser, "anna");
    EXPECT_STREQ(stParam.m_szPassword, "secret");
}

// --- whole runs ------------------------------------------------------------------------------------------------------

/** A run of the transcript. */
struct RUNROW {
    int m_nLanguage, m_nSlaves;
    std::string m_strMode, m_strFault, m_strOptions, m_strOutput;
};

std::vector<RUNROW> ReadRows() {
    static const std::regex stHead(R"(\$ (\d) \| (\w+) \| (\d) \| (.*?) \|(.*))");
    std::istringstream stLines(Transcript("join-runs"));
    std::vector<RUNROW> arRow;
    std::smatch stField;
    for (std::string strLine; std::getline(stLines, strLine);)
        if (std::regex_match(strLine, stField, stHead))
            arRow.push_back({std::stoi(stField[1]), std::stoi(stField[3]), stField[2], stField[4], stField[5], ""});
        else if (!strLine.starts_with('#'))
            arRow.back().m_strOutput += strLine + "\n";
    return arRow;
}

/** The lines about the services in a node's flow, as they are printed. */
std::string Services(const RUNROW& stRow) {
    const std::string strAll = Transcript("services." + std::to_string(stRow.m_nLanguage));
    const std::string strHead = stRow.m_strMode == "4" ? "\n= standby\n" : "\n= slave\n";
    const std::size_t nBegin = strAll.find(strHead) + strHead.size();
    return Replace(strAll.substr(nBegin, strAll.find("\n= ", nBegin) - nBegin), "\n<", "\r") + "\n";
}

/** Servers on this machine's address: the master, and slaves in front of it. */
std::vector<std::unique_ptr<CDevServerRun>> StartServers(const RUNROW& stRow, const std::string& strPath) {
    std::vector<std::unique_ptr<CDevServerRun>> arServer;
    std::vector<std::string> arOption{"--listen", MachineAddress(), "--path", strPath, "--fault", stRow.m_strFault};
    std::istringstream stWords(stRow.m_strOptions);
    for (std::string strWord; stWords >> strWord;)
        arOption.push_back(strWord);
    for (int i = 0; i <= stRow.m_nSlaves; ++i) {
        arServer.push_back(std::make_unique<CDevServerRun>(arOption));
        const std::string strAddress = MachineAddress() + ":" + std::to_string(arServer.back()->Port());
        arOption = {"--listen", MachineAddress(), "--path", strPath, "--master", strAddress};
    }
    return arServer;
}

/** What a run prints; the progress in it is checked and taken out. */
std::string RunJoin(const RUNROW& stRow, const Installation& stNode, int nPort) {
    const std::string strPort = std::to_string(nPort);
    std::string strOutput =
        stRow.m_strMode == "slave"
            ? stNode.Run("-type 2 -ip $IP -masterip $IP -user anna -password secret -masterport " + strPort)
            : stNode.Run("", stNode.Fill(stRow.m_strMode + "\n$IP\n$IP\nyes\nanna\nsecret\n\\q\n"));
    const std::string strPassword = "Enter password: ";
    if (stRow.m_strMode != "slave") strOutput.erase(0, strOutput.find(strPassword) + strPassword.size());
    static const std::regex stProgress(R"([\r\n]([^\r\n]*)：\[(\d+) / (\d+)\])");
    static const std::string strSteps[] = {"Copy system file 4", "Copy memory data files 64",
                                           "Copy table data files 32", "Synchronize redo log 16"};
    const std::string* lpStep = strSteps;
    for (std::sregex_iterator it(strOutput.begin(), strOutput.end(), stProgress); it != std::sregex_iterator(); ++it) {
        lpStep = std::find(lpStep, std::end(strSteps), (*it)[1].str() + " " + (*it)[3].str());
        EXPECT_NE(lpStep, std::end(strSteps)) << it->str();
        EXPECT_LE(std::stoi((*it)[2]), std::stoi((*it)[3]));
    }
    return std::regex_replace(strOutput, stProgress, "");
}

// Four seconds for all runs, two of which join for a third of one.
TEST(SetupJoin, PrintsExactlyTheseLines) {
    if (MachineAddress().empty()) GTEST_SKIP() << "a node needs an address";
    for (const RUNROW& stRow : ReadRows()) {
        const Installation stNode(stRow.m_nLanguage, "base", KESTROSETUP_QUICK_PATH);
        stNode.SetService("exit 0");
        const auto arServer = StartServers(stRow, stNode.Fill("$BASE/Data/Kestro"));
        const CDevServerRun &stMaster = *arServer.front(), &stAsked = *arServer.back();
        const bool bArguments = stRow.m_strMode == "slave";
        stNode.SetPort(stRow.m_strFault == "# nobody" ? 1 : bArguments ? stMaster.Port() : stAsked.Port());
        setenv("KESTRO_SEGMENT", std::to_string(stRow.m_strFault == "# absent" ? -1 : stMaster.Segment()).c_str(), 1);
        const std::string strExpected = Replace(stNode.Fill(stRow.m_strOutput), "$SERVICES\n", Services(stRow));
        EXPECT_EQ(RunJoin(stRow, stNode, stAsked.Port()),
                  Replace(strExpected, "$PORT", std::to_string(stMaster.Port())))
            << stRow.m_strMode << " " << stRow.m_strFault << stRow.m_strOptions;
        unsetenv("KESTRO_SEGMENT");
    }
}

} // namespace
