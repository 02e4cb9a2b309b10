#pragma once

#include <filesystem>
#include <memory>
#include <span>

namespace fenlo {

enum class WavEncoding { float32, int16 };

/// Writes a new mono WAV file, readable by its owner only. The file can be played after each append(), even when the
/// program is killed. Samples beyond full scale are clipped in int16.
///
/// Threads: one at a time.
/// Errors:  AudioFileError; the file is deleted then.
class WavWriter {
public:
    WavWriter(const std::filesystem::path& file, int sampleRate, WavEncoding encoding);
    ~WavWriter(); // closes; the file stays
    WavWriter(const WavWriter&) = delete;
    WavWriter& operator=(const WavWriter&) = delete;

    void append(std::span<const float> samples);
    void close();

    const std::filesystem::path& file() const { return m_file; }

private:
    [[noreturn]] void fail();

    struct Sound;
    const std::filesystem::path m_file;
    std::unique_ptr<Sound> m_sound;
};

/// Writes a whole file.
void writeWav(const std::filesystem::path& file, std::span<const float> samples, int sampleRate, WavEncoding encoding);

} // namespace fenlo
