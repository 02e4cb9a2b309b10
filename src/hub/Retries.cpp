#include "hub/Retries.h"

#include "base/Clock.h"

#include <algorithm>

namespace fenlo::hub {

namespace {

constexpr double step = 0.1;         // seconds until a stop request is noticed
constexpr double longestPause = 120; // seconds; when the hub asks for more, the download fails

} // namespace

void throwCancelled() {
    throw HubError(HubError::Kind::cancelled, "the download was cancelled; what has come is kept");
}

void pause(Clock& clock, double seconds, std::stop_token stop) {
    const double end = clock.now() + seconds;
    for (double left = seconds; left > 0 && !stop.stop_requested(); left = end - clock.now())
        clock.sleep(std::min(left, step));
    if (stop.stop_requested())
        throwCancelled();
}

void Retries::waitAfter(const PassingFault& fault, std::stop_token stop) {
    if (++m_failed >= m_attempts || fault.askedPause > longestPause)
        throw fault;
    pause(m_clock, std::max(fault.askedPause, static_cast<double>(1 << (m_failed - 1))), stop);
}

} // namespace fenlo::hub
