// What one log line costs its caller, beside the formatting alone and beside a line that is written and flushed at
// once.

#include <benchmark/benchmark.h>

#include <cstdio>

#include "Platform.h"
#include "ScratchDir.h"
#include "TraceManage.h"

namespace {

constexpr char LINE_FORMAT[] = "user %s logs in at node %d.%d.%d.%d:%d, token %llu";
#define LINE_ARGUMENTS "admin", 127, 0, 0, 1, 8000, 1234567890123ull

// A clock that is a day ahead keeps the writer asleep, so that only the benchmark empties the queue.
std::int64_t Tomorrow() {
    timeval stNow{};
    gettimeofday(&stNow, nullptr);
    return (stNow.tv_sec + 86'400) * std::int64_t{1'000'000} + stNow.tv_usec;
}

CTraceManage* SleepingTrace() {
    g_stPlatform.m_lpfnMicroseconds = Tomorrow;
    return CTraceManage::instance();
}

void EmptyQueue(CTraceManage* pTrace) {
    while (pTrace->GetTrace(nullptr)) {
    }
}

void BM_TraceQueued(benchmark::State& stState) {
    CTraceManage* pTrace = SleepingTrace();
    EmptyQueue(pTrace);
    while (stState.KeepRunningBatch(TRACE_QUEUE_MAX)) {
        for (int i = 0; i < TRACE_QUEUE_MAX; ++i)
            Trace("UserLogin", 0, 888002001, LINE_FORMAT, LINE_ARGUMENTS);
        stState.PauseTiming();
        EmptyQueue(pTrace);
        stState.ResumeTiming();
    }
}
BENCHMARK(BM_TraceQueued);

void BM_TraceDropped(benchmark::State& stState) {
    SleepingTrace();
    for (int i = 0; i < TRACE_QUEUE_MAX; ++i)
        Trace0("Full", 0, 0, "");
    for (auto _ : stState)
        Trace("UserLogin", 0, 888002001, LINE_FORMAT, LINE_ARGUMENTS);
}
BENCHMARK(BM_TraceDropped)->ThreadRange(1, 4);

void BM_Trace0Dropped(benchmark::State& stState) {
    SleepingTrace();
    for (int i = 0; i < TRACE_QUEUE_MAX; ++i)
        Trace0("Full", 0, 0, "");
    for (auto _ : stState)
        Trace0("UserLogin", 0, 888002001, "user admin logs in at node 127.0.0.1:8000");
}
BENCHMARK(BM_Trace0Dropped);

// Peer: the text alone, without head, queue or file.
void BM_PeerFormatText(benchmark::State& stState) {
    char szText[TRACE_TEXT_MAX + 1];
    for (auto _ : stState)
        benchmark::DoNotOptimize(snprintf(szText, sizeof szText, LINE_FORMAT, LINE_ARGUMENTS));
}
BENCHMARK(BM_PeerFormatText);

// Peer: the head alone by snprintf.
void BM_PeerFormatHead(benchmark::State& stState) {
    char szHead[256];
    for (auto _ : stState)
        benchmark::DoNotOptimize(snprintf(szHead, sizeof szHead,
                                          "\r\n%04d-%02d-%02d %02d:%02d:%02d.%03d %d\t% 2d   % 10d %s ", 2024, 5, 6, 7,
                                          8, 9, 10, 12345, 0, 888002001, "UserLogin"));
}
BENCHMARK(BM_PeerFormatHead);

// Peer: the whole line to a file in the page cache, one write a line.
void BM_PeerWriteAndFlush(benchmark::State& stState) {
    const ScratchDir stDir;
    FILE* lpFile = fopen(stDir.Path("peer.log").c_str(), "wb");
    char szHead[256];
    for (auto _ : stState) {
        snprintf(szHead, sizeof szHead, "\r\n%04d-%02d-%02d %02d:%02d:%02d.%03d %d\t% 2d   % 10d %s ", 2024, 5, 6, 7, 8,
                 9, 10, 12345, 0, 888002001, "UserLogin");
        fputs(szHead, lpFile);
        fprintf(lpFile, LINE_FORMAT, LINE_ARGUMENTS);
        fflush(lpFile);
    }
    fclose(lpFile);
}
BENCHMARK(BM_PeerWriteAndFlush);

} // namespace
