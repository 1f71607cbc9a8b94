#include "SetupMemory.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

SETUPPARAM Sizes(const char* lpszSystem, const char* lpszData, const char* lpszTree, const char* lpszKV,
                 const char* lpszCache) {
    SETUPPARAM stParam;
    KeepText(stParam.m_szSystemFile, lpszSystem);
    KeepText(stParam.m_szDataFile, lpszData);
    KeepText(stParam.m_szTreeFile, lpszTree);
    KeepText(stParam.m_szKVFile, lpszKV);
    KeepText(stParam.m_szCacheSize, lpszCache);
    KeepText(stParam.m_szTableFile, "1000000");
    KeepText(stParam.m_szIndexFile, "1000000");
    return stParam;
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
    struct {
        double m_dNeed;
        long long m_nTotal;
        MEMORYVERDICT m_nVerdict;
    } const stRows[] = {
        {19000000, 20000000 + SYSTEM, MEMORYVERDICT::Tight},
        {19000001, 20000000 + SYSTEM, MEMORYVERDICT::Short},
        {16000000, 20000000 + SYSTEM, MEMORYVERDICT::Enough},
        {16000001, 20000000 + SYSTEM, MEMORYVERDICT::Tight},
        {0, SYSTEM, MEMORYVERDICT::Enough},
        {1, SYSTEM, MEMORYVERDICT::Short},
        {414977, 0, MEMORYVERDICT::Short},
    };
    for (const auto& stRow : stRows)
        EXPECT_EQ(JudgeMemory(stRow.m_dNeed, stRow.m_nTotal), stRow.m_nVerdict) << stRow.m_dNeed;
}

} // namespace
