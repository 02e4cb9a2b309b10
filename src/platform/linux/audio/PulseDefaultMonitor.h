#pragma once

#include "platform/linux/audio/PulseConnection.h"
#include "platform/linux/audio/PulseHandles.h"

#include <functional>
#include <pulse/introspect.h>
#include <pulse/subscribe.h>
#include <string>

namespace fenlo {

/// Follows which source records what the default sink plays. It is asked for by its sink: the server's own word for it
/// means a microphone to some servers.
///
/// Threads: all under the connection's lock. The only one to subscribe to events on its connection.
class PulseDefaultMonitor {
public:
    /// `found` is told the name after each look, also one that is the same as before; empty without a sink.
    using Found = std::function<void(const std::string& name)>;

    PulseDefaultMonitor(PulseConnection& connection, Found found);
    ~PulseDefaultMonitor();
    PulseDefaultMonitor(const PulseDefaultMonitor&) = delete;
    PulseDefaultMonitor& operator=(const PulseDefaultMonitor&) = delete;

    /// Asks now; nothing while there is no server, whose return is noticed.
    void look();

private:
    void connected();
    void disconnected();
    void eventCame(pa_subscription_event_type_t event);
    void serverAnswered(const pa_server_info* info);
    void sinkAnswered(const pa_sink_info* info, int end);
    void finish();

    PulseConnection& m_connection;
    const Found m_found;
    std::string m_name;
    PulseOperation m_question;
    bool m_lookAgain = false;
    PulseConnection::Subscription m_subscription;
};

} // namespace fenlo
