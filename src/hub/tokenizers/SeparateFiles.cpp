#include "hub/tokenizers/SeparateFiles.h"

#include "hub/tokenizers/AddedTokenTable.h"
#include "hub/tokenizers/JsonNode.h"
#include "hub/tokenizers/Tokenizer.h"
#include "hub/tokenizers/TokenizerConfig.h"
#include "hub/tokenizers/TokenizerFile.h"
#include "hub/tokenizers/VocabularyFiles.h"
#include "hub/tokenizers/steps/ByteLetters.h"

#include <algorithm>
#include <set>
#include <utility>

namespace fenlo::hub {

namespace {

using nlohmann::json;
namespace fs = std::filesystem;

enum class Family { byteLevel, byteLevelBetweenMarks, speech, wordPiece };

struct TokenizerClass {
    std::string_view name;
    Family family;
};

// clang-format off
/// The classes whose steps are those of their family and no others.
constexpr TokenizerClass classes[] = {
    {"GPT2Tokenizer", Family::byteLevel}, {"GPTNeoXTokenizer", Family::byteLevel},
    {"CodeGenTokenizer", Family::byteLevel},
    {"RobertaTokenizer", Family::byteLevelBetweenMarks}, {"BartTokenizer", Family::byteLevelBetweenMarks},
    {"LongformerTokenizer", Family::byteLevelBetweenMarks}, {"LEDTokenizer", Family::byteLevelBetweenMarks},
    {"WhisperTokenizer", Family::speech},
    {"BertTokenizer", Family::wordPiece}, {"DistilBertTokenizer", Family::wordPiece},
    {"ElectraTokenizer", Family::wordPiece}, {"MobileBertTokenizer", Family::wordPiece},
    {"ConvBertTokenizer", Family::wordPiece}, {"SqueezeBertTokenizer", Family::wordPiece},
    {"LayoutLMTokenizer", Family::wordPiece}, {"LxmertTokenizer", Family::wordPiece},
    {"DPRContextEncoderTokenizer", Family::wordPiece}, {"DPRQuestionEncoderTokenizer", Family::wordPiece},
    {"DPRReaderTokenizer", Family::wordPiece},
};

struct DefaultRole {
    Family family;
    const char* role;
    const char* content;
};

/// What a family's files leave out when it is so. A token counts where the vocabulary has it.
constexpr DefaultRole defaultRoles[] = {
    {Family::byteLevel, "bos_token", "<|endoftext|>"}, {Family::byteLevel, "eos_token", "<|endoftext|>"},
    {Family::byteLevel, "unk_token", "<|endoftext|>"},
    {Family::speech, "bos_token", "<|endoftext|>"}, {Family::speech, "eos_token", "<|endoftext|>"},
    {Family::speech, "unk_token", "<|endoftext|>"},
    {Family::byteLevelBetweenMarks, "bos_token", "<s>"}, {Family::byteLevelBetweenMarks, "cls_token", "<s>"},
    {Family::byteLevelBetweenMarks, "eos_token", "</s>"}, {Family::byteLevelBetweenMarks, "sep_token", "</s>"},
    {Family::byteLevelBetweenMarks, "unk_token", "<unk>"}, {Family::byteLevelBetweenMarks, "pad_token", "<pad>"},
    {Family::wordPiece, "unk_token", "[UNK]"}, {Family::wordPiece, "sep_token", "[SEP]"},
    {Family::wordPiece, "pad_token", "[PAD]"}, {Family::wordPiece, "cls_token", "[CLS]"},
    {Family::wordPiece, "mask_token", "[MASK]"},
};
// clang-format on

/// What the parts of the document are made from.
struct Parts {
    const TokenizerConfig& config;
    const Vocabulary& vocabulary;
    const AddedTokenTable& added;

    /// The token of a role, where it has an id.
    std::optional<std::pair<std::string, int>> token(std::string_view role) const {
        const std::optional<std::string> content = config.contentOf(role);
        const std::optional<int> id = content ? added.idOf(*content) : std::nullopt;
        return id ? std::optional(std::pair(*content, *id)) : std::nullopt;
    }
};

[[noreturn]] void refuseFolder(const std::string& source, const std::string& fault) {
    throw TokenizerError(source + ": " + fault + "; use another model");
}

bool hasFile(const fs::path& folder, const char* name) {
    std::error_code error;
    return fs::exists(folder / name, error);
}

Family familyOf(const TokenizerConfig& config, const fs::path& folder) {
    const std::string source = folder.string();
    const bool hasPairs = hasFile(folder, "vocab.json") && hasFile(folder, "merges.txt");
    const bool hasLines = hasFile(folder, "vocab.txt");
    if (!hasPairs && !hasLines)
        failDocument(source, "", "has no tokenizer.json, no vocab.json with merges.txt and no vocab.txt");
    const std::string& name = config.tokenizerClass;
    if (!name.empty() && name != "PreTrainedTokenizer") {
        const auto* known = std::ranges::find(classes, name, &TokenizerClass::name);
        if (known == std::end(classes))
            refuseFolder(source, "has no tokenizer.json, and no other file tells all of a tokenizer of the class " +
                                     inQuotes(name));
        const bool needsLines = known->family == Family::wordPiece;
        if (!(needsLines ? hasLines : hasPairs))
            failDocument(source, "",
                         std::string("has no ") + (needsLines ? "vocab.txt" : "vocab.json with merges.txt") +
                             ", which the class " + inQuotes(name) + " needs");
        return known->family;
    }
    if (hasPairs && hasLines)
        refuseFolder(source, "has a vocab.json and a vocab.txt, and no tokenizer_class tells which of them counts");
    return hasPairs ? Family::byteLevel : Family::wordPiece;
}

std::string byteLetter(char byte) {
    AlignedText letter = AlignedText::plain(std::string(1, byte));
    AlignedTextWriter writer(letter);
    writeByteLetters(writer, 1);
    writer.finish();
    return letter.text();
}

/// Without a class the pieces must show that they are made of bytes.
void requireByteLetters(const Vocabulary& vocabulary, const std::string& source) {
    for (int byte = 0; byte < 256; ++byte)
        if (!vocabulary.find(byteLetter(static_cast<char>(byte))))
            refuseFolder(source, "has a vocab.json without a piece for every byte, and no tokenizer_class tells its "
                                 "family");
}

/// Pieces with capitals could never be found in text in lower case. Marks such as "[CLS]" are no such pieces.
bool hasCapitals(const Vocabulary& vocabulary) {
    const auto isCapital = [](char c) { return c >= 'A' && c <= 'Z'; };
    for (int id = 0; id < vocabulary.size(); ++id)
        if (const auto piece = vocabulary.piece(id); piece && !piece->starts_with('[') && !piece->starts_with('<'))
            if (std::ranges::any_of(*piece, isCapital))
                return true;
    return false;
}

json optionalJson(const std::optional<bool>& value) {
    return value ? json(*value) : json();
}

/// Texts between tokens, as the post-processor "TemplateProcessing" has them.
json templateOf(const Parts& parts, const std::vector<std::string>& before, const std::vector<std::string>& after) {
    json single = json::array();
    json pair = json::array();
    json tokens = json::object();
    const auto add = [](json& list, const char* kind, const std::string& id, int typeId) {
        list.push_back({{kind, {{"id", id}, {"type_id", typeId}}}});
    };
    const auto addTokens = [&](json& list, const std::vector<std::string>& contents, int typeId) {
        for (const std::string& content : contents)
            add(list, "SpecialToken", content, typeId);
    };
    for (json* list : {&single, &pair}) {
        addTokens(*list, before, 0);
        add(*list, "Sequence", "A", 0);
        addTokens(*list, after, 0);
    }
    addTokens(pair, before, 1);
    add(pair, "Sequence", "B", 1);
    addTokens(pair, after, 1);
    for (const auto* contents : {&before, &after})
        for (const std::string& content : *contents)
            tokens[content] = {{"id", content}, {"ids", {parts.added.idOf(content).value()}}, {"tokens", {content}}};
    return {{"type", "TemplateProcessing"}, {"single", single}, {"pair", pair}, {"special_tokens", tokens}};
}

json byteLevelStep(bool addsPrefixSpace) {
    return {{"type", "ByteLevel"}, {"add_prefix_space", addsPrefixSpace}, {"trim_offsets", true}, {"use_regex", true}};
}

json byteLevelPostProcessor(const Parts& parts, Family family) {
    const auto token = [&](std::string_view role) { return parts.token(role); };
    if (family == Family::byteLevelBetweenMarks && token("sep_token") && token("cls_token"))
        return {{"type", "RobertaProcessing"},
                {"sep", *token("sep_token")},
                {"cls", *token("cls_token")},
                {"trim_offsets", true},
                {"add_prefix_space", parts.config.addPrefixSpace.value_or(false)}};
    std::vector<std::string> before;
    std::vector<std::string> after;
    if (family == Family::speech)
        for (const char* literal : {"<|startoftranscript|>", "<|notimestamps|>"})
            if (parts.added.idOf(literal))
                before.emplace_back(literal);
    if (parts.config.addBosToken.value_or(false) && token("bos_token"))
        before.push_back(token("bos_token")->first);
    if (parts.config.addEosToken.value_or(family == Family::speech) && token("eos_token"))
        after.push_back(token("eos_token")->first);
    return before.empty() && after.empty() ? json() : templateOf(parts, before, after);
}

json settingsOfByteLevel(const Parts& parts, Family family) {
    const auto unknown = parts.token("unk_token");
    const bool isPiece = unknown && parts.vocabulary.find(unknown->first);
    return {{"pre_tokenizer", byteLevelStep(parts.config.addPrefixSpace.value_or(false))},
            {"decoder", byteLevelStep(true)},
            {"post_processor", byteLevelPostProcessor(parts, family)},
            {"model", {{"type", "BPE"}, {"unk_token", isPiece ? json(unknown->first) : json()}, {"merges", nullptr}}}};
}

json settingsOfWordPiece(const Parts& parts) {
    const TokenizerConfig& config = parts.config;
    const auto sep = parts.token("sep_token");
    const auto cls = parts.token("cls_token");
    json settings = {{"normalizer",
                      {{"type", "BertNormalizer"},
                       {"clean_text", true},
                       {"handle_chinese_chars", config.tokenizeChineseChars.value_or(true)},
                       {"strip_accents", optionalJson(config.stripAccents)},
                       {"lowercase", config.doLowerCase.value_or(!hasCapitals(parts.vocabulary))}}},
                     {"pre_tokenizer", {{"type", "BertPreTokenizer"}}},
                     {"decoder", {{"type", "WordPiece"}, {"prefix", "##"}, {"cleanup", true}}},
                     {"model",
                      {{"type", "WordPiece"},
                       {"unk_token", config.contentOf("unk_token").value_or("[UNK]")},
                       {"continuing_subword_prefix", "##"},
                       {"max_input_chars_per_word", 100}}}};
    if (sep && cls)
        settings["post_processor"] = {{"type", "BertProcessing"}, {"sep", *sep}, {"cls", *cls}};
    return settings;
}

/// The tokens that a role or the list of further special tokens names.
std::map<std::string, SpecialToken, std::less<>> specialTokensOf(const TokenizerConfig& config) {
    std::map<std::string, SpecialToken, std::less<>> tokens;
    for (const auto& [role, token] : config.roles)
        tokens.try_emplace(token.content, token);
    for (const SpecialToken& token : config.additionalSpecialTokens)
        tokens.try_emplace(token.content, token);
    return tokens;
}

AddedToken addedToken(int id, const SpecialToken& token, bool isSpecial) {
    return {.id = id,
            .content = token.content,
            .singleWord = token.singleWord,
            .lstrip = token.lstrip,
            .rstrip = token.rstrip,
            .normalized = isSpecial ? token.normalized : true,
            .special = isSpecial};
}

void gatherAddedTokens(AddedTokenTable& table, const TokenizerConfig& config, const fs::path& folder) {
    const std::string configName = (folder / "tokenizer_config.json").string();
    for (const AddedToken& token : config.addedTokens)
        table.add(token, configName, "added_tokens_decoder");
    const auto special = specialTokensOf(config);
    if (const fs::path file = folder / "added_tokens.json"; hasFile(folder, "added_tokens.json")) {
        const Vocabulary added = readVocabularyJson(readTokenizerFile(file), file.string());
        for (int id = 0; id < added.size(); ++id)
            if (const auto piece = added.piece(id); piece && !piece->empty()) {
                const auto role = special.find(*piece);
                const bool isSpecial = role != special.end();
                table.add(
                    addedToken(id, isSpecial ? role->second : SpecialToken{.content = std::string(*piece)}, isSpecial),
                    file.string(), "");
            }
    }
    for (const auto& [content, token] : special)
        if (const std::optional<int> id = content.empty() ? std::nullopt : table.idOf(content))
            table.add(addedToken(*id, token, true), configName, "");
}

} // namespace

TokenizerDocument readSeparateFiles(const fs::path& folder) {
    const auto content = [&](const char* name) { return readTokenizerFile(folder / name); };
    const auto source = [&](const char* name) { return (folder / name).string(); };
    TokenizerConfig config = loadTokenizerConfig(folder);
    const Family family = familyOf(config, folder);
    TokenizerDocument document;
    document.form = VocabularyForm::table;
    if (family == Family::wordPiece) {
        document.vocabulary = readVocabularyText(content("vocab.txt"), source("vocab.txt"));
    } else {
        document.vocabulary = readVocabularyJson(content("vocab.json"), source("vocab.json"));
        document.merges = readMergesText(content("merges.txt"), source("merges.txt"));
        if (config.tokenizerClass.empty() || config.tokenizerClass == "PreTrainedTokenizer")
            requireByteLetters(document.vocabulary, folder.string());
    }
    for (const DefaultRole& role : defaultRoles)
        if (role.family == family && document.vocabulary.find(role.content))
            config.roles.try_emplace(role.role, SpecialToken{.content = role.content});
    AddedTokenTable added(document.vocabulary);
    gatherAddedTokens(added, config, folder);
    const Parts parts{config, document.vocabulary, added};
    document.settings = family == Family::wordPiece ? settingsOfWordPiece(parts) : settingsOfByteLevel(parts, family);
    document.settings["added_tokens"] = added.toJson();
    return document;
}

} // namespace fenlo::hub
