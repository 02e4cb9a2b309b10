#include "speech/TranscriptGuards.h"

#include "base/Text.h"
#include "speech/DeveloperText.h"
#include "speech/RepeatedPhrases.h"

#include <algorithm>
#include <array>
#include <map>
#include <utility>
#include <vector>

namespace fenlo {

namespace {

constexpr float trustedSpeechRatio = 0.4F;
constexpr std::size_t longestPrefixedCharacters = 59;

constexpr std::array<std::string_view, 42> hallucinations = {
    "",
    ".",
    "...",
    "…",
    "thank you for watching",
    "thanks for watching",
    "thank you for watching and see you in the next video",
    "thank you for watching this video",
    "thank you so much for watching",
    "thanks for watching guys",
    "if you enjoyed this video please like and subscribe",
    "subscribe",
    "please subscribe",
    "like and subscribe",
    "please like and subscribe",
    "don't forget to subscribe",
    "don't forget to like and subscribe",
    "hit the bell icon",
    "hit the notification bell",
    "see you next time",
    "see you in the next video",
    "see you in the next one",
    "bye bye",
    "goodbye",
    "bye",
    "thanks for listening",
    "thank you for listening",
    "thanks for tuning in",
    "translated by",
    "copyright",
    "all rights reserved",
    "oh",
    "uh",
    "um",
    "hmm",
    "huh",
    "ah",
    "music",
    "music playing",
    "applause",
    "laughter",
    "ご視聴ありがとうございました",
};

constexpr std::array<std::string_view, 10> hallucinationPrefixes = {
    "thank you",     "thanks for", "subscribe",       "like and subscribe", "subtitles by",
    "translated by", "copyright",  "don't forget to", "please like",        "please subscribe"};

/// The text in lower case, without the blanks, closing punctuation and quotes around it.
std::string normalise(std::string_view original) {
    static constexpr std::array<std::string_view, 7> trimmed = {".", ",", "!", "?", "…", "\"", " "};
    const std::string lower = text::lower(text::trimWhitespace(original));
    std::string_view text = lower;
    const auto trimOnce = [&] {
        for (const std::string_view mark : trimmed) {
            if (text.starts_with(mark)) {
                text.remove_prefix(mark.size());
                return true;
            }
            if (text.ends_with(mark)) {
                text.remove_suffix(mark.size());
                return true;
            }
        }
        return false;
    };
    while (trimOnce()) {
    }
    return std::string(text);
}

bool repeatsAWord(const std::vector<std::string>& words) {
    for (std::size_t i = 2; i < words.size(); ++i)
        if (words[i] == words[i - 1] && words[i] == words[i - 2])
            return true;
    return false;
}

/// Finds a phrase that cycles over and over.
bool repeatsAPair(const std::vector<std::string>& words) {
    if (words.size() < 6)
        return false;
    std::map<std::pair<std::string_view, std::string_view>, int> counts;
    for (std::size_t i = 1; i < words.size(); ++i)
        if (++counts[{words[i - 1], words[i]}] >= 3)
            return true;
    return false;
}

bool startsLikeAnOutro(std::string_view text) {
    return std::any_of(hallucinationPrefixes.begin(), hallucinationPrefixes.end(),
                       [&](std::string_view prefix) { return text.starts_with(prefix); }) &&
           text::characterCount(text) <= longestPrefixedCharacters;
}

std::string withoutFinalPeriod(std::string text) {
    if (!text.ends_with('.') || text.ends_with(".."))
        return text;
    text.pop_back();
    return text::trimWhitespace(text);
}

std::string capitalised(const std::string& text) {
    const std::string first = text::firstCharacters(text, 1);
    return text::lower(first) == first ? text::upper(first) + text.substr(first.size()) : text;
}

} // namespace

HallucinationGuard::HallucinationGuard(const std::string& subtitleSiteDomain) {
    for (const std::string_view phrase : hallucinations)
        m_phrases.emplace(phrase);
    const std::string site = text::lower(subtitleSiteDomain);
    m_phrases.insert(site);
    m_phrases.insert("subtitles by the " + site + " community");
    m_phrases.insert("subtitles made by the " + site + " community");
    m_phrases.insert("sous-titres réalisés par la communauté d'" + site);
}

bool HallucinationGuard::isHallucination(std::string_view original, float speechRatio) const {
    if (!(speechRatio <= trustedSpeechRatio))
        return false;
    const std::string text = normalise(original);
    if (m_phrases.contains(text))
        return true;
    auto words = text::split(text, ' ');
    std::erase(words, "");
    return repeatsAWord(words) || repeatsAPair(words) || startsLikeAnOutro(text);
}

std::string postProcess(std::string_view original, CleanUp options) {
    static const text::Regex specialTokens("<\\|[^|]*\\|>");
    static const text::Regex blanks("  +");

    std::string text = blanks.replaceAll(specialTokens.replaceAll(original, ""), " ");
    text = withoutFinalPeriod(collapseRepeats(text::trimWhitespace(text)));
    if (options.isDevTool)
        return asCommand(text);
    return options.autoCapitalize ? capitalised(text) : text;
}

} // namespace fenlo
