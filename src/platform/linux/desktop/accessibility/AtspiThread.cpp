#include "platform/linux/desktop/accessibility/AtspiThread.h"

#include "base/Deadline.h"
#include "base/Environment.h"
#include "base/Log.h"
#include "base/Text.h"

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <future>
#include <utility>

namespace fenlo {

namespace {

using Clock = DBusConnection::Clock;

constexpr char eventInterface[] = "org.a11y.atspi.Event.Object";
constexpr char windowInterface[] = "org.a11y.atspi.Event.Window";
constexpr auto serviceLimit = std::chrono::seconds(2);     // for the bus itself to start
constexpr auto searchStep = std::chrono::milliseconds(40); // for one program, so that one that hangs leaves time
constexpr auto retryPause = std::chrono::seconds(10);
constexpr std::size_t searchSize = 400; // controls

const DBusConnection::Object launcher{"org.a11y.Bus", "/org/a11y/bus"};
const DBusConnection::Object registry{"org.a11y.atspi.Registry", "/org/a11y/atspi/registry"};
const DBusConnection::Object desktop{"org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root"};

} // namespace

AtspiThread::AtspiThread() : m_end(g_cancellable_new()) {
    m_thread.emplace();
    m_thread->invoke([this] { connect(); });
}

AtspiThread::~AtspiThread() {
    g_cancellable_cancel(m_end.get());
    m_thread.reset();
}

void AtspiThread::announce() {
    m_thread->invoke([this] { announceNow(); });
}

template <typename T>
std::optional<T> AtspiThread::ask(double limit, void (AtspiThread::*work)(Time deadline, Growing<T>& answer)) {
    const auto deadline = deadlineAfter(limit);
    struct Request {
        Growing<T> answer;
        std::promise<void> done;
    };
    const auto request = std::make_shared<Request>();
    const auto done = request->done.get_future();
    m_thread->invoke([this, request, deadline, work] {
        if (isConnected())
            (this->*work)(deadline, request->answer);
        request->done.set_value();
    });
    done.wait_until(deadline);
    return request->answer.with([](const auto& answer) { return answer; });
}

std::optional<FocusedElement> AtspiThread::focusedElement(double limit) {
    return ask<FocusedElement>(limit, &AtspiThread::readNow);
}

std::optional<ActiveProgram> AtspiThread::activeProgram(double limit) {
    return ask<ActiveProgram>(limit, &AtspiThread::findProgramNow);
}

bool AtspiThread::connect() {
    if (m_bus && !m_bus->isClosed())
        return true;
    m_lastAttempt = Clock::now();
    m_isAvailable = false;
    m_focus.reset();
    m_window.reset();
    std::string error;
    const std::string address = findBus(error);
    m_bus.reset();
    if (!address.empty())
        m_bus = DBusConnection::open(address, m_end.get(), error);
    if (m_bus) {
        registerEvents();
        m_isAvailable = true;
    } else if (!g_cancellable_is_cancelled(m_end.get()) && !std::exchange(m_isExplained, true)) {
        logInfo("Accessibility bus not available: {}", error);
    }
    return m_isAvailable;
}

std::string AtspiThread::findBus(std::string& error) {
    if (const auto given = environment("AT_SPI_BUS_ADDRESS"); !given.empty())
        return given;
    const std::string session = DBusConnection::addressOf(G_BUS_TYPE_SESSION, m_end.get());
    error = "no session bus";
    m_session.reset();
    if (!session.empty())
        m_session = DBusConnection::open(session, m_end.get(), error);
    if (!m_session)
        return "";
    const auto answer =
        m_session->call(launcher, {"org.a11y.Bus", "GetAddress", nullptr, "(s)"}, Clock::now() + serviceLimit);
    error = "the accessibility service does not answer";
    if (!answer)
        return "";
    const char* address = nullptr;
    g_variant_get(answer.get(), "(&s)", &address);
    return address;
}

void AtspiThread::registerEvents() {
    subscribe(eventInterface, "StateChanged", "focused");
    subscribe(windowInterface, "Activate", nullptr);
    subscribe(windowInterface, "Deactivate", nullptr);
    // Programs send only the events that somebody has registered for.
    for (const char* event : {"object:state-changed:focused", "window:activate", "window:deactivate"}) {
        const auto deadline = Clock::now() + serviceLimit;
        const char* const registryInterface = "org.a11y.atspi.Registry";
        if (!m_bus->call(registry, {registryInterface, "RegisterEvent", g_variant_new("(sass)", event, nullptr, "")},
                         deadline))
            m_bus->call(registry, {registryInterface, "RegisterEvent", g_variant_new("(s)", event)}, deadline);
    }
}

void AtspiThread::subscribe(const char* interface, const char* member, const char* detail) {
    g_dbus_connection_signal_subscribe(
        m_bus->get(), nullptr, interface, member, nullptr, detail, G_DBUS_SIGNAL_FLAGS_NONE,
        [](GDBusConnection*, const char* sender, const char* path, const char*, const char* name, GVariant* arguments,
           void* self) {
            static_cast<AtspiThread*>(self)->handleSignal({sender, path}, name, arguments);
        },
        this, nullptr);
}

void AtspiThread::announceNow() {
    if (!connect() || !m_session)
        return;
    m_session->call(launcher,
                    {"org.freedesktop.DBus.Properties", "Set",
                     g_variant_new("(ssv)", "org.a11y.Status", "IsEnabled", g_variant_new_boolean(true))},
                    Clock::now() + serviceLimit);
}

void AtspiThread::handleSignal(const Object& source, const std::string& member, GVariant* arguments) {
    if (member == "Activate") {
        // The focused control inside is announced after this, or searched for.
        if (m_window != source)
            m_focus.reset();
        m_window = source;
    } else if (member == "Deactivate") {
        if (m_window == source)
            m_window.reset();
        if (m_focus && m_focus->program == source.program)
            m_focus.reset();
    } else if (g_variant_n_children(arguments) >= 2) {
        const GlibOwned<GVariant> gained(g_variant_get_child_value(arguments, 1));
        if (!g_variant_is_of_type(gained.get(), G_VARIANT_TYPE_INT32))
            return;
        if (g_variant_get_int32(gained.get()))
            m_focus = source;
        else if (m_focus == source)
            m_focus.reset();
    }
}

bool AtspiThread::isConnected() {
    if (m_bus && !m_bus->isClosed())
        return true;
    // For the next call; this one is over before the search is.
    if (Clock::now() - m_lastAttempt > retryPause)
        connect();
    return false;
}

void AtspiThread::readNow(Time deadline, Answer& answer) {
    if (m_focus && AtspiElement(*m_bus, *m_focus, deadline).read(answer))
        return;
    // A control that is gone fails at once and leaves time to look for another; a slow one keeps the focus.
    const auto found = searchFocus(deadline);
    if (!found)
        return;
    m_focus = found;
    AtspiElement(*m_bus, *m_focus, deadline).read(answer);
}

std::optional<AtspiThread::Object> AtspiThread::searchFocus(Time deadline) const {
    const auto window = m_window ? m_window : findActiveWindow(deadline);
    if (!window)
        return std::nullopt;
    std::deque<Object> waiting{*window};
    for (std::size_t seen = 0; !waiting.empty() && seen < searchSize && Clock::now() < deadline; ++seen) {
        const AtspiElement element(*m_bus, std::move(waiting.front()), deadline);
        waiting.pop_front();
        if (element.isFocused())
            return element.object();
        for (Object& child : element.children())
            waiting.push_back(std::move(child));
    }
    return std::nullopt;
}

std::optional<AtspiThread::Object> AtspiThread::findActiveWindow(Time deadline) const {
    for (const Object& application : AtspiElement(*m_bus, desktop, deadline).children()) {
        const auto step = std::min(deadline, Clock::now() + searchStep);
        for (const Object& window : AtspiElement(*m_bus, application, step).children())
            if (AtspiElement(*m_bus, window, step).isActive())
                return window;
    }
    return std::nullopt;
}

void AtspiThread::findProgramNow(Time deadline, Growing<ActiveProgram>& answer) {
    const auto window = m_window ? m_window : findActiveWindow(deadline);
    if (!window)
        return;
    ActiveProgram program;
    const Object root{window->program, desktop.path};
    if (const auto name = m_bus->property(root, "org.a11y.atspi.Accessible", "Name", deadline);
        name && g_variant_is_of_type(name.get(), G_VARIANT_TYPE_STRING))
        program.name = text::repairUtf8(g_variant_get_string(name.get(), nullptr));
    const char* const busName = "org.freedesktop.DBus";
    if (const auto process = m_bus->call(
            {busName, "/org/freedesktop/DBus"},
            {busName, "GetConnectionUnixProcessID", g_variant_new("(s)", window->program.c_str()), "(u)"}, deadline))
        g_variant_get(process.get(), "(u)", &program.process);
    answer.with([&](auto& found) { found = std::move(program); });
}

} // namespace fenlo
