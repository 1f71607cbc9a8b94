#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "BaseBson.h"
#include "ExactBytes.h"
#include "KestroDecimal.h"
#include "PlanReader.h"

/** Writes plans by hand, as the compiler does. */
class CPlanMaker {
public:
    explicit CPlanMaker(BYTE bType, std::string_view szSql = {}) {
        UINT nOffset = 0;
        EXPECT_EQ(m_stBson.AllocFromBsonBuffer(m_lpPlan, nOffset), ERR_OK);
        m_lpPlan->m_bVersion = PLAN_VERSION;
        m_lpPlan->m_nType = bType;
        if (szSql.data()) m_lpPlan->m_nSqlOffset = static_cast<BYTE>(Text(szSql));
    }
    template <typename T>
    T* New(UINT& nOffset, UINT nTail = 0) {
        LPBYTE lpBytes = nullptr;
        EXPECT_EQ(m_stBson.AllocFromBsonBuffer(sizeof(T) + nTail, nOffset, lpBytes), ERR_OK);
        return reinterpret_cast<T*>(lpBytes);
    }
    UINT Text(std::string_view szText) {
        UINT nOffset = 0;
        LPBYTE lpText = nullptr;
        EXPECT_EQ(m_stBson.AllocFromBsonBuffer(static_cast<UINT>(szText.size()) + 1, nOffset, lpText), ERR_OK);
        std::memcpy(lpText, szText.data(), szText.size());
        return nOffset;
    }
    /** A leaf under a node. */
    UINT Expression(BYTE bDataType, std::string_view szData, BYTE bSource) {
        UINT nNode = 0, nLeaf = 0;
        auto* const lpLeaf = New<MATHEXPELEMENTBSON>(nLeaf, static_cast<UINT>(szData.size()));
        lpLeaf->m_bDataType = bDataType;
        lpLeaf->m_bDataSource = bSource;
        lpLeaf->m_nDataLen = static_cast<int>(szData.size());
        std::memcpy(lpLeaf->m_bDataBuffer, szData.data(), szData.size());
        auto* const lpNode = New<st_MATHEXPBSON>(nNode);
        lpNode->m_bExpressionType2 = EXP_NONE;
        lpNode->m_nExpOffset1 = nLeaf;
        return nNode;
    }
    /** The bytes as they are sent. */
    std::string Finish() {
        m_stBson.SetSectionOffset();
        m_lpPlan->m_nClientSectionNum = m_stBson.GetBufferSectionNum();
        m_lpPlan->m_nClientBsonDataSize = m_lpPlan->m_nSectionStartOffset = m_stBson.GetBsonDataSize();
        m_lpPlan->m_nBsonDataSize = m_lpPlan->m_nTotalDataSize = m_stBson.GetExecutePlanDataSize();
        std::string strBytes(reinterpret_cast<char*>(m_stBson.GetBuffer()), m_stBson.GetBsonDataSize());
        for (USHORT nNo = 1; nNo <= m_stBson.GetBufferSectionNum(); ++nNo) {
            const auto* const lpSection = reinterpret_cast<const char*>(m_stBson.GetBufferSection(nNo));
            strBytes.append(lpSection, reinterpret_cast<const BUFFERSECTIONHEAD*>(lpSection)->m_nSectionDataSize);
        }
        return strBytes;
    }

    CBaseBson m_stBson;
    EXECUTEPLANBSON* m_lpPlan = nullptr;
};

inline std::string DecimalImage(const char* lpszNumber) {
    st_VARDATA stValue;
    BYTE arImage[DECIMAL_BIN_SIZE];
    int nLen = 0;
    EXPECT_EQ(CKestroDecimal::Convert2Decimal(lpszNumber, &stValue), ERR_OK);
    EXPECT_EQ(CKestroDecimal::FormatBin(&stValue, arImage, nLen), ERR_OK);
    return {reinterpret_cast<char*>(arImage), static_cast<std::size_t>(nLen)};
}

/** A query with two objects and a field. */
inline std::string QueryPlan() {
    CPlanMaker stMaker(PLAN_SELECT, "select -1.5 from t,\"\xE8\xA1\xA8\"");
    UINT nQuery = 0, nObject = 0, nNext = 0, nField = 0;
    auto* const lpQuery = stMaker.New<QUERYEXECUTEPLANBSON>(nQuery);
    stMaker.m_lpPlan->m_nCommandOffset = nQuery;
    auto* const lpObject = stMaker.New<OBJECTBSON>(nObject);
    lpObject->m_nObjectNameOffset = stMaker.Text("t");
    stMaker.New<OBJECTBSON>(nNext)->m_nObjectNameOffset = stMaker.Text("\xE8\xA1\xA8");
    lpObject->m_nNextOffset = nNext;
    lpQuery->m_nObjectOffset = nObject;
    auto* const lpField = stMaker.New<EXECUTEFIELDBSON>(nField);
    lpQuery->m_nExecuteFieldOffset = nField;
    lpField->m_nExpOffset = stMaker.Expression(VT_DECIMAL, DecimalImage("-1.5"), SOURCE_LITERAL);
    return stMaker.Finish();
}

/** A write-back: a record, a step and 20 bytes of data a row, each in sections of its kind. */
inline std::string SectionPlan(UINT nRows) {
    CPlanMaker stMaker(PLAN_WRITE_BACK);
    stMaker.m_stBson.SetDefaultBufferSectionSize(4096);
    for (UINT i = 0; i < nRows; ++i) {
        RECORDHEAD* lpRecord = nullptr;
        EXECUTESTEP* lpStep = nullptr;
        LPBYTE lpData = nullptr;
        UINT nRecordID = 0, nStepID = 0, nDataID = 0;
        EXPECT_EQ(stMaker.m_stBson.AllocRecord(lpRecord, nRecordID), ERR_OK);
        EXPECT_EQ(stMaker.m_stBson.AllocStep(lpStep, nStepID), ERR_OK);
        EXPECT_EQ(stMaker.m_stBson.AllocFromBufferSection(20, nDataID, lpData), ERR_OK);
        lpRecord->m_nDataID = 7 + i;
        lpRecord->m_nFieldDataAddrID = nDataID;
        lpStep->m_nRecordAddrID = nRecordID;
    }
    return stMaker.Finish();
}

/** A plan's bytes in a block of their size, opened if it is one. */
struct OPENEDPLAN {
    explicit OPENEDPLAN(std::string_view szBytes)
        : m_stBytes(szBytes), m_nCode(m_stPlan.Open(m_stBytes.Data(), szBytes.size())) {}

    ExactText m_stBytes;
    CPlanReader m_stPlan;
    int m_nCode;
};

/** The same bytes with another number in them. */
template <typename T>
std::string Patched(std::string strBytes, std::size_t nOffset, T nValue) {
    if (nOffset + sizeof nValue <= strBytes.size())
        strBytes.replace(nOffset, sizeof nValue, reinterpret_cast<const char*>(&nValue), sizeof nValue);
    return strBytes;
}
