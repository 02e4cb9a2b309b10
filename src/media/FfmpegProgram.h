#pragma once

#include <filesystem>
#include <stop_token>

namespace fenlo {

enum class FfmpegResult { converted, notInstalled, tooLong, stopped, failed };

/// Converts the first sound track of a file to WAV (16 bit) with the `ffmpeg` program found in PATH. It gets no
/// standard input and no network, and writes at most two gibibytes: what would need more is too long, rather than cut
/// off unsaid. Blocks until the program ends, which a stop request brings about at once.
FfmpegResult convertWithFfmpeg(const std::filesystem::path& input, const std::filesystem::path& output,
                               std::stop_token stop = {});

} // namespace fenlo
