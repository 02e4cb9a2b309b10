#pragma once

#include "hub/tokenizers/JsonNode.h"

#include <string>
#include <string_view>
#include <vector>

namespace fenlo::hub {

/// Settings of vocabularies that write a blank as a visible character.
struct Metaspace {
    enum class Prepend { always, first, never };

    std::string blank = "\u2581";
    Prepend scheme = Prepend::always; // a blank before each text, before the whole text only, or none
    bool splits = true;               // into words, each with the blank before it

    static inline const std::vector<std::string_view> settings{"replacement", "str_rep", "add_prefix_space",
                                                               "prepend_scheme", "split"};
    /// Errors: TokenizerError for wrong settings.
    static Metaspace read(const JsonNode& node);

    bool prepends(bool isStart) const { return scheme == Prepend::always || (scheme == Prepend::first && isStart); }
};

} // namespace fenlo::hub
