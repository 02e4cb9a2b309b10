#include "meeting/Speaker.h"

#include <array>

namespace fenlo {

const SpeakerColor& speakerColor(std::size_t index) {
    static const std::array<SpeakerColor, 6> colors = {
        {{0.58, "blue"}, {0.85, "purple"}, {0.08, "orange"}, {0.35, "green"}, {0.0, "red"}, {0.48, "teal"}}};
    return colors[index % colors.size()];
}

Speaker speakerAt(int id) {
    constexpr int letters = 8;
    const std::string number = std::to_string(id + 1);
    return {id, "Speaker " + number, id < letters ? std::string(1, static_cast<char>('A' + id)) : number,
            speakerColor(static_cast<std::size_t>(id))};
}

} // namespace fenlo
