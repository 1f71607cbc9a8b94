#pragma once

/**
 * Counts how deep the parsers of this thread have called each other, so that no statement, however nested, overflows
 * the stack. Each recursive entry makes one and asks it first.
 */
class CParseDepth {
public:
    CParseDepth() { ++s_nDepth; }
    CParseDepth(const CParseDepth&) = delete;
    CParseDepth& operator=(const CParseDepth&) = delete;
    ~CParseDepth() { --s_nDepth; }

    bool IsTooDeep() const { return s_nDepth > DEPTH_MAX; }

    /**
     * Calls of functions, conditions and queries inside each other. The largest of their frames so many times take less
     * than 200 KB, so that a thread with a small stack compiles too.
     */
    static constexpr int DEPTH_MAX = 64;

private:
    static inline thread_local int s_nDepth = 0;
};
