#pragma once

#include "audio/WavFile.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <span>

namespace fenlo {

/// A file that grows with the samples that a take still has in memory only. A crash then costs the last second, not the
/// whole take.
///
/// The file is like a chunk file (see ChunkWriter), but quiet samples are not raised.
///
/// Threads: one at a time.
/// Errors:  when the file cannot be written, the copy ends with a log line and the take goes on without it.
class RunningCopy {
public:
    /// `sampleRate` in hertz. The file comes with the first samples.
    explicit RunningCopy(double sampleRate) : m_sampleRate(sampleRate) {}

    /// Whole seconds, so that pieces join without a gap at 16 kHz.
    void append(std::span<const float> samples);
    /// Nothing before the first samples, and when the file could not be written.
    std::optional<std::filesystem::path> file() const;

private:
    const double m_sampleRate;
    std::optional<WavWriter> m_writer;
    bool m_hasFailed = false;
};

} // namespace fenlo
