#pragma once

#include <pty.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ConfigHelper.h"
#include "RefusedShare.h"

// Runs a built program as a child: with its input from a pipe, or on a terminal of its own. The first argument is the
// program's path. A child that outlives its time is ended by its own alarm, so no test hangs; and it gets nothing of
// what the machine's instances share.

/** What a run wrote, to standard output and standard error alike, and its status as `waitpid` gives it. */
struct PROGRAMRUN {
    std::string m_strOutput;
    int m_nStatus = -1;
};

/** Turns the child of a fork into the program. */
[[noreturn]] inline void ExecuteProgram(const std::vector<std::string>& strArguments) {
    std::vector<char*> lpArguments;
    for (const std::string& strArgument : strArguments)
        lpArguments.push_back(const_cast<char*>(strArgument.c_str()));
    lpArguments.push_back(nullptr);
    signal(SIGPIPE, SIG_DFL);
    alarm(60);
    RefuseShare(CONFIG_AREA_KEY);
    execv(lpArguments[0], lpArguments.data());
    _exit(127);
}

/** A run with the input given, which then ends. The output goes to memory, so neither side waits for the other. */
inline PROGRAMRUN RunProgram(const std::vector<std::string>& strArguments, std::string_view strInput = "") {
    int nInput[2];
    const int nOutput = memfd_create("output", MFD_CLOEXEC);
    if (nOutput < 0 || pipe(nInput) != 0) throw std::runtime_error("no files for a child");
    const pid_t nChild = fork();
    if (nChild == 0) {
        close(nInput[1]);
        dup2(nInput[0], STDIN_FILENO);
        dup2(nOutput, STDOUT_FILENO);
        dup2(nOutput, STDERR_FILENO);
        ExecuteProgram(strArguments);
    }
    close(nInput[0]);
    const auto lpfnBefore = signal(SIGPIPE, SIG_IGN);
    for (ssize_t nLen; !strInput.empty() && (nLen = write(nInput[1], strInput.data(), strInput.size())) > 0;)
        strInput.remove_prefix(static_cast<std::size_t>(nLen));
    signal(SIGPIPE, lpfnBefore);
    close(nInput[1]);

    PROGRAMRUN stRun;
    waitpid(nChild, &stRun.m_nStatus, 0);
    stRun.m_strOutput.resize(static_cast<std::size_t>(lseek(nOutput, 0, SEEK_END)));
    if (pread(nOutput, stRun.m_strOutput.data(), stRun.m_strOutput.size(), 0) < 0) stRun.m_strOutput = "unreadable";
    close(nOutput);
    return stRun;
}

/**
 * A run on a pseudo-terminal, which echoes what is typed; lines in the output end with a line feed alone. Each answer
 * is typed when the terminal shows exactly the text beside it; on a program that shows another it hangs up.
 */
inline PROGRAMRUN RunOnTerminal(const std::vector<std::string>& strArguments,
                                const std::vector<std::pair<std::string, std::string>>& stAnswers) {
    int nTerminal = -1;
    const pid_t nChild = forkpty(&nTerminal, nullptr, nullptr, nullptr);
    if (nChild < 0) throw std::runtime_error("no terminal");
    if (nChild == 0) ExecuteProgram(strArguments);

    PROGRAMRUN stRun;
    const auto ReadSome = [&] {
        char szBytes[4096];
        const ssize_t nLen = read(nTerminal, szBytes, sizeof szBytes);
        for (ssize_t i = 0; i < nLen; ++i)
            if (szBytes[i] != '\r') stRun.m_strOutput += szBytes[i];
        return nLen > 0;
    };
    bool bFollows = true;
    for (const auto& [strShown, strAnswer] : stAnswers) {
        while (stRun.m_strOutput.size() < strShown.size() && strShown.starts_with(stRun.m_strOutput) && ReadSome()) {
        }
        bFollows = stRun.m_strOutput == strShown && write(nTerminal, strAnswer.data(), strAnswer.size()) > 0;
        if (!bFollows) break;
    }
    while (bFollows && ReadSome()) {
    }
    close(nTerminal);
    waitpid(nChild, &stRun.m_nStatus, 0);
    return stRun;
}
