#pragma once

#include <cmath>
#include <cstddef>
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

} // namespace fenlo::test
