// The files beside a tokenizer, and those in its place: any bytes end in a one-line error or in what the file says.

#include "fuzz/Require.h"
#include "hub/tokenizers/Tokenizer.h"
#include "hub/tokenizers/TokenizerConfig.h"
#include "hub/tokenizers/VocabularyFiles.h"

#include <cstdint>
#include <cstring>
#include <optional>

using namespace fenlo;

namespace {

void checkVocabulary(const hub::Vocabulary& vocabulary) {
    for (int id = 0; id < vocabulary.size(); ++id)
        if (const auto piece = vocabulary.piece(id)) {
            requireUtf8(*piece);
            const std::optional<int> found = vocabulary.find(*piece); // the last one of a piece that a list has twice
            require(found && *found >= id && vocabulary.piece(*found) == piece);
        }
}

void checkConfig(const hub::TokenizerConfig& config) {
    for (const auto& [role, token] : config.roles)
        requireUtf8(config.contentOf(role).value());
    for (std::size_t i = 1; i < config.addedTokens.size(); ++i)
        require(config.addedTokens[i - 1].id <= config.addedTokens[i].id);
    for (const hub::ChatTemplateText& made : config.chatTemplates)
        require(config.chatTemplate(made.name).has_value());
}

template <typename Read>
void tryOut(Read read) {
    try {
        read();
    } catch (const hub::TokenizerError& error) {
        require(std::strchr(error.what(), '\n') == nullptr);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view file(reinterpret_cast<const char*>(data), size);
    tryOut([&] { checkVocabulary(hub::readVocabularyText(file, "vocab.txt")); });
    tryOut([&] { checkVocabulary(hub::readVocabularyJson(file, "vocab.json")); });
    tryOut([&] {
        for (const hub::MergeText& merge : hub::readMergesText(file, "merges.txt")) {
            requireUtf8(merge.left());
            requireUtf8(merge.right());
        }
    });
    tryOut([&] {
        hub::TokenizerConfig config = hub::readTokenizerConfig(file, "tokenizer_config.json");
        checkConfig(config);
        hub::addSpecialTokensMap(config, file, "special_tokens_map.json");
        checkConfig(config);
    });
    return 0;
}
