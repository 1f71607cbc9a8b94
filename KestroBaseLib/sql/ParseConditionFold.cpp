// A condition's tree, from its postfix queue, and its truth where that is known here. Neither recurses: chains of AND
// and OR are deep on their left sides, brackets on their right ones.

#include "BaseExpression.h"
#include "ParseConditionManager.h"
#include "PlanOperators.h"

namespace {

using NODE = stu_CONDITIONSTACKNODEBSON;

BASECONDITIONBSON Wrapper(UINT nCompareOffset) {
    BASECONDITIONBSON stNode{};
    stNode.m_bConditionType1 = CONDITION_COMPARE;
    stNode.m_bConditionType2 = CONDITION_NONE;
    stNode.m_nConditionOffset1 = nCompareOffset;
    return stNode;
}

int NewNode(CBaseBson& stBson, const BASECONDITIONBSON& stNode, UINT& nOffset) {
    BASECONDITIONBSON* lpNode = nullptr;
    if (const int nCode = stBson.AllocFromBsonBuffer(lpNode, nOffset)) return nCode;
    *lpNode = stNode;
    return ERR_OK;
}

} // namespace

int AddCondition(CBaseBson* pBson, BYTE bType, UINT nOffset, BYTE bLogic, UINT& nRoot) {
    if (nRoot == 0 && bType == CONDITION_NODE) {
        nRoot = nOffset;
        return ERR_OK;
    }
    BASECONDITIONBSON stNode = Wrapper(nOffset);
    if (nRoot != 0) stNode = {CONDITION_NODE, bType, 0, bLogic, nRoot, nOffset};
    UINT nNode = 0;
    if (const int nCode = NewNode(*pBson, stNode, nNode)) return nCode;
    nRoot = nNode;
    return ERR_OK;
}

// Queue and stack share their nodes: that of an operator becomes the node of its result.
int CParseConditionManager::CreateCondition() {
    m_nConditionOffset = 0;
    if (m_queConditionQueue.empty()) return ERR_OK;
    CKestroStack skCondition;
    for (; !m_queConditionQueue.empty(); m_queConditionQueue.pop()) {
        const auto& stNode = *static_cast<const stu_CONDITIONBSION_MIXQUEUENODE*>(m_queConditionQueue.front());
        if (const int nCode = stNode.m_bOperator ? FoldLogic(stNode.m_bLogicOP, skCondition)
                                                 : PushPart(skCondition, CONDITION_COMPARE, stNode.m_nCompareExpOffset))
            return nCode;
    }
    m_queConditionQueue.free();
    if (skCondition.size() != 1) return ERR_LOGIC_STACK;
    const NODE& stRoot = *static_cast<const NODE*>(skCondition.top());
    return AddCondition(m_pBson, stRoot.m_bConditionType, stRoot.m_nWhereOffset, LOGIC_NONE, m_nConditionOffset);
}

int CParseConditionManager::PushPart(CKestroStack& skCondition, BYTE bType, UINT nOffset) {
    NODE stNode{};
    stNode.m_bConditionType = bType;
    stNode.m_nWhereOffset = nOffset;
    return PushScratch(skCondition, stNode);
}

int CParseConditionManager::FoldLogic(BYTE bLogic, CKestroStack& skCondition) {
    if (skCondition.size() < (bLogic == OP_NOT ? 1 : 2)) return ERR_LOGIC_STACK;
    const NODE stTop = *static_cast<const NODE*>(skCondition.top());
    if (bLogic == OP_NOT) {
        // No record of its own; a second NOT takes the first one back.
        BYTE& bNot = stTop.m_bConditionType == CONDITION_NODE
                         ? Record<BASECONDITIONBSON>(stTop.m_nWhereOffset).m_bLogicNot
                         : Record<COMPAREEXPBSON>(stTop.m_nCompareExpOffset).m_bLogicNot;
        bNot ^= 1;
        return ERR_OK;
    }
    skCondition.pop();
    const NODE stLower = *static_cast<const NODE*>(skCondition.top());
    skCondition.pop();
    UINT nOffset = 0;
    if (const int nCode = NewNode(
            *m_pBson,
            {stLower.m_bConditionType, stTop.m_bConditionType, 0, bLogic, stLower.m_nWhereOffset, stTop.m_nWhereOffset},
            nOffset))
        return nCode;
    return PushPart(skCondition, CONDITION_NODE, nOffset);
}

// --- constant conditions ---------------------------------------------------------------------------------------------

bool CParseConditionManager::IsComputable() const {
    for (int i = 0; i < m_queConditionQueue.size(); ++i) {
        const auto& stNode = *static_cast<const stu_CONDITIONBSION_MIXQUEUENODE*>(m_queConditionQueue.get(i));
        if (stNode.m_bOperator) continue;
        const auto& st = Record<COMPAREEXPBSON>(stNode.m_nCompareExpOffset);
        const bool bCompare = st.m_bOperator >= OP_EQUAL && st.m_bOperator <= OP_LESS_EQUAL;
        const bool bBetween = st.m_bOperator >= OP_BETWEEN && st.m_bOperator <= OP_BETWEEN_INSIDE;
        if (!bCompare && !bBetween) return false;
        // A tree that is too deep to be worked out has another class.
        const bool bConstant = st.m_bExpressionType1 == EXPCLASS_CONSTANT &&
                               st.m_bExpressionType2 == EXPCLASS_CONSTANT &&
                               (bCompare || st.m_bExpressionType3 == EXPCLASS_CONSTANT);
        if (!bConstant) return false;
    }
    return true;
}

int CParseConditionManager::FoldConstant() {
    BASECONDITIONBSON& stRoot = Record<BASECONDITIONBSON>(m_nConditionOffset);
    int nResult = 0;
    if (const int nCode = GetConditionResult(&stRoot, nResult))
        // What isn't computed here is left to the server.
        return nCode == ERR_FUNCTION_TYPE ? ERR_OK : nCode;
    if (nResult) {
        m_nConditionOffset = 0;
        return ERR_OK;
    }
    // One comparison says it all; nothing is left of NOT and OR, which would turn it round.
    const BASECONDITIONBSON* lpNode = &stRoot;
    while (lpNode->m_bConditionType1 == CONDITION_NODE && lpNode->m_bConditionType2 != CONDITION_COMPARE)
        lpNode = &Record<BASECONDITIONBSON>(lpNode->m_nConditionOffset1);
    const bool bFirst = lpNode->m_bConditionType1 == CONDITION_COMPARE;
    const UINT nCompare = bFirst ? lpNode->m_nConditionOffset1 : lpNode->m_nConditionOffset2;
    COMPAREEXPBSON& stCompare = Record<COMPAREEXPBSON>(nCompare);
    stCompare = COMPAREEXPBSON{};
    stCompare.m_bOperator = COMPARE_FALSE;
    stRoot = Wrapper(nCompare);
    return ERR_OK;
}

// Each node waits on the stack, first for its first side, which may be a long chain, then for its second one. Nothing
// recurses, so that right sides may be as deep as the operators allow.
int CParseConditionManager::GetConditionResult(const BASECONDITIONBSON* lpNode, int& nResult) const {
    constexpr long long UNKNOWN = -1;
    CKestroStack skNode;
    CKestroStackInt64 skFirst; // of each node: the truth of its first side
    while (true) {
        if (const int nCode = PushEntry(skNode, const_cast<void*>(static_cast<const void*>(lpNode)))) return nCode;
        if (const int nCode = PushEntry(skFirst, UNKNOWN)) return nCode;
        if (lpNode->m_bConditionType1 == CONDITION_NODE) {
            lpNode = &Record<BASECONDITIONBSON>(lpNode->m_nConditionOffset1);
            continue;
        }
        if (const int nCode = GetLeafResult(lpNode->m_bConditionType1, lpNode->m_nConditionOffset1, nResult))
            return nCode;
        // What is known goes up to the first node whose second side is one that has to be entered.
        for (; !skNode.empty(); skNode.pop(), skFirst.pop()) {
            lpNode = static_cast<const BASECONDITIONBSON*>(skNode.top());
            int nFirst = static_cast<int>(skFirst.top()), nSecond = nResult;
            if (nFirst == UNKNOWN) {
                nFirst = nResult;
                if (lpNode->m_bConditionType2 == CONDITION_NODE) break;
                if (const int nCode = GetLeafResult(lpNode->m_bConditionType2, lpNode->m_nConditionOffset2, nSecond))
                    return nCode;
            }
            const bool bBoth = nFirst && nSecond, bEither = nFirst || nSecond;
            nResult = (lpNode->m_bLogicOperator == LOGIC_OR ? bEither : bBoth) != (lpNode->m_bLogicNot != 0);
        }
        if (skNode.empty()) return ERR_OK;
        skFirst.pop();
        skFirst.push(nResult);
        lpNode = &Record<BASECONDITIONBSON>(lpNode->m_nConditionOffset2);
    }
}

/** What isn't there is true. */
int CParseConditionManager::GetLeafResult(BYTE bType, UINT nOffset, int& nResult) const {
    nResult = 1;
    return bType == CONDITION_COMPARE ? Compare(&Record<COMPAREEXPBSON>(nOffset), nResult) : ERR_OK;
}

int CParseConditionManager::Compare(const COMPAREEXPBSON* lpCompare, int& nResult) const {
    const UINT arOffset[] = {lpCompare->m_nMathExpOffset1, lpCompare->m_nMathExpOffset2, lpCompare->m_nMathExpOffset3};
    st_VARDATA arValue[3];
    for (int i = 0; i < 3; ++i) {
        if (arOffset[i] == 0) continue;
        const auto* const lpSide = &Record<st_MATHEXPBSON>(arOffset[i]);
        if (const int nCode = CBaseExpression::GetExpressionResult(m_pBson, lpSide, arValue[i])) return nCode;
        // Two truths aren't enough for NULL, and what NOT made of it would let a DELETE take all rows.
        if (arValue[i].IsNull()) return ERR_FUNCTION_TYPE;
    }
    const auto& [stFirst, stSecond, stThird] = arValue;
    switch (lpCompare->m_bOperator) {
        case OP_BETWEEN:
            nResult = stSecond <= stFirst && stFirst <= stThird;
            break;
        case OP_BETWEEN_BELOW:
            nResult = stSecond <= stFirst && stFirst < stThird;
            break;
        case OP_BETWEEN_ABOVE:
            nResult = stSecond < stFirst && stFirst <= stThird;
            break;
        case OP_BETWEEN_INSIDE:
            nResult = stSecond < stFirst && stFirst < stThird;
            break;
        default:
            nResult = 1;
            // The codes that it doesn't know are true.
            if (lpCompare->m_bOperator >= OP_EQUAL && lpCompare->m_bOperator <= OP_LESS_EQUAL)
                if (const int nCode = CompareData(stFirst, stSecond, lpCompare->m_bOperator, nResult)) return nCode;
    }
    if (lpCompare->m_bLogicNot) nResult = !nResult;
    return ERR_OK;
}
