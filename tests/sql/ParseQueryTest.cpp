#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

#include "Fields.h"
#include "KestroDate.h"
#include "PlanLine.h"
#include "QueryText.h"

namespace {

std::string Compiled(const std::string& strSql, int nPageStart = 0, int nPageSize = 0) {
    const auto Print = [](const CPlanReader& st) { return CQueryText(st).Query(st.Head().m_nCommandOffset); };
    return CompiledAs(strSql, Print, nPageStart, nPageSize);
}

constexpr const char* PLANS[][2] = {
    // Select lists: names as written, cut at a character's edge; aliases; objects of lone columns.
    {"select distinct t.a as \"My A\", b+1 cc, 'x', `q`, count(*) from d.t where a=1 and b>?",
     "q1.1 distinct aggregate mixed t.a(My A)=1.A:1@1, b+1(cc)=(+ B 1):5, 'x'='x':4, q=Q:1, count(*)=(f80 ):3 from "
     "1:d.T where (and (= A:1 1:4) (> B:1 ?:4)):2"},
    {"select -a_name_of_more_than_31_bytes_in_it x, t.*, '测试测试测试测试测试测试', t.\"a b\", \"c d\", 1 * b from t",
     "q1.1 -a_name_of_more_than_31_bytes_i(x)=(neg A_NAME_OF_MORE_THAN_31_BYTES_IN_IT):1, t.*=1.*:1@1, "
     "'测试测试测试测试测试='测试测试测试测试测试测试':4, t.\"a b\"=1.a b:1@1, c d=c d:1, 1*b=(* 1 B):5 from 1:T"},
    {"select sum(a)+b from t", "q1.1 aggregate mixed sum(a)+b=(+ (f84 A) B):10 from 1:T"},
    // Objects: one for each alias, each with its kind; a derived table is numbered behind those inside.
    {"select a from t, node n, relation r, t x, d.u as \"U\"",
     "q1.1 a=A:1 from 1:T, 2:node N, 3:relation R, 4:T(x), 5:d.U(U)"},
    {"select a from (select b from u union all (select c from v)) d, (select e from w) where d.b in (select x from y "
     "where z=d.b)",
     "q1.1 a=A:1 from 3:[q2.2/1 b=B:1 from 1:U then-all q3.2/1 c=C:1 from 2:V](d), 5:[q4.2/1 e=E:1 from 4:W] where (in "
     "3.B:1 [q]):1"},
    // Keywords are names where only a name can stand.
    {"select count(*) as count from old, db.type as of_node, node, relation user join value as data start with "
     "parent=1 "
     "connect by prior id=parent",
     "q1.1 aggregate count(*)(count)=(f80 ):3 from 1:OLD, 2:db.TYPE(of_node), 3:NODE, 4:relation USER, 5:VALUE(data) "
     "tree "
     "((((4 join 5) join 1) join 2) join 3) connect (= PARENT:1 1:4) levels 255 prior-left 0.ID to 0.PARENT"},
    // Joins: "," parts trees, brackets keep theirs together, a right join turns round.
    {"select 1 from t join u on t.a=u.a left join v on v.b=u.b and v.c=1, w where t.z=1",
     "q1.1 1=1:4 from 1:T, 2:U, 3:V, 4:W tree (((1 join 2) left 3 on (and (= 3.B:1 2.B:1) (= 3.C:1 1:4))) join 4) "
     "where+join (and (and (= 3.B:1 2.B:1) (= 3.C:1 1:4)) (and {(= 1.Z:1 1:4)} {(= 1.A:1 2.A:1)})):1"},
    {"select 1 from a right outer join b on a.x=b.x",
     "q1.1 1=1:4 from 1:A, 2:B tree (2 left 1 on (= 1.X:1 2.X:1)) join (= 1.X:1 2.X:1)"},
    {"select 1 from e, a full join b straight_join c cross join d inner join f",
     "q1.1 1=1:4 from 1:E, 2:A, 3:B, 4:C, 5:D, 6:F tree ((((2 full 3) straight join 4) join (5 join 6)) join 1)"},
    {"select 1 from a left join (b join c on b.x=c.x) on a.x=b.x",
     "q1.1 1=1:4 from 1:A, 2:B, 3:C tree (1 left (2 join 3) on (= 1.X:1 2.X:1)) where+join (and {(= 1.X:1 2.X:1)} {(= "
     "2.X:1 3.X:1)})"},
    {"select 1 from a left join (b, c right join d on c.x=d.x) on 1=1",
     "q1.1 1=1:4 from 1:A, 2:B, 3:C, 4:D tree (1 left (2 join (4 left 3 on (= 3.X:1 4.X:1)))) join (= 3.X:1 4.X:1)"},
    {"select 1 from (a), (b)", "q1.1 1=1:4 from 1:A, 2:B"},
    {"select * from a, b where a.x = b.y(+)",
     "q1.1 *=*:1 from 1:A, 2:B tree (1 left 2) where+join (and {(=r 1.X:1 2.Y:1)} {-}):2"},
    {"select * from t where 1=1", "q1.1 *=*:1 from 1:T"},
    // Columns: places of fields and of hidden ones; words count first in GROUP BY, aliases in ORDER BY.
    {"select a x, b as from_b, a from t group by a,c,x having count(*)>1 order by x desc,c,3,d",
     "q1.1 hide=C:1, a(x)=A:1, b(from_b)=B:1, a=A:1, hide=C:1, hide=D:1 from 1:T group 0 h0 0 order 0- h1 2 h2 having "
     "(> (f80 ):3 1:4):1"},
    {"select b a, a from t group by A order by \"A\" asc, t.a, 'x'",
     "q1.1 b(a)=B:1, a=A:1, hide=1.A:1, hide='x':4 from 1:T group 1 order 0 h0 h1"},
    {"select a, 'x' from t group by a, b+1 order by b+1, a desc",
     "q1.1 hide=(+ B 1):5, a=A:1, 'x'='x':4, hide=(+ B 1):5 from 1:T group 0 h0 order-of-group h1 0-"},
    // Hierarchies.
    {"select a from t start with t.a=1 levels=3 connect by prior t.a=t.b and c=2 where d=1",
     "q1.1 a=A:1 from 1:T where (= D:1 1:4):1 connect (= 1.A:1 1:4) levels 3 prior-left 1.A to 1.B and (= C:1 2:4)"},
    {"select a from t start with a=1 connect by a=prior b and c=1 and d = prior e",
     "q1.1 a=A:1 from 1:T connect (= A:1 1:4) levels 255 prior-right 0.B to 0.A and (and (= C:1 1:4) (prior E:1 D:1))"},
    // Set operations, and brackets that the head leaves in front.
    {"(select 1 from t) union (select 2 from u) except (select 3 from v intersect select 4 from w)",
     "q1.1 1=1:4 from 1:T then q2.1 2=2:4 from 2:U then-minus q3.1 3=3:4 from 3:V then-intersect q4.1 4=4:4 from 4:W"},
    {"select 1 from t where b = any (select c from u) order by 1 paging pagesize=10,pageno=2 for update wait 70000",
     "q1.1 page 2+10 wait 65535 1=1:4 from 1:T where (= B:1 [q]:7):2 order 0"}};

TEST(ParseQueryTest, Plans) {
    for (const auto& [lpszSql, lpszExpected] : PLANS)
        EXPECT_EQ(Compiled(lpszSql), lpszExpected) << lpszSql;
}

TEST(ParseQueryTest, WrongStatements) {
    // Whole statements, or what follows "select a from t ".
    ExpectRows(
        {"select a => 505 at 1", "select from t => 505 at 0", "select a, from t => 515 at 2",
         "select a,,b from t => 515 at 2", "select (a from t => 505 at 4", "select a where a=1 from t => 505 at 5",
         "select t.* from t group by a => 505 at 2",
         // Objects and joins.
         "select a from => 551 at 2", "select a from ,t => 553 at 2", ", => 553 at 4", ",t => 505 at 4",
         "x,u x => 538 at 5", "u v => 553 at 4", "as 'x' => 553 at 4", "as of => 553 at 4",
         "as left join u => 553 at 4", "join => 553 at 4", "left u => 553 at 4", "cross u => 553 at 4",
         "on a=1 => 553 at 3", "join t => 505 at 4", ") => 505 at 3", "select a from (t => 505 at 4",
         "select a from a.b.c => 553 at 5", "select a from (t join u on) x => 558 at 7",
         "join u on t.a=u.a, v where t.a=v.a(+) => 505 at 16",
         // Order and number of clauses.
         "where => 558 at 4", "where a=1 where b=1 => 505 at 7", "order by a where b=1 => 505 at 6",
         "select b from u => 505 at 3", "match (n) where a=1 => 99 at 3", "group a => 505 at 4", "group by => 505 at 5",
         "group by a, => 505 at 7", "order by a,,b => 505 at 7", "order by 2 => 505 at 5", "order by 0 => 505 at 5",
         "having a=1 => 505 at 3", "group by a having 1=1 => 558 at 7", "paging => 563 at 4",
         "paging pagesize=1,pagesize=2 => 563 at 8", "paging pagesize=a,pageno=2 => 563 at 6",
         "paging pagesize=1,pageno=99999999999 => 563 at 10", "paging pagesize=1,pageno=2 3 => 563 at 11",
         "for => 505 at 4", "for update now => 505 at 5", "for update wait x => 505 at 6",
         "as of timestamp => 505 at 6", "as of timestamp 'x' => 1504 at 6", "as of timestamp '9000-01-01' => 49 at 6",
         "as of timestamp '2026-01-01                      ' => 505 at 6", "as of timestamp '2026-01-01' x => 505 at 7",
         // What a subquery may not have.
         "where b in (select b from t paging pagesize=1,pageno=2) => 505 at 11",
         "where b in (select c from t for update) => 567 at 7", ", (select b from t for update) x => 567 at 4",
         ", (select b from t as of timestamp '2026-01-01') => 505 at 11",
         // Hierarchies.
         "start a=1 => 560 at 4", "start with a=1 => 560 at 8", "start with a=1 connect prior a=b => 560 at 9",
         "start with a=1 connect by a=b => 560 at 10", "start with a=1 connect by prior a=a => 560 at 10",
         "start with a=1 connect by prior x.a=t.b => 560 at 11",
         "start with a=1 connect by prior a=b or c=1 => 560 at 14",
         "start with a=1 levels=256 connect by prior a=b => 560 at 8",
         "start with a=1 connect by prior a_name_that_is_longer_than_31_bytes=b => 560 at 11",
         "start with a=1 connect by prior a=b and (c=1 or d = prior e) => 560 at 14",
         // Set operations.
         "union => 505 at 3", "union all => 505 at 4", "union 2 from u => 505 at 4", "union select => 505 at 5",
         "(select a from t) union (2 from u) => 505 at 8", "(select a from t) x (select b from u) => 505 at 13"},
        [](const std::string& strRow) {
            const bool bWhole = strRow[0] == '(' || strRow.find("select a") == 0 || strRow.find("select (") == 0 ||
                                strRow.find("select t") == 0 || strRow.find("select f") == 0;
            return Compiled(bWhole ? strRow : "select a from t " + strRow);
        });
}

TEST(ParseQueryTest, HeadOfThePlan) {
    using namespace std::chrono;
    const auto nDays = (sys_days{year{2026} / 1 / 1} - sys_days{year{1601} / 1 / 1}).count();
    const long long llStamp = (nDays * 24 - DbTimeZoneValue()) * 3600 * 10000000 * 32;
    // The kind of lock, whether it's logged, and the time.
    ExpectRows({"1 from t => 0 0 0", "1 from t for update => 1 1 0", "1 from t for update nowait => 2 1 0",
                "1 from t union select 2 from u for update skip locked => 3 1 0",
                "1 from t for update wait 3 as of timestamp '2026-01-01 00:00:00' => 4 1 1"},
               [&](const std::string& strSql) {
                   return CompiledAs("select " + strSql, [&](const CPlanReader& stPlan) {
                       const EXECUTEPLANBSON& st = stPlan.Head();
                       const bool bStamp = st.m_nTimestamp == llStamp;
                       EXPECT_TRUE(bStamp || st.m_nTimestamp == 0);
                       return PrintText("%d %d %d", st.m_bExecuteParam, st.m_bWriteLog, bStamp);
                   });
               });
    // The statement's page is that of a plain query only.
    EXPECT_EQ(Compiled("select 1 from t", 20, 10), "q1.1 page 20+10 1=1:4 from 1:T");
    EXPECT_EQ(Compiled("select 1 from t order by 1", 20, 10), "q1.1 1=1:4 from 1:T order 0");
    EXPECT_EQ(Compiled("select 1 from t minus select 2 from t", 20, 10),
              "q1.1 1=1:4 from 1:T then-minus q2.1 2=2:4 from 2:T");
}

// 31 levels, whatever stands between them.
TEST(ParseQueryTest, QueriesNestToTheLastLevel) {
    for (const char* const lpszAround :
         {"select a from t where a in (^)", "select a from t where b or c and (not exists (^))",
          "select a from t where abs((^)) > 1", "select a from (^) x"}) {
        const std::string strAround = lpszAround;
        const std::size_t nInner = strAround.find('^');
        std::string strSql = "select a from t";
        for (int nLevel = 2; nLevel <= 32; ++nLevel) {
            strSql = strAround.substr(0, nInner) + strSql + strAround.substr(nInner + 1);
            if (nLevel < 31) continue;
            EXPECT_EQ(Compiled(strSql).substr(0, 7), nLevel == 31 ? "q1.1 a=" : "1541 at") << strSql;
        }
    }
}

TEST(ParseQueryTest, HostileStatementsEnd) {
    const auto Numbered = [](const char* lpszLink, int nNum) {
        std::string strText = "select 1 from t";
        for (int i = 0; i < nNum; ++i)
            strText.append(lpszLink).append(std::to_string(i));
        return strText;
    };
    const auto Nested = [](int nDepth) {
        return "select a from " + Repeat("(select a from ", nDepth) + "t" + Repeat(")", nDepth);
    };
    constexpr int MANY = 30000;
    const std::pair<std::string, std::string> ROWS[] = {
        {"select a" + Repeat(",b", 65535) + ",c from t group by b order by z, c", "1524 at 131082"},
        {"select a from t group by z" + Repeat(",c", 255), "1524 at 515"},
        {"select a from t" + Repeat(" union select a from t", MANY), "1541 at 1274"},
        {Numbered(",t", 255), "1516 at 512"},
        {Numbered(" join t", 64), "505 at 2"},
        {"select 1 from u join v" + Numbered(",t", 63).substr(15), "1516 at 2"},
        {Nested(31), "1541 at 123"},
        {Nested(MANY), "1541 at 123"},
        {"select a from t where a in " + Repeat("(select a from t where a in ", MANY), "505 at 240006"},
        {Repeat("(", MANY) + "select 1 from t" + Repeat(")", MANY - 1) + " union select 1 from t)",
         "q1.1 1=1:4 from 1:T then q2.1 1=1:4 from 2:T"},
        {Repeat("(", MANY) + "select 1 from t" + Repeat(" union select 1 from t)", MANY) + " union select 1 from t",
         "1541 at 99"},
        {"select 1 from " + Repeat("(", MANY) + "t" + Repeat(")", MANY), "q1.1 1=1:4 from 1:T"},
        {"select " + Repeat(",", MANY) + " from t", "515 at 0"}};
    for (const auto& [strSql, strExpected] : ROWS)
        EXPECT_EQ(Compiled(strSql), strExpected) << strSql.substr(0, 60);
    EXPECT_EQ(Compiled(Nested(30)).substr(0, 22), "q1.1 a=A:1 from 31:[q2");
    EXPECT_EQ(std::ranges::count(Compiled(Numbered(",t", 254)), ':'), 256);
    const std::string strLong = Repeat(" or c=1", MANY, "select 1 from t start with a=1 connect by prior a=b and d=1");
    EXPECT_EQ(CompiledAs(strLong, [](const CPlanReader&) { return ""; }), "");
}

} // namespace
