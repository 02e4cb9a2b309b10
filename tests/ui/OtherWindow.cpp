#include "ui/OtherWindow.h"

#include "platform/desktop/keys/KeyWindow.h"

namespace fenlo::test {

OtherWindow::OtherWindow() : m_window(std::make_unique<KeyWindow>()) {}

OtherWindow::~OtherWindow() = default;

void OtherWindow::activate() {
    m_window->activate();
}

std::string OtherWindow::id() const {
    return std::to_string(m_window->id());
}

} // namespace fenlo::test
