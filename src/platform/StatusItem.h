#pragma once

#include <functional>
#include <string>
#include <vector>

namespace fenlo {

enum class IconFace { idle = 0, recording = 1, processing = 2 };

/// A line of the menu. One without an action is shown and cannot be chosen.
struct MenuItem {
    std::string title;
    std::function<void()> action;
    bool isSeparator = false;

    static MenuItem separator() { return {{}, {}, true}; }
};

/// The program's icon in the panel of the desktop, with its menu.
///
/// Threads: main thread only; actions are called there.
/// Errors:  none. The last face and menu are kept for a panel that comes later.
class StatusItem {
public:
    virtual ~StatusItem() = default;

    virtual void setFace(IconFace face) = 0;
    /// Replaces the whole menu.
    virtual void setMenu(std::vector<MenuItem> items) = 0;
};

} // namespace fenlo
