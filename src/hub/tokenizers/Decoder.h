#pragma once

#include "hub/tokenizers/JsonNode.h"

#include <functional>
#include <string>
#include <vector>

namespace fenlo::hub {

/// Joins pieces to text. Null, Sequence, ByteLevel, Replace, Fuse, Strip, ByteFallback, Metaspace.
class Decoder {
public:
    /// Errors: TokenizerError for anything else.
    static Decoder read(const JsonNode& node);

    /// Always valid UTF-8; a character that is cut by the end of the pieces becomes U+FFFD.
    std::string apply(std::vector<std::string> pieces) const;

private:
    using Step = std::function<void(std::vector<std::string>& pieces)>;

    std::vector<Step> m_steps;
    std::string m_separator; // without a decoder the pieces are words, which are joined with blanks
};

} // namespace fenlo::hub
