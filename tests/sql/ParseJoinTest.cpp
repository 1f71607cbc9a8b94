#include "ParseSqlJoin.h"

#include "Fields.h"
#include "PlanLine.h"
#include "PlanMaker.h"
#include "QueryText.h"

namespace {

/** What follows the objects of a query of "select 1 from", or the code and the word of its error. */
std::string Joined(const std::string& strFrom) {
    const std::string strText = CompiledAs("select 1 from " + strFrom, [](const CPlanReader& stPlan) {
        return CQueryText(stPlan).Query(stPlan.Head().m_nCommandOffset);
    });
    return strText.substr(std::min(strText.find(" tree"), strText.size()));
}

TEST(ParseJoin, MovesOuterComparisonsIntoTheTree) {
    constexpr const char* ROWS[][2] = {
        {"a, b where a.x = b.x", ""},
        {"a, b where a.x(+) = b.x", " tree (2 left 1) where+join (and {(=l 1.X:1 2.X:1)} {-}):2"},
        {"a, b, c where a.x = b.x(+) and a.y = 1 and b.x = c.x(+)",
         " tree ((1 left 2) left 3) where+join (and (and {(=r 1.X:1 2.X:1)} {(=r 2.X:1 3.X:1)}) (and (and - (= 1.Y:1 "
         "1:4)) -)):5"},
        {"a, b, c where a.x = b.x(+) and c.x = b.x(+)",
         " tree (3 left (1 left 2)) where+join (and (and {(=r 1.X:1 2.X:1)} {(=r 3.X:1 2.X:1)}) (and - -)):4"},
        {"a, b, c where a.x = b.x(+) and b.x(+) = c.x",
         " tree (3 left (1 left 2)) where+join (and (and {(=r 1.X:1 2.X:1)} {(=l 2.X:1 3.X:1)}) (and - -)):4"},
        {"a, b, c, d where a.x = b.x(+) and c.x = d.x(+) and d.x(+) = b.x",
         " tree ((1 left 2) join (3 left 4)) where+join (and (and {(=r 1.X:1 2.X:1)} {(=r 3.X:1 4.X:1)}) (and (and - "
         "-) (=l 4.X:1 2.X:1))):6"},
        {"a, b where a.x = b.x(+) and b.y(+) = a.y",
         " tree (1 left 2) where+join (and {(=r 1.X:1 2.X:1)} (and - (=l 2.Y:1 1.Y:1))):4"},
        {"a, b where not (a.x = b.x(+) or a.y = 2)",
         " tree (1 left 2) where+join (and {(=r 1.X:1 2.X:1)} !(or - (= 1.Y:1 2:4))):3"},
        // One object, one that isn't known, one of an outer query, and one side that is no field.
        {"t, (select 1 from u where u.a(+) = t.b) x", ""},
        {"a where a.x = a.y(+)", ""},
        {"a, b where x = b.x(+)", ""},
        {"a, b where a.x = b.x(+) + 1", ""},
        // Trees of a list become one.
        {"a left join b on a.x = b.x, c, d left join e on d.x = e.x",
         " tree (((1 left 2 on (= 1.X:1 2.X:1)) join (4 left 5 on (= 4.X:1 5.X:1))) join 3) join (and {(= 1.X:1 "
         "2.X:1)} {(= 4.X:1 5.X:1)})"}};
    for (const auto& [lpszFrom, lpszJoined] : ROWS)
        EXPECT_EQ(Joined(lpszFrom), lpszJoined) << lpszFrom;
}

TEST(ParseJoin, WalksALongCondition) {
    const auto HasTree = [](const CPlanReader& stPlan) {
        const auto* lpQuery = stPlan.Record<QUERYEXECUTEPLANBSON>(stPlan.Head().m_nCommandOffset);
        return lpQuery && lpQuery->m_nQueryPathOffset != 0 ? "tree" : "none";
    };
    const std::string strSql = Repeat(" and a.y = 1", 100'000, "select 1 from a, b where a.x = b.x(+)");
    EXPECT_EQ(CompiledAs(strSql, HasTree), "tree");
}

// A second comparison comes into the node of the first one, a third into a new one.
TEST(ParseJoin, GathersComparisons) {
    CPlanMaker stMaker(PLAN_SELECT);
    UINT nCondition = 0;
    for (const UINT nCompare : {101u, 102u, 103u})
        EXPECT_EQ(CreateJoinCondition(stMaker.m_stBson, nCompare, nCondition), ERR_OK);
    const auto* lp = reinterpret_cast<BASECONDITIONBSON*>(stMaker.m_stBson.ConvertOffset2Addr(nCondition));
    EXPECT_TRUE(lp->m_bConditionType1 == CONDITION_NODE && lp->m_nConditionOffset2 == 103);
    lp = reinterpret_cast<BASECONDITIONBSON*>(stMaker.m_stBson.ConvertOffset2Addr(lp->m_nConditionOffset1));
    EXPECT_TRUE(lp->m_bLogicOperator == LOGIC_AND && lp->m_nConditionOffset1 == 101 && lp->m_nConditionOffset2 == 102);
}

} // namespace
