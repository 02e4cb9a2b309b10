#pragma once

#include <filesystem>

namespace fenlo {

enum class FfmpegResult { converted, notInstalled, failed };

/// Converts the first sound track of a file to WAV (32-bit float) with the `ffmpeg` program found in PATH. It gets no
/// standard input and no network, and writes at most a gibibyte. Blocks until the program ends.
FfmpegResult convertWithFfmpeg(const std::filesystem::path& input, const std::filesystem::path& output);

} // namespace fenlo
