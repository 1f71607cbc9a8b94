#include <set>

#include "ChunkFault.h"
#include "LinkTest.h"
#include "RecordsetMaker.h"

namespace {

/** A recordset with a change, so that there is something to save. */
void MakeChanged(CMemDBRecordset& stSet) {
    ASSERT_EQ(Analyse(stSet, CRecordsetMaker("ID:1|NAME:6").Row(1, "1|one").Row(2, "2|two").Block()), ERR_OK);
    ASSERT_EQ(stSet.MoveFirst(), ERR_OK);
    ASSERT_EQ(stSet.SetField(1, "eins"), ERR_OK);
}

const std::string REDO_RECORD("\x09\0\0\0redo!", 9);

/** A request, each time the same. */
struct REQUESTROW {
    const char* m_lpszName;
    int m_nCommand;
    /** Sends when each link is closed, or reset, before the reply's head is whole. */
    int m_nClosedSends;
    int m_nResetSends;
    /** The code when its body is cut; 0 without a body. */
    int m_nBodyCode;
    int (*m_lpfnRun)(CTestLink& stLink);

    friend void PrintTo(const REQUESTROW& stRow, std::ostream* pOut) { *pOut << stRow.m_lpszName; }
};

int g_nOut;

// clang-format off
constexpr REQUESTROW REQUESTS[] = {
    {"Execute", 5, 3, 3, 0, [](CTestLink& stLink) { return stLink.ExecuteCommand("begin", g_nOut, nullptr); }},
    {"Cursor", 5, 3, 3, 0, [](CTestLink& stLink) {
        void* pCursor = nullptr;
        std::string strSql("commit");
        const int nCode = stLink.Parse(strSql.data(), pCursor);
        return nCode != ERR_OK ? nCode : stLink.Execute(pCursor, g_nOut, static_cast<void*>(nullptr)); }},
    {"Query", 6, 3, 3, ERR_RECEIVE, [](CTestLink& stLink) {
        CMemDBRecordset stSet;
        return stLink.GetRecordset("rollback", stSet, nullptr); }},
    {"Update", 7, 3, 3, 0, [](CTestLink& stLink) {
        CMemDBRecordset stSet;
        const std::int64_t nFault = KestroChunkFailNth(0);
        MakeChanged(stSet);
        KestroChunkFailNth(nFault);
        return stLink.UpdateRecordset(stSet, nullptr); }},
    {"Start", 8, 3, 3, 0, [](CTestLink& stLink) {
        return stLink.StartTransactionLogic(std::string(95, 't').data(), g_nOut); }},
    {"Stop", 9, 3, 3, 0, [](CTestLink& stLink) { return stLink.StopTransactionLogic(-77); }},
    {"PlanInfo", 10, 3, 3, ERR_RECEIVED_DATA, [](CTestLink& stLink) {
        EXECUTEPLANDESCRIBE stDescribe;
        return stLink.GetExecutePlanInfo("begin work", &stDescribe, nullptr); }},
    {"Redo", 11, 1, 3, 0, [](CTestLink& stLink) {
        return stLink.KestroRedo(reinterpret_cast<BYTE*>(std::string(REDO_RECORD).data()), 0xFFFE); }},
    {"Status", 65, 1, 1, ERR_RECEIVE, [](CTestLink& stLink) {
        BYTE arStatus[16];
        return stLink.GetClusterStatus(arStatus, sizeof arStatus, 0); }},
    {"AddNode", 68, 1, 1, 0, [](CTestLink& stLink) {
        return stLink.AddNewNode(0xFFFE, 0xC0A80001, 0x185, 8000, std::string(32, 'n').data()); }},
    {"DropNode", 69, 3, 3, 0, [](CTestLink& stLink) { return stLink.ClusterDropNode(0xC0A80001, 8000, 0x185); }},
    {"ModifyNode", 112, 3, 3, 0, [](CTestLink& stLink) { return stLink.ClusterModifyNode(0xC0A80001, 8000, 253); }},
    {"Backup", 55, 3, 3, 0, [](CTestLink& stLink) { return stLink.Backup(254, -2, nullptr, nullptr); }},
    {"Recover", 56, 3, 3, 0, [](CTestLink& stLink) { return stLink.Recover(-3, 1LL << 62, -4, nullptr, nullptr); }},
    {"DeleteBackup", 57, 3, 3, 0, [](CTestLink& stLink) { return stLink.DeleteBackup(1LL << 40); }},
    {"DeleteArchive", 58, 3, 3, 0, [](CTestLink& stLink) { return stLink.DeleteArchiveLog(-5); }},
    {"LogOut", 21, 1, 1, 0, [](CTestLink& stLink) {
        const int nCode = stLink.UserLogOut(g_nOut);
        stLink.m_bLogin = 1;
        return nCode; }},
    {"Use", 25, 1, 1, 0, [](CTestLink& stLink) { return stLink.UseDatabase("shop"); }}, // the last: it reads on
};
// clang-format on

class DBInterfaceExchange : public CLinkTest, public testing::WithParamInterface<REQUESTROW> {
protected:
    void SetUp() override {
        CLinkTest::SetUp();
        m_strBlock = CRecordsetMaker("A:1").Row(1, "1").Block();
        ASSERT_EQ(m_stLink.OpenAt(m_stPeer.Port()), ERR_OK);
        m_stPeer.Frames(0, true);
    }
    static bool IsProbe(const PEERFRAME& stFrame) { return stFrame.Token() == FRAME_PROBE_TOKEN; }
    int Run() { return GetParam().m_lpfnRun(m_stLink); }
    /** The command under test is answered by the step, all others by a friendly server. */
    void Answer(CScriptedPeer::SCRIPT Step) {
        m_Script = [this, Step](const PEERFRAME& stFrame) {
            return stFrame.Command() != GetParam().m_nCommand || IsProbe(stFrame) ? Welcome(stFrame) : Step(stFrame);
        };
    }
    /** The request was sent so often, each time with a token of its own; the lock is free; the next one works. */
    void ExpectSends(int nSends) {
        std::vector<PEERFRAME> arFrame = m_stPeer.Frames(GetParam().m_nCommand, true);
        std::erase_if(arFrame, IsProbe);
        EXPECT_EQ(static_cast<int>(arFrame.size()), nSends);
        std::set<int> arToken{0};
        for (const PEERFRAME& stFrame : arFrame) {
            EXPECT_EQ(stFrame.Bytes(), arFrame[0].Bytes());
            EXPECT_TRUE(arToken.insert(stFrame.Token()).second);
        }
        m_Script = nullptr;
        EXPECT_TRUE(m_stLink.IsFree());
        EXPECT_EQ(m_stLink.Run("commit"), 5);
        EXPECT_EQ(Run(), ERR_OK);
        m_stPeer.Frames(0, true);
    }
};
class DBInterfaceToken : public DBInterfaceExchange {};

const auto RequestName = [](const auto& stInfo) { return stInfo.param.m_lpszName; };
INSTANTIATE_TEST_SUITE_P(All, DBInterfaceExchange, testing::ValuesIn(REQUESTS), RequestName);
INSTANTIATE_TEST_SUITE_P(Resending, DBInterfaceToken, testing::ValuesIn(std::begin(REQUESTS), std::end(REQUESTS) - 1),
                         RequestName);

TEST_P(DBInterfaceExchange, SurvivesALinkCutAtEachByte) {
    const REQUESTROW& stRow = GetParam();
    const std::size_t nWhole = Welcome({HeadBytes(stRow.m_nCommand, 1, 0, 0, 0), ""}).m_strBytes.size();
    for (const PEERTHEN nThen : {PEER_CLOSES, PEER_RESETS})
        for (std::size_t nCut = 0; nCut < nWhole && !HasFailure(); ++nCut) {
            SCOPED_TRACE(testing::Message() << "cut at " << nCut << ", end " << nThen);
            Answer([&](const PEERFRAME& stFrame) {
                return PEERANSWER(Welcome(stFrame).m_strBytes.substr(0, nCut), nThen);
            });
            const bool bHead = nCut < 112, bClosed = nThen == PEER_CLOSES;
            EXPECT_EQ(Run(), !bHead ? stRow.m_nBodyCode : bClosed ? ERR_RECEIVE : ERR_LINK_RESET);
            EXPECT_EQ(m_stLink.m_nSocket, -1);
            ExpectSends(!bHead ? 1 : bClosed ? stRow.m_nClosedSends : stRow.m_nResetSends);
        }
}

TEST_P(DBInterfaceToken, SendsAgainAsLongAsTheTokenIsAnother) {
    for (int nStale = 1; nStale <= 4; ++nStale) {
        int nLeft = nStale;
        // Stale replies with bodies and bytes behind them, a token of 0 among them.
        Answer([&](const PEERFRAME& stFrame) {
            if (nLeft-- <= 0) return Welcome(stFrame);
            PEERFRAME stOld = stFrame;
            stOld.m_strHead[2] = nLeft == 1 ? '\0' : static_cast<char>(stFrame.Token() - 1);
            return PEERANSWER(stOld.Reply(MF_REPLY_OK, 9, "left over") + std::string(nLeft * 56, 'x'));
        });
        EXPECT_EQ(Run(), nStale < 4 ? ERR_OK : ERR_TOKEN);
        EXPECT_EQ(m_stLink.m_nSocket == -1, nStale == 4);
        ExpectSends(std::min(nStale + 1, 4));
    }
}

TEST_P(DBInterfaceExchange, TakesOnlyAReplyThatKeepsTheRules) {
    const bool bBody = GetParam().m_nBodyCode != 0, bOwned = GetParam().m_nCommand == MF_CMD_QUERY;
    const struct {
        const char* m_lpszName;
        int m_nStatus, m_nValue;
        std::string m_strBody;
        UINT m_nAnnounced;
        int m_nCode;
    } ROWS[] = {
        {"refused", MF_REPLY_FAIL, 4711, "", 0, 4711},
        {"refused without a code", MF_REPLY_FAIL, 0, "", 0, ERR_FAILED},
        {"refused with a body", MF_REPLY_FAIL, 4712, "body", 4, 4712},
        {"no such status", 3, 1, "", 0, ERR_RECEIVED_DATA},
        {"no such status with a body", 255, 1, std::string(5000, 'b'), 5000, ERR_RECEIVED_DATA},
        {"a body too many or too few", MF_REPLY_OK, 1, bBody ? "" : "b", bBody ? 0u : 1u, ERR_RECEIVED_DATA},
        {"4 GB announced", MF_REPLY_OK, 0, "less", 0xFFFFFFFF, bOwned ? ERR_MEMORY : ERR_RECEIVED_DATA},
        {"more than announced", bBody ? 9 : MF_REPLY_OK, 0, "more than that", 3, ERR_RECEIVED_DATA},
    };
    for (const auto& stReply : ROWS) {
        SCOPED_TRACE(stReply.m_lpszName);
        Answer([&](const PEERFRAME& stFrame) {
            std::string strReply = stFrame.Reply(stReply.m_nStatus, stReply.m_nValue, stReply.m_strBody);
            Put(strReply, 8, stReply.m_nAnnounced);
            return strReply;
        });
        EXPECT_EQ(Run(), stReply.m_nCode);
        // Bytes that belong to nobody end the link.
        EXPECT_EQ(m_stLink.m_nSocket != -1, stReply.m_nAnnounced == stReply.m_strBody.size());
        ExpectSends(1);
    }
    // Pending replies of any token come before the right one.
    Answer([&](const PEERFRAME& stFrame) {
        std::string strReply;
        for (int i = 0; i < 300; ++i)
            strReply += HeadBytes(MF_REPLY_PENDING, stFrame.Token() + i, i % 2, i, 0);
        return strReply + Welcome(stFrame).m_strBytes;
    });
    EXPECT_EQ(Run(), ERR_OK);
    ExpectSends(1);
}

TEST_P(DBInterfaceExchange, ReconnectsWhenTheLinkBrokeWhileNothingWasUnderWay) {
    m_Script = [](const PEERFRAME& stFrame) { return PEERANSWER(stFrame.Reply(MF_REPLY_OK, 5), PEER_RESETS); };
    EXPECT_EQ(m_stLink.Run("commit"), 5);
    m_Script = nullptr;
    pollfd stPoll{m_stLink.m_nSocket, POLLIN, 0};
    EXPECT_EQ(poll(&stPoll, 1, -1), 1);
    const bool bLogOut = GetParam().m_nCommand == MF_CMD_LOGOUT;
    const bool bRepaired = GetParam().m_nResetSends == 3;
    EXPECT_EQ(Run(), bRepaired || bLogOut ? ERR_OK : ERR_SEND);
    if (bRepaired) {
        // With the token of its attempt, although a login came between; in parts it's a further attempt.
        int nFirst = m_stPeer.Frames(GetParam().m_nCommand).back().Token();
        int nSecond = m_stPeer.Frames(MF_CMD_LOGIN).back().Token();
        if (GetParam().m_nCommand == MF_CMD_UPDATE_RS || GetParam().m_nCommand == MF_CMD_PLAN_INFO)
            std::swap(nFirst, nSecond);
        EXPECT_EQ(nFirst % 249 + 1, nSecond);
    }
    EXPECT_EQ(m_stLink.Run("commit"), 5);
}

TEST_P(DBInterfaceExchange, AnswersThreeWithoutMemory) {
    for (int nNth = 1, nCode = ERR_MEMORY; nCode != ERR_OK; ++nNth) {
        const CChunkFault stFault(nNth);
        nCode = Run();
        EXPECT_TRUE(nCode == ERR_OK || (nCode == ERR_MEMORY && stFault.CameTrue())) << nCode;
        EXPECT_TRUE(m_stLink.IsFree() && m_stLink.m_bBusy == 0 && m_stLink.m_nSocket != -1);
    }
    m_stPeer.Frames(0, true);
    m_stLink.m_bLogin = 0;
    const int nCommand = GetParam().m_nCommand;
    EXPECT_EQ(Run(), nCommand == MF_CMD_CLUSTER_STATUS || nCommand == MF_CMD_LOGOUT ? ERR_OK : ERR_LINK_NOT_OPEN);
    EXPECT_EQ(m_stPeer.Frames().size(), nCommand == MF_CMD_CLUSTER_STATUS ? 1u : 0u);
}

TEST_F(CLinkTest, TellsWhyAPieceDidNotCome) {
    ASSERT_EQ(m_stLink.OpenAt(m_stPeer.Port()), ERR_OK);
    const struct {
        std::string m_strComes;
        bool m_bCloses;
        BYTE m_bToken;
        int m_nResult, m_nError;
        const char* m_lpszDetail;
    } ROWS[] = {
        {"", false, 0, -1, EAGAIN, nullptr},
        {"", true, 0, 0, 0, nullptr},
        {"some", false, 0, -1, EAGAIN, "12, remaining: 8 not received! Error: 重试了30次都出现接收超时"},
        {"some", true, 0, 0, 0, "12, remaining: 8 not received! Error: 连接被关闭了，返回值为0"},
        {"\3\1\7 and on..", true, 7, 12, 0, nullptr},
        {"\3\1\6 and on", false, 7, 0, 0, nullptr},
        {"\4\1\7 and on", false, 7, 0, 0, nullptr},
        {"\3\1", false, 7, 0, 0, nullptr},
    };
    for (const auto& stRow : ROWS) {
        int arPair[2], nError = 77;
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, arPair), 0);
        const timeval stShort{0, 1};
        setsockopt(arPair[0], SOL_SOCKET, SO_RCVTIMEO, &stShort, sizeof stShort);
        EXPECT_NE(write(arPair[1], stRow.m_strComes.data(), stRow.m_strComes.size()), -1);
        if (stRow.m_bCloses) close(std::exchange(arPair[1], -1));
        close(std::exchange(m_stLink.m_nSocket, arPair[0]));
        Log();
        std::string strPiece(12, 'x');
        EXPECT_EQ(m_stLink.ReceiveBuffer(strPiece.data(), 12, nError, stRow.m_bToken), stRow.m_nResult);
        EXPECT_EQ(nError, stRow.m_nError);
        EXPECT_EQ(strPiece, (stRow.m_strComes + std::string(12, '\0')).substr(0, 12));
        const std::string strLine =
            "888010099 ReceiveBuffer The length of the received and sent message body data is "
            "incorrect! Header description length: ";
        EXPECT_EQ(Logged(strLine + (stRow.m_lpszDetail ? stRow.m_lpszDetail : "")), stRow.m_lpszDetail != nullptr);
        EXPECT_EQ(m_stLink.m_nSocket == -1, stRow.m_bToken == 7 && stRow.m_nResult == 0);
        // A server that says nothing for too long.
        EXPECT_EQ(m_stLink.Run("begin"), stRow.m_nError == EAGAIN ? -ERR_RECEIVE_TIMEOUT : 5);
        close(arPair[1]);
        EXPECT_EQ(m_stLink.Run("begin"), 5) << "on a new link";
    }
}

TEST_F(CLinkTest, GivesUpAStreamThatNeverFallsSilent) {
    ASSERT_EQ(m_stLink.OpenAt(m_stPeer.Port()), ERR_OK);
    bool bFlooded = false;
    m_Script = [&](const PEERFRAME& stFrame) {
        if (std::exchange(bFlooded, true)) return Welcome(stFrame);
        return PEERANSWER(HeadBytes(1, stFrame.Token() + 1, 0, 0, 0) + std::string(68 << 20, 'x'));
    };
    EXPECT_EQ(m_stLink.Run("begin"), 5);
    EXPECT_EQ(m_stPeer.Frames(MF_CMD_LOGIN).size(), 2u);
}

TEST_F(CLinkTest, SendsEachRequestByteForByte) {
    m_strBlock = CRecordsetMaker("A:1").Row(1, "1").Block();
    ASSERT_EQ(m_stLink.OpenAt(m_stPeer.Port()), ERR_OK);
    ASSERT_EQ(m_stLink.UseDatabase("shop"), ERR_OK);
    m_stLink.m_bTraceTime = 1;
    CMemDBRecordset stSet;
    MakeChanged(stSet);
    int nCode = ERR_FAILED;
    std::string strUpdate = ChangePlan(stSet, nCode);
    ASSERT_EQ(nCode, ERR_OK);
    const std::string strStamp = PlanBytes("begin");
    strUpdate.replace(48, 4, strStamp, 48, 4);
    strUpdate[11] = strUpdate[63] = 9;

    std::string strLogOut(60, '\0'), strHost(256, '\0');
    strLogOut.replace(0, 3, "sys").replace(36, 6, "secret");
    gethostname(strHost.data(), 255);
    strHost.resize(31);
    const struct {
        int m_nFlag, m_nValue;
        std::string m_strParam, m_strBody = {}, m_strLogged = {};
    } ROWS[] = {
        {0, 0, "", strStamp,
         "888030001 ExecuteCommand Database command execution ended, time: 0 microseconds, return value: 0X0, affect "
         "the number of lines: 5, SQL: begin"},
        {0, 0, "", PlanBytes("commit"),
         "888050001 Execute Database command execution ends, time: 0 microseconds, return value: 0X0, number of "
         "affected lines: 5, bstrCmd: commit"},
        {0, 0, "", PlanBytes("rollback"),
         "888031001 GetRecordset Database retrieval execution ended, time: 0 microseconds, return value: 0X0, return "
         "data number: 1, SQL: rollback"},
        {0, 0, "", strUpdate,
         "888032001 UpdateRecordset End of result set modification operation, time: 0 microseconds, return value: 0X0"},
        {0, 0, std::string(95, 't'), "",
         "888034001 StartTransactionLogic The execution of the start short transaction lock command ends with: 0 "
         "microseconds, return value: 0X0, transaction ID: 5, bstrTransactionData: ttt"},
        {0, -77, "", "",
         "888035001 StopTransactionLogic End of execution of short transaction lock command, elapsed time: 0 "
         "microseconds, return value: 0X0, lTransactionID: -77"},
        {0, 0, "", PlanBytes("begin work"),
         "888033001 GetExecutePlanInfo Get execution plan complete, time: 0 microseconds, return value: 0X0, SQL: "
         "begin work"},
        {0, 0xFFFE, "", REDO_RECORD},
        {0, 0, ""},
        {0, 0xFFFE, RawBytes(0xC0A80001, 8000, 0x85) + std::string(31, 'n') + '\0' + strHost},
        {0, 0, RawBytes(0xC0A80001, USHORT{8000}, '\x85')},
        {253, 0, RawBytes(0xC0A80001, 8000)},
        {254, 0, RawBytes(-2LL)},
        {0, 0, RawBytes(-3LL, 1LL << 62, -4)},
        {0, 0, RawBytes(1LL << 40)},
        {0, 0, RawBytes(0LL, 0LL, -5)},
        {0, 0, strLogOut},
        {0, 0, "shop"},
    };
    static_assert(std::size(ROWS) == std::size(REQUESTS));
    for (std::size_t i = 0; i < std::size(ROWS); ++i) {
        const auto& [nFlag, nValue, strParam, strBody, strLogged] = ROWS[i];
        m_stPeer.Frames(0, true);
        Log();
        EXPECT_EQ(REQUESTS[i].m_lpfnRun(m_stLink), ERR_OK) << REQUESTS[i].m_lpszName;
        ASSERT_EQ(m_stPeer.Frames().size(), 1u) << REQUESTS[i].m_lpszName;
        EXPECT_EQ(m_stPeer.Frames()[0].Bytes(),
                  HeadBytes(REQUESTS[i].m_nCommand, 0, nFlag, nValue, strBody.size(), strParam) + strBody)
            << REQUESTS[i].m_lpszName;
        const std::vector<std::string> arLogged = Log();
        EXPECT_EQ(arLogged.empty() ? "" : arLogged[0].substr(0, strLogged.size()), strLogged);
    }
}

} // namespace
