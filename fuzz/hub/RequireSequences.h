#pragma once

#include "fuzz/Require.h"
#include "hub/tokenizers/Tokenizer.h"

#include <algorithm>
#include <string_view>
#include <vector>

/// What holds for the sequences that any tokenizer makes of any text, however they are truncated and padded.
namespace fenlo {

inline void requireSoundTokens(const hub::Tokenizer& tokenizer, const hub::Encoding& encoding,
                               const hub::TextInput& input) {
    for (const hub::EncodedToken& token : encoding.tokens) {
        require(token.isPadding || tokenizer.idToToken(token.id).has_value());
        require(token.sequence >= -1 && token.sequence <= (input.second ? 1 : 0));
        require((token.sequence == -1) == (token.word == -1) || token.word == -1);
        const std::size_t size =
            token.sequence == 1 ? input.second->size() : (token.sequence == 0 ? input.text.size() : 0);
        require(token.range.begin <= token.range.end && token.range.end <= size);
    }
}

/// Each part is as long as promised, and has the special tokens; together they have all tokens of the text.
inline void requireParts(const hub::Tokenizer& tokenizer, std::string_view text, const hub::Truncation& truncation) {
    const hub::Encoding whole = tokenizer.encoding({text}, {.addsSpecialTokens = false});
    hub::Encoding cut = tokenizer.encoding({text}, {.truncation = truncation});
    std::vector<hub::Encoding> parts = std::exchange(cut.overflow, {});
    parts.insert(parts.begin(), std::move(cut));
    std::vector<bool> isThere(whole.tokens.size());
    for (const hub::Encoding& part : parts) {
        require(part.tokens.size() <= truncation.maxLength || truncation.maxLength == tokenizer.addedTokens(false));
        requireSoundTokens(tokenizer, part, {text});
        const auto isText = [](const hub::EncodedToken& token) { return token.sequence == 0; };
        std::vector<hub::EncodedToken> tokens;
        std::copy_if(part.tokens.begin(), part.tokens.end(), std::back_inserter(tokens), isText);
        require(part.tokens.size() - tokens.size() == tokenizer.addedTokens(false));
        // A run of tokens of the whole, somewhere; the type is the template's in both.
        const auto place = std::search(whole.tokens.begin(), whole.tokens.end(), tokens.begin(), tokens.end());
        require(place != whole.tokens.end() || tokens.empty());
        for (std::size_t i = 0; i < tokens.size(); ++i)
            isThere[static_cast<std::size_t>(place - whole.tokens.begin()) + i] = true;
    }
    require(parts.size() > 1 || std::ranges::count(isThere, false) == 0);
}

inline void requirePadded(const hub::Tokenizer& tokenizer, std::span<const hub::TextInput> inputs,
                          const hub::Padding& padding) {
    const auto batch = tokenizer.encodings(inputs, {.padding = padding});
    require(batch.size() == inputs.size());
    const std::size_t length = batch.front().tokens.size();
    for (std::size_t i = 0; i < batch.size(); ++i) {
        require(batch[i].tokens.size() == length && length % padding.multipleOf == 0);
        requireSoundTokens(tokenizer, batch[i], inputs[i]);
        const auto alone = tokenizer.encoding(inputs[i], {});
        const auto count =
            static_cast<std::size_t>(std::ranges::count(batch[i].tokens, true, &hub::EncodedToken::isPadding));
        require(count == length - alone.tokens.size());
    }
}

/// Settings of the file and others. What cannot be kept ends in a one-line error.
inline void requireSequences(const hub::Tokenizer& tokenizer, std::string_view text) {
    const hub::TextInput pair{text, "aab 12"};
    requireSoundTokens(tokenizer, tokenizer.encoding(pair, {}), pair);
    for (const std::size_t room : {0, 1, 3, 7})
        for (const hub::Side side : {hub::Side::left, hub::Side::right}) {
            hub::Truncation truncation{
                .maxLength = tokenizer.addedTokens(false) + room, .stride = room / 2, .side = side};
            requireParts(tokenizer, text, truncation);
            truncation.maxLength = tokenizer.addedTokens(true) + room;
            truncation.keepsOverflow = false;
            require(tokenizer.encoding(pair, {.truncation = truncation}).tokens.size() <= truncation.maxLength);
        }
    const hub::TextInput batch[] = {{text}, pair, {""}, {"aab"}};
    requirePadded(tokenizer, batch, {.multipleOf = 1});
    requirePadded(tokenizer, batch, {.multipleOf = 8, .side = hub::Side::left});
    if (const auto& padding = tokenizer.options().padding;
        padding && std::max(padding->length.value_or(0), padding->multipleOf) > 10'000)
        return; // as promised, but slow
    requireSoundTokens(tokenizer, tokenizer.encoding(text), {text});
}

} // namespace fenlo
