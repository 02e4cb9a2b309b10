#include "base/Url.h"

#include <gtest/gtest.h>

using namespace fenlo::url;

TEST(Url, OriginsAndReferencesAreReadStrictly) {
    EXPECT_EQ(originOf("HTTPS://Hub.example:8443/a?b"), "https://hub.example:8443");
    EXPECT_EQ(originOf("http://hub.example?x"), "http://hub.example");
    for (const char* url : {"", "http://", "ftp://hub.example/", "hub.example/a", "https://hub.example@evil.example/",
                            "file:///etc/passwd"})
        EXPECT_EQ(originOf(url), "") << url;
    EXPECT_NE(originOf("https://hub.example\\@evil.example/"), "https://hub.example@evil.example");

    const std::string base = "https://hub.example/api/tree?x=1/2";
    EXPECT_EQ(resolveAddress(base, "https://cdn.example/a"), "https://cdn.example/a");
    EXPECT_EQ(resolveAddress(base, "//cdn.example/a"), "https://cdn.example/a");
    EXPECT_EQ(resolveAddress(base, "/b?c#d"), "https://hub.example/b?c");
    EXPECT_EQ(resolveAddress(base, "other"), "https://hub.example/api/other");
    EXPECT_EQ(resolveAddress(base, "?page=2"), "https://hub.example/api/tree?page=2");
    for (const char* reference : {"", "#top", "ftp://cdn.example/", "https://user@cdn.example/", "javascript://x"})
        EXPECT_EQ(resolveAddress(base, reference), "") << reference;
}
