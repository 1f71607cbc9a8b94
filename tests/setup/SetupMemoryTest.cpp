#include "SetupMemory.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

SETUPPARAM Sizes(const char* lpszSystem, const char* lpszData, const char* lpszTree, const char* lpszKV,
                 const char* lpszCache) {
    SETUPPARAM st;
    const std::pair<SETUPTEXT*, const char*> arText[] = {
        {&st.m_szSystemFile, lpszSystem}, {&st.m_szDataFile, lpszData},   {&st.m_szTreeFile, lpszTree},
        {&st.m_szKVFile, lpszKV},         {&st.m_szCacheSize, lpszCache}, {&st.m_szTableFile, "1000000"}};
    for (const auto& [lpText, lpszSize] : arText)
        KeepText(*lpText, lpszSize);
    return st;
}

TEST(SetupMemory, CountsWhatLiesInMemory) {
    EXPECT_EQ(NeededMemory(Sizes("16", "", "", "", ""), 256), (16 + 100 + 256) * 1024 + 34049);
    EXPECT_EQ(NeededMemory(Sizes("1", "20", "300", "4000", "50000"), 600000), (654321.0 + 100) * 1024 + 34049);
    EXPECT_EQ(NeededMemory(Sizes("16", " -8", "0x10", "2MB", "none"), 0), (16 - 8 + 2 + 100) * 1024 + 34049);
    // The largest numbers add up instead of wrapping.
    const char* lpszHuge = "999999999999999999999999999999";
    EXPECT_EQ(NeededMemory(Sizes(lpszHuge, lpszHuge, lpszHuge, lpszHuge, lpszHuge), 0), 5 * std::ldexp(1.0, 73));
    const char* lpszLow = "-99999999999999999999999999999";
    EXPECT_EQ(NeededMemory(Sizes(lpszLow, lpszLow, lpszLow, lpszLow, lpszLow), 0), -5 * std::ldexp(1.0, 73));
}

TEST(SetupMemory, JudgesByTheTotalLessOneGigabyte) {
    constexpr long long SYSTEM = 1048576;
    using enum MEMORYVERDICT;
    const std::tuple<double, long long, MEMORYVERDICT> stRows[] = {{19000000, 20000000, Tight},
                                                                   {19000001, 20000000, Short},
                                                                   {16000000, 20000000, Enough},
                                                                   {16000001, 20000000, Tight},
                                                                   {0, 0, Enough},
                                                                   {1, 0, Short}};
    for (const auto& [dNeed, nTotal, nVerdict] : stRows)
        EXPECT_EQ(JudgeMemory(dNeed, nTotal + SYSTEM), nVerdict) << dNeed;
    EXPECT_EQ(JudgeMemory(414977, 0), Short);
}

} // namespace
