#include "ParseSqlJoin.h"

#include <map>
#include <sstream>

#include "PlanMaker.h"

namespace {

class CJoinMaker : public CPlanMaker {
public:
    CJoinMaker() : CPlanMaker(PLAN_SELECT) {}
    template <typename T>
    T& At(UINT nOffset) {
        return *reinterpret_cast<T*>(m_stBson.ConvertOffset2Addr(nOffset));
    }

    std::string Tree(UINT nNode) {
        std::ostringstream stText;
        const auto& stNode = At<st_NODE_QUERYTREE>(nNode ? nNode : sizeof(EXECUTEPLANBSON));
        const st_JOINRS& stJoin = stNode.m_stJoinRs;
        if (nNode == 0) return "-";
        if (stNode.m_bType == QUERYTREE_RELATION) return std::to_string(stNode.m_stBaseRel.m_bObjectNo);
        stText << '(' << Tree(stJoin.m_nLChildNodeOffset) << ' ' << "?ilrf"[stJoin.m_bJoinType]
               << (stNode.m_bStraight ? "!" : "") << (stJoin.m_nJoinConditionOffset ? "on" : "") << ' '
               << Tree(stJoin.m_nRChildNodeOffset) << ')';
        return stText.str();
    }

    /** A FROM list of object numbers and joins: "!" is a STRAIGHT_JOIN, "o" an inner one with a condition. */
    std::string From(const char* lpszList) {
        static constexpr std::string_view KINDS = "-ilrf!o---()";
        std::istringstream stList(lpszList);
        CKestroStack stStack;
        CKestroQueue stQueue;
        UINT nObject = 0, nFirst = 0, nRoot = 0;
        for (std::string strWord; stList >> strWord;) {
            const auto nKind = KINDS.find(strWord[0]);
            if (strWord == ",") {
                EXPECT_EQ(PopJoinInfo2Queue(m_stBson, stStack, stQueue), ERR_OK);
            } else if (nKind != KINDS.npos) {
                const bool bOwn = nKind == 5 || nKind == 6;
                m_arInfo[m_nInfo] = {bOwn ? BYTE{JOIN_INNER} : static_cast<BYTE>(nKind), nKind == 5, nKind == 6};
                EXPECT_EQ(PushJoinInfo2Stack(m_stBson, &m_arInfo[m_nInfo++], stStack, stQueue), ERR_OK);
            } else {
                const BYTE bNo = static_cast<BYTE>(std::stoi(strWord));
                const UINT nLast = nObject;
                New<OBJECTBSON>(nObject)->m_bObjectNo = bNo;
                (nLast ? At<OBJECTBSON>(nLast).m_nNextOffset : nFirst) = nObject;
                EXPECT_EQ(CreateBaseRel(m_stBson, bNo, OBJECT_TABLE, nRoot), ERR_OK);
                EXPECT_EQ(PushBaseRel2Queue(m_stBson, nRoot, stQueue), ERR_OK);
            }
        }
        EXPECT_EQ(PopJoinInfo2Queue(m_stBson, stStack, stQueue), ERR_OK);
        if (const int nCode = CreateJoinTree(m_stBson, stQueue, nRoot)) return std::to_string(nCode);
        EXPECT_EQ(AddBaseRel2JoinTree(m_stBson, nRoot ? nFirst : 0, nRoot), ERR_OK);
        return Tree(nRoot);
    }

    UINT Field(int nObject) {
        const UINT nSide = Expression(0, std::string_view("a\0", 2), SOURCE_FIELD);
        At<MATHEXPELEMENTBSON>(At<st_MATHEXPBSON>(nSide).m_nExpOffset1).m_bObjectNo = static_cast<BYTE>(nObject);
        return nSide;
    }
    /** "1>2" is 1.a = 2.a(+), "1<2" is 1.a(+) = 2.a, "1=2" has no mark, "1c" compares with something else. */
    UINT Compare(const std::string& strText) {
        UINT nCompare = 0;
        std::size_t nMark = 0;
        const int nFirst = std::stoi(strText, &nMark);
        auto* const lpCompare = New<COMPAREEXPBSON>(nCompare);
        lpCompare->m_bExpressionType1 = EXPCLASS_FIELD;
        lpCompare->m_bExpressionType2 = strText[nMark] == 'c' ? EXPCLASS_CONSTANT : EXPCLASS_FIELD;
        lpCompare->m_bJoinType = strText[nMark] == '>' ? OUTER_RIGHT : strText[nMark] == '<' ? OUTER_LEFT : OUTER_NONE;
        lpCompare->m_nMathExpOffset1 = Field(nFirst);
        if (nMark + 1 < strText.size()) lpCompare->m_nMathExpOffset2 = Field(std::stoi(strText.substr(nMark + 1)));
        m_mapText[nCompare] = strText;
        return nCompare;
    }
    UINT Node(UINT nFirst, UINT nCompare) {
        UINT nNode = 0;
        const bool bNode = nFirst != 0 && !m_mapText.count(nFirst);
        *New<BASECONDITIONBSON>(nNode) = {bNode ? BYTE{CONDITION_NODE} : BYTE{CONDITION_COMPARE},
                                          nCompare ? BYTE{CONDITION_COMPARE} : BYTE{CONDITION_NONE},
                                          0,
                                          LOGIC_AND,
                                          nFirst,
                                          nCompare};
        return nNode;
    }
    std::string Condition(UINT nNode) {
        const auto stNode = At<BASECONDITIONBSON>(nNode);
        std::string strText = stNode.m_bConditionType1 == CONDITION_NODE ? Condition(stNode.m_nConditionOffset1)
                                                                         : m_mapText[stNode.m_nConditionOffset1];
        return strText.append(stNode.m_bLogicOperator ? "&" : ".").append(m_mapText[stNode.m_nConditionOffset2]);
    }
    /** Comparisons under AND: the tree they make, what stays in WHERE, and the conditions that leave it. */
    std::string Where(const char* lpszList) {
        std::istringstream stList(lpszList);
        UINT nWhere = 0, nRoot = 0;
        for (std::string strWord; stList >> strWord;)
            nWhere = nWhere ? Node(nWhere, Compare(strWord)) : Node(Compare(strWord), 0);
        CKestroQueueUINT stQueue;
        if (const int nCode = GetJoinTreeFromCondition(m_stBson, nWhere, nRoot, stQueue)) return std::to_string(nCode);
        std::string strText = Tree(nRoot) + " where ";
        for (strText += Condition(nWhere); !stQueue.empty(); stQueue.pop())
            strText += "; " + Condition(stQueue.front());
        return strText;
    }

    std::map<UINT, std::string> m_mapText;
    st_JOININFO m_arInfo[10];
    int m_nInfo = 0;
};

TEST(ParseJoin, BuildsTheTreeOfAFromList) {
    constexpr const char* ROWS[][2] = {
        {"1 , 2", "-"},
        {"1 i 2 l 3", "((1 i 2) l 3)"},
        {"1 r 2", "(2 l 1)"},
        {"1 o 2 ! 3", "((1 ion 2) i! 3)"},
        {"1 l ( 2 f 3 ) i 4", "((1 l (2 f 3)) i 4)"},
        {"1 , 2 i 3 , 4", "(((2 i 3) i 1) i 4)"},
        {"1 l 2 , 3 , 4 l 5", "(((1 l 2) i (4 l 5)) i 3)"},
        // The same object twice, and one whose bit is the same; joins without enough objects.
        {"1 l 2 , 1 l 3", "505"},
        {"1 i 65", "505"},
        {"1 i 2 , 66", "(1 i 2)"},
        {"1 i", "1"},
    };
    for (const auto& [lpszList, lpszTree] : ROWS)
        EXPECT_EQ(CJoinMaker().From(lpszList), lpszTree) << lpszList;
}

TEST(ParseJoin, MovesOuterComparisonsIntoTheTree) {
    constexpr const char* ROWS[][2] = {
        {"1>2", "(1 l 2) where &; 1>2."},
        {"1<2", "(2 l 1) where &; 1<2."},
        {"1=2 2c", "- where 1=2&&2c"},
        {"1>2 1c 2>3", "((1 l 2) l 3) where &&1c&; 1>2.; 2>3."},
        {"1>2 3>2", "(3 l (1 l 2)) where &&; 1>2.; 3>2."},
        {"1>2 2<3", "(3 l (1 l 2)) where &&; 1>2.; 2<3."},
        {"1>2 3>4 4<2", "((1 l 2) i (3 l 4)) where &&&4<2; 1>2.; 3>4."},
        // One object, none, and one beyond those that may be joined.
        {"1>1", "- where 1>1&"},
        {"0>1 1>0", "- where 0>1&&1>0"},
        {"1>250 1>249", "(1 l 249) where 1>250&&; 1>249."},
        {"1=", "613"},
    };
    for (const auto& [lpszList, lpszTree] : ROWS)
        EXPECT_EQ(CJoinMaker().Where(lpszList), lpszTree) << lpszList;
}

TEST(ParseJoin, WalksALongConditionAndRunsOutOfRoom) {
    CJoinMaker stMaker;
    ASSERT_EQ(stMaker.m_stBson.ReAllocBsonBuffer(20'000'000), ERR_OK);
    UINT nWhere = stMaker.Node(stMaker.Compare("1>2"), 0), nRoot = 0, nCondition = 0;
    for (int i = 0; i < 1'000'000; ++i)
        nWhere = stMaker.Node(nWhere, 0);
    CKestroQueueUINT stQueue;
    EXPECT_EQ(GetJoinTreeFromCondition(stMaker.m_stBson, nWhere, nRoot, stQueue), ERR_OK);
    EXPECT_EQ(stMaker.Tree(nRoot), "(1 l 2)");
    for (const char* const lpszCompare : {"1>2", "2>3", "3>4"})
        EXPECT_EQ(CreateJoinCondition(stMaker.m_stBson, stMaker.Compare(lpszCompare), nCondition), ERR_OK);
    EXPECT_EQ(stMaker.Condition(nCondition), "1>2&2>3&3>4");
    const UINT nCompare = stMaker.Compare("3<4"), nSize = stMaker.m_stBson.GetBufferSize();
    for (UINT nRoom = 0; nRoom < 4 * sizeof(st_NODE_QUERYTREE) + sizeof(BASECONDITIONBSON); nRoom += 4) {
        UINT nTree = nRoot, nNew = 0;
        stMaker.m_stBson.SetDataLen(nSize - nRoom);
        EXPECT_EQ(GetJoinPathFromCompareExpression(stMaker.m_stBson, nCompare, nTree, nNew), ERR_MEMORY);
    }
}

} // namespace
