// Operators on values beside what they come down to: sums of integers, doubles and decimals, and the comparison of
// texts.

#include <benchmark/benchmark.h>
#include <strings.h>

#include <string>
#include <variant>

#include "CommonDataDef.h"
#include "KestroDecimal.h"
#include "VarData.h"

namespace {

void Integer(st_VARDATA& st, int n) {
    st.SetData(n);
}
void Double(st_VARDATA& st, int n) {
    st.SetData(n * 0.25, VT_DOUBLE);
}
void Decimal(st_VARDATA& st, int n) {
    CKestroDecimal::Convert2Decimal(n, &st);
    st.m_bScale = 2;
}

/** A running sum over values made by `SET`. */
template <void (*SET)(st_VARDATA&, int)>
void BM_Sum(benchmark::State& stState) {
    st_VARDATA arValues[64], stSum;
    for (int i = 0; i < 64; ++i)
        SET(arValues[i], i * 7919);
    for (auto _ : stState) {
        SET(stSum, 0);
        for (const st_VARDATA& st : arValues)
            stSum.Add(nullptr, stSum, st);
        benchmark::DoNotOptimize(stSum);
    }
    stState.SetItemsProcessed(stState.iterations() * 64);
}

using NUMBER = std::variant<int, long long, double>;

/** The same with the standard library's way of choosing by two types. */
template <typename T>
void BM_VariantSum(benchmark::State& stState) {
    NUMBER arValues[64], stSum;
    for (int i = 0; i < 64; ++i)
        arValues[i] = static_cast<T>(i * 7919);
    for (auto _ : stState) {
        stSum = T{};
        for (const NUMBER& st : arValues) {
            benchmark::DoNotOptimize(&st);
            stSum = std::visit([](auto a, auto b) -> NUMBER { return a + b; }, stSum, st);
        }
        benchmark::DoNotOptimize(stSum);
    }
    stState.SetItemsProcessed(stState.iterations() * 64);
}

void BM_DecimalSum(benchmark::State& stState) {
    st_VARDATA arValues[64], stSum;
    for (int i = 0; i < 64; ++i)
        Decimal(arValues[i], i * 7919);
    for (auto _ : stState) {
        Decimal(stSum, 0);
        for (const st_VARDATA& st : arValues)
            CKestroDecimal::Add(&stSum, &st, &stSum);
        benchmark::DoNotOptimize(stSum);
    }
    stState.SetItemsProcessed(stState.iterations() * 64);
}

/** Two texts of a length that differ in case and in their last letter. */
struct TEXTS {
    std::string m_strFirst, m_strSecond;
    explicit TEXTS(std::int64_t nLen)
        : m_strFirst(static_cast<std::size_t>(nLen), 'k'), m_strSecond(static_cast<std::size_t>(nLen), 'K') {
        m_strSecond.back() = 'L';
    }
};

void BM_TextLess(benchmark::State& stState) {
    const TEXTS stTexts(stState.range(0));
    st_VARDATA stFirst, stSecond;
    stFirst.SetData(stTexts.m_strFirst.c_str(), static_cast<int>(stState.range(0)) + 1, 0);
    stSecond.SetData(stTexts.m_strSecond.c_str(), static_cast<int>(stState.range(0)) + 1, 0);
    for (auto _ : stState)
        benchmark::DoNotOptimize(stFirst < stSecond);
}

void BM_KestroCompare(benchmark::State& stState) {
    const TEXTS stTexts(stState.range(0));
    const int nLen = static_cast<int>(stState.range(0)) + 1;
    for (auto _ : stState)
        benchmark::DoNotOptimize(
            KestroCompare(stTexts.m_strFirst.c_str(), nLen, stTexts.m_strSecond.c_str(), nLen, false) < 0);
}

void BM_strcasecmp(benchmark::State& stState) {
    const TEXTS stTexts(stState.range(0));
    for (auto _ : stState)
        benchmark::DoNotOptimize(strcasecmp(stTexts.m_strFirst.c_str(), stTexts.m_strSecond.c_str()) < 0);
}

} // namespace

BENCHMARK(BM_Sum<Integer>);
BENCHMARK(BM_VariantSum<long long>);
BENCHMARK(BM_Sum<Double>);
BENCHMARK(BM_VariantSum<double>);
BENCHMARK(BM_Sum<Decimal>);
BENCHMARK(BM_DecimalSum);
BENCHMARK(BM_TextLess)->Arg(8)->Arg(32)->Arg(200);
BENCHMARK(BM_KestroCompare)->Arg(8)->Arg(32)->Arg(200);
BENCHMARK(BM_strcasecmp)->Arg(8)->Arg(32)->Arg(200);
