#pragma once

#include "hub/tokenizers/JsonNode.h"
#include "hub/tokenizers/models/Vocabulary.h"

#include <bitset>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo::hub {

/// A token that is looked up in the text as a whole, before words are cut and pieces merged.
struct AddedToken {
    int id = 0;
    std::string content;
    bool singleWord = false; // not within a word
    bool lstrip = false;     // takes in the white space before it
    bool rstrip = false;     // and the white space after it
    bool normalized = false; // looked up in the normalized text
    bool special = false;    // not text: left out when special tokens are skipped

    /// Errors: TokenizerError for wrong or unknown settings and contents longer than 256 bytes.
    static AddedToken read(const JsonNode& node);
};

/// Finds added tokens in text.
///
/// Threads: constant once made.
class AddedTokenFinder {
public:
    struct Match {
        std::size_t begin; // bytes, with the white space taken in
        std::size_t end;
        int id;
    };

    AddedTokenFinder() = default;
    explicit AddedTokenFinder(std::vector<AddedToken> tokens);

    /// The matches in order; of those that begin at one place the longest.
    std::vector<Match> find(std::string_view text) const;

private:
    const AddedToken* longestAt(std::string_view text, std::size_t begin) const;

    std::vector<AddedToken> m_tokens; // by content
    std::bitset<256> m_firstBytes;
};

} // namespace fenlo::hub
