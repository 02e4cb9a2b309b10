#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <span>
#include <vector>

/// How long takes are cut into chunk files, whether they are recorded or read from a file.
///
/// Units: samples, of `sampleRate` hertz.
namespace fenlo {

inline constexpr double chunkDuration = 240.0; // seconds; a take that is longer is cut

struct CutChunk {
    std::filesystem::path file;
    std::size_t length; // in samples; what follows is for the next chunk
};

/// Writes the beginning of a long take, up to a quiet spot near its end, as a chunk file. Nothing when it cannot be
/// written.
std::optional<CutChunk> cutChunk(std::span<const float> samples, double sampleRate);

/// Writes a whole take as chunk files, in their order. Nothing, and no files, when one of them cannot be written.
std::optional<std::vector<std::filesystem::path>> writeChunks(std::span<const float> samples, double sampleRate);

} // namespace fenlo
