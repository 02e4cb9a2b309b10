#pragma once

#include "audio/voice/VoiceFeatures.h"

#include <filesystem>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo {

/// Statistics of the user's voice, taken once from a read passage and kept as JSON.
struct VoiceProfileData {
    std::string gender; // "male" or "female"
    double genderConfidence = 0;
    double pitchMedian = 0; // hertz; so the next two
    double pitchP10 = 0;
    double pitchP90 = 0;
    float energyMedian = 0; // RMS of a frame; so the next two
    float energyP25 = 0;
    float energyP75 = 0;
    double centroidMedian = 0; // hertz; so the next
    double centroidStd = 0;
    std::string accent; // nothing detects accents yet: always "American English"
    std::optional<voice::Mfcc> mfccMean;
};

/// `~/.fenlo/voice_profile.json`.
std::filesystem::path voiceProfileFile();

/// JSON in one line.
std::string encodeVoiceProfile(const VoiceProfileData& profile);
/// Nothing when a key is missing or of the wrong type; only the MFCC vector may be absent.
std::optional<VoiceProfileData> decodeVoiceProfile(std::string_view json);

/// The stored profile; nothing when there is none or it is damaged.
std::optional<VoiceProfileData> loadVoiceProfile(const std::filesystem::path& file);
/// Replaces the stored profile. False when it cannot be written.
bool storeVoiceProfile(const VoiceProfileData& profile, const std::filesystem::path& file);

/// The samples of an audio file at 16000 Hz, all channels mixed; nothing when it cannot be read.
std::optional<std::vector<float>> loadVoiceAudio(const std::filesystem::path& file);

/// A recording that gives no profile. what() is a line for the log, without its prefix.
struct VoiceProfileError : std::runtime_error {
    enum class Kind { tooShort, notEnoughVoice };

    VoiceProfileError(Kind theKind, const std::string& line) : std::runtime_error(line), kind(theKind) {}

    Kind kind;
};

/// The profile of the voice in at least three seconds of speech at 16000 Hz.
/// Errors: VoiceProfileError.
VoiceProfileData measureVoice(std::span<const float> samples);

struct LearnedVoice {
    VoiceProfileData profile = {};
    bool isStored = false; // it could be written
};

/// Measures the voice and replaces the stored profile.
/// Errors: VoiceProfileError, and the stored profile stays.
LearnedVoice learnVoice(std::span<const float> samples, const std::filesystem::path& profileFile);

enum class BuiltProfile {
    stored,
    notStored, // the disk is full or the folder cannot be written; the recordings are good
    unusable,  // too short, too little voice, or not to be read
};

/// Builds the profile from recordings of at least three seconds together and stores it. Tells the log what came of it.
///
/// Threads: workers.
BuiltProfile buildVoiceProfile(std::span<const std::filesystem::path> recordings,
                               const std::filesystem::path& profileFile);

} // namespace fenlo
