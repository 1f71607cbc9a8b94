// The development server's misbehaviour as a client sees it, and a client's misbehaviour as the server takes it.

#include <random>

#include "DevServer.h"
#include "PlanMaker.h"

namespace {

class DevServerFaults : public CLinkTest {
protected:
    static int Query(CTestLink& stLink, const char* lpszSql = "select id, status from v$instance where id = 1") {
        CMemDBRecordset stSet;
        const int nCode = stLink.CDBInterface::GetRecordset(lpszSql, stSet, nullptr);
        return nCode == ERR_OK && stSet.GetRowNum() != 1 ? -1000 : nCode;
    }
};

TEST_F(DevServerFaults, AreSeenByTheClientWithTheirCodes) {
    // The code of the login or of the query behind it, and how often the client sent the query.
    const std::tuple<const char*, int, int> arRow[] = {
        {"query 1 drop=0", ERR_OK, 2},
        {"query 1 drop=112", ERR_RECEIVE, 1},
        {"query reset=0", ERR_LINK_RESET, 3},
        {"query 1-3 stale=1", ERR_OK, 4},
        {"query stale=255", ERR_TOKEN, 4},
        {"query pending=3 progress=2 delay=1", ERR_OK, 1},
        {"query -20 fail=5016", ERR_OK, 21},
        {"query fail=-5", -3, 1},
        {"query byte=1:2 byte=4:99 byte=5:0 length=0", ERR_NOT_DEVELOPED, 1},
        {"query status=7", ERR_RECEIVED_DATA, 1},
        {"query short=1", ERR_RECEIVE, 1},
        {"query length=0", ERR_RECEIVED_DATA, 1},
        {"query length=4000000000 drop=200", ERR_MEMORY, 1},
        {"query body=0", ERR_RECEIVED_DATA, 1},
        {"begin body=3", ERR_OK, 1},
        {"any 3 drop=20", ERR_OK, 2},
        {"cluster-status protocol=4", ERR_CONNECT, 0},
        {"cluster-status stale=1", ERR_CONNECT, 0},
        {"login protocol=9", ERR_PROTOCOL, 0},
        {"login fail=340", 340, 0},
        {"login drop=100", ERR_RECEIVE, 0},
        {"login body=8", ERR_RECEIVED_DATA, 0},
    };
    for (const auto& [lpszRule, nCode, nSends] : arRow) {
        CDevServerRun stServer({"--trace", "--fault", lpszRule});
        const int nLogin = m_stLink.OpenAt(stServer.Port());
        EXPECT_EQ(nLogin == ERR_OK ? Query(m_stLink) : nLogin, nCode) << lpszRule;
        stServer.End(SIGTERM);
        int nSent = 0;
        for (std::string strLine; !(strLine = stServer.ReadLine()).empty();)
            nSent += strLine.find(": query,") != std::string::npos;
        EXPECT_EQ(nSent, nSends) << lpszRule;
    }
}

TEST_F(DevServerFaults, SendTheClientToTheNextNode) {
    CDevServerRun stNext;
    const std::string strNext = "127.0.0.1:" + std::to_string(stNext.Port());
    WriteFile(stNext.Path("script"), "query 1 fail=-5  # and never again\n");
    CDevServerRun stFirst(
        {"--node", "127.0.0.1:9", "--node", strNext, "--master", "127.0.0.1:9", "--script", stNext.Path("script")});
    ASSERT_EQ(m_stLink.OpenAt(stFirst.Port()), ERR_OK) << "the master doesn't answer, so this one serves";
    EXPECT_EQ(m_stLink.m_nAddressNum, 2);
    EXPECT_EQ(Query(m_stLink), ERR_OK);
    EXPECT_EQ(ntohs(m_stLink.m_usServerPort), stNext.Port());
}

TEST_F(DevServerFaults, OfAClientAreRefusedInStep) {
    CDevServerRun stServer;
    CRawLink stLink(stServer.Port());
    EXPECT_EQ(stLink.Ask(MF_CMD_QUERY, PlanBytes("select id from v$instance")), ERR_LINK_NOT_OPEN);
    EXPECT_EQ(stLink.Ask(MF_CMD_LOGIN, std::string(3'000'000, 'x')), ERR_MEMORY_SIZE);
    EXPECT_EQ(stLink.Ask(55, std::string(70'000, 'x')), ERR_NOT_DEVELOPED);
    EXPECT_EQ(stLink.Ask(MF_CMD_LOGIN), ERR_OK);
    EXPECT_EQ(stLink.Ask(MF_CMD_QUERY), ERR_PARAMETER) << "no plan at all";
    EXPECT_EQ(stLink.Ask(MF_CMD_QUERY, SectionPlan(200)), ERR_NOT_DEVELOPED);
    EXPECT_EQ(stLink.Ask(MF_CMD_UPDATE_RS, SectionPlan(200)), ERR_NOT_DEVELOPED);
    EXPECT_EQ(stLink.Ask(MF_CMD_REDO, std::string("\7\0\0\0\1\1", 6)), ERR_PARAMETER);
    EXPECT_EQ(stLink.Ask(MF_CMD_QUERY, PlanBytes("select id from v$instance"), 255), ERR_OK);
    stLink.Send("GET / HTTP/1.1\r\n" + std::string(96, '\n'));
    EXPECT_EQ(stLink.Receive(112).substr(4, 4), RawBytes(int{ERR_PROTOCOL}));
    EXPECT_EQ(stLink.Receive(1), "") << "and the link is closed";

    // Lengths that are announced and never come take no memory and disturb nobody.
    std::vector<std::unique_ptr<CRawLink>> arLink;
    for (int i = 0; i < 50; ++i) {
        arLink.push_back(std::make_unique<CRawLink>(stServer.Port()));
        ASSERT_EQ(arLink.back()->Ask(MF_CMD_LOGIN), ERR_OK);
        arLink.back()->Send(HeadBytes(i % 2 ? MF_CMD_QUERY : MF_CMD_USE, 1, 0, 0, i % 3 ? 1u << 30 : 0xFFFFFFFFu) +
                            "x");
    }
    ASSERT_EQ(m_stLink.OpenAt(stServer.Port()), ERR_OK);
    EXPECT_EQ(Query(m_stLink), ERR_OK);
}

TEST_F(DevServerFaults, UnsoundPlansAreRefused) {
    CDevServerRun stServer;
    CRawLink stLink(stServer.Port());
    ASSERT_EQ(stLink.Ask(MF_CMD_LOGIN), ERR_OK);
    const std::string strQuery =
        PlanBytes("select id as a, path from v$instance i where id = 1 and not (status <> 'Open' or masterport = 0)");
    const std::string strFile = PlanBytes("ALTER SYSTEM ADD DATAFILE '/nowhere/f' TABLESPACE 'T' 1MB");
    ASSERT_EQ(stLink.Ask(MF_CMD_QUERY, strQuery), ERR_OK);
    for (std::size_t nLen = 0; nLen < strQuery.size(); ++nLen) {
        const std::string strCut = strQuery.substr(0, nLen);
        EXPECT_EQ(stLink.Ask(MF_CMD_QUERY, strCut), ERR_PARAMETER) << nLen;
        // With sizes that agree, what is missing is found by who looks for it.
        std::string strSized = strCut;
        for (const std::size_t nOffset :
             {offsetof(EXECUTEPLANBSON, m_nTotalDataSize), offsetof(EXECUTEPLANBSON, m_nBsonDataSize),
              offsetof(EXECUTEPLANBSON, m_nClientBsonDataSize)})
            strSized = Patched(strSized, nOffset, static_cast<UINT>(nLen));
        EXPECT_GT(stLink.Ask(MF_CMD_QUERY, strSized), ERR_OK) << nLen;
        EXPECT_GT(stLink.Ask(MF_CMD_PLAN_INFO, strCut), ERR_OK) << nLen;
    }
    std::mt19937 stRandom(20);
    for (std::size_t i = 0; i < 6000; ++i) {
        const bool bFile = i % 4 == 0;
        std::string strBytes = bFile ? strFile : strQuery;
        const UINT nSize = static_cast<UINT>(strBytes.size());
        const UINT nRandom = static_cast<UINT>(stRandom());
        const UINT arValue[] = {0, 1, 0x7FFFFFFF, 0xFFFFFFFF, nSize, nSize - 4, nRandom % nSize, nRandom};
        for (int n = i % 3 == 0 ? 2 : 1; n > 0; --n)
            strBytes = Patched(strBytes, stRandom() % nSize, arValue[stRandom() % std::size(arValue)]);
        ASSERT_GE(stLink.Ask(bFile ? MF_CMD_EXECUTE : i % 5 ? MF_CMD_QUERY : MF_CMD_PLAN_INFO, strBytes), ERR_OK) << i;
    }
    EXPECT_EQ(stLink.Ask(MF_CMD_QUERY, strQuery), ERR_OK) << "it's still there";
}

TEST_F(DevServerFaults, WhereThatLeadsInCirclesEnds) {
    CDevServerRun stServer;
    CRawLink stLink(stServer.Port());
    ASSERT_EQ(stLink.Ask(MF_CMD_LOGIN), ERR_OK);
    std::string strPlan = PlanBytes("select id from v$instance where id = 1 and id = 2");
    const auto Offset = [&](std::size_t nAt) { return Get<UINT>(strPlan, nAt); };
    UINT nQuery = Offset(offsetof(EXECUTEPLANBSON, m_nCommandOffset));
    const UINT nWhere = Offset(Offset(nQuery + offsetof(QUERYEXECUTEPLANBSON, m_nConditionOffset)) +
                               offsetof(COMMONCONDITION, m_nWhereOffset));
    strPlan[nWhere] = strPlan[nWhere + 1] = CONDITION_NODE;
    Put(strPlan, nWhere + offsetof(BASECONDITIONBSON, m_nConditionOffset1), nWhere);
    Put(strPlan, nWhere + offsetof(BASECONDITIONBSON, m_nConditionOffset2), nWhere);
    EXPECT_EQ(stLink.Ask(MF_CMD_QUERY, strPlan), ERR_SELECT_CONDITION);
    strPlan = PlanBytes("select id from v$instance");
    nQuery = Offset(offsetof(EXECUTEPLANBSON, m_nCommandOffset));
    const UINT nField = Offset(nQuery + offsetof(QUERYEXECUTEPLANBSON, m_nExecuteFieldOffset));
    Put(strPlan, nField + offsetof(EXECUTEFIELDBSON, m_nNextOffset), nField);
    EXPECT_EQ(stLink.Ask(MF_CMD_QUERY, strPlan), ERR_FIELD_NUMBER);
    // A long chain is no circle.
    std::string strSql = "select id from v$instance where id = 1";
    for (int i = 0; i < 5000; ++i)
        strSql += " and id = 1";
    EXPECT_EQ(stLink.Ask(MF_CMD_QUERY, PlanBytes(strSql)), ERR_OK);
}

TEST_F(DevServerFaults, ManyClientsAreServedAtOnceThreads) {
    CDevServerRun stServer({"--fault", "query 5-9 drop=30", "--fault", "query 20-25 fail=5016"});
    std::atomic<int> nDone = 0;
    std::vector<std::jthread> arThread;
    for (int i = 0; i < 24; ++i)
        arThread.emplace_back([&, i] {
            CTestLink stLink;
            EXPECT_EQ(stLink.OpenAt(stServer.Port()), ERR_OK);
            const std::string strFile = stServer.Path("f" + std::to_string(i));
            const std::string strSql = "ALTER SYSTEM ADD KVFILE '" + strFile + "' TABLESPACE 'T' 20MB";
            EXPECT_EQ(stLink.Run(strSql.c_str()), 0);
            for (int n = 0; n < 20; ++n)
                nDone += Query(stLink) == ERR_OK;
        });
    arThread.clear();
    EXPECT_GE(nDone, 24 * 20 - 2) << "but for one that met three broken links in a row";
}

} // namespace
