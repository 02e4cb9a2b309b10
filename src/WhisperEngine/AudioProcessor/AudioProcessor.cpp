#include "WhisperEngine/AudioProcessor/AudioProcessor.h"

#include "WhisperEngine/AudioTime.h"
#include "WhisperEngine/Logging.h"
#include "WhisperEngine/WhisperError.h"
#include "media/AudioFile.h"
#include "media/MonoMix.h"
#include "media/Resampler.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <string>
#include <utility>

namespace fenlo::whisper {

namespace fs = std::filesystem;

namespace {

WhisperError loadFailed(const std::string& message) {
    return {WhisperError::Kind::loadAudioFailed, message};
}

void throwIfStopped(const std::stop_token& stop) {
    if (stop.stop_requested())
        throw WhisperError(WhisperError::Kind::cancelled, "cancelled");
}

std::vector<int> chosenChannels(const AudioInputConfig& config, int channels, const Logging& logging) {
    if (config.channelMode == AudioInputConfig::ChannelMode::sumChannels)
        return allChannels(channels);
    std::vector<int> chosen;
    for (const int channel : config.channels)
        if (channel >= 0 && channel < channels && std::ranges::find(chosen, channel) == chosen.end())
            chosen.push_back(channel);
    if (chosen.empty()) {
        logging.info("No valid channel indices provided, defaulting to first channel");
        chosen.push_back(0);
    }
    return chosen;
}

Resampler makeResampler(int rate) {
    try {
        return Resampler(rate, sampleRate);
    } catch (const ResamplerError&) {
        throw loadFailed("Failed to create audio converter");
    }
}

LoadedAudio readSamples(const fs::path& path, const AudioInputConfig& config, const Logging& logging,
                        const std::stop_token& stop) {
    AudioFileReader reader(path, AudioFormats::withFfmpeg, stop);
    logging.debug("Audio source details - Sample Rate: {} Hz, Channel Count: {}", reader.sampleRate(),
                  reader.channels());
    const double ratio = static_cast<double>(sampleRate) / reader.sampleRate();
    const double capacity = static_cast<double>(reader.blockFrames()) * ratio;
    if (capacity != std::ceil(capacity))
        logging.debug("Rounding buffer frame capacity from {:.2f} to better fit new sample rate", capacity);

    const std::vector<int> chosen = chosenChannels(config, reader.channels(), logging);
    Resampler resampler = makeResampler(reader.sampleRate());
    std::vector<float> samples = readMono(reader, chosen, resampler, sampleRate, stop);
    throwIfStopped(stop);
    if (samples.empty())
        throw AudioFileError(path, "there are no samples in it; record it again");
    for (const AudioDamage& damage : reader.damages())
        logging.info("The recording is {}", describe(damage));
    return {std::move(samples), reader.damages()};
}

} // namespace

LoadedAudio AudioProcessor::loadAudio(const fs::path& path, const AudioInputConfig& config, const Logging& logging,
                                      std::stop_token stop) const {
    throwIfStopped(stop);
    std::error_code unknown;
    if (fs::status(path, unknown).type() == fs::file_type::not_found)
        throw loadFailed("Resource path does not exist " + path.string());
    try {
        return readSamples(path, config, logging, stop);
    } catch (const AudioFileError& error) {
        throwIfStopped(stop);
        throw loadFailed(std::string("Failed to read audio file: ") + error.what());
    } catch (const ResamplerError& error) {
        throw loadFailed(std::string("Failed to resample buffer: ") + error.what());
    } catch (const std::bad_alloc&) {
        throw loadFailed("Failed to create output buffer");
    }
}

std::vector<float> AudioProcessor::loadAudioAsFloatArray(const fs::path& path, const AudioInputConfig& config,
                                                         const Logging& logging, std::stop_token stop) const {
    return loadAudio(path, config, logging, std::move(stop)).samples;
}

std::vector<float> AudioProcessor::padOrTrim(std::span<const float> audioArray, int startAt, int toLength) const {
    if (startAt < 0 || static_cast<std::size_t>(startAt) >= audioArray.size())
        throw WhisperError(WhisperError::Kind::audioProcessingFailed, "startIndex is outside the buffer size");
    std::vector<float> window(static_cast<std::size_t>(std::max(0, toLength)));
    const auto rest = audioArray.subspan(static_cast<std::size_t>(startAt));
    std::ranges::copy(rest.first(std::min(rest.size(), window.size())), window.begin());
    return window;
}

} // namespace fenlo::whisper
