#pragma once

#include "SetupParam.h"

/** What the machine's memory says to an installation. */
enum class MEMORYVERDICT {
    Enough,
    /** It goes on, with a warning. */
    Tight,
    Short
};

/**
 * Kilobytes that an instance takes, with an undo area of nUndoAreaSize MB. The sizes of TableFile.dbf and IndexFile.dbf
 * don't count, since those files stay on disk. Any text is allowed: the sum is wide enough for all numbers.
 */
[[nodiscard]] double NeededMemory(const SETUPPARAM& stParam, int nUndoAreaSize);

/** Judges a need against the machine's total memory, both in kilobytes; 1 GB of it is the system's. */
[[nodiscard]] MEMORYVERDICT JudgeMemory(double dNeed, long long nMemTotal);

/** Judges the machine at hand. */
[[nodiscard]] MEMORYVERDICT CheckMemory(const SETUPPARAM& stParam);
