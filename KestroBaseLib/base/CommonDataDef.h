#pragma once

#include "TypeDef.h"

// ---- Comparison

/**
 * Compares exactly `nLen` bytes without regard to the case of ASCII letters, zero bytes included; both sides must have
 * them. 0, or the difference of the first unmatched bytes, a's minus b's; -1 if b is null, 1 if only a is.
 */
[[nodiscard]] int KestroCompareNoCase(const char* a, const char* b, int nLen);
