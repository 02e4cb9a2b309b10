#include "hub/tokenizers/SplitBehavior.h"

namespace fenlo::hub {

namespace {

struct Part {
    TextRange range;
    bool isSeparator;
};

/// The whole text, cut into separators and what lies between them.
std::vector<Part> partsOf(const Pattern& separator, bool inverted, std::string_view text) {
    std::vector<Part> parts;
    std::size_t done = 0;
    for (const TextRange& match : separator.find(text)) {
        if (done < match.begin)
            parts.push_back({{done, match.begin}, inverted});
        parts.push_back({match, !inverted});
        done = match.end;
    }
    if (done < text.size())
        parts.push_back({{done, text.size()}, inverted});
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

void splitAt(const Pattern& separator, SplitBehavior behavior, bool inverted, std::string_view text,
             std::vector<std::string>& pieces) {
    const Part* previous = nullptr;
    const std::vector<Part> parts = partsOf(separator, inverted, text);
    for (const Part& part : parts) {
        const std::string_view piece = text.substr(part.range.begin, part.range.end - part.range.begin);
        if (behavior == SplitBehavior::removed && part.isSeparator)
            continue;
        if (previous && joins(behavior, *previous, part))
            pieces.back().append(piece);
        else
            pieces.emplace_back(piece);
        previous = &part;
    }
}

} // namespace fenlo::hub
