#include "ui/Application.h"

#include <QDeadlineTimer>
#include <QEvent>

namespace fenlo::test {

Application::Application() : m_application(m_argc, m_argv) {
    QApplication::setQuitOnLastWindowClosed(false);
}

void pump() {
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

bool pumpUntil(const std::function<bool()>& condition, double limit) {
    const QDeadlineTimer deadline(static_cast<qint64>(limit * 1000));
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 20);
        pump();
    }
    return true;
}

} // namespace fenlo::test
