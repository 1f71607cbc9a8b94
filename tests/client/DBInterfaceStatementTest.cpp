#include "LinkTest.h"
#include "RecordsetMaker.h"
#include "TraceHook.h"

namespace {

class DBInterfaceStatement : public CLinkTest {
protected:
    void SetUp() override {
        CLinkTest::SetUp();
        m_strBlock = CRecordsetMaker("A:1").Row(1, "1").Row(2, "2").Block();
        ASSERT_EQ(m_stLink.OpenAt(m_stPeer.Port()), ERR_OK);
        ASSERT_EQ(m_stLink.UseDatabase("shop"), ERR_OK);
        m_stPeer.Frames(0, true);
        Log();
    }
    /** The code that the statistics tell. */
    int Told() const { return m_stStat.m_nErrorCode; }

    char m_szSql[6] = "begin";
    int m_nAffect = 0;
    MF_EXECUTE_STATISTICS m_stStat{};
    CMemDBRecordset m_stSet;
    EXECUTEPLANDESCRIBE m_stDescribe;
};

TEST_F(DBInterfaceStatement, GoesOnAfterALostReplyWithTheSamePlan) {
    int nLost = 2;
    m_Script = [&](const PEERFRAME& stFrame) {
        if (stFrame.Command() != MF_CMD_EXECUTE) return Welcome(stFrame);
        return nLost-- > 0 ? PEERANSWER("abc", PEER_CLOSES) : stFrame.Reply(MF_REPLY_OK, 42);
    };
    EXPECT_EQ(m_stLink.Run("begin"), 42);
    // Each time a new login that presents the session, and the database again.
    std::vector<int> arCommand;
    for (const PEERFRAME& stFrame : m_stPeer.Frames()) {
        arCommand.push_back(stFrame.Command());
        EXPECT_EQ(Get<int>(stFrame.m_strHead, 4), stFrame.Command() == MF_CMD_LOGIN ? SESSION_ID : 0);
    }
    EXPECT_EQ(arCommand, (std::vector<int>{5, 65, 20, 25, 5, 65, 20, 25, 5}));
    // Nobody answers any more: the loss of the link is told first, then that there is none.
    m_stPeer.Stop();
    EXPECT_EQ(m_stLink.Run("begin"), -ERR_RECEIVE);
    EXPECT_EQ(m_nSlept, 4 * 100'000);
    EXPECT_EQ(m_stLink.Run("begin"), -ERR_CONNECT);
    EXPECT_EQ(m_stLink.m_bLogin, 1) << "the next request tries again";
    EXPECT_TRUE(m_stLink.IsFree());
}

/** What was seen, and the code with which the operation is to end. */
struct SEEN {
    int m_nCode;
    std::string m_strSeen;
};
int SeeProgress(void* pUser, const char* lpszText, int nTotal, int nCurrent) {
    auto& stSeen = *static_cast<SEEN*>(pUser);
    stSeen.m_strSeen += std::string(lpszText) + " " + std::to_string(nCurrent) + "/" + std::to_string(nTotal) + ";";
    if (stSeen.m_nCode == ERR_MEMORY) throw std::bad_alloc();
    return stSeen.m_nCode == ERR_EXCEPTION ? throw 1 : stSeen.m_nCode != ERR_FAILED;
}

TEST_F(DBInterfaceStatement, TellsProgressAndStopsAtWill) {
    const std::string strText(80, 'f');
    const std::pair<const char*, std::function<int(SEEN*)>> ROWS[] = {
        {"888048099 Execute Database command execution exception, error code: 0, SQL: begin",
         [&](SEEN* pSeen) { return m_stLink.Execute("begin", m_nAffect, nullptr, SeeProgress, pSeen); }},
        {"888049099 Backup Database backup abnormal, error code: 0",
         [&](SEEN* pSeen) { return m_stLink.Backup(1, 2, SeeProgress, pSeen); }},
        {"888055099 Recover Database recovery abnormal, error code: 0",
         [&](SEEN* pSeen) { return m_stLink.Recover(1, 2, 3, SeeProgress, pSeen); }},
    };
    for (const auto& [lpszException, Run] : ROWS)
        for (const int nCode : {ERR_OK, ERR_FAILED, ERR_EXCEPTION, ERR_MEMORY}) {
            m_Script = [&](const PEERFRAME& stFrame) {
                std::string strParam(88, 'f'), strReply;
                Put(strParam, 80, 100);
                for (const int nCurrent : {-5, 50}) {
                    Put(strParam, 84, nCurrent);
                    strReply += stFrame.Reply(MF_REPLY_PENDING, 0, "", 1, strParam) +
                                HeadBytes(MF_REPLY_PENDING, stFrame.Token() + 1, 1, 0, 0, "of another") +
                                stFrame.Reply(MF_REPLY_PENDING, 0, "", 2, "no progress");
                }
                return strReply + stFrame.Reply(MF_REPLY_OK);
            };
            SEEN stSeen{nCode, ""};
            EXPECT_EQ(Run(&stSeen), nCode);
            EXPECT_EQ(stSeen.m_strSeen, strText + " -5/100;" + (nCode == ERR_OK ? strText + " 50/100;" : ""));
            EXPECT_EQ(m_stLink.m_nSocket != -1, nCode == ERR_OK);
            EXPECT_TRUE(m_stLink.IsFree() && m_stLink.m_bBusy == 0);
            EXPECT_EQ(Logged(lpszException), nCode >= ERR_EXCEPTION);
            m_Script = nullptr;
            EXPECT_EQ(m_stLink.Run("begin"), 5);
        }
}

TEST_F(DBInterfaceStatement, ReadsABodyOfAnyLength) {
    m_strBlock = CRecordsetMaker("A:6").Row(1, std::string((3 << 20) + 17, 'a')).Row(2, "b").Block();
    ASSERT_EQ(m_stLink.GetRecordset("begin", m_stSet, &m_stStat), ERR_OK);
    EXPECT_EQ(m_stSet.GetRowNum(), 2);
    EXPECT_EQ(int{m_stStat.m_nRowNum}, 3) << "as the frame says";
    m_strBlock.pop_back();
    m_stLink.m_bTraceTime = 1;
    IKestroDBRecordset* pSet = nullptr;
    EXPECT_EQ(m_stLink.GetRecordset(m_szSql, &pSet, &m_stStat), 37);
    EXPECT_EQ(Told(), 37);
    ASSERT_TRUE(pSet);
    EXPECT_EQ(pSet->GetRowNum(), 0);
    pSet->Release();
    EXPECT_TRUE(
        Logged("888051001 GetRecordset Database retrieval execution ends, time: 0 microseconds, return value: "
               "0X25, number of returned data: 0, bstrSql: begin"));
    // Others have the connection while a set is decoded: its line about a row that has more than its fields shows it.
    m_strBlock = CRecordsetMaker("A:1").RawRow(1, "no field").Block();
    static CTestLink* lpLink;
    static bool bFree;
    lpLink = &m_stLink;
    bFree = false;
    g_lpfnTraceHook = [](const char*, int, int, const char*) { bFree = lpLink->IsFree(); };
    EXPECT_EQ(m_stLink.GetRecordset("begin", m_stSet, nullptr), ERR_OK);
    g_lpfnTraceHook = Trace0;
    EXPECT_TRUE(bFree);
}

TEST_F(DBInterfaceStatement, CallsAgainWhenTheClusterIsBack) {
    int nLeft = 50;
    m_Script = [&](const PEERFRAME& stFrame) {
        return nLeft-- > 0 ? stFrame.Reply(MF_REPLY_FAIL, ERR_GROUP_RECOVERED) : stFrame.Reply(MF_REPLY_OK, 6);
    };
    EXPECT_EQ(m_stLink.ExecuteCommand("begin", m_nAffect, &m_stStat), ERR_OK);
    EXPECT_EQ(m_nAffect, 6);
    EXPECT_EQ(Told(), ERR_OK) << "what was repeated has not failed";
    EXPECT_EQ(m_stPeer.Frames(MF_CMD_EXECUTE, true).size(), 51u);
    nLeft = 1;
    EXPECT_EQ(m_stLink.GetExecutePlanInfo("begin", &m_stDescribe, nullptr), ERR_GROUP_RECOVERED) << "not this one";
    nLeft = 1;
    EXPECT_EQ(m_stLink.StopTransactionLogic(1), ERR_GROUP_RECOVERED);
}

TEST_F(DBInterfaceStatement, FillsTheStatistics) {
    std::string strParam(94, '\0');
    for (int i = 0; i < 11; ++i)
        Put(strParam, static_cast<std::size_t>(8 * i), 1000LL + i);
    Put(strParam, 88, 77);
    Put(strParam, 92, USHORT{55});
    m_Script = [&](const PEERFRAME& stFrame) {
        m_nNow += 250;
        return stFrame.Reply(MF_REPLY_OK, 4, "", 0, strParam);
    };
    const std::int64_t nStart = m_nNow;
    std::memset(&m_stStat, 0xAA, sizeof m_stStat);
    m_stLink.m_bTraceTime = 1;
    ASSERT_EQ(m_stLink.Execute(m_szSql, m_nAffect, &m_stStat), ERR_OK);
    EXPECT_EQ(m_nAffect, 4);
    constexpr std::int64_t EPOCH = 116444736000000000;
    const std::int64_t nEnd = nStart + 250;
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(&m_stStat), sizeof m_stStat),
              RawBytes(1000LL, 1001LL, 1003LL, 1002LL, 1004LL, 1005LL, 1006LL, 1007LL, 1008LL, 1009LL, 1010LL, 77,
                       nStart * 10 + EPOCH, nEnd * 10 + EPOCH, 1000000LL, nStart, nStart, nEnd, nEnd, 0LL, 0LL, 55));
    EXPECT_TRUE(
        Logged("888047001 Execute Database command execution ends, time: 250 microseconds, return value: 0X0, "
               "number of affected lines: 4, bstrCmd: begin"));

    MF_EXECUTE_STATISTICS stHex{};
    std::string strHex;
    for (const unsigned char c : strParam)
        strHex += {"0123456789ABCDEF"[c >> 4], "0123456789ABCDEF"[c & 15]};
    EXPECT_EQ(CDBInterface::ConvertStatisticsData(&stHex, strHex.c_str()), 0);
    EXPECT_EQ(std::memcmp(&stHex, &m_stStat, 92), 0);
    EXPECT_EQ(int{stHex.m_usServerFlag}, 0);
}

TEST_F(DBInterfaceStatement, TellsWhatFailed) {
    EXPECT_EQ(m_stLink.ExecuteCommand("begin it", m_nAffect, &m_stStat), 814);
    EXPECT_EQ(Told(), 814);
    EXPECT_EQ(int{m_stStat.m_nErrorPos}, 2);
    EXPECT_EQ(m_nAffect, 0);
    EXPECT_TRUE(Logged("888011000 TCPExecuteCommand Failed to parse SQL statement [begin it], return value: 814"));
    EXPECT_TRUE(m_stPeer.Frames().empty()) << "a wrong statement stays here";

    m_Script = [](const PEERFRAME& stFrame) { return stFrame.Reply(MF_REPLY_FAIL, 4711); };
    EXPECT_EQ(m_stLink.ExecuteCommand("begin", m_nAffect, &m_stStat), 4711);
    EXPECT_EQ(Told(), 4711);
    EXPECT_TRUE(Logged("888011011 TCPExecuteCommand Server return execution failure, error code: 4711, SQL: begin"));
    // A query notes errno where a command notes the code.
    m_Script = [](const PEERFRAME& stFrame) {
        const bool bRuns = stFrame.Command() == MF_CMD_EXECUTE || stFrame.Command() == MF_CMD_QUERY;
        return bRuns ? PEERANSWER(stFrame.Reply(1).substr(0, 9), PEER_RESETS) : Welcome(stFrame);
    };
    EXPECT_EQ(m_stLink.ExecuteCommand("begin", m_nAffect, &m_stStat), ERR_LINK_RESET);
    EXPECT_EQ(Told(), ERR_LINK_RESET);
    EXPECT_EQ(m_stLink.GetRecordset("begin", m_stSet, &m_stStat), ERR_LINK_RESET);
    EXPECT_EQ(Told(), ECONNRESET);
    m_stPeer.Stop();
    EXPECT_EQ(m_stLink.GetRecordset("begin", m_stSet, &m_stStat), ERR_CONNECT);
    EXPECT_EQ(Told(), ERR_CONNECT);
    EXPECT_TRUE(
        Logged("888010099 ReceiveBuffer The length of the received and sent message body data is incorrect! "
               "Header description length: 112, remaining: 103 not received! Error: 连接被关闭了，返回值为-1"));
}

TEST_F(DBInterfaceStatement, SwitchesTheDatabaseWithoutAPlan) {
    m_Script = [](const PEERFRAME& stFrame) { return stFrame.Reply(MF_REPLY_OK, 3, "", 77); };
    EXPECT_EQ(m_stLink.Run("use `my shop`"), 0);
    const std::vector<PEERFRAME> arFrame = m_stPeer.Frames();
    ASSERT_EQ(arFrame.size(), 1u);
    EXPECT_EQ(arFrame[0].Bytes(), HeadBytes(MF_CMD_USE, 0, 0, 0, 0, "my shop"));
    EXPECT_EQ(m_stLink.m_bDatabaseNo, 77);
    EXPECT_EQ(m_stLink.Run(("use " + std::string(64, 'd')).c_str()), -ERR_FAILED);
    EXPECT_TRUE(Logged("888067001 UseDatabase "));
}

TEST_F(DBInterfaceStatement, StartsTransactionsOfShortTexts) {
    int nTransaction = 9;
    std::string strText(96, 't');
    const unsigned nDrawn = m_nUuid;
    EXPECT_EQ(m_stLink.StartTransactionLogic(strText.data(), nTransaction), ERR_PARAMETER);
    EXPECT_EQ(m_nUuid, nDrawn + 1);
    EXPECT_EQ(nTransaction, 0);
    EXPECT_TRUE(m_stPeer.Frames().empty());
    strText.pop_back();
    EXPECT_EQ(m_stLink.StartTransactionLogic(strText.data(), nTransaction), ERR_OK);
    EXPECT_EQ(nTransaction, 5);
    EXPECT_EQ(m_stLink.KestroRedo(nullptr, 1), ERR_NULL_POINTER);
}

TEST_F(DBInterfaceStatement, DescribesAPlan) {
    m_strPlanInfo.replace(0, 32, 32, 'n').replace(33, 6, "客户").replace(72, 4, "\xF0\x9F\x90\x8D");
    m_strPlanInfo.replace(32, 1, 1, 1).replace(65, 3, "\2\3\4");
    Put(m_strPlanInfo, 68, -9);
    ASSERT_EQ(m_stLink.GetExecutePlanInfo("begin", &m_stDescribe, &m_stStat), ERR_OK);
    const auto Wide = [&](std::size_t nOffset, std::size_t nSize = 32) {
        wchar_t szWide[100] = {};
        std::memcpy(szWide, reinterpret_cast<const char*>(&m_stDescribe) + nOffset, nSize * sizeof(wchar_t));
        return std::wstring(szWide, wcsnlen(szWide, nSize));
    };
    EXPECT_EQ(Wide(0), std::wstring(31, L'n')) << "cut for its terminator";
    EXPECT_EQ(Wide(129), L"客户");
    EXPECT_EQ(Wide(264), (std::wstring{0xD83D, 0xDC0D}));
    EXPECT_EQ(m_stDescribe.m_bFirstKind, 1);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(&m_stDescribe) + 257, 7), "\2\3\4\xF7\xFF\xFF\xFF");
    m_strPlanInfo.replace(72, 100, 100, 'd');
    ASSERT_EQ(m_stLink.GetExecutePlanInfo("begin", &m_stDescribe, &m_stStat), ERR_OK);
    EXPECT_EQ(Wide(264, 100), std::wstring(99, L'd'));
    m_strPlanInfo.replace(72, 4, "\xF7\xBF\xBF\xBF");
    EXPECT_EQ(m_stLink.GetExecutePlanInfo("begin", &m_stDescribe, &m_stStat), ERR_FAILED);
    EXPECT_EQ(Told(), ERR_FAILED);
    EXPECT_EQ(m_stLink.GetExecutePlanInfo("begin", nullptr, nullptr), ERR_NULL_POINTER);
}

TEST_F(DBInterfaceStatement, SavesOnlyWhatChanged) {
    ASSERT_EQ(m_stLink.GetRecordset("begin", m_stSet, &m_stStat), ERR_OK);
    m_stPeer.Frames(0, true);
    EXPECT_EQ(m_stLink.UpdateRecordset(m_stSet, &m_stStat), ERR_OK);
    EXPECT_TRUE(m_stPeer.Frames().empty());
    m_stSet.MoveFirst();
    ASSERT_EQ(m_stSet.SetField(0, 3), ERR_OK);
    IKestroDBRecordset* pSet = &m_stSet;
    m_stLink.m_bTraceTime = 1;
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(m_stLink.UpdateRecordset(pSet, nullptr), ERR_OK);
    EXPECT_TRUE(Logged("888052001 UpdateRecordset End of result set modification operation, time: 0 microseconds, "));
    EXPECT_EQ(m_stPeer.Frames(MF_CMD_UPDATE_RS).size(), 1u) << "saved, so there is no change left";
    EXPECT_EQ(m_stLink.UpdateRecordset(nullptr, nullptr), ERR_NULL_POINTER);
}

TEST_F(DBInterfaceStatement, BindsAndRunsCursors) {
    char szWrong[] = "begin it";
    void* pCursor = &szWrong;
    EXPECT_EQ(m_stLink.Parse(szWrong, pCursor), 814);
    EXPECT_EQ(pCursor, nullptr);
    ASSERT_EQ(m_stLink.Parse(m_szSql, pCursor), ERR_OK);
    EXPECT_EQ(m_stLink.Bind(pCursor, 1, VT_INT, &pCursor, 0), ERR_OUT_OF_BOUNDS);
    auto& stSql = *static_cast<CParseSql*>(pCursor);
    LPBYTE lpElement = nullptr;
    UINT nElement = 0;
    ASSERT_EQ(stSql.GetParseBson().AllocFromBsonBuffer(sizeof(MATHEXPELEMENTBSON) + 4, nElement, lpElement), ERR_OK);
    ASSERT_EQ(stSql.AddParameter(nElement), ERR_OK);
    const struct {
        BYTE m_bType;
        int m_nLen;
        const char* m_lpszValue;
        BYTE m_bBound;
        std::string m_strBound;
    } ROWS[] = {
        {1, 0, "\xFF\xFF\xFF\xFF", VT_INT, std::string(4, '\xFF')},
        {2, 0, "ABCDEFGH", VT_BIGINT, "ABCDEFGH"},
        {3, 0, "ABCDEFGH", VT_DOUBLE, "ABCDEFGH"},
        {4, 0, "ABCDEFGH", VT_DATETIME, "ABCDEFGH"},
        {5, 3, "text", VT_VARCHAR, "tex"},
        {7, 5, "text", VT_VARCHAR, std::string("text\0", 5)},
        {6, -1, "text", VT_NULL, ""},
        {8, 4, "blob", VT_BLOB, "blob"},
        {0x50, 0, "\x80", VT_INT, "\x80\xFF\xFF\xFF"},
        {0x51, 0, "\xFE\x7F", VT_INT, std::string("\xFE\x7F\0\0", 4)},
        {99, 4, "none", VT_NULL, ""},
        {1, 4, nullptr, VT_NULL, ""},
    };
    for (const auto& stRow : ROWS) {
        std::string strValue(stRow.m_lpszValue ? stRow.m_lpszValue : "");
        ASSERT_EQ(m_stLink.Bind(pCursor, 1, stRow.m_bType, stRow.m_lpszValue ? strValue.data() : nullptr, stRow.m_nLen),
                  ERR_OK);
        const std::string strPlan(reinterpret_cast<const char*>(stSql.GetExecutePlan()),
                                  stSql.GetParseBson().GetBsonDataSize());
        EXPECT_EQ(strPlan[nElement + offsetof(MATHEXPELEMENTBSON, m_bDataType)], static_cast<char>(stRow.m_bBound));
        const UINT nValue = Get<UINT>(strPlan, nElement + offsetof(MATHEXPELEMENTBSON, m_bDataBuffer));
        EXPECT_EQ(nValue ? strPlan.substr(nValue, stRow.m_strBound.size()) : "", stRow.m_strBound);
    }
    // Run three times, the last time to its end; each run has the same bytes.
    EXPECT_EQ(m_stLink.ExecuteCommand(pCursor, m_nAffect, &m_stStat), ERR_OK);
    EXPECT_EQ(m_stLink.ExecuteCommand(pCursor, m_nAffect, nullptr), ERR_OK);
    EXPECT_EQ(m_stLink.Execute(pCursor, m_nAffect, static_cast<void*>(&m_stStat)), ERR_OK);
    EXPECT_EQ(m_nAffect, 5);
    const std::vector<PEERFRAME> arFrame = m_stPeer.Frames(MF_CMD_EXECUTE);
    ASSERT_EQ(arFrame.size(), 3u);
    EXPECT_TRUE(arFrame[0].Bytes() == arFrame[1].Bytes() && arFrame[1].Bytes() == arFrame[2].Bytes());

    EXPECT_EQ(m_stLink.ExecuteCommand(static_cast<void*>(nullptr), m_nAffect, &m_stStat), ERR_NULL_POINTER);
    EXPECT_EQ(Told(), ERR_NULL_POINTER);
    EXPECT_EQ(m_stLink.Execute(static_cast<void*>(nullptr), m_nAffect, nullptr), ERR_NULL_POINTER);
    EXPECT_EQ(m_stLink.CloseCursor(nullptr), ERR_NULL_POINTER);
    ASSERT_EQ(m_stLink.Parse(m_szSql, pCursor), ERR_OK);
    EXPECT_EQ(m_stLink.CloseCursor(pCursor), ERR_OK);
    ASSERT_EQ(m_stLink.Parse(m_szSql, pCursor), ERR_OK);
    m_stLink.Close();
    EXPECT_EQ(m_stLink.Execute(pCursor, m_nAffect, static_cast<void*>(nullptr)), ERR_LINK_NOT_OPEN) << "and is ended";
    EXPECT_EQ(m_stLink.Parse(m_szSql, pCursor), ERR_LINK_NOT_OPEN);
}

TEST_F(DBInterfaceStatement, RunsAStatementAsItsFirstWordTells) {
    const struct {
        const char* m_lpszSql;
        int m_nCode, m_nKind, m_nCommand, m_nErrorCode;
        std::string m_strBody;
    } ROWS[] = {
        {" -- note\n\tBegin work ", ERR_OK, 10, MF_CMD_EXECUTE, 0, PlanBytes("Begin work")},
        {"((commit))", ERR_OK, 11, MF_CMD_EXECUTE, 0, PlanBytes("commit")},
        {"use shop", ERR_OK, 14, MF_CMD_USE, 0, ""},
        {"EXPLAIN begin", ERR_OK, 0, MF_CMD_PLAN_INFO, 0, PlanBytes(" begin")},
        {"( --note\nexplain commit)", ERR_OK, 0, MF_CMD_PLAN_INFO, 0, PlanBytes(" commit")},
        {"(Select A from T)", ERR_OK, 1, MF_CMD_QUERY, 100, PlanBytes("Select A from T", 1, 100)},
        {"savepoint a", 502, 13, 0, 502, ""},
        {"beginning", 502, 10, 0, 502, ""},
        {"frobnicate", static_cast<int>(0x80004005), 99, 0, ERR_FAILED, ""},
        {" -- all of it", ERR_OK, 99, 0, ERR_EMPTY_STRING, ""},
        {nullptr, ERR_EMPTY_COMMAND, 99, 0, ERR_FAILED, ""},
    };
    for (const auto& stRow : ROWS) {
        std::string strSql(stRow.m_lpszSql ? stRow.m_lpszSql : "");
        m_stStat.m_nErrorCode = 0;
        m_stStat.m_nStatementKind = 99;
        EXPECT_EQ(
            m_stLink.SqlQuery(stRow.m_lpszSql ? strSql.data() : nullptr, m_nAffect, m_stSet, &m_stDescribe, &m_stStat),
            stRow.m_nCode)
            << strSql;
        EXPECT_EQ(int{m_stStat.m_nStatementKind}, stRow.m_nKind) << strSql;
        EXPECT_EQ(Told(), stRow.m_nErrorCode) << strSql;
        const std::vector<PEERFRAME> arFrame = m_stPeer.Frames(0, true);
        EXPECT_EQ(arFrame.empty() ? 0 : arFrame[0].Command(), stRow.m_nCommand) << strSql;
        EXPECT_EQ(arFrame.empty() ? "" : arFrame[0].m_strBody, stRow.m_strBody) << strSql;
        EXPECT_TRUE(stRow.m_nCommand != MF_CMD_QUERY || m_nAffect == 2) << "the rows";
    }
    constexpr const char* TRIMMED[][3] = {
        {"  -- note\n select 1 \r\n", "select 1", "select"},
        {"( ( select 1 ) )", "select 1", "select"},
        {"(select 1) union (select 2)", "(select 1) union (select 2)", "select"},
        {"((a)(b))", "(a)(b)", "a)(b))"},
        {"(a))", "(a))", "a))"},
        {"((a)", "((a)", "a)"},
        {"( -- note\n a:b )", "-- note\n a:b", "a"},
        {"()", "", ")"},
        {"select*from t", "select*from t", "select"},
    };
    char szWord[34];
    for (const auto& [lpszSql, lpszText, lpszWord] : TRIMMED) {
        std::string strSql(lpszSql);
        EXPECT_STREQ(CDBInterface::RemoveSpaceFromString(strSql.data(), szWord), lpszText) << lpszSql;
        EXPECT_STREQ(szWord, lpszWord) << lpszSql;
    }
    std::string strDeep = std::string(1'000'000, '(') + "a" + std::string(1'000'000, ')');
    EXPECT_STREQ(CDBInterface::RemoveSpaceFromString(strDeep.data(), szWord), "a");
}

// --- many threads ----------------------------------------------------------------------------------------------------

TEST_F(DBInterfaceStatement, ServesManyThreads) {
    std::atomic<int> nNo = 0;
    m_Script = [&](const PEERFRAME& stFrame) {
        // Now and then a link breaks, a reply is late, or the cluster asks for the call again.
        switch (stFrame.Command() == MF_CMD_EXECUTE || stFrame.Command() == MF_CMD_QUERY ? nNo++ % 100 : 1) {
            case 0:
                return PEERANSWER(Welcome(stFrame).m_strBytes.substr(0, 50), PEER_CLOSES);
            case 33:
                return PEERANSWER(HeadBytes(1, stFrame.Token() + 1, 0, 0, 4) + "late");
            case 66:
                return PEERANSWER(stFrame.Reply(MF_REPLY_FAIL, ERR_GROUP_RECOVERED));
            default:
                return Welcome(stFrame);
        }
    };
    // Eight on one connection, and eight with one each.
    CTestLink arLink[8];
    std::vector<std::thread> arThread;
    for (int i = 0; i < 16; ++i)
        arThread.emplace_back([&, i] {
            CTestLink& stLink = i < 8 ? m_stLink : arLink[i - 8];
            EXPECT_TRUE(i < 8 || stLink.OpenAt(m_stPeer.Port()) == ERR_OK);
            for (int n = 0; n < 12; ++n) {
                CMemDBRecordset stSet;
                EXPECT_EQ(stLink.GetRecordset("begin", stSet, nullptr), ERR_OK);
                EXPECT_EQ(stSet.GetRowNum(), 2);
                EXPECT_EQ(stLink.Run("commit"), 5);
            }
        });
    for (std::thread& stThread : arThread)
        stThread.join();
}

} // namespace
