#pragma once

#include "hub/tokenizers/JsonNode.h"

#include <string>

namespace fenlo::hub {

/// Settings of vocabularies that write a blank as a visible character.
struct Metaspace {
    enum class Prepend { always, first, never };

    std::string blank = "\u2581";
    Prepend scheme = Prepend::always; // a blank before each text, before the whole text only, or none
    bool splits = true;               // into words, each with the blank before it

    /// Errors: TokenizerError for settings that are wrong or unknown.
    static Metaspace read(const JsonNode& node);

    bool prepends(bool isStart) const { return scheme == Prepend::always || (scheme == Prepend::first && isStart); }
};

} // namespace fenlo::hub
