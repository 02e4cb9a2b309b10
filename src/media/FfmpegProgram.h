#pragma once

#include "base/Descriptor.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <sys/types.h>

namespace fenlo {

/// The `ffmpeg` program found in PATH while it turns the first sound track of a file into an AU stream of floats. It
/// gets no standard input and no network, and writes no file. Where the times of the track leave a gap it puts silence.
///
/// Threads: one at a time. A stop request, from any thread, kills the program; so does the destructor.
/// Errors:  AudioFileError from the constructor, when there is no such program.
class FfmpegProgram {
public:
    FfmpegProgram(const std::filesystem::path& input, std::stop_token stop);
    ~FfmpegProgram();

    /// Where the stream comes out.
    int output() const { return m_output->number(); }
    /// Whether it has complained since the last call.
    bool hasComplained();
    /// What it complained of first, in one line; empty for nothing.
    std::string firstComplaint() const;
    /// Waits for its end, which comes once the output has been read. False when it failed or was killed.
    bool finish();

private:
    std::unique_ptr<Descriptor> m_output;
    const Descriptor m_complaints; // in memory, so that the program never waits for us to read them
    off_t m_complaintsSeen = 0;
    pid_t m_process = 0; // 0 when it is gone
    std::optional<std::stop_callback<std::function<void()>>> m_killing;
};

} // namespace fenlo
