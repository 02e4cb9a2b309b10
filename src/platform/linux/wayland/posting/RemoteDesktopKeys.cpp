#include "platform/linux/wayland/posting/RemoteDesktopKeys.h"

#include "base/Files.h"
#include "base/Log.h"
#include "base/Text.h"

#include <future>
#include <utility>

namespace fenlo {

namespace {

constexpr char remoteDesktopInterface[] = "org.freedesktop.portal.RemoteDesktop";
constexpr char remoteSessionInterface[] = "org.freedesktop.portal.Session";
constexpr std::uint32_t keyboardDevice = 1;   // of the kinds of devices
constexpr std::uint32_t untilRevoked = 2;     // of the ways to remember the user's leave
constexpr std::uint32_t rememberingSince = 2; // version of the portal
constexpr double portalLimit = 10;            // seconds for an answer without the user
constexpr auto startUpLimit = std::chrono::milliseconds(2000);
constexpr auto openLimit = std::chrono::milliseconds(1000);
constexpr auto keyLimit = std::chrono::milliseconds(500);

const DBusConnection::Object portalObject{portal::service, portal::path};

std::uint32_t numberIn(GVariant* dictionary, const char* key) {
    guint32 number = 0;
    g_variant_lookup(dictionary, key, "u", &number);
    return number;
}

} // namespace

RemoteDesktopKeys::RemoteDesktopKeys(std::filesystem::path tokenFile, Timing timing)
    : m_tokenFile(std::move(tokenFile)), m_timing(timing), m_end(g_cancellable_new()) {
    m_thread.invoke([this] { connect(); });
}

RemoteDesktopKeys::~RemoteDesktopKeys() {
    // Calls to a portal that hangs end now.
    std::promise<void> closed;
    m_thread.invoke([&] {
        close();
        m_request.reset();
        closed.set_value();
    });
    g_cancellable_cancel(m_end.get());
    closed.get_future().wait();
}

void RemoteDesktopKeys::connect() {
    std::string unused;
    m_bus = DBusConnection::open(DBusConnection::addressOf(G_BUS_TYPE_SESSION, m_end.get()), m_end.get(), unused);
    if (!m_bus)
        return give(Phase::absent);
    // A program that starts with the session is there before the portal, or waits for its start in vain.
    m_presence.emplace(*m_bus, [this](bool isThere) {
        if (isThere && m_phase == Phase::absent)
            learnVersion();
    });
    learnVersion();
}

void RemoteDesktopKeys::learnVersion() {
    const auto deadline = DBusConnection::Clock::now() + startUpLimit;
    const auto version = m_bus->property(portalObject, remoteDesktopInterface, "version", deadline);
    const auto devices = m_bus->property(portalObject, remoteDesktopInterface, "AvailableDeviceTypes", deadline);
    const bool hasKeyboard = version && g_variant_is_of_type(version.get(), G_VARIANT_TYPE_UINT32) && devices &&
                             g_variant_is_of_type(devices.get(), G_VARIANT_TYPE_UINT32) &&
                             g_variant_get_uint32(devices.get()) & keyboardDevice;
    if (hasKeyboard)
        m_version = g_variant_get_uint32(version.get());
    give(hasKeyboard ? Phase::closed : Phase::absent);
}

bool RemoteDesktopKeys::isUsable() {
    return ask<bool>(
        startUpLimit,
        [this](std::function<void(bool)> tell) { tell(m_phase != Phase::absent && m_phase != Phase::refused); }, false);
}

bool RemoteDesktopKeys::isRefused() {
    return ask<bool>(
        startUpLimit, [this](std::function<void(bool)> tell) { tell(m_phase == Phase::refused); }, false);
}

void RemoteDesktopKeys::prepare() {
    m_thread.invoke([this] { open(); });
}

bool RemoteDesktopKeys::send(std::vector<Key> keys, bool isDown) {
    // A user who answers later than that gets no key: the text waits on the clipboard by then, and nobody would release
    // it.
    const auto atLatest = DBusConnection::Clock::now() + openLimit;
    return ask<bool>(
        openLimit + keyLimit,
        [this, keys = std::move(keys), isDown, atLatest](std::function<void(bool)> tell) {
            open();
            whenOpen([this, keys, isDown, atLatest, tell](bool isOpen) {
                tell(isOpen && DBusConnection::Clock::now() < atLatest && notify(keys, isDown));
            });
        },
        false);
}

/// Asks on the thread; the answer may come later.
template <typename Result>
Result RemoteDesktopKeys::ask(std::chrono::milliseconds limit,
                              std::function<void(std::function<void(Result)>)> question, Result otherwise) {
    const auto answer = std::make_shared<std::promise<Result>>();
    auto told = answer->get_future();
    m_thread.invoke([=] { question([answer](Result result) { answer->set_value(result); }); });
    return told.wait_for(limit) == std::future_status::ready ? told.get() : otherwise;
}

void RemoteDesktopKeys::open() {
    if (m_phase == Phase::open)
        closeAfter(m_timing.withoutKeys);
    if (m_phase == Phase::closed)
        createSession();
}

void RemoteDesktopKeys::createSession() {
    m_phase = Phase::opening;
    request({.interface = remoteDesktopInterface,
             .method = "CreateSession",
             .arguments = {},
             .options = {{"session_handle_token", g_variant_new_string(portal::makeToken().c_str())}},
             .limit = portalLimit},
            &RemoteDesktopKeys::created);
}

void RemoteDesktopKeys::created(PortalRequest::Answer answer) {
    m_session = portal::textIn(answer.results.get(), "session_handle");
    if (answer.outcome != PortalRequest::Outcome::granted || !g_variant_is_object_path(m_session.c_str()))
        return fail(answer);
    watchSession();
    selectDevices();
}

void RemoteDesktopKeys::selectDevices() {
    std::vector<std::pair<const char*, GVariant*>> options{{"types", g_variant_new_uint32(keyboardDevice)}};
    if (m_version >= rememberingSince) {
        options.emplace_back("persist_mode", g_variant_new_uint32(untilRevoked));
        if (const std::string token = takeToken(); !token.empty())
            options.emplace_back("restore_token", g_variant_new_string(token.c_str()));
    }
    request({.interface = remoteDesktopInterface,
             .method = "SelectDevices",
             .arguments = {g_variant_new_object_path(m_session.c_str())},
             .options = std::move(options),
             .limit = portalLimit},
            &RemoteDesktopKeys::selected);
}

void RemoteDesktopKeys::selected(PortalRequest::Answer answer) {
    if (answer.outcome == PortalRequest::Outcome::granted)
        start();
    else
        fail(answer);
}

void RemoteDesktopKeys::start() {
    request({.interface = remoteDesktopInterface,
             .method = "Start",
             .arguments = {g_variant_new_object_path(m_session.c_str()), g_variant_new_string("")},
             .options = {},
             .limit = m_timing.userLimit},
            &RemoteDesktopKeys::started);
}

void RemoteDesktopKeys::started(PortalRequest::Answer answer) {
    if (answer.outcome != PortalRequest::Outcome::granted)
        return fail(answer);
    if (const std::string token = portal::textIn(answer.results.get(), "restore_token"); !token.empty())
        if (!files::writeAtomically(m_tokenFile, token))
            logError("The desktop's leave to paste could not be kept in {}", m_tokenFile.string());
    if (!(numberIn(answer.results.get(), "devices") & keyboardDevice)) {
        // The user has agreed, but to no keyboard.
        answer.error = "no keyboard was allowed";
        answer.outcome = PortalRequest::Outcome::denied;
        return fail(answer);
    }
    m_phase = Phase::settling;
    m_timer.start(m_timing.firstKey, [this] {
        give(Phase::open);
        closeAfter(m_timing.withoutKeys);
    });
}

void RemoteDesktopKeys::fail(const PortalRequest::Answer& answer) {
    using Outcome = PortalRequest::Outcome;
    const bool isRefused = answer.outcome == Outcome::denied || answer.outcome == Outcome::silent;
    logError("The desktop's portal lets no keys be pressed: {}", answer.error);
    close();
    // A dialog at every dictation would be worse than a paste by hand.
    give(isRefused ? Phase::refused : answer.outcome == Outcome::absent ? Phase::absent : Phase::closed);
}

void RemoteDesktopKeys::give(Phase phase) {
    m_phase = phase;
    for (const Waiting& waiting : std::exchange(m_waiting, {}))
        waiting(phase == Phase::open);
}

void RemoteDesktopKeys::whenOpen(Waiting waiting) {
    const bool willTell = m_phase == Phase::opening || m_phase == Phase::settling;
    if (willTell)
        m_waiting.push_back(std::move(waiting));
    else
        waiting(m_phase == Phase::open);
}

bool RemoteDesktopKeys::notify(const std::vector<Key>& keys, bool isDown) {
    const auto deadline = DBusConnection::Clock::now() + keyLimit;
    for (const Key& each : keys) {
        GVariantBuilder options;
        g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
        GVariant* const arguments =
            g_variant_new("(oa{sv}iu)", m_session.c_str(), &options, static_cast<gint32>(each.number), isDown ? 1 : 0);
        const char* const method = each.isSymbol ? "NotifyKeyboardKeysym" : "NotifyKeyboardKeycode";
        if (!m_bus->call(portalObject, {remoteDesktopInterface, method, arguments, "()"}, deadline)) {
            close(); // what is down of the chord goes up with the session
            return false;
        }
    }
    closeAfter(m_timing.afterKeys);
    return true;
}

void RemoteDesktopKeys::watchSession() {
    m_sessionClosed = g_dbus_connection_signal_subscribe(
        m_bus->get(), portal::service, remoteSessionInterface, "Closed", m_session.c_str(), nullptr,
        G_DBUS_SIGNAL_FLAGS_NONE,
        [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*, void* given) {
            auto& self = *static_cast<RemoteDesktopKeys*>(given);
            self.m_session.clear();
            self.m_request.reset();
            self.close();
        },
        this, nullptr);
}

void RemoteDesktopKeys::close() {
    m_timer.stop();
    if (const guint subscription = std::exchange(m_sessionClosed, 0))
        g_dbus_connection_signal_unsubscribe(m_bus->get(), subscription);
    if (const std::string session = std::exchange(m_session, ""); !session.empty())
        g_dbus_connection_call(m_bus->get(), portal::service, session.c_str(), remoteSessionInterface, "Close", nullptr,
                               nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, nullptr, nullptr, nullptr);
    if (m_phase == Phase::opening || m_phase == Phase::settling || m_phase == Phase::open)
        give(Phase::closed);
}

/// A portal that remembers no leave would ask the user again at the next dictation, so that its session stays.
void RemoteDesktopKeys::closeAfter(double seconds) {
    if (m_version >= rememberingSince)
        m_timer.start(seconds, [this] { close(); });
}

void RemoteDesktopKeys::request(const PortalRequest::Call& call,
                                void (RemoteDesktopKeys::*next)(PortalRequest::Answer)) {
    m_request = std::make_unique<PortalRequest>(
        *m_bus, call, [this, next](PortalRequest::Answer answer) { (this->*next)(std::move(answer)); });
}

/// A token serves once, so it is gone before it is used.
std::string RemoteDesktopKeys::takeToken() {
    const auto token = files::read(m_tokenFile);
    files::removeQuietly(m_tokenFile);
    return token ? text::trimWhitespaceAndNewlines(*token) : "";
}

} // namespace fenlo
