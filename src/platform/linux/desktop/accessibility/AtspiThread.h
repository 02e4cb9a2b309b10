#pragma once

#include "platform/Accessibility.h"
#include "platform/linux/desktop/DBusConnection.h"
#include "platform/linux/desktop/GlibThread.h"
#include "platform/linux/desktop/accessibility/AtspiElement.h"

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

namespace fenlo {

/// The program whose window is in front, as the accessibility bus knows it.
struct ActiveProgram {
    std::string name;          // as it calls itself
    std::uint32_t process = 0; // 0 when the bus does not know
};

/// The thread that speaks with the accessibility bus and knows where the focus is.
///
/// Threads: made, used and ended by the main thread.
class AtspiThread {
public:
    AtspiThread();
    ~AtspiThread();

    bool isAvailable() const { return m_isAvailable; }

    /// Tells all programs to publish their controls.
    void announce();

    /// Waits for `limit` seconds at most; the thread is free again by then, too.
    std::optional<FocusedElement> focusedElement(double limit);
    std::optional<ActiveProgram> activeProgram(double limit);

private:
    using Object = DBusConnection::Object;
    using Time = DBusConnection::Clock::time_point;
    template <typename T>
    using Growing = Guarded<std::optional<T>>; // while the program answers
    using Answer = Growing<FocusedElement>;

    template <typename T>
    std::optional<T> ask(double limit, void (AtspiThread::*work)(Time deadline, Growing<T>& answer));
    bool connect();
    std::string findBus(std::string& error);
    void registerEvents();
    void subscribe(const char* interface, const char* member, const char* detail);
    void announceNow();
    void handleSignal(const Object& source, const std::string& member, GVariant* arguments);
    bool isConnected();
    void readNow(Time deadline, Answer& answer);
    void findProgramNow(Time deadline, Growing<ActiveProgram>& answer);
    std::optional<Object> searchFocus(Time deadline) const;
    std::optional<Object> findActiveWindow(Time deadline) const;

    const GlibObject<GCancellable> m_end;
    std::atomic<bool> m_isAvailable = false;
    std::optional<DBusConnection> m_session; // this and the following: on the thread only
    std::optional<DBusConnection> m_bus;
    std::optional<Object> m_focus;
    std::optional<Object> m_window; // in front, according to the programs
    Time m_lastAttempt;
    bool m_isExplained = false;
    std::optional<GlibThread> m_thread;
};

} // namespace fenlo
