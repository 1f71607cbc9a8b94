#pragma once

/** Takes one log line, text already formatted. Callable from any thread; it neither fails nor throws. */
using TRACEHOOK = void (*)(const char* lpszFunction, int nLevel, int nCode, const char* lpszText);

/** Where the base library logs; null without a trace log, which sets it before `main`. Nothing resets it. */
extern TRACEHOOK g_lpfnTraceHook;

/** Logs a line of the base library, or does nothing without a trace log. */
inline void TraceLine(const char* lpszFunction, int nLevel, int nCode, const char* lpszText) {
    if (g_lpfnTraceHook) g_lpfnTraceHook(lpszFunction, nLevel, nCode, lpszText);
}
