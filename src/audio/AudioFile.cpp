#include "audio/AudioFile.h"

#include "audio/FfmpegProgram.h"
#include "base/Files.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sndfile.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace fenlo {

namespace fs = std::filesystem;

namespace {

constexpr double mostFrames = 1 << 28; // at 16 kHz and above; in proportion below, since the rate is raised later
constexpr int lowestRate = 1000;       // hertz
constexpr int highestRate = 768000;
constexpr std::size_t blockSamples = 65536;

/// libsndfile does not know the format, although the file may well be sound.
struct UnknownFormat : AudioFileError {
    using AudioFileError::AudioFileError;
};

[[noreturn]] void fail(const fs::path& file, const std::string& faultAndRemedy) {
    throw AudioFileError(file.string() + ": " + faultAndRemedy);
}

/// An open file, which is closed in any case.
class Descriptor {
public:
    explicit Descriptor(const fs::path& file) : m_number(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
    ~Descriptor() {
        if (m_number >= 0)
            ::close(m_number);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int number() const { return m_number; }

private:
    const int m_number; // without blocking: a pipe must not hold us up
};

struct Closer {
    void operator()(SNDFILE* file) const { ::sf_close(file); }
};
using SoundFile = std::unique_ptr<SNDFILE, Closer>;

SoundFile open(const fs::path& file, const Descriptor& descriptor, SF_INFO& info) {
    if (descriptor.number() < 0)
        fail(file, std::string(std::strerror(errno)) + "; check the name and the permissions");
    struct stat status {};
    if (::fstat(descriptor.number(), &status) != 0 || !S_ISREG(status.st_mode))
        fail(file, "this is no regular file; give the name of an audio file");
    if (SoundFile sound{::sf_open_fd(descriptor.number(), SFM_READ, &info, SF_FALSE)})
        return sound;
    if (status.st_size == 0)
        fail(file, "the file is empty; record it again");
    throw UnknownFormat(file.string() + ": the format is unknown or the file is damaged; convert it to WAV");
}

float toMono(const float* frame, int channels, ChannelMix mix) {
    float value = frame[0];
    if (mix == ChannelMix::average) {
        for (int channel = 1; channel < channels; ++channel)
            value += frame[channel];
        value /= static_cast<float>(channels);
    }
    return std::isfinite(value) ? value : 0;
}

} // namespace

AudioSamples readSoundFile(const fs::path& file, ChannelMix mix) {
    SF_INFO info{};
    const Descriptor descriptor(file);
    const SoundFile sound = open(file, descriptor, info);
    if (info.samplerate < lowestRate || info.samplerate > highestRate)
        fail(file,
             "a sample rate of " + std::to_string(info.samplerate) + " Hz is not one of sound; convert it to 16000 Hz");
    const double limit = mostFrames * std::min(1.0, info.samplerate / 16000.0);

    AudioSamples audio;
    audio.sampleRate = info.samplerate;
    const auto channels = static_cast<std::size_t>(info.channels);
    std::vector<float> block(std::max<std::size_t>(1, blockSamples / channels) * channels);
    const auto wanted = static_cast<sf_count_t>(block.size() / channels);
    while (const sf_count_t frames =
               std::clamp<sf_count_t>(::sf_readf_float(sound.get(), block.data(), wanted), 0, wanted)) {
        if (static_cast<double>(audio.mono.size() + static_cast<std::size_t>(frames)) > limit)
            fail(file, "the recording is too long; cut it into pieces of an hour");
        for (sf_count_t frame = 0; frame < frames; ++frame)
            audio.mono.push_back(toMono(&block[static_cast<std::size_t>(frame) * channels], info.channels, mix));
    }
    return audio;
}

AudioSamples readAudioFile(const fs::path& file) {
    try {
        return readSoundFile(file, ChannelMix::first);
    } catch (const UnknownFormat&) {
        const fs::path converted = files::temporaryFile("fenlo_conv_", ".wav");
        const std::unique_ptr<const fs::path, void (*)(const fs::path*)> removal(
            &converted, [](const fs::path* path) { files::removeQuietly(*path); });
        switch (convertWithFfmpeg(file, converted)) {
        case FfmpegResult::converted:
            return readSoundFile(converted, ChannelMix::first);
        case FfmpegResult::notInstalled:
            fail(file, "the format is not known here; install ffmpeg, or convert the file to WAV");
        case FfmpegResult::failed:
            break;
        }
        fail(file, "ffmpeg cannot read it either; check that it is a complete audio file");
    }
}

} // namespace fenlo
