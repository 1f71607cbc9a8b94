#include <sys/resource.h>

#include <set>

#include "LinkTest.h"

namespace {

class DBInterfaceLogin : public CLinkTest {
protected:
    using NODE = std::pair<const char*, unsigned short>;
    static unsigned HostIP(const char* lpszIP) { return ntohl(inet_addr(lpszIP)); }
    /** The state of a cluster; every node is known to the others by the address that clients use. */
    static std::string Cluster(const NODE& stMaster, const std::vector<NODE>& arNode, int nNum) {
        std::string strBody(10 + 30 * arNode.size(), '\x55');
        strBody.replace(0, 10, RawBytes(HostIP(stMaster.first), stMaster.second, nNum));
        for (std::size_t i = 0; i < arNode.size(); ++i) {
            const unsigned nIP = HostIP(arNode[i].first), nInfo = static_cast<unsigned>(1000 + i);
            strBody.replace(10 + 30 * i, 10, RawBytes(nIP, nIP, arNode[i].second));
            Put(strBody, 36 + 30 * i, nInfo);
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

    std::string strName = std::filesystem::read_symlink("/proc/self/exe").filename().string();
    strName.resize(24);
    const std::string strLogin = std::string("\1\0", 2) + strName + RawBytes(getpid(), gettid(), dwIP, usPort) + "sys" +
                                 std::string(33, '\0') + std::string(24, 'p');
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
    EXPECT_TRUE(arFrame[0].Command() == MF_CMD_LOGOUT && Get<int>(arFrame[2].m_strHead, 4) == 0);

    // So is the one after a link that was lost and never came back.
    m_Script = [](const PEERFRAME&) { return PEERANSWER("", PEER_CLOSES); };
    EXPECT_EQ(m_stLink.Run("begin"), -ERR_RECEIVE);
    EXPECT_EQ(m_stLink.m_nSessionID, SESSION_ID);
    m_stPeer.Frames(0, true);
    m_stLink.Close();
    EXPECT_TRUE(m_stLink.m_bLogin == 0 && m_stLink.m_nSessionID == 0 && m_stPeer.Count() == 0);
    EXPECT_STREQ(m_stLink.m_szUserName, "sys") << "no logout, so they stay";
}

TEST_F(DBInterfaceLogin, TellsAPortOfAnotherProtocol) {
    const std::tuple<const char*, const char*, int> ROWS[] = {
        {"HTTP/1.1 400 Bad Request\r\n\r\n", nullptr, ERR_CONNECT}, // not even the token
        {"\x03", nullptr, ERR_CONNECT},                             // too little to see it
        {nullptr, "\x04", ERR_PROTOCOL},
        {nullptr, "", ERR_RECEIVE},
    };
    for (const auto& [lpszProbe, lpszLogin, nCode] : ROWS) {
        m_Script = [&, lpszProbe = lpszProbe, lpszLogin = lpszLogin](const PEERFRAME& stFrame) {
            const char* lpszStart = stFrame.Command() == MF_CMD_LOGIN ? lpszLogin : lpszProbe;
            if (!lpszStart) return Welcome(stFrame);
            if (*lpszStart != 4) return PEERANSWER(lpszStart, PEER_CLOSES);
            return PEERANSWER(lpszStart + Welcome(stFrame).m_strBytes.substr(1));
        };
        EXPECT_EQ(m_stLink.OpenAt(m_stPeer.Port()), nCode);
        EXPECT_TRUE(m_stLink.m_nSocket == -1 && m_stLink.m_bLogin == 0);
        EXPECT_EQ(Logged("888043002 ConnectToService "), lpszProbe != nullptr);
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
                std::set<int> arExpected{bCloses ? ERR_RECEIVE : ERR_LINK_RESET};
                if (bProbe) arExpected = {ERR_SEND, ERR_RECEIVE, ERR_LINK_RESET};
                if (bProbe && nCut > 0 && nCut <= 2) arExpected = {ERR_CONNECT};
                EXPECT_TRUE(arExpected.contains(nCode)) << nCode;
                EXPECT_EQ(m_stLink.m_nSocket, -1);
                EXPECT_EQ(m_stPeer.Count(MF_CMD_LOGIN), !bProbe);
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
        for (int i = 1; i <= nStale && stFrame.Command() != MF_CMD_CLUSTER_STATUS; ++i) {
            const std::string strBody(i == 4 ? 9000 : 0, 'b');
            strReply += HeadBytes(1, stFrame.Token() + i, 0, 1, strBody.size()) + strBody;
        }
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
    for (const auto& [lpszIP, nPort] : {std::pair{szIP, 0}, {szName, 1}, {static_cast<char*>(nullptr), 1}})
        EXPECT_EQ(m_stLink.Open(lpszIP, nPort, szUser, nullptr), ERR_DESCRIPTOR_FILE);
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

    char szLocal[] = "localhost", szNobody[] = "no host of this name";
    const std::pair<char*, unsigned> ROWS[] = {
        {nullptr, 0}, {szIP, INADDR_LOOPBACK}, {szLocal, INADDR_LOOPBACK}, {szNobody, INADDR_NONE}};
    for (const auto& [lpszName, nIP] : ROWS)
        EXPECT_EQ(CDBInterface::StringToIpAddress(lpszName), nIP);
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
    EXPECT_TRUE(stMaster.Count(MF_CMD_LOGIN) == 1 && m_stPeer.Count(MF_CMD_LOGIN) == 0);

    // Twelve nodes, of which ten count, or a number that isn't one; here is the master.
    arNode.resize(12, {"127.0.0.3", 1});
    for (const auto& [nNum, nCounted] : {std::pair{12, 10}, {-1, 0}, {0x7FFFFFFF, 10}, {1, 1}}) {
        m_strCluster = Cluster(arNode[0], arNode, nNum);
        ASSERT_EQ(m_stLink.OpenAt(m_stPeer.Port()), ERR_OK);
        EXPECT_EQ(m_stLink.m_nAddressNum, nCounted);
        EXPECT_EQ(m_stLink.m_dwServerIP, inet_addr("127.0.0.1"));
    }
    // More than the report holds.
    m_strCluster = Cluster(arNode[0], {arNode[0]}, 3);
    ASSERT_EQ(m_stLink.OpenAt(m_stPeer.Port()), ERR_OK);
    EXPECT_EQ(m_stLink.m_nAddressNum, 1);
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
    const auto Second = [](const PEERFRAME& stFrame) {
        return stFrame.Command() == MF_CMD_EXECUTE ? stFrame.Reply(MF_REPLY_OK, 22) : Welcome(stFrame);
    };
    CScriptedPeer stSecond(Second, "127.0.0.2");
    const std::vector<NODE> arNode{{"127.0.0.1", m_stPeer.Port()}, {"127.0.0.3", 1}, {"127.0.0.2", stSecond.Port()}};
    m_strCluster = Cluster(arNode[0], arNode, 3);
    ASSERT_EQ(m_stLink.OpenAt(m_stPeer.Port()), ERR_OK);
    m_Script = [](const PEERFRAME& stFrame) { return stFrame.Reply(MF_REPLY_FAIL, ERR_NODE_LEFT); };
    EXPECT_EQ(m_stLink.Run("begin"), 22) << "told to leave";
    EXPECT_EQ(m_nSlept, 4 * 100'000) << "the node between refuses";
    EXPECT_EQ(m_stLink.m_usServerPort, htons(stSecond.Port()));
    EXPECT_EQ(m_stLink.m_nAddressIndex, 0) << "the next switch begins there again";

    m_Script = nullptr;
    ASSERT_EQ(m_stLink.OpenAt(m_stPeer.Port()), ERR_OK);
    m_stPeer.Stop();
    EXPECT_EQ(m_stLink.Run("begin"), 22) << "the node is gone";
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
            if (stFrame.Command() == nCommand)
                return PEERANSWER(stFrame.Reply(nCommand == MF_CMD_LOGIN ? MF_REPLY_OK : MF_REPLY_FAIL, SERVER_ID + 1));
            return stFrame.Command() == MF_CMD_EXECUTE ? stFrame.Reply(MF_REPLY_FAIL, ERR_NODE_LEFT) : Welcome(stFrame);
        };
        EXPECT_EQ(m_stLink.Run("begin"), nCommand ? -ERR_RECEIVE : 3);
        EXPECT_TRUE(m_stLink.m_bLogin == !nCommand && m_stLink.m_nSocket == -1);
        EXPECT_EQ(m_stLink.Run("begin"), nCommand ? -ERR_LINK_NOT_OPEN : 3);
    }
}

} // namespace
