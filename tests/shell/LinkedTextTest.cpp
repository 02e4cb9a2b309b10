#include "shell/LinkedText.h"

#include <gtest/gtest.h>

using namespace fenlo;

namespace {

/// The parts as one line, links in angle brackets.
std::string marked(const std::string& text) {
    std::string line;
    std::string joined;
    for (const TextPart& part : splitLinks(text)) {
        line += part.kind == TextPart::Kind::link ? "<" + part.text + ">" : part.text;
        joined += part.text;
    }
    EXPECT_EQ(joined, text) << "nothing is lost";
    return line;
}

} // namespace

TEST(LinkedText, AddressesAreFoundWhereverTheyStand) {
    EXPECT_EQ(marked("https://a.example/x?y=1#z"), "<https://a.example/x?y=1#z>");
    EXPECT_EQ(marked("See http://a.example/ and HTTPS://B.example\nend"),
              "See <http://a.example/> and <HTTPS://B.example>\nend");
    EXPECT_EQ(marked("siehe\u00A0https://a.example/ü\u3000次"), "siehe\u00A0<https://a.example/ü>\u3000次");
    EXPECT_EQ(splitLinks("http://a.example http://b.example").size(), 3u);
}

TEST(LinkedText, PunctuationOfTheSentenceDoesNotBelongToTheAddress) {
    EXPECT_EQ(marked("Is it https://a.example/b?"), "Is it <https://a.example/b>?");
    EXPECT_EQ(marked("(https://a.example/b), then."), "(<https://a.example/b>), then.");
    EXPECT_EQ(marked("https://a.example/Foo_(bar)."), "<https://a.example/Foo_(bar)>.");
    EXPECT_EQ(marked("[docs](https://a.example/b)!"), "[docs](<https://a.example/b>)!");
    EXPECT_EQ(marked("“https://a.example”…"), "“<https://a.example>”…");
    EXPECT_EQ(marked("https://a.example/。"), "<https://a.example/>。");
}

TEST(LinkedText, TextThatOnlyLooksLikeAnAddressStaysPlain) {
    EXPECT_TRUE(splitLinks("").empty());
    for (const char* text :
         {"http:// nothing", "https://", "https://...", "ftp://a.example", "xhttp://a.example", "ahh"})
        EXPECT_EQ(marked(text), text);
}
