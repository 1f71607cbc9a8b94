// The join of slave and standby nodes, against scripted servers.

#include "ScratchDir.h"
#include "SetupFlows.h"
#include "SetupPaths.h"
#include "SetupTest.h"

namespace {

/** What the server's progress shows in one round: text, total, current, running. */
using PROGRESSROUND = std::tuple<const char*, int, int, int>;

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
        KeepText(m_stParam.m_szVirtualIP, "10.9.9.9");
        m_stParam.m_usListenPort = m_stPeer.Port();
        m_stPeer.Frames(0, true);
        JOINEND nEnd = JOINEND::Failed;
        std::string strOutput = Output([&] { nEnd = JoinCluster(nMode, bDialogue, m_stParam); });
        const std::size_t nServices = strOutput.find("Start"), nEndServices = strOutput.find("Connecting to");
        if (nServices != std::string::npos && nEndServices != std::string::npos)
            strOutput.erase(nServices, nEndServices - nServices);
        return strOutput + (nEnd == JOINEND::Done ? "[done]" : nEnd == JOINEND::Failed ? "[failed]" : "[again]");
    }

    ScratchDir m_stDir;
    SETUPPARAM m_stParam;
    static inline std::string m_strInstance, m_strStatus, m_strPath;
};

TEST_F(SetupJoinFlow, JoinsAndShowsTheProgress) {
    static const PROGRESSROUND* lpRound;
    const std::string strSlave = "Successful creation of database service system files! \n",
                      strStandby = "Create database service system file successfully! \n",
                      strFirst = "Connecting to Kestro Service...\n\njoin：[1 / 2]";
    // The flow, the last round and the output.
    const std::tuple<int, PROGRESSROUND, std::string> arRow[] = {
        {SETUP_SLAVE,
         {"join", 2, 2, 0},
         strSlave + strFirst + "\rjoin：[2 / 2]\rjoin：[2 / 2]\nCluster entry completed!\n[done]"},
        {SETUP_SLAVE,
         {"more", -1, 77, 0},
         strSlave + strFirst + "Send join request failed (77). Please check the error log!\n[done]"},
        {SETUP_STANDBY, {"join", 9, 2, 0}, strStandby + strFirst + "\rjoin：[2 / 9]\rjoin：[9 / 9]\n[done]"},
        {SETUP_STANDBY,
         {"join", -1, 77, 0},
         strStandby + strFirst + "Failed to send join cluster request(77)！\n[failed]"},
    };
    static CScriptedPeer* lpPeer;
    lpPeer = &m_stPeer;
    m_lpfnOnSleep = [] {
        if (lpPeer->Count(MF_CMD_ADD_NODE) == 0) return;
        const auto [lpszText, nTotal, nCurrent, nRunning] = *lpRound;
        snprintf(m_lpBlock->m_szStepText, 128, "%s", lpszText);
        m_lpBlock->m_nTotal = nTotal;
        m_lpBlock->m_nCurrent = nCurrent;
        m_lpBlock->m_nRunning = nRunning;
        if (nRunning) ++lpRound;
    };
    for (const auto& [nMode, stLast, strOutput] : arRow) {
        const PROGRESSROUND arRound[] = {{"", 0, 0, 1}, {"old", 2, 0, 1}, {"join", 2, 1, 1}, stLast};
        lpRound = arRound;
        EXPECT_EQ(Join(nMode, true), strOutput);
        EXPECT_EQ(m_strCalls.find("service kestrostorage start"), 0u);
        ASSERT_EQ(m_stPeer.Count(MF_CMD_ADD_NODE), 1);
        const std::string strHead = m_stPeer.Frames(MF_CMD_ADD_NODE)[0].m_strHead;
        // The id's low 16 bits; a standby node has it from the query of the status.
        EXPECT_EQ(Get<int>(strHead, 4), nMode == SETUP_SLAVE ? 70000 - 65536 : 7);
        EXPECT_EQ(strHead.substr(12, 6), RawBytes(INADDR_LOOPBACK, m_stPeer.Port()));
        EXPECT_EQ(int{strHead[20]}, nMode == SETUP_SLAVE ? 1 : 3);
        EXPECT_STREQ(strHead.c_str() + 24, "127.0.0.1");
        EXPECT_EQ(std::filesystem::file_size(std::string(g_lpDatabasePath) + "System.dbf"), 4u << 20);
        std::filesystem::remove_all(g_lpDatabasePath);
    }
    EXPECT_EQ(ReadFile(g_lpConfigPath),
              "[System]\nlistenport=" + std::to_string(m_stPeer.Port()) +
                  "\nlistenip=127.0.0.1\ndatabasepath=" + g_lpDatabasePath +
                  "\nbuffercachesize=0\n[Config]\ncluster=1\nclusternode=0\nclusterlocalip=127.0.0.1\n"
                  "clusterhostip=127.0.0.1\nclustervip=0.0.0.0\nclusteriplist=\nclusterconnectpools=32\n\n");
}

TEST_F(SetupJoinFlow, EndsWhereTheMasterDoesNotFit) {
    const std::string strNoMaster =
        "The service you enter IP is not the primary node. Please check your IP [127.1], port [" +
        std::to_string(m_stPeer.Port()) + "], username [anna] and password\n";
    const std::tuple<int, bool, std::string, std::string> arRow[] = {
        {SETUP_SLAVE, true, "-|x|Master|-|-", "Failed to query main database parameters (-1) \n[failed]"},
        {SETUP_STANDBY, true, "1|" + m_strPath + "|-|-|-", "Failed to query main database parameters（-1）\n[failed]"},
        {SETUP_SLAVE, true, "1|/other\n/|Master|-|-",
         "The database deployment path is inconsistent, and the main node database path is: /other /\n[failed]"},
        {SETUP_SLAVE, false, "1|" + m_strPath + "|Slave|10.1.2.3|0", strNoMaster + "[failed]"},
        {SETUP_SLAVE, true, "1|" + m_strPath + "|Slave|-|8000", strNoMaster + "[again]"},
    };
    for (const auto& [nMode, bDialogue, strRow, strOutput] : arRow) {
        m_strInstance = CRecordsetMaker(FIELDS).Row(1, strRow).Block();
        EXPECT_EQ(Join(nMode, bDialogue), strOutput) << strRow;
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
    EXPECT_EQ(stOther.Count(MF_CMD_QUERY), 2);
    const std::string strExists = "Failed to create database, database already exists, database path: ";
    EXPECT_EQ(Join(SETUP_SLAVE, false), strExists + g_lpDatabasePath + "\n[failed]");
}

} // namespace
