// Normalizers, pre-tokenizers and decoders, each with examples.

#include "base/Json.h"
#include "hub/tokenizers/steps/Decoder.h"
#include "hub/tokenizers/steps/Normalizer.h"
#include "hub/tokenizers/steps/PreTokenizer.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace fenlo;
using namespace fenlo::hub;
using nlohmann::json;

namespace {

const std::string source = "steps.json";

using Pieces = std::vector<std::string>;

std::string normalizedBy(const json& settings, const std::string& text) {
    AlignedText aligned = AlignedText::plain(text);
    Normalizer::read(JsonNode(settings, "normalizer", source)).apply(aligned);
    return aligned.text();
}

Pieces splitBy(const PreTokenizer& preTokenizer, const std::string& text) {
    const Words words = preTokenizer.split(AlignedText::plain(text), true);
    Pieces pieces;
    for (const TextRange& word : words.ranges)
        pieces.emplace_back(words.textOf(word));
    return pieces;
}

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
        {R"({"type":"Lowercase"})", "\u00C4B\u0130", "\u00E4bi\u0307"},
        {R"({"type":"Lowercase"})", "\u039F\u03A3 \u03A3\u03C2", "\u03BF\u03C3 \u03C3\u03C2"}, // letter by letter
        {R"({"type":"Strip","strip_left":true,"strip_right":true})", "\u00A0 a b\n ", "a b"},
        {R"({"type":"Strip","strip_left":false,"strip_right":true})", " \t ", ""},
        {R"({"type":"Strip","strip_left":true,"strip_right":false})", " a ", "a "},
        {R"({"type":"Replace","pattern":{"String":" "},"content":"__"})", " a b", "__a__b"},
        {R"({"type":"Replace","pattern":{"Regex":"[a-c]+"},"content":"$1"})", "\U0001F600abxc", "\U0001F600$1x$1"},
        {R"({"type":"Prepend","prepend":"_"})", "a", "_a"},
        {R"({"type":"Prepend","prepend":"_"})", "", ""},
        {R"({"type":"Sequence","normalizers":[{"type":"NFD"},{"type":"StripAccents"},{"type":"Lowercase"}]})",
         "\u00C9\u00C0x", "eax"},
        {R"({"type":"StripAccents"})", "\u00E9e\u0301\u0903", "\u00E9e"},
        {R"({"type":"BertNormalizer","clean_text":true,"handle_chinese_chars":true,"strip_accents":null,"lowercase":true})",
         "\u00C9\t\u200D\u4E2D\u3042\u2003\uFFFDe\u0301\u0903\x01", "e  \u4E2D \u3042 e\u0903"},
        {R"({"type":"BertNormalizer","clean_text":false,"handle_chinese_chars":false,"lowercase":false})",
         "\u00C9\t\u4E2D", "\u00C9\t\u4E2D"},
        {R"({"type":"BertNormalizer","strip_accents":false})", "\u00C9\U00020000", "\u00E9 \U00020000 "},
        {R"({"type":"BertNormalizer","strip_accents":true,"lowercase":false})", "\u00C9\r\n", "E  "},
        {R"({"type":"Nmt"})", "a\x01\x7F\u200Bb\n\u2581\u00A0", "a b  \u00A0"},
        {R"({"type":"ByteLevel"})", "a \u00E9", "a\u0120\u00C3\u00A9"},
        {R"({"type":"Precompiled","precompiled_charsmap":""})", "a\uFB01", "a\uFB01"},
    };
    for (const auto& [settings, text, normalized] : cases) {
        EXPECT_EQ(normalizedBy(parseJson(settings), text), normalized) << settings;
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
        {R"x({"type":"Split","pattern":{"Regex":"(?=(\\d{3})+(?!\\d))"},"behavior":"Isolated"})x",
         "1234567 x100",
         {"1", "234", "567 x", "100"}}, // between characters
        {R"({"type":"Split","pattern":{"Regex":"^b.|c$"},"behavior":"Isolated"})",
         "ab\nb\rc\nd",
         {"ab\n", "b\r", "c", "\nd"}}, // a line feed alone ends a line
        {R"({"type":"Whitespace"})", "a1_b, c!?\u3000d", {"a1_b", ",", "c", "!?", "d"}},
        {R"({"type":"WhitespaceSplit"})", " a,\u2003b \u0085", {"a,", "b"}},
        {R"({"type":"Digits","individual_digits":true})", "a12\u0663", {"a", "1", "2", "\u0663"}},
        {R"({"type":"Digits"})", "12a3", {"12", "a", "3"}},
        {R"({"type":"Punctuation"})", "a,\u300Db$", {"a", ",", "\u300D", "b", "$"}},
        {R"({"type":"Metaspace","replacement":"_"})", "a b", {"_a", "_b"}},
        {R"({"type":"Metaspace","replacement":"_","prepend_scheme":"never","split":false})", "a b", {"a_b"}},
        {R"({"type":"Metaspace","replacement":"_","add_prefix_space":false})", "a b", {"a", "_b"}},
        {R"({"type":"Metaspace","replacement":"_","add_prefix_space":false,"prepend_scheme":"first"})", "a", {"a"}},
        {R"({"type":"Metaspace","replacement":"_","prepend_scheme":"first"})", "a _b", {"_a", "_", "_b"}},
        {R"({"type":"Metaspace","str_rep":"_","replacement":"_","prepend_scheme":"always"})",
         " _a  b",
         {"_", "_a", "_", "_b"}},
        {R"({"type":"Sequence","pretokenizers":[{"type":"CharDelimiterSplit","delimiter":"|"},)"
         R"({"type":"Metaspace","replacement":"_","prepend_scheme":"always"}]})",
         "|a|b c",
         {"_a", "_b", "_c"}},
        {R"({"type":"Sequence","pretokenizers":[{"type":"CharDelimiterSplit","delimiter":"\u00E9"},)"
         R"({"type":"Metaspace","replacement":"_","prepend_scheme":"first"}]})",
         "\u00E9a\u00E9b",
         {"a", "b"}}, // neither stands at the beginning
        {R"({"type":"BertPreTokenizer"})",
         " don't\u2003stop!! \u300D$1",
         {"don", "'", "t", "stop", "!", "!", "\u300D", "$", "1"}},
        {R"({"type":"Punctuation","behavior":"Removed"})", "a,,b.", {"a", "b"}},
        {R"({"type":"Punctuation","behavior":"Contiguous"})", "a,.b", {"a", ",.", "b"}},
        {R"({"type":"Punctuation","behavior":"MergedWithPrevious"})", "a,.b", {"a,", ".", "b"}},
        {R"({"type":"Punctuation","behavior":"MergedWithNext"})", "a,.b", {"a", ",", ".b"}},
        {R"({"type":"FixedLength","length":2})", "a\u00E9b\u65E5\u672C", {"a\u00E9", "b\u65E5", "\u672C"}},
        {R"({"type":"UnicodeScripts"})",
         " \u3069\u3053\u3067\u751F\u30FC\u308C yes\u0434\u0430 \u0434, 1",
         {"\u3069\u3053\u3067\u751F\u30FC\u308C ", "yes", "\u0434\u0430 \u0434", ", 1"}},
        // An expression sees its own word only.
        {R"({"type":"Sequence","pretokenizers":[{"type":"Digits","individual_digits":true},{"type":"Split",)"
         R"("pattern":{"Regex":"(?<!1)\u00E9(?!2)|^b"},"behavior":"Isolated"}]})",
         "x\u00E91\u00E92\U0001F600b1b",
         {"x", "\u00E9", "1", "\u00E9", "2", "\U0001F600b", "1", "b"}},
        {R"({"type":"Sequence","pretokenizers":[{"type":"WhitespaceSplit"},)"
         R"({"type":"Metaspace","replacement":"_","prepend_scheme":"first"}]})",
         "a b",
         {"_a", "b"}},
    };
    for (const auto& [settings, text, pieces] : cases) {
        const json value = parseJson(settings);
        const PreTokenizer preTokenizer = PreTokenizer::read(JsonNode(value, "pre_tokenizer", source));
        EXPECT_EQ(splitBy(preTokenizer, text), pieces) << settings;
        EXPECT_EQ(splitBy(preTokenizer, ""), Pieces{}) << settings;
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
        {R"({"type":"BPEDecoder","suffix":"</w>"})", {"a", "b</w>", "c</w>"}, "ab c"},
        {R"({"type":"CTC","pad_token":"<pad>","word_delimiter_token":"|","cleanup":true})",
         {"h", "h", "<pad>", "h", "|", "|", "o", "<pad>"},
         "hh o"},
        {R"({"type":"CTC","pad_token":"_","word_delimiter_token":"|","cleanup":false})", {"a", "|", "_", "a"}, "a|a"},
        {R"({"type":"WordPiece","prefix":"##","cleanup":true})",
         {"##a", "##b", "c", ",", "is", "n't"},
         "##ab c, isn't"},
        {R"({"type":"WordPiece","prefix":"##","cleanup":false})", {"a", ",", "##b"}, "a ,b"},
        {R"({"type":"WordPiece","prefix":""})", {"a", "b"}, "ab"},
    };
    for (const auto& [settings, pieces, text] : cases) {
        const json value = parseJson(settings);
        EXPECT_EQ(Decoder::read(JsonNode(value, "decoder", source)).apply(pieces), text) << settings;
    }
}

// The expressions of recent models go back several steps for each byte of ordinary text.
TEST(TokenizerSteps, LongTextIsSplitToItsEnd) {
    const json value = {{"type", "Split"},
                        {"pattern",
                         {{"Regex", R"((?i:'s|'t|'re|'ve|'m|'ll|'d)|[^\r\n\p{L}\p{N}]?\p{L}+|\p{N}{1,3}|)"
                                    R"( ?[^\s\p{L}\p{N}]+[\r\n]*|\s*[\r\n]+|\s+(?!\S)|\s+)"}}},
                        {"behavior", "Isolated"}};
    const std::string line = "It's 1234 words, isn't it?\n";
    std::string text;
    while (text.size() < 2'000'000)
        text += line;
    const PreTokenizer preTokenizer = PreTokenizer::read(JsonNode(value, "pre_tokenizer", source));
    EXPECT_EQ(splitBy(preTokenizer, text).size(), splitBy(preTokenizer, line).size() * (text.size() / line.size()));
}

TEST(TokenizerSteps, ExpressionWithoutEnd_IsGivenUp) {
    const json value = parseJson(R"({"type":"Split","pattern":{"Regex":"(a*)*b"},"behavior":"Isolated"})");
    const PreTokenizer preTokenizer = PreTokenizer::read(JsonNode(value, "pre_tokenizer", source));
    EXPECT_EQ(splitBy(preTokenizer, std::string(100, 'a')), Pieces{std::string(100, 'a')});
}
