#pragma once

#include "media/RealTransform.h"

#include <span>
#include <vector>

namespace fenlo::voice {

/// The power spectrum of frames of one length under a Hamming window.
///
/// The scale is twice the mathematical one, and value 0 holds the powers of the constant part and of the Nyquist
/// frequency together; the last value is 0. Features derived from logarithms of the power depend on that scale.
///
/// Threads: one at a time.
class PowerSpectrum {
public:
    /// `length` in samples, even.
    explicit PowerSpectrum(std::size_t length);

    /// The values of a frame, [length / 2 + 1], value i at i × rate / length hertz. Valid until the next call.
    std::span<const float> of(std::span<const float> frame);

private:
    RealTransform m_transform;
    std::vector<float> m_window;
    std::vector<float> m_windowed;
    std::vector<float> m_power;
};

} // namespace fenlo::voice
