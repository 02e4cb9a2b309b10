#include "meeting/HeldSound.h"

#include "media/SpeechRate.h"

#include <utility>

namespace fenlo {

bool HeldSound::add(const KeptChunk& chunk, std::vector<float> samples) {
    return m_pieces.with([&](Pieces& pieces) {
        pieces.isFull = static_cast<double>(pieces.samples + samples.size()) > most * speechRate;
        if (pieces.isFull)
            return false;
        pieces.samples += samples.size();
        pieces.all.push_back({chunk, std::make_shared<const std::vector<float>>(std::move(samples))});
        return true;
    });
}

std::optional<HeldSound::Piece> HeldSound::first() const {
    return m_pieces.with(
        [](const Pieces& pieces) { return pieces.all.empty() ? std::nullopt : std::optional(pieces.all.front()); });
}

void HeldSound::removeFirst() {
    m_pieces.with([](Pieces& pieces) {
        pieces.samples -= pieces.all.front().samples->size();
        pieces.all.pop_front();
        pieces.isFull = false;
    });
}

std::size_t HeldSound::count() const {
    return m_pieces.with([](const Pieces& pieces) { return pieces.all.size(); });
}

double HeldSound::seconds() const {
    return m_pieces.with([](const Pieces& pieces) { return static_cast<double>(pieces.samples) / speechRate; });
}

bool HeldSound::isFull() const {
    return m_pieces.with([](const Pieces& pieces) { return pieces.isFull; });
}

} // namespace fenlo
