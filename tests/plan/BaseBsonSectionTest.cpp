#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "BaseBson.h"
#include "ChunkFault.h"

namespace {

struct CProbe : CBaseBson {
    using CBaseBson::m_bChangeSection;
    using CBaseBson::m_lpBsonSectionArray;
    using CBaseBson::m_nBsonSectionNum;
    using CBaseBson::m_nExecutePlanDataSize;
    using CBaseBson::m_pMasterBson;

    const BUFFERSECTIONHEAD& Head(USHORT nNo) { return *reinterpret_cast<BUFFERSECTIONHEAD*>(GetBufferSection(nNo)); }
    const RECORDSECTIONHEAD& Link(USHORT nNo) {
        return *reinterpret_cast<RECORDSECTIONHEAD*>(GetBufferSection(nNo) + 12);
    }
    LPBYTE Place(UINT nAddrID) {
        USHORT nNo = 0, nPos = 0;
        GetBufferNoFromAddrID(nAddrID, nNo, nPos);
        return (nNo & BSON_SECTION_MARK ? m_lpBsonSectionArray[(nNo & 0x7FFF) - 1] : GetBufferSection(nNo)) + nPos;
    }
};

/** Walks all records of a kind by the links and compares their numbers and flags. */
template <typename T>
void WalkLinked(CProbe& stBson, BYTE bType, USHORT nNo, UINT nCount, UINT T::*lpNumber, BYTE bFirst) {
    UINT nFound = 0;
    for (USHORT nBefore = 0; nNo != 0; nBefore = nNo, nNo = stBson.Link(nNo).m_sNextSectionNo) {
        const UINT nEnd = stBson.Head(nNo).m_nSectionDataSize;
        ASSERT_EQ(stBson.Head(nNo).m_bSectionType, bType);
        ASSERT_EQ(stBson.Link(nNo).m_sPreSectionNo, nBefore);
        ASSERT_EQ((nEnd - 16) % sizeof(T), 0u);
        const bool bLast = stBson.Link(nNo).m_sNextSectionNo == 0;
        for (UINT nPos = 16; nPos < nEnd; nPos += sizeof(T)) {
            const T& stRecord = *reinterpret_cast<T*>(stBson.GetBufferSection(nNo) + nPos);
            const UINT nNumber = stRecord.*lpNumber;
            ASSERT_EQ(nNumber, nFound++);
            const bool bEnd = !bLast && nPos + sizeof(T) == nEnd;
            ASSERT_EQ(stRecord.m_bFlag, bEnd ? SECTION_LAST : nPos == 16 && nBefore != 0 ? bFirst : 0);
        }
    }
    EXPECT_EQ(nFound, nCount);
}

TEST(BaseBsonSection, HoldsManyRecordsStepsAndBlocks) {
    constexpr UINT COUNT = 200000;
    const CChunkFault stCount;
    CProbe stBson;
    stBson.SetDefaultBufferSectionSize(16384); // some 1500 sections
    EXECUTEPLANBSON* lpPlan = nullptr;
    UINT nOffset = 0;
    ASSERT_EQ(stBson.AllocFromBsonBuffer(lpPlan, nOffset), ERR_OK);
    std::vector<UINT> arRecordID, arStepID, arBlockID;
    for (UINT i = 0; i < COUNT; ++i) {
        RECORDHEAD* lpRecord = nullptr;
        EXECUTESTEP* lpStep = nullptr;
        BLOCKINFO* lpBlock = nullptr;
        UINT nID = 0;
        ASSERT_EQ(stBson.AllocRecord(lpRecord, nID), ERR_OK);
        lpRecord->m_nRsFieldOffset = i;
        arRecordID.push_back(nID);
        ASSERT_EQ(stBson.AllocStep(lpStep, nOffset), ERR_OK);
        lpStep->m_nRecordAddrID = nID;
        lpStep->m_nNextPlanAddrID = i;
        arStepID.push_back(nOffset);
        ASSERT_EQ(stBson.AllocBlockInfo(lpBlock, nID), ERR_OK);
        lpBlock->m_nBlockNo = i;
        arBlockID.push_back(nID);
    }
    EXPECT_EQ(arRecordID[0], MakeAddrID(1, 16));
    EXPECT_EQ(arStepID[0], MakeAddrID(2, 16));
    EXPECT_EQ(arBlockID[0], MakeAddrID(3, 12));

    // Chained and sized, and once more after further records.
    for (int nTurn = 0; nTurn < 2; ++nTurn) {
        stBson.SetSectionOffset();
        UINT nEnd = stBson.GetBsonDataSize();
        for (USHORT nNo = 1; nNo <= stBson.GetBufferSectionNum(); ++nNo) {
            ASSERT_GT(stBson.Head(nNo).m_nSectionDataSize, 12u);
            nEnd += stBson.Head(nNo).m_nSectionDataSize;
            ASSERT_EQ(stBson.Head(nNo).m_nNextSectionOffset, nNo == stBson.GetBufferSectionNum() ? 0 : nEnd);
        }
        EXPECT_EQ(stBson.GetExecutePlanDataSize(), nEnd);
        WalkLinked(stBson, SECTION_RECORD, 1, COUNT + nTurn, &RECORDHEAD::m_nRsFieldOffset, 0);
        WalkLinked(stBson, SECTION_STEP, 2, COUNT, &EXECUTESTEP::m_nNextPlanAddrID, SECTION_FIRST);
        RECORDHEAD* lpRecord = nullptr;
        ASSERT_EQ(stBson.AllocRecord(lpRecord, nOffset), ERR_OK);
        lpRecord->m_nRsFieldOffset = COUNT;
    }
    for (UINT i = 0; i < COUNT; ++i) {
        const BLOCKINFO& stBlock = *reinterpret_cast<BLOCKINFO*>(stBson.Place(arBlockID[i]));
        const bool bFirst = i != 0 && arBlockID[i - 1] >> 16 != arBlockID[i] >> 16;
        const bool bLast = i + 1 != COUNT && arBlockID[i + 1] >> 16 != arBlockID[i] >> 16;
        const EXECUTESTEP& stStep = *reinterpret_cast<EXECUTESTEP*>(stBson.Place(arStepID[i]));
        ASSERT_TRUE(stBlock.m_nBlockNo == i && stStep.m_nNextPlanAddrID == i) << i;
        ASSERT_EQ(stStep.m_nRecordAddrID, arRecordID[i]);
        ASSERT_EQ(reinterpret_cast<RECORDHEAD*>(stBson.Place(arRecordID[i]))->m_nRsFieldOffset, i);
        ASSERT_EQ(stBlock.m_bFlag, bLast ? SECTION_LAST : bFirst ? SECTION_FIRST : 0);
    }
}

// Whatever a section's size: each piece lies in a section whole, at a place that its id can name.
TEST(BaseBsonSection, FitsPiecesIntoSectionsOfAnySize) {
    std::mt19937 stRandom(3);
    for (const UINT nSection : {0u, 1u, 12u, 13u, 50u, 64u, 100u, 8192u, 16384u, 65536u, 70000u, 300000u}) {
        const CChunkFault stCount;
        CProbe stBson;
        stBson.SetDefaultBufferSectionSize(nSection);
        stBson.SetAllowBsonSection(1);
        std::vector<std::pair<LPBYTE, UINT>> arPiece;
        for (int i = 0; i < 100; ++i) {
            const UINT nSize = 1 + stRandom() % (i % 7 == 0 ? 90000 : 200);
            LPBYTE lpPiece = nullptr;
            RECORDHEAD* lpRecord = nullptr;
            UINT nID = 0;
            for (int nKind = 0; nKind < 3; ++nKind) {
                const int nCode = nKind == 0 ? stBson.AllocFromBufferSection(nSize, nID, lpPiece)
                                  : nKind == 1
                                      ? stBson.AllocFromBsonBufferSection(static_cast<int>(nSize), lpPiece, nID)
                                      : stBson.AllocRecord(lpRecord, nID);
                ASSERT_EQ(nCode, ERR_OK);
                if (nKind == 2) lpPiece = reinterpret_cast<LPBYTE>(lpRecord);
                const UINT nLen = nKind == 2 ? sizeof(RECORDHEAD) : nSize;
                ASSERT_EQ(stBson.Place(nID), lpPiece);
                ASSERT_EQ(std::count(lpPiece, lpPiece + nLen, 0), nLen);
                std::memset(lpPiece, 0xEE, nLen);
                arPiece.emplace_back(lpPiece, nLen);
            }
        }
        for (const auto& [lpPiece, nLen] : arPiece) // none was cleared by a later one
            ASSERT_EQ(std::count(lpPiece + 3, lpPiece + std::max(nLen, 3u), 0xEE), std::max(nLen, 3u) - 3);
    }
}

TEST(BaseBsonSection, KeepsBsonSectionsForTheNextUse) {
    CProbe stBson;
    LPBYTE lpPiece = nullptr, lpFirst = nullptr;
    UINT nID = 0;
    EXPECT_EQ(stBson.AllocFromBsonBufferSection(1, lpPiece, nID), ERR_MEMORY);
    stBson.SetAllowBsonSection(1);
    EXPECT_EQ(stBson.AllocFromBsonBufferSection(-1, lpPiece, nID), ERR_PARAMETER);
    ASSERT_EQ(stBson.AllocFromBsonBufferSection(65536, lpFirst, nID), ERR_OK);
    EXPECT_EQ(nID, 0x80010000);
    ASSERT_EQ(stBson.AllocFromBsonBufferSection(7, lpPiece, nID), ERR_OK);
    EXPECT_EQ(nID, 0x80020000);
    USHORT nNum = 0;
    UINT nPos = 0;
    stBson.GetBsonSectionPos(nNum, nPos);
    for (int i = 0; i < 9; ++i)
        ASSERT_EQ(stBson.AllocBsonBufferSection(0), ERR_OK);
    stBson.ResetBsonSectionPos(nNum, nPos);
    ASSERT_EQ(stBson.AllocFromBsonBufferSection(1, lpPiece, nID), ERR_OK);
    EXPECT_EQ(nID, 0x80020007);
    stBson.ResetBsonSectionPos(0, 0);
    ASSERT_EQ(stBson.AllocFromBsonBufferSection(1, lpPiece, nID), ERR_OK);
    EXPECT_EQ(lpPiece, lpFirst);
    // A raised default finds the old block too small.
    stBson.SetDefaultBufferSectionSize(100000);
    ASSERT_EQ(stBson.AllocFromBsonBufferSection(90000, lpPiece, nID), ERR_OK);
    EXPECT_EQ(std::count(lpPiece, lpPiece + 90000, 0), 90000);
}

TEST(BaseBsonSection, EndsAtTheLastNumber) {
    CProbe stBson;
    LPBYTE lpSection = nullptr;
    // Only heads are touched, so the address space is all it costs.
    for (int i = 1; i <= 65535; ++i)
        ASSERT_EQ(stBson.AllocBufferSection(16, lpSection), ERR_OK);
    EXPECT_EQ(stBson.GetBufferSection(65535), lpSection);
    const UINT nSize = stBson.GetExecutePlanDataSize();
    EXPECT_EQ(stBson.AllocBufferSection(16, lpSection), ERR_MEMORY);
    EXPECT_EQ(stBson.GetExecutePlanDataSize(), nSize);
    stBson.Free();
    for (int i = 1; i <= 32767; ++i)
        ASSERT_EQ(stBson.AllocBsonBufferSection(0), ERR_OK) << i;
    EXPECT_EQ(stBson.AllocBsonBufferSection(0), ERR_MEMORY);
    EXPECT_EQ(stBson.m_nBsonSectionNum, 32767);
}

TEST(BaseBsonSection, PutsSectionsIntoTheTopmostMaster) {
    CProbe stTop, stMiddle, stBson;
    stBson.m_pMasterBson = &stMiddle;
    stMiddle.m_pMasterBson = &stTop;
    RECORDHEAD* lpRecord = nullptr;
    EXECUTESTEP* lpStep = nullptr;
    BLOCKINFO* lpBlock = nullptr;
    UINT nID = 0;
    EXPECT_EQ(stBson.GetFreeSectionAddrID(), 0u);
    ASSERT_EQ(stBson.AllocRecord(lpRecord, nID), ERR_OK);
    ASSERT_EQ(stMiddle.AllocStep(lpStep, nID), ERR_OK);
    ASSERT_EQ(stBson.AllocBlockInfo(lpBlock, nID), ERR_OK);
    EXPECT_EQ(nID, MakeAddrID(3, 12));
    EXPECT_EQ(stBson.GetFreeSectionAddrID(), MakeAddrID(3, 40));
    EXPECT_EQ(stTop.GetExecutePlanDataSize(), 16u + 48 + 16 + 28 + 12 + 28);
    EXPECT_TRUE(stTop.GetBufferSectionNum() == 3 && stBson.GetBufferSectionNum() == 0);
    EXPECT_TRUE(stBson.GetBufferSection(3) == stTop.GetBufferSection(3) && !stBson.GetBufferSection(4));
    EXPECT_EQ(stBson.GetBufferSection(0), nullptr);
    LPBYTE lpPiece = nullptr;
    EXPECT_EQ(stBson.AllocFromBufferSection(0xFFFFFFFF, nID, lpPiece), ERR_MEMORY);
    // The plan's size ends with its 32 bits.
    stTop.m_nExecutePlanDataSize = UINT_MAX - 16 - 47;
    EXPECT_EQ(stBson.AllocRecord(lpRecord, nID), ERR_MEMORY);
    EXPECT_EQ(stTop.GetBufferSectionNum(), 3);
    EXPECT_EQ(stBson.AllocBlockInfo(lpBlock, nID), ERR_OK);
}

} // namespace
