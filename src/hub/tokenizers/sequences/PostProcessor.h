#pragma once

#include "hub/tokenizers/JsonNode.h"
#include "hub/tokenizers/models/Vocabulary.h"
#include "hub/tokenizers/sequences/Truncation.h"

#include <optional>
#include <string_view>
#include <vector>

namespace fenlo::hub {

/// Joins the tokens of a text or of a pair of texts to what a model reads, with the special tokens around them. Null,
/// Sequence, BertProcessing, RobertaProcessing, TemplateProcessing, ByteLevel.
///
/// Threads: constant once made.
class PostProcessor {
public:
    /// A special token, or all tokens of a sequence.
    struct Item {
        std::optional<int> special; // its id; otherwise
        int sequence = 0;           // 0 or 1
        int typeId = 0;
    };
    struct Template {
        std::vector<Item> single, pair;
    };
    /// What a post-processor of the file does.
    struct Step {
        bool trimsRanges = false;
        std::optional<Template> arrangement;
    };

    /// Errors: TokenizerError for anything else, for unknown special tokens, and for two of them that add some.
    static PostProcessor read(const JsonNode& node, const Vocabulary& vocabulary);

    /// How many special tokens join() adds.
    std::size_t addedTokens(bool isPair) const;

    /// Takes the blanks out of the ranges, where the file asks for that. `text` is what the tokens come from.
    void trim(Encoding& encoding, std::string_view text, const Vocabulary& vocabulary) const;

    /// The sequences as one, and so each part that truncation has cut off, with each part of the other one.
    /// Errors: TokenizerError when that gives too many tokens.
    Encoding join(Sequences sequences, bool addsSpecialTokens) const;

private:
    Template m_template;
    bool m_trimsRanges = false;
};

} // namespace fenlo::hub
