#pragma once

#include "platform/linux/audio/PulseConnection.h"
#include "platform/linux/audio/PulseHandles.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace fenlo {

/// One sound at a time on the default sink. All operations under the connection's lock.
class PulsePlayback {
public:
    explicit PulsePlayback(PulseConnection& connection);
    ~PulsePlayback();
    PulsePlayback(const PulsePlayback&) = delete;
    PulsePlayback& operator=(const PulsePlayback&) = delete;

    void play(std::vector<float> samples, std::uint32_t sampleRate);
    void stop();

private:
    void write(std::size_t bytes);
    void finishWhenHeard();

    PulseConnection& m_connection;
    std::vector<float> m_samples;
    std::size_t m_written = 0; // samples
    PulseStream m_stream;
    PulseOperation m_drain;
    PulseConnection::Subscription m_subscription;
};

} // namespace fenlo
