#include "PlanReader.h"

#include <random>

#include "Fields.h"
#include "PlanMaker.h"
#include "PlanPrinter.h"

namespace {

TEST(PlanReader, FollowsOffsets) {
    const OPENEDPLAN stOpened(QueryPlan());
    const CPlanReader& stPlan = stOpened.m_stPlan;
    ASSERT_EQ(stOpened.m_nCode, ERR_OK) << stPlan.Fault();
    EXPECT_EQ(stPlan.Statement(), "select -1.5 from t,\"\xE8\xA1\xA8\"");
    const auto* const lpQuery = stPlan.Record<QUERYEXECUTEPLANBSON>(stPlan.Head().m_nCommandOffset);
    ASSERT_TRUE(lpQuery);
    std::string strNames;
    for (UINT nOffset = lpQuery->m_nObjectOffset; const auto* lpObject = stPlan.Record<OBJECTBSON>(nOffset);
         nOffset = lpObject->m_nNextOffset)
        strNames.append(stPlan.Text(lpObject->m_nObjectNameOffset)).append(";");
    EXPECT_EQ(strNames, "t;\xE8\xA1\xA8;");

    // What isn't inside isn't there; nothing lies in the head.
    const UINT nEnd = static_cast<UINT>(stPlan.Main().size());
    EXPECT_TRUE(stPlan.Record<OBJECTBSON>(88) && stPlan.Record<OBJECTBSON>(nEnd - 32));
    for (const UINT nOffset : {0u, 1u, 87u, nEnd - 31, nEnd, nEnd + 1, 0xFFFFFFFFu})
        EXPECT_FALSE(stPlan.Record<OBJECTBSON>(nOffset)) << nOffset;
    EXPECT_EQ(stPlan.Records<OBJECTBSON>(88, 2).size(), 2u);
    EXPECT_TRUE(stPlan.Records<OBJECTBSON>(88, 0xFFFFFFFF).empty() &&
                stPlan.Records<OBJECTBSON>(88, nEnd / 32).empty());
    EXPECT_TRUE(stPlan.Text(88, nEnd - 88).data() && !stPlan.Text(88, nEnd - 87).data() && !stPlan.Text(nEnd).data());
    EXPECT_FALSE(stPlan.ById<RECORDHEAD>(MakeAddrID(1, 16)) || stPlan.SectionNum());
    const DATABASEBSON stDatabase{"abc", 0, 0, 0, 0};
    EXPECT_EQ(CPlanReader::Field(stDatabase.m_pDatabaseName), "abc");
}

TEST(PlanReader, FollowsIds) {
    const OPENEDPLAN stOpened(SectionPlan(700));
    const CPlanReader& stPlan = stOpened.m_stPlan;
    ASSERT_EQ(stOpened.m_nCode, ERR_OK) << stPlan.Fault();
    UINT nRows = 0;
    for (UINT nID = MakeAddrID(2, 16); const auto* lpStep = stPlan.ById<EXECUTESTEP>(nID);
         nID = stPlan.NextId<EXECUTESTEP>(nID)) {
        const auto* const lpRecord = stPlan.ById<RECORDHEAD>(lpStep->m_nRecordAddrID);
        ASSERT_TRUE(lpRecord);
        ASSERT_EQ(lpRecord->m_nDataID, 7 + nRows++);
        ASSERT_TRUE(stPlan.ById(lpRecord->m_nFieldDataAddrID, SECTION_DATA, 20));
    }
    EXPECT_EQ(nRows, 700u);
    EXPECT_GT(stPlan.SectionNum(), 15);
    EXPECT_TRUE(stPlan.Section(0).m_arByte.empty() && stPlan.Section(stPlan.SectionNum() + 1).m_arByte.empty());
    const UINT nEnd = static_cast<UINT>(stPlan.Section(1).m_arByte.size());
    for (const UINT nID : {0u, 0xFFFFFFFFu, MakeAddrID(0, 16), MakeAddrID(1, 15), MakeAddrID(1, nEnd - 47),
                           MakeAddrID(1, nEnd), MakeAddrID(2, 16), MakeAddrID(3, 16), MakeAddrID(0x8001, 16)})
        EXPECT_FALSE(stPlan.ById<RECORDHEAD>(nID) || stPlan.NextId<RECORDHEAD>(nID)) << nID;
}

TEST(PlanReader, RefusesWhatIsNoPlan) {
    const std::string strPlan = SectionPlan(100); // 4 sections: records, steps, data, records
    ASSERT_EQ(OPENEDPLAN(strPlan).m_nCode, ERR_OK);
    // The place and the number put there, behind "+" with the plan's size and behind "m" with the main buffer's added.
    ExpectRows(
        {"0 +1 => m_nTotalDataSize isn't the length", "8 65797 => another version of plans",
         "44 87 => m_nClientBsonDataSize is out of bounds", "44 +1 => m_nClientBsonDataSize is out of bounds",
         "60 88 => the statement's text isn't where it belongs, or has no end",
         "60 90 => the statement's text isn't where it belongs, or has no end",
         "40 0 => bytes behind the main buffer, but no sections",
         "40 3 => m_nNextSectionOffset isn't behind the section", "40 4294967295 => too many sections",
         "36 89 => m_nSectionStartOffset isn't behind the main buffer", "m0 4 => a section of no known type",
         "m4 15 => m_nSectionDataSize is out of bounds", "m4 +0 => m_nSectionDataSize is out of bounds",
         "m8 0 => m_nNextSectionOffset isn't behind the section", "m12 131072 => m_sNextSectionNo names no neighbour",
         "m12 65536 => m_sNextSectionNo names no neighbour", "m12 1 => m_sPreSectionNo names no neighbour",
         "m12 0 => m_sPreSectionNo names no neighbour", "m12 262144 => none"},
        [&](const std::string& strRow) {
            const std::string strValue = strRow.substr(strRow.find(' ') + 1);
            const std::size_t nPlace = strRow[0] == 'm' ? 88 + std::stoul(strRow.substr(1)) : std::stoul(strRow);
            const auto nValue = static_cast<UINT>(std::stoul(strValue) + (strValue[0] == '+' ? strPlan.size() : 0));
            const OPENEDPLAN stOpened(Patched(strPlan, nPlace, nValue));
            const char* const lpszFault = stOpened.m_stPlan.Fault();
            EXPECT_EQ(stOpened.m_nCode, lpszFault ? ERR_PARAMETER : ERR_OK);
            return std::string(lpszFault ? lpszFault : "none");
        });
}

/** Reads all that can be read; a sanitizer sees the first byte outside. Answers whether it was a plan. */
bool ReadEverything(const std::string& strBytes, int nFormat) {
    const OPENEDPLAN stOpened(strBytes);
    const CPlanReader& stPlan = stOpened.m_stPlan;
    EXPECT_EQ(stOpened.m_nCode != ERR_OK, stPlan.Fault() != nullptr);
    if (stOpened.m_nCode != ERR_OK) return false;
    const std::string strText = PrintPlan(stPlan, {static_cast<PLANFORMAT>(nFormat % 3), true, true});
    EXPECT_LT(strText.size(), 100000 + 1000 * strBytes.size());
    for (UINT nNo = 1; nNo <= stPlan.SectionNum(); ++nNo)
        for (UINT nID = MakeAddrID(static_cast<USHORT>(nNo), 16), nCount = 0; nID != 0;
             nID = stPlan.NextId<RECORDHEAD>(nID))
            if (++nCount > strBytes.size()) return ADD_FAILURE(), true;
    return true;
}

TEST(PlanReader, SurvivesEveryTruncation) {
    for (const std::string& strPlan : {QueryPlan(), SectionPlan(60)})
        for (std::size_t nLen = 0; nLen < strPlan.size(); nLen += nLen < 900 ? 1 : 17) {
            const std::string strCut = strPlan.substr(0, nLen);
            EXPECT_FALSE(ReadEverything(strCut, 0)) << nLen;
            ReadEverything(Patched(Patched(strCut, 0, static_cast<UINT>(nLen)), 44, static_cast<UINT>(nLen)),
                           static_cast<int>(nLen));
        }
}

TEST(PlanReader, SurvivesFlippedBytes) {
    std::mt19937 stRandom(11);
    int nOpened = 0;
    for (const std::string& strPlan : {QueryPlan(), SectionPlan(20)})
        for (int i = 0; i < 500; ++i) {
            std::string strFlipped = strPlan;
            for (UINT n = 1 + stRandom() % 6; n != 0; --n) {
                // Mostly small numbers, which are offsets that lead somewhere.
                const std::size_t nAt = (i % 2 ? 88 : 0) + stRandom() % (strPlan.size() - 88);
                strFlipped[nAt] = static_cast<char>(stRandom() % (n % 2 ? 256 : 4));
            }
            nOpened += ReadEverything(strFlipped, i);
        }
    EXPECT_GT(nOpened, 300);
}

} // namespace
