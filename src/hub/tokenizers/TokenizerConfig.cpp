#include "hub/tokenizers/TokenizerConfig.h"

#include "base/Text.h"
#include "hub/tokenizers/JsonNode.h"
#include "hub/tokenizers/TokenizerFile.h"
#include "hub/tokenizers/steps/Steps.h"

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>

namespace fenlo::hub {

namespace {

using nlohmann::json;
namespace fs = std::filesystem;

constexpr const char* roleNames[] = {"bos_token", "eos_token", "unk_token", "sep_token",
                                     "pad_token", "cls_token", "mask_token"};
constexpr const char* additionalTokens = "additional_special_tokens";

std::optional<bool> optionalBoolean(const JsonNode& node) {
    return node.isNull() ? std::nullopt : std::optional(node.boolean(false));
}

/// These files write it in small letters.
std::optional<Side> readConfigSide(const JsonNode& node) {
    if (node.isNull())
        return std::nullopt;
    const std::string name = node.string();
    if (name != "left" && name != "right")
        node.refuse("is the unknown side " + inQuotes(name));
    return name == "left" ? Side::left : Side::right;
}

/// Models without a limit give a number beyond all lengths.
std::optional<int> readModelLength(const JsonNode& node, const json& value) {
    if (value.is_null() || (value.is_number() && value.get<double>() >= 1 << 30))
        return std::nullopt;
    return node.integer(1 << 30);
}

/// A text, or an object with the settings of an added token.
SpecialToken readSpecialToken(const JsonNode& node, const json& value) {
    SpecialToken token;
    if (!value.is_object()) {
        token.content = shortText(node);
        return token;
    }
    token.content = shortText(node.member("content"));
    token.singleWord = node.member("single_word").boolean(false);
    token.lstrip = node.member("lstrip").boolean(false);
    token.rstrip = node.member("rstrip").boolean(false);
    token.normalized = node.member("normalized").boolean(false);
    return token;
}

struct Roles {
    std::map<std::string, SpecialToken, std::less<>> tokens;
    std::vector<SpecialToken> additional;
};

Roles readRoles(const json& value, const JsonNode& root) {
    Roles roles;
    for (const char* role : roleNames)
        if (const JsonNode node = root.member(role); !node.isNull())
            roles.tokens.emplace(role, readSpecialToken(node, value[role]));
    if (const JsonNode list = root.member(additionalTokens); !list.isNull()) {
        const std::vector<JsonNode> items = list.items();
        for (std::size_t i = 0; i < items.size(); ++i)
            roles.additional.push_back(readSpecialToken(items[i], value[additionalTokens][i]));
    }
    return roles;
}

/// The member "added_tokens_decoder": tokens by their ids, which are texts there.
std::vector<AddedToken> readAddedTokensDecoder(const json& value, const JsonNode& node, const std::string& source) {
    std::vector<AddedToken> tokens;
    if (node.isNull())
        return tokens;
    if (!value.is_object())
        node.fail("is no object");
    for (const auto& [key, settings] : value.items()) {
        const std::string place = "added_tokens_decoder." + inQuotes(key);
        int id = -1;
        const char* end = key.data() + key.size();
        if (std::from_chars(key.data(), end, id).ptr != end || id < 0 || id > Vocabulary::maximumId)
            failDocument(source, place, "is no id");
        json token = settings;
        if (!token.is_object())
            failDocument(source, place, "is no object");
        token["id"] = id;
        tokens.push_back(AddedToken::read(JsonNode(token, place, source)));
    }
    std::ranges::sort(tokens, {}, &AddedToken::id);
    return tokens;
}

/// One template, or a list of them with names.
std::vector<ChatTemplateText> readChatTemplates(const json& value, const JsonNode& node) {
    std::vector<ChatTemplateText> templates;
    if (node.isNull())
        return templates;
    if (!value.is_array())
        return {{"default", node.string()}};
    for (const JsonNode& item : node.items())
        templates.push_back({shortText(item.member("name")), item.member("template").string()});
    return templates;
}

void replaceTemplate(TokenizerConfig& config, ChatTemplateText made) {
    std::erase_if(config.chatTemplates, [&](const ChatTemplateText& it) { return it.name == made.name; });
    config.chatTemplates.push_back(std::move(made));
}

void addTemplateFiles(TokenizerConfig& config, const fs::path& folder) {
    std::error_code error;
    if (const fs::path file = folder / "chat_template.json"; fs::exists(file, error)) {
        const std::string source = file.string();
        const json value = parseTokenizerFile(readTokenizerFile(file), source);
        const JsonNode node = JsonNode(value, "", source).member("chat_template");
        for (ChatTemplateText& made : readChatTemplates(node.isNull() ? json() : value["chat_template"], node))
            replaceTemplate(config, std::move(made));
    }
    if (const fs::path file = folder / "chat_template.jinja"; fs::exists(file, error))
        replaceTemplate(config, {"default", text::repairUtf8(readTokenizerFile(file))});
    std::vector<fs::path> named;
    for (const auto& entry : fs::directory_iterator(folder / "additional_chat_templates", error))
        if (entry.path().extension() == ".jinja")
            named.push_back(entry.path());
    std::ranges::sort(named);
    for (const fs::path& file : named)
        replaceTemplate(config, {file.stem().string(), text::repairUtf8(readTokenizerFile(file))});
}

} // namespace

std::optional<std::string> TokenizerConfig::contentOf(std::string_view role) const {
    const auto found = roles.find(role);
    return found == roles.end() ? std::nullopt : std::optional(found->second.content);
}

std::optional<std::string> TokenizerConfig::chatTemplate(std::string_view name) const {
    const auto found = std::ranges::find(chatTemplates, name, &ChatTemplateText::name);
    return found == chatTemplates.end() ? std::nullopt : std::optional(found->text);
}

TokenizerConfig readTokenizerConfig(std::string_view text, const std::string& source) {
    const json value = parseTokenizerFile(text, source);
    const JsonNode root(value, "", source);
    const auto valueOf = [&value](const char* key) { return value.value(key, json()); };
    TokenizerConfig config;
    if (const JsonNode name = root.member("tokenizer_class"); !name.isNull()) {
        config.tokenizerClass = shortText(name);
        if (config.tokenizerClass.ends_with("Fast"))
            config.tokenizerClass.erase(config.tokenizerClass.size() - 4);
    }
    config.doLowerCase = optionalBoolean(root.member("do_lower_case"));
    config.stripAccents = optionalBoolean(root.member("strip_accents"));
    config.tokenizeChineseChars = optionalBoolean(root.member("tokenize_chinese_chars"));
    config.addPrefixSpace = optionalBoolean(root.member("add_prefix_space"));
    config.addBosToken = optionalBoolean(root.member("add_bos_token"));
    config.addEosToken = optionalBoolean(root.member("add_eos_token"));
    config.modelMaxLength = readModelLength(root.member("model_max_length"), valueOf("model_max_length"));
    config.paddingSide = readConfigSide(root.member("padding_side"));
    config.truncationSide = readConfigSide(root.member("truncation_side"));
    Roles roles = readRoles(value, root);
    config.roles = std::move(roles.tokens);
    config.additionalSpecialTokens = std::move(roles.additional);
    config.addedTokens =
        readAddedTokensDecoder(valueOf("added_tokens_decoder"), root.member("added_tokens_decoder"), source);
    config.chatTemplates = readChatTemplates(valueOf("chat_template"), root.member("chat_template"));
    return config;
}

void addSpecialTokensMap(TokenizerConfig& config, std::string_view text, const std::string& source) {
    const json value = parseTokenizerFile(text, source);
    Roles roles = readRoles(value, JsonNode(value, "", source));
    const bool isComplete = !config.addedTokens.empty();
    for (auto& [role, token] : roles.tokens)
        if (!isComplete || !config.roles.contains(role))
            config.roles.insert_or_assign(role, std::move(token));
    if (!roles.additional.empty() && (!isComplete || config.additionalSpecialTokens.empty()))
        config.additionalSpecialTokens = std::move(roles.additional);
}

TokenizerConfig loadTokenizerConfig(const fs::path& folder) {
    std::error_code error;
    TokenizerConfig config;
    if (const fs::path file = folder / "tokenizer_config.json"; fs::exists(file, error))
        config = readTokenizerConfig(readTokenizerFile(file), file.string());
    if (const fs::path file = folder / "special_tokens_map.json"; fs::exists(file, error))
        addSpecialTokensMap(config, readTokenizerFile(file), file.string());
    addTemplateFiles(config, folder);
    return config;
}

} // namespace fenlo::hub
