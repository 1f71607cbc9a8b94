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
     * Calls of functions, conditions and queries inside each other: enough for queries nested to their last level. The
     * largest of their frames so many times take less than 300 KB.
     */
    static constexpr int DEPTH_MAX = 100;

private:
    static inline thread_local int s_nDepth = 0;
};
