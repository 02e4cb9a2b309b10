#pragma once

#include <QApplication>
#include <functional>
#include <memory>

namespace fenlo::test {

/// The one application object of a test program; made once the platform that it needs is there.
class Application {
public:
    Application();

private:
    int m_argc = 1;
    char m_name[6] = "fenlo";
    char* m_argv[2] = {m_name, nullptr};
    QApplication m_application;
};

/// Runs the event loop until the condition holds. Returns whether it did within the seconds.
bool pumpUntil(const std::function<bool()>& condition, double limit = 5);
/// Handles what is waiting, without waiting for more.
void pump();

} // namespace fenlo::test
