#include "MD5.h"

#include <gtest/gtest.h>

#include <string>

#include "Fields.h"

// The suite of RFC 1321 and lengths around the place of the message's length, in parts, one behind another.
TEST(MD5Test, DigestsInParts) {
    const std::string strRows =
        "|d41d8cd98f00b204e9800998ecf8427e|a|0cc175b9c0f1b6a831c399e269772661|abc|900150983cd24fb0d6963f7d28e17f72|"
        "message digest|f96b697d7cb7938d525a2f31aaf161d0|"
        "abcdefghijklmnopqrstuvwxyz|c3fcd3d76192e4007dfb496cca67e13b|"
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789|d174ab98d277d9f5a5611c2c9f419d9f|" +
        Repeat("1234567890", 8) + "|57edf4a22be3c955ac49da2e2107b67a|" + Repeat("x", 55) +
        "|04364420e25c512fd958a70738aa8f72|" + Repeat("x", 56) + "|668a72d5ba17f08e62dabcafad6db14b|" +
        Repeat("x", 64) + "|c1bb4f81d892b2d57947682aeb252456";
    const auto arField = Fields(strRows);
    MD5 stDigest;
    char szDigest[33];
    for (std::size_t n = 0; n < arField.size(); n += 2)
        for (const int nPart : {1, 7, 64, 1000}) {
            const int nLen = static_cast<int>(arField[n].size());
            for (int i = 0; i < nLen; i += nPart)
                stDigest.MD5Update(&arField[n][i], std::min(nPart, nLen - i));
            stDigest.MD5Final(szDigest);
            EXPECT_EQ(szDigest, arField[n + 1]);
        }
}
