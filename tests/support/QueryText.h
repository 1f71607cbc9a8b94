#pragma once

#include <sstream>

#include "ConditionText.h"

/**
 * Queries of a plan as one line, with what is 0 or missing left out:
 *
 *     q1.1/2 [flags] a(alias)=A:1, ... from 1:T(x), 3:n.N, 2:[q2.2 ...](y) tree ((1 left 2 on (= ...)) join 3)
 *         where+join (...) connect (...) group 0 h0 order 0 h1- having (...):1 then-minus q3.1 ...
 *
 * A query has its number and level, behind a slash the kind of subquery. A field is name, alias, expression and class,
 * a hidden one has "hide" for its name. Columns are fields by their place, or "h" and the place among the hidden ones;
 * "-" stands for descending. BAD stands for fields that don't agree.
 */
class CQueryText : CPlanText {
public:
    using CPlanText::CPlanText;

    std::string Query(UINT nOffset) const {
        std::ostringstream st;
        for (const char* lpszUnion = ""; nOffset != 0;) {
            const auto& stQuery = At<QUERYEXECUTEPLANBSON>(nOffset);
            st << lpszUnion;
            Block(st, stQuery);
            if (stQuery.m_nUnionOffset == 0) break;
            static constexpr const char* UNIONS[] = {" BAD ", " then ", " then-all ", " then-intersect ",
                                                     " then-minus "};
            const auto& stUnion = At<UNIONINFO>(stQuery.m_nUnionOffset);
            lpszUnion = UNIONS[stUnion.m_bUnionType];
            nOffset = stUnion.m_nQueryPlanOffset;
        }
        return st.str();
    }

private:
    using STREAM = std::ostringstream;

    std::string Condition(UINT nOffset) const { return CConditionText(m_stPlan).Root(nOffset); }

    void Block(STREAM& st, const QUERYEXECUTEPLANBSON& stQuery) const {
        st << 'q' << int{stQuery.m_bQueryID} << '.' << int{stQuery.m_bQueryLevel};
        if (stQuery.m_bSubQueryType) st << '/' << int{stQuery.m_bSubQueryType};
        if (stQuery.m_bDistinct) st << " distinct";
        if (stQuery.m_bAggreFun) st << " aggregate";
        if (stQuery.m_bAggreMixed) st << " mixed";
        if (stQuery.m_bPageType) st << " page " << stQuery.m_nPageStartNo << '+' << stQuery.m_nPageSize;
        if (stQuery.m_nWaitTime) st << " wait " << stQuery.m_nWaitTime;
        Fields(st, stQuery);
        st << " from";
        Objects(st, stQuery);
        if (stQuery.m_nQueryPathOffset) st << " tree " << Tree(stQuery.m_nQueryPathOffset);
        const auto& stCondition = At<COMMONCONDITION>(stQuery.m_nConditionOffset);
        static constexpr const char* WHERES[] = {" where ", " where+join ", " join "};
        if (stCondition.m_nWhereOffset) st << WHERES[stCondition.m_bJoin] << Condition(stCondition.m_nWhereOffset);
        if (stQuery.m_nConditionFieldNum) st << ':' << stQuery.m_nConditionFieldNum;
        if (stCondition.m_nConnOffset) Connect(st, At<RECURSION>(stCondition.m_nConnOffset));
        if (stQuery.m_nGroupByOffset) Columns(st << " group", At<GROUPBY>(stQuery.m_nGroupByOffset));
        if (stQuery.m_nOrderByOffset) {
            const auto& stOrder = At<ORDERBY>(stQuery.m_nOrderByOffset);
            Columns(st << " order" << (stOrder.m_bSubsetWithGroupBy ? "-of-group" : ""), stOrder);
        }
        if (stCondition.m_nHavingCondOffset) {
            const auto& stHaving = At<HAVINGCONDITION>(stCondition.m_nHavingCondOffset);
            st << " having " << Condition(stHaving.m_nConditionOffset) << ':' << stHaving.m_nConditionFieldNum;
        }
    }

    void Fields(STREAM& st, const QUERYEXECUTEPLANBSON& stQuery) const {
        UINT nNum = 0;
        const EXECUTEFIELDBSON* lpField = nullptr;
        for (UINT n = stQuery.m_nExecuteFieldOffset; n != 0; n = lpField->m_nNextOffset) {
            lpField = &At<EXECUTEFIELDBSON>(n);
            st << (nNum++ ? ", " : " ");
            const auto Text = [&](UINT nText, BYTE bLen) {
                const auto szText = m_stPlan.Text(nText);
                return szText.size() == bLen ? std::string(szText) : "BAD";
            };
            st << (lpField->m_bHide ? "hide" : Text(lpField->m_nExpNameOffset, lpField->m_bNameLen));
            if (lpField->m_bTitleLen) st << '(' << Text(lpField->m_nExpTitleOffset, lpField->m_bTitleLen) << ')';
            st << '=' << CExpressionText(m_stPlan).Root(lpField->m_nExpOffset) << ':'
               << int{lpField->m_bExpressionType};
            if (lpField->m_bObjectNo) st << '@' << int{lpField->m_bObjectNo};
        }
        if (nNum != stQuery.m_nExecuteFieldNum) st << " BAD";
    }

    void Objects(STREAM& st, const QUERYEXECUTEPLANBSON& stQuery) const {
        UINT nNum = 0;
        const OBJECTBSON* lpObject = nullptr;
        for (UINT n = stQuery.m_nObjectOffset; n != 0; n = lpObject->m_nNextOffset) {
            lpObject = &At<OBJECTBSON>(n);
            st << (nNum++ ? ", " : " ") << int{lpObject->m_bObjectNo} << ':';
            if (lpObject->m_bObjectType == OBJECT_NODE) st << "node ";
            if (lpObject->m_bObjectType == OBJECT_RELATION) st << "relation ";
            if (lpObject->m_nDataBaseNameOffset) st << m_stPlan.Text(lpObject->m_nDataBaseNameOffset) << '.';
            const auto szName = m_stPlan.Text(lpObject->m_nObjectNameOffset);
            if (lpObject->m_bView)
                st << '[' << Query(lpObject->m_nSubQueryOffset) << ']' << (lpObject->m_bObjectNameLen ? "BAD" : "");
            else
                st << (szName.size() + 1 == lpObject->m_bObjectNameLen ? szName : "BAD");
            const auto szTitle = m_stPlan.Text(lpObject->m_nObjectTitleOffset);
            if (lpObject->m_bObjectTitleLen)
                st << '(' << (szTitle.size() + 1 == lpObject->m_bObjectTitleLen ? szTitle : "BAD") << ')';
        }
        if (nNum != stQuery.m_nObjectNum) st << " BAD";
    }

    std::string Tree(UINT nOffset) const {
        const auto& stNode = At<st_NODE_QUERYTREE>(nOffset);
        if (stNode.m_bType == QUERYTREE_RELATION) return std::to_string(stNode.m_stBaseRel.m_bObjectNo);
        static constexpr const char* JOINS[] = {" BAD ", " join ", " left ", " BAD ", " full "};
        const st_JOINRS& stJoin = stNode.m_stJoinRs;
        STREAM st;
        st << '(' << Tree(stJoin.m_nLChildNodeOffset) << (stNode.m_bStraight ? " straight" : "")
           << JOINS[stJoin.m_bJoinType] << Tree(stJoin.m_nRChildNodeOffset);
        if (stJoin.m_nJoinConditionOffset) st << " on " << Condition(stJoin.m_nJoinConditionOffset);
        return st.str() + ')';
    }

    void Connect(STREAM& st, const RECURSION& stConnect) const {
        st << " connect " << Condition(stConnect.m_nStartCondOffset) << " levels " << int{stConnect.m_bLevel}
           << (stConnect.m_bDrection == 1   ? " prior-left "
               : stConnect.m_bDrection == 2 ? " prior-right "
                                            : " BAD ")
           << int{stConnect.m_bDriveObjectNo} << '.' << CPlanReader::Field(stConnect.m_pDriverFieldName) << " to "
           << int{stConnect.m_bIndexObjectNo} << '.' << CPlanReader::Field(stConnect.m_pIndexFieldName);
        if (stConnect.m_nConnectCondOffset) st << " and " << Condition(stConnect.m_nConnectCondOffset);
    }

    template <typename T>
    void Columns(std::ostream& st, const T& stList) const {
        for (const COLUMNDEF& stColumn : m_stPlan.Records<COLUMNDEF>(stList.m_nColumnOffset, stList.m_bFieldNum)) {
            const bool bHidden = stColumn.m_nHideFieldOffset != 0;
            if (bHidden && At<EXECUTEFIELDBSON>(stColumn.m_nHideFieldOffset).m_bHide != 1) st << " BAD";
            st << (bHidden ? " h" : " ") << (bHidden ? int{stColumn.m_bHideFieldIndex} : int{stColumn.m_nFieldIndex})
               << (stColumn.m_bSortType == SORT_DESCENDING ? "-" : "");
        }
    }
};
