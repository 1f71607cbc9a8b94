// Comparisons with a "(+)": each joins two objects, so it leaves WHERE and becomes a left join of the tree.

#include "ParsePush.h"
#include "ParseSqlJoin.h"

namespace {

/** Objects with a higher number take no part in joins by "(+)". */
constexpr BYTE OUTER_OBJECT_NO_MAX = 249;

template <typename T>
T* RecordAt(CBaseBson& stBson, UINT nOffset) {
    return reinterpret_cast<T*>(stBson.ConvertOffset2Addr(nOffset));
}

bool HasFieldsOnly(const COMPAREEXPBSON& stCompare) {
    return stCompare.m_bExpressionType1 == EXPCLASS_FIELD && stCompare.m_bExpressionType2 == EXPCLASS_FIELD;
}

/** The field that is all of one side of a comparison, or null. */
const MATHEXPELEMENTBSON* LoneField(CBaseBson& stBson, UINT nSide) {
    const auto* const lpSide = RecordAt<st_MATHEXPBSON>(stBson, nSide);
    return lpSide ? RecordAt<MATHEXPELEMENTBSON>(stBson, lpSide->m_nExpOffset1) : nullptr;
}

bool IsJoinObject(BYTE bObjectNo) {
    // A field without a qualifier has number 0: only the server knows whose it is.
    return bObjectNo != 0 && bObjectNo <= OUTER_OBJECT_NO_MAX;
}

relbitmap SetOf(BYTE bObjectNo) {
    relbitmap nSet = 0;
    AddRel(bObjectNo, nSet);
    return nSet;
}

bool IsInList(CBaseBson& stBson, UINT nObjectOffset, BYTE bObjectNo) {
    const OBJECTBSON* lpObject = RecordAt<OBJECTBSON>(stBson, nObjectOffset);
    while (lpObject && lpObject->m_bObjectNo != bObjectNo)
        lpObject = RecordAt<OBJECTBSON>(stBson, lpObject->m_nNextOffset);
    return lpObject != nullptr;
}

/** Whether a "(+)" stands in a comparison with a field of an outer query: no tree of this query can hold that. */
bool IsOfOuterQuery(CBaseBson& stBson, UINT nCompare, UINT nObjectOffset) {
    const auto* const lpCompare = RecordAt<COMPAREEXPBSON>(stBson, nCompare);
    if (!lpCompare || lpCompare->m_bJoinType < OUTER_RIGHT || !HasFieldsOnly(*lpCompare)) return false;
    for (const UINT nSide : {lpCompare->m_nMathExpOffset1, lpCompare->m_nMathExpOffset2}) {
        const MATHEXPELEMENTBSON* const lpField = LoneField(stBson, nSide);
        if (lpField && IsJoinObject(lpField->m_bObjectNo) && !IsInList(stBson, nObjectOffset, lpField->m_bObjectNo))
            return true;
    }
    return false;
}

/** The side that keeps its rows is always the left one, whether it's new or in the tree. */
int JoinOuter(CBaseBson& stBson, const MATHEXPELEMENTBSON& stKept, const MATHEXPELEMENTBSON& stOptional, UINT& nRoot) {
    const auto* const lpRoot = RecordAt<st_NODE_QUERYTREE>(stBson, nRoot);
    const relbitmap nTree = lpRoot ? lpRoot->m_bRelis : relbitmap{0};
    const bool bHasKept = BmsOverlap(nTree, SetOf(stKept.m_bObjectNo));
    const bool bHasOptional = BmsOverlap(nTree, SetOf(stOptional.m_bObjectNo));
    UINT nLeft = nRoot, nRight = nRoot, nJoin = 0;
    if (!bHasKept)
        if (const int nCode = CreateBaseRel(stBson, stKept.m_bObjectNo, stKept.m_bObjectType, nLeft)) return nCode;
    if (!bHasOptional)
        if (const int nCode = CreateBaseRel(stBson, stOptional.m_bObjectNo, stOptional.m_bObjectType, nRight))
            return nCode;
    if (const int nCode = CreateJoinRel(stBson, {JOIN_LEFT, 0, 0}, nLeft, nRight, nJoin)) return nCode;
    const UINT nTreeRoot = nRoot;
    nRoot = nJoin;
    // Two objects that have nothing to do with those of the tree are a tree of their own.
    if (bHasKept || bHasOptional || nTreeRoot == 0) return ERR_OK;
    return CreateJoinRel(stBson, {JOIN_INNER, 0, 0}, nTreeRoot, nJoin, nRoot);
}

/** One of the two operands of a condition. */
struct OPERAND {
    BYTE m_bType;
    UINT m_nOffset;
};

OPERAND GetOperand(const BASECONDITIONBSON& stNode, bool bSecond) {
    if (bSecond) return {stNode.m_bConditionType2, stNode.m_nConditionOffset2};
    return {stNode.m_bConditionType1, stNode.m_nConditionOffset1};
}

void RemoveOperand(BASECONDITIONBSON& stNode, bool bSecond) {
    if (bSecond) {
        stNode.m_bConditionType2 = CONDITION_NONE;
        stNode.m_nConditionOffset2 = 0;
    } else {
        stNode.m_bConditionType1 = CONDITION_NONE;
        stNode.m_nConditionOffset1 = 0;
    }
}

} // namespace

int CreateJoinCondition(CBaseBson& stBson, UINT nCompare, UINT& nCondition) {
    auto* const lpOld = RecordAt<BASECONDITIONBSON>(stBson, nCondition);
    if (lpOld && lpOld->m_bConditionType2 == CONDITION_NONE) {
        lpOld->m_bConditionType2 = CONDITION_COMPARE;
        lpOld->m_nConditionOffset2 = nCompare;
        lpOld->m_bLogicOperator = LOGIC_AND;
        return ERR_OK;
    }
    BASECONDITIONBSON* lpNew = nullptr;
    UINT nOffset = 0;
    if (const int nCode = stBson.AllocFromBsonBuffer(lpNew, nOffset)) return nCode;
    lpNew->m_bConditionType1 = lpOld ? CONDITION_NODE : CONDITION_COMPARE;
    lpNew->m_nConditionOffset1 = lpOld ? nCondition : nCompare;
    lpNew->m_bConditionType2 = lpOld ? CONDITION_COMPARE : CONDITION_NONE;
    lpNew->m_nConditionOffset2 = lpOld ? nCompare : 0;
    lpNew->m_bLogicOperator = lpOld ? LOGIC_AND : LOGIC_NONE;
    nCondition = nOffset;
    return ERR_OK;
}

int GetJoinPathFromCompareExpression(CBaseBson& stBson, UINT nCompare, UINT& nRoot, UINT& nCondition) {
    const auto* const lpCompare = RecordAt<COMPAREEXPBSON>(stBson, nCompare);
    if (!lpCompare) return ERR_JOIN_EXPRESSION;
    if (!HasFieldsOnly(*lpCompare)) return ERR_OK;
    const MATHEXPELEMENTBSON* const lpFirst = LoneField(stBson, lpCompare->m_nMathExpOffset1);
    const MATHEXPELEMENTBSON* const lpSecond = LoneField(stBson, lpCompare->m_nMathExpOffset2);
    if (!lpFirst || !lpSecond) return ERR_JOIN_EXPRESSION;
    if (lpFirst->m_bObjectNo == lpSecond->m_bObjectNo || lpCompare->m_bJoinType < OUTER_RIGHT) return ERR_OK;
    if (!IsJoinObject(lpFirst->m_bObjectNo) || !IsJoinObject(lpSecond->m_bObjectNo)) return ERR_OK;

    // A second comparison of the same two objects stays in WHERE. Intended.
    const auto* const lpRoot = RecordAt<st_NODE_QUERYTREE>(stBson, nRoot);
    const relbitmap nBoth = SetOf(lpFirst->m_bObjectNo) | SetOf(lpSecond->m_bObjectNo);
    if (lpRoot && BmsIsSubset(nBoth, lpRoot->m_bRelis)) return ERR_OK;
    const bool bKeepsFirst = lpCompare->m_bJoinType == OUTER_RIGHT;
    const int nCode =
        bKeepsFirst ? JoinOuter(stBson, *lpFirst, *lpSecond, nRoot) : JoinOuter(stBson, *lpSecond, *lpFirst, nRoot);
    return nCode != ERR_OK ? nCode : CreateJoinCondition(stBson, nCompare, nCondition);
}

// The operands still to be looked at wait on a stack, the first one on top: trees of many AND are deep on the left.
// What stands under OR or NOT leaves its place as well. Intended.
int GetJoinTreeFromCondition(CBaseBson& stBson, UINT nCondition, UINT nObjectOffset, UINT& nRoot,
                             CKestroQueueUINT& stQueue) {
    CKestroStackInt64 stPending; // twice the node's offset, plus 1 for the second operand
    int nCode = PushEntry(stPending, 2LL * nCondition);
    while (nCode == ERR_OK && !stPending.empty()) {
        const long long llPending = stPending.top();
        const bool bSecond = llPending % 2 != 0;
        stPending.pop();
        auto* const lpNode = RecordAt<BASECONDITIONBSON>(stBson, static_cast<UINT>(llPending / 2));
        if (!lpNode) return ERR_JOIN_EXPRESSION;
        if (!bSecond && PushEntry(stPending, llPending + 1) != ERR_OK) return ERR_MEMORY;
        const OPERAND stOperand = GetOperand(*lpNode, bSecond);
        if (stOperand.m_bType == CONDITION_NODE) nCode = PushEntry(stPending, 2LL * stOperand.m_nOffset);
        if (stOperand.m_bType != CONDITION_COMPARE || IsOfOuterQuery(stBson, stOperand.m_nOffset, nObjectOffset))
            continue;
        UINT nJoinCondition = 0;
        nCode = GetJoinPathFromCompareExpression(stBson, stOperand.m_nOffset, nRoot, nJoinCondition);
        if (nCode != ERR_OK || nJoinCondition == 0) continue;
        RemoveOperand(*lpNode, bSecond);
        nCode = PushEntry(stQueue, nJoinCondition);
    }
    return nCode;
}
