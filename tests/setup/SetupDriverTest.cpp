// Runs the built setup program in a scratch installation: by arguments, by a pipe and on a terminal, in both languages,
// and compares everything that it prints. The transcripts show what stands on a terminal; answers typed stand in {{ }}.

#include <gtest/gtest.h>

#include <random>

#include "ServedInstallation.h"

namespace {

/** Kilobytes of memory of this machine. */
long long MachineMemory() {
    std::istringstream stInfo(ReadFile("/proc/meminfo"));
    std::string strWord;
    long long nKilobytes = 0;
    stInfo >> strWord >> nKilobytes;
    return nKilobytes;
}

/** Enough for a system file of some 4 GB to pass the memory check. */
bool HasMuchMemory() {
    return MachineMemory() > 8'000'000;
}

// Plays a transcript on a terminal, which shows no carriage returns here, or through a pipe.
void Play(const Installation& stInstallation, const std::string& strName, int nLanguage, bool bTerminal) {
    std::string strText = stInstallation.Fill(Transcript(strName + "." + std::to_string(nLanguage)));
    strText = Printed(strText, nLanguage);
    if (bTerminal) std::erase(strText, '\r');
    std::string strShown, strInput;
    std::vector<std::pair<std::string, std::string>> stAnswers;
    for (std::size_t nOpen; (nOpen = strText.find("{{")) != strText.npos;) {
        const std::size_t nClose = strText.find("}}\n", nOpen);
        const std::string strAnswer = strText.substr(nOpen + 2, nClose - nOpen - 2) + "\n";
        strShown += strText.substr(0, nOpen);
        strInput += strAnswer;
        stAnswers.emplace_back(strShown, strAnswer);
        if (bTerminal) strShown += strAnswer;
        strText.erase(0, nClose + 3);
    }
    // A pipe has no echo, but the last line stands alone there too.
    if (!bTerminal && strText == FAILED[nLanguage]) strShown += "\n";
    const std::vector<std::string> strProgram{stInstallation.Program()};
    const PROGRAMRUN stRun = bTerminal ? RunOnTerminal(strProgram, stAnswers) : RunProgram(strProgram, strInput);
    EXPECT_EQ(stRun.m_strOutput, strShown + strText) << strName;
    EXPECT_EQ(stRun.m_nStatus, 0);
}

TEST(SetupDriver, HoldsItsDialogues) {
    for (const int nRun : {0, 1, 2, 3}) {
        Play(Installation(nRun / 2), "master-refused", nRun / 2, nRun % 2 == 1);
        if (MachineAddress().empty()) continue;
        for (const char* lpszName : {"slave", "standby"})
            Play(Installation(nRun / 2), lpszName, nRun / 2, nRun % 2 == 1);
        Play(CServedInstallation(nRun / 2, {"--listen", MachineAddress()}), "master", nRun / 2, nRun % 2 == 1);
    }
}

TEST(SetupDriver, LeavesWhereTheTextOffersIt) {
    const Installation stInstallation(0);
    std::vector<std::string> strInputs{"0\n", "1\n\\q\n", "2\n\\q\n", "4\n\\q\n"};
    std::string strMaster = "1\n";
    for (const char* lpszAnswer : {"0\n", "0\n", "4\n", "\n", "\n", "\n", "\n", "\n", "\n"})
        strInputs.push_back((strMaster += lpszAnswer) + "\\Quit\n");
    strInputs.push_back(strMaster + "4\nn \n");
    for (const char* lpszJoin : {"2\n$IP\n", "4\n$IP\n"})
        for (const char* lpszRest : {"\\q\n", "10.1.2.3\nn\n", "10.1.2.3\ny\n\\q\n"})
            if (!MachineAddress().empty()) strInputs.push_back(stInstallation.Fill(lpszJoin) + lpszRest);
    for (const std::string& strInput : strInputs) {
        const std::string strOutput = stInstallation.Run("", strInput);
        EXPECT_TRUE(strOutput.ends_with(" \n" + FAILED[0])) << strInput << strOutput;
    }
    EXPECT_EQ(ReadFile(stInstallation.Config()), "[System]\nLanguage=0\nlistenport=1\n[Config]\n")
        << "nothing is written";
}

constexpr const char* GOOD_MASTER = "-type 1 -ip 0 -systemfile 4 -logs 4 ";

// Behind a command line stands what it is told in English and in Chinese, if anything.
TEST(SetupDriver, RefusesArguments) {
    const Installation stInstallations[] = {Installation(0), Installation(1)};
    for (const auto& [strFields, strLines] : TranscriptRows("refused-arguments")) {
        if (strFields[0].find("$IP") != std::string::npos && MachineAddress().empty()) continue;
        const std::size_t nChinese = strLines.find('\n') + 1;
        const std::string strTold[] = {strLines.substr(0, nChinese), strLines.substr(nChinese)};
        for (const int nLanguage : {0, 1}) {
            const Installation& stInstallation = stInstallations[nLanguage];
            EXPECT_EQ(stInstallation.Run(strFields[0]), stInstallation.Fill(strTold[nLanguage]) + FAILED[nLanguage]);
            EXPECT_FALSE(std::filesystem::exists(stInstallation.SystemFile())) << strFields[0];
        }
    }
}

// A row: language, arguments, megabytes of the file, host from which root may log in; behind it the configuration left.
TEST(SetupDriver, CreatesTheSystemFile) {
    for (const auto& [strFields, strConfig] : TranscriptRows("created")) {
        if (strFields[1].find("$IP") != std::string::npos && MachineAddress().empty()) continue;
        if (strFields[1].find("4101") != std::string::npos && !HasMuchMemory()) continue;
        const int nLanguage = std::stoi(strFields[0]);
        const Installation stInstallation(nLanguage);
        EXPECT_EQ(stInstallation.Run(strFields[1]), CREATED[nLanguage] + FAILED[nLanguage]) << strFields[1];
        const std::string strFile = ReadFile(stInstallation.SystemFile());
        EXPECT_EQ(strFile.size(), std::stoul(strFields[2]) << 20);
        // The record of the user root: the only 8-byte name in front of the host, which stands 68 bytes behind it.
        const std::size_t nRoot = strFile.find(std::string("root\0\0\0\0", 8));
        ASSERT_NE(nRoot, strFile.npos);
        EXPECT_EQ(strFile.c_str() + nRoot + 68, strFields[3]) << strFields[1];
        EXPECT_EQ(ReadFile(stInstallation.Config()), stInstallation.Fill(strConfig)) << strFields[1];
    }
}

TEST(SetupDriver, StopsAtWhatIsThereAndSaysWhatItCannotWrite) {
    const Installation stInstallation(0);
    // A size that turns negative in 32 bits leaves the directory and an empty file behind.
    if (HasMuchMemory()) {
        EXPECT_TRUE(stInstallation.Run("-type 1 -ip 0 -systemfile 2048 -logs 4")
                        .ends_with("Failed to create database service system file, error code: 11\n" + FAILED[0]));
        // A run with its output closed doesn't write what it has to say into that file.
        std::filesystem::remove_all(stInstallation.Fill("$BASE/Data/Kestro"));
        RunProgram(
            {"/bin/sh", "-c", "exec \"$0\" -type 1 -ip 0 -systemfile 2048 -logs 4 >&-", stInstallation.Program()});
        EXPECT_TRUE(std::filesystem::exists(stInstallation.SystemFile()));
        EXPECT_EQ(ReadFile(stInstallation.SystemFile()), "");
    } else {
        std::filesystem::create_directory(stInstallation.Fill("$BASE/Data/Kestro"));
    }
    // The second run still writes the configuration first.
    WriteFile(stInstallation.Config(), "[System]\nLanguage=0\nlistenip=1.2.3.4\n");
    EXPECT_EQ(stInstallation.Run(GOOD_MASTER),
              stInstallation.Fill("Failed to create database, database already exists, database path: "
                                  "$BASE/Data/Kestro/\n") +
                  FAILED[0]);
    EXPECT_NE(ReadFile(stInstallation.Config()).find("listenip=0.0.0.0"), std::string::npos);

    // Without a configuration that can be read or written the run says so once and goes on. The time zone of UTC+8
    // makes it Chinese.
    std::filesystem::remove_all(stInstallation.Fill("$BASE/Data/Kestro"));
    std::filesystem::remove(stInstallation.Config());
    std::filesystem::create_directory(stInstallation.Config());
    setenv("TZ", "CST-8", 1);
    EXPECT_EQ(stInstallation.Run(GOOD_MASTER),
              "无法写入配置文件，文件路径：" + stInstallation.Config() + "\n" + CREATED[1] + FAILED[1]);
    // Without Data/ the instance directory can't be made, nor the file in it.
    std::filesystem::remove_all(stInstallation.Fill("$BASE/Data"));
    EXPECT_TRUE(stInstallation.Run(GOOD_MASTER).ends_with("创建数据库服务系统文件失败，错误代码：2\n" + FAILED[1]));
    unsetenv("TZ");
}

TEST(SetupDriver, LooksAtTheMachinesMemory) {
    const Installation stInstallation(0);
    // The most megabytes that pass beside the system file, the undo area of 256 MB and the fixed needs.
    const auto dLimit = static_cast<double>(MachineMemory() - 1048576) * 0.95;
    const auto nMost = static_cast<long long>(dLimit - 34049) / 1024 - 100 - 4 - 256;
    const std::string strWarning =
        "The system has less available memory, which may cause unknown problems in operation!\n";
    const std::string strRefusal = "Installation failed due to insufficient available memory!\n" + FAILED[0];
    const auto With = [&](long long nSize) {
        return stInstallation.Run(GOOD_MASTER +
                                  ("-datafile 8 -tablefile 99999999 -kvfile " + std::to_string(nSize - 8)));
    };
    EXPECT_EQ(With(nMost + 1), strRefusal);
    EXPECT_EQ(With(nMost), strWarning + CREATED[0] + FAILED[0]);
    WriteFile(stInstallation.Config(), "[System]\nLanguage=0\nundoareasize=257\n");
    EXPECT_EQ(With(nMost), strRefusal);
}

TEST(SetupDriver, FailsCleanlyWhereItsPathIsTooLong) {
    const std::string strDeep = std::string(200, 'd') + "/" + std::string(100, 'd');
    const Installation stInstallation(0, strDeep);
    const std::string strOutput = stInstallation.Run(GOOD_MASTER);
    EXPECT_TRUE(strOutput.starts_with("The installation directory cannot be determined, ")) << strOutput;
    EXPECT_TRUE(strOutput.ends_with("\n" + FAILED[0])) << strOutput;
}

TEST(SetupDriver, SurvivesHostileArgumentsAndInput) {
    const Installation stInstallation(0);
    const std::string strLong(120'000, 'x');
    std::vector<std::string> strArguments = stInstallation.Arguments("-type 1");
    for (int i = 0; i < 8; ++i) {
        strArguments.push_back("-vip");
        strArguments.push_back(strLong);
    }
    EXPECT_EQ(RunProgram(strArguments).m_strOutput,
              "Parameter value is too long, at most 31 bytes, parameter: -vip\n" + FAILED[0]);
    EXPECT_EQ(stInstallation.Run("-type 1 " + strLong), "Unknown parameter：" + strLong + "\n" + FAILED[0]);

    std::mt19937 stRandom(20170320);
    const std::string strPieces[] = {
        "1\n",    "2\n", "4\n",  "re\n", "0\n0\n4\n", "\n\n\n\n\n\n4\n",      "no", " yes ",
        "%n%s\n", "\\",  "-1\n", "5\n",  "\xEF",      std::string("\0\n", 2), "\n", strLong};
    for (int nRound = 0; nRound < 40; ++nRound) {
        std::string strInput;
        for (int i = 0; i < 60; ++i)
            strInput += stRandom() % 3 ? strPieces[stRandom() % std::size(strPieces)] : std::string(1, stRandom());
        // From any prompt one of these leaves.
        for (int i = 0; i < 3; ++i)
            strInput += "\n\\q\n0\nno\n";
        EXPECT_TRUE(stInstallation.Run("", strInput).ends_with("\n" + FAILED[0])) << nRound;
    }
}

} // namespace
