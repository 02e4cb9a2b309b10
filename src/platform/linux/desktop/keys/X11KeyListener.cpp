#include "platform/linux/desktop/keys/X11KeyListener.h"

#include "platform/linux/desktop/keys/OwnKeys.h"

#include <X11/XKBlib.h>
#include <X11/extensions/XInput2.h>
#include <array>
#include <utility>

namespace fenlo {

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto comparisonInterval = std::chrono::milliseconds(400); // while a key is held

bool isScroll(unsigned button) {
    return button >= 4 && button <= 7;
}

} // namespace

std::unique_ptr<X11KeyListener> X11KeyListener::start(OwnKeys& own, Sinks sinks) {
    auto display = XDisplay::open();
    if (!display)
        return nullptr;
    int inputOpcode, keyboardEvents, unused;
    if (!XQueryExtension(display->get(), "XInputExtension", &inputOpcode, &unused, &unused) ||
        !XkbQueryExtension(display->get(), &unused, &keyboardEvents, &unused, nullptr, nullptr))
        return nullptr;
    // Since 2.1 raw events come even while another program grabs the keyboard.
    int major = 2, minor = 2;
    if (XIQueryVersion(display->get(), &major, &minor) != Success || major * 100 + minor < 201)
        return nullptr;
    return std::unique_ptr<X11KeyListener>(
        new X11KeyListener(std::move(display), inputOpcode, keyboardEvents, own, std::move(sinks)));
}

X11KeyListener::X11KeyListener(std::unique_ptr<XDisplay> display, int inputOpcode, int keyboardEvents, OwnKeys& own,
                               Sinks sinks)
    : m_display(std::move(display)), m_inputOpcode(inputOpcode), m_keyboardEvents(keyboardEvents), m_own(own),
      m_sinks(std::move(sinks)), m_held(m_sinks.keys) {
    // Before the thread starts, so that no key is missed once this object exists.
    select();
    takeHeldKeys();
    m_thread = std::jthread([this](std::stop_token stop) { run(stop); });
}

X11KeyListener::~X11KeyListener() {
    m_thread.request_stop();
    m_wakeup.wake();
}

void X11KeyListener::watchMouse(bool watch) {
    m_watchesMouse = watch;
    m_wakeup.wake();
}

unsigned long X11KeyListener::releaseCount() {
    std::lock_guard lock(m_mutex);
    return m_releases;
}

void X11KeyListener::waitForRelease(unsigned long countBefore, Clock::time_point until) {
    std::unique_lock lock(m_mutex);
    m_released.wait_until(lock, until, [&] { return m_releases != countBefore; });
}

void X11KeyListener::run(std::stop_token stop) {
    std::optional<Clock::time_point> nextComparison;
    while (!stop.stop_requested() && !m_display->isLost()) {
        if (m_selectedMouse != m_watchesMouse)
            select();
        handleEvents();
        const auto now = Clock::now();
        if (m_held.empty())
            nextComparison.reset();
        else if (!nextComparison)
            nextComparison = now + comparisonInterval;
        else if (now >= *nextComparison) {
            compare();
            nextComparison = now + comparisonInterval;
            continue; // events may have come with the answer
        }
        const std::chrono::duration<double> left = nextComparison ? *nextComparison - now : std::chrono::seconds(-1);
        m_wakeup.sleep(ConnectionNumber(m_display->get()), left.count());
    }
    // With the server gone no release will come.
    m_held.releaseAll();
    // Xlib leaves a lost connection locked by the thread that noticed the loss.
    m_display.reset();
}

void X11KeyListener::select() {
    m_selectedMouse = m_watchesMouse;
    std::array<unsigned char, XIMaskLen(XI_LASTEVENT)> bits{};
    XISetMask(bits.data(), XI_RawKeyPress);
    XISetMask(bits.data(), XI_RawKeyRelease);
    if (m_selectedMouse)
        XISetMask(bits.data(), XI_RawButtonPress);
    XIEventMask mask{XIAllMasterDevices, static_cast<int>(bits.size()), bits.data()};
    XISelectEvents(m_display->get(), DefaultRootWindow(m_display->get()), &mask, 1);
    constexpr unsigned mapping = XkbNewKeyboardNotifyMask | XkbMapNotifyMask;
    XkbSelectEvents(m_display->get(), XkbUseCoreKbd, mapping, mapping);
    XFlush(m_display->get());
}

void X11KeyListener::takeHeldKeys() {
    m_map = KeyboardMap::read(m_display->get());
    const ServerKeys keys(m_display->get());
    for (unsigned key = 0; key < 256; ++key)
        if (const auto xKey = static_cast<KeyboardMap::XKey>(key); keys.isDown(xKey))
            m_held.adopt(xKey, m_map.meaning(xKey));
}

void X11KeyListener::handleEvents() {
    Display* const display = m_display->get();
    while (XPending(display) > 0) {
        XEvent event;
        XNextEvent(display, &event);
        if (event.type == m_keyboardEvents || event.type == MappingNotify) {
            m_mapIsStale = true;
        } else if (event.type == GenericEvent && event.xcookie.extension == m_inputOpcode &&
                   XGetEventData(display, &event.xcookie)) {
            handleRaw(event.xcookie.evtype, static_cast<const XIRawEvent*>(event.xcookie.data)->detail);
            XFreeEventData(display, &event.xcookie);
        }
    }
}

void X11KeyListener::handleRaw(int type, unsigned detail) {
    if (type == XI_RawButtonPress && !isScroll(detail))
        tellMouseDown();
    if ((type == XI_RawKeyPress || type == XI_RawKeyRelease) && detail < 256)
        handleKey(static_cast<KeyboardMap::XKey>(detail),
                  type == XI_RawKeyPress ? KeyDirection::down : KeyDirection::up);
}

void X11KeyListener::handleKey(KeyboardMap::XKey key, KeyDirection direction) {
    if (std::exchange(m_mapIsStale, false))
        m_map = KeyboardMap::read(m_display->get());
    const bool isOwn = m_own.consume(key, direction, Clock::now());
    if (isOwn && direction == KeyDirection::up)
        m_held.lift(key);
    else if (!isOwn && direction == KeyDirection::down)
        m_held.press(key, m_map.meaning(key));
    else if (!isOwn)
        m_held.release(key);
    if (direction == KeyDirection::up) {
        std::lock_guard lock(m_mutex);
        ++m_releases;
        m_released.notify_all();
    }
}

void X11KeyListener::compare() {
    const ServerKeys keys(m_display->get());
    if (!m_display->isLost())
        m_held.compare([&](HeldKeys::Key key) { return keys.isDown(static_cast<KeyboardMap::XKey>(key)); });
}

void X11KeyListener::tellMouseDown() {
    Window root, child;
    int x = 0, y = 0, childX, childY;
    unsigned modifiers;
    XQueryPointer(m_display->get(), DefaultRootWindow(m_display->get()), &root, &child, &x, &y, &childX, &childY,
                  &modifiers);
    m_sinks.mouseDown({x, y});
}

} // namespace fenlo
