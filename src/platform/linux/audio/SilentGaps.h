#pragma once

#include <cstddef>
#include <optional>

namespace fenlo {

/// Tells how much silence a capture owes, so that what it delivers stays in step with the clock while its stream is
/// away. Inside of a stream nothing is ever put in: the sound card's clock may differ from the computer's.
///
/// Units: seconds of a monotonic clock; lengths in samples.
class SilentGaps {
public:
    explicit SilentGaps(double sampleRate) : m_sampleRate(sampleRate) {}

    /// From here on every moment is delivered.
    void begin(double now) { m_servedUntil = now; }
    bool hasBegun() const { return m_servedUntil.has_value(); }
    /// The stream ended; the next samples come from another.
    void interrupt() { m_isInterrupted = true; }

    /// The silence to deliver ahead of `count` samples that end now.
    std::size_t before(std::size_t count, double now);
    /// The silence to deliver now that no samples have come. A stream that is open may be late.
    std::size_t without(bool isOpen, double now);

private:
    std::size_t serve(double until);

    const double m_sampleRate;
    std::optional<double> m_servedUntil;
    bool m_isInterrupted = false;
};

} // namespace fenlo
