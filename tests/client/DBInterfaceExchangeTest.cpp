#include <set>

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
    int (*m_lpfnRun)(CTestLink& stLink);
    /** Sends when each link is closed, or reset, before the reply is whole. */
    int m_nClosedSends;
    int m_nResetSends;
    /** The code when the body is cut. */
    int m_nBodyCode;

    friend void PrintTo(const REQUESTROW& stRow, std::ostream* pOut) { *pOut << stRow.m_lpszName; }
};

int RunCursor(CTestLink& stLink) {
    char szSql[] = "commit";
    void* pCursor = nullptr;
    int nAffect = 0;
    const int nCode = stLink.Parse(szSql, pCursor);
    return nCode != ERR_OK ? nCode : stLink.Execute(pCursor, nAffect, static_cast<void*>(nullptr));
}
int RunExecute(CTestLink& stLink) {
    int nAffect = 0;
    return stLink.ExecuteCommand("begin", nAffect, nullptr);
}
int RunQuery(CTestLink& stLink) {
    CMemDBRecordset stSet;
    return stLink.GetRecordset("rollback", stSet, nullptr);
}
int RunUpdate(CTestLink& stLink) {
    CMemDBRecordset stSet;
    MakeChanged(stSet);
    return stLink.UpdateRecordset(stSet, nullptr);
}
int RunPlanInfo(CTestLink& stLink) {
    EXECUTEPLANDESCRIBE stDescribe;
    return stLink.GetExecutePlanInfo("begin work", &stDescribe, nullptr);
}
int RunStart(CTestLink& stLink) {
    int nTransaction = 0;
    std::string strText(95, 't');
    return stLink.StartTransactionLogic(strText.data(), nTransaction);
}
int RunStop(CTestLink& stLink) {
    return stLink.StopTransactionLogic(-77);
}
int RunRedo(CTestLink& stLink) {
    std::string strRecord = REDO_RECORD;
    return stLink.KestroRedo(reinterpret_cast<BYTE*>(strRecord.data()), 0xFFFE);
}
int RunUse(CTestLink& stLink) {
    return stLink.UseDatabase("shop");
}
int RunLogOut(CTestLink& stLink) {
    int nReserved = 0;
    const int nCode = stLink.UserLogOut(nReserved);
    stLink.m_bLogin = 1;
    return nCode;
}
int RunStatus(CTestLink& stLink) {
    BYTE arStatus[16];
    return stLink.GetClusterStatus(arStatus, sizeof arStatus, 0);
}

constexpr REQUESTROW REQUESTS[] = {
    {"Execute", 5, RunExecute, 3, 3, 0},
    {"Cursor", 5, RunCursor, 3, 3, 0},
    {"Query", 6, RunQuery, 3, 3, ERR_RECEIVE},
    {"Update", 7, RunUpdate, 3, 3, 0},
    {"Start", 8, RunStart, 3, 3, 0},
    {"Stop", 9, RunStop, 3, 3, 0},
    {"PlanInfo", 10, RunPlanInfo, 3, 3, ERR_RECEIVED_DATA},
    {"Redo", 11, RunRedo, 1, 3, 0},
    {"LogOut", 21, RunLogOut, 1, 1, 0},
    {"Use", 25, RunUse, 1, 1, 0},
    {"Status", 65, RunStatus, 1, 1, ERR_RECEIVE},
};

class DBInterfaceExchange : public CLinkTest, public testing::WithParamInterface<REQUESTROW> {
protected:
    void SetUp() override {
        CLinkTest::SetUp();
        m_strBlock = CRecordsetMaker("A:1").Row(1, "1").Block();
    }
    /** The command under test is answered by the step, all others by a friendly server. */
    PEERANSWER Answer(const PEERFRAME& stFrame) {
        const bool bProbe = stFrame.Token() == FRAME_PROBE_TOKEN;
        if (stFrame.Command() != m_nCommand || bProbe || !m_Step) return Welcome(stFrame);
        return m_Step(stFrame);
    }
    void Open(const REQUESTROW& stRow) {
        m_nCommand = stRow.m_nCommand;
        ASSERT_EQ(m_stLink.OpenAt(m_stPeer.Port()), ERR_OK);
        m_stPeer.Frames(0, true);
    }
    /** Requests of the command under test, without the probes. */
    std::vector<PEERFRAME> Sent(bool bForget = false) {
        std::vector<PEERFRAME> arFrame = m_stPeer.Frames(m_nCommand, bForget);
        std::erase_if(arFrame, [](const PEERFRAME& stFrame) { return stFrame.Token() == FRAME_PROBE_TOKEN; });
        return arFrame;
    }
    /** Sends of the same request, each with a token of its own. */
    void ExpectSends(int nSends) {
        const std::vector<PEERFRAME> arFrame = Sent(true);
        EXPECT_EQ(static_cast<int>(arFrame.size()), nSends);
        std::set<int> arToken;
        for (const PEERFRAME& stFrame : arFrame) {
            EXPECT_EQ(stFrame.Bytes(), arFrame[0].Bytes());
            arToken.insert(stFrame.Token());
        }
        EXPECT_EQ(arToken.size(), arFrame.size());
        EXPECT_EQ(arToken.count(0), 0u);
    }
    /** The lock is free and the next request gets through. */
    void ExpectWorks(const REQUESTROW& stRow) {
        m_Step = nullptr;
        EXPECT_TRUE(m_stLink.IsFree());
        EXPECT_EQ(m_stLink.Run("commit"), 5);
        EXPECT_EQ(stRow.m_lpfnRun(m_stLink), ERR_OK);
        m_stPeer.Frames(0, true);
    }

    int m_nCommand = 0;
    CScriptedPeer::SCRIPT m_Step;
    CScriptedPeer m_stPeer{[this](const PEERFRAME& stFrame) { return Answer(stFrame); }};
    CTestLink m_stLink;
};

INSTANTIATE_TEST_SUITE_P(All, DBInterfaceExchange, testing::ValuesIn(REQUESTS),
                         [](const auto& stInfo) { return stInfo.param.m_lpszName; });

TEST_P(DBInterfaceExchange, SurvivesALinkCutAtEachByte) {
    const REQUESTROW& stRow = GetParam();
    Open(stRow);
    const auto Whole = [&](const PEERFRAME& stFrame) { return Welcome(stFrame).m_strBytes; };
    const std::size_t nWhole = Whole({HeadBytes(stRow.m_nCommand, 1, 0, 0, 0), ""}).size();
    for (const PEERTHEN nThen : {PEER_CLOSES, PEER_RESETS})
        for (std::size_t nCut = 0; nCut < nWhole && !HasFailure(); ++nCut) {
            SCOPED_TRACE(testing::Message() << "cut at " << nCut << ", end " << nThen);
            m_Step = [&](const PEERFRAME& stFrame) { return PEERANSWER(Whole(stFrame).substr(0, nCut), nThen); };
            const bool bHead = nCut < 112, bClosed = nThen == PEER_CLOSES;
            const int nCode = bHead ? bClosed ? ERR_RECEIVE : ERR_LINK_RESET : stRow.m_nBodyCode;
            EXPECT_EQ(stRow.m_lpfnRun(m_stLink), nCode);
            EXPECT_EQ(m_stLink.m_nSocket, -1);
            ExpectSends(!bHead ? 1 : bClosed ? stRow.m_nClosedSends : stRow.m_nResetSends);
            ExpectWorks(stRow);
        }
}

TEST_P(DBInterfaceExchange, SendsAgainAsLongAsTheTokenIsAnother) {
    const REQUESTROW& stRow = GetParam();
    if (stRow.m_nCommand == MF_CMD_USE) GTEST_SKIP() << "reads on";
    Open(stRow);
    for (int nStale = 1; nStale <= 4; ++nStale) {
        int nLeft = nStale;
        // Stale replies with bodies and bytes that look like another, a token of 0 among them.
        m_Step = [&](const PEERFRAME& stFrame) {
            if (nLeft-- <= 0) return Welcome(stFrame);
            PEERFRAME stOld = stFrame;
            stOld.m_strHead[2] = nLeft == 1 ? '\0' : static_cast<char>(stFrame.Token() - 1);
            return PEERANSWER(stOld.Reply(MF_REPLY_OK, 9, "left over") + std::string(nLeft * 56, 'x'));
        };
        EXPECT_EQ(stRow.m_lpfnRun(m_stLink), nStale < 4 ? ERR_OK : ERR_TOKEN);
        EXPECT_EQ(m_stLink.m_nSocket == -1, nStale == 4);
        ExpectSends(std::min(nStale + 1, 4));
        ExpectWorks(stRow);
    }
}

TEST_P(DBInterfaceExchange, TakesOnlyAReplyThatKeepsTheRules) {
    const REQUESTROW& stRow = GetParam();
    Open(stRow);
    const bool bBody = stRow.m_nBodyCode != 0;
    const std::string strRight = Welcome({HeadBytes(stRow.m_nCommand, 1, 0, 0, 0), ""}).m_strBytes.substr(112);
    struct REPLYROW {
        const char* m_lpszName;
        int m_nStatus;
        int m_nValue;
        std::string m_strBody;
        int m_nCode;
        bool m_bOpen;
    };
    const REPLYROW ROWS[] = {
        {"refused", MF_REPLY_FAIL, 4711, "", 4711, true},
        {"refused without a code", MF_REPLY_FAIL, 0, "", ERR_FAILED, true},
        {"refused with a body", MF_REPLY_FAIL, 4712, "body", 4712, true},
        {"no such status", 3, 1, "", ERR_RECEIVED_DATA, true},
        {"no such status with a body", 255, 1, std::string(5000, 'b'), ERR_RECEIVED_DATA, true},
        {"a body where none may be, or none where one must be", MF_REPLY_OK, 1, bBody ? "" : "body", ERR_RECEIVED_DATA,
         true},
    };
    for (const REPLYROW& stReply : ROWS) {
        SCOPED_TRACE(stReply.m_lpszName);
        m_Step = [&](const PEERFRAME& stFrame) {
            return stFrame.Reply(stReply.m_nStatus, stReply.m_nValue, stReply.m_strBody);
        };
        EXPECT_EQ(stRow.m_lpfnRun(m_stLink), stReply.m_nCode);
        EXPECT_EQ(m_stLink.m_nSocket != -1, stReply.m_bOpen);
        ExpectSends(1);
        ExpectWorks(stRow);
    }
    // A head that announces 4 GB, or less than there is.
    for (const unsigned nLen : {0xFFFFFFFFu, 3u}) {
        m_Step = [&](const PEERFRAME& stFrame) {
            std::string strReply = stFrame.Reply(bBody ? 9 : MF_REPLY_OK, 0, "longer than that");
            Put(strReply, 8, nLen);
            return strReply;
        };
        EXPECT_EQ(stRow.m_lpfnRun(m_stLink), ERR_RECEIVED_DATA);
        EXPECT_EQ(m_stLink.m_nSocket, -1) << "bytes that belong to nobody";
        ExpectWorks(stRow);
    }
    // Pending replies of any token come before the right one, in pieces or not.
    m_Step = [&](const PEERFRAME& stFrame) {
        std::string strReply;
        for (int i = 0; i < 300; ++i)
            strReply += HeadBytes(MF_REPLY_PENDING, stFrame.Token() + i, i % 2, i, 0);
        return strReply + Welcome(stFrame).m_strBytes;
    };
    EXPECT_EQ(stRow.m_lpfnRun(m_stLink), ERR_OK);
    ExpectSends(1);
}

// --- single commands -------------------------------------------------------------------------------------------------

class DBInterfaceCommand : public DBInterfaceExchange {};
INSTANTIATE_TEST_SUITE_P(One, DBInterfaceCommand, testing::Values(REQUESTS[0]), [](auto&) { return "Execute"; });

/** A plan as the sender leaves it, with the fields that tell of the sender. */
std::string PlanBytes(CTestLink& stLink, const std::string& strSql) {
    CParseSql stSql;
    EXECUTEPLANBSON* pPlan = nullptr;
    EXPECT_EQ(stSql.ParseSql(strSql.data(), static_cast<int>(strSql.size()), pPlan, 0, 0, 9), ERR_OK);
    std::string strPlan(reinterpret_cast<const char*>(pPlan), pPlan->m_nTotalDataSize);
    unsigned dwIP = 0;
    unsigned short usPort = 0;
    stLink.GetSocketInfo(dwIP, usPort);
    Put(strPlan, 48, dwIP);
    strPlan[11] = strPlan[63] = 9;
    return strPlan;
}

TEST_P(DBInterfaceCommand, SendsEachRequestByteForByte) {
    Open(REQUESTS[0]);
    ASSERT_EQ(m_stLink.UseDatabase("shop"), ERR_OK);
    CMemDBRecordset stSet;
    MakeChanged(stSet);
    CBaseBson stBson;
    EXECUTEPLANBSON* pUpdate = nullptr;
    ASSERT_EQ(stSet.ParseRecordset(stBson, pUpdate), ERR_OK);
    std::string strUpdate(reinterpret_cast<const char*>(pUpdate), pUpdate->m_nClientBsonDataSize);
    for (USHORT i = 1; i <= stBson.GetBufferSectionNum(); ++i) {
        const LPBYTE lpSection = stBson.GetBufferSection(i);
        strUpdate.append(reinterpret_cast<const char*>(lpSection),
                         reinterpret_cast<BUFFERSECTIONHEAD*>(lpSection)->m_nSectionDataSize);
    }
    const std::string strStamp = PlanBytes(m_stLink, "begin");
    strUpdate.replace(48, 4, strStamp, 48, 4);
    strUpdate[11] = strUpdate[63] = 9;
    ASSERT_GT(stBson.GetBufferSectionNum(), 0);
    EXPECT_EQ(strUpdate.size(), pUpdate->m_nTotalDataSize);

    std::string strLogOut(60, '\0');
    strLogOut.replace(0, 3, "sys").replace(36, 6, "secret");
    const struct {
        int m_nRequest;
        int m_nValue;
        std::string m_strParam;
        std::string m_strBody;
    } ROWS[] = {
        {0, 0, "", strStamp},
        {1, 0, "", PlanBytes(m_stLink, "commit")},
        {2, 0, "", PlanBytes(m_stLink, "rollback")},
        {3, 0, "", strUpdate},
        {4, 0, std::string(95, 't'), ""},
        {5, -77, "", ""},
        {6, 0, "", PlanBytes(m_stLink, "begin work")},
        {7, 0xFFFE, "", REDO_RECORD},
        {9, 0, "shop", ""},
        {10, 0, "", ""},
        {8, 0, strLogOut, ""},
    };
    m_stPeer.Frames(0, true);
    for (const auto& stRow : ROWS) {
        const REQUESTROW& stRequest = REQUESTS[stRow.m_nRequest];
        EXPECT_EQ(stRequest.m_lpfnRun(m_stLink), ERR_OK) << stRequest.m_lpszName;
        const std::vector<PEERFRAME> arFrame = m_stPeer.Frames(0, true);
        ASSERT_EQ(arFrame.size(), 1u) << stRequest.m_lpszName;
        EXPECT_EQ(arFrame[0].Bytes(),
                  HeadBytes(stRequest.m_nCommand, 0, 0, stRow.m_nValue, stRow.m_strBody.size(), stRow.m_strParam) +
                      stRow.m_strBody)
            << stRequest.m_lpszName;
    }
}

TEST_P(DBInterfaceCommand, GoesOnAfterALostReplyWithTheSamePlan) {
    Open(REQUESTS[0]);
    ASSERT_EQ(m_stLink.UseDatabase("shop"), ERR_OK);
    int nLost = 2;
    m_Step = [&](const PEERFRAME& stFrame) {
        return nLost-- > 0 ? PEERANSWER("abc", PEER_CLOSES) : stFrame.Reply(MF_REPLY_OK, 42);
    };
    m_stPeer.Frames(0, true);
    EXPECT_EQ(m_stLink.Run("begin"), 42);
    // Each time a new login that presents the session, and the database again.
    std::vector<int> arCommand;
    for (const PEERFRAME& stFrame : m_stPeer.Frames()) {
        arCommand.push_back(stFrame.Command());
        EXPECT_EQ(Get<int>(stFrame.m_strHead, 4), stFrame.Command() == MF_CMD_LOGIN ? SESSION_ID : 0);
    }
    EXPECT_EQ(arCommand, (std::vector<int>{5, 65, 20, 25, 5, 65, 20, 25, 5}));
    // A link that broke while nothing was under way: the request is sent once more, with its token.
    m_Step = [&](const PEERFRAME& stFrame) { return PEERANSWER(stFrame.Reply(MF_REPLY_OK, 1), PEER_RESETS); };
    EXPECT_EQ(m_stLink.Run("begin"), 1);
    m_Step = nullptr;
    EXPECT_EQ(m_stLink.Run("begin"), 5);
    EXPECT_EQ(m_stLink.m_nSessionID, SESSION_ID);
    // Nobody answers any more: the loss of the link is told first, then that there is none.
    m_stPeer.Stop();
    EXPECT_EQ(m_stLink.Run("begin"), -ERR_RECEIVE);
    EXPECT_EQ(m_nSlept, 4 * 100'000);
    EXPECT_EQ(m_stLink.Run("begin"), -ERR_CONNECT);
    EXPECT_EQ(m_stLink.m_bLogin, 1) << "the next request tries again";
    EXPECT_TRUE(m_stLink.IsFree());
}

TEST_P(DBInterfaceCommand, TellsProgressAndStopsAtWill) {
    Open(REQUESTS[0]);
    struct SEEN {
        std::string m_strSeen;
        int m_nStopAt;
    };
    const KESTROPROGRESS Progress = [](void* pUser, const char* lpszText, int nTotal, int nCurrent) {
        auto& stSeen = *static_cast<SEEN*>(pUser);
        stSeen.m_strSeen += std::string(lpszText) + " " + std::to_string(nCurrent) + "/" + std::to_string(nTotal) + ";";
        if (nCurrent == stSeen.m_nStopAt + 10) throw KestroExeception();
        if (nCurrent == stSeen.m_nStopAt + 20) throw 1;
        return static_cast<int>(nCurrent != stSeen.m_nStopAt);
    };
    m_Step = [&](const PEERFRAME& stFrame) {
        std::string strParam(88, 'f'), strReply;
        Put(strParam, 80, 100);
        for (const int nCurrent : {-5, 50}) {
            Put(strParam, 84, nCurrent);
            strReply += stFrame.Reply(MF_REPLY_PENDING, 0, "", 1, strParam);
            strReply += HeadBytes(MF_REPLY_PENDING, stFrame.Token() + 1, 1, 0, 0, "of another") +
                        stFrame.Reply(MF_REPLY_PENDING, 0, "", 2, "no progress");
        }
        return strReply + stFrame.Reply(MF_REPLY_OK, 8);
    };
    const std::string strText(80, 'f');
    const struct {
        int m_nStopAt;
        int m_nCode;
        bool m_bSecond;
    } ROWS[] = {{0, ERR_OK, true}, {-5, ERR_FAILED, false}, {40, ERR_EXCEPTION, true}, {30, ERR_EXCEPTION, true}};
    for (const auto& stRow : ROWS) {
        SEEN stSeen{"", stRow.m_nStopAt};
        int nAffect = 0;
        MF_EXECUTE_STATISTICS stStat;
        EXPECT_EQ(m_stLink.Execute("begin", nAffect, &stStat, Progress, &stSeen), stRow.m_nCode);
        EXPECT_EQ(stSeen.m_strSeen, strText + " -5/100;" + (stRow.m_bSecond ? strText + " 50/100;" : ""));
        EXPECT_EQ(m_stLink.m_nSocket != -1, stRow.m_nCode == ERR_OK);
        EXPECT_EQ(m_stLink.m_bBusy, 0);
        EXPECT_EQ(Logged("888048099 Execute "), stRow.m_nCode == ERR_EXCEPTION);
        const auto Step = m_Step;
        ExpectWorks(REQUESTS[0]);
        m_Step = Step;
    }
}

TEST_P(DBInterfaceCommand, ReadsOnForALoginAndForUse) {
    m_nCommand = MF_CMD_LOGIN;
    int nStale = 4;
    m_Step = [&](const PEERFRAME& stFrame) {
        std::string strReply;
        for (int i = 1; i <= nStale; ++i)
            strReply += HeadBytes(MF_REPLY_OK, stFrame.Token() + i, 0, 1, i == 4 ? 9000 : 0) +
                        std::string(i == 4 ? 9000 : 0, 'b');
        return strReply + Welcome(stFrame).m_strBytes;
    };
    EXPECT_EQ(m_stLink.OpenAt(m_stPeer.Port()), ERR_OK);
    EXPECT_EQ(m_stLink.m_nSessionID, SESSION_ID);
    m_nCommand = MF_CMD_USE;
    EXPECT_EQ(m_stLink.UseDatabase("shop"), ERR_OK);
    EXPECT_EQ(m_stLink.m_bDatabaseNo, 9);
    nStale = 5;
    EXPECT_EQ(m_stLink.UseDatabase("shop"), ERR_OK) << "the fifth counts";
    EXPECT_EQ(m_stLink.m_bDatabaseNo, 0);
}

TEST_P(DBInterfaceCommand, ReadsABodyOfAnyLengthOnce) {
    Open(REQUESTS[2]);
    CRecordsetMaker stMaker("A:6");
    stMaker.Row(1, std::string((3 << 20) + 17, 'a')).Row(2, "b");
    m_strBlock = stMaker.Block();
    CMemDBRecordset stSet;
    MF_EXECUTE_STATISTICS stStat{};
    ASSERT_EQ(m_stLink.GetRecordset("begin", stSet, &stStat), ERR_OK);
    EXPECT_EQ(stSet.GetRowNum(), 2);
    EXPECT_EQ(stStat.m_nRowNum, 3) << "as the frame says";
    // Bytes that are no recordset, and a cut one.
    for (const std::size_t nLen : {std::size_t{1}, m_strBlock.size() - 1}) {
        m_Step = [&](const PEERFRAME& stFrame) { return stFrame.Reply(MF_REPLY_OK, 1, m_strBlock.substr(0, nLen)); };
        IKestroDBRecordset* pSet = nullptr;
        char szSql[] = "begin";
        EXPECT_NE(m_stLink.GetRecordset(szSql, &pSet, &stStat), ERR_OK);
        ASSERT_TRUE(pSet);
        EXPECT_EQ(pSet->GetRowNum(), 0);
        pSet->Release();
    }
    ExpectWorks(REQUESTS[2]);
}

} // namespace
