// What the compiler works out, against SQLite, where its dialect agrees. Random expressions, the same in each run.

#include <gtest/gtest.h>

#include "Fields.h"
#include "Grammar.h"
#include "PlanLine.h"
#include "QueryText.h"

#ifdef KESTRO_SQLITE
#include <sqlite3.h>
#endif

namespace {

#ifdef NDEBUG
constexpr int NUM = 2000;
#else
constexpr int NUM = 100; // which take a sanitizer as long
#endif

std::string NumberText(double dblValue) {
    return PrintText("%.17g", dblValue);
}

/** What stands between two texts of a third one. */
std::string Between(const std::string& strText, const std::string& strFront, const std::string& strBehind) {
    const std::size_t nBegin = strText.find(strFront) + strFront.size();
    return strText.substr(nBegin, strText.find(strBehind, nBegin) - nBegin);
}

std::string Compile(const std::string& strSql) {
    return CompiledAs(strSql, [](const CPlanReader& st) { return CQueryText(st).Query(st.Head().m_nCommandOffset); });
}

/** A literal of a plan as SQLite's values are printed; "tree" for what isn't one. */
std::string Value(const std::string& strText) {
    if (strText.find_first_of("([{?") == 0) return "tree";
    if (strText[0] == '\'') return strText;
    return strText == "NULL" ? "null" : NumberText(std::stod(strText));
}

/** An expression as it was folded in `sum(E)` and in `in (E)`. */
std::pair<std::string, std::string> Folded(const std::string& strExpression) {
    const std::string strPlan = Compile("select sum(" + strExpression + ") from t where a in (" + strExpression + ")");
    // Constants stand in braces.
    std::string strIn = Between(strPlan, "(in A:1 ", "):");
    if (strIn[0] == '{') strIn = strIn.substr(1, strIn.size() - 2);
    return {Value(Between(strPlan, "=(f84 ", "):")), Value(strIn)};
}

/** What becomes of a WHERE: "1", "0", or "tree" if it stays. */
std::string FoldedCondition(const std::string& strCondition) {
    const std::string strPlan = Compile("select a from t where " + strCondition);
    EXPECT_EQ(strPlan.substr(0, 4), "q1.1") << strPlan;
    return strPlan.ends_with(" where false") ? "0" : strPlan.find(" where ") == strPlan.npos ? "1" : "tree";
}

// Constant expressions. Numbers are few binary digits, so that doubles hold them exactly; divisions come out even in
// both.
constexpr const char* GRAMMAR[] = {
    "number 0;1;2;3;7;10;250;0.5;2.25;12.0;null",
    "sum $number;$number;- $number;($sum);($sum) / 2.0;($sum) / 0.5;$sum + $sum;$sum - $sum;$sum * $sum",
    "text 'a';'b';'ab';'a' || 'b';'b' || 'it''s' || 'x'",
    // No product is a negative zero, which isn't equal to 0.
    "side $number;- $number;($number) / 2.0;($number) / 0.5;$number + $number;$number - $number;$number * $number",
    "compare $side = $side;$side <> $side;$side < $side;$side <= $side;$side > $side;$side >= $side;"
    "$side between $side and $side;$text = $text;$text < $text;$text >= $text;$text between $text and $text",
    "condition $compare;$compare;not $compare;not ($condition);($condition);$condition and $condition;"
    "$condition or $condition",
};

TEST(ParseFoldTest, Values) {
    ExpectRows({"1 + 2 * 3 => 7", "-(2 - 5) * 0.5 => 1.5", "null + 1 => null", "'it''s' || 'a' => 'it'sa'",
                "- 7 div 2 => -3", "99999999999999999999 * 10 => 1e+21", "1 / 0 => null", "pi() - pi() => 0"},
               [](const std::string& strExpression) {
                   const auto [strSum, strIn] = Folded(strExpression);
                   EXPECT_EQ(strSum, strIn) << strExpression;
                   return strSum;
               });
    for (const char* const lpszTree : {"? + 1", "1 + new.a", "5 % 2", "abs(1 + 1)", "upper('x')", "a + 1"})
        EXPECT_EQ(Folded(lpszTree).second, "tree") << lpszTree;
    // What NULL leaves open stays for the server.
    for (const char* const lpszTree : {"null = null", "not null = 1", "1 = 1 or 1 / 0 > 1", "1 in (1)"})
        EXPECT_EQ(FoldedCondition(lpszTree), "tree") << lpszTree;
}

#ifdef KESTRO_SQLITE

class CSqlite {
public:
    CSqlite() { EXPECT_EQ(sqlite3_open(":memory:", &m_lpDatabase), SQLITE_OK); }
    ~CSqlite() { sqlite3_close(m_lpDatabase); }
    std::string Value(const std::string& strExpression) {
        sqlite3_stmt* lpStatement = nullptr;
        const std::string strSql = "select " + strExpression;
        EXPECT_EQ(sqlite3_prepare_v2(m_lpDatabase, strSql.c_str(), -1, &lpStatement, nullptr), SQLITE_OK) << strSql;
        EXPECT_EQ(sqlite3_step(lpStatement), SQLITE_ROW) << strSql;
        const int nType = sqlite3_column_type(lpStatement, 0);
        std::string strValue = nType == SQLITE_NULL ? "null" : NumberText(sqlite3_column_double(lpStatement, 0));
        if (nType == SQLITE_TEXT)
            strValue = std::string("'") + reinterpret_cast<const char*>(sqlite3_column_text(lpStatement, 0)) + "'";
        sqlite3_finalize(lpStatement);
        return strValue;
    }

private:
    sqlite3* m_lpDatabase = nullptr;
};

TEST(ParseFoldTest, RandomExpressionsAsSqlite) {
    CSqlite stSqlite;
    CGrammar stGrammar(GRAMMAR, 1);
    for (int i = 0; i < NUM && !HasFailure(); ++i) {
        const std::string strExpression = stGrammar.Text(i % 8 == 0 ? "text" : "sum", i % 24);
        const std::string strValue = stSqlite.Value(strExpression);
        const auto [strSum, strIn] = Folded(strExpression);
        EXPECT_EQ(strSum, strIn) << strExpression;
        EXPECT_EQ(strSum == "-0" ? "0" : strSum, strValue == "-0" ? "0" : strValue) << strExpression;
    }
}

TEST(ParseFoldTest, RandomConditionsAsSqlite) {
    CSqlite stSqlite;
    CGrammar stGrammar(GRAMMAR, 2);
    for (int i = 0; i < NUM && !HasFailure(); ++i) {
        const std::string strCondition = stGrammar.Text("condition", i % 24);
        const std::string strFolded = FoldedCondition(strCondition), strValue = stSqlite.Value(strCondition);
        if (strFolded == "tree" && strCondition.find("null") != std::string::npos) continue;
        EXPECT_EQ(strFolded, strValue == "1" ? "1" : "0") << strCondition;
    }
}

#endif

} // namespace
