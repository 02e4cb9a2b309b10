#pragma once

#include "hub/tokenizers/JsonNode.h"

#include <functional>
#include <string>
#include <vector>

namespace fenlo::hub {

/// Cuts text into words; pieces are merged within a word only. Null, Sequence, ByteLevel, Split, Whitespace,
/// WhitespaceSplit, Digits, Punctuation, Metaspace.
class PreTokenizer {
public:
    /// Errors: TokenizerError for anything else.
    static PreTokenizer read(const JsonNode& node);

    /// `isStart`: the text stands at the beginning of what is tokenized.
    std::vector<std::string> split(std::string text, bool isStart) const;

private:
    /// Appends what `piece` becomes to `pieces`.
    using Step = std::function<void(const std::string& piece, bool isStart, std::vector<std::string>& pieces)>;

    std::vector<Step> m_steps;
};

} // namespace fenlo::hub
