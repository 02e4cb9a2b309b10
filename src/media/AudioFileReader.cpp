#include "media/AudioFileReader.h"

#include "base/Files.h"
#include "media/FfmpegProgram.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <sndfile.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace fenlo {

namespace fs = std::filesystem;

namespace {

constexpr double mostFrames = 1 << 28; // at 16 kHz and above; in proportion below, since the rate is raised later
constexpr int lowestRate = 1000;       // hertz
constexpr int highestRate = 768000;
constexpr std::size_t blockSamples = 65536;
constexpr float loudestSample = 1e6F;         // what is beyond it is damage, and would overflow in sums
constexpr std::size_t mostFramesOfAByte = 64; // speech at the lowest rates of lossy formats

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

} // namespace

struct AudioFileReader::Sound {
    explicit Sound(const fs::path& file) : descriptor(file) {
        if (descriptor.number() < 0)
            fail(file, std::string(std::strerror(errno)) + "; check the name and the permissions");
        struct stat status {};
        if (::fstat(descriptor.number(), &status) != 0 || !S_ISREG(status.st_mode))
            fail(file, "this is no regular file; give the name of an audio file");
        handle.reset(::sf_open_fd(descriptor.number(), SFM_READ, &info, SF_FALSE));
        if (!handle && status.st_size == 0)
            fail(file, "the file is empty; record it again");
        if (!handle)
            throw UnknownFormat(file.string() + ": the format is unknown or the file is damaged; convert it to WAV");
        fileSize = static_cast<std::size_t>(status.st_size);
    }

    static std::unique_ptr<Sound> convert(const fs::path& file, std::stop_token stop) {
        const fs::path converted = files::temporaryFile("fenlo_conv_", ".wav");
        // An open file is read to its end without a name.
        const std::unique_ptr<const fs::path, void (*)(const fs::path*)> removal(
            &converted, [](const fs::path* path) { files::removeQuietly(*path); });
        switch (convertWithFfmpeg(file, converted, std::move(stop))) {
        case FfmpegResult::converted:
            try {
                return std::make_unique<Sound>(converted);
            } catch (const AudioFileError&) {
                break;
            }
        case FfmpegResult::notInstalled:
            fail(file, "the format is not known here; install ffmpeg, or convert the file to WAV");
        case FfmpegResult::tooLong:
            fail(file, "the recording is too long; cut it into shorter pieces");
        case FfmpegResult::stopped:
            fail(file, "reading was stopped; start it again");
        case FfmpegResult::failed:
            break;
        }
        fail(file, "ffmpeg cannot read it either; check that it is a complete audio file");
    }

    const Descriptor descriptor; // outlives the handle
    SF_INFO info{};
    std::unique_ptr<SNDFILE, Closer> handle;
    std::size_t fileSize = 0;
};

AudioFileReader::AudioFileReader(const fs::path& file, AudioFormats formats, std::stop_token stop) : m_file(file) {
    try {
        m_sound = std::make_unique<Sound>(file);
    } catch (const UnknownFormat&) {
        if (formats == AudioFormats::sndfile)
            throw;
        m_sound = Sound::convert(file, std::move(stop));
    }
    if (sampleRate() < lowestRate || sampleRate() > highestRate)
        fail(file,
             "a sample rate of " + std::to_string(sampleRate()) + " Hz is not one of sound; convert it to 16000 Hz");
    const auto frameSize = static_cast<std::size_t>(channels());
    m_block.resize(std::max<std::size_t>(1, blockSamples / frameSize) * frameSize);
}

AudioFileReader::~AudioFileReader() = default;

int AudioFileReader::sampleRate() const {
    return m_sound->info.samplerate;
}

int AudioFileReader::channels() const {
    return m_sound->info.channels;
}

std::size_t AudioFileReader::expectedFrames() const {
    const auto claimed = static_cast<std::size_t>(std::max<sf_count_t>(0, m_sound->info.frames));
    return std::min({claimed, m_sound->fileSize * mostFramesOfAByte, static_cast<std::size_t>(mostFrames)});
}

std::span<const float> AudioFileReader::nextBlock() {
    const auto wanted = static_cast<sf_count_t>(blockFrames());
    const sf_count_t read = ::sf_readf_float(m_sound->handle.get(), m_block.data(), wanted);
    const auto frames = static_cast<std::size_t>(std::clamp<sf_count_t>(read, 0, wanted));
    m_framesRead += frames;
    if (frames == 0 && m_damages.empty() && m_framesRead < expectedFrames())
        m_damages.push_back({AudioDamage::Kind::cut, static_cast<double>(m_framesRead) / sampleRate(),
                             static_cast<double>(expectedFrames() - m_framesRead) / sampleRate()});
    if (static_cast<double>(m_framesRead) > mostFrames * std::min(1.0, sampleRate() / 16000.0))
        fail(m_file, "the recording is too long; cut it into shorter pieces");
    const std::span<float> block = std::span(m_block).first(frames * static_cast<std::size_t>(channels()));
    for (float& sample : block)
        if (!(std::abs(sample) <= loudestSample)) // in this form also true of what is not a number
            sample = 0;
    return block;
}

} // namespace fenlo
