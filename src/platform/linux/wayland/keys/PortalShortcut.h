#pragma once

#include "base/Guarded.h"
#include "platform/Trigger.h"
#include "platform/linux/desktop/DBusConnection.h"
#include "platform/linux/desktop/GlibThread.h"
#include "platform/linux/desktop/keys/ShortcutEdges.h"
#include "platform/linux/desktop/portal/PortalRequest.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace fenlo {

/// A shortcut for dictation of which the desktop's portal tells press and release. The user chooses its keys in the
/// desktop's own dialog.
/// (https://flatpak.github.io/xdg-desktop-portal/docs/doc-org.freedesktop.portal.GlobalShortcuts.html)
///
/// A portal that comes later, or comes back, is used as soon as it is there.
///
/// Threads: made and ended on one thread; status() on any. The sink is called on the shortcut's own.
class PortalShortcut {
public:
    enum class State {
        seeking, // the portal is asked, and may ask the user
        bound,   // its press and release are told
        unbound, // the portal works, but the user has chosen no keys yet
        refused, // by the user, or by the portal
        absent,  // there is no portal, or it has no shortcuts
    };

    struct Report {
        State state = State::seeking;
        std::string keys;  // what the desktop calls them, such as "Press <Ctrl><Alt>d"; may be empty
        std::string error; // of the portal's, for a log; empty when there is none
    };

    /// `onTrigger` is told press and release, and command for the shortcut that makes a dictation a command.
    explicit PortalShortcut(std::function<void(Trigger)> onTrigger);
    ~PortalShortcut();
    PortalShortcut(const PortalShortcut&) = delete;
    PortalShortcut& operator=(const PortalShortcut&) = delete;

    Report status() const {
        return m_status.with([](const Report& status) { return status; });
    }

private:
    using Answer = PortalRequest::Answer;

    // On the thread, like all that follows.
    void connect();
    void watchOwner();
    void watchShortcuts();
    void begin();
    void createSession();
    void listShortcuts();
    void bindShortcuts();
    void ask(const PortalRequest::Call& call, void (PortalShortcut::*next)(const Answer&));
    void sessionCreated(const Answer& answer);
    void listed(const Answer& answer);
    void bound(const Answer& answer);
    void take(GVariant* shortcuts);
    void hear(const std::string& signal, GVariant* arguments);
    void pressed();
    void released();
    void forgetSession();
    void failed(const Answer& answer);
    void closed();
    void retryLater();
    void become(Report status);

    const std::function<void(Trigger)> m_onTrigger;
    const GlibObject<GCancellable> m_end;
    std::optional<DBusConnection> m_bus;
    std::optional<PortalPresence> m_presence;
    std::optional<PortalRequest> m_request;
    std::string m_session; // its object's path; empty without one
    ShortcutEdges m_edges;
    bool m_isPressed = false;
    bool m_mayAskUser = false; // by the request under way
    double m_retryDelay = 0;   // seconds
    GSource* m_retry = nullptr;
    std::string m_line; // the last in the log
    Guarded<Report> m_status;
    std::unique_ptr<GlibThread> m_thread;
};

/// Whether a portal runs that knows shortcuts, for those who only want to know. Waits for half a second at most. A yes
/// may be wrong: a portal offers the interface also where nothing of this desktop stands behind it.
bool hasShortcutPortal();

/// The same, found out by opening a session and closing it; asks the user nothing. Waits for three seconds at most.
bool givesShortcuts();

} // namespace fenlo
