#include "hub/tokenizers/sequences/Encoding.h"

#include <algorithm>

namespace fenlo::hub {

std::vector<int> Encoding::ids() const {
    std::vector<int> ids;
    ids.reserve(tokens.size());
    for (const EncodedToken& token : tokens)
        ids.push_back(token.id);
    return ids;
}

std::optional<std::size_t> Encoding::tokenAt(std::size_t byte, int sequence) const {
    const auto found = std::ranges::find_if(tokens, [&](const EncodedToken& token) {
        return token.sequence == sequence && token.range.begin <= byte && byte < token.range.end;
    });
    if (found == tokens.end())
        return {};
    return static_cast<std::size_t>(found - tokens.begin());
}

std::optional<TokenSpan> Encoding::tokensOfWord(int word, int sequence) const {
    const auto belongs = [&](const EncodedToken& token) { return token.sequence == sequence && token.word == word; };
    const auto first = std::ranges::find_if(tokens, belongs);
    if (word < 0 || first == tokens.end())
        return {};
    const auto last = std::find_if_not(first, tokens.end(), belongs);
    return TokenSpan{static_cast<std::size_t>(first - tokens.begin()), static_cast<std::size_t>(last - tokens.begin())};
}

std::optional<TextRange> Encoding::rangeOfWord(int word, int sequence) const {
    const auto span = tokensOfWord(word, sequence);
    if (!span)
        return {};
    TextRange range = tokens[span->begin].range;
    for (std::size_t i = span->begin; i < span->end; ++i) {
        range.begin = std::min(range.begin, tokens[i].range.begin);
        range.end = std::max(range.end, tokens[i].range.end);
    }
    return range;
}

std::optional<int> Encoding::wordAt(std::size_t byte, int sequence) const {
    const auto token = tokenAt(byte, sequence);
    if (!token || tokens[*token].word < 0)
        return {};
    return tokens[*token].word;
}

} // namespace fenlo::hub
