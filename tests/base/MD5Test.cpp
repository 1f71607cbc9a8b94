#include "MD5.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Digest(const std::string& strText, int nPart) {
    MD5 stDigest;
    const int nLen = static_cast<int>(strText.size());
    for (int i = 0; i < nLen; i += nPart)
        stDigest.MD5Update(strText.data() + i, std::min(nPart, nLen - i));
    char szDigest[33];
    stDigest.MD5Final(szDigest);
    return szDigest;
}

// The suite of RFC 1321, and lengths around the place of the message's length in the last block.
TEST(MD5Test, DigestsWholeAndInParts) {
    const std::string strDigits = "1234567890";
    const struct {
        std::string m_strText;
        const char* m_lpszDigest;
    } arRow[] = {{"", "d41d8cd98f00b204e9800998ecf8427e"},
                 {"a", "0cc175b9c0f1b6a831c399e269772661"},
                 {"abc", "900150983cd24fb0d6963f7d28e17f72"},
                 {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
                 {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
                 {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789", "d174ab98d277d9f5a5611c2c9f419d9f"},
                 {strDigits + strDigits + strDigits + strDigits + strDigits + strDigits + strDigits + strDigits,
                  "57edf4a22be3c955ac49da2e2107b67a"},
                 {std::string(55, 'x'), "04364420e25c512fd958a70738aa8f72"},
                 {std::string(56, 'x'), "668a72d5ba17f08e62dabcafad6db14b"},
                 {std::string(64, 'x'), "c1bb4f81d892b2d57947682aeb252456"}};
    for (const auto& stRow : arRow)
        for (const int nPart : {1, 7, 64, 1000})
            EXPECT_EQ(Digest(stRow.m_strText, nPart), stRow.m_lpszDigest);
}

TEST(MD5Test, StartsAnewBehindAFinal) {
    MD5 stDigest;
    unsigned char arDigest[16];
    char szDigest[33];
    stDigest.MD5Update("rubbish", 7);
    stDigest.MD5Final(arDigest);
    stDigest.MD5Update("abc", -3);
    stDigest.MD5Update("abc", 3);
    stDigest.MD5Final(szDigest);
    EXPECT_STREQ(szDigest, "900150983cd24fb0d6963f7d28e17f72");
}

} // namespace
