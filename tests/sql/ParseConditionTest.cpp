#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "ConditionText.h"
#include "Fields.h"
#include "ParseConditionManager.h"
#include "ParseSql.h"

namespace {

/** A condition behind its clause's words, compiled by itself. */
struct COMPILED {
    explicit COMPILED(std::string_view szCondition, std::string_view szClause = "WHERE ")
        : m_strText(std::string(szClause) + std::string(szCondition)),
          m_nClause(szClause.size()),
          m_nCode(Compile(szClause)) {}

    /** The tree, or an error's code and the text with a "^" in front of the word at fault. */
    std::string Text() {
        CPlanReader stPlan;
        if (m_nCode == ERR_OK) {
            EXPECT_EQ(m_stSql.ClosePlan(m_lpPlan), ERR_OK);
            EXPECT_EQ(stPlan.Open(m_lpPlan, m_stSql.GetParseBson().GetBsonDataSize()), ERR_OK) << stPlan.Fault();
            return CConditionText(stPlan).Root(m_stCondition.GetConditionOffset());
        }
        const int nWord = m_stCondition.GetSqlErrorPos();
        std::string strMarked = m_strText;
        strMarked.insert(nWord < m_stWords.m_nNum ? m_stWords.m_arPos[nWord] : strMarked.size(), "^");
        return std::to_string(m_nCode) + ":" + strMarked.substr(m_nClause);
    }

    CParseSql m_stSql;
    CParseConditionManager m_stCondition;
    EXECUTEPLANBSON* m_lpPlan = nullptr;
    stu_KestroWordArray m_stWords;
    std::string m_strText;
    std::size_t m_nClause; // bytes of the clause's words
    int m_nCode;

private:
    int Compile(std::string_view szClause) {
        CBaseBson& stBson = m_stSql.GetParseBson();
        UINT nOffset = 0;
        const UINT nSize = 65'536 + 64 * static_cast<UINT>(m_strText.size());
        if (const int nCode = stBson.AllocBsonBuffer(nullptr, nSize)) return nCode;
        if (const int nCode = stBson.AllocFromBsonBuffer(m_lpPlan, nOffset)) return nCode;
        m_lpPlan->m_bVersion = PLAN_VERSION;
        m_lpPlan->m_nType = PLAN_SELECT;
        if (const int nCode = m_stSql.Parse(m_strText.c_str(), 0, &m_stWords)) return nCode;
        BYTE bNo = 0;
        if (const int nCode = m_stSql.EnterQuery()) return nCode;
        if (const int nCode = m_stSql.SetObjectTitle(nullptr, "emp", OBJECT_TABLE, "t", bNo)) return nCode;
        m_stCondition.Initial(&stBson, &m_stWords, &m_stSql);
        st_PARSEPARAM stParam;
        stParam.m_nBeginPos = static_cast<int>(std::count(szClause.begin(), szClause.end(), ' '));
        stParam.m_nEndPos = m_stWords.m_nNum;
        stParam.m_bHaving = szClause == "HAVING ";
        return m_stCondition.ParseCondition(&stParam);
    }
};

std::string Where(const std::string& szCondition) {
    return COMPILED(szCondition).Text();
}

TEST(ParseConditionTest, ComparisonsAndLogic) {
    ExpectRows({"a = 1 => (= A:1 1:4)", "t.a <> 1 and b<=a => (and (!= 1.A:1 1:4) (<= B:1 A:1))",
                "a=1 or b>2 and not c>=3 => (or (= A:1 1:4) (and (> B:1 2:4) !(>= C:1 3:4)))",
                "(a=1 or b=2) and c=3 => (and (or (= A:1 1:4) (= B:1 2:4)) (= C:1 3:4))",
                "not (a=1 and b=2) => !(and (= A:1 1:4) (= B:1 2:4))", "not not a=1 => (= A:1 1:4)",
                "not (not (a=1 or b=1)) => (or (= A:1 1:4) (= B:1 1:4))",
                "((a + 1) * 2 < -b) => (< (* (+ A 1) 2):5 (neg B):1)", "a => (bare A:1)",
                "not a and (b + 1) => (and !(bare A:1) (bare (+ B 1):5))",
                "a between 1 and 2 and b=3 => (and (between A:1 1:4 2:4) (= B:1 3:4))",
                "a between b+1 and (c*2) or d => (or (between A:1 (+ B 1):5 (* C 2):5) (bare D:1))",
                "a is null and b is not true => (and (is A:1 NULL:4) (isnot B:1 TRUE:1))",
                // LIKE and lists.
                "a like 'x%' or b not like 'y_' or 'x' like c => (or (or (like A:1 'x\\1':4) (notlike B:1 'y\\2':4)) "
                "(like 'x':4 C:1))",
                "t.type like 'x' and not comment like 'y' or a not like -b => (or (and (like 1.TYPE:1 'x':4) !(like "
                "COMMENT:1 'y':4)) (notlike A:1 (neg B):1))",
                "a like 'x!%%' escape '!' and b = 1 => (and (like A:1 'x%\\1':4) (= B:1 1:4))",
                "a in (1+1, 2) => (in A:1 {2 2})",
                "a not in (b, -1, 'x') and c in ((1+2)*3) => (and (notin A:1 [B -1 'x']) (in C:1 {9}))",
                "not a in (null) => !(in A:1 {NULL})",
                "a in (?, 1, 5 % 2) and ? = 1 => (and (in A:1 [? 1 (% 5 2)]) (= ?:4 1:4))", "a = b(+) => (=r A:1 B:1)",
                "a(+) = b and c = d => (and (=l A:1 B:1) (= C:1 D:1))", "(a+1)(+) > b => (>l (+ A 1):5 B:1)",
                "abs(a) > 1 => (> (f61 A):5 1:4)"},
               Where);
}

// Codes and conditions, with "|" between them and "^" in front of the word at fault.
TEST(ParseConditionTest, FaultsTellTheirWord) {
    for (const std::string& strMarked :
         Fields("99:a(+) = b(+^)|505:(a = ^1|505:a = ANY ^1|505:a = any (^select b from s|505:^select b from s|"
                "514:a is ^1|514:a is not ^1|514:a is not ^not null|514:a in (1) ^b|515:a = ^|515:a = ^= 1|"
                "515:a and ^or b|515:a = 1^)|515:a = ^exists (select 1)|515:a in ^1|515:a in ^(1|515:a in (^)|"
                "515:a in (1,^,2)|515:a in (^sum(b))|515:^sum(a) > 1|515:^abs(sum(a)) > 1|515:a ^b = 1|"
                "515:a in (select b from s where ^sum(c) = 1)|558:^|558:(^)|558:^= 1|558:^)|558:^node|"
                "558:a = (b ^= 1)|558:a between ^1|558:a between 1 ^or 2|558:a between (1 ^and 2)|558:1+2 ^like 'x'|"
                "558:upper(a) ^not like 'x'|558:a(+^)|558:a between 1(+) ^and 2|558:a in (1)^(+) and b = c|"
                "558:(a = 1)^(+) and b = c|558:a = ANY (^1)|558:^prior a = b|558:a ^exists (select b from s)|"
                "567:a in (^select b from s for update)|567:a = (^select b from s for update)|610:a = b ^= c")) {
        std::string strText = strMarked.substr(strMarked.find(':') + 1);
        EXPECT_EQ(Where(strText.erase(strText.find('^'), 1)), strMarked);
    }
}

TEST(ParseConditionTest, SubQueries) {
    ExpectRows(
        {"exists (select 1 from s) and not exists (select 2 from s) => (and (exists [q]:7) (notexists [q]:7))",
         "a = any (select b from s) or (select c from s) > all (select d from s) => (or (= A:1 [q]:7) (> [q]:7 [q]:7))",
         "a in (select b from s where c = 1) and t.b = 1 => (and (in A:1 [q]) (= 1.B:1 1:4))",
         "1 = (select 1 from s) => (= 1:4 [q]:7)",
         "not (exists (select 1 from s where a in (select 2 from s))) => !(exists [q]:7)"},
        Where);
}

TEST(ParseConditionTest, HavingAndPrior) {
    EXPECT_EQ(COMPILED("sum(a) + 1 > 1", "HAVING ").Text(), "(> (+ (f84 A) 1):10 1:4)");
    EXPECT_EQ(COMPILED("max(a) in (sum(b))", "HAVING ").Text(), "(in (f83 A):3 [(f84 B)])");
    EXPECT_EQ(COMPILED("sum(a + max(b)) > 1", "HAVING ").Text(), "1502:sum(a + max(b)) ^> 1");
    ExpectRows({"prior a = b => (prior A:1 B:1)", "((prior a = b)) => (prior A:1 B:1)",
                "a = prior b and c = 1 => (and (prior B:1 A:1) (= C:1 1:4))", "prior a = A => 558:prior a = ^A",
                "prior a + 1 = b => 558:prior a ^+ 1 = b", "prior a > b => 558:prior a ^> b", "prior a => 558:prior ^a",
                "prior a = b and c = prior d => (and (prior A:1 B:1) (prior D:1 C:1))",
                "prior a = prior b => 558:prior a ^= prior b",
                "a = prior b and c = prior d => 558:a = prior b and c = ^prior d",
                "a = prior (b + 1) => 558:a = prior (b + 1^)"},
               [](const std::string& strText) { return COMPILED(strText, "CONNECT BY ").Text(); });
}

TEST(ParseConditionTest, ConstantConditionsAreDecidedHere) {
    ExpectRows({"1=1 => none", "1=2 => false", "1=2 or 1=3 => false", "not (1=1 or 1=3) => false",
                "(1=2 and 1=1) or (2=1 or 1=0) => false", "(1=1 and 2=2) and 1=0 => false",
                "'a' = 'A' and 2 between 1 and 3 => none", "null = 1 => (= NULL:4 1:4)",
                "not (null = 1) or 1 = 2 => (or !(= NULL:4 1:4) (= 1:4 2:4))",
                // These stay as they are.
                "1 => (bare 1:4)", "1 in (1) => (in 1:4 {1})", "1 is null => (is 1:4 NULL:4)",
                "5 % 2 = 1 => (= (% 5 2):4 1:4)", "1 = 1 and ? = 1 => (and (= 1:4 1:4) (= ?:4 1:4))",
                "abs(1) = 1 => (= (f61 {1}):5 1:4)"},
               Where);
}

// A tenth of a second; two seconds under sanitizers, so that what recurses would come to the end of the stack.
TEST(ParseConditionTest, LongTextsNeitherOverflowNorTakeLong) {
    static constexpr int MANY = 25'000;
    EXPECT_EQ(COMPILED("a = 1" + Repeat(" and b=1", MANY)).m_nCode, ERR_OK);
    EXPECT_EQ(Where("1 = 1" + Repeat(" and 1 = 1", MANY) + " and 1 = 2"), "false");
    EXPECT_EQ(COMPILED("a in (1" + Repeat(",1", MANY) + ")").m_nCode, ERR_OK);
    EXPECT_EQ(Where(Repeat("(", MANY) + "a" + Repeat(")", MANY)), "(bare A:1)");
    EXPECT_EQ(COMPILED("1" + Repeat("+1", MANY) + " > 1").m_nCode, ERR_OK);
    // Nested to the right, it ends with an error.
    for (const char* lpszPart : {"(a = 1 and ", "a = 1 or (", "not ", "a + (", "a = abs(1 + ", "a in ((1 + "})
        EXPECT_EQ(COMPILED(Repeat(lpszPart, MANY) + "a" + Repeat(")", 2 * MANY)).m_nCode, ERR_EXPECT_EXPRESSION)
            << lpszPart;
    const int nFits = CParseConditionManager::OPERATOR_DEPTH_MAX / 2 - 1;
    EXPECT_EQ(Where(Repeat("1 = 1 and (", nFits) + "2 = 1" + Repeat(")", nFits)), "false");
}

} // namespace
