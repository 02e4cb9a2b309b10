#pragma once

#include <cstddef>
#include <string>

namespace fenlo {

/// The colour of a speaker's badge.
struct SpeakerColor {
    double hue = 0; // 0 to 1
    std::string name;
};

/// Somebody who was heard in a meeting.
struct Speaker {
    int id = 0;          // from 0, in the order in which they were first heard
    std::string label;   // "Speaker 1" for id 0
    std::string initial; // "A" to "H", then the number
    SpeakerColor color;
};

/// The speaker with this id, as every meeting names and colours it.
Speaker speakerAt(int id);
/// The colours repeat after six speakers.
const SpeakerColor& speakerColor(std::size_t index);

} // namespace fenlo
