#pragma once

#include "base/MainQueue.h"

#include <functional>
#include <memory>
#include <string>

namespace fenlo {

class Appearance;
class QmlWindow;

/// Says how to dictate once the first start is done. Goes by itself after a while.
///
/// Threads: main thread only.
class WelcomeWindow {
public:
    /// `hotkey` tells the label of the key.
    WelcomeWindow(Appearance& appearance, MainQueue& mainQueue, std::function<std::string()> hotkey);
    WelcomeWindow(const WelcomeWindow&) = delete;
    WelcomeWindow& operator=(const WelcomeWindow&) = delete;
    ~WelcomeWindow();

    void show();
    bool isOpen() const { return m_window != nullptr; }

private:
    void cutCorners();

    Appearance& m_appearance;
    MainQueue& m_mainQueue;
    const std::function<std::string()> m_hotkey;
    std::unique_ptr<QmlWindow> m_window;
    Timer m_limit;
};

} // namespace fenlo
