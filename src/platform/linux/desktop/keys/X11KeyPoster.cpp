#include "platform/linux/desktop/keys/X11KeyPoster.h"

#include "platform/KeyCodes.h"
#include "platform/linux/desktop/keys/PortKeys.h"
#include "platform/linux/desktop/keys/TypedText.h"

#include <X11/XKBlib.h>
#include <X11/extensions/XTest.h>
#include <algorithm>
#include <thread>

namespace fenlo {

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto settleTime = std::chrono::milliseconds(20); // some programs miss a modifier that went down later
constexpr unsigned long strokeTime = 2;                    // milliseconds between typed characters
constexpr auto runPause = std::chrono::milliseconds(100);  // chords in quicker succession settle once

struct Modifier {
    std::uint64_t flag;
    std::uint16_t portCode;
};

constexpr Modifier pressable[] = {
    {mask::control, key::controlLeft},
    {mask::shift, key::shiftLeft},
    {mask::option, key::optionLeft},
};

template <typename Handle>
void forEachHeldModifier(Display* display, const KeyboardMap& map, Handle&& handle) {
    const ServerKeys keys(display);
    for (unsigned code = 0; code < 256; ++code)
        if (const auto key = static_cast<KeyboardMap::XKey>(code); keys.isDown(key) && map.isModifier(key))
            handle(key);
}

} // namespace

std::unique_ptr<X11KeyPoster> X11KeyPoster::open(OwnKeys& own) {
    auto display = XDisplay::open();
    return display ? std::unique_ptr<X11KeyPoster>(new X11KeyPoster(std::move(display), own)) : nullptr;
}

X11KeyPoster::X11KeyPoster(std::unique_ptr<XDisplay> display, OwnKeys& own)
    : m_display(std::move(display)), m_own(own) {
    int unused, major, minor;
    m_hasXTest = XTestQueryExtension(m_display->get(), &unused, &unused, &major, &minor);
    if (XkbQueryExtension(m_display->get(), &unused, &m_keyboardEvents, &unused, nullptr, nullptr)) {
        constexpr unsigned mapping = XkbNewKeyboardNotifyMask | XkbMapNotifyMask;
        XkbSelectEvents(m_display->get(), XkbUseCoreKbd, mapping, mapping);
        m_map = KeyboardMap::read(m_display->get());
    }
}

X11KeyPoster::~X11KeyPoster() {
    // A key that is left down would stay down after the program's end.
    for (const auto& [portCode, key] : m_pressed)
        fake(key, KeyDirection::up);
    releaseModifiers();
}

bool X11KeyPoster::canDeliver(std::uint16_t portCode) {
    const unsigned group = currentGroup();
    return isConnected() && m_map.find(portCode, group).has_value();
}

bool X11KeyPoster::press(std::uint16_t portCode, std::uint64_t flags) {
    if (!m_hasXTest)
        return false;
    const unsigned group = currentGroup();
    const auto press = findPress(KeyChord{portCode, flags}.onThisDesktop(), group);
    if (!press || !isConnected())
        return false;
    const bool isRun = press->flags == m_settled && Clock::now() - m_lastRelease < runPause;
    if (prepareModifiers(press->flags, group) && !isRun) {
        XSync(m_display->get(), False);
        std::this_thread::sleep_for(settleTime);
    }
    // Who lets go of a modifier meanwhile takes it from the chord too, and the letter alone would be typed.
    XGrabServer(m_display->get());
    prepareModifiers(press->flags, group);
    m_settled = press->flags;
    m_pressed[portCode] = press->key;
    fake(press->key, KeyDirection::down);
    XUngrabServer(m_display->get());
    // The answer shows that the server has handled the key, so the caller's hold begins now.
    XSync(m_display->get(), False);
    return isConnected();
}

std::optional<X11KeyPoster::Press> X11KeyPoster::findPress(const KeyChord& chord, unsigned group) const {
    if (const auto key = m_map.find(chord.portCode, group))
        return Press{*key, chord.flags};
    if (const auto substitute = chord.withoutLetters()) {
        const auto key = m_map.find(substitute->portCode, group);
        return key ? std::optional(Press{*key, substitute->flags}) : std::nullopt;
    }
    // Some toolkits resolve shortcuts by the letter's place. A shortcut with Shift goes to a terminal, which would type
    // what this layout has there.
    const auto key = chord.flags == mask::control ? m_map.atUsualPlace(chord.portCode) : std::nullopt;
    return key ? std::optional(Press{*key, chord.flags}) : std::nullopt;
}

bool X11KeyPoster::release(std::uint16_t portCode) {
    const auto pressed = m_pressed.find(portCode);
    if (pressed == m_pressed.end())
        return false;
    fake(pressed->second, KeyDirection::up);
    m_pressed.erase(pressed);
    releaseModifiers();
    m_lastRelease = Clock::now();
    return isConnected();
}

bool X11KeyPoster::type(std::string_view text) {
    const auto typed = m_hasXTest ? TypedText::find(m_display->get(), text) : std::nullopt;
    if (!typed)
        return false;
    bool shift = false, levelThree = false;
    const auto hold = [&](bool& isHeld, bool wanted, XKey key) {
        if (isHeld != wanted)
            fake(key, wanted ? KeyDirection::down : KeyDirection::up);
        isHeld = wanted;
    };
    for (const auto& stroke : typed->strokes) {
        hold(shift, stroke.shift, typed->shiftKey);
        hold(levelThree, stroke.levelThree, typed->levelThreeKey);
        fake(stroke.key, KeyDirection::down, strokeTime);
        fake(stroke.key, KeyDirection::up);
    }
    hold(shift, false, typed->shiftKey);
    hold(levelThree, false, typed->levelThreeKey);
    XSync(m_display->get(), False);
    return isConnected();
}

bool X11KeyPoster::holdsModifier() {
    bool holds = false;
    forEachHeldModifier(m_display->get(), m_map, [&](XKey) { holds = true; });
    return holds;
}

void X11KeyPoster::liftModifiers() {
    if (m_hasXTest)
        forEachHeldModifier(m_display->get(), m_map, [&](XKey key) { fake(key, KeyDirection::up); });
    XSync(m_display->get(), False);
}

unsigned X11KeyPoster::currentGroup() {
    XkbStateRec state{};
    XkbGetState(m_display->get(), XkbUseCoreKbd, &state);
    // With the answer came the earlier changes of the layout.
    while (XPending(m_display->get()) > 0) {
        XEvent event;
        XNextEvent(m_display->get(), &event);
        if (event.type == m_keyboardEvents || event.type == MappingNotify)
            m_mapIsStale = true;
    }
    if (std::exchange(m_mapIsStale, false))
        m_map = KeyboardMap::read(m_display->get());
    return state.group;
}

bool X11KeyPoster::prepareModifiers(std::uint64_t wanted, unsigned group) {
    bool changed = false;
    std::uint64_t held = 0;
    forEachHeldModifier(m_display->get(), m_map, [&](XKey key) {
        const std::uint64_t flag = flagOf(m_map.portCode(key));
        if (flag & wanted) {
            held |= flag;
            return;
        }
        fake(key, KeyDirection::up);
        changed = true;
    });
    for (const Modifier& modifier : pressable) {
        const auto key = m_map.find(modifier.portCode, group);
        if (!(wanted & ~held & modifier.flag) || !key)
            continue;
        if (std::ranges::find(m_pressedModifiers, *key) == m_pressedModifiers.end())
            m_pressedModifiers.push_back(*key);
        else
            fake(*key, KeyDirection::up); // ours is down still, so that a press would be none
        fake(*key, KeyDirection::down);
        changed = true;
    }
    return changed;
}

void X11KeyPoster::releaseModifiers() {
    for (; !m_pressedModifiers.empty(); m_pressedModifiers.pop_back())
        fake(m_pressedModifiers.back(), KeyDirection::up);
    XFlush(m_display->get());
}

void X11KeyPoster::fake(XKey key, KeyDirection direction, unsigned long delay) {
    m_own.expect(key, direction, Clock::now());
    XTestFakeKeyEvent(m_display->get(), key, direction == KeyDirection::down, delay);
}

} // namespace fenlo
