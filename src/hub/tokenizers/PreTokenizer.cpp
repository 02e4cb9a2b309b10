#include "hub/tokenizers/PreTokenizer.h"

#include "base/Text.h"
#include "hub/tokenizers/ByteLetters.h"
#include "hub/tokenizers/Metaspace.h"
#include "hub/tokenizers/SplitBehavior.h"
#include "hub/tokenizers/Steps.h"

#include <utility>

namespace fenlo::hub {

namespace {

/// The published expression of byte-level vocabularies: English contractions, words, numbers and other characters, each
/// with the blank before it, and white space.
constexpr std::string_view byteLevelWords =
    R"('s|'t|'re|'ve|'m|'ll|'d| ?\p{L}+| ?\p{N}+| ?[^\p{White_Space}\p{L}\p{N}]+)"
    R"(|\p{White_Space}+(?!\P{White_Space})|\p{White_Space}+)";

using Pieces = std::vector<std::string>;
using SplitStep = std::function<void(const std::string& piece, bool isStart, Pieces& pieces)>;
using SplitSteps = std::vector<SplitStep>;

void addSplit(SplitSteps& steps, Pattern pattern, SplitBehavior behavior, bool inverted = false) {
    steps.emplace_back(
        [pattern = std::move(pattern), behavior, inverted](const std::string& piece, bool, Pieces& pieces) {
            splitAt(pattern, behavior, inverted, piece, pieces);
        });
}

void addByteSplit(const JsonNode& node, SplitSteps& steps) {
    if (node.member("add_prefix_space").boolean(true))
        steps.emplace_back([](const std::string& piece, bool, Pieces& pieces) {
            pieces.push_back(piece.starts_with(' ') ? piece : ' ' + piece);
        });
    if (node.member("use_regex").boolean(true))
        addSplit(steps, Pattern::regex(byteLevelWords), SplitBehavior::isolated);
    steps.emplace_back([](const std::string& piece, bool, Pieces& pieces) { pieces.push_back(toByteLetters(piece)); });
}

void addSplitAtPattern(const JsonNode& node, SplitSteps& steps) {
    addSplit(steps, Pattern::read(node.member("pattern")), readSplitBehavior(node.member("behavior")),
             node.member("invert").boolean(false));
}

void addWhitespace(const JsonNode&, SplitSteps& steps) {
    addSplit(steps, Pattern::regex(R"(\w+|[^\w\p{White_Space}]+)"), SplitBehavior::removed, true);
}

void addWhitespaceSplit(const JsonNode&, SplitSteps& steps) {
    addSplit(steps, Pattern::regex(R"(\p{White_Space}+)"), SplitBehavior::removed);
}

void addDigits(const JsonNode& node, SplitSteps& steps) {
    const bool areApart = node.member("individual_digits").boolean(false);
    addSplit(steps, Pattern::regex(areApart ? R"(\p{N})" : R"(\p{N}+)"), SplitBehavior::isolated);
}

void addPunctuation(const JsonNode& node, SplitSteps& steps) {
    const JsonNode behavior = node.member("behavior");
    addSplit(steps, Pattern::regex(R"([\p{P}!-/:-@\[-`{-~])"),
             behavior.isNull() ? SplitBehavior::isolated : readSplitBehavior(behavior));
}

void addMetaspaceSplit(const JsonNode& node, SplitSteps& steps) {
    const Metaspace metaspace = Metaspace::read(node);
    steps.emplace_back([metaspace](const std::string& piece, bool isStart, Pieces& pieces) {
        std::string text = text::replaceAll(piece, " ", metaspace.blank);
        if (metaspace.prepends(isStart) && !text.starts_with(metaspace.blank))
            text = metaspace.blank + text;
        pieces.push_back(std::move(text));
    });
    if (metaspace.splits)
        addSplit(steps, Pattern::literal(metaspace.blank), SplitBehavior::mergedWithNext);
}

} // namespace

PreTokenizer PreTokenizer::read(const JsonNode& node) {
    PreTokenizer preTokenizer;
    readSteps<SplitStep>(node, "pretokenizers",
                         {{"ByteLevel", {"add_prefix_space", "trim_offsets", "use_regex"}, addByteSplit},
                          {"Split", {"pattern", "behavior", "invert"}, addSplitAtPattern},
                          {"Whitespace", {}, addWhitespace},
                          {"WhitespaceSplit", {}, addWhitespaceSplit},
                          {"Digits", {"individual_digits"}, addDigits},
                          {"Punctuation", {"behavior"}, addPunctuation},
                          {"Metaspace", Metaspace::settings, addMetaspaceSplit}},
                         preTokenizer.m_steps);
    return preTokenizer;
}

std::vector<std::string> PreTokenizer::split(std::string text, bool isStart) const {
    std::vector<std::string> pieces;
    if (!text.empty())
        pieces.push_back(std::move(text));
    for (const Step& step : m_steps) {
        std::vector<std::string> next;
        for (std::size_t i = 0; i < pieces.size(); ++i)
            step(pieces[i], isStart && i == 0, next);
        pieces = std::move(next);
    }
    return pieces;
}

} // namespace fenlo::hub
