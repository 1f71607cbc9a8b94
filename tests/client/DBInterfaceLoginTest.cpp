#include <sys/resource.h>
#include <sys/syscall.h>

#include <set>

#include "LinkTest.h"

namespace {

class DBInterfaceLogin : public CLinkTest {
protected:
    struct NODE {
        const char* m_lpszIP;
        unsigned short m_usPort;
    };
    static unsigned HostIP(const char* lpszIP) { return ntohl(inet_addr(lpszIP)); }
    /** The state of a cluster; every node is known to the others by the address that clients use. */
    static std::string Cluster(const NODE& stMaster, const std::vector<NODE>& arNode, int nNum) {
        std::string strBody(10 + 30 * arNode.size(), '\x55');
        Put(strBody, 0, HostIP(stMaster.m_lpszIP));
        Put(strBody, 4, stMaster.m_usPort);
        Put(strBody, 6, nNum);
        for (std::size_t i = 0; i < arNode.size(); ++i) {
            Put(strBody, 10 + 30 * i, HostIP(arNode[i].m_lpszIP));
            Put(strBody, 14 + 30 * i, HostIP(arNode[i].m_lpszIP));
            Put(strBody, 18 + 30 * i, arNode[i].m_usPort);
            Put(strBody, 36 + 30 * i, static_cast<unsigned>(1000 + i));
        }
        return strBody;
    }
};

TEST_F(DBInterfaceLogin, ProbesAndLogsIn) {
    EXPECT_EQ(m_stLink.Run("begin"), -ERR_LINK_NOT_OPEN);
    EXPECT_EQ(m_stLink.UseDatabase("shop"), ERR_LINK_NOT_OPEN);
    const std::string strPassword(30, 'p');
    ASSERT_EQ(m_stLink.OpenAt(m_stPeer.Port(), "127.0.0.1", strPassword.c_str()), ERR_OK);
    EXPECT_TRUE(Logged("888000000 UserLogin Login successful (SessionID: 100, ThreadID: 200)!"));
    unsigned dwIP = 0;
    unsigned short usPort = 0;
    m_stLink.GetSocketInfo(dwIP, usPort);
    EXPECT_NE(dwIP, 0u);

    std::string strLogin(100, '\0');
    const std::string strName = std::filesystem::read_symlink("/proc/self/exe").filename().string().substr(0, 24);
    strLogin[0] = 1;
    strLogin.replace(2, strName.size(), strName);
    Put(strLogin, 26, getpid());
    Put(strLogin, 30, static_cast<int>(syscall(SYS_gettid)));
    Put(strLogin, 34, dwIP);
    Put(strLogin, 38, usPort);
    strLogin.replace(40, 3, "sys").replace(76, 24, 24, 'p');
    std::vector<PEERFRAME> arFrame = m_stPeer.Frames(0, true);
    ASSERT_EQ(arFrame.size(), 2u);
    EXPECT_EQ(arFrame[0].m_strHead, HeadBytes(65, 0xFA, 0, 0, 0));
    EXPECT_EQ(arFrame[1].Bytes(), HeadBytes(20, 0, 0, 0, 0, strLogin));

    // A second opening logs out first, and a refused logout doesn't stop it; the session is a new one.
    ASSERT_EQ(m_stLink.UseDatabase("shop"), ERR_OK);
    m_Script = [](const PEERFRAME& stFrame) {
        return stFrame.Command() == MF_CMD_LOGOUT ? stFrame.Reply(MF_REPLY_FAIL, 12) : Welcome(stFrame);
    };
    m_stPeer.Frames(0, true);
    ASSERT_EQ(m_stLink.OpenAt(m_stPeer.Port()), ERR_OK);
    EXPECT_TRUE(Logged("888042010 UserLogOut User login logout, user name sys, return value: 12"));
    arFrame = m_stPeer.Frames(0, true);
    ASSERT_EQ(arFrame.size(), 3u) << "no database comes back";
    EXPECT_EQ(arFrame[0].Command(), MF_CMD_LOGOUT);
    EXPECT_EQ(Get<int>(arFrame[2].m_strHead, 4), 0);

    // So is the one after a link that was lost and never came back.
    m_Script = [](const PEERFRAME&) { return PEERANSWER("", PEER_CLOSES); };
    EXPECT_EQ(m_stLink.Run("begin"), -ERR_RECEIVE);
    EXPECT_EQ(m_stLink.m_nSessionID, SESSION_ID);
    m_stPeer.Frames(0, true);
    m_stLink.Close();
    EXPECT_EQ(m_stLink.m_bLogin, 0);
    EXPECT_EQ(m_stLink.m_nSessionID, 0);
    EXPECT_STREQ(m_stLink.m_szUserName, "sys") << "no logout, so they stay";
    EXPECT_TRUE(m_stPeer.Frames().empty());
}

TEST_F(DBInterfaceLogin, TellsAPortOfAnotherProtocol) {
    const struct {
        const char* m_lpszProbe;
        const char* m_lpszLogin;
        int m_nCode;
    } ROWS[] = {
        {"HTTP/1.1 400 Bad Request\r\n\r\n", nullptr, ERR_CONNECT}, // not even the token
        {"\x03", nullptr, ERR_CONNECT},                             // too little to see it
        {nullptr, "\x04", ERR_PROTOCOL},
        {nullptr, "", ERR_RECEIVE},
    };
    for (const auto& stRow : ROWS) {
        m_Script = [&](const PEERFRAME& stFrame) {
            const char* lpszStart = stFrame.Command() == MF_CMD_LOGIN ? stRow.m_lpszLogin : stRow.m_lpszProbe;
            if (!lpszStart) return Welcome(stFrame);
            std::string strReply = Welcome(stFrame).m_strBytes;
            return PEERANSWER(std::string(lpszStart) + (*lpszStart == 4 ? strReply.substr(1) : ""),
                              *lpszStart == 4 ? PEER_STAYS : PEER_CLOSES);
        };
        EXPECT_EQ(m_stLink.OpenAt(m_stPeer.Port()), stRow.m_nCode);
        EXPECT_EQ(m_stLink.m_nSocket, -1);
        EXPECT_EQ(m_stLink.m_bLogin, 0);
        EXPECT_EQ(Logged("888043002 ConnectToService "), stRow.m_lpszProbe != nullptr);
    }
    // A server that refuses the probe, or tells too much, is one of ours all the same.
    for (const std::size_t nLen : {std::size_t{0}, std::size_t{5000}}) {
        m_Script = [&](const PEERFRAME& stFrame) {
            if (stFrame.Command() != MF_CMD_CLUSTER_STATUS) return Welcome(stFrame);
            return PEERANSWER(stFrame.Reply(nLen ? MF_REPLY_OK : MF_REPLY_FAIL, 5, std::string(nLen, '\x7f')));
        };
        EXPECT_EQ(m_stLink.OpenAt(m_stPeer.Port()), ERR_OK);
        EXPECT_EQ(m_stLink.m_nAddressNum, 0);
    }
}

// The probe, the login and the database's return: first as the connection opens, then as it reconnects.
TEST_F(DBInterfaceLogin, SurvivesALoginCutAtEachByte) {
    for (const int nCommand : {MF_CMD_CLUSTER_STATUS, MF_CMD_LOGIN, MF_CMD_USE})
        for (std::size_t nCut = 0; nCut < (nCommand == MF_CMD_CLUSTER_STATUS ? 122 : 112) && !HasFailure(); ++nCut) {
            SCOPED_TRACE(testing::Message() << "command " << nCommand << ", cut at " << nCut);
            const bool bCloses = nCut % 2 != 0, bProbe = nCommand == MF_CMD_CLUSTER_STATUS;
            const auto Cut = [&, nLost = 0](const PEERFRAME& stFrame) mutable {
                if (stFrame.Command() == MF_CMD_EXECUTE && nLost++ == 0) return PEERANSWER("", PEER_CLOSES);
                const std::string strReply = Welcome(stFrame).m_strBytes;
                if (stFrame.Command() != nCommand) return PEERANSWER(strReply);
                return PEERANSWER(strReply.substr(0, nCut), bCloses ? PEER_CLOSES : PEER_RESETS);
            };
            if (nCommand != MF_CMD_USE) {
                m_Script = Cut;
                const int nCode = m_stLink.OpenAt(m_stPeer.Port());
                // A probe that fails is none: the login finds out, if not the first bytes did.
                const std::set<int> arExpected = !bProbe ? std::set<int>{bCloses ? ERR_RECEIVE : ERR_LINK_RESET}
                                                 : nCut > 0 && nCut <= 2
                                                     ? std::set<int>{ERR_CONNECT}
                                                     : std::set<int>{ERR_SEND, ERR_RECEIVE, ERR_LINK_RESET};
                EXPECT_TRUE(arExpected.contains(nCode)) << nCode;
                EXPECT_EQ(m_stLink.m_nSocket, -1);
                EXPECT_EQ(m_stPeer.Frames(MF_CMD_LOGIN).size(), bProbe ? 0u : 1u);
            }
            m_Script = nullptr;
            ASSERT_EQ(m_stLink.OpenAt(m_stPeer.Port()), ERR_OK);
            ASSERT_EQ(m_stLink.UseDatabase("shop"), ERR_OK);
            m_Script = Cut;
            EXPECT_EQ(m_stLink.Run("begin"), -ERR_RECEIVE);
            EXPECT_EQ(m_stLink.m_nSocket, -1);
            EXPECT_TRUE(m_stLink.IsFree());
            m_Script = nullptr;
            // Without its database a session can't go on.
            EXPECT_EQ(m_stLink.Run("begin"), nCommand == MF_CMD_USE ? -ERR_LINK_NOT_OPEN : 5);
            m_stPeer.Frames(0, true);
        }
}

TEST_F(DBInterfaceLogin, ReadsOnPastRepliesToOthers) {
    int nStale = 4;
    m_Script = [&](const PEERFRAME& stFrame) {
        std::string strReply;
        for (int i = 1; i <= nStale && stFrame.Command() != MF_CMD_CLUSTER_STATUS; ++i)
            strReply +=
                HeadBytes(1, stFrame.Token() + i, 0, 1, i == 4 ? 9000 : 0) + std::string(i == 4 ? 9000 : 0, 'b');
        return strReply + Welcome(stFrame).m_strBytes;
    };
    EXPECT_EQ(m_stLink.OpenAt(m_stPeer.Port()), ERR_OK);
    EXPECT_EQ(m_stLink.m_nSessionID, SESSION_ID);
    EXPECT_EQ(m_stLink.UseDatabase("shop"), ERR_OK);
    EXPECT_EQ(m_stLink.m_bDatabaseNo, 9);
    nStale = 5;
    EXPECT_EQ(m_stLink.UseDatabase("shop"), ERR_OK) << "the fifth counts";
    EXPECT_EQ(m_stLink.m_bDatabaseNo, 0);
}

TEST_F(DBInterfaceLogin, OpensByAnAddressOrByADescriptor) {
    char szUser[] = "sys", szIP[] = "127.0.0.1", szName[] = "shop";
    EXPECT_EQ(m_stLink.Open(szName, szUser, nullptr), ERR_DESCRIPTOR_FILE);
    EXPECT_EQ(m_stLink.Open(szIP, 0, szUser, nullptr), ERR_DESCRIPTOR_FILE);
    EXPECT_EQ(m_stLink.Open(szName, 1, szUser, nullptr), ERR_DESCRIPTOR_FILE);
    EXPECT_EQ(m_stLink.Open(nullptr, 1, szUser, nullptr), ERR_DESCRIPTOR_FILE);
    std::string strLong(50, 'u');
    EXPECT_EQ(m_stLink.OpenWithAddress(strLong.data(), nullptr, HostIP(szIP), m_stPeer.Port(), 1), ERR_OK);
    EXPECT_EQ(m_stLink.m_szUserName, std::string(32, 'u'));
    EXPECT_EQ(m_stPeer.Frames(MF_CMD_LOGIN)[0].m_strHead[13], 1) << "a direct connection says so";
    m_stPeer.Stop();
    EXPECT_EQ(m_stLink.OpenAt(m_stPeer.Port()), ERR_CONNECT);
    EXPECT_EQ(m_nSlept, 0);
    EXPECT_TRUE(Logged("888003002 Connect Connection to server failed, error code: 111, server IP: 127.0.0.1, port: " +
                       std::to_string(m_stPeer.Port())));
    EXPECT_EQ(m_stLink.OpenWithAddress(szUser, nullptr, HostIP(szIP), m_stPeer.Port(), 1), ERR_CONNECT);
    rlimit stKept{};
    getrlimit(RLIMIT_NOFILE, &stKept);
    const rlimit stNone{0, stKept.rlim_max};
    setrlimit(RLIMIT_NOFILE, &stNone);
    EXPECT_EQ(m_stLink.OpenAt(m_stPeer.Port()), ERR_SOCKET_CREATE);
    setrlimit(RLIMIT_NOFILE, &stKept);
    EXPECT_TRUE(Logged("888003001 Connect Failed to create socket connection. Error code: 24"));
    IKestroDBConnection* pConnection = nullptr;
    EXPECT_EQ(CreateKestroDBInstance(pConnection), 0);
    pConnection->Release();

    EXPECT_EQ(CDBInterface::StringToIpAddress(nullptr), 0u);
    EXPECT_EQ(CDBInterface::StringToIpAddress(szIP), 0x7F000001u);
    char szLocal[] = "localhost", szNobody[] = "no host of this name";
    EXPECT_EQ(CDBInterface::StringToIpAddress(szLocal) >> 24, 127u);
    EXPECT_EQ(CDBInterface::StringToIpAddress(szNobody), 0xFFFFFFFFu);
    EXPECT_NE(CDBInterface::GetIpAddress(), 0u);
}

TEST_F(DBInterfaceLogin, FollowsTheClusterToItsMaster) {
    CScriptedPeer stMaster(Welcome, "127.0.0.2");
    std::vector<NODE> arNode{{"127.0.0.1", m_stPeer.Port()}, {"127.0.0.2", stMaster.Port()}};
    m_strCluster = Cluster(arNode[1], arNode, 2);
    ASSERT_EQ(m_stLink.OpenAt(m_stPeer.Port()), ERR_OK);
    EXPECT_EQ(m_stLink.m_nAddressIndex, 1);
    EXPECT_EQ(m_stLink.m_dwServerIP, inet_addr("127.0.0.2"));
    EXPECT_EQ(m_stLink.m_arrAddress[1].m_nNodeInfo, 1001u);
    EXPECT_EQ(stMaster.Frames(MF_CMD_LOGIN).size(), 1u);
    EXPECT_EQ(m_stPeer.Frames(MF_CMD_LOGIN).size(), 0u);

    // Twelve nodes, of which ten count, or a number that isn't one; here is the master.
    arNode.resize(12, {"127.0.0.3", 1});
    const struct {
        int m_nNum;
        int m_nCounted;
    } ROWS[] = {{12, 10}, {-1, 0}, {0x7FFFFFFF, 10}, {1, 1}};
    for (const auto& stRow : ROWS) {
        m_strCluster = Cluster(arNode[0], arNode, stRow.m_nNum);
        ASSERT_EQ(m_stLink.OpenAt(m_stPeer.Port()), ERR_OK);
        EXPECT_EQ(m_stLink.m_nAddressNum, stRow.m_nCounted);
        EXPECT_EQ(m_stLink.m_dwServerIP, inet_addr("127.0.0.1"));
    }
    // A master that can't be reached: stay here.
    stMaster.Stop();
    arNode.resize(2);
    m_strCluster = Cluster(arNode[1], arNode, 2);
    ASSERT_EQ(m_stLink.OpenAt(m_stPeer.Port()), ERR_OK);
    EXPECT_EQ(m_stLink.m_dwServerIP, inet_addr("127.0.0.1"));
    EXPECT_EQ(m_stLink.Run("begin"), 5);
    // A direct connection counts, and goes nowhere.
    char szUser[] = "sys";
    ASSERT_EQ(m_stLink.OpenWithAddress(szUser, szUser, HostIP("127.0.0.1"), m_stPeer.Port(), 1), ERR_OK);
    EXPECT_EQ(m_stLink.m_nAddressNum, 2);
}

TEST_F(DBInterfaceLogin, MovesToTheNextNode) {
    int nServerID = SERVER_ID;
    const auto Second = [&](const PEERFRAME& stFrame) {
        PEERANSWER stAnswer = Welcome(stFrame);
        if (stFrame.Command() == MF_CMD_LOGIN) Put(stAnswer.m_strBytes, 4, nServerID);
        if (stFrame.Command() == MF_CMD_EXECUTE) return PEERANSWER(stFrame.Reply(MF_REPLY_OK, 22));
        return stAnswer;
    };
    CScriptedPeer stSecond(Second, "127.0.0.2");
    const std::vector<NODE> arNode{{"127.0.0.1", m_stPeer.Port()}, {"127.0.0.3", 1}, {"127.0.0.2", stSecond.Port()}};
    m_strCluster = Cluster(arNode[0], arNode, 3);
    bool bLeave = false;
    m_Script = [&](const PEERFRAME& stFrame) {
        return stFrame.Command() == MF_CMD_EXECUTE && bLeave ? stFrame.Reply(MF_REPLY_FAIL, ERR_NODE_LEFT)
                                                             : Welcome(stFrame);
    };
    ASSERT_EQ(m_stLink.OpenAt(m_stPeer.Port()), ERR_OK);
    bLeave = true;
    EXPECT_EQ(m_stLink.Run("begin"), 22) << "told to leave";
    EXPECT_EQ(m_nSlept, 4 * 100'000) << "the node between refuses";
    EXPECT_EQ(m_stLink.m_usServerPort, htons(stSecond.Port()));
    EXPECT_EQ(m_stLink.m_nAddressIndex, 0) << "the next switch begins there again";

    bLeave = false;
    ASSERT_EQ(m_stLink.OpenAt(m_stPeer.Port()), ERR_OK);
    m_stPeer.Stop();
    EXPECT_EQ(m_stLink.Run("begin"), 22) << "the node is gone";
    nServerID = 8;
    stSecond.Stop();
    EXPECT_EQ(m_stLink.Run("begin"), -ERR_RECEIVE);
    EXPECT_EQ(m_stLink.Run("begin"), -ERR_CONNECT);
    EXPECT_EQ(m_stLink.m_usServerPort, htons(stSecond.Port())) << "all tried, none left: as before";
}

TEST_F(DBInterfaceLogin, EndsASessionThatCannotGoOn) {
    for (const int nCommand : {int{MF_CMD_LOGIN}, int{MF_CMD_USE}, 0}) {
        m_Script = nullptr;
        ASSERT_EQ(m_stLink.OpenAt(m_stPeer.Port()), ERR_OK);
        ASSERT_EQ(m_stLink.UseDatabase(std::string(31, 'd').c_str()), ERR_OK);
        EXPECT_EQ(m_stLink.UseDatabase(std::string(32, 'd').c_str()), ERR_FAILED);
        EXPECT_EQ(m_stLink.m_bDatabaseNo, 9);
        bool bLost = false;
        m_Script = [&, nCommand](const PEERFRAME& stFrame) {
            if (!std::exchange(bLost, true)) return PEERANSWER("", PEER_CLOSES);
            // Another server, a database that is gone, or all well but nowhere to go.
            if (stFrame.Command() == MF_CMD_LOGIN && nCommand == MF_CMD_LOGIN)
                return PEERANSWER(stFrame.Reply(MF_REPLY_OK, SERVER_ID + 1));
            if (stFrame.Command() == MF_CMD_USE && nCommand == MF_CMD_USE)
                return PEERANSWER(stFrame.Reply(MF_REPLY_FAIL, 33));
            return stFrame.Command() == MF_CMD_EXECUTE ? stFrame.Reply(MF_REPLY_FAIL, ERR_NODE_LEFT) : Welcome(stFrame);
        };
        EXPECT_EQ(m_stLink.Run("begin"), nCommand ? -ERR_RECEIVE : 3);
        EXPECT_EQ(m_stLink.m_bLogin, nCommand ? 0 : 1);
        EXPECT_EQ(m_stLink.m_nSocket, -1);
        EXPECT_EQ(m_stLink.Run("begin"), nCommand ? -ERR_LINK_NOT_OPEN : 3);
    }
    // With the link lost, USE reconnects as every request does.
    m_Script = nullptr;
    m_stPeer.Frames(0, true);
    EXPECT_EQ(m_stLink.UseDatabase("other"), ERR_OK);
    EXPECT_EQ(m_stPeer.Frames(MF_CMD_USE).size(), 2u);
}

} // namespace
