#include "audio/WavFile.h"

#include "base/Files.h"
#include "media/AudioFileError.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sndfile.h>
#include <unistd.h>
#include <utility>

namespace fenlo {

struct WavWriter::Sound {
    int descriptor;
    SNDFILE* handle = nullptr;

    ~Sound() { close(); }
    bool close() {
        SNDFILE* const sound = std::exchange(handle, nullptr);
        const bool isWritten = sound == nullptr || ::sf_close(sound) == 0;
        const int file = std::exchange(descriptor, -1);
        return (file < 0 || ::close(file) == 0) && isWritten;
    }
};

WavWriter::WavWriter(const std::filesystem::path& file, int sampleRate, WavEncoding encoding)
    : m_file(file), m_sound(new Sound{::open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600)}) {
    if (m_sound->descriptor < 0)
        throw AudioFileError(file, std::strerror(errno));
    SF_INFO info{};
    info.samplerate = sampleRate;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | (encoding == WavEncoding::float32 ? SF_FORMAT_FLOAT : SF_FORMAT_PCM_16);
    m_sound->handle = ::sf_open_fd(m_sound->descriptor, SFM_WRITE, &info, SF_FALSE);
    if (!m_sound->handle)
        fail();
    ::sf_command(m_sound->handle, SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE); // the chunk would hold the time of day
    ::sf_command(m_sound->handle, SFC_SET_CLIPPING, nullptr, SF_TRUE);
}

WavWriter::~WavWriter() = default;

void WavWriter::append(std::span<const float> samples) {
    const auto count = static_cast<sf_count_t>(samples.size());
    if (::sf_writef_float(m_sound->handle, samples.data(), count) != count)
        fail();
    ::sf_command(m_sound->handle, SFC_UPDATE_HEADER_NOW, nullptr, 0);
}

void WavWriter::close() {
    if (!m_sound->close())
        fail();
}

void WavWriter::fail() {
    files::removeQuietly(m_file);
    throw AudioFileError(m_file, "the file cannot be written");
}

void writeWav(const std::filesystem::path& file, std::span<const float> samples, int sampleRate, WavEncoding encoding) {
    WavWriter writer(file, sampleRate, encoding);
    writer.append(samples);
    writer.close();
}

} // namespace fenlo
