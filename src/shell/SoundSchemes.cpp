#include "shell/Sounds.h"

#include <cstddef>

namespace fenlo {

const std::vector<SoundScheme>& SoundScheme::all() {
    constexpr auto sine = WaveType::sine;
    constexpr auto soft = WaveType::soft;
    constexpr auto round = WaveType::round;
    // clang-format off
    static const std::vector<SoundScheme> schemes{
        {"gentle", "Gentle", "Soft warm tones, barely there",
            {{880, 0.07, soft}},
            {{660, 0.09, soft}}, 0.12f, 0.10f},
        {"bubble", "Bubble", "Soft rounded pops",
            {{1200, 0.04, round}, {1500, 0.05, round}},
            {{1400, 0.04, round}, {1000, 0.06, round}}, 0.10f, 0.08f},
        {"whisper", "Whisper", "Ultra-subtle high frequency pings",
            {{2400, 0.03, sine}},
            {{1800, 0.04, sine}}, 0.06f, 0.05f},
        {"bamboo", "Bamboo", "Warm hollow tap like a woodblock",
            {{700, 0.05, round}, {1050, 0.04, round}},
            {{900, 0.06, round}}, 0.14f, 0.10f},
        {"chime", "Chime", "Crystal clear bell notes",
            {{1047, 0.10, sine}, {1319, 0.12, sine}},
            {{1319, 0.08, sine}, {1047, 0.14, sine}}, 0.10f, 0.08f},
        {"typewriter", "Typewriter", "Quick mechanical clicks",
            {{3000, 0.015, sine}, {1500, 0.015, sine}},
            {{2200, 0.015, sine}, {800, 0.025, round}}, 0.12f, 0.09f},
        {"droplet", "Droplet", "Water drop plips",
            {{1600, 0.03, sine}, {1000, 0.05, soft}},
            {{1200, 0.04, soft}, {800, 0.06, soft}}, 0.13f, 0.10f},
        {"harp", "Harp", "Delicate plucked string notes",
            {{523, 0.15, soft}},
            {{659, 0.12, soft}, {523, 0.18, soft}}, 0.11f, 0.09f},
        {"minimal", "Minimal", "Single pure tone, as quiet as possible",
            {{1000, 0.05, sine}},
            {{800, 0.06, sine}}, 0.07f, 0.05f},
        {"morse", "Morse", "Short dit-dah telegraph beeps",
            {{750, 0.04, sine}, {750, 0.08, sine}},
            {{750, 0.08, sine}, {750, 0.04, sine}}, 0.10f, 0.08f},
        {"marimba", "Marimba", "Warm mellow wooden tones",
            {{440, 0.08, round}, {554, 0.10, round}},
            {{554, 0.07, round}, {440, 0.12, round}}, 0.14f, 0.11f},
        {"none", "None", "Silence — no sound at all", {}, {}, 0, 0},
    };
    // clang-format on
    return schemes;
}

const SoundScheme* SoundScheme::find(SoundSchemeId which) {
    return which == SoundSchemeId::unknown ? nullptr : &all().at(static_cast<std::size_t>(which));
}

} // namespace fenlo
