#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <deque>
#include <map>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "KestroDecimal.h"
#include "PlanOperators.h"
#include "PlanReader.h"

/**
 * Prints the plan of a SELECT, INSERT, UPDATE or DELETE as SQL that compiles to the same plan: from its records alone,
 * with as few brackets as priorities allow, so that compiling it again tests them. Names stand in quotes. A stamp of
 * AS OF, graph patterns and JSON on whole records aren't printed.
 */
class CPlanSql {
public:
    explicit CPlanSql(const CPlanReader& stPlan) : m_stPlan(stPlan) {}

    std::string Statement() {
        const auto& stHead = m_stPlan.Head();
        const UINT nCommand = stHead.m_nCommandOffset;
        if (stHead.m_nType == PLAN_INSERT) return Insert(At<INSERTEXECUTEPLANBSON>(nCommand));
        if (stHead.m_nType == PLAN_UPDATE) return Update(At<UPDATEEXECUTEPLANBSON>(nCommand));
        if (stHead.m_nType == PLAN_DELETE) {
            const auto [strFrom, strWhere] =
                Rows(At<QUERYEXECUTEPLANBSON>(At<DELETEEXECUTEPLANBSON>(nCommand).m_nQueryPlanOffset));
            return "delete from " + strFrom + strWhere;
        }
        static constexpr const char* LOCKS[] = {"", " for update", " for update nowait", " for update skip locked",
                                                " for update wait "};
        std::string strText = Query(nCommand) + LOCKS[stHead.m_bExecuteParam];
        if (stHead.m_bExecuteParam == FOR_UPDATE_WAIT) strText += std::to_string(m_nWaitTime);
        return strText;
    }

private:
    /** A text, and how closely what it consists of belongs together. */
    struct TEXT {
        std::string m_strText;
        int m_nPriority = 99;
        std::string In(int nPriority) const {
            return m_nPriority < nPriority ? std::string("(").append(m_strText).append(")") : m_strText;
        }
    };
    struct OPERATOR {
        BYTE m_bCode;
        const char* m_lpszText;
        int m_nPriority;
    };
    static constexpr int OR = 2, AND = 3, NOT = 4, COMPARE = 5, UNARY = 10;
    static constexpr char ON_MARK = 1; // where an inner join may take its ON

    template <typename T>
    const T& At(UINT nOffset) const {
        static constexpr T NONE = {};
        const T* const lpRecord = m_stPlan.Record<T>(nOffset);
        EXPECT_NE(lpRecord, nullptr) << nOffset;
        return lpRecord ? *lpRecord : NONE;
    }
    UINT Tail(UINT nOffset, std::size_t nHead, UINT i) const {
        UINT nEntry = 0;
        const BYTE* const lpEntry = m_stPlan.Bytes(nOffset + static_cast<UINT>(nHead) + i * 4, 4);
        if (lpEntry) std::memcpy(&nEntry, lpEntry, sizeof nEntry);
        return nEntry;
    }
    static std::string Quoted(std::string_view szText, char chQuote = '"') {
        std::string strText(1, chQuote);
        for (const char c : szText)
            strText.append(chQuote == '\'' && c == '\'' ? 2 : 1, c);
        return strText += chQuote;
    }
    static void Add(std::string& strList, const std::string& strItem) {
        strList.append(strList.empty() ? "" : ", ").append(strItem);
    }

    // --- expressions -------------------------------------------------------------------------------------------------

    std::string Expression(UINT nOffset) { return Node(nOffset).m_strText; }

    TEXT Operand(BYTE bKind, UINT nOffset) {
        if (bKind == EXP_ELEMENT) return {Element(nOffset)};
        if (bKind == EXP_EXPRESSION) return Node(nOffset);
        EXPECT_EQ(bKind, EXP_SUBQUERY);
        static constexpr const char* KINDS[] = {"", "(", "all (", "any ("};
        return {KINDS[At<QUERYEXECUTEPLANBSON>(nOffset).m_bSubQueryType] + Query(nOffset) + ")"};
    }

    TEXT Node(UINT nOffset) {
        const auto& st = At<st_MATHEXPBSON>(nOffset);
        if (st.m_bOperator == OP_NONE) return Operand(st.m_bExpressionType1, st.m_nExpOffset1);
        // The word as it stood, which quotes would make a name of.
        if (st.m_bOperator == OP_NAME_OR_CALL) return {std::string(Name(st.m_nExpOffset2))};
        if (IsFunctionCode(st.m_bOperator)) return {Call(st.m_bOperator, st.m_nExpOffset1)};
        if (st.m_bOperator == OP_MINUS || st.m_bOperator == OP_PLUS)
            return {
                (st.m_bOperator == OP_MINUS ? "- " : "+ ") + Operand(st.m_bExpressionType1, st.m_nExpOffset1).In(UNARY),
                UNARY};
        static constexpr OPERATOR OPERATORS[] = {{OP_ADD, " + ", 8},    {OP_SUB, " - ", 8}, {OP_MUL, " * ", 9},
                                                 {OP_DIVIDE, " / ", 9}, {OP_MOD, " % ", 9}, {OP_DIV, " div ", 9},
                                                 {OP_LINK, " || ", 7},  {0, " BAD ", 0}};
        const auto* lpRow = OPERATORS;
        while (lpRow->m_bCode != 0 && lpRow->m_bCode != st.m_bOperator)
            ++lpRow;
        const std::string strLeft = Operand(st.m_bExpressionType1, st.m_nExpOffset1).In(lpRow->m_nPriority);
        return {
            strLeft + lpRow->m_lpszText + Operand(st.m_bExpressionType2, st.m_nExpOffset2).In(lpRow->m_nPriority + 1),
            lpRow->m_nPriority};
    }

    std::string Call(BYTE bCode, UINT nList) {
        const auto& stList = At<FUNCTIONPARAMLIST>(nList);
        std::vector<std::string> arArgument;
        for (UINT i = 0; i < stList.m_bNum; ++i) {
            const auto& st = At<FUNCTIONPARAM>(Tail(nList, offsetof(FUNCTIONPARAMLIST, m_nExpOffset), i));
            const bool bType = (bCode == FN_CAST || bCode == FN_CONVERT) && i == 1;
            arArgument.push_back(bType ? TypeWord(st.m_nExpOffset)
                                       : Operand(st.m_bExpressionType, st.m_nExpOffset).m_strText);
            if (arArgument.back().empty()) arArgument.pop_back(); // one that was left out
        }
        if (bCode == FN_NEXTVAL || bCode == FN_CURRVAL)
            return Quoted(std::string_view(arArgument.at(0)).substr(1, arArgument[0].size() - 2)) +
                   (bCode == FN_NEXTVAL ? ".nextval" : ".currval");
        std::string strText;
        for (const std::string& strArgument : arArgument)
            strText.append(strText.empty() ? "" : bCode == FN_CAST ? " as " : ", ").append(strArgument);
        return FunctionName(bCode, stList.m_bCombinedType) + "(" + strText + ")";
    }

    /** Words by the codes in front of them. */
    using WORDS = std::map<int, std::string>;
    static WORDS Words(const char* lpszList) {
        std::istringstream stList(lpszList);
        WORDS mapWord;
        std::string strWord;
        for (int nCode; stList >> nCode >> strWord;)
            mapWord[nCode] = strWord;
        return mapWord;
    }
    static std::string Word(const WORDS& mapWord, int nCode) {
        const auto it = mapWord.find(nCode);
        return it == mapWord.end() ? "BAD" : it->second;
    }

    /** Of the logarithms, which share a code, by their sub-types. */
    static std::string FunctionName(BYTE bCode, BYTE bCombined) {
        static const WORDS NAMES = Words(
            "50 now 54 to_char 55 to_date 56 checkchild 58 current_date 59 dbtimezone 60 user 61 abs 62 "
            "ceil 63 floor 64 lower 65 mod 66 nullif 67 nvl 68 nvl2 69 power 70 round 71 sqrt 72 trunc 73 "
            "upper 80 count 81 avg 82 min 83 max 84 sum 86 bit_and 87 bit_or 88 bit_xor 89 json_arrayagg "
            "90 json_objectagg 91 startnodeid 92 endnodeid 150 exp 151 greatest 152 least 154 log 155 pi "
            "156 rand 157 sign 158 ascii 159 bit_length 160 concat_ws 161 find_in_set 162 quote 163 "
            "repeat 164 reverse 165 ltrim 166 rtrim 167 trim 170 from_unixtime 171 format 173 convert 174 "
            "cast 237 similarity 246 xml_extract 1030 ln 1031 log2 1032 log10 ");
        return Word(NAMES, bCode == FN_SPECIAL_LOG ? 1000 + bCombined : bCode);
    }

    std::string TypeWord(UINT nElement) const {
        int nType = -1;
        if (const std::string_view szData = Data(nElement); szData.size() == sizeof nType)
            std::memcpy(&nType, szData.data(), sizeof nType);
        static const WORDS TYPES = Words("0 unsigned 1 signed 4 datetime 5 char 8 binary 11 time 12 date 240 decimal");
        return Word(TYPES, nType);
    }

    // A leaf without data is shorter than its record.
    const MATHEXPELEMENTBSON& Head(UINT nElement) const {
        static constexpr MATHEXPELEMENTBSON NONE = {};
        const BYTE* const lpHead = m_stPlan.Bytes(nElement, offsetof(MATHEXPELEMENTBSON, m_bDataBuffer));
        EXPECT_NE(lpHead, nullptr);
        return lpHead ? *reinterpret_cast<const MATHEXPELEMENTBSON*>(lpHead) : NONE;
    }
    std::string_view Data(UINT nElement) const {
        return m_stPlan.Text(nElement + static_cast<UINT>(offsetof(MATHEXPELEMENTBSON, m_bDataBuffer)),
                             static_cast<UINT>(Head(nElement).m_nDataLen));
    }
    std::string_view Name(UINT nElement) const {
        const std::string_view szData = Data(nElement);
        return szData.substr(0, szData.find('\0'));
    }

    std::string Element(UINT nOffset) {
        const auto& st = Head(nOffset);
        const std::string_view szName = Name(nOffset);
        switch (st.m_bDataSource) {
            case SOURCE_LITERAL:
                return Literal(st, Data(nOffset));
            case SOURCE_PARAM:
                return "?";
            case SOURCE_NEW:
                return "new." + Quoted(szName);
            case SOURCE_OLD:
                return "old." + Quoted(szName);
            default:
                break;
        }
        const std::string strObject = st.m_bObjectNo ? m_mapObject[st.m_bObjectNo] + "." : "";
        if (szName.empty()) return strObject + "*";
        if (st.m_bJsonField == JSON_FIELD_NONE) return strObject + Quoted(szName);
        const std::string_view szPath = Data(nOffset).substr(szName.size() + 1);
        return Quoted(szName) + (st.m_bJsonField == JSON_FIELD_ARROW ? "->" : "->>") +
               Quoted(szPath.substr(0, szPath.find('\0')), '\'');
    }

    std::string Literal(const MATHEXPELEMENTBSON& st, std::string_view szData) {
        char szNumber[KESTRO_VALUE_TEXT_SIZE] = "BAD";
        st_VARDATA stValue;
        switch (st.m_bDataType) {
            case VT_NULL:
                return "null";
            case VT_DEFAULT:
                return "";
            case VT_DECIMAL:
                if (CKestroDecimal::LoadBin(reinterpret_cast<const BYTE*>(szData.data()),
                                            static_cast<int>(szData.size()), &stValue) == ERR_OK)
                    CKestroDecimal::PrintDecimal(&stValue, szNumber);
                return szNumber;
            case VT_VARCHAR:
                break;
            default:
                return szNumber;
        }
        if (szData.ends_with('\0')) szData.remove_suffix(1);
        if (szData.empty()) return "";
        if (!st.m_bProcessWildcard && szData[0] == 1) return Interval(szData);
        m_bPattern = szData.find_first_of("\1\2") != szData.npos;
        if (!m_bPattern) return Quoted(szData, '\'');
        std::string strPattern;
        for (const char c : szData)
            if (c == 1 || c == 2)
                strPattern += c == 1 ? '%' : '_';
            else
                strPattern.append(c == '%' || c == '_' || c == '!' ? "!" : "") += c;
        return Quoted(strPattern, '\'') + " escape '!'";
    }

    static std::string Interval(std::string_view szData) {
        static const WORDS UNITS = Words(
            "1 microsecond 2 frac_second 3 second 4 minute 5 hour 6 day 7 week 8 month 9 quarter 10 year "
            "11 second_microsecond 12 minute_microsecond 13 minute_second 14 hour_microsecond 15 hour_second "
            "16 hour_minute 17 day_microsecond 18 day_second 19 day_minute 20 day_hour 21 year_month");
        const std::string_view szValue = szData.substr(3);
        const std::string strValue = szData[2] == VT_VARCHAR ? Quoted(szValue, '\'') : std::string(szValue);
        return "interval " + strValue + " " + Word(UNITS, szData[1]);
    }

    // --- conditions --------------------------------------------------------------------------------------------------

    std::string Condition(UINT nRoot) { return Condition(CONDITION_NODE, nRoot).m_strText; }

    TEXT Condition(BYTE bType, UINT nOffset) {
        if (bType == CONDITION_COMPARE) return Comparison(nOffset);
        if (bType == CONDITION_NONE) { // where a join has taken one
            if (m_queMoved.empty()) return {"BAD"};
            const UINT nMoved = m_queMoved.front();
            m_queMoved.pop_front();
            return Comparison(nMoved);
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

    TEXT Comparison(UINT nOffset) {
        const auto& st = At<COMPAREEXPBSON>(nOffset);
        TEXT stText = {Compared(st), COMPARE};
        if (!st.m_bLogicNot) return stText;
        // In front of EXISTS and LIKE it would be a part of the operator, or keep a text from being the left side.
        const bool bOwn = st.m_bOperator == OP_EXISTS || st.m_bOperator == OP_NOT_EXISTS || st.m_bOperator == OP_LIKE ||
                          st.m_bOperator == OP_NOT_LIKE;
        return {"not " + stText.In(bOwn ? COMPARE + 1 : COMPARE), NOT};
    }

    std::string Compared(const COMPAREEXPBSON& st) {
        static const WORDS OPERATORS = Words(
            "7 like 8 in 9 not-in 10 exists 11 not-exists 16 not-like 20 = 21 <> 22 > "
            "23 >= 24 < 25 <= 27 between 34 is 35 is-not");
        if (st.m_bOperator == COMPARE_FALSE) return "1 = 2";
        const std::string strFirst = Side(st.m_nMathExpOffset1);
        if (st.m_bOperator == COMPARE_PRIOR_EQUAL) return Side(st.m_nMathExpOffset2) + " = prior " + strFirst;
        if (st.m_bOperator == COMPARE_BARE) return strFirst;
        std::string strText = strFirst + (strFirst.empty() ? "" : " ") + Word(OPERATORS, st.m_bOperator) + " ";
        std::replace(strText.begin() + static_cast<std::ptrdiff_t>(strFirst.size()), strText.end(), '-', ' ');
        if (st.m_bOperator == OP_IN || st.m_bOperator == OP_NOT_IN) return strText + In(st.m_nMathExpOffset2);
        if (st.m_bOperator == OP_IS || st.m_bOperator == OP_IS_NOT) {
            const UINT nElement = At<st_MATHEXPBSON>(st.m_nMathExpOffset2).m_nExpOffset1;
            return strText + (Name(nElement).empty() ? "null" : std::string(Name(nElement)));
        }
        m_bPattern = false;
        const std::string strSecond = Side(st.m_nMathExpOffset2);
        const bool bLike = st.m_bOperator == OP_LIKE || st.m_bOperator == OP_NOT_LIKE;
        // A text right behind LIKE is a pattern.
        strText += bLike && strSecond[0] == '\'' && !m_bPattern ? "(" + strSecond + ")" : strSecond;
        return st.m_nMathExpOffset3 ? strText + " and " + Side(st.m_nMathExpOffset3) : strText;
    }

    std::string Side(UINT nOffset) {
        if (nOffset == 0) return "";
        return Expression(nOffset) + (At<st_MATHEXPBSON>(nOffset).m_bAllowNull ? "(+)" : "");
    }

    std::string In(UINT nOffset) {
        const auto& st = At<INCONDITIONBSON>(nOffset);
        std::string strList;
        for (UINT i = 0; i < st.m_nDataNum; ++i)
            Add(strList, Expression(Tail(nOffset, offsetof(INCONDITIONBSON, m_nExpressionOffset), i)));
        if (st.m_bType == IN_SUBQUERY) strList = Query(st.m_nExpressionOffset[0]);
        return "(" + strList + ")";
    }

    /** Sides that aren't constant, as a query counts those of its WHERE. */
    UINT CountSides(BYTE bType, UINT nOffset) const {
        if (bType == CONDITION_NODE) {
            const auto& st = At<BASECONDITIONBSON>(nOffset);
            return CountSides(st.m_bConditionType1, st.m_nConditionOffset1) +
                   CountSides(st.m_bConditionType2, st.m_nConditionOffset2);
        }
        if (bType == CONDITION_NONE) return 0;
        const auto& st = At<COMPAREEXPBSON>(nOffset);
        const auto Counts = [](BYTE bClass, UINT nSide) {
            return nSide != 0 && bClass != EXPCLASS_CONSTANT && bClass != EXPCLASS_IN ? 1U : 0U;
        };
        return Counts(st.m_bExpressionType1, st.m_nMathExpOffset1) +
               Counts(st.m_bExpressionType2, st.m_nMathExpOffset2) +
               Counts(st.m_bExpressionType3, st.m_nMathExpOffset3);
    }
    bool IsWrapper(UINT nNode) const { return At<BASECONDITIONBSON>(nNode).m_bLogicOperator == LOGIC_NONE; }
    /** An AND of two conditions that were compiled apart, or look so. */
    bool IsPair(const BASECONDITIONBSON& st) const {
        return st.m_bLogicOperator == LOGIC_AND && !st.m_bLogicNot && st.m_bConditionType1 == CONDITION_NODE &&
               st.m_bConditionType2 == CONDITION_NODE;
    }
    /** The conditions that only as several ON make this one: wrappers tell where it was put together. */
    std::vector<UINT> Parts(UINT nNode) const {
        const auto& st = At<BASECONDITIONBSON>(nNode);
        if (!IsPair(st)) return {nNode};
        std::vector<UINT> arPart = Parts(st.m_nConditionOffset1);
        if (arPart.size() == 1 && !IsWrapper(st.m_nConditionOffset1) && !IsWrapper(st.m_nConditionOffset2))
            return {nNode};
        arPart.push_back(st.m_nConditionOffset2);
        return arPart;
    }
    void Moved(BYTE bType, UINT nOffset) {
        if (bType == CONDITION_COMPARE) m_queMoved.push_back(nOffset);
        if (bType != CONDITION_NODE) return;
        const auto& st = At<BASECONDITIONBSON>(nOffset);
        Moved(st.m_bConditionType1, st.m_nConditionOffset1);
        Moved(st.m_bConditionType2, st.m_nConditionOffset2);
    }

    // --- objects -----------------------------------------------------------------------------------------------------

    struct OBJECT {
        BYTE m_bNo;
        std::string m_strText;
    };
    /** A part of the join tree; first and last are places in the list of objects. */
    struct TREE {
        std::string m_strText;
        std::size_t m_nFirst = 0, m_nLast = 0;
        bool m_bOrdered = true; // as the objects stand in the text
        std::string Operand() const { return m_nFirst == m_nLast ? m_strText : "(" + m_strText + ")"; }
    };

    std::vector<OBJECT> Objects(UINT nOffset) {
        static constexpr const char* KINDS[] = {"", "", "node ", "relation "};
        std::vector<OBJECT> arObject;
        for (; nOffset != 0; nOffset = At<OBJECTBSON>(nOffset).m_nNextOffset) {
            const auto& st = At<OBJECTBSON>(nOffset);
            std::string strName;
            if (st.m_nDataBaseNameOffset) strName = Quoted(m_stPlan.Text(st.m_nDataBaseNameOffset)) + ".";
            strName +=
                st.m_bView ? "(" + Query(st.m_nSubQueryOffset) + ")" : Quoted(m_stPlan.Text(st.m_nObjectNameOffset));
            const std::string strTitle = st.m_bObjectTitleLen ? Quoted(m_stPlan.Text(st.m_nObjectTitleOffset)) : "";
            m_mapObject[st.m_bObjectNo] = strTitle.empty() ? strName : strTitle;
            const std::string strKind = st.m_bObjectType <= OBJECT_RELATION ? KINDS[st.m_bObjectType] : "";
            arObject.push_back({st.m_bObjectNo, strKind + strName + (strTitle.empty() ? "" : " as " + strTitle)});
        }
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
        TREE stLeft = Tree(arObject, st.m_stJoinRs.m_nLChildNodeOffset);
        TREE stRight = Tree(arObject, st.m_stJoinRs.m_nRChildNodeOffset);
        const BYTE bType = st.m_stJoinRs.m_bJoinType;
        const bool bTurned = bType == JOIN_LEFT && stRight.m_nFirst < stLeft.m_nFirst;
        if (bTurned) std::swap(stLeft, stRight);
        static constexpr const char* JOINS[] = {" BAD ", " join ", " left join ", " BAD ", " full join "};
        const char* const lpszJoin = bTurned ? " right join " : st.m_bStraight ? " straight_join " : JOINS[bType];
        const UINT nOn = st.m_stJoinRs.m_nJoinConditionOffset;
        const std::string strOn = nOn ? " on (" + Condition(nOn) + ")" : std::string(bType == JOIN_INNER, ON_MARK);
        return {stLeft.m_strText + lpszJoin + stRight.Operand() + strOn, stLeft.m_nFirst, stRight.m_nLast,
                stLeft.m_bOrdered && stRight.m_bOrdered && stLeft.m_nLast < stRight.m_nFirst};
    }

    bool IsPlainJoin(UINT nNode) const {
        const auto& st = At<st_NODE_QUERYTREE>(nNode);
        return st.m_bType == QUERYTREE_JOIN && !st.m_bStraight && st.m_stJoinRs.m_bJoinType == JOIN_INNER;
    }
    bool HasOn(UINT nNode) const {
        const auto& st = At<st_NODE_QUERYTREE>(nNode);
        return st.m_bType == QUERYTREE_JOIN &&
               (st.m_stJoinRs.m_nJoinConditionOffset != 0 || HasOn(st.m_stJoinRs.m_nLChildNodeOffset) ||
                HasOn(st.m_stJoinRs.m_nRChildNodeOffset));
    }

    /** Objects between "," that no join names end up in the tree last; they go back to their places. */
    std::string From(const std::vector<OBJECT>& arObject, UINT nTree) {
        std::vector<TREE> arItem;
        TREE stTree;
        for (; nTree != 0 && !(stTree = Tree(arObject, nTree)).m_bOrdered && IsPlainJoin(nTree);
             nTree = At<st_NODE_QUERYTREE>(nTree).m_stJoinRs.m_nLChildNodeOffset)
            arItem.push_back(Tree(arObject, At<st_NODE_QUERYTREE>(nTree).m_stJoinRs.m_nRChildNodeOffset));
        if (nTree != 0 && arItem.empty()) return stTree.m_strText;
        const std::size_t nLoose = arItem.size();
        for (; nTree != 0 && IsPlainJoin(nTree); nTree = At<st_NODE_QUERYTREE>(nTree).m_stJoinRs.m_nLChildNodeOffset)
            arItem.push_back(Tree(arObject, At<st_NODE_QUERYTREE>(nTree).m_stJoinRs.m_nRChildNodeOffset));
        if (nTree != 0) arItem.push_back(Tree(arObject, nTree));
        std::vector<bool> arLoose(arObject.size(), nLoose == 0);
        for (std::size_t i = 0; i < nLoose; ++i)
            arLoose[arItem[i].m_nFirst] = true;
        if (arItem.empty())
            for (std::size_t i = 0; i < arObject.size(); ++i)
                arItem.push_back({arObject[i].m_strText, i, i});
        std::sort(arItem.begin(), arItem.end(), [](const TREE& a, const TREE& b) { return a.m_nFirst < b.m_nFirst; });
        std::string strText;
        for (std::size_t i = 0; i < arItem.size(); ++i) {
            const bool bJoin = i > 0 && !arLoose[arItem[i].m_nFirst] && !arLoose[arItem[i - 1].m_nFirst];
            strText += i == 0 ? "" : bJoin ? " join " : ", ";
            strText.append(arItem[i].Operand()).append(bJoin, ON_MARK);
        }
        return strText;
    }

    struct ROWS {
        std::string m_strFrom, m_strWhere;
    };
    /** FROM and WHERE, which share what inner joins and "(+)" have put into one condition. */
    ROWS Rows(const QUERYEXECUTEPLANBSON& stQuery) {
        const auto& stCondition = At<COMMONCONDITION>(stQuery.m_nConditionOffset);
        const std::vector<OBJECT> arObject = Objects(stQuery.m_nObjectOffset);
        std::deque<UINT> queOuter;
        m_queMoved.swap(queOuter); // a query around this one has its own
        UINT nTree = stQuery.m_nQueryPathOffset, nWhere = stCondition.m_nWhereOffset, nOuter = 0;
        if (stCondition.m_bJoin == WHERE_JOIN) std::swap(nWhere, nOuter);
        if (stCondition.m_bJoin == WHERE_AND_JOIN) {
            nOuter = At<BASECONDITIONBSON>(nWhere).m_nConditionOffset1;
            nWhere = At<BASECONDITIONBSON>(nWhere).m_nConditionOffset2;
        }
        if (nOuter != 0 && !HasOn(nTree)) {
            nTree = 0;
            Moved(CONDITION_NODE, nOuter);
        }
        UINT nInner = 0;
        if (nTree != 0 && nWhere != 0) SplitInner(nWhere, stQuery.m_nConditionFieldNum, nInner);
        ROWS stRows = {From(arObject, nTree), ""};
        std::string& strFrom = stRows.m_strFrom;
        std::size_t nMark = strFrom.size();
        for (std::vector<UINT> arOn = nInner ? Parts(nInner) : std::vector<UINT>(); !arOn.empty(); arOn.pop_back()) {
            nMark = nMark == 0 ? strFrom.npos : strFrom.rfind(ON_MARK, nMark - 1);
            if (nMark == strFrom.npos) break;
            strFrom.replace(nMark, 1, " on (" + Condition(arOn.back()) + ")");
        }
        std::erase(strFrom, ON_MARK);
        if (nWhere) stRows.m_strWhere = " where " + Condition(nWhere);
        EXPECT_TRUE(m_queMoved.empty());
        m_queMoved.swap(queOuter);
        return stRows;
    }

    /** What inner joins have added to WHERE, whose own sides are counted; `nWhere` keeps the rest. */
    void SplitInner(UINT& nWhere, UINT nNum, UINT& nInner) const {
        const auto& st = At<BASECONDITIONBSON>(nWhere);
        const bool bAll = CountSides(CONDITION_NODE, nWhere) == nNum;
        if (IsPair(st) && CountSides(CONDITION_NODE, st.m_nConditionOffset1) == nNum &&
            (!bAll || IsWrapper(st.m_nConditionOffset1) || IsWrapper(st.m_nConditionOffset2))) {
            nWhere = st.m_nConditionOffset1;
            nInner = st.m_nConditionOffset2;
        } else if (!bAll) {
            std::swap(nWhere, nInner);
        }
    }

    // --- statements --------------------------------------------------------------------------------------------------

    std::string Query(UINT nOffset) {
        static constexpr const char* UNIONS[] = {" BAD ", " union ", " union all ", " intersect ", " minus "};
        std::string strText;
        while (true) {
            const auto& stQuery = At<QUERYEXECUTEPLANBSON>(nOffset);
            strText += Block(stQuery);
            if (stQuery.m_nUnionOffset == 0) return strText;
            const auto& stUnion = At<UNIONINFO>(stQuery.m_nUnionOffset);
            strText += UNIONS[stUnion.m_bUnionType];
            nOffset = stUnion.m_nQueryPlanOffset;
        }
    }

    std::string Block(const QUERYEXECUTEPLANBSON& stQuery) {
        const auto& stCondition = At<COMMONCONDITION>(stQuery.m_nConditionOffset);
        const ROWS stRows = Rows(stQuery);
        std::vector<std::string> arText, arName; // the fields, and what columns call them
        std::string strFields;
        for (UINT n = stQuery.m_nExecuteFieldOffset; n != 0; n = At<EXECUTEFIELDBSON>(n).m_nNextOffset) {
            const auto& stField = At<EXECUTEFIELDBSON>(n);
            if (stField.m_bHide) continue;
            arName.push_back(Expression(stField.m_nExpOffset));
            // A column means the first field of its words: one that was there before gets brackets, as nothing else
            // has.
            const auto nSame = std::count(arText.begin(), arText.end(), arName.back());
            arText.push_back(arName.back());
            if (nSame != 0 && !arName.back().ends_with('*'))
                arName.back() = std::string(2 + nSame, '(') + arName.back() + std::string(2 + nSame, ')');
            std::string strField = arName.back();
            if (stField.m_bTitleLen) {
                arName.back() = Quoted(m_stPlan.Text(stField.m_nExpTitleOffset));
                strField += " as " + arName.back();
            }
            Add(strFields, strField);
        }
        std::string strText =
            std::string("select ") + (stQuery.m_bDistinct ? "distinct " : "") + strFields + " from " + stRows.m_strFrom;
        if (stCondition.m_nConnOffset) strText += Connect(At<RECURSION>(stCondition.m_nConnOffset));
        strText += stRows.m_strWhere;
        if (stQuery.m_nGroupByOffset) {
            const auto& stGroup = At<GROUPBY>(stQuery.m_nGroupByOffset);
            strText += " group by " + Columns(stGroup.m_nColumnOffset, stGroup.m_bFieldNum, arName, true);
        }
        if (stCondition.m_nHavingCondOffset)
            strText +=
                " having (" + Condition(At<HAVINGCONDITION>(stCondition.m_nHavingCondOffset).m_nConditionOffset) + ")";
        if (stQuery.m_nOrderByOffset) {
            const auto& stOrder = At<ORDERBY>(stQuery.m_nOrderByOffset);
            strText += " order by " + Columns(stOrder.m_nColumnOffset, stOrder.m_bFieldNum, arName,
                                              stOrder.m_bSubsetWithGroupBy || !stQuery.m_nGroupByOffset);
        }
        if (stQuery.m_bPageType)
            strText += " paging pagesize = " + std::to_string(stQuery.m_nPageSize) +
                       ", pageno = " + std::to_string(stQuery.m_nPageNo);
        m_nWaitTime = stQuery.m_nWaitTime;
        return strText;
    }

    /** Hidden columns stand in brackets, so that they are no field's words; in two if they aren't those of a group. */
    std::string Columns(UINT nOffset, UINT nNum, const std::vector<std::string>& arName, bool bAsInGroup) {
        std::string strText;
        for (const COLUMNDEF& st : m_stPlan.Records<COLUMNDEF>(nOffset, nNum)) {
            std::string strColumn = st.m_nFieldIndex >= arName.size() ? "BAD"
                                    : st.m_bSortType                  ? std::to_string(st.m_nFieldIndex + 1)
                                                                      : arName[st.m_nFieldIndex];
            if (st.m_nHideFieldOffset) {
                strColumn = "(" + Expression(At<EXECUTEFIELDBSON>(st.m_nHideFieldOffset).m_nExpOffset) + ")";
                if (!bAsInGroup) strColumn = "(" + strColumn + ")";
            }
            Add(strText, strColumn + (st.m_bSortType == SORT_DESCENDING ? " desc" : ""));
        }
        return strText;
    }

    std::string Connect(const RECURSION& st) {
        const auto Column = [&](BYTE bObject, std::string_view szName) {
            return (bObject ? m_mapObject[bObject] + "." : "") + Quoted(szName);
        };
        const std::string strDrive = "prior " + Column(st.m_bDriveObjectNo, CPlanReader::Field(st.m_pDriverFieldName));
        const std::string strIndex = Column(st.m_bIndexObjectNo, CPlanReader::Field(st.m_pIndexFieldName));
        std::string strText = " start with " + (st.m_nStartCondOffset ? Condition(st.m_nStartCondOffset) : "1 = 1");
        if (st.m_bLevel != 255) strText += " levels = " + std::to_string(st.m_bLevel);
        strText += " connect by " + (st.m_bDrection == 1 ? strDrive + " = " + strIndex : strIndex + " = " + strDrive);
        return st.m_nConnectCondOffset ? strText + " and (" + Condition(st.m_nConnectCondOffset) + ")" : strText;
    }

    std::string Insert(const INSERTEXECUTEPLANBSON& stInsert) {
        std::string strText = "insert into " + Objects(stInsert.m_stExecuteObject.m_nObjectOffset).at(0).m_strText;
        std::string strFields, strRows;
        for (UINT n = stInsert.m_nExecuteFieldOffset; n != 0; n = At<EXECUTEFIELDBSON>(n).m_nNextOffset)
            Add(strFields, Quoted(m_stPlan.Text(At<EXECUTEFIELDBSON>(n).m_nExpNameOffset)));
        if (!stInsert.m_bAllField) strText += " (" + strFields + ")";
        if (stInsert.m_bSubQuery) {
            const auto bKind = At<QUERYEXECUTEPLANBSON>(stInsert.m_nQueryPlanOffset).m_bSubQueryType;
            const std::string strQuery = Query(stInsert.m_nQueryPlanOffset);
            return strText + (bKind == SUBQUERY_ANY   ? " any (" + strQuery + ")"
                              : bKind == SUBQUERY_ALL ? " all (" + strQuery + ")"
                                                      : " " + strQuery);
        }
        const auto& stRecord = stInsert.m_stExecuteObject.m_stExecuteRecord;
        for (const auto& stRow : m_stPlan.Records<RECORDHEAD>(stRecord.m_nRecordAddrID, stRecord.m_nRecordNum)) {
            std::string strRow;
            for (const auto& stField : m_stPlan.Records<RSFIELDBSON>(stRow.m_nRsFieldOffset, stRow.m_bFieldNum))
                Add(strRow, Expression(stField.m_nFieldDataOffset));
            Add(strRows, "(" + strRow + ")");
        }
        return strText + " values " + strRows;
    }

    std::string Update(const UPDATEEXECUTEPLANBSON& stUpdate) {
        const auto [strFrom, strWhere] = Rows(At<QUERYEXECUTEPLANBSON>(stUpdate.m_nQueryPlanOffset));
        std::string strItems;
        for (UINT n = stUpdate.m_nExecuteFieldOffset; n != 0; n = At<EXECUTEFIELDBSON>(n).m_nNextOffset) {
            const auto& st = At<EXECUTEFIELDBSON>(n);
            Add(strItems, (st.m_bObjectNo ? m_mapObject[st.m_bObjectNo] + "." : "") +
                              Quoted(m_stPlan.Text(st.m_nExpNameOffset)) + " = " + Expression(st.m_nExpOffset));
        }
        return "update " + strFrom + " set " + strItems + strWhere;
    }

    const CPlanReader& m_stPlan;
    std::map<int, std::string> m_mapObject; // the qualifier of each object's fields
    std::deque<UINT> m_queMoved;            // comparisons that left a WHERE
    bool m_bPattern = false;                // a text with wildcards was printed
    int m_nWaitTime = 0;                    // of the last query
};
