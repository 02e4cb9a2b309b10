#pragma once

#include "platform/linux/desktop/DBusConnection.h"
#include "platform/linux/desktop/GlibThread.h"
#include "platform/linux/desktop/GlibTimer.h"
#include "platform/linux/desktop/portal/PortalRequest.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace fenlo {

/// Presses keys through the RemoteDesktop portal, which asks the user for leave. A session is opened when a dictation
/// begins and closed some seconds after the last key, since desktops show a sign while it is open. The leave is
/// remembered by a token for one use each. A portal too old for that keeps its session, since it would ask again.
/// (https://flatpak.github.io/xdg-desktop-portal/docs/doc-org.freedesktop.portal.RemoteDesktop.html)
///
/// Threads: call on one; the bus has a thread of its own.
/// Errors:  false when the key was not pressed. A user who refuses is not asked again before the next start.
class RemoteDesktopKeys {
public:
    struct Timing {
        double firstKey = 0.3;    // seconds after the start, before which desktops lose keys
        double afterKeys = 5;     // seconds until the session closes after a key
        double withoutKeys = 600; // and after it was opened
        double userLimit = 120;   // for the user's answer
    };

    struct Key {
        std::uint32_t number;
        bool isSymbol; // a keysym, else the kernel's key code
    };

    /// Asks the session bus whether there is such a portal.
    RemoteDesktopKeys(std::filesystem::path tokenFile, Timing timing);
    explicit RemoteDesktopKeys(std::filesystem::path tokenFile) : RemoteDesktopKeys(std::move(tokenFile), Timing()) {}
    ~RemoteDesktopKeys();
    RemoteDesktopKeys(const RemoteDesktopKeys&) = delete;
    RemoteDesktopKeys& operator=(const RemoteDesktopKeys&) = delete;

    /// Whether the portal is there and the user has not refused. Waits for the portal, two seconds at most.
    bool isUsable();
    bool isRefused();

    /// Opens the session unless it is open. Returns at once.
    void prepare();
    /// Presses the keys one after the other, or releases them. Waits for a session that is being opened, a second at
    /// most.
    bool send(std::vector<Key> keys, bool isDown);

private:
    enum class Phase { unknown, absent, closed, opening, settling, open, refused };
    using Waiting = std::function<void(bool isOpen)>;

    // On the thread.
    void connect();
    void learnVersion();
    void open();
    void createSession();
    void selectDevices();
    void start();
    void started(PortalRequest::Answer answer);
    void give(Phase phase);
    void fail(const PortalRequest::Answer& answer);
    void watchSession();
    void close();
    void closeAfter(double seconds);
    void whenOpen(Waiting waiting);
    bool notify(const std::vector<Key>& keys, bool isDown);
    void request(const PortalRequest::Call& call, void (RemoteDesktopKeys::*next)(PortalRequest::Answer));
    void created(PortalRequest::Answer answer);
    void selected(PortalRequest::Answer answer);
    std::string takeToken();

    template <typename Result>
    Result ask(std::chrono::milliseconds limit, std::function<void(std::function<void(Result)>)> question,
               Result otherwise);

    const std::filesystem::path m_tokenFile;
    const Timing m_timing;
    const GlibObject<GCancellable> m_end;
    std::optional<DBusConnection> m_bus;
    std::optional<PortalPresence> m_presence;
    Phase m_phase = Phase::unknown;
    std::uint32_t m_version = 0;
    std::string m_session;
    guint m_sessionClosed = 0; // subscription
    std::unique_ptr<PortalRequest> m_request;
    GlibTimer m_timer; // the thread's
    std::vector<Waiting> m_waiting;
    GlibThread m_thread; // last, so that it ends first
};

} // namespace fenlo
