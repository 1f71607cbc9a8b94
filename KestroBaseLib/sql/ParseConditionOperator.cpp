// The operators of a condition: what each closes on its left when it comes, and on its right when it goes. Each side of
// a comparison becomes a tree at once, so the queue of arithmetic never holds more than one side.

#include <string_view>
#include <utility>

#include "CommonDataDef.h"
#include "ParseConditionManager.h"
#include "PlanOperators.h"

int CParseConditionManager::OperatorPush(const stu_MATHOPERATOR& stOperator, int& bOuterMark) {
    const BYTE bCode = stOperator.m_bMathOp;
    if (stOperator.m_bType != OPTYPE_COMPARE) {
        // The AND of BETWEEN parts the bounds and is no logic.
        if (m_bBetween && bCode == OP_AND) return CloseLowerBound(bOuterMark);
        if (stOperator.m_bType == OPTYPE_LOGIC && !m_queMathQueue.empty())
            if (const int nCode = CreateConditionByExpression(bOuterMark)) return nCode;
    } else {
        if (m_bCompareOperator) return ERR_SELECT_CONDITION;
        m_bCompareOperator = 1;
        const bool bExists = bCode == OP_EXISTS || bCode == OP_NOT_EXISTS;
        if (bExists && !m_queMathQueue.empty()) return ERR_SELECT_CONDITION;
        UINT nSide = 0;
        if (!bExists)
            if (const int nCode = CloseMarkedSide(nSide, bOuterMark)) return nCode;
        if (bCode == OP_BETWEEN) m_bBetween = 1;
        if (const int nCode = PushEntry(m_queCompareQueue, nSide)) return nCode;
    }
    m_bExpression = 1;
    return PushOperator(bCode);
}

int CParseConditionManager::OperatorPop(int& bOuterMark) {
    const stu_MATHOPERATOR stOperator = *TopOperator();
    if (stOperator.m_bType == OPTYPE_MATH || stOperator.m_bType == OPTYPE_FUNCTION) return PopOperator();
    m_skOperatorStack.pop();
    if (stOperator.m_bType == OPTYPE_COMPARE) return CloseComparison(stOperator.m_bMathOp, bOuterMark);
    if (!m_queMathQueue.empty())
        if (const int nCode = CreateConditionByExpression(bOuterMark)) return nCode;
    return PushLogic(stOperator.m_bMathOp);
}

int CParseConditionManager::OperatorsPop(BYTE bPriority, int& bOuterMark) {
    while (const stu_MATHOPERATOR* const lpTop = TopOperator()) {
        if (lpTop->m_bMathOp == OP_BRACKET || lpTop->m_bPriority < bPriority) break;
        if (const int nCode = OperatorPop(bOuterMark)) return nCode;
    }
    return ERR_OK;
}

/** The AND of a BETWEEN stands in no bracket of its own. */
int CParseConditionManager::PopToBetween(int& bOuterMark) {
    while (const stu_MATHOPERATOR* const lpTop = TopOperator()) {
        if (lpTop->m_bMathOp == OP_BETWEEN) return ERR_OK;
        if (lpTop->m_bMathOp == OP_BRACKET) break;
        if (const int nCode = OperatorPop(bOuterMark)) return nCode;
    }
    return ERR_SELECT_CONDITION;
}

// --- sides -----------------------------------------------------------------------------------------------------------

int CParseConditionManager::CloseSide(UINT& nOffset) {
    if (const int nCode = CreateMathExpression()) return nCode;
    nOffset = m_nExpressionOffset;
    return CheckAgrreMixedExpression(nOffset);
}

/** A side of a comparison of two, or the left one of any. */
int CParseConditionManager::CloseMarkedSide(UINT& nOffset, int& bOuterMark) {
    if (const int nCode = CloseSide(nOffset)) return nCode;
    Record<st_MATHEXPBSON>(nOffset).m_bAllowNull = static_cast<BYTE>(bOuterMark);
    bOuterMark = 0;
    return ERR_OK;
}

/** Anything else, where a "(+)" has no meaning. */
int CParseConditionManager::CloseUnmarkedSide(UINT& nOffset, int bOuterMark) {
    return bOuterMark ? ERR_SELECT_CONDITION : CloseSide(nOffset);
}

int CParseConditionManager::CloseLowerBound(int bOuterMark) {
    m_bBetween = 0;
    m_bAnd = 1;
    UINT nSide = 0;
    if (const int nCode = CloseUnmarkedSide(nSide, bOuterMark)) return nCode;
    return PushEntry(m_queCompareQueue, nSide);
}

/** The sides that wait, if there are `nNum`; else false. */
bool CParseConditionManager::TakeSides(UINT* arSide, int nNum) {
    if (m_queCompareQueue.size() != nNum) return false;
    m_queCompareQueue.copy(arSide);
    m_queCompareQueue.free();
    return true;
}

BYTE CParseConditionManager::ClassOfSide(UINT nOffset) {
    const BYTE bClass = ClassOfTree(*m_pBson, nOffset);
    // EXISTS has no left side.
    if (nOffset != 0 && bClass != EXPCLASS_CONSTANT) ++m_nVarMathExpressionNum;
    return bClass;
}

int CParseConditionManager::PushLogic(BYTE bLogic) {
    stu_CONDITIONBSION_MIXQUEUENODE stNode{};
    stNode.m_bOperator = 1;
    stNode.m_bLogicOP = bLogic;
    return PushScratch(m_queConditionQueue, stNode);
}

int CParseConditionManager::PushComparison(UINT nOffset) {
    stu_CONDITIONBSION_MIXQUEUENODE stNode{};
    stNode.m_nCompareExpOffset = nOffset;
    return PushScratch(m_queConditionQueue, stNode);
}

// --- comparisons -----------------------------------------------------------------------------------------------------

int CParseConditionManager::CreateConditionByExpression(int bOuterMark) {
    UINT nSide = 0, nOffset = 0;
    if (const int nCode = CloseUnmarkedSide(nSide, bOuterMark)) return nCode;
    COMPAREEXPBSON* lpCompare = nullptr;
    if (const int nCode = m_pBson->AllocFromBsonBuffer(lpCompare, nOffset)) return nCode;
    lpCompare->m_bOperator = COMPARE_BARE;
    lpCompare->m_nMathExpOffset1 = nSide;
    lpCompare->m_bExpressionType1 = ClassOfSide(nSide);
    return PushComparison(nOffset);
}

int CParseConditionManager::CloseComparison(BYTE bCode, int& bOuterMark) {
    m_bCompareOperator = 0;
    COMPAREEXPBSON* lpCompare = nullptr;
    UINT nOffset = 0;
    if (const int nCode = m_pBson->AllocFromBsonBuffer(lpCompare, nOffset)) return nCode;
    lpCompare->m_bOperator = bCode;
    int nCode = ERR_OK;
    if (bCode == OP_BETWEEN)
        nCode = CloseBetween(*lpCompare, bOuterMark);
    else if (bCode == OP_IN || bCode == OP_NOT_IN)
        nCode = CloseIn(*lpCompare);
    else
        nCode = CloseTwoSides(*lpCompare, bOuterMark);
    return nCode == ERR_OK ? PushComparison(nOffset) : nCode;
}

int CParseConditionManager::CloseBetween(COMPAREEXPBSON& stCompare, int bOuterMark) {
    m_bBetween = 0;
    UINT arSide[3] = {};
    if (!m_bAnd || !TakeSides(arSide, 2)) return ERR_SELECT_CONDITION;
    m_bAnd = 0;
    if (const int nCode = CloseUnmarkedSide(arSide[2], bOuterMark)) return nCode;
    stCompare.m_nMathExpOffset1 = arSide[0];
    stCompare.m_nMathExpOffset2 = arSide[1];
    stCompare.m_nMathExpOffset3 = arSide[2];
    stCompare.m_bExpressionType1 = ClassOfSide(arSide[0]);
    stCompare.m_bExpressionType2 = ClassOfSide(arSide[1]);
    stCompare.m_bExpressionType3 = ClassOfSide(arSide[2]);
    return ERR_OK;
}

int CParseConditionManager::CloseIn(COMPAREEXPBSON& stCompare) {
    UINT arSide[2] = {};
    if (!TakeSides(arSide, 2)) return ERR_SELECT_CONDITION;
    stCompare.m_nMathExpOffset1 = arSide[0];
    stCompare.m_nMathExpOffset2 = arSide[1];
    stCompare.m_bExpressionType1 = ClassOfSide(arSide[0]);
    stCompare.m_bExpressionType2 = EXPCLASS_IN;
    return ERR_OK;
}

int CParseConditionManager::CloseTwoSides(COMPAREEXPBSON& stCompare, int& bOuterMark) {
    UINT nLeft = 0, nRight = 0;
    if (!TakeSides(&nLeft, 1)) return ERR_SELECT_CONDITION;
    if (const int nCode = CloseMarkedSide(nRight, bOuterMark)) return nCode;
    stCompare.m_nMathExpOffset1 = nLeft;
    stCompare.m_nMathExpOffset2 = nRight;
    stCompare.m_bExpressionType1 = ClassOfSide(nLeft);
    stCompare.m_bExpressionType2 = ClassOfSide(nRight);
    const bool bLeftMark = nLeft != 0 && Record<st_MATHEXPBSON>(nLeft).m_bAllowNull;
    const bool bRightMark = Record<st_MATHEXPBSON>(nRight).m_bAllowNull;
    if (bLeftMark && bRightMark) return ERR_NOT_DEVELOPED;
    stCompare.m_bJoinType = bLeftMark ? OUTER_LEFT : bRightMark ? OUTER_RIGHT : OUTER_NONE;
    const bool bPrior = stCompare.m_bOperator == OP_PRIOR_LEFT_EQUAL || stCompare.m_bOperator == OP_PRIOR_RIGHT_EQUAL;
    return bPrior ? SetPrior(stCompare) : ERR_OK;
}

namespace {

/** The name of a field's element; without bytes for anything else. */
std::string_view FieldName(const MATHEXPELEMENTBSON& stElement) {
    if (stElement.m_bDataSource != SOURCE_FIELD) return {};
    const std::string_view szName(stElement.m_bDataBuffer, static_cast<std::size_t>(stElement.m_nDataLen));
    return szName.substr(0, szName.find('\0'));
}

bool IsSameName(std::string_view szFirst, std::string_view szSecond) {
    return szFirst.size() == szSecond.size() &&
           KestroCompareNoCase(szFirst.data(), szSecond.data(), static_cast<int>(szFirst.size())) == 0;
}

} // namespace

/** A step of CONNECT BY leads from one column to another of the same row set; the PRIOR side comes first. */
int CParseConditionManager::SetPrior(COMPAREEXPBSON& stCompare) const {
    std::string_view arName[2];
    const UINT arSide[] = {stCompare.m_nMathExpOffset1, stCompare.m_nMathExpOffset2};
    for (int i = 0; i < 2; ++i) {
        const auto& stSide = Record<st_MATHEXPBSON>(arSide[i]);
        if (stSide.m_bOperator != OP_NONE || stSide.m_bExpressionType1 != EXP_ELEMENT) return ERR_SELECT_CONDITION;
        arName[i] = FieldName(Record<MATHEXPELEMENTBSON>(stSide.m_nExpOffset1));
    }
    if (!arName[0].empty() && IsSameName(arName[0], arName[1])) return ERR_SELECT_CONDITION;
    if (stCompare.m_bOperator == OP_PRIOR_RIGHT_EQUAL) {
        stCompare.m_nMathExpOffset1 = arSide[1];
        stCompare.m_nMathExpOffset2 = arSide[0];
        std::swap(stCompare.m_bExpressionType1, stCompare.m_bExpressionType2);
    }
    stCompare.m_bOperator = COMPARE_PRIOR_EQUAL;
    return ERR_OK;
}
