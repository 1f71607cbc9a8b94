// Runs the built program and compares all that it writes, to standard output and standard error alike.

#include "ErrorCatalogue.h"
#include "Program.h"

namespace {

constexpr char PLAN[] = "plan EXECUTEPLANBSON @0\n  m_nTotalDataSize 165\n  m_nType 17";

std::string Repeated(const std::string& strText, int nTimes) {
    return nTimes > 0 ? strText + Repeated(strText, nTimes - 1) : "";
}

/** A statement in error, by default the argument: the caret stands `nCaret` columns from the left or in its column. */
RUNROW Fault(int nCode, int nLine, int nColumn, const std::string& strShown, std::vector<std::string> arArgument,
             const std::string& strInput = "", int nCaret = 0) {
    return {arArgument, 1,
            "error " + std::to_string(nCode) + ": " + GetErrorDescriptionE(nCode) + "\nline " + std::to_string(nLine) +
                ", column " + std::to_string(nColumn) + ":\n    " + strShown + "\n" +
                std::string(nCaret != 0 ? nCaret + 3 : nColumn + 3, ' ') + "^\n",
            strInput};
}

TEST(KestroPlan, PrintsThePlanOfAStatementFromItsArgumentOrItsInput) {
    ExpectRuns(KESTROPLAN_PATH, {{{"use shop"}, 0, PLAN, "use other"},
                                 {{}, 0, PLAN, "use shop"},
                                 {{"--", "use shop"}, 0, PLAN},
                                 {{"--dot", "--json"}, 0, R"({"record":"EXECUTEPLANBSON","offset":0,)", "use shop"}});
    // Neither form of an escape reaches the terminal.
    const std::string strControl = RunProgram({KESTROPLAN_PATH, "use \"\x1b[m\u009bm\""}).m_strOutput;
    EXPECT_NE(strControl.find("\n    m_pDatabaseName \"\\x1b[m\\xc2\\x9bm\"\n"), strControl.npos) << strControl;
}

TEST(KestroPlan, ShowsTheWordAtFault) {
    std::vector<RUNROW> arRow{
        Fault(509, 3, 3, "  connection 1", {}, "alter\r\n  system kill\r\n  connection 1\r\n"),
        // A tab, wide characters and a combining one.
        Fault(513, 1, 47, "alter system add        /* 中文 e\u0301 */ datafile 7", {},
              "alter system add\t/* 中文 e\u0301 */ datafile 7"),
        // The head: unknown verbs, and what can't stand there.
        Fault(502, 2, 1, "abc def", {"--", "-- x\nabc def"}),
        // Nothing that a terminal would obey; what can't be read as UTF-8.
        Fault(835, 1, 5, "use a\\x1b[31m\\xff\\xc2\\x9b\\xe2\\x80\\xae b", {"use a\x1b[31m\xff\u009b\u202e b"}),
        Fault(835, 1, 4, "use \\x00 a", {}, std::string("use \0 a", 7)),
        // Of a long line what stands around the word, cut between characters.
        Fault(513, 1, 126, "..." + Repeated("中", 31) + "*/ a b " + Repeated("é", 29) + "...",
              {"alter session set /*" + Repeated("中", 50) + "*/ a b " + Repeated("é", 50)}, "", 71),
        {{"--chinese", "use"},
         1,
         std::string("错误835：") + GetErrorDescription(835) + "\n第1行，第4列：\n    use\n       ^\n"}};
    // A mark that closes a hint is no word; brackets around the statement aren't part of it.
    const std::tuple<int, int, const char*> SHOWN[] = {{513, 21, "alter session set a b 1"},
                                                       {835, 13, "/*!40101 use */"},
                                                       {814, 12, "((begin a b) );"},
                                                       {501, 9, "/* */use,x"},
                                                       {500, 3, "  ? use x"},
                                                       {500, 1, ""}};
    for (const auto& [nCode, nColumn, lpszText] : SHOWN)
        arRow.push_back(Fault(nCode, 1, nColumn, lpszText, {lpszText}));
    ExpectRuns(KESTROPLAN_PATH, arRow);
}

TEST(KestroPlan, RefusesWrongUse) {
    const std::string strStart = "kestroplan: ", strHint = "\nTry kestroplan --help.\n";
    const std::string strOther = strStart + "one statement at a time, this is another one: ";
    ExpectRuns(KESTROPLAN_PATH,
               {{{"--yaml"}, 2, strStart + "unknown option: --yaml" + strHint, "use a"},
                {{"-\x1b"}, 2, strStart + "unknown option: -\\x1b" + strHint, "use a"},
                {{"--chinese", "-"}, 2, "kestroplan：未知选项：-\n请用kestroplan --help查看用法\n", "use a"},
                {{"use a", "use b"}, 2, strOther + "use b" + strHint},
                {{"--", "use a", "--json"}, 2, strOther + "--json" + strHint},
                {{"--help"}, 0, "Usage: kestroplan"},
                {{"--version"}, 0, "kestroplan " KESTRO_VERSION "\n"}});
}

TEST(KestroPlan, NoticesWhatItCannotReadOrWrite) {
    int nPipe[2];
    ASSERT_EQ(pipe(nPipe), 0);
    close(nPipe[0]);
    const std::string strClosed = std::to_string(nPipe[1]);
    const std::string strStart = "kestroplan: standard ", strUnwritten = strStart + "output cannot be written: ";
    const std::pair<std::string, std::string> ROWS[] = {
        {"</", strStart + "input cannot be read: Is a directory\n"},
        {"'use a' >/dev/full", strUnwritten + "No space left on device\n"},
        {"'use a' >&-", strUnwritten + "Bad file descriptor\n"},
        {"'use a' >&" + strClosed, strUnwritten + "Broken pipe\n"},
        {"--help >&" + strClosed, strUnwritten + "Broken pipe\n"},
    };
    for (const auto& [strLine, strMessage] : ROWS)
        ExpectRuns("/bin/sh", {{{"-c", "exec \"$0\" " + strLine, KESTROPLAN_PATH}, 2, strMessage}});
    close(nPipe[1]);
}

} // namespace
