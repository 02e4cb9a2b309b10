#include "platform/linux/audio/SilentGaps.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace fenlo {

namespace {
constexpr double latestOfStream = 2;  // seconds; an idle output may send its first second in one piece
constexpr double longestSilence = 60; // seconds; a longer gap is one of the whole program
} // namespace

std::size_t SilentGaps::before(std::size_t count, double now) {
    const double first = now - static_cast<double>(count) / m_sampleRate;
    const std::size_t silence = std::exchange(m_isInterrupted, false) ? serve(first) : 0;
    m_servedUntil = now;
    return silence;
}

std::size_t SilentGaps::without(bool isOpen, double now) {
    if (!m_servedUntil || (isOpen && now - *m_servedUntil < latestOfStream))
        return 0;
    m_isInterrupted = true;
    return serve(now);
}

std::size_t SilentGaps::serve(double until) {
    const double gap = std::clamp(until - *m_servedUntil, 0.0, longestSilence);
    m_servedUntil = std::max(*m_servedUntil, until);
    return static_cast<std::size_t>(std::lround(gap * m_sampleRate));
}

} // namespace fenlo
