#pragma once

#include <memory>
#include <string>

namespace fenlo::test {

class KeyWindow;

/// Another program's window, which has the focus.
class OtherWindow {
public:
    OtherWindow();
    ~OtherWindow();

    void activate();
    std::string id() const;

private:
    std::unique_ptr<KeyWindow> m_window; // behind a pointer, since X11's macros and Qt's headers do not mix
};

} // namespace fenlo::test
