#pragma once

#include "Language.h"
#include "TraceManage.h"

/** A line of the log: its code, and its text in both languages. */
struct LOGLINE {
    int m_nCode;
    MESSAGE m_stMessage;
};

/**
 * Logs a line at the level of normal work. The build fails when the arguments don't fit the text, so a line and its
 * callers can't drift apart: `Log<LINE_NO_SOCKET>("Connect", errno)`.
 */
template <const LOGLINE& stLine, typename... A>
void Log(const char* lpszFunction, A... args) {
    static_assert(ArgumentsFit<A...>(stLine.m_stMessage.m_lpszEnglish), "the arguments don't fit the text");
    if constexpr (sizeof...(A) == 0)
        Trace0(lpszFunction, 0, stLine.m_nCode, Text(stLine.m_stMessage));
    else
        Trace(lpszFunction, 0, stLine.m_nCode, Text(stLine.m_stMessage), args...);
}
