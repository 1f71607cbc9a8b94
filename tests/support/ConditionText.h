#pragma once

#include "ExpressionText.h"

/**
 * Conditions of a plan as one line, operators in front: `(and (= A:1 1d:4) !(in B:1 {1d 2d}))`. Behind each side stands
 * its class; "!" negates. A root that wraps a comparison prints as that, a node inside that does in braces; "-" is an
 * operand that a join has taken. Comparisons:
 *
 *     (=l x y)  (=r x y)   with a "(+)" on the left, on the right     (is x y) (isnot x y)
 *     (in x {1d 2d})       constants                                  (in x [A 2d])  other lists  (in x [q]) subqueries
 *     (bare x)  (prior x y)  (exists [q]:7)  false                    BAD for fields that don't agree
 */
class CConditionText : CPlanText {
public:
    using CPlanText::CPlanText;

    std::string Root(UINT nOffset) const {
        if (nOffset == 0) return "none";
        const std::string strNode = Node(nOffset);
        return strNode.front() == '{' ? strNode.substr(1, strNode.size() - 2) : strNode;
    }

private:
    std::string Node(UINT nOffset) const {
        const auto& st = At<BASECONDITIONBSON>(nOffset);
        const std::string strFirst = Operand(st.m_bConditionType1, st.m_nConditionOffset1);
        const std::string strSecond = Operand(st.m_bConditionType2, st.m_nConditionOffset2);
        if (st.m_bLogicOperator == LOGIC_NONE)
            return !st.m_bLogicNot && strSecond == "-" ? "{" + strFirst + "}" : "BAD";
        if (st.m_bLogicOperator != LOGIC_AND && st.m_bLogicOperator != LOGIC_OR) return "BAD";
        const std::string strWord = st.m_bLogicOperator == LOGIC_AND ? "(and " : "(or ";
        return (st.m_bLogicNot ? "!" : "") + strWord + strFirst + " " + strSecond + ")";
    }

    std::string Operand(BYTE bType, UINT nOffset) const {
        if (bType == CONDITION_NONE) return nOffset == 0 ? "-" : "BAD";
        return bType == CONDITION_NODE ? Node(nOffset) : bType == CONDITION_COMPARE ? Comparison(nOffset) : "BAD";
    }

    std::string Comparison(UINT nOffset) const {
        const auto& st = At<COMPAREEXPBSON>(nOffset);
        COMPAREEXPBSON stFalse{};
        stFalse.m_bOperator = COMPARE_FALSE;
        if (std::memcmp(&st, &stFalse, sizeof stFalse) == 0) return "false";
        std::string strText = (st.m_bLogicNot ? "!(" : "(") + Operator(st);
        strText += Side(st.m_bExpressionType1, st.m_nMathExpOffset1);
        strText += Side(st.m_bExpressionType2, st.m_nMathExpOffset2);
        return strText + Side(st.m_bExpressionType3, st.m_nMathExpOffset3) + ")";
    }

    std::string Side(BYTE bClass, UINT nOffset) const {
        if (nOffset == 0) return bClass == EXPCLASS_NONE ? "" : "BAD";
        if (bClass == EXPCLASS_IN) return " " + In(nOffset);
        return " " + CExpressionText(m_stPlan).Root(nOffset) + ":" + std::to_string(bClass);
    }

    std::string In(UINT nOffset) const {
        const auto& st = At<INCONDITIONBSON>(nOffset);
        if (st.m_bType == IN_SUBQUERY)
            return m_stPlan.Record<QUERYEXECUTEPLANBSON>(st.m_nExpressionOffset[0]) ? "[q]" : "BAD";
        std::string strText = st.m_bType == IN_CONSTANTS ? "{" : "[";
        for (UINT i = 0; i < st.m_nDataNum; ++i)
            strText += (i ? " " : "") + CExpressionText(m_stPlan).Root(
                                            Entry(nOffset + offsetof(INCONDITIONBSON, m_nExpressionOffset), i));
        return strText + (st.m_bType == IN_CONSTANTS ? "}" : "]");
    }

    /** With the place of a "(+)", which the sides' own marks must confirm. */
    std::string Operator(const COMPAREEXPBSON& st) const {
        const bool bTwoSides = st.m_bOperator != COMPARE_BARE && st.m_bOperator != OP_BETWEEN &&
                               st.m_bOperator != OP_IN && st.m_bOperator != OP_NOT_IN;
        const bool bLeft = IsMarked(st.m_nMathExpOffset1), bRight = bTwoSides && IsMarked(st.m_nMathExpOffset2);
        const BYTE bJoin = !bTwoSides ? 0 : bLeft ? OUTER_LEFT : bRight ? OUTER_RIGHT : OUTER_NONE;
        if (st.m_bJoinType != bJoin) return "BAD";
        // By their codes.
        static constexpr const char* WORDS[] = {
            "bare", "",   "", "",        "",        "", "", "like",  "in", "notin", "exists", "notexists",
            "",     "",   "", "",        "notlike", "", "", "",      "=",  "!=",    ">",      ">=",
            "<",    "<=", "", "between", "",        "", "", "prior", "",   "",      "is",     "isnot"};
        const std::string strWord = st.m_bOperator < std::size(WORDS) ? WORDS[st.m_bOperator] : "";
        if (strWord.empty()) return "op" + std::to_string(st.m_bOperator);
        return strWord + (bJoin == OUTER_LEFT ? "l" : bJoin == OUTER_RIGHT ? "r" : "");
    }

    bool IsMarked(UINT nOffset) const {
        const auto* const lp = m_stPlan.Record<st_MATHEXPBSON>(nOffset);
        return lp && lp->m_bAllowNull;
    }
};
