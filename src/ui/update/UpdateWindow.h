#pragma once

#include <memory>

namespace fenlo {

class Appearance;
class AutoUpdater;

/// The window of updates. It exists while it is open; who closes it wants nothing of the update for now.
///
/// Threads: main thread only.
class UpdateWindow {
public:
    /// Both outlive the window.
    UpdateWindow(AutoUpdater& updater, Appearance& appearance);
    UpdateWindow(const UpdateWindow&) = delete;
    UpdateWindow& operator=(const UpdateWindow&) = delete;
    ~UpdateWindow();

    /// Opens it, or brings it to the front.
    void show();

private:
    struct Open;

    AutoUpdater& m_updater;
    Appearance& m_appearance;
    std::unique_ptr<Open> m_open;
};

} // namespace fenlo
