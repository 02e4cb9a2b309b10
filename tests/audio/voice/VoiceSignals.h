#pragma once

#include "audio/voice/VoiceProfile.h"
#include "support/Signals.h"

#include <string>
#include <vector>

namespace fenlo::test {

inline std::vector<float> clip(const std::string& name) {
    return loadVoiceAudio(std::string(VOICE_CLIPS "/") + name + ".flac").value();
}

} // namespace fenlo::test
