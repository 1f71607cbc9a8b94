// Expressions from words to the printed tree, and what is wrong with those that aren't any.

#include "ParseExpressionManager.h"

#include <gtest/gtest.h>

#include "ChunkFault.h"
#include "ExpressionText.h"
#include "ParseDepth.h"
#include "ParseSql.h"

namespace {

/** One expression in a query over the objects T (1), S as U (2) and DB.V (3). */
class CExpressionParse {
public:
    explicit CExpressionParse(const std::string& strText, UINT nSize = 65536) {
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

struct ROW {
    const char* m_lpszExpression;
    const char* m_lpszExpected;
};

std::string Parsed(const std::string& strExpression) {
    return CExpressionParse(strExpression).Text();
}

TEST(ParseExpression, TreesOfOperatorsAndOperands) {
    constexpr ROW ROWS[] = {
        {"", "none"},
        {"1", "1"},
        {"a", "A"},
        {"*", "*"},
        {"- 1 + 2", "(+ (neg 1) 2)"},
        {"a - b - c", "(- (- A B) C)"},
        {"a + b * c % d div e", "(+ A (div (% (* B C) D) E))"},
        {"a + (b)", "(+ A B)"},
        {"((a + b)) * -c", "(* (+ A B) (neg C))"},
        {"a - - b - + + c", "(- (- A (neg B)) (pos (pos C)))"},
        {"- (- a)", "(neg (neg A))"},
        {"a || 'x' || b + 1", "(|| (|| A 'x') (+ B 1))"},
        {"a, b || c", "(, A (|| B C))"},
        {".5 + 1.50 + 1e3 + 0x1F", "(+ (+ (+ 0.5 1.50) 1000) 31)"},
        {"'it''s' || '' || null", "(|| (|| 'it's' NULL) NULL)"},
        {"? + ?", "(+ ? ?)"},
        {"t.a + u.b + db.v.c + \"x y\" + `q` + s", "(+ (+ (+ (+ (+ 1.A 2.B) 3.C) x y) Q) S)"},
        {"t + 1", "(+ T! 1)"},
        {"t.*", "1.*"},
        {"new.a || old.b", "(|| NEW.A OLD.B)"},
        {"a -> '$.x' || b->>'$.y'", "(|| A->$.x B->>$.y)"},
        {"a + interval 2 day", "(+ A '\\1\\6\\12')"},
        {"a + interval '1 2' day_hour - interval 1.5 second",
         "(- (+ A '\\1\\20\\61 2') '\\1\\3\xF0"
         "1.5')"},
        {"interval + 1", "(+ INTERVAL 1)"},
        {"sysdate + 1", "(+ (name-or-call (f50) sysdate) 1)"},
        {"-sysdate", "(neg (name-or-call (f50) sysdate))"},
        {"now() - pi", "(- (f50) (name-or-call (f155) pi))"},
    };
    for (const ROW& stRow : ROWS)
        EXPECT_EQ(Parsed(stRow.m_lpszExpression), stRow.m_lpszExpected) << stRow.m_lpszExpression;
}

TEST(ParseExpression, Calls) {
    constexpr ROW ROWS[] = {
        {"abs(a) + abs(-a) + abs(1)", "(+ (+ (f61 A) (f61 (neg A))) (f61 {1}))"},
        {"nvl(t.a, (b))", "(f67 1.A B)"},
        {"nvl2(a, upper(lcase(b)), ?)", "(f68 A (f73 (f64 B)) {?})"},
        {"round(a) + round(a, 2) + trunc(b)", "(+ (+ (f70 A DEFAULT) (f70 A {2})) (f72 B DEFAULT))"},
        {"to_char(d) || to_date(d, 'x')", "(|| (f54 D '') (f55 D {'x'}))"},
        {"log(a) + rand() + rand(a)", "(+ (+ (f154 A DEFAULT) (f156 DEFAULT)) (f156 A))"},
        {"ln(a) + log2(b) * log10(c)", "(+ (f153.30 A) (* (f153.31 B) (f153.32 C)))"},
        {"greatest(a, b, c + 1)", "(f151 A B (+ C 1))"},
        {"trim(a, b, c)", "(f167 A B C)"},
        {"count(*) + count(a) + sum(-a)", "(+ (+ (f80 ) (f80 A)) (f84 (neg A)))"},
        {"sum(1 + 1) + max('x') + min(abs(1))", "(+ (+ (f84 2) (f83 'x')) (f82 (f61 {1})))"},
        {"sum(?) + sum(1 + ?) + sum(5 % 2)", "(+ (+ (f84 {?}) (f84 (+ 1 ?))) (f84 (% 5 2)))"},
        {"sum(null) + sum(new.a)", "(+ (f84 NULL) (f84 {NEW.A}))"},
        {"q.nextval + q.currval", "(+ (f52 'Q'!) (f53 'Q'!))"},
        {"t.nextval", "1.NEXTVAL"},
        {"cast(a + 1 as decimal) + convert('1', signed)", "(+ (f174 (+ A 1) 240i) (f173 {'1'} 1i))"},
        {"checkchild(a, 'x', 3)", "(f56 A 'x' 3)"},
        {"length + replace", "(+ LENGTH REPLACE)"},
    };
    for (const ROW& stRow : ROWS)
        EXPECT_EQ(Parsed(stRow.m_lpszExpression), stRow.m_lpszExpected) << stRow.m_lpszExpression;
}

TEST(ParseExpression, ErrorsTellTheirWord) {
    constexpr ROW ROWS[] = {
        {"()", "515 at 1"},
        {"* 2", "515 at 0"},
        {")", "515 at 0"},
        {"a)", "515 at 1"},
        {"(a", "515 at 1"},
        {"a +", "515 at 2"},
        {"a * / b", "515 at 2"},
        {"(* a)", "515 at 1"},
        {"a b", "515 at 1"},
        {"(a) b", "612 at 3"},
        {"a = 1", "515 at 1"},
        {"a | b", "515 at 1"},
        {"prior a", "514 at 0"},
        {"12ab", "515 at 0"},
        {"1e200", "91 at 0"},
        {"'open", "515 at 0"},
        {"db", "505 at 1"},
        {"db.", "505 at 2"},
        {"t.", "515 at 2"},
        {"t.1", "515 at 2"},
        {"t.$.a", "99 at 2"},
        {"$.a", "99 at 0"},
        {"new", "505 at 1"},
        {"new a", "515 at 1"},
        {"select 1", "505 at 0"},
        {"any a", "505 at 1"},
        {"any(a)", "558 at 2"},
        {"(select 1", "505 at 1"},
        {"(select 1)", "505 at 3"},
        {"concat(a)", "515 at 1"},
        {"abs", "517 at 1"},
        {"abs(a", "517 at 1"},
        {"abs()", "517 at 0"},
        {"abs(a, b)", "517 at 0"},
        {"nvl(a,)", "515 at 4"},
        {"round()", "515 at 2"},
        {"round(1, 2, 3)", "612 at 7"},
        {"now(1)", "517 at 0"},
        {"abs(a) b", "514 at 4"},
        {"abs(a + )", "515 at 4"},
        {"greatest(a)", "517 at 0"},
        {"isnull(a)", "1502 at 0"},
        {"1 + json_array(a)", "99 at 2"},
        {"sum(distinct a)", "515 at 3"},
        {"sum(a + max(b))", "1502 at 0"},
        {"sum(abs(1 + count(*)))", "1502 at 0"},
        {"q.a", "562 at 2"},
        {"cast(a)", "517 at 3"},
        {"cast(a as text)", "517 at 4"},
        {"convert(a, char 1)", "517 at 5"},
        {"checkchild(a + b)", "517 at 3"},
    };
    for (const ROW& stRow : ROWS)
        EXPECT_EQ(Parsed(stRow.m_lpszExpression), stRow.m_lpszExpected) << stRow.m_lpszExpression;
}

} // namespace
