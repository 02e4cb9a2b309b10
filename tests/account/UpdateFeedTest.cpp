#include "account/UpdateFeed.h"
#include "account/UpdateOffer.h"

#include "account/Release.h"

#include <gmock/gmock.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::HasSubstr;

namespace {

const SigningKey feedKey;

UpdateGround groundOf(const char* installed) {
    return {.origin = "https://updates.example",
            .installed = ReleaseVersion::parse(installed).value(),
            .takesPrereleases = false,
            .newestVerified = {},
            .architecture = "amd64"};
}

std::optional<UpdateOffer> offerOf(const std::string& items, const UpdateGround& ground) {
    return chooseOffer(parseFeed(feedOf(items)).value(), ground);
}

std::string refusalOf(const std::string& items, const UpdateGround& ground) {
    try {
        offerOf(items, ground);
    } catch (const UpdateFault& fault) {
        return fault.what();
    }
    return "nothing was refused";
}

} // namespace

TEST(UpdateFeed, ReadsReleasesWithTheirFiles) {
    const auto items = parseFeed(R"(<?xml version="1.0" encoding="ISO-8859-1"?>
<rss xmlns:s="http://www.andymatuschak.org/xml-namespaces/sparkle"><channel><item><title>x</title>
<s:version> 1.5 </s:version><s:channel>beta</s:channel><other><item><s:version>9</s:version></item></other>
<description><![CDATA[ Caf)"
                                 "\xE9"
                                 R"( <b>&amp;</b>
two]]></description>
<enclosure url="https://h/a.deb" length="12" s:os="linux" type="t" s:edSignature="c2ln"/><enclosure length="-1"/>
</item><item><enclosure s:version="1.4" url="b"/></item></channel></rss>)");
    ASSERT_TRUE(items);
    ASSERT_EQ(items->size(), 2u);
    const FeedItem& first = items->front();
    EXPECT_EQ(first.version + first.channel, "1.5beta");
    EXPECT_EQ(first.notes, "Caf\u00E9 <b>&amp;</b>\ntwo") << "as plain text";
    ASSERT_EQ(first.enclosures.size(), 2u);
    EXPECT_EQ(first.enclosures[0].url + first.enclosures[0].system + first.enclosures[0].signature,
              "https://h/a.deblinuxc2ln");
    EXPECT_EQ(first.enclosures[0].length, 12u);
    EXPECT_EQ(first.enclosures[1].length, 0u);
    EXPECT_EQ(items->back().version, "1.4");
}

TEST(UpdateFeed, WhatIsNoAppcastIsRefused) {
    std::string deep = "<rss><channel>";
    for (int i = 0; i < 20; ++i)
        deep += "<a>";
    std::string many;
    for (int i = 0; i < 300; ++i)
        many += "<item/>";
    for (const std::string& text :
         {std::string(), std::string("<html><body>Sign in</body></html>"), std::string("{}"),
          std::string("<rss></rss>"), feedOf("<item>"), feedOf("").substr(30), deep, feedOf(many),
          feedOf(std::string(longestFeed, ' ')),
          std::string("<!DOCTYPE rss [<!ENTITY a \"aaaa\"><!ENTITY b \"&a;&a;\">]><rss><channel>&b;</channel></rss>"),
          std::string("<!DOCTYPE rss SYSTEM \"file:///etc/passwd\"><rss><channel/></rss>"),
          std::string("<?xml version=\"1.0\" encoding=\"EBCDIC\"?><rss><channel/></rss>")})
        EXPECT_FALSE(parseFeed(text)) << text.substr(0, 80);
    EXPECT_TRUE(parseFeed(feedOf("")));
    const auto long_ = parseFeed(feedOf("<item><description>" + std::string(50'000, 'n') + "</description></item>"));
    EXPECT_EQ(long_.value().front().notes.size(), 20'000u);
}

TEST(UpdateOffer, IsTheNewestThatFits_WithWhatIsNewSinceThen) {
    Release one("1.5.0", "one", feedKey), two("1.6.0", "two", feedKey), old("1.3", "old", feedKey);
    one.notes = "Fifth";
    two.notes = "Sixth";
    Release next("2.0-beta.1", "beta", feedKey), tried("1.9", "tried", feedKey), other("1.8", "other", feedKey);
    tried.more = "<sparkle:channel>beta</sparkle:channel>";
    other.address = "https://updates.example/fenlo_1.8_arm64.deb";
    Release nonsense("newest", "x", feedKey);
    const std::string feed =
        old.item() + one.item() + next.item() + two.item() + nonsense.item() + tried.item() + other.item();

    const auto offer = offerOf(feed, groundOf("1.4"));
    ASSERT_TRUE(offer && offer->package);
    EXPECT_EQ(offer->version.text(), "1.6.0");
    ASSERT_EQ(offer->notes.size(), 2u);
    EXPECT_EQ(offer->notes[0].text + offer->notes[1].text, "SixthFifth");
    EXPECT_FALSE(offerOf(feed, groundOf("1.6")));
    Release named("1.7", "named", feedKey);
    for (const auto& [name, fits] : {std::pair("fenlo.deb", true), std::pair("a_b/fenlo_1_all.deb?x", true),
                                     std::pair("fenlo_amd64.deb.zip", false), std::pair("fenlo_i386.deb", false)}) {
        named.address = std::string("https://updates.example/") + name;
        EXPECT_EQ(offerOf(named.item(), groundOf("1.4")).has_value(), fits) << name;
    }
    EXPECT_FALSE(offerOf("", groundOf("1.4")));

    UpdateGround beta = groundOf("2.0-alpha");
    beta.takesPrereleases = true;
    EXPECT_EQ(offerOf(feed, beta).value().version.text(), "2.0-beta.1");
    UpdateGround unpackaged = groundOf("1.4");
    unpackaged.architecture.clear();
    EXPECT_EQ(offerOf(feed, unpackaged).value().version.text(), "1.8");
    EXPECT_FALSE(offerOf(feed, unpackaged).value().package);
}

TEST(UpdateOffer, AFeedThatLiesIsRefused) {
    const UpdateGround ground = groundOf("1.4");
    const Release good("1.5", "content", feedKey);
    EXPECT_TRUE(offerOf(good.item(), ground));

    Release bad = good;
    for (const char* address :
         {"https://evil.example/fenlo_1_amd64.deb", "http://updates.example/fenlo_1_amd64.deb",
          "https://updates.example@evil.example/fenlo_1_amd64.deb", "https://updates.example:444/fenlo_1_amd64.deb",
          "file:///tmp/fenlo_1_amd64.deb", "fenlo_1_amd64.deb"}) {
        bad.address = address;
        EXPECT_THAT(refusalOf(bad.item(), ground), HasSubstr("on another server")) << address;
    }
    bad = good;
    for (const char* length : {"", "0", "-5", "99999999999", "12x"}) {
        bad.length = length;
        EXPECT_THAT(refusalOf(bad.item(), ground), HasSubstr("no possible length")) << length;
    }
    bad = good;
    for (const char* signature : {"", "c2ln", "not Base64 at all"}) {
        bad.signature = signature;
        EXPECT_THAT(refusalOf(bad.item(), ground), HasSubstr("no signature")) << signature;
    }
    bad = good;
    bad.version = "one point five";
    EXPECT_THAT(refusalOf(bad.item(), ground), HasSubstr("no version"));

    UpdateGround knowsMore = groundOf("1.4");
    knowsMore.newestVerified = ReleaseVersion::parse("1.5.1");
    EXPECT_THAT(refusalOf(good.item(), knowsMore), HasSubstr("though it had 1.5.1 before"));
}
