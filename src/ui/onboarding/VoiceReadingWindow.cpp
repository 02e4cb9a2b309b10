#include "ui/onboarding/VoiceReadingWindow.h"

#include "ui/controls/Appearance.h"
#include "ui/controls/QmlWindow.h"
#include "ui/onboarding/VoiceReadingAdapter.h"

#include <QQuickWindow>

namespace fenlo {

struct VoiceReadingWindow::Open {
    Open(VoiceReadingWindow& owner, std::function<void()> closed)
        : reading(owner.m_services, owner.m_profileFile, VoiceReading::Stage::running), adapter(reading),
          window("Onboarding/VoiceReadingWindow.qml",
                 {{"appearance", QVariant::fromValue(&owner.m_appearance)}, {"reading", QVariant::fromValue(&adapter)}},
                 std::move(closed)) {
        reading.onFinished = [this](bool) {
            if (window.window())
                window.window()->close();
        };
    }

    VoiceReading reading;
    VoiceReadingAdapter adapter;
    QmlWindow window;
};

VoiceReadingWindow::VoiceReadingWindow(Appearance& appearance, VoiceReading::Services services,
                                       std::filesystem::path profileFile)
    : m_appearance(appearance), m_services(services), m_profileFile(std::move(profileFile)) {}

VoiceReadingWindow::~VoiceReadingWindow() = default;

void VoiceReadingWindow::open() {
    if (!m_open)
        m_open = std::make_unique<Open>(*this, [this] { closed(); });
    m_open->window.toFront();
}

void VoiceReadingWindow::closed() {
    m_open.reset();
    QmlWindow::trimMemory();
    if (onClosed)
        onClosed();
}

} // namespace fenlo
