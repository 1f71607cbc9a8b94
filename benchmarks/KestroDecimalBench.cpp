// Decimals beside the decimal libraries that the machine has: parse, print, add, multiply, divide, compare, each on
// amounts of money (two places), on mixed numbers (up to 18 digits, up to six places) and on wide ones (up to 34
// digits, up to 20 places). Every round works through 8192 pairs, too many
// for the processor to learn their lengths and signs by heart.

#include <benchmark/benchmark.h>

#include <array>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "KestroDecimal.h"

#if KESTRO_BENCH_BOOST
#include <boost/multiprecision/cpp_dec_float.hpp>
#endif
#if KESTRO_BENCH_MPDEC
#include <mpdecimal.h>
#endif
#if KESTRO_BENCH_BID
#define DECIMAL_CALL_BY_REFERENCE 0
#define DECIMAL_GLOBAL_ROUNDING 1
#define DECIMAL_GLOBAL_EXCEPTION_FLAGS 1
#include <bid_conf.h>
#include <bid_functions.h>
#endif

namespace {

constexpr int PAIRS = 8192;

struct KESTRO {
    using Value = st_VARDATA;
    static void Parse(const char* lpszText, Value& stValue) {
        benchmark::DoNotOptimize(CKestroDecimal::Convert2Decimal(lpszText, &stValue));
    }
    static void Print(const Value& stValue) {
        char szText[DECIMAL_TEXT_SIZE];
        benchmark::DoNotOptimize(CKestroDecimal::PrintDecimal(&stValue, szText));
        benchmark::DoNotOptimize(szText);
    }
    static void Add(const Value& a, const Value& b, Value& r) { CKestroDecimal::Add(&a, &b, &r); }
    static void Multiply(const Value& a, const Value& b, Value& r) { CKestroDecimal::Mul(&a, &b, &r); }
    static void Divide(const Value& a, const Value& b, Value& r) { CKestroDecimal::Div(&a, &b, &r); }
    static int Compare(const Value& a, const Value& b) { return CKestroDecimal::Compare(&a, &b); }
};

#if KESTRO_BENCH_BOOST
struct BOOST {
    using Value =
        boost::multiprecision::number<boost::multiprecision::cpp_dec_float<36>, boost::multiprecision::et_off>;
    static void Parse(const char* lpszText, Value& stValue) { stValue.assign(lpszText); }
    static void Print(const Value& stValue) { benchmark::DoNotOptimize(stValue.str(36, std::ios_base::fmtflags{})); }
    static void Add(const Value& a, const Value& b, Value& r) { r = a + b; }
    static void Multiply(const Value& a, const Value& b, Value& r) { r = a * b; }
    static void Divide(const Value& a, const Value& b, Value& r) { r = a / b; }
    static int Compare(const Value& a, const Value& b) { return a.compare(b); }
};
#endif

#if KESTRO_BENCH_MPDEC
struct MPDEC {
    struct Value {
        mpd_t* m_lp = mpd_qnew();
        Value() = default;
        Value(const Value&) = delete;
        ~Value() { mpd_del(m_lp); }
    };
    static const mpd_context_t* Context() {
        static const mpd_context_t stContext = [] {
            mpd_context_t stNew;
            mpd_maxcontext(&stNew);
            stNew.prec = DECIMAL_MAX_DIGITS;
            stNew.round = MPD_ROUND_HALF_UP;
            stNew.traps = 0;
            return stNew;
        }();
        return &stContext;
    }
    static void Parse(const char* lpszText, Value& stValue) {
        uint32_t uStatus = 0;
        mpd_qset_string(stValue.m_lp, lpszText, Context(), &uStatus);
    }
    static void Print(const Value& stValue) {
        char* lpszText = mpd_to_sci(stValue.m_lp, 1);
        benchmark::DoNotOptimize(lpszText);
        mpd_free(lpszText);
    }
    static void Add(const Value& a, const Value& b, Value& r) {
        uint32_t uStatus = 0;
        mpd_qadd(r.m_lp, a.m_lp, b.m_lp, Context(), &uStatus);
    }
    static void Multiply(const Value& a, const Value& b, Value& r) {
        uint32_t uStatus = 0;
        mpd_qmul(r.m_lp, a.m_lp, b.m_lp, Context(), &uStatus);
    }
    static void Divide(const Value& a, const Value& b, Value& r) {
        uint32_t uStatus = 0;
        mpd_qdiv(r.m_lp, a.m_lp, b.m_lp, Context(), &uStatus);
    }
    static int Compare(const Value& a, const Value& b) {
        uint32_t uStatus = 0;
        return mpd_qcmp(a.m_lp, b.m_lp, &uStatus);
    }
};
#endif

#if defined(__GNUC__) && !defined(__clang__)
/** The compiler's own type. It has no texts; those are of the library from which the compiler has its arithmetic. */
struct DECIMAL128 {
    typedef float Value __attribute__((mode(TD)));
#if KESTRO_BENCH_BID
    static void Parse(const char* lpszText, Value& stValue) {
        const BID_UINT128 stBits = bid128_from_string(const_cast<char*>(lpszText));
        std::memcpy(&stValue, &stBits, sizeof(stValue));
    }
    static void Print(const Value& stValue) {
        char szText[64];
        BID_UINT128 stBits;
        std::memcpy(&stBits, &stValue, sizeof(stBits));
        bid128_to_string(szText, stBits);
        benchmark::DoNotOptimize(szText);
    }
#else
    static void Parse(const char* lpszText, Value& stValue) {
        const bool bNegative = *lpszText == '-';
        Value stPower = 1;
        bool bPoint = false;
        stValue = 0;
        for (lpszText += bNegative; *lpszText; ++lpszText) {
            if (*lpszText == '.') {
                bPoint = true;
                continue;
            }
            stValue = stValue * 10 + (*lpszText - '0');
            if (bPoint) stPower *= 10;
        }
        stValue = (bNegative ? -stValue : stValue) / stPower;
    }
#endif
    static void Add(const Value& a, const Value& b, Value& r) {
        r = a + b;
    }
    static void Multiply(const Value& a, const Value& b, Value& r) {
        r = a * b;
    }
    static void Divide(const Value& a, const Value& b, Value& r) {
        r = a / b;
    }
    static int Compare(const Value& a, const Value& b) {
        return (a > b) - (a < b);
    }
};
#endif

/** Numbers of up to nDigits digits and from nMinPlaces up to nPlaces of them behind the point. */
struct SHAPE {
    const char* m_lpszName;
    int m_nDigits, m_nMinPlaces, m_nPlaces;
};
constexpr SHAPE SHAPES[] = {{"money", 9, 2, 2}, {"mixed", 18, 0, 6}, {"wide", 34, 10, 10}, {"free", 34, 0, 20}};

std::vector<std::string> MakeTexts(const SHAPE& stShape) {
    std::mt19937 stRandom(7);
    std::vector<std::string> arTexts;
    for (int i = 0; i < 2 * PAIRS; ++i) {
        const int nPlaces =
            stShape.m_nMinPlaces + static_cast<int>(stRandom() % (stShape.m_nPlaces - stShape.m_nMinPlaces + 1u));
        const int nDigits = nPlaces + 1 + static_cast<int>(stRandom() % (stShape.m_nDigits - nPlaces));
        std::string szText = stRandom() % 4 == 0 ? "-" : "";
        for (int n = 0; n < nDigits; ++n) {
            if (n == nDigits - nPlaces) szText += '.';
            szText += static_cast<char>(n == 0 ? '1' + stRandom() % 9 : '0' + stRandom() % 10);
        }
        arTexts.push_back(szText);
    }
    return arTexts;
}

template <typename P>
struct OPERANDS {
    std::vector<std::string> m_arTexts;
    std::array<typename P::Value, 2 * PAIRS> m_arValues;
    explicit OPERANDS(const SHAPE& stShape) : m_arTexts(MakeTexts(stShape)) {
        for (int i = 0; i < 2 * PAIRS; ++i)
            P::Parse(m_arTexts[i].c_str(), m_arValues[i]);
    }
};

template <typename P, typename F>
void Register(const char* lpszOperation, const char* lpszPeer, F Work) {
    for (const SHAPE& stShape : SHAPES) {
        const std::string szName = std::string(lpszOperation) + "/" + stShape.m_lpszName + "/" + lpszPeer;
        benchmark::RegisterBenchmark(szName.c_str(), [&stShape, Work](benchmark::State& stState) {
            static typename P::Value stResult;
            const auto lpOperands = std::make_unique<OPERANDS<P>>(stShape);
            for (auto _ : stState)
                for (int i = 0; i < PAIRS; ++i) {
                    Work(*lpOperands, i, stResult);
                    benchmark::DoNotOptimize(stResult);
                }
            stState.SetItemsProcessed(stState.iterations() * PAIRS);
        });
    }
}

template <typename P>
void RegisterPeer(const char* lpszPeer) {
    using O = const OPERANDS<P>;
    using V = typename P::Value;
    if constexpr (requires(const V& v) { P::Print(v); }) {
        Register<P>("parse", lpszPeer, [](O& o, int i, V& r) { P::Parse(o.m_arTexts[i].c_str(), r); });
        Register<P>("print", lpszPeer, [](O& o, int i, V&) { P::Print(o.m_arValues[i]); });
    }
    Register<P>("add", lpszPeer, [](O& o, int i, V& r) { P::Add(o.m_arValues[i], o.m_arValues[i + PAIRS], r); });
    Register<P>("multiply", lpszPeer,
                [](O& o, int i, V& r) { P::Multiply(o.m_arValues[i], o.m_arValues[i + PAIRS], r); });
    Register<P>("divide", lpszPeer, [](O& o, int i, V& r) { P::Divide(o.m_arValues[i], o.m_arValues[i + PAIRS], r); });
    Register<P>("compare", lpszPeer, [](O& o, int i, V&) {
        benchmark::DoNotOptimize(P::Compare(o.m_arValues[i], o.m_arValues[i + PAIRS]));
    });
}

[[maybe_unused]] const bool g_bRegistered = [] {
    RegisterPeer<KESTRO>("kestro");
#if KESTRO_BENCH_BOOST
    RegisterPeer<BOOST>("cpp_dec_float");
#endif
#if KESTRO_BENCH_MPDEC
    RegisterPeer<MPDEC>("libmpdec");
#endif
#if defined(__GNUC__) && !defined(__clang__)
    RegisterPeer<DECIMAL128>("_Decimal128");
#endif
    return true;
}();

} // namespace
