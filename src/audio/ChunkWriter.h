#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <vector>

namespace fenlo {

/// Writes samples as a chunk file: 16 kHz, mono, 32-bit float WAV in the temporary folder, readable by its owner only,
/// or in keptTakesFolder() when it cannot be written there. Quiet samples are raised. Nothing, and no file, when both
/// fail.
std::optional<std::filesystem::path> writeChunk(std::span<const float> samples, double sampleRate);

/// `~/.fenlo/takes`: recordings that wait to be recognised.
std::filesystem::path keptTakesFolder();

/// Linear interpolation.
std::vector<float> resampleLinearly(std::span<const float> samples, double fromRate, double toRate);

/// Whether samples of this rate are taken as 16 kHz.
bool hasSpeechRate(double sampleRate);

/// Brings samples to 16 kHz by linear interpolation; at 16 kHz within one hertz they come back as they are.
std::vector<float> resampleForChunk(std::span<const float> samples, double sampleRate);

/// By how much samples with this peak are raised.
float chunkGain(float peak);

/// Raises quiet samples to a peak of 0.707. Never lowers them, and leaves them as they are when the gain is 1.05 or
/// less.
void normalise(std::span<float> samples);

} // namespace fenlo
