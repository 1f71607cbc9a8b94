#include <gtest/gtest.h>

#include <sstream>

#include "ChunkFault.h"
#include "ConditionText.h"
#include "ParseSql.h"

namespace {

/** Prints the plan of a statement that changes rows as compact text. */
class CDataPrinter {
public:
    explicit CDataPrinter(const CPlanReader& stPlan) : m_stPlan(stPlan) {}
    std::string Print() {
        Statement();
        return m_stText.str();
    }

private:
    void Statement() {
        const UINT nCommand = m_stPlan.Head().m_nCommandOffset;
        if (m_stPlan.Head().m_nType == PLAN_INSERT) return Insert(At<INSERTEXECUTEPLANBSON>(nCommand));
        if (m_stPlan.Head().m_nType == PLAN_DELETE) {
            const auto& stDelete = At<DELETEEXECUTEPLANBSON>(nCommand);
            return Rows(stDelete.m_stExecuteObject, stDelete.m_nQueryPlanOffset);
        }
        const auto& stUpdate = At<UPDATEEXECUTEPLANBSON>(nCommand);
        Rows(stUpdate.m_stExecuteObject, stUpdate.m_nQueryPlanOffset);
        Fields(stUpdate.m_nExecuteFieldOffset, stUpdate.m_nExecuteFieldNum);
    }
    template <typename T>
    const T& At(UINT nOffset) const {
        static constexpr T NONE = {};
        const T* const lpRecord = m_stPlan.Record<T>(nOffset);
        EXPECT_NE(lpRecord, nullptr);
        return lpRecord ? *lpRecord : NONE;
    }

    void Insert(const INSERTEXECUTEPLANBSON& stInsert) {
        const EXECUTERECORDINFO& stRows = stInsert.m_stExecuteObject.m_stExecuteRecord;
        Objects(stInsert.m_stExecuteObject.m_nObjectOffset);
        Fields(stInsert.m_nExecuteFieldOffset, stInsert.m_nExecuteFieldNum);
        EXPECT_EQ(stInsert.m_bAllField, stInsert.m_nExecuteFieldNum == 0);
        EXPECT_EQ(m_stPlan.Head().m_nInsertRecordNum, stRows.m_nRecordNum);
        if (stInsert.m_bSubQuery)
            m_stText << " query" << int{At<QUERYEXECUTEPLANBSON>(stInsert.m_nQueryPlanOffset).m_bSubQueryType};
        for (const RECORDHEAD& stRow : m_stPlan.Records<RECORDHEAD>(stRows.m_nRecordAddrID, stRows.m_nRecordNum)) {
            m_stText << (stRow.m_bOperationType == RECORD_INSERT ? " :" : "?");
            int nPlace = 0;
            for (const RSFIELDBSON& stField :
                 m_stPlan.Records<RSFIELDBSON>(stRow.m_nRsFieldOffset, stRow.m_bFieldNum)) {
                m_stText << (stField.m_bTempNo == ++nPlace ? ' ' : '?');
                Value(stField.m_nFieldDataOffset, stField.m_bFlag);
            }
        }
    }

    void Rows(const EXECUTEOBJECTINFO& stTarget, UINT nQuery) {
        const auto& stQuery = At<QUERYEXECUTEPLANBSON>(nQuery);
        const auto& stCondition = At<COMMONCONDITION>(stQuery.m_nConditionOffset);
        EXPECT_EQ(stTarget.m_nObjectOffset, stQuery.m_nObjectOffset);
        Objects(stQuery.m_nObjectOffset);
        if (stQuery.m_nQueryPathOffset) m_stText << " tree";
        if (stCondition.m_bJoin) m_stText << " join" << int{stCondition.m_bJoin};
        if (stCondition.m_nWhereOffset)
            m_stText << " where " << CConditionText(m_stPlan).Root(stCondition.m_nWhereOffset);
    }

    void Objects(UINT nOffset) {
        for (; nOffset != 0; nOffset = At<OBJECTBSON>(nOffset).m_nNextOffset) {
            const auto& stObject = At<OBJECTBSON>(nOffset);
            m_stText << (m_stText.tellp() > 0 ? "," : "");
            if (stObject.m_nDataBaseNameOffset) m_stText << m_stPlan.Text(stObject.m_nDataBaseNameOffset) << '.';
            const std::string_view szName = m_stPlan.Text(stObject.m_nObjectNameOffset);
            EXPECT_EQ(szName.size() + 1, stObject.m_bObjectNameLen);
            m_stText << szName << '#' << int{stObject.m_bObjectNo};
        }
    }

    void Value(UINT nOffset, BYTE bClass, const char* lpszBefore = "") {
        m_stText << lpszBefore << CExpressionText(m_stPlan).Root(nOffset) << ':' << int{bClass};
    }

    void Fields(UINT nOffset, UINT nNum) {
        for (const char* lpszBefore = " ("; nOffset != 0; lpszBefore = ", ") {
            const auto& stField = At<EXECUTEFIELDBSON>(nOffset);
            m_stText << lpszBefore << m_stPlan.Text(stField.m_nExpNameOffset, stField.m_bNameLen);
            if (stField.m_bObjectNo) m_stText << '#' << int{stField.m_bObjectNo};
            if (stField.m_nExpOffset) Value(stField.m_nExpOffset, stField.m_bExpressionType, " = ");
            nOffset = stField.m_nNextOffset;
            m_stText << (--nNum == 0 ? ")" : "");
        }
    }

    const CPlanReader& m_stPlan;
    std::ostringstream m_stText;
};

/** The plan, or the code and the word of the error. */
std::string Compiled(const std::string& strSql) {
    CParseSql stParse;
    EXECUTEPLANBSON* lpPlan = nullptr;
    const int nCode = stParse.ParseSql(strSql.data(), static_cast<int>(strSql.size()), lpPlan, 0, 0, 0);
    if (nCode != ERR_OK) return std::to_string(nCode) + " at " + std::to_string(stParse.GetErrorPos());
    CPlanReader stPlan;
    EXPECT_EQ(stPlan.Open(lpPlan, lpPlan->m_nTotalDataSize), ERR_OK) << stPlan.Fault();
    return CDataPrinter(stPlan).Print();
}

void ExpectPlans(std::initializer_list<std::pair<std::string, const char*>> arRow) {
    for (const auto& [strSql, lpszPlan] : arRow)
        EXPECT_EQ(Compiled(strSql), lpszPlan) << strSql.substr(0, 100);
}

std::string Repeated(const char* lpszText, int nTimes) {
    std::string strText;
    while (nTimes-- > 0)
        strText += lpszText;
    return strText;
}

TEST(ParseData, CompilesInsert) {
    ExpectPlans({
        {"insert into t values(1)", "T#1 : 1:4"},
        {"insert into db.\"t\" (a, `b`) values (1,'x'),(?,y)", "db.t#1 (A, B) : 1:4 'x':4 : ?:4 Y:1"},
        {"insert t values (1)", "506 at 0"},
        {"insert", "506 at 0"},
        {"insert node (a) into t values (1)", "99 at 0"},
        {"insert into 'x' values (1)", "510 at 1"},
        {"insert into a.1 values (1)", "510 at 1"},
        {"insert into t () values (1)", "506 at 3"},
        {"insert into t (a b) values (1)", "506 at 4"},
        {"insert into t (a,b) values (1)", "506 at 8"},
        {"insert into t (a,b", "506 at 6"},
        {"insert into t", "506 at 2"},
        {"insert into t values", "506 at 3"},
        {"insert into t values (1),(1,2)", "506 at 7"},
        {"insert into t values (1,,2)", "506 at 6"},
        {"insert into t values ()", "506 at 4"},
        {"insert into t values (1", "506 at 5"},
        {"insert into t values (1) x", "506 at 6"},
        {"insert into t values (1),", "506 at 7"},
        {"insert into t values (1" + Repeated(",1", 255) + ")", "506 at 3"},
    });
}

TEST(ParseData, CompilesALongInsertAsInALargeBuffer) {
    const std::string strSql = "insert into t values (1,'abc',?)" + Repeated(",(1,'abc',?)", 99'999);
    const int nLen = static_cast<int>(strSql.size());
    CParseSql stGrowing, stLarge;
    EXECUTEPLANBSON *lpPlan = nullptr, *lpLarge = nullptr;
    ASSERT_EQ(stGrowing.ParseSql(strSql.data(), nLen, lpPlan, 0, 0, 0), ERR_OK);
    const auto lpBlock = std::make_unique<BYTE[]>(50'000'000);
    lpLarge = reinterpret_cast<EXECUTEPLANBSON*>(lpBlock.get());
    lpLarge->m_nClientBsonDataSize = 50'000'000;
    ASSERT_EQ(stLarge.ParseSql(strSql.data(), nLen, lpLarge, 0, 0, 0), ERR_OK);
    EXPECT_EQ(lpPlan->m_nInsertRecordNum, 100'000u);
    EXPECT_EQ(stGrowing.GetParameterNum(), 100'000);
    ASSERT_EQ(lpPlan->m_nTotalDataSize, lpLarge->m_nTotalDataSize);
    EXPECT_EQ(std::memcmp(lpPlan, lpLarge, lpPlan->m_nTotalDataSize), 0);
}

TEST(ParseData, SurvivesFailingAllocations) {
    const std::string strSql = "insert into t values (1,'abc')" + Repeated(",(1,'abc')", 20'000);
    bool bFailed = true;
    for (int nNth = 1; bFailed; ++nNth) {
        CChunkFault stFault(nNth);
        CParseSql stParse;
        EXECUTEPLANBSON* lpPlan = nullptr;
        const int nCode = stParse.ParseSql(strSql.data(), static_cast<int>(strSql.size()), lpPlan, 0, 0, 0);
        bFailed = stFault.CameTrue();
        EXPECT_EQ(nCode == ERR_OK, lpPlan != nullptr);
        EXPECT_TRUE(nCode == ERR_OK || nCode == ERR_MEMORY);
    }
}

} // namespace
