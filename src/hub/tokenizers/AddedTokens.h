#pragma once

#include "hub/tokenizers/JsonNode.h"
#include "hub/tokenizers/Vocabulary.h"

#include <bitset>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo::hub {

/// A token that is found by its text before the text is cut and merged.
struct AddedToken {
    int id = 0;
    std::string content;
    bool singleWord = false; // not within a word
    bool lstrip = false;     // takes the white space before it along
    bool rstrip = false;     // and that after it
    bool normalized = false; // is looked for in the normalized text
    bool special = false;    // no text: left out where special tokens are to be skipped

    /// Errors: TokenizerError for wrong or unknown settings and contents longer than 256 bytes.
    static AddedToken read(const JsonNode& node);
};

/// Finds added tokens in text.
///
/// Threads: constant once made.
class AddedTokenFinder {
public:
    struct Match {
        std::size_t begin; // bytes, with the white space that is taken along
        std::size_t end;
        int id;
    };

    AddedTokenFinder() = default;
    explicit AddedTokenFinder(std::vector<AddedToken> tokens);

    /// The first match from each place on, the longest one there.
    std::vector<Match> find(std::string_view text) const;

private:
    const AddedToken* longestAt(std::string_view text, std::size_t begin) const;

    std::vector<AddedToken> m_tokens; // by content
    std::bitset<256> m_firstBytes;
};

} // namespace fenlo::hub
