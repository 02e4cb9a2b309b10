#pragma once

#include "shell/Statistics.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace fenlo {

/// Which entries stand in the rows of the history, and what has to be told to a list when that changes.
///
/// Threads: one at a time; the entries themselves are constant and may be shared.
class HistoryRows {
public:
    using Entries = std::shared_ptr<const std::vector<HistoryEntry>>;
    using Numbers = std::vector<std::uint32_t>; // of entries, in the order of the rows

    /// What happened to the rows, which are as they are after it.
    struct Edit {
        enum class Kind { none, reset, inserted, removed, updated };
        Kind kind = Kind::none;
        std::size_t first = 0;
        std::size_t count = 0;
    };

    std::size_t count() const { return m_rows.size(); }
    const HistoryEntry& entry(std::size_t row) const { return (*m_entries)[m_rows[row]]; }
    const Entries& entries() const { return m_entries; }
    /// Tells the entry from all others, also after it was read again.
    std::string key(std::size_t row) const { return keyOf(entry(row)); }
    /// count() when it has no row.
    std::size_t rowOf(const std::string& key) const;

    /// From now on these entries are the rows, but for those that are hidden.
    Edit show(Entries entries, Numbers numbers);

    /// Hides the entry of a row: it is about to be taken out of the history.
    Edit hide(std::size_t row);
    /// It was taken out. The entry stays hidden until entries are shown that were read after that.
    void setGone(const std::string& key) { m_hidden[key] = Hidden::isGone; }
    /// The hidden entries that what is read from now on will not hold, for forget().
    std::set<std::string> gone() const;
    void forget(const std::set<std::string>& keys);
    std::size_t hiddenCount() const { return m_hidden.size(); }

private:
    enum class Hidden { isGoing, isGone };

    Entries m_entries;
    Numbers m_rows;
    std::map<std::string, Hidden> m_hidden;
};

} // namespace fenlo
