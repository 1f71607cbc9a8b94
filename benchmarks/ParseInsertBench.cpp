// A long INSERT compiled, beside SQLite's compiler of the same text.

#include <benchmark/benchmark.h>

#include <string>

#include "ParseSql.h"
#ifdef KESTRO_BENCH_SQLITE
#include <sqlite3.h>
#endif

namespace {

std::string Insert(std::int64_t nRows) {
    std::string strSql = "insert into t (a, b, c, d) values ";
    for (std::int64_t i = 0; i < nRows; ++i)
        strSql.append(i ? ", (" : "(").append(std::to_string(i)).append(", 'name of a row', 1234.56, null)");
    return strSql;
}

void Kestro(benchmark::State& stState) {
    const std::string strSql = Insert(stState.range(0));
    for (auto _ : stState) {
        CParseSql stParse;
        EXECUTEPLANBSON* lpPlan = nullptr;
        if (stParse.ParseSql(strSql.data(), static_cast<int>(strSql.size()), lpPlan, 0, 0, 0) != ERR_OK)
            stState.SkipWithError("refused");
        benchmark::DoNotOptimize(lpPlan);
    }
}
BENCHMARK(Kestro)->Arg(1)->Arg(10'000)->Unit(benchmark::kMicrosecond);

#ifdef KESTRO_BENCH_SQLITE
void Sqlite(benchmark::State& stState) {
    const std::string strSql = Insert(stState.range(0));
    sqlite3* lpDatabase = nullptr;
    sqlite3_open(":memory:", &lpDatabase);
    sqlite3_exec(lpDatabase, "create table t (a, b, c, d)", nullptr, nullptr, nullptr);
    for (auto _ : stState) {
        sqlite3_stmt* lpStatement = nullptr;
        if (sqlite3_prepare_v2(lpDatabase, strSql.data(), static_cast<int>(strSql.size()), &lpStatement, nullptr))
            stState.SkipWithError("refused");
        sqlite3_finalize(lpStatement);
    }
    sqlite3_close(lpDatabase);
}
BENCHMARK(Sqlite)->Arg(1)->Arg(10'000)->Unit(benchmark::kMicrosecond);
#endif

} // namespace
