#pragma once

#include "shell/Statistics.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo {

/// What a person types to find an entry again: its words may stand anywhere, in any case, with or without accents.
///
/// Threads: a value.
class HistorySearch {
public:
    explicit HistorySearch(std::string_view query);

    /// Nothing to look for: every entry matches.
    bool isEmpty() const { return m_words.empty(); }
    bool matches(std::string_view text) const;

    /// The numbers of the entries that match, in their order; no more of them as soon as `isAbandoned` says so.
    std::vector<std::uint32_t> find(const std::vector<HistoryEntry>& entries,
                                    const std::function<bool()>& isAbandoned) const;

private:
    std::vector<std::string> m_words; // as text::searchKey() gives them
};

} // namespace fenlo
