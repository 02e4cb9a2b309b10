#include "account/ReleaseVersion.h"

#include <gtest/gtest.h>

using namespace fenlo;

TEST(ReleaseVersion, OrdersNumbersAndWhatComesBeforeARelease) {
    const char* const inOrder[] = {"0.9",       "1.0-alpha", "1.0-beta.2", "1.0-beta11", "1.0-rc1",
                                   "1.0-rc1.1", "1.0",       "1.0.0.0.1",  "1.0.1",      "1.9.9",
                                   "1.10",      "2-b",       "2",          "10.0"};
    for (std::size_t i = 0; i < std::size(inOrder); ++i)
        for (std::size_t j = 0; j < std::size(inOrder); ++j)
            EXPECT_EQ(ReleaseVersion::parse(inOrder[i]).value() <=> ReleaseVersion::parse(inOrder[j]).value(), i <=> j)
                << inOrder[i] << " and " << inOrder[j];
    EXPECT_EQ(ReleaseVersion::parse("1.4"), ReleaseVersion::parse("1.4.0"));
    EXPECT_EQ(ReleaseVersion::parse("1.0-beta.02"), ReleaseVersion::parse("1.0-beta2"));
}

TEST(ReleaseVersion, GarbageIsNoVersion) {
    for (const char* text : {"",
                             ".",
                             "1.",
                             ".1",
                             "1..2",
                             "v1",
                             "1.2 ",
                             " 1",
                             "1,2",
                             "-1",
                             "1.-2",
                             "1.2-",
                             "1.2-1",
                             "1.2-b/../x",
                             "1.2+5",
                             "1.2-rc 1",
                             "1.2.3.4.5.6.7",
                             "1234567890",
                             "0x10",
                             "1e3",
                             "\xD9\xA1",
                             "1.2-aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"})
        EXPECT_FALSE(ReleaseVersion::parse(text)) << text;
}

TEST(ReleaseVersion, IsReadOutOfAPackagesVersion) {
    EXPECT_EQ(ReleaseVersion::ofPackage("1.4.0"), ReleaseVersion::parse("1.4"));
    EXPECT_EQ(ReleaseVersion::ofPackage("2:1.4-3.1"), ReleaseVersion::parse("1.4"));
    EXPECT_EQ(ReleaseVersion::ofPackage("1.4~rc2-1"), ReleaseVersion::parse("1.4-rc2"));
    for (const char* text : {"", "1:", "1.4+dfsg", "1.4-1ubuntu1-x"})
        EXPECT_FALSE(ReleaseVersion::ofPackage(text)) << text;
}
