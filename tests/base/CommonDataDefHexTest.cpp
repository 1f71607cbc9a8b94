#include "CommonDataDef.h"
#include "Fields.h"

namespace {

TEST(CommonDataDefHexTest, EveryByteComesBack) {
    for (int i = 0; i < 256; ++i) {
        const BYTE arBytes[] = {static_cast<BYTE>(i), static_cast<BYTE>(~i)};
        BYTE arBack[2], arWideBack[2];
        char szText[5];
        wchar_t szWide[5];
        int nLen, nWideLen;
        HexConvertChar(arBytes, 2, szText);
        HexConvertWC(arBytes, 2, szWide);
        EXPECT_EQ(CharConvertHex(szText, arBack, 2, nLen) + WCharConvertHex(szWide, arWideBack, 2, nWideLen), 0);
        EXPECT_TRUE(nLen == 2 && arBack[0] == arBytes[0] && arBack[1] == arBytes[1]) << szText;
        EXPECT_TRUE(nWideLen == 2 && arWideBack[0] == arBytes[0] && arWideBack[1] == arBytes[1]);
    }
}

// Text and limit, answer and bytes.
TEST(CommonDataDefHexTest, ReadsWithBlanksAndStopsAtItsLimit) {
    CheckRows({"4 1|9=>0|A", " 4\t1\r\n4 2 |9=>0|AB", "414|9=>0|A", "4142|1=>0|A", "41xx|1=>0|A", "41xx|2=>25|A",
               "4\xC1|9=>25|", "|9=>0|", "4142|-1=>0|", "6a6A|9=>0|jj"},
              [](const auto& arText) {
                  BYTE arBytes[9];
                  int nLen;
                  const int nResult =
                      CharConvertHex(std::string(arText[0].View()).c_str(), arBytes, arText[1].Number(), nLen);
                  return std::to_string(nResult) + "|" + std::string(arBytes, arBytes + nLen);
              });
    BYTE bByte;
    int nLen;
    EXPECT_EQ(WCharConvertHex(L"4\u0131", &bByte, 1, nLen), 25);
}

TEST(CommonDataDefHexTest, NumbersOutOfLiterals) {
    CheckRows(
        {"0x1f=>31", "0X1Fg2=>31", "zz10=>16", "0x=>0", "=>0", "0xFFFFFFFFFFFFFFFFF=>-1"},
        [](const auto& arText) { return std::to_string(HexStringToNumber(std::string(arText[0].View()).c_str())); });
    EXPECT_EQ(GetHexEncodedData("\xFF\x01", 2), 0xFF01);
    EXPECT_EQ(GetHexEncodedData("\x01\x02\x03\x04\x05\x06\x07\x08\x09", 9), 0x0102030405060708);
}

} // namespace
