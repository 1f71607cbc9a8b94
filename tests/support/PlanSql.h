#pragma once

#include <algorithm>
#include <deque>
#include <map>
#include <tuple>
#include <vector>

#include "ExpressionText.h"

/**
 * Prints the plan of a SELECT, INSERT, UPDATE or DELETE as SQL that compiles to the same plan: from its records alone,
 * with as few brackets as priorities allow, so that compiling it again tests them. Names stand in quotes. "BAD" stands
 * for what it doesn't print: a stamp of AS OF, JSON functions, and constants that were worked out to what no text has.
 * An ON of an inner join with a query in it must be the last text of FROM: the plan doesn't tell where it stood.
 */
class CPlanSql : CPlanText {
public:
    using CPlanText::CPlanText;

    std::string Statement() {
        const auto& stHead = m_stPlan.Head();
        const UINT nCommand = stHead.m_nCommandOffset;
        if (stHead.m_nType == PLAN_INSERT) return Insert(At<INSERTEXECUTEPLANBSON>(nCommand));
        if (stHead.m_nType == PLAN_UPDATE) return Update(At<UPDATEEXECUTEPLANBSON>(nCommand));
        if (stHead.m_nType == PLAN_DELETE) {
            const auto [strFrom, strWhere] = Rows(At<DELETEEXECUTEPLANBSON>(nCommand).m_nQueryPlanOffset);
            return "delete from " + strFrom + strWhere;
        }
        static constexpr const char* LOCKS[] = {"", " for update", " for update nowait", " for update skip locked",
                                                " for update wait "};
        const std::string strText = Query(nCommand) + LOCKS[stHead.m_bExecuteParam];
        return strText + (stHead.m_bExecuteParam == FOR_UPDATE_WAIT ? std::to_string(m_nWaitTime) : "");
    }

private:
    using STRING = std::string;
    /** A text, and how closely what it consists of belongs together. */
    struct TEXT {
        STRING m_strText;
        int m_nPriority = 99;
        STRING In(int nPriority) const { return m_nPriority < nPriority ? "(" + m_strText + ")" : m_strText; }
    };
    static constexpr int OR = 2, AND = 3, NOT = 4, COMPARE = 5, UNARY = 10;
    static constexpr char ON_MARK = 1; // where an inner join may take its ON

    /** Of a list ";code:word;code:word;" the word of a code. */
    static STRING Word(std::string_view szList, int nCode) {
        const STRING strCode = ";" + std::to_string(nCode) + ":";
        const std::size_t nBegin = szList.find(strCode) + strCode.size();
        return nBegin < strCode.size() ? "BAD" : STRING(szList.substr(nBegin, szList.find(';', nBegin) - nBegin));
    }
    static STRING Quoted(std::string_view szText, char chQuote = '"') {
        STRING strText(1, chQuote);
        for (const char c : szText)
            strText.append(chQuote == '\'' && c == '\'' ? 2 : 1, c);
        return strText += chQuote;
    }
    STRING QuotedAt(UINT n, const STRING& strFront = "") const { return n ? strFront + Quoted(m_stPlan.Text(n)) : ""; }
    static void Add(STRING& strList, const STRING& strItem) { strList += (strList.empty() ? "" : ", ") + strItem; }
    template <typename T>
    std::vector<T> Chain(UINT nFirst) const {
        std::vector<T> arRecord;
        for (; nFirst != 0; nFirst = arRecord.back().m_nNextOffset)
            arRecord.push_back(At<T>(nFirst));
        return arRecord;
    }
    /** What is made of each record, with ", " between. */
    template <typename LIST, typename MAKE>
    static STRING List(const LIST& arRecord, MAKE Make) {
        STRING strList;
        for (const auto& st : arRecord)
            Add(strList, Make(st));
        return strList;
    }

    // --- expressions and conditions ----------------------------------------------------------------------------------

    STRING Expression(UINT nOffset) { return Node(nOffset).m_strText; }
    TEXT Operand(BYTE bKind, UINT nOffset) {
        if (bKind == EXP_EXPRESSION) return Node(nOffset);
        return {bKind == EXP_ELEMENT ? Element(nOffset) : bKind == EXP_SUBQUERY ? Nested(nOffset) : "BAD"};
    }
    STRING Nested(UINT nQuery) {
        static constexpr const char* KINDS[] = {"(", "(", "all (", "any ("};
        return KINDS[At<QUERYEXECUTEPLANBSON>(nQuery).m_bSubQueryType] + Query(nQuery) + ")";
    }

    TEXT Node(UINT nOffset) {
        static constexpr std::tuple<BYTE, const char*, int> OPERATORS[] = {
            {OP_ADD, " + ", 8},    {OP_SUB, " - ", 8},     {OP_MUL, " * ", 9},
            {OP_DIVIDE, " / ", 9}, {OP_MOD, " % ", 9},     {OP_DIV, " div ", 9},
            {OP_LINK, " || ", 7},  {OP_PLUS, "+ ", UNARY}, {OP_MINUS, "- ", UNARY}};
        const auto& st = At<st_MATHEXPBSON>(nOffset);
        // The word as it stood, which quotes would make a name of.
        if (st.m_bOperator == OP_NAME_OR_CALL) return {STRING(Name(st.m_nExpOffset2))};
        if (IsFunctionCode(st.m_bOperator)) return {Call(st.m_bOperator, st.m_nExpOffset1)};
        const TEXT stFirst = Operand(st.m_bExpressionType1, st.m_nExpOffset1);
        for (const auto& [bCode, lpszText, nPriority] : OPERATORS) {
            if (bCode != st.m_bOperator) continue;
            if (nPriority == UNARY) return {lpszText + stFirst.In(UNARY), UNARY};
            const TEXT stSecond = Operand(st.m_bExpressionType2, st.m_nExpOffset2);
            return {stFirst.In(nPriority) + lpszText + stSecond.In(nPriority + 1), nPriority};
        }
        return st.m_bOperator == OP_NONE ? stFirst : TEXT{"BAD"};
    }

    STRING Call(BYTE bCode, UINT nList) {
        // The logarithms, which share a code, by their sub-types.
        static constexpr std::string_view NAMES =
            ";50:now;54:to_char;58:current_date;61:abs;67:nvl;68:nvl2;70:round;71:sqrt;73:upper;80:count;81:avg;"
            "82:min;83:max;84:sum;151:greatest;152:least;154:log;155:pi;156:rand;167:trim;170:from_unixtime;"
            "173:convert;174:cast;1030:ln;1031:log2;1032:log10;";
        static constexpr std::string_view TYPES = ";0:unsigned;1:signed;5:char;12:date;240:decimal;";
        const auto& stList = At<FUNCTIONPARAMLIST>(nList);
        STRING strText;
        for (UINT i = 0; i < stList.m_bNum; ++i) {
            const auto& st = At<FUNCTIONPARAM>(Entry(nList + offsetof(FUNCTIONPARAMLIST, m_nExpOffset), i));
            if (bCode == FN_NEXTVAL || bCode == FN_CURRVAL)
                return Quoted(Leaf(st.m_nExpOffset).second) + (bCode == FN_NEXTVAL ? ".nextval" : ".currval");
            const bool bType = (bCode == FN_CAST || bCode == FN_CONVERT) && i == 1;
            const STRING strArgument = bType ? Word(TYPES, std::stoi(Plain(st.m_nExpOffset)))
                                             : Operand(st.m_bExpressionType, st.m_nExpOffset).m_strText;
            if (strArgument.empty() || strArgument == "DEFAULT") continue; // one that was left out
            strText += (strText.empty() ? "" : bCode == FN_CAST ? " as " : ", ") + strArgument;
        }
        return Word(NAMES, bCode == FN_SPECIAL_LOG ? 1000 + stList.m_bCombinedType : bCode) + "(" + strText + ")";
    }

    static std::string_view ToEnd(std::string_view szText) { return szText.substr(0, szText.find('\0')); }
    std::string_view Name(UINT nElement) const { return ToEnd(Leaf(nElement).second); }
    STRING Plain(UINT nElement) const { return CExpressionText(m_stPlan).Element(nElement); }

    STRING Element(UINT nOffset) {
        const auto [st, szData] = Leaf(nOffset);
        const std::string_view szName = ToEnd(szData);
        if (st.m_bDataSource == SOURCE_LITERAL && st.m_bDataType == VT_VARCHAR) return Text(st, szName);
        if (st.m_bDataSource == SOURCE_LITERAL || st.m_bDataSource == SOURCE_PARAM) return Plain(nOffset);
        if (st.m_bDataSource == SOURCE_NEW || st.m_bDataSource == SOURCE_OLD)
            return (st.m_bDataSource == SOURCE_NEW ? "new." : "old.") + Quoted(szName);
        const STRING strField = Field(st.m_bObjectNo, szName);
        if (st.m_bJsonField == JSON_FIELD_NONE) return strField;
        return strField + (st.m_bJsonField == JSON_FIELD_ARROW ? "->" : "->>") +
               Quoted(ToEnd(szData.substr(szName.size() + 1)), '\'');
    }
    /** All fields, if the name is empty. */
    STRING Field(BYTE bObjectNo, std::string_view szName) {
        return (bObjectNo ? m_mapObject[bObjectNo].first + "." : "") + (szName.empty() ? "*" : Quoted(szName));
    }

    STRING Text(const MATHEXPELEMENTBSON& st, std::string_view szText) {
        static constexpr std::string_view UNITS = ";3:second;5:hour;6:day;10:year;16:hour_minute;20:day_hour;";
        if (szText.size() > 3 && szText[0] == 1 && !st.m_bProcessWildcard) {
            const STRING strValue(szText.substr(3)), strUnit = " " + Word(UNITS, szText[1]);
            return "interval " + (szText[2] == VT_VARCHAR ? Quoted(strValue, '\'') : strValue) + strUnit;
        }
        if (szText.find_first_of("\1\2") == szText.npos) return szText.empty() ? "" : Quoted(szText, '\'');
        STRING strPattern;
        for (const char c : szText)
            (strPattern += c == '%' || c == '_' || c == '!' ? "!" : "") += c == 1 ? '%' : c == 2 ? '_' : c;
        return Quoted(strPattern, '\'') + " escape '!'";
    }

    STRING Condition(UINT nRoot) { return Condition(CONDITION_NODE, nRoot).m_strText; }
    STRING Bracketed(const char* lpszFront, UINT n) { return n ? lpszFront + ("(" + Condition(n)) + ")" : ""; }

    TEXT Condition(BYTE bType, UINT nOffset) {
        if (bType == CONDITION_NONE && !m_queMoved.empty()) { // where a join has taken one
            nOffset = m_queMoved.front();
            m_queMoved.pop_front();
        }
        if (bType != CONDITION_NODE) {
            const auto& st = At<COMPAREEXPBSON>(nOffset);
            return st.m_bLogicNot ? TEXT{"not (" + Compared(st) + ")", NOT} : TEXT{Compared(st), COMPARE};
        }
        const auto& st = At<BASECONDITIONBSON>(nOffset);
        TEXT stText = Condition(st.m_bConditionType1, st.m_nConditionOffset1);
        if (st.m_bLogicOperator == LOGIC_NONE) return stText;
        const int nPriority = st.m_bLogicOperator == LOGIC_AND ? AND : OR;
        const TEXT stSecond = Condition(st.m_bConditionType2, st.m_nConditionOffset2);
        stText = {stText.In(nPriority) + (nPriority == AND ? " and " : " or ") + stSecond.In(nPriority + 1), nPriority};
        return st.m_bLogicNot ? TEXT{"not (" + stText.m_strText + ")", NOT} : stText;
    }

    STRING Compared(const COMPAREEXPBSON& st) {
        static constexpr std::string_view OPERATORS =
            ";7:like;8:in;9:not in;10:exists;11:not exists;16:not like;20:=;21:<>;22:>;23:>=;24:<;25:<=;"
            "27:between;34:is;35:is not;";
        if (st.m_bOperator == COMPARE_FALSE) return "1 = 2";
        const STRING strFirst = Side(st.m_nMathExpOffset1);
        if (st.m_bOperator == COMPARE_PRIOR_EQUAL) return Side(st.m_nMathExpOffset2) + " = prior " + strFirst;
        if (st.m_bOperator == COMPARE_BARE) return strFirst;
        const STRING strText = strFirst + (strFirst.empty() ? "" : " ") + Word(OPERATORS, st.m_bOperator) + " ";
        if (st.m_bOperator == OP_IN || st.m_bOperator == OP_NOT_IN) return strText + In(st.m_nMathExpOffset2);
        if (st.m_bOperator == OP_IS || st.m_bOperator == OP_IS_NOT) {
            const STRING strWord(Name(At<st_MATHEXPBSON>(st.m_nMathExpOffset2).m_nExpOffset1));
            return strText + (strWord.empty() ? "null" : strWord);
        }
        STRING strSecond = Side(st.m_nMathExpOffset2);
        // A text right behind LIKE is a pattern.
        const bool bLike = st.m_bOperator == OP_LIKE || st.m_bOperator == OP_NOT_LIKE;
        if (bLike && strSecond[0] == '\'' && !strSecond.ends_with(" escape '!'")) strSecond = "(" + strSecond + ")";
        return strText + strSecond + (st.m_nMathExpOffset3 ? " and " + Side(st.m_nMathExpOffset3) : "");
    }
    STRING Side(UINT n) { return n ? Expression(n) + (At<st_MATHEXPBSON>(n).m_bAllowNull ? "(+)" : "") : ""; }
    STRING In(UINT nOffset) {
        const auto& st = At<INCONDITIONBSON>(nOffset);
        if (st.m_bType == IN_SUBQUERY) return "(" + Query(st.m_nExpressionOffset[0]) + ")";
        STRING strList;
        for (UINT i = 0; i < st.m_nDataNum; ++i)
            Add(strList, Expression(Entry(nOffset + offsetof(INCONDITIONBSON, m_nExpressionOffset), i)));
        return "(" + strList + ")";
    }

    /** The two sides of an AND of conditions that were compiled apart, or look so; 0 and the condition for another. */
    std::pair<UINT, UINT> Split(UINT nNode) const {
        const auto& st = At<BASECONDITIONBSON>(nNode);
        const bool bPair = st.m_bLogicOperator == LOGIC_AND && !st.m_bLogicNot &&
                           st.m_bConditionType1 == CONDITION_NODE && st.m_bConditionType2 == CONDITION_NODE;
        return {bPair ? st.m_nConditionOffset1 : 0, bPair ? st.m_nConditionOffset2 : nNode};
    }
    /** All comparisons of a condition, if there is one, from left to right. */
    template <typename USE>
    void EachComparison(BYTE bType, UINT nOffset, USE Use) const {
        if (bType == CONDITION_COMPARE) Use(nOffset);
        if (bType != CONDITION_NODE || nOffset == 0) return;
        const auto& st = At<BASECONDITIONBSON>(nOffset);
        EachComparison(st.m_bConditionType1, st.m_nConditionOffset1, Use);
        EachComparison(st.m_bConditionType2, st.m_nConditionOffset2, Use);
    }

    /** A part of the join tree, with the numbers of its first and its last object. */
    struct TREE {
        STRING m_strText;
        BYTE m_bFirst, m_bLast;
        bool m_bLoose; // between ","
        STRING Operand() const { return m_bFirst == m_bLast ? m_strText : "(" + m_strText + ")"; }
    };

    std::deque<TREE> Objects(UINT nOffset) {
        static constexpr const char* KINDS[] = {"", "", "node ", "relation ", ""};
        std::deque<TREE> queObject;
        for (const OBJECTBSON& st : Chain<OBJECTBSON>(nOffset)) {
            const STRING strName = QuotedAt(st.m_nDataBaseNameOffset) + (st.m_nDataBaseNameOffset ? "." : "") +
                                   (st.m_bView ? Nested(st.m_nSubQueryOffset) : QuotedAt(st.m_nObjectNameOffset));
            const STRING strAs = QuotedAt(st.m_nObjectTitleOffset, " as ");
            const STRING strText = KINDS[st.m_bView ? 0 : st.m_bObjectType] + strName + strAs;
            m_mapObject[st.m_bObjectNo] = {strAs.empty() ? strName : strAs.substr(4), strText};
            queObject.push_back({strText, st.m_bObjectNo, st.m_bObjectNo, true});
        }
        return queObject;
    }

    TREE Tree(UINT nOffset) {
        static constexpr const char* JOINS[] = {" BAD ", " join ", " left join ", " BAD ", " full join "};
        const auto& st = At<st_NODE_QUERYTREE>(nOffset);
        const BYTE bNo = st.m_stBaseRel.m_bObjectNo, bType = st.m_stJoinRs.m_bJoinType;
        if (st.m_bType == QUERYTREE_RELATION) return {m_mapObject[bNo].second, bNo, bNo, false};
        TREE stLeft = Tree(st.m_stJoinRs.m_nLChildNodeOffset), stRight = Tree(st.m_stJoinRs.m_nRChildNodeOffset);
        const bool bTurned = bType == JOIN_LEFT && stRight.m_bFirst < stLeft.m_bFirst;
        if (bTurned) std::swap(stLeft, stRight);
        stLeft.m_strText += bTurned ? " right join " : st.m_bStraight ? " straight_join " : JOINS[bType];
        stLeft.m_strText += stRight.Operand() + Bracketed(" on ", st.m_stJoinRs.m_nJoinConditionOffset);
        return {stLeft.m_strText + STRING(bType == JOIN_INNER, ON_MARK), stLeft.m_bFirst, stRight.m_bLast, false};
    }

    /** What the tree's top joins without more ado; objects that no join named come last and go back to their places. */
    STRING From(std::deque<TREE> queItem, UINT nTree) {
        if (nTree) queItem.clear();
        while (nTree) {
            const auto& st = At<st_NODE_QUERYTREE>(nTree);
            const auto& stJoin = st.m_stJoinRs;
            const bool bPlain = st.m_bType == QUERYTREE_JOIN && !st.m_bStraight && stJoin.m_bJoinType == JOIN_INNER;
            queItem.push_front(Tree(bPlain ? stJoin.m_nRChildNodeOffset : nTree));
            nTree = bPlain ? stJoin.m_nLChildNodeOffset : 0;
        }
        TREE stLast = queItem.front();
        for (TREE& stItem : queItem) {
            stItem.m_bLoose = stLast.m_bLoose || stItem.m_bFirst < stLast.m_bFirst;
            stLast = stItem;
        }
        std::sort(queItem.begin(), queItem.end(), [](const TREE& a, const TREE& b) { return a.m_bFirst < b.m_bFirst; });
        STRING strText = queItem.size() == 1 ? queItem[0].m_strText : queItem[0].Operand();
        for (std::size_t i = 1; i < queItem.size(); ++i) {
            const bool bJoin = !queItem[i].m_bLoose && !queItem[i - 1].m_bLoose;
            strText += (bJoin ? " join " : ", ") + queItem[i].Operand() + STRING(bJoin, ON_MARK);
        }
        return strText;
    }

    /** FROM and WHERE, which share what inner joins and "(+)" have put into one condition. */
    std::pair<STRING, STRING> Rows(UINT nQuery) {
        const auto& stQuery = At<QUERYEXECUTEPLANBSON>(nQuery);
        const auto& stCondition = At<COMMONCONDITION>(stQuery.m_nConditionOffset);
        const std::deque<TREE> queObject = Objects(stQuery.m_nObjectOffset);
        std::deque<UINT> queOuter;
        m_queMoved.swap(queOuter); // a query around this one has its own
        UINT nWhere = stCondition.m_nWhereOffset, nOuter = 0;
        if (stCondition.m_bJoin == WHERE_JOIN) std::swap(nWhere, nOuter);
        if (stCondition.m_bJoin == WHERE_AND_JOIN) std::tie(nOuter, nWhere) = Split(nWhere);
        const auto Move = [&](UINT nCompare) {
            if (At<COMPAREEXPBSON>(nCompare).m_bJoinType >= OUTER_RIGHT) m_queMoved.push_back(nCompare);
        };
        EachComparison(CONDITION_NODE, nOuter, Move);
        STRING strFrom = From(queObject, m_queMoved.empty() ? stQuery.m_nQueryPathOffset : 0);
        PlaceInner(strFrom, nWhere, stQuery.m_nConditionFieldNum);
        const STRING strWhere = nWhere ? " where " + Condition(nWhere) : "";
        m_queMoved.swap(queOuter);
        return {strFrom, strWhere};
    }

    /**
     * Puts what inner joins have added to WHERE, whose own sides are counted if they aren't constant, back to where a
     * join may take its ON. An AND that might be one of two conditions is taken for that, which makes the same plan.
     */
    void PlaceInner(STRING& strFrom, UINT& nWhere, UINT nNum) {
        UINT nInner = 0, nSides = 0;
        const auto Count = [&](UINT nCompare) {
            const auto& st = At<COMPAREEXPBSON>(nCompare);
            for (const BYTE bClass : {st.m_bExpressionType1, st.m_bExpressionType2, st.m_bExpressionType3})
                nSides += bClass != EXPCLASS_NONE && bClass != EXPCLASS_CONSTANT && bClass != EXPCLASS_IN;
        };
        if (nWhere && strFrom.find(ON_MARK) != strFrom.npos) {
            const auto [nLeft, nRight] = Split(nWhere);
            EachComparison(CONDITION_NODE, nLeft, Count);
            const bool bPair = nLeft && nSides == nNum;
            EachComparison(CONDITION_NODE, nRight, Count);
            nInner = bPair ? nRight : nSides == nNum ? 0 : nWhere;
            nWhere = bPair ? nLeft : nWhere - nInner;
        }
        for (std::size_t n; (n = strFrom.rfind(ON_MARK)) != strFrom.npos;) {
            const bool bFirst = nInner == 0 || strFrom.find(ON_MARK) == n;
            const auto [nLeft, nRight] = bFirst ? std::pair(0U, nInner) : Split(nInner);
            strFrom.replace(n, 1, Bracketed(" on ", nRight));
            nInner = nLeft;
        }
    }

    // --- queries and statements --------------------------------------------------------------------------------------

    STRING Query(UINT nOffset) {
        static constexpr const char* UNIONS[] = {" BAD ", " union ", " union all ", " intersect ", " minus "};
        STRING strText = Block(nOffset);
        if (const UINT n = At<QUERYEXECUTEPLANBSON>(nOffset).m_nUnionOffset)
            strText += UNIONS[At<UNIONINFO>(n).m_bUnionType] + Query(At<UNIONINFO>(n).m_nQueryPlanOffset);
        return strText;
    }

    STRING Block(UINT nOffset) {
        const auto& stQuery = At<QUERYEXECUTEPLANBSON>(nOffset);
        const auto& stCondition = At<COMMONCONDITION>(stQuery.m_nConditionOffset);
        const auto [strFrom, strWhere] = Rows(nOffset);
        STRING strRows = strFrom + Connect(stCondition.m_nConnOffset) + strWhere;
        std::vector<EXECUTEFIELDBSON> arField = Chain<EXECUTEFIELDBSON>(stQuery.m_nExecuteFieldOffset);
        std::erase_if(arField, [](const EXECUTEFIELDBSON& st) { return st.m_bHide; });
        const STRING strFields = List(arField, [&](const EXECUTEFIELDBSON& st) {
            return Expression(st.m_nExpOffset) + QuotedAt(st.m_nExpTitleOffset, " as ");
        });
        // A group's column is the field of its words; a hidden one in brackets is no field's.
        const auto Column = [&](const COLUMNDEF& st) {
            STRING strColumn = std::to_string(st.m_nFieldIndex + 1);
            if (!st.m_bSortType) strColumn = Expression(arField.at(st.m_nFieldIndex).m_nExpOffset);
            if (const UINT n = st.m_nHideFieldOffset)
                strColumn = "(" + Expression(At<EXECUTEFIELDBSON>(n).m_nExpOffset) + ")";
            return strColumn + (st.m_bSortType == SORT_DESCENDING ? " desc" : "");
        };
        const auto Columns = [&](const auto& st) {
            return List(m_stPlan.Records<COLUMNDEF>(st.m_nColumnOffset, st.m_bFieldNum), Column);
        };
        if (const UINT n = stQuery.m_nGroupByOffset) strRows += " group by " + Columns(At<GROUPBY>(n));
        if (const UINT n = stCondition.m_nHavingCondOffset)
            strRows += Bracketed(" having ", At<HAVINGCONDITION>(n).m_nConditionOffset);
        if (const UINT n = stQuery.m_nOrderByOffset) strRows += " order by " + Columns(At<ORDERBY>(n));
        if (stQuery.m_bPageType)
            strRows += " paging pagesize = " + std::to_string(stQuery.m_nPageSize) +
                       ", pageno = " + std::to_string(stQuery.m_nPageNo);
        m_nWaitTime = stQuery.m_nWaitTime;
        return STRING("select ") + (stQuery.m_bDistinct ? "distinct " : "") + strFields + " from " + strRows;
    }

    STRING Connect(UINT nOffset) {
        if (nOffset == 0) return "";
        const auto& st = At<RECURSION>(nOffset);
        const STRING strDrive = "prior " + Field(st.m_bDriveObjectNo, CPlanReader::Field(st.m_pDriverFieldName));
        const STRING strIndex = Field(st.m_bIndexObjectNo, CPlanReader::Field(st.m_pIndexFieldName));
        STRING strText = " start with " + (st.m_nStartCondOffset ? Condition(st.m_nStartCondOffset) : "1 = 1");
        if (st.m_bLevel != 255) strText += " levels = " + std::to_string(st.m_bLevel);
        strText += " connect by " + (st.m_bDrection == 1 ? strDrive + " = " + strIndex : strIndex + " = " + strDrive);
        return strText + Bracketed(" and ", st.m_nConnectCondOffset);
    }

    STRING Insert(const INSERTEXECUTEPLANBSON& stInsert) {
        const auto& stObject = stInsert.m_stExecuteObject;
        const auto FieldName = [&](const EXECUTEFIELDBSON& st) { return QuotedAt(st.m_nExpNameOffset); };
        const STRING strNames = List(Chain<EXECUTEFIELDBSON>(stInsert.m_nExecuteFieldOffset), FieldName);
        const STRING strInto = "insert into " + Objects(stObject.m_nObjectOffset).front().m_strText +
                               (stInsert.m_bAllField ? " " : " (" + strNames + ") ");
        if (stInsert.m_bSubQuery) return strInto + Nested(stInsert.m_nQueryPlanOffset);
        const auto Value = [&](const RSFIELDBSON& st) { return Expression(st.m_nFieldDataOffset); };
        const auto Row = [&](const RECORDHEAD& st) {
            return "(" + List(m_stPlan.Records<RSFIELDBSON>(st.m_nRsFieldOffset, st.m_bFieldNum), Value) + ")";
        };
        const auto& stRows = stObject.m_stExecuteRecord;
        return strInto + "values " +
               List(m_stPlan.Records<RECORDHEAD>(stRows.m_nRecordAddrID, stRows.m_nRecordNum), Row);
    }

    STRING Update(const UPDATEEXECUTEPLANBSON& stUpdate) {
        const auto [strFrom, strWhere] = Rows(stUpdate.m_nQueryPlanOffset);
        const auto Item = [&](const EXECUTEFIELDBSON& st) {
            return Field(st.m_bObjectNo, m_stPlan.Text(st.m_nExpNameOffset)) + " = " + Expression(st.m_nExpOffset);
        };
        const STRING strItems = List(Chain<EXECUTEFIELDBSON>(stUpdate.m_nExecuteFieldOffset), Item);
        return "update " + strFrom + " set " + strItems + strWhere;
    }

    std::map<int, std::pair<STRING, STRING>> m_mapObject; // the qualifier of each object's fields, and its text in FROM
    std::deque<UINT> m_queMoved;                          // comparisons that left a WHERE
    int m_nWaitTime = 0;                                  // of the last query
};
