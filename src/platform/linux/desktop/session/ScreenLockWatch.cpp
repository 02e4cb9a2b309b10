#include "platform/linux/desktop/session/ScreenLockWatch.h"

#include "base/MainQueue.h"
#include "base/Text.h"
#include "platform/linux/desktop/session/LoginSession.h"

namespace fenlo {

namespace {

/// The screen savers of the desktops; interface and path are named alike.
constexpr const char* screenSavers[] = {"org.freedesktop.ScreenSaver", "org.gnome.ScreenSaver",
                                        "org.cinnamon.ScreenSaver", "org.mate.ScreenSaver", "org.xfce.ScreenSaver"};

} // namespace

ScreenLockWatch::ScreenLockWatch(MainQueue& mainQueue, std::function<void()> handler)
    : m_mainQueue(mainQueue), m_handler(std::move(handler)), m_end(g_cancellable_new()),
      m_thread(std::make_unique<GlibThread>()) {
    m_thread->invoke([this] {
        followLoginManager();
        followScreenSavers();
    });
}

ScreenLockWatch::~ScreenLockWatch() {
    g_cancellable_cancel(m_end.get());
    // Ends the deliveries.
    m_thread.reset();
}

void ScreenLockWatch::followLoginManager() {
    m_system = connectToBus(G_BUS_TYPE_SYSTEM, m_end.get());
    const auto session = m_system ? findLoginSession(*m_system) : std::nullopt;
    if (!session)
        return;
    m_loginSession = *session;
    const auto subscribe = [&](const char* interface, const char* member, GDBusSignalCallback handle) {
        g_dbus_connection_signal_subscribe(m_system->get(), login::service, interface, member,
                                           m_loginSession.path.c_str(), nullptr, G_DBUS_SIGNAL_FLAGS_NONE, handle, this,
                                           nullptr);
    };
    subscribe(login::sessionInterface, "Lock",
              [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*, void* self) {
                  static_cast<ScreenLockWatch*>(self)->tell();
              });
    const auto look = [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*, void* given) {
        auto* const self = static_cast<ScreenLockWatch*>(given);
        const auto hint =
            self->m_system->property(self->m_loginSession, login::sessionInterface, "LockedHint", answerDeadline());
        self->hear(login::service, isTrue(hint.get()));
    };
    subscribe("org.freedesktop.DBus.Properties", "PropertiesChanged", look);
    look(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, this);
}

void ScreenLockWatch::followScreenSavers() {
    m_session = connectToBus(G_BUS_TYPE_SESSION, m_end.get());
    if (!m_session)
        return;
    for (const char* name : screenSavers) {
        g_dbus_connection_signal_subscribe(
            m_session->get(), name, name, "ActiveChanged", nullptr, nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
            [](GDBusConnection*, const char*, const char*, const char* interface, const char*, GVariant* arguments,
               void* self) {
                if (!g_variant_is_of_type(arguments, G_VARIANT_TYPE("(b)")))
                    return;
                gboolean isActive = false;
                g_variant_get(arguments, "(b)", &isActive);
                static_cast<ScreenLockWatch*>(self)->hear(interface, isActive);
            },
            this, nullptr);
        g_dbus_connection_signal_subscribe(
            m_session->get(), "org.freedesktop.DBus", "org.freedesktop.DBus", "NameOwnerChanged", nullptr, name,
            G_DBUS_SIGNAL_FLAGS_NONE,
            [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* names, void* self) {
                const char* changed = nullptr;
                g_variant_get(names, "(&s&s&s)", &changed, nullptr, nullptr);
                static_cast<ScreenLockWatch*>(self)->askScreenSaver(changed);
            },
            this, nullptr);
        askScreenSaver(name);
    }
}

void ScreenLockWatch::askScreenSaver(const std::string& name) {
    // Only a running one is asked; the question must not start it.
    const auto answer =
        m_session->call({name, "/" + text::replaceAll(name, ".", "/")},
                        {name.c_str(), "GetActive", nullptr, "(b)", G_DBUS_CALL_FLAGS_NO_AUTO_START}, answerDeadline());
    gboolean isActive = false;
    if (answer)
        g_variant_get(answer.get(), "(b)", &isActive);
    hear(name, isActive);
}

void ScreenLockWatch::hear(const std::string& speaker, bool says) {
    if (says)
        m_speakers.insert(speaker);
    else
        m_speakers.erase(speaker);
    const bool wasLocked = m_isLocked.exchange(!m_speakers.empty());
    if (m_isLocked && !wasLocked)
        tell();
}

void ScreenLockWatch::tell() {
    m_mainQueue.post(m_lifetime.bind([this] { m_handler(); }));
}

} // namespace fenlo
