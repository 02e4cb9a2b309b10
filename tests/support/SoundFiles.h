#pragma once

#include <filesystem>
#include <sndfile.h>
#include <vector>

namespace fenlo::test {

/// Writes a sound file; `format` in libsndfile's terms.
inline std::filesystem::path writeSound(const std::filesystem::path& file, int format, int rate, int channels,
                                        const std::vector<float>& interleaved) {
    SF_INFO info{};
    info.samplerate = rate;
    info.channels = channels;
    info.format = format;
    SNDFILE* sound = ::sf_open(file.c_str(), SFM_WRITE, &info);
    ::sf_write_float(sound, interleaved.data(), static_cast<sf_count_t>(interleaved.size()));
    ::sf_close(sound);
    return file;
}

} // namespace fenlo::test
