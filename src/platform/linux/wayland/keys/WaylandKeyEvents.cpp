#include "platform/linux/wayland/keys/WaylandKeyEvents.h"

#include "base/MainQueue.h"
#include "platform/linux/desktop/keys/PortKeys.h"
#include "platform/linux/wayland/keys/KeyboardListener.h"
#include "platform/linux/wayland/posting/SessionKeyboard.h"

namespace fenlo {

namespace {

constexpr std::string_view pressWord = "Press "; // with which GNOME begins

} // namespace

WaylandKeyEvents::WaylandKeyEvents(MainQueue& mainQueue, WaylandConnection* connection, Options options)
    : m_mainQueue(mainQueue), m_asksPortal(options.asksPortal),
      m_keyboards(std::make_unique<KeyboardListener>(
          std::move(options.keyboards), Listener{.onFlagsChanged = onMain(&WaylandKeyEvents::tellFlagsChanged),
                                                 .onKeyDown = onMain(&WaylandKeyEvents::tellKeyDown)})) {
    if (!connection)
        return;
    options.posting.waitForModifiers = [this](Deadline until) { return m_keyboards->waitForModifiers(until); };
    m_pasteKeys = std::make_unique<PasteKeys>(*connection, std::move(options.posting));
    m_layout = std::make_unique<SessionKeyboard>(*connection);
}

WaylandKeyEvents::~WaylandKeyEvents() = default;

template <typename Report>
std::function<void(Report)> WaylandKeyEvents::onMain(void (WaylandKeyEvents::*tell)(Report)) {
    return [this, tell](Report report) {
        m_mainQueue.post(m_lifetime.bind([this, tell, report] { (this->*tell)(report); }));
    };
}

// The handlers are copied, since a handler may replace itself.

void WaylandKeyEvents::tellFlagsChanged(ModifierChange change) {
    if (const auto handler = m_listener.onFlagsChanged)
        handler(change);
}

void WaylandKeyEvents::tellKeyDown(std::uint16_t keyCode) {
    if (const auto handler = m_listener.onKeyDown)
        handler(keyCode);
}

void WaylandKeyEvents::tellTrigger(Trigger given) {
    trigger(given);
}

WaylandKeyEvents::Hearing WaylandKeyEvents::hearing() const {
    if (m_keyboards->hears())
        return Hearing::keyboards;
    return shortcut().state == PortalShortcut::State::bound ? Hearing::portal : Hearing::triggersOnly;
}

PortalShortcut::Report WaylandKeyEvents::shortcut() const {
    return m_shortcut ? m_shortcut->status() : PortalShortcut::Report{PortalShortcut::State::absent, "", ""};
}

KeyEvents::Sources WaylandKeyEvents::listen(Listener listener) {
    m_listener = std::move(listener);
    if (const auto layout = m_layout ? m_layout->keymap() : std::nullopt)
        m_keyboards->setLayout(*layout);
    startShortcut();
    const bool hears = m_keyboards->hears();
    return {.global = hears, .local = hears, .eventTap = hears};
}

/// Asks the user, so not before somebody listens; and once, since each asking may open a dialog.
void WaylandKeyEvents::startShortcut() {
    if (m_asksPortal && !m_shortcut && !m_keyboards->hears())
        m_shortcut = std::make_unique<PortalShortcut>(onMain(&WaylandKeyEvents::tellTrigger));
}

void WaylandKeyEvents::stopListening() {
    m_listener = {};
}

TriggerOutcome WaylandKeyEvents::trigger(Trigger trigger) {
    const auto handler = m_listener.onTrigger;
    return handler ? handler(trigger) : TriggerOutcome::notListening;
}

bool WaylandKeyEvents::post(std::uint16_t keyCode, std::uint64_t flags, KeyDirection direction) {
    return m_pasteKeys && m_pasteKeys->post(keyCode, flags, direction);
}

bool WaylandKeyEvents::type(const std::string& text) {
    return m_pasteKeys && m_pasteKeys->type(text);
}

void WaylandKeyEvents::releaseModifiers(double limit) {
    if (m_pasteKeys)
        m_pasteKeys->releaseModifiers(limit);
}

void WaylandKeyEvents::prepareToPost() {
    if (m_pasteKeys)
        m_pasteKeys->prepare();
}

bool WaylandKeyEvents::canPost() const {
    return m_pasteKeys && m_pasteKeys->canPost();
}

bool WaylandKeyEvents::canDeliver(std::uint16_t keyCode) const {
    if (flagOf(keyCode))
        return m_keyboards->haveModifier(keyCode);
    return m_pasteKeys && m_pasteKeys->canDeliver(keyCode);
}

std::string WaylandKeyEvents::hotkeySubstitute() const {
    if (m_keyboards->hears())
        return {};
    const PortalShortcut::Report told = shortcut();
    if (told.state != PortalShortcut::State::bound || told.keys.empty())
        return "your desktop's shortcut";
    return told.keys.starts_with(pressWord) ? told.keys.substr(pressWord.size()) : told.keys;
}

} // namespace fenlo
