// Stack dumps: runs gdb through the shell on a process or on one thread and collects the lines of its back trace.
// Without the debugger there is no dump. Names go into a shell script, so only plain words are let in.

#include <cstdio>
#include <cstring>
#include <memory>

#include "LinuxCommonAPI.h"

namespace {

constexpr char TEST_DEBUGGER[] =
    "gdb --version |\n"
    "if [ $? -ne 0 ]\n"
    "then\n"
    "echo 'failed'\n"
    "else\n"
    "echo 'success'\n"
    "fi";

constexpr char DUMP_PROCESS[] =
    "PID=`pidof %s`\n"
    "gdb --quiet -nx %s $PID <<EOF 2>&1 |\n"
    "set width 0\n"
    "set height 0\n"
    "set pagination no\n"
    "thread apply all bt\n"
    "EOF\n"
    "sed -n -e 's/^\\((gdb) \\)*//' -e '/^#/p' -e '/^Thread/p'";

constexpr char DUMP_THREAD[] =
    "gdb --quiet -nx %s %d <<EOF 2>&1 |\n"
    "set width 0\n"
    "set height 0\n"
    "set pagination no\n"
    "bt\n"
    "EOF\n"
    "sed -n -e 's/^\\((gdb) \\)*//' -e '/^#/p' -e '/^Thread/p'";

constexpr int COMMAND_MAX = 256;

using PIPEPTR = std::unique_ptr<FILE, decltype([](FILE* lpFile) { pclose(lpFile); })>;

bool DebuggerExists() {
    const PIPEPTR lpPipe(popen(TEST_DEBUGGER, "r"));
    char szLine[64];
    if (!lpPipe || !std::fgets(szLine, sizeof(szLine), lpPipe.get())) return false;
    szLine[std::strcspn(szLine, "\n")] = 0;
    return std::strcmp(szLine, "success") == 0;
}

/** Whether a name stands for itself in a shell script, and isn't taken for an option. */
bool IsPlainWord(const char* lpszName) {
    if (!lpszName || !*lpszName || *lpszName == '-') return false;
    for (const char* p = lpszName; *p; ++p)
        if (!IsCharacter(*p) && *p != '-' && *p != '+') return false;
    return true;
}

/** Runs a command and gathers its lines until the buffer is full; answers the bytes gathered. */
int Collect(const char* lpszCommand, char* lpszBuffer, int nSize) {
    const PIPEPTR lpPipe(popen(lpszCommand, "r"));
    int nUsed = 0;
    while (lpPipe && nSize - nUsed >= 2 && std::fgets(lpszBuffer + nUsed, nSize - nUsed, lpPipe.get()))
        nUsed += static_cast<int>(std::strlen(lpszBuffer + nUsed));
    return nUsed;
}

/** Fills in a command and runs it. One that doesn't fit isn't run: the rest of it would be another script. */
template <typename... A>
int Dump(const char* lpszFormat, char* lpszBuffer, int nSize, A... args) {
    char szCommand[COMMAND_MAX];
    const int nLen = std::snprintf(szCommand, sizeof(szCommand), lpszFormat, args...);
    return nLen > 0 && nLen < COMMAND_MAX ? Collect(szCommand, lpszBuffer, nSize) : 0;
}

} // namespace

int get_all_thread_stacktrace_of_specified_process(const char* lpszProcess, char* lpszBuffer, int nSize) {
    if (!lpszBuffer || nSize < 1) return 0;
    *lpszBuffer = 0;
    if (!IsPlainWord(lpszProcess) || !DebuggerExists()) return 0;
    return Dump(DUMP_PROCESS, lpszBuffer, nSize, lpszProcess, lpszProcess);
}

int get_specified_thread_stacktrace_of_current_process(int nThreadID, char* lpszBuffer, int nSize) {
    if (!lpszBuffer || nSize < 1) return 0;
    *lpszBuffer = 0;
    char szProgram[MAX_PATH];
    (void)GetModuleFileName(nullptr, szProgram, sizeof(szProgram));
    if (!IsPlainWord(szProgram) || !DebuggerExists()) return 0;
    return Dump(DUMP_THREAD, lpszBuffer, nSize, szProgram, nThreadID);
}
