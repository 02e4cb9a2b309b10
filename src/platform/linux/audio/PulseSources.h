#pragma once

#include "base/Guarded.h"
#include "platform/AudioInput.h"
#include "platform/linux/audio/PulseConnection.h"
#include "platform/linux/audio/PulseHandles.h"

#include <functional>
#include <optional>
#include <pulse/channelmap.h>
#include <pulse/introspect.h>
#include <pulse/sample.h>
#include <string>
#include <vector>

namespace fenlo {

struct PulseSource {
    std::string name; // the server's id for it, which outlives a restart
    InputDevice device;
    pa_sample_spec format{}; // its own; engines record 32-bit floats at its rate and channels
    pa_channel_map channels{};
    bool isMonitor = false; // it records what a speaker plays
};

/// Follows the sources of the server, and which of them is the default.
class PulseSources {
public:
    enum class Change { list, defaultSource };

    /// `changed` is called on the connection's thread.
    PulseSources(PulseConnection& connection, std::function<void(Change)> changed);
    ~PulseSources();
    PulseSources(const PulseSources&) = delete;
    PulseSources& operator=(const PulseSources&) = delete;

    /// The default one. This and the next two on any thread.
    std::optional<PulseSource> current() const;
    /// Those that record something, and the default one whatever it is.
    std::vector<PulseSource> all() const;
    std::optional<PulseSource> named(const std::string& name) const;
    /// Waits until the server has been asked once, or turned out to be absent.
    void awaitFirstAnswer(double seconds);

private:
    void connected();
    void disconnected();
    void refresh();
    void serverAnswered(const pa_server_info* info);
    void sourceAnswered(const pa_source_info* info, int end);
    void finish();

    struct Known {
        std::vector<PulseSource> sources;
        std::string defaultName; // of one of them; empty for none
    };

    PulseConnection& m_connection;
    const std::function<void(Change)> m_changed;
    Guarded<Known> m_known;
    Known m_found;
    PulseOperation m_operation;
    bool m_refreshAgain = false;
    bool m_hasAnswer = false;
    PulseConnection::Subscription m_subscription;
};

} // namespace fenlo
