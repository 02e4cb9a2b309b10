#include "media/AudioFile.h"

#include "media/Level.h"
#include "media/MonoMix.h"
#include "media/Resampler.h"

#include <algorithm>
#include <new>

namespace fenlo {

namespace {

constexpr std::size_t mostFrames = 1 << 28;

/// With its room reserved, the growing result is never copied and so never in memory twice. Reserved memory that is not
/// written costs nothing.
void reserveFor(std::vector<float>& samples, double count) {
    try {
        samples.reserve(static_cast<std::size_t>(count) + 1);
    } catch (const std::bad_alloc&) { // the estimate may be far too high
    }
}

/// At most to the mean, so that one broken sample does not turn the whole recording down.
void holdToFullScale(std::vector<float>& samples, std::size_t summedChannels) {
    const float loudest = std::min(peak(samples), static_cast<float>(summedChannels));
    if (loudest > 1)
        std::ranges::for_each(samples, [loudest](float& sample) { sample /= loudest; });
}

} // namespace

AudioSamples readSoundFile(const std::filesystem::path& file, ChannelMix mix) {
    AudioFileReader reader(file, AudioFormats::sndfile);
    const std::vector<int> chosen = mix == ChannelMix::first ? std::vector{0} : allChannels(reader.channels());
    AudioSamples audio{.mono = {}, .sampleRate = static_cast<double>(reader.sampleRate())};
    audio.mono.reserve(std::min(reader.expectedFrames(), mostFrames));
    for (auto block = reader.nextBlock(); !block.empty(); block = reader.nextBlock()) {
        appendMono(audio.mono, block, reader.channels(), chosen, 1.0F / static_cast<float>(chosen.size()));
        if (audio.mono.size() > mostFrames)
            throw AudioFileError(file, "the recording is too long; cut it into shorter pieces");
    }
    return audio;
}

std::vector<float> readMono(AudioFileReader& reader, std::span<const int> chosen, Resampler& resampler, int sampleRate,
                            const std::stop_token& stop) {
    std::vector<float> samples;
    reserveFor(samples, static_cast<double>(reader.expectedFrames()) * sampleRate / reader.sampleRate());
    std::vector<float> mono;
    for (auto block = reader.nextBlock(); !block.empty() && !stop.stop_requested(); block = reader.nextBlock()) {
        mono.clear();
        appendMono(mono, block, reader.channels(), chosen);
        resampler.process(mono, samples);
    }
    resampler.finish(samples);
    if (chosen.size() > 1)
        holdToFullScale(samples, chosen.size());
    return samples;
}

Recording readRecording(const std::filesystem::path& file, int sampleRate) {
    AudioFileReader reader(file, AudioFormats::withFfmpeg);
    Resampler resampler(reader.sampleRate(), sampleRate);
    Recording recording{readMono(reader, allChannels(reader.channels()), resampler, sampleRate, {}), reader.damages()};
    if (recording.samples.empty())
        throw AudioFileError(file, "there are no samples in it; record it again");
    return recording;
}

} // namespace fenlo
