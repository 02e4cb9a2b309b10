#include "shell/onboarding/VoiceReading.h"

#include <array>

namespace fenlo {

namespace {

/// Plain prose, each line two seconds of calm reading, with all the common sounds of the language.
constexpr std::array<std::string_view, 20> lines{
    "The morning light filters through the kitchen window,", "and the kettle begins to hum on the stove.",
    "A neighbour walks her dog along the narrow street.",    "She stops at the corner to talk with the baker,",
    "who is carrying trays of warm bread to his shop.",      "Somewhere above a radio plays an old song,",
    "and a child laughs at a joke nobody else heard.",       "The bus arrives a few minutes late, as usual.",
    "People step on with their bags and umbrellas,",         "choosing their seats without looking up.",
    "Outside, the river moves slowly under the bridge.",     "Two men in a small boat are fixing their nets.",
    "They have done this work every week for thirty years.", "By noon the square is full of voices and colour.",
    "Someone sells oranges, someone else sells flowers,",    "and a young woman paints the tower of the church.",
    "In the afternoon the wind turns and brings rain.",      "The chairs are carried in, the shutters are closed,",
    "and the whole town listens to the water on the roofs.", "Then it is quiet again, and the evening can begin.",
};

} // namespace

std::span<const std::string_view> VoiceReading::passage() {
    return lines;
}

} // namespace fenlo
