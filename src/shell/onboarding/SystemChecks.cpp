#include "shell/onboarding/SystemChecks.h"

#include "base/Background.h"

#include <algorithm>
#include <utility>

namespace fenlo {

namespace {

constexpr double interval = 1.0; // seconds
constexpr char copyAction[] = "Copy Command";

} // namespace

SystemChecks::SystemChecks(Desktop desktop, MainQueue& mainQueue, Background& background)
    : m_desktop(std::move(desktop)), m_mainQueue(mainQueue), m_background(background) {}

const char* SystemChecks::labelOf(State state) {
    switch (state) {
    case State::checking:
        return "Checking";
    case State::works:
        return "Ready";
    case State::limited:
        return "Limited";
    case State::broken:
        break;
    }
    return "Missing";
}

void SystemChecks::begin() {
    m_timer = m_mainQueue.every(interval, [this] { look(); });
    look();
}

void SystemChecks::end() {
    m_timer.cancel();
}

void SystemChecks::look() {
    if (m_keyringAnswers != true && !m_asksKeyring)
        askKeyring();
    std::vector<Row> rows{microphone(), keys(), accessibility(), tray(), secureStore()};
    if (std::exchange(m_rows, rows) != rows)
        m_changes.tell();
}

void SystemChecks::askKeyring() {
    m_asksKeyring = true;
    m_background.run([&queue = m_mainQueue, asked = m_desktop.keyringAnswers, answer = m_lifetime.bind([this](bool it) {
        m_asksKeyring = false;
        m_keyringAnswers = it;
        if (m_timer.isSet())
            look();
    })](std::stop_token) mutable { queue.post([answer, answers = asked()]() mutable { answer(answers); }); });
}

void SystemChecks::act(Subject subject) {
    const auto row = std::ranges::find(m_rows, subject, &Row::subject);
    if (row == m_rows.end() || row->action.empty())
        return;
    if (row->action == copyAction) {
        m_desktop.copy(row->command);
        return;
    }
    bool isDone = true;
    if (subject == Subject::microphone)
        isDone = m_desktop.openSoundSettings();
    else if (subject == Subject::accessibility)
        m_desktop.enableAccessibility();
    else if (subject == Subject::secureStore)
        m_desktop.askKeyringAgain();
    // Pages of settings may be opened again; the others have done what they can.
    if (!isDone || subject != Subject::microphone)
        m_tried.insert(subject);
    look();
}

SystemChecks::Row SystemChecks::microphone() const {
    if (const auto name = m_desktop.microphone())
        return {Subject::microphone, State::works, "Microphone", *name, {}, {}};
    return offering(
        {Subject::microphone, State::broken, "Microphone", "None is plugged in, or no sound server runs.", {}, {}},
        "Sound Settings", "sudo apt install pavucontrol");
}

SystemChecks::Row SystemChecks::keys() const {
    const bool hears = m_desktop.hearsKeys();
    if (hears && m_desktop.postsKeys())
        return {Subject::keys, State::works, "Keyboard", "Your hotkey is heard in every application.", {}, {}};
    return {Subject::keys,
            State::limited,
            "Keyboard",
            hears ? "Fenlo cannot paste here. Your words wait on the clipboard for Ctrl+V."
                  : "Your hotkey is not heard here. Use a shortcut of the desktop: run `fenlo doctor`.",
            {},
            {}};
}

SystemChecks::Row SystemChecks::accessibility() const {
    if (m_desktop.hasAccessibility())
        return {
            Subject::accessibility, State::works, "Accessibility", "Fenlo sees the text around your cursor.", {}, {}};
    return offering({Subject::accessibility,
                     State::limited,
                     "Accessibility",
                     "Without it Fenlo cannot see the text around your cursor.",
                     {},
                     {}},
                    "Enable", "sudo apt install at-spi2-core");
}

SystemChecks::Row SystemChecks::tray() const {
    if (m_desktop.hasTray())
        return {Subject::tray, State::works, "System tray", "Fenlo's icon is in your panel.", {}, {}};
    return {Subject::tray,
            State::limited,
            "System tray",
            "Your panel shows no icons. Open Fenlo from the applications menu instead.",
            {},
            {}};
}

SystemChecks::Row SystemChecks::secureStore() const {
    if (!m_keyringAnswers)
        return {Subject::secureStore, State::checking, "Secure store", "Asking your keyring.", {}, {}};
    if (*m_keyringAnswers)
        return {
            Subject::secureStore, State::works, "Secure store", "Your keys are kept in the desktop's keyring.", {}, {}};
    return offering({Subject::secureStore,
                     State::limited,
                     "Secure store",
                     "No keyring answers, so keys last until Fenlo ends.",
                     {},
                     {}},
                    "Unlock", "sudo apt install gnome-keyring");
}

/// What the program can do itself comes first, then what the user can.
SystemChecks::Row SystemChecks::offering(Row row, const std::string& action, const std::string& command) const {
    if (!m_tried.contains(row.subject)) {
        row.action = action;
        return row;
    }
    row.action = copyAction;
    row.command = command;
    return row;
}

} // namespace fenlo
