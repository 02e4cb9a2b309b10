#include "hub/tokenizers/steps/SplitBehavior.h"

#include <algorithm>
#include <cstddef>
#include <string>

namespace fenlo::hub {

namespace {

struct Part {
    TextRange range;
    bool isSeparator;
};

/// The whole range, cut into separators and what lies between them.
std::vector<Part> partsOf(std::span<const TextRange> matches, bool inverted, const TextRange& range) {
    std::vector<Part> parts;
    std::size_t done = range.begin;
    for (const TextRange& match : matches) {
        if (done < match.begin)
            parts.push_back({{done, match.begin}, inverted});
        parts.push_back({match, !inverted});
        done = match.end;
    }
    if (done < range.end)
        parts.push_back({{done, range.end}, inverted});
    return parts;
}

/// Whether the part belongs to the same piece as the part before it.
bool joins(SplitBehavior behavior, const Part& previous, const Part& part) {
    switch (behavior) {
    case SplitBehavior::mergedWithPrevious:
        return part.isSeparator && !previous.isSeparator;
    case SplitBehavior::mergedWithNext:
        return previous.isSeparator && !part.isSeparator;
    case SplitBehavior::contiguous:
        return part.isSeparator == previous.isSeparator;
    default:
        return false;
    }
}

} // namespace

SplitBehavior readSplitBehavior(const JsonNode& node) {
    const std::string name = node.string();
    if (name == "Removed")
        return SplitBehavior::removed;
    if (name == "Isolated")
        return SplitBehavior::isolated;
    if (name == "MergedWithPrevious")
        return SplitBehavior::mergedWithPrevious;
    if (name == "MergedWithNext")
        return SplitBehavior::mergedWithNext;
    if (name == "Contiguous")
        return SplitBehavior::contiguous;
    node.refuse("is the unknown behavior " + inQuotes(name));
}

void splitAt(std::span<const TextRange> matches, const SplitRule& rule, const TextRange& range,
             std::vector<TextRange>& parts) {
    const Part* previous = nullptr;
    const auto first = static_cast<std::ptrdiff_t>(parts.size());
    const std::vector<Part> found = partsOf(matches, rule.inverted, range);
    for (const Part& part : found) {
        if (rule.behavior == SplitBehavior::removed && part.isSeparator)
            continue;
        if (previous && joins(rule.behavior, *previous, part))
            parts.back().end = part.range.end;
        else
            parts.push_back(part.range);
        previous = &part;
    }
    const auto isEmpty = [](const TextRange& part) { return part.begin == part.end; };
    parts.erase(std::remove_if(parts.begin() + first, parts.end(), isEmpty), parts.end());
}

} // namespace fenlo::hub
