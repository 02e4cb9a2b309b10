#include "hub/tokenizers/AddedTokens.h"

#include "hub/tokenizers/steps/Characters.h"
#include "hub/tokenizers/steps/Steps.h"

#include <algorithm>
#include <utility>

namespace fenlo::hub {

AddedToken AddedToken::read(const JsonNode& node) {
    node.allowOnly({"id", "content", "single_word", "lstrip", "rstrip", "normalized", "special"});
    AddedToken token;
    token.id = node.member("id").integer(Vocabulary::maximumId);
    token.content = shortText(node.member("content"));
    token.singleWord = node.member("single_word").boolean(false);
    token.lstrip = node.member("lstrip").boolean(false);
    token.rstrip = node.member("rstrip").boolean(false);
    token.special = node.member("special").boolean(false);
    token.normalized = node.member("normalized").boolean(!token.special);
    return token;
}

AddedTokenFinder::AddedTokenFinder(std::vector<AddedToken> tokens) : m_tokens(std::move(tokens)) {
    std::erase_if(m_tokens, [](const AddedToken& token) { return token.content.empty(); });
    std::ranges::stable_sort(m_tokens, {}, &AddedToken::content);
    for (const AddedToken& token : m_tokens)
        m_firstBytes.set(static_cast<unsigned char>(token.content.front()));
}

const AddedToken* AddedTokenFinder::longestAt(std::string_view text, std::size_t begin) const {
    // Sorted tokens that share their first bytes lie together, the one that has no more bytes first. So each byte of
    // the text narrows the range, whatever the number of tokens.
    const AddedToken* longest = nullptr;
    auto first = m_tokens.begin();
    auto last = m_tokens.end();
    for (std::size_t length = 1; begin + length <= text.size(); ++length) {
        const auto byteThere = [length](const AddedToken& token) {
            return token.content.size() < length ? -1 : static_cast<unsigned char>(token.content[length - 1]);
        };
        const int byte = static_cast<unsigned char>(text[begin + length - 1]);
        first = std::ranges::lower_bound(first, last, byte, {}, byteThere);
        last = std::ranges::upper_bound(first, last, byte, {}, byteThere);
        if (first == last)
            break;
        if (first->content.size() == length)
            longest = &*first;
    }
    return longest;
}

std::vector<AddedTokenFinder::Match> AddedTokenFinder::find(std::string_view text) const {
    std::vector<Match> matches;
    std::size_t done = 0;
    for (std::size_t at = 0; at < text.size();) {
        const AddedToken* token = m_firstBytes[static_cast<unsigned char>(text[at])] ? longestAt(text, at) : nullptr;
        if (!token) {
            ++at;
            continue;
        }
        Match match{at, at + token->content.size(), token->id};
        at = match.end;
        if (token->singleWord && (isWordBefore(text, match.begin) || isWordAt(text, match.end)))
            continue;
        if (token->lstrip)
            match.begin = std::max(done, blanksBegin(text, match.begin));
        if (token->rstrip)
            match.end = blanksEnd(text, match.end);
        at = done = match.end;
        matches.push_back(match);
    }
    return matches;
}

} // namespace fenlo::hub
