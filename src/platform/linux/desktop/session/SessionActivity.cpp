#include "platform/linux/desktop/session/SessionActivity.h"

#include "platform/linux/desktop/session/LoginSession.h"

namespace fenlo {

SessionActivity::SessionActivity(std::function<void(bool isActive)> handler)
    : m_handler(std::move(handler)), m_end(g_cancellable_new()), m_thread(std::make_unique<GlibThread>()) {
    m_thread->invoke([this] { follow(); });
}

SessionActivity::~SessionActivity() {
    g_cancellable_cancel(m_end.get());
    // Ends the deliveries.
    m_thread.reset();
}

void SessionActivity::follow() {
    m_bus = connectToBus(G_BUS_TYPE_SYSTEM, m_end.get());
    const auto session = m_bus ? findLoginSession(*m_bus) : std::nullopt;
    if (!session)
        return;
    m_session = *session;
    g_dbus_connection_signal_subscribe(
        m_bus->get(), login::service, "org.freedesktop.DBus.Properties", "PropertiesChanged", m_session.path.c_str(),
        nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
        [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*, void* self) {
            static_cast<SessionActivity*>(self)->look();
        },
        this, nullptr);
    look();
}

void SessionActivity::look() {
    const auto isActive = m_bus->property(m_session, login::sessionInterface, "Active", answerDeadline());
    if (!g_cancellable_is_cancelled(m_end.get()))
        m_handler(!isActive || isTrue(isActive.get()));
}

} // namespace fenlo
