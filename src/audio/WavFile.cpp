#include "audio/WavFile.h"

#include "base/Files.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sndfile.h>
#include <unistd.h>

namespace fenlo {

namespace {

bool writeTo(int descriptor, std::span<const float> samples, int sampleRate, WavEncoding encoding) {
    SF_INFO info{};
    info.samplerate = sampleRate;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | (encoding == WavEncoding::float32 ? SF_FORMAT_FLOAT : SF_FORMAT_PCM_16);
    SNDFILE* file = ::sf_open_fd(descriptor, SFM_WRITE, &info, SF_FALSE);
    if (!file)
        return false;
    ::sf_command(file, SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE); // it holds the time of day
    ::sf_command(file, SFC_SET_CLIPPING, nullptr, SF_TRUE);
    const auto count = static_cast<sf_count_t>(samples.size());
    const bool written = ::sf_writef_float(file, samples.data(), count) == count;
    return ::sf_close(file) == 0 && written;
}

} // namespace

void writeWav(const std::filesystem::path& file, std::span<const float> samples, int sampleRate, WavEncoding encoding) {
    const int descriptor = ::open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (descriptor < 0)
        throw WavFileError(file.string() + ": " + std::strerror(errno));
    const bool written = writeTo(descriptor, samples, sampleRate, encoding);
    if (::close(descriptor) != 0 || !written) {
        files::removeQuietly(file);
        throw WavFileError(file.string() + ": the file cannot be written");
    }
}

} // namespace fenlo
