#pragma once

#include "BaseBson.h"
#include "MemDBCommonDef.h"

/**
 * Works out compiled expressions: their value, for the folding of constants, and their class, which tells whether a
 * value can be had here. Columns aren't read; a field is NULL.
 *
 * An expression is a tree of `st_MATHEXPBSON` in the main buffer of a plan. Every offset is checked against the bytes
 * in use, so a tree may be anything: what leads outside, a literal longer than the buffer and a tree that meets itself
 * answer ERR_EXPRESSION.
 *
 * Results lie in the plan's pool, or are views of the plan's literals, and own nothing; they live as long as the plan
 * isn't changed. Functions without a state; a plan belongs to one thread at a time.
 */
class CBaseExpression {
public:
    /**
     * The deepest tree that is worked out: nodes from the root to a leaf. A level takes 160 bytes of stack, so that a
     * thread of 256 KB has enough. A class is told of longer chains too; there only nodes with expressions on both
     * sides, and calls inside calls, count.
     */
    static constexpr int DEPTH_LIMIT = 1000;
    /** The class of a tree that isn't worked out for a fault in it: never folded. */
    static constexpr BYTE CLASS_OF_FAULT = EXPCLASS_SCALAR;

    // --- values ------------------------------------------------------------------------------------------------------

    /**
     * The value of a tree; a null one is VT_INT 1. Both sides of an operator are worked out, whatever the first is.
     * Answers 0; ERR_FUNCTION_TYPE for what can't be computed here, which includes "%", comparisons, aggregates,
     * subqueries, parameters, NEW and OLD, sums with an interval, and all that is deeper than `DEPTH_LIMIT`;
     * ERR_EXPRESSION; ERR_MEMORY; a function's code. After an error the result is any value.
     */
    [[nodiscard]] static int GetExpressionResult(CBaseBson* pBson, const st_MATHEXPBSON* lpExpression,
                                                 st_VARDATA& stResult);
    /**
     * The value of a leaf, whose `m_nDataLen` bytes must be there; text and bytes are views. The length of a text
     * counts its terminator. A type that no leaf has leaves the value as it is. 0 or the code of a bad decimal.
     */
    [[nodiscard]] static int GetDataValue(const MATHEXPELEMENTBSON* lpElement, st_VARDATA& stValue);
    /** The value of stored bytes; text and bytes end with a zero byte. Types without such a form give NULL. */
    [[nodiscard]] static int GetDataValue(const char* lpData, st_VARDATA& stValue, unsigned char bType);

    // --- classes -----------------------------------------------------------------------------------------------------

    /** The EXPCLASS of a tree, EXPCLASS_NONE for the offset 0. "?", NEW and OLD count as constants. */
    [[nodiscard]] static BYTE GetExpressionType(CBaseBson* pBson, UINT nOffset);
    /** The same of an operand by its kind, EXPOPERAND. */
    [[nodiscard]] static BYTE GetOperandType(CBaseBson* pBson, unsigned char bKind, UINT nOffset);
    /**
     * The same of a function's node. Only literal arguments make it a constant: an argument that is an expression, a
     * constant one too, decides for EXPCLASS_SCALAR. A JSON function is EXPCLASS_SCALAR.
     */
    [[nodiscard]] static BYTE GetFunctionType(CBaseBson* pBson, UINT nOffset);
    /**
     * Whether a tree holds a leaf whose value isn't known before the statement runs though its class is constant: "?",
     * or a name of NEW or OLD. Such a tree takes part in no folding. True as well for a tree with a fault in it, and
     * for one deeper than `DEPTH_LIMIT`.
     */
    [[nodiscard]] static bool HoldsParameter(CBaseBson* pBson, UINT nOffset);

    // --- functions ---------------------------------------------------------------------------------------------------

    /** Arguments of a function: -1 for none such, `VARIABLE_ARGUMENTS` for a variable number. */
    [[nodiscard]] static int GetFunParamNum(unsigned char bCode);
    static constexpr int NO_FUNCTION = -1;
    static constexpr int VARIABLE_ARGUMENTS = 7;

    /**
     * A function's value; there are as many arguments as `GetFunParamNum` tells, and a text function may write into the
     * text of one. An argument VT_STOP leaves the result as it is, with 0. Answers
     * 0; ERR_FUNCTION_TYPE; ERR_FAILED for a number of arguments that isn't computed here; the function's own code.
     */
    [[nodiscard]] static int GetFunctionVal(CBaseBson* pBson, unsigned char bCode, unsigned char bCombinedType,
                                            st_VARDATA* arArgument, st_VARDATA& stResult);
    /** A code that the form doesn't know is ERR_FUNCTION_TYPE with no argument and with one, and ERR_FAILED with more.
     */
    [[nodiscard]] static int GetFunctionVal(CBaseBson* pBson, unsigned char bCode, st_VARDATA& stResult);
    [[nodiscard]] static int GetFunctionVal(CBaseBson* pBson, unsigned char bCode, unsigned char bCombinedType,
                                            st_VARDATA& a, st_VARDATA& stResult);
    [[nodiscard]] static int GetFunctionVal(CBaseBson* pBson, unsigned char bCode, st_VARDATA& a, st_VARDATA& b,
                                            st_VARDATA& stResult);
    [[nodiscard]] static int GetFunctionVal(CBaseBson* pBson, unsigned char bCode, st_VARDATA& a, st_VARDATA& b,
                                            st_VARDATA& c, st_VARDATA& stResult);

    // --- operators; the result may be an operand ---------------------------------------------------------------------

    /** Logic with NULL as the third truth: VT_INT 0, VT_INT 1 or NULL. Text is as true as the number it begins with. */
    static int And(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b, st_VARDATA& stResult);
    static int Or(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b, st_VARDATA& stResult);
    static int Not(CKestroBufferPool* lpPool, const st_VARDATA& a, st_VARDATA& stResult);
    /** Here every text with a length is true. */
    static int Xor(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b, st_VARDATA& stResult);
    /** DIV: a BIGINT, the quotient of the operands' whole parts, cut. NULL without one. 0 or ERR_MEMORY. */
    [[nodiscard]] static int Div(CKestroBufferPool* lpPool, const st_VARDATA& a, const st_VARDATA& b,
                                 st_VARDATA& stResult);
};
