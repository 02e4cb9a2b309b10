#pragma once

#include "platform/AudioInput.h"
#include "platform/linux/audio/PulseConnection.h"
#include "platform/linux/audio/PulseHandles.h"
#include "platform/linux/audio/PulseSources.h"

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace fenlo {

/// Records from one source at that source's rate. When the source or the server goes away while the engine runs, it
/// goes on from the same source once that is back, or else from the default microphone, at the same rate. What a
/// speaker plays is recorded only where the engine was made for it.
///
/// The server buffers some seconds, so a tap that is late once loses nothing.
class PulseCaptureEngine final : public CaptureEngine {
public:
    PulseCaptureEngine(std::shared_ptr<PulseConnection> connection, KnownSources known,
                       std::optional<PulseSource> source);
    ~PulseCaptureEngine() override;

    InputFormat format() const override;
    void installTap(std::size_t frames, Tap tap) override;
    void removeTap() override;
    /// A later answer of the server is handled when it comes.
    std::optional<std::string> start() override;
    void stop() override;
    bool isRunning() const override { return m_isRunning; }

private:
    enum class Target { ownSource, defaultMicrophone };

    void open(Target target);
    void close();
    bool isOpening() const;
    void streamChanged();
    void streamMoved();
    void tryLater();
    void streamFailed();
    void connectionLost();
    void read();
    void gather(const float* samples, std::size_t frames);

    const std::shared_ptr<PulseConnection> m_connection;
    const KnownSources m_known;
    const std::optional<PulseSource> m_source;
    std::atomic<bool> m_isRunning = false; // written under the lock

    // Under the connection's lock.
    bool m_isStarting = false;
    Tap m_tap;
    std::size_t m_tapFrames = 0;
    std::vector<float> m_gathered;
    PulseStream m_stream;
    Target m_target = Target::ownSource;
    bool m_hasDelivered = false;
    std::string m_error;
    PulseConnection::Delayed m_retry;
    PulseConnection::Subscription m_subscription;
};

} // namespace fenlo
