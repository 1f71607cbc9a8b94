#include "ParseSql.h"

#include <gtest/gtest.h>

#include <memory>

#include "ChunkFault.h"
#include "Fields.h"
#include "ParseSqlHead.h"
#include "PlanLine.h"
#include "PlanMaker.h"
#include "ValueRows.h"

namespace {

TEST(ParseSql, ChoosesTheParserByTheFirstWord) {
    ExpectRows({"begin => nType=10 bWriteLog=1", "Begin Work; => nType=10 bWriteLog=1",
                "begin graph => nType=15 bWriteLog=1", "begin work work => 814 at 2", "begin it => 814 at 0",
                "commit => nType=11 bWriteLog=1", "commit graph => nType=16 bWriteLog=1",
                "commit work work => 815 at 0", "rollback work => nType=12 bWriteLog=1", "rollback graph => 816 at 0",
                // Names.
                "use Shop => nType=17 nCommandOffset=DATABASEBSON{pDatabaseName=\"Shop\"}",
                "use `my shop` => nType=17 nCommandOffset=DATABASEBSON{pDatabaseName=\"my shop\"}", "use => 835 at 0",
                "use a b => 835 at 0", "use 1 => 835 at 1", "show tables => 502 at 0",
                "create table t (a int) => 502 at 0", "frobnicate => 502 at 0", "commi_t => 501 at 0", " => 500 at 0",
                " \t\r\n;; => 500 at 0", "-- nothing => 500 at 0", "1 => 500 at 0",
                // Hints.
                "/*!40101 begin work */ => nType=10 bWriteLog=1", "/*!40101 begin*/ => nType=10 bWriteLog=1",
                "/*!40101 begin work */ work => 814 at 2",
                "(/*! use */ shop) => nType=17 nCommandOffset=DATABASEBSON{pDatabaseName=\"shop\"}"},
               Compiled);
    const std::string strLongest(64, 'd');
    EXPECT_EQ(Compiled("use " + strLongest),
              "nType=17 nCommandOffset=DATABASEBSON{pDatabaseName=\"" + strLongest + "\"}");
    EXPECT_EQ(Compiled("use d" + strLongest), "835 at 1");
}

/** What the head reader answers: "code text | word, position, brackets, hint". */
std::string Head(std::string_view szSql, bool bHashComment = false) {
    SQLHEAD stHead;
    const ExactText stText(szSql);
    const int nCode = ReadSqlHead(stText.View(), bHashComment, stHead);
    if (nCode != ERR_OK) return std::to_string(nCode);
    const auto Part = [&](int nBegin, int nEnd) {
        return std::string(
            stHead.m_szText.substr(static_cast<std::size_t>(nBegin), static_cast<std::size_t>(nEnd - nBegin)));
    };
    return std::string(stHead.m_szText) + " | " + stHead.m_szWord + " " + std::to_string(stHead.m_nPos) +
           (stHead.m_nParens ? " (" + std::to_string(stHead.m_nParens) : "") +
           (stHead.m_nHintEnd ? " hint " + Part(stHead.m_nHintBegin, stHead.m_nHintEnd) : "");
}

TEST(ParseSql, ReadsTheHead) {
    ExpectRows(
        {"select 1;; => select 1 | select 7", "select 1 ; ;\n => select 1  | select 7",
         "(select 1) => select 1 | select 7", "( ((select 1 );) ) => select 1 | select 7",
         "((select 1) ;) => select 1 | select 7",
         "(select ' -- it''s' /* ) it's */ -- it's\n) => select ' -- it''s' /* ) it's */ -- it's | select 7",
         "(select 1 /* ( */) union (select 2) => (select 1 /* ( */) union (select 2) | select 8 (1",
         "(select 1) union (select 2) => (select 1) union (select 2) | select 8 (1",
         "((select 1) union (select 2)) => (select 1) union (select 2) | select 8 (1",
         " (select 1) =>  (select 1) | select 9 (1", "(select ')' from t) => select ')' from t | select 7",
         "(select '(' from t) union (select ')' from t) => (select '(' from t) union (select ')' from t) | select 8 (1",
         // Comments and hints.
         "select*from t => select*from t | select 7",
         "-- c\r\n/* c */ select 1 => -- c\r\n/* c */ select 1 | select 21",
         "sel/* c */update t => sel/* c */update t | update 17",
         "/*!40101 set x */ => /*!40101 set x */ | set 13 hint  set x */",
         "select /*!1 a */ b => select /*!1 a */ b | select 7", "/*! set x => /*! set x | set 8 hint set x",
         "/*! /*! set y*/ x => /*! /*! set y*/ x | set 12 hint set y*/", "select => select | select 6",
         "deallocateab => deallocateab | deallocateab 12", "deallocateabc => 502", "select(1) => 501",
         "#c\nselect 1 => 500", "/* open => 500", "() => 500", "/*! */ select => 500"},
        [](const std::string& strSql) { return Head(strSql); });
    EXPECT_EQ(Head("#c\nselect 1", true), "#c\nselect 1 | select 10");
    // A million brackets or hints are read in one pass.
    const std::string strOpen(1'000'000, '('), strClose(1'000'000, ')');
    EXPECT_EQ(Head(strOpen + "select 1" + strClose), "select 1 | select 7");
    std::string strHints;
    while (strHints.size() < 1'000'000)
        strHints += "/*!";
    EXPECT_EQ(Head(strHints), "500");
    EXPECT_EQ(Head(strOpen + "select 1"), strOpen + "select 1 | select 1000007 (1000000");
}

TEST(ParseSql, ReadsTheHeadInPlace) {
    char szSql[] = "(select 1 ;); ";
    char* lpszSql = szSql;
    char szWord[SQLHEAD::WORD_SIZE];
    int nLen = sizeof szSql - 1, nPos = 0, nWordLen = 0, nParens = 0, nHintBegin = 0, nHintEnd = 0;
    EXPECT_EQ(PraseSqlHead(lpszSql, 0, nLen, nPos, szWord, nWordLen, nParens, nHintBegin, nHintEnd), ERR_OK);
    EXPECT_STREQ(lpszSql, "select 1 ");
    EXPECT_EQ(std::string(szSql + 10, 4), std::string(4, '\0'));
    EXPECT_EQ(nLen, 9);
    EXPECT_STREQ(szWord, "select");
}

/** A statement of many words that compiles. */
std::string LongStatement(std::size_t nBytes) {
    return Repeat("datafile '0123456789' ", static_cast<int>(nBytes / 22), "alter system add ");
}

/** The plan's bytes as compiled into a block of the caller's, of `nCapacity` bytes and full of another statement. */
std::string CompiledInto(std::string_view szSql, UINT nCapacity) {
    const auto lpBlock = std::make_unique<BYTE[]>(nCapacity);
    std::memset(lpBlock.get(), 0xA5, nCapacity);
    auto* lpPlan = reinterpret_cast<EXECUTEPLANBSON*>(lpBlock.get());
    lpPlan->m_nClientBsonDataSize = nCapacity;
    CParseSql stParseSql;
    if (stParseSql.ParseSql(szSql.data(), static_cast<int>(szSql.size()), lpPlan, 0, 0, 0) != ERR_OK) return {};
    return {reinterpret_cast<const char*>(lpPlan), lpPlan->m_nTotalDataSize};
}

TEST(ParseSql, CompilesInAnyBufferIntoTheSameBytes) {
    for (const std::string& strSql : {LongStatement(100'000), LongStatement(10'000'000),
                                      Repeat(",(1,'abc',?)", 99'999, "insert into t values (1,'abc',?)")}) {
        const std::string strRoomy = CompiledInto(strSql, 50'000'000);
        const UINT nSize = static_cast<UINT>(strRoomy.size());
        ASSERT_GT(nSize, strSql.size());
        for (const UINT nCapacity : {UINT{52}, UINT{89}, UINT{65536}, nSize - 1, nSize})
            EXPECT_TRUE(CompiledInto(strSql, nCapacity) == strRoomy) << nCapacity;
    }
}

constexpr char RICH[] =
    "select distinct t.a x, sum(b)+1 from d.t join u y on t.a=y.a left join (v cross join w) on v.c=?, "
    "(select b from x where b in (select 'é' from z) union all select 2 from y) s start with a=1 connect by prior "
    "t.a=t.b and c=2 where t.d>1 group by x, c having max(e)>2 order by x desc, f paging pageno=2, pagesize=3 for "
    "update wait 5 as of timestamp '2026-01-01'";

TEST(ParseSql, FailsWithoutMemoryAndWorksAfterwards) {
    const std::string CONDITION =
        "select 1 from t where abs((((((((a + interval '1' day)))))))) = nvl(b, cast(c as char)) ";
    for (const std::string& strSql :
         {LongStatement(200'000), std::string(RICH), Repeat("and (a + 1 = b or not c in (1, 2)) ", 400, CONDITION),
          Repeat(" + (abs(a)", 500, "select 1 from t where a") + Repeat(")", 500, "", " > 1"),
          Repeat(",(1,'abc')", 20'000, "insert into t values (1,'abc')")}) {
        const std::string strExpected = CompiledInto(strSql, 20'000'000);
        ASSERT_NE(strExpected, "") << strSql.substr(0, 200);
        int nFailed = 0;
        for (std::int64_t nNth = 1;; ++nNth) {
            const CChunkFault stBalance;
            CParseSql stParseSql;
            EXECUTEPLANBSON* lpPlan = nullptr;
            const auto Compile = [&] {
                lpPlan = nullptr;
                return stParseSql.ParseSql(strSql.data(), static_cast<int>(strSql.size()), lpPlan, 0, 0, 0);
            };
            KestroChunkFailNth(nNth);
            const int nCode = Compile();
            const bool bCameTrue = KestroChunkFailNth(0) == 0;
            if (!bCameTrue) break;
            EXPECT_TRUE(nCode == ERR_OK || (nCode == ERR_MEMORY && !lpPlan)) << nNth;
            nFailed += nCode == ERR_MEMORY;
            ASSERT_EQ(Compile(), ERR_OK) << nNth;
            EXPECT_TRUE(std::string_view(reinterpret_cast<const char*>(lpPlan), lpPlan->m_nTotalDataSize) ==
                        strExpected);
        }
        EXPECT_GT(nFailed, 0);
    }
}

/** A compiler whose queries and parameters are made by hand. */
class CHandParseSql : public CParseSql {
public:
    /**
     * Plays "name database object [alias [type]]", "find database object type", "enter" and "leave", where "." stands
     * for an empty text; answers the object's number, or a code.
     */
    std::string Play(const std::string& strRow) {
        auto arWord = RowsOf(strRow + " . . . 0")[0];
        std::replace(arWord.begin(), arWord.end(), std::string("."), std::string());
        const BYTE bType = static_cast<BYTE>(std::atoi(arWord[4].c_str()));
        const char *lpszDatabase = arWord[1].c_str(), *lpszName = arWord[2].c_str(), *lpszTitle = arWord[3].c_str();
        if (arWord[0] == "leave") LeaveQuery();
        if (arWord[0] == "leave") return "0";
        if (arWord[0] == "enter") return std::to_string(EnterQuery());
        if (arWord[0] == "find")
            return std::to_string(FindObject(lpszDatabase, lpszName, static_cast<BYTE>(std::atoi(lpszTitle))));
        BYTE bNo = 0;
        const int nCode = *lpszTitle ? SetObjectTitle(lpszDatabase, lpszName, OBJECT_TABLE, lpszTitle, bNo)
                                     : SetObjectName(lpszDatabase, lpszName, std::max(bType, BYTE{OBJECT_TABLE}), bNo);
        return nCode == ERR_OK ? std::to_string(bNo) : "!" + std::to_string(nCode);
    }
    /** A plan with `nNum` parameters. */
    void MakeParameters(int nNum) {
        EXECUTEPLANBSON* lpPlan = nullptr;
        UINT nOffset = 0;
        EXPECT_EQ(m_stBson.AllocBsonBuffer(nullptr, 4096), ERR_OK);
        EXPECT_EQ(m_stBson.AllocFromBsonBuffer(lpPlan, nOffset), ERR_OK);
        while (nNum-- > 0) {
            LPBYTE lpElement = nullptr;
            EXPECT_EQ(m_stBson.AllocFromBsonBuffer(28, nOffset, lpElement), ERR_OK);
            reinterpret_cast<MATHEXPELEMENTBSON*>(lpElement)->m_bDataSource = SOURCE_PARAM;
            EXPECT_EQ(AddParameter(nOffset), ERR_OK);
        }
    }
    /** "type length: bytes" of a parameter as bound. */
    std::string Bound(int nIndex) {
        const LPBYTE lpElement = m_stBson.ConvertOffset2Addr(m_vecFieldOffset.get(nIndex - 1));
        UINT nOffset = 0;
        std::memcpy(&nOffset, lpElement + 24, sizeof nOffset);
        const auto* const lpRecord = reinterpret_cast<const MATHEXPELEMENTBSON*>(lpElement);
        std::string strBound =
            std::to_string(lpRecord->m_bDataType) + " " + std::to_string(lpRecord->m_nDataLen) + ": ";
        if (nOffset == 0) return strBound;
        return strBound.append(reinterpret_cast<const char*>(m_stBson.ConvertOffset2Addr(nOffset)),
                               static_cast<std::size_t>(lpRecord->m_nDataLen));
    }
};

TEST(ParseSqlObject, NumbersObjectsAndFindsThemOutward) {
    CHandParseSql stSql;
    const auto Play = [&](const std::string& strRow) { return stSql.Play(strRow); };
    ExpectRows({"enter => 0", "name . T => 1", "name d t => 2", "name D t => 2", "name . t . 2 => 3", "name . u => 4",
                // An object without an alias takes it; then it's the same object once more.
                "name . U x => 4", "name . u y => 5", "name . v X => !538", "name . u y => !538", "enter => 0",
                // Another query's alias hides the outer one's, an alias hides the name.
                "name . w x => 6", "find . X => 6", "find . t => 1", "find d T => 2", "find . t 2 => 3",
                "find . u => 0", "find . . => 0", "leave => 0", "find . x => 4",
                // A sibling is no outer query.
                "enter => 0", "find . x => 4"},
               Play);
    EXPECT_TRUE(stSql.FindDataBaseName("D") && stSql.FindObjectName("W") && stSql.FindObjectName("y"));
    EXPECT_FALSE(stSql.FindDataBaseName("") || stSql.FindDataBaseName("t") || stSql.FindObjectName("d"));
    for (int i = 7; i <= 255; ++i)
        ASSERT_EQ(Play("name . " + std::to_string(i)), std::to_string(i));
    EXPECT_EQ(Play("name . more"), "!1516");
    const std::string strLong(500, 'n');
    EXPECT_EQ(stSql.FindObject(strLong.c_str(), strLong.c_str(), 0), 0);
}

TEST(ParseSqlBind, WritesValuesBehindThePlan) {
    CHandParseSql stSql;
    EXPECT_EQ(stSql.ExecuteBind(), ERR_NULL_POINTER);
    constexpr int PARAM_NUM = 70;
    stSql.MakeParameters(PARAM_NUM);
    st_VARDATA stValue;
    for (const int nIndex : {-1, 0, PARAM_NUM + 1})
        EXPECT_EQ(stSql.BindData(nIndex, stValue), ERR_OUT_OF_BOUNDS);

    const auto Bound = [&](int nIndex, st_VARDATA stBound) {
        EXPECT_EQ(stSql.BindData(nIndex, stBound), ERR_OK);
        return stSql.Bound(nIndex);
    };
    std::string strText(100'000, 't');
    stValue.AttachString(strText.data(), static_cast<int>(strText.size()), 0);
    EXPECT_EQ(Bound(PARAM_NUM, stValue), "6 100000: " + strText) << "the plan moves";
    const UINT nSize = stSql.GetParseBson().GetBsonDataSize();
    stValue.AttachString(strText.data(), 3, 0);
    EXPECT_EQ(Bound(PARAM_NUM, stValue), "6 3: ttt");
    EXPECT_EQ(stSql.GetParseBson().GetBsonDataSize(), nSize) << "a value takes the place of the one before";
    stValue.AttachString(strText.data(), 0, 0);
    EXPECT_EQ(Bound(PARAM_NUM, stValue), "10 4: ");
    EXPECT_EQ(Bound(1, WordValue("int:1145258561")), "1 4: ABCD");
    EXPECT_EQ(Bound(1, WordValue("big:5208208757389214273")), "2 8: ABCDEFGH");
    EXPECT_EQ(Bound(2, WordValue("dec:-12.5")), "240 3: " + DecimalImage("-12.5"));
    EXPECT_EQ(Bound(2, WordValue("null")), "10 4: ");

    EXPECT_EQ(stSql.ExecuteBind(), ERR_OK);
    const EXECUTEPLANBSON* const lpPlan = stSql.GetExecutePlan();
    EXPECT_EQ(lpPlan->m_nTotalDataSize, stSql.GetParseBson().GetBsonDataSize());
    EXPECT_EQ(lpPlan->m_nBsonDataSize, lpPlan->m_nTotalDataSize);
}

} // namespace
