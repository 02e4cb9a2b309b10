#include "media/Level.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace fenlo {

float rms(std::span<const float> samples) {
    if (samples.empty())
        return 0;
    std::array<double, 4> sums{}; // four independent sums, since one chain would wait for each addition
    std::size_t i = 0;
    for (; i + 4 <= samples.size(); i += 4)
        for (std::size_t lane = 0; lane < 4; ++lane)
            sums[lane] += static_cast<double>(samples[i + lane]) * samples[i + lane];
    for (; i < samples.size(); ++i)
        sums[0] += static_cast<double>(samples[i]) * samples[i];
    const double sum = (sums[0] + sums[1]) + (sums[2] + sums[3]);
    return static_cast<float>(std::sqrt(sum / static_cast<double>(samples.size())));
}

float peak(std::span<const float> samples) {
    float largest = 0;
    for (const float sample : samples)
        largest = std::max(largest, std::abs(sample));
    return largest;
}

} // namespace fenlo
