#include "hub/tokenizers/sequences/Truncation.h"

#include "hub/tokenizers/Tokenizer.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace fenlo::hub {

namespace {

using Strategy = Truncation::Strategy;

Strategy readStrategy(const JsonNode& node) {
    const std::string name = node.isNull() ? "LongestFirst" : node.string();
    if (name == "LongestFirst")
        return Strategy::longestFirst;
    if (name == "OnlyFirst")
        return Strategy::onlyFirst;
    if (name == "OnlySecond")
        return Strategy::onlySecond;
    node.refuse("is the unknown strategy " + inQuotes(name));
}

/// The lengths of the shorter and the longer one when both together have `room`. Of an odd room that both have to be
/// cut to, the longer one gets more.
std::pair<std::size_t, std::size_t> longestFirst(std::size_t shorter, std::size_t longer, std::size_t room) {
    if (shorter + longer <= room)
        return {shorter, longer};
    if (shorter <= room / 2)
        return {shorter, room - shorter};
    return {room / 2, room - room / 2};
}

/// How many tokens each sequence keeps.
std::pair<std::size_t, std::size_t> lengthsFor(const Sequences& sequences, Strategy strategy, std::size_t room) {
    const std::size_t first = sequences.first.tokens.size();
    const std::size_t second = sequences.second ? sequences.second->tokens.size() : 0;
    if (first + second <= room)
        return {first, second};
    if (strategy == Strategy::longestFirst) {
        if (!sequences.second)
            return {room, 0};
        if (first <= second)
            return longestFirst(first, second, room);
        const auto [shorter, longer] = longestFirst(second, first, room);
        return {longer, shorter};
    }
    const bool cutsFirst = strategy == Strategy::onlyFirst;
    const std::size_t fixed = cutsFirst ? second : first;
    if (fixed > room)
        throw TokenizerError(std::string("the ") + (cutsFirst ? "second" : "first") + " text has " +
                             std::to_string(fixed) + " tokens, there is room for " + std::to_string(room) +
                             ", and only the other one may be truncated; truncate the longest first");
    return cutsFirst ? std::pair(room - fixed, fixed) : std::pair(fixed, room - fixed);
}

Encoding partOf(const std::vector<EncodedToken>& tokens, std::size_t begin, std::size_t end) {
    Encoding part;
    part.tokens.assign(tokens.begin() + static_cast<std::ptrdiff_t>(begin),
                       tokens.begin() + static_cast<std::ptrdiff_t>(end));
    return part;
}

/// Where the parts of so many tokens begin and end: `length` each, the last one what is left; from the end on when the
/// left side is cut off.
std::vector<TokenSpan> spansOf(std::size_t count, std::size_t length, const Truncation& truncation) {
    const std::size_t step = length - std::min(truncation.stride, length - 1);
    if (truncation.keepsOverflow && (count - length) / step > mostOverflowTokens / length)
        failOverflow();
    std::vector<TokenSpan> spans;
    for (std::size_t done = 0;; done += step) {
        const std::size_t end = std::min(done + length, count);
        if (truncation.side == Side::right)
            spans.push_back({done, end});
        else
            spans.push_back({count - end, count - done});
        if (end == count || !truncation.keepsOverflow)
            return spans;
    }
}

void cut(Encoding& encoding, std::size_t length, const Truncation& truncation) {
    if (encoding.tokens.size() <= length)
        return;
    if (length == 0) {
        Encoding whole;
        whole.tokens = std::exchange(encoding.tokens, {});
        if (truncation.keepsOverflow)
            encoding.overflow.push_back(std::move(whole));
        return;
    }
    const auto spans = spansOf(encoding.tokens.size(), length, truncation);
    for (std::size_t i = 1; i < spans.size(); ++i)
        encoding.overflow.push_back(partOf(encoding.tokens, spans[i].begin, spans[i].end));
    encoding.tokens = partOf(encoding.tokens, spans[0].begin, spans[0].end).tokens;
}

} // namespace

void failOverflow() {
    throw TokenizerError("the parts of the text would have more than " + std::to_string(mostOverflowTokens) +
                         " tokens; take a smaller stride or drop what is cut off");
}

Side readSide(const JsonNode& node, Side whenMissing) {
    if (node.isNull())
        return whenMissing;
    const std::string name = node.string();
    if (name == "Left")
        return Side::left;
    if (name == "Right")
        return Side::right;
    node.refuse("is the unknown side " + inQuotes(name));
}

Truncation Truncation::read(const JsonNode& node) {
    node.allowOnly({"direction", "max_length", "strategy", "stride"});
    constexpr int most = std::numeric_limits<int>::max();
    Truncation truncation;
    truncation.maxLength = static_cast<std::size_t>(node.member("max_length").integer(most));
    truncation.strategy = readStrategy(node.member("strategy"));
    if (const JsonNode stride = node.member("stride"); !stride.isNull())
        truncation.stride = static_cast<std::size_t>(stride.integer(most));
    truncation.side = readSide(node.member("direction"), Side::right);
    return truncation;
}

void truncate(Sequences& sequences, const Truncation& truncation, std::size_t room) {
    const auto [first, second] = lengthsFor(sequences, truncation.strategy, room);
    cut(sequences.first, first, truncation);
    if (sequences.second)
        cut(*sequences.second, second, truncation);
}

} // namespace fenlo::hub
