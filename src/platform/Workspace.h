#pragma once

#include <functional>
#include <optional>
#include <string>

namespace fenlo {

/// Which keys paste in an application.
enum class PasteChord { controlV, controlShiftV, shiftInsert };

struct FrontApplication {
    std::string name; // as the user knows it
    std::string id;   // what the substring tables work on, such as "com.microsoft.vscode"
    bool isTerminal = false;
    PasteChord paste = PasteChord::controlV;
    bool isOwn = false; // a window of this program, which answers nobody while its main thread waits
};

/// The desktop session: the front application, other copies of this program, login, sleep, the locked screen.
///
/// Threads: main thread, callbacks too. Only callOtherInstance() waits for another program.
class Workspace {
public:
    virtual ~Workspace() = default;

    virtual std::optional<FrontApplication> frontApplication() = 0;

    /// Takes the lock that marks the one running instance; false when another instance has it.
    virtual bool becomeOnlyInstance() = 0;
    /// Asks the running instance to show itself. Takes a second at most; false when it did not answer in that time.
    virtual bool callOtherInstance() = 0;
    /// Called when another start of the program asked this one to show itself. What was asked before there was a
    /// handler is told to the first one.
    virtual void onCalled(std::function<void()> handler) = 0;

    /// Whether it is settled if the session starts this program at login: it does, or the user has switched it off.
    virtual bool isLoginItem() const = 0;
    /// Lets the session start this program at login. Returns an error text, or nothing.
    virtual std::optional<std::string> registerLoginItem() = 0;
    /// Whether the session will start this program at login.
    virtual bool opensAtLogin() const = 0;
    /// The user's decision, which isLoginItem() and registerLoginItem() respect. Returns an error text, or nothing.
    virtual std::optional<std::string> setOpensAtLogin(bool opens) = 0;

    /// Called before the machine sleeps.
    virtual void onWillSleep(std::function<void()> handler) = 0;

    /// Whether keys would reach a lock screen. Known some time after onScreenLocked() was given a handler.
    virtual bool isScreenLocked() const = 0;
    /// Called when the screen locks, or is about to.
    virtual void onScreenLocked(std::function<void()> handler) = 0;

    /// Opens the address in the program that the desktop has for it. Calls `onFailure` where that is known not to have
    /// worked: at most once, some seconds later at most.
    virtual void openUrl(const std::string& url, std::function<void()> onFailure) = 0;
    void openUrl(const std::string& url) {
        openUrl(url, [] {});
    }
    /// Opens the desktop's page for microphones. False when it has no program for that.
    virtual bool openSoundSettings() = 0;
};

} // namespace fenlo
