// Runs the built program and compares all that it writes, to standard output and standard error alike.

#include <gtest/gtest.h>

#include "ErrorCatalogue.h"
#include "Program.h"

namespace {

constexpr char PLAN[] =
    "plan EXECUTEPLANBSON @0\n"
    "  m_nTotalDataSize 165\n"
    "  m_nType 17\n"
    "  m_bVersion 2\n"
    "  m_nBsonDataSize 165\n"
    "  m_nClientBsonDataSize 165\n"
    "  m_dwHashID 21251163\n"
    "  m_nSqlOffset \"use shop\"\n"
    "  m_nCommandOffset DATABASEBSON @97\n"
    "    m_pDatabaseName \"shop\"\n";
constexpr char JSON[] =
    R"({"record":"EXECUTEPLANBSON","offset":0,"m_nTotalDataSize":165,"m_nType":17,"m_bVersion":2,)"
    R"("m_nBsonDataSize":165,"m_nClientBsonDataSize":165,"m_dwHashID":21251163,"m_nSqlOffset":"use shop",)"
    R"("m_nCommandOffset":{"record":"DATABASEBSON","offset":97,"m_pDatabaseName":"shop"}})"
    "\n";

std::string Repeated(const char* lpszText, int nTimes) {
    std::string strText;
    while (nTimes-- > 0)
        strText += lpszText;
    return strText;
}

/** What a statement in error gives: the caret stands `nCaret` columns from the left, by default in the column named. */
std::string Fault(int nCode, int nLine, int nColumn, const std::string& strShown, int nCaret = 0) {
    return "error " + std::to_string(nCode) + ": " + GetErrorDescriptionE(nCode) + "\nline " + std::to_string(nLine) +
           ", column " + std::to_string(nColumn) + ":\n    " + strShown + "\n" +
           std::string(nCaret != 0 ? nCaret + 3 : nColumn + 3, ' ') + "^\n";
}

struct RUNROW {
    std::vector<std::string> m_strArguments;
    std::string m_strInput;
    int m_nStatus;
    std::string m_strOutput;
};

void ExpectRuns(const std::vector<RUNROW>& stRows) {
    for (const RUNROW& stRow : stRows) {
        std::vector<std::string> strArguments = stRow.m_strArguments;
        strArguments.insert(strArguments.begin(), KESTROPLAN_PATH);
        const PROGRAMRUN stRun = RunProgram(strArguments, stRow.m_strInput);
        EXPECT_EQ(stRun.m_strOutput, stRow.m_strOutput) << ::testing::PrintToString(stRow.m_strArguments);
        EXPECT_EQ(stRun.m_nStatus, W_EXITCODE(stRow.m_nStatus, 0)) << ::testing::PrintToString(stRow.m_strArguments);
    }
}

TEST(KestroPlan, PrintsThePlanOfAStatementFromItsArgumentOrItsInput) {
    ExpectRuns({
        {{"use shop"}, "use other", 0, PLAN},
        {{}, "use shop", 0, PLAN},
        {{"--", "use shop"}, "", 0, PLAN},
        {{"--dot", "--json"}, "use shop", 0, JSON},
    });
    // Neither form of an escape reaches the terminal.
    const std::string strControl = RunProgram({KESTROPLAN_PATH, "use \"\x1b[m\u009bm\""}).m_strOutput;
    EXPECT_NE(strControl.find("\n    m_pDatabaseName \"\\x1b[m\\xc2\\x9bm\"\n"), strControl.npos) << strControl;
}

TEST(KestroPlan, ShowsTheWordAtFault) {
    ExpectRuns({
        {{"alter session set a b 1"}, "", 1, Fault(513, 1, 21, "alter session set a b 1")},
        {{"begin work now"}, "", 1, Fault(814, 1, 15, "begin work now")},
        {{"use"}, "", 1, Fault(835, 1, 4, "use")},
        {{}, "alter\r\n  system kill\r\n  connection 1\r\n", 1, Fault(509, 3, 3, "  connection 1")},
        // A tab, wide characters and a combining one.
        {{},
         "alter system add\t/* 中文 e\u0301 */ datafile 7",
         1,
         Fault(513, 1, 47, "alter system add        /* 中文 e\u0301 */ datafile 7")},
        // A mark that closes a hint is no word; brackets around the statement aren't part of it.
        {{"/*!40101 use */"}, "", 1, Fault(835, 1, 13, "/*!40101 use */")},
        {{"((begin a b) );"}, "", 1, Fault(814, 1, 12, "((begin a b) );")},
        // The head: unknown verbs, and what can't stand there.
        {{"--", "-- x\nabc def"}, "", 1, Fault(502, 2, 1, "abc def")},
        {{"abcdefghijklmnop"}, "", 1, Fault(502, 1, 1, "abcdefghijklmnop")},
        {{"/* */use,x"}, "", 1, Fault(501, 1, 9, "/* */use,x")},
        {{"  ? use x"}, "", 1, Fault(500, 1, 3, "  ? use x")},
        {{""}, "", 1, Fault(500, 1, 1, "")},
        // Nothing that a terminal would obey; what can't be read as UTF-8.
        {{"use a\x1b[31m\xff\u009b\u202e b"},
         "",
         1,
         Fault(835, 1, 5, "use a\\x1b[31m\\xff\\xc2\\x9b\\xe2\\x80\\xae b")},
        {{}, std::string("use \0 a", 7), 1, Fault(835, 1, 4, "use \\x00 a")},
        // Of a long line what stands around the word, cut between characters.
        {{"alter session set /*" + Repeated("中", 50) + "*/ a b " + Repeated("é", 50)},
         "",
         1,
         Fault(513, 1, 126, "..." + Repeated("中", 31) + "*/ a b " + Repeated("é", 29) + "...", 71)},
        {{"--chinese", "use"},
         "",
         1,
         "错误835：" + std::string(GetErrorDescription(835)) + "\n第1行，第4列：\n    use\n       ^\n"},
    });
}

TEST(KestroPlan, RefusesWrongUse) {
    const std::string strHint = "Try kestroplan --help.\n";
    ExpectRuns({
        {{"--yaml"}, "use a", 2, "kestroplan: unknown option: --yaml\n" + strHint},
        {{"-\x1b"}, "use a", 2, "kestroplan: unknown option: -\\x1b\n" + strHint},
        {{"--chinese", "-"}, "use a", 2, "kestroplan：未知选项：-\n请用kestroplan --help查看用法\n"},
        {{"use a", "use b"}, "", 2, "kestroplan: one statement at a time, this is another one: use b\n" + strHint},
        {{"--", "use a", "--json"},
         "",
         2,
         "kestroplan: one statement at a time, this is another one: --json\n" + strHint},
        {{"--version"}, "", 0, "kestroplan " KESTRO_VERSION "\n"},
    });
    const std::string strHelp = RunProgram({KESTROPLAN_PATH, "--help"}).m_strOutput;
    for (const char* lpszOption : {"\n  --json ", "\n  --dot ", "\n  --chinese ", "\n  --help ", "\n  --version "})
        EXPECT_NE(strHelp.find(lpszOption), strHelp.npos) << lpszOption;
}

TEST(KestroPlan, NoticesWhatItCannotReadOrWrite) {
    int nPipe[2];
    ASSERT_EQ(pipe(nPipe), 0);
    close(nPipe[0]);
    const std::string strClosed = std::to_string(nPipe[1]);
    const std::pair<std::string, const char*> ROWS[] = {
        {"</", "standard input cannot be read: Is a directory"},
        {"'use a' >/dev/full", "standard output cannot be written: No space left on device"},
        {"'use a' >&-", "standard output cannot be written: Bad file descriptor"},
        {"'use a' >&" + strClosed, "standard output cannot be written: Broken pipe"},
        {"--help >&" + strClosed, "standard output cannot be written: Broken pipe"},
    };
    for (const auto& [strLine, lpszMessage] : ROWS) {
        const PROGRAMRUN stRun = RunProgram({"/bin/sh", "-c", "exec \"$0\" " + strLine, KESTROPLAN_PATH});
        EXPECT_EQ(stRun.m_strOutput, "kestroplan: " + std::string(lpszMessage) + "\n") << strLine;
        EXPECT_EQ(stRun.m_nStatus, W_EXITCODE(2, 0)) << strLine;
    }
    close(nPipe[1]);
}

} // namespace
