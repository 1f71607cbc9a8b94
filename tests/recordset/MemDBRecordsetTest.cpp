// Decoding of blocks, sound and broken, the cursor and the typed reads.

#include "MemDBRecordset.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <random>

#include "ChunkFault.h"
#include "ExactBytes.h"
#include "RecordsetMaker.h"
#include "RecordsetNumberText.h"
#include "ScratchDir.h"
#include "TraceHook.h"
#include "ValueRows.h"

/** 1 for bytes that make a recordset, 0 for others; what must not be ends the process. */
extern "C" int FuzzRecordset(const BYTE* lpBytes, std::size_t nLen);

namespace {

/** One field of each type that rows have, with a text at the limit of the short count. */
std::string MixedBlock() {
    return CRecordsetMaker("I:1|L:2|D:3|S:4|C:5|V:6|B:8|T:11|A:12|Y:80|N:240|J:30|M:81")
        .Row(7,
             "-5|9000000000|0.5|45322.25|abc|" + std::string(254, 'x') + "|xyz|10:20:30|2024-01-31|-3|-1.50|6 {}|300")
        .Row(8, "-|-|-|-|-|-|-|-|-|-|-|-|-")
        .Row(9, "1|-|2|-||" + std::string(255, 'y') + "||-1:00:00|-|-|0.1|1 77|-")
        .Block();
}

TEST(MemDBRecordset, DecodesEachTypeAtItsLimits) {
    DECODEDSET stSet(MixedBlock());
    EXPECT_EQ(ShowRows(stSet), "7:-5|9000000000|0.5|2024-01-31 06:00:00|abc|" + std::string(254, 'x') +
                                   "|(1501)|10:20:30|2024-01-31|-3|-1.50|{}|300 "
                                   "8:null|null|null|null|null|null|null|null|null|null|null|null|null "
                                   "9:1|null|2|null|null|" +
                                   std::string(255, 'y') + "|(1501)|-1:00:00|null|null|0.1|77|null");
    unsigned char* lpBytes = nullptr;
    int nLen = -1;
    ASSERT_EQ(stSet.SetCurrentRow(0), ERR_OK);
    ASSERT_EQ(stSet.FieldValue("B", lpBytes, nLen), ERR_OK);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(lpBytes), static_cast<std::size_t>(nLen)), "xyz");
    // Bytes without a length stay bytes, a text becomes NULL.
    ASSERT_EQ(stSet.SetCurrentRow(2), ERR_OK);
    EXPECT_EQ(stSet.FieldValue(L"B", lpBytes, nLen), ERR_OK);
    EXPECT_EQ(nLen, 0);
    // The block went with the set before this one, and goes with this one.
    EXPECT_EQ(Analyse(stSet, CRecordsetMaker("A:1").Block()), ERR_OK);
    EXPECT_TRUE(stSet.eof() && stSet.bof());
    EXPECT_EQ(stSet.FieldIndex("I"), -1);
    EXPECT_EQ(stSet.GetFieldNum(), 1);
}

TEST(MemDBRecordset, MakesValuesAndChecksTheRowsLength) {
    static std::vector<std::string> arLine;
    const TRACEHOOK lpfnBefore = g_lpfnTraceHook;
    g_lpfnTraceHook = [](const char* lpszFunction, int, int nCode, const char* lpszText) {
        arLine.push_back(std::string(lpszFunction) + " " + std::to_string(nCode) + " " + lpszText);
    };
    DECODEDSET stSet(CRecordsetMaker("A:80|B:6|C:49|D:30").Block());
    const std::string arRow[][3] = {
        {std::string("\0\xFF\x01\x01x", 5), "int -1|txt without an end|empty|empty", ""},
        // Without bytes: a type without a form.
        {std::string("\x02\x03\x50\x07", 4), "empty|empty|empty|int 7", ""},
        {"", "empty|empty|empty|empty", ""},
        {"\x09", "empty|empty|empty|empty", "13,实际长度12"},
        {std::string("\x01\x01z\0\x05", 5), "empty|txt without an end|empty|empty", "17,实际长度15"},
        {std::string("\0\x01\x04", 3), "int 1|empty|empty|empty", "15,实际长度14"},
        {std::string("\x01\0", 2), "empty|null|empty|empty", ""},
        {std::string("\x01\xFF\x01\0\0\0w", 7), "empty|txt without an end|empty|empty", ""},
        {std::string("\x01\x02y", 3), "37", ""},
        {std::string("\x01\xFF\xFF\xFF\xFF\xFF", 6), "37", ""},
        {std::string("\x03\x02\0\0\0\0", 6), "37", ""},
        {std::string("\x01\xFF\x01\0", 4), "37", ""},
    };
    for (const auto& [strEntries, strExpected, strLine] : arRow) {
        const ExactText stRow(RawBytes(0) + RawBytes(5LL) + strEntries);
        stu_RECORD stRecord;
        std::string strValues;
        arLine.clear();
        const int nCode = stSet.AnalysisRow(reinterpret_cast<BYTE*>(stRow.Data()), stRow.Size(), stRecord);
        for (int i = 0; nCode == ERR_OK && i < 4; ++i)
            strValues.append(i == 0 ? "" : "|").append(ShowValue(stRecord.m_lpFieldData[i]));
        EXPECT_EQ(nCode == ERR_OK ? strValues : std::to_string(nCode), strExpected);
        const std::string strPrefix = "CMemDBRecordset::AnalysisRow 0 解析记录长度校验失败：记录长度";
        EXPECT_EQ(arLine.empty() ? "" : arLine[0], strLine.empty() ? "" : strPrefix + strLine);
    }
    g_lpfnTraceHook = lpfnBefore;
}

TEST(MemDBRecordset, FindsFieldsByTheirCrossedNames) {
    const std::string strLong(70, 'n');
    DECODEDSET stSet(CRecordsetMaker("ID:1|名:6|ID:6|T_ID:2|" + strLong + ":1").Block());
    EXPECT_EQ(std::string(stSet.FieldName(1)) + stSet.FieldTitle(1) + stSet.FieldBaseTableName(0), "名T_名TAB");
    EXPECT_EQ(std::wstring(stSet.FieldNameW(1)) + stSet.FieldTitleW(1) + stSet.FieldBaseTableNameW(0), L"名T_名TAB");
    EXPECT_EQ(stSet.FieldName(4), strLong.substr(0, 63));
    EXPECT_EQ(stSet.FieldIndex(stSet.FieldName(4)) * 10 + stSet.FieldIndex(stSet.FieldTitle(4)), 44);
    EXPECT_EQ(stSet.FieldIndex(strLong.c_str()), -1);
    EXPECT_EQ(stSet.FieldName(5), nullptr);
    // The last of equal names; a title only where no name is.
    EXPECT_EQ(stSet.FieldIndex("ID"), 2);
    EXPECT_EQ(stSet.FieldIndex(L"T_ID"), 3);
    EXPECT_EQ(stSet.FieldIndex(L"T_名"), 1);
    EXPECT_EQ(stSet.FieldIndex("NONE"), -1);
    EXPECT_EQ(stSet.FieldType(3) * 1000 + stSet.FieldCategory(1) * 100 + stSet.FieldPrimaryKey(0) * 10, 2410);
    EXPECT_EQ(stSet.FieldMaxLen(0) * 10 + stSet.FieldAllowNull(0), 201);
    EXPECT_EQ(stSet.FieldMaxLen(-1), 0);
}

TEST(MemDBRecordset, RefusesWhatTheBlockCanNotHold) {
    const std::string strBlock = MixedBlock();
    const auto nSize = static_cast<UINT>(strBlock.size());
    const auto Refused = [](std::string_view szBlock, int nExpected, const std::string& strWhat) {
        const CChunkFault stNothingLeft;
        CMemDBRecordset stSet;
        EXPECT_EQ(Analyse(stSet, szBlock), nExpected) << strWhat;
        EXPECT_EQ(FieldText(stSet, 0) + std::to_string(stSet.GetFieldNum() + stSet.GetRowNum()), "(4)0") << strWhat;
    };
    UINT nRow;
    std::memcpy(&nRow, &strBlock[8], 4);
    // Fields, rows, where the rows are, a name, the table's name, the length of a row.
    const std::pair<UINT, UINT> arPatch[] = {
        {0, 0xFFFFFFFF}, {0, 257},           {4, 0x80000000},    {4, 4},    {8, nSize + 1},
        {8, 0xFFFFFFF0}, {28, nSize},        {36, 0xFFFFFFFF},   {nRow, 0}, {nRow, 11},
        {nRow, nSize},   {nRow, 0x7FFFFFFF}, {nRow, 0xFFFFFFFF},
    };
    for (const auto& [nOffset, nValue] : arPatch)
        Refused(std::string(strBlock).replace(nOffset, 4, RawBytes(nValue)), 37, PrintText("%u %u", nOffset, nValue));
    for (std::size_t nLen = 0; nLen < strBlock.size(); ++nLen)
        Refused(std::string_view(strBlock).substr(0, nLen), 37, std::to_string(nLen));
    Refused(CRecordsetMaker("\xF7\xBF\xBF\xBF:1").Block(), 1, "a name that is no UTF-8");
    CMemDBRecordset stSet;
    EXPECT_EQ(stSet.AnalysisRecordset(nullptr, 100, 1), 4);
    // A name that only the block ends.
    const std::string strNames = CRecordsetMaker("A:1").Block();
    ASSERT_EQ(Analyse(stSet, std::string_view(strNames).substr(0, strNames.size() - 1)), ERR_OK);
    EXPECT_STREQ(stSet.FieldTitle(0), "T_A");
}

TEST(MemDBRecordset, TakesMutatedBlocksCalmly) {
    const auto Fuzz = [](const std::string& str) {
        return FuzzRecordset(reinterpret_cast<const BYTE*>(str.data()), str.size());
    };
    for (const auto& stEntry : std::filesystem::directory_iterator(KESTRO_FUZZ "/recordset"))
        EXPECT_EQ(Fuzz(ReadFile(stEntry.path())), 1) << stEntry.path();
    std::mt19937 stRandom(4711);
    int nTaken = 0;
    for (int nRound = 0; nRound < 700; ++nRound) {
        std::string strMutated = MixedBlock();
        for (UINT n = 1 + stRandom() % 4; n != 0; --n)
            strMutated[stRandom() % strMutated.size()] = static_cast<char>(stRandom() >> 8);
        nTaken += Fuzz(strMutated);
    }
    EXPECT_GT(nTaken, 250);
}

TEST(MemDBRecordset, AnswersAShortageOfMemoryEverywhere) {
    const std::string strBlock = MixedBlock();
    for (std::int64_t nNth = 1;; ++nNth) {
        const CChunkFault stFault(nNth);
        CMemDBRecordset stSet;
        IKestroDBRecordset* lpClone = nullptr;
        long long nDataID = 0;
        char* lpszText = nullptr;
        wchar_t* lpszWide = nullptr;
        int nCode = Analyse(stSet, strBlock);
        if (nCode == ERR_OK) nCode = stSet.AddNew(nDataID);
        if (nCode == ERR_OK) nCode = stSet.SetField("V", std::string(70000, 'v').c_str());
        if (nCode == ERR_OK) nCode = stSet.SetField("C", std::wstring(70000, L'w').c_str());
        if (nCode == ERR_OK) nCode = stSet.FieldValue("C", lpszWide);
        if (nCode == ERR_OK) nCode = stSet.SetField("I", 5);
        if (nCode == ERR_OK) nCode = stSet.FieldValue("I", lpszText);
        if (nCode == ERR_OK) nCode = stSet.Clone(lpClone);
        if (nCode == ERR_OK) (void)ChangePlan(stSet, nCode);
        if (lpClone) lpClone->Release();
        EXPECT_EQ(nCode, stFault.CameTrue() ? ERR_MEMORY : ERR_OK) << nNth;
        if (nCode == ERR_OK) break;
        ASSERT_LT(nNth, 100);
    }
}

/** Runs moves, a letter each, and shows behind each the row's number and identity, "b" and "e" at the ends. */
std::string Walk(CMemDBRecordset& stSet, std::string_view szMoves) {
    std::string strSteps;
    for (const char c : szMoves) {
        long long nDataID = 0;
        if (c == 'F') stSet.MoveFirst();
        if (c == 'L') stSet.MoveLast();
        if (c == 'n') stSet.MoveNext();
        if (c == 'p') stSet.MovePrevious();
        if (c == 'f') (void)stSet.Fetch();
        const int nCode = c == 'd' ? stSet.Delete() : c == 'a' ? stSet.AddNew(nDataID) : ERR_OK;
        if (nCode != ERR_OK || (c >= '0' && c <= '9' && stSet.SetCurrentRow(c - '0') != ERR_OK)) strSteps += '!';
        const bool bRow = stSet.GetDataID(nDataID) == ERR_OK;
        strSteps.append(1, c).append(bRow ? std::to_string(nDataID) : "-");
        strSteps.append(stSet.bof() ? "b" : "").append(stSet.eof() ? "e" : "").append(" ");
    }
    return strSteps;
}

TEST(MemDBRecordset, MovesItsCursor) {
    const std::pair<const char*, const char*> arWalk[] = {
        {"fffff", "f10b f11 f12 f-e f-e "},
        {"nfFf", "n11 f12 F10b f11 "},
        {"Lpppp", "L12 p11 p10b p-b p-b "},
        {"pnnnn", "p-b n10b n11 n12 n-e "},
        {"nnnp", "n11 n12 n-e p12 "},
        {"2039", "212 010b !310b !910b "},
        // The next row moves into the place of one that was deleted, whose values show until then.
        {"dndnLd", "d10b n11b d11b n12b L12b d12be "},
        {"dd!", "d10b !d10b !10b "},
        {"1dp", "111 d11 p10b "},
        {"Ldn", "L12 d12e n-e "},
        // New rows stand behind the others; one that is deleted has never been.
        {"aapdnp", "a-1 a-2 p-1 d- n-2 p12 "},
        {"add0ddd", "a-1 d-e !d-e 010b d10b !d10b !d10b "},
    };
    for (const auto& [lpszMoves, lpszSteps] : arWalk) {
        DECODEDSET stSet(CRecordsetMaker("A:1").Row(10, "0").Row(11, "1").Row(12, "2").Block());
        EXPECT_EQ(Walk(stSet, lpszMoves), lpszSteps);
    }
    CMemDBRecordset stEmpty;
    EXPECT_EQ(Walk(stEmpty, "fnpL0"), "f-be n-be p-be L-be !0-be ");
    DECODEDSET stSet(CRecordsetMaker("A:1").Row(10, "0").Row(11, "1").Block());
    EXPECT_EQ(stSet.SetCurrentRow(11LL), ERR_OK);
    EXPECT_EQ(stSet.SetCurrentRow(10LL), ERR_OK);
    EXPECT_EQ(stSet.SetCurrentRow(13LL), 1);
    EXPECT_EQ(Walk(stSet, "n"), "n11 ");
}

TEST(MemDBRecordset, ReadsEachTypeAsEachOther) {
    // Column and value, and what reads as int, long long, double and tm (date and time of day) answer.
    constexpr const char* ROWS = R"(
        1 -5 -5 -5 -5 1899-12-25_0:0:0; 80 -128 -128 -128 -128 1899-08-24_0:0:0;
        2 2147483648 1501 2147483648 2147483648 1501;
        2 -2147483648 -2147483648 -2147483648 -2147483648 -5877712-06-19_0:0:0; 3 -2.9 -2 -2 -2.9 1899-12-28_21:36:0;
        3 1e10 1501 10000000000 10000000000 1501; 3 1e19 1501 1501 1e+19 1501; 3 nan 1501 1501 nan 1501;
        240 2147483647.999999999999999999 2147483647 2147483647 2147483648 1501;
        240 -2147483648.5 -2147483648 -2147483648 -2147483648.5 1501;
        240 9223372036854775808 1501 1501 9.22337203685478e+18 1501; 240 nix 1501 1501 1501 1501;
        6 12.7abc 12 12 12.7 1501; 6 2024-02-29_01:02:03 2024 2024 2024 2024-02-29_1:2:3;
        4 45322.25 45322 45322 45322.25 2024-01-31_6:0:0; 12 2024-01-31 45322 45322 45322 2024-01-31_0:0:0;
        11 -1:00:30 1501 1501 -0.0420138888888889 1900-01-00_-1:0:-30; 8 xyz 1501 1501 1501 1501; 6 ~ -1 -1 -1 -1)";
    for (const std::vector<std::string>& arWord : RowsOf(ROWS)) {
        std::string strValue = arWord[1] == "~" ? "" : arWord[1];
        std::replace(strValue.begin(), strValue.end(), '_', ' ');
        DECODEDSET stSet(CRecordsetMaker("A:" + arWord[0]).Row(1, strValue).Block());
        int nValue = 9;
        long long llValue = 9;
        double dblValue = 9;
        tm st{};
        const int arCode[] = {stSet.FieldValue(0, nValue), stSet.FieldValue("A", llValue),
                              stSet.FieldValue(L"A", dblValue), stSet.FieldValue(0, st)};
        const std::string arText[] = {std::to_string(nValue), std::to_string(llValue), PrintText("%.15g", dblValue),
                                      PrintText("%d-%02d-%02d_%d:%d:%d", st.tm_year + 1900, st.tm_mon + 1, st.tm_mday,
                                                st.tm_hour, st.tm_min, st.tm_sec)};
        for (std::size_t i = 0; i < 4; ++i)
            EXPECT_EQ(arCode[i] == ERR_OK ? arText[i] : std::to_string(arCode[i]), arWord[2 + i])
                << arWord[0] << " " << arWord[1] << " as " << i;
    }
}

TEST(MemDBRecordset, HandsOutTextsThatStay) {
    DECODEDSET stSet(CRecordsetMaker("A:1|B:6|C:6").Row(1, "-17|a名😀|\xF7\xBF\xBF\xBF").Block());
    char* lpszText = nullptr;
    wchar_t* lpszWide = nullptr;
    ASSERT_EQ(stSet.FieldValue(0, lpszText), ERR_OK);
    const char* const lpszFirst = lpszText;
    ASSERT_EQ(stSet.FieldValue(0, lpszWide), ERR_OK);
    EXPECT_STREQ(lpszWide, L"-17");
    ASSERT_EQ(stSet.FieldValue(0, lpszText), ERR_OK);
    EXPECT_EQ(lpszText, lpszFirst);
    EXPECT_STREQ(lpszText, "-17");
    ASSERT_EQ(stSet.FieldValue(1, lpszWide), ERR_OK);
    EXPECT_EQ(std::wstring(lpszWide), std::wstring(L"a名\xD83D\xDE00"));
    EXPECT_EQ(stSet.FieldValue(2, lpszWide), ERR_CHARSET_CONVERT);
    EXPECT_EQ(stSet.FieldValue(3, lpszWide), ERR_FIELD_NUMBER);
    EXPECT_EQ(lpszWide, nullptr);
}

TEST(MemDBRecordset, WritesItselfAsCsv) {
    const std::tuple<const char*, std::vector<const char*>, const char*> arSet[] = {
        {"ID:1|L:2|Y:80", {"-5|9000000000|3", "-|-|-"}, "\"ID\",L,Y\r\n-5,9000000000,3\r\n , , \r\n"},
        {"id:3|D:240|S:4", {"0.5|-1.50|45322.25"}, "id,D,S\r\n0.500000,-1.50,2024-01-31 06:00:00\r\n"},
        {"A,B:6|a\"b:5",
         {"a\"b|a,b", "a\tb|x\ny", "plain|\"", "|\r"},
         "A,B,\"a\"\"b\"\r\n\"a\"\"b\",\"a,b\"\r\n\"a\tb\",\"x\ny\"\r\nplain,\"\"\"\"\r\n ,\r\r\n"},
        {"B:8|T:11|A:12|J:30", {"xyz|10:00:00|2024-01-31|6 {}", "|-|-|1 7"}, "B,T,A,J\r\n78797A, , ,{}\r\n, , ,7\r\n"},
        {"D:3", {"1e300", "nan"}, nullptr},
    };
    for (const auto& [lpszFields, arRow, lpszCsv] : arSet) {
        CRecordsetMaker stMaker(lpszFields);
        for (const char* const lpszRow : arRow)
            stMaker.Row(1, lpszRow);
        DECODEDSET stSet(stMaker.Block());
        char* lpszText = nullptr;
        ASSERT_EQ(stSet.RecordsetToCSV(lpszText), ERR_OK);
        EXPECT_STREQ(lpszText, lpszCsv ? lpszCsv : lpszText);
        EXPECT_TRUE(stSet.eof());
        delete[] lpszText;
    }
    CMemDBRecordset stEmpty;
    char* lpszText = nullptr;
    EXPECT_EQ(stEmpty.RecordsetToCSV(lpszText), ERR_OK);
    EXPECT_EQ(lpszText, nullptr);
}

TEST(MemDBRecordset, WritesDoublesAsTheCLibraryDoes) {
    std::mt19937_64 stRandom(20170320);
    const auto Check = [](double dblValue) {
        char szText[FIXED_TEXT_SIZE];
        ASSERT_EQ(std::string(szText, WriteFixed(dblValue, szText)), PrintText("%f", dblValue)) << dblValue;
    };
    for (const double dbl :
         {0.0, -0.0, 5e-7, 4.9999e-7, 1.5e-6, 2.5e-6, 0.5, 1e12, 999999999999.9999995, 1e300, 5e-324})
        Check(dbl), Check(-dbl);
    for (int i = 0; i < 20000; ++i) {
        const double dblMantissa = static_cast<double>(static_cast<std::int64_t>(stRandom()));
        // All magnitudes, and halves of the last place.
        Check(std::ldexp(dblMantissa, -static_cast<int>(stRandom() % 100)));
        Check(static_cast<double>(stRandom() % 1000000) / 128 / 15625);
    }
}

} // namespace
