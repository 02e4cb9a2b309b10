#include "audio/ChunkWriter.h"

#include "audio/Level.h"
#include "audio/WavFile.h"
#include "base/Files.h"
#include "base/Log.h"
#include "media/AudioFileError.h"
#include "media/SpeechRate.h"

#include <cmath>
#include <new>

namespace fenlo {

namespace {

constexpr float targetPeak = 0.707F;
constexpr float leastPeak = 0.001F;
constexpr float leastGain = 1.05F;

bool writeTo(const std::filesystem::path& file, std::span<const float> chunk) {
    try {
        writeWav(file, chunk, speechRate, WavEncoding::float32);
        return true;
    } catch (const AudioFileError& error) {
        logError("{}", error.what());
        return false;
    }
}

} // namespace

std::vector<float> resampleForChunk(std::span<const float> samples, double sampleRate) {
    if (std::abs(sampleRate - speechRate) <= 1.0)
        return {samples.begin(), samples.end()};
    return resampleLinearly(samples, sampleRate, speechRate);
}

std::vector<float> resampleLinearly(std::span<const float> samples, double fromRate, double toRate) {
    const double ratio = toRate / fromRate;
    std::vector<float> resampled(static_cast<std::size_t>(ratio * static_cast<double>(samples.size())));
    for (std::size_t i = 0; i < resampled.size(); ++i) {
        const double position = static_cast<double>(i) / ratio;
        const auto index = static_cast<std::size_t>(position);
        const auto fraction = static_cast<float>(position - static_cast<double>(index));
        if (index + 1 < samples.size())
            resampled[i] = (1 - fraction) * samples[index] + fraction * samples[index + 1];
        else if (index < samples.size())
            resampled[i] = samples[index];
    }
    return resampled;
}

void normalise(std::span<float> samples) {
    const float loudest = peak(samples);
    if (loudest <= leastPeak)
        return;
    const float gain = targetPeak / loudest;
    if (gain <= leastGain)
        return;
    for (float& sample : samples)
        sample *= gain;
}

std::filesystem::path keptTakesFolder() {
    return files::dataDirectory() / "takes";
}

std::optional<std::filesystem::path> writeChunk(std::span<const float> samples, double sampleRate) {
    try {
        std::vector<float> chunk = resampleForChunk(samples, sampleRate);
        normalise(chunk);
        const std::filesystem::path file = files::temporaryFile("", ".wav");
        if (writeTo(file, chunk))
            return file;
        const std::filesystem::path folder = keptTakesFolder();
        files::makePrivateDirectory(folder);
        if (writeTo(folder / file.filename(), chunk))
            return folder / file.filename();
    } catch (const std::bad_alloc&) {
    }
    return {};
}

} // namespace fenlo
