#include "KestroBufferPool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <random>
#include <sstream>
#include <vector>

#include "ChunkFault.h"
#include "Fields.h"

namespace {

/** A pool that prints its pages as limit:position, those open and, behind a "|", those out of use. */
template <typename POOL>
struct CProbe : POOL {
    std::string Print() const {
        std::ostringstream stText;
        if constexpr (std::is_same_v<POOL, CKestroBufferPoolEx>) stText << '@' << this->m_nBufferPos << ' ';
        for (const auto* p = this->m_lpCurrentPool; p; p = p->m_pNext)
            stText << p->m_nSize << ':' << p->m_nPos << ' ';
        stText << '|';
        for (const auto* p = this->m_lpBufferPool; p; p = p->m_pNext)
            stText << ' ' << p->m_nSize << ':' << p->m_nPos;
        return stText.str();
    }
};

/** Plays a script: A allocates, P sets the page size, R resets, F frees. */
template <typename POOL>
std::string Play(const std::string& strScript) {
    CProbe<POOL> stPool;
    std::istringstream stScript(strScript);
    UINT nSize = 0;
    for (char cVerb; stScript >> cVerb;) {
        if (cVerb == 'A' || cVerb == 'P') stScript >> nSize;
        if (cVerb == 'A' && !stPool.AllocBuffer(nSize)) return "null";
        if (cVerb == 'P') stPool.SetPoolPageSize(nSize);
        if (cVerb == 'R') stPool.ResetBuffer();
        if (cVerb == 'F') stPool.Free();
    }
    return stPool.Print();
}

TEST(KestroBufferPool, PagesFollowTheRules) {
    CChunkFault stBalance;
    ExpectRows(
        {"A8 A8 A0 => 0:32 | 24:24 32:32", "P1000 A1 A2 A3 A4 A5 A0 => 1040:48 |", "P1000 A1008 A4 => 1040:1036 |",
         "P1000 A1012 A4 => 1040:28 | 1040:1036", "P1000 A4 A1013 => 1040:1040 | 1040:28",
         "P1000 A4 A1017 => 1040:28 | 1044:1044", "P1000 A5000 A4 => 1040:28 | 1040:5024",
         "P4000 A2988 A2000 => 4040:2024 4040:3012 |", "P4000 A2992 A2000 => 4040:2024 | 4040:3016",
         "P4000 A2000 A3100 A1000 => 4040:3024 | 4040:3124",
         "P4000 A2000 A3100 A1000 A5000 R => 4040:24 5024:24 4040:24 |",
         "P1000 A4 A5000 R A3000 => 5024:3024 1040:24 |", "P2000 A1500 P4000 A3000 R A3000 => 2040:24 4040:3024 |",
         "P2000 A1500 P4000 A3000 R A3000 R => 2040:24 4040:3024 |", "P1000 A8 A4000 F => |"},
        Play<CKestroBufferPool>);
    ExpectRows({"P1000 A400 A100 A7 => @508 |", "P1000 A400 A109 A8 => @400 1040:144 |",
                "P1000 A400 A200 R => @0 1040:24 |", "P1000 A400 A200 F A8 => @408 |"},
               Play<CKestroBufferPoolEx>);
    ExpectRows({"A8 A8 => 32:32 | 32:32", "P1000 A5000 A4 => 1040:28 | 5024:5024",
                "P4000 A2000 A2500 A1800 => 4040:2524 4040:3824 |",
                "P4000 A2000 A2500 A1800 A1700 => 4040:1724 4040:2524 | 4040:3824"},
               Play<CKestroBufferPoolEx2>);
}

// Stands in for the plan buffer: pages in whole 4 KB, each with a token.
int TakePage(CBaseBson*, LPBYTE& lpPage, UINT& nSize, void*& lpToken, int bZero) {
    EXPECT_EQ(bZero, 1);
    nSize = (nSize + 0xFFF) & ~0xFFFu;
    lpPage = static_cast<LPBYTE>(KestroChunkAlloc(nSize));
    lpToken = lpPage + 1;
    return lpPage ? 0 : 3;
}

void GivePage(CBaseBson*, LPBYTE lpPage, void* lpToken) {
    EXPECT_EQ(lpToken, lpPage + 1);
    KestroChunkFree(lpPage);
}

/** Fills each piece and finds at the end what it wrote: no piece overlaps another. Answers whether a page failed. */
bool FillPieces(CKestroBufferPool&& stPool, unsigned nSeed, std::int64_t nFault) {
    std::mt19937 stRandom(nSeed);
    std::vector<std::basic_string_view<BYTE>> arrPiece;
    stPool.SetPoolPageSize(1000 + nSeed % 3000);
    CChunkFault stFault(nFault);
    for (int i = 0; i < 600; ++i) {
        const UINT nSize = 1 + stRandom() % (stRandom() % 20 == 0 ? 9000 : 90);
        const bool bClear = stRandom() % 2;
        const auto lpPiece = static_cast<LPBYTE>(bClear ? stPool.AllocBufferEx(nSize) : stPool.AllocBuffer(nSize));
        EXPECT_TRUE(lpPiece || nFault != 0);
        if (lpPiece) {
            EXPECT_TRUE(!bClear || std::count(lpPiece, lpPiece + nSize, 0) == nSize);
            std::fill_n(lpPiece, nSize, static_cast<BYTE>(i));
            arrPiece.emplace_back(lpPiece, nSize);
        }
        if (i % 150 != 149) continue;
        for (const auto& stPiece : arrPiece)
            EXPECT_EQ(stPiece.find_first_not_of(stPiece[0]), stPiece.npos);
        for (std::size_t j = 1; j < arrPiece.size(); ++j)
            EXPECT_NE(arrPiece[j - 1][0], arrPiece[j][0]);
        arrPiece.clear();
        if (i == 449 || i == 599) stPool.Free();
        stPool.ResetBuffer();
    }
    return stFault.CameTrue();
}

TEST(KestroBufferPool, PiecesKeepTheirBytesWhicheverPageFails) {
    g_stBsonPages = {TakePage, GivePage};
    bool bFailed = true;
    for (unsigned nFault = 0; bFailed || nFault == 1; ++nFault) {
        BYTE bBson;
        CKestroBufferPoolEx stEx;
        CKestroBufferPoolEx2 stEx2;
        stEx2.SetBson(reinterpret_cast<CBaseBson*>(&bBson));
        bFailed = FillPieces(CKestroBufferPool(), nFault, nFault);
        bFailed |= FillPieces(std::move(stEx), nFault, nFault);
        bFailed |= FillPieces(std::move(stEx2), nFault, nFault);
    }
    g_stBsonPages = {};
}

TEST(KestroBufferPool, ASizeThatNoPageCanStateIsRefused) {
    CKestroBufferPool stPool;
    for (const UINT nSize : {UINT_MAX, UINT_MAX - 3, UINT_MAX - 24, 0u, UINT_MAX, UINT_MAX - 3, UINT_MAX - 24})
        EXPECT_EQ(stPool.AllocBufferEx(nSize) == nullptr, nSize != 0) << nSize;
}

TEST(KestroBufferPoolDeathTest, NoPieceSurvivesAReset) {
    if (!KESTRO_ADDRESS_SANITIZER) GTEST_SKIP() << "only AddressSanitizer sees it";
    CKestroBufferPool stPool;
    const auto lpPiece = static_cast<LPBYTE>(stPool.AllocBuffer(100));
    stPool.ResetBuffer();
    EXPECT_DEATH(lpPiece[0] = 1, "use-after-poison");
}

} // namespace
