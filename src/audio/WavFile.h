#pragma once

#include <filesystem>
#include <memory>
#include <span>

namespace fenlo {

enum class WavEncoding { float32, int16 };

/// A new mono WAV file, readable by its owner only, which is whole after each append(): whoever is killed in between
/// leaves a file that plays. Samples beyond full scale are clipped in int16.
///
/// Threads: one at a time.
/// Errors:  AudioFileError; no file is left then.
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
