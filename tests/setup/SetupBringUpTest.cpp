// The bring-up of a master: the services and their texts, the wait for the instance against a scripted server, the
// progress, and whole runs against the development server.

#include <map>

#include "CreateDataFile.h"
#include "DevServer.h"
#include "Installation.h"
#include "Language.h"
#include "RecordsetMaker.h"
#include "SetupPaths.h"
#include "SetupProgress.h"
#include "SetupService.h"
#include "SetupTest.h"

namespace {

// Nothing listens on it any more.
unsigned short FreePort() {
    return CScriptedPeer([](const PEERFRAME&) { return PEERANSWER(""); }).Port();
}

class SetupBringUp : public CSetupTest {};

// --- services --------------------------------------------------------------------------------------------------------

TEST_F(SetupBringUp, StartsTheServicesInTheTextsOfEachFlow) {
    const struct {
        const char* m_lpszFlow;
        const SERVICETEXTS& m_stTexts;
    } arRow[] = {{"master", g_stMasterService}, {"slave", g_stSlaveService}, {"standby", g_stStandbyService}};
    const auto lpfnBefore = signal(SIGCHLD, SIG_IGN);
    std::string strShown;
    for (const auto& stRow : arRow)
        for (const char* lpszFailing : {"none", "kestrostorage"}) {
            m_nSlept = 0;
            m_strCalls.clear();
            m_strFailing = lpszFailing;
            bool bStarted = false;
            const std::string strOutput = Output([&] { bStarted = StartServices(stRow.m_stTexts); });
            EXPECT_EQ(bStarted, m_strFailing == "none");
            EXPECT_EQ(m_strCalls, bStarted ? "service kestrostorage start at 0\nservice kestroservice start at 10\n"
                                           : "service kestrostorage start at 0\n");
            EXPECT_EQ(m_nSlept, bStarted ? 21 * SECOND : 0);
            strShown += std::string("= ") + stRow.m_lpszFlow + (bStarted ? "\n" : " failed\n") + strOutput;
        }
    EXPECT_EQ(signal(SIGCHLD, lpfnBefore), SIG_IGN) << "as it was";
    // In the transcript a carriage return shows as "<" on a line of its own.
    EXPECT_EQ(Replace(Replace(strShown, "\r", "\n<"), "\n\n<", "\n<"), Transcript("services"));

    m_strCalls.clear();
    m_strFailing = "kestroservice";
    EXPECT_TRUE(Output([] {
                    EXPECT_FALSE(StartServices(g_stSlaveService));
                }).ends_with("\rStart the main service...\nStart service kestroservice failed, error code: 768\n"));
    m_strFailing = "none";
}

// --- connection and status -------------------------------------------------------------------------------------------

/** Runs `CreateDataFile` in three sizes, "0" among them, with a quote in the path; shows its output and its code. */
std::string Create(unsigned short usPort) {
    char szData[] = " 4\t", szTree[] = "0", szNone[] = "", szIndex[] = "7", szIP[] = "127.0.0.1";
    snprintf(g_lpDatabasePath, MAX_PATH, "/it's/");
    int nCode = -2;
    const std::string strOutput =
        Output([&] { nCode = CreateDataFile(szData, szTree, szNone, nullptr, szIndex, szIP, usPort, nullptr); });
    return strOutput + std::to_string(nCode);
}

const std::string CONNECTED = "Connecting to Kestro Service...\nConnect to Kestro Service...\n";

TEST_F(SetupBringUp, WaitsForTheInstanceAndSendsTheFiles) {
    static int nQuery;
    nQuery = 0;
    m_Script = [](const PEERFRAME& stFrame) {
        if (stFrame.Command() != MF_CMD_QUERY) return Welcome(stFrame);
        const char* const arStatus[] = {"Mounted", "open", "Open "};
        ++nQuery;
        if (nQuery % 2 == 1 && nQuery < 238) return PEERANSWER(stFrame.Reply(MF_REPLY_FAIL, ERR_PARAMETER));
        CRecordsetMaker stMaker("STATUS:6");
        if (nQuery != 2) stMaker.Row(1, nQuery >= 238 ? "Open" : arStatus[nQuery / 2 % 3]);
        return PEERANSWER(stFrame.Reply(MF_REPLY_OK, nQuery != 2, stMaker.Block()));
    };
    EXPECT_EQ(Create(m_stPeer.Port()), CONNECTED + "No data was queried\nStart creating data files...\n0");
    EXPECT_EQ(nQuery, 238) << "119 failures don't end it";
    EXPECT_GE(m_nSlept, 238 * SECOND) << "a second in front, and one between queries";
    const std::vector<PEERFRAME> arFile = m_stPeer.Frames(MF_CMD_EXECUTE);
    ASSERT_EQ(arFile.size(), 2u);
    EXPECT_NE(arFile[0].m_strBody.find("/it's/KestroDataFile.dbf"), std::string::npos);
    EXPECT_NE(arFile[1].m_strBody.find("/it's/IndexFile.dbf"), std::string::npos);
    const std::string strTraces = Traces();
    std::size_t nPlace = 0;
    for (const char* lpszText :
         {"Create Memory Data Files...", "Create table index files...", "Create File Completion"})
        nPlace = strTraces.find(lpszText, nPlace);
    EXPECT_NE(nPlace, std::string::npos) << strTraces;
    EXPECT_EQ(strTraces.find("hash"), std::string::npos);
}

TEST_F(SetupBringUp, EndsWhereServerOrStatementFails) {
    g_nLanguage_Chinese = 1;
    m_Script = [](const PEERFRAME& stFrame) {
        return stFrame.Command() == MF_CMD_QUERY ? PEERANSWER(stFrame.Reply(MF_REPLY_FAIL, 25)) : Welcome(stFrame);
    };
    EXPECT_EQ(Create(m_stPeer.Port()), "正在连接Kestro服务...\n连接Kestro服务...\n查询数据库状态失败（25）\n25");
    EXPECT_EQ(m_stPeer.Frames(MF_CMD_QUERY).size(), 120u);
    g_nLanguage_Chinese = 0;

    // A status that is NULL.
    m_Script = nullptr;
    m_strBlock = CRecordsetMaker("STATUS:6").Row(1, "-").Block();
    EXPECT_EQ(Create(m_stPeer.Port()), CONNECTED + "Failed to query database status（-1）\n-1");

    m_strBlock = CRecordsetMaker("STATUS:6").Row(1, "Open").Block();
    m_Script = [](const PEERFRAME& stFrame) {
        return stFrame.Command() == MF_CMD_EXECUTE ? PEERANSWER(stFrame.Reply(MF_REPLY_FAIL, 11)) : Welcome(stFrame);
    };
    m_stPeer.Frames(0, true);
    EXPECT_EQ(Create(m_stPeer.Port()), CONNECTED + "Start creating data files...\n1");
    EXPECT_EQ(m_stPeer.Frames(MF_CMD_EXECUTE).size(), 1u) << "the first failure is the end";
    EXPECT_NE(Traces().find("Failed to create memory data file（11）"), std::string::npos);

    // Nobody there: 600 attempts, a second apart.
    const unsigned short usPort = FreePort();
    m_nSlept = 0;
    EXPECT_EQ(Create(usPort),
              CONNECTED + "Connection server failed, IP address： 127.0.0.1:" + std::to_string(usPort) + "(600)\n902");
    EXPECT_EQ(m_nSlept, 600 * SECOND);
}

// --- progress --------------------------------------------------------------------------------------------------------

TEST_F(SetupBringUp, ShowsTheServersProgress) {
    static CREATEDATAFILEPARAM stParam;
    static int nRound;
    ASSERT_TRUE(MakeSegment());
    std::memset(m_lpBlock->m_szStepText, 'x', sizeof m_lpBlock->m_szStepText);
    m_lpBlock->m_nTotal = 8;

    CSetupProgress stProgress;
    ASSERT_TRUE(stProgress.IsOpen());
    EXPECT_EQ(m_lpBlock->m_szStepText[0], 0) << "an old step doesn't show";
    stParam = {};
    nRound = 0;
    m_lpfnOnSleep = [] {
        const struct {
            const char* m_lpszText;
            int m_nCurrent;
        } arStep[] = {{"one", 1}, {"one", 2}, {"t\x1B[2Jwo\n", 3}, {"t\x1B[2Jwo\n", -5}};
        if (nRound == 4) std::memset(m_lpBlock->m_szStepText, 'y', sizeof m_lpBlock->m_szStepText);
        if (nRound == 5) stParam.m_nStatus = DATAFILE_DONE;
        if (nRound < 4) {
            snprintf(m_lpBlock->m_szStepText, sizeof m_lpBlock->m_szStepText, "%s", arStep[nRound].m_lpszText);
            m_lpBlock->m_nCurrent = arStep[nRound].m_nCurrent;
        }
        ++nRound;
    };
    EXPECT_EQ(Output([&] { AwaitDataFiles(stParam, stProgress); }),
              "\none：[1 / 8]\rone：[2 / 8]\nt [2Jwo ：[3 / 8]\rt [2Jwo ：[-5 / 8]\n" + std::string(127, 'y') +
                  "：[-5 / 8]\n");
    PROGRESSTEXT szText;
    KeepForeignText(szText, "创建\x7F\xC2\x9B!\xC2\xA0");
    EXPECT_STREQ(szText, "创建   !\xC2\xA0");
}

// --- whole runs ------------------------------------------------------------------------------------------------------

/** A run of a master on the quick clock, with services that start, against a server's port. */
std::string RunMaster(const Installation& stInstallation, unsigned short usPort, const std::string& strSizes) {
    WriteFile(stInstallation.Config(),
              Replace(ReadFile(stInstallation.Config()), "listenport=1", "listenport=" + std::to_string(usPort)));
    stInstallation.SetService("echo \"$@\" >>" + stInstallation.Fill("$BASE/calls"));
    return stInstallation.Run("-type 1 -ip 0 -systemfile 4 -logs 4 " + strSizes);
}

TEST(SetupMasterRun, CreatesAnInstance) {
    for (const int nLanguage : {0, 1}) {
        const Installation stInstallation(nLanguage, "base", KESTROSETUP_QUICK_PATH);
        const CDevServerRun stServer(
            {"--path", stInstallation.Fill("$BASE/Data/Kestro"), "--fault", "query -3 fail=25"});
        const std::string strOutput =
            RunMaster(stInstallation, stServer.Port(), "-datafile 3 -treefile 0 -kvfile x -tablefile 2 -indexfile 1");
        const char* const arEnd[] = {
            "\rStart the service successfully! \nConnecting to Kestro Service...\nConnect to Kestro Service...\n"
            "Start creating data files...\nCreate database service successfully! Setup Exit...\n",
            "\r启动服务成功！\n正在连接Kestro服务...\n连接Kestro服务...\n开始创建数据文件...\n"
            "创建数据库服务成功！安装程序退出...\n"};
        EXPECT_TRUE(strOutput.ends_with(arEnd[nLanguage])) << strOutput;
        EXPECT_EQ(ReadFile(stInstallation.Fill("$BASE/calls")), "kestrostorage start\nkestroservice start\n");
        std::map<std::string, std::uintmax_t> mapFile;
        for (const auto& stEntry : std::filesystem::directory_iterator(stInstallation.Fill("$BASE/Data/Kestro")))
            mapFile[stEntry.path().filename()] = stEntry.file_size() >> 20;
        EXPECT_EQ(mapFile,
                  (std::map<std::string, std::uintmax_t>{
                      {"System.dbf", 4}, {"KestroDataFile.dbf", 3}, {"TableFile.dbf", 2}, {"IndexFile.dbf", 1}}));
    }
}

TEST(SetupMasterRun, LeavesTheCodeOfAFailedFileInTheLog) {
    const Installation stInstallation(0, "base", KESTROSETUP_QUICK_PATH);
    const CDevServerRun stServer({"--path", stInstallation.Fill("$BASE/Data/Kestro"), "--fault", "execute 2 fail=11"});
    EXPECT_TRUE(RunMaster(stInstallation, stServer.Port(), "-datafile 1 -tablefile 1 -indexfile 1")
                    .ends_with("Start creating data files...\nFailed to create database service data file, error code: "
                               "1\n" +
                               FAILED[0]));
    EXPECT_FALSE(std::filesystem::exists(stInstallation.Fill("$BASE/Data/Kestro/IndexFile.dbf")));
    std::string strLog;
    for (const auto& stEntry : std::filesystem::directory_iterator(stInstallation.Fill("$BASE/bin/Log")))
        strLog += ReadFile(stEntry.path());
    EXPECT_NE(strLog.find("Failed to create table data file（11）"), std::string::npos) << strLog;
}

} // namespace
