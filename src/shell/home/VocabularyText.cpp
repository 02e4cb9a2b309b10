#include "shell/home/VocabularyText.h"

#include "base/Text.h"

#include <algorithm>
#include <utility>

namespace fenlo {

namespace {

Terms pieces(std::string_view text) {
    Terms terms;
    for (const std::string& line : text::split(text, '\n'))
        for (const std::string& piece : text::split(line, ','))
            if (std::string term = text::trimWhitespaceAndNewlines(piece); !term.empty())
                terms.push_back(std::move(term));
    return terms;
}

struct SplitTerm {
    std::string term;
    Terms pieces;
};

} // namespace

std::string joinVocabulary(const Terms& terms) {
    return text::join(terms, ", ");
}

Terms parseVocabulary(std::string_view text, const Terms& known) {
    std::vector<SplitTerm> splitTerms;
    for (const std::string& term : known)
        if (Terms parts = pieces(term); parts.size() > 1)
            splitTerms.push_back({term, std::move(parts)});
    const Terms all = pieces(text);
    if (splitTerms.empty())
        return all;

    Terms terms;
    for (auto at = all.begin(); at != all.end();) {
        const auto whole = std::ranges::find_if(splitTerms, [&](const SplitTerm& candidate) {
            return std::size_t(all.end() - at) >= candidate.pieces.size() &&
                   std::equal(candidate.pieces.begin(), candidate.pieces.end(), at);
        });
        if (whole == splitTerms.end()) {
            terms.push_back(*at++);
        } else {
            terms.push_back(whole->term);
            at += std::ssize(whole->pieces);
        }
    }
    return terms;
}

Terms editedVocabulary(std::string_view text, const Terms& shown, const Terms& now) {
    if (text == joinVocabulary(shown))
        return now;
    Terms terms = parseVocabulary(text, shown);
    for (const std::string& term : now)
        if (std::ranges::find(shown, term) == shown.end() && std::ranges::find(terms, term) == terms.end())
            terms.push_back(term);
    return terms;
}

} // namespace fenlo
