#include "BaseBson.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "ChunkFault.h"
#include "Fields.h"

namespace {

/** Leaves memory in the thread's cache that isn't zero, as a former statement would. */
void SoilCache() {
    void* lpChunk = KestroChunkAlloc(0x100800);
    std::memset(lpChunk, 0xA5, 0x100800);
    KestroChunkFree(lpChunk);
}

std::string Sizes(CBaseBson& stBson) {
    struct CProbe : CBaseBson {
        using CBaseBson::m_nFreeBufferSize;
    };
    std::ostringstream st;
    st << stBson.GetBsonDataSize() << ' ' << stBson.GetExecutePlanDataSize() << ' '
       << stBson.*(&CProbe::m_nFreeBufferSize);
    return st.str();
}

/**
 * B<n> makes a buffer, R<n> moves it, S<n> sets the start offset, A<n> appends, E<n> appends aligned, T appends a
 * record of 32 bytes, C<pos>+<n> claims, L<n> sets the length, Z empties, V<n> allows bson sections. Each A, E, T and C
 * answers its offset or "!" and its code; at the end stand the bytes in use, of the plan and left.
 */
std::string Play(const std::string& strScript) {
    CBaseBson stBson;
    std::ostringstream stResult;
    std::istringstream stScript(strScript);
    for (char cVerb; stScript >> cVerb;) {
        UINT nSize = 0;
        UINT nOffset = 777;
        LPBYTE lpPointer = nullptr;
        OBJECTBSON* lpObject = nullptr;
        int nCode = ERR_OK;
        if (cVerb == 'C') {
            UINT nPos = 0;
            stScript >> nPos >> cVerb;
            lpPointer = stBson.GetBuffer() + nPos;
        }
        if (cVerb != 'T' && cVerb != 'Z') stScript >> nSize;
        if (cVerb == 'B') nCode = stBson.AllocBsonBuffer(nullptr, nSize);
        if (cVerb == 'R') nCode = stBson.ReAllocBsonBuffer(nSize);
        if (cVerb == 'S') stBson.SetBsonStartOffset(nSize);
        if (cVerb == 'L') stBson.SetDataLen(nSize);
        if (cVerb == 'V') stBson.SetAllowBsonSection(static_cast<BOOL>(nSize));
        if (cVerb == 'Z') stBson.ResetBuffer();
        if (cVerb == 'E') nCode = stBson.AllocFromBsonBufferEx(nSize, nOffset, lpPointer);
        if (cVerb == 'T') nCode = stBson.AllocFromBsonBuffer(lpObject, nOffset);
        if (cVerb == 'A' || cVerb == '+') nCode = stBson.AllocFromBsonBuffer(nSize, nOffset, lpPointer);
        if (nCode != ERR_OK)
            stResult << '!' << nCode << ' ';
        else if (nOffset != 777)
            stResult << std::hex << nOffset << std::dec << ' ';
    }
    return stResult.str() + "| " + Sizes(stBson);
}

TEST(BaseBson, TakesBytesOfTheMainBuffer) {
    ExpectRows(
        {// Blocks come in steps of 64 KB, one more when the sum is a multiple.
         "B0 => | 0 0 65424", "B65423 => | 0 0 65424", "B65424 => | 0 0 130960", "B65536 => | 0 0 130960",
         "B130960 => | 0 0 196496", "B4294967295 B4294901648 => !3 !3 | 0 0 0",
         // Without a buffer the request makes one; nothing asked for is nothing done.
         "A0 E0 => 0 0 | 0 0 0", "A1 => 0 | 1 1 130959", "A65536 => 0 | 65536 65536 130960", "E1 => 0 | 1 1 130959",
         "T => 0 | 32 32 130928", "A4294967295 => !3 | 0 0 0",
         // To the last byte, and one more.
         "B0 A65424 A0 A1 T E1 => 0 0 !3 !3 !3 | 65424 65424 0", "B0 A65392 T => 0 ff70 | 65424 65424 0",
         "B0 A65393 T A4294967295 E4294967295 => 0 !3 !3 !3 | 65393 65393 31",
         // Aligned pieces: the pad counts as used, but not against what is left.
         "B0 A1 E3 E1 A1 => 0 4 8 9 | 10 10 65418", "B0 A65419 E5 E4 => 0 !3 ff8c | 65424 65424 1",
         // Claims put the end behind themselves; none reaches beyond the buffer.
         "B0 A100 C40+8 C90+20 C50+10 => 0 28 5a 32 | 60 60 65286",
         "B0 A100 C65424+1 C65423+1 C65424+0 => 0 !25 ff8f 0 | 65424 65424 65323",
         "B0 A9 C0+65425 C10+65415 C65425+1 => 0 !25 !25 !25 | 9 9 65415",
         "S100 B0 A120 A8 L200 Z A3 => ffffff9c 14 ffffff9c | 3 4294967199 65421", "B0 A9 L70000 => 0 | 65424 9 65415",
         "B0 A65424 R65424 A1 R0 => 0 ff90 !25 | 65425 65425 65535",
         "B0 A100 R70000 A1 R0 A1 => 0 64 65 | 102 102 65322", "R9 T => 0 | 32 32 65392",
         // The overflow of the main buffer: ids instead of offsets, and the plan doesn't grow.
         "V1 B0 A65000 A1000 T A70000 A1 A424 => 0 80010000 fde8 80020000 fe08 80030000 | 65033 65033 391"},
        Play);
}

// A buffer that clears only what it must is one that was zero from end to end: the same bytes, whatever memory held.
TEST(BaseBson, HoldsNoStaleByte) {
    std::mt19937 stRandom(7);
    for (int nRound = 0; nRound < 200; ++nRound) {
        SoilCache();
        CBaseBson stBson;
        ASSERT_EQ(stBson.AllocBsonBuffer(nullptr, 0), ERR_OK);
        std::vector<BYTE> arModel(stBson.GetBsonBufferSize());
        for (int i = 0; i < 60; ++i) {
            const UINT nSize = stRandom() % 900;
            const UINT nPos = stRandom() % (stBson.GetBsonDataSize() + 300);
            LPBYTE lpPiece = nullptr;
            UINT nOffset = 0;
            const UINT nEnd = stBson.GetBsonDataSize();
            const int nVerb = static_cast<int>(stRandom() % 25 == 0 ? 6 : stRandom() % 6);
            if (nVerb == 0) lpPiece = stBson.GetBuffer() + nPos;
            if (nVerb == 1) {
                ASSERT_EQ(stBson.AllocFromBsonBufferEx(nSize, nOffset, lpPiece), ERR_OK);
                std::fill_n(arModel.data() + nEnd, nSize == 0 ? 0 : nOffset - nEnd, 0); // the pad
            } else if (nVerb == 2) {
                stBson.SetDataLen(nPos);
            } else if (nVerb == 3) {
                const std::vector<BYTE> arByte(nSize, 0x77);
                ASSERT_TRUE(stBson.AppendBuffer(arByte.data(), static_cast<int>(nSize)));
                std::fill_n(arModel.data() + stBson.GetBsonDataSize() - nSize, nSize, 0x77);
            } else if (nVerb == 4) {
                ASSERT_EQ(stBson.ReAllocBsonBuffer(65424 + nSize), ERR_OK);
                arModel.resize(stBson.GetBsonBufferSize());
            } else if (nVerb == 6) {
                stBson.ResetBuffer(); // the next plan
                std::ranges::fill(arModel, 0);
            } else {
                ASSERT_EQ(stBson.AllocFromBsonBuffer(nSize, nOffset, lpPiece), ERR_OK);
                std::fill_n(arModel.data() + nOffset, nSize, 0);
            }
            // Every second byte handed out is written.
            for (UINT n = 0; lpPiece && (nVerb < 2 || nVerb == 5) && n < nSize; n += 2)
                arModel[nOffset + n] = lpPiece[n] = static_cast<BYTE>(i + 1);
            ASSERT_EQ(std::memcmp(stBson.GetBuffer(), arModel.data(), stBson.GetBsonDataSize()), 0)
                << nRound << ' ' << i;
        }
        EXPECT_EQ(std::string(reinterpret_cast<char*>(stBson.GetBuffer()) - 112, 112), std::string(112, '\0'));
    }
}

TEST(BaseBson, AdoptsAndDetaches) {
    BYTE arBlock[100];
    std::memset(arBlock, 0x5A, sizeof arBlock);
    CBaseBson stBson;
    ASSERT_EQ(stBson.AllocBsonBuffer(nullptr, 0), ERR_OK);
    stBson.SetBuffer(arBlock, 100, 88);
    EXPECT_EQ(stBson.GetExecutePlan(), reinterpret_cast<EXECUTEPLANBSON*>(arBlock));
    LPBYTE lpPiece = nullptr;
    UINT nOffset = 0;
    EXPECT_EQ(stBson.AllocFromBsonBuffer(13, nOffset, lpPiece), ERR_MEMORY);
    EXPECT_EQ(stBson.AllocFromBsonBufferEx(4, nOffset, lpPiece), ERR_OK);
    EXPECT_EQ(*lpPiece, 0x5A);
    EXPECT_EQ(stBson.GetOffset(lpPiece), 88u);
    EXPECT_TRUE(stBson.AppendInt64(-2) && !stBson.AppendByte(1) && !stBson.AppendBuffer(arBlock, -1));
    EXPECT_EQ(arBlock[92] << 8 | arBlock[99], 0xFEFF);
    const std::tuple<UINT, UINT, LPBYTE> ROWS[] = {
        {0, 0, nullptr},     {0, 1, arBlock + 1},      {0, 99, arBlock + 99},    {0, 100, nullptr},
        {9, 0, arBlock + 9}, {9, 0xFFFFFFF7, nullptr}, {0, 0xFFFFFFFF, nullptr}, {9, 91, nullptr}};
    for (const auto& [nStart, nPlace, lpAddr] : ROWS) {
        stBson.SetBsonStartOffset(nStart);
        EXPECT_EQ(stBson.ConvertOffset2Addr(nPlace), lpAddr) << nPlace;
    }
    EXPECT_EQ(stBson.DetachBuffer(), arBlock);
    EXPECT_FALSE(stBson.GetBuffer() || stBson.GetBsonBufferSize() || stBson.ConvertOffset2Addr(1));
}

TEST(BaseBson, WritesFieldData) {
    const auto Written = [](BYTE bFieldType, st_VARDATA& stValue, LPBYTE lpPlace = nullptr) {
        CBaseBson stBson;
        const int nCode = stBson.WriteFieldData(bFieldType, 99, stValue, lpPlace);
        std::ostringstream st;
        if (nCode != ERR_OK) st << '!' << nCode;
        for (UINT i = 0; i < stBson.GetBsonDataSize(); ++i)
            st << std::hex << (stBson.GetBuffer()[i] >> 4) << (stBson.GetBuffer()[i] & 15);
        return st.str();
    };
    st_VARDATA stNumber, stText;
    stNumber.SetData(0x0102030405060708LL);
    stText.SetData("abc", 3, 0);
    EXPECT_EQ(Written(VT_INT, stNumber), "6308070605");
    for (const BYTE bType : {VT_BIGINT, VT_DOUBLE, VT_DATETIME})
        EXPECT_EQ(Written(bType, stNumber), "630807060504030201");
    EXPECT_EQ(Written(VT_TINYINT, stNumber), "6308");
    EXPECT_EQ(Written(VT_SMALLINT, stNumber), "630807");
    for (const BYTE bType : {VT_CHAR, VT_VARCHAR, VT_CLOB, VT_BLOB})
        EXPECT_EQ(Written(bType, stText), "6303000000616263");
    for (const BYTE bType : {VT_EMPTY, VT_NULL, VT_DECIMAL, VT_TIME, VT_JSON})
        EXPECT_EQ(Written(bType, stText), "");
    stText.m_nStrLen = -1;
    EXPECT_EQ(Written(VT_VARCHAR, stText), "!25");
    stText.m_nStrLen = 0x7FFFFFFF;
    EXPECT_EQ(Written(VT_VARCHAR, stText, reinterpret_cast<LPBYTE>(&stText)), "!25");
}

TEST(BaseBson, GivesScratchMemory) {
    SoilCache();
    CBaseBson stBson;
    LPBYTE lpFirst = nullptr, lpPiece = nullptr;
    ASSERT_EQ(stBson.AllocFromBufferPool(10, lpFirst, 1), ERR_OK); // from the pool: there is no block yet
    EXPECT_EQ(std::count(lpFirst, lpFirst + 10, 0), 10);
    ASSERT_EQ(stBson.AllocBsonBuffer(nullptr, 0), ERR_OK);
    ASSERT_EQ(stBson.AllocFromBufferPool(5, lpFirst, 0), ERR_OK);
    ASSERT_EQ(stBson.AllocFromBufferPool(131062, lpPiece, 1), ERR_OK);
    EXPECT_EQ(lpPiece, lpFirst + 8);
    EXPECT_EQ(std::count(lpPiece, lpPiece + 131064, 0), 131064);
    ASSERT_EQ(stBson.AllocFromBufferPool(1, lpPiece, 1), ERR_OK);
    EXPECT_TRUE(lpPiece < lpFirst || lpPiece >= lpFirst + 131072);
    EXPECT_EQ(stBson.AllocFromBufferPool(0xFFFFFFFF, lpPiece, 1), ERR_MEMORY);
    stBson.ResetTempDataPos(8);
    ASSERT_EQ(stBson.AllocFromBufferPool(1, lpPiece, 0), ERR_OK);
    EXPECT_EQ(lpPiece, lpFirst + 8);
}

TEST(BaseBson, FindsTheTextsOfAMultiValue) {
    BYTE arBlock[64] = {};
    CBaseBson stBson;
    stBson.SetBuffer(arBlock, 64, 64);
    alignas(8) BYTE arRun[st_MULTIVARDATA::Size(4)] = {};
    auto* const lpRun = reinterpret_cast<st_MULTIVARDATA*>(arRun);
    lpRun->m_bNum = 4;
    st_VARDATA* const lpValue = lpRun->m_arrVarData;
    const BYTE TYPES[] = {VT_VARCHAR, VT_BLOB, VT_BIGINT, VT_VARCHAR};
    for (UINT i = 0; i < 4; ++i) {
        lpValue[i].m_vt = TYPES[i];
        lpValue[i].m_nStringDataOffset = i == 3 ? 0 : 10 + i;
    }
    lpRun->GetMultiStringData(&stBson);
    EXPECT_EQ(lpValue[0].m_lpValue, arBlock + 10);
    EXPECT_EQ(lpValue[1].m_lpValue, arBlock + 11);
    EXPECT_EQ(lpValue[2].m_llValue, 0);
    EXPECT_EQ(lpValue[3].m_lpValue, nullptr);
}

// Blocks of one object for another: they go back, and a token of a foreign source isn't freed here.
TEST(BaseBson, TakesBlocksFromAnotherObject) {
    struct CSource : CBaseBson {
        ~CSource() override { Free(); }
        int AllocMemoryBufferPool(LPBYTE& lpBlock, UINT& nSize, void*& lpToken, int bZero) override {
            ++m_nTaken;
            return CBaseBson::AllocMemoryBufferPool(lpBlock, nSize, lpToken, bZero);
        }
        void FreeMemoryBufferPool(LPBYTE lpBlock, void* lpToken) override {
            ++m_nGiven;
            CBaseBson::FreeMemoryBufferPool(lpBlock, lpToken);
        }
        int m_nTaken = 0, m_nGiven = 0;
    };
    const CChunkFault stCount;
    CSource stSource;
    {
        CBaseBson stBson;
        ASSERT_EQ(stBson.AllocBsonBuffer(&stSource, 9), ERR_OK);
        LPBYTE lpPiece = nullptr;
        for (int i = 0; i < 3; ++i)
            ASSERT_EQ(stBson.AllocFromBufferPool(16380, lpPiece, 0), ERR_OK);
        ASSERT_EQ(stBson.ReAllocBsonBuffer(99), ERR_OK);
        EXPECT_EQ(stSource.m_nTaken, 4); // main block, scratch block, a page of scratch, the second main block
        EXPECT_EQ(stSource.m_nGiven, 1);
        ASSERT_EQ(stBson.AllocBsonBuffer(nullptr, 9), ERR_OK);
        EXPECT_EQ(stSource.m_nGiven, 4);
    }
    LPBYTE lpBlock = nullptr;
    UINT nSize = 1;
    void* lpToken = nullptr;
    ASSERT_EQ(stSource.AllocMemoryBufferPool(lpBlock, nSize, lpToken, 0), ERR_OK);
    stSource.FreeMemoryBufferPool(lpBlock, &stSource);
    *lpBlock = 1;
}

/** Everything that takes memory; answers the first code, and what then has changed is a fault. */
int TakeEverything(CBaseBson& stBson) {
    LPBYTE lpPiece = nullptr;
    LPBYTE* arPointer = nullptr;
    UINT nOffset = 0;
    RECORDHEAD* lpRecord = nullptr;
    if (const int nCode = stBson.AllocBsonBuffer(nullptr, 200000)) return nCode;
    stBson.SetAllowBsonSection(1);
    stBson.SetDefaultBufferSectionSize(200000);
    for (int i = 0; i < 60; ++i) {
        const std::string strBefore = Sizes(stBson);
        const USHORT nSectionNum = stBson.GetBufferSectionNum();
        int nCode = ERR_OK;
        if (i % 5 == 0) nCode = stBson.AllocFromBsonBuffer(150000, nOffset, lpPiece = nullptr);
        if (i % 5 == 1) nCode = stBson.AllocFromBufferPool(300000, lpPiece, 0);
        if (i % 5 == 2) nCode = stBson.AllocBufferSection(200000, lpPiece);
        if (i % 5 == 3) nCode = stBson.AllocRecord(lpRecord, nOffset);
        if (i % 5 == 4) nCode = i == 59 ? stBson.ReAllocBsonBuffer(400000) : stBson.AllocBsonMetaData(100, arPointer);
        if (nCode == ERR_OK) continue;
        EXPECT_EQ(Sizes(stBson), strBefore) << i;
        EXPECT_EQ(stBson.GetBufferSectionNum(), nSectionNum) << i;
        return nCode;
    }
    return ERR_OK;
}

TEST(BaseBson, SurvivesEveryShortage) {
    bool bCameTrue = true;
    for (std::int64_t nNth = 1; bCameTrue; ++nNth) {
        CChunkFault stFault(nNth);
        CBaseBson stBson;
        const int nCode = TakeEverything(stBson);
        bCameTrue = stFault.CameTrue();
        EXPECT_EQ(nCode, bCameTrue ? ERR_MEMORY : ERR_OK) << nNth;
        // What was built is whole, and the next request finds memory again.
        stBson.SetSectionOffset();
        LPBYTE lpSection = nullptr;
        EXPECT_EQ(stBson.AllocBufferSection(64, lpSection), ERR_OK);
        EXPECT_EQ(stBson.GetBufferSection(stBson.GetBufferSectionNum()), lpSection);
        OBJECTBSON* lpObject = nullptr;
        UINT nOffset = 0;
        EXPECT_EQ(stBson.AllocFromBsonBuffer(lpObject, nOffset), ERR_OK);
        stBson.Free();
        EXPECT_FALSE(stBson.GetBuffer() || stBson.GetBufferSectionNum() || stBson.GetExecutePlanDataSize());
        EXPECT_EQ(TakeEverything(stBson), ERR_OK);
        ASSERT_LT(nNth, 200);
    }
}

} // namespace
