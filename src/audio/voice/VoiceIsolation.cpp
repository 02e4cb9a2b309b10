#include "audio/voice/VoiceIsolation.h"

#include "audio/WavFile.h"
#include "audio/voice/VoiceMatch.h"
#include "base/Files.h"
#include "base/Log.h"
#include "media/AudioFileError.h"
#include "settings/Config.h"

#include <algorithm>
#include <new>

namespace fenlo {

namespace fs = std::filesystem;

namespace {

std::optional<fs::path> writeFiltered(std::span<const float> samples) {
    fs::path file = files::temporaryFile("", ".wav");
    try {
        writeWav(file, samples, static_cast<int>(voice::sampleRate), WavEncoding::float32);
        return file;
    } catch (const AudioFileError& error) {
        logError("Voice isolation: failed to write filtered audio: {}", error.what());
        return {};
    }
}

/// A new file with the user's voice alone; nothing when the recording stays as it is.
std::optional<fs::path> filtered(const fs::path& recording, const VoiceProfileData& profile) {
    const auto samples = loadVoiceAudio(recording);
    if (!samples || samples->size() < matchWindow)
        return {};
    const std::vector<double> scores = windowScores(*samples, profile);
    const auto kept = std::ranges::count_if(scores, isKept);
    logInfo("Voice isolation: kept {}/{} frames", kept, scores.size());
    const std::vector<float> output = isolated(*samples, scores);
    return output.empty() ? std::nullopt : writeFiltered(output);
}

} // namespace

VoiceIsolation::VoiceIsolation(Config& config, fs::path profileFile)
    : m_config(config), m_profileFile(std::move(profileFile)) {}

fs::path VoiceIsolation::isolateVoice(const fs::path& chunk) const {
    if (!m_config.get().voiceIsolation)
        return chunk;
    const auto profile = loadVoiceProfile(m_profileFile);
    if (!profile)
        return chunk;
    try {
        return filtered(chunk, *profile).value_or(chunk);
    } catch (const std::bad_alloc&) {
        return chunk;
    }
}

} // namespace fenlo
