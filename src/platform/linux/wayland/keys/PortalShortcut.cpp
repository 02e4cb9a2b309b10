#include "platform/linux/wayland/keys/PortalShortcut.h"

#include "base/Log.h"
#include "platform/linux/desktop/session/LoginSession.h"

#include <algorithm>
#include <future>
#include <limits>

namespace fenlo {

namespace {

constexpr char interface[] = "org.freedesktop.portal.GlobalShortcuts";
constexpr char sessionInterface[] = "org.freedesktop.portal.Session";
constexpr char registryInterface[] = "org.freedesktop.host.portal.Registry";
constexpr char applicationId[] = "org.fenlo.Fenlo"; // the name of the installed desktop file
constexpr char dictate[] = "dictate";
constexpr char command[] = "command";

constexpr double answerLimit = 30;   // seconds, where nobody is asked
constexpr double dialogLimit = 600;  // seconds for the user to choose
constexpr double shortestRetry = 2;  // seconds; a portal may come up later than an autostarted program
constexpr double longestRetry = 300; // seconds
constexpr auto questionLimit = std::chrono::milliseconds(500);
constexpr double trialLimit = 2.5;      // seconds
constexpr int introductionLimit = 5000; // milliseconds

/// What the desktop is asked for. The keys are a wish only.
GVariant* wishes() {
    GVariantBuilder list;
    g_variant_builder_init(&list, G_VARIANT_TYPE("a(sa{sv})"));
    const auto add = [&](const char* id, const char* description, const char* keys) {
        GVariantBuilder traits;
        g_variant_builder_init(&traits, G_VARIANT_TYPE_VARDICT);
        g_variant_builder_add(&traits, "{sv}", "description", g_variant_new_string(description));
        g_variant_builder_add(&traits, "{sv}", "preferred_trigger", g_variant_new_string(keys));
        g_variant_builder_add(&list, "(sa{sv})", id, &traits);
    };
    add(dictate, "Dictate while held", "CTRL+ALT+d");
    add(command, "Make the dictation a command", "CTRL+ALT+c");
    return g_variant_builder_end(&list);
}

/// Portals since 1.19.4 know by this who asks. It must be the connection's first word to them; an older one, or one
/// that knows already, refuses, and all goes on.
void introduceOurselves(const DBusConnection& bus) {
    GVariantBuilder options;
    g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
    bus.call({portal::service, portal::path},
             {registryInterface, "Register", g_variant_new("(sa{sv})", applicationId, &options)},
             DBusConnection::Clock::now() + std::chrono::milliseconds(introductionLimit));
}

/// For the log.
std::string lineOf(const PortalShortcut::Report& status) {
    using State = PortalShortcut::State;
    switch (status.state) {
    case State::seeking:
        break;
    case State::bound:
        return "The desktop tells of its shortcut for dictation: " +
               (status.keys.empty() ? std::string("bound") : status.keys);
    case State::unbound:
        return "The desktop's shortcut for dictation has no keys yet; choose them in its settings";
    case State::refused:
    case State::absent:
        return "The desktop tells of no shortcut: " + status.error;
    }
    return "";
}

} // namespace

PortalShortcut::PortalShortcut(std::function<void(Trigger)> onTrigger)
    : m_onTrigger(std::move(onTrigger)), m_end(g_cancellable_new()), m_thread(std::make_unique<GlibThread>()) {
    m_thread->invoke([this] { connect(); });
}

PortalShortcut::~PortalShortcut() {
    g_cancellable_cancel(m_end.get());
    // Ends the deliveries.
    m_thread.reset();
    if (m_retry)
        g_source_unref(m_retry);
}

void PortalShortcut::connect() {
    m_bus = connectToBus(G_BUS_TYPE_SESSION, m_end.get());
    if (!m_bus)
        return become({State::absent, "", "no session bus"});
    watchOwner();
    watchShortcuts();
    begin();
}

void PortalShortcut::watchOwner() {
    m_presence.emplace(*m_bus, [this](bool isThere) {
        // Our own first call may have started it.
        if (isThere && m_request)
            return;
        forgetSession();
        m_retryDelay = 0;
        if (isThere)
            begin();
        else
            become({State::absent, "", "the portal has ended"});
    });
}

void PortalShortcut::watchShortcuts() {
    const auto subscribe = [this](const char* speaker, const char* object) {
        g_dbus_connection_signal_subscribe(
            m_bus->get(), portal::service, speaker, nullptr, object, nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
            [](GDBusConnection*, const char*, const char* place, const char*, const char* signal, GVariant* arguments,
               void* given) {
                auto* const self = static_cast<PortalShortcut*>(given);
                if (std::string(signal) != "Closed")
                    self->hear(signal, arguments);
                else if (self->m_session == place)
                    self->closed();
            },
            this, nullptr);
    };
    subscribe(interface, portal::path);
    subscribe(sessionInterface, nullptr);
}

void PortalShortcut::begin() {
    m_mayAskUser = false;
    become({});
    introduceOurselves(*m_bus);
    createSession();
}

void PortalShortcut::ask(const PortalRequest::Call& call, void (PortalShortcut::*next)(const Answer&)) {
    m_request.emplace(*m_bus, call, [this, next](const Answer& answer) {
        m_request.reset();
        if (answer.outcome == PortalRequest::Outcome::granted)
            (this->*next)(answer);
        else
            failed(answer);
    });
}

void PortalShortcut::createSession() {
    // KDE's portal of Plasma 5.27 takes the wishes over without a question when they are said here.
    ask({interface,
         "CreateSession",
         {},
         {{"session_handle_token", g_variant_new_string(portal::makeToken().c_str())}, {"shortcuts", wishes()}},
         answerLimit},
        &PortalShortcut::sessionCreated);
}

void PortalShortcut::sessionCreated(const Answer& answer) {
    m_session = portal::textIn(answer.results.get(), "session_handle");
    if (!g_variant_is_object_path(m_session.c_str())) {
        m_session.clear();
        return become({State::refused, "", "the portal's session has no name"});
    }
    listShortcuts();
}

void PortalShortcut::listShortcuts() {
    ask({interface, "ListShortcuts", {g_variant_new_object_path(m_session.c_str())}, {}, answerLimit},
        &PortalShortcut::listed);
}

/// Some desktops bind by themselves what the user has once agreed to, and would ask again; the others want to be asked
/// at every start, and are silent then.
void PortalShortcut::listed(const Answer& answer) {
    const GlibOwned<GVariant> shortcuts(
        g_variant_lookup_value(answer.results.get(), "shortcuts", G_VARIANT_TYPE("a(sa{sv})")));
    if (shortcuts && g_variant_n_children(shortcuts.get()) > 0)
        take(shortcuts.get());
    else
        bindShortcuts();
}

void PortalShortcut::bindShortcuts() {
    m_mayAskUser = true;
    ask({interface,
         "BindShortcuts",
         {g_variant_new_object_path(m_session.c_str()), wishes(), g_variant_new_string("")},
         {},
         dialogLimit},
        &PortalShortcut::bound);
}

void PortalShortcut::bound(const Answer& answer) {
    const GlibOwned<GVariant> shortcuts(
        g_variant_lookup_value(answer.results.get(), "shortcuts", G_VARIANT_TYPE("a(sa{sv})")));
    take(shortcuts.get());
}

/// The keys are for people: their text is translated, and empty on some desktops.
void PortalShortcut::take(GVariant* shortcuts) {
    Report status{State::unbound, "", ""};
    const gsize count = shortcuts ? g_variant_n_children(shortcuts) : 0;
    for (gsize i = 0; i < count; ++i) {
        const char* id = nullptr;
        GVariant* traits = nullptr;
        g_variant_get_child(shortcuts, i, "(&s@a{sv})", &id, &traits);
        const GlibOwned<GVariant> owned(traits);
        if (std::string(id) == dictate)
            status = {State::bound, portal::textIn(traits, "trigger_description"), ""};
    }
    m_retryDelay = 0;
    become(status);
}

void PortalShortcut::hear(const std::string& signal, GVariant* arguments) {
    const char* session = "";
    if (signal == "ShortcutsChanged" && g_variant_is_of_type(arguments, G_VARIANT_TYPE("(oa(sa{sv}))"))) {
        GVariant* shortcuts = nullptr;
        g_variant_get(arguments, "(&o@a(sa{sv}))", &session, &shortcuts);
        const GlibOwned<GVariant> owned(shortcuts);
        if (m_session == session)
            take(shortcuts);
        return;
    }
    if (!g_variant_is_of_type(arguments, G_VARIANT_TYPE("(osta{sv})")))
        return;
    const char* id = "";
    g_variant_get(arguments, "(&o&sta{sv})", &session, &id, nullptr, nullptr);
    if (m_session.empty() || m_session != session)
        return;
    const std::string name = id;
    if (name == dictate && signal == "Activated")
        pressed();
    else if (name == dictate && signal == "Deactivated")
        released();
    else if (name == command && signal == "Activated")
        m_onTrigger(Trigger::command);
}

void PortalShortcut::pressed() {
    const auto meaning = m_edges.pressed(Deadline::clock::now());
    if (meaning == ShortcutEdges::Meaning::repetition)
        return;
    if (meaning == ShortcutEdges::Meaning::pressAfterLostRelease)
        m_onTrigger(Trigger::release);
    m_isPressed = true;
    m_onTrigger(Trigger::press);
}

void PortalShortcut::released() {
    m_edges.released();
    if (std::exchange(m_isPressed, false))
        m_onTrigger(Trigger::release);
}

/// A release will not be told any more.
void PortalShortcut::forgetSession() {
    m_request.reset();
    m_session.clear();
    released();
}

void PortalShortcut::failed(const Answer& answer) {
    using Outcome = PortalRequest::Outcome;
    forgetSession();
    const bool isAbsent = answer.outcome == Outcome::absent;
    become({isAbsent ? State::absent : State::refused, "", answer.error});
    // A user who was asked is not asked again and again, and a portal without shortcuts does not learn them.
    if (!m_mayAskUser && (answer.outcome == Outcome::silent || answer.outcome == Outcome::failed))
        retryLater();
}

/// The user took the permission back, or the desktop did. It is asked for at the next start.
void PortalShortcut::closed() {
    forgetSession();
    become({State::refused, "", "the desktop has withdrawn it"});
}

void PortalShortcut::retryLater() {
    m_retryDelay = std::clamp(m_retryDelay * 2, shortestRetry, longestRetry);
    if (m_retry) {
        g_source_destroy(m_retry);
        g_source_unref(m_retry);
    }
    m_retry = g_timeout_source_new(static_cast<guint>(m_retryDelay * 1000));
    g_source_set_callback(
        m_retry,
        [](void* given) -> gboolean {
            auto* const self = static_cast<PortalShortcut*>(given);
            if (self->m_session.empty() && !self->m_request)
                self->begin();
            return G_SOURCE_REMOVE;
        },
        this, nullptr);
    g_source_attach(m_retry, g_main_context_get_thread_default());
}

/// Said once: a portal that has no shortcuts to give is asked again and again.
void PortalShortcut::become(Report status) {
    if (const std::string line = lineOf(status); !line.empty() && line != std::exchange(m_line, line))
        logInfo("{}", line);
    m_status.with([&](Report& current) { current = std::move(status); });
}

namespace {

/// The path of a new session without shortcuts; empty when the portal gives none.
std::string openSession(const DBusConnection& bus) {
    std::promise<std::string> answered;
    std::optional<PortalRequest> request;
    GlibThread thread;
    thread.invoke([&] {
        request.emplace(
            bus,
            PortalRequest::Call{interface,
                                "CreateSession",
                                {},
                                {{"session_handle_token", g_variant_new_string(portal::makeToken().c_str())}},
                                trialLimit},
            [&](const PortalRequest::Answer& answer) {
                const bool isGranted = answer.outcome == PortalRequest::Outcome::granted;
                answered.set_value(isGranted ? portal::textIn(answer.results.get(), "session_handle") : "");
            });
    });
    return answered.get_future().get();
}

} // namespace

bool hasShortcutPortal() {
    const GlibObject<GCancellable> end(g_cancellable_new());
    const auto bus = connectToBus(G_BUS_TYPE_SESSION, end.get());
    return bus && bus->call({portal::service, portal::path},
                            {"org.freedesktop.DBus.Properties", "Get", g_variant_new("(ss)", interface, "version"),
                             "(v)", G_DBUS_CALL_FLAGS_NO_AUTO_START},
                            DBusConnection::Clock::now() + questionLimit);
}

bool givesShortcuts() {
    if (!hasShortcutPortal())
        return false;
    const GlibObject<GCancellable> end(g_cancellable_new());
    const auto bus = connectToBus(G_BUS_TYPE_SESSION, end.get());
    if (!bus)
        return false;
    introduceOurselves(*bus);
    const std::string session = openSession(*bus);
    if (!g_variant_is_object_path(session.c_str()))
        return false;
    bus->call({portal::service, session.c_str()}, {sessionInterface, "Close", nullptr},
              DBusConnection::Clock::now() + questionLimit);
    return true;
}

} // namespace fenlo
