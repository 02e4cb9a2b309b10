#include "meeting/ChunkSound.h"

#include "audio/ChunkWriter.h"
#include "media/Level.h"
#include "media/SpeechRate.h"
#include "platform/SystemAudioInput.h"

#include <algorithm>

namespace fenlo {

namespace {

constexpr float shareOfSide = 0.6F;

void addSide(std::span<const float> side, std::vector<float>& mix) {
    for (std::size_t i = 0; i < side.size(); ++i)
        mix[i] += shareOfSide * side[i];
}

} // namespace

std::vector<float> mixedSides(std::span<const float> microphone, std::span<const float> system) {
    std::vector<float> mix(std::max(microphone.size(), system.size()));
    addSide(microphone, mix);
    addSide(system, mix);
    for (float& sample : mix)
        sample = std::clamp(sample, -1.0F, 1.0F);
    return mix;
}

bool isSilent(std::span<const float> samples) {
    constexpr float halfStep = 1.0F / 65536;
    return peak(samples) < halfStep;
}

std::vector<float> soundOf(const MeetingCut& cut) {
    std::vector<float> microphone;
    if (!cut.microphone.samples.empty())
        microphone = resampleForChunk(cut.microphone.samples, cut.microphone.sampleRate);
    if (cut.system.empty())
        return microphone;
    return mixedSides(microphone, resampleLinearly(cut.system, systemAudioRate, speechRate));
}

} // namespace fenlo
