#include "shell/home/HistoryRows.h"

#include <algorithm>
#include <utility>

namespace fenlo {

std::size_t HistoryRows::rowOf(const std::string& key) const {
    std::size_t row = 0;
    while (row < count() && this->key(row) != key)
        ++row;
    return row;
}

HistoryRows::Edit HistoryRows::show(Entries entries, Numbers numbers) {
    if (!m_hidden.empty())
        std::erase_if(numbers, [&](std::uint32_t number) { return m_hidden.contains(keyOf((*entries)[number])); });
    const Entries before = std::exchange(m_entries, std::move(entries));
    const Numbers old = std::exchange(m_rows, std::move(numbers));

    const auto isSame = [&](std::uint32_t one, std::uint32_t other) {
        return isSameEntry((*before)[one], (*m_entries)[other]);
    };
    const auto [oldMiddle, middle] = std::mismatch(old.begin(), old.end(), m_rows.begin(), m_rows.end(), isSame);
    const auto first = static_cast<std::size_t>(middle - m_rows.begin());
    const auto ends = std::mismatch(old.rbegin(), std::make_reverse_iterator(oldMiddle), m_rows.rbegin(),
                                    std::make_reverse_iterator(middle), isSame);
    const auto removed = static_cast<std::size_t>(ends.first.base() - oldMiddle);
    const auto inserted = static_cast<std::size_t>(ends.second.base() - middle);
    if (removed > 0 && inserted > 0)
        return {Edit::Kind::reset, 0, count()};
    if (removed > 0)
        return {Edit::Kind::removed, first, removed};
    return {inserted > 0 ? Edit::Kind::inserted : Edit::Kind::none, first, inserted};
}

HistoryRows::Edit HistoryRows::hide(std::size_t row) {
    m_hidden[key(row)] = Hidden::isGoing;
    m_rows.erase(m_rows.begin() + static_cast<std::ptrdiff_t>(row));
    return {Edit::Kind::removed, row, 1};
}

std::set<std::string> HistoryRows::gone() const {
    std::set<std::string> keys;
    for (const auto& [key, state] : m_hidden)
        if (state == Hidden::isGone)
            keys.insert(key);
    return keys;
}

void HistoryRows::forget(const std::set<std::string>& keys) {
    for (const std::string& key : keys)
        m_hidden.erase(key);
}

} // namespace fenlo
