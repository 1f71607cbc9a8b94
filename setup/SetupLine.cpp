// Lines from the terminal, or from whatever stands in for one.

#include "SetupLine.h"

#include <unistd.h>

#include "Platform.h"
#include "SetupMessage.h"

namespace {

constexpr int END_READS_AT_ONCE = 10;
constexpr int END_READ_PAUSE = 1'000'000;

} // namespace

CSetupLine::CSetupLine(FILE* lpInput)
    : m_lpInput(lpInput), m_bTerminal(isatty(fileno(lpInput)) == 1 && isatty(STDOUT_FILENO) == 1) {}

char* CSetupLine::Read() {
    Fill(m_szLine, sizeof m_szLine);
    return m_szLine;
}

void CSetupLine::ReadPassword(SETUPTEXT& szPassword) {
    std::memset(szPassword, 0, sizeof szPassword);
    if (Fill(szPassword, sizeof szPassword) != END::Full) return;
    while (Fill(m_szLine, sizeof m_szLine) == END::Full) {
    }
    std::memset(m_szLine, 0, sizeof m_szLine);
}

CSetupLine::END CSetupLine::Fill(char* lpszLine, std::size_t nSize) {
    std::fflush(stdout);
    if (m_nEndReads >= END_READS_AT_ONCE) SleepMicroseconds(END_READ_PAUSE);

    std::size_t nLen = 0;
    END nEnd = END::LineFeed;
    for (int nByte; (nByte = std::getc(m_lpInput)) != '\n'; lpszLine[nLen++] = static_cast<char>(nByte)) {
        if (nByte == EOF) {
            // A terminal goes on behind an end of input that was typed.
            std::clearerr(m_lpInput);
            nEnd = END::Input;
            break;
        }
        if (nLen == nSize - 1) {
            std::ungetc(nByte, m_lpInput);
            nEnd = END::Full;
            break;
        }
    }
    lpszLine[nLen] = 0;

    // On a terminal the operator's Enter has ended the line of the prompt.
    if (nEnd == END::LineFeed && m_bTerminal) g_bLineOpen = false;
    m_nEndReads = nEnd == END::Input && nLen == 0 ? m_nEndReads + 1 : 0;
    return nEnd;
}
