// Texts in, texts out: the edges of decimal parsing, printing, scales, integers and arithmetic.

#include "KestroDecimal.h"

#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "CommonDataDefNumber.h"

namespace {

std::string Show(const st_VARDATA& stValue) {
    if (stValue.m_vt == VT_NULL) return "NULL";
    char szText[DECIMAL_TEXT_SIZE];
    const int nLen = CKestroDecimal::PrintDecimal(&stValue, szText);
    EXPECT_EQ(nLen, static_cast<int>(std::strlen(szText)));
    return {szText, static_cast<std::size_t>(nLen)};
}

st_VARDATA Parse(const std::string& szText, int nCode = 0) {
    st_VARDATA stValue;
    std::memset(static_cast<void*>(&stValue), 0xA5, sizeof(stValue));
    EXPECT_EQ(CKestroDecimal::Convert2Decimal(szText.c_str(), &stValue), nCode) << szText;
    return stValue;
}

/** Digits of N and scale, "-15/1" for -1.5. */
std::string Raw(st_VARDATA stValue) {
    if (stValue.m_vt == VT_NULL) return "NULL";
    const int nScale = stValue.m_bScale;
    stValue.m_bScale = 0;
    return Show(stValue) + "/" + std::to_string(nScale);
}

const std::string NINES(36, '9');
const std::string ONES(36, '1');

TEST(KestroDecimal, ReadsTexts) {
    const struct {
        std::string m_szText, m_szRaw;
        int m_nCode = 0;
    } arRows[] = {
        {"0", "0/0"},
        {"  +0012.50x", "1250/2"},
        {"-.5", "-5/1"},
        {"0.000", "0/3"},
        {"00.0070", "70/4"},
        {"5.", "5/0"},
        {"12e3", "12/-3"},
        {"1.5E-2z", "15/3"},
        {"2e", "2/0"},
        {"1e+1270", "1/-127"},
        {"1e400", "NULL"},
        {"1e-128", "NULL"},
        {"", "NULL"},
        {"-", "NULL"},
        {".", "NULL"},
        {"abc", "NULL"},
        {"\t1", "NULL"},
        {"NaN", "NULL"},
        {"na", "NULL"},
        {"nothing", "NULL", ERR_DECIMAL_LOAD},
        {"nan ", "NULL", ERR_DECIMAL_LOAD},
        {"b'101'", "5/0"},
        {"B'11", "3/0"},
        {"0b101", "5/0"},
        {"0B101", "0/0"},
        {"0xfF", "255/0"},
        {"0Xffffffffffffffff", "18446744073709551615/0"},
        {"-0x10", "0/0"},
        // The 36th digit itself rounds a longer integer; negative numbers aren't rounded.
        {std::string(40, '4'), std::string(36, '4') + "/-4"},
        {std::string(40, '5'), std::string(35, '5') + "6/-4"},
        {"-" + std::string(40, '5'), "-" + std::string(36, '5') + "/-4"},
        {std::string(37, '9'), "1" + std::string(35, '0') + "/-2"},
        {"-" + std::string(37, '9'), "-" + NINES + "/-1"},
        {ONES + ".4", ONES + "/0"},
        {ONES + ".5", std::string(35, '1') + "2/0"},
        {"7." + ONES + "9", "7" + std::string(34, '1') + "1/35"},
        {"7." + std::string(35, '1') + "5", "7" + std::string(34, '1') + "2/35"},
        {"-7." + std::string(35, '1') + "5", "-7" + std::string(35, '1') + "/35"},
        {"0.0" + NINES + "5", "1" + std::string(35, '0') + "/36"},
        {"0.0" + NINES + "4e-3", NINES + "/40"},
        // With over 32 places any character behind them rounds, one of the exponent, too.
        {"1." + std::string(33, '2') + "e1", "1" + std::string(32, '2') + "3/32"},
        {"1." + std::string(32, '2') + "e1", "1" + std::string(32, '2') + "/31"},
        {std::string(163, '1'), ONES + "/-127"},
        {std::string(164, '1'), "NULL"},
        {"0." + std::string(126, '0') + "1", "1/127"},
        {"0." + std::string(127, '0') + "1", "NULL"},
        {"0." + std::string(127, '0') + "1e1", "1/127"},
    };
    for (const auto& stRow : arRows) {
        EXPECT_EQ(Raw(Parse(stRow.m_szText, stRow.m_nCode)), stRow.m_szRaw) << stRow.m_szText;
        // The same text without a terminator.
        if (stRow.m_szText.empty() || stRow.m_szText == "nan ") continue;
        st_VARDATA stValue;
        const std::string szOpen = stRow.m_szText + "~";
        EXPECT_EQ(CKestroDecimal::Convert2Decimal(szOpen.c_str(), static_cast<int>(stRow.m_szText.size()), &stValue),
                  stRow.m_nCode);
        EXPECT_EQ(Raw(stValue), stRow.m_szRaw) << szOpen;
    }
    EXPECT_EQ(Parse("-0").m_bSign, 1);
    EXPECT_EQ(Parse("0.00").m_bValid, 1);
    EXPECT_EQ(Parse("junk").m_bValid, 0);
}

TEST(KestroDecimal, RescalesHalfAwayFromZero) {
    const struct {
        const char* m_lpszText;
        int m_nScale, m_nRound;
        std::string m_szRaw;
    } arRows[] = {
        {"-2.5", 0, 1, "-3/0"},
        {"-2.5", 0, 0, "-2/0"},
        {"0.49", 0, 1, "0/0"},
        {"0.5", 0, 1, "1/0"},
        {"500000000", -9, 1, "1/-9"},
        {"499999999", -9, 1, "0/-9"},
        {"999999999999999999.5", 0, 1, "1000000000000000000/0"},
        {"5e35", -36, 1, "1/-36"},
        {"9e35", -37, 1, "0/-37"},
        {"1.2", 35, 1, "12" + std::string(34, '0') + "/35"},
        {"1.2", 36, 1, "NULL"},
        {"0", 127, 1, "0/127"},
    };
    for (const auto& stRow : arRows) {
        const st_VARDATA stValue = Parse(stRow.m_lpszText);
        st_VARDATA stResult;
        EXPECT_EQ(CKestroDecimal::Zoom(&stValue, &stResult, static_cast<char>(stRow.m_nScale), stRow.m_nRound),
                  stRow.m_szRaw == "NULL" ? ERR_DECIMAL_PRECISION : 0);
        EXPECT_EQ(Raw(stResult), stRow.m_szRaw) << stRow.m_lpszText;
    }
}

TEST(KestroDecimal, GivesIntegers) {
    const struct {
        const char* m_lpszText;
        int m_nInt;
        long long m_llInt, m_llRounded;
    } arRows[] = {
        {"-7.5", -7, -7, -8},
        {"4294967297", 1, 4294967297, 4294967297},
        {"-9223372036854775807", 0, -LLONG_MAX, -LLONG_MAX},
        {"-9223372036854775809", 0, LLONG_MAX, LLONG_MAX},
        {"18446744073709551615", 0, -1, -1},
        {"18446744073709551616", 0, 446744073709551616, 446744073709551616},
        {"-10000000000000000000", 0, 0, 0},
        {"1e26", 0, 0, 0},
        {"1e27", 0, 0, 0},
        {"1e40", 0, 0, 0},
        {"12e2", 1200, 1200, 1200},
    };
    for (const auto& stRow : arRows) {
        EXPECT_EQ(StringToInt(stRow.m_lpszText), stRow.m_nInt) << stRow.m_lpszText;
        EXPECT_EQ(StringToLongLong(stRow.m_lpszText), stRow.m_llInt) << stRow.m_lpszText;
        const st_VARDATA stValue = Parse(stRow.m_lpszText);
        EXPECT_EQ(CKestroDecimal::Convert2Int64(&stValue, 1), stRow.m_llRounded) << stRow.m_lpszText;
    }
    EXPECT_EQ(StringToInt("nothing"), 0);
    EXPECT_EQ(StringToLongLong("abc"), 0);
}

TEST(KestroDecimal, ReadsBinaryNumbers) {
    st_VARDATA stValue;
    CKestroDecimal::Convert2Decimal(INT_MIN, &stValue);
    EXPECT_EQ(Show(stValue), "2147483648");
    CKestroDecimal::Convert2Decimal(LLONG_MIN, &stValue);
    EXPECT_EQ(Show(stValue), "9223372036854775808");
    CKestroDecimal::Convert2Decimal(-1000000000LL, &stValue);
    EXPECT_EQ(Show(stValue), "-1000000000");
    CKestroDecimal::Convert2Decimal(ULLONG_MAX, &stValue);
    EXPECT_EQ(Show(stValue), "18446744073709551615");
    const struct {
        double m_dbl;
        const char* m_lpszRaw;
    } arRows[] = {
        {0.0, "0/0"},
        {-0.0, "0/0"},
        {0.1, "1/1"},
        {-12.375, "-12375/3"},
        {100.0, "1/-2"},
        {1234567890.5, "12345678905/1"},
        {12345678901.5, "12345678902/0"},
        {123456789012345.5, "123456789012346/0"},
        {1e20, "100000000000000000/-3"},
        {-4e26, "-400000000000000000/-9"},
        {2e-90, "199999999999999968/107"},
        {1e-91, "0/0"},
        {9e159,
         "900000000000000000"
         "000000000000000/-127"},
        {1e160, "NULL"},
        {std::nan(""), "NULL"},
        {-std::numeric_limits<double>::infinity(), "NULL"},
    };
    for (const auto& stRow : arRows) {
        CKestroDecimal::Convert2Decimal(stRow.m_dbl, &stValue);
        EXPECT_EQ(Raw(stValue), stRow.m_lpszRaw) << stRow.m_dbl;
    }
    for (const char* lpszText : {"0", "-0.1", "1e22", "3.14159265358979323846", "9007199254740993", "1e-127", "-7e120",
                                 "123456789012345678901234567890123456e-40"})
        EXPECT_EQ(ToDouble(lpszText), std::strtod(lpszText, nullptr)) << lpszText;
}

TEST(CommonDataDefNumber, WritesAndReadsInABase) {
    char szText[65];
    const struct {
        unsigned long long m_ull;
        int m_nBase;
        const char* m_lpszText;
    } arRows[] = {{0, 2, "0"}, {ULLONG_MAX, 36, "3W5E11264SGSF"}, {255, 16, "FF"}, {511, 8, "777"}};
    for (const auto& stRow : arRows) {
        EXPECT_EQ(ConvDecimalToSpecifiedString(stRow.m_ull, stRow.m_nBase, szText, sizeof(szText)),
                  static_cast<int>(std::strlen(stRow.m_lpszText)));
        EXPECT_STREQ(szText, stRow.m_lpszText);
        EXPECT_EQ(ConvSpecifiedStringToDecimal(szText, stRow.m_nBase), stRow.m_ull);
    }
    EXPECT_EQ(ConvDecimalToSpecifiedString(ULLONG_MAX, 2, szText, 65), 64);
    EXPECT_EQ(ConvertBitToNumber(szText), ULLONG_MAX);
    EXPECT_EQ(ConvertBitToNumber("1012"), 5U);
    EXPECT_EQ(ConvDecimalToSpecifiedString(ULLONG_MAX, 2, szText, 64), 0);
    EXPECT_EQ(ConvDecimalToSpecifiedString(5, 37, szText, 65), 0);
    EXPECT_EQ(ConvSpecifiedStringToDecimal("zZ9-", 36), 35U * 36 * 36 + 35 * 36 + 9);
    EXPECT_EQ(ConvSpecifiedStringToDecimal("3W5E11264SGSG", 36), ULLONG_MAX);
    EXPECT_EQ(ConvSpecifiedStringToDecimal("5", 1), 0U);
}

} // namespace
