#include "text/VoiceCorrection.h"

#include "base/Text.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>
#include <vector>

namespace fenlo {

namespace {

constexpr std::array<std::string_view, 7> prefixes{
    "no i meant ", "i meant ", "i said ", "fix that to ", "correct that to ", "change that to ", "replace with ",
};

constexpr std::size_t wholeTextWords = 4; // a correction of so many words replaces everything
constexpr std::size_t searchedWords = 5;  // the last words in which one is replaced
constexpr std::size_t shortWord = 2;      // words of at most so many characters are never replaced

std::string keptPunctuation(const std::string& word) {
    std::string kept;
    std::copy_if(word.begin(), word.end(), std::back_inserter(kept),
                 [](char c) { return std::string_view(".,!?;:").find(c) != std::string_view::npos; });
    return kept;
}

} // namespace

std::optional<std::string> matchCorrection(const std::string& rawText) {
    const std::string transcript = text::trimWhitespace(rawText);
    const std::string spoken = text::trimPunctuation(text::lower(transcript));
    for (const auto prefix : prefixes) {
        if (!spoken.starts_with(prefix))
            continue;
        // The prefix was compared in lower case; cutting by its length keeps the case of the transcript.
        const std::size_t prefixEnd = text::firstCharacters(transcript, prefix.size()).size();
        std::string correction = text::trimPunctuation(text::trimWhitespace(transcript.substr(prefixEnd)));
        if (correction.empty())
            return {};
        return correction;
    }
    return {};
}

std::string applyCorrection(const std::string& lastText, const std::string& correction) {
    std::vector<std::string> correctionWords = text::split(text::lower(correction), ' ');
    std::erase(correctionWords, "");
    if (correctionWords.size() >= wholeTextWords)
        return correction;

    std::vector<std::string> words = text::split(lastText, ' ');
    const std::size_t end = words.size() - std::min(words.size(), searchedWords);
    for (std::size_t at = words.size(); at-- > end;) {
        const std::string word = text::trimPunctuation(text::lower(words[at]));
        if (text::characterCount(word) <= shortWord ||
            std::find(correctionWords.begin(), correctionWords.end(), word) != correctionWords.end())
            continue;
        words[at] = correction + keptPunctuation(words[at]);
        return text::join(words, " ");
    }
    return lastText + " " + correction;
}

} // namespace fenlo
