#include <gtest/gtest.h>

#include <climits>

#include "CommonDataDef.h"
#include "VarData.h"

namespace {

// File, column, suffix, answer, index (99 for untouched).
TEST(CommonDataDefColumnTest, IndexTypes) {
    const int arRow[][5] = {
        {3, VT_SMALLINT, 1, 0, 11}, {11, VT_DATE, 1, 0, 11},     {3, VT_BIGINT, 1, 0, 12}, {3, VT_DATETIME, 1, 0, 13},
        {3, VT_DECIMAL, 1, 0, 15},  {3, VT_CLOB, 1, 0, 28},      {3, VT_CHAR, 2, 0, 25},   {11, VT_VARCHAR, 5, 0, 18},
        {3, VT_INT, 2, 0, 11},      {3, VT_JSON, 1, 318, 99},    {4, VT_TIME, 1, 0, 1},    {4, VT_BIGINT, 1, 0, 2},
        {4, VT_CHAR, 2, 0, 4},      {4, VT_VARCHAR, 1, 318, 99}, {5, VT_BIGINT, 1, 0, 5},  {5, VT_CHAR, 1, 0, 6},
        {5, VT_DOUBLE, 1, 319, 99}, {1, VT_INT, 1, 319, 99},     {10, VT_INT, 1, 319, 99}, {6, VT_INT, 1, 320, 99}};
    for (const auto& r : arRow) {
        BYTE bIndex = 99;
        EXPECT_EQ(GetIndexType(BYTE(r[0]), BYTE(r[1]), BYTE(r[2]), bIndex), r[3]) << &r - arRow;
        EXPECT_EQ(bIndex, r[4]) << &r - arRow;
        EXPECT_EQ(GetMysqlIndexType(bIndex) != nullptr, r[3] == 0);
    }
}

// Type, precision, length, answer, length in the buffer (99 for untouched), client's type.
TEST(CommonDataDefColumnTest, FieldLengthsAndClientTypes) {
    const int arRow[][6] = {
        {VT_INT, 0, 0, 0, 5, 3},         {VT_DATETIME, 0, 0, 0, 9, 12},    {VT_CHAR, 0, 249, 0, 251, 254},
        {VT_CHAR, 0, 250, 0, 256, 254},  {VT_BLOB, 0, 0, 0, 2, 252},       {VT_VARCHAR, 0, -1, 1501, 99, 253},
        {VT_NULL, 0, 7, 0, 0, 253},      {VT_JSON, 0, 300, 0, 301, 253},   {VT_CLOB, 0, INT_MAX, 1501, 99, 253},
        {VT_TINYINT, 0, 0, 0, 2, 1},     {VT_ENUM, 0, 0, 0, 3, 253},       {VT_SET, 0, 0, 1501, 99, 253},
        {VT_EMPTY, 0, 0, 1501, 99, 253}, {VT_HEXSTR, 0, 0, 1501, 99, 253}, {VT_DECIMAL, 2, 0, 0, 4, 253},
        {VT_DECIMAL, 4, 0, 0, 5, 253},   {VT_DECIMAL, 7, 0, 0, 6, 253},    {VT_DECIMAL, 9, 0, 0, 7, 253},
        {VT_DECIMAL, 10, 0, 0, 11, 253}, {VT_DECIMAL, 36, 0, 0, 19, 253},  {VT_DECIMAL, 200, 0, 0, 19, 253},
        {VT_DECIMAL, 255, 0, 0, 19, 253}};
    for (const auto& r : arRow) {
        int nBufferLen = 99;
        EXPECT_EQ(GetFieldBufferLen(BYTE(r[0]), BYTE(r[1]), r[2], nBufferLen), r[3]) << &r - arRow;
        EXPECT_EQ(nBufferLen, r[4]) << &r - arRow;
        EXPECT_EQ(GetMysqlFieldType(BYTE(r[0])), r[5]);
    }
}

TEST(CommonDataDefColumnTest, FlagsSetsAndEstimates) {
    for (int nScale = -1; nScale < 130; ++nScale) {
        BYTE bFlags = 0x56;
        SetDecimalScale(bFlags, nScale);
        SetAllowNull(bFlags, nScale % 2 == 0);
        EXPECT_EQ(bFlags & 7, nScale % 2 == 0 ? 7 : 6);
        EXPECT_EQ(GetDecimalScale(bFlags), nScale >= 0 && nScale <= 30 ? nScale : 127);
    }
    relbitmap nSet = 0;
    AddRel(1, nSet);
    AddRel(128, nSet);
    EXPECT_EQ(nSet, 0x8000000000000001u);
    EXPECT_TRUE(BmsOverlap(nSet, 3) && BmsIsSubset(1, nSet) && !BmsIsSubset(3, nSet) && !BmsOverlap(nSet, 2));
    EXPECT_EQ(GetDefalutSelectivity(0, 0), GetDefalutSelectivity(0x16, 0));
    EXPECT_LT(GetDefalutSelectivity(0x14, 0), GetDefalutSelectivity(0xFF, 0));
    const long long arLog[][2] = {{-5, 0}, {1, 0}, {2, 1}, {3, 2}, {1024, 10}, {1025, 11}, {LLONG_MAX, 63}};
    for (const auto& arRow : arLog)
        EXPECT_EQ(KestroLog2(arRow[0]), arRow[1]);
    EXPECT_DOUBLE_EQ(KestroLog(2, 8), 3);
}

} // namespace
