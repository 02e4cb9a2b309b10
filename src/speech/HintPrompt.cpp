#include "speech/HintPrompt.h"

#include "base/Text.h"

#include <algorithm>

namespace fenlo {

namespace {

constexpr std::size_t maxPromptCharacters = 896; // the recogniser's prompt window is small
constexpr std::size_t maxVocabularyTerms = 30;
constexpr std::size_t maxProfessionTerms = 20;
constexpr std::size_t maxContextCharacters = 200;

std::string firstTerms(std::vector<std::string> terms, std::size_t count) {
    terms.resize(std::min(terms.size(), count));
    return text::join(terms, ", ");
}

/// Appends a part with its separator, unless there is no room left for both.
void appendIfItFits(std::string& prompt, const std::string& part, std::string_view separator) {
    if (part.empty() ||
        text::characterCount(prompt) + text::characterCount(part) + separator.size() > maxPromptCharacters)
        return;
    if (!prompt.empty())
        prompt += separator;
    prompt += part;
}

bool speaksAsProfessional(const Settings& settings) {
    return settings.dictationMode == DictationMode::work && !settings.profession.empty() &&
           settings.profession != "other";
}

} // namespace

std::string hintPrompt(const Settings& settings, const ProfessionTerms& professionTerms,
                       const std::optional<std::string>& hintText) {
    std::string prompt = firstTerms(settings.customVocabulary, maxVocabularyTerms);
    if (text::characterCount(prompt) > maxPromptCharacters)
        prompt.clear();
    if (professionTerms && speaksAsProfessional(settings))
        appendIfItFits(prompt, firstTerms(professionTerms(settings.profession), maxProfessionTerms), ", ");
    const std::string context = text::trimWhitespaceAndNewlines(hintText.value_or(""));
    appendIfItFits(prompt, text::lastCharacters(context, maxContextCharacters), ". ");
    return prompt;
}

} // namespace fenlo
