#pragma once

#include <pty.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// Runs a built program as a child: with its input from a pipe, or on a terminal of its own. A child that outlives its
// time is ended by its own alarm, so no test hangs.

/** Seconds that a child may take. */
constexpr unsigned PROGRAM_SECONDS = 20;

/** What a run left; the status is that of `waitpid`, 0 for an exit with 0. */
struct PROGRAMRUN {
    std::string m_strOutput;
    std::string m_strErrors;
    int m_nStatus = -1;
};

/** Turns the child of a fork into the program; the first argument is its path. */
[[noreturn]] inline void ExecuteProgram(const std::vector<std::string>& strArguments) {
    std::vector<char*> lpArguments;
    for (const std::string& strArgument : strArguments)
        lpArguments.push_back(const_cast<char*>(strArgument.c_str()));
    lpArguments.push_back(nullptr);
    signal(SIGPIPE, SIG_DFL);
    alarm(PROGRAM_SECONDS);
    execv(lpArguments[0], lpArguments.data());
    _exit(127);
}

/** A run with the input given, which then ends. The outputs go to files in memory, so neither side waits for the other.
 */
inline PROGRAMRUN RunProgram(const std::vector<std::string>& strArguments, const std::string& strInput = "") {
    const int nOutput = memfd_create("output", MFD_CLOEXEC);
    const int nErrors = memfd_create("errors", MFD_CLOEXEC);
    int nInput[2];
    if (nOutput < 0 || nErrors < 0 || pipe(nInput) != 0) throw std::runtime_error("no files for a child");
    const pid_t nChild = fork();
    if (nChild == 0) {
        close(nInput[1]);
        dup2(nInput[0], STDIN_FILENO);
        dup2(nOutput, STDOUT_FILENO);
        dup2(nErrors, STDERR_FILENO);
        ExecuteProgram(strArguments);
    }
    close(nInput[0]);
    const auto lpfnBefore = signal(SIGPIPE, SIG_IGN);
    for (std::string_view strLeft = strInput; !strLeft.empty();) {
        const ssize_t nLen = write(nInput[1], strLeft.data(), strLeft.size());
        if (nLen <= 0) break;
        strLeft.remove_prefix(static_cast<std::size_t>(nLen));
    }
    signal(SIGPIPE, lpfnBefore);
    close(nInput[1]);

    PROGRAMRUN stRun;
    waitpid(nChild, &stRun.m_nStatus, 0);
    const auto Contents = [](int nFile) {
        std::string strBytes(static_cast<std::size_t>(lseek(nFile, 0, SEEK_END)), 0);
        if (pread(nFile, strBytes.data(), strBytes.size(), 0) < 0) strBytes = "unreadable";
        close(nFile);
        return strBytes;
    };
    stRun.m_strOutput = Contents(nOutput);
    stRun.m_strErrors = Contents(nErrors);
    return stRun;
}

/** A program on a pseudo-terminal, which echoes what is typed. Lines read end with a line feed alone. */
class CTerminalProgram {
public:
    explicit CTerminalProgram(const std::vector<std::string>& strArguments) {
        m_nChild = forkpty(&m_nTerminal, nullptr, nullptr, nullptr);
        if (m_nChild < 0) throw std::runtime_error("no terminal");
        if (m_nChild == 0) ExecuteProgram(strArguments);
    }
    /** Hangs up on a program that still runs. */
    ~CTerminalProgram() {
        close(m_nTerminal);
        if (m_nChild > 0) waitpid(m_nChild, nullptr, 0);
    }
    CTerminalProgram(const CTerminalProgram&) = delete;
    CTerminalProgram& operator=(const CTerminalProgram&) = delete;

    /** Reads until the terminal shows the text, or anything else. False: it doesn't. */
    bool ReadUntil(std::string_view strText) {
        while (m_strShown.size() < strText.size() && strText.starts_with(m_strShown))
            if (!ReadSome()) return false;
        return m_strShown == strText;
    }

    void Type(std::string_view strText) {
        if (write(m_nTerminal, strText.data(), strText.size()) < 0) throw std::runtime_error("the terminal is gone");
    }

    /** All that the terminal has shown. */
    const std::string& Shown() const { return m_strShown; }

    /** Waits for the end of the run and answers its status as `waitpid` does. */
    int Finish() {
        while (ReadSome()) {
        }
        int nStatus = -1;
        waitpid(m_nChild, &nStatus, 0);
        m_nChild = -1;
        return nStatus;
    }

private:
    bool ReadSome() {
        char szBytes[4096];
        const ssize_t nLen = read(m_nTerminal, szBytes, sizeof szBytes);
        for (ssize_t i = 0; i < nLen; ++i)
            if (szBytes[i] != '\r') m_strShown += szBytes[i];
        return nLen > 0;
    }

    pid_t m_nChild = -1;
    int m_nTerminal = -1;
    std::string m_strShown;
};
