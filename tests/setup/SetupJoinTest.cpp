// What a join brings beside the dialogue's transcripts: its configuration, and whole runs against development servers.

#include <memory>

#include "DevServer.h"
#include "Installation.h"
#include "SetupConfig.h"
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

/** Servers on this machine's address: the master, and slaves in front of it. */
std::vector<std::unique_ptr<CDevServerRun>> StartServers(const std::vector<std::string>& strFields,
                                                         const std::string& strPath) {
    std::vector<std::unique_ptr<CDevServerRun>> arServer;
    std::vector<std::string> arOption{"--listen", MachineAddress(), "--path", strPath, "--fault", strFields[4]};
    std::istringstream stWords(strFields[3]);
    for (std::string strWord; stWords >> strWord;)
        arOption.push_back(strWord);
    for (int i = 0; i <= std::stoi(strFields[2]); ++i) {
        arServer.push_back(std::make_unique<CDevServerRun>(arOption));
        const std::string strAddress = MachineAddress() + ":" + std::to_string(arServer.back()->Port());
        arOption = {"--listen", MachineAddress(), "--path", strPath, "--master", strAddress};
    }
    return arServer;
}

/** What a run prints behind the password; the progress in it is checked and taken out. */
std::string RunJoin(const std::string& strFlow, const Installation& stNode, int nPort) {
    const std::string strAnswers = "$IP\n$IP\nyes\nanna\nsecret\n$IP\ny\nbert\n\n\\q\n";
    std::string strOutput =
        strFlow == "slave" ? stNode.Run("-type 2 -ip $IP -masterip $IP -user anna -masterport " + std::to_string(nPort))
                           : stNode.Run("", stNode.Fill((strFlow == "standby" ? "4\n" : "2\n") + strAnswers));
    const std::size_t nPassword = strOutput.find("word: ");
    if (strFlow != "slave") strOutput.erase(0, nPassword + 6);
    static const std::regex stProgress(R"([\r\n]([^\r\n]*)：\[(\d+) / (\d+)\])");
    static const std::string strSteps[] = {"Copy system file 4", "Copy memory data files 64",
                                           "Copy table data files 32", "Synchronize redo log 16"};
    const std::string* lpStep = strSteps;
    for (std::sregex_iterator it(strOutput.begin(), strOutput.end(), stProgress); it != std::sregex_iterator(); ++it) {
        lpStep = std::find(lpStep, std::end(strSteps), (*it)[1].str() + " " + (*it)[3].str());
        EXPECT_NE(lpStep, std::end(strSteps)) << it->str();
        EXPECT_LE(std::stoi((*it)[2]), std::stoi((*it)[3]));
    }
    // The last step ends its line, unless all was done before the first look.
    return Replace(std::regex_replace(strOutput, stProgress, ""), "\n\n", "\n");
}

// Four seconds for all runs, some of which join for a third of one.
TEST(SetupJoin, PrintsExactlyTheseLines) {
    if (MachineAddress().empty()) GTEST_SKIP() << "a node needs an address";
    for (const auto& [strFields, strLines] : TranscriptRows("join-runs")) {
        const int nLanguage = std::stoi(strFields[0]);
        const std::string strFlow = strFields[1], strFault = strFields[4];
        const Installation stNode(nLanguage, "base", KESTROSETUP_QUICK_PATH);
        stNode.SetService("exit 0");
        const auto arServer = StartServers(strFields, stNode.Fill("$BASE/Data/Kestro"));
        const CDevServerRun &stMaster = *arServer.front(), &stAsked = *arServer.back();
        stNode.SetPort(strFault == "# nobody" ? 1 : strFlow == "slave" ? stMaster.Port() : stAsked.Port());
        setenv("KESTRO_SEGMENT", std::to_string(strFault == "# absent" ? -1 : stMaster.Segment()).c_str(), 1);
        const std::string strExpected =
            Printed(stNode.Fill(strLines), nLanguage, strFlow == "standby" ? "standby" : "slave");
        EXPECT_EQ(RunJoin(strFlow, stNode, stAsked.Port()),
                  Replace(Replace(strExpected, "$PORT", std::to_string(stMaster.Port())), "\n\n", "\n"))
            << strFlow << " " << strFields[3] << " " << strFault;
        unsetenv("KESTRO_SEGMENT");
    }
}

} // namespace
