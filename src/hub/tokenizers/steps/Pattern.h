#pragma once

#include "hub/tokenizers/JsonNode.h"
#include "hub/tokenizers/TextRange.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo::hub {

/// What a step of a tokenizer searches for: a fixed string or an ICU regular expression.
///
/// Threads: constant once made.
/// Errors:  none. An expression that takes too much time or memory finds nothing more in that text, and the log says
///          so.
class Pattern {
public:
    static Pattern literal(std::string text);
    /// For expressions of this program, which are valid.
    static Pattern regex(std::string_view expression);
    /// {"String": text} or {"Regex": expression}.
    static Pattern read(const JsonNode& node);

    /// Matches that are not empty, in order, none within another. As in the files' own language, ^ and $ match at the
    /// ends of each line.
    std::vector<TextRange> find(std::string_view text) const;
    /// How many times longer a text can become when each match is replaced.
    double growth(std::string_view replacement) const;

private:
    friend class PatternSearch;
    struct Compiled;

    Pattern() = default;
    static std::shared_ptr<const Compiled> compile(std::string_view expression);

    std::string m_literal;
    std::shared_ptr<const Compiled> m_regex; // null for a literal
};

/// Looks for a pattern in parts of one text. An expression does not see what is outside of the part.
///
/// Lifetime: pattern and text must outlive it.
class PatternSearch {
public:
    PatternSearch(const Pattern& pattern, std::string_view text);
    ~PatternSearch();

    /// Appends the matches, also those of an expression that are empty. Each part begins at or after the end of the one
    /// before.
    void find(const TextRange& part, std::vector<TextRange>& found);

private:
    struct Matching;

    const Pattern& m_pattern;
    std::string_view m_text;
    std::unique_ptr<Matching> m_matching; // of an expression
};

} // namespace fenlo::hub
