#include "BaseFunManager.h"

#include <deque>
#include <set>

#include "ChunkFault.h"
#include "ExpressionMaker.h"
#include "Fields.h"
#include "KestroDate.h"
#include "Platform.h"

namespace {

/** A call's value, or its code behind a "!". Before the call the result is VT_INT -1. */
std::string Call(const std::vector<std::string>& arWord, std::size_t nArguments) {
    CBaseBson stBson;
    std::deque<WordValue> arHeld;
    st_VARDATA arArgument[3], stResult;
    for (std::size_t i = 0; i < nArguments; ++i) {
        arHeld.emplace_back(arWord[i + 1]);
        if (arWord[i + 1] == "default") arHeld.back()->m_vt = VT_DEFAULT;
        std::memcpy(static_cast<void*>(arArgument + i), &arHeld.back().Get(), sizeof(st_VARDATA));
    }
    stResult.SetData(-1);
    const BYTE bCode = ExpressionCode(arWord[0]);
    const int nCode =
        CBaseExpression::GetFunctionVal(&stBson, bCode, ExpressionSubType(arWord[0]), arArgument, stResult);
    return nCode == ERR_OK ? WordValue::Print(stResult) : PrintText("!%d", nCode);
}

/** Rows of a function, its arguments, and the value. */
void ExpectCalls(const std::string& strTable) {
    for (const auto& arRow : RowsOf(strTable)) {
        const std::size_t nArguments = arRow.size() - 2;
        EXPECT_EQ(CBaseExpression::GetFunParamNum(ExpressionCode(arRow[0])), static_cast<int>(nArguments));
        EXPECT_EQ(Call(arRow, nArguments), arRow.back()) << arRow[0] << " " << arRow[1];
    }
}

TEST(BaseFunManager, NullArgumentsGiveNull) {
    for (const auto& str : Fields("ABS|CEIL|FLOOR|SQRT|EXP|LN|RAND|SIGN|LOWER|LENGTH|CHAR_LENGTH|ASCII|BIT_LENGTH"))
        ExpectCalls(str + " null null");
    for (const auto& str : Fields("MOD|POWER|ROUND|TRUNC|LOG|TO_CHAR|TO_DATE"))
        ExpectCalls(str + " null int:1 null; " + str + " dec:1 null null");
}

TEST(BaseFunManager, ComputesNumbers) {
    ExpectCalls(R"(
        ABS int:-5 int:5; ABS big:-7 big:7; ABS dec:-1.5 dbl:1.5; ABS txt:-2x dbl:2; ABS blob:ab null; ABS any null
        CEIL dec:1.2 dec:2; CEIL dbl:-1.5 dec:-1; CEIL int:3 dec:3; CEIL txt:abc null; FLOOR dec:-1.2 dec:-2
        FLOOR txt:1.9 dec:1; FLOOR date:2024-01-31 dec:45322; CEIL dec:1e100 null
        SQRT dec:16 dbl:4; SQRT int:-1 null; SQRT big:2 dbl:1.4142135623731; SQRT txt:9 dbl:3
        EXP int:0 dbl:1; EXP dec:709.78 dbl:1.79282279439452e+308; EXP dec:710 !1500; EXP int:-1000 dbl:0
        LN dec:1 dbl:0; LN dec:0.000001 dbl:-13.8155105579645; LN dec:0.0000009 null; LN int:-1 null
        LOG2 dec:8 dbl:3; LOG10 dec:0.01 dbl:-2; LOG10 txt:1000 dbl:3
        LOG dec:2 dec:8 dbl:3; LOG dec:1.0000001 dec:10 null; LOG int:-2 int:8 null; LOG int:2 int:-8 null
        LOG int:2 int:0 null; LOG int:0 int:8 dbl:-0; LOG dec:100 default dbl:4.60517018598817
        POWER int:2 int:10 big:1024; POWER dec:2 dec:0.5 dbl:1.4142135623731; POWER int:-8 dbl:0.5 null
        POWER txt:3 int:2 dbl:9
        MOD int:-7 int:3 int:-1; MOD dec:7.5 dec:2 dec:1.5; MOD int:7 int:0 null; MOD txt:9 int:4 big:1
        SIGN dec:-0.5 int:-1; SIGN dbl:0.0000001 int:0; SIGN txt:abc int:0; SIGN int:9 int:1)");
    EXPECT_EQ(Call({"same", "int:1"}, 1), "!1502");
    st_VARDATA stResult;
    EXPECT_EQ(CBaseFunManager::SpecialLog(nullptr, WordValue("dec:1"), FNLOG_LOG10 + 1, stResult), ERR_FUNCTION_TYPE);
}

TEST(BaseFunManager, DrawsNumbers) {
    const PLATFORM stPlatform = g_stPlatform;
    g_stPlatform.m_lpfnUuid = [](unsigned char* lpUuid) { memset(lpUuid, 0xFF, 16); };
    EXPECT_EQ(Call({"RAND", "default"}, 1), "dbl:1");
    g_stPlatform = stPlatform;
    // ((1 * 65537 + 55555555) * 3 + 268435457) mod 1073741823, over 1073741823.
    EXPECT_EQ(Call({"RAND", "dec:0.6"}, 1), PrintText("dbl:%.15g", 435298733 / 1073741823.0));
    EXPECT_EQ(Call({"RAND", "int:-1"}, 1), Call({"RAND", "int:-1"}, 1));
}

TEST(BaseFunManager, RoundsValues) {
    ExpectCalls(R"(
        ROUND dec:2.5 default dec:3; ROUND dec:-2.5 default dec:-3; ROUND dbl:2.4 default dec:2; ROUND txt:9.5x default dec:10
        ROUND int:7 default int:7; ROUND date:2024-01-31 default date:2024-01-31; ROUND dt:1.5 default dt:2
        ROUND dt:-1.5 default dt:-2; ROUND time:0d_06:00:00 default null; ROUND dbl:-2.5 default dec:-3
        ROUND dec:2.345 int:2 dec:2.35; ROUND dec:155 int:-1 dec:160; ROUND dec:1.5 int:100 dec:1.5
        ROUND txt:2.345 txt:2 dec:2.35; ROUND dbl:2.675 int:2 dbl:2.68; ROUND dbl:1e300 int:2 dbl:1e+300
        ROUND dbl:-1234.5 int:-2 dbl:-1200; ROUND int:15 int:2 int:15; ROUND int:15 dec:-1 int:20
        ROUND int:-15 int:-1 int:-20; ROUND int:55 int:-3 int:100; ROUND int:44 int:-3 int:0
        ROUND int:2147483647 int:-1 big:2147483650; ROUND int:7 int:-2147483648 int:10
        ROUND big:9223372036854775807 int:-1 dec:9223372036854775810; ROUND big:-9223372036854775808 int:-19 dec:-10000000000000000000
        ROUND dt:45322.26 int:1 dbl:45322.3; ROUND date:2024-01-31 int:-1 dbl:45320; ROUND blob:ab int:1 null
        ROUND date:2024-02-16 txt:q date:2024-04-01; ROUND dt:45322.75 txt:DD dt:45323; ROUND dt:45322.75 txt:IW !99
        ROUND date:2024-02-16 txt:xx !25; ROUND txt:2021-12-31_12:00:00 txt:dd dt:44563; ROUND txt:zz txt:YEAR null
        TRUNC dec:2.9 default dec:2; TRUNC dbl:-2.9 default dec:-2; TRUNC dt:45322.75 default dt:45322
        TRUNC dec:2.349 int:2 dec:2.34; TRUNC dbl:2.349 int:2 dbl:2.34; TRUNC big:1299 int:-2 big:1200
        TRUNC int:1299 int:-2 int:1299; TRUNC txt:2.349 int:1 dec:2.3; TRUNC date:2024-02-16 txt:MON date:2024-02-01
        TRUNC dt:45322.75 txt:HH dt:45322.75; TRUNC time:0d_06:59:59 txt:HH24 time:0d_06:00:00)");
}

// What a unit cuts a date to, and what it rounds it to; weeks by the years' turn are one day short.
TEST(BaseFunManager, RoundsDates) {
    const auto Show = [](int nCode, double dblDate) {
        char szText[KESTRO_DATETIME_TEXT_SIZE] = "";
        if (nCode == ERR_OK) CKestroDate::FormatDateTime(dblDate, szText, 0);
        const std::string strText = szText;
        return strText.ends_with(" 00:00:00") ? strText.substr(0, 10) : strText;
    };
    // A date and formats that all do the same to it.
    ExpectRows(
        {"2050-12-31 23:59:59 | CC SCC => 2001-01-01 | 2001-01-01", "2051-01-01 | CC => 2001-01-01 | 2101-01-01",
         "2024-06-30 23:59:59 | y YY YYYY SYYYY YEAR I IYYY => 2024-01-01 | 2024-01-01",
         "2024-07-01 | YYY IY IYY => 2024-01-01 | 2025-01-01", "2024-01-31 | Q => 2024-01-01 | 2024-01-01",
         "2024-02-10 | Q => 2024-01-01 | 2024-02-01", "2024-02-16 | Q => 2024-01-01 | 2024-04-01",
         "2024-09-01 | Q => 2024-07-01 | 2024-10-01", "2024-11-16 | Q => 2024-10-01 | 2025-01-01",
         "2024-12-15 23:59:59 | MM MON MONTH RM => 2024-12-01 | 2024-12-01",
         "2024-12-16 | mm => 2024-12-01 | 2025-01-01",
         // May the 15th is a Wednesday.
         "2024-05-15 12:00:00 | WW => 2024-05-12 | 2024-05-12", "2024-05-16 12:00:00 | WW => 2024-05-12 | 2024-05-19",
         "2024-05-19 12:00:00 | WW => 2024-05-19 | 2024-05-19", "2021-01-01 12:00:00 | WW => 2020-12-26 | 2021-01-03",
         "2024-05-16 12:00:00 | IW => 2024-05-13 | ", "2024-05-19 12:00:00 | IW => 2024-05-13 | ",
         "2024-05-16 11:59:59 | D DD DDD DY DAY J => 2024-05-16 | 2024-05-16",
         "2024-12-31 12:00:00 | DD => 2024-12-31 | 2025-01-02", "2021-12-31 12:00:00 | DD => 2021-12-31 | 2022-01-02",
         "2024-12-30 12:00:00 | DD => 2024-12-30 | 2024-12-31",
         "2024-05-16 10:30:00 | HH HH12 HH24 HOUR => 2024-05-16 10:00:00 | 2024-05-16 11:00:00",
         "2024-05-16 23:59:30 | MI MIN MINUTE => 2024-05-16 23:59:00 | 2024-05-17",
         "2024-05-16 10:20:30.4 | SS SEC SECOND => 2024-05-16 10:20:30 | 2024-05-16 10:20:30",
         "2024-05-16 10:59:59.6 | SS => 2024-05-16 10:59:59 | 2024-05-16 11:00:00"},
        [&](const std::string& strRow) {
            const std::size_t nAt = strRow.find(" | ");
            DATE dblDate = 0;
            EXPECT_EQ(CKestroDate().ParseDate(dblDate, strRow.c_str(), static_cast<int>(nAt)), ERR_OK);
            std::set<std::string> setShown;
            const auto arFormat = RowsOf(strRow.substr(nAt + 3));
            for (const std::string& strFormat : arFormat[0]) {
                double dblTrunc = 0, dblRound = 0;
                const int nTrunc = CBaseFunManager::Trunc(dblDate, strFormat.c_str(), dblTrunc);
                const int nRound = CBaseFunManager::Round(dblDate, strFormat.c_str(), dblRound);
                setShown.insert(Show(nTrunc, dblTrunc) + " | " + Show(nRound, dblRound));
            }
            return setShown.size() == 1 ? *setShown.begin() : "not all the same";
        });
    double dblResult;
    EXPECT_EQ(CBaseFunManager::Trunc(1e30, "DD", dblResult), ERR_DATE_DATA);
    EXPECT_EQ(CBaseFunManager::Round(0.0 / 0.0, "DD", dblResult), ERR_DATE_DATA);
}

TEST(BaseFunManager, ReplacesNull) {
    ExpectCalls(R"(
        NVL null int:1 int:1; NVL txt: int:1 int:1; NVL txt:a int:1 txt:a; NVL int:0 int:1 int:0; NVL null null null
        NVL any int:1 any; NVL int:1 any any; NVL null any any; NVL empty int:2 int:-1
        NVL2 int:0 int:1 int:2 int:1; NVL2 null int:1 int:2 int:2; NVL2 txt: int:1 int:2 int:1
        NULLIF int:1 dec:1 null; NULLIF int:1 int:2 int:1; NULLIF txt:AB txt:ab null; NULLIF null int:1 null
        NULLIF int:1 null int:1; ISNULL null int:1; ISNULL empty int:1; ISNULL txt: int:0)");
}

TEST(BaseFunManager, MeasuresTexts) {
    ExpectCalls(R"(
        LOWER txt:AbCÄ txt:abcÄ; UPPER txt:ab_z{ txt:AB_Z{; UPPER int:5 int:5; LOWER null null
        LENGTH txt:abc int:4; LENGTH txt: int:1; LENGTH blob:abc int:3; LENGTH dec:-1.50 int:6
        CHAR_LENGTH txt:a表 int:2; CHAR_LENGTH dec:12.50 int:5; CHAR_LENGTH dec:-0.5 int:2
        CHAR_LENGTH int:-12 int:3; CHAR_LENGTH dbl:1.5 int:8; CHAR_LENGTH date:2024-01-31 null; CHAR_LENGTH blob:a null
        ASCII txt:abc int:97; ASCII txt: int:0; ASCII txt:表 int:232; ASCII int:5 int:53; ASCII blob:a null
        BIT_LENGTH txt:abc int:24; BIT_LENGTH txt: int:0; BIT_LENGTH int:10 int:16)");
    const WordValue stText("txt:aB");
    st_VARDATA stView, stResult;
    stView.SetData(stText.Get().m_lpszValue, 3, 0);
    EXPECT_EQ(CBaseFunManager::Upper(nullptr, stView, stResult), ERR_OK);
    EXPECT_STREQ(stText.Get().m_lpszValue, "AB");
}

TEST(BaseFunManager, WritesAndReadsByFormat) {
    ExpectCalls(R"(
        TO_CHAR date:2024-01-31 txt: txt:2024-01-31; TO_CHAR date:2024-01-31 default txt:2024-01-31
        TO_CHAR dt:45322.25 txt: txt:2024-01-31_06:00:00; TO_CHAR time:0d_06:05:04 txt: txt:06:05:04
        TO_CHAR dt:45322.25 txt:YYYY/MM txt:2024/01; TO_CHAR txt:2024-01-31 txt:%Y txt:2024; TO_CHAR txt:abc txt:%Y null
        TO_CHAR dec:45322 txt:YYYY txt:2024; TO_CHAR dec:1.50 txt: txt:1.50; TO_CHAR txt:abc txt: txt:abc
        TO_CHAR dec:1234.567 txt:9,999.99 txt:1234.57; TO_CHAR int:-5 txt:0 txt:-5; TO_CHAR txt:2.5 txt:9. txt:2
        TO_CHAR dbl:0.1 txt:0.000 txt:0.100; TO_CHAR blob:ab txt:9 null; TO_CHAR dt:1e30 txt:YYYY null
        TO_DATE txt:2024-01-31 txt: dt:45322; TO_DATE txt:31.01.2024_06:00:00 txt:DD.MM.YYYY_HH24:MI:SS dt:45322.25
        TO_DATE txt:20240131 txt:YYYYMMDD dt:45322; TO_DATE dec:20240131 txt:YYYYMMDD dt:45322; TO_DATE txt:x txt: null
        TO_DATE txt:2024-02-30 txt: null; TO_DATE date:2024-01-31 txt: date:2024-01-31; TO_DATE txt:2024 txt:QQ null)");
    const WordValue stLongFormat("txt:." + std::string(3000, '0'));
    CKestroBufferPool stPool;
    st_VARDATA stResult;
    EXPECT_EQ(CBaseFunManager::ToChar(&stPool, WordValue("dbl:-1e308"), stLongFormat, stResult), ERR_OK);
    EXPECT_EQ(stResult.m_nStrLen, 1 + 309 + 1 + 36 + 1);
}

TEST(BaseFunManager, AsksTheClock) {
    const PLATFORM stPlatform = g_stPlatform;
    g_stPlatform.m_lpfnMicroseconds = [] { return std::int64_t{1706659200} * 1'000'000; }; // 2024-01-31 UTC
    EXPECT_EQ(Call({"SYSDATE"}, 0), PrintText("dt:%.15g", 45322 + DbTimeZoneValue() / 24.0));
    g_stPlatform = stPlatform;
    EXPECT_EQ(Call({"DBTIMEZONE"}, 0), PrintText("txt:%+03d:00", DbTimeZoneValue()));
}

// A pool without a page size takes a chunk for each piece.
TEST(BaseFunManager, TellsShortMemory) {
    using CALL = int (*)(CKestroBufferPool*, st_VARDATA&);
    constexpr CALL CALLS[] = {
        [](auto* p, st_VARDATA& st) { return CBaseFunManager::DbTimeZone(p, st); },
        [](auto* p, st_VARDATA& st) { return CBaseFunManager::Bit_Length(p, WordValue("int:5"), st); },
        [](auto* p, st_VARDATA& st) { return CBaseFunManager::ToChar(p, WordValue("int:5"), WordValue("txt:"), st); },
        [](auto* p, st_VARDATA& st) { return CBaseFunManager::ToChar(p, WordValue("int:5"), WordValue("txt:9"), st); },
        [](auto* p, st_VARDATA& st) { return CBaseFunManager::ToChar(p, WordValue("dt:5"), WordValue("txt:DD"), st); },
        [](auto* p, st_VARDATA& st) { return CBaseFunManager::ToDate(p, WordValue("int:5"), WordValue("txt:DD"), st); },
        [](auto* p, st_VARDATA& st) { return CBaseFunManager::ToDate(p, WordValue("txt:5"), WordValue("int:5"), st); }};
    for (const CALL& lpfnCall : CALLS) {
        const CChunkFault stBytes;
        CKestroBufferPool stPool;
        st_VARDATA stResult;
        KestroChunkFailNth(1);
        EXPECT_EQ(lpfnCall(&stPool, stResult), ERR_MEMORY) << &lpfnCall - CALLS;
        EXPECT_EQ(KestroChunkFailNth(0), 0);
    }
}

} // namespace
