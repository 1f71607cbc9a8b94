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

} // namespace
