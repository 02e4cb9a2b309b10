// Normalizers, pre-tokenizers and decoders, each with examples.

#include "base/Json.h"
#include "hub/tokenizers/Decoder.h"
#include "hub/tokenizers/Normalizer.h"
#include "hub/tokenizers/PreTokenizer.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace fenlo;
using namespace fenlo::hub;
using nlohmann::json;

namespace {

const std::string source = "steps.json";

using Pieces = std::vector<std::string>;

} // namespace

TEST(TokenizerSteps, Normalizers) {
    const struct {
        const char* settings;
        std::string text;
        std::string normalized;
    } cases[] = {
        {"null", " A", " A"},
        {R"({"type":"NFC"})", "e\u0301", "\u00E9"},
        {R"({"type":"NFD"})", "\u00E9", "e\u0301"},
        {R"({"type":"NFKC"})", "\uFB01\u00B2", "fi2"},
        {R"({"type":"NFKD"})", "\u00E9\uFB01", "e\u0301fi"},
        {R"({"type":"Lowercase"})", "\u00C4B", "\u00E4b"},
        {R"({"type":"Strip","strip_left":true,"strip_right":true})", "\u00A0 a b\n ", "a b"},
        {R"({"type":"Strip","strip_left":false,"strip_right":true})", " \t ", ""},
        {R"({"type":"Strip","strip_left":true,"strip_right":false})", " a ", "a "},
        {R"({"type":"Replace","pattern":{"String":" "},"content":"__"})", " a b", "__a__b"},
        {R"({"type":"Replace","pattern":{"Regex":"[a-c]+"},"content":"$1"})", "\U0001F600abxc", "\U0001F600$1x$1"},
        {R"({"type":"Prepend","prepend":"_"})", "a", "_a"},
        {R"({"type":"Prepend","prepend":"_"})", "", ""},
        {R"({"type":"Sequence","normalizers":[{"type":"NFD"},{"type":"StripAccents"},{"type":"Lowercase"}]})",
         "\u00C9\u00C0x", "eax"},
    };
    for (const auto& [settings, text, normalized] : cases) {
        const json value = parseJson(settings);
        EXPECT_EQ(Normalizer::read(JsonNode(value, "normalizer", source)).apply(text), normalized) << settings;
    }
}

TEST(TokenizerSteps, PreTokenizers) {
    const auto split = [](const char* behavior, bool invert = false) {
        return R"({"type":"Split","pattern":{"String":"-"},"behavior":")" + std::string(behavior) + R"(","invert":)" +
               (invert ? "true}" : "false}");
    };
    const struct {
        std::string settings;
        std::string text;
        Pieces pieces;
    } cases[] = {
        {"null", "a b", {"a b"}},
        {R"({"type":"ByteLevel","add_prefix_space":true})", "a \u00E9", {"\u0120a", "\u0120\u00C3\u00A9"}},
        {R"({"type":"ByteLevel","add_prefix_space":false,"use_regex":false})", "a b", {"a\u0120b"}},
        {split("Removed"), "a--b-", {"a", "b"}},
        {split("Isolated"), "a--b-", {"a", "-", "-", "b", "-"}},
        {split("MergedWithPrevious"), "-a--b-", {"-", "a-", "-", "b-"}},
        {split("MergedWithNext"), "-a--b-", {"-a", "-", "-b", "-"}},
        {split("Contiguous"), "a--b-", {"a", "--", "b", "-"}},
        {split("Removed", true), "a--b-", {"-", "-", "-"}},
        {R"({"type":"Split","pattern":{"Regex":"x*"},"behavior":"Isolated"})", "axxb", {"a", "xx", "b"}},
        {R"({"type":"Whitespace"})", "a1_b, c!?\u3000d", {"a1_b", ",", "c", "!?", "d"}},
        {R"({"type":"WhitespaceSplit"})", " a,\u2003b \u0085", {"a,", "b"}},
        {R"({"type":"Digits","individual_digits":true})", "a12\u0663", {"a", "1", "2", "\u0663"}},
        {R"({"type":"Digits"})", "12a3", {"12", "a", "3"}},
        {R"({"type":"Punctuation"})", "a,\u300Db$", {"a", ",", "\u300D", "b", "$"}},
        {R"({"type":"Metaspace","replacement":"_"})", "a b", {"_a", "_b"}},
        {R"({"type":"Metaspace","replacement":"_","prepend_scheme":"never","split":false})", "a b", {"a_b"}},
        {R"({"type":"Metaspace","replacement":"_","add_prefix_space":false})", "a b", {"a", "_b"}},
        {R"({"type":"Sequence","pretokenizers":[{"type":"WhitespaceSplit"},)"
         R"({"type":"Metaspace","replacement":"_","prepend_scheme":"first"}]})",
         "a b",
         {"_a", "b"}},
    };
    for (const auto& [settings, text, pieces] : cases) {
        const json value = parseJson(settings);
        const PreTokenizer preTokenizer = PreTokenizer::read(JsonNode(value, "pre_tokenizer", source));
        EXPECT_EQ(preTokenizer.split(text, true), pieces) << settings;
        EXPECT_EQ(preTokenizer.split("", true), Pieces{}) << settings;
    }
}

TEST(TokenizerSteps, Decoders) {
    const struct {
        const char* settings;
        Pieces pieces;
        std::string text;
    } cases[] = {
        {"null", {"a", "b"}, "a b"},
        {R"({"type":"ByteLevel"})", {"\u0120a", "\u00C3", "\u00A9", "\u65E5"}, " a\u00E9\u65E5"},
        {R"({"type":"ByteLevel"})", {"\u00C3", "b", "\u00E2\u0124"}, "\uFFFDb\uFFFD"},
        {R"({"type":"ByteFallback"})", {"<0xC3>", "<0xA9>", "<0xE2>", "<0x82>"}, "\uFFFD\uFFFD\uFFFD\uFFFD"},
        {R"({"type":"ByteFallback"})", {"x", "<0xC3>", "<0xA9>", "<0xG0>"}, "x\u00E9<0xG0>"},
        {R"({"type":"Metaspace","replacement":"_"})", {"_a", "_b"}, "a b"},
        {R"({"type":"Metaspace","replacement":"_","prepend_scheme":"never"})", {"_a", "_b"}, " a b"},
        {R"({"type":"Sequence","decoders":[{"type":"Replace","pattern":{"String":"_"},"content":" "},)"
         R"({"type":"ByteFallback"},{"type":"Fuse"},{"type":"Strip","content":" ","start":1,"stop":0}]})",
         {"_", "_a", "<0x21>", "_"},
         " a! "},
        {R"({"type":"Strip","content":"-","start":1,"stop":2})", {"--a---", "-"}, "-a-"},
    };
    for (const auto& [settings, pieces, text] : cases) {
        const json value = parseJson(settings);
        EXPECT_EQ(Decoder::read(JsonNode(value, "decoder", source)).apply(pieces), text) << settings;
    }
}

TEST(TokenizerSteps, ExpressionWithoutEnd_IsGivenUp) {
    const json value = parseJson(R"({"type":"Split","pattern":{"Regex":"(a*)*b"},"behavior":"Isolated"})");
    const PreTokenizer preTokenizer = PreTokenizer::read(JsonNode(value, "pre_tokenizer", source));
    EXPECT_EQ(preTokenizer.split(std::string(100, 'a'), true), Pieces{std::string(100, 'a')});
}
