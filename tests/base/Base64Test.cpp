#include "base/Base64.h"

#include <gtest/gtest.h>

using namespace fenlo;

TEST(Base64, EncodesForAddressesAndDecodesTheStandardForm) {
    EXPECT_EQ(encodeBase64Url(""), "");
    EXPECT_EQ(encodeBase64Url("f"), "Zg");
    EXPECT_EQ(encodeBase64Url("fo"), "Zm8");
    EXPECT_EQ(encodeBase64Url("foo"), "Zm9v");
    EXPECT_EQ(encodeBase64Url("\xFB\xFF\xFE"), "-__-");

    EXPECT_EQ(decodeBase64(""), "");
    EXPECT_EQ(decodeBase64("Zg=="), "f");
    EXPECT_EQ(decodeBase64("Zm8="), "fo");
    EXPECT_EQ(decodeBase64("+//+"), "\xFB\xFF\xFE");
    for (const char* broken : {"Zg", "Zg=", "Z===", "====", "-__-", "Zm9v Zm9v", "Zm9v\nZm8", "Z\xC3\xA4=", "Zg==Zg=="})
        EXPECT_FALSE(decodeBase64(broken)) << broken;
}
