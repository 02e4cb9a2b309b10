#include "media/AudioFile.h"

#include "media/MonoMix.h"

namespace fenlo {

namespace {

AudioSamples readWhole(AudioFileReader reader, ChannelMix mix) {
    const std::vector<int> chosen = mix == ChannelMix::first ? std::vector{0} : allChannels(reader.channels());
    AudioSamples audio{.mono = {}, .sampleRate = static_cast<double>(reader.sampleRate())};
    audio.mono.reserve(reader.expectedFrames());
    for (auto block = reader.nextBlock(); !block.empty(); block = reader.nextBlock())
        appendMono(audio.mono, block, reader.channels(), chosen, 1.0F / static_cast<float>(chosen.size()));
    return audio;
}

} // namespace

AudioSamples readSoundFile(const std::filesystem::path& file, ChannelMix mix) {
    return readWhole(AudioFileReader(file, AudioFormats::sndfile), mix);
}

AudioSamples readAudioFile(const std::filesystem::path& file) {
    return readWhole(AudioFileReader(file, AudioFormats::withFfmpeg), ChannelMix::first);
}

} // namespace fenlo
