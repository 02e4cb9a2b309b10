#pragma once

#include "platform/KeyEvents.h"
#include "platform/linux/desktop/Wakeup.h"
#include "platform/linux/desktop/XDisplay.h"
#include "platform/linux/desktop/keys/HeldKeys.h"
#include "platform/linux/desktop/keys/KeyboardMap.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace fenlo {

class OwnKeys;

/// The thread that hears the whole desktop's keys and mouse buttons.
///
/// Threads: made, used and ended by the main thread; the sinks are called on the listener's own thread.
class X11KeyListener {
public:
    struct Sinks {
        KeyEvents::Listener keys;
        std::function<void(ScreenPoint)> mouseDown;
    };

    /// Nothing when the server has no raw events.
    static std::unique_ptr<X11KeyListener> start(OwnKeys& own, Sinks sinks);
    ~X11KeyListener();

    void watchMouse(bool watch);

    /// The number of releases so far; and the wait until there are more, or until the time comes.
    unsigned long releaseCount();
    void waitForRelease(unsigned long countBefore, std::chrono::steady_clock::time_point until);

private:
    X11KeyListener(std::unique_ptr<XDisplay> display, int inputOpcode, int keyboardEvents, OwnKeys& own, Sinks sinks);

    void run(std::stop_token stop);
    void select();
    void takeHeldKeys();
    void handleEvents();
    void handleRaw(int type, unsigned detail);
    void handleKey(KeyboardMap::XKey key, KeyDirection direction);
    void compare();
    void tellMouseDown();

    std::unique_ptr<XDisplay> m_display; // the thread's
    const int m_inputOpcode;
    const int m_keyboardEvents;
    OwnKeys& m_own;
    const Sinks m_sinks;
    KeyboardMap m_map;
    bool m_mapIsStale = false;
    HeldKeys m_held;
    bool m_selectedMouse = false;
    std::atomic<bool> m_watchesMouse = false;
    std::mutex m_mutex;
    std::condition_variable m_released;
    unsigned long m_releases = 0;
    Wakeup m_wakeup;
    std::jthread m_thread;
};

} // namespace fenlo
