#pragma once

#include "hub/tokenizers/AddedTokens.h"
#include "hub/tokenizers/sequences/Side.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo::hub {

/// A special token as a role names it. Its id is the tokenizer's.
struct SpecialToken {
    std::string content;
    bool singleWord = false;
    bool lstrip = false;
    bool rstrip = false;
    bool normalized = false;
};

struct ChatTemplateText {
    std::string name; // "default" for the only one
    std::string text;
};

/// What the files beside a tokenizer say of its use: tokenizer_config.json, special_tokens_map.json and the chat
/// templates. Nothing of it is applied to a tokenizer.json, which is complete by itself. What a file does not tell has
/// no value.
struct TokenizerConfig {
    std::string tokenizerClass; // without "Fast" at its end
    std::optional<bool> doLowerCase;
    std::optional<bool> stripAccents;
    std::optional<bool> tokenizeChineseChars;
    std::optional<bool> addPrefixSpace;
    std::optional<bool> addBosToken;
    std::optional<bool> addEosToken;
    std::optional<int> modelMaxLength; // tokens
    std::optional<Side> paddingSide;
    std::optional<Side> truncationSide;
    std::map<std::string, SpecialToken, std::less<>> roles; // by "bos_token", "eos_token", "pad_token" …
    std::vector<SpecialToken> additionalSpecialTokens;
    std::vector<AddedToken> addedTokens; // by id
    std::vector<ChatTemplateText> chatTemplates;

    /// The content of a role's token.
    std::optional<std::string> contentOf(std::string_view role) const;
    /// The chat template of this name.
    std::optional<std::string> chatTemplate(std::string_view name = "default") const;
};

/// Reads what the folder has of these files: a chat_template.jinja or chat_template.json goes before the template in
/// tokenizer_config.json.
/// Errors: TokenizerError for files that cannot be read or are of a wrong form.
TokenizerConfig loadTokenizerConfig(const std::filesystem::path& folder);

/// A tokenizer_config.json. `source` is what error texts call it.
TokenizerConfig readTokenizerConfig(std::string_view json, const std::string& source);

/// Adds a special_tokens_map.json, the older place of the roles. A tokenizer_config.json that lists its added tokens is
/// complete, so that it goes before; this one goes before an older one.
void addSpecialTokensMap(TokenizerConfig& config, std::string_view json, const std::string& source);

} // namespace fenlo::hub
