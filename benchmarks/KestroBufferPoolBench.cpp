// The pools beside the heap and the standard library's bump allocator, at the three things they are for: many small
// pieces given back at once, a pool that lives for one statement, and the large blocks of a plan buffer.

#include <benchmark/benchmark.h>
#include <sys/mman.h>

#include <array>
#include <cstdlib>
#include <memory_resource>

#include "ChunkCache.h"
#include "KestroBufferPool.h"
#include "KestroMemoryPool.h"

namespace {

constexpr UINT STATEMENT_PAGE = 16384;

/** Sizes as a compilation asks for them: mostly below a hundred bytes. */
constexpr std::array<UINT, 64> PIECE_SIZES = [] {
    std::array<UINT, 64> arrSize{};
    UINT nValue = 12345;
    for (UINT& nSize : arrSize) {
        nValue = nValue * 1664525 + 1013904223;
        nSize = 8 + (nValue >> 16) % (nValue >> 30 == 0 ? 200 : 60);
    }
    return arrSize;
}();

template <typename ALLOC>
void TakePieces(int nTimes, ALLOC Alloc) {
    for (int i = 0; i < nTimes; ++i)
        for (const UINT nSize : PIECE_SIZES) {
            void* lpPiece = Alloc(nSize);
            *static_cast<char*>(lpPiece) = 1;
            benchmark::DoNotOptimize(lpPiece);
        }
}

/** The heap takes its pieces back one by one. */
struct CHeapPieces {
    void* operator()(UINT nSize) { return m_arrPiece[m_nCount++] = std::malloc(nSize); }
    void FreeAll() {
        while (m_nCount != 0)
            std::free(m_arrPiece[--m_nCount]);
    }
    ~CHeapPieces() { FreeAll(); }

    std::size_t m_nCount = 0;
    void* m_arrPiece[16 * PIECE_SIZES.size()];
};

void PiecesThenReset_Pool(benchmark::State& stState) {
    CKestroBufferPoolEx2 stPool;
    stPool.SetPoolPageSize(0x10000);
    for (auto _ : stState) {
        TakePieces(16, [&](UINT nSize) { return stPool.AllocBuffer(nSize); });
        stPool.ResetBuffer();
    }
}
BENCHMARK(PiecesThenReset_Pool);

void PiecesThenReset_PoolByPointer(benchmark::State& stState) {
    CKestroBufferPool stPool;
    stPool.SetPoolPageSize(0x10000);
    CKestroBufferPool* lpPool = &stPool;
    for (auto _ : stState) {
        benchmark::DoNotOptimize(lpPool);
        TakePieces(16, [&](UINT nSize) { return lpPool->AllocBuffer(nSize); });
        lpPool->ResetBuffer();
    }
}
BENCHMARK(PiecesThenReset_PoolByPointer);

void PiecesThenReset_Monotonic(benchmark::State& stState) {
    static std::array<std::byte, 0x20000> arrBuffer;
    std::pmr::monotonic_buffer_resource stPool(arrBuffer.data(), arrBuffer.size());
    for (auto _ : stState) {
        TakePieces(16, [&](UINT nSize) { return stPool.allocate(nSize, 4); });
        stPool.release();
    }
}
BENCHMARK(PiecesThenReset_Monotonic);

void PiecesThenReset_Malloc(benchmark::State& stState) {
    CHeapPieces stHeap;
    for (auto _ : stState) {
        TakePieces(16, [&](UINT nSize) { return stHeap(nSize); });
        stHeap.FreeAll();
    }
}
BENCHMARK(PiecesThenReset_Malloc);

void PoolPerStatement_Pool(benchmark::State& stState) {
    for (auto _ : stState) {
        CKestroBufferPool stPool;
        stPool.SetPoolPageSize(STATEMENT_PAGE);
        TakePieces(static_cast<int>(stState.range(0)), [&](UINT nSize) { return stPool.AllocBuffer(nSize); });
    }
}
BENCHMARK(PoolPerStatement_Pool)->Arg(1)->Arg(16);

void PoolPerStatement_Monotonic(benchmark::State& stState) {
    for (auto _ : stState) {
        std::pmr::monotonic_buffer_resource stPool(STATEMENT_PAGE);
        TakePieces(static_cast<int>(stState.range(0)), [&](UINT nSize) { return stPool.allocate(nSize, 4); });
    }
}
BENCHMARK(PoolPerStatement_Monotonic)->Arg(1)->Arg(16);

void PoolPerStatement_Malloc(benchmark::State& stState) {
    for (auto _ : stState) {
        CHeapPieces stHeap;
        TakePieces(static_cast<int>(stState.range(0)), [&](UINT nSize) { return stHeap(nSize); });
    }
}
BENCHMARK(PoolPerStatement_Malloc)->Arg(1)->Arg(16);

void Touch(void* lpBlock, std::size_t nSize) {
    for (std::size_t i = 0; i < nSize; i += 4096)
        static_cast<volatile char*>(lpBlock)[i] = 1;
}

void Block128K_Pool(benchmark::State& stState) {
    CKestroMemoryPool stPool;
    for (auto _ : stState) {
        UINT nSize = 0x20000;
        LPBYTE lpBlock = stPool.Alloc(nSize);
        Touch(lpBlock, nSize);
        stPool.Free(lpBlock);
    }
}
BENCHMARK(Block128K_Pool);

void Block128K_Malloc(benchmark::State& stState) {
    for (auto _ : stState) {
        void* lpBlock = std::malloc(0x20000);
        Touch(lpBlock, 0x20000);
        benchmark::DoNotOptimize(lpBlock);
        std::free(lpBlock);
    }
}
BENCHMARK(Block128K_Malloc);

/** A plan buffer of a statement: a block for the plan and one for scratch, in a pool of its own. */
void PlanBlocks_Pool(benchmark::State& stState) {
    for (auto _ : stState) {
        CKestroMemoryPool stPool;
        UINT nPlan = 0x10000;
        UINT nScratch = 0x20000;
        Touch(stPool.Alloc(nPlan), nPlan);
        Touch(stPool.Alloc(nScratch), nScratch);
    }
}
BENCHMARK(PlanBlocks_Pool);

void PlanBlocks_Malloc(benchmark::State& stState) {
    for (auto _ : stState) {
        void* lpPlan = std::malloc(0x10000);
        void* lpScratch = std::malloc(0x20000);
        Touch(lpPlan, 0x10000);
        Touch(lpScratch, 0x20000);
        std::free(lpScratch);
        std::free(lpPlan);
    }
}
BENCHMARK(PlanBlocks_Malloc);

// The same with pages fresh from the kernel, which is what a pool of a statement would cost without the cache.
void PlanBlocks_Fresh(benchmark::State& stState) {
    for (auto _ : stState) {
        void* lpBlock = mmap(nullptr, 0x30000, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        Touch(lpBlock, 0x30000);
        munmap(lpBlock, 0x30000);
    }
}
BENCHMARK(PlanBlocks_Fresh);

// A chunk as large as the pools' largest, written once from end to end: with the cache it is fresh once only.
void Chunk4M_Cache(benchmark::State& stState) {
    for (auto _ : stState) {
        void* lpChunk = KestroChunkAlloc(0x400200);
        Touch(lpChunk, 0x400200);
        KestroChunkFree(lpChunk);
        if (stState.range(0) == 0) KestroChunkTrim();
    }
}
BENCHMARK(Chunk4M_Cache)->ArgName("kept")->Arg(1)->Arg(0);

void Chunk4M_Malloc(benchmark::State& stState) {
    for (auto _ : stState) {
        void* lpChunk = std::malloc(0x400200);
        Touch(lpChunk, 0x400200);
        benchmark::DoNotOptimize(lpChunk);
        std::free(lpChunk);
    }
}
BENCHMARK(Chunk4M_Malloc);

} // namespace
