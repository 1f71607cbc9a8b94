// What the compiler works out, against two oracles: the evaluator over the same expression as a select field, which is
// never folded, and SQLite, where its dialect agrees. Random expressions, the same in each run.

#include <gtest/gtest.h>

#include <array>

#include "BaseExpression.h"
#include "Fields.h"
#include "Grammar.h"
#include "ParseSql.h"
#include "PlanReader.h"
#include "ValueText.h"

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

/** A value as both sides of a comparison print it. */
std::string Print(const st_VARDATA& stValue) {
    if (stValue.m_vt == VT_NULL) return "null";
    if (stValue.m_vt == VT_VARCHAR) return std::string("'") + stValue.m_lpszValue + "'";
    return NumberText(stValue.GetCompatibleDouble());
}

/** A compiled SELECT, of which a test reads what it wants. */
class CCompiled {
public:
    explicit CCompiled(const std::string& strSql) {
        EXECUTEPLANBSON* lpPlan = nullptr;
        m_nCode = m_stParse.ParseSql(strSql.data(), static_cast<int>(strSql.size()), lpPlan, 0, 0, 0);
        if (m_nCode == ERR_OK) m_nCode = m_stPlan.Open(lpPlan, lpPlan->m_nTotalDataSize);
        EXPECT_EQ(m_nCode, ERR_OK) << strSql;
        if (m_nCode == ERR_OK) m_lpQuery = At<QUERYEXECUTEPLANBSON>(m_stPlan.Head().m_nCommandOffset);
    }
    template <typename T>
    const T* At(UINT nOffset) const {
        return m_stPlan.Record<T>(nOffset);
    }
    /** The root of the first field or the second one. */
    UINT Field(int nIndex) const {
        const auto* lpField = At<EXECUTEFIELDBSON>(m_lpQuery->m_nExecuteFieldOffset);
        return nIndex == 0 ? lpField->m_nExpOffset : At<EXECUTEFIELDBSON>(lpField->m_nNextOffset)->m_nExpOffset;
    }
    UINT Where() const { return At<COMMONCONDITION>(m_lpQuery->m_nConditionOffset)->m_nWhereOffset; }
    std::string Value(UINT nRoot) {
        CBaseBson& stBson = m_stParse.GetParseBson();
        st_VARDATA stValue;
        const auto* const lpRoot = reinterpret_cast<const st_MATHEXPBSON*>(stBson.ConvertOffset2Addr(nRoot));
        const int nCode = CBaseExpression::GetExpressionResult(&stBson, lpRoot, stValue);
        return nCode == ERR_OK ? Print(stValue) : "error " + std::to_string(nCode);
    }
    std::string Element(UINT nElement) {
        const auto* const lpBytes = m_stParse.GetParseBson().ConvertOffset2Addr(nElement);
        st_VARDATA stValue;
        EXPECT_EQ(CBaseExpression::GetDataValue(reinterpret_cast<const MATHEXPELEMENTBSON*>(lpBytes), stValue), ERR_OK);
        return Print(stValue);
    }

    int m_nCode = ERR_OK;

private:
    CParseSql m_stParse;
    CPlanReader m_stPlan;
    const QUERYEXECUTEPLANBSON* m_lpQuery = nullptr;
};

/** `sum(E)` and `in (E)` as they were folded, and E as it's worked out when it is a field; "tree" for one left alone.
 */
std::array<std::string, 3> Folded(const std::string& strExpression) {
    CCompiled st("select sum(" + strExpression + "), " + strExpression + " from t where a in (" + strExpression + ")");
    if (st.m_nCode != ERR_OK) return {};
    const auto& stSum = *st.At<st_MATHEXPBSON>(st.Field(0));
    const auto& stArgument = *st.At<FUNCTIONPARAM>(st.At<FUNCTIONPARAMLIST>(stSum.m_nExpOffset1)->m_nExpOffset[0]);
    const auto& stCompare = *st.At<COMPAREEXPBSON>(st.At<BASECONDITIONBSON>(st.Where())->m_nConditionOffset1);
    const auto& stEntry =
        *st.At<st_MATHEXPBSON>(st.At<INCONDITIONBSON>(stCompare.m_nMathExpOffset2)->m_nExpressionOffset[0]);
    const bool bSum = stArgument.m_bExpressionType == EXP_ELEMENT;
    const bool bIn = stEntry.m_bOperator == 0 && stEntry.m_bExpressionType1 == EXP_ELEMENT;
    return {bSum ? st.Element(stArgument.m_nExpOffset) : "tree", bIn ? st.Element(stEntry.m_nExpOffset1) : "tree",
            st.Value(st.Field(1))};
}

/** What becomes of a WHERE: "1", "0", or "tree" if it stays. */
std::string FoldedCondition(const std::string& strCondition) {
    CCompiled st("select a from t where " + strCondition);
    if (st.m_nCode != ERR_OK) return "error";
    if (st.Where() == 0) return "1";
    const auto& stRoot = *st.At<BASECONDITIONBSON>(st.Where());
    const bool bLone = stRoot.m_bLogicOperator == LOGIC_NONE && stRoot.m_bConditionType1 == CONDITION_COMPARE;
    return bLone && st.At<COMPAREEXPBSON>(stRoot.m_nConditionOffset1)->m_bOperator == COMPARE_FALSE ? "0" : "tree";
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

/** Each row is an expression and its value, which all three ways to it agree on. */
TEST(ParseFoldTest, Values) {
    ExpectRows({"1 + 2 * 3 => 7", "-(2 - 5) * 0.5 => 1.5", "null + 1 => null", "'it''s' || 'a' => 'it'sa'",
                "- 7 div 2 => -3", "99999999999999999999 * 10 => 1e+21", "1 / 0 => null", "pi() - pi() => 0"},
               [](const std::string& strExpression) {
                   const auto [strSum, strIn, strField] = Folded(strExpression);
                   EXPECT_EQ(strSum, strField) << strExpression;
                   EXPECT_EQ(strIn, strField) << strExpression;
                   return strField;
               });
    for (const char* const lpszTree : {"? + 1", "1 + new.a", "5 % 2", "abs(1 + 1)", "upper('x')", "a + 1"})
        EXPECT_EQ(Folded(lpszTree)[1], "tree") << lpszTree;
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
        const auto [strSum, strIn, strField] = Folded(strExpression);
        EXPECT_EQ(strSum, strField) << strExpression;
        EXPECT_EQ(strIn, strField) << strExpression;
        EXPECT_EQ(strField == "-0" ? "0" : strField, strValue == "-0" ? "0" : strValue) << strExpression;
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
