#include "KestroMemoryPool.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <sstream>
#include <vector>

#include "ChunkFault.h"
#include "Fields.h"

namespace {

struct CProbe : CKestroMemoryPool {
    static int Count(const auto* lpList) { return lpList ? 1 + Count(lpList->m_pNext) : 0; }
    /** Chunks to be cut, full and big, free blocks, counted and total bytes. */
    std::string Print() const {
        int nFree = 0;
        for (const auto* lpList : m_lpBufferPool)
            nFree += Count(lpList);
        std::ostringstream st;
        st << Count(m_lpFreePool) << ' ' << Count(m_lpFullPool) << ' ' << Count(m_lpBigPool) << ' ' << nFree << std::hex
           << ' ' << m_nAllocedSize << ' ' << m_nTotalSize;
        return st.str();
    }
};

/** A<hex> allocates, F<n> frees the n-th block, L<hex> sets the limit, X frees all, ! lets the next chunk fail. */
std::string Play(const std::string& strScript) {
    CProbe stPool;
    std::vector<LPBYTE> arrBlock;
    std::ostringstream stResult;
    std::istringstream stScript(strScript);
    for (char cVerb; stScript >> cVerb;) {
        std::int64_t nNumber = 0;
        if (cVerb == 'A' || cVerb == 'L' || cVerb == 'F') stScript >> std::hex >> nNumber;
        if (cVerb == 'L') stPool.SetMaxTotalSize(nNumber);
        if (cVerb == 'F') stPool.Free(arrBlock.at(static_cast<std::size_t>(nNumber)));
        if (cVerb == 'X') stPool.FreeAll();
        if (cVerb == '!') KestroChunkFailNth(1);
        if (cVerb != 'A') continue;
        UINT nSize = static_cast<UINT>(nNumber);
        arrBlock.push_back(stPool.Alloc(nSize));
        stResult << std::hex << nSize << (arrBlock.back() ? " " : "- ");
    }
    return stResult.str() + "| " + stPool.Print();
}

TEST(KestroMemoryPool, BlocksChunksAndTotals) {
    CChunkFault stBalance;
    ExpectRows(
        {"A0 A1 A4001 A10001 A20001 => 4000 4000 8000 20000 40000 | 1 0 0 0 100800 100800",
         "A40000 A40000 A40000 A38000 => 40000 40000 40000 40000 | 0 1 0 0 100800 100800",
         "A100000 A100000 A100000 A40000 A40000 A40000 A20000 A10000 A8000 A4000 => 100000 100000 100000 40000 "
         "40000 40000 20000 10000 8000 4000 | 1 0 0 0 400200 400200",
         "A40001 A80000 => 100000 100000 | 1 0 0 0 400200 400200",
         "A4000 A40001 => 4000 100000 | 2 0 0 0 500a00 500a00", "A40001 A4000 => 100000 4000 | 1 0 0 0 400200 400200",
         "A200001 A400000 => 400000 400000 | 0 2 0 0 800400 800400",
         "A20000 F0 A20000 F1 F1 F0 => 20000 20000 | 1 0 0 1 100800 100800",
         "A20000 F0 A4000 => 20000 4000 | 1 0 0 1 100800 100800",
         "A400001 A500000 F0 A500000 => 400001 500000 500000 | 0 0 2 0 a00000 e000c1",
         "A400001 A500000 F1 F0 => 400001 500000 | 0 0 0 0 0 900081",
         // Limits and shortage.
         "L100800 A4000 => 4000 | 1 0 0 0 100800 100800",
         "L1007FF A4000 F0 A4000 => 4000- 4000- | 0 0 0 0 201000 201000",
         "L400200 A400000 F0 A400000 => 400000 400000 | 0 1 0 0 400200 400200",
         "L4001FF A40001 => 100000- | 0 0 0 0 400200 400200",
         "L400001 A400001 A400001 => 400001 400001- | 0 0 1 0 400001 800082",
         "!A400001 A4000 => 400001- 4000 | 1 0 0 0 500801 500841", "!A4000 A4000 => 4000- 4000 | 1 0 0 0 201000 201000",
         "AFFFFFFFF AFFFFFFC0 => ffffffff- ffffffc0- | 0 0 0 0 1ffffffbf 20000003f",
         "L100800 A4000 A400001 X A20000 => 4000 400001- 20000 | 1 0 0 0 100800 100800"},
        Play);
}

TEST(KestroMemoryPool, BlocksLieApartWhicheverChunkFails) {
    bool bFailed = true;
    for (int nFault = 0; bFailed || nFault == 1; ++nFault) {
        CChunkFault stFault(nFault);
        CKestroMemoryPool stPool;
        std::mt19937 stRandom(5);
        std::map<LPBYTE, LPBYTE> mapEnd;
        for (unsigned i = 0; i < 300; ++i) {
            const UINT nAsked = 1 + stRandom() % (0x1000u << stRandom() % 12);
            UINT nSize = nAsked;
            LPBYTE const lpBlock = stPool.Alloc(nSize);
            ASSERT_TRUE(lpBlock || nFault != 0);
            ASSERT_GE(nSize, nAsked);
            if (lpBlock) {
                lpBlock[0] = lpBlock[nSize - 1] = 0xFF;
                const auto it = mapEnd.upper_bound(lpBlock);
                ASSERT_TRUE(it == mapEnd.end() || lpBlock + nSize < it->first);
                ASSERT_TRUE(it == mapEnd.begin() || std::prev(it)->second < lpBlock);
                mapEnd[lpBlock] = lpBlock + nSize;
            }
            while (mapEnd.size() > stRandom() % 20) {
                const auto it = std::next(mapEnd.begin(), static_cast<int>(stRandom() % mapEnd.size()));
                stPool.Free(it->first);
                mapEnd.erase(it);
            }
        }
        bFailed = stFault.CameTrue();
    }
}

} // namespace
