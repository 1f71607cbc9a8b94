// Conversion of values: the matrix of types in each flavour, bits, ENUM and SET, text forms, wide text.

#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "ChunkFault.h"
#include "KestroErrorCode.h"
#include "ValueText.h"
#include "VarDataWide.h"

namespace {

/** Flavours, and what may be added to them. */
constexpr int VALUE = 0, FIELD = 1, NUMBER = 2, SAFE = 3, FORCED = 4, COLUMN = 5, FLAVOURS = 6, ROUND = 16;

bool IsInPlace(int nFlavour) {
    return nFlavour % ROUND >= SAFE;
}

int Convert(int nFlavour, st_VARDATA& st, CKestroBufferPool* lpPool, BYTE bType, st_VARDATA& stOut,
            st_MYSQLFIELDDEF* lpField = nullptr) {
    const bool bRound = nFlavour & ROUND;
    nFlavour %= ROUND;
    if (nFlavour == VALUE) return st.GetCompatibleValue(lpPool, bType, stOut, bRound);
    if (nFlavour == FIELD) return st.GetCompatableFieldValue(lpPool, bType, stOut, bRound);
    if (nFlavour == NUMBER) return st.GetCompatibleNumberValue(bType, stOut, bRound);
    if (nFlavour == COLUMN) return st.ChangeFieldType(lpPool, bType, lpField, bRound);
    return st.ChangeType(lpPool, bType, bRound, nFlavour == FORCED);
}

/**
 * Converts a view and an owned text, into a fresh value, into one that owns a text, and into itself, with memory and
 * without: all must agree, and a value whose conversion failed is as before.
 */
std::string Converted(int nFlavour, const std::string& strSource, BYTE bType, st_MYSQLFIELDDEF* lpField = nullptr) {
    std::string strFirst;
    for (int nRun = 0; nRun < 8; ++nRun) {
        const bool bOwned = nRun & 1, bSelf = nRun & 2 || IsInPlace(nFlavour), bFault = nRun & 4;
        const CChunkFault stFault(bFault ? 1 : 0);
        Pool stPool;
        ValueSource stSource(strSource, bOwned), stTaken("txt taken", true);
        st_VARDATA& stOut = bSelf ? stSource.m_stValue : stTaken.m_stValue;
        const std::string strBefore = ShowValue(stOut);
        const int nResult = Convert(nFlavour, stSource.m_stValue, &stPool, bType, stOut, lpField);
        const bool bStored = nResult == ERR_OK || nResult == ERR_DATA_TRUNCATED;
        EXPECT_TRUE(bStored || strBefore == ShowValue(stOut)) << nFlavour << " " << strSource;
        if (bFault && nResult == ERR_MEMORY) {
            EXPECT_TRUE(stFault.CameTrue());
            continue;
        }
        const std::string strShown = nResult == ERR_OK               ? ShowValue(stOut)
                                     : nResult == ERR_DATA_TRUNCATED ? ShowValue(stOut) + " 1041"
                                                                     : std::to_string(nResult);
        if (nRun == 0) strFirst = strShown;
        EXPECT_EQ(strFirst, strShown) << nFlavour << " " << strSource << " run " << nRun;
    }
    return strFirst;
}

constexpr BYTE TARGETS[] = {VT_INT,     VT_BIGINT, VT_DOUBLE, VT_DATETIME, VT_DECIMAL,
                            VT_VARCHAR, VT_BLOB,   VT_DATE,   VT_TIME,     VT_JSON};

struct GRIDROW {
    const char* m_lpszSource;
    /** Per target; null for the source as it is. */
    const char* m_arResult[std::size(TARGETS)];
};

constexpr const char* NONE = "516";
constexpr GRIDROW GRID[] = {
    {"null", {}},
    {"empty", {"null", "null", "null", "null", "null", "null", "null", "null", "null", "null"}},
    {"int -59",
     {nullptr, "big -59", "dbl -59", "dt -59", "dec -59", "txt -59", NONE, "date 1899-11-01", "time -128d 00:00:59"}},
    {"big 4294967301",
     {"int 5", nullptr, "dbl 4294967301", "dt 4294967301", "dec 4294967301", "txt 4294967301", NONE, "null",
      "time 0d 00:00:05"}},
    {"dbl 2.5",
     {"int 2", "big 2", nullptr, "dt 2.5", "dec 2.5", "txt 2.5", NONE, "date 1900-01-01", "time 0d 12:00:00"}},
    {"dt 45322.25",
     {"int 45322", "big 45322", "dbl 45322.25", nullptr, "dec 45322.25", "txt 2024-01-31 06:00:00", NONE,
      "date 2024-01-31", "time 0d 06:00:00"}},
    {"dec -2.75",
     {"int -2", "big -2", "dbl -2.75", "dt -2.75", nullptr, "txt -2.75", NONE, "date 1899-12-28", "time 0d 18:00:00"}},
    {"hex 0x4142",
     {"int 16706", "big 16706", "dbl 16706", "dt 16706", "dec 16706", "txt AB", NONE, "date 1945-09-26",
      "time 0d 00:00:00"}},
    {"txt 12abc", {"int 12", "big 12", "dbl 12", "null", "dec 12", nullptr, NONE, "null", "null"}},
    {"txt 2024-01-31 06:00:00",
     {"int 2024", "big 2024", "dbl 2024", "dt 45322.25", "dec 2024", nullptr, NONE, "date 2024-01-31",
      "time 0d 06:00:00"}},
    {"bytes AB", {"int 0", "big 0", "dbl 0", "null", "null", nullptr, NONE, "null", "null"}},
    {"date 2024-01-31",
     {"int 45322", "big 45322", "dbl 45322", "dt 45322", "dec 45322", "txt 2024-01-31", NONE, nullptr, NONE}},
    {"time -1d 06:00:00", {NONE, NONE, "dbl -1.25", "dt -1.25", NONE, "txt -30:00:00", NONE, NONE, nullptr}},
    {"blob xyz", {NONE, NONE, NONE, NONE, NONE, NONE, nullptr, NONE, NONE}},
    {"any", {NONE, NONE, NONE, NONE, NONE, NONE, NONE, NONE, NONE}},
    {"unknown", {NONE, NONE, NONE, NONE, NONE, NONE, NONE, NONE, NONE}}};

struct CASES {
    int m_nFlavour;
    BYTE m_bType;
    /** "source = result", with ";" between them. */
    const char* m_lpszRows;
};

std::pair<std::string, std::string> Cut(const std::string& strRow, const char* lpszAt) {
    const std::size_t nAt = strRow.find(lpszAt);
    return {strRow.substr(0, nAt), nAt == strRow.npos ? "" : strRow.substr(nAt + std::strlen(lpszAt))};
}

/** Sources and results. */
std::vector<std::pair<std::string, std::string>> Split(std::string strRows) {
    std::vector<std::pair<std::string, std::string>> vecRows;
    for (std::string strRow; !strRows.empty(); vecRows.push_back(Cut(strRow, " = ")))
        std::tie(strRow, strRows) = Cut(strRows, "; ");
    return vecRows;
}

/** Of flavours as a set. */
constexpr int IN_PLACE = 1 << SAFE | 1 << FORCED | 1 << COLUMN;
const CASES DIFFERENCES[] = {
    {IN_PLACE, VT_JSON, "empty = empty"},
    {IN_PLACE, VT_TIME, "int -59 = 516; big 4294967301 = 516"},
    {IN_PLACE, VT_VARCHAR, "blob xyz = txt xyz"},
    {1 << SAFE, VT_INT, "big 4294967301 = big 4294967301"},
    {1 << SAFE, VT_INT, "dbl 2.5 = dbl 2.5; dt 45322.25 = dt 45322.25; dec -2.75 = dec -2.75"},
    {1 << SAFE, VT_BIGINT, "dbl 2.5 = dbl 2.5; dt 45322.25 = dt 45322.25; dec -2.75 = dec -2.75"},
    {1 << FIELD, VT_TIME, "dec -2.75 = time -128d 00:00:03; hex 0x4142 = time 0d 04:38:26"},
    {1 << FIELD | 1 << NUMBER, VT_INT, "bytes AB = int 16706"},
    {1 << FIELD | 1 << NUMBER, VT_BIGINT, "bytes AB = big 16706"},
    {1 << FIELD | 1 << NUMBER, VT_DOUBLE, "bytes AB = dbl 16706"},
    {1 << FIELD | 1 << NUMBER, VT_DECIMAL, "bytes AB = dec 16706"},
    {1 << NUMBER, VT_BIGINT, "dec -2.75 = big -3"}};

std::string Expected(int nFlavour, const GRIDROW& stRow, std::size_t nTarget) {
    const std::string strSource = stRow.m_lpszSource;
    const BYTE bType = TARGETS[nTarget];
    for (const CASES& st : DIFFERENCES)
        for (const auto& [strFrom, strTo] : Split(st.m_lpszRows))
            if (st.m_nFlavour >> nFlavour & 1 && st.m_bType == bType && strFrom == strSource) return strTo;
    const bool bNull = strSource == "null" || strSource == "empty";
    if (nFlavour == FIELD && strSource == "any") return "any";
    // In place a text becomes a BLOB of its bytes, and for a column all do that can be a text.
    const std::string strText = stRow.m_arResult[5] ? stRow.m_arResult[5] : strSource;
    const bool bTextSource = strSource.starts_with("txt ") || strSource.starts_with("bytes ");
    if (bType == VT_BLOB && (bTextSource ? IsInPlace(nFlavour) : nFlavour == COLUMN && strText.starts_with("txt ")))
        return "blob " + strText.substr(strText.find(' ') + 1);
    if (nFlavour == NUMBER && !bNull && (bType == VT_VARCHAR || bType == VT_BLOB || bType == VT_JSON)) return NONE;
    return stRow.m_arResult[nTarget] ? stRow.m_arResult[nTarget] : strSource;
}

TEST(VarDataConvert, EachPairOfTypesInEachFlavour) {
    for (int nFlavour = 0; nFlavour < FLAVOURS; ++nFlavour)
        for (const GRIDROW& stRow : GRID)
            for (std::size_t i = 0; i < std::size(TARGETS); ++i)
                EXPECT_EQ(Expected(nFlavour, stRow, i), Converted(nFlavour, stRow.m_lpszSource, TARGETS[i]))
                    << "flavour " << nFlavour << ", " << stRow.m_lpszSource << " to " << int{TARGETS[i]};
}

void ExpectAll(const std::vector<CASES>& vecCases, st_MYSQLFIELDDEF* lpField = nullptr) {
    for (const CASES& st : vecCases)
        for (const auto& [strSource, strResult] : Split(st.m_lpszRows)) {
            EXPECT_EQ(strResult, Converted(st.m_nFlavour, strSource, st.m_bType, lpField))
                << "flavour " << st.m_nFlavour << ", " << strSource << ", to " << int{st.m_bType};
        }
}

TEST(VarDataConvert, LimitsAndRounding) {
    ExpectAll({{VALUE + ROUND, VT_INT, "dbl 2.5 = int 3; dec 2.5 = int 3; txt 2.5 = int 2"},
               {VALUE + ROUND, VT_BIGINT, "dbl -2.5 = big -3; dec -2.5 = big -3"},
               {VALUE, VT_INT,
                "dbl 1e300 = int -2147483648; dbl nan = int -2147483648; date 2024-13-01 = null; txt nothing = int 0"},
               {VALUE, VT_INT, "txt 4294967301 = int 5; txt -4294967301 = int -5; txt 1000000000000000000 = int 0"},
               {VALUE, VT_BIGINT, "txt -123456789012345678 = big -123456789012345678; txt 0b11 = big 3; txt - = big 0"},
               {VALUE, VT_BIGINT, "txt 1234567890123456789 = big 1234567890123456789; txt 1e2 = big 100"},
               {VALUE, VT_DATE, "dbl 1e300 = null"},
               {VALUE, VT_TIME,
                "dbl -0.25 = time 0d 06:00:00; int -90061 = time -1d 01:01:01; int 90061 = time 1d 01:01:01; int "
                "-22118399 = time 1d 23:59:59; txt -0:30:00 = time -128d 00:30:00"},
               {VALUE, VT_VARCHAR,
                "dbl 1e2 = txt 100; dec 1e-3 = txt 0.001; hex 0x414 = txt A; hex 0x4Z42 = txt ; hex  = txt "},
               {VALUE, VT_DOUBLE, "txt 1e3 = dbl 1000"},
               {VALUE, VT_DECIMAL, "txt abc = null; txt nothing = null"},
               {VALUE, VT_DATETIME, "txt 2024-02-30 = null; txt 2024-02-29 = dt 45351; txt 10:20:30 = null"},
               {VALUE, VT_TINYINT, "int 7 = int 7"},
               {VALUE, VT_CHAR, "int 7 = int 7"},
               {FIELD, VT_SMALLINT, "txt 7 = int 7"},
               {FIELD, VT_CLOB, "int 7 = txt 7"},
               {NUMBER, VT_TINYINT, "int 7 = 516"},
               {NUMBER, VT_VARCHAR, "null = null"},
               {NUMBER, VT_BIGINT, "hex 2.5 = big 3"},
               {FORCED, VT_TINYINT, "txt 7 = txt 7"},
               {COLUMN, VT_TINYINT, "txt 7 = int 7"},
               {SAFE, VT_CHAR, "int 7 = txt 7"},
               {FIELD, VT_INT, "bytes ABCD1234GHI = int 825373492; bytes  = int 0"},
               {SAFE, VT_INT,
                "big 2147483647 = int 2147483647; dbl 2.999999999 = dbl 2.999999999; dbl nan = dbl nan; dec 12.00 = "
                "int 12; dec 3000000000 = dec 3000000000; hex 0x100000000 = dec 4294967296"},
               {SAFE + ROUND, VT_INT, "dbl 2.999999999 = int 3"},
               {SAFE + ROUND, VT_BIGINT, "dbl 1e300 = dbl 1e+300"},
               {SAFE, VT_BIGINT, "dbl 1e19 = dbl 1e+19; hex 2.5 = dec 2.5"},
               {FORCED, VT_INT,
                "big 4294967301 = int 5; dec 3000000000 = null; dec -2147483648 = int -2147483648; dec -2147483648.5 = "
                "null; hex 0xFFFFFFFF = null"},
               {FORCED, VT_BIGINT, "dec 3000000000 = big 3000000000; dec 1e19 = null; hex 0x8000000000000801 = null"},
               {COLUMN, VT_INT, "dec 4294967301 = int 5"}});
}

TEST(VarDataConvert, EnumAndSetTakeTheirMembers) {
    char szA[] = "a", szB[] = "Bb", szC[] = "c";
    char* arMembers[70] = {szA, szB, szC};
    arMembers[65] = szC + 1; // the empty member; those between are null, which is the same
    st_MYSQLFIELDDEF stField{};
    stField.m_nEnumNum = 3;
    stField.m_arrEnumData = arMembers;
    ExpectAll({{COLUMN, VT_ENUM,
                "txt bB = int 1; txt d = null 1041; txt b = null 1041; int 65535 = int 65535; int 65536 = 516; int -1 "
                "= 516; big 3 = int 3; big -4294967296 = 516; dbl 65535.5 = 516; dbl nan = 516; dec 65536 = 516; dec "
                "2.5 = int 2; null = null; empty = 516; dt 2 = 516; hex 0x01 = 516"},
               {COLUMN + ROUND, VT_ENUM, "dbl 2.5 = int 3"},
               {COLUMN, VT_SET,
                "txt a,bB = big 3; txt c = big 4; txt  = big 0; txt d = null 1041; txt a, = null 1041; int 67 = big 8; "
                "int -1 = big -9223372036854775808; empty = null; dec 5 = dec 5; any = any"},
               {SAFE, VT_ENUM, "txt a = txt a"}},
              &stField);
    EXPECT_EQ("4", Converted(COLUMN, "null", VT_ENUM));
    EXPECT_EQ("4", Converted(COLUMN, "txt a", VT_SET));
    st_VARDATA stNoText;
    stNoText.SetData(nullptr, 2, 0);
    EXPECT_EQ(ERR_OK, stNoText.ChangeFieldType(nullptr, VT_ENUM, &stField, false));
    EXPECT_TRUE(stNoText.IsNull());
    // The members 0 and 64 share a bit.
    arMembers[64] = szB;
    arMembers[1] = szC;
    stField.m_nEnumNum = 66;
    EXPECT_EQ("big 1", Converted(COLUMN, "txt a,bb", VT_SET, &stField));
}

TEST(VarDataConvert, BitsAreBigEndianBytes) {
    // Copied, and in place.
    const CASES arCases[] = {
        {0, VT_TINYINT, "big 4294967301 = int 5; txt ABCDE = int 69"},
        {0, VT_SMALLINT, "int -2 = int -2; txt ABCDE = int 17477"},
        {0, VT_INT, "dec 2.5 = int 3; hex 0x102 = int 258; txt ABCDE = int 1111704645"},
        {0, VT_BIGINT, "int -2 = big -2; dec 2.5 = big 3; txt ABCDE = big 280284578885; txt  = big 0"},
        {0, VT_DOUBLE, "big 4294967301 = big 4294967301; blob AB = big 65"},
        // Only copied; the other values stay.
        {1, VT_DOUBLE, "int -2 = big -2"},
        {1, VT_INT, "dbl 1 = txt taken; null = txt taken"}};
    for (const CASES& st : arCases)
        for (const auto& [strSource, strResult] : Split(st.m_lpszRows))
            for (const bool bOwned : {false, true}) {
                ValueSource stSource(strSource, bOwned), stOut("txt taken", true);
                EXPECT_EQ(ERR_OK, stSource.m_stValue.GetCompatableBitValue(st.m_bType, stOut.m_stValue));
                EXPECT_EQ(strResult, ShowValue(stOut.m_stValue)) << strSource;
                // The low half of a BIGINT carries a mark in a copy.
                const bool bHalf = stSource.m_stValue.m_vt == VT_BIGINT && st.m_bType == VT_TINYINT;
                EXPECT_TRUE(!bHalf || stOut.m_stValue.m_bSign == 255);
                EXPECT_EQ(ERR_OK, stSource.m_stValue.ChangeBitFieldType(st.m_bType));
                EXPECT_EQ(st.m_nFlavour == 0 ? strResult : strSource, ShowValue(stSource.m_stValue)) << strSource;
                EXPECT_TRUE(!bHalf || stSource.m_stValue.m_bSign == 0);
            }
    for (const BYTE bType : {VT_VARCHAR, VT_BLOB, VT_HEXSTR}) {
        st_VARDATA stNoText;
        stNoText.SetData(nullptr, 5, 0);
        stNoText.m_vt = bType;
        EXPECT_EQ(ERR_OK, stNoText.ChangeBitFieldType(VT_BIGINT));
        EXPECT_TRUE(stNoText.IsNull()) << int{bType};
    }
}

TEST(VarDataConvert, LengthsAreBelievedAndTerminatorsNotNeeded) {
    // Without a terminator inside its length a text counts whole, and no byte behind it is read.
    const CASES arCases[] = {{FIELD, VT_INT, "txt 12 = int 12; hex 0x10 = int 16; bytes AB = int 65"},
                             {FIELD, VT_DOUBLE, "txt 1.5 = dbl 1.5"},
                             {FIELD, VT_DECIMAL, "txt 1.5 = dec 1.5"},
                             {FIELD, VT_DATE, "txt 2024-01-31 = date 2024-01-31"},
                             {FIELD, VT_DATETIME, "txt 2024-01-31 = dt 45322"},
                             {FIELD, VT_TIME, "txt 10:20:30 = time 0d 10:20:30"},
                             {FIELD, VT_VARCHAR, "hex 0x4142 = txt A"},
                             {COLUMN, VT_BLOB, "txt 12 = blob 1"}};
    Pool stPool;
    st_VARDATA stOut;
    st_MYSQLFIELDDEF stField{};
    for (const CASES& st : arCases)
        for (const auto& [strSource, strResult] : Split(st.m_lpszRows)) {
            ValueSource stSource(strSource, false, false);
            EXPECT_EQ(ERR_OK, Convert(st.m_nFlavour, stSource.m_stValue, &stPool, st.m_bType, stOut));
            EXPECT_EQ(strResult, ShowValue(IsInPlace(st.m_nFlavour) ? stSource.m_stValue : stOut)) << strSource;
            // Whatever the length, nothing outside of it is read.
            for (const int nLen : {INT_MIN, -1, 0, 1, 2})
                for (int nFlavour = 0; nFlavour < FLAVOURS; ++nFlavour)
                    for (int nType = 0; nType < 256; ++nType) {
                        ValueSource stShort(strSource, true, false), stBits(strSource, true, false);
                        stShort.m_stValue.m_nStrLen = stBits.m_stValue.m_nStrLen = nLen;
                        (void)Convert(nFlavour, stShort.m_stValue, &stPool, static_cast<BYTE>(nType), stOut, &stField);
                        EXPECT_EQ(ERR_OK, stBits.m_stValue.ChangeBitFieldType(static_cast<BYTE>(nType)));
                        stOut.SetNull();
                    }
        }
    // Long texts: those without a terminator are read up to 535 bytes.
    const std::string strLong = "txt " + std::string(600, ' ') + "7";
    EXPECT_EQ("int 7", Converted(FIELD, strLong, VT_INT));
    ValueSource stLong(strLong, false, false);
    EXPECT_EQ(ERR_OK, stLong.m_stValue.ChangeFieldType(nullptr, VT_INT, nullptr, false));
    EXPECT_EQ("int 0", ShowValue(stLong.m_stValue));
}

TEST(VarDataConvert, DirectReads) {
    std::string strReads;
    for (const char* lpszSource :
         {"int -7", "big 4294967301", "dbl -2.75", "dt 1e300", "dec 2.5", "date 2024-13-01", "date 2024-01-31"}) {
        const ValueSource st(lpszSource);
        strReads += PrintText("%d %lld %g, ", st.m_stValue.GetCompatibleInt(), st.m_stValue.GetCompatibleBigInt(),
                              st.m_stValue.GetCompatibleDouble());
    }
    EXPECT_EQ(strReads,
              "-7 -7 -7, 5 4294967301 4.29497e+09, -2 -2 -2.75, -2147483648 -9223372036854775808 1e+300, 3 3 2.5, "
              "0 0 0, 45322 45322 45322, ");
    EXPECT_EQ(-1.25, ValueSource("time -1d 06:00:00").m_stValue.GetCompatibleDouble());
}

TEST(VarDataConvert, TextForms) {
    std::string strTexts, strViews;
    for (const char* lpszSource :
         {"int -7", "big -9223372036854775808", "dbl 100", "dbl -0.0000001", "dbl inf", "dt 45322.4309056713",
          "dec -2.750", "date 2024-01-31", "time -128d 00:30:00", "hex 0x4142", "txt abc", "null"}) {
        ValueSource stSource(lpszSource);
        char szText[KESTRO_VALUE_TEXT_SIZE];
        const int nSize = stSource.m_stValue.GetCompatibleStringValue(szText);
        strTexts += std::to_string(nSize) + " " + szText + ", ";
        stSource.m_stValue.Covert2String(szText);
        // A view's length doesn't count its terminator.
        const st_VARDATA& st = stSource.m_stValue;
        const bool bView = st.m_lpszValue == szText;
        strViews += (bView ? std::string(szText, static_cast<std::size_t>(st.m_nStrLen)) : lpszSource) + ", ";
    }
    EXPECT_EQ(
        "3 -7, 21 -9223372036854775808, 4 100, 3 -0, 4 inf, 24 2024-01-31 10:20:30.250, 7 -2.750, 11 2024-01-31, "
        "9 -0:30:00, 3 AB, 0 , 0 , ",
        strTexts);
    EXPECT_EQ(
        "-7, -9223372036854775808, 100.000000, -0.000000, inf, 2024-01-31 10:20:30.250, -2.750, 2024-01-31, "
        "-0:30:00, hex 0x4142, txt abc, null, ",
        strViews);
    const char* lpszLowest = "-1.7976931348623157e308";
    EXPECT_EQ("blob " + PrintText("%.0f", std::stod(lpszLowest)),
              Converted(COLUMN, std::string("dbl ") + lpszLowest, VT_BLOB));
}

TEST(VarDataConvert, TextBecomesTheValueItWrites) {
    const CASES arCases[] = {{0, VT_TINYINT, "txt 12.9 = int 12; txt x = int 0"},
                             {0, VT_BIGINT, "txt 12.9 = big 12"},
                             {0, VT_DOUBLE, "txt 12.9 = dbl 12.9"},
                             {0, VT_DECIMAL, "txt 12.9 = dec 12.9; txt x = null"},
                             {0, VT_CLOB, "txt 12.9 = txt 12.9"},
                             {0, VT_DATETIME, "txt 2024-01-31 = dt 45322"},
                             {0, VT_DATE, "txt 2024-01-31 = date 2024-01-31"},
                             {0, VT_TIME, "txt x = null"},
                             // Other targets: its own text stays, a given one leaves nothing.
                             {1, VT_BLOB, "txt 12.9 = txt 12.9; int 5 = int 5"},
                             {1, VT_JSON, "txt 12.9 = txt 12.9"}};
    for (const CASES& st : arCases)
        for (const auto& [strSource, strResult] : Split(st.m_lpszRows))
            for (const bool bOwned : {false, true}) {
                ValueSource stOwn(strSource, bOwned), stGiven(strSource, bOwned);
                stOwn.m_stValue.CovertString2Data(st.m_bType);
                EXPECT_EQ(strResult, ShowValue(stOwn.m_stValue)) << strSource;
                // The text given may be the value's own.
                const bool bText = stGiven.m_stValue.m_vt == VT_VARCHAR;
                stGiven.m_stValue.CovertString2Data(st.m_bType, bText ? stGiven.m_stValue.m_lpszValue : nullptr,
                                                    bText ? stGiven.m_stValue.m_nStrLen : 0);
                EXPECT_EQ(st.m_nFlavour == 0 ? strResult : "empty", ShowValue(stGiven.m_stValue)) << strSource;
            }
}

TEST(VarDataConvert, ADecimalCommaOfTheProcessPlaysNoPart) {
    const locale_t hComma = newlocale(LC_ALL_MASK, "de_DE.UTF-8", nullptr);
    if (!hComma) GTEST_SKIP() << "no such locale here";
    const locale_t hBefore = uselocale(hComma);
    // The values here are shown and written by functions that do follow it.
    EXPECT_EQ("dbl 1,5", Converted(FIELD, "txt 1.5", VT_DOUBLE));
    EXPECT_EQ("txt 1.5", Converted(FIELD, "dbl 1,5", VT_VARCHAR));
    uselocale(hBefore);
    freelocale(hComma);
}

TEST(VarDataConvert, TextIsCleanedUpIntoANumber) {
    for (const bool bOwned : {false, true})
        for (const bool bTerminated : {false, true}) {
            Pool stPool;
            ValueSource stMixed("txt 12.5-3", bOwned, bTerminated),
                stDate("txt 2024-01-31 10:20:30", bOwned, bTerminated);
            EXPECT_EQ(ERR_OK, stMixed.m_stValue.CovertStringToNumber(&stPool));
            EXPECT_EQ("dbl 12.5", ShowValue(stMixed.m_stValue));
            EXPECT_EQ(ERR_OK, stDate.m_stValue.CovertDateStrToNumberStr(&stPool));
            EXPECT_EQ("txt 20240131102030", ShowValue(stDate.m_stValue));
            EXPECT_EQ(bOwned, stDate.m_stValue.OwnsBuffer());
        }
    ValueSource stBytes("bytes AB"), stClean("txt 5"), stView("txt 1-2"), stNumber("int 5");
    EXPECT_EQ(ERR_OK, stBytes.m_stValue.CovertStringToNumber(nullptr));
    EXPECT_EQ("dbl 16706", ShowValue(stBytes.m_stValue));
    EXPECT_EQ(ERR_OK, stClean.m_stValue.CovertDateStrToNumberStr(nullptr));
    EXPECT_EQ(ERR_MEMORY, stView.m_stValue.CovertDateStrToNumberStr(nullptr));
    EXPECT_EQ("txt 1-2", ShowValue(stView.m_stValue));
    EXPECT_EQ(ERR_DATA_TYPE, stNumber.m_stValue.CovertStringToNumber(nullptr));
    EXPECT_EQ(ERR_DATA_TYPE, stNumber.m_stValue.CovertDateStrToNumberStr(nullptr));
}

std::wstring Taken(wchar_t* lpszWide) {
    const std::unique_ptr<wchar_t[]> lpOwner(lpszWide);
    return lpszWide ? lpszWide : L"no memory";
}

TEST(VarDataConvert, WideText) {
    std::wstring strDoubles;
    for (const double dbl : {0.0, -1e-7, 1e-6, 0.00123456789, 1.0, 1.5, 1024.00005, 1048577.126, 2147483647.5, -0x1p63,
                             0x1p63, 1e30, static_cast<double>(NAN)})
        strDoubles += Taken(KestroConvertNumber2WChar(dbl)) + L" ";
    EXPECT_EQ(
        L"0.000000 -0.000000 0.000001 0.001234568 1 1.5 1024.0001 1048577.13 2147483647 -9223372036854775808 "
        L"9223372036854775808.000000 1000000000000000019884624838656.000000 nan ",
        strDoubles);
    EXPECT_EQ(L"-9223372036854775808", Taken(KestroConvertNumber2WChar(LLONG_MIN)));
    EXPECT_EQ(L"-3071:59:59", Taken(KestroConvertTime(KESTROTIME{59, 59, 23, -127})));
    EXPECT_EQ(L"2024-01-31", Taken(KestroConvertDate(KESTRODATE{31, 1, 2024})));
    EXPECT_EQ(L"2024-01-31 06:00:00", Taken(KestroConvertDate(45322.25)));
    const ValueSource stDecimal("dec -2.750");
    EXPECT_EQ(L"-2.750", Taken(KestroDecimal2WChar(&stDecimal.m_stValue)));
    const std::vector<unsigned char> vecBytes(40, 0x11);
    EXPECT_EQ(L"(40) " + std::wstring(64, L'1'), Taken(KestroConvertBinary(vecBytes.data(), 40)));
    EXPECT_EQ(L"(1) 11", Taken(KestroConvertBinary(vecBytes.data(), 1)));
    EXPECT_EQ(L"(0) ", Taken(KestroConvertBinary(nullptr, INT_MIN)));
}

} // namespace
