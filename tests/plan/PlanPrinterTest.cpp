#include "PlanPrinter.h"

#include "PlanLine.h"
#include "PlanMaker.h"

namespace {

std::string Print(const std::string& strBytes, const PLANPRINT& stPrint) {
    const OPENEDPLAN stOpened(strBytes);
    EXPECT_EQ(stOpened.m_nCode, ERR_OK) << stOpened.m_stPlan.Fault();
    return stOpened.m_nCode == ERR_OK ? PrintPlan(stOpened.m_stPlan, stPrint) : "";
}

TEST(PlanPrinter, PrintsAQuery) {
    const OPENEDPLAN stOpened(QueryPlan());
    EXPECT_EQ(PlanLine(stOpened.m_stPlan),
              "nType=1 nSectionStartOffset=343 nCommandOffset=QUERYEXECUTEPLANBSON{nObjectOffset=OBJECTBSON{"
              "nObjectNameOffset=\"t\"} nObjectOffset=OBJECTBSON{nObjectNameOffset=\"表\"} nExecuteFieldOffset="
              "EXECUTEFIELDBSON{nExpOffset=st_MATHEXPBSON{bExpressionType2=3 nExpOffset1=MATHEXPELEMENTBSON{"
              "bDataType=240 nDataLen=3 bDataBuffer=-1.5}}}}");
}

TEST(PlanPrinter, PrintsSectionsAndFormats) {
    const std::string strPlan = SectionPlan(1);
    EXPECT_EQ(Print(strPlan, {PLANFORMAT_JSON, true, false}),
              R"({"record":"EXECUTEPLANBSON","offset":0,"m_nTotalDataSize":228,"m_nType":5,"m_bVersion":2,)"
              R"("m_nBsonDataSize":228,"m_nSectionStartOffset":88,"m_nClientSectionNum":3,"m_nClientBsonDataSize":88,)"
              R"("section":[{"record":"BUFFERSECTIONHEAD","offset":"1:0","m_bSectionType":2,"m_nSectionDataSize":64,)"
              R"("m_nNextSectionOffset":152,"link":{"record":"RECORDSECTIONHEAD","offset":"1:12"},)"
              R"("row":[{"record":"RECORDHEAD","offset":"1:16","m_nDataID":7,"m_nFieldDataAddrID":"3:12"}]},)"
              R"({"record":"BUFFERSECTIONHEAD","offset":"2:0","m_bSectionType":3,"m_nSectionDataSize":44,)"
              R"("m_nNextSectionOffset":196,"link":{"record":"STEPSECTIONHEAD","offset":"2:12"},)"
              R"("step":[{"record":"EXECUTESTEP","offset":"2:16","m_nRecordAddrID":"1:16"}]},)"
              R"({"record":"BUFFERSECTIONHEAD","offset":"3:0","m_bSectionType":1,"m_nSectionDataSize":32}]})"
              "\n");
    CPlanMaker stMaker(PLAN_USE, "use \"a\\\x01");
    UINT nOffset = 0;
    std::memcpy(stMaker.New<DATABASEBSON>(nOffset)->m_pDatabaseName, "a\xFF", 2);
    stMaker.m_lpPlan->m_nCommandOffset = nOffset;
    const std::string strUse = stMaker.Finish();
    EXPECT_EQ(Print(strUse, {PLANFORMAT_TEXT, true, false}), R"(plan EXECUTEPLANBSON @0
  m_nTotalDataSize 165
  m_nType 17
  m_bVersion 2
  m_nBsonDataSize 165
  m_nSectionStartOffset 165
  m_nClientBsonDataSize 165
  m_nSqlOffset "use \"a\\\x01"
  m_nCommandOffset DATABASEBSON @97
    m_pDatabaseName "a\xff"
)");
    EXPECT_EQ(Print(strUse, {PLANFORMAT_DOT, false, false}), R"(digraph plan {
node [shape=box fontname=monospace]
"EXECUTEPLANBSON 0" -> "DATABASEBSON 97" [label="m_nCommandOffset"]
"DATABASEBSON 97" [label="DATABASEBSON\lm_pDatabaseName \"a\\xff\"\l"]
"EXECUTEPLANBSON 0" [label="EXECUTEPLANBSON\lm_nTotalDataSize 165\lm_nType 17\lm_bVersion 2\lm_nBsonDataSize 165\lm_nSectionStartOffset 165\lm_nClientBsonDataSize 165\lm_nSqlOffset \"use \\\"a\\\\\\x01\"\l"]
}
)");
}

/** A plan of one record of type `T`, which `Fill` completes, as a line without its head. */
template <typename T, typename FILL>
std::string PrintRecord(BYTE bStatement, FILL Fill) {
    CPlanMaker stMaker(bStatement);
    UINT nOffset = 0;
    T* const lpRecord = stMaker.New<T>(nOffset);
    stMaker.m_lpPlan->m_nCommandOffset = nOffset;
    Fill(stMaker, *lpRecord);
    const std::string strLine = PlanLine(OPENEDPLAN(stMaker.Finish()).m_stPlan);
    return strLine.substr(strLine.find("nCommandOffset=") + 15);
}

TEST(PlanPrinter, TakesBytesForWhatTheyAre) {
    // Which name a union's bytes have, another field says.
    const auto Fix = [](CPlanMaker&, ALTEREXECUTEPLANBSON& stAlter) {
        stAlter.m_nType = ALTER_FIX;
        stAlter.m_lpszSchemaName[0] = 's';
        stAlter.m_lpszTableName[0] = 't';
    };
    EXPECT_EQ(PrintRecord<ALTEREXECUTEPLANBSON>(PLAN_ALTER, Fix),
              "ALTEREXECUTEPLANBSON{nType=40 lpszSchemaName=\"s\" lpszTableName=\"t\"}");
    const auto Set = [](CPlanMaker& stMaker, ALTEREXECUTEPLANBSON& stAlter) {
        UINT nOffset = 0;
        stAlter.m_nType = ALTER_SET;
        stMaker.New<ALTERSETEXPFIELDBSON>(nOffset, 3)->m_bDataBuffer[1] = 1;
        stAlter.m_nPlanOffset = nOffset;
        stAlter.m_pFilePath[0] = 'p';
    };
    EXPECT_EQ(PrintRecord<ALTEREXECUTEPLANBSON>(PLAN_ALTER, Set),
              "ALTEREXECUTEPLANBSON{nType=7 nPlanOffset=ALTERSETEXPFIELDBSON{bDataBuffer=256} pFilePath=\"p\"}");
    // A view's query is a plan of its own.
    const auto View = [](CPlanMaker& stMaker, CREATEEXECUTEPLANBSON& stCreate) {
        UINT nOffset = 0;
        stCreate.m_bObjectType = CREATE_VIEW;
        auto* const lpView = stMaker.New<VIEWBSON>(nOffset);
        stCreate.m_nPlanOffset = nOffset;
        CPlanMaker stInner(PLAN_BEGIN, "v");
        lpView->m_nViewExecutePlanOffset = stMaker.Text(stInner.Finish());
    };
    EXPECT_EQ(PrintRecord<CREATEEXECUTEPLANBSON>(PLAN_CREATE, View),
              "CREATEEXECUTEPLANBSON{bObjectType=5 nPlanOffset=VIEWBSON{nViewExecutePlanOffset=EXECUTEPLANBSON{"
              "nTotalDataSize=90 nType=10 bVersion=2 nBsonDataSize=90 nSectionStartOffset=90 nClientBsonDataSize=90 "
              "nSqlOffset=\"v\"}}}");
}

TEST(PlanPrinter, ComesToAnEnd) {
    // A chain that returns to itself, an offset and a count that lead outside.
    const auto Loop = [](CPlanMaker& stMaker, QUERYEXECUTEPLANBSON& stQuery) {
        UINT nOffset = 0;
        auto* const lpObject = stMaker.New<OBJECTBSON>(nOffset);
        stQuery.m_nObjectOffset = lpObject->m_nNextOffset = nOffset;
        lpObject->m_nObjectNameOffset = 9999;
        auto* const lpGroup = stMaker.New<GROUPBY>(nOffset);
        stQuery.m_nGroupByOffset = nOffset;
        lpGroup->m_bFieldNum = 2;
        lpGroup->m_nColumnOffset = nOffset;
        stQuery.m_nUnionOffset = 0xFFFFFFFF;
    };
    EXPECT_EQ(PrintRecord<QUERYEXECUTEPLANBSON>(PLAN_SELECT, Loop),
              "QUERYEXECUTEPLANBSON{nObjectOffset=OBJECTBSON{nObjectNameOffset=9999 leads outside} "
              "nObjectOffset=OBJECTBSON (above) nGroupByOffset=GROUPBY{bFieldNum=2 nColumnOffset=208 leads outside} "
              "nUnionOffset=4294967295 leads outside}");
    // A condition deeper than any statement makes one.
    const auto Deep = [](CPlanMaker& stMaker, QUERYEXECUTEPLANBSON& stQuery) {
        UINT nBelow = 0;
        for (int i = 0; i < 3000; ++i) {
            const UINT nOperand = nBelow;
            auto* const lpNode = stMaker.New<BASECONDITIONBSON>(nBelow);
            lpNode->m_bConditionType1 = CONDITION_NODE;
            lpNode->m_nConditionOffset1 = nOperand;
        }
        UINT nOffset = 0;
        stMaker.New<COMMONCONDITION>(nOffset)->m_nWhereOffset = nBelow;
        stQuery.m_nConditionOffset = nOffset;
    };
    const std::string strDeep = PrintRecord<QUERYEXECUTEPLANBSON>(PLAN_SELECT, Deep);
    EXPECT_NE(strDeep.find("nConditionOffset1=too deep"), std::string::npos);
    EXPECT_EQ(std::count(strDeep.begin(), strDeep.end(), '{'), 499);
}

// Bytes of the plan's own in many places: what is printed grows with the plan, not with its square.
TEST(PlanPrinter, PrintsALongStatementOnce) {
    CPlanMaker stNames(PLAN_SELECT, std::string(20000, 's')), stViews(PLAN_CREATE, "v");
    UINT nCommand = 0, nView = 0, nObject = 0;
    auto* const lpQuery = stNames.New<QUERYEXECUTEPLANBSON>(nCommand);
    stNames.m_lpPlan->m_nCommandOffset = nCommand;
    for (int i = 0; i < 100; ++i) {
        lpQuery->m_nObjectOffset = nObject;
        auto* const lpObject = stNames.New<OBJECTBSON>(nObject);
        lpObject->m_nObjectNameOffset = PLAN_TEXT_OFFSET;
        lpObject->m_nNextOffset = lpQuery->m_nObjectOffset;
    }
    const std::string strNames = stNames.Finish();
    auto* const lpCreate = stViews.New<CREATEEXECUTEPLANBSON>(nCommand);
    stViews.m_lpPlan->m_nCommandOffset = nCommand;
    lpCreate->m_bObjectType = CREATE_VIEW;
    const UINT nInner = stViews.Text(strNames);
    for (int i = 0; i < 100; ++i) {
        lpCreate->m_nPlanOffset = nView;
        auto* const lpView = stViews.New<VIEWBSON>(nView);
        lpView->m_nViewExecutePlanOffset = nInner;
        lpView->m_nNextViewOffset = lpCreate->m_nPlanOffset;
    }
    for (const std::string& strPlan : {strNames, stViews.Finish()})
        EXPECT_LT(Print(strPlan, {PLANFORMAT_JSON, false, false}).size(), 8 * strPlan.size());
}

} // namespace
