#include "hub/tokenizers/models/Vocabulary.h"

#include <functional>
#include <utility>

namespace fenlo::hub {

namespace {

std::uint32_t hashOf(std::string_view piece) {
    return static_cast<std::uint32_t>(std::hash<std::string_view>()(piece));
}

} // namespace

bool Vocabulary::add(std::string_view newPiece, int id) {
    const std::uint32_t hash = hashOf(newPiece);
    std::size_t slot = slotOf(newPiece, hash);
    if (piece(id) || m_slots[slot].id >= 0)
        return false;
    if (2 * (m_count + 1) > m_slots.size()) {
        grow();
        slot = slotOf(newPiece, hash);
    }
    if (id >= size())
        m_pieces.resize(static_cast<std::size_t>(id) + 1);
    m_pieces[static_cast<std::size_t>(id)] = {static_cast<std::uint32_t>(m_text.size()),
                                              static_cast<std::uint32_t>(newPiece.size()), true};
    m_text += newPiece;
    m_slots[slot] = {hash, id};
    ++m_count;
    return true;
}

bool Vocabulary::addLater(std::string_view newPiece, int id) {
    Slot& slot = m_slots[slotOf(newPiece, hashOf(newPiece))];
    if (slot.id < 0)
        return add(newPiece, id);
    if (piece(id))
        return false;
    if (id >= size())
        m_pieces.resize(static_cast<std::size_t>(id) + 1);
    m_pieces[static_cast<std::size_t>(id)] = m_pieces[static_cast<std::size_t>(slot.id)];
    slot.id = id;
    return true;
}

std::optional<int> Vocabulary::find(std::string_view wanted) const {
    const int id = m_slots[slotOf(wanted, hashOf(wanted))].id;
    return id >= 0 ? std::optional(id) : std::nullopt;
}

std::optional<std::string_view> Vocabulary::piece(int id) const {
    if (id < 0 || id >= size() || !m_pieces[static_cast<std::size_t>(id)].isThere)
        return std::nullopt;
    return textOf(m_pieces[static_cast<std::size_t>(id)]);
}

std::size_t Vocabulary::slotOf(std::string_view wanted, std::uint32_t hash) const {
    const std::size_t mask = m_slots.size() - 1;
    std::size_t at = hash & mask;
    for (; m_slots[at].id >= 0; at = (at + 1) & mask)
        if (m_slots[at].hash == hash && textOf(m_pieces[static_cast<std::size_t>(m_slots[at].id)]) == wanted)
            break;
    return at;
}

void Vocabulary::grow() {
    const std::vector<Slot> old = std::exchange(m_slots, std::vector<Slot>(4 * m_slots.size()));
    const std::size_t mask = m_slots.size() - 1;
    for (const Slot& slot : old) {
        if (slot.id < 0)
            continue;
        std::size_t at = slot.hash & mask;
        while (m_slots[at].id >= 0)
            at = (at + 1) & mask;
        m_slots[at] = slot;
    }
}

} // namespace fenlo::hub
