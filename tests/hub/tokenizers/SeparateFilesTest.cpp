// Tokenizers whose parts lie in files of their own, and what the files beside a tokenizer say of its use.

#include "SmallTokenizer.h"
#include "base/Files.h"
#include "hub/tokenizers/TokenizerConfig.h"
#include "support/TemporaryFolder.h"

#include <fstream>
#include <gmock/gmock.h>
#include <map>

using namespace fenlo;
using namespace fenlo::hub;
using namespace fenlo::hub::test;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

using FolderFiles = std::map<std::string, std::string>;

/// A folder with these files.
class ModelFolder {
public:
    explicit ModelFolder(const FolderFiles& contents) {
        for (const auto& [name, content] : contents) {
            std::filesystem::create_directories((folder / name).parent_path());
            std::ofstream(folder / name) << content;
        }
    }
    Tokenizer tokenizer() const { return Tokenizer::load(folder.path); }
    TokenizerConfig config() const { return loadTokenizerConfig(folder); }

private:
    fenlo::test::TemporaryFolder folder;
};

json reference(const std::string& name) {
    return parseJson(files::read(std::string(TOKENIZER_REFERENCE) + "/" + name + ".json").value());
}

/// The vocab.json and merges.txt of a tokenizer.json.
FolderFiles pairFiles(const json& file) {
    std::string merges = "#version: 0.2\n";
    for (const json& pair : file["model"]["merges"])
        merges += pair[0].get<std::string>() + " " + pair[1].get<std::string>() + "\n";
    return {{"vocab.json", writeJson(file["model"]["vocab"])}, {"merges.txt", merges}};
}

/// The vocab.txt.
FolderFiles lineFiles(const json& vocabulary) {
    std::vector<std::string> lines(vocabulary.size());
    for (const auto& [piece, id] : vocabulary.items())
        lines[id.get<std::size_t>()] = piece;
    std::string text;
    for (const std::string& line : lines)
        text += line + "\n";
    return {{"vocab.txt", text}};
}

/// All tokens of the reference texts, those of the post-processor left out.
std::vector<std::vector<int>> tokensOfTexts(const Tokenizer& tokenizer) {
    std::vector<std::vector<int>> tokens;
    for (const json& text : reference("texts"))
        tokens.push_back(tokenizer.encode(text.get<std::string>()));
    return tokens;
}

std::vector<std::string> sequenceOf(const Tokenizer& tokenizer, std::string_view text) {
    std::vector<std::string> pieces;
    for (const EncodedToken& token : tokenizer.encoding(text).tokens)
        pieces.push_back(tokenizer.idToToken(token.id).value());
    return pieces;
}

void expectLine(const FolderFiles& contents, const std::string& fault) {
    SCOPED_TRACE(fault);
    try {
        ModelFolder(contents).tokenizer();
        ADD_FAILURE() << "was taken";
    } catch (const TokenizerError& error) {
        EXPECT_THAT(error.what(), HasSubstr(fault));
        EXPECT_EQ(std::string_view(error.what()).find('\n'), std::string_view::npos);
    }
}

} // namespace

TEST(SeparateFiles, BytePairs_GiveTheTokensOfTheWholeFile) {
    const json file = reference("byte_level");
    FolderFiles contents = pairFiles(file);
    contents["added_tokens.json"] = writeJson(json{{"<|endoftext|>", file["added_tokens"][0]["id"]}});
    contents["special_tokens_map.json"] =
        R"({"eos_token": {"content": "<|endoftext|>", "lstrip": false}, "additional_special_tokens": ["<|mark|>"]})";
    // Without a class the vocabulary tells that it is made of bytes.
    contents["tokenizer_config.json"] =
        writeJson(json{{"added_tokens_decoder",
                        {{writeJson(file["added_tokens"][1]["id"]),
                          {{"content", "<|mark|>"}, {"special", true}, {"normalized", false}}}}},
                       {"model_max_length", 1e30},
                       {"add_eos_token", true}});
    const ModelFolder folder(contents);
    const Tokenizer whole = Tokenizer::parse(writeJson(file), "whole.json");
    EXPECT_EQ(tokensOfTexts(folder.tokenizer()), tokensOfTexts(whole));
    EXPECT_THAT(sequenceOf(folder.tokenizer(), "a"), ElementsAre("a", "<|endoftext|>"));
    EXPECT_TRUE(folder.tokenizer().isSpecial(whole.tokenToId("<|mark|>").value()));
    EXPECT_EQ(folder.config().modelMaxLength, std::nullopt);

    contents["tokenizer.json"] = writeJson(smallFile({"a"})); // goes before all others
    EXPECT_EQ(ModelFolder(contents).tokenizer().vocabularySize(), 1);
}

TEST(SeparateFiles, LinesOfPieces_GiveTheTokensOfTheWholeFile) {
    for (const char* name : {"word_piece", "word_piece_cased"}) {
        SCOPED_TRACE(name);
        json file = reference(name);
        file["model"]["max_input_chars_per_word"] = 100;
        FolderFiles contents = lineFiles(file["model"]["vocab"]);
        // Whether capitals count is told by the pieces, unless a file says it.
        const std::vector<std::vector<int>> expected = tokensOfTexts(parsed(file));
        EXPECT_EQ(tokensOfTexts(ModelFolder(contents).tokenizer()), expected);
        contents["tokenizer_config.json"] = writeJson(json{{"do_lower_case", file["normalizer"]["lowercase"]}});
        EXPECT_EQ(tokensOfTexts(ModelFolder(contents).tokenizer()), expected);
        EXPECT_THAT(sequenceOf(ModelFolder(contents).tokenizer(), "[MASK]"), ElementsAre("[CLS]", "[MASK]", "[SEP]"));
    }
}

TEST(SeparateFiles, ClassOfTheTokenizer_TellsWhatStandsAroundTheText) {
    json file = reference("byte_level_prefixed");
    json& vocabulary = file["model"]["vocab"];
    vocabulary["</s>"] = vocabulary.size();
    FolderFiles contents = pairFiles(file);
    contents["tokenizer_config.json"] = R"({"tokenizer_class": "RobertaTokenizerFast", "add_prefix_space": true})";
    EXPECT_THAT(sequenceOf(ModelFolder(contents).tokenizer(), "a"), ElementsAre("<s>", "\u0120a", "</s>"));

    contents["tokenizer_config.json"] = R"({"tokenizer_class": "WhisperTokenizer"})";
    contents["added_tokens.json"] =
        R"({"<|endoftext|>": 9000, "<|startoftranscript|>": 9001, "<|notimestamps|>": 9002})";
    contents["special_tokens_map.json"] = R"({"eos_token": "<|endoftext|>"})";
    EXPECT_THAT(sequenceOf(ModelFolder(contents).tokenizer(), "a"),
                ElementsAre("<|startoftranscript|>", "<|notimestamps|>", "a", "<|endoftext|>"));
}

TEST(SeparateFiles, WhatIsMissingDamagedOrContradicting_EndsInOneLine) {
    const FolderFiles pairs = pairFiles(reference("byte_level"));
    const auto with = [](FolderFiles contents, const std::string& name, const std::string& content) {
        contents[name] = content;
        return contents;
    };
    const FolderFiles lines{{"vocab.txt", "[UNK]\na\n"}};
    expectLine({}, "has no tokenizer.json, no vocab.json with merges.txt and no vocab.txt; download the model again");
    expectLine({{"vocab.json", "{}"}}, "has no tokenizer.json, no vocab.json with merges.txt");
    expectLine(with(pairs, "vocab.txt", "a"), "has a vocab.json and a vocab.txt");
    expectLine(with(pairs, "vocab.json", "[]"), "vocab.json: is no object");
    expectLine(with(pairs, "vocab.json", R"({"a": 0, "b": 0})"), R"(vocab.json: has the piece "b" or its id twice)");
    expectLine(with(pairs, "vocab.json", R"({"a": 0})"), "without a piece for every byte");
    expectLine(with(pairs, "merges.txt", "a b\nab\n"), "merges.txt: line 2 is no pair of pieces");
    expectLine(with(pairs, "merges.txt", "a b c\n"), "merges.txt: line 1 is no pair of pieces");
    expectLine(with(pairs, "merges.txt", "\xFF b\n"), "merges.txt: line 1 is no valid UTF-8");
    EXPECT_EQ(ModelFolder(with(lines, "vocab.txt", "[UNK]\na\nb\na\n")).tokenizer().encode("a b"), (std::vector{3, 2}));
    expectLine(with(lines, "vocab.txt", "a\n"), R"(model.unk_token names the unknown piece "[UNK]")");
    const auto withConfig = [&](const FolderFiles& contents, const std::string& config) {
        return with(contents, "tokenizer_config.json", config);
    };
    expectLine(withConfig(lines, R"({"tokenizer_class": "GPT2Tokenizer"})"), "has no vocab.json with merges.txt");
    expectLine(withConfig(pairs, R"({"tokenizer_class": "BertTokenizer"})"), "has no vocab.txt");
    expectLine(withConfig(pairs, R"({"tokenizer_class": "OtherTokenizer"})"),
               R"(no other file tells all of a tokenizer of the class "OtherTokenizer"; use another model)");
    expectLine(withConfig(lines, "{"), "tokenizer_config.json: is not valid JSON at byte");
    expectLine(withConfig(lines, "[]"), "tokenizer_config.json: is no object");
    expectLine(withConfig(lines, R"({"do_lower_case": 1})"), "do_lower_case is neither true nor false");
    expectLine(withConfig(lines, R"({"padding_side": "top"})"), R"(padding_side is the unknown side "top")");
    expectLine(withConfig(lines, R"({"bos_token": 1})"), "bos_token is no text");
    expectLine(withConfig(lines, R"({"chat_template": [{"name": "x"}]})"), "chat_template[0].template is no text");
    expectLine(withConfig(lines, R"({"model_max_length": -1})"), "model_max_length is no whole number");
    expectLine(withConfig(lines, R"({"added_tokens_decoder": {"x": {}}})"), R"(added_tokens_decoder."x" is no id)");
    expectLine(withConfig(lines, R"({"added_tokens_decoder": {"1": {"content": "b"}}})"),
               R"(gives "b" the id 1, while "a" has the id 1)");
    expectLine(with(lines, "added_tokens.json", R"({"a": 7})"), R"(gives "a" the id 7, while "a" has the id 1)");
    const auto older =
        with(withConfig(lines, R"({"unk_token": "?"})"), "special_tokens_map.json", R"({"unk_token": "a"})");
    EXPECT_EQ(ModelFolder(older).tokenizer().encode("b"), std::vector{1});
}

TEST(TokenizerConfig, RolesAndTemplatesComeFromAllFiles) {
    FolderFiles contents;
    contents["tokenizer_config.json"] = R"({
        "tokenizer_class": "LlamaTokenizerFast", "model_max_length": 4096, "add_bos_token": true, "unknown": [1],
        "padding_side": "left",
        "bos_token": {"content": "<s>", "lstrip": true}, "eos_token": "<|im_end|>", "pad_token": null,
        "additional_special_tokens": ["<|im_start|>"],
        "added_tokens_decoder": {"10": {"content": "<b>"}, "2": {"content": "</s>", "special": true}},
        "chat_template": [{"name": "default", "template": "old"}, {"name": "tool_use", "template": "tools"}]})";
    contents["special_tokens_map.json"] = R"({"eos_token": "</s>", "unk_token": "<unk>"})";
    const TokenizerConfig config = ModelFolder(contents).config();
    EXPECT_EQ(config.tokenizerClass, "LlamaTokenizer");
    EXPECT_EQ(config.modelMaxLength, 4096);
    EXPECT_EQ(config.addBosToken, true);
    EXPECT_EQ(config.addEosToken, std::nullopt);
    EXPECT_EQ(config.paddingSide, Side::left);
    EXPECT_EQ(config.truncationSide, std::nullopt);
    EXPECT_TRUE(config.roles.at("bos_token").lstrip);
    EXPECT_EQ(config.contentOf("eos_token"), "<|im_end|>"); // the newer file is complete
    EXPECT_EQ(config.contentOf("unk_token"), "<unk>");
    EXPECT_EQ(config.contentOf("pad_token"), std::nullopt);
    ASSERT_EQ(config.addedTokens.size(), 2U);
    EXPECT_EQ(config.addedTokens[0].content, "</s>");
    EXPECT_EQ(config.chatTemplate(), "old");
    EXPECT_EQ(config.chatTemplate("tool_use"), "tools");
    EXPECT_EQ(config.chatTemplate("rag"), std::nullopt);

    contents["chat_template.jinja"] = "new";
    contents["additional_chat_templates/rag.jinja"] = "sources";
    const TokenizerConfig newer = ModelFolder(contents).config();
    EXPECT_EQ(newer.chatTemplate(), "new");
    EXPECT_EQ(newer.chatTemplate("rag"), "sources");
    const FolderFiles own{{"chat_template.json", R"({"chat_template": "own"})"}};
    EXPECT_EQ(ModelFolder(own).config().chatTemplate(), "own");
    EXPECT_TRUE(ModelFolder(FolderFiles()).config().roles.empty()); // none of the files is needed
}
