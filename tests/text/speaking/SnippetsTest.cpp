#include "text/Snippets.h"

#include "base/Files.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

using namespace fenlo;

namespace {

struct SnippetsTest : ::testing::Test {
    const test::TemporaryFolder folder;
    const Snippets snippets{folder / "snippets.json"};
    using Match = std::optional<std::string>;

    Match match(const std::string& file, const std::string& transcript) const {
        EXPECT_TRUE(files::writeAtomically(folder / "snippets.json", file));
        return snippets.matchSnippet(transcript);
    }
};

} // namespace

TEST_F(SnippetsTest, AreCalledUpByTheirTrigger) {
    const std::string file = R"([{"trigger": "Sig", "text": "capital"}, {"trigger": "no text"},
        {"trigger": "sig", "text": "Best,\nA $1", "note": "ignored"}, {"trigger": "sig", "text": "second"},
        {"trigger": "größe", "text": ""}, {"text": "no trigger"}])";
    for (const char* transcript : {"sig", " Sig.", "..SIG..", "Insert sig", "type sig.\t"})
        EXPECT_EQ(match(file, transcript), "Best,\nA $1") << transcript;
    EXPECT_EQ(match(file, "Größe."), "") << "an empty text is a match";
    for (const char* transcript : {"please insert sig", "sig!", "sig .", "insert  sig", "insert", "no text", ""})
        EXPECT_EQ(match(file, transcript), Match()) << transcript;
}

TEST_F(SnippetsTest, AFileOfAnotherFormHoldsNone) {
    EXPECT_EQ(snippets.matchSnippet("sig"), Match()) << "no file";
    const std::string good = R"({"trigger": "sig", "text": "x"})";
    EXPECT_EQ(match("\xEF\xBB\xBF[" + good + "]", "sig"), "x");
    const std::string bad[] = {
        "",
        good,
        "{\"a\": [" + good + "]}",
        "null",
        "[" + good,
        "[" + good + ",]",
        "[" + good + ", 1]",
        "[" + good + ", null]",
        "[" + good + ", [\"a\", \"b\"]]",
        "[" + good + R"(, {"trigger": "n", "text": 1}])",
        R"([{"trigger": "sig", "text": "x", "more": null}])",
        R"([{"trigger": "sig", "text": "\ud800"}])",
        std::string(100'000, '['),
    };
    for (const std::string& file : bad)
        EXPECT_EQ(match(file, "sig"), Match()) << file.substr(0, 80);
    EXPECT_EQ(match("[" + good + ", {}]", "sig"), "x");
    EXPECT_EQ(match("[{\"trigger\": \"sig\", \"text\": \"gr\xFC\"}]", "sig"), "gr\uFFFD");
}
