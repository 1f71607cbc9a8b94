#pragma once

#include <algorithm>
#include <deque>
#include <map>
#include <vector>

#include "ExpressionText.h"

/**
 * Prints the plan of a SELECT, INSERT, UPDATE or DELETE as SQL that compiles to the same plan: from its records alone,
 * with as few brackets as priorities allow, so that compiling it again tests them. Names stand in quotes. "BAD" stands
 * for what it doesn't print: a stamp of AS OF, JSON functions, and constants that were worked out to what no text has.
 * Behind an inner join whose ON has a query no object may follow: the plan doesn't tell at which join an ON stood.
 */
class CPlanSql : CPlanText {
public:
    using CPlanText::CPlanText;

    std::string Statement() {
        const auto& stHead = m_stPlan.Head();
        const UINT nCommand = stHead.m_nCommandOffset;
        if (stHead.m_nType == PLAN_INSERT) return Insert(At<INSERTEXECUTEPLANBSON>(nCommand));
        if (stHead.m_nType == PLAN_UPDATE) return Update(At<UPDATEEXECUTEPLANBSON>(nCommand));
        if (stHead.m_nType == PLAN_DELETE)
            return "delete from " + Rows(At<DELETEEXECUTEPLANBSON>(nCommand).m_nQueryPlanOffset, [] { return ""; });
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

    /** Of a list " code:word code:word " the word of a code, "-" as a blank. */
    static STRING Word(std::string_view szList, int nCode) {
        const STRING strCode = " " + std::to_string(nCode) + ":";
        const std::size_t nBegin = szList.find(strCode) + strCode.size();
        if (nBegin < strCode.size()) return "BAD";
        STRING strWord(szList.substr(nBegin, szList.find(' ', nBegin) - nBegin));
        std::replace(strWord.begin(), strWord.end(), '-', ' ');
        return strWord;
    }
    static STRING Quoted(std::string_view szText, char chQuote = '"') {
        STRING strText(1, chQuote);
        for (const char c : szText)
            strText.append(chQuote == '\'' && c == '\'' ? 2 : 1, c);
        return strText += chQuote;
    }
    STRING QuotedAt(UINT nOffset, const char* lpszFront = "", const char* lpszBehind = "") const {
        return nOffset ? lpszFront + Quoted(m_stPlan.Text(nOffset)) + lpszBehind : "";
    }
    static void Add(STRING& strList, const STRING& strItem) { strList += (strList.empty() ? "" : ", ") + strItem; }

    /** All records of a chain. */
    template <typename T, typename USE>
    void Each(UINT nFirst, USE Use) const {
        for (; nFirst != 0; nFirst = At<T>(nFirst).m_nNextOffset)
            Use(At<T>(nFirst));
    }

    // --- expressions -------------------------------------------------------------------------------------------------

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
        struct OPERATOR {
            BYTE m_bCode;
            const char* m_lpszText;
            int m_nPriority;
        };
        static constexpr OPERATOR OPERATORS[] = {
            {OP_ADD, " + ", 8},    {OP_SUB, " - ", 8},     {OP_MUL, " * ", 9},
            {OP_DIVIDE, " / ", 9}, {OP_MOD, " % ", 9},     {OP_DIV, " div ", 9},
            {OP_LINK, " || ", 7},  {OP_PLUS, "+ ", UNARY}, {OP_MINUS, "- ", UNARY}};
        const auto& st = At<st_MATHEXPBSON>(nOffset);
        // The word as it stood, which quotes would make a name of.
        if (st.m_bOperator == OP_NAME_OR_CALL) return {STRING(Name(st.m_nExpOffset2))};
        if (IsFunctionCode(st.m_bOperator)) return {Call(st.m_bOperator, st.m_nExpOffset1)};
        const TEXT stFirst = Operand(st.m_bExpressionType1, st.m_nExpOffset1);
        for (const auto& [bCode, lpszText, nPriority] : OPERATORS)
            if (bCode == st.m_bOperator && nPriority == UNARY)
                return {lpszText + stFirst.In(UNARY), UNARY};
            else if (bCode == st.m_bOperator)
                return {stFirst.In(nPriority) + lpszText +
                            Operand(st.m_bExpressionType2, st.m_nExpOffset2).In(nPriority + 1),
                        nPriority};
        return st.m_bOperator == OP_NONE ? stFirst : TEXT{"BAD"};
    }

    STRING Call(BYTE bCode, UINT nList) {
        // The logarithms, which share a code, by their sub-types.
        static constexpr std::string_view NAMES =
            " 50:now 54:to_char 55:to_date 56:checkchild 58:current_date 59:dbtimezone 60:user 61:abs 62:ceil 63:floor "
            "64:lower 65:mod 66:nullif 67:nvl 68:nvl2 69:power 70:round 71:sqrt 72:trunc 73:upper 80:count 81:avg "
            "82:min 83:max 84:sum 86:bit_and 87:bit_or 88:bit_xor 89:json_arrayagg 90:json_objectagg 91:startnodeid "
            "92:endnodeid 150:exp 151:greatest 152:least 154:log 155:pi 156:rand 157:sign 158:ascii 159:bit_length "
            "160:concat_ws 161:find_in_set 162:quote 163:repeat 164:reverse 165:ltrim 166:rtrim 167:trim "
            "170:from_unixtime 171:format 173:convert 174:cast 237:similarity 246:xml_extract 1030:ln 1031:log2 "
            "1032:log10 ";
        static constexpr std::string_view TYPES =
            " 0:unsigned 1:signed 4:datetime 5:char 8:binary 11:time 12:date 240:decimal ";
        const auto& stList = At<FUNCTIONPARAMLIST>(nList);
        STRING strText;
        for (UINT i = 0; i < stList.m_bNum; ++i) {
            const auto& st = At<FUNCTIONPARAM>(Entry(nList + offsetof(FUNCTIONPARAMLIST, m_nExpOffset), i));
            if (bCode == FN_NEXTVAL || bCode == FN_CURRVAL)
                return Quoted(Data(st.m_nExpOffset)) + (bCode == FN_NEXTVAL ? ".nextval" : ".currval");
            const bool bType = (bCode == FN_CAST || bCode == FN_CONVERT) && i == 1;
            const STRING strArgument = bType ? Word(TYPES, std::stoi(Plain(st.m_nExpOffset)))
                                             : Operand(st.m_bExpressionType, st.m_nExpOffset).m_strText;
            if (strArgument.empty() || strArgument == "DEFAULT") continue; // one that was left out
            strText += (strText.empty() ? "" : bCode == FN_CAST ? " as " : ", ") + strArgument;
        }
        return Word(NAMES, bCode == FN_SPECIAL_LOG ? 1000 + stList.m_bCombinedType : bCode) + "(" + strText + ")";
    }

    // A leaf without data is shorter than its record.
    const MATHEXPELEMENTBSON& Leaf(UINT nElement) const {
        static constexpr MATHEXPELEMENTBSON NONE = {};
        const BYTE* const lpHead = m_stPlan.Bytes(nElement, offsetof(MATHEXPELEMENTBSON, m_bDataBuffer));
        return lpHead ? *reinterpret_cast<const MATHEXPELEMENTBSON*>(lpHead) : NONE;
    }
    std::string_view Data(UINT nElement) const {
        return m_stPlan.Text(nElement + UINT{offsetof(MATHEXPELEMENTBSON, m_bDataBuffer)},
                             static_cast<UINT>(Leaf(nElement).m_nDataLen));
    }
    static std::string_view ToEnd(std::string_view szText) { return szText.substr(0, szText.find('\0')); }
    std::string_view Name(UINT nElement) const { return ToEnd(Data(nElement)); }
    STRING Plain(UINT nElement) const { return CExpressionText(m_stPlan).Element(nElement); }

    STRING Element(UINT nOffset) {
        const auto& st = Leaf(nOffset);
        const std::string_view szName = Name(nOffset);
        if (st.m_bDataSource == SOURCE_LITERAL && st.m_bDataType == VT_VARCHAR) return Text(st, szName);
        if (st.m_bDataSource == SOURCE_LITERAL || st.m_bDataSource == SOURCE_PARAM) return Plain(nOffset);
        if (st.m_bDataSource == SOURCE_NEW) return "new." + Quoted(szName);
        if (st.m_bDataSource == SOURCE_OLD) return "old." + Quoted(szName);
        const STRING strField = Field(st.m_bObjectNo, szName);
        if (st.m_bJsonField == JSON_FIELD_NONE) return strField;
        return strField + (st.m_bJsonField == JSON_FIELD_ARROW ? "->" : "->>") +
               Quoted(ToEnd(Data(nOffset).substr(szName.size() + 1)), '\'');
    }
    /** All fields, if the name is empty. */
    STRING Field(BYTE bObjectNo, std::string_view szName) {
        return (bObjectNo ? m_mapObject[bObjectNo] + "." : "") + (szName.empty() ? "*" : Quoted(szName));
    }

    STRING Text(const MATHEXPELEMENTBSON& st, std::string_view szText) {
        static constexpr std::string_view UNITS =
            " 1:microsecond 2:frac_second 3:second 4:minute 5:hour 6:day 7:week 8:month 9:quarter 10:year "
            "11:second_microsecond 12:minute_microsecond 13:minute_second 14:hour_microsecond 15:hour_second "
            "16:hour_minute 17:day_microsecond 18:day_second 19:day_minute 20:day_hour 21:year_month ";
        const STRING strValue(szText.substr(std::min<std::size_t>(szText.size(), 3)));
        if (!strValue.empty() && szText[0] == 1 && !st.m_bProcessWildcard)
            return "interval " + (szText[2] == VT_VARCHAR ? Quoted(strValue, '\'') : strValue) + " " +
                   Word(UNITS, szText[1]);
        m_bPattern = szText.find_first_of("\1\2") != szText.npos;
        if (!m_bPattern) return szText.empty() ? "" : Quoted(szText, '\'');
        STRING strPattern;
        for (const char c : szText)
            (strPattern += c == '%' || c == '_' || c == '!' ? "!" : "") += c == 1 ? '%' : c == 2 ? '_' : c;
        return Quoted(strPattern, '\'') + " escape '!'";
    }

    // --- conditions --------------------------------------------------------------------------------------------------

    STRING Condition(UINT nRoot) { return Condition(CONDITION_NODE, nRoot).m_strText; }
    STRING Bracketed(const char* lpszFront, UINT nRoot) {
        return nRoot ? lpszFront + ("(" + Condition(nRoot)) + ")" : "";
    }

    TEXT Condition(BYTE bType, UINT nOffset) {
        if (bType == CONDITION_COMPARE) return Comparison(At<COMPAREEXPBSON>(nOffset));
        if (bType == CONDITION_NONE) { // where a join has taken one
            if (m_queMoved.empty()) return {"BAD"};
            nOffset = m_queMoved.front();
            m_queMoved.pop_front();
            return Comparison(At<COMPAREEXPBSON>(nOffset));
        }
        const auto& st = At<BASECONDITIONBSON>(nOffset);
        TEXT stText = Condition(st.m_bConditionType1, st.m_nConditionOffset1);
        if (st.m_bLogicOperator == LOGIC_NONE) return stText;
        const int nPriority = st.m_bLogicOperator == LOGIC_AND ? AND : OR;
        stText = {stText.In(nPriority) + (nPriority == AND ? " and " : " or ") +
                      Condition(st.m_bConditionType2, st.m_nConditionOffset2).In(nPriority + 1),
                  nPriority};
        return st.m_bLogicNot ? TEXT{"not (" + stText.m_strText + ")", NOT} : stText;
    }

    TEXT Comparison(const COMPAREEXPBSON& st) {
        const TEXT stText = {Compared(st), COMPARE};
        if (!st.m_bLogicNot) return stText;
        // In front of EXISTS and LIKE it would be a part of the operator, or keep a text from being the left side.
        const bool bOwn = st.m_bOperator == OP_EXISTS || st.m_bOperator == OP_NOT_EXISTS || st.m_bOperator == OP_LIKE ||
                          st.m_bOperator == OP_NOT_LIKE;
        return {"not " + stText.In(bOwn ? COMPARE + 1 : COMPARE), NOT};
    }

    STRING Compared(const COMPAREEXPBSON& st) {
        static constexpr std::string_view OPERATORS =
            " 7:like 8:in 9:not-in 10:exists 11:not-exists 16:not-like 20:= 21:<> 22:> 23:>= 24:< 25:<= 27:between "
            "34:is 35:is-not ";
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
        m_bPattern = false;
        const STRING strSecond = Side(st.m_nMathExpOffset2);
        const bool bLike = st.m_bOperator == OP_LIKE || st.m_bOperator == OP_NOT_LIKE;
        // A text right behind LIKE is a pattern.
        return strText + (bLike && strSecond[0] == '\'' && !m_bPattern ? "(" + strSecond + ")" : strSecond) +
               (st.m_nMathExpOffset3 ? " and " + Side(st.m_nMathExpOffset3) : "");
    }

    STRING Side(UINT nOffset) {
        if (nOffset == 0) return "";
        return Expression(nOffset) + (At<st_MATHEXPBSON>(nOffset).m_bAllowNull ? "(+)" : "");
    }

    STRING In(UINT nOffset) {
        const auto& st = At<INCONDITIONBSON>(nOffset);
        if (st.m_bType == IN_SUBQUERY) return "(" + Query(st.m_nExpressionOffset[0]) + ")";
        STRING strList;
        for (UINT i = 0; i < st.m_nDataNum; ++i)
            Add(strList, Expression(Entry(nOffset + offsetof(INCONDITIONBSON, m_nExpressionOffset), i)));
        return "(" + strList + ")";
    }

    /** All comparisons of a condition, from left to right. */
    template <typename USE>
    void EachComparison(BYTE bType, UINT nOffset, USE Use) const {
        if (bType == CONDITION_COMPARE) Use(nOffset);
        if (bType != CONDITION_NODE) return;
        const auto& st = At<BASECONDITIONBSON>(nOffset);
        EachComparison(st.m_bConditionType1, st.m_nConditionOffset1, Use);
        EachComparison(st.m_bConditionType2, st.m_nConditionOffset2, Use);
    }

    // --- objects -----------------------------------------------------------------------------------------------------

    /** A part of the join tree; first and last are places in the list of objects. */
    struct TREE {
        STRING m_strText;
        std::size_t m_nFirst = 0, m_nLast = 0;
        bool m_bLoose = false; // between ","
        STRING Operand() const { return m_nFirst == m_nLast ? m_strText : "(" + m_strText + ")"; }
    };
    struct OBJECT {
        BYTE m_bNo;
        STRING m_strText;
    };

    std::vector<OBJECT> Objects(UINT nOffset) {
        static constexpr const char* KINDS[] = {"", "", "node ", "relation "};
        std::vector<OBJECT> arObject;
        Each<OBJECTBSON>(nOffset, [&](const OBJECTBSON& st) {
            const STRING strName = QuotedAt(st.m_nDataBaseNameOffset, "", ".") +
                                   (st.m_bView ? Nested(st.m_nSubQueryOffset) : QuotedAt(st.m_nObjectNameOffset));
            const STRING strKind = st.m_bObjectType <= OBJECT_RELATION ? KINDS[st.m_bObjectType] : "";
            m_mapObject[st.m_bObjectNo] = st.m_nObjectTitleOffset ? QuotedAt(st.m_nObjectTitleOffset) : strName;
            arObject.push_back({st.m_bObjectNo, strKind + strName + QuotedAt(st.m_nObjectTitleOffset, " as ")});
        });
        return arObject;
    }

    TREE Tree(const std::vector<OBJECT>& arObject, UINT nOffset) {
        const auto& st = At<st_NODE_QUERYTREE>(nOffset);
        if (st.m_bType == QUERYTREE_RELATION) {
            std::size_t i = 0;
            while (i + 1 < arObject.size() && arObject[i].m_bNo != st.m_stBaseRel.m_bObjectNo)
                ++i;
            return {arObject[i].m_strText, i, i};
        }
        static constexpr const char* JOINS[] = {" BAD ", " join ", " left join ", " BAD ", " full join "};
        TREE stLeft = Tree(arObject, st.m_stJoinRs.m_nLChildNodeOffset);
        TREE stRight = Tree(arObject, st.m_stJoinRs.m_nRChildNodeOffset);
        const BYTE bType = st.m_stJoinRs.m_bJoinType;
        const bool bTurned = bType == JOIN_LEFT && stRight.m_nFirst < stLeft.m_nFirst;
        if (bTurned) std::swap(stLeft, stRight);
        const char* const lpszJoin = bTurned ? " right join " : st.m_bStraight ? " straight_join " : JOINS[bType];
        return {stLeft.m_strText + lpszJoin + stRight.Operand() +
                    Bracketed(" on ", st.m_stJoinRs.m_nJoinConditionOffset) + STRING(bType == JOIN_INNER, ON_MARK),
                stLeft.m_nFirst, stRight.m_nLast};
    }

    /** What the tree's top joins without more ado; objects that no join named come last and go back to their places. */
    STRING From(const std::vector<OBJECT>& arObject, UINT nTree) {
        std::deque<TREE> queItem;
        bool bLoose = nTree == 0;
        for (std::size_t i = 0; bLoose && i < arObject.size(); ++i)
            queItem.push_back({arObject[i].m_strText, i, i});
        for (bool bPlain = true; nTree != 0 && bPlain;
             nTree = At<st_NODE_QUERYTREE>(nTree).m_stJoinRs.m_nLChildNodeOffset) {
            const auto& st = At<st_NODE_QUERYTREE>(nTree);
            bPlain = st.m_bType == QUERYTREE_JOIN && !st.m_bStraight && st.m_stJoinRs.m_bJoinType == JOIN_INNER;
            queItem.push_front(Tree(arObject, bPlain ? st.m_stJoinRs.m_nRChildNodeOffset : nTree));
        }
        std::size_t nLast = 0;
        for (TREE& stItem : queItem) {
            stItem.m_bLoose = bLoose = bLoose || stItem.m_nFirst < nLast;
            nLast = std::max(nLast, stItem.m_nLast);
        }
        std::sort(queItem.begin(), queItem.end(), [](const TREE& a, const TREE& b) { return a.m_nFirst < b.m_nFirst; });
        STRING strText = queItem.size() == 1 ? queItem[0].m_strText : queItem[0].Operand();
        for (std::size_t i = 1; i < queItem.size(); ++i) {
            const bool bJoin = !queItem[i].m_bLoose && !queItem[i - 1].m_bLoose;
            strText += (bJoin ? " join " : ", ") + queItem[i].Operand() + STRING(bJoin, ON_MARK);
        }
        return strText;
    }

    /** FROM, a text between, and WHERE, which shares with FROM what inner joins and "(+)" have put into one condition.
     */
    template <typename BETWEEN>
    STRING Rows(UINT nQuery, BETWEEN Between) {
        const auto& stQuery = At<QUERYEXECUTEPLANBSON>(nQuery);
        const auto& stCondition = At<COMMONCONDITION>(stQuery.m_nConditionOffset);
        const std::vector<OBJECT> arObject = Objects(stQuery.m_nObjectOffset);
        std::deque<UINT> queOuter;
        m_queMoved.swap(queOuter); // a query around this one has its own
        UINT nWhere = stCondition.m_nWhereOffset, nOuter = 0;
        if (stCondition.m_bJoin == WHERE_JOIN) std::swap(nWhere, nOuter);
        if (stCondition.m_bJoin == WHERE_AND_JOIN) {
            nOuter = At<BASECONDITIONBSON>(nWhere).m_nConditionOffset1;
            nWhere = At<BASECONDITIONBSON>(nWhere).m_nConditionOffset2;
        }
        if (nOuter)
            EachComparison(CONDITION_NODE, nOuter, [&](UINT nCompare) {
                if (At<COMPAREEXPBSON>(nCompare).m_bJoinType >= OUTER_RIGHT) m_queMoved.push_back(nCompare);
            });
        STRING strFrom = From(arObject, m_queMoved.empty() ? stQuery.m_nQueryPathOffset : 0);
        PlaceInner(strFrom, nWhere, stQuery.m_nConditionFieldNum);
        strFrom += Between();
        if (nWhere) strFrom += " where " + Condition(nWhere);
        m_queMoved.swap(queOuter);
        return strFrom;
    }

    /**
     * Puts what inner joins have added to WHERE, whose own sides are counted, back to where a join may take its ON; an
     * AND that might be one of two conditions is taken for that, which makes the same plan. `nWhere` keeps the rest.
     */
    void PlaceInner(STRING& strFrom, UINT& nWhere, UINT nNum) {
        const auto Pair = [&](UINT nNode) {
            const auto& st = At<BASECONDITIONBSON>(nNode);
            const bool bPair = st.m_bLogicOperator == LOGIC_AND && !st.m_bLogicNot &&
                               st.m_bConditionType1 == CONDITION_NODE && st.m_bConditionType2 == CONDITION_NODE;
            return bPair ? std::pair(st.m_nConditionOffset1, st.m_nConditionOffset2) : std::pair(0U, nNode);
        };
        std::size_t nMark = strFrom.rfind(ON_MARK);
        UINT nInner = 0;
        if (nWhere && nMark != strFrom.npos) {
            if (const auto [nLeft, nRight] = Pair(nWhere); nLeft && CountSides(nLeft) == nNum)
                nWhere = nLeft, nInner = nRight;
            else if (CountSides(nWhere) != nNum)
                std::swap(nWhere, nInner);
        }
        while (nMark != strFrom.npos) {
            const std::size_t nNext = strFrom.rfind(ON_MARK, nMark - 1);
            const auto [nLeft, nRight] = nInner && nNext != strFrom.npos ? Pair(nInner) : std::pair(0U, nInner);
            strFrom.replace(nMark, 1, Bracketed(" on ", nRight));
            nInner = nLeft;
            nMark = nNext;
        }
    }
    /** Sides that aren't constant, as a query counts those of its WHERE. */
    UINT CountSides(UINT nRoot) const {
        UINT nNum = 0;
        EachComparison(CONDITION_NODE, nRoot, [&](UINT nCompare) {
            const auto& st = At<COMPAREEXPBSON>(nCompare);
            for (const BYTE bClass : {st.m_bExpressionType1, st.m_bExpressionType2, st.m_bExpressionType3})
                nNum += bClass != EXPCLASS_NONE && bClass != EXPCLASS_CONSTANT && bClass != EXPCLASS_IN;
        });
        return nNum;
    }

    // --- statements --------------------------------------------------------------------------------------------------

    STRING Query(UINT nOffset) {
        static constexpr const char* UNIONS[] = {" BAD ", " union ", " union all ", " intersect ", " minus "};
        const UINT nUnion = At<QUERYEXECUTEPLANBSON>(nOffset).m_nUnionOffset;
        const STRING strBlock = Block(nOffset);
        return nUnion ? strBlock + UNIONS[At<UNIONINFO>(nUnion).m_bUnionType] +
                            Query(At<UNIONINFO>(nUnion).m_nQueryPlanOffset)
                      : strBlock;
    }

    STRING Block(UINT nOffset) {
        const auto& stQuery = At<QUERYEXECUTEPLANBSON>(nOffset);
        const auto& stCondition = At<COMMONCONDITION>(stQuery.m_nConditionOffset);
        STRING strRows = Rows(nOffset, [&] { return Connect(stCondition.m_nConnOffset); });
        std::vector<STRING> arField;
        STRING strFields;
        Each<EXECUTEFIELDBSON>(stQuery.m_nExecuteFieldOffset, [&](const EXECUTEFIELDBSON& st) {
            if (st.m_bHide) return;
            const STRING strField = arField.emplace_back(Expression(st.m_nExpOffset));
            Add(strFields, strField + QuotedAt(st.m_nExpTitleOffset, " as "));
        });
        // A group's column is the field of its words; a hidden one in brackets is no field's.
        const auto Columns = [&](const char* lpszFront, const auto& stList) {
            STRING strText;
            for (const COLUMNDEF& st : m_stPlan.Records<COLUMNDEF>(stList.m_nColumnOffset, stList.m_bFieldNum)) {
                STRING strColumn = arField.at(st.m_nFieldIndex);
                if (st.m_bSortType) strColumn = std::to_string(st.m_nFieldIndex + 1);
                if (const UINT nHidden = st.m_nHideFieldOffset)
                    strColumn = "(" + Expression(At<EXECUTEFIELDBSON>(nHidden).m_nExpOffset) + ")";
                Add(strText, strColumn + (st.m_bSortType == SORT_DESCENDING ? " desc" : ""));
            }
            return lpszFront + strText;
        };
        if (const UINT n = stQuery.m_nGroupByOffset) strRows += Columns(" group by ", At<GROUPBY>(n));
        if (const UINT n = stCondition.m_nHavingCondOffset)
            strRows += Bracketed(" having ", At<HAVINGCONDITION>(n).m_nConditionOffset);
        if (const UINT n = stQuery.m_nOrderByOffset) strRows += Columns(" order by ", At<ORDERBY>(n));
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

    STRING Insert(const INSERTEXECUTEPLANBSON& st) {
        STRING strFields, strRows;
        Each<EXECUTEFIELDBSON>(st.m_nExecuteFieldOffset, [&](const EXECUTEFIELDBSON& stField) {
            Add(strFields, QuotedAt(stField.m_nExpNameOffset));
        });
        const STRING strInto = "insert into " + Objects(st.m_stExecuteObject.m_nObjectOffset).at(0).m_strText +
                               (st.m_bAllField ? " " : " (" + strFields + ") ");
        if (st.m_bSubQuery) return strInto + Nested(st.m_nQueryPlanOffset);
        const auto& stRecord = st.m_stExecuteObject.m_stExecuteRecord;
        for (const auto& stRow : m_stPlan.Records<RECORDHEAD>(stRecord.m_nRecordAddrID, stRecord.m_nRecordNum)) {
            STRING strRow;
            for (const auto& stField : m_stPlan.Records<RSFIELDBSON>(stRow.m_nRsFieldOffset, stRow.m_bFieldNum))
                Add(strRow, Expression(stField.m_nFieldDataOffset));
            Add(strRows, "(" + strRow + ")");
        }
        return strInto + "values " + strRows;
    }

    STRING Update(const UPDATEEXECUTEPLANBSON& stUpdate) {
        return "update " + Rows(stUpdate.m_nQueryPlanOffset, [&] {
                   STRING strItems;
                   Each<EXECUTEFIELDBSON>(stUpdate.m_nExecuteFieldOffset, [&](const EXECUTEFIELDBSON& st) {
                       Add(strItems, Field(st.m_bObjectNo, m_stPlan.Text(st.m_nExpNameOffset)) + " = " +
                                         Expression(st.m_nExpOffset));
                   });
                   return " set " + strItems;
               });
    }

    std::map<int, STRING> m_mapObject; // the qualifier of each object's fields
    std::deque<UINT> m_queMoved;       // comparisons that left a WHERE
    bool m_bPattern = false;           // a text with wildcards was printed
    int m_nWaitTime = 0;               // of the last query
};
