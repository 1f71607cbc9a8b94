#pragma once

// The block of shared memory in which the server tells how far a long operation on files has come. The server writes it
// and programs on its machine read it, without a lock: a reader may see a text that is being changed.

#include "TypeDef.h"

/** Key of the System V segment, and the byte of it at which the block begins. */
constexpr int PROGRESS_SEGMENT_KEY = 0x5342534D;
constexpr UINT PROGRESS_SEGMENT_OFFSET = 79;

struct KESTRO_PACKED SETUPPROGRESSINFO {
    char m_szStepText[128]; // what is done, with a terminator
    int m_nTotal;           // units of the step; -1: the operation failed
    int m_nCurrent;         // units done; the error code of an operation that failed
    int m_nRunning;         // not 0 while the operation runs
};

static_assert(sizeof(SETUPPROGRESSINFO) == 140 && alignof(SETUPPROGRESSINFO) == 1);
static_assert(offsetof(SETUPPROGRESSINFO, m_nTotal) == 128 && offsetof(SETUPPROGRESSINFO, m_nRunning) == 136);
