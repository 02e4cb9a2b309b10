#include "ui/onboarding/OnboardingWindow.h"

#include "ui/controls/Appearance.h"
#include "ui/controls/QmlWindow.h"
#include "ui/onboarding/OnboardingAdapter.h"

#include <QVariant>
#include <utility>

namespace fenlo {

/// All that exists only while the window does. The adapter outlives the QML that is bound to it.
struct OnboardingWindow::Open {
    Open(const OnboardingModels& models, const OnboardingServices& services, OnboardingStart start)
        : onboarding(services, std::move(start)), adapter(begun(onboarding), models.settings, models.keys),
          window("Onboarding/OnboardingWindow.qml",
                 {{"appearance", QVariant::fromValue(&models.appearance)}, {"start", QVariant::fromValue(&adapter)}},
                 [this] { onboarding.flow.close(); }) {}

    static Onboarding& begun(Onboarding& onboarding) {
        onboarding.begin();
        return onboarding;
    }

    Onboarding onboarding;
    OnboardingAdapter adapter;
    QmlWindow window;
};

OnboardingWindow::OnboardingWindow(OnboardingModels models, OnboardingServices services)
    : m_models(models), m_services(std::move(services)) {}

OnboardingWindow::~OnboardingWindow() = default;

void OnboardingWindow::show(OnboardingStart start) {
    m_open.reset();
    start.onFinish = afterClosing(std::move(start.onFinish));
    start.onClose = afterClosing(std::move(start.onClose));
    m_open = std::make_unique<Open>(m_models, m_services, std::move(start));
    m_open->window.toFront();
}

/// The end is told by a button of the window, which must not go under it.
std::function<void()> OnboardingWindow::afterClosing(std::function<void()> tell) {
    return [this, tell = std::move(tell)] {
        m_services.take.recording.queue.post(m_lifetime.bind([this, tell] {
            m_open.reset();
            QmlWindow::trimMemory();
            tell();
        }));
    };
}

void OnboardingWindow::toFront() {
    if (m_open)
        m_open->window.toFront();
}

} // namespace fenlo
