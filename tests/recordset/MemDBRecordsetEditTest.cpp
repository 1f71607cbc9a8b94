// Changes, the plan that saves them, and copies of changed sets.

#include "MemDBRecordset.h"

#include "CommonDataDef.h"
#include "PlanLine.h"
#include "RecordsetMaker.h"
#include "ValueRows.h"

namespace {

/** A set of two fields, "A" of the type and "B" an integer, with the rows 10 and 11; "A" is NULL. */
std::string Block(const std::string& strType, BYTE bModify = 1) {
    return CRecordsetMaker("A:" + strType + "|B:1", bModify).Row(10, "-|1").Row(11, "-|2").Block();
}

/** The stored form of field "A" in the plan of a set in which it alone was changed, or the code. */
std::string StoredForm(CMemDBRecordset& stSet) {
    int nCode = 0;
    const std::string strPlan = ChangePlan(stSet, nCode);
    CPlanReader stPlan;
    if (nCode != ERR_OK || stPlan.Open(strPlan.data(), strPlan.size()) != ERR_OK) return std::to_string(nCode);
    const auto* const lpUpdate = stPlan.Record<UPDATERECORDSETPLANBSON>(stPlan.Head().m_nCommandOffset);
    const auto* const lpRow = stPlan.ById<RECORDHEAD>(lpUpdate->m_stExecuteObject.m_stExecuteRecord.m_nRecordAddrID);
    if (!lpRow) return "no row";
    const auto* const lpField = stPlan.Record<RSFIELDBSON>(lpRow->m_nRsFieldOffset);
    const std::string_view szValue = stPlan.Text(lpField->m_nFieldDataOffset, lpField->m_nFieldDataLen);
    char szHex[2 * 40 + 1];
    HexConvertChar(reinterpret_cast<const BYTE*>(szValue.data()), std::min<int>(40, lpField->m_nFieldDataLen), szHex);
    return std::to_string(lpField->m_nFieldDataLen) + ":" + szHex;
}

/** Sets "A" to what a word says: "i5", "l5", "d0.5", "t2024-01-31T6" (tm), "b<bytes>", "n" or "s<text>". */
int SetWord(CMemDBRecordset& stSet, const std::string& strWord) {
    const std::string str = strWord.substr(1);
    tm st{};
    switch (strWord[0]) {
        case 'i':
            return stSet.SetField("A", std::stoi(str));
        case 'l':
            return stSet.SetField(L"A", std::stoll(str));
        case 'd':
            return stSet.SetField("A", std::stod(str));
        case 't':
            sscanf(str.c_str(), "%d-%d-%dT%d", &st.tm_year, &st.tm_mon, &st.tm_mday, &st.tm_hour);
            st.tm_year -= 1900;
            --st.tm_mon;
            return stSet.SetField("A", st);
        case 'b':
            return stSet.SetField(0, reinterpret_cast<const BYTE*>(str.data()), static_cast<int>(str.size()));
        case 'n':
            return stSet.SetFieldNull(L"A");
        default:
            // Both forms of text do the same.
            const int nCode = stSet.SetField("A", std::wstring(str.begin(), str.end()).c_str());
            EXPECT_EQ(stSet.SetField(0, str.c_str()), nCode);
            return nCode;
    }
}

TEST(MemDBRecordsetEdit, TurnsValuesToTheColumnsTypeAndStoresThem) {
    // Column type, value, text read back or code, stored form or code; "_" stands for a blank.
    constexpr const char* ROWS = R"(
        1 i-5 -5 5:00FBFFFFFF; 1 d2.5 3 5:0003000000; 1 l4294967295 -1 5:00FFFFFFFF; 1 l4294967296 (1501);
        1 s_12_ 12 5:000C000000; 1 s1e3 1000 5:00E8030000; 1 s12x (1501); 1 sabc (1501); 1 s null 0:; 1 n null 0:;
        1 bxx (1521); 80 i255 255 2:00FF; 80 i256 (1501); 81 i-32768 -32768 3:000080;
        2 s9223372036854775807 9223372036854775807 9:00FFFFFFFFFFFFFF7F; 2 s9223372036854775808 (1501); 2 d1e19 (1501);
        3 s0.5 0.5 9:00000000000000E03F; 3 i2 2 9:000000000000000040; 3 dnan (1501); 240 s-1.50 -1.50 4:00C10296;
        240 d0.25 0.25 4:00410219; 240 s300 300 5:0042002C01; 240 s0 0 3:004000; 240 s1 1 4:00410001; 240 sx (1501);
        4 t2024-01-31T6 2024-01-31_06:00:00 9:00000000004821E640;
        4 s2024-01-31_06:00:00 2024-01-31_06:00:00 9:00000000004821E640; 4 t2024-13-01T0 (49); 4 snever (1504);
        12 s2024-01-31 2024-01-31 5:001F01E807; 12 s2024-02-30 (49); 12 t2024-01-31T6 2024-01-31 5:001F01E807;
        11 s-1:00:05 -1:00:05 5:0005000180; 11 t0-0-0T-30 -30:00:00 5:00000006FF; 11 t0-0-0T9999 (49);
        6 sabc abc 5:0003616263; 6 i-17 -17 5:00032D3137; 5 d0.5 0.5 5:0003302E35; 7 bxyz xyz 5:000378797A;
        6 t2024-01-31T6 2024-01-31_06:00:00 21:0013323032342D30312D33312030363A30303A3030; 8 bxyz (1501) 5:000378797A;
        8 b (1501) 2:0000; 8 sxyz (1521); 8 i1 (1521); 247 i1 (1521); 30 s{} {} 1501; 30 i7 7 1501; 30 n null 0:)";
    for (std::vector<std::string>& arWord : RowsOf(ROWS)) {
        for (std::string& strWord : arWord)
            std::replace(strWord.begin(), strWord.end(), '_', ' ');
        const std::string strRow = arWord[0] + " " + arWord[1];
        DECODEDSET stSet(Block(arWord[0]));
        const int nCode = SetWord(stSet, arWord[1]);
        EXPECT_EQ(nCode == ERR_OK ? FieldText(stSet, 0) : CodeText(nCode), arWord[2]) << strRow;
        EXPECT_EQ(StoredForm(stSet), arWord.size() > 3 ? arWord[3] : "no row") << strRow;
    }
}

TEST(MemDBRecordsetEdit, CountsLongTextsIn32Bits) {
    for (const auto& [nLen, strHead] :
         {std::pair<std::size_t, std::string>{249, "251:00F97A"}, {250, "256:00FFFA0000007A"}}) {
        DECODEDSET stSet(Block("6"));
        ASSERT_EQ(stSet.SetField("A", std::string(nLen, 'z').c_str()), ERR_OK);
        EXPECT_EQ(StoredForm(stSet).substr(0, strHead.size()), strHead);
    }
}

TEST(MemDBRecordsetEdit, RefusesWhatMayNotChange) {
    long long nDataID = 0;
    DECODEDSET stSet(Block("1", 0));
    EXPECT_EQ(stSet.SetField(0, 1), ERR_RECORDSET_READ_ONLY);
    EXPECT_EQ(stSet.SetField(2, 1), ERR_FIELD_NUMBER);
    EXPECT_EQ(stSet.SetField("X", "1"), ERR_FIELD_NUMBER);
    EXPECT_EQ(stSet.AddNew(nDataID), ERR_RECORDSET_READ_ONLY);
    stSet.MoveNext();
    EXPECT_EQ(stSet.Delete(), ERR_RECORDSET_READ_ONLY) << "behind the last row too";
    std::string strBlock = Block("1");
    strBlock[16 + 2] = 2;
    ASSERT_EQ(Analyse(stSet, strBlock), ERR_OK);
    EXPECT_EQ(stSet.SetFieldNull(0), ERR_FIELD_READ_ONLY);
    EXPECT_EQ(stSet.SetField(1, 5), ERR_OK);
    ASSERT_EQ(stSet.Delete(), ERR_OK);
    EXPECT_EQ(stSet.SetField(1, 6), ERR_NULL_POINTER);
    EXPECT_EQ(FieldText(stSet, 1), "5");
}

/** Rows 1 to 4 of an identity and a text: 1 and 3 changed, 2 deleted; two new ones, of which one has gone again. */
void MakeChanges(CMemDBRecordset& stSet) {
    ASSERT_EQ(
        Analyse(stSet, CRecordsetMaker("ID:1|NAME:6").Row(1, "1|a").Row(2, "2|b").Row(3, "3|c").Row(4, "4|d").Block()),
        ERR_OK);
    ASSERT_EQ(stSet.SetField("NAME", "A"), ERR_OK);
    stSet.MoveNext();
    ASSERT_EQ(stSet.Delete(), ERR_OK);
    stSet.MoveNext();
    long long nFirst = 0, nSecond = 0;
    ASSERT_FALSE(stSet.SetField("ID", 33) || stSet.SetFieldNull("NAME") || stSet.AddNew(nFirst) ||
                 stSet.AddNew(nSecond) || stSet.SetField("NAME", L"n\x540D"));
    EXPECT_EQ(10 * nFirst + nSecond, -12);
    stSet.MovePrevious();
    ASSERT_EQ(stSet.Delete(), ERR_OK);
}

TEST(MemDBRecordsetEdit, WritesItsChangesAsAPlan) {
    CMemDBRecordset stSet;
    MakeChanges(stSet);
    int nCode = 0;
    const std::string strPlan = ChangePlan(stSet, nCode);
    ASSERT_EQ(nCode, ERR_OK);
    EXPECT_EQ(
        PlanLine(strPlan.data(), strPlan.size()),
        "nType=5 bWriteLog=1 bObjectMapNum=1 nFreeSectionAddrID=65744 nSectionStartOffset=398 nClientSectionNum=1 "
        "nCommandOffset=UPDATERECORDSETPLANBSON{stExecuteObject=EXECUTEOBJECTINFO{"
        "nObjectOffset=OBJECTBSON{bObjectType=1 bObjectNameLen=4 nObjectNameOffset=\"TAB\"} "
        "stExecuteRecord=EXECUTERECORDINFO{nRecordNum=4 nRecordAddrID=1:16} stExecuteStep=STEPINFO{nExecuteStepNum=4} "
        "stExecuteBlockInfo=EXECUTEBLOCKINFO} nFieldNum=2 "
        "nFieldInfoOffset=RSFIELDINFO{bTempNo=1 bFieldNameLen=5 nColumnOffset=\"T_ID\"} "
        "nFieldInfoOffset=RSFIELDINFO{bTempNo=2 bFieldNameLen=7 nColumnOffset=\"T_NAME\"} "
        "nInsertStepNo=5 nInsertStepNum=1 nUpdateStepNo=3 nUpdateStepNum=2 nDeleteStepNo=1 nDeleteStepNum=1} "
        "section=BUFFERSECTIONHEAD{bSectionType=2 nSectionDataSize=208 link=RECORDSECTIONHEAD "
        "row=RECORDHEAD{bOperationType=4 nDataID=2} "
        "row=RECORDHEAD{bOperationType=3 bFieldNum=1 nDataID=1 nRsFieldOffset=RSFIELDBSON{"
        "bTempNo=2 bFlag=1 nFieldDataLen=3 nFieldDataOffset=\"\\x00\\x01A\"}} "
        "row=RECORDHEAD{bOperationType=3 bFieldNum=2 nDataID=3 nRsFieldOffset=RSFIELDBSON{"
        "bTempNo=1 bFlag=1 nFieldDataLen=5 nFieldDataOffset=\"\\x00!\\x00\\x00\\x00\"} "
        "nRsFieldOffset=RSFIELDBSON{bTempNo=2 bFlag=1}} "
        "row=RECORDHEAD{bOperationType=2 bFieldNum=1 nRsFieldOffset=RSFIELDBSON{"
        "bTempNo=2 bFlag=1 nFieldDataLen=6 nFieldDataOffset=\"\\x00\\x04n名\"}}}");
    // Nothing changed: a plan without steps.
    DECODEDSET stSame(Block("1"));
    EXPECT_EQ(StoredForm(stSame), "no row");
    // A buffer that is too small, and one that just holds it.
    DECODEDSET stLarge(Block("6"));
    ASSERT_EQ(stLarge.SetField("A", std::string(70000, 'x').c_str()), ERR_OK);
    EXPECT_EQ(ChangePlan(stLarge, nCode, 60000), "");
    EXPECT_EQ(nCode, ERR_MEMORY);
    EXPECT_NE(ChangePlan(stLarge, nCode, 131072), "");
}

TEST(MemDBRecordsetEdit, ClonesRowsStatesAndPosition) {
    IKestroDBRecordset* lpClone = nullptr;
    {
        CMemDBRecordset stSet;
        MakeChanges(stSet);
        ASSERT_EQ(stSet.SetCurrentRow(1), ERR_OK);
        (void)stSet.Fetch();
        ASSERT_EQ(stSet.SetCurrentRow(1), ERR_OK);
        ASSERT_EQ(stSet.Clone(lpClone), ERR_OK);
        EXPECT_EQ(ShowRows(stSet), "1:1|A 3:33|null 4:4|d -2:null|n名");
    }
    EXPECT_EQ(FieldText(*lpClone, 1), "c");
    // Changed rows show what the server sent.
    EXPECT_EQ(ShowRows(*lpClone), "1:1|a 3:3|c 4:4|d -2:null|n名");
    auto& stClone = static_cast<CMemDBRecordset&>(*lpClone);
    int nCode = 0;
    const std::string strLine = PlanLine(ChangePlan(stClone, nCode).data(), ChangePlan(stClone, nCode).size());
    EXPECT_NE(strLine.find("nDeleteStepNum=1"), std::string::npos) << strLine;
    long long nDataID = 0;
    ASSERT_EQ(stClone.AddNew(nDataID), ERR_OK);
    EXPECT_EQ(nDataID, -3);
    stClone.MoveFirst();
    (void)stClone.Fetch();
    EXPECT_TRUE(stClone.bof()) << "a loop of its own";
    lpClone->Release();
    CMemDBRecordset stEmpty;
    ASSERT_EQ(stEmpty.Clone(lpClone), ERR_OK);
    EXPECT_EQ(lpClone->GetFieldNum(), 0);
    lpClone->Release();
}

TEST(MemDBRecordsetEdit, ForgetsItsChangesWhenTheyWereSaved) {
    CMemDBRecordset stSet;
    MakeChanges(stSet);
    stSet.ClearState();
    // The deleted row comes back, the values stay.
    EXPECT_EQ(ShowRows(stSet), "1:1|A 2:2|b 3:33|null 4:4|d -2:null|n名");
    EXPECT_EQ(StoredForm(stSet), "no row");
    ASSERT_EQ(stSet.SetCurrentRow(1), ERR_OK);
    ASSERT_EQ(stSet.SetField(0, 22), ERR_OK);
    EXPECT_EQ(StoredForm(stSet), "5:0016000000");
}

/** Memory for a million rows of eight fields takes a second where the machine has to find it first. */
TEST(MemDBRecordsetEdit, TakesAMillionRowsAndSavesAHundredThousand) {
    constexpr UINT ROWS = 1000000;
    const std::string strOne =
        CRecordsetMaker("A:1|B:6|C:2|D:3|E:4|F:240|G:80|H:8").Row(0, "0|name|-1|0.5|45322.25|1.50|7|xy").Block();
    const UINT nRowPos = reinterpret_cast<const RECORDSETHEAD*>(strOne.data())->m_nRecordBufferOffset;
    std::string strBlock = strOne.substr(0, nRowPos).replace(4, 4, RawBytes(ROWS));
    std::string strRow = strOne.substr(nRowPos);
    for (UINT i = 0; i < ROWS; ++i)
        strBlock += strRow.replace(4, 8, RawBytes(std::int64_t{i})).replace(13, 4, RawBytes(i));
    DECODEDSET stSet(strBlock);
    // Of each thirty rows one goes and one changes, and for each thirty there is a new one.
    for (UINT i = 0; i < ROWS; ++i, stSet.MoveNext())
        ASSERT_EQ(i % 30 == 0 ? stSet.Delete() : i % 30 == 1 ? stSet.SetField(0, static_cast<int>(i + 1)) : 0, ERR_OK);
    EXPECT_TRUE(stSet.eof());
    long long nNewID = 0;
    for (UINT i = 0; i < ROWS / 30; ++i)
        ASSERT_FALSE(stSet.AddNew(nNewID) || stSet.SetField("A", static_cast<int>(i)));
    int nCode = 0;
    const std::string strPlan = ChangePlan(stSet, nCode, 4 << 20);
    CPlanReader stPlan;
    ASSERT_EQ(stPlan.Open(strPlan.data(), strPlan.size()), ERR_OK) << stPlan.Fault();
    const auto& stUpdate = *stPlan.Record<UPDATERECORDSETPLANBSON>(stPlan.Head().m_nCommandOffset);
    EXPECT_EQ(stUpdate.m_nUpdateStepNo * 10 + stUpdate.m_nDeleteStepNo, 333361u);
    EXPECT_EQ(stUpdate.m_nInsertStepNo, 66670u);
    UINT nID = stUpdate.m_stExecuteObject.m_stExecuteRecord.m_nRecordAddrID;
    EXPECT_EQ(stUpdate.m_stExecuteObject.m_stExecuteRecord.m_nRecordNum, 100001u);
    for (UINT i = 0; i < 100001; ++i) {
        const auto* const lpRow = stPlan.ById<RECORDHEAD>(nID);
        ASSERT_TRUE(lpRow);
        // The rows in order: deletes, updates, inserts, which have no identity.
        const UINT nGroup = i / 33334, nNo = i % 33334;
        ASSERT_EQ(lpRow->m_nDataID, nGroup == 2 ? 0 : nNo * 30 + nGroup);
        ASSERT_EQ(lpRow->m_bOperationType, nGroup == 0 ? RECORD_DELETE : nGroup == 1 ? RECORD_UPDATE : RECORD_INSERT);
        const auto* const lpField = stPlan.Record<RSFIELDBSON>(lpRow->m_nRsFieldOffset);
        const UINT nValue = nGroup == 1 ? nNo * 30 + 2 : nNo;
        ASSERT_TRUE(nGroup == 0 || std::memcmp(stPlan.Bytes(lpField->m_nFieldDataOffset, 5) + 1, &nValue, 4) == 0);
        nID = stPlan.NextId<RECORDHEAD>(nID);
    }
    EXPECT_EQ(nID, 0u);
    // The last row of the block, and the first new one.
    ASSERT_EQ(stSet.SetCurrentRow(966665), ERR_OK);
    EXPECT_EQ(FieldText(stSet, 0) + FieldText(stSet, 1) + FieldText(stSet, 5), "999999name1.50");
    stSet.MoveNext();
    EXPECT_EQ(FieldText(stSet, 0) + FieldText(stSet, 1), "0null");
}

} // namespace
