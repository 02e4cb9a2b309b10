#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <vector>

namespace fenlo::test {

/// A constant signal has exactly its own RMS.
inline std::vector<float> constant(float level, std::size_t count) {
    return std::vector<float>(count, level);
}

inline std::vector<float> sine(float amplitude, double seconds, double sampleRate, double frequency = 440) {
    std::vector<float> samples(static_cast<std::size_t>(seconds * sampleRate + 0.5));
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = amplitude * static_cast<float>(
                                     std::sin(2 * std::numbers::pi * frequency * static_cast<double>(i) / sampleRate));
    return samples;
}

inline std::vector<float> operator+(std::vector<float> first, const std::vector<float>& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

/// Six partials that get weaker, like those of a voice; at 16000 hertz.
inline std::vector<float> hum(double pitch, std::size_t count, float level = 0.5F) {
    std::vector<float> samples(count);
    for (int partial = 1; partial <= 6; ++partial)
        for (std::size_t i = 0; i < count; ++i)
            samples[i] +=
                level / static_cast<float>(partial) *
                static_cast<float>(std::sin(2 * std::numbers::pi * partial * pitch * static_cast<double>(i) / 16000));
    return samples;
}

inline std::vector<float> silence(std::size_t count) {
    return constant(0, count);
}

/// Noise between -0.5 and 0.5, exact in 32-bit floats; tests/audio/voice/reference.py makes the same.
class Noise {
public:
    float next() {
        m_state = m_state * 1664525 + 1013904223;
        return static_cast<float>(m_state >> 8) / 16777216.0F - 0.5F;
    }

private:
    std::uint32_t m_state = 1;
};

inline std::vector<float> noise(std::size_t count, float gain = 1) {
    Noise source;
    std::vector<float> samples(count);
    for (float& sample : samples)
        sample = gain * source.next();
    return samples;
}

/// Dull noise and bright noise, the second half of each nearly silent: the signal of reference.py.
inline std::vector<float> referenceSignal() {
    Noise source;
    std::vector<float> samples(8192);
    float last = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const float sample = source.next();
        samples[i] = (i % 4096 >= 2048 ? 0x1p-8F : 0.5F) * (i < 4096 ? sample + last : sample - last);
        last = sample;
    }
    return samples;
}

} // namespace fenlo::test
