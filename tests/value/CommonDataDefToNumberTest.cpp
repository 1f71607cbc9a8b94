#include "CommonDataDefToNumber.h"

#include <gtest/gtest.h>

#include "ExactBytes.h"
#include "ValueRows.h"

TEST(CommonDataDefToNumberTest, SizesWithAndWithoutUnits) {
    const std::string strZeros(59, '0');
    for (const auto& arRow : RowsOf(
             "500 500; 500M 524288000; 500m 524288000; 500MB 524288000; 1kb 1024; -2K -2048; 1.9G 1073741824;"
             "1T 1099511627776; 0x1B 27; 0xfK 15360; 1e3 1000; 5X 0; 50B 0; 5B 0; KB 0; K 0; B 0; MB5 0; 9000000T 0;" +
             strZeros + "001 1;" + strZeros + "0001 0")) {
        const ExactText stText(arRow[0]);
        EXPECT_EQ(std::to_string(ToNumber(stText.Data(), stText.Size())), arRow[1]) << arRow[0];
    }
    EXPECT_EQ(ToNumber("", 0), 0);
}
