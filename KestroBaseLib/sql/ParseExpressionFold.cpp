// The postfix queue becomes a tree of records in the plan, each written once, children in front of their parents; and
// the look for aggregates inside aggregates. Neither recurses, so a tree may be as deep as its text is long.

#include <cstddef>
#include <cstring>

#include "BaseExpression.h"
#include "ParseExpressionManager.h"
#include "PlanOperators.h"

namespace {

constexpr BYTE NO_KIND = 0xFF;

/** The kind under which a node of the queue stands in a record, EXPOPERAND; NO_KIND for one that is no operand. */
BYTE OperandKind(const stu_EXPFIELDBSON_MIXQUEUENODE& stNode) {
    switch (stNode.m_bNodeType) {
        case MIXNODE_ELEMENT:
            return EXP_ELEMENT;
        case MIXNODE_EXPRESSION:
            return EXP_EXPRESSION;
        case MIXNODE_SUBQUERY:
            return EXP_SUBQUERY;
        case MIXNODE_JSON_ELEMENT:
            return EXP_JSON_ELEMENT;
        default:
            return NO_KIND;
    }
}

stu_EXPFIELDBSON_MIXQUEUENODE* Pop(CKestroStack& skOperand) {
    auto* const lpNode = static_cast<stu_EXPFIELDBSON_MIXQUEUENODE*>(skOperand.top());
    skOperand.pop();
    return lpNode;
}

} // namespace

// Queue and stack share their nodes: that of an operator becomes the node of its result.
int CParseExpressionManager::CreateMathExpression() {
    if (m_queMathQueue.empty()) return ERR_EXPRESSION_QUEUE_EMPTY;
    // A lone operand needs no stack.
    const auto& stFirst = *static_cast<const stu_EXPFIELDBSON_MIXQUEUENODE*>(m_queMathQueue.front());
    if (m_queMathQueue.size() == 1 && stFirst.m_bNodeType == MIXNODE_ELEMENT) {
        m_queMathQueue.free();
        return WrapOperand(EXP_ELEMENT, stFirst.m_nExpFieldOffset);
    }
    CKestroStack skOperand;
    for (; !m_queMathQueue.empty(); m_queMathQueue.pop()) {
        auto* const lpNode = static_cast<stu_EXPFIELDBSON_MIXQUEUENODE*>(m_queMathQueue.front());
        if (lpNode->m_bNodeType == MIXNODE_OPERATOR)
            if (const int nCode = FoldOperator(*lpNode, skOperand)) return nCode;
        if (const int nCode = PushEntry(skOperand, static_cast<void*>(lpNode))) return nCode;
    }
    // The next expression fills it from its first slot on, where alone it may grow.
    m_queMathQueue.free();
    if (skOperand.size() != 1) return ERR_EXPRESSION_STACK;

    const stu_EXPFIELDBSON_MIXQUEUENODE& stRoot = *Pop(skOperand);
    const BYTE bKind = OperandKind(stRoot);
    if (bKind == NO_KIND) return ERR_EXPRESSION;
    if (bKind != EXP_EXPRESSION) return WrapOperand(bKind, stRoot.m_nExpFieldOffset);
    m_nExpressionOffset = stRoot.m_nExpFieldOffset;
    return ERR_OK;
}

BYTE CParseExpressionManager::ClassOfTree(CBaseBson& stBson, UINT nOffset) {
    const auto* const lpRoot = reinterpret_cast<const st_MATHEXPBSON*>(stBson.ConvertOffset2Addr(nOffset));
    const bool bElement = nOffset != 0 && lpRoot->m_bOperator == OP_NONE && lpRoot->m_bExpressionType1 == EXP_ELEMENT;
    if (!bElement) return CBaseExpression::GetExpressionType(&stBson, nOffset);
    const auto* const lpElement =
        reinterpret_cast<const MATHEXPELEMENTBSON*>(stBson.ConvertOffset2Addr(lpRoot->m_nExpOffset1));
    return lpElement->m_bDataSource == SOURCE_FIELD ? EXPCLASS_FIELD : EXPCLASS_CONSTANT;
}

int CParseExpressionManager::WrapOperand(BYTE bKind, UINT nOperand) {
    st_MATHEXPBSON* lpRecord = nullptr;
    UINT nOffset = 0;
    if (const int nCode = m_pBson->AllocFromBsonBuffer(lpRecord, nOffset)) return nCode;
    lpRecord->m_bExpressionType1 = bKind;
    lpRecord->m_bExpressionType2 = EXP_NONE;
    lpRecord->m_nExpOffset1 = nOperand;
    m_nExpressionOffset = nOffset;
    return ERR_OK;
}

/** An operator over what waits on the stack; its node is that of the result then. */
int CParseExpressionManager::FoldOperator(stu_EXPFIELDBSON_MIXQUEUENODE& stNode, CKestroStack& skOperand) {
    st_MATHEXPBSON* lpRecord = nullptr;
    UINT nOffset = 0;
    if (const int nCode = m_pBson->AllocFromBsonBuffer(lpRecord, nOffset)) return nCode;
    lpRecord->m_bOperator = stNode.m_bMathOp;
    lpRecord->m_bExpressionType2 = EXP_NONE;
    const BYTE bForm = CheckOperatorType(stNode.m_bMathOp);
    if (bForm == OPFORM_PARAM_LIST) {
        if (const int nCode = FoldParamList(stNode, skOperand, *lpRecord)) return nCode;
    } else if (skOperand.size() < (bForm == OPFORM_BINARY ? 2 : 1)) {
        return ERR_LOGIC_STACK;
    } else {
        if (bForm == OPFORM_BINARY) {
            const stu_EXPFIELDBSON_MIXQUEUENODE& stRight = *Pop(skOperand);
            lpRecord->m_bExpressionType2 = OperandKind(stRight);
            lpRecord->m_nExpOffset2 = stRight.m_nExpFieldOffset;
        }
        const stu_EXPFIELDBSON_MIXQUEUENODE& stLeft = *Pop(skOperand);
        const bool bArguments = stLeft.m_bNodeType == MIXNODE_JSON_ARGUMENTS;
        if (bArguments != (bForm == OPFORM_JSON_ARGUMENTS)) return ERR_EXPRESSION;
        lpRecord->m_bExpressionType1 = bArguments ? BYTE{EXP_JSON_ARGUMENTS} : OperandKind(stLeft);
        lpRecord->m_nExpOffset1 = stLeft.m_nExpFieldOffset;
        if (lpRecord->m_bExpressionType1 == NO_KIND || lpRecord->m_bExpressionType2 == NO_KIND) return ERR_EXPRESSION;
    }
    stNode.m_bNodeType = MIXNODE_EXPRESSION;
    stNode.m_nExpFieldOffset = nOffset;
    return ERR_OK;
}

int CParseExpressionManager::FoldParamList(const stu_EXPFIELDBSON_MIXQUEUENODE& stNode, CKestroStack& skOperand,
                                           st_MATHEXPBSON& stRecord) {
    if (skOperand.size() < stNode.m_nParamNum) return ERR_LOGIC_STACK;
    const UINT nNum = static_cast<UINT>(stNode.m_nParamNum);
    LPBYTE lpBytes = nullptr;
    UINT nOffset = 0;
    if (const int nCode =
            m_pBson->AllocFromBsonBuffer(sizeof(FUNCTIONPARAMLIST) + nNum * sizeof(UINT), nOffset, lpBytes))
        return nCode;
    auto* const lpList = reinterpret_cast<FUNCTIONPARAMLIST*>(lpBytes);
    lpList->m_bNum = static_cast<BYTE>(nNum);
    lpList->m_bCombinedType = stNode.m_bCombinedType;
    // The last argument is on top.
    for (UINT i = nNum; i-- > 0;) {
        const stu_EXPFIELDBSON_MIXQUEUENODE& stArgument = *Pop(skOperand);
        FUNCTIONPARAM* lpParam = nullptr;
        UINT nParam = 0;
        if (const int nCode = m_pBson->AllocFromBsonBuffer(lpParam, nParam)) return nCode;
        lpParam->m_bExpressionType = OperandKind(stArgument);
        if (lpParam->m_bExpressionType > EXP_EXPRESSION) return ERR_EXPRESSION;
        lpParam->m_nExpOffset = stArgument.m_nExpFieldOffset;
        std::memcpy(lpBytes + offsetof(FUNCTIONPARAMLIST, m_nExpOffset) + i * sizeof nParam, &nParam, sizeof nParam);
    }
    stRecord.m_bExpressionType1 = EXP_PARAM_LIST;
    stRecord.m_nExpOffset1 = nOffset;
    return ERR_OK;
}

// Each entry is a node's offset with the aggregates above it. The left side is looked at first, so that a chain of
// operators keeps the stack short.
int CParseExpressionManager::CheckAgrreMixedExpression(UINT nOffset) const {
    constexpr int DEPTH_SHIFT = 32;
    // An operand alone, as most sides of comparisons are, holds none.
    if (nOffset == 0) return ERR_OK;
    const auto& stRoot = *reinterpret_cast<const st_MATHEXPBSON*>(m_pBson->ConvertOffset2Addr(nOffset));
    if (stRoot.m_bOperator == OP_NONE && stRoot.m_bExpressionType1 != EXP_EXPRESSION) return ERR_OK;
    CKestroStackInt64 skNode;
    const auto PushChild = [&](BYTE bKind, UINT nChild, long long llDepth) -> int {
        if (bKind != EXP_EXPRESSION || nChild == 0) return ERR_OK;
        return PushEntry(skNode, (llDepth << DEPTH_SHIFT) | nChild);
    };
    if (const int nCode = PushChild(EXP_EXPRESSION, nOffset, 0)) return nCode;
    while (!skNode.empty()) {
        long long llDepth = skNode.top() >> DEPTH_SHIFT;
        const LPBYTE lpBytes = m_pBson->ConvertOffset2Addr(static_cast<UINT>(skNode.top()));
        skNode.pop();
        const auto& stRecord = *reinterpret_cast<const st_MATHEXPBSON*>(lpBytes);
        if (IsAggregateCode(stRecord.m_bOperator) && ++llDepth > 1) return ERR_FUNCTION_TYPE;
        if (stRecord.m_bExpressionType1 == EXP_PARAM_LIST && stRecord.m_nExpOffset1 != 0) {
            const LPBYTE lpList = m_pBson->ConvertOffset2Addr(stRecord.m_nExpOffset1);
            for (UINT i = reinterpret_cast<const FUNCTIONPARAMLIST*>(lpList)->m_bNum; i-- > 0;) {
                UINT nParam = 0;
                std::memcpy(&nParam, lpList + offsetof(FUNCTIONPARAMLIST, m_nExpOffset) + i * sizeof nParam,
                            sizeof nParam);
                const auto& stParam = *reinterpret_cast<const FUNCTIONPARAM*>(m_pBson->ConvertOffset2Addr(nParam));
                if (const int nCode = PushChild(stParam.m_bExpressionType, stParam.m_nExpOffset, llDepth)) return nCode;
            }
        }
        if (const int nCode = PushChild(stRecord.m_bExpressionType2, stRecord.m_nExpOffset2, llDepth)) return nCode;
        if (const int nCode = PushChild(stRecord.m_bExpressionType1, stRecord.m_nExpOffset1, llDepth)) return nCode;
    }
    return ERR_OK;
}
