#pragma once

#include "platform/linux/desktop/DBusConnection.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace fenlo {

namespace portal {

inline constexpr char service[] = "org.freedesktop.portal.Desktop";
inline constexpr char path[] = "/org/freedesktop/portal/desktop";

/// A fresh name for a request or a session, of the characters that a part of an object's path may have.
std::string makeToken();

/// A text or an object's path in a dictionary of results; empty when there is none.
std::string textIn(GVariant* results, const char* key);

} // namespace portal

/// Tells when the portal comes and when it goes.
///
/// Threads:  one, whose GLib loop tells.
/// Lifetime: until the loop or the connection ends.
class PortalPresence {
public:
    PortalPresence(const DBusConnection& bus, std::function<void(bool isThere)> told);
    PortalPresence(const PortalPresence&) = delete;
    PortalPresence& operator=(const PortalPresence&) = delete;

private:
    const std::function<void(bool)> m_told;
};

/// A call to the desktop's portal that is answered later, by the signal of a request object, often after a question to
/// the user. (https://flatpak.github.io/xdg-desktop-portal/docs/doc-org.freedesktop.portal.Request.html)
///
/// Threads:  one, whose GLib loop delivers the answer (GlibThread); nothing blocks.
/// Errors:   each is an outcome. `done` is called exactly once, and not before the constructor has returned.
/// Lifetime: the connection outlives the request. One that is destroyed unanswered is withdrawn: its dialog closes, and
///           `done` is not called. `done` may destroy it.
class PortalRequest {
public:
    enum class Outcome {
        granted,
        denied, // by the user
        failed, // the portal says so, or went away meanwhile
        absent, // no portal runs, or this one lacks the interface
        silent, // no answer within the limit
    };

    struct Answer {
        Outcome outcome;
        GlibOwned<GVariant> results; // a dictionary; null unless granted
        std::string error;           // one line, for a log; empty when granted
    };
    using Done = std::function<void(Answer)>;

    struct Call {
        const char* interface;
        const char* method;
        std::vector<GVariant*> arguments;                       // before the options, which come last in all methods
        std::vector<std::pair<const char*, GVariant*>> options; // the request's own name is added
        double limit;                                           // seconds; a question to the user takes its time
    };

    PortalRequest(const DBusConnection& bus, const Call& call, Done done);
    ~PortalRequest();
    PortalRequest(const PortalRequest&) = delete;
    PortalRequest& operator=(const PortalRequest&) = delete;

private:
    void subscribe();
    void watchPortal();
    void startLimit(double seconds);
    void send(const Call& call, const std::string& token);
    void returned(GVariant* answer, const GError* error);
    void responded(GVariant* parameters);
    void withdraw();
    void finish(Outcome outcome, GVariant* results, std::string error);
    void forget();

    GDBusConnection* const m_bus;
    std::string m_handle; // of the request object
    Done m_done;
    const GlibObject<GCancellable> m_cancel;
    guint m_response = 0, m_owner = 0; // subscriptions
    GSource* m_limit = nullptr;
};

} // namespace fenlo
