#include "meeting/MeetingText.h"

#include "base/Log.h"
#include "base/Text.h"
#include "meeting/MeetingRecord.h"
#include "shell/ElapsedText.h"

#include <algorithm>
#include <array>

namespace fenlo {

namespace {

constexpr std::size_t shortestText = 3;  // characters
constexpr std::size_t loggedLength = 80; // characters of a segment

struct FillerRule {
    text::Regex pattern;
    std::string_view replacement;
};

using FillerRules = std::array<FillerRule, 8>;

const FillerRules& prefixRules() {
    static const FillerRules rules{{
        {text::Regex(R"(\b[Uu]h,?\s*)"), ""},
        {text::Regex(R"(\b[Uu]m,?\s*)"), ""},
        {text::Regex(R"(\b[Aa]h,?\s*)"), ""},
        {text::Regex(R"(\b[Hh]mm,?\s*)"), ""},
        {text::Regex(R"(,\s*you know,?\s*)"), ""},
        {text::Regex(R"(,\s*like,?\s*(?=\w))"), ""},
        {text::Regex(R"(\s{2,})"), " "},
        {text::Regex(R"(^[,\s]+)"), ""},
    }};
    return rules;
}

const FillerRules& wholeWordRules() {
    static const FillerRules rules{{
        {text::Regex(R"(\b[Uu]h\b,?\s*)"), ""},
        {text::Regex(R"(\b[Uu]m\b,?\s*)"), ""},
        {text::Regex(R"(\b[Aa]h\b,?\s*)"), ""},
        {text::Regex(R"(\b[Hh]mm\b,?\s*)"), ""},
        {text::Regex(R"(,\s*you know\b,?\s*)"), " "},
        {text::Regex(R"(,\s*like\b,?\s*(?=\w))"), " "},
        {text::Regex(R"(\s{2,})"), " "},
        {text::Regex(R"(^[,\s]+)"), ""},
    }};
    return rules;
}

constexpr std::string_view lowValueTexts[] = {"thank you",
                                              "thanks",
                                              "thank you.",
                                              "thanks.",
                                              "thank you for watching",
                                              "thanks for watching",
                                              "bye",
                                              "bye.",
                                              "goodbye",
                                              "goodbye.",
                                              "okay",
                                              "okay.",
                                              "ok",
                                              "ok.",
                                              "right",
                                              "right.",
                                              "yeah",
                                              "yeah.",
                                              "yes",
                                              "yes.",
                                              "no",
                                              "no.",
                                              "hmm",
                                              "hmm.",
                                              "hm",
                                              "uh",
                                              "um",
                                              "uh.",
                                              "um.",
                                              "you",
                                              "you.",
                                              "so",
                                              "so.",
                                              "and",
                                              "the",
                                              "i",
                                              "a",
                                              ".",
                                              "..",
                                              "...",
                                              ",",
                                              " ",
                                              "thank you so much",
                                              "subscribe",
                                              "like and subscribe",
                                              "see you next time",
                                              "please subscribe",
                                              "thanks for listening",
                                              "amen",
                                              "amen.",
                                              "got it",
                                              "got it."};
static_assert(std::size(lowValueTexts) == 52);

bool isListed(std::string_view text) {
    return std::ranges::find(lowValueTexts, text) != std::end(lowValueTexts);
}

/// Without whitespace and punctuation at the ends, in whatever order they stand there.
std::string trimAll(std::string text) {
    for (std::string before; before != text;) {
        before = text;
        text = text::trimPunctuation(text::trimWhitespaceAndNewlines(text));
    }
    return text;
}

} // namespace

std::string stripFillers(std::string_view text, Fillers fillers) {
    std::string result(text);
    for (const FillerRule& rule : fillers == Fillers::asPrefixes ? prefixRules() : wholeWordRules())
        result = rule.pattern.replaceAllWithLiteral(result, rule.replacement);
    return text::trimWhitespaceAndNewlines(result);
}

bool isLowValue(std::string_view text) {
    const std::string lowered = text::lower(text);
    const std::string bare = trimAll(lowered);
    return text::characterCount(bare) < shortestText || isListed(bare) ||
           isListed(text::trimWhitespaceAndNewlines(lowered));
}

std::optional<TranscriptSegment> withKeptWords(TranscriptSegment chunk) {
    chunk.text = stripFillers(text::trimWhitespaceAndNewlines(chunk.text), Fillers::wholeWords);
    if (isLowValue(chunk.text)) {
        logInfo("Meeting chunk {} was silent/hallucination, skipping", chunk.index);
        return std::nullopt;
    }
    logInfo("Meeting segment {} [{}]: '{}'", chunk.index, chunk.speaker.label,
            text::firstCharacters(chunk.text, loggedLength));
    return chunk;
}

std::string transcriptText(const MeetingRecord& record) {
    std::vector<const TranscriptSegment*> ordered;
    for (const TranscriptSegment& segment : record.segments)
        ordered.push_back(&segment);
    std::ranges::stable_sort(ordered, {}, &TranscriptSegment::index);
    std::vector<std::string> paragraphs;
    if (!record.subject.empty())
        paragraphs.push_back("Subject: " + record.subject);
    for (const TranscriptSegment* segment : ordered)
        paragraphs.push_back("[" + elapsedText(segment->timestamp) + "] " +
                             speakerDisplayName(record.speakerNames, segment->speaker) + ": " + segment->text);
    return text::join(paragraphs, "\n\n");
}

} // namespace fenlo
