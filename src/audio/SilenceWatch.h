#pragma once

#include <optional>

namespace fenlo {

/// Notices a long pause, once for each unbroken run of quiet buffers.
class SilenceWatch {
public:
    /// True when the pause is to be told now. `rms` is the buffer's raw level, `now` in seconds.
    bool hear(float rms, double now);

private:
    std::optional<double> m_quietSince;
    bool m_told = false;
};

} // namespace fenlo
