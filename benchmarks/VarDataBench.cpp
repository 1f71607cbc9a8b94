// Conversions of values beside the C++ library's: integers into text and back.

#include <benchmark/benchmark.h>

#include <charconv>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "KestroBufferPool.h"
#include "VarData.h"

namespace {

constexpr std::size_t NUMBERS = 1024;

/** Numbers of all lengths. */
const std::vector<int>& Numbers() {
    static const std::vector<int> vecNumbers = [] {
        std::mt19937 stRandom(20170320);
        std::vector<int> vec(NUMBERS);
        for (int& n : vec) {
            const auto uRandom = static_cast<std::uint32_t>(stRandom());
            n = static_cast<int>(uRandom) >> uRandom % 31;
        }
        return vec;
    }();
    return vecNumbers;
}

void BM_IntToText(benchmark::State& stState) {
    char szText[KESTRO_VALUE_TEXT_SIZE];
    st_VARDATA stValue;
    for (auto _ : stState)
        for (const int n : Numbers()) {
            stValue.SetData(n);
            benchmark::DoNotOptimize(stValue.GetCompatibleStringValue(szText));
            benchmark::DoNotOptimize(szText);
        }
    stState.SetItemsProcessed(stState.iterations() * static_cast<std::int64_t>(NUMBERS));
}

void BM_IntToPoolText(benchmark::State& stState) {
    CKestroBufferPool stPool;
    stPool.SetPoolPageSize(65536);
    st_VARDATA stValue, stText;
    for (auto _ : stState) {
        for (const int n : Numbers()) {
            stValue.SetData(n);
            benchmark::DoNotOptimize(stValue.GetCompatibleValue(&stPool, VT_VARCHAR, stText, false));
            benchmark::DoNotOptimize(stText);
        }
        stPool.ResetBuffer();
    }
    stState.SetItemsProcessed(stState.iterations() * static_cast<std::int64_t>(NUMBERS));
}

void BM_to_chars(benchmark::State& stState) {
    char szText[16];
    for (auto _ : stState)
        for (const int n : Numbers()) {
            benchmark::DoNotOptimize(std::to_chars(szText, szText + sizeof(szText), n).ptr);
            benchmark::DoNotOptimize(szText);
        }
    stState.SetItemsProcessed(stState.iterations() * static_cast<std::int64_t>(NUMBERS));
}

std::vector<std::string> Texts() {
    std::vector<std::string> vecTexts;
    for (const int n : Numbers())
        vecTexts.push_back(std::to_string(n));
    return vecTexts;
}

void BM_TextToInt(benchmark::State& stState) {
    const std::vector<std::string> vecTexts = Texts();
    st_VARDATA stText, stInteger;
    for (auto _ : stState)
        for (const std::string& str : vecTexts) {
            stText.SetData(str.c_str(), static_cast<int>(str.size()) + 1, 0);
            benchmark::DoNotOptimize(stText.GetCompatibleNumberValue(VT_INT, stInteger, false));
            benchmark::DoNotOptimize(stInteger);
        }
    stState.SetItemsProcessed(stState.iterations() * static_cast<std::int64_t>(NUMBERS));
}

void BM_from_chars(benchmark::State& stState) {
    const std::vector<std::string> vecTexts = Texts();
    for (auto _ : stState)
        for (const std::string& str : vecTexts) {
            int n = 0;
            benchmark::DoNotOptimize(std::from_chars(str.data(), str.data() + str.size(), n).ptr);
            benchmark::DoNotOptimize(n);
        }
    stState.SetItemsProcessed(stState.iterations() * static_cast<std::int64_t>(NUMBERS));
}

/** The short way, in which the type stays. */
void BM_IntToInt(benchmark::State& stState) {
    st_VARDATA stValue, stCopy;
    for (auto _ : stState)
        for (const int n : Numbers()) {
            stValue.SetData(n);
            benchmark::DoNotOptimize(stValue.GetCompatibleNumberValue(VT_INT, stCopy, false));
            benchmark::DoNotOptimize(stCopy);
        }
    stState.SetItemsProcessed(stState.iterations() * static_cast<std::int64_t>(NUMBERS));
}

BENCHMARK(BM_IntToText);
BENCHMARK(BM_IntToPoolText);
BENCHMARK(BM_to_chars);
BENCHMARK(BM_TextToInt);
BENCHMARK(BM_from_chars);
BENCHMARK(BM_IntToInt);

} // namespace
