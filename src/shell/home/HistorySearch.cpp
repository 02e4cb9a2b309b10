#include "shell/home/HistorySearch.h"

#include "base/SearchKey.h"
#include "base/Text.h"

#include <algorithm>

namespace fenlo {

namespace {

constexpr std::size_t entriesBetweenLooks = 64;

} // namespace

HistorySearch::HistorySearch(std::string_view query) : m_words(text::words(text::searchKey(query))) {}

bool HistorySearch::matches(std::string_view text) const {
    if (isEmpty())
        return true;
    const std::string key = text::searchKey(text);
    return std::ranges::all_of(m_words, [&](const std::string& word) { return key.find(word) != std::string::npos; });
}

std::vector<std::uint32_t> HistorySearch::find(const std::vector<HistoryEntry>& entries,
                                               const std::function<bool()>& isAbandoned) const {
    std::vector<std::uint32_t> found;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (i % entriesBetweenLooks == 0 && isAbandoned())
            break;
        if (matches(entries[i].fullText))
            found.push_back(static_cast<std::uint32_t>(i));
    }
    return found;
}

} // namespace fenlo
