#include "hub/tokenizers/Vocabulary.h"

namespace fenlo::hub {

bool Vocabulary::add(const std::string& newPiece, int id) {
    if (piece(id))
        return false;
    const auto [entry, isNew] = m_ids.try_emplace(newPiece, id);
    if (!isNew)
        return false;
    if (id >= size())
        m_pieces.resize(static_cast<std::size_t>(id) + 1);
    m_pieces[static_cast<std::size_t>(id)] = &entry->first;
    return true;
}

std::optional<int> Vocabulary::find(std::string_view wanted) const {
    const auto entry = m_ids.find(wanted);
    return entry == m_ids.end() ? std::nullopt : std::optional(entry->second);
}

const std::string* Vocabulary::piece(int id) const {
    return id >= 0 && id < size() ? m_pieces[static_cast<std::size_t>(id)] : nullptr;
}

} // namespace fenlo::hub
