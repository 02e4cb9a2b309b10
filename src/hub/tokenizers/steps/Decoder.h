#pragma once

#include "hub/tokenizers/JsonNode.h"

#include <functional>
#include <string>
#include <vector>

namespace fenlo::hub {

/// Joins pieces to text. Null, Sequence, and
///     BPEDecoder        a suffix ends a word
///     ByteFallback      pieces such as "<0x0A>" are bytes
///     ByteLevel         see ByteLetters
///     CTC               repeated pieces are one (Graves et al., "Connectionist Temporal Classification", 2006), and
///                       the piece for nothing goes
///     Fuse, Replace, Strip
///     Metaspace         see Metaspace
///     WordPiece         a piece without prefix begins a word
/// "cleanup" takes blanks from before English punctuation and contractions.
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
