#pragma once

#include <cstddef>
#include <cstdio>

#include "SetupParam.h"

/** The line buffer, terminator included. */
constexpr std::size_t SETUP_LINE_SIZE = 0x2004;

/**
 * Reads the operator's answers line by line. A line ends at a line feed, which isn't part of it, or where the input
 * ends; what follows a zero byte in it doesn't count. Of a line that outgrows the buffer the rest is the next line.
 *
 * An input that has ended is no answer of its own: it reads as empty lines, so a prompt with a check comes again. From
 * the eleventh such reading on each one first waits a second, so that a job without a terminal doesn't fill the disk
 * with prompts.
 */
class CSetupLine {
public:
    /** The stream stays the caller's. */
    explicit CSetupLine(FILE* lpInput);

    /** The next line. The text belongs to the reader, may be changed in place, and lasts until the next reading. */
    [[nodiscard]] char* Read();

    /** The next line straight into a parameter. Of a longer line the rest is dropped, so it answers no later prompt. */
    void ReadPassword(SETUPTEXT& szPassword);

private:
    /** How a reading ended: at a line feed, with the buffer full, or with the input. */
    enum class END {
        LineFeed,
        Full,
        Input
    };
    END Fill(char* lpszLine, std::size_t nSize);

    FILE* m_lpInput;
    bool m_bTerminal;
    int m_nEndReads = 0;
    char m_szLine[SETUP_LINE_SIZE] = {};
};
