#pragma once

#include "base/Changes.h"
#include "base/Lifetime.h"
#include "base/MainQueue.h"

#include <functional>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <vector>

namespace fenlo {

class Background;

/// What this desktop grants the program, looked at again and again while the user mends it.
///
/// Threads: main thread only; what may wait is asked on a worker.
class SystemChecks {
public:
    enum class Subject { microphone, keys, accessibility, tray, secureStore };
    enum class State {
        checking,
        works,
        limited, // a dictation works without it
        broken,
    };
    struct Row {
        Subject subject;
        State state;
        std::string title;
        std::string detail;
        std::string action;  // caption of the button; empty when there is nothing to press
        std::string command; // to be run in a terminal; empty when there is none

        bool operator==(const Row&) const = default;
    };

    /// How things stand, and what can be done about them. All must be filled in.
    struct Desktop {
        std::function<std::optional<std::string>()> microphone; // its name
        std::function<bool()> hearsKeys;
        std::function<bool()> postsKeys;
        std::function<bool()> hasAccessibility;
        std::function<bool()> hasTray;
        std::function<bool()> keyringAnswers; // on a worker; may take long
        std::function<void()> enableAccessibility;
        std::function<bool()> openSoundSettings; // false when there is no program for it
        std::function<void()> askKeyringAgain;
        std::function<void(const std::string&)> copy; // to the clipboard
    };

    SystemChecks(Desktop desktop, MainQueue& mainQueue, Background& background);
    SystemChecks(const SystemChecks&) = delete;
    SystemChecks& operator=(const SystemChecks&) = delete;

    /// Looks now, and every second from now on.
    void begin();
    void end();

    const std::vector<Row>& rows() const { return m_rows; }
    static const char* labelOf(State state);
    /// Carries the row's remedy out. Where that changes nothing, the row offers the command to run instead.
    void act(Subject subject);

    [[nodiscard]] Changes::Watch watch(std::function<void()> handler) { return m_changes.watch(std::move(handler)); }

private:
    void look();
    void askKeyring();
    Row microphone() const;
    Row keys() const;
    Row accessibility() const;
    Row tray() const;
    Row secureStore() const;
    Row offering(Row row, const std::string& action, const std::string& command) const;

    const Desktop m_desktop;
    MainQueue& m_mainQueue;
    Background& m_background;
    std::vector<Row> m_rows;
    std::set<Subject> m_tried; // remedies that were carried out
    std::optional<bool> m_keyringAnswers;
    bool m_asksKeyring = false;
    Timer m_timer;
    Changes m_changes;
    Lifetime m_lifetime;
};

} // namespace fenlo
