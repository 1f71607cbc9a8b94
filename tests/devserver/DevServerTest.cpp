// The development server as its clients meet it: the built program on a port of its own.

#include "DevServer.h"

namespace {

class DevServer : public CLinkTest {};

/** A query's columns and rows, "A:B 1:x|y", or its code in brackets. */
std::string Ask(CTestLink& stLink, const char* lpszSql, MF_EXECUTE_STATISTICS* pStat = nullptr) {
    CMemDBRecordset stSet;
    const int nCode = stLink.CDBInterface::GetRecordset(lpszSql, stSet, pStat);
    if (nCode != ERR_OK) return CodeText(nCode);
    std::string strText;
    for (int i = 0; i < stSet.GetFieldNum(); ++i)
        strText.append(i == 0 ? "" : ":").append(stSet.FieldName(i));
    return strText + " " + ShowRows(stSet);
}

std::string AddFile(const std::string& strKind, const std::string& strPath, const std::string& strSize) {
    return "ALTER SYSTEM ADD " + strKind + " '" + strPath + "' TABLESPACE 'T' " + strSize;
}

TEST_F(DevServer, KeepsASessionOverALostLink) {
    CDevServerRun stServer({"--id", "42"});
    CTestLink stOther;
    ASSERT_TRUE(m_stLink.OpenAt(stServer.Port()) == ERR_OK && stOther.OpenAt(stServer.Port()) == ERR_OK);
    const int nSession = m_stLink.m_nSessionID;
    EXPECT_NE(nSession, stOther.m_nSessionID);

    EXPECT_TRUE(m_stLink.UseDatabase("shop") == ERR_OK && stOther.UseDatabase("stock") == ERR_OK);
    EXPECT_NE(m_stLink.m_bDatabaseNo, stOther.m_bDatabaseNo);
    EXPECT_EQ(stOther.UseDatabase("shop"), ERR_OK);
    EXPECT_EQ(m_stLink.m_bDatabaseNo, stOther.m_bDatabaseNo);
    EXPECT_EQ(stOther.UseDatabase(""), ERR_PARAMETER);

    int nFirst = 0, nSecond = 0;
    char szName[] = "t";
    EXPECT_EQ(m_stLink.StartTransactionLogic(szName, nFirst), ERR_OK);
    EXPECT_EQ(m_stLink.StartTransactionLogic(szName, nSecond), ERR_OK);
    EXPECT_EQ(m_stLink.StopTransactionLogic(nFirst), ERR_OK);
    EXPECT_EQ(m_stLink.StopTransactionLogic(nFirst), ERR_TRANSACTION_LOST);
    shutdown(m_stLink.m_nSocket, SHUT_RDWR);
    EXPECT_EQ(m_stLink.StopTransactionLogic(nSecond), ERR_TRANSACTION_LOST) << "it ended with its link";
    EXPECT_EQ(m_stLink.m_nSessionID, nSession) << "the session went on";
    EXPECT_EQ(Ask(m_stLink, "select id from v$instance"), "ID 1:42");

    m_stLink.Close();
    ASSERT_EQ(m_stLink.OpenAt(stServer.Port()), ERR_OK);
    EXPECT_NE(m_stLink.m_nSessionID, nSession) << "a logout ends it";
    unsigned char arRedo[] = {6, 0, 0, 0, 1, 2};
    EXPECT_EQ(m_stLink.KestroRedo(arRedo, 1), ERR_OK);
}

TEST_F(DevServer, AnswersTheInstanceFromThePlan) {
    CDevServerRun stServer(
        {"--id", "7", "--status", "Mount", "--starting", "1", "--path", "/tmp", "--master", "10.0.0.9:8001"});
    ASSERT_EQ(m_stLink.OpenAt(stServer.Port()), ERR_OK);
    const char* const arRow[][2] = {
        {"SELECT STATUS FROM V$INSTANCE", "STATUS 1:Starting"},
        {"SELECT ID,PATH,CLUSTERSTATUS,MASTERIP,MASTERPORT FROM V$INSTANCE",
         "ID:PATH:CLUSTERSTATUS:MASTERIP:MASTERPORT 1:7|/tmp/|Slave|10.0.0.9|8001"},
        {"select masterport, /* status */ v.id from v$instance v -- where id = 8", "MASTERPORT:ID 1:8001|7"},
        {"select status as st, status, id nr, 'id' from V$INSTANCE", "(99)"},
        {"select status as st, status, id nr from V$INSTANCE", "st:STATUS:nr 1:Mount|Mount|7"},
        {"select * from V$INSTANCE where id = 7",
         "ID:STATUS:PATH:CLUSTERSTATUS:MASTERIP:MASTERPORT 1:7|Mount|/tmp/|Slave|10.0.0.9|8001"},
        {"select id from V$INSTANCE where id = 8", "ID "},
        {"select id from V$INSTANCE where 7 = id and status = 'Mount' and masterport > 8000.5", "ID 1:7"},
        {"select id from V$INSTANCE where id = 7 and status = 'Open' and path = '/tmp/'", "ID "},
        {"select id from V$INSTANCE where id = 8 or not (status != 'Mount' or id >= 8)", "ID 1:7"},
        {"select id from V$INSTANCE where status = path", "ID "},
        {"select id from V$INSTANCE where nothing = 1", "(304)"},
        {"select id from V$INSTANCE where id in (7)", "(99)"},
        {"select count(*) from V$INSTANCE", "(99)"},
        {"select id from V$INSTANCE order by id", "(99)"},
        {"select id from V$INSTANCE union select id from V$INSTANCE", "(99)"},
        {"select id from t", "(99)"},
    };
    for (const auto& [lpszSql, lpszAnswer] : arRow)
        EXPECT_EQ(Ask(m_stLink, lpszSql), lpszAnswer) << lpszSql;

    MF_EXECUTE_STATISTICS stStat{};
    stStat.m_nErrorCode = 10;
    stStat.m_nErrorPos = 2;
    EXPECT_EQ(Ask(m_stLink, "select id from V$INSTANCE", &stStat), "ID ") << "the second page";
    EXPECT_GT(std::int64_t{stStat.m_nServerStat[1]}, 88) << "the plan's length";
    EXPECT_EQ(int{stStat.m_nServerStat11}, m_stLink.m_nSessionID);
    EXECUTEPLANDESCRIBE stDescribe{};
    EXPECT_EQ(m_stLink.GetExecutePlanInfo("select a, b from V$INSTANCE, t2", &stDescribe, nullptr), ERR_OK);
    const auto Shows = [&](std::size_t nOffset, const std::wstring& strText) {
        const auto* lpShown = reinterpret_cast<const char*>(&stDescribe) + nOffset;
        return std::memcmp(lpShown, strText.c_str(), (strText.size() + 1) * sizeof(wchar_t)) == 0;
    };
    EXPECT_TRUE(Shows(offsetof(EXECUTEPLANDESCRIBE, m_szFirstName), L"V$INSTANCE"));
    EXPECT_TRUE(Shows(offsetof(EXECUTEPLANDESCRIBE, m_szSecondName), L"T2"));
    EXPECT_TRUE(Shows(offsetof(EXECUTEPLANDESCRIBE, m_szDetail), L"columns: 2"));
    EXPECT_EQ(m_stLink.GetExecutePlanInfo("begin", &stDescribe, nullptr), ERR_NOT_DEVELOPED);
}

TEST_F(DevServer, MakesAFileAndTellsItsProgress) {
    static CDevServerRun* lpServer = nullptr;
    CDevServerRun stServer;
    lpServer = &stServer;
    ASSERT_EQ(m_stLink.OpenAt(stServer.Port()), ERR_OK);
    const std::string strFile = stServer.Path("KestroDataFile.dbf");
    int nAffect = -1, nSteps = 0;
    const auto lpfnProgress = [](void* pSteps, const char* lpszText, int nTotal, int nCurrent) {
        const SETUPPROGRESSINFO stShown = lpServer->Progress();
        EXPECT_STREQ(stShown.m_szStepText, "Create memory data file");
        EXPECT_STREQ(stShown.m_szStepText, lpszText);
        EXPECT_TRUE(nTotal == 33 && stShown.m_nTotal == 33);
        EXPECT_GE(int{stShown.m_nCurrent}, nCurrent) << "shared memory is ahead of the frames";
        return ++*static_cast<int*>(pSteps);
    };
    const std::string strSql = AddFile("DATAFILE", strFile, "34000001");
    EXPECT_EQ(m_stLink.Execute(strSql.c_str(), nAffect, nullptr, lpfnProgress, &nSteps), ERR_OK);
    EXPECT_EQ(nSteps, 16);
    EXPECT_EQ(std::filesystem::file_size(strFile), 34000001u);
    EXPECT_TRUE(stServer.Progress().m_nCurrent == 33 && stServer.Progress().m_nRunning == 0);

    const std::string strNew = stServer.Path("new");
    std::filesystem::create_symlink("/tmp", stServer.Path("link"));
    const std::pair<std::string, int> arRow[] = {
        {AddFile("TREEFILE", strNew + "1", "1MB"), 0},
        {AddFile("KVFILE", strNew + "2", "1"), 0},
        {AddFile("TABLEFILE", strNew + "3", "100GB"), 0},
        {AddFile("INDEXFILE", strNew + "4", "3KB"), 0},
        {AddFile("DATAFILE", strFile, "1MB"), -ERR_FILE_EXISTS},
        {AddFile("DATAFILE", strNew, "0"), -ERR_PARAMETER},
        {AddFile("DATAFILE", "", "1MB"), -ERR_PARAMETER},
        {AddFile("DATAFILE", stServer.Path("../kestrodevserver.out"), "1MB"), -ERR_FILE_OPEN},
        {AddFile("DATAFILE", stServer.Path("link/kestrodevserver.out"), "1MB"), -ERR_FILE_OPEN},
        {AddFile("DATAFILE", stServer.Path("absent/file"), "1MB"), -ERR_FILE_OPEN},
        {AddFile("DATAFILE", stServer.Path(".."), "1MB"), -ERR_FILE_OPEN},
        {"ALTER SYSTEM DROP DATAFILE '" + strFile + "'", -ERR_NOT_DEVELOPED},
        {"begin", -ERR_NOT_DEVELOPED},
    };
    for (const auto& [strAdd, nResult] : arRow)
        EXPECT_EQ(m_stLink.Run(strAdd.c_str()), nResult) << strAdd;
    EXPECT_EQ(std::filesystem::file_size(strNew + "3"), std::uintmax_t{100} << 30);
    EXPECT_FALSE(std::filesystem::exists(strNew));
    EXPECT_FALSE(std::filesystem::exists("/tmp/kestrodevserver.out"));
}

/** The nodes of the cluster, "port:state" each. */
std::string Nodes(CTestLink& m_stLink) {
    CLUSTERSTATUS stStatus{};
    EXPECT_EQ(m_stLink.GetClusterStatus(reinterpret_cast<unsigned char*>(&stStatus), sizeof stStatus, 0), ERR_OK);
    std::string strNodes;
    for (int i = 0; i < std::min(int{stStatus.m_nNodeNum}, CLUSTER_NODE_MOST); ++i)
        strNodes += std::to_string(stStatus.m_arNode[i].m_usPort) + ":" +
                    std::to_string(stStatus.m_arNode[i].m_nNodeInfo) + " ";
    return strNodes;
}

TEST_F(DevServer, HasNodesJoinChangeAndLeave) {
    CDevServerRun stServer({"--id", "7", "--node", "10.0.0.1:1", "--fault", "add-node 2 abort=77", "--fault",
                            "add-node 3 fail=5020", "--fault", "execute abort=11"});
    ASSERT_EQ(m_stLink.OpenAt(stServer.Port()), ERR_OK);
    char szName[] = "node";
    const auto Join = [&](USHORT usPort) {
        if (const int nCode = m_stLink.AddNewNode(7, INADDR_LOOPBACK, 3, usPort, szName)) return CodeText(nCode);
        while (int{stServer.Progress().m_nRunning} != 0)
            sched_yield();
        const SETUPPROGRESSINFO stShown = stServer.Progress();
        return std::string(stShown.m_szStepText) + " " + std::to_string(int{stShown.m_nCurrent}) + "/" +
               std::to_string(int{stShown.m_nTotal});
    };
    EXPECT_EQ(Join(2), "Synchronize redo log 16/16");
    EXPECT_EQ(Join(3), "Copy memory data files 77/-1");
    EXPECT_EQ(Join(3), "(5020)");
    EXPECT_EQ(Nodes(m_stLink), "1:0 2:3 ");
    EXPECT_EQ(m_stLink.ClusterModifyNode(INADDR_LOOPBACK, 2, 9), ERR_OK);
    EXPECT_EQ(Nodes(m_stLink), "1:0 2:9 ");
    EXPECT_EQ(m_stLink.ClusterModifyNode(INADDR_LOOPBACK, 3, 9), ERR_NODE_NOT_EXIST);
    for (int i = 3; i <= CLUSTER_NODE_MOST; ++i)
        EXPECT_EQ(Join(static_cast<USHORT>(i)), "Synchronize redo log 16/16");
    EXPECT_EQ(Join(11), "(33)");
    EXPECT_EQ(Join(2), "Synchronize redo log 16/16") << "it has its place already";
    EXPECT_EQ(m_stLink.ClusterDropNode(0x0A000001, 1, 0), ERR_OK);
    EXPECT_EQ(m_stLink.ClusterDropNode(0x0A000001, 1, 0), ERR_NODE_NOT_EXIST);
    EXPECT_EQ(Nodes(m_stLink), "2:3 3:3 4:3 5:3 6:3 7:3 8:3 9:3 10:3 ");
    EXPECT_EQ(m_stLink.AddNewNode(8, INADDR_LOOPBACK, 3, 12, szName), ERR_PARAMETER) << "of another cluster";
    EXPECT_EQ(m_stLink.Run(AddFile("KVFILE", stServer.Path("half"), "1MB").c_str()), -ERR_NO_SPACE);
    EXPECT_FALSE(std::filesystem::exists(stServer.Path("half")));

    // A join that doesn't end: another one waits for nothing, and the server still ends at once.
    CDevServerRun stSlow({"--pace", "3600000"}), stSlave({"--master", "127.0.0.1:9"});
    ASSERT_EQ(m_stLink.OpenAt(stSlow.Port()), ERR_OK);
    EXPECT_EQ(m_stLink.AddNewNode(1, INADDR_LOOPBACK, 1, 2, szName), ERR_OK);
    EXPECT_STREQ(stSlow.Progress().m_szStepText, "Copy system file");
    EXPECT_EQ(m_stLink.AddNewNode(1, INADDR_LOOPBACK, 1, 3, szName), ERR_SYNCHRONIZING);
    ASSERT_EQ(m_stLink.OpenAt(stSlave.Port()), ERR_OK);
    EXPECT_EQ(m_stLink.AddNewNode(1, INADDR_LOOPBACK, 1, 2, szName), ERR_NOT_MASTER);
}

TEST_F(DevServer, EndsCleanlyInTheMiddleOfItsWork) {
    CDevServerRun stServer({"--pace", "3600000", "--fault", "use delay=3600000"});
    CRawLink stIdle(stServer.Port()), stHalf(stServer.Port()), stSlow(stServer.Port()), stFile(stServer.Port());
    stHalf.Send("\3\24");
    ASSERT_EQ(stSlow.Ask(MF_CMD_LOGIN), 0);
    stSlow.Send(HeadBytes(MF_CMD_USE, 1, 0, 0, 0, "shop"));
    ASSERT_EQ(stFile.Ask(MF_CMD_LOGIN), 0);
    const std::string strPlan = PlanBytes(AddFile("DATAFILE", stServer.Path("file"), "1MB"));
    stFile.Send(HeadBytes(MF_CMD_EXECUTE, 1, 0, 0, strPlan.size()) + strPlan);
    while (int{stServer.Progress().m_nRunning} == 0)
        sched_yield();
    EXPECT_TRUE(std::filesystem::exists(stServer.Path("file")));
    EXPECT_EQ(stServer.End(SIGTERM), 0);
    EXPECT_FALSE(std::filesystem::exists(stServer.Path("file"))) << "half a file is none";
    shmid_ds stState{};
    EXPECT_EQ(shmctl(stServer.Segment(), IPC_STAT, &stState), -1) << "the segment is gone";
    EXPECT_FALSE(CRawLink(stServer.Port()).m_bOpen);
    EXPECT_EQ(CDevServerRun().End(SIGINT), 0);
    EXPECT_EQ(CDevServerRun().End(SIGHUP), 0);
}

TEST_F(DevServer, TellsWhyItDoesNotStart) {
    CDevServerRun stServer;
    const std::string strPort = std::to_string(stServer.Port());
    WriteFile(stServer.Path("script"), "# all is well\n\nquery 2- drop=3 delay=1\nquery 0 drop=1\n");
    const std::string strStart = "kestrodevserver: ";
    std::vector<RUNROW> arRow{
        {{"--help"}, 0, "Usage: kestrodevserver"},
        {{"--chinese", "--help"}, 0, "用法：kestrodevserver"},
        {{"--version"}, 0, "kestrodevserver " KESTRO_VERSION "\n"},
        {{"--ports", "1"}, 2, strStart + "unknown option: --ports\nTry kestrodevserver --help.\n"},
        {{"--port"}, 2, strStart + "--port lacks its value"},
        {{"--script", stServer.Path("script")}, 2, strStart + "in the rule \"query 0 drop=1\" this can't be read: 0"},
        {{"--script", stServer.Path("none")},
         2,
         strStart + "the script " + stServer.Path("none cannot be read: No such file")},
        {{"--port", strPort, "--key", "0"}, 1, strStart + "cannot listen on 127.0.0.1:" + strPort},
    };
    const char* const BAD[][2] = {
        {"--port", "65536"}, {"--id", "0"}, {"--listen", "localhost"}, {"--node", "1.2.3.4:0"}};
    for (const auto& [lpszOption, lpszValue] : BAD)
        arRow.push_back({{lpszOption, lpszValue}, 2, strStart + "no value for " + lpszOption + ": " + lpszValue});
    const char* const FAULT[][2] = {{"query", "query"},           {"query drip=1", "drip=1"},
                                    {"quarry drop=1", "quarry"},  {"query 3-2 drop=1", "3-2"},
                                    {"query drop=-1", "drop=-1"}, {"query byte=1:256", "byte=1:256"}};
    for (const auto& [lpszRule, lpszWord] : FAULT)
        arRow.push_back(
            {{"--fault", lpszRule}, 2, strStart + "in the rule \"" + lpszRule + "\" this can't be read: " + lpszWord});
    ExpectRuns(KESTRODEVSERVER_PATH, arRow);
}

TEST_F(DevServer, TakesOverOnlyASegmentThatNobodyUses) {
    int nKey = 0x6B000000 | (getpid() & 0xFFFFFF), nSegment = -1;
    while ((nSegment = shmget(++nKey, 4096, IPC_CREAT | IPC_EXCL | 0600)) < 0 && errno == EEXIST) {
    }
    void* lpSegment = shmat(nSegment, nullptr, 0);
    ASSERT_NE(lpSegment, reinterpret_cast<void*>(-1));
    const PROGRAMRUN stRefused = RunProgram({KESTRODEVSERVER_PATH, "--port", "0", "--key", std::to_string(nKey)});
    EXPECT_EQ(WEXITSTATUS(stRefused.m_nStatus), 1);
    EXPECT_NE(stRefused.m_strOutput.find("cannot make the shared memory"), std::string::npos);
    shmdt(lpSegment);
    CDevServerRun stServer({"--key", std::to_string(nKey)});
    EXPECT_NE(stServer.Port(), 0);
    EXPECT_EQ(shmget(nKey, 0, 0), stServer.Segment());
    EXPECT_EQ(stServer.End(SIGTERM), 0);
    EXPECT_EQ(shmget(nKey, 0, 0), -1);
}

} // namespace
