// Each plan printed as SQL compiles to the same plan again: plans lose nothing that was written, and the compiler reads
// what it has read before, however it's bracketed. Statements of a table, and random ones, the same in each run.

#include <gtest/gtest.h>

#include <random>

#include "PlanLine.h"
#include "PlanSql.h"

namespace {

/** A statement's plan in one line and as SQL; or the error for a plan. */
struct COMPILED {
    std::string m_strPlan, m_strSql;
};

COMPILED Compile(const std::string& strSql) {
    CParseSql stParse;
    EXECUTEPLANBSON* lpPlan = nullptr;
    if (const int nCode = stParse.ParseSql(strSql.data(), static_cast<int>(strSql.size()), lpPlan, 0, 0, 0))
        return {"error " + std::to_string(nCode) + " at " + std::to_string(stParse.GetErrorPos()), ""};
    CPlanReader stPlan;
    EXPECT_EQ(stPlan.Open(lpPlan, lpPlan->m_nTotalDataSize), ERR_OK);
    COMPILED stCompiled = {PlanLine(lpPlan, lpPlan->m_nTotalDataSize), CPlanSql(stPlan).Statement()};
    // A select field's name is its text as it was written; those of INSERT and UPDATE show in the SQL.
    for (const std::string strName : {" bNameLen=", " nExpNameOffset="})
        for (std::size_t n = 0; (n = stCompiled.m_strPlan.find(strName, n)) != std::string::npos;) {
            std::size_t nEnd = n + strName.size();
            for (bool bQuoted = false; nEnd < stCompiled.m_strPlan.size(); ++nEnd) {
                const char c = stCompiled.m_strPlan[nEnd];
                if (c == '\\')
                    ++nEnd;
                else if (c == '"')
                    bQuoted = !bQuoted;
                else if (!bQuoted && (c == ' ' || c == '}'))
                    break;
            }
            stCompiled.m_strPlan.erase(n, nEnd - n);
        }
    return stCompiled;
}

/** How often words stand in a statement that no plan may lose, of those that no column of a group stands for. */
std::string CountWords(std::string strSql) {
    static constexpr const char* WORDS[] = {
        " desc",  "distinct", " union",    "all (",      "intersect", " like ", "exists",   " in (",  "left ",
        "right ", "full ",    "straight_", "for update", "paging",    "(+)",    "group by", "having", "order by",
        "cast(",  "sum(",     "prior ",    "insert",     " set ",     "node ",  "wait"};
    std::string strCounts;
    std::transform(strSql.begin(), strSql.end(), strSql.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; });
    for (const std::string strWord : WORDS) {
        int nNum = 0;
        for (std::size_t n = 0; (n = strSql.find(strWord, n)) != std::string::npos; n += strWord.size())
            ++nNum;
        strCounts += strWord + std::to_string(nNum) + " ";
    }
    return strCounts;
}

/** Whether a statement compiles, and comes back. */
bool ComesBack(const std::string& strSql) {
    const COMPILED stFirst = Compile(strSql), stSecond = Compile(stFirst.m_strSql);
    EXPECT_NE(stFirst.m_strSql, "") << strSql << "\n" << stFirst.m_strPlan;
    if (stFirst.m_strSql.empty()) return false;
    EXPECT_EQ(stFirst.m_strPlan, stSecond.m_strPlan) << strSql << "\nas " << stFirst.m_strSql;
    EXPECT_EQ(stFirst.m_strSql, stSecond.m_strSql) << strSql;
    EXPECT_EQ(CountWords(strSql), CountWords(stFirst.m_strSql)) << strSql << "\nas " << stFirst.m_strSql;
    return !::testing::Test::HasFailure();
}

TEST(ParseRoundTripTest, RichStatements) {
    static constexpr const char* ROWS[] = {
        "select -1 + 2 * (3 - 4) / 5 div 6 % 7 || 'a', - - a, -(a + b) * c, a - (b - c) - d, a || (b || c) from dual",
        "select distinct t.a as \"My A\", b+1 cc, 'it''s', `q`, count(*), t.*, null, ?, sysdate, sysdate(), \"d e\" "
        "from shop.t where a=1 and b>?",
        "select sum(-1.50), max(2), count('x'), round(a), round(a, 1), to_char(d), to_char(d, 'YYYY'), log(a), rand(), "
        "ln(a), log2(a), log10(a), cast(a + 1 as decimal), convert(b, char), s.nextval, s.currval, trim(a, b, c), "
        "interval 1.5 day + d, d + interval '1:30' hour_minute, j->'$.a[0]', j ->> '$.c' from t",
        "select a from t where a like 'x!_%' escape '!' or not b not like '\\%y_' and c like ('50%') or 'x' like d",
        "select a from t where (a = 1 or not b in (1, 2.50, -3, null, 'x')) and c not in (a, ?) and not not e",
        "select a from t where not (a between 1 and b + 1 and c is not null or d is true) and not exists (select 1 "
        "from "
        "u where u.id = t.id) or not (exists (select 2 from v))",
        "select a from t where a > all (select b from u) or any (select c from v where v.x = t.a) = a + 1",
        "select a x, sum(b) + 1, c from t group by x, c, d + 1 having max(e) > 2 and count(*) < 9 order by x desc, 3, "
        "d + 1, (2), c",
        "select a, 'x' from t group by a, b+1 order by b+1, a desc",
        "select b a, a from t group by A order by \"A\" asc, t.a, 'x' paging pageno=2, pagesize=3 for update wait 5",
        "select 1 from t join u on t.a=u.a left join v on v.b=u.b and v.c=1, w where t.z=1",
        "select 1 from a right outer join b on a.x=b.x join c on c.x = 1 straight_join d on d.x = 2 or d.y = 3",
        "select 1 from e, a full join b straight_join c cross join d inner join f",
        "select 1 from a left join (b join c on b.x=c.x) on a.x=b.x",
        "select 1 from a left join (b, c right join d on c.x=d.x) on 1=1 where 1 = 2",
        "select 1 from a join b on (a.x = 1 or b.x = 2) and b.y = 3 join c on a.x = c.x where (a.y or b.y) and c.z",
        "select * from t1 a, t2 b, (select c from t3 where c > 0) d where (a.id = b.id(+) or b.id > 1) and d.c(+) = "
        "a.c",
        "select a from t start with t.a=1 levels=3 connect by prior t.a=t.b and c=2 where d=1",
        "select a from t start with 1=1 connect by a=prior b and c=1 and d = prior e",
        "(select a from t) intersect (select b from u) minus select c from v union all select d from w order by 1",
        "select a from d.t, (select b from d.u x where d.t.a = x.b union select c from node n, relation r) y where y.b "
        "= t.a for update skip locked",
        "insert into t values (1, 'a', null, default, sysdate, -1.5)",
        "insert into shop.t (a, \"b c\") values (1, 2), (?, ?), (1 + 1, upper('x'))",
        "insert into t (a, b) select a, b from u where a > 0 union select 1, t.b from t",
        "insert into t any (select a from u)",
        "update t set a = 1, t.\"b c\" = b + 1, c = (select max(c) from u where u.x = t.x) where id = 7",
        "update d.t join u x on t.id = x.id set d.t.a = x.a, x.b = null",
        "delete from t where a = 1 and b in (select b from u)",
        "delete from t x left join u on x.id = u.id",
        "select t from t where new.a = old.name",
    };
    for (const char* const lpszSql : ROWS)
        ComesBack(lpszSql);
}

/** Writes statements at random. What it leaves out the grammar refuses: each of its statements compiles. */
class CStatementMaker {
public:
    explicit CStatementMaker(unsigned nSeed) : m_stRandom(nSeed) {}

    std::string Statement() {
        m_arScope.assign(1, {});
        m_nObject = 0;
        const unsigned nKind = Pick(8);
        m_bKinds = nKind != 1; // UPDATE of graphs isn't compiled
        switch (nKind) {
            case 0:
                return Insert();
            case 1:
                return "update " + From() + " set " + List(3, [&] { return Field() + " = " + Expression(2); }) +
                       Where();
            case 2:
                return "delete from " + From() + Where();
            default:
                break;
        }
        std::string strText = Query(2);
        while (Pick(4) == 0)
            strText = (Pick(2) ? strText : "(" + strText + ")") +
                      Word({" union ", " union all ", " intersect ", " except "}) + Query(1);
        if (Pick(6) == 0) strText += " paging pagesize = 10, pageno = 3";
        return strText + (Pick(4) == 0 ? Word({" for update", " for update nowait", " for update wait 7"}) : "");
    }

private:
    using NAMES = std::initializer_list<const char*>;
    using STRING = std::string;

    unsigned Pick(unsigned nNum) { return static_cast<unsigned>(m_stRandom()) % nNum; }
    STRING Word(NAMES arWord) { return arWord.begin()[Pick(static_cast<unsigned>(arWord.size()))]; }
    STRING Maybe(const STRING& strText) { return Pick(2) ? strText : ""; }
    /** Whether a statement may grow by another query or join. */
    bool Grows() const { return m_nObject < OBJECT_MAX; }
    static constexpr int OBJECT_MAX = 8;

    template <typename MAKE>
    STRING List(unsigned nMax, MAKE Make, const char* lpszBetween = ", ") {
        STRING strList = Make();
        for (unsigned n = Pick(nMax); n > 0; --n)
            strList += lpszBetween + Make();
        return strList;
    }

    STRING Column() { return Word({"a", "b", "c", "Dd", "`e`", "\"f\"", "\"g h\"", "level"}); }
    STRING Field() {
        const auto& arName = m_arScope[Pick(static_cast<unsigned>(m_arScope.size()))];
        if (arName.empty() || Pick(2)) return Column();
        return arName[Pick(static_cast<unsigned>(arName.size()))] + "." + Column();
    }
    /** A field that LIKE may follow anywhere, which "level", a keyword, may not. */
    STRING Named() { return Word({"a", "`e`", "\"g h\"", "a + b"}); }
    STRING Literal() {
        return Word({"0", "1", "2.50", ".5", "0.0", "99999999999999999999", "'x'", "'it''s %'", "null", "'-- ('"});
    }

    STRING Leaf() {
        switch (Pick(8)) {
            case 0:
            case 1:
                return Literal();
            case 2:
                return Word({"?", "sysdate", "user", "pi()", "now()", "seq.nextval", "\"Seq\".currval", "new.a",
                             "old.bcde", "interval 2 day", "interval '1 2' day_hour"});
            default:
                return Field();
        }
    }

    STRING Expression(int nDepth) {
        if (nDepth <= 0) return Leaf();
        switch (Pick(10)) {
            case 0:
                return Word({"- ", "+ ", "-"}) + (Pick(2) ? Field() : "(" + Expression(nDepth - 1) + ")");
            case 1:
            case 5:
                return "(" + Binary(nDepth) + ")";
            case 2:
                return Call(nDepth);
            case 3:
                return m_bAggregate && Pick(2) ? Aggregate(nDepth) : Leaf();
            case 4:
                return Pick(3) || !Grows() ? Leaf() : Word({"", "any ", "all "}) + "(" + Query(nDepth - 2) + ")";
            case 6:
                return Leaf();
            default:
                return Binary(nDepth);
        }
    }
    STRING Binary(int nDepth) {
        return Expression(nDepth - 1) + Word({" + ", "- ", " * ", "/", " % ", " div ", " || ", " - - ", "*+"}) +
               Expression(nDepth - 1);
    }

    STRING Call(int nDepth) {
        const auto Argument = [&] { return Expression(nDepth - 1); };
        switch (Pick(7)) {
            case 0:
                return Word({"cast(", "CAST("}) + Argument() + " as " + Type() + ")";
            case 1:
                return "convert(" + Argument() + ", " + Type() + ")";
            case 2:
                return Word({"mod(", "nullif(", "nvl(", "pow(", "find_in_set(", "repeat(", "format(", "similarity("}) +
                       Argument() + ", " + Argument() + ")";
            case 3:
                return Word({"nvl2(", "trim("}) + Argument() + "," + Argument() + "," + Argument() + ")";
            case 4:
                return Word({"to_char(", "str_to_date(", "round(", "truncate(", "log(", "from_unixtime("}) +
                       List(2, Argument) + ")";
            case 5:
                return Word({"greatest(", "least(", "concat_ws("}) + Argument() + ", " + List(3, Argument) + ")";
            default:
                return Word({"abs(", "ceiling(", "floor(", "lcase(", "sqrt(", "upper(", "exp(", "ln(", "log2(",
                             "log10(", "sign(", "ascii(", "bit_length(", "quote(", "reverse(", "ltrim(", "rtrim(",
                             "rand("}) +
                       Argument() + ")";
        }
    }
    STRING Type() { return Word({"unsigned", "signed", "datetime", "char", "binary", "time", "date", "decimal"}); }

    // What is constant in an aggregate is a value then, of a type that no text has; a literal is one that has.
    STRING Aggregate(int nDepth) {
        m_bAggregate = false;
        STRING strArgument = Pick(4) == 0 ? Literal() : Field() + Maybe(" + " + Expression(nDepth - 1));
        strArgument = Pick(5) == 0 ? "*" : strArgument;
        m_bAggregate = true;
        return Word({"count(", "sum(", "avg(", "min(", "max(", "bit_or(", "json_arrayagg("}) + strArgument + ")";
    }

    STRING Condition(int nDepth) {
        const STRING strNot = Pick(5) == 0 ? Word({"not ", "not not "}) : "";
        if (nDepth <= 0 || Pick(4) == 0) return strNot + Comparison(nDepth);
        const STRING strText = List(
            3, [&] { return Condition(nDepth - 1); }, Pick(2) ? " and " : " or ");
        return Pick(2) ? strText : strNot + "(" + strText + ")";
    }
    STRING Comparison(int nDepth) {
        const auto Side = [&] { return Expression(nDepth); };
        switch (Grows() ? Pick(9) : 2 + Pick(7)) {
            case 0:
                return Word({"exists (", "not exists ("}) + Query(nDepth - 1) + ")";
            case 1:
                return Side() + Word({" in (", " not in ("}) + Query(nDepth - 1) + ")";
            case 2:
                return Side() + " between " + Side() + " and " + Side();
            case 5:
                return Side() + Word({" in (", " not in ("}) + List(4, [&] { return Entry(nDepth); }) + ")";
            case 3:
                return Named() + Word({" like ", " not like "}) +
                       Word({"'a%_'", "'a!%_' escape '!'", "'\\_%'", "b || 'x'", "('%')", "'%' || c", "?"});
            case 4:
                return Field() + Word({" is null", " is not null", " is true", " is not false", " is unknown"});
            case 6:
                return Field() + " + " + Side();
            default:
                return Side() + Word({" = ", "<>", " != ", " < ", ">", "<=", " >= "}) + Side();
        }
    }
    STRING Entry(int nDepth) {
        return Pick(2) ? Word({"1", "-2.50", "'x'", "null"}) : Field() + "*" + Expression(nDepth);
    }

    STRING Object() {
        const STRING strNo = std::to_string(++m_nObject);
        if (Pick(8) == 0 && Grows()) {
            const STRING strQuery = Query(1) + (Pick(4) == 0 ? " union " + Query(0) : "");
            m_arScope.back().push_back("x" + strNo);
            return "(" + strQuery + ") x" + strNo;
        }
        const STRING strName = Maybe("shop.") + "t" + strNo,
                     strKind = m_bKinds && Pick(10) == 0 ? Word({"node ", "relation "}) : "";
        const bool bTitle = Pick(3) == 0;
        m_arScope.back().push_back(bTitle ? "X" + strNo : strName);
        return strKind + strName + (bTitle ? Word({" as x", " x"}) + strNo : "");
    }
    // Without queries: objects are numbered in the order of the text, and where an inner join's ON stood isn't kept.
    STRING On() {
        const int nObject = std::exchange(m_nObject, OBJECT_MAX);
        const STRING strText = " on " + Field() + " = " + Field() + Maybe(" and " + Condition(1));
        m_nObject = nObject;
        return Pick(4) ? strText : "";
    }
    STRING Joined(int nDepth) {
        const auto Place = [&] { return nDepth <= 0 || Pick(6) ? Object() : "(" + Joined(nDepth - 1) + ")"; };
        STRING strText = Place();
        while (Pick(3) == 0 && Grows()) {
            strText += Word({" join ", " inner join ", " left join ", " right outer join ", " full join ",
                             " straight_join "}) +
                       Place();
            strText += On();
        }
        return strText;
    }
    STRING From() {
        return List(
            3, [&] { return Joined(2); }, Pick(3) ? ", " : " cross join ");
    }
    STRING Where() { return Pick(3) ? " where " + Condition(2) : ""; }

    /** "(+)" marks, and no joins beside. */
    STRING Marked() {
        const STRING strFirst = Object(), strSecond = Object();
        const auto Pair = [&] {
            const auto& arName = m_arScope.back();
            const STRING strLeft = arName[arName.size() - 2] + "." + Column(),
                         strRight = arName.back() + "." + Column();
            return Pick(2) ? strLeft + "(+)" + Word({" = ", " > "}) + strRight : strRight + " = " + strLeft + "(+)";
        };
        const STRING strWhere = Maybe(Condition(1) + " and ") + Maybe("not ") + Pair();
        return strFirst + ", " + strSecond + " where " + strWhere + Maybe(Word({" and ", " or "}) + Pair());
    }

    STRING Query(int nDepth) {
        m_arScope.emplace_back();
        const bool bOuter = m_bAggregate;
        m_bAggregate = false;
        STRING strFrom = Pick(6) == 0 ? Marked() : From() + (nDepth > 0 ? Where() : "");
        const bool bGroup = Pick(4) == 0;
        unsigned nFields = 0;
        m_bAggregate = bGroup || Pick(4) == 0;
        STRING strFields = List(3, [&] {
            const STRING strTitle = Word({"", "", " y", " as Y"});
            return Expression(nDepth) + (strTitle.size() > 1 ? strTitle + std::to_string(++nFields) : (++nFields, ""));
        });
        if (Pick(12) == 0) strFields = "*", nFields = 1;
        m_bAggregate = false;
        if (bGroup) strFrom += " group by " + List(3, [&] { return Pick(2) ? Field() : Expression(nDepth); });
        m_bAggregate = true;
        if (bGroup && Pick(2)) strFrom += " having count(*) > 1 and " + Condition(1);
        m_bAggregate = false;
        const auto Sorted = [&] {
            return (Pick(3)   ? Field()
                    : Pick(2) ? "(" + Expression(nDepth) + ")"
                              : std::to_string(1 + Pick(nFields))) +
                   Word({"", " asc", " desc"});
        };
        if (Pick(4) == 0) strFrom += " order by " + List(3, Sorted);
        m_bAggregate = bOuter;
        m_arScope.pop_back();
        return "select " + STRING(Pick(8) ? "" : "distinct ") + strFields + " from " + strFrom;
    }

    STRING Insert() {
        const unsigned nNum = 1 + Pick(3);
        const auto Row = [&] {
            STRING strRow = Expression(2);
            for (unsigned i = 1; i < nNum; ++i)
                strRow += ", " + Expression(1);
            return "(" + strRow + ")";
        };
        STRING strText = "insert into " + Maybe("shop.") + "t0";
        if (Pick(2)) strText += nNum == 1 ? " (a)" : nNum == 2 ? " (a, \"b c\")" : " (a, b, `c`)";
        return Pick(3) ? strText + " values " + List(3, Row) : strText + " " + Query(2);
    }

    std::mt19937 m_stRandom;
    std::vector<std::vector<STRING>> m_arScope; // the qualifiers of each open query
    int m_nObject = 0;
    bool m_bAggregate = false; // may stand here
    bool m_bKinds = true;      // so may NODE and RELATION
};

TEST(ParseRoundTripTest, RandomStatements) {
#ifdef NDEBUG
    constexpr int NUM = 1500;
#else
    constexpr int NUM = 60; // which take a sanitizer as long
#endif
    CStatementMaker stMaker(20260101);
    for (int i = 0, nFaults = 0; i < NUM && nFaults < 5; ++i)
        nFaults += !ComesBack(stMaker.Statement());
}

} // namespace
