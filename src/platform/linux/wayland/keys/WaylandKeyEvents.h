#pragma once

#include "base/Lifetime.h"
#include "platform/KeyEvents.h"
#include "platform/linux/wayland/keys/Keyboards.h"
#include "platform/linux/wayland/keys/PortalShortcut.h"
#include "platform/linux/wayland/posting/PasteKeys.h"

#include <memory>

namespace fenlo {

class KeyboardListener;
class MainQueue;
class WaylandConnection;

/// The keyboard of a Wayland session. Programs there hear no key of others, so it reads the machine's keyboards where
/// the user may; elsewhere the desktop's portal tells of a shortcut. Triggers from outside work always. Posting is
/// PasteKeys' work.
///
/// Threads: as KeyEvents.
/// Errors:  mouse-downs are not heard: devices do not tell where the pointer is.
class WaylandKeyEvents final : public KeyEvents {
public:
    struct Options {
        Keyboards::Options keyboards;
        bool asksPortal = true; // where no keyboard may be read
        PasteKeys::Options posting;
    };

    /// What hears the dictation key, the best first.
    enum class Hearing {
        keyboards,    // the hotkey of the settings, wherever it is pressed
        portal,       // the desktop's shortcut
        triggersOnly, // what the user binds in the compositor
    };

    /// Without a connection nothing is posted.
    WaylandKeyEvents(MainQueue& mainQueue, WaylandConnection* connection, Options options);
    ~WaylandKeyEvents() override;

    Hearing hearing() const;
    /// Of the portal's shortcut; absent until somebody listens.
    PortalShortcut::Report shortcut() const;
    /// Null without a connection.
    PasteKeys* pasteKeys() const { return m_pasteKeys.get(); }

    Sources listen(Listener listener) override;
    void stopListening() override;
    TriggerOutcome trigger(Trigger trigger) override;
    void watchMouseDown(std::function<void(ScreenPoint)>) override {}
    bool post(std::uint16_t keyCode, std::uint64_t flags, KeyDirection direction) override;
    bool type(const std::string& text) override;
    void releaseModifiers(double limit) override;
    void prepareToPost() override;
    bool canPost() const override;
    bool canDeliver(std::uint16_t keyCode) const override;
    std::string hotkeySubstitute() const override;

private:
    void startShortcut();
    template <typename Report>
    std::function<void(Report)> onMain(void (WaylandKeyEvents::*tell)(Report));
    void tellFlagsChanged(ModifierChange change);
    void tellKeyDown(std::uint16_t keyCode);
    void tellTrigger(Trigger given);

    MainQueue& m_mainQueue;
    const bool m_asksPortal;
    Listener m_listener;
    Lifetime m_lifetime;
    // Their threads report through the others.
    std::unique_ptr<KeyboardListener> m_keyboards;
    std::unique_ptr<PasteKeys> m_pasteKeys;
    std::unique_ptr<SessionKeyboard> m_layout;
    std::unique_ptr<PortalShortcut> m_shortcut;
};

} // namespace fenlo
