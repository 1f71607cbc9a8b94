#include "LinkTest.h"

// What all requests share is tested with the exchange.

namespace {

template <typename... A>
std::string Bytes(A... nValues) {
    std::string strBytes;
    (strBytes.append(reinterpret_cast<const char*>(&nValues), sizeof nValues), ...);
    return strBytes;
}

TEST_F(CLinkTest, SendsEachAdministrativeRequestByteForByte) {
    std::string strNode("a name of thirty-two characters!, and more"), strHost(256, '\0');
    gethostname(strHost.data(), 255);
    strHost.resize(31);
    const struct {
        int m_nCommand, m_nFlag, m_nValue;
        std::string m_strParam;
        std::function<int()> m_Run;
    } ROWS[] = {
        {55, 254, 0, Bytes(-2LL), [&] { return m_stLink.Backup(254, -2, nullptr, nullptr); }},
        {56, 0, 0, Bytes(-3LL, 1LL << 62, -4), [&] { return m_stLink.Recover(-3, 1LL << 62, -4, nullptr, nullptr); }},
        {57, 0, 0, Bytes(1LL << 40), [&] { return m_stLink.DeleteBackup(1LL << 40); }},
        {58, 0, 0, Bytes(0LL, 0LL, -5), [&] { return m_stLink.DeleteArchiveLog(-5); }},
        {68, 0, 0xFFFE, Bytes(0xC0A80001, 8000, 0x85) + strNode.substr(0, 31) + '\0' + strHost,
         [&] { return m_stLink.AddNewNode(0xFFFE, 0xC0A80001, 0x185, 8000, strNode.data()); }},
        {69, 0, 0, Bytes(0xC0A80001, USHORT{8000}, '\x85'),
         [&] { return m_stLink.ClusterDropNode(0xC0A80001, 8000, 0x185); }},
        {112, 253, 0, Bytes(0xC0A80001, 8000), [&] { return m_stLink.ClusterModifyNode(0xC0A80001, 8000, 253); }},
    };
    for (const auto& stRow : ROWS)
        EXPECT_EQ(stRow.m_Run(), ERR_LINK_NOT_OPEN) << stRow.m_nCommand;
    ASSERT_EQ(m_stLink.OpenAt(m_stPeer.Port()), ERR_OK);
    EXPECT_EQ(m_stLink.AddNewNode(1, 2, 3, 4, nullptr), ERR_NULL_POINTER);
    for (const auto& stRow : ROWS) {
        m_stPeer.Frames(0, true);
        EXPECT_EQ(stRow.m_Run(), ERR_OK);
        const std::vector<PEERFRAME> arFrame = m_stPeer.Frames();
        ASSERT_EQ(arFrame.size(), 1u);
        EXPECT_EQ(arFrame[0].Bytes(),
                  HeadBytes(stRow.m_nCommand, 0, stRow.m_nFlag, stRow.m_nValue, 0, stRow.m_strParam));
    }
    EXPECT_STREQ(strNode.c_str(), "a name of thirty-two characters") << "cut where it stands";
    m_Script = [](const PEERFRAME& stFrame) { return PEERANSWER(stFrame.Reply(MF_REPLY_OK, 0, "body")); };
    EXPECT_EQ(ROWS[4].m_Run(), ERR_RECEIVED_DATA);
    EXPECT_TRUE(
        Logged("888041013 AddNewNode The client automatically cleans up the TCP cache data. The command type "
               "received is 1"));
    m_stLink.m_nSocket = (close(m_stLink.m_nSocket), -1);
    m_Script = nullptr;
    EXPECT_EQ(ROWS[4].m_Run(), ERR_OK) << "reconnects first";
}

TEST_F(CLinkTest, TellsHowFarABackupAndARecoveryAre) {
    ASSERT_EQ(m_stLink.OpenAt(m_stPeer.Port()), ERR_OK);
    const KESTROPROGRESS lpfnProgress = [](void* pUser, const char* lpszText, int nTotal, int nCurrent) {
        *static_cast<std::string*>(pUser) += lpszText + std::to_string(nTotal) + std::to_string(nCurrent);
        return nTotal == 99 ? throw KestroExeception() : nTotal;
    };
    for (const bool bBackup : {true, false})
        for (const int nTotal : {7, 0, 99}) {
            m_Script = [&](const PEERFRAME& stFrame) {
                return stFrame.Command() != MF_CMD_BACKUP && stFrame.Command() != MF_CMD_RECOVER
                           ? Welcome(stFrame)
                           : stFrame.Reply(MF_REPLY_PENDING, 0, "", 1, std::string(80, 't') + Bytes(nTotal, -1)) +
                                 stFrame.Reply(MF_REPLY_OK);
            };
            std::string strSeen;
            EXPECT_EQ(bBackup ? m_stLink.Backup(1, 2, lpfnProgress, &strSeen)
                              : m_stLink.Recover(1, 2, 3, lpfnProgress, &strSeen),
                      nTotal == 7   ? ERR_OK
                      : nTotal == 0 ? ERR_FAILED
                                    : ERR_EXCEPTION);
            EXPECT_EQ(strSeen, std::string(80, 't') + std::to_string(nTotal) + "-1");
            EXPECT_EQ(m_stLink.m_nSocket != -1, nTotal == 7);
            EXPECT_EQ(Logged(bBackup ? "888049099 Backup Database backup abnormal, error code: "
                                     : "888055099 Recover Database recovery abnormal, error code: "),
                      nTotal == 99);
            EXPECT_TRUE(m_stLink.IsFree() && m_stLink.m_bBusy == 0);
        }
}

TEST_F(CLinkTest, FollowsTheAddressWhenTheServerDropsTheLink) {
    static CTestLink* lpLink;
    static int nTry, nRefused, nSetBack;
    static USHORT usPort;
    lpLink = &m_stLink;
    usPort = htons(m_stPeer.Port());
    const std::int64_t nKept = m_nNow;
    // Each sleep takes its time, and ends with a try to connect.
    g_stPlatform.m_lpfnSleep = [](std::int64_t nTime) {
        m_nSlept += nTime;
        m_nNow += nTry == nSetBack ? -3600 * SECOND : nTime;
        lpLink->m_usServerPort = nTry++ < nRefused ? htons(1) : usPort;
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
                       ? stFrame.Reply(stRow.m_nLoginStatus, stRow.m_nLoginValue, "", 0, Bytes(101, 201))
                       : stFrame.Reply(MF_REPLY_OK, 0, "", stRow.m_nFlag);
        };
        m_stPeer.Frames(0, true);
        nTry = 0;
        nRefused = stRow.m_nRefused;
        nSetBack = stRow.m_nSetBack;
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
        m_stLink.m_usServerPort = usPort;
        EXPECT_EQ(m_stLink.Run("commit"), stRow.m_bLogin ? 5 : -ERR_LINK_NOT_OPEN);
    }
    m_nNow = nKept;
}

} // namespace
