#include "CommonDataDefToNumber.h"

#include "Fields.h"

TEST(CommonDataDefToNumberTest, SizesWithAndWithoutUnits) {
    CheckRows({"500=>500",
               "500M=>524288000",
               "500m=>524288000",
               "500MB=>524288000",
               "1kb=>1024",
               "-2K=>-2048",
               "1.9G=>1073741824",
               "1T=>1099511627776",
               "0x1B=>27",
               "0xfK=>15360",
               "1e3=>1000",
               "5X=>0",
               "50B=>0",
               "5B=>0",
               "KB=>0",
               "K=>0",
               "B=>0",
               "MB5=>0",
               "=>0",
               "9000000T=>0",
               "00000000000000000000000000000000000000000000000000000000000001=>1",
               "000000000000000000000000000000000000000000000000000000000000001=>0"},
              [](const auto& arText) { return std::to_string(ToNumber(arText[0].Data(), arText[0].Size())); });
}
