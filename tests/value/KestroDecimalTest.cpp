// Texts in, texts out: the edges of decimal parsing, printing, scales, integers and arithmetic.

#include "KestroDecimal.h"

#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "CommonDataDefNumber.h"

namespace {

void CopyRecord(st_VARDATA& stTarget, const st_VARDATA& stSource) {
    std::memcpy(static_cast<void*>(&stTarget), &stSource, sizeof(stTarget));
}

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

TEST(KestroDecimal, Computes) {
    const struct {
        char m_c;
        std::string m_szFirst, m_szSecond, m_szRaw, m_szText;
    } arRows[] = {
        {'+', "0.1", "0.2", "3/1", "0.3"},
        {'-', "1.50", "1.50", "0/0", "0"},
        {'+', NINES, "1", "1" + std::string(35, '0') + "/-1", "1" + std::string(36, '0')},
        {'+', NINES, std::string(35, '0') + "6", "1" + std::string(34, '0') + "1/-1",
         "1" + std::string(34, '0') + "10"},
        {'+', "1e100", "1e-100", "/0", ""},
        {'+', "0e90", "1e-37", "0/-54", "0"},
        {'*', "-1.5", "1.5", "-225/2", "-2.25"},
        {'*', "0.00001", "0.00005", "1/9", "0.000000001"},
        {'*', "0.00001", "0.00004", "0/9", "0.000000000"},
        {'*', "1e-100", "1e-100", "0/100", "0." + std::string(100, '0')},
        {'*', "1e64", "1e64", "1/-128", "1" + std::string(128, '0')},
        {'*', "1e65", "1e64", "/0", ""},
        {'*', NINES, NINES, std::string(35, '9') + "8/-36", std::string(35, '9') + "8" + std::string(36, '0')},
        {'/', "1", "3", std::string(36, '3') + "/36", "0.333333333"},
        {'/', "-2", "300", "-" + std::string(35, '6') + "7/38", "-0.00666666667"},
        {'/', "6", "3", "2" + std::string(35, '0') + "/35", "2"},
        {'/', "10", "-4", "-25" + std::string(34, '0') + "/35", "-2.5"},
        {'/', "1e30", "3", std::string(36, '3') + "/6", std::string(30, '3') + "." + std::string(6, '3')},
        {'/', "5", "0.00", "NULL", "NULL"},
        {'/', "0.00", "5", "0/2", "0.00"},
        {'%', "7.5", "-2", "15/1", "1.5"},
        {'%', "-7", "2", "-1/0", "-1"},
        {'%', "1e100", "7", "4/0", "4"},
        {'%', "5", "1e100", "5/0", "5"},
        {'%', "7", "0", "NULL", "NULL"},
    };
    for (const auto& stRow : arRows) {
        const st_VARDATA stFirst = Parse(stRow.m_szFirst), stSecond = Parse(stRow.m_szSecond);
        st_VARDATA stResult;
        int nCode = 0;
        switch (stRow.m_c) {
            case '+':
                nCode = CKestroDecimal::Add(&stFirst, &stSecond, &stResult);
                break;
            case '-':
                nCode = CKestroDecimal::Sub(&stFirst, &stSecond, &stResult);
                break;
            case '*':
                nCode = CKestroDecimal::Mul(&stFirst, &stSecond, &stResult);
                break;
            case '/':
                nCode = CKestroDecimal::Div(&stFirst, &stSecond, &stResult);
                break;
            default:
                nCode = CKestroDecimal::Mod(&stFirst, &stSecond, &stResult);
        }
        EXPECT_EQ(nCode, 0);
        EXPECT_EQ(Show(stResult), stRow.m_szText) << stRow.m_szFirst << stRow.m_c << stRow.m_szSecond;
        EXPECT_EQ(Raw(stResult), stRow.m_szRaw) << stRow.m_szFirst << stRow.m_c << stRow.m_szSecond;
    }
    st_VARDATA stEmpty = Parse("x"), stOne = Parse("1"), stResult;
    EXPECT_EQ(CKestroDecimal::Mod(&stEmpty, &stOne, &stResult), ERR_DECIMAL_INVALID);
}

TEST(KestroDecimal, AddsUnitsOfTheLastPlace) {
    const struct {
        std::string m_szText;
        int m_n;
        std::string m_szRaw;
    } arRows[] = {
        {"1.5", 7, "22/1"},   {"-1.5", -7, "-22/1"},           {"-1.5", 7, "-8/1"},
        {"1.5", -16, "-1/1"}, {"0", INT_MIN, "-2147483648/0"}, {NINES, 6, "1" + std::string(35, '0') + "/-1"},
    };
    for (const auto& stRow : arRows) {
        st_VARDATA stValue = Parse(stRow.m_szText);
        EXPECT_EQ(CKestroDecimal::Add(&stValue, stRow.m_n), 0);
        EXPECT_EQ(Raw(stValue), stRow.m_szRaw);
    }
}

TEST(KestroDecimal, Compares) {
    const struct {
        const char *m_lpszFirst, *m_lpszSecond;
        int m_n;
    } arRows[] = {
        {"0", "0.00", 0},
        {"-0", "0", -1},
        {"1.50", "1.5", 0},
        {"-2", "-1", -1},
        {"1e100", "1e-100", 1},
        {"0e100", "1e-100", -1},
        {"-1e-100", "-0e100", -1},
        {"x", "1", 255},
        {"x", "-1", 1},
        {"x", "x", 255},
        {"123456789012345678901234567890", "123456789012345678901234567890.1", -1},
    };
    for (const auto& stRow : arRows) {
        const st_VARDATA stFirst = Parse(stRow.m_lpszFirst), stSecond = Parse(stRow.m_lpszSecond);
        EXPECT_EQ(CKestroDecimal::Compare(&stFirst, &stSecond), stRow.m_n) << stRow.m_lpszFirst << stRow.m_lpszSecond;
    }
}

TEST(KestroDecimal, RoundsForPeople) {
    const struct {
        const char *m_lpszText, *m_lpszFloor, *m_lpszCeil, *m_lpszClean, *m_lpszHex;
    } arRows[] = {
        {"-0.5", "-1", "0", "-0.5", "0xffffffff"},
        {"2.100", "2", "3", "2.1", "0x00000002"},
        {"-7.00", "-7", "-7", "-7", "0xfffffff9"},
        {"12345678.12345678", "12345678", "12345679", "12345678.123457", "0x00bc614e"},
        {"1234.12345678", "1234", "1235", "1234.12345678", "0x000004d2"},
        {"0.00123456789012", "0", "1", "0.00123456789", "0x00000000"},
        {"1.2345678", "1", "2", "1.23456780000", "0x00000001"},
        {"2147483648", "2147483648", "2147483648", "2147483648", "0x0000000080000000"},
        {"-2147483648", "-2147483648", "-2147483648", "-2147483648", "0xffffffff80000000"},
        {"18446744073709551616", "18446744073709551616", "18446744073709551616", "18446744073709551616",
         "010000000000000000"},
        {"-18446744073709551617", "-18446744073709551617", "-18446744073709551617", "-18446744073709551617",
         "feffffffffffffffff"},
    };
    for (const auto& stRow : arRows) {
        st_VARDATA stValue = Parse(stRow.m_lpszText), stResult;
        char szHex[DECIMAL_TEXT_SIZE];
        EXPECT_EQ(CKestroDecimal::PrintDecimalHex(&stValue, szHex), static_cast<int>(std::strlen(stRow.m_lpszHex)));
        EXPECT_STREQ(szHex, stRow.m_lpszHex);
        EXPECT_EQ(CKestroDecimal::Ceil(&stValue, &stResult), 0);
        EXPECT_EQ(Show(stResult), stRow.m_lpszCeil);
        CopyRecord(stResult, stValue);
        EXPECT_EQ(CKestroDecimal::Floor(&stResult, &stResult), 0);
        EXPECT_EQ(Show(stResult), stRow.m_lpszFloor);
        CKestroDecimal::Clean(&stValue);
        EXPECT_EQ(Show(stValue), stRow.m_lpszClean);
    }
}

TEST(KestroDecimal, KnowsIntegers) {
    const struct {
        const char* m_lpszText;
        int m_nIsInt, m_nIsInt64;
        int m_nSafeInt, m_nSafeInt64;
    } arRows[] = {
        {"10.00", 1, 1, VT_INT, VT_BIGINT},
        {"12.00", 0, 0, VT_INT, VT_BIGINT},
        {"-12e2", 1, 1, VT_INT, VT_BIGINT},
        {"0.000", 1, 1, VT_INT, VT_BIGINT},
        {"0.5", 0, 0, VT_DECIMAL, VT_DECIMAL},
        {"1000000000000000000.000000000", 0, 1, VT_DECIMAL, VT_BIGINT},
        {"2147483647", 1, 1, VT_INT, VT_BIGINT},
        {"2147483648", 0, 1, VT_DECIMAL, VT_BIGINT},
        {"-9223372036854775807", 0, 1, VT_DECIMAL, VT_DECIMAL},
        {"9223372036854775808", 0, 0, VT_DECIMAL, VT_DECIMAL},
        {"1e-40", 0, 0, VT_DECIMAL, VT_DECIMAL},
        {"1e40", 0, 0, VT_DECIMAL, VT_DECIMAL},
        {"x", 0, 0, VT_NULL, VT_NULL},
    };
    for (const auto& stRow : arRows) {
        st_VARDATA stValue = Parse(stRow.m_lpszText);
        const long long llExpected = CKestroDecimal::Convert2Int64(&stValue, 0);
        int n = 0;
        long long ll = 0;
        EXPECT_EQ(CKestroDecimal::IsInt(&stValue, n), stRow.m_nIsInt) << stRow.m_lpszText;
        EXPECT_EQ(CKestroDecimal::IsInt64(&stValue, ll), stRow.m_nIsInt64) << stRow.m_lpszText;
        EXPECT_EQ(ll, stRow.m_nIsInt64 ? llExpected : 0);
        CKestroDecimal::SafeConvert2Int(&stValue);
        EXPECT_EQ(stValue.m_vt, stRow.m_nSafeInt) << stRow.m_lpszText;
        EXPECT_EQ(stValue.m_vt == VT_INT ? +stValue.m_nValue : llExpected, llExpected);
        stValue = Parse(stRow.m_lpszText);
        CKestroDecimal::SafeConvert2Int64(&stValue);
        EXPECT_EQ(stValue.m_vt, stRow.m_nSafeInt64) << stRow.m_lpszText;
        EXPECT_EQ(stValue.m_vt == VT_BIGINT ? +stValue.m_llValue : llExpected, llExpected);
    }
    st_VARDATA stBig;
    stBig.m_vt = VT_BIGINT;
    stBig.m_llValue = 0x1FFFFFFFFLL;
    long long ll = 0;
    EXPECT_EQ(CKestroDecimal::IsInt64(&stBig, ll), 1);
    EXPECT_EQ(ll, -1);
}

std::string Hex(const unsigned char* lpBytes, int nLen) {
    std::string szHex;
    for (int i = 0; i < nLen; ++i) {
        szHex += "0123456789abcdef"[lpBytes[i] >> 4];
        szHex += "0123456789abcdef"[lpBytes[i] & 15];
    }
    return szHex;
}

TEST(KestroDecimal, WritesColumns) {
    const struct {
        const char* m_lpszText;
        int m_nPrecision, m_nScale;
        const char *m_lpszImage, *m_lpszLoaded;
    } arRows[] = {
        {"4294967295", 9, 127, "6400ffffffff", "4294967295/0"},
        {"4294967296", 9, 127, "44ff9a999919", "429496730/-1"},
        {"-255", 2, 0, "c100ff", "-255/0"},
        {"256", 2, 0, "41ff1a", "26/-1"},
        {"999999999999999999.5", 18, 0, "6800000064a7b3b6e00d", "1000000000000000000/0"},
        {"18446744073709551616", 18, 0, "48fe5c2fef2bf0bffe0a", "184467440737095516/-2"},
        {"1.005", 7, 2, "4302650000", "101/2"},
        {"12e3", 7, 0, "43fd0c0000", "12/-3"},
        {"9999999999999999999.9", 19, 1, "4cff000000000000000001000000", "1000000000000000000/-1"},
        {"0", 36, 5, "500500000000000000000000000000000000", "0/5"},
    };
    for (const auto& stRow : arRows) {
        const st_VARDATA stValue = Parse(stRow.m_lpszText);
        unsigned char arImage[DECIMAL_BIN_SIZE];
        int nLen = 0;
        EXPECT_EQ(CKestroDecimal::FormatBin(&stValue, stRow.m_nPrecision, stRow.m_nScale, arImage, nLen), 0);
        EXPECT_EQ(Hex(arImage, nLen), stRow.m_lpszImage) << stRow.m_lpszText;
        EXPECT_EQ(nLen, CKestroDecimal::CalcBinLen(stRow.m_nPrecision));
        st_VARDATA stLoaded;
        EXPECT_EQ(CKestroDecimal::LoadBin(arImage, &stLoaded), 0);
        EXPECT_EQ(Raw(stLoaded), stRow.m_lpszLoaded) << stRow.m_lpszText;
    }
    unsigned char arMax[DECIMAL_BIN_SIZE];
    EXPECT_EQ(Hex(arMax, CKestroDecimal::GetMax(7, arMax)), "4380ffffff");
    EXPECT_EQ(Hex(arMax, CKestroDecimal::GetMax(12, arMax)), "4880ffc99a3bffc99a3b");
    EXPECT_EQ(CKestroDecimal::GetMax(99, arMax), DECIMAL_BIN_SIZE);
    int nLen = -1;
    const st_VARDATA stFull = Parse(NINES);
    EXPECT_EQ(CKestroDecimal::FormatBin(&stFull, 36, 1, arMax, nLen), ERR_DECIMAL_PRECISION);
    EXPECT_EQ(nLen, 0);
}

TEST(KestroDecimal, FitsColumnsOrFails) {
    const struct {
        const char* m_lpszText;
        int m_nPrecision, m_nScale;
        const char* m_lpszRaw;
    } arRows[] = {
        {"1.255", 4, 2, "126/2"},
        {"655.36", 4, 2, "NULL"},
        {"65536", 4, 0, "6554/-1"},
        {"65536.4", 4, 127, "6554/-1"},
        {"65536.4", 4, 0, "6554/-1"},
        {"655.36", 4, 3, "NULL"},
        {"99999999999999999999", 19, 0, "1000000000000000000/-2"},
        {"1e40", 36, 0, "NULL"},
    };
    for (const auto& stRow : arRows) {
        st_VARDATA stValue = Parse(stRow.m_lpszText);
        const int nCode = CKestroDecimal::VerificationData(&stValue, static_cast<unsigned char>(stRow.m_nPrecision),
                                                           static_cast<char>(stRow.m_nScale));
        EXPECT_EQ(Raw(stValue), stRow.m_lpszRaw) << stRow.m_lpszText;
        EXPECT_EQ(nCode, stValue.m_vt == VT_NULL ? ERR_DECIMAL_PRECISION : 0);
    }
}

TEST(KestroDecimal, LoadsOddImagesAndRefusesBadOnes) {
    const struct {
        const char* m_lpszImage;
        const char* m_lpszRaw;
    } arRows[] = {
        {"", "NULL"},
        {"00", "0/0"},
        {"01ff", "255/0"},
        {"c10305", "-5/3"},
        {"6500ffc99a3b77", "999999999/0"},
        {"6800ffffffffffffffff", "18446744073709551615/0"},
        {"4400ffffffff", "NULL"},
        {"440000ca9a3b", "NULL"},
        {"5100", "NULL"},
        {"5f00", "NULL"},
        {"44000000", "NULL"},
        {"41", "NULL"},
    };
    for (const auto& stRow : arRows) {
        const std::string szHex = stRow.m_lpszImage;
        const auto nLen = szHex.size() / 2;
        // On the heap, so that a byte read beyond the end is noticed.
        const auto lpImage = std::make_unique<unsigned char[]>(nLen);
        for (std::size_t i = 0; i < nLen; ++i)
            lpImage[i] = static_cast<unsigned char>(std::stoi(szHex.substr(2 * i, 2), nullptr, 16));
        st_VARDATA stValue;
        EXPECT_EQ(CKestroDecimal::LoadBin(lpImage.get(), static_cast<int>(nLen), &stValue),
                  std::strcmp(stRow.m_lpszRaw, "NULL") == 0 ? ERR_DECIMAL_LOAD : 0);
        EXPECT_EQ(Raw(stValue), stRow.m_lpszRaw) << szHex;
    }
}

TEST(KestroDecimal, HashesEqualNumbersAlike) {
    const auto Hash = [](const std::string& szText) {
        const st_VARDATA stValue = Parse(szText);
        return CKestroDecimal::CalcHashFactor(&stValue);
    };
    st_VARDATA stBig, stDouble;
    stBig.m_vt = VT_BIGINT;
    stBig.m_llValue = -1234567890123456789;
    EXPECT_EQ(CKestroDecimal::CalcHashFactor(&stBig), Hash("1234567890123456789.00"));
    EXPECT_EQ(Hash("1234567890123456789"), (123456789LL * 131 + 234567890) * 131 + 1);
    stBig.m_llValue = LLONG_MIN;
    EXPECT_EQ(CKestroDecimal::CalcHashFactor(&stBig), 0x1A1F94EB04);
    stDouble.m_vt = VT_DOUBLE;
    stDouble.m_dblValue = 1234.5;
    EXPECT_EQ(CKestroDecimal::CalcHashFactor(&stDouble), Hash("1234.50"));
    EXPECT_EQ(Hash("1234.5"), 1234 + 500000000);
    EXPECT_EQ(Hash("0.0000000000000000001"), 100000000);
    EXPECT_EQ(Hash("1e40"), 10000);
    EXPECT_EQ(Hash("-0.00"), 0);
    // Four groups from the point on go into one hash, zeros included.
    EXPECT_EQ(Hash("0.000000000000000001000000002000000003"), (1 * 131 + 2) * 131 + 3);
    EXPECT_EQ(Hash("0.000000000000000000000000001000000002000000003"), (1 * 131 + 2) + 3);
}

TEST(KestroDecimal, GroupHelpersCarryAndBorrow) {
    int arFirst[] = {999'999'999, 5, 999'999'999};
    const int arSecond[] = {1, 999'999'994, 0};
    EXPECT_EQ(CKestroDecimal::CompareIntArray(arFirst, arSecond, 3), 1);
    EXPECT_EQ(CKestroDecimal::CompareIntArray(arFirst, arSecond, 2), -1);
    EXPECT_EQ(CKestroDecimal::AddIntArray(arFirst, arSecond, 3), 1);
    EXPECT_EQ(arFirst[0] | arFirst[1] | arFirst[2], 0);
    int nValue = 3, nBorrow = 1;
    CKestroDecimal::Sub2(nValue, 3, nBorrow);
    EXPECT_EQ(nValue, 999'999'999);
    EXPECT_EQ(nBorrow, 1);
}

TEST(KestroDecimal, BearsAnyBytes) {
#if defined(__SANITIZE_ADDRESS__) || !defined(NDEBUG)
    constexpr int nRounds = 20'000;
#else
    constexpr int nRounds = 200'000;
#endif
    std::mt19937 stRandom(1);
    char szText[DECIMAL_TEXT_SIZE];
    unsigned char arImage[DECIMAL_BIN_SIZE];
    for (int i = 0; i < nRounds; ++i) {
        st_VARDATA arValues[3];
        for (st_VARDATA& stValue : arValues) {
            unsigned char arBytes[sizeof(st_VARDATA)];
            for (unsigned char& bByte : arBytes)
                bByte = static_cast<unsigned char>(stRandom() % 3 ? stRandom() : 0);
            std::memcpy(static_cast<void*>(&stValue), arBytes, sizeof(stValue));
            stValue.m_vt = VT_DECIMAL;
        }
        const st_VARDATA stFirst = arValues[0], stSecond = arValues[1];
        st_VARDATA stResult;
        using OPERATION = int (*)(const st_VARDATA*, const st_VARDATA*, st_VARDATA*);
        for (const OPERATION lpfn : {OPERATION{&CKestroDecimal::Add}, OPERATION{&CKestroDecimal::Sub},
                                     &CKestroDecimal::Mul, &CKestroDecimal::Div, &CKestroDecimal::Mod}) {
            lpfn(&stFirst, &stSecond, &stResult);
            ASSERT_LT(CKestroDecimal::PrintDecimal(&stResult, szText), DECIMAL_TEXT_SIZE);
        }
        const auto n = static_cast<int>(stRandom() % 300) - 20;
        int nLen = 0;
        long long llSink = CKestroDecimal::Compare(&stFirst, &stSecond) + CKestroDecimal::CalcBinLen(&stFirst);
        llSink += CKestroDecimal::PrintDecimal(&stFirst, szText) + CKestroDecimal::PrintDecimalHex(&stFirst, szText);
        llSink += CKestroDecimal::Zoom(&stFirst, &stResult, static_cast<char>(n), 1);
        llSink += CKestroDecimal::FormatBin(&stFirst, arImage, nLen);
        llSink += CKestroDecimal::FormatBin(&stFirst, n, n % 40, arImage, nLen);
        llSink += CKestroDecimal::LoadBin(arImage, &stResult) + CKestroDecimal::Ceil(&stFirst, &stResult);
        llSink += CKestroDecimal::GetMax(n, arImage) + CKestroDecimal::Convert2Int(&stFirst, 1);
        llSink ^= CKestroDecimal::CalcHashFactor(&stFirst) ^ CKestroDecimal::Convert2Int64(&stFirst, 0);
        llSink ^= CKestroDecimal::Convert2Double(&stFirst) < 1;
        CKestroDecimal::ZoomOut(&stFirst, &stResult, static_cast<unsigned char>(n));
        CKestroDecimal::Clean(&arValues[1]);
        CKestroDecimal::SafeConvert2Int64(&arValues[2]);
        CKestroDecimal::Add(&arValues[0], static_cast<int>(llSink));
        const int nCode = CKestroDecimal::VerificationData(&arValues[0], static_cast<unsigned char>(n), 3);
        ASSERT_TRUE(nCode == 0 || nCode == ERR_DECIMAL_PRECISION);
    }
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
