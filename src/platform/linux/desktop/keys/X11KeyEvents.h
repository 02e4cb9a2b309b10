#pragma once

#include "base/Lifetime.h"
#include "platform/KeyEvents.h"

#include <memory>

namespace fenlo {

class MainQueue;
class OwnKeys;
class X11KeyListener;
class X11KeyPoster;

/// The keyboard of an X11 desktop: XInput2 raw events are listened to on a connection and thread of their own, XTest
/// posts on another connection. `command` is Control here, so that the editing shortcuts are the desktop's.
///
/// The listener hears the user's fingers: a modifier that post() or releaseModifiers() had to lift counts as held until
/// the user lets go of it.
///
/// Threads: as KeyEvents.
/// Errors:  without an X server, also after its end, everything is false and nothing is reported.
class X11KeyEvents final : public KeyEvents {
public:
    /// Connects to the server that DISPLAY names.
    explicit X11KeyEvents(MainQueue& mainQueue);
    ~X11KeyEvents() override;

    bool isConnected() const;
    /// Whether the server has raw key events (XInput 2.1), which listening needs.
    bool hasXInput2() const;
    bool hasXTest() const;

    Sources listen(Listener listener) override;
    void stopListening() override;
    TriggerOutcome trigger(Trigger trigger) override;
    void watchMouseDown(std::function<void(ScreenPoint)> handler) override;
    bool post(std::uint16_t keyCode, std::uint64_t flags, KeyDirection direction) override;
    bool type(const std::string& text) override;
    void releaseModifiers(double limit) override;
    bool canPost() const override;
    bool canDeliver(std::uint16_t keyCode) const override;

private:
    template <typename Report>
    std::function<void(Report)> onMain(void (X11KeyEvents::*tell)(Report) const);
    void tellFlagsChanged(ModifierChange change) const;
    void tellKeyDown(std::uint16_t keyCode) const;
    void tellMouseDown(ScreenPoint point) const;

    MainQueue& m_mainQueue;
    Listener m_listener;
    std::function<void(ScreenPoint)> m_mouseDown;
    std::unique_ptr<OwnKeys> m_own;
    std::unique_ptr<X11KeyPoster> m_poster;
    std::unique_ptr<X11KeyListener> m_thread;
    Lifetime m_lifetime;
};

} // namespace fenlo
