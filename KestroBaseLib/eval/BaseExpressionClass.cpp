// The class of an expression: what its value depends on. Nothing is worked out here.

#include <utility>

#include "BaseExpressionReader.h"

namespace {

/** The class of an operator by those of its sides. */
BYTE JoinClasses(BYTE bLeft, BYTE bRight) {
    if (bLeft == EXPCLASS_NONE) return bRight;
    if (bRight == EXPCLASS_NONE) return bLeft;
    if (bLeft == EXPCLASS_CONSTANT && bRight == EXPCLASS_CONSTANT) return EXPCLASS_CONSTANT;
    for (const BYTE bClass : {bLeft, bRight})
        if (bClass == EXPCLASS_AGGREGATE || bClass == EXPCLASS_MIXED) return EXPCLASS_MIXED;
    return EXPCLASS_SCALAR;
}

class CExpressionClass {
public:
    explicit CExpressionClass(CBaseBson& stBson) : m_stReader(stBson) {}

    /** The order in which classes are joined doesn't matter, so chains are walked in a loop, however long they are. */
    BYTE Expression(UINT nOffset, int nDepth) {
        BYTE bClass = EXPCLASS_NONE;
        while (nOffset != 0) {
            const st_MATHEXPBSON* const lpNode = m_stReader.Node(nOffset);
            if (!lpNode || !m_stReader.Enter(nDepth)) return CBaseExpression::CLASS_OF_FAULT;
            if (IsFunctionCode(lpNode->m_bOperator)) return JoinClasses(bClass, Function(*lpNode, nDepth));
            BYTE bFirst = lpNode->m_bExpressionType2, bNext = lpNode->m_bExpressionType1;
            UINT nFirst = lpNode->m_nExpOffset2, nNext = lpNode->m_nExpOffset1;
            if (bNext != EXP_EXPRESSION) {
                std::swap(bFirst, bNext);
                std::swap(nFirst, nNext);
            }
            bClass = JoinClasses(bClass, Operand(bFirst, nFirst, nDepth + 1));
            if (bNext != EXP_EXPRESSION) return JoinClasses(bClass, Operand(bNext, nNext, nDepth + 1));
            nOffset = nNext;
        }
        return bClass;
    }

    BYTE Operand(BYTE bKind, UINT nOffset, int nDepth) {
        if (nOffset == 0) return EXPCLASS_NONE;
        switch (bKind) {
            case EXP_ELEMENT: {
                const MATHEXPELEMENTBSON* const lpElement = m_stReader.Element(nOffset);
                if (!lpElement) return CBaseExpression::CLASS_OF_FAULT;
                return lpElement->m_bDataSource == SOURCE_FIELD ? EXPCLASS_FIELD : EXPCLASS_CONSTANT;
            }
            case EXP_EXPRESSION:
                return Expression(nOffset, nDepth);
            case EXP_SUBQUERY:
                return EXPCLASS_SUBQUERY;
            case EXP_CONSTANT:
                return EXPCLASS_CONSTANT;
            case EXP_JSON_ELEMENT:
                return EXPCLASS_JSON;
            default:
                return EXPCLASS_NONE;
        }
    }

    BYTE Function(const st_MATHEXPBSON& stNode, int nDepth) {
        if (IsAggregateCode(stNode.m_bOperator)) return EXPCLASS_AGGREGATE;
        // Its arguments lie in a block of another shape, and it is never computed here.
        if (stNode.m_bExpressionType1 == EXP_JSON_ARGUMENTS) return EXPCLASS_SCALAR;
        if (stNode.m_nExpOffset1 == 0) return EXPCLASS_CONSTANT;
        const FUNCTIONPARAMLIST* const lpList = m_stReader.ParamList(stNode.m_nExpOffset1);
        if (!lpList) return CBaseExpression::CLASS_OF_FAULT;
        for (int i = 0; i < lpList->m_bNum; ++i) {
            const FUNCTIONPARAM& stParam = *m_stReader.Param(*lpList, i);
            if (stParam.m_bExpressionType == EXP_EXPRESSION) {
                // The first one decides, and a constant one too makes a scalar. Intended.
                const BYTE bClass = Expression(stParam.m_nExpOffset, nDepth + 1);
                const bool bAggregate = bClass == EXPCLASS_AGGREGATE || bClass == EXPCLASS_MIXED;
                return bAggregate ? EXPCLASS_MIXED : EXPCLASS_SCALAR;
            }
            const MATHEXPELEMENTBSON* const lpElement = m_stReader.Element(stParam.m_nExpOffset);
            if (!lpElement || lpElement->m_bDataSource == SOURCE_FIELD) return EXPCLASS_SCALAR;
        }
        return EXPCLASS_CONSTANT;
    }

private:
    CExpressionReader m_stReader;
};

/** Looks for leaves whose value comes with the statement's run. */
class CParameterSearch {
public:
    explicit CParameterSearch(CBaseBson& stBson) : m_stReader(stBson) {}

    bool Expression(UINT nOffset, int nDepth) {
        const st_MATHEXPBSON* const lpNode = m_stReader.Node(nOffset);
        if (!lpNode || !m_stReader.Enter(nDepth)) return true;
        return Operand(lpNode->m_bExpressionType1, lpNode->m_nExpOffset1, nDepth + 1) ||
               Operand(lpNode->m_bExpressionType2, lpNode->m_nExpOffset2, nDepth + 1);
    }

private:
    bool Operand(BYTE bKind, UINT nOffset, int nDepth) {
        if (bKind == EXP_ELEMENT) return Element(nOffset);
        if (bKind == EXP_EXPRESSION) return Expression(nOffset, nDepth);
        return bKind == EXP_PARAM_LIST && nOffset != 0 && Arguments(nOffset, nDepth);
    }
    bool Element(UINT nOffset) const {
        const MATHEXPELEMENTBSON* const lpElement = m_stReader.Element(nOffset);
        return !lpElement || (lpElement->m_bDataSource != SOURCE_LITERAL && lpElement->m_bDataSource != SOURCE_FIELD);
    }
    bool Arguments(UINT nOffset, int nDepth) {
        const FUNCTIONPARAMLIST* const lpList = m_stReader.ParamList(nOffset);
        if (!lpList) return true;
        for (int i = 0; i < lpList->m_bNum; ++i) {
            const FUNCTIONPARAM& stParam = *m_stReader.Param(*lpList, i);
            if (stParam.m_bExpressionType == EXP_EXPRESSION ? Expression(stParam.m_nExpOffset, nDepth)
                                                            : Element(stParam.m_nExpOffset))
                return true;
        }
        return false;
    }

    CExpressionReader m_stReader;
};

} // namespace

BYTE CBaseExpression::GetExpressionType(CBaseBson* pBson, UINT nOffset) {
    return pBson ? CExpressionClass(*pBson).Expression(nOffset, 0) : CLASS_OF_FAULT;
}

BYTE CBaseExpression::GetOperandType(CBaseBson* pBson, unsigned char bKind, UINT nOffset) {
    return pBson ? CExpressionClass(*pBson).Operand(bKind, nOffset, 0) : CLASS_OF_FAULT;
}

BYTE CBaseExpression::GetFunctionType(CBaseBson* pBson, UINT nOffset) {
    const st_MATHEXPBSON* const lpNode = pBson ? CExpressionReader(*pBson).Node(nOffset) : nullptr;
    return lpNode ? CExpressionClass(*pBson).Function(*lpNode, 0) : CLASS_OF_FAULT;
}

bool CBaseExpression::HoldsParameter(CBaseBson* pBson, UINT nOffset) {
    return nOffset != 0 && (!pBson || CParameterSearch(*pBson).Expression(nOffset, 0));
}
