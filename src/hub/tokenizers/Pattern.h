#pragma once

#include "hub/tokenizers/JsonNode.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo::hub {

struct TextRange {
    std::size_t begin; // bytes
    std::size_t end;
};

/// What a step of a tokenizer searches for: a fixed string or an ICU regular expression.
///
/// Threads: constant once made.
/// Errors:  none. An expression that takes too much time or memory finds nothing more in that text.
class Pattern {
public:
    static Pattern literal(std::string text);
    /// For expressions of this program, which are valid.
    static Pattern regex(std::string_view expression);
    /// {"String": text} or {"Regex": expression}.
    static Pattern read(const JsonNode& node);

    /// Matches that are not empty, in order, none within another.
    std::vector<TextRange> find(std::string_view text) const;
    std::string replace(std::string_view text, std::string_view replacement) const;
    /// How many times longer a text can become by replace().
    double growth(std::string_view replacement) const;

private:
    struct Compiled;

    Pattern() = default;
    static std::shared_ptr<const Compiled> compile(std::string_view expression);

    std::string m_literal;
    std::shared_ptr<const Compiled> m_regex; // null for a literal
};

} // namespace fenlo::hub
