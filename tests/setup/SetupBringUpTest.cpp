// The bring-up's pieces: the services and their texts, the wait for the instance against a scripted server, the
// progress.

#include "CreateDataFile.h"
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
    const std::pair<const char*, int> arFailing[] = {{"", 21}, {"kestrostorage", 0}, {"kestroservice", 10}};
    const auto lpfnBefore = signal(SIGCHLD, SIG_IGN);
    for (g_nLanguage_Chinese = 0; g_nLanguage_Chinese < 2; ++g_nLanguage_Chinese) {
        std::string strShown;
        for (const auto& stRow : arRow)
            for (const auto& [lpszFailing, nSeconds] : arFailing) {
                m_nSlept = 0;
                m_strCalls.clear();
                m_strFailing = *lpszFailing ? lpszFailing : "none";
                strShown +=
                    std::string("= ") + stRow.m_lpszFlow + (*lpszFailing ? " without " : "") + lpszFailing + "\n";
                strShown += Output([&] { EXPECT_EQ(StartServices(stRow.m_stTexts), !*lpszFailing); });
                EXPECT_EQ(m_strCalls, std::string("service kestrostorage start at 0\n") +
                                          (nSeconds ? "service kestroservice start at 10\n" : ""));
                EXPECT_EQ(m_nSlept, nSeconds * SECOND);
            }
        EXPECT_EQ(Replace(strShown, "\r", "\n<"), Transcript("services." + std::to_string(g_nLanguage_Chinese)));
    }
    g_nLanguage_Chinese = 0;
    m_strFailing = "none";
    EXPECT_EQ(signal(SIGCHLD, lpfnBefore), SIG_IGN) << "as it was";
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
    // A second in front and between queries, 16 ms in front of the segment, 1 on both sides of rounds of 100.
    EXPECT_GE(m_nSlept, 238 * SECOND);
    EXPECT_EQ((m_nSlept - 238 * SECOND) % 100'000, 18'000);
    const std::vector<PEERFRAME> arFile = m_stPeer.Frames(MF_CMD_EXECUTE);
    ASSERT_EQ(arFile.size(), 2u);
    EXPECT_NE(arFile[0].m_strBody.find("/it's/KestroDataFile.dbf"), std::string::npos);
    EXPECT_NE(arFile[1].m_strBody.find("/it's/IndexFile.dbf"), std::string::npos);
}

TEST_F(SetupBringUp, EndsWithoutAServerOrAStatus) {
    m_strBlock = CRecordsetMaker("STATUS:6").Row(1, "-").Block(); // NULL
    EXPECT_EQ(Create(m_stPeer.Port()), CONNECTED + "Failed to query database status（-1）\n-1");
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

} // namespace
