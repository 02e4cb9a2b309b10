#include "hub/tokenizers/sequences/PostProcessor.h"

#include "hub/tokenizers/steps/ByteLetters.h"
#include "hub/tokenizers/steps/Steps.h"

#include <algorithm>
#include <string>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

namespace fenlo::hub {

namespace {

using Item = PostProcessor::Item;
using Step = PostProcessor::Step;
using Template = PostProcessor::Template;

constexpr std::size_t mostItems = 256;
constexpr UChar32 blankLetter = 0x120; // how byte-level pieces write a blank

Item sequenceItem(int sequence, int typeId) {
    return {.special = {}, .sequence = sequence, .typeId = typeId};
}

Item specialItem(int id, int typeId) {
    return {.special = id, .sequence = 0, .typeId = typeId};
}

/// Without a post-processor one follows the other.
Template plainTemplate() {
    return {.single = {sequenceItem(0, 0)}, .pair = {sequenceItem(0, 0), sequenceItem(1, 1)}};
}

int readSpecialId(const JsonNode& node, const Vocabulary& vocabulary) {
    const int id = node.integer(Vocabulary::maximumId);
    if (!vocabulary.piece(id))
        node.fail("is no id of the vocabulary");
    return id;
}

/// [text, id]
int readNamedId(const JsonNode& node, const Vocabulary& vocabulary) {
    const auto items = node.items();
    if (items.size() != 2)
        node.fail("is no token with its id");
    return readSpecialId(items[1], vocabulary);
}

int readTypeId(const JsonNode& node) {
    return node.isNull() ? 0 : node.integer(Vocabulary::maximumId);
}

/// Appends the tokens of {"SpecialToken": {"id": name, "type_id": type}}, which has several ids in `specials`, or the
/// sequence of {"Sequence": {"id": "A" or "B", "type_id": type}}.
void readItem(const JsonNode& node, const JsonNode& specials, const Vocabulary& vocabulary, std::vector<Item>& items) {
    node.allowOnly({"SpecialToken", "Sequence"});
    const bool isSequence = node.has("Sequence");
    const JsonNode content = node.member(isSequence ? "Sequence" : "SpecialToken");
    content.allowOnly({"id", "type_id"});
    const int typeId = readTypeId(content.member("type_id"));
    const std::string name = content.member("id").string();
    if (!isSequence) {
        for (const JsonNode& id : specials.member(name).member("ids").items())
            items.push_back(specialItem(readSpecialId(id, vocabulary), typeId));
        return;
    }
    if (name != "A" && name != "B")
        content.member("id").fail("is neither A nor B");
    items.push_back(sequenceItem(name == "B", typeId));
}

std::vector<Item> readItems(const JsonNode& node, const JsonNode& specials, const Vocabulary& vocabulary,
                            int sequences) {
    std::vector<Item> items;
    for (const JsonNode& item : node.items()) {
        readItem(item, specials, vocabulary, items);
        if (items.size() > mostItems)
            node.refuse("has more than " + std::to_string(mostItems) + " tokens");
    }
    for (int sequence = 0; sequence < 2; ++sequence)
        if (std::ranges::count_if(items, [&](const Item& item) {
                return !item.special && item.sequence == sequence;
            }) != (sequence < sequences))
            node.fail(std::string("does not have sequence ") + (sequence == 0 ? "A" : "B") +
                      (sequence < sequences ? " exactly once" : " to give"));
    return items;
}

Template readTemplate(const JsonNode& node, const Vocabulary& vocabulary) {
    const JsonNode specials = node.member("special_tokens");
    Template arrangement;
    arrangement.single = readItems(node.member("single"), specials, vocabulary, 1);
    arrangement.pair = readItems(node.member("pair"), specials, vocabulary, 2);
    return arrangement;
}

enum class Family { bert, roberta };

/// A sequence between two special tokens. RoBERTa has one more of them before a second sequence, and one type for all.
Template readBetween(const JsonNode& node, const Vocabulary& vocabulary, Family family) {
    const int cls = readNamedId(node.member("cls"), vocabulary);
    const int sep = readNamedId(node.member("sep"), vocabulary);
    const int secondType = family == Family::bert ? 1 : 0;
    Template arrangement;
    arrangement.single = {specialItem(cls, 0), sequenceItem(0, 0), specialItem(sep, 0)};
    arrangement.pair = arrangement.single;
    if (family == Family::roberta)
        arrangement.pair.push_back(specialItem(sep, 0));
    arrangement.pair.insert(arrangement.pair.end(), {sequenceItem(1, secondType), specialItem(sep, secondType)});
    return arrangement;
}

void addArrangement(const JsonNode& node, std::optional<Template> arrangement, bool trimsRanges, StepList<Step>& list) {
    if (arrangement && std::ranges::any_of(list.steps, [](const Step& step) { return step.arrangement.has_value(); }))
        node.refuse("adds special tokens a second time");
    list.steps.push_back({trimsRanges, std::move(arrangement)});
}

std::vector<StepType<Step>> stepTypes(const Vocabulary& vocabulary) {
    using Steps = StepList<Step>;
    // Ranges know by themselves which blanks were added, so the setting "add_prefix_space" has nothing to tell them.
    return {{"BertProcessing",
             {"sep", "cls"},
             [&](const JsonNode& node, Steps& steps) {
                 addArrangement(node, readBetween(node, vocabulary, Family::bert), false, steps);
             }},
            {"RobertaProcessing",
             {"sep", "cls", "trim_offsets", "add_prefix_space"},
             [&](const JsonNode& node, Steps& steps) {
                 addArrangement(node, readBetween(node, vocabulary, Family::roberta),
                                node.member("trim_offsets").boolean(true), steps);
             }},
            {"TemplateProcessing",
             {"single", "pair", "special_tokens"},
             [&](const JsonNode& node, Steps& steps) {
                 addArrangement(node, readTemplate(node, vocabulary), false, steps);
             }},
            {"ByteLevel", byteLevelSettings, [](const JsonNode& node, Steps& steps) {
                 addArrangement(node, {}, node.member("trim_offsets").boolean(true), steps);
             }}};
}

/// Takes a character off the front or the back of a text; a negative one for bytes that are no UTF-8.
UChar32 takeOff(std::string_view& text, Side side) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    const auto size = static_cast<int32_t>(text.size());
    UChar32 character = 0;
    int32_t at = side == Side::left ? 0 : size;
    if (side == Side::left) {
        U8_NEXT(bytes, at, size, character);
        text.remove_prefix(static_cast<std::size_t>(at));
    } else {
        U8_PREV(bytes, 0, at, character);
        text = text.substr(0, static_cast<std::size_t>(at));
    }
    return character;
}

/// How many bytes of white space at one side of `covered` the piece writes as blanks.
std::size_t blanksAt(Side side, std::string_view piece, std::string_view covered) {
    const std::size_t size = covered.size();
    std::size_t left = size;
    while (!piece.empty() && !covered.empty()) {
        const UChar32 letter = takeOff(piece, side);
        if ((letter != blankLetter && !u_isUWhiteSpace(letter)) || !u_isUWhiteSpace(takeOff(covered, side)))
            break;
        left = covered.size();
    }
    return size - left;
}

std::size_t partCount(const Encoding& encoding) {
    return 1 + encoding.overflow.size();
}

/// Of all parts.
std::size_t tokenCount(const Encoding& encoding) {
    std::size_t tokens = encoding.tokens.size();
    for (const Encoding& part : encoding.overflow)
        tokens += part.tokens.size();
    return tokens;
}

std::size_t specialCount(const std::vector<Item>& items) {
    return static_cast<std::size_t>(
        std::ranges::count_if(items, [](const Item& item) { return item.special.has_value(); }));
}

} // namespace

PostProcessor PostProcessor::read(const JsonNode& node, const Vocabulary& vocabulary) {
    StepList<Step> list;
    readSteps(node, "processors", stepTypes(vocabulary), list);
    PostProcessor processor;
    processor.m_template = plainTemplate();
    for (Step& step : list.steps) {
        processor.m_trimsRanges = processor.m_trimsRanges || step.trimsRanges;
        if (step.arrangement)
            processor.m_template = std::move(*step.arrangement);
    }
    return processor;
}

std::size_t PostProcessor::addedTokens(bool isPair) const {
    return specialCount(isPair ? m_template.pair : m_template.single);
}

void PostProcessor::trim(Encoding& encoding, std::string_view text, const Vocabulary& vocabulary) const {
    if (!m_trimsRanges)
        return;
    std::size_t last = 0; // tokens of one blank stay in their order
    for (EncodedToken& token : encoding.tokens) {
        const std::string_view piece = vocabulary.piece(token.id).value_or("");
        token.range.begin += blanksAt(Side::left, piece, text.substr(token.range.begin, token.range.size()));
        token.range.end -= blanksAt(Side::right, piece, text.substr(token.range.begin, token.range.size()));
        token.range.begin = last = std::max(last, token.range.begin);
        token.range.end = std::max(token.range.end, token.range.begin);
    }
}

Encoding PostProcessor::join(Sequences sequences, bool addsSpecialTokens) const {
    const auto& items = sequences.second ? m_template.pair : m_template.single;
    const Encoding nothing;
    const Encoding* const second = sequences.second ? &*sequences.second : &nothing;
    const auto joined = [&](const Encoding& first, const Encoding& other) {
        Encoding whole;
        whole.tokens.reserve(first.tokens.size() + other.tokens.size() + items.size());
        for (const Item& item : items) {
            if (!item.special)
                for (EncodedToken token : (item.sequence == 0 ? first : other).tokens) {
                    token.sequence = item.sequence;
                    token.typeId = item.typeId;
                    whole.tokens.push_back(token);
                }
            else if (addsSpecialTokens)
                whole.tokens.push_back({.id = *item.special,
                                        .range = {0, 0},
                                        .word = -1,
                                        .typeId = item.typeId,
                                        .sequence = -1,
                                        .isSpecial = true});
        }
        return whole;
    };
    const std::size_t parts = partCount(sequences.first) * partCount(*second);
    if (parts > 1 && tokenCount(sequences.first) * partCount(*second) +
                             tokenCount(*second) * partCount(sequences.first) + parts * items.size() >
                         mostOverflowTokens)
        failOverflow();
    Encoding whole = joined(sequences.first, *second);
    for (const Encoding& part : sequences.first.overflow) {
        whole.overflow.push_back(joined(part, *second));
        for (const Encoding& other : second->overflow)
            whole.overflow.push_back(joined(part, other));
    }
    for (const Encoding& other : second->overflow)
        whole.overflow.push_back(joined(sequences.first, other));
    return whole;
}

} // namespace fenlo::hub
