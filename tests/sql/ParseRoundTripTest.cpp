// What holds for every statement: its plan printed as SQL compiles to the same plan again, no name gets lost, and
// brackets that only say what priorities say anyway change nothing. Statements made at random from a grammar, the same
// in each run, and a table of what the grammar doesn't make.

#include <gtest/gtest.h>

#include "Grammar.h"
#include "PlanLine.h"
#include "PlanSql.h"

namespace {

/** A statement compiles, and comes back from its plan. */
void ExpectBack(const std::string& strSql) {
    const auto Nameless = [](const CPlanReader& st) { return PlanLine(st, false); };
    const auto Print = [](const CPlanReader& st) { return CPlanSql(st).Statement(); };
    const std::string strPlan = CompiledAs(strSql, Nameless), strBack = CompiledAs(strSql, Print);
    EXPECT_EQ(strPlan.substr(0, 6), "nType=") << strPlan << "\n" << strSql;
    EXPECT_EQ(strPlan, CompiledAs(strBack, Nameless)) << strSql << "\nas " << strBack;
    EXPECT_EQ(strBack, CompiledAs(strBack, Print)) << strSql; // which has the names of INSERT and UPDATE
}

TEST(ParseRoundTripTest, RichStatements) {
    static constexpr const char* ROWS[] = {
        "select t.a as \"My A\", b+1 cc, sysdate(), now(), \"d e\", null, 'it''s' from shop.t where new.a = old.name "
        "for update nowait",
        "select sum(-1.50), max(2), count('x'), round(a, 1), to_char(d), log(a), log(a, 2), rand(), ln(a), log2(a), "
        "cast(a + 1 as date), convert(b, char), s.currval, trim(a, b, c), avg(a), nvl2(a, b, c), sqrt(a), least(a, b), "
        "from_unixtime(a), current_date(), interval 1.5 second + d, d + interval '1:30' hour_minute, j->'$.a[0]', j "
        "->> '$.c' from t",
        "select a from t where a like 'x!_%' escape '!' or not b not like '\\%y_' and c like ('50%') or 'x' like d",
        "select a from t where (a = 1 or not b in (2.50, -3, null, 'x')) and c not in (a, ?) and not not e and f is "
        "not true",
        "select a from t where not exists (select 1 from u where u.id = t.id) or not (exists (select 2 from v))",
        "select a x, sum(b) + 1, c from t group by x, c, d + 1 having max(e) > 2 order by x desc, 3, d + 1, (2), c",
        "select a, 'x' from t group by a, b+1 order by b+1, a desc",
        "select b a, a from t group by A order by \"A\" asc, t.a, 'x' paging pageno=2, pagesize=3 for update wait 5",
        "select 1 from t join u on t.a=u.a left join v on v.b=u.b and v.c=1, w where t.z=1",
        "select 1 from a right outer join b on a.x=b.x join c on c.x = 1 straight_join d on d.x = 2 or d.y = 3",
        "select 1 from e, a full join b straight_join c cross join d inner join f",
        "select 1 from a left join (b, c right join d on c.x=d.x) on 1=1 where 1 = 2",
        "select 1 from a join b on (a.x = 1 or b.x = 2) and b.y = 3 join c on a.x = c.x where (a.y or b.y) and c.z",
        "select * from t1 a, t2 b, (select c from t3 where c > 0) d where (a.id = b.id(+) or b.id > 1) and d.c(+) = "
        "a.c",
        "select a from t start with t.a=1 levels=3 connect by prior t.a=t.b and c=2 where d=1",
        "select a from t start with 1=1 connect by a=prior b and c=1 and d = prior e",
        "(select a from t) intersect (select b from u) minus select c from v union all select d from w order by 1",
        "select a from d.t, (select b from d.u x where d.t.a = x.b union select c from node n) y where y.b = t.a for "
        "update skip locked",
        "insert into t (a, b) select a, b from u where a > 0 union select 1, t.b from t",
        "update d.t join u x on t.id = x.id set d.t.a = x.a, x.b = null"};
    for (const char* const lpszSql : ROWS)
        ExpectBack(lpszSql);
    EXPECT_EQ(Compiled("select a from t paging pageno=2, pagesize=3"),
              Compiled("select a from t paging pagesize=3, pageno=2"));
}

// "{" and "}" are brackets that may be left out. The text of a field or column is its name, which brackets change.
// Aggregates and lists hold no constant expressions: those become values at once, of types that no text has.
constexpr const char* GRAMMAR[] = {
    "statement $query;$query;$query;($query) intersect $query;$query minus $query;"
    "$query union all select $fields from $from order by 1;"
    "insert into shop.t ($name, $name) values ({$value}, default), ($value, ?);insert into t (a, $name) $query;"
    "insert into t any ($query);update $from set $name = {$link}, x@.$name = null$where;delete from $from$where;"
    "$query paging pagesize = 10, pageno = 3;$query for update wait 7",
    "value 'x';{$value} + {$name};upper($value);1.5",
    "query select $fields from $from;select distinct $fields from $from$where$group$order;"
    "select $fields from $from$where;select x@.*, $fields from node t x@, relation u;"
    "select $fields from t x@, u y@ where {$and} and x@.$name(+) = y@.$name;"
    "select $fields from t x@ start with {$or} connect by prior x@.$name = $name and {$not}$where",
    "fields $link;$link, $link y;$link as y, $link;*;count(*), sum($name * {$unary}) - max($name);min(x@.$name) m",
    "from t x@;shop.t x@, u;($query) x@;v, t x@ join u y@ on $on;t x@ left join (u join v y@ on $on) on $on;"
    "t x@ right join u y@ on $on;t x@ straight_join u y@ full join v on $on",
    "on {x@.$name = $name};{x@.$name = $name} and {$not};{$or}",
    "where ; where {$or}; where {$or}",
    "group ; group by $columns; group by $columns having {count(*) > 1} and {$not}",
    "order ; order by $columns desc; order by 1 asc, $name desc",
    "columns $name;x@.$name, $name;$sum, $name",
    "or $and;{$or} or {$and}",
    "and $not;{$and} and {$not}",
    "not $compare;$compare;not {$link = $link};not ({$or})",
    "compare $name;{$link} = {$link};{$sum} < $sum;$name <= {$sum};$link >= {$link};$name <> {$sum};"
    "{$sum} between {$sum} and {$sum};$name like 'a%_';$name not like {$sum};$name is not null;"
    "{$link} in (1, $name * {$unary}, 'x');$name not in (2, 'b');exists ($query);not exists ($query);"
    "$name in ($query);$name > all ($query);any ($query) = {$link}",
    "link $sum;$sum;$sum;{$link} || {$sum}",
    "sum $product;$product;$product;{$sum} + {$product};{$sum} - {$product}",
    "product $unary;$unary;$unary;{$product} * {$unary};{$product} / {$unary};{$product} % {$unary};"
    "{$product} div $unary",
    "unary $atom;$atom;$atom;- {$unary};+ {$unary}",
    "atom $leaf;$leaf;$leaf;($link);$call;($query)",
    "call abs($link);nvl($link, $link);cast($link as decimal);round($link);to_char($name, 'YYYY');log10($link);"
    "greatest($leaf, $link, $name);pi()",
    "leaf $name;x@.$name;1;2.50;'it''s';?;null;sysdate;interval 2 day;seq.nextval",
    "name c#;\"c#\";`c#`"};

TEST(ParseRoundTripTest, RandomStatements) {
#ifdef NDEBUG
    constexpr int NUM = 1000;
#else
    constexpr int NUM = 40; // which take a sanitizer as long
#endif
    CGrammar stGrammar(GRAMMAR, 20260101);
    for (int i = 0; i < NUM && !HasFailure(); ++i) {
        std::string strPlain = stGrammar.Text("statement", 20 + static_cast<int>(stGrammar.Pick(200))),
                    strBracketed = strPlain;
        std::erase_if(strPlain, [](char c) { return c == '{' || c == '}'; });
        std::replace(strBracketed.begin(), strBracketed.end(), '{', '(');
        std::replace(strBracketed.begin(), strBracketed.end(), '}', ')');
        const std::string strPlan = Compiled(strPlain);
        ExpectBack(strPlain);
        EXPECT_EQ(strPlan, Compiled(strBracketed)) << strPlain << "\nas " << strBracketed;
        for (int nName = 1; nName <= stGrammar.LastNumber(); ++nName) {
            const std::string strName = std::to_string(nName) + "\"";
            EXPECT_TRUE(strPlan.find("\"C" + strName) != strPlan.npos || strPlan.find("\"c" + strName) != strPlan.npos)
                << "c" << nName << " of " << strPlain;
        }
    }
}

} // namespace
