#include "audio/ChunkWriter.h"

#include "audio/Level.h"
#include "audio/LinearResampler.h"
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

bool hasSpeechRate(double sampleRate) {
    return std::abs(sampleRate - speechRate) <= 1.0;
}

std::vector<float> resampleForChunk(std::span<const float> samples, double sampleRate) {
    if (hasSpeechRate(sampleRate))
        return {samples.begin(), samples.end()};
    return resampleLinearly(samples, sampleRate, speechRate);
}

std::vector<float> resampleLinearly(std::span<const float> samples, double fromRate, double toRate) {
    std::vector<float> resampled;
    resampled.reserve(static_cast<std::size_t>(toRate / fromRate * static_cast<double>(samples.size())) + 1);
    LinearResampler resampler(fromRate, toRate);
    resampler.append(samples, resampled);
    resampler.finish(resampled);
    return resampled;
}

float chunkGain(float peak) {
    if (peak <= leastPeak)
        return 1;
    const float gain = targetPeak / peak;
    return gain > leastGain ? gain : 1;
}

void normalise(std::span<float> samples) {
    const float gain = chunkGain(peak(samples));
    if (gain == 1)
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
