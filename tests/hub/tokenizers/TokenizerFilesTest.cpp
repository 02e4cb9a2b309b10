// Files that are damaged, hostile or made for other programs are refused in one line that says what and where.

#include "SmallTokenizer.h"
#include "base/Json.h"

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
        {"/model/type", "Unigram", R"(model is of the unknown type "Unigram")"},
        {"/model/vocab", json::array(), "model.vocab is missing or of a wrong form"},
        {"/model/vocab/a", "0", R"(model.vocab gives no id for "a")"},
        {"/model/vocab/a", -1, R"(model.vocab gives no id for "a")"},
        {"/model/vocab/a", 1.5, R"(model.vocab gives no id for "a")"},
        {"/model/vocab/a", json::object(), R"(model.vocab gives no id for)"},
        {"/model/vocab/a", 1 << 24, "model.vocab has an id out of range, 16777216"},
        {"/model/vocab/b", 0, R"(model.vocab has the piece "b" or its id twice)"},
        {"/model/merges", json::object(), "model.merges is missing or of a wrong form"},
        {"/model/merges/0", "ab", "model.merges[0] is no pair"},
        {"/model/merges/0", "a b c", "model.merges[0] is no pair"},
        {"/model/merges/0", json::array({"a"}), "model.merges[0] is no pair"},
        {"/model/merges/0", json::array({"a", "b", "c"}), "model.merges[0] is no pair"},
        {"/model/merges/0", 7, "model.merges[0] is no pair"},
        {"/model/merges/0", "a x\n\x01",
         R"(model.merges has number 0, of "a" and "x\n\u0001", which needs "x\n\u0001")"},
        {"/model/merges/0", "b a", R"(which needs "ba", no piece)"},
        {"/model/merges/1", "a b", R"(model.merges has "a" and "b" twice)"},
        {"/model/unk_token", "?", R"(model.unk_token names the unknown piece "?")"},
        {"/model/dropout", 0.1, "model.dropout asks for random merges"},
        {"/model/end_of_word_suffix", "</w>", "model.end_of_word_suffix is set"},
        {"/model/byte_fallback", "yes", "model.byte_fallback is neither true nor false"},
        {"/model/continuing_subword_prefix", "##", R"(lacks the prefix "##")"},
        {"/added_tokens", 3, "added_tokens is no list"},
        {"/added_tokens/0", json{{"id", 1}, {"content", "c"}}, R"(added_tokens[0] has the text "c" or the id 1 of an)"},
        {"/added_tokens/0", json{{"id", 9}, {"content", "a"}}, R"(added_tokens[0] has the text "a" or the id 9 of an)"},
        {"/added_tokens/0", json{{"id", -9}, {"content", "c"}}, "added_tokens[0].id is no whole number from 0 to"},
        {"/added_tokens/0", json{{"id", 9}, {"content", ""}}, "added_tokens[0].content is empty"},
        {"/added_tokens/0", json{{"id", 9}, {"content", std::string(5000, 'x')}}, "is longer than 256 bytes"},
        {"/normalizer", json{{"type", "Precompiled"}}, R"(normalizer is of the unknown type "Precompiled")"},
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
        {"/decoder", json{{"type", "CTC"}}, R"(decoder is of the unknown type "CTC")"},
        {"/decoder", json{{"type", "Strip"}, {"content", "a"}}, "decoder.start is no whole number"},
    };
    for (const auto& [path, value, fault] : cases) {
        json file = smallFile({"a", "b", "ab"}, {"a b"});
        json& place = file[json::json_pointer(path)];
        place = value;
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

TEST(TokenizerFiles, ReplacementsThatMultiplyText_AreRefused) {
    json file = smallFile({"a"});
    const json step = {{"type", "Replace"}, {"pattern", {{"String", "a"}}}, {"content", "aaaaaaaaaa"}};
    file["normalizer"] = {{"type", "Sequence"}, {"normalizers", json(3, step)}};
    expectRefused(writeJson(file), "normalizer.normalizers[2] can make text more than 256 times longer");
}
