#include "LinkTest.h"
#include "RecordsetMaker.h"

// What all requests share is tested with the exchange.

namespace {

TEST_F(CLinkTest, TakesANodeIn) {
    std::string strNode(32, 'n');
    ASSERT_EQ(m_stLink.OpenAt(m_stPeer.Port()), ERR_OK);
    EXPECT_EQ(m_stLink.AddNewNode(1, 2, 3, 4, nullptr), ERR_NULL_POINTER);
    m_Script = [](const PEERFRAME& stFrame) { return stFrame.Reply(MF_REPLY_OK, 0, "body"); };
    EXPECT_EQ(m_stLink.AddNewNode(1, 2, 3, 4, strNode.data()), ERR_RECEIVED_DATA);
    EXPECT_STREQ(strNode.c_str(), std::string(31, 'n').c_str()) << "cut where it stands";
    EXPECT_TRUE(Logged("888041013 AddNewNode The client automatically cleans up the TCP cache data. The command "));
    m_stLink.m_nSocket = (close(m_stLink.m_nSocket), -1);
    m_Script = nullptr;
    EXPECT_EQ(m_stLink.AddNewNode(1, 2, 3, 4, strNode.data()), ERR_OK) << "reconnects first";
}

TEST_F(CLinkTest, FollowsTheAddressWhenTheServerDropsTheLink) {
    static struct {
        CTestLink* m_lpLink;
        USHORT m_usPort;
        int m_nRefused, m_nSetBack, m_nTry;
    } stNode;
    const std::int64_t nKept = m_nNow;
    // Each sleep takes its time, and ends with a try to connect.
    g_stPlatform.m_lpfnSleep = [](std::int64_t nTime) {
        m_nSlept += nTime;
        m_nNow += stNode.m_nTry == stNode.m_nSetBack ? -3600 * SECOND : nTime;
        stNode.m_lpLink->m_usServerPort = stNode.m_nTry++ < stNode.m_nRefused ? htons(1) : stNode.m_usPort;
    };
    const struct {
        const char* m_lpszName;
        int m_nFlag, m_nRefused, m_nSetBack, m_nLoginStatus, m_nLoginValue, m_nCode, m_nSlept, m_bLogin, m_nLogins;
    } ROWS[] = {
        {"nothing happens to the link", 3, 0, -1, MF_REPLY_OK, SERVER_ID, ERR_OK, 0, 1, 0},
        {"there at once", 2, 0, -1, MF_REPLY_OK, SERVER_ID, ERR_OK, 500, 1, 1},
        {"there at the last try", 2, 601, -1, MF_REPLY_OK, SERVER_ID, ERR_OK, 60'600, 1, 1},
        {"too late", 2, 602, -1, MF_REPLY_OK, SERVER_ID, ERR_VIP_SWITCH, 60'600, 1, 0},
        {"too late, the clock set back", 2, 9999, 300, MF_REPLY_OK, SERVER_ID, ERR_VIP_SWITCH, 90'600, 1, 0},
        {"refused", 2, 1, -1, MF_REPLY_FAIL, 17, 17, 600, 1, 1},
        {"no longer the same server", 2, 1, -1, MF_REPLY_OK, SERVER_ID + 1, ERR_LINK_NOT_OPEN, 600, 0, 1},
    };
    for (int i = 0; i < 2 * static_cast<int>(std::size(ROWS)); ++i) {
        const auto& stRow = ROWS[i / 2];
        SCOPED_TRACE(stRow.m_lpszName);
        m_Script = nullptr;
        ASSERT_EQ(m_stLink.OpenAt(m_stPeer.Port()), ERR_OK);
        m_Script = [&](const PEERFRAME& stFrame) {
            return stFrame.Command() == MF_CMD_LOGIN
                       ? stFrame.Reply(stRow.m_nLoginStatus, stRow.m_nLoginValue, "", 0, RawBytes(101, 201))
                       : stFrame.Reply(MF_REPLY_OK, 0, "", stRow.m_nFlag);
        };
        m_stPeer.Frames(0, true);
        stNode = {&m_stLink, htons(m_stPeer.Port()), stRow.m_nRefused, stRow.m_nSetBack, 0};
        m_nSlept = 0;
        EXPECT_EQ(i % 2 ? m_stLink.ClusterDropNode(1, 2, 3) : m_stLink.ClusterModifyNode(1, 2, 3), stRow.m_nCode);
        EXPECT_EQ(m_nSlept, stRow.m_nSlept * 1000);
        EXPECT_EQ(m_stLink.m_bLogin, stRow.m_bLogin);
        EXPECT_EQ(m_stLink.m_nSocket != -1, stRow.m_nCode == ERR_OK);
        EXPECT_EQ(m_stLink.m_nSessionID, stRow.m_nLogins == 0 ? SESSION_ID : stRow.m_nCode == ERR_OK ? 101 : 0);
        const std::vector<PEERFRAME> arLogin = m_stPeer.Frames(MF_CMD_LOGIN);
        ASSERT_EQ(static_cast<int>(arLogin.size()), stRow.m_nLogins);
        for (const PEERFRAME& stFrame : arLogin)
            EXPECT_EQ(Get<int>(stFrame.m_strHead, 4), 0) << "a new session";
        // Who is still logged in goes on by himself when the address answers.
        m_Script = nullptr;
        m_stLink.m_usServerPort = stNode.m_usPort;
        EXPECT_EQ(m_stLink.Run("commit"), stRow.m_bLogin ? 5 : -ERR_LINK_NOT_OPEN);
    }
    m_nNow = nKept;
}

} // namespace
