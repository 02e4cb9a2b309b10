#pragma once

#include "hub/tokenizers/AlignedText.h"
#include "hub/tokenizers/JsonNode.h"

namespace fenlo::hub {

/// The normalizer "BertNormalizer" (Devlin et al., "BERT: Pre-training of Deep Bidirectional Transformers", 2019, in
/// its published program): control characters go, all white space becomes blanks, Chinese characters get blanks around
/// them, then accents and capitals go.
struct BertText {
    bool cleansText;
    bool spacesChinese;
    bool stripsAccents; // where the file does not say: as it lowers
    bool lowers;

    /// How many times longer a text can become: two blanks around a character of three bytes.
    static constexpr double growth = 5.0 / 3;

    static BertText read(const JsonNode& node);
    void apply(AlignedText& text) const;
};

} // namespace fenlo::hub
