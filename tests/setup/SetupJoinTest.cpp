// What a join brings beside the dialogue's transcripts: its configuration, and the way back to the master's address.

#include <gtest/gtest.h>

#include <memory>

#include "Language.h"
#include "ScratchDir.h"
#include "SetupConfig.h"
#include "SetupDialogue.h"
#include "SetupPaths.h"

namespace {

TEST(SetupJoin, WritesItsConfigurationInOrder) {
    const ScratchDir stDir;
    ASSERT_TRUE(SetPaths(stDir.Path("program").c_str()));
    WriteFile(g_lpConfigPath, "[System]\n[Config]\n");
    SETUPPARAM stParam;
    stParam.m_nLocalIP = 0x0A010203;
    stParam.m_nMasterIP = 0xC0A80004;
    KeepText(stParam.m_szVirtualIP, "10.9.9.9");
    WriteJoinConfig(stParam);
    EXPECT_EQ(ReadFile(g_lpConfigPath),
              "[System]\nlistenip=10.1.2.3\n[Config]\ncluster=1\nclusternode=0\nclusterlocalip=10.1.2.3\n"
              "clusterhostip=192.168.0.4\nclustervip=0.0.0.0\nclusteriplist=\nclusterconnectpools=32\n\n");
}

TEST(SetupJoin, AsksForAnotherMaster) {
    std::string strInput = "192.168.0.4\nyes\nanna\nsecret\n";
    const std::unique_ptr<FILE, decltype([](FILE* lpFile) { std::fclose(lpFile); })> pFile(
        fmemopen(strInput.data(), strInput.size(), "r"));
    CSetupLine stInput(pFile.get());
    SETUPPARAM stParam;
    stParam.m_nLocalIP = 0x0A010203;
    KeepText(stParam.m_szUser, "an earlier one");
    testing::internal::CaptureStdout();
    EXPECT_EQ(AskJoin(stInput, SETUP_STANDBY, stParam, true), DIALOGUEEND::Confirmed);
    const std::string strOutput = testing::internal::GetCapturedStdout();
    EXPECT_TRUE(
        strOutput.starts_with("Please reenter the master node IP, enter \\q to exit the program\n"
                              ">> Master node IP:  Local IP: 10.1.2.3 , Main node IP: 192.168.0.4 \n"))
        << strOutput;
    EXPECT_STREQ(stParam.m_szUser, "anna");
    EXPECT_STREQ(stParam.m_szPassword, "secret");
}

} // namespace
