#pragma once

#include "hub/tokenizers/JsonNode.h"

#include <functional>
#include <string>
#include <vector>

namespace fenlo::hub {

/// Makes text of pieces. Null, Sequence, ByteLevel, Replace, Fuse, Strip, ByteFallback, Metaspace.
class Decoder {
public:
    /// Errors: TokenizerError for anything else.
    static Decoder read(const JsonNode& node);

    /// May hold U+FFFD where the pieces end within a character, but is valid UTF-8.
    std::string apply(std::vector<std::string> pieces) const;

private:
    using Step = std::function<void(std::vector<std::string>& pieces)>;

    void add(const JsonNode& node);

    std::vector<Step> m_steps;
    double m_growth = 1.0;   // how many times longer the replacements can make a text
    std::string m_separator; // a vocabulary without a decoder has words as pieces, to be joined with blanks
};

} // namespace fenlo::hub
