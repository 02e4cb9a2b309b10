#include "audio/voice/PowerSpectrum.h"

#include <cmath>
#include <numbers>

namespace fenlo::voice {

namespace {

/// The amplitude is doubled, so the power is four times as high.
float power(kiss_fft_cpx value) {
    return 4 * (value.r * value.r + value.i * value.i);
}

} // namespace

PowerSpectrum::PowerSpectrum(std::size_t length)
    : m_transform(length), m_window(length), m_windowed(length), m_power(length / 2 + 1) {
    // Periodic: the cosine reaches its start again one sample after the end of the window.
    const double step = 2 * std::numbers::pi / static_cast<double>(length);
    for (std::size_t i = 0; i < length; ++i)
        m_window[i] = static_cast<float>(0.54 - 0.46 * std::cos(step * static_cast<double>(i)));
}

std::span<const float> PowerSpectrum::of(std::span<const float> frame) {
    for (std::size_t i = 0; i < m_window.size(); ++i)
        m_windowed[i] = frame[i] * m_window[i];
    const auto spectrum = m_transform(m_windowed);
    const std::size_t nyquist = m_power.size() - 1;
    m_power[0] = power(spectrum[0]) + power(spectrum[nyquist]);
    for (std::size_t i = 1; i < nyquist; ++i)
        m_power[i] = power(spectrum[i]);
    return m_power;
}

} // namespace fenlo::voice
