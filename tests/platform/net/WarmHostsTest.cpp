#include "platform/linux/net/WarmHosts.h"

#include <gtest/gtest.h>

using namespace fenlo;
using namespace std::chrono_literals;

TEST(WarmHosts, WarmsEachHostOnceAndAgainWhenItHasCooled) {
    WarmHosts hosts(20);
    const WarmHosts::Moment start{1h};
    EXPECT_TRUE(hosts.beginWarming("https://a:443", start));
    EXPECT_FALSE(hosts.beginWarming("https://a:443", start)) << "one is under way";
    EXPECT_TRUE(hosts.beginWarming("https://b:443", start));

    hosts.used("https://a:443", start + 1s);
    hosts.endWarming("https://a:443");
    EXPECT_FALSE(hosts.beginWarming("https://a:443", start + 20s));
    EXPECT_TRUE(hosts.beginWarming("https://a:443", start + 21s));
}

TEST(WarmHosts, TriesAgainAfterAFailure) {
    WarmHosts hosts(20);
    const WarmHosts::Moment start{1h};
    EXPECT_TRUE(hosts.beginWarming("https://a:443", start));
    hosts.endWarming("https://a:443");
    EXPECT_TRUE(hosts.beginWarming("https://a:443", start));
}
