// Whole runs of a master against the development server: all that they print, the files made and the trace log.

#include <chrono>

#include "ServedInstallation.h"

namespace {

/** The arguments of a run in front of the sizes of data files. */
const std::string MASTER = "-type 1 -ip 0 -systemfile 4 -logs 4 ";

// A second long for the 600 attempts to connect where nobody is.
TEST(SetupMasterRun, PrintsExactlyTheseLines) {
    for (const auto& [strFields, strOutput] : TranscriptRows("master-runs")) {
        const int nLanguage = std::stoi(strFields[0]);
        const CServedInstallation stInstallation(nLanguage, {"--fault", strFields[2]});
        stInstallation.SetService(strFields[1]);
        if (strFields[2] == "# none") stInstallation.SetPort(1);
        EXPECT_EQ(stInstallation.Run(MASTER + strFields[3]), Printed(strOutput, nLanguage)) << strFields[2];
        EXPECT_EQ(stInstallation.Files(), strFields[4]) << strFields[3];
    }
}

// A run that does it all, and one whose second file fails: the code of that stands here alone.
TEST(SetupMasterRun, LogsWhatItDid) {
    const char* const arRun[][2] = {{"query 1 fail=25", "-datafile 1 -treefile 1 -kvfile 1 -tablefile 1 -indexfile 1"},
                                    {"execute 2 fail=11", "-datafile 1 -tablefile 1 -indexfile 1"}};
    for (const int nLanguage : {0, 1}) {
        const auto& [lpszFault, lpszSizes] = arRun[nLanguage];
        const CServedInstallation stInstallation(nLanguage, {"--fault", lpszFault});
        stInstallation.Run(MASTER + lpszSizes);
        EXPECT_EQ(stInstallation.Log() + "\n", Transcript("master-log." + std::to_string(nLanguage)));
    }
}

// Each tells the other's command when it has begun, so they run side by side.
TEST(SetupMasterRun, LeavesAnotherAlone) {
    const CServedInstallation stFirst(0), stSecond(1);
    stSecond.SetService(
        stSecond.Fill("echo >>$BASE/calls; while [ $(wc -l <$BASE/calls) -lt 2 ]; do sleep 0.01; done"));
    EXPECT_EQ(RunProgram({"/bin/sh", "-c", "$0 $2 -datafile 1 >$0.out & $1 $2 -treefile 2 >$1.out; wait",
                          stFirst.Program(), stSecond.Program(), MASTER})
                  .m_strOutput,
              "");
    const std::string strServices = Printed("$SERVICES\n", 0);
    EXPECT_NE(ReadFile(stFirst.Program() + ".out").find(strServices), std::string::npos);
    EXPECT_TRUE(ReadFile(stSecond.Program() + ".out")
                    .ends_with("\n开始创建数据文件...\n创建数据库服务成功！安装程序退出...\n"));
    EXPECT_EQ(stFirst.Files(), "KestroDataFile 1, System 4");
    EXPECT_EQ(stSecond.Files(), "KestroTreeFile 2, System 4");
}

// In a namespace of its own, as the key of the server's segment is fixed. How often a step is shown is a matter of
// time.
TEST(SetupMasterRun, ShowsTheServersSteps) {
    if (unshare(CLONE_NEWIPC) != 0) GTEST_SKIP() << "no namespace for this user";
    const CServedInstallation stInstallation(1, {"--key", "0x5342534d", "--pace", "15", "--chinese"});
    const std::string strOutput = stInstallation.Run(MASTER + "-datafile 16 -treefile 16"),
                      strBegin = "开始创建数据文件...";
    const std::regex stSteps(strBegin +
                             R"((\n(创建内存数据文件|创建内存索引文件)：\[\d+ / 16\](\r\2：\[\d+ / 16\])*){1,2}\n)" +
                             "创建数据库服务成功！安装程序退出...\n");
    EXPECT_TRUE(std::regex_match(strOutput.substr(strOutput.find(strBegin)), stSteps)) << strOutput;
}

// The shipped program on the true clock: two waits of ten seconds for the services and two of one.
#if defined(NDEBUG) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST(SetupMasterRun, WaitsInRealTime) {
    const CServedInstallation stInstallation(0, {}, KESTROSETUP_PATH);
    const auto stStart = std::chrono::steady_clock::now();
    const std::string strOutput = stInstallation.Run(MASTER + "-datafile 1");
    const std::chrono::duration<double> stTime = std::chrono::steady_clock::now() - stStart;
    EXPECT_EQ(strOutput, Printed(TranscriptRows("master-runs")[0].m_strLines, 0));
    EXPECT_GE(stTime.count(), 22);
    EXPECT_LT(stTime.count(), 30) << "and for nothing else";
}
#endif

} // namespace
