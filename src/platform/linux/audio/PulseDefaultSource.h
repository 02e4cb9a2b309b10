#pragma once

#include "base/Guarded.h"
#include "platform/AudioInput.h"
#include "platform/linux/audio/PulseConnection.h"

#include <functional>
#include <optional>
#include <pulse/channelmap.h>
#include <pulse/introspect.h>
#include <pulse/sample.h>
#include <string>

namespace fenlo {

struct PulseSource {
    std::string name; // the server's id for it, which outlives a restart
    InputDevice device;
    pa_sample_spec format{}; // its own; engines record 32-bit floats at its rate and channels
    pa_channel_map channels{};
};

/// Follows the default source of the server.
class PulseDefaultSource {
public:
    /// `changed` is called on the connection's thread.
    PulseDefaultSource(PulseConnection& connection, std::function<void()> changed);
    ~PulseDefaultSource();
    PulseDefaultSource(const PulseDefaultSource&) = delete;
    PulseDefaultSource& operator=(const PulseDefaultSource&) = delete;

    /// Any thread.
    std::optional<PulseSource> current() const;
    /// Waits until the server has been asked once, or turned out to be absent.
    void awaitFirstAnswer(double seconds);

private:
    void connected();
    void disconnected();
    void refresh();
    void serverAnswered(const pa_server_info* info);
    void sourceAnswered(const pa_source_info* info, int end);
    void finish(std::optional<PulseSource> source);
    void endOperation();

    PulseConnection& m_connection;
    const std::function<void()> m_changed;
    Guarded<std::optional<PulseSource>> m_current;
    std::optional<PulseSource> m_found;
    pa_operation* m_operation = nullptr;
    bool m_refreshAgain = false;
    bool m_hasAnswer = false;
    PulseConnection::Subscription m_subscription;
};

} // namespace fenlo
