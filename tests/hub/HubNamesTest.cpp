#include "hub/HubClient.h"
#include "hub/HubPaths.h"
#include "hub/WebAddress.h"

#include <functional>
#include <gtest/gtest.h>
#include <random>

using namespace fenlo;
using namespace fenlo::hub;

namespace {

/// The meaning of a glob, spelled out: exponential, but plainly right.
bool matchesPlainly(std::string_view path, std::string_view glob) {
    if (glob.empty())
        return path.empty();
    if (glob.front() == '*')
        return matchesPlainly(path, glob.substr(1)) || (!path.empty() && matchesPlainly(path.substr(1), glob));
    return !path.empty() && (glob.front() == '?' || glob.front() == path.front()) &&
           matchesPlainly(path.substr(1), glob.substr(1));
}

std::string randomText(std::mt19937& random, std::string_view letters, std::size_t longest) {
    std::string text(random() % (longest + 1), ' ');
    for (char& letter : text)
        letter = letters[random() % letters.size()];
    return text;
}

} // namespace

TEST(Globs, MatchAsTheirDefinitionSays) {
    std::mt19937 random(11);
    int matches = 0;
    for (int i = 0; i < 50'000; ++i) {
        const std::string path = randomText(random, "ab/", 8);
        const std::string glob = randomText(random, "ab/*?*", 6);
        const bool expected = matchesPlainly(path, glob.ends_with('/') ? glob + "*" : glob);
        matches += expected;
        ASSERT_EQ(matchesGlob(path, glob), expected) << '"' << path << "\" and \"" << glob << '"';
    }
    EXPECT_GT(matches, 5'000);
    EXPECT_TRUE(matchesGlob("openai_whisper-tiny.en/TextDecoder/weights.bin", "*tiny.en*"));
    EXPECT_TRUE(matchesGlob("weights/a.bin", "weights/")) << "all that is in a folder";
    EXPECT_FALSE(matchesGlob("weights", "weights/"));
    for (const char* glob : {"m[0-9].bin", "m[!a-z].bin", "m[]3].bin", "*[1-3].???", "m[3-].bin"})
        EXPECT_TRUE(matchesGlob("m3.bin", glob)) << glob;
    for (const char* glob : {"m[0-2].bin", "m[!0-9].bin", "m[].bin", "m[3.bin", "[m3].bin"})
        EXPECT_FALSE(matchesGlob("m3.bin", glob)) << glob;
    EXPECT_TRUE(matchesGlob("\u6A21\u578B.bin", "??.bin")) << "a character, not a byte";
    EXPECT_TRUE(matchesGlob("\u6A21", "[\u4E00-\u9FFF]"));
    EXPECT_FALSE(matchesGlob("\u6A21", "*??"));
    EXPECT_TRUE(matchesGlob("[a]*?.bin", literalGlob("[a]*?.bin")));
    EXPECT_FALSE(matchesGlob("aX?.bin", literalGlob("[a]*?.bin")));
    // Time that grows with the product of the lengths, not with the number of stars in the exponent.
    std::string stars;
    for (int i = 0; i < 500; ++i)
        stars += "*a";
    EXPECT_FALSE(matchesGlob(std::string(2000, 'a') + "b", stars));
}

TEST(HubPaths, PathsThatCouldLeaveTheFolderAreUnsafe) {
    for (const char* path :
         {"a", "a/b.json", ".gitattributes", "a..b/c...", "été/模型.bin", "weights one#?.bin", "a/.lock"})
        EXPECT_TRUE(isSafePath(path)) << path;
    for (const std::string& path :
         {std::string(), std::string("/etc/passwd"), std::string("../a"), std::string("a/../b"), std::string("a/.."),
          std::string("."), std::string("a/./b"), std::string("a//b"), std::string("a/"), std::string("a\\..\\b"),
          std::string("a\0b", 3), std::string("a\nb"), std::string("a\x7F"), std::string(256, 'a'),
          std::string(255, 'a') + "/" + std::string(255, 'b') + "/" + std::string(255, 'c') + "/" +
              std::string(255, 'd') + "/e",
          std::string(".partial/a"), std::string(".snapshot.json"), std::string(".lock")})
        EXPECT_FALSE(isSafePath(path)) << path;

    for (const char* repo : {"openai/whisper-tiny.en", "gpt2"})
        EXPECT_TRUE(isRepoName(repo));
    for (const char* revision :
         {"main", "v1.0", "refs/pr/12", "feature/\u00E9", "0123456789abcdef0123456789abcdef01234567"})
        EXPECT_TRUE(isRevision(revision)) << revision;
    for (const std::string& revision :
         {std::string(), std::string("/"), std::string("a/"), std::string("../main"), std::string("a..b"),
          std::string("a b"), std::string("a?x"), std::string("a\\b"), std::string("a\nb"), std::string("a\0b", 3),
          std::string("-x"), std::string("a//b"), std::string("x.lock"), std::string(".x"), std::string("a/.x"),
          std::string("a^"), std::string("a@{1}"), std::string("\xFF"), std::string(256, 'a')})
        EXPECT_FALSE(isRevision(revision)) << revision;

    for (const char* repo : {"", "a/b/c", "../b", "a/..", "a/b?x", "a b", "/a", "a/", "a/b#"})
        EXPECT_FALSE(isRepoName(repo)) << repo;
}

TEST(WebAddress, TheNextPageIsReadStrictly) {
    EXPECT_EQ(nextPage("<https://h/a?c=1,2>; rel=\"next\""), "https://h/a?c=1,2");
    EXPECT_EQ(nextPage("<https://h/0>; rel=\"prev\", <https://h/2>; title=x; rel=next"), "https://h/2");
    for (const char* header : {"", "<https://h/0>; rel=\"last\"", "<https://h/0", "rel=next", "><; rel=next"})
        EXPECT_EQ(nextPage(header), "") << header;
}
