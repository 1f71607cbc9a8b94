// Expressions from words to the printed tree, and what is wrong with those that aren't any.

#include "ParseExpressionManager.h"

#include <gtest/gtest.h>

#include "ExpressionText.h"
#include "Fields.h"
#include "ParseDepth.h"
#include "ParseSql.h"

namespace {

/** One expression in a query over the objects T (1), S as U (2) and DB.V (3). */
class CExpressionParse {
public:
    explicit CExpressionParse(const std::string& strText, UINT nSize = 65536, BOOL bCondition = 0) {
        UINT nOffset = 0;
        BYTE bNo = 0;
        CBaseBson& stBson = m_stParseSql.GetParseBson();
        if ((m_nCode = stBson.AllocBsonBuffer(nullptr, nSize)) != ERR_OK) return;
        if ((m_nCode = stBson.AllocFromBsonBuffer(m_lpPlan, nOffset)) != ERR_OK) return;
        if ((m_nCode = m_stParseSql.EnterQuery()) != ERR_OK) return;
        if ((m_nCode = m_stParseSql.SetObjectName("", "T", OBJECT_TABLE, bNo)) != ERR_OK) return;
        if ((m_nCode = m_stParseSql.SetObjectTitle("", "S", OBJECT_TABLE, "U", bNo)) != ERR_OK) return;
        if ((m_nCode = m_stParseSql.SetObjectName("DB", "V", OBJECT_TABLE, bNo)) != ERR_OK) return;
        if ((m_nCode = m_stParseSql.Parse(strText.c_str(), 0, &m_stWords)) != ERR_OK) return;
        m_stParam.m_nEndPos = m_stWords.m_nNum;
        m_stParam.m_bCondition = bCondition;
        m_stManager.Initial(&stBson, &m_stWords, &m_stParseSql);
        m_nCode = m_stManager.ParseMathExpression(&m_stParam);
    }

    /** The tree, or code and word of an error. */
    std::string Text() {
        if (m_nCode != ERR_OK) return std::to_string(m_nCode) + " at " + std::to_string(m_stManager.GetSqlErrorPos());
        CBaseBson& stBson = m_stParseSql.GetParseBson();
        m_lpPlan->m_bVersion = PLAN_VERSION;
        m_lpPlan->m_nType = PLAN_SELECT;
        m_lpPlan->m_nSectionStartOffset = stBson.GetBsonDataSize();
        EXPECT_EQ(m_stParseSql.ClosePlan(m_lpPlan), ERR_OK);
        CPlanReader stPlan;
        EXPECT_EQ(stPlan.Open(stBson.GetBuffer(), stBson.GetBsonDataSize()), ERR_OK) << stPlan.Fault();
        return CExpressionText(stPlan).Root(m_stManager.GetExpressionOffset());
    }

    CParseSql m_stParseSql;
    stu_KestroWordArray m_stWords;
    st_PARSEPARAM m_stParam;
    CParseExpressionManager m_stManager;
    EXECUTEPLANBSON* m_lpPlan = nullptr;
    int m_nCode = ERR_OK;
};

constexpr UINT LARGE = 16 << 20;

std::string Parsed(const std::string& strExpression) {
    return CExpressionParse(strExpression).Text();
}

TEST(ParseExpression, TreesOfOperatorsAndOperands) {
    ExpectRows({" => none", "1 => 1", "a => A", "* => *", "- 1 + 2 => (+ (neg 1) 2)", "a - b - c => (- (- A B) C)",
                "a + b * c % d div e => (+ A (div (% (* B C) D) E))", "a + (b) => (+ A B)",
                "((a + b)) * -c => (* (+ A B) (neg C))", "a - - b - + + c => (- (- A (neg B)) (pos (pos C)))",
                "- (- a) => (neg (neg A))", "a || 'x' || b + 1 => (|| (|| A 'x') (+ B 1))",
                "a, b || c => (, A (|| B C))", ".5 + 1.50 + 1e3 + 0x1F => (+ (+ (+ 0.5 1.50) 1000) 31)",
                "'it''s' || '' || null => (|| (|| 'it's' NULL) NULL)",
                // Elements of each kind.
                "? + ? => (+ ? ?)", "t.a + u.b + db.v.c + \"x y\" + `q` + s => (+ (+ (+ (+ (+ 1.A 2.B) 3.C) x y) Q) S)",
                "t + 1 => (+ T! 1)", "t.* => 1.*", "new.a || old.b => (|| NEW.A OLD.B)",
                "a -> '$.x' || b->>'$.y' => (|| A->$.x B->>$.y)", "a + interval 2 day => (+ A '\\1\\6\\12')",
                "a + interval '1 2' day_hour - interval 1.5 second => (- (+ A '\\1\\20\\61 2') '\\1\\3\xF0"
                "1.5')",
                "interval + 1 => (+ INTERVAL 1)", "sysdate + 1 => (+ (name-or-call (f50) sysdate) 1)",
                "-sysdate => (neg (name-or-call (f50) sysdate))", "a + (select b from w) => (+ A [q])",
                "abs((select max(b) from w)) - any(select b from w) => (- (f61 {[q]}) [q])",
                "now() - pi => (- (f50) (name-or-call (f155) pi))"},
               Parsed);
}

TEST(ParseExpression, Calls) {
    ExpectRows({"abs(a) + abs(-a) + abs(1) => (+ (+ (f61 A) (f61 (neg A))) (f61 {1}))", "nvl(t.a, (b)) => (f67 1.A B)",
                "nvl2(a, upper(lcase(b)), ?) => (f68 A (f73 (f64 B)) {?})",
                "round(a) + round(a, 2) + trunc(b) => (+ (+ (f70 A DEFAULT) (f70 A {2})) (f72 B DEFAULT))",
                "to_char(d) || to_date(d, 'x') => (|| (f54 D '') (f55 D {'x'}))",
                "log(a) + rand() + rand(a) => (+ (+ (f154 A DEFAULT) (f156 DEFAULT)) (f156 A))",
                "ln(a) + log2(b) * log10(c) => (+ (f153.30 A) (* (f153.31 B) (f153.32 C)))",
                "greatest(a, b, c + 1) => (f151 A B (+ C 1))", "trim(a, b, c) => (f167 A B C)",
                "count(*) + count(a) + sum(-a) => (+ (+ (f80 ) (f80 A)) (f84 (neg A)))",
                "sum(1 + 1) + max('x') + min(abs(1)) => (+ (+ (f84 2) (f83 'x')) (f82 (f61 {1})))",
                "sum(?) + sum(1 + ?) + sum(5 % 2) => (+ (+ (f84 {?}) (f84 (+ 1 ?))) (f84 (% 5 2)))",
                "sum(null) + sum(new.a) => (+ (f84 NULL) (f84 {NEW.A}))",
                "q.nextval + q.currval => (+ (f52 'Q'!) (f53 'Q'!))", "t.nextval => 1.NEXTVAL",
                "cast(a + 1 as decimal) + convert('1', signed) => (+ (f174 (+ A 1) 240i) (f173 {'1'} 1i))",
                "checkchild(a, 'x', 3) => (f56 A 'x' 3)", "length + replace => (+ LENGTH REPLACE)"},
               Parsed);
}

TEST(ParseExpression, ErrorsTellTheirWord) {
    ExpectRows(
        {"() => 515 at 1", "* 2 => 515 at 0", ") => 515 at 0", "a) => 515 at 1", "(a => 515 at 1", "a + => 515 at 2",
         "a * / b => 515 at 2", "(* a) => 515 at 1", "a b => 515 at 1", "(a) b => 612 at 3", "a = 1 => 515 at 1",
         "a | b => 515 at 1", "prior a => 514 at 0", "12ab => 515 at 0", "1e200 => 91 at 0", "'open => 515 at 0",
         // Names and queries.
         "db => 505 at 1", "db. => 505 at 2", "t. => 515 at 2", "t.1 => 515 at 2", "t.$.a => 99 at 2", "$.a => 99 at 0",
         "new => 505 at 1", "new a => 515 at 1", "select 1 => 505 at 0", "any a => 505 at 1", "any(a) => 558 at 2",
         "(select 1 => 505 at 1", "(select 1) => 505 at 3", "1 + (select b from w for update) => 567 at 3",
         // Calls.
         "concat(a) => 515 at 1", "abs => 517 at 1", "abs(a => 517 at 1", "abs() => 517 at 0", "abs(a, b) => 517 at 0",
         "nvl(a,) => 515 at 4", "round() => 515 at 2", "round(1, 2, 3) => 612 at 7",
         "round(1, 2, 3) + xml_extract(a) => 612 at 7", "1 + xml_extract(a) => 609 at 5", "now(1) => 517 at 0",
         "abs(a) b => 514 at 4", "abs(a + ) => 515 at 4", "greatest(a) => 517 at 0", "isnull(a) => 1502 at 0",
         "1 + json_array(a) => 99 at 2", "sum(distinct a) => 515 at 3", "sum(a + max(b)) => 1502 at 0",
         "sum(abs(1 + count(*))) => 1502 at 0", "q.a => 562 at 2", "cast(a) => 517 at 3", "cast(a as text) => 517 at 4",
         "convert(a, char 1) => 517 at 5", "checkchild(a + b) => 517 at 3"},
        Parsed);
}

// In conditions the same parser takes comparison and logic as operators.
TEST(ParseExpression, ConditionsHaveMoreOperators) {
    ExpectRows(
        {"a = 1 and b > 2 or c is null => (op41 (op40 (op20 A 1) (op22 B 2)) (op34 C NULL))",
         "a like 'x!%_%' escape '!' => (op7 A 'x%\\2\\1')", "a like '%b' || 'c%' => (op7 A (|| '\\1b' 'c%'))",
         "a like 'b' escape c => 515 at 4", "a is 1 => 514 at 1", "a and = b => 515 at 2", "(a) not b => 515 at 3"},
        [](const std::string& strText) { return CExpressionParse(strText, 65536, 1).Text(); });
}

TEST(ParseExpression, TellsTextAggregateAndSequence) {
    const auto Told = [](const std::string& strExpression) {
        CExpressionParse st(strExpression);
        EXPECT_EQ(st.m_nCode, ERR_OK) << strExpression;
        return PrintText("%s %d %d%d", st.m_stManager.GetExpressionString(), st.m_stManager.GetExpressionLen(),
                         st.m_stParam.m_bAggreFun, st.m_stManager.IsSequence());
    };
    // The text, its length, whether it's an aggregate and whether a sequence.
    ExpectRows({"t . a + round ( b , 2 ) => t.a+round(b,2) 14 00", "abs(sum( a )) => abs(sum(a)) 11 10",
                "count(*) - -1 => count(*)--1 11 10", "abs(q.nextval) => abs(NEXTVAL) 12 01",
                "cast( a as char) || convert(a,date) => cast(a AS char)||convert(a , date) 34 00"},
               Told);
    const std::string LONG_SUM = Repeat("x+", 63, "", "'");
    EXPECT_EQ(Told(Repeat("y", 200, LONG_SUM, "'")), LONG_SUM.substr(0, 127) + " 128 00");
    EXPECT_EQ(Told(Repeat("y", 200, "'", "'")), Repeat("y", 126, "'", " 128 00"));
}

// No word leads to CASE, so it's called by its code; only one branch and ELSE make a node that folds.
TEST(ParseExpression, CaseTakesPairsAndOneElse) {
    // The code, and where the call ends or goes wrong.
    ExpectRows({"case when a = 1 then b + 1 else (c) end => 0 at 13",
                "case when a = 1 then b when (c > 2) then d end => 0 at 15", "case end => 517 at 1",
                "case a when 1 then b end => 517 at 1", "case when a = 1 end => 517 at 5",
                "case when a = 1 then b then c end => 517 at 7", "case when a = 1 then b => 517 at 7",
                "case else b end => 517 at 1", "case when a = 1 then b else c else d end => 517 at 9",
                "case when a = 1 then b else c when d = 1 then e end => 517 at 9",
                "case when a = then b end => 515 at 4", "case when a = 1 then b + end => 515 at 8"},
               [](const std::string& strExpression) {
                   CExpressionParse stParse(strExpression);
                   CParseExpressionManager stManager;
                   stManager.Initial(&stParse.m_stParseSql.GetParseBson(), &stParse.m_stWords, &stParse.m_stParseSql);
                   BYTE bState = 0;
                   const int nCode = stManager.ParseFunction(&stParse.m_stParam, FN_CASE, bState);
                   EXPECT_TRUE(nCode != ERR_OK || stManager.CreateMathExpression() == ERR_OK) << strExpression;
                   return PrintText("%d at %d", nCode,
                                    nCode == ERR_OK ? +stParse.m_stParam.m_nEndPos : stManager.GetSqlErrorPos());
               });
}

// Long chains and many brackets are taken as they are; calls and arguments have their limits.
TEST(ParseExpression, HostileLengthsAndDepths) {
    constexpr int MANY = 100000;
    constexpr int DEPTH = CParseDepth::DEPTH_MAX - 1;
    const std::pair<std::string, int> ROWS[] = {
        {Repeat("+1", MANY, "sum(a)"), ERR_OK},
        {Repeat("(", MANY) + Repeat(")", MANY, "a"), ERR_OK},
        {Repeat("sum(a)+(", MANY) + Repeat(")", MANY, "1"), ERR_OK},
        {Repeat("- ", MANY, "", "sum(a)"), ERR_OK},
        {Repeat("sum(a)||", MANY), ERR_EXPECT_EXPRESSION},
        {Repeat("(", MANY), ERR_EXPECT_EXPRESSION},
        {Repeat(")", MANY, "a"), ERR_EXPECT_EXPRESSION},
        {Repeat("abs(", MANY), ERR_EXPECT_FUNCTION},
        {Repeat("abs(", DEPTH) + Repeat(")", DEPTH, "a"), ERR_OK},
        {Repeat("abs(", DEPTH + 1) + Repeat(")", DEPTH + 1, "a"), ERR_EXPECT_EXPRESSION},
        {Repeat(",a", 254, "greatest(a", ")"), ERR_OK},
        {Repeat(",a", 255, "greatest(a", ")"), ERR_EXPECT_FUNCTION},
        {Repeat(",", MANY, "greatest(a", ")"), ERR_EXPECT_FUNCTION},
        {Repeat("0", MANY, "1"), ERR_DECIMAL_PRECISION},
        {Repeat("'", 2 * MANY), ERR_OK},
        {std::string(66, 'a'), ERR_EXPECT_EXPRESSION}};
    for (const auto& [strExpression, nCode] : ROWS)
        EXPECT_EQ(CExpressionParse(strExpression, LARGE).m_nCode, nCode) << strExpression.substr(0, 20);
}

} // namespace
