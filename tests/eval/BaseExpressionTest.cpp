#include <pthread.h>

#include "ChunkFault.h"
#include "ExpressionMaker.h"

namespace {

/** Rows of an expression, an arrow and what is expected of it. */
template <typename F>
void ExpectRows(const std::string& strTable, F lpfnShow) {
    for (const auto& arRow : RowsOf(strTable)) {
        std::string strText;
        for (std::size_t i = 0; i + 2 < arRow.size(); ++i)
            strText += arRow[i] + " ";
        SCOPED_TRACE(strText);
        CExpressionMaker stMaker;
        EXPECT_EQ(lpfnShow(stMaker, stMaker.Make(strText)), arRow.back());
    }
}

TEST(BaseExpression, WorksOutOperators) {
    ExpectRows(R"(
        int:7 -> int:7; big:-7 -> big:-7; dbl:0.5 -> dbl:0.5; dt:45322.25 -> dt:45322.25; dec:1.50 -> dec:1.50
        txt:a_b -> txt:a_b; blob:xyz -> blob:xyz; null -> null; byte:200 -> int:200; field -> null
        param -> !1502; new -> !1502; old -> !1502
        ( plus dec:2 ) -> dec:2; ( neg dec:2 ) -> dec:-2; ( neg int:2 ) -> big:-2; ( neg ( neg int:2 ) ) -> big:2
        ( + int:2147483647 int:1 ) -> big:2147483648; ( - dec:1.5 dec:2 ) -> dec:-0.5; ( * dec:1.5 int:2 ) -> dec:3.0
        ( / int:7 int:2 ) -> dbl:3.5; ( / int:7 int:0 ) -> null; ( || txt:a null ) -> txt:a; ( || int:1 txt:b ) -> txt:1b
        ( || null default ) -> empty; ( DIV int:-7 int:2 ) -> big:-3; ( DIV int:5 int:0 ) -> null; ( DIV dec:7.9 txt:2.9 ) -> big:3
        ( DIV null int:1 ) -> null; ( DIV blob:a int:1 ) -> null
        ( DIV big:-9223372036854775808 int:-1 ) -> big:-9223372036854775808
        ( ~ int:0 ) -> big:-1; ( & int:6 int:3 ) -> big:2; ( ^ int:6 int:3 ) -> big:5; ( | int:6 int:3 ) -> big:7
        ( << int:1 int:64 ) -> big:0; ( >> dec:7.5 int:2 ) -> big:2
        ( + ( * dec:2 dec:3 ) ( neg ( / dec:1 dec:4 ) ) ) -> dec:5.75000000000000000000000000000000000
        ( + field int:1 ) -> null; ( % int:7 int:2 ) -> !1502; ( = int:1 int:1 ) -> !1502; ( SUM int:1 ) -> !1502
        ( + param int:1 ) -> !1502; ( CONCAT txt:a txt:b ) -> !1502; ( CRC32 txt:a ) -> !1502; ( USER ) -> !1502
        ( JSON_TYPE txt:a ) -> !1502; ( ABS ( neg ( ABS dec:-2 ) ) ) -> dbl:2; ( ROUND dec:2.5 default ) -> dec:3
        ( LOG dec:1 default ) -> dbl:0; ( LOG10 dec:100 ) -> dbl:2; ( PI ) -> dbl:3.14159265358979
        ( ABS ) -> !1533; ( NVL2 int:1 int:2 ) -> !1533; ( ABS param ) -> !1502; ( ABS ( % int:1 int:1 ) ) -> !1502
        ( REPLACE txt:a txt:b txt:c ) -> !1502; ( UPPER ( || txt:a txt:b ) ) -> txt:AB; ( EXP dec:710 ) -> !1500)",
               [](CExpressionMaker& st, UINT nRoot) { return st.Value(nRoot); });
    // A day as an interval; the functions that add it aren't computed here.
    constexpr const char* DAY =
        "txt:\x01\x06\x01"
        "1";
    for (const char* const lpszForm : {"( + txt:2024-01-31 %s )", "( - dt:45322 %s )", "( + %s null )", "( neg %s )"}) {
        CExpressionMaker stMaker;
        EXPECT_EQ(stMaker.Value(stMaker.Make(PrintText(lpszForm, DAY))), "!1502") << lpszForm;
    }
    st_VARDATA stResult;
    EXPECT_EQ(CBaseExpression::GetExpressionResult(nullptr, nullptr, stResult), ERR_OK);
    EXPECT_EQ(WordValue::Print(stResult), "int:1");
}

// What "-a" has is a plain field's class; and a constant argument that is an expression makes no constant.
TEST(BaseExpression, TellsTheClass) {
    ExpectRows(R"(
        int:1 -> 4; param -> 4; field -> 1; ( neg field ) -> 1; ( + field int:1 ) -> 5; ( + int:1 dec:2 ) -> 4
        ( SUM field ) -> 3; ( + ( SUM field ) int:1 ) -> 10; ( neg ( SUM field ) ) -> 3; ( + int:1 ( SUM field ) ) -> 10
        ( * ( + ( SUM field ) int:1 ) field ) -> 10; ( PI ) -> 4; ( ABS int:1 ) -> 4; ( ABS field ) -> 5
        ( ABS ( neg int:1 ) ) -> 5; ( ABS ( SUM field ) ) -> 10; ( NVL ( neg int:1 ) ( SUM field ) ) -> 5
        ( NVL int:1 field ) -> 5; ( + ( ABS int:1 ) int:2 ) -> 4; ( AND field field ) -> 5)",
               [](CExpressionMaker& st, UINT nRoot) {
                   return std::to_string(CBaseExpression::GetExpressionType(&st.Bson(), nRoot));
               });
    constexpr BYTE KINDS[][2] = {
        {EXP_ELEMENT, EXPCLASS_FIELD},     {EXP_PARAM_LIST, 0},   {EXP_NONE, 0},          {EXP_SUBQUERY, 7},
        {EXP_CONSTANT, EXPCLASS_CONSTANT}, {EXP_JSON_ELEMENT, 9}, {EXP_JSON_ARGUMENTS, 0}};
    CExpressionMaker stMaker;
    const UINT nLeaf = stMaker.Root(stMaker.Make("field"))->m_nExpOffset1;
    for (const auto& arKind : KINDS) {
        EXPECT_EQ(CBaseExpression::GetOperandType(&stMaker.Bson(), arKind[0], nLeaf), arKind[1]) << int{arKind[0]};
        EXPECT_EQ(CBaseExpression::GetOperandType(&stMaker.Bson(), arKind[0], 0), EXPCLASS_NONE);
    }
    EXPECT_EQ(CBaseExpression::GetExpressionType(&stMaker.Bson(), 0), EXPCLASS_NONE);
    const UINT nJson = stMaker.Node(FN_JSON_TYPE, {EXP_JSON_ARGUMENTS, nLeaf}, {EXP_NONE, 0});
    EXPECT_EQ(CBaseExpression::GetExpressionType(&stMaker.Bson(), nJson), EXPCLASS_SCALAR);
    EXPECT_EQ(CBaseExpression::GetFunctionType(&stMaker.Bson(), stMaker.Make("( ABS txt:a )")), EXPCLASS_CONSTANT);
}

TEST(BaseExpression, FindsParameters) {
    ExpectRows(R"(
        int:1 -> 0; field -> 0; param -> 1; new -> 1; old -> 1; ( neg param ) -> 1; ( + field param ) -> 1; ( PI ) -> 0
        ( ABS param ) -> 1; ( NVL int:1 ( + int:1 param ) ) -> 1; ( NVL int:1 ( + int:1 int:2 ) ) -> 0)",
               [](CExpressionMaker& st, UINT nRoot) {
                   return std::to_string(CBaseExpression::HoldsParameter(&st.Bson(), nRoot));
               });
    EXPECT_FALSE(CBaseExpression::HoldsParameter(nullptr, 0));
}

// Each row: a, b, then AND, OR, XOR of the two, and NOT of a. "abc" is no number, but has a length.
TEST(BaseExpression, KnowsThreeTruths) {
    for (const auto& arRow : RowsOf(R"(
        int:0 int:0 0 0 0 1; int:0 int:1 0 1 1 1; int:0 null 0 N N 1
        int:1 int:0 0 1 1 0; int:1 int:1 1 1 0 0; int:1 null N 1 N 0
        null int:0 0 N N N; null int:1 N 1 N N; null null N N N N
        dec:0.0 dbl:0.5 0 1 1 1; txt:abc int:1 0 1 0 1; txt:1abc big:2 1 1 0 0; null txt:abc 0 N N N
        date:2024-01-31 null N 1 N 0; time:0d_00:00:00 null 0 N N 1)")) {
        SCOPED_TRACE(arRow[0] + " " + arRow[1]);
        const WordValue a(arRow[0]), b(arRow[1]);
        st_VARDATA arResult[4];
        EXPECT_EQ(CBaseExpression::And(nullptr, a, b, arResult[0]), ERR_OK);
        EXPECT_EQ(CBaseExpression::Or(nullptr, a, b, arResult[1]), ERR_OK);
        EXPECT_EQ(CBaseExpression::Xor(nullptr, a, b, arResult[2]), ERR_OK);
        EXPECT_EQ(CBaseExpression::Not(nullptr, a, arResult[3]), ERR_OK);
        for (std::size_t i = 0; i < 4; ++i)
            EXPECT_EQ(WordValue::Print(arResult[i]), arRow[i + 2] == "N" ? "null" : "int:" + arRow[i + 2]) << i;
    }
}

TEST(BaseExpression, LoadsStoredBytes) {
    const auto Show = [](BYTE bType, std::string_view szBytes) {
        const ExactText stBytes(szBytes);
        st_VARDATA stValue;
        EXPECT_EQ(CBaseExpression::GetDataValue(stBytes.Data(), stValue, bType), ERR_OK);
        return WordValue::Print(stValue);
    };
    for (const auto& [bType, nLen] : {std::pair{VT_TINYINT, 1}, {VT_SMALLINT, 2}, {VT_INT, 4}})
        EXPECT_EQ(Show(bType, {"\xFE\xFF\xFF\xFF", static_cast<std::size_t>(nLen)}), "int:-2");
    EXPECT_EQ(Show(VT_CHAR, std::string_view("ab", 3)), "txt:ab");
    EXPECT_EQ(Show(VT_BLOB, std::string_view("ab", 3)), std::string("blob:ab\0", 8));
    EXPECT_EQ(Show(VT_DECIMAL, DecimalImage("-1.5") + std::string(16, '\0')), "dec:-1.5");
    EXPECT_EQ(Show(VT_JSON, ""), "null");
}

TEST(BaseExpression, RefusesFunctionsByTheirForm) {
    // The number of arguments and the code.
    for (const auto& arRow :
         RowsOf("PI 0 0; STARTNODEID 0 1502; ABS 1 0; DATE_PART 1 1502; SIMILARITY 2 1; REPLACE 3 1502; "
                "CONCAT 7 1; EXPORT_SET 5 1; SUM -1 1502; CRC32 -1 1502; USER -1 1502; + -1 1502")) {
        SCOPED_TRACE(arRow[0]);
        const BYTE bCode = ExpressionCode(arRow[0]);
        CBaseBson stBson;
        st_VARDATA arArgument[5], stResult;
        const int nArguments = CBaseExpression::GetFunParamNum(bCode);
        EXPECT_EQ(nArguments, std::stoi(arRow[1]));
        EXPECT_EQ(CBaseExpression::GetFunctionVal(&stBson, bCode, 0, arArgument, stResult), std::stoi(arRow[2]));
        stResult.SetData(5);
        if (nArguments < 1 || nArguments > 3) continue;
        arArgument[nArguments - 1].m_vt = VT_STOP;
        EXPECT_EQ(CBaseExpression::GetFunctionVal(&stBson, bCode, 0, arArgument, stResult), ERR_OK);
        EXPECT_EQ(WordValue::Print(stResult), "int:5");
    }
}

/** Nodes one inside the other, on the left, on the right, on the right of one more expression, or as arguments. */
UINT Nest(CExpressionMaker& stMaker, int nDepth, int nForm, const char* lpszInner) {
    using OPERAND = CExpressionMaker::OPERAND;
    EXPECT_EQ(stMaker.Bson().ReAllocBsonBuffer(8 << 20), ERR_OK);
    UINT nNode = stMaker.Make(lpszInner);
    for (int i = 1; i < nDepth; ++i) {
        OPERAND stLeft{EXP_EXPRESSION, nNode}, stRight{EXP_NONE, 0};
        if (nForm == 1 || nForm == 2) std::swap(stLeft, stRight);
        if (nForm == 2) stLeft = {EXP_EXPRESSION, stMaker.Node(OP_ADD, stLeft, stLeft)};
        if (nForm == 3) {
            auto* const lpList = stMaker.m_stMaker.New<FUNCTIONPARAMLIST>(stLeft.m_nOffset);
            stLeft.m_bKind = EXP_PARAM_LIST;
            lpList->m_bNum = 1;
            UINT nParam = 0;
            *stMaker.m_stMaker.New<FUNCTIONPARAM>(nParam) = {EXP_EXPRESSION, {}, {}, nNode};
            lpList->m_nExpOffset[0] = nParam;
        }
        nNode = stMaker.Node(nForm == 3 ? BYTE{FN_ABS} : BYTE{OP_ADD}, stLeft, stRight);
    }
    return nNode;
}

void* ExpectDepths(void*) {
    for (int nForm = 0; nForm < 4; ++nForm) {
        for (const int nDepth : {CBaseExpression::DEPTH_LIMIT, CBaseExpression::DEPTH_LIMIT + 1, 50'000}) {
            SCOPED_TRACE(std::to_string(nForm) + " " + std::to_string(nDepth));
            CExpressionMaker stMaker;
            const UINT nRoot = Nest(stMaker, nDepth, nForm, "dec:0");
            const bool bFits = nDepth <= CBaseExpression::DEPTH_LIMIT;
            EXPECT_EQ(stMaker.Value(nRoot), !bFits ? "!1502" : nForm < 3 ? "dec:0" : "dbl:0");
            EXPECT_EQ(CBaseExpression::HoldsParameter(&stMaker.Bson(), nRoot), !bFits);
            // Chains have their class however long they are.
            EXPECT_EQ(CBaseExpression::GetExpressionType(&stMaker.Bson(), nRoot),
                      nForm < 2 || (nForm == 2 && bFits) ? EXPCLASS_CONSTANT : EXPCLASS_SCALAR);
        }
    }
    for (const int nForm : {0, 1}) {
        CExpressionMaker stMaker;
        const UINT nRoot = Nest(stMaker, 50'000, nForm, "( + ( SUM field ) int:1 )");
        EXPECT_EQ(CBaseExpression::GetExpressionType(&stMaker.Bson(), nRoot), EXPCLASS_MIXED);
    }
    return nullptr;
}

// On the stack that a service's thread has; what isn't optimised needs more.
TEST(BaseExpression, RefusesDepthBeforeTheStackEnds) {
#if defined(NDEBUG) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    constexpr std::size_t STACK_SIZE = 256 << 10;
#else
    constexpr std::size_t STACK_SIZE = 2 << 20;
#endif
    pthread_attr_t stAttributes;
    pthread_t hThread;
    pthread_attr_init(&stAttributes);
    ASSERT_EQ(pthread_attr_setstacksize(&stAttributes, STACK_SIZE), 0);
    ASSERT_EQ(pthread_create(&hThread, &stAttributes, ExpectDepths, nullptr), 0);
    pthread_join(hThread, nullptr);
}

// Each level leads to the next one twice, so a walk without a limit would never end.
TEST(BaseExpression, RefusesTreesThatMeetThemselves) {
    CExpressionMaker stMaker;
    UINT nNode = stMaker.Make("int:1");
    for (int i = 0; i < 64; ++i)
        nNode = stMaker.Node(OP_ADD, {EXP_EXPRESSION, nNode}, {EXP_EXPRESSION, nNode});
    const UINT nLoop = stMaker.Make("( + int:1 int:2 )");
    stMaker.Root(nLoop)->m_bExpressionType1 = stMaker.Root(nLoop)->m_bExpressionType2 = EXP_EXPRESSION;
    stMaker.Root(nLoop)->m_nExpOffset1 = stMaker.Root(nLoop)->m_nExpOffset2 = nLoop;
    for (const UINT nRoot : {nNode, nLoop}) {
        EXPECT_EQ(stMaker.Value(nRoot), "!1533");
        EXPECT_EQ(CBaseExpression::GetExpressionType(&stMaker.Bson(), nRoot), EXPCLASS_SCALAR);
        EXPECT_TRUE(CBaseExpression::HoldsParameter(&stMaker.Bson(), nRoot));
    }
}

// All cuts of a plan, and all its bytes exchanged; a sanitizer sees what is read beyond its block.
TEST(BaseExpression, ReadsNothingBeyondThePlan) {
    CExpressionMaker stMaker;
    // A copy of the root stands in front, as its own record is the caller's to check.
    const UINT nRoot = stMaker.Make("null");
    *stMaker.Root(nRoot) =
        *stMaker.Root(stMaker.Make("( || ( NVL2 null ( + dec:1.5 big:2 ) ( UPPER txt:abc ) ) ( neg dbl:0.5 ) )"));
    const UINT nSize = stMaker.Bson().GetBsonDataSize();
    const std::string strBytes(reinterpret_cast<char*>(stMaker.Bson().GetBuffer()), nSize);
    const auto Run = [nRoot](const std::string& strPlan) {
        const ExactText stBytes(strPlan);
        CBaseBson stBson;
        stBson.SetBuffer(reinterpret_cast<LPBYTE>(stBytes.Data()), stBytes.Size(), stBytes.Size());
        st_VARDATA stResult;
        (void)CBaseExpression::GetExpressionType(&stBson, nRoot);
        (void)CBaseExpression::HoldsParameter(&stBson, nRoot);
        const auto* const lpNode = reinterpret_cast<const st_MATHEXPBSON*>(stBson.ConvertOffset2Addr(nRoot));
        if (CBaseExpression::GetExpressionResult(&stBson, lpNode, stResult) != ERR_OK) return std::string("code");
        return WordValue::Print(stResult);
    };
    for (std::size_t nLen = nRoot + sizeof(st_MATHEXPBSON); nLen <= nSize; ++nLen)
        EXPECT_EQ(Run(strBytes.substr(0, nLen)), nLen + sizeof(st_MATHEXPBSON) < nSize ? "code" : "txt:ABC-0.500000");
    for (std::size_t nAt = nRoot; nAt < nSize; ++nAt) {
        for (const int nByte : {0x00, 0x01, 0x02, 0x7F, 0x80, 0xFF}) {
            std::string strPatched = strBytes;
            strPatched[nAt] = static_cast<char>(nByte);
            (void)Run(strPatched);
        }
    }
    for (const UINT nOffset : {nSize - 1, nSize - 15, nSize, 0x7FFFFFFFu, 0xFFFFFFF0u, 0xFFFFFFFFu})
        EXPECT_EQ(Run(Patched(strBytes, nRoot + offsetof(st_MATHEXPBSON, m_nExpOffset1), nOffset)), "code");
}

// The texts are so long that they take more than the plan has.
TEST(BaseExpression, TellsShortMemory) {
    const std::string strLong(600'000, 'x');
    std::string strText = "( || ( || txt:";
    strText.append(strLong).append(" txt:").append(strLong).append(" ) ( NVL null txt:").append(strLong).append(" ) )");
    bool bCameTrue = true;
    int nFailed = 0;
    for (std::int64_t nNth = 1; bCameTrue; ++nNth) {
        const CChunkFault stBytes;
        CExpressionMaker stMaker;
        ASSERT_EQ(stMaker.Bson().ReAllocBsonBuffer(4 << 20), ERR_OK);
        const UINT nRoot = stMaker.Make(strText);
        KestroChunkFailNth(nNth);
        const std::string strValue = stMaker.Value(nRoot);
        bCameTrue = KestroChunkFailNth(0) == 0;
        nFailed += bCameTrue;
        EXPECT_EQ(strValue.size(), bCameTrue ? 2 : 4 + 3 * strLong.size()) << strValue.substr(0, 9);
    }
    EXPECT_GE(nFailed, 1);
}

} // namespace
