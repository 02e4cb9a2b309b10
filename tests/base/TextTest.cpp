#include "base/Text.h"

#include <gtest/gtest.h>

using namespace fenlo;

TEST(Text, CountsCharactersAsPeopleDo) {
    EXPECT_EQ(text::characterCount(""), 0u);
    EXPECT_EQ(text::characterCount("naïve"), 5u);
    EXPECT_EQ(text::characterCount("e\u0301tude"), 5u);               // combining accent
    EXPECT_EQ(text::characterCount("👩‍👩‍👧‍👦"), 1u); // family joined by ZWJ
    EXPECT_EQ(text::characterCount("🇩🇪🇫🇷"), 2u);                      // flags
    EXPECT_EQ(text::characterCount("\r\n"), 1u);
    EXPECT_EQ(text::firstCharacters("👩‍👩‍👧‍👦ab", 2), "👩‍👩‍👧‍👦a");
    EXPECT_EQ(text::lastCharacters("ab🇩🇪🇫🇷", 2), "🇩🇪🇫🇷");
    EXPECT_EQ(text::firstCharacters("abc", 0), "");
    EXPECT_EQ(text::lastCharacters("abc", 7), "abc");
    using Parts = std::vector<std::string_view>;
    EXPECT_EQ(text::characters("a👩‍👩‍👧‍👦e\u0301\r\n🇩🇪\xFF"),
              (Parts{"a", "👩‍👩‍👧‍👦", "e\u0301", "\r\n", "🇩🇪", "\xFF"}));
    EXPECT_EQ(text::characters(""), Parts());
}

TEST(Text, TrimsByCategory) {
    EXPECT_EQ(text::trimWhitespace(" \t\u00A0\u3000a b\n "), "a b\n");
    EXPECT_EQ(text::trimWhitespaceAndNewlines("\r\n\u2028 a \n\t"), "a");
    EXPECT_EQ(text::trimPunctuation("«¿No, I meant…»!"), "No, I meant");
    EXPECT_EQ(text::trimPunctuation("$5+"), "$5+"); // symbols do not count as punctuation
    EXPECT_EQ(text::trimWhitespace("   "), "");
}

TEST(Text, RepairsInvalidUtf8_LeavesTheRest) {
    EXPECT_EQ(text::repairUtf8("plain"), "plain");
    EXPECT_EQ(text::repairUtf8("gr\xFC\xDF"
                               "e"),
              "gr\uFFFD\uFFFDe");
    EXPECT_EQ(text::repairUtf8("\xE2\x82"), "\uFFFD");
    EXPECT_EQ(text::repairUtf8("a\xED\xA0\x80z").find("\xED\xA0"), std::string::npos); // a lone surrogate
    EXPECT_EQ(text::trimWhitespace(" \xFF "), "\xFF");
    EXPECT_EQ(text::characterCount("\xFF\xFE"), 2u);
}

TEST(Text, RemovesWhatATerminalWouldObey_KeepsWhatScriptsNeed) {
    EXPECT_EQ(text::withoutControls("a\x1b[201~b\x1b[1;31mred\xC2\x9B"
                                    "0 q."),
              "abred.");
    EXPECT_EQ(text::withoutControls(std::string("one\0two\x03\x7F\xC2\x80\xC2\x9F three", 19)), "onetwo three");
    EXPECT_EQ(text::withoutControls("\x1b]0;title\a cut \x1b[12"), "]0;title cut ") << "an end in a sequence";
    EXPECT_EQ(text::withoutControls("a\r\nb\rc\xC2\x85 d\te"), "a\nb\nc\n d\te");
    for (const char* kept : {"👩‍👩‍👧 می‌خواهم \u200F(שלום)\u200E \u2068ab\u2069",
                             "naïve\n\t東京 \u00A0\u2028", ""})
        EXPECT_EQ(text::withoutControls(kept), kept);
    EXPECT_EQ(text::withoutControls("\x80\x1b[Hgo"), "\uFFFDgo");
}

TEST(Text, FoldsCaseInEveryScript) {
    EXPECT_EQ(text::lower("ÄÖÜ ΑΒΓ ДЖ"), "äöü αβγ дж");
    EXPECT_EQ(text::upper("straße"), "STRASSE");
    EXPECT_TRUE(text::startsWithUpper("Élan"));
    EXPECT_FALSE(text::startsWithUpper("élan"));
    EXPECT_FALSE(text::startsWithUpper("東京"));
    for (const char* letter : {"a", "Ä", "東", "मैं", "ß"})
        EXPECT_TRUE(text::startsWithLetter(letter)) << letter;
    for (const char* other : {"", "1", "\"", "👍", "\u0301", "\xFF"}) {
        EXPECT_FALSE(text::startsWithLetter(other)) << other;
        EXPECT_FALSE(text::startsWithUpper(other)) << other;
    }
}

TEST(Text, SplitsWordsAndPieces) {
    EXPECT_EQ(text::words(" one\ttwo\n\u3000three "), (std::vector<std::string>{"one", "two", "three"}));
    EXPECT_EQ(text::split("a  b ", ' '), (std::vector<std::string>{"a", "", "b", ""}));
    EXPECT_EQ(text::join({"a", "", "b"}, ", "), "a, , b");
    EXPECT_EQ(text::replaceAll("aaa", "aa", "b"), "ba");
}

TEST(Text, NumbersHaveAPointWhateverTheLocale) {
    EXPECT_EQ(text::fixed(2.345, 2), "2.35");
    EXPECT_EQ(text::fixed(0.0, 1), "0.0");
    EXPECT_EQ(text::fixed(-1.0, 2), "-1.00");
}

TEST(Regex, ReplacesWithGroupsAndSurvivesABadPattern) {
    const text::Regex flag("-([a-z])\\.([a-z])");
    EXPECT_EQ(flag.replaceAll("git commit -m.a", "-$1$2"), "git commit -ma");
    EXPECT_TRUE(text::Regex("[a-zA-Z]").find("да x"));
    EXPECT_FALSE(text::Regex("[a-zA-Z]").find("да"));
    EXPECT_EQ(text::Regex("([").replaceAll("same", "other"), "same");
}

TEST(Regex, FindsInAnyCaseOnRequest) {
    const text::Regex word("größe", text::CaseSensitivity::insensitive);
    EXPECT_EQ(word.replaceAll("Größe GRÖSSE groesse", "x"), "x x groesse");
    EXPECT_FALSE(text::Regex("größe").find("GRÖSSE"));
}

TEST(Regex, TakesPatternsAndReplacementsLiterally) {
    std::string marks;
    for (char c = ' '; c < 127; ++c)
        marks += c;
    const text::Regex literal(text::quotePattern(marks));
    EXPECT_EQ(literal.replaceAllWithLiteral("a" + marks + "b", "$1\\n$"), "a$1\\n$b");
    EXPECT_FALSE(literal.find(marks.substr(1)));
    EXPECT_FALSE(text::Regex(text::quotePattern("a.c")).find("abc"));
    EXPECT_EQ(text::Regex("(b)").replaceAll("abc", "$1\\$1"), "ab$1c");
}
