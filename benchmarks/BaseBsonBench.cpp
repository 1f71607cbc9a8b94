// The memory of one compilation from beginning to end: the plan buffer, some fifty records, scratch memory, and all of
// it given back. Beside it the heap: the same two blocks with the same records cut from them (malloc with the records
// cleared, calloc with the blocks cleared), and a block of the heap for each record.

#include <benchmark/benchmark.h>

#include <array>
#include <cstdlib>

#include "BaseBson.h"
#include "ChunkCache.h"

namespace {

constexpr std::size_t MAIN_BLOCK = 131072;
constexpr std::size_t SCRATCH_BLOCK = 131072;
constexpr UINT SCRATCH_PIECE = 2000;

/** The records of a query, ten times over; `Take(lpRecord)` sets the pointer to a zeroed record and answers its offset.
 */
template <typename TAKE>
void TakeRecords(TAKE Take) {
    for (int i = 0; i < 10; ++i) {
        OBJECTBSON* lpObject = nullptr;
        EXECUTEFIELDBSON* lpField = nullptr;
        st_MATHEXPBSON* lpExpression = nullptr;
        MATHEXPELEMENTBSON* lpElement = nullptr;
        BASECONDITIONBSON* lpCondition = nullptr;
        Take(lpObject);
        Take(lpField);
        lpField->m_nExpOffset = Take(lpExpression);
        lpExpression->m_nExpOffset1 = Take(lpElement);
        lpElement->m_bDataSource = SOURCE_FIELD;
        lpObject->m_nNextOffset = Take(lpCondition);
        benchmark::DoNotOptimize(lpCondition);
    }
}

void Use(void* lpScratch) {
    std::memset(lpScratch, 1, SCRATCH_PIECE);
    benchmark::ClobberMemory();
}

/** `kept` 0: the thread's cache is empty each time, so the pages are fresh from the kernel. */
void Compilation_BaseBson(benchmark::State& stState) {
    for (auto _ : stState) {
        if (stState.range(0) == 0) KestroChunkTrim();
        CBaseBson stBson;
        LPBYTE lpScratch = nullptr;
        if (stBson.AllocBsonBuffer(nullptr, 65536) != ERR_OK) return stState.SkipWithError("memory");
        if (stBson.AllocFromBufferPool(SCRATCH_PIECE, lpScratch, 0) != ERR_OK) return stState.SkipWithError("memory");
        Use(lpScratch);
        TakeRecords([&](auto*& lpRecord) {
            UINT nOffset = 0;
            if (stBson.AllocFromBsonBuffer(lpRecord, nOffset) != ERR_OK) std::abort();
            return nOffset;
        });
        stBson.Free();
    }
}
BENCHMARK(Compilation_BaseBson)->ArgName("kept")->Arg(1)->Arg(0);

/** The least that any arena does: two blocks, a counter, each record cleared unless the block is. */
template <bool CLEARED>
void Compilation_Blocks(benchmark::State& stState) {
    for (auto _ : stState) {
        char* const lpMain = static_cast<char*>(CLEARED ? std::calloc(1, MAIN_BLOCK) : std::malloc(MAIN_BLOCK));
        void* const lpScratch = std::malloc(SCRATCH_BLOCK);
        Use(lpScratch);
        UINT nPos = 200;
        TakeRecords([&](auto*& lpRecord) {
            using T = std::remove_reference_t<decltype(*lpRecord)>;
            void* const lpBytes = lpMain + nPos;
            if (!CLEARED) std::memset(lpBytes, 0, sizeof(T));
            lpRecord = static_cast<T*>(lpBytes);
            nPos += sizeof(T);
            return nPos;
        });
        std::free(lpScratch);
        std::free(lpMain);
    }
}
void Compilation_MallocBlocks(benchmark::State& stState) {
    Compilation_Blocks<false>(stState);
}
void Compilation_CallocBlocks(benchmark::State& stState) {
    Compilation_Blocks<true>(stState);
}
BENCHMARK(Compilation_MallocBlocks);
BENCHMARK(Compilation_CallocBlocks);

/** Cleared from end to end first, as a plan buffer without a high-water mark would be. */
void Compilation_MallocAndClear(benchmark::State& stState) {
    for (auto _ : stState) {
        void* const lpMain = std::malloc(MAIN_BLOCK);
        void* const lpScratch = std::malloc(SCRATCH_BLOCK);
        benchmark::DoNotOptimize(std::memset(lpMain, 0, MAIN_BLOCK));
        Use(lpScratch);
        std::free(lpScratch);
        std::free(lpMain);
    }
}
BENCHMARK(Compilation_MallocAndClear);

void Compilation_CallocRecords(benchmark::State& stState) {
    for (auto _ : stState) {
        std::array<void*, 64> arBlock;
        std::size_t nCount = 0;
        Use(arBlock[nCount++] = std::malloc(SCRATCH_PIECE));
        TakeRecords([&](auto*& lpRecord) {
            using T = std::remove_reference_t<decltype(*lpRecord)>;
            lpRecord = static_cast<T*>(arBlock[nCount++] = std::calloc(1, sizeof(T)));
            return static_cast<UINT>(nCount);
        });
        while (nCount != 0)
            std::free(arBlock[--nCount]);
    }
}
BENCHMARK(Compilation_CallocRecords);

// Records alone, in a buffer that is there.
void Records_BaseBson(benchmark::State& stState) {
    CBaseBson stBson;
    for (auto _ : stState) {
        TakeRecords([&](auto*& lpRecord) {
            UINT nOffset = 0;
            if (stBson.AllocFromBsonBuffer(lpRecord, nOffset) != ERR_OK) std::abort();
            return nOffset;
        });
        stBson.ResetBuffer();
    }
}
BENCHMARK(Records_BaseBson);

// A write-back's row: a record and a step in their sections.
void Section_RecordAndStep(benchmark::State& stState) {
    CBaseBson stBson;
    int nCount = 0;
    for (auto _ : stState) {
        RECORDHEAD* lpRecord = nullptr;
        EXECUTESTEP* lpStep = nullptr;
        UINT nAddrID = 0;
        if (++nCount % 100000 == 0) stBson.Free();
        if (stBson.AllocRecord(lpRecord, nAddrID) != ERR_OK || stBson.AllocStep(lpStep, nAddrID) != ERR_OK)
            std::abort();
        benchmark::DoNotOptimize(lpStep);
    }
}
BENCHMARK(Section_RecordAndStep);

} // namespace
