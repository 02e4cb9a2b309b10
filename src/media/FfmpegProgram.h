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
/// has no standard input and no network, and writes no file. It fills gaps between the track's times with silence.
///
/// Threads: one at a time. A stop request, from any thread, kills the program; so does the destructor.
/// Errors:  AudioFileError from the constructor, when there is no such program.
class FfmpegProgram {
public:
    FfmpegProgram(const std::filesystem::path& input, std::stop_token stop);
    ~FfmpegProgram();

    /// The descriptor to read the stream from.
    int output() const { return m_output->number(); }
    /// Whether it has complained since the last call.
    bool hasComplained();
    /// Its first complaint, in one line; empty for none.
    std::string firstComplaint() const;
    /// Waits for its end; call it when the output has been read. False when the program failed or was killed.
    bool finish();

private:
    std::unique_ptr<Descriptor> m_output;
    const Descriptor m_complaints; // a file in memory, so that the program never waits for a reader
    off_t m_complaintsSeen = 0;
    pid_t m_process = 0; // 0 when it is gone
    std::optional<std::stop_callback<std::function<void()>>> m_killing;
};

} // namespace fenlo
