// What the module of the windows gives to the program.

#include "ui/controls/Appearance.h"
#include "ui/controls/QmlWindow.h"
#include "ui/onboarding/OnboardingWindow.h"
#include "ui/onboarding/WelcomeWindow.h"
#include "ui/screens/Screens.h"
#include "ui/update/UpdateWindow.h"

#include "shell/home/VoiceProfileModel.h"

namespace fenlo {

namespace {

class QmlScreens final : public Screens {
public:
    explicit QmlScreens(const ScreenModels& models)
        : m_voice(models.home.voice), m_appearance(models.config),
          m_home(models.home, m_appearance, [this] { readPassage(); }),
          m_onboarding({m_appearance, models.home.settings, models.home.serviceKeys}, models.firstStart),
          m_welcome(m_appearance, models.mainQueue, models.hotkey), m_updates(models.updater, m_appearance) {}

    void showHome(HomeTab tab) override { m_home.open(tab); }
    void closeHome() override { m_home.close(); }
    void showOnboarding(OnboardingStart start) override { m_onboarding.show(std::move(start)); }
    void presentOnboarding() override { m_onboarding.toFront(); }
    void showWelcome() override { m_welcome.show(); }
    void showUpdates() override { m_updates.show(); }

private:
    /// The reading of the first start alone; a first start that is open has the step itself.
    void readPassage() {
        const auto refresh = [this] { m_voice.refresh(); };
        if (m_onboarding.isOpen())
            m_onboarding.toFront();
        else
            m_onboarding.show({.voiceProfileOnly = true, .onFinish = refresh, .onClose = refresh});
    }

    VoiceProfileModel& m_voice;
    Appearance m_appearance;
    HomeWindow m_home;
    OnboardingWindow m_onboarding;
    WelcomeWindow m_welcome;
    UpdateWindow m_updates;
};

} // namespace

extern "C" __attribute__((visibility("default"))) Screens* fenloMakeScreens(const ScreenModels& models) {
    QmlWindow::drawBySoftware();
    return new QmlScreens(models);
}

} // namespace fenlo
