#include <gtest/gtest.h>

#include <string>

#include "CommonDataDef.h"
#include "Fields.h"

namespace {

TEST(CommonDataDefHexTest, EveryByteComesBack) {
    BYTE arBytes[256], arBack[256];
    char szText[513];
    wchar_t szWide[513];
    for (int i = 0; i < 256; ++i)
        arBytes[i] = static_cast<BYTE>(i);
    HexConvertChar(arBytes, 256, szText);
    HexConvertWC(arBytes, 256, szWide);
    EXPECT_EQ(std::string(szText, 8) + (szText + 506), "00010203FDFEFF");
    int nLen;
    EXPECT_EQ(CharConvertHex(szText, arBack, 256, nLen), 0);
    EXPECT_EQ(std::string(arBack, arBack + nLen), std::string(arBytes, arBytes + 256));
    EXPECT_EQ(WCharConvertHex(szWide, arBack, 255, nLen), 0);
    EXPECT_EQ(std::string(arBack, arBack + nLen), std::string(arBytes, arBytes + 255));
}

// Text, limit, answer, bytes.
TEST(CommonDataDefHexTest, ReadsWithBlanksAndStopsAtItsLimit) {
    for (const char* lpszRow : {"4 1|9|0|A", " 4\t1\r\n4 2 |9|0|AB", "414|9|0|A", "4142|1|0|A", "41xx|1|0|A",
                                "41xx|2|25|A", "4\xC1|9|25|", "|9|0|", "4142|-1|0|", "6a6A|9|0|jj"}) {
        const auto arField = Fields(lpszRow);
        BYTE arBytes[9];
        int nLen;
        EXPECT_EQ(CharConvertHex(arField[0].c_str(), arBytes, std::stoi(arField[1]), nLen), std::stoi(arField[2]));
        EXPECT_EQ(std::string(arBytes, arBytes + nLen), arField[3]) << lpszRow;
    }
    BYTE bByte;
    int nLen;
    EXPECT_EQ(WCharConvertHex(L"4\u0131", &bByte, 1, nLen), 25);
}

TEST(CommonDataDefHexTest, NumbersOutOfLiterals) {
    for (const char* lpszRow : {"0x1f|31", "0X1Fg2|31", "zz10|16", "0x|0", "|0", "0xFFFFFFFFFFFFFFFFF|-1"})
        EXPECT_EQ(HexStringToNumber(Fields(lpszRow)[0].c_str()), std::stoll(Fields(lpszRow)[1]));
    EXPECT_EQ(GetHexEncodedData("\xFF\x01", 2), 0xFF01);
    EXPECT_EQ(GetHexEncodedData("\x01\x02\x03\x04\x05\x06\x07\x08\x09", 9), 0x0102030405060708);
    EXPECT_EQ(GetHexEncodedData("A", -1), 0);
}

} // namespace
