// The scan for words beside a flex scanner of the same words: both write positions and lengths into arrays. Then the
// word array of a statement beside what flex needs for the same: copies of all words in one block.

#include "SqlWordScan.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "ParseSql.h"

/** Where words of the text at `m_lpszText` begin and how long they are. */
struct SCANNEDWORDS {
    const char* m_lpszText = nullptr;
    int m_nNum = 0;
    int m_arPos[100000];
    int m_arLen[100000];
    /** Where copies go, null for none. */
    char* m_lpszCopy = nullptr;
    char* m_arCopy[100000];

    void Add(const char* lpszWord, int nLen) {
        if (m_lpszCopy) {
            m_arCopy[m_nNum] = static_cast<char*>(std::memcpy(m_lpszCopy, lpszWord, static_cast<std::size_t>(nLen)));
            m_lpszCopy[nLen] = 0;
            m_lpszCopy += nLen + 1;
        }
        m_arPos[m_nNum] = static_cast<int>(lpszWord - m_lpszText);
        m_arLen[m_nNum++] = nLen;
    }
};

#ifdef KESTRO_BENCH_FLEX
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wunused-parameter"
#pragma GCC diagnostic ignored "-Wsign-compare"
#include "SqlWordScanFlex.h"
#pragma GCC diagnostic pop
#endif

namespace {

SCANNEDWORDS g_stOurs;
SCANNEDWORDS g_stFlex;

enum TEXTKIND {
    TEXT_SHORT,
    TEXT_QUERY,
    TEXT_INSERT,
};

std::string Text(std::int64_t nKind) {
    if (nKind == TEXT_SHORT) return "SELECT STATUS FROM V$INSTANCE WHERE ID = 17";
    if (nKind == TEXT_QUERY)
        return "select a.customer_id, b.name, count(*) as orders -- the best ones\n"
               "from customer a left join orders b on a.id = b.customer_id\n"
               "where b.created_at between '2023-01-01' and '2023-12-31'\n"
               "  and b.status in ('open', 'paid') and b.total * 1.19 >= 100.50\n"
               "group by a.customer_id, b.name having count(*) > 10 /* rows */\n"
               "order by orders desc, b.\"name\" paging 1, 20";
    std::string strText = "insert into account (id, owner, city, balance, modified) values ";
    for (int i = 0; i < 1000; ++i) {
        strText.append(i == 0 ? "(" : ", (").append(std::to_string(i * 7919)).append(", 'Owner number ");
        strText.append(std::to_string(i)).append("', 'City''s name', -").append(std::to_string(i * 31));
        strText.append(".25, sysdate)");
    }
    return strText;
}

void Count(benchmark::State& stState, std::size_t nSize) {
    stState.SetBytesProcessed(stState.iterations() * static_cast<std::int64_t>(nSize));
}

int ScanOurs(const std::string& strText) {
    g_stOurs.m_lpszText = strText.c_str();
    g_stOurs.m_nNum = 0;
    return CSqlWordScan(strText.c_str(), static_cast<int>(strText.size())).Scan(0, [&](int nPos, int nLen) {
        g_stOurs.Add(strText.c_str() + nPos, nLen);
        return 0;
    });
}

void BM_Kestro(benchmark::State& stState) {
    const std::string strText = Text(stState.range(0));
    for (auto _ : stState) {
        benchmark::DoNotOptimize(ScanOurs(strText));
        benchmark::ClobberMemory();
    }
    Count(stState, strText.size());
}
BENCHMARK(BM_Kestro)->DenseRange(TEXT_SHORT, TEXT_INSERT);

void BM_KestroParse(benchmark::State& stState) {
    const std::string strText = Text(stState.range(0));
    CParseSql stParse;
    stu_KestroWordArray stWords;
    if (stParse.GetParseBson().AllocBsonBuffer(nullptr, 65536) != 0) return stState.SkipWithError("no memory");
    for (auto _ : stState) {
        stParse.GetParseBson().ResetTempDataPos(0);
        stParse.GetParseBson().GetBufferPool()->Free();
        benchmark::DoNotOptimize(stParse.Parse(strText.c_str(), 0, &stWords));
        benchmark::ClobberMemory();
    }
    Count(stState, strText.size());
}
BENCHMARK(BM_KestroParse)->DenseRange(TEXT_SHORT, TEXT_INSERT);

#ifdef KESTRO_BENCH_FLEX
bool Same() {
    for (int i = 0; i < g_stOurs.m_nNum; ++i)
        if (g_stOurs.m_arPos[i] != g_stFlex.m_arPos[i] || g_stOurs.m_arLen[i] != g_stFlex.m_arLen[i]) return false;
    return g_stOurs.m_nNum == g_stFlex.m_nNum;
}

void BM_flex(benchmark::State& stState) {
    const bool bCopy = stState.range(1) != 0;
    // The scanner works in the text itself, which ends with two zero bytes, and takes a buffer's state for each.
    std::string strText = Text(stState.range(0)) + std::string(2, '\0');
    std::vector<char> arrCopy(strText.size() * 2);
    yyscan_t lpScanner;
    flexsqllex_init_extra(&g_stFlex, &lpScanner);
    g_stFlex.m_lpszText = strText.c_str();
    for (auto _ : stState) {
        g_stFlex.m_nNum = 0;
        g_stFlex.m_lpszCopy = bCopy ? arrCopy.data() : nullptr;
        YY_BUFFER_STATE lpBuffer = flexsql_scan_buffer(strText.data(), strText.size(), lpScanner);
        flexsqllex(lpScanner);
        flexsql_delete_buffer(lpBuffer, lpScanner);
        benchmark::ClobberMemory();
    }
    flexsqllex_destroy(lpScanner);
    Count(stState, strText.size() - 2);
    ScanOurs(Text(stState.range(0)));
    if (!Same()) stState.SkipWithError("the scanners find different words");
}
BENCHMARK(BM_flex)->ArgsProduct({{TEXT_SHORT, TEXT_QUERY, TEXT_INSERT}, {0, 1}})->ArgNames({"", "copies"});
#endif

} // namespace
