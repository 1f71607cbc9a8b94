#pragma once

// How the conversions of values are run: one matrix of source and target, kernels as its cells, and flavours that
// differ in a few of them. For the sources of the conversions only.

#include "VarData.h"

/** What a kernel converts, and how. */
struct CONVERSION {
    const st_VARDATA& m_stSource;
    /** May be null: then there is no memory. */
    CKestroBufferPool* m_lpPool;
    /** The target as the caller named it. */
    BYTE m_bType;
    bool m_bRound;
    /** The column, for ENUM and SET. */
    const st_MYSQLFIELDDEF* m_lpField;
};

/**
 * Makes the result, a fresh value that comes VT_EMPTY and goes into the target when the answer is 0 or 1041. A kernel
 * leaves nothing in it that is owned; a result that views the target's own buffer takes over its ownership.
 */
using CONVERTKERNEL = int (*)(const CONVERSION& stConversion, st_VARDATA& stResult);

/** Which conversion is asked for. */
enum CONVERTFLAVOUR : BYTE {
    FLAVOUR_VALUE,
    FLAVOUR_FIELD,
    FLAVOUR_NUMBER,
    /** In place, leaving what would lose something; in place, whatever is lost; in place, for a column. */
    FLAVOUR_SAFE,
    FLAVOUR_FORCED,
    FLAVOUR_COLUMN,
    /** A text as the value that it writes. */
    FLAVOUR_TEXT,
    FLAVOUR_COUNT,
};

/** Converts into `stTarget`, which may be the source. 0, 3, 4, 516, 1041. */
[[nodiscard]] int ConvertValue(CONVERTFLAVOUR nFlavour, const CONVERSION& stConversion, st_VARDATA& stTarget);

/** Makes a value what a result is: type and payload, while side flags and counter stay. */
void TakeResult(st_VARDATA& stTarget, const st_VARDATA& stResult);
