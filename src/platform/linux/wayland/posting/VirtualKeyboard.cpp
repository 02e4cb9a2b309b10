#include "platform/linux/wayland/posting/VirtualKeyboard.h"

#include "base/Deadline.h"
#include "base/Descriptor.h"

#include <algorithm>
#include <chrono>
#include <sys/mman.h>
#include <utility>

#include "virtual-keyboard-unstable-v1-client-protocol.h"

namespace fenlo {

namespace {

constexpr double compositorLimit = 1;    // seconds
constexpr std::size_t strokesAtOnce = 8; // characters; a program's socket holds some hundred
constexpr double strokesTime = 0.020;    // seconds from these to the next
constexpr double keymapPause = 0.040;    // seconds for X programs, which ask for a new keymap when they hear of it

std::uint32_t milliseconds() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

bool isReady(const std::future<void>& future, Deadline deadline) {
    return future.wait_until(deadline) == std::future_status::ready;
}

} // namespace

/// A text on its way.
struct VirtualKeyboard::Typing {
    std::vector<TypingKeymap> keyboards;
    std::size_t keyboard = 0, stroke = 0; // the next
    std::shared_ptr<std::promise<void>> done;
};

std::unique_ptr<VirtualKeyboard> VirtualKeyboard::open(WaylandConnection& connection, SessionKeyboard& session) {
    if (!connection.offers(zwp_virtual_keyboard_manager_v1_interface.name) || !connection.offers("wl_seat"))
        return nullptr;
    std::unique_ptr<VirtualKeyboard> keyboard(new VirtualKeyboard(connection, session));
    return keyboard->m_keyboard ? std::move(keyboard) : nullptr;
}

VirtualKeyboard::VirtualKeyboard(WaylandConnection& connection, SessionKeyboard& session)
    : m_connection(connection), m_session(session) {
    const auto keymap = session.keymap();
    connection.call([&] {
        auto* const manager =
            m_connection.bind<zwp_virtual_keyboard_manager_v1>(zwp_virtual_keyboard_manager_v1_interface, 1);
        if (!manager)
            return;
        m_keyboard = zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(manager, m_connection.seat());
        zwp_virtual_keyboard_manager_v1_destroy(manager);
        if (keymap || m_american)
            upload((keymap ? *keymap : *m_american).text());
    });
}

VirtualKeyboard::~VirtualKeyboard() {
    m_connection.call([this] {
        m_nextStroke.stop();
        // A key that is left down would stay down after the program's end.
        for (const auto& [portCode, code] : m_pressed)
            key(code, false);
        if (m_keyboard)
            zwp_virtual_keyboard_v1_destroy(m_keyboard);
        wl_display_flush(m_connection.display()); // the connection may end before its loop sends
    });
}

bool VirtualKeyboard::canDeliver(std::uint16_t portCode) {
    return isUsable() && find(portCode).has_value();
}

std::optional<std::pair<SessionKeymap, SessionKeymap::Key>> VirtualKeyboard::find(std::uint16_t portCode) {
    for (const auto& keymap : {m_session.keymap(), m_american})
        if (const auto found = keymap ? keymap->find(portCode) : std::nullopt)
            return std::pair(*keymap, *found);
    return std::nullopt;
}

bool VirtualKeyboard::press(std::uint16_t portCode, std::uint64_t flags) {
    const auto found = find(portCode);
    return found && handled([&] {
               const auto& [keymap, place] = *found;
               upload(keymap.text());
               zwp_virtual_keyboard_v1_modifiers(m_keyboard, keymap.modifierBits(flags), 0, 0, place.group);
               key(place.code, true);
               m_pressed[portCode] = place.code;
           });
}

bool VirtualKeyboard::release(std::uint16_t portCode) {
    bool wasPressed = false;
    const bool isHandled = handled([&] {
        const auto pressed = m_pressed.extract(portCode);
        wasPressed = !pressed.empty();
        if (!wasPressed)
            return;
        key(pressed.mapped(), false);
        zwp_virtual_keyboard_v1_modifiers(m_keyboard, 0, 0, 0, 0);
    });
    return isHandled && wasPressed;
}

bool VirtualKeyboard::type(const std::string& text) {
    auto keyboards = TypingKeymap::forText(text);
    if (keyboards.empty() || !isUsable())
        return false;
    const auto typing = std::make_shared<Typing>(Typing{std::move(keyboards), 0, 0, {}});
    typing->done = std::make_shared<std::promise<void>>();
    double time = compositorLimit;
    for (const TypingKeymap& each : typing->keyboards)
        time += static_cast<double>(each.strokes.size()) * strokesTime / strokesAtOnce + 2 * keymapPause;
    const auto done = typing->done->get_future();
    m_connection.invoke([this, typing] {
        zwp_virtual_keyboard_v1_modifiers(m_keyboard, 0, 0, 0, 0);
        typeNext(typing);
    });
    // The timers of a busy machine are late. What has begun counts as typed: pasted too, it would stand there twice.
    constexpr double lateness = 4;
    isReady(done, deadlineAfter(lateness * time));
    return true;
}

bool VirtualKeyboard::handled(const std::function<void()>& requests) {
    if (!isUsable())
        return false;
    const auto answer = std::make_shared<std::promise<void>>();
    const auto told = answer->get_future();
    m_connection.call([&] {
        requests();
        tellWhenHandled(answer);
    });
    return isReady(told, deadlineAfter(compositorLimit));
}

void VirtualKeyboard::upload(const std::string& keymap) {
    if (keymap == m_uploaded)
        return;
    const Descriptor memory(::memfd_create("keymap", MFD_CLOEXEC));
    const std::string_view withEnd(keymap.c_str(), keymap.size() + 1);
    if (!memory.isOpen() || !writeAll(memory.number(), withEnd))
        return;
    zwp_virtual_keyboard_v1_keymap(m_keyboard, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, memory.number(),
                                   static_cast<std::uint32_t>(withEnd.size()));
    m_uploaded = keymap;
}

void VirtualKeyboard::key(std::uint32_t code, bool isDown) {
    zwp_virtual_keyboard_v1_key(m_keyboard, milliseconds(), code,
                                isDown ? WL_KEYBOARD_KEY_STATE_PRESSED : WL_KEYBOARD_KEY_STATE_RELEASED);
}

void VirtualKeyboard::tellWhenHandled(std::shared_ptr<std::promise<void>> handled) {
    using Told = std::shared_ptr<std::promise<void>>;
    static constexpr wl_callback_listener listener{[](void* given, wl_callback* callback, std::uint32_t) {
        const std::unique_ptr<Told> told(static_cast<Told*>(given));
        (*told)->set_value();
        wl_callback_destroy(callback);
    }};
    wl_callback* const callback = wl_display_sync(m_connection.display());
    wl_callback_add_listener(callback, &listener, new Told(std::move(handled)));
}

void VirtualKeyboard::typeNext(const std::shared_ptr<Typing>& typing) {
    const auto goOn = [&](double pause) { m_nextStroke.start(pause, [this, typing] { typeNext(typing); }); };
    if (!isUsable())
        return typing->done->set_value(); // nobody waits for a compositor that has ended
    if (typing->keyboard == typing->keyboards.size())
        return tellWhenHandled(typing->done);
    const TypingKeymap& keyboard = typing->keyboards[typing->keyboard];
    if (keyboard.keymap != m_uploaded) {
        upload(keyboard.keymap);
        return goOn(keymapPause);
    }
    const std::size_t end = std::min(typing->stroke + strokesAtOnce, keyboard.strokes.size());
    for (; typing->stroke < end; ++typing->stroke)
        for (const bool isDown : {true, false})
            key(keyboard.strokes[typing->stroke], isDown);
    const bool isLast = end == keyboard.strokes.size();
    if (isLast) {
        ++typing->keyboard;
        typing->stroke = 0;
    }
    goOn(isLast ? keymapPause : strokesTime);
}

} // namespace fenlo
