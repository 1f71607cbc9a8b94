#include "ChunkCache.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <future>
#include <random>
#include <utility>
#include <vector>

#include "ChunkFault.h"

TEST(ChunkCache, AChunkThatComesBackHoldsWhatIsAsked) {
    CChunkFault stBalance;
    std::mt19937 stRandom(7);
    for (int i = 0; i < 4000; ++i) {
        const std::size_t nSize = (std::size_t{1} << stRandom() % 24) + stRandom() % 96;
        char* const lpChunk = static_cast<char*>(KestroChunkAlloc(nSize));
        ASSERT_NE(lpChunk, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(lpChunk) % 16, 0u);
        EXPECT_GE(malloc_usable_size(lpChunk - 16), nSize + 16) << nSize;
        KestroChunkFree(lpChunk);
        EXPECT_LE(KestroChunkCount().m_nCachedBytes, CHUNK_CACHE_BYTES);
        // The last freed always has a place, however full the cache is of other sizes.
        if (void* lpAgain = nSize < 4 << 20 && nSize > 1024 && CHUNK_CACHE_BYTES ? KestroChunkAlloc(nSize) : nullptr) {
            EXPECT_EQ(lpAgain, lpChunk);
            KestroChunkFree(lpAgain);
        }
    }
    EXPECT_EQ(KestroChunkAlloc(SIZE_MAX - 8), nullptr);
}

TEST(ChunkCache, ChunksWanderBetweenThreads) {
    std::promise<std::vector<void*>> arrGiven[2];
    const auto Work = [&arrGiven](std::size_t nThread) {
        std::vector<void*> arrOwn;
        for (std::size_t i = 0; i < 300; ++i) {
            arrOwn.push_back(KestroChunkAlloc(2000 + 100 * (i % 50)));
            *static_cast<std::size_t*>(arrOwn.back()) = i;
            if (i % 3 == 0) KestroChunkFree(std::exchange(arrOwn.back(), nullptr));
        }
        arrGiven[nThread].set_value(arrOwn);
        for (void* lpChunk : arrGiven[1 - nThread].get_future().get())
            KestroChunkFree(lpChunk);
        return KestroChunkCount().m_nLiveBytes;
    };
    auto stFirst = std::async(std::launch::async, Work, 0);
    auto stSecond = std::async(std::launch::async, Work, 1);
    EXPECT_EQ(stFirst.get() + stSecond.get(), 0);
}
