// Comparison and change of case beside the C library's, on texts that agree but for their case, so that all is read.

#include <benchmark/benchmark.h>
#include <strings.h>

#include <cctype>
#include <string>

#include "CommonDataDef.h"

namespace {

std::string Letters(std::int64_t nLen, char cFirst) {
    std::string strText;
    for (std::int64_t i = 0; i < nLen; ++i)
        strText += static_cast<char>(cFirst + i * 7 % 26);
    return strText;
}

/** Runs `lpfnCompare(a, b, length)` on a text in small letters and the same in capitals. */
template <typename F>
void Compare(benchmark::State& stState, F lpfnCompare) {
    const std::string strFirst = Letters(stState.range(0), 'a');
    const std::string strSecond = Letters(stState.range(0), 'A');
    auto nLen = static_cast<int>(stState.range(0));
    for (auto _ : stState) {
        benchmark::DoNotOptimize(nLen);
        benchmark::DoNotOptimize(lpfnCompare(strFirst.c_str(), strSecond.c_str(), nLen));
    }
}

void BM_KestroCompareNoCase(benchmark::State& stState) {
    Compare(stState, [](const char* a, const char* b, int n) { return KestroCompareNoCase(a, b, n); });
}
void BM_KestroCompare(benchmark::State& stState) {
    Compare(stState, [](const char* a, const char* b, int n) { return KestroCompare(a, n, b, n, false); });
}
void BM_CompareNoCase(benchmark::State& stState) {
    Compare(stState, [](const char* a, const char* b, int) { return CompareNoCase(a, b); });
}
void BM_strncasecmp(benchmark::State& stState) {
    Compare(stState,
            [](const char* a, const char* b, int n) { return strncasecmp(a, b, static_cast<std::size_t>(n)); });
}

template <typename F>
void Change(benchmark::State& stState, F lpfnChange) {
    std::string strText = Letters(stState.range(0), 'a');
    for (auto _ : stState) {
        lpfnChange(strText);
        benchmark::DoNotOptimize(strText.data());
        benchmark::ClobberMemory();
    }
}

void BM_KestroMakeUpper(benchmark::State& stState) {
    Change(stState, [](std::string& strText) { KestroMakeUpper(strText.data(), static_cast<int>(strText.size())); });
}
void BM_toupper(benchmark::State& stState) {
    Change(stState, [](std::string& strText) {
        for (char& c : strText)
            c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    });
}

} // namespace

BENCHMARK(BM_KestroCompareNoCase)->Arg(8)->Arg(32)->Arg(1000);
BENCHMARK(BM_KestroCompare)->Arg(8)->Arg(32)->Arg(1000);
BENCHMARK(BM_CompareNoCase)->Arg(8)->Arg(32)->Arg(1000);
BENCHMARK(BM_strncasecmp)->Arg(8)->Arg(32)->Arg(1000);
BENCHMARK(BM_KestroMakeUpper)->Arg(8)->Arg(32)->Arg(1000);
BENCHMARK(BM_toupper)->Arg(8)->Arg(32)->Arg(1000);
