// Creates a system file of 1 GB, beside a plain write of as many zeros in pieces of 4 MB to the same directory.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <vector>

#include "ScratchDir.h"
#include "SetupPaths.h"
#include "SystemFile.h"

namespace {

constexpr long long FILE_SIZE = 1LL << 30;
constexpr std::size_t PIECE = 4 << 20;

void SystemFile(benchmark::State& state) {
    const ScratchDir stDir;
    std::snprintf(g_lpDatabasePath, sizeof(g_lpDatabasePath), "%s/", stDir.Path().c_str());
    std::snprintf(g_lpConfigPath, sizeof(g_lpConfigPath), "%s", stDir.Path("KestroConfig.ini").c_str());
    for (auto _ : state) {
        unsigned short usPort = 0;
        if (CreateSystemDataFile(FILE_SIZE, nullptr, nullptr, 0, usPort, 1) != 0) state.SkipWithError("not created");
    }
    state.SetBytesProcessed(FILE_SIZE * state.iterations());
}

void PlainZeros(benchmark::State& state) {
    const ScratchDir stDir;
    for (auto _ : state) {
        const std::vector<char> arZeros(PIECE);
        const int nFile = open(stDir.Path("zeros").c_str(), O_CREAT | O_RDWR, 0666);
        for (long long nLeft = FILE_SIZE; nLeft > 0; nLeft -= PIECE)
            if (write(nFile, arZeros.data(), PIECE) != ssize_t{PIECE}) state.SkipWithError("not written");
        close(nFile);
    }
    state.SetBytesProcessed(FILE_SIZE * state.iterations());
}

// The fastest of the repetitions counts: the others measure how busy the disk is.
void Repeat(benchmark::internal::Benchmark* lpBenchmark) {
    const auto Fastest = [](const std::vector<double>& arTimes) { return *std::ranges::min_element(arTimes); };
    lpBenchmark->Iterations(1)->Repetitions(5)->ReportAggregatesOnly()->UseRealTime()->Unit(benchmark::kMillisecond);
    lpBenchmark->ComputeStatistics("min", Fastest);
}

BENCHMARK(PlainZeros)->Apply(Repeat);
BENCHMARK(SystemFile)->Apply(Repeat);

} // namespace
