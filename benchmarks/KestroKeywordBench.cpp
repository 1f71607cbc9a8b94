// Keyword lookup beside a perfect hash of the same rows and a hash map. Lists of words are drawn at random and too long
// for a processor to learn their order: keywords in small or capital letters, in capitals, names, keywords and names.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "CommonDataDef.h"
#include "CommonDataDefChar.h"
#include "KestroKeywordParse.h"

#ifdef KESTRO_BENCH_GPERF
struct GPERFWORD {
    const char* name;
    int code;
};
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
using std::memcmp;
#include "KeywordGperfCase.h"
#include "KeywordGperfNoCase.h"
#pragma GCC diagnostic pop
#endif

namespace {

enum WORDLIST {
    LIST_KEYWORDS,
    LIST_CAPITALS,
    LIST_NAMES,
    LIST_MIXED,
};

constexpr int LIST_WORD_NUM = 20000;

/** A name made of one to three parts. */
std::string Name(std::mt19937& stRandom) {
    static const char* const PARTS[] = {"customer", "order",  "id",   "name", "created", "at",   "user",
                                        "line",     "item",   "code", "ref",  "total",   "is",   "price",
                                        "account",  "active", "t1",   "x2",   "city",    "addr", "balance"};
    std::string strName = PARTS[stRandom() % std::size(PARTS)];
    for (unsigned i = stRandom() % 3; i > 0; --i)
        strName.append("_").append(PARTS[stRandom() % std::size(PARTS)]);
    return strName;
}

std::vector<std::string> Words(std::int64_t nList) {
    std::vector<std::string> arrWord;
    std::mt19937 stRandom(1);
    for (int i = 0; i < LIST_WORD_NUM; ++i) {
        std::string strWord = CKestroKeywordParse::m_arKeyworData[stRandom() % KEYWORD_NUM].m_lpszKeyword;
        if (nList != LIST_CAPITALS && stRandom() % 2) KestroMakeLower(strWord.data(), static_cast<int>(strWord.size()));
        if (nList == LIST_NAMES || (nList == LIST_MIXED && stRandom() % 2)) strWord = Name(stRandom);
        arrWord.push_back(strWord);
    }
    return arrWord;
}

/** Looks up each word of a list with `lpfnFind(text, length)`. */
template <typename F>
void Lookup(benchmark::State& stState, F lpfnFind) {
    const std::vector<std::string> arrWord = Words(stState.range(0));
    for (auto _ : stState)
        for (const std::string& strWord : arrWord)
            benchmark::DoNotOptimize(lpfnFind(strWord.c_str(), strWord.size()));
    stState.SetItemsProcessed(stState.iterations() * static_cast<std::int64_t>(arrWord.size()));
}

void BM_Kestro(benchmark::State& stState) {
    const CKestroKeywordParse& stParse = *CKestroKeywordParse::instance();
    Lookup(stState, [&](const char* lpszWord, std::size_t nLen) {
        return stParse.GetKeyword(lpszWord, static_cast<int>(nLen), nullptr, 1);
    });
}
BENCHMARK(BM_Kestro)->DenseRange(LIST_KEYWORDS, LIST_MIXED);

#ifdef KESTRO_BENCH_GPERF
/** Called like the others, and not as a part of the loop. */
template <typename PEER>
[[gnu::noinline]] int FindGperf(const char* lpszWord, std::size_t nLen) {
    const GPERFWORD* const lpFound = PEER::Find(lpszWord, nLen);
    return lpFound ? lpFound->code : WORD_NAME;
}

void BM_gperf(benchmark::State& stState) {
    Lookup(stState, FindGperf<CGperfNoCase>);
}
BENCHMARK(BM_gperf)->DenseRange(LIST_KEYWORDS, LIST_MIXED);

/** For words in capitals only. */
void BM_gperf_case_sensitive(benchmark::State& stState) {
    Lookup(stState, FindGperf<CGperfCase>);
}
BENCHMARK(BM_gperf_case_sensitive)->Arg(LIST_CAPITALS);
#endif

void BM_unordered_map(benchmark::State& stState) {
    std::unordered_map<std::string_view, int> mapKeyword;
    for (int i = 0; i < KEYWORD_NUM; ++i)
        mapKeyword.emplace(CKestroKeywordParse::m_arKeyworData[i].m_lpszKeyword,
                           CKestroKeywordParse::m_arKeyworData[i].m_nKeyworkID);
    Lookup(stState, [&](const char* lpszWord, std::size_t nLen) {
        char lpszUpper[32];
        if (nLen > KEYWORD_LEN_MAX) return 1;
        std::transform(lpszWord, lpszWord + nLen, lpszUpper, FoldToUpper);
        const auto itFound = mapKeyword.find({lpszUpper, nLen});
        return itFound == mapKeyword.end() ? 1 : itFound->second;
    });
}
BENCHMARK(BM_unordered_map)->DenseRange(LIST_KEYWORDS, LIST_MIXED);

} // namespace
