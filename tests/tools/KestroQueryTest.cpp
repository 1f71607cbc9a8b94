// Runs the built program against a development server and compares what it writes.

#include "DevServer.h"
#include "ErrorCatalogue.h"

namespace {

TEST(KestroQuery, AnswersOneStatement) {
    const CDevServerRun stServer({"--id", "7", "--fault", "login 4 fail=340"});
    const std::string strAddress = "127.0.0.1:" + std::to_string(stServer.Port());
    const std::string strHint = "Try kestroquery --help.\n";
    const struct {
        std::vector<std::string> m_arArgument;
        int m_nStatus;
        std::string m_strOutput;
    } arRow[] = {
        {{strAddress, "-- which\nSELECT ID, STATUS FROM V$INSTANCE"}, 0, "\"ID\",STATUS\r\n7,Open\r\n"},
        {{"--user", "anna", "--password", "secret", strAddress, "select id from v$instance where id = 8"}, 0, ""},
        {{strAddress, "select id from t"}, 1, std::string("error 99: ") + GetErrorDescriptionE(99) + "\n"},
        {{"--chinese", strAddress, "begin"},
         1,
         "登录" + strAddress + "失败，错误340：" + GetErrorDescription(340) + "\n"},
        {{strAddress, "ALTER SYSTEM ADD KVFILE '" + stServer.Path("y") + "' TABLESPACE 'T' 1MB"},
         0,
         "rows affected: 0\n"},
        {{strAddress, "selec id"}, 1, std::string("error 502: ") + GetErrorDescriptionE(502) + "\n"},
        {{"127.0.0.1", "begin"}, 2, "kestroquery: this is no IP:PORT: 127.0.0.1\n" + strHint},
        {{"--user"}, 2, "kestroquery: --user lacks its value\n" + strHint},
        {{strAddress}, 2, "kestroquery: an address and one statement are needed\n" + strHint},
        {{"--version"}, 0, "kestroquery " KESTRO_VERSION "\n"},
    };
    for (const auto& stRow : arRow) {
        std::vector<std::string> arArgument{KESTROQUERY_PATH};
        arArgument.insert(arArgument.end(), stRow.m_arArgument.begin(), stRow.m_arArgument.end());
        const PROGRAMRUN stRun = RunProgram(arArgument);
        EXPECT_EQ(stRun.m_strOutput, stRow.m_strOutput) << stRow.m_arArgument.back();
        EXPECT_EQ(stRun.m_nStatus, W_EXITCODE(stRow.m_nStatus, 0)) << stRow.m_arArgument.back();
    }
}

} // namespace
