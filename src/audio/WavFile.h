#pragma once

#include <filesystem>
#include <span>
#include <stdexcept>

namespace fenlo {

enum class WavEncoding { float32, int16 };

struct WavFileError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Writes a new mono WAV file, readable by its owner only. Samples beyond full scale are clipped in int16.
/// Errors: WavFileError with one line; no file is left then.
void writeWav(const std::filesystem::path& file, std::span<const float> samples, int sampleRate, WavEncoding encoding);

} // namespace fenlo
