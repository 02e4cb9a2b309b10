#include "audio/voice/VoiceProfile.h"

#include "audio/voice/PitchTrack.h"
#include "base/Log.h"
#include "media/AudioFile.h"

#include <algorithm>

namespace fenlo {

namespace {
constexpr std::size_t leastSamples = 48000; // three seconds
constexpr std::size_t leastPitches = 5;
} // namespace

std::optional<std::vector<float>> loadVoiceAudio(const std::filesystem::path& file) {
    try {
        return readRecording(file, voice::sampleRate).samples;
    } catch (const std::exception&) { // also for want of memory
        return {};
    }
}

VoiceProfileData measureVoice(std::span<const float> samples) {
    using namespace voice;
    if (samples.size() < leastSamples)
        throw VoiceProfileError(VoiceProfileError::Kind::tooShort, "Voice profile: audio too short (<3s)");
    const std::vector<float> levels = frameLevels(samples);
    std::vector<double> pitches = voiced(framePitches(samples, levels));
    if (pitches.size() < leastPitches)
        throw VoiceProfileError(VoiceProfileError::Kind::notEnoughVoice,
                                "Voice profile: not enough voiced frames (" + std::to_string(pitches.size()) + ")");
    std::ranges::sort(pitches);
    std::vector<float> energies = audible(levels);
    std::ranges::sort(energies);
    const Gender gender = genderFrom(pitches);
    const Centroid centroid = spectralCentroid(samples);
    return {.gender = gender.gender,
            .genderConfidence = gender.confidence,
            .pitchMedian = percentile(pitches, 50),
            .pitchP10 = percentile(pitches, 10),
            .pitchP90 = percentile(pitches, 90),
            .energyMedian = percentile(energies, 50),
            .energyP25 = percentile(energies, 25),
            .energyP75 = percentile(energies, 75),
            .centroidMedian = centroid.median,
            .centroidStd = centroid.standardDeviation,
            .accent = "American English",
            .mfccMean = meanMFCC(samples)};
}

LearnedVoice learnVoice(std::span<const float> samples, const std::filesystem::path& profileFile) {
    LearnedVoice learned{measureVoice(samples)};
    learned.isStored = storeVoiceProfile(learned.profile, profileFile);
    return learned;
}

BuiltProfile buildVoiceProfile(std::span<const std::filesystem::path> recordings,
                               const std::filesystem::path& profileFile) {
    std::vector<float> joined;
    for (const auto& recording : recordings) {
        const auto samples = loadVoiceAudio(recording);
        if (!samples) {
            logError("Voice profile: failed to load audio");
            return BuiltProfile::unusable;
        }
        joined.insert(joined.end(), samples->begin(), samples->end());
    }
    try {
        const auto [profile, isStored] = learnVoice(joined, profileFile);
        logInfo("Voice profile created: {} (conf={:.2f}), pitch={}Hz", profile.gender, profile.genderConfidence,
                static_cast<int>(profile.pitchMedian));
        if (!isStored)
            logError("Voice profile: cannot write {}", profileFile.string());
        return isStored ? BuiltProfile::stored : BuiltProfile::notStored;
    } catch (const VoiceProfileError& error) {
        logInfo("{}", error.what());
        return BuiltProfile::unusable;
    }
}

} // namespace fenlo
