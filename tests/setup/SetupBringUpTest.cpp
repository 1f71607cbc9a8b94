// The bring-up's pieces: the services and their texts, the wait for the instance against a scripted server, the
// progress.

#include "CreateDataFile.h"
#include "Installation.h"
#include "Language.h"
#include "SetupPaths.h"
#include "SetupProgress.h"
#include "SetupService.h"
#include "SetupTest.h"

namespace {

class SetupBringUp : public CSetupTest {};

TEST_F(SetupBringUp, StartsTheServicesInTheTextsOfEachFlow) {
    const std::pair<std::string, const SERVICETEXTS&> arRow[] = {
        {"master", g_stMasterService}, {"slave", g_stSlaveService}, {"standby", g_stStandbyService}};
    const std::pair<const char*, int> arFailing[] = {{"", 21}, {"kestrostorage", 0}, {"kestroservice", 10}};
    const auto lpfnBefore = signal(SIGCHLD, SIG_IGN);
    for (g_nLanguage_Chinese = 0; g_nLanguage_Chinese < 2; ++g_nLanguage_Chinese) {
        std::string strShown;
        for (const auto& [strFlow, stTexts] : arRow)
            for (const auto& [lpszFailing, nSeconds] : arFailing) {
                m_nSlept = 0;
                m_strCalls.clear();
                m_strFailing = lpszFailing;
                strShown += "= " + strFlow + (*lpszFailing ? " without " : "") + lpszFailing + "\n";
                strShown += Output([&] { EXPECT_EQ(StartServices(stTexts), !*lpszFailing); });
                EXPECT_EQ(m_strCalls, std::string("service kestrostorage start at 0\n") +
                                          (nSeconds ? "service kestroservice start at 10\n" : ""));
                EXPECT_EQ(m_nSlept, nSeconds * SECOND);
            }
        EXPECT_EQ(Replace(strShown, "\r", "\n<"), Transcript("services." + std::to_string(g_nLanguage_Chinese)));
    }
    g_nLanguage_Chinese = 0;
    m_strFailing = "";
    EXPECT_EQ(signal(SIGCHLD, lpfnBefore), SIG_IGN) << "as it was";
}

/** Runs `CreateDataFile` with two sizes and others that are none, and a quote in the path: its output and its code. */
std::string Create(unsigned short usPort) {
    char szData[] = " 4\t", szTree[] = "0", szNone[] = " up \n", szIndex[] = "7", szIP[] = "127.0.0.1";
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
    // A second in front and between queries, 16 ms in front of the segment, 1 on both sides of rounds of 100.
    EXPECT_GE(m_nSlept, 238 * SECOND);
    EXPECT_EQ((m_nSlept - 238 * SECOND) % 100'000, 18'000);
    std::string strSent;
    for (const PEERFRAME& stFrame : m_stPeer.Frames(MF_CMD_EXECUTE))
        strSent += stFrame.m_strBody.c_str() + Get<UINT>(stFrame.m_strBody, offsetof(EXECUTEPLANBSON, m_nSqlOffset));
    EXPECT_EQ(strSent,
              "ALTER SYSTEM ADD DATAFILE '/it''s/KestroDataFile.dbf' TABLESPACE 'KestroDataFile' 4MB"
              "ALTER SYSTEM ADD INDEXFILE '/it''s/IndexFile.dbf' TABLESPACE 'IndexFile' 7MB");
    m_Script = nullptr;
    m_strBlock = CRecordsetMaker("STATUS:6").Row(1, "-").Block(); // NULL
    EXPECT_EQ(Create(m_stPeer.Port()), CONNECTED + "Failed to query database status（-1）\n-1");
}

TEST_F(SetupBringUp, ShowsTheServersProgress) {
    static CREATEDATAFILEPARAM stParam;
    static int nRound;
    MakeSegment();
    std::memset(m_lpBlock->m_szStepText, 'x', sizeof m_lpBlock->m_szStepText);
    m_lpBlock->m_nTotal = 8;

    CSetupProgress stProgress;
    ASSERT_TRUE(stProgress.IsOpen());
    EXPECT_EQ(m_lpBlock->m_szStepText[0], 0) << "an old step doesn't show";
    stParam = {};
    nRound = 0;
    m_lpfnOnSleep = [] {
        const std::pair<const char*, int> arStep[] = {
            {"one", 1}, {"one", 2}, {"t\x1B[2Jwo\n", 3}, {"t\x1B[2Jwo\n", -5}};
        if (nRound == 4) std::memset(m_lpBlock->m_szStepText, 'y', sizeof m_lpBlock->m_szStepText);
        if (nRound == 5) stParam.m_nStatus = DATAFILE_DONE;
        if (nRound < 4) {
            snprintf(m_lpBlock->m_szStepText, sizeof m_lpBlock->m_szStepText, "%s", arStep[nRound].first);
            m_lpBlock->m_nCurrent = arStep[nRound].second;
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

} // namespace
