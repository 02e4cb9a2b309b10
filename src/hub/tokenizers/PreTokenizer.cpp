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

} // namespace

PreTokenizer PreTokenizer::read(const JsonNode& node) {
    PreTokenizer preTokenizer;
    preTokenizer.add(node);
    return preTokenizer;
}

void PreTokenizer::add(const JsonNode& node) {
    const auto addSplit = [this](Pattern pattern, SplitBehavior behavior, bool inverted) {
        m_steps.emplace_back([pattern = std::move(pattern), behavior, inverted](const std::string& piece, bool,
                                                                                std::vector<std::string>& pieces) {
            splitAt(pattern, behavior, inverted, piece, pieces);
        });
    };
    if (node.isNull())
        return;
    requireRoomForStep(node, m_steps.size());
    const std::string type = node.type();
    if (type == "Sequence") {
        node.allowOnly({"type", "pretokenizers"});
        for (const JsonNode& item : node.member("pretokenizers").items())
            add(item);
    } else if (type == "ByteLevel") {
        node.allowOnly({"type", "add_prefix_space", "trim_offsets", "use_regex"});
        if (node.member("add_prefix_space").boolean(true))
            m_steps.emplace_back([](const std::string& piece, bool, std::vector<std::string>& pieces) {
                pieces.push_back(piece.starts_with(' ') ? piece : ' ' + piece);
            });
        if (node.member("use_regex").boolean(true))
            addSplit(Pattern::regex(byteLevelWords), SplitBehavior::isolated, false);
        m_steps.emplace_back([](const std::string& piece, bool, std::vector<std::string>& pieces) {
            pieces.push_back(toByteLetters(piece));
        });
    } else if (type == "Split") {
        node.allowOnly({"type", "pattern", "behavior", "invert"});
        addSplit(Pattern::read(node.member("pattern")), readSplitBehavior(node.member("behavior")),
                 node.member("invert").boolean(false));
    } else if (type == "Whitespace") {
        node.allowOnly({"type"});
        addSplit(Pattern::regex(R"(\w+|[^\w\p{White_Space}]+)"), SplitBehavior::removed, true);
    } else if (type == "WhitespaceSplit") {
        node.allowOnly({"type"});
        addSplit(Pattern::regex(R"(\p{White_Space}+)"), SplitBehavior::removed, false);
    } else if (type == "Digits") {
        node.allowOnly({"type", "individual_digits"});
        addSplit(Pattern::regex(node.member("individual_digits").boolean(false) ? R"(\p{N})" : R"(\p{N}+)"),
                 SplitBehavior::isolated, false);
    } else if (type == "Punctuation") {
        node.allowOnly({"type", "behavior"});
        const JsonNode behavior = node.member("behavior");
        addSplit(Pattern::regex(R"([\p{P}!-/:-@\[-`{-~])"),
                 behavior.isNull() ? SplitBehavior::isolated : readSplitBehavior(behavior), false);
    } else if (type == "Metaspace") {
        const Metaspace metaspace = Metaspace::read(node);
        m_steps.emplace_back([metaspace](const std::string& piece, bool isStart, std::vector<std::string>& pieces) {
            std::string text = text::replaceAll(piece, " ", metaspace.blank);
            if (metaspace.prepends(isStart) && !text.starts_with(metaspace.blank))
                text = metaspace.blank + text;
            pieces.push_back(std::move(text));
        });
        if (metaspace.splits)
            addSplit(Pattern::literal(metaspace.blank), SplitBehavior::mergedWithNext, false);
    } else {
        node.refuseType();
    }
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
