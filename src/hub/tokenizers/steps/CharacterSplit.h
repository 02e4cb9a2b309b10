#pragma once

#include "hub/tokenizers/steps/Characters.h"

#include <string_view>
#include <vector>

namespace fenlo::hub {

/// How a character is cut: neighbours of one kind, from 0 on, stay together.
constexpr int leftOut = -1; // belongs to no word
constexpr int alone = -2;   // a word of its own

/// Appends the words of the range to `parts`. `kindOf(c)` is the kind of a character.
template <typename KindOf>
void splitByKind(std::string_view text, const TextRange& range, std::vector<TextRange>& parts, KindOf kindOf) {
    int last = leftOut;
    for (std::size_t at = range.begin; at < range.end;) {
        const std::size_t begin = at;
        const int kind = kindOf(takeAt(text, at));
        if (kind >= 0 && kind == last)
            parts.back().end = at;
        else if (kind != leftOut)
            parts.push_back({begin, at});
        last = kind;
    }
}

} // namespace fenlo::hub
