#pragma once

#include "audio/LinearResampler.h"

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace fenlo {

/// The chunk of a running take as far as it has come: what its chunk file will begin with, except that quiet samples
/// are not raised.
///
/// Threads: one. The samples of beginning() may be read on another one meanwhile.
/// Units:   samples at 16 kHz; what is appended has the rate of the input.
class RunningClip {
public:
    explicit RunningClip(double sampleRate);

    void append(std::span<const float> samples);

    std::size_t size() const { return m_samples->size(); }
    /// All samples so far. They stay as they are when more are appended.
    struct Beginning {
        std::shared_ptr<const std::vector<float>> owner;
        std::span<const float> samples;
    };
    Beginning beginning() const { return {m_samples, *m_samples}; }
    float peak() const { return m_peak; }

    // In frames of 20 ms; see media/LastSound.
    std::size_t frames() const { return m_levels.size(); }
    /// Where its last sound ends; 0 before there is one.
    std::size_t soundEnd() const;
    /// Where it would end for the recogniser if it went on in silence.
    std::size_t keptEnd() const;

private:
    const double m_sampleRate;
    LinearResampler m_resampler;
    std::shared_ptr<std::vector<float>> m_samples; // moves to other memory instead of growing beyond its own
    std::vector<float> m_levels;                   // of the whole frames
    float m_peak = 0;
};

} // namespace fenlo
