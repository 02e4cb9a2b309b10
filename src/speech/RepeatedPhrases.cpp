#include "speech/RepeatedPhrases.h"

#include "base/Log.h"
#include "base/Text.h"

#include <algorithm>
#include <vector>

namespace fenlo {

namespace {

constexpr std::size_t fewestWords = 5;
constexpr std::size_t shortestPhrase = 2;
constexpr std::size_t longestPhrase = 5;
constexpr std::size_t mostNaturalCopies = 2;

/// How often the phrase of `length` words at `start` is repeated in a row. `words` are in lower case.
std::size_t copiesAt(const std::vector<std::string>& words, std::size_t start, std::size_t length) {
    const auto phrase = words.begin() + static_cast<std::ptrdiff_t>(start);
    std::size_t copies = 1;
    while (start + (copies + 1) * length <= words.size() &&
           std::equal(phrase, phrase + static_cast<std::ptrdiff_t>(length),
                      phrase + static_cast<std::ptrdiff_t>(copies * length)))
        ++copies;
    return copies;
}

} // namespace

std::string collapseRepeats(std::string_view text) {
    auto words = text::split(text, ' ');
    std::erase(words, "");
    if (words.size() < fewestWords)
        return std::string(text);
    auto folded = text::split(text::lower(text), ' ');
    std::erase(folded, "");

    const std::size_t maxPhrase =
        words.size() == fewestWords ? shortestPhrase : std::min(words.size() / 3, longestPhrase);
    std::vector<std::string> kept;
    for (std::size_t i = 0; i < words.size();) {
        std::size_t length = maxPhrase;
        std::size_t copies = 1;
        for (; length >= shortestPhrase; --length) {
            copies = copiesAt(folded, i, length);
            if (copies > mostNaturalCopies)
                break;
        }
        if (length < shortestPhrase) {
            kept.push_back(words[i++]);
            continue;
        }
        const auto first = words.begin() + static_cast<std::ptrdiff_t>(i);
        const std::vector<std::string> phrase(first, first + static_cast<std::ptrdiff_t>(length));
        kept.insert(kept.end(), phrase.begin(), phrase.end());
        logInfo("Dedup: removed {} repeats of '{}'", copies - 1, text::join(phrase, " "));
        i += copies * length;
    }
    return text::join(kept, " ");
}

} // namespace fenlo
