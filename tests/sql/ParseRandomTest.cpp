// Statements made at random from a grammar, the same in each run: all of them compile, no name in them gets lost, and
// brackets that only say what priorities say anyway change nothing.

#include <gtest/gtest.h>

#include "Grammar.h"
#include "PlanLine.h"

namespace {

// "{" and "}" are brackets that may be left out. The text of a field or column is its name, which brackets change.
constexpr const char* GRAMMAR[] = {
    "statement $query;$query;$query;($query) intersect $query;$query minus $query;$query union all $query order by 1;"
    "insert into shop.t ($name, $name) values ({$value}, default), ($value, ?);insert into t (a, $name) $query;"
    "insert into t any ($query);update $from set $name = {$link}, x@.$name = null$where;delete from $from$where;"
    "$query paging pagesize = 10, pageno = 3;$query for update wait 7",
    "value 'x';{$value} + {$name};upper($value);1.5",
    "query select $fields from $from;select distinct $fields from $from$where$group$order;"
    "select $fields from $from$where;select x@.*, $fields from node t x@, relation u;"
    "select $fields from t x@, u y@ where {$and} and x@.$name(+) = y@.$name;"
    "select $fields from t x@ start with {$or} connect by prior x@.$name = $name and {$not}$where",
    "fields $link;$link, $link y;$link as y, $link;*;count(*), sum($link) - max($name);min(x@.$name) m",
    "from t x@;shop.t x@, u;($query) x@;t x@ join u y@ on $on, v;t x@ left join (u join v y@ on $on) on $on;"
    "t x@ right join u y@ on $on;t x@ straight_join u y@ full join v on $on",
    "on {x@.$name = $name};{x@.$name = $name} and {$not};{$or}",
    "where ; where {$or}; where {$or}",
    "group ; group by $columns; group by $columns having {count(*) > 1} and {$not}",
    "order ; order by $columns desc; order by 1 asc, $name desc",
    "columns $name;x@.$name, $name;$sum, $name",
    "or $and;{$or} or {$and}",
    "and $not;{$and} and {$not}",
    "not $compare;$compare;not {$link = $link};not ({$or})",
    "compare $name;{$link} = {$link};{$sum} < $sum;$link >= {$link};$name <> {$sum};{$sum} between {$sum} and {$sum};"
    "$name like 'a%_';$name not like {$sum};$name is not null;{$link} in (1, $link, 'x');$name not in (2, 'b');"
    "exists ($query);not exists ($query);{$link} in ($query);$name > all ($query);any ($query) = {$link}",
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

TEST(ParseRandomTest, NoNameIsLostAndBracketsChangeNothing) {
#ifdef NDEBUG
    constexpr int NUM = 2000;
#else
    constexpr int NUM = 100; // which take a sanitizer as long
#endif
    CGrammar stGrammar(GRAMMAR, 20260101);
    for (int i = 0; i < NUM && !HasFailure(); ++i) {
        std::string strPlain = stGrammar.Text("statement", 20 + static_cast<int>(stGrammar.Pick(200))),
                    strBracketed = strPlain;
        std::erase_if(strPlain, [](char c) { return c == '{' || c == '}'; });
        std::replace(strBracketed.begin(), strBracketed.end(), '{', '(');
        std::replace(strBracketed.begin(), strBracketed.end(), '}', ')');
        const std::string strPlan = Compiled(strPlain);
        ASSERT_EQ(strPlan.substr(0, 6), "nType=") << strPlan << "\n" << strPlain;
        EXPECT_EQ(strPlan, Compiled(strBracketed)) << strPlain << "\nas " << strBracketed;
        for (int nName = 1; nName <= stGrammar.LastNumber(); ++nName) {
            const std::string strName = std::to_string(nName) + "\"";
            EXPECT_TRUE(strPlan.find("\"C" + strName) != strPlan.npos || strPlan.find("\"c" + strName) != strPlan.npos)
                << "c" << nName << " of " << strPlain;
        }
    }
}

} // namespace
