#pragma once

#include "ParseExpressionManager.h"

/**
 * Turns a range of words into a condition tree in the plan, whose leaves are comparisons of up to three expressions. A
 * condition without field, function or subquery is decided here: true leaves none, false leaves one comparison.
 */
class CParseConditionManager : public CParseExpressionManager {
public:
    /**
     * The words from `m_nBeginPos` up to `m_nEndPos`, of which there must be one. With `m_bHaving` aggregates are
     * allowed.
     */
    [[nodiscard]] int ParseCondition(st_PARSEPARAM* lpParam);

    /** The root, a `BASECONDITIONBSON`; 0 when no condition is left. */
    UINT GetConditionOffset() const { return m_nConditionOffset; }
    /** Sides of comparisons that aren't constant. */
    int GetVarMathExpressionNum() const { return m_nVarMathExpressionNum; }

protected:
    CKestroQueueUINT m_queCompareQueue; // sides of the comparison now being built
    CKestroQueue m_queConditionQueue;   // postfix queue of comparisons and logic
    BOOL m_bCompareOperator = 0;        // a comparison is open
    BOOL m_bBetween = 0;                // BETWEEN waits for its AND
    BOOL m_bAnd = 0;                    // which has come
    BOOL m_bExpression = 0;             // there was a comparison or logic
    int m_nVarMathExpressionNum = 0;
    UINT m_nConditionOffset = 0;
};

/**
 * Joins the condition `nOffset` of kind `bType` (CONDITIONOPERAND) to the tree at `nRoot` by `bLogic` (PLANLOGIC): the
 * old tree comes first. Without a tree it becomes the root, wrapped if it's a comparison. ERR_MEMORY.
 */
[[nodiscard]] int AddCondition(CBaseBson* pBson, BYTE bType, UINT nOffset, BYTE bLogic, UINT& nRoot);
