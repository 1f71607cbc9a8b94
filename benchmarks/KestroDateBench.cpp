// Date text: read and written, beside the C library and, where it is installed, fmt. Each run goes through the same
// 1024 moments, so that no branch is learnt by heart.

#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <ctime>
#include <random>

#if __has_include(<fmt/chrono.h>)
#define FMT_HEADER_ONLY
#include <fmt/chrono.h>
#define HAS_FMT 1
#endif

#include "KestroBufferPool.h"
#include "KestroDate.h"

namespace {

struct MOMENT {
    DATE m_dblDate;
    time_t m_nTime;
    tm m_stParts;
    char m_szText[KESTRO_DATETIME_TEXT_SIZE];
};

/** From 1970 to 2099. */
const std::array<MOMENT, 1024>& Moments() {
    static const auto arMoments = [] {
        std::array<MOMENT, 1024> arNew;
        std::mt19937 stRandom(1);
        for (MOMENT& st : arNew) {
            st.m_nTime = static_cast<time_t>(stRandom() % 4'102'444'800U);
            gmtime_r(&st.m_nTime, &st.m_stParts);
            st.m_dblDate = 25569 + static_cast<double>(st.m_nTime) / 86400;
            CKestroDate::FormatDateTime(st.m_dblDate, st.m_szText, 0);
        }
        return arNew;
    }();
    return arMoments;
}

/** One pass over the moments an iteration; items are moments. */
template <typename WORK>
void Run(benchmark::State& stState, WORK lpfnWork) {
    const auto& arMoments = Moments();
    for (auto _ : stState) {
        for (const MOMENT& st : arMoments)
            benchmark::DoNotOptimize(lpfnWork(st));
    }
    stState.SetItemsProcessed(static_cast<int64_t>(stState.iterations() * arMoments.size()));
}

// --- read ------------------------------------------------------------------------------------------------------------

void ReadKestro(benchmark::State& stState) {
    CKestroDate stDate;
    Run(stState, [&](const MOMENT& st) {
        DATE dblDate = 0;
        benchmark::DoNotOptimize(stDate.ParseDate(dblDate, st.m_szText, 19));
        return dblDate;
    });
}
BENCHMARK(ReadKestro);

void ReadStrptime(benchmark::State& stState) {
    Run(stState, [](const MOMENT& st) {
        tm stParts{};
        benchmark::DoNotOptimize(strptime(st.m_szText, "%Y-%m-%d %H:%M:%S", &stParts));
        return timegm(&stParts);
    });
}
BENCHMARK(ReadStrptime);

void ReadKestroByFormat(benchmark::State& stState) {
    Run(stState, [](const MOMENT& st) {
        DATE dblDate = 0;
        benchmark::DoNotOptimize(CKestroDate::ParseDate(dblDate, st.m_szText, "%Y-%m-%d %H:%i:%s"));
        return dblDate;
    });
}
BENCHMARK(ReadKestroByFormat);

// --- written ---------------------------------------------------------------------------------------------------------

void WriteKestro(benchmark::State& stState) {
    Run(stState, [](const MOMENT& st) {
        char szText[KESTRO_DATETIME_TEXT_SIZE];
        const int nLen = CKestroDate::FormatDateTime(st.m_dblDate, szText, 0);
        benchmark::DoNotOptimize(szText);
        return nLen;
    });
}
BENCHMARK(WriteKestro);

void WriteSnprintf(benchmark::State& stState) {
    Run(stState, [](const MOMENT& st) {
        char szText[80];
        tm s;
        gmtime_r(&st.m_nTime, &s);
        const int nLen = snprintf(szText, sizeof(szText), "%04d-%02d-%02d %02d:%02d:%02d", s.tm_year + 1900,
                                  s.tm_mon + 1, s.tm_mday, s.tm_hour, s.tm_min, s.tm_sec);
        benchmark::DoNotOptimize(szText);
        return nLen;
    });
}
BENCHMARK(WriteSnprintf);

#ifdef HAS_FMT
/** The peer's form of the same work: from a number, the conversion into parts included. */
void WriteFmt(benchmark::State& stState) {
    Run(stState, [](const MOMENT& st) {
        char szText[KESTRO_DATETIME_TEXT_SIZE];
        const tm s = fmt::gmtime(st.m_nTime);
        char* const lpEnd = fmt::format_to(szText, "{:04}-{:02}-{:02} {:02}:{:02}:{:02}", s.tm_year + 1900,
                                           s.tm_mon + 1, s.tm_mday, s.tm_hour, s.tm_min, s.tm_sec);
        *lpEnd = 0;
        benchmark::DoNotOptimize(szText);
        return lpEnd;
    });
}
BENCHMARK(WriteFmt);

/** The peer with the parts given to it. */
void WriteFmtFromParts(benchmark::State& stState) {
    Run(stState, [](const MOMENT& st) {
        char szText[KESTRO_DATETIME_TEXT_SIZE];
        const tm& s = st.m_stParts;
        char* const lpEnd = fmt::format_to(szText, "{:04}-{:02}-{:02} {:02}:{:02}:{:02}", s.tm_year + 1900,
                                           s.tm_mon + 1, s.tm_mday, s.tm_hour, s.tm_min, s.tm_sec);
        *lpEnd = 0;
        benchmark::DoNotOptimize(szText);
        return lpEnd;
    });
}
BENCHMARK(WriteFmtFromParts);
#endif

// --- written by a format ---------------------------------------------------------------------------------------------

void FormatKestro(benchmark::State& stState, const char* lpszFormat) {
    CKestroBufferPool stPool;
    stPool.SetPoolPageSize(64 * 1024);
    Run(stState, [&](const MOMENT& st) {
        if (&st == &Moments()[0]) stPool.ResetBuffer();
        st_VARDATA stText;
        benchmark::DoNotOptimize(CKestroDate::Format(&stPool, st.m_dblDate, lpszFormat, stText));
        return stText.m_lpszValue;
    });
}
BENCHMARK_CAPTURE(FormatKestro, letters, "%Y-%m-%d %H:%i:%s");
BENCHMARK_CAPTURE(FormatKestro, picture, "YYYY-MM-DD HH24:MI:SS");

void FormatStrftime(benchmark::State& stState) {
    Run(stState, [](const MOMENT& st) {
        char szText[80];
        tm s;
        gmtime_r(&st.m_nTime, &s);
        const std::size_t nLen = strftime(szText, sizeof(szText), "%Y-%m-%d %H:%M:%S", &s);
        benchmark::DoNotOptimize(szText);
        return nLen;
    });
}
BENCHMARK(FormatStrftime);

#ifdef HAS_FMT
void FormatFmt(benchmark::State& stState) {
    Run(stState, [](const MOMENT& st) {
        char szText[80];
        char* const lpEnd = fmt::format_to(szText, fmt::runtime("{:%Y-%m-%d %H:%M:%S}"), fmt::gmtime(st.m_nTime));
        *lpEnd = 0;
        benchmark::DoNotOptimize(szText);
        return lpEnd;
    });
}
BENCHMARK(FormatFmt);

/** The peer with the parts given to it. */
void FormatFmtFromParts(benchmark::State& stState) {
    Run(stState, [](const MOMENT& st) {
        char szText[80];
        char* const lpEnd = fmt::format_to(szText, fmt::runtime("{:%Y-%m-%d %H:%M:%S}"), st.m_stParts);
        *lpEnd = 0;
        benchmark::DoNotOptimize(szText);
        return lpEnd;
    });
}
BENCHMARK(FormatFmtFromParts);
#endif

} // namespace
