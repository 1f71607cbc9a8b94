// Compiling statements into plans beside `sqlite3_prepare_v2`, which compiles them into its own programs: the two rows
// of a group are its ratio. Where a statement doesn't exist on the other side, one of about the same size stands for
// it. A group of which a statement isn't compiled is left out with a message.

#include "ParseSql.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "ChunkCache.h"
#include "KestroErrorCode.h"
#include "ParseSqlBenchStatements.h"
#ifdef KESTRO_BENCH_SQLITE
#include <sqlite3.h>
#endif

namespace {

using STATEMENTS = std::vector<std::string>;

struct GROUP {
    const char* m_lpszName;
    STATEMENTS m_strStatements;
    STATEMENTS m_strPeer; // none: the same
};

template <std::size_t N>
STATEMENTS All(const char* const (&lpszStatements)[N]) {
    return STATEMENTS(lpszStatements, lpszStatements + N);
}

std::string Insert(int nRows) {
    std::string strText = "insert into purchase (o_id, o_customer, o_date, o_state, o_amount, o_clerk) values ";
    for (int i = 0; i < nRows; ++i) {
        strText.append(i == 0 ? "(" : ", (").append(std::to_string(i)).append(", ").append(std::to_string(i * 7919));
        strText.append(", '2024-05-17', 'it''s open', ").append(std::to_string(i * 31)).append(".25, null)");
    }
    return strText;
}

const std::vector<GROUP>& Groups() {
    static const std::vector<GROUP> GROUPS = {
        {"begin", {"begin"}, {}},
        {"setting", {"alter system set cache_size = 4096"}, {"pragma main.cache_size = 4096 --"}},
        {"session", {"alter session set sort_size = 65536"}, {"pragma main.cache_spill = 65536 --"}},
        {"isolation",
         {"set transaction isolation level read committed"},
         {"begin immediate transaction --............."}},
        {"file",
         {"alter system add datafile '/data/users01.dbf' tablespace 'users' 1024"},
         {"attach database '/data/users01.dbf' as users /* tablespace of 1024 */"}},
        {"select_short", All(BENCH_SHORT), {}},
        {"select_medium", All(BENCH_MEDIUM), {}},
        {"select_long", All(BENCH_LONG), {}},
        {"insert_row", {Insert(1)}, {}},
        {"insert_10000_rows", {Insert(10000)}, {}},
    };
    return GROUPS;
}

/** Compiles one statement; with `lpMost` it's looked at, not timed: most bytes that one took. */
using COMPILE = std::string (*)(const std::string& strStatement, std::int64_t* lpMost);

void Measure(benchmark::State& stState, const STATEMENTS& strStatements, COMPILE lpfnCompile) {
    std::size_t nBytes = 0;
    std::int64_t nMost = 0;
    for (const std::string& strStatement : strStatements) {
        nBytes += strStatement.size();
        if (const std::string strError = lpfnCompile(strStatement, &nMost); !strError.empty())
            return stState.SkipWithError((strError + ": " + strStatement.substr(0, 60)).c_str());
    }
    for (auto _ : stState)
        for (const std::string& strStatement : strStatements)
            benchmark::DoNotOptimize(lpfnCompile(strStatement, nullptr));
    stState.counters["memory"] = static_cast<double>(nMost);
    stState.SetItemsProcessed(stState.iterations() * static_cast<std::int64_t>(strStatements.size()));
    stState.SetBytesProcessed(stState.iterations() * static_cast<std::int64_t>(nBytes));
}

/** As a connection does it: an object a statement. Answers nothing, or the error. */
std::string CompileKestro(const std::string& strStatement, std::int64_t* lpMost) {
    const std::int64_t nBefore = lpMost ? KestroChunkCount().m_nLiveBytes : 0;
    CParseSql stParse;
    EXECUTEPLANBSON* lpPlan = nullptr;
    const int nCode = stParse.ParseSql(strStatement.data(), static_cast<int>(strStatement.size()), lpPlan, 0, 0, 0);
    benchmark::DoNotOptimize(lpPlan);
    if (lpMost) *lpMost = std::max(*lpMost, KestroChunkCount().m_nLiveBytes - nBefore);
    return nCode == ERR_OK ? std::string() : "not compiled, error " + std::to_string(nCode);
}

#ifdef KESTRO_BENCH_SQLITE
/** A database in memory with the tables. */
sqlite3* Database() {
    static const std::unique_ptr<sqlite3, int (*)(sqlite3*)> lpDatabase(
        [] {
            sqlite3* lpNew = nullptr;
            sqlite3_open(":memory:", &lpNew);
            for (const char* const lpszTable : BENCH_TABLES)
                sqlite3_exec(lpNew, lpszTable, nullptr, nullptr, nullptr);
            return lpNew;
        }(),
        sqlite3_close);
    return lpDatabase.get();
}

std::string CompileSqlite(const std::string& strStatement, std::int64_t* lpMost) {
    sqlite3* const lpDatabase = Database();
    const std::int64_t nBefore = lpMost ? sqlite3_memory_used() : 0;
    if (lpMost) sqlite3_memory_highwater(1);
    sqlite3_stmt* lpStatement = nullptr;
    const int nCode = sqlite3_prepare_v2(lpDatabase, strStatement.data(), static_cast<int>(strStatement.size()),
                                         &lpStatement, nullptr);
    benchmark::DoNotOptimize(lpStatement);
    if (lpMost) *lpMost = std::max(*lpMost, static_cast<std::int64_t>(sqlite3_memory_highwater(0)) - nBefore);
    sqlite3_finalize(lpStatement);
    return nCode == SQLITE_OK ? std::string() : std::string("not compiled, ") + sqlite3_errmsg(Database());
}
#endif

const bool REGISTERED = [] {
    for (const GROUP& stGroup : Groups()) {
        const std::string strName = std::string("/") + stGroup.m_lpszName;
        benchmark::RegisterBenchmark(("BM_Kestro" + strName).c_str(), Measure, stGroup.m_strStatements, CompileKestro);
#ifdef KESTRO_BENCH_SQLITE
        benchmark::RegisterBenchmark(("BM_sqlite" + strName).c_str(), Measure,
                                     stGroup.m_strPeer.empty() ? stGroup.m_strStatements : stGroup.m_strPeer,
                                     CompileSqlite);
#endif
    }
    return true;
}();

} // namespace
