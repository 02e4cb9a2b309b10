#pragma once

#include "audio/voice/VoiceProfile.h"
#include "support/Signals.h"

#include <string>
#include <vector>

namespace fenlo::test {

/// Six partials that get weaker, like those of a voice.
inline std::vector<float> hum(double pitch, std::size_t count, float level = 0.5F) {
    std::vector<float> samples(count);
    for (int partial = 1; partial <= 6; ++partial)
        for (std::size_t i = 0; i < count; ++i)
            samples[i] += level / static_cast<float>(partial) *
                          static_cast<float>(std::sin(2 * std::numbers::pi * partial * pitch * static_cast<double>(i) /
                                                      voice::sampleRate));
    return samples;
}

inline std::vector<float> silence(std::size_t count) {
    return constant(0, count);
}

inline std::vector<float> clip(const std::string& name) {
    return loadVoiceAudio(std::string(VOICE_CLIPS "/") + name + ".flac").value();
}

} // namespace fenlo::test
