// Files that are damaged, hostile or made for other programs are refused in one line that says what and where.

#include "SmallTokenizer.h"
#include "base/Json.h"
#include "support/LogCapture.h"

#include <functional>
#include <gmock/gmock.h>

using namespace fenlo;
using namespace fenlo::hub;
using namespace fenlo::hub::test;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

void expectRefused(const std::string& file, const std::string& fault) {
    SCOPED_TRACE(file.substr(0, 200));
    try {
        Tokenizer::parse(file, "small.json");
        ADD_FAILURE() << "was taken, without " << fault;
    } catch (const TokenizerError& error) {
        const std::string line = error.what();
        EXPECT_THAT(line, HasSubstr(fault));
        EXPECT_THAT(line, StartsWith("small.json: "));
        EXPECT_TRUE(line.ends_with("; download the model again") || line.ends_with("; use another model")) << line;
        EXPECT_EQ(line.find('\n'), std::string::npos);
        EXPECT_LT(line.size(), 400U);
    }
}

} // namespace

TEST(TokenizerFiles, WrongParts_AreRefusedInOneLine) {
    const struct {
        const char* path;
        json value;
        std::string fault;
    } cases[] = {
        {"/version", "2.0", "version is not 1.0"},
        {"/future", 1, R"(has the unknown setting "future")"},
        {"/model/type", "Bigram", R"(model is of the unknown type "Bigram")"},
        {"/model/type", "Unigram", "model.vocab is missing or of a wrong form"},
        {"/model/vocab", json::array(), "model.vocab is missing or of a wrong form"},
        {"/model/vocab/a", "0", R"(model.vocab gives no id for "a")"},
        {"/model/vocab/a", -1, R"(model.vocab gives no id for "a")"},
        {"/model/vocab/a", 1.5, R"(model.vocab gives no id for "a")"},
        {"/model/vocab/a", json::object(), R"(model.vocab gives no id for)"},
        {"/model/vocab/a", 1 << 24, "model.vocab has an id out of range, 16777216"},
        {"/model/vocab/b", 0, R"(model.vocab has the piece "b" or its id twice)"},
        {"/model/vocab", json::array({7}), "model.vocab[0] is no piece with its score"},
        {"/model/vocab", json::array({json::array({"a"})}), "model.vocab[0] is no piece with its score"},
        {"/model/vocab", json::array({json::array({0, "a"})}), "model.vocab[0] is no piece with its score"},
        {"/model/vocab", json::array({json::array({"a", 0, 0})}), "model.vocab[0] is no piece with its score"},
        {"/model/vocab", json::array({json::array({"a", json::array({1})})}), "model.vocab[0] is no piece with its"},
        {"/model/vocab", Scores{{"a", 0}, {"b", -1e300}}, R"(model.vocab has a score out of range for "b")"},
        {"/model/merges", json::object(), "model.merges is missing or of a wrong form"},
        {"/model/merges/0", "ab", "model.merges[0] is no pair"},
        {"/model/merges/0", "a b c", "model.merges[0] is no pair"},
        {"/model/merges/0", json::array({"a"}), "model.merges[0] is no pair"},
        {"/model/merges/0", json::array({"a", "b", "c"}), "model.merges[0] is no pair"},
        {"/model/merges/0", 7, "model.merges[0] is no pair"},
        {"/model/merges/0", "a x\n\x01",
         R"(model.merges has number 0, of "a" and "x\n\u0001", which needs "x\n\u0001")"},
        {"/model/merges/0", "b a", R"(which needs "ba", no piece)"},
        {"/model/end_of_word_suffix", 3, "model.end_of_word_suffix is no text"},
        {"/model/byte_fallback", "yes", "model.byte_fallback is neither true nor false"},
        {"/model/continuing_subword_prefix", "##", R"(lacks the prefix "##")"},
        {"/added_tokens", 3, "added_tokens is no list"},
        {"/added_tokens/0", json{{"id", 1}, {"content", "c"}}, R"(added_tokens[0] has the text "c" or the id 1 of an)"},
        {"/added_tokens/0", json{{"id", 9}, {"content", "a"}}, R"(added_tokens[0] has the text "a" or the id 9 of an)"},
        {"/added_tokens/0", json{{"id", -9}, {"content", "c"}}, "added_tokens[0].id is no whole number from 0 to"},
        {"/added_tokens/0", json{{"id", 9}, {"content", std::string(5000, 'x')}}, "is longer than 256 bytes"},
        {"/normalizer", json{{"type", "Precompiled"}}, "normalizer.precompiled_charsmap is no text"},
        {"/normalizer", json{{"type", "NFX"}}, R"(normalizer is of the unknown type "NFX")"},
        {"/normalizer", json{{"type", "NFC"}, {"x", 1}}, R"(normalizer has the unknown setting "x")"},
        {"/normalizer", json{{"type", std::string(5000, '\n')}}, "normalizer is of the unknown type"},
        {"/normalizer", json::array(), "normalizer is no object"},
        {"/normalizer", json{{"type", "Sequence"}, {"normalizers", {{{"type", "NFX"}}}}},
         R"(normalizer.normalizers[0] is of the unknown type "NFX")"},
        {"/normalizer", json{{"type", "Sequence"}, {"normalizers", json(100, json{{"type", "NFC"}})}}, "step too many"},
        {"/pre_tokenizer", json{{"type", "Split"}, {"pattern", {{"Regex", "("}}}, {"behavior", "Removed"}},
         R"(pre_tokenizer.pattern is no regular expression that this program understands: "(")"},
        {"/pre_tokenizer", json{{"type", "Split"}, {"pattern", {{"String", "a"}}}, {"behavior", "Eaten"}},
         R"(pre_tokenizer.behavior is the unknown behavior "Eaten")"},
        {"/pre_tokenizer", json{{"type", "Split"}, {"pattern", {{"String", ""}}}, {"behavior", "Removed"}},
         "pre_tokenizer.pattern is empty"},
        {"/pre_tokenizer", json{{"type", "CharDelimiterSplit"}, {"delimiter", "ab"}},
         "pre_tokenizer.delimiter is more than one character"},
        {"/pre_tokenizer", json{{"type", "FixedLength"}, {"length", 0}}, "pre_tokenizer.length is zero"},
        {"/decoder", json{{"type", "CTC"}}, "decoder.pad_token is no text"},
        {"/decoder", json{{"type", "BPEDecoder"}, {"suffix", ""}}, "decoder.suffix is empty"},
        {"/decoder", json{{"type", "Spell"}}, R"(decoder is of the unknown type "Spell")"},
        {"/decoder", json{{"type", "Strip"}, {"content", "a"}}, "decoder.start is no whole number"},
    };
    for (const auto& [path, value, fault] : cases) {
        json file = smallFile({"a", "b", "ab"}, {"a b"});
        json& place = file[json::json_pointer(path)];
        place = value;
        expectRefused(writeJson(file), fault);
    }
}

TEST(TokenizerFiles, WrongSettingsOfOtherModels_AreRefusedInOneLine) {
    const json words = {{"type", "WordLevel"}, {"vocab", {{"a", 0}}}, {"unk_token", "a"}};
    json pieces = words;
    pieces.update({{"type", "WordPiece"}, {"max_input_chars_per_word", 100}});
    const json likely = {{"type", "Unigram"}, {"vocab", Scores{{"a", 0}}}, {"unk_id", 0}};
    const struct {
        json model;
        const char* setting;
        json value;
        std::string fault;
    } cases[] = {
        {words, "unk_token", nullptr, "model.unk_token is no text"},
        {words, "unk_token", "?", R"(model.unk_token names the unknown piece "?")"},
        {words, "vocab", json::array(), "model.vocab is missing or of a wrong form"},
        {pieces, "unk_token", "?", R"(model.unk_token names the unknown piece "?")"},
        {pieces, "max_input_chars_per_word", -1, "model.max_input_chars_per_word is no whole number from 0 to"},
        {pieces, "continuing_subword_prefix", std::string(300, '#'), "model.continuing_subword_prefix is longer than"},
        {likely, "unk_id", 1, "model.unk_id is no whole number from 0 to 0"},
        {likely, "vocab", Scores{{"a", 0}, {std::string(2000, 'a'), 0}},
         "model.vocab has a piece longer than 1024 bytes"},
        {likely, "vocab", json::object(), "model.vocab is missing or of a wrong form"},
    };
    for (const auto& [model, setting, value, fault] : cases) {
        json file = smallFile({});
        file["model"] = model;
        parsed(file);
        file["model"][setting] = value;
        expectRefused(writeJson(file), fault);
    }
}

TEST(TokenizerFiles, OtherFiles_AreRefusedInOneLine) {
    const std::string whole = writeJson(smallFile({"a"}));
    expectRefused("", "is not valid JSON at byte");
    expectRefused("[]", "has no \"model\"");
    expectRefused("{}", "has no \"model\"");
    expectRefused(whole.substr(0, whole.size() / 2), "is not valid JSON at byte");
    expectRefused(whole + "x", "is not valid JSON at byte");
    expectRefused("{\"model\":{\"vocab\":{\"\xFF\":0}}}", "is not valid JSON at byte");
    expectRefused(R"({"model":{},"model":{}})", R"(has "model" twice)");
    expectRefused(R"({"model":{"vocab":{},"vocab":{}}})", R"(has "vocab" twice)");
    expectRefused(R"({"model":{"vocab":{"a":0,"a":1}}})", R"(has the piece "a" or its id twice)");
    expectRefused(R"({"model":[{"vocab":1},{"vocab":{}}]})", "model is no object");
    expectRefused(std::string(1'000'000, '['), "is nested too deeply");
    EXPECT_THROW(Tokenizer::load("/no/such/tokenizer.json"), TokenizerError);
}

TEST(TokenizerFiles, OdditiesOfPublishedFiles_AreTaken) {
    json file = smallFile({"a", "b", "ab", "bb"}, {"a b", "b b", "a b"});
    file["model"]["unk_token"] = "<|unknown|>"; // never needed by files of byte letters
    file["added_tokens"] = {{{"id", 9}, {"content", ""}}};
    EXPECT_EQ(parsed(file).encode("abb?"), (std::vector{0, 3})) << "the last place of a merge counts";

    json twice = smallFile({});
    twice["model"] = {{"type", "Unigram"}, {"vocab", Scores{{"?", 0}, {"a", -1}, {"b", -2}, {"a", -3}}}, {"unk_id", 0}};
    const Tokenizer tokenizer = parsed(twice);
    EXPECT_EQ(tokenizer.encode("ab"), (std::vector{3, 2}));
    EXPECT_EQ(tokenizer.decode(std::vector{1, 3, 2}), "aab");
}

TEST(TokenizerFiles, HarmlessMembers_AreLeftOutAndToldOnce) {
    const fenlo::test::LogCapture log;
    json file = smallFile({"a", "b", "ab"}, {"a b"});
    file["_written_by"] = "a program";
    file["future"] = nullptr;
    file["model"]["vocab_size"] = 3;
    file["normalizer"] = {{"type", "NFC"}, {"comment", "composed"}};
    file["added_tokens"] = {{{"id", 8}, {"content", "<x>"}, {"__type", "AddedToken"}},
                            {{"id", 9}, {"content", "<y>"}, {"__type", "AddedToken"}}};
    EXPECT_EQ(parsed(file).encode("ab<y>"), (std::vector{2, 9}));
    EXPECT_THAT(log.lines(), testing::UnorderedElementsAre(
                                 HasSubstr(R"(small.json: "_written_by" is left out: it is a note of the program)"),
                                 HasSubstr(R"(small.json: "future" is left out: it is not set)"),
                                 HasSubstr(R"(small.json: model."vocab_size" is left out: it is about the training)"),
                                 HasSubstr(R"(small.json: normalizer."comment" is left out: it describes the file)"),
                                 HasSubstr(R"(small.json: added_tokens[0]."__type" is left out)")));
    file["normalizer"]["comments"] = true;
    expectRefused(writeJson(file), R"(normalizer has the unknown setting "comments")");
}

TEST(TokenizerFiles, StepsThatMultiplyText_AreRefused) {
    json file = smallFile({"a"});
    const json step = {{"type", "Replace"}, {"pattern", {{"String", "a"}}}, {"content", "aaaaaaaaaa"}};
    file["normalizer"] = {{"type", "Sequence"}, {"normalizers", json(3, step)}};
    expectRefused(writeJson(file), "normalizer.normalizers[2] can make text more than 256 times longer");
    const json letters = {{"type", "ByteLevel"}, {"add_prefix_space", false}};
    file["normalizer"] = nullptr;
    file["pre_tokenizer"] = {{"type", "Sequence"}, {"pretokenizers", json(9, letters)}};
    expectRefused(writeJson(file), "can make text more than 256 times longer");
}
