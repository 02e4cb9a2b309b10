#include "hub/tokenizers/sequences/Padding.h"

#include "hub/tokenizers/Tokenizer.h"
#include "hub/tokenizers/models/Vocabulary.h"

#include <algorithm>

namespace fenlo::hub {

namespace {

constexpr int longestPadding = 1 << 20;              // tokens; the longest published contexts have about so many
constexpr std::size_t mostTokensInBatch = 1U << 26U; // about 3 GB

std::size_t sizeFrom(const JsonNode& node) {
    return static_cast<std::size_t>(node.integer(longestPadding));
}

/// "BatchLongest" or {"Fixed": length}.
std::optional<std::size_t> readLength(const JsonNode& node) {
    if (!node.has("Fixed")) {
        if (const std::string name = node.string(); name != "BatchLongest")
            node.refuse("is the unknown strategy " + inQuotes(name));
        return {};
    }
    node.allowOnly({"Fixed"});
    return sizeFrom(node.member("Fixed"));
}

std::size_t lengthOf(const Encoding& encoding) {
    std::size_t length = encoding.tokens.size();
    for (const Encoding& part : encoding.overflow)
        length = std::max(length, part.tokens.size());
    return length;
}

void padTo(Encoding& encoding, std::size_t length, const Padding& padding) {
    for (Encoding& part : encoding.overflow)
        padTo(part, length, padding);
    if (encoding.tokens.size() >= length)
        return;
    const EncodedToken filler{.id = padding.id,
                              .range = {0, 0},
                              .word = -1,
                              .typeId = padding.typeId,
                              .sequence = -1,
                              .isSpecial = true,
                              .isPadding = true};
    const auto place = padding.side == Side::left ? encoding.tokens.begin() : encoding.tokens.end();
    encoding.tokens.insert(place, length - encoding.tokens.size(), filler);
}

} // namespace

Padding Padding::read(const JsonNode& node) {
    node.allowOnly({"strategy", "direction", "pad_to_multiple_of", "pad_id", "pad_type_id", "pad_token"});
    Padding padding;
    padding.length = readLength(node.member("strategy"));
    padding.side = readSide(node.member("direction"), Side::right);
    if (const JsonNode multiple = node.member("pad_to_multiple_of"); !multiple.isNull())
        padding.multipleOf = sizeFrom(multiple);
    padding.id = node.member("pad_id").integer(Vocabulary::maximumId);
    if (const JsonNode type = node.member("pad_type_id"); !type.isNull())
        padding.typeId = type.integer(Vocabulary::maximumId);
    padding.token = node.member("pad_token").string();
    return padding;
}

void pad(std::span<Encoding> batch, const Padding& padding) {
    std::size_t length = 0;
    std::size_t count = 0;
    for (const Encoding& encoding : batch) {
        length = std::max(length, lengthOf(encoding));
        count += 1 + encoding.overflow.size();
    }
    length = padding.length.value_or(length);
    const std::size_t multiple = std::max<std::size_t>(padding.multipleOf, 1);
    length = (length + multiple - 1) / multiple * multiple;
    if (count > 0 && length > mostTokensInBatch / count)
        throw TokenizerError("the padded texts would have more than " + std::to_string(mostTokensInBatch) +
                             " tokens; take fewer texts at a time");
    for (Encoding& encoding : batch)
        padTo(encoding, length, padding);
}

} // namespace fenlo::hub
