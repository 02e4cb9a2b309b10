#pragma once

#include "hub/tokenizers/AddedTokens.h"
#include "hub/tokenizers/models/Vocabulary.h"

#include <map>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace fenlo::hub {

/// Gathers the added tokens that several files name.
///
/// Lifetime: the vocabulary must outlive it.
class AddedTokenTable {
public:
    explicit AddedTokenTable(const Vocabulary& vocabulary) : m_vocabulary(vocabulary) {}

    /// `source` and `place` are for error texts. What an earlier file said of the token stays.
    /// Errors: TokenizerError when its text or its id is another token's.
    void add(const AddedToken& token, const std::string& source, const std::string& place);

    /// The id of an added token or of a piece of the vocabulary.
    std::optional<int> idOf(std::string_view content) const;

    /// As the member "added_tokens" of a tokenizer.json.
    nlohmann::json toJson() const;

private:
    const Vocabulary& m_vocabulary;
    std::map<int, AddedToken> m_tokens; // by id
    std::map<std::string, int, std::less<>> m_ids;
};

} // namespace fenlo::hub
