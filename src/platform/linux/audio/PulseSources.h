#pragma once

#include "base/Guarded.h"
#include "platform/AudioInput.h"
#include "platform/linux/audio/PulseConnection.h"
#include "platform/linux/audio/PulseHandles.h"

#include <functional>
#include <memory>
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
};

/// The sources as they are known at the moment; stays up to date as long as its PulseSources lives.
///
/// Threads: any.
class KnownSources {
public:
    /// The default one, or where that is the monitor of an output the first that is none.
    std::optional<PulseSource> current() const;
    std::vector<PulseSource> all() const;
    std::optional<PulseSource> named(const std::string& name) const;

private:
    friend class PulseSources;
    struct Known {
        std::vector<PulseSource> sources;
        std::string defaultName; // of one of them; empty for none
    };

    std::shared_ptr<Guarded<Known>> m_known = std::make_shared<Guarded<Known>>();
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

    const KnownSources& known() const { return m_known; }
    /// Waits until the server has been asked once, or turned out to be absent.
    void awaitFirstAnswer(double seconds);

private:
    void connected();
    void disconnected();
    void refresh();
    void serverAnswered(const pa_server_info* info);
    void sourceAnswered(const pa_source_info* info, int end);
    void finish();

    PulseConnection& m_connection;
    const std::function<void(Change)> m_changed;
    KnownSources m_known;
    KnownSources::Known m_found;
    PulseOperation m_operation;
    bool m_refreshAgain = false;
    bool m_hasAnswer = false;
    PulseConnection::Subscription m_subscription;
};

} // namespace fenlo
