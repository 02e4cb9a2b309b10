#include "text/VocabularyLearning.h"

#include "base/Log.h"
#include "base/Text.h"
#include "text/professions/Professions.h"

#include <set>

namespace fenlo {

namespace {

constexpr std::size_t minimumCorrection = 3; // characters
constexpr std::size_t minimumTerm = 4;       // characters

std::set<std::string> knownTerms(const Settings& settings) {
    std::set<std::string> known;
    for (const auto* terms : {&settings.customVocabulary, &settings.professionVocabulary})
        for (const std::string& term : *terms)
            known.insert(text::lower(term));
    return known;
}

void append(Config& config, const std::vector<std::string>& terms) {
    config.update([&](Settings& settings) {
        auto& vocabulary = settings.professionVocabulary;
        vocabulary.insert(vocabulary.end(), terms.begin(), terms.end());
        if (vocabulary.size() > vocabularyLimit)
            vocabulary.erase(vocabulary.begin(), vocabulary.end() - vocabularyLimit);
    });
}

std::vector<std::string> bareWords(const std::string& sentence) {
    std::vector<std::string> words = text::words(sentence);
    for (std::string& word : words)
        word = text::trimPunctuation(word);
    std::erase(words, "");
    return words;
}

} // namespace

void learnCorrection(Config& config, const std::string& correction) {
    if (text::characterCount(correction) < minimumCorrection || !text::startsWithUpper(correction) ||
        knownTerms(config.get()).contains(text::lower(correction)))
        return;
    append(config, {correction});
    logInfo("Voice correction learned: '{}'", correction);
}

std::vector<std::string> restoredTerms(const std::string& textBeforeRewrite, const std::string& rewrittenText,
                                       const Settings& settings) {
    std::set<std::string> known = knownTerms(settings);
    for (const std::string& word : bareWords(text::lower(textBeforeRewrite)))
        known.insert(word);

    std::vector<std::string> terms;
    std::set<std::string> seen;
    for (const std::string& word : bareWords(rewrittenText))
        if (text::startsWithUpper(word) && !known.contains(text::lower(word)) &&
            text::characterCount(word) >= minimumTerm && seen.insert(word).second)
            terms.push_back(word);
    return terms;
}

void learnFromRewrite(Config& config, const std::string& textBeforeRewrite, const std::string& rewrittenText) {
    const auto terms = restoredTerms(textBeforeRewrite, rewrittenText, config.get());
    if (terms.empty())
        return;
    append(config, terms);
    logInfo("Auto-learned {} term(s): {}", terms.size(), text::join(terms, ", "));
}

} // namespace fenlo
