// Texts in, texts out: the edges of decimals. Rows are fields between bars, "=>" and what comes out; 9{36} stands for
// 36 nines, and a raw value is written as its digits and scale, -15/1 for -1.5.

#include "KestroDecimal.h"

#include <climits>
#include <random>

#include "CommonDataDefNumber.h"
#include "Fields.h"

namespace {

std::string Expanded(const char* lpszRow) {
    std::string strRow;
    for (; *lpszRow; ++lpszRow) {
        if (*lpszRow == '{') {
            strRow.append(std::strtoul(lpszRow + 1, nullptr, 10) - 1, lpszRow[-1]);
            lpszRow = std::strchr(lpszRow, '}');
        } else {
            strRow += *lpszRow;
        }
    }
    return strRow;
}

template <typename F>
void Check(std::initializer_list<const char*> lstRow, F Run) {
    for (const char* const lpszRow : lstRow) {
        const std::string strRow = Expanded(lpszRow);
        const std::size_t nArrow = strRow.find("=>");
        EXPECT_EQ(Run(Fields(strRow.substr(0, nArrow))), strRow.substr(nArrow + 2)) << lpszRow;
    }
}

using FIELDS = std::vector<std::string>;

std::string Show(const st_VARDATA& stValue) {
    if (stValue.m_vt == VT_NULL) return "NULL";
    char szText[DECIMAL_TEXT_SIZE];
    const int nLen = CKestroDecimal::PrintDecimal(&stValue, szText);
    EXPECT_EQ(nLen, static_cast<int>(std::strlen(szText)));
    return {szText, static_cast<std::size_t>(nLen)};
}

std::string Raw(st_VARDATA stValue) {
    if (stValue.m_vt == VT_NULL) return "NULL";
    const int nScale = stValue.m_bScale;
    stValue.m_bScale = 0;
    return Show(stValue) + "/" + std::to_string(nScale);
}

st_VARDATA Parse(const std::string& szText, int nCode = 0) {
    st_VARDATA stValue;
    EXPECT_EQ(CKestroDecimal::Convert2Decimal(szText.c_str(), &stValue), nCode) << szText;
    return stValue;
}

/** The raw value, or what stands for a code. */
std::string RawOrNull(int nCode, int nExpected, const st_VARDATA& stValue) {
    EXPECT_EQ(nCode, stValue.m_vt == VT_NULL ? nExpected : 0);
    return Raw(stValue);
}

TEST(KestroDecimal, ReadsTexts) {
    Check({"0=>0/0", "  +0012.50x=>1250/2", "-.5=>-5/1", "0.000=>0/3", "00.0070=>70/4", "5.=>5/0", "12e3=>12/-3",
           "1.5E-2z=>15/3", "2e=>2/0", "1e+1270=>1/-127", "1e400=>NULL", "1e-128=>NULL", "=>NULL", "-=>NULL", ".=>NULL",
           "abc=>NULL", "\t1=>NULL", "NaN=>NULL", "na=>NULL", "nothing=>NULL 363", "n=>NULL 363", "b'101'=>5/0",
           "B'11=>3/0", "0b101=>5/0", "0B101=>0/0", "0xfF=>255/0", "0Xf{16}=>18446744073709551615/0", "-0x10=>0/0",
           // The 36th digit itself rounds a longer integer; negative numbers aren't rounded.
           "4{40}=>4{36}/-4", "5{40}=>5{35}6/-4", "-5{40}=>-5{36}/-4", "9{37}=>10{35}/-2", "-9{37}=>-9{36}/-1",
           "1{36}.4=>1{36}/0", "1{36}.5=>1{35}2/0", "7.1{36}9=>71{35}/35", "7.1{35}5=>71{34}2/35",
           "-7.1{35}5=>-71{35}/35", "0.09{36}5=>10{35}/36", "0.09{36}4e-3=>9{36}/40",
           // With over 32 places any character behind them rounds, one of the exponent, too.
           "1.2{33}e1=>12{32}3/32", "1.2{32}e1=>12{32}/31", "1{163}=>1{36}/-127", "1{164}=>NULL", "0.0{126}1=>1/127",
           "0.0{127}1=>NULL", "0.0{127}1e1=>1/127"},
          [](const FIELDS& arField) {
              st_VARDATA stValue, stOpen;
              const int nCode = CKestroDecimal::Convert2Decimal(arField[0].c_str(), &stValue);
              // The same text without a terminator.
              const std::string strOpen = arField[0] + "~";
              EXPECT_EQ(CKestroDecimal::Convert2Decimal(strOpen.c_str(), static_cast<int>(arField[0].size()), &stOpen),
                        nCode);
              EXPECT_EQ(Raw(stOpen), Raw(stValue));
              return Raw(stValue) + (nCode ? " " + std::to_string(nCode) : "");
          });
    EXPECT_EQ(Parse("-0").m_bSign, 1);
    EXPECT_EQ(Parse("0.00").m_bValid, 1);
    EXPECT_EQ(Parse("junk").m_bValid, 0);
}

TEST(KestroDecimal, RescalesHalfAwayFromZero) {
    Check({"-2.5|0|1=>-3/0", "-2.5|0|0=>-2/0", "0.49|0|1=>0/0", "0.5|0|1=>1/0", "500000000|-9|1=>1/-9",
           "499999999|-9|1=>0/-9", "9{18}.5|0|1=>10{18}/0", "5e35|-36|1=>1/-36", "9e35|-37|1=>0/-37",
           "1.2|35|1=>120{34}/35", "1.2|36|1=>NULL", "0|127|1=>0/127"},
          [](const FIELDS& arField) {
              st_VARDATA stValue = Parse(arField[0]);
              const int nCode = CKestroDecimal::Zoom(&stValue, &stValue, static_cast<char>(std::stoi(arField[1])),
                                                     std::stoi(arField[2]));
              return RawOrNull(nCode, ERR_DECIMAL_PRECISION, stValue);
          });
}

TEST(KestroDecimal, GivesIntegers) {
    // As an int, as 64 bits, and as 64 bits rounded.
    Check({"-7.5=>-7|-7|-8", "4294967297=>1|4294967297|4294967297", "12e2=>1200|1200|1200", "nan=>0|0|0", "abc=>0|0|0",
           "-9223372036854775807=>0|-9223372036854775807|-9223372036854775807", "1e26=>0|0|0", "1e27=>0|0|0",
           "1e40=>0|0|0", "-9223372036854775809=>0|9223372036854775807|9223372036854775807",
           "18446744073709551615=>0|-1|-1", "18446744073709551616=>0|446744073709551616|446744073709551616",
           "-10{19}=>0|0|0"},
          [](const FIELDS& arField) {
              const char* const lpszText = arField[0].c_str();
              const st_VARDATA stValue = Parse(arField[0]);
              return std::to_string(StringToInt(lpszText)) + "|" + std::to_string(StringToLongLong(lpszText)) + "|" +
                     std::to_string(CKestroDecimal::Convert2Int64(&stValue, 1));
          });
}

TEST(KestroDecimal, ReadsBinaryNumbers) {
    const auto Converted = [](auto tNumber) {
        st_VARDATA stValue;
        CKestroDecimal::Convert2Decimal(tNumber, &stValue);
        return Raw(stValue);
    };
    EXPECT_EQ(Converted(INT_MIN), "2147483648/0");
    EXPECT_EQ(Converted(LLONG_MIN), "9223372036854775808/0");
    EXPECT_EQ(Converted(-1000000000LL), "-1000000000/0");
    EXPECT_EQ(Converted(ULLONG_MAX), "18446744073709551615/0");
    Check(
        {"0=>0/0", "-0.0=>0/0", "0.1=>1/1", "-12.375=>-12375/3", "100=>1/-2", "1234567890.5=>12345678905/1",
         "12345678901.5=>12345678902/0", "123456789012345.5=>123456789012346/0", "1e20=>10{17}/-3", "-4e26=>-40{17}/-9",
         "2e-90=>19{15}68/107", "1e-91=>0/0", "9e159=>90{32}/-127", "1e160=>NULL", "nan=>NULL", "-inf=>NULL"},
        [&](const FIELDS& arField) { return Converted(std::strtod(arField[0].c_str(), nullptr)); });
    for (const char* lpszText : {"0", "-0.1", "1e22", "3.14159265358979323846", "9007199254740993", "1e-127", "-7e120",
                                 "123456789012345678901234567890123456e-40"})
        EXPECT_EQ(ToDouble(lpszText), std::strtod(lpszText, nullptr)) << lpszText;
}

using OPERATION = int (*)(const st_VARDATA*, const st_VARDATA*, st_VARDATA*);
constexpr OPERATION OPERATIONS[] = {&CKestroDecimal::Add, &CKestroDecimal::Sub, &CKestroDecimal::Mul,
                                    &CKestroDecimal::Div, &CKestroDecimal::Mod};

// What the oracle of long integers doesn't say: what has no result, and how quotients are shown.
TEST(KestroDecimal, Computes) {
    Check({"0.1|+|0.2=>3/1|0.3", "9{36}|+|1=>10{35}/-1|10{36}", "1e100|+|1e-100=>/0|", "-1.5|*|1.5=>-225/2|-2.25",
           "1e65|*|1e64=>/0|", "1|/|3=>3{36}/36|0.333333333", "-2|/|300=>-6{35}7/38|-0.00666666667",
           "6|/|3=>20{35}/35|2", "10|/|-4=>-250{34}/35|-2.5", "1e30|/|3=>3{36}/6|3{30}.3{6}", "5|/|0.00=>NULL|NULL",
           "0.00|/|5=>0/2|0.00", "7.5|%|-2=>15/1|1.5", "7|%|0=>NULL|NULL"},
          [](const FIELDS& arField) {
              const st_VARDATA stFirst = Parse(arField[0]), stSecond = Parse(arField[2]);
              st_VARDATA stResult;
              EXPECT_EQ(OPERATIONS[std::string("+-*/%").find(arField[1])](&stFirst, &stSecond, &stResult), 0);
              return Raw(stResult) + "|" + Show(stResult);
          });
    st_VARDATA stEmpty = Parse("x"), stOne = Parse("1"), stResult;
    EXPECT_EQ(CKestroDecimal::Mod(&stEmpty, &stOne, &stResult), ERR_DATA);
    // Units of the last place.
    Check({"1.5|7=>22/1", "-1.5|-7=>-22/1", "-1.5|7=>-8/1", "1.5|-16=>-1/1", "0|-2147483648=>-2147483648/0",
           "9{36}|6=>10{35}/-1"},
          [](const FIELDS& arField) {
              st_VARDATA stValue = Parse(arField[0]);
              EXPECT_EQ(CKestroDecimal::Add(&stValue, std::stoi(arField[1])), 0);
              return Raw(stValue);
          });
    Check({"0|0.00=>0", "-0|0=>-1", "x|1=>255", "x|-1=>1", "x|x=>255", "1{30}|1{30}.1=>-1"}, [](const FIELDS& arField) {
        const st_VARDATA stFirst = Parse(arField[0]), stSecond = Parse(arField[1]);
        return std::to_string(CKestroDecimal::Compare(&stFirst, &stSecond));
    });
}

TEST(KestroDecimal, RoundsForPeople) {
    // Floor, ceiling, cleaned, hexadecimal.
    Check({"-0.5=>-1|0|-0.5|0xf{8}", "2.100=>2|3|2.1|0x00000002", "-7.00=>-7|-7|-7|0xf{7}9",
           "12345678.12345678=>12345678|12345679|12345678.123457|0x00bc614e",
           "1234.12345678=>1234|1235|1234.12345678|0x000004d2", "0.00123456789012=>0|1|0.00123456789|0x00000000",
           "1.2345678=>1|2|1.23456780000|0x00000001", "2147483648=>2147483648|2147483648|2147483648|0x0000000080000000",
           "-2147483648=>-2147483648|-2147483648|-2147483648|0xffffffff80000000",
           "18446744073709551616=>18446744073709551616|18446744073709551616|18446744073709551616|010{16}",
           "-18446744073709551617=>-18446744073709551617|-18446744073709551617|-18446744073709551617|fef{16}"},
          [](const FIELDS& arField) {
              st_VARDATA stValue = Parse(arField[0]), stFloor = stValue, stCeil;
              char szHex[DECIMAL_TEXT_SIZE];
              const int nHex = CKestroDecimal::PrintDecimalHex(&stValue, szHex);
              EXPECT_EQ(CKestroDecimal::Floor(&stFloor, &stFloor), 0);
              EXPECT_EQ(CKestroDecimal::Ceil(&stValue, &stCeil), 0);
              CKestroDecimal::Clean(&stValue);
              return Show(stFloor) + "|" + Show(stCeil) + "|" + Show(stValue) + "|" +
                     std::string(szHex, static_cast<std::size_t>(nHex));
          });
}

TEST(KestroDecimal, KnowsIntegers) {
    // Whether it is an int, a 64-bit integer, and what the two safe conversions make of it: i, b, or - for nothing.
    Check({"10.00=>11ib", "12.00=>00ib", "-12e2=>11ib", "0.000=>11ib", "0.5=>00--", "10{18}.0{9}=>01-b",
           "2147483647=>11ib", "2147483648=>01-b", "-9223372036854775807=>01--", "9223372036854775808=>00--",
           "1e-40=>00--", "1e40=>00--", "x=>00--"},
          [](const FIELDS& arField) {
              const st_VARDATA stValue = Parse(arField[0]);
              const long long llExpected = CKestroDecimal::Convert2Int64(&stValue, 0);
              int n = static_cast<int>(llExpected);
              long long ll = llExpected;
              std::string strFound = std::to_string(CKestroDecimal::IsInt(&stValue, n));
              strFound += std::to_string(CKestroDecimal::IsInt64(&stValue, ll));
              EXPECT_TRUE(n == static_cast<int>(llExpected) && ll == llExpected);
              st_VARDATA stInt = stValue, stBigInt = stValue;
              CKestroDecimal::SafeConvert2Int(&stInt);
              CKestroDecimal::SafeConvert2Int64(&stBigInt);
              strFound += stInt.m_vt == VT_INT && stInt.m_nValue == llExpected ? 'i' : '-';
              return strFound += stBigInt.m_vt == VT_BIGINT && stBigInt.m_llValue == llExpected ? 'b' : '-';
          });
    st_VARDATA stBig;
    stBig.SetData(0x1FFFFFFFFLL);
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
    // Precision, scale, image, and what it loads as.
    Check({"4294967295|9|127=>6400ffffffff|4294967295/0", "4294967296|9|127=>44ff9a999919|429496730/-1",
           "-255|2|0=>c100ff|-255/0", "256|2|0=>41ff1a|26/-1", "9{18}.5|18|0=>6800000064a7b3b6e00d|10{18}/0",
           "18446744073709551616|18|0=>48fe5c2fef2bf0bffe0a|184467440737095516/-2", "1.005|7|2=>4302650000|101/2",
           "12e3|7|0=>43fd0c0000|12/-3", "9{19}.9|19|1=>4cff0{16}01000000|10{18}/-1", "0|36|5=>50050{32}|0/5"},
          [](const FIELDS& arField) {
              const int nPrecision = std::stoi(arField[1]);
              unsigned char arImage[DECIMAL_BIN_SIZE];
              int nLen = 0;
              st_VARDATA stValue = Parse(arField[0]);
              EXPECT_EQ(CKestroDecimal::FormatBin(&stValue, nPrecision, std::stoi(arField[2]), arImage, nLen), 0);
              EXPECT_EQ(nLen, CKestroDecimal::CalcBinLen(nPrecision));
              EXPECT_EQ(CKestroDecimal::LoadBin(arImage, &stValue), 0);
              return Hex(arImage, nLen) + "|" + Raw(stValue);
          });
    unsigned char arMax[DECIMAL_BIN_SIZE];
    EXPECT_EQ(Hex(arMax, CKestroDecimal::GetMax(7, arMax)), "4380ffffff");
    EXPECT_EQ(Hex(arMax, CKestroDecimal::GetMax(12, arMax)), "4880ffc99a3bffc99a3b");
    EXPECT_EQ(CKestroDecimal::GetMax(99, arMax), DECIMAL_BIN_SIZE);
    int nLen = -1;
    const st_VARDATA stFull = Parse(std::string(36, '9'));
    EXPECT_EQ(CKestroDecimal::FormatBin(&stFull, 36, 1, arMax, nLen), ERR_DECIMAL_PRECISION);
    EXPECT_EQ(nLen, 0);
    const st_VARDATA stGreat = Parse("9999999999e92");
    EXPECT_EQ(CKestroDecimal::FormatBin(&stGreat, 8, 0, arMax, nLen), ERR_DECIMAL_PRECISION);
}

TEST(KestroDecimal, FitsColumnsOrFails) {
    Check({"1.255|4|2=>126/2", "655.36|4|2=>NULL", "65536|4|0=>6554/-1", "65536.4|4|127=>6554/-1",
           "65536.4|4|0=>6554/-1", "655.36|4|3=>NULL", "9{20}|19|0=>10{18}/-2", "1e40|36|0=>NULL"},
          [](const FIELDS& arField) {
              st_VARDATA stValue = Parse(arField[0]);
              const int nCode =
                  CKestroDecimal::VerificationData(&stValue, static_cast<unsigned char>(std::stoi(arField[1])),
                                                   static_cast<char>(std::stoi(arField[2])));
              return RawOrNull(nCode, ERR_DECIMAL_PRECISION, stValue);
          });
}

TEST(KestroDecimal, LoadsOddImagesAndRefusesBadOnes) {
    Check({"=>NULL", "00=>0/0", "01ff=>255/0", "c10305=>-5/3", "6500ffc99a3b77=>999999999/0",
           "6800f{16}=>18446744073709551615/0", "4400f{8}=>NULL", "440000ca9a3b=>NULL", "510{36}=>NULL",
           "5f0{62}=>NULL", "44000000=>NULL", "41=>NULL"},
          [](const FIELDS& arField) {
              std::string strImage;
              for (std::size_t i = 0; i < arField[0].size(); i += 2)
                  strImage += static_cast<char>(std::stoi(arField[0].substr(i, 2), nullptr, 16));
              const ExactBytes<unsigned char> stImage(TextOf<unsigned char>(strImage));
              st_VARDATA stValue;
              const int nCode = CKestroDecimal::LoadBin(stImage.Data(), stImage.Size(), &stValue);
              return RawOrNull(nCode, ERR_DECIMAL_LOAD, stValue);
          });
}

TEST(KestroDecimal, HashesByGroupsFromThePoint) {
    const auto Hash = [](const char* lpszText) {
        const st_VARDATA stValue = Parse(lpszText);
        return CKestroDecimal::CalcHashFactor(&stValue);
    };
    st_VARDATA stBinary;
    stBinary.SetData(-1234567890123456789LL);
    EXPECT_EQ(CKestroDecimal::CalcHashFactor(&stBinary), Hash("1234567890123456789.00"));
    stBinary.SetData(LLONG_MIN);
    EXPECT_EQ(CKestroDecimal::CalcHashFactor(&stBinary), 0x1A1F94EB04);
    stBinary.SetData(1234.5, VT_DOUBLE);
    EXPECT_EQ(CKestroDecimal::CalcHashFactor(&stBinary), Hash("1234.50"));
    for (const auto& [lpszText, llHash] : {std::pair{"1234567890123456789", (123456789LL * 131 + 234567890) * 131 + 1},
                                           {"1234.50", 1234 + 500000000LL},
                                           {"0.0000000000000000001", 100000000LL},
                                           {"1e40", 10000LL},
                                           {"-0.00", 0LL}})
        EXPECT_EQ(Hash(lpszText), llHash) << lpszText;
    // Four groups from the point on go into one hash, zeros included.
    EXPECT_EQ(Hash("0.000000000000000001000000002000000003"), (1 * 131 + 2) * 131 + 3);
    EXPECT_EQ(Hash("0.000000000000000000000000001000000002000000003"), (1 * 131 + 2) + 3);
}

TEST(KestroDecimal, BearsAnyBytes) {
#if defined(__SANITIZE_ADDRESS__) || !defined(NDEBUG)
    constexpr int ROUNDS = 20'000;
#else
    constexpr int ROUNDS = 200'000;
#endif
    std::mt19937 stRandom(1);
    char szText[DECIMAL_TEXT_SIZE];
    unsigned char arImage[DECIMAL_BIN_SIZE];
    for (int i = 0; i < ROUNDS; ++i) {
        st_VARDATA arValues[3], stResult;
        for (st_VARDATA& stValue : arValues) {
            unsigned char arBytes[sizeof(st_VARDATA)];
            for (unsigned char& bByte : arBytes)
                bByte = static_cast<unsigned char>(stRandom() % 3 ? stRandom() : 0);
            arBytes[0] = VT_DECIMAL;
            std::memcpy(static_cast<void*>(&stValue), arBytes, sizeof(stValue));
        }
        const st_VARDATA stFirst = arValues[0], stSecond = arValues[1];
        for (const OPERATION lpfn : OPERATIONS) {
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
    Check({"0|2=>0", "18446744073709551615|36=>3W5E11264SGSF", "255|16=>FF", "511|8=>777"}, [&](const FIELDS& arField) {
        const int nBase = std::stoi(arField[1]);
        const int nLen = ConvDecimalToSpecifiedString(std::stoull(arField[0]), nBase, szText, 65);
        EXPECT_EQ(ConvSpecifiedStringToDecimal(szText, nBase), std::stoull(arField[0]));
        return std::string(szText, static_cast<std::size_t>(nLen));
    });
    EXPECT_EQ(ConvertBitToString(ULLONG_MAX, szText, 65), 64);
    EXPECT_EQ(ConvertBitToNumber(szText), ULLONG_MAX);
    EXPECT_EQ(ConvertBitToNumber("1012"), 5U);
    EXPECT_EQ(ConvDecimalToSpecifiedString(ULLONG_MAX, 2, szText, 64), 0);
    EXPECT_EQ(ConvDecimalToSpecifiedString(5, 37, szText, 65), 0);
    EXPECT_EQ(ConvSpecifiedStringToDecimal("zZ9-", 36), 35U * 36 * 36 + 35 * 36 + 9);
    EXPECT_EQ(ConvSpecifiedStringToDecimal("3W5E11264SGSG", 36), ULLONG_MAX);
    EXPECT_EQ(ConvSpecifiedStringToDecimal("5", 1), 0U);
}

} // namespace
