#pragma once

// The operators of expressions, by their codes. For the sources of `CBaseExpression` only.

#include "MemDBCommonDef.h"

class CKestroBufferPool;

/** Computes an operator on its two sides; an absent side is VT_INT 0. 0 or a code. */
using OPERATORFUNCTION = int (*)(CKestroBufferPool* lpPool, const st_VARDATA& stLeft, const st_VARDATA& stRight,
                                 st_VARDATA& stResult);

/** Null for a code that is no operator computed here. */
OPERATORFUNCTION GetOperatorFunction(BYTE bOperator);

/** The pool copy. 0 or ERR_MEMORY. */
[[nodiscard]] int CopyValue(CKestroBufferPool* lpPool, const st_VARDATA& stSource, st_VARDATA& stResult);
