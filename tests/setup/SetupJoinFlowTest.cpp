// The join of slave and standby nodes, against scripted servers.

#include <map>

#include "RecordsetMaker.h"
#include "ScratchDir.h"
#include "SetupFlows.h"
#include "SetupPaths.h"
#include "SetupTest.h"

namespace {

/** What the server's progress shows in one round. */
struct PROGRESSROUND {
    const char* m_lpszText;
    int m_nTotal, m_nCurrent, m_nRunning;
};

/** One peer is master and local server. */
class SetupJoinFlow : public CSetupTest {
protected:
    void SetUp() override {
        CSetupTest::SetUp();
        std::filesystem::create_directories(m_stDir.Path("bin"));
        std::filesystem::create_directories(m_stDir.Path("Data"));
        ASSERT_TRUE(SetPaths(m_stDir.Path("bin/kestrosetup").c_str()));
        WriteFile(g_lpConfigPath, "[System]\nlistenport=" + std::to_string(m_stPeer.Port()) + "\n[Config]\n");
        m_strPath = std::string(g_lpDataFilePath) + "Kestro/";
        std::transform(m_strPath.begin(), m_strPath.end(), m_strPath.begin(), toupper);
        m_Script = [this](const PEERFRAME& stFrame) { return Answer(stFrame); };
        m_strStatus = "Open";
        m_strInstance = CRecordsetMaker(FIELDS).Row(1, "70000|" + m_strPath + "|MASTER node|-|-").Block();
        MakeSegment();
    }
    /** The columns of a node's answer: id, path, role, the master's address and port. */
    static constexpr const char* FIELDS = "ID:1|PATH:6|CLUSTERSTATUS:6|MASTERIP:6|MASTERPORT:1";

    static PEERANSWER Answer(const PEERFRAME& stFrame) {
        if (stFrame.Command() != MF_CMD_QUERY) return Welcome(stFrame);
        if (stFrame.m_strBody.find("CLUSTERSTATUS") != std::string::npos)
            return stFrame.Reply(MF_REPLY_OK, 1, m_strInstance);
        const bool bId = stFrame.m_strBody.find(std::string("ID\0", 3)) != std::string::npos;
        return stFrame.Reply(MF_REPLY_OK, 1,
                             bId ? CRecordsetMaker("ID:1|STATUS:6").Row(1, "7|" + m_strStatus).Block()
                                 : CRecordsetMaker("STATUS:6").Row(1, m_strStatus).Block());
    }
    /** A join with its end in brackets; what was said of the services is left out. */
    std::string Join(int nMode, bool bDialogue) {
        m_stParam.m_nLocalIP = m_stParam.m_nMasterIP = INADDR_LOOPBACK;
        KeepText(m_stParam.m_szMasterIP, "127.1");
        KeepText(m_stParam.m_szUser, "anna");
        m_stParam.m_usListenPort = m_stPeer.Port();
        m_stPeer.Frames(0, true);
        JOINEND nEnd = JOINEND::Failed;
        std::string strOutput = Output([&] { nEnd = JoinCluster(nMode, bDialogue, m_stParam); });
        const std::size_t nServices = strOutput.find("Start"), nEndServices = strOutput.find("Connecting to");
        if (nServices != std::string::npos && nEndServices != std::string::npos)
            strOutput.erase(nServices, nEndServices - nServices);
        return strOutput + (nEnd == JOINEND::Done ? "[done]" : nEnd == JOINEND::Failed ? "[failed]" : "[again]");
    }
    void Clean() const { std::filesystem::remove_all(g_lpDatabasePath); }

    ScratchDir m_stDir;
    SETUPPARAM m_stParam;
    static inline std::string m_strInstance, m_strStatus, m_strPath;
};

TEST_F(SetupJoinFlow, JoinsAndShowsTheProgress) {
    static const PROGRESSROUND* lpRound;
    const std::string strSlave = "Successful creation of database service system files! \n",
                      strStandby = "Create database service system file successfully! \n";
    const struct {
        int m_nMode;
        PROGRESSROUND m_arRound[4];
        std::string m_strOutput;
    } arRow[] = {
        {SETUP_SLAVE,
         {{"", 0, 0, 1}, {"old", 2, 0, 1}, {"join", 2, 1, 1}, {"join", 2, 2, 0}},
         strSlave + "Connecting to Kestro Service...\n\njoin：[1 / 2]\rjoin：[2 / 2]\rjoin：[2 / 2]\n"
                    "Cluster entry completed!\n[done]"},
        {SETUP_SLAVE,
         {{"", 0, 0, 1}, {"old", 2, 0, 1}, {"join", 2, 1, 1}, {"more", -1, 77, 0}},
         strSlave + "Connecting to Kestro Service...\n\njoin：[1 / 2]Send join request failed (77). Please check the "
                    "error log!\n[done]"},
        {SETUP_STANDBY,
         {{"", 0, 0, 1}, {"old", 2, 0, 1}, {"join", 2, 1, 1}, {"join", 9, 2, 0}},
         strStandby + "Connecting to Kestro Service...\n\njoin：[1 / 2]\rjoin：[2 / 9]\rjoin：[9 / 9]\n[done]"},
        {SETUP_STANDBY,
         {{"", 0, 0, 1}, {"old", 2, 0, 1}, {"join", 2, 1, 1}, {"join", -1, 77, 0}},
         strStandby + "Connecting to Kestro Service...\n\njoin：[1 / 2]Failed to send join cluster "
                      "request(77)！\n[failed]"},
    };
    static CScriptedPeer* lpPeer;
    lpPeer = &m_stPeer;
    m_lpfnOnSleep = [] {
        if (lpPeer->Frames(MF_CMD_ADD_NODE).empty()) return;
        snprintf(m_lpBlock->m_szStepText, 128, "%s", lpRound->m_lpszText);
        m_lpBlock->m_nTotal = lpRound->m_nTotal;
        m_lpBlock->m_nCurrent = lpRound->m_nCurrent;
        m_lpBlock->m_nRunning = lpRound->m_nRunning;
        if (lpRound->m_nRunning) ++lpRound;
    };
    for (const auto& stRow : arRow) {
        lpRound = stRow.m_arRound;
        EXPECT_EQ(Join(stRow.m_nMode, true), stRow.m_strOutput);
        EXPECT_EQ(m_strCalls.find("service kestrostorage start"), 0u);
        const std::vector<PEERFRAME> arNode = m_stPeer.Frames(MF_CMD_ADD_NODE);
        ASSERT_EQ(arNode.size(), 1u);
        const std::string& strHead = arNode[0].m_strHead;
        // The id's low 16 bits; a standby node has it from the query of the status.
        EXPECT_EQ(Get<int>(strHead, 4), stRow.m_nMode == SETUP_SLAVE ? 70000 - 65536 : 7);
        EXPECT_EQ(Get<unsigned>(strHead, 12), INADDR_LOOPBACK);
        EXPECT_EQ(Get<unsigned short>(strHead, 16), m_stPeer.Port());
        EXPECT_EQ(int{strHead[20]}, stRow.m_nMode == SETUP_SLAVE ? 1 : 3);
        EXPECT_STREQ(strHead.c_str() + 24, "127.0.0.1");
        EXPECT_EQ(std::filesystem::file_size(std::string(g_lpDatabasePath) + "System.dbf"), 4u << 20);
        Clean();
    }
    EXPECT_NE(ReadFile(g_lpConfigPath).find("clusterhostip=127.0.0.1\n"), std::string::npos);
}

TEST_F(SetupJoinFlow, EndsWhereTheMasterDoesNotFit) {
    const std::string strNoMaster =
        "The service you enter IP is not the primary node. Please check your IP [127.1], port [" +
        std::to_string(m_stPeer.Port()) + "], username [anna] and password\n";
    const struct {
        int m_nMode;
        bool m_bDialogue;
        std::string m_strRow, m_strOutput;
    } arRow[] = {
        {SETUP_SLAVE, true, "-|x|Master|-|-", "Failed to query main database parameters (-1) \n[failed]"},
        {SETUP_STANDBY, true, "1|" + m_strPath + "|-|-|-", "Failed to query main database parameters（-1）\n[failed]"},
        {SETUP_SLAVE, true, "1|/other\n/|Master|-|-",
         "The database deployment path is inconsistent, and the main node database path is: /other /\n[failed]"},
        {SETUP_SLAVE, false, "1|" + m_strPath + "|Slave|10.1.2.3|0", strNoMaster + "[failed]"},
        {SETUP_SLAVE, true, "1|" + m_strPath + "|Slave|-|8000", strNoMaster + "[again]"},
    };
    for (const auto& stRow : arRow) {
        m_strInstance = CRecordsetMaker(FIELDS).Row(1, stRow.m_strRow).Block();
        EXPECT_EQ(Join(stRow.m_nMode, stRow.m_bDialogue), stRow.m_strOutput) << stRow.m_strRow;
        EXPECT_FALSE(std::filesystem::exists(g_lpDatabasePath));
    }
}

// The address of the real master may be a number too.
TEST_F(SetupJoinFlow, FollowsToTheRealMasterAndLeavesWhatItMade) {
    const std::string strMaster = m_strInstance;
    m_strStatus = "Mounted";
    CScriptedPeer stOther(
        [&](const PEERFRAME& stFrame) {
            return stFrame.Command() == MF_CMD_QUERY && stFrame.m_strBody.find("CLUSTERSTATUS") != std::string::npos
                       ? PEERANSWER(stFrame.Reply(MF_REPLY_OK, 1, strMaster))
                       : Answer(stFrame);
        },
        "127.0.0.2");
    m_strInstance = CRecordsetMaker("ID:1|PATH:6|CLUSTERSTATUS:6|MASTERIP:2|MASTERPORT:1")
                        .Row(1, "5|" + m_strPath + "|Slave|2130706434|" + std::to_string(stOther.Port()))
                        .Block();
    EXPECT_TRUE(Join(SETUP_SLAVE, false).ends_with("\nConnecting to Kestro Service...\n[failed]"));
    EXPECT_STREQ(m_stParam.m_szMasterIP, "127.0.0.2");
    EXPECT_EQ(stOther.Frames(MF_CMD_QUERY).size(), 2u);
    const std::string strExists = "Failed to create database, database already exists, database path: ";
    EXPECT_EQ(Join(SETUP_SLAVE, false), strExists + g_lpDatabasePath + "\n[failed]");
}

} // namespace
