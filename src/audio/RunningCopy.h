#pragma once

#include "audio/WavFile.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <span>

namespace fenlo {

/// What of a take is in memory only, in a file that grows as somebody speaks: a crash then costs the last second, and
/// not the take.
///
/// The file is like a chunk file (see ChunkWriter), but quiet samples are not raised.
///
/// Threads: one at a time.
/// Errors:  a disk that takes nothing ends the copy with a log line; the take goes on without.
class RunningCopy {
public:
    /// `sampleRate` in hertz. The file comes with the first samples.
    explicit RunningCopy(double sampleRate) : m_sampleRate(sampleRate) {}

    /// Whole seconds, so that pieces join without a gap at 16 kHz.
    void append(std::span<const float> samples);
    /// Nothing before the first samples, and when the disk took nothing.
    std::optional<std::filesystem::path> file() const;

private:
    const double m_sampleRate;
    std::optional<WavWriter> m_writer;
    bool m_hasFailed = false;
};

} // namespace fenlo
