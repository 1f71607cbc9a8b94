#pragma once

#include "ParseExpressionManager.h"

/** A node of the postfix queue of a condition, in scratch memory. */
struct stu_CONDITIONBSION_MIXQUEUENODE {
    BYTE m_bOperator; // 0: a comparison; 1: logic
    union {
        BYTE m_bLogicOP;
        UINT m_nCompareExpOffset;
    };
};

/** A finished part of a condition, while the rest is put together, in scratch memory. */
struct stu_CONDITIONSTACKNODEBSON {
    BYTE m_bConditionType; // CONDITION_COMPARE or CONDITION_NODE
    union {
        UINT m_nCompareExpOffset;
        UINT m_nWhereOffset;
    };
};

/**
 * Turns a range of words into a condition tree in the plan, whose leaves are comparisons of up to three expressions. A
 * condition without field, parameter, function or subquery is decided here: true leaves none, false leaves one
 * comparison.
 */
class CParseConditionManager : public CParseExpressionManager {
public:
    /**
     * The words from `m_nBeginPos` up to `m_nEndPos`, of which there must be one; brackets around them all narrow the
     * range. With `m_bHaving` aggregates are allowed; `m_bAggreFun` tells whether there are any.
     */
    [[nodiscard]] int ParseCondition(st_PARSEPARAM* lpParam);
    /** The words between the brackets of an IN, whose record becomes a side of the open comparison. */
    [[nodiscard]] int ParseInCondition(st_PARSEPARAM* lpParam);

    /** The root, a `BASECONDITIONBSON`; 0 when no condition is left. */
    UINT GetConditionOffset() const { return m_nConditionOffset; }
    /** Sides of comparisons that aren't constant. */
    int GetVarMathExpressionNum() const { return m_nVarMathExpressionNum; }

    /** Brackets and operators that may wait for their end at once: the depth of a tree on its right sides. */
    static constexpr int OPERATOR_DEPTH_MAX = 1000;

protected:
    CKestroQueueUINT m_queCompareQueue; // sides of the comparison now being built
    CKestroQueue m_queConditionQueue;   // postfix queue of comparisons and logic
    BOOL m_bCompareOperator = 0;        // a comparison is open
    BOOL m_bBetween = 0;                // BETWEEN waits for its AND
    BOOL m_bAnd = 0;                    // which has come
    BOOL m_bExpression = 0;             // there was a comparison or logic
    int m_nVarMathExpressionNum = 0;
    UINT m_nConditionOffset = 0;

private:
    struct WALK;
    struct OPERATORWORDS;

    template <typename T>
    T& Record(UINT nOffset) const {
        return *reinterpret_cast<T*>(m_pBson->ConvertOffset2Addr(nOffset));
    }
    template <typename CONTAINER, typename T>
    int PushScratch(CONTAINER& stContainer, const T& stNode);

    // --- the walk over the words (ParseConditionManager.cpp)

    int ParseWords(WALK& stWalk);
    int ParseConditionWord(WALK& stWalk);
    int ParseOpenBracket(WALK& stWalk);
    int CloseBracket(WALK& stWalk);
    int ParsePrior(WALK& stWalk);
    int ParseCall(WALK& stWalk, BYTE bFunction);
    int ParseOperand(WALK& stWalk);
    int ParseConditionOperator(WALK& stWalk, BYTE bClass);
    int ReadOperator(WALK& stWalk, OPERATORWORDS& stOperator);
    bool IsLikeSide(int nPos) const;
    int ParseIn(WALK& stWalk);

    // --- operators (ParseConditionOperator.cpp): nothing here knows the word at fault

    /** An operator whose left side is complete. `bOuterMark`: a "(+)" waits for the side it marks. */
    int OperatorPush(const stu_MATHOPERATOR& stOperator, int& bOuterMark);
    /** The top of the stack, complete on both sides. */
    int OperatorPop(int& bOuterMark);
    /** Those on top whose priority isn't below `bPriority`; a bracket mark stops. */
    int OperatorsPop(BYTE bPriority, int& bOuterMark);
    int PopToBetween(int& bOuterMark);
    int CloseSide(UINT& nOffset);
    int CloseMarkedSide(UINT& nOffset, int& bOuterMark);
    int CloseUnmarkedSide(UINT& nOffset, int bOuterMark);
    int CloseLowerBound(int bOuterMark);
    bool TakeSides(UINT* arSide, int nNum);
    BYTE ClassOfSide(UINT nOffset);
    /** A bare expression as a comparison. */
    int CreateConditionByExpression(int bOuterMark);
    int CloseComparison(BYTE bCode, int& bOuterMark);
    int CloseBetween(COMPAREEXPBSON& stCompare, int bOuterMark);
    int CloseIn(COMPAREEXPBSON& stCompare);
    int CloseTwoSides(COMPAREEXPBSON& stCompare, int& bOuterMark);
    int SetPrior(COMPAREEXPBSON& stCompare) const;
    int PushComparison(UINT nOffset);
    int PushLogic(BYTE bLogic);

    // --- the tree (ParseConditionFold.cpp)

    /** Folds the postfix queue into a tree. */
    int CreateCondition();
    int PushPart(CKestroStack& skCondition, BYTE bType, UINT nOffset);
    int FoldLogic(BYTE bLogic, CKestroStack& skCondition);
    /** Whether every comparison of the postfix queue is one of constants that `Compare` works out. */
    bool IsComputable() const;
    int FoldConstant();
    int GetConditionResult(const BASECONDITIONBSON* lpNode, int& nResult) const;
    int GetLeafResult(BYTE bType, UINT nOffset, int& nResult) const;
    int Compare(const COMPAREEXPBSON* lpCompare, int& nResult) const;

    // --- IN (ParseConditionIn.cpp)

    int ParseInList(st_PARSEPARAM& stParam, UINT nEntries);
    int ParseInEntry(st_PARSEPARAM& stEntry, UINT& nOffset, bool& bConstant);
    int FoldInEntry(UINT nOffset, bool& bConstant);
    int ParseInSubQuery(const st_PARSEPARAM& stParam);
};

/**
 * Joins the condition `nOffset` of kind `bType` (CONDITIONOPERAND) to the tree at `nRoot` by `bLogic` (PLANLOGIC): the
 * old tree comes first. Without a tree it becomes the root, wrapped if it's a comparison. ERR_MEMORY.
 */
[[nodiscard]] int AddCondition(CBaseBson* pBson, BYTE bType, UINT nOffset, BYTE bLogic, UINT& nRoot);

template <typename CONTAINER, typename T>
int CParseConditionManager::PushScratch(CONTAINER& stContainer, const T& stNode) {
    LPBYTE lpBytes = nullptr;
    if (const int nCode = m_pBson->AllocFromBufferPool(sizeof(T), lpBytes, 0)) return nCode;
    return PushEntry(stContainer, static_cast<void*>(new (lpBytes) T(stNode)));
}
