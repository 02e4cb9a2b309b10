#include "audio/LinearResampler.h"

#include <algorithm>

namespace fenlo {

void LinearResampler::append(std::span<const float> samples, std::vector<float>& resampled) {
    m_last.insert(m_last.end(), samples.begin(), samples.end());
    const std::size_t most = lengthOf(m_before + m_last.size());
    std::size_t used = 0;
    for (;;) {
        const double position = static_cast<double>(resampled.size()) / m_ratio;
        const auto index = static_cast<std::size_t>(position);
        used = index - m_before;
        if (used + 1 >= m_last.size() || resampled.size() == most)
            break;
        const auto fraction = static_cast<float>(position - static_cast<double>(index));
        resampled.push_back((1 - fraction) * m_last[used] + fraction * m_last[used + 1]);
    }
    used = std::min(used, m_last.size());
    m_last.erase(m_last.begin(), m_last.begin() + static_cast<std::ptrdiff_t>(used));
    m_before += used;
}

std::size_t LinearResampler::lengthOf(std::size_t samples) const {
    return static_cast<std::size_t>(m_ratio * static_cast<double>(samples));
}

void LinearResampler::finish(std::vector<float>& resampled) {
    const std::size_t total = m_before + m_last.size();
    while (resampled.size() < lengthOf(total)) {
        const auto index = static_cast<std::size_t>(static_cast<double>(resampled.size()) / m_ratio);
        resampled.push_back(index < total ? m_last[index - m_before] : 0);
    }
}

} // namespace fenlo
