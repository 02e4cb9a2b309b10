#include "hub/tokenizers/steps/PreTokenizer.h"

#include "hub/tokenizers/steps/ByteLetters.h"
#include "hub/tokenizers/steps/CharacterSplit.h"
#include "hub/tokenizers/steps/Metaspace.h"
#include "hub/tokenizers/steps/Pattern.h"
#include "hub/tokenizers/steps/ScriptSplit.h"
#include "hub/tokenizers/steps/SplitBehavior.h"
#include "hub/tokenizers/steps/Steps.h"

#include <limits>
#include <utility>

namespace fenlo::hub {

namespace {

/// The published expression of byte-level vocabularies: English contractions, words, numbers and other characters, each
/// with the blank before it, and white space.
constexpr std::string_view byteLevelWords =
    R"('s|'t|'re|'ve|'m|'ll|'d| ?\p{L}+| ?\p{N}+| ?[^\p{White_Space}\p{L}\p{N}]+)"
    R"(|\p{White_Space}+(?!\P{White_Space})|\p{White_Space}+)";

using SplitStep = std::function<void(Words& words, bool isStart)>;
using SplitSteps = StepList<SplitStep>;

/// Calls `write(writer, word)` to write each word anew. What lies between the words stays.
template <typename Write>
void rewriteWords(Words& words, Write write) {
    AlignedTextWriter writer(words.text);
    for (TextRange& word : words.ranges) {
        writer.keep(word.begin);
        const std::size_t begin = writer.size();
        write(writer, word);
        writer.keep(word.end);
        word = {begin, writer.size()};
    }
    writer.finish();
}

/// `split(text, word, parts)` appends the parts of each word.
template <typename Split>
void splitWords(Words& words, Split split) {
    std::vector<TextRange> parts;
    parts.reserve(words.text.text().size() / 4); // about a word each
    for (const TextRange& word : words.ranges)
        split(words.text.text(), word, parts);
    words.ranges = std::move(parts);
}

void addSplit(SplitSteps& list, Pattern pattern, SplitRule rule) {
    list.steps.emplace_back([pattern = std::move(pattern), rule](Words& words, bool) {
        PatternSearch search(pattern, words.text.text());
        std::vector<TextRange> matches;
        splitWords(words, [&](const std::string&, const TextRange& word, std::vector<TextRange>& parts) {
            matches.clear();
            search.find(word, matches);
            splitAt(matches, rule, word, parts);
        });
    });
}

template <typename KindOf>
void addKindSplit(SplitSteps& list, KindOf kindOf) {
    list.steps.emplace_back([kindOf](Words& words, bool) {
        splitWords(words, [&](const std::string& text, const TextRange& word, std::vector<TextRange>& parts) {
            splitByKind(text, word, parts, kindOf);
        });
    });
}

void addByteSplit(const JsonNode& node, SplitSteps& list) {
    list.limits.countGrowth(node, byteLettersGrowth);
    if (node.member("add_prefix_space").boolean(true))
        list.steps.emplace_back([](Words& words, bool) {
            rewriteWords(words, [](AlignedTextWriter& writer, const TextRange& word) {
                if (writer.oldText()[word.begin] != ' ')
                    writer.insert(" ");
            });
        });
    if (node.member("use_regex").boolean(true))
        addSplit(list, Pattern::regex(byteLevelWords), {SplitBehavior::isolated});
    list.steps.emplace_back([](Words& words, bool) {
        rewriteWords(words, [](AlignedTextWriter& writer, const TextRange& word) { //
            writeByteLetters(writer, word.end);
        });
    });
}

void addSplitAtPattern(const JsonNode& node, SplitSteps& list) {
    addSplit(list, Pattern::read(node.member("pattern")),
             {readSplitBehavior(node.member("behavior")), node.member("invert").boolean(false)});
}

void addBert(const JsonNode&, SplitSteps& list) {
    addKindSplit(list, [](char32_t c) { return isBlank(c) ? leftOut : isPunctuation(c) ? alone : 0; });
}

void addWhitespace(const JsonNode&, SplitSteps& list) {
    addKindSplit(list, [](char32_t c) { return isWordCharacter(c) ? 0 : isBlank(c) ? leftOut : 1; });
}

void addWhitespaceSplit(const JsonNode&, SplitSteps& list) {
    addKindSplit(list, [](char32_t c) { return isBlank(c) ? leftOut : 0; });
}

void addDelimiter(const JsonNode& node, SplitSteps& list) {
    const std::string text = filledText(node.member("delimiter"));
    std::size_t end = 0;
    const char32_t delimiter = takeAt(text, end);
    if (end != text.size())
        node.member("delimiter").fail("is more than one character");
    addKindSplit(list, [delimiter](char32_t c) { return c == delimiter ? leftOut : 0; });
}

void addDigits(const JsonNode& node, SplitSteps& list) {
    const int number = node.member("individual_digits").boolean(false) ? alone : 0;
    addKindSplit(list, [number](char32_t c) { return isNumber(c) ? number : 1; });
}

void addPunctuation(const JsonNode& node, SplitSteps& list) {
    const JsonNode behavior = node.member("behavior");
    const SplitRule rule{behavior.isNull() ? SplitBehavior::isolated : readSplitBehavior(behavior)};
    list.steps.emplace_back([rule](Words& words, bool) {
        std::vector<TextRange> marks;
        splitWords(words, [&](const std::string& text, const TextRange& word, std::vector<TextRange>& parts) {
            marks.clear();
            splitByKind(text, word, marks, [](char32_t c) { return isPunctuation(c) ? alone : leftOut; });
            splitAt(marks, rule, word, parts);
        });
    });
}

void addScripts(const JsonNode&, SplitSteps& list) {
    list.steps.emplace_back([](Words& words, bool) { splitWords(words, splitAtScripts); });
}

void addFixedLength(const JsonNode& node, SplitSteps& list) {
    const JsonNode member = node.member("length");
    const int length = member.isNull() ? 5 : member.integer(std::numeric_limits<int>::max());
    if (length == 0)
        member.fail("is zero");
    list.steps.emplace_back([length](Words& words, bool) {
        splitWords(words, [&](const std::string& text, const TextRange& word, std::vector<TextRange>& parts) {
            for (std::size_t begin = word.begin, end = begin; begin < word.end; begin = end) {
                for (int i = 0; i < length && end < word.end; ++i)
                    takeAt(text, end);
                parts.push_back({begin, end});
            }
        });
    });
}

/// Writes the word with its blanks visible, and one before it where the settings ask for it.
void writeVisibleBlanks(const Metaspace& metaspace, bool prepends, const TextRange& word, AlignedTextWriter& writer) {
    const std::string_view text = std::string_view(writer.oldText()).substr(0, word.end);
    const bool hasBlank = text[word.begin] == ' ' || text.substr(word.begin).starts_with(metaspace.blank);
    if (prepends && !hasBlank)
        writer.insert(metaspace.blank);
    for (std::size_t at = text.find(' ', word.begin); at != std::string_view::npos; at = text.find(' ', at + 1)) {
        writer.keep(at);
        writer.replace(at + 1, metaspace.blank);
    }
}

void addMetaspaceSplit(const JsonNode& node, SplitSteps& list) {
    const Metaspace metaspace = Metaspace::read(node);
    list.limits.countGrowth(node, 1 + static_cast<double>(metaspace.blank.size())); // before a word of one character
    list.steps.emplace_back([metaspace](Words& words, bool isStart) {
        rewriteWords(words, [&](AlignedTextWriter& writer, const TextRange& word) {
            writeVisibleBlanks(metaspace, metaspace.prepends(isStart && word.begin == 0), word, writer);
        });
    });
    if (metaspace.splits)
        addSplit(list, Pattern::literal(metaspace.blank), {SplitBehavior::mergedWithNext});
}

} // namespace

PreTokenizer PreTokenizer::read(const JsonNode& node) {
    SplitSteps list;
    readSteps<SplitStep>(node, "pretokenizers",
                         {{"BertPreTokenizer", {}, addBert},
                          {"ByteLevel", byteLevelSettings, addByteSplit},
                          {"CharDelimiterSplit", {"delimiter"}, addDelimiter},
                          {"Digits", {"individual_digits"}, addDigits},
                          {"FixedLength", {"length"}, addFixedLength},
                          {"Metaspace", Metaspace::settings, addMetaspaceSplit},
                          {"Punctuation", {"behavior"}, addPunctuation},
                          {"Split", {"pattern", "behavior", "invert"}, addSplitAtPattern},
                          {"UnicodeScripts", {}, addScripts},
                          {"Whitespace", {}, addWhitespace},
                          {"WhitespaceSplit", {}, addWhitespaceSplit}},
                         list);
    PreTokenizer preTokenizer;
    preTokenizer.m_steps = std::move(list.steps);
    return preTokenizer;
}

Words PreTokenizer::split(AlignedText text, bool isStart) const {
    Words words{std::move(text), {}};
    if (!words.text.text().empty())
        words.ranges.push_back({0, words.text.text().size()});
    for (const Step& step : m_steps)
        step(words, isStart);
    return words;
}

} // namespace fenlo::hub
