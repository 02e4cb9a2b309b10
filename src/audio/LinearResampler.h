#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace fenlo {

/// Brings samples to another rate by linear interpolation, piece by piece. However they are cut into pieces, the result
/// is the same, bit by bit.
class LinearResampler {
public:
    /// Rates in hertz.
    LinearResampler(double fromRate, double toRate) : m_ratio(toRate / fromRate) {}

    /// Appends to `resampled`, which holds all that came before, what these samples and those before them decide.
    void append(std::span<const float> samples, std::vector<float>& resampled);
    /// Appends what lies behind the last sample.
    void finish(std::vector<float>& resampled);

private:
    /// Of the result, rounded down.
    std::size_t lengthOf(std::size_t samples) const;

    const double m_ratio;
    std::vector<float> m_last; // the samples that the next result may need
    std::size_t m_before = 0;  // samples before them
};

} // namespace fenlo
