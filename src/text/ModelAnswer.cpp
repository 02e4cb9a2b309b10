#include "text/ModelAnswer.h"

#include "base/Log.h"
#include "base/Text.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace fenlo {

namespace {

/// The first one that the answer begins with is dropped.
constexpr std::string_view labels[] = {
    "polished text:",
    "polished:",
    "output:",
    "result:",
    "here is the polished text:",
    "here is the text:",
    "here's the polished text:",
    "here's the text:",
    "corrected text:",
    "cleaned up text:",
    "cleaned text:",
    "rewritten text:",
    "revised text:",
    "edited text:",
};

constexpr std::string_view reasoningMarkers[] = {
    "i'm going to",
    "i will",
    "since ",
    "however,",
    "given the",
    "without more context",
    "assuming ",
    "the polished text remains:",
    "the corrected text is:",
    "speech recognition",
    "custom terms",
    "vocabulary",
    "doesn't match",
    "challenging to correct",
    "provided vocabulary",
    "uncertain parts",
};
constexpr int markersOfReasoning = 2;

constexpr std::string_view refusalPhrases[] = {
    "i can't",  "i cannot",       "i'm unable",       "i am unable",
    "as an ai", "content policy", "explicit content", "inappropriate",
};

constexpr char quote[] = "\"";

std::string withoutLabel(std::string_view answer) {
    const std::string text = text::trimWhitespaceAndNewlines(answer);
    const std::string lowered = text::lower(text);
    const auto* label = std::find_if(std::begin(labels), std::end(labels),
                                     [&](std::string_view candidate) { return lowered.starts_with(candidate); });
    if (label == std::end(labels))
        return text;
    const std::size_t dropped = text::firstCharacters(text, label->size()).size(); // a label is ASCII
    return text::trimWhitespaceAndNewlines(std::string_view(text).substr(dropped));
}

std::ptrdiff_t countMarkers(std::string_view text) {
    const std::string lowered = text::lower(text);
    return std::count_if(std::begin(reasoningMarkers), std::end(reasoningMarkers),
                         [&](std::string_view marker) { return lowered.find(marker) != std::string::npos; });
}

/// Reasoning ends with the conclusion on a line of its own. Without such a line the text stays whole.
std::string withoutReasoning(std::string text) {
    if (countMarkers(text) < markersOfReasoning)
        return text;
    std::vector<std::string> lines;
    for (const std::string& line : text::split(text, '\n'))
        if (std::string trimmed = text::trimWhitespaceAndNewlines(line); !trimmed.empty())
            lines.push_back(std::move(trimmed));
    if (lines.size() < 2 || countMarkers(lines.back()) > 0)
        return text;
    logInfo("Stripped LLM reasoning, kept last line: '{}'", lines.back());
    return lines.back();
}

std::string withoutQuotes(const std::string& text) {
    const bool isQuoted =
        text.size() >= 2 && text::firstCharacters(text, 1) == quote && text::lastCharacters(text, 1) == quote;
    return isQuoted ? text.substr(1, text.size() - 2) : text;
}

} // namespace

std::string cleanResponse(const std::string& answer) {
    return withoutQuotes(withoutReasoning(withoutLabel(text::repairUtf8(answer))));
}

bool isRefusal(const std::string& answer, const std::string& rawText) {
    const std::string lowered = text::lower(answer);
    const bool isCandidate =
        std::any_of(std::begin(refusalPhrases), std::end(refusalPhrases),
                    [&](std::string_view phrase) { return lowered.find(phrase) != std::string::npos; });
    return isCandidate && text::characterCount(answer) > 2 * text::characterCount(rawText);
}

} // namespace fenlo
