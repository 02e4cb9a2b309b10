#include "app/Windows.h"

#include "Version.h"
#include "app/DoctorProcess.h"
#include "app/Installation.h"
#include "app/ModelWork.h"
#include "app/Packaging.h"
#include "app/TakeServices.h"
#include "audio/voice/VoiceProfile.h"
#include "base/Environment.h"
#include "platform/Workspace.h"
#include "session/HotkeyListener.h"
#include "settings/Config.h"
#include "settings/Deployment.h"
#include "text/Snippets.h"

namespace fenlo {

namespace {

/// What somebody who helps wants to know: "Debian GNU/Linux 12 (bookworm), GNOME on x11", and how Fenlo came here.
std::string systemName() {
    return thisInstallation().osVersion + ", " + environment("XDG_CURRENT_DESKTOP", "no known desktop") + " on " +
           environment("XDG_SESSION_TYPE", "X11") + "\n" + packagingLine();
}

AboutServices aboutServices(const WindowServices& services) {
    return {version,
            systemName(),
            noticesFile(),
            services.mainQueue,
            services.background,
            examineApart,
            services.copyToClipboard,
            [&workspace = services.workspace](const std::string& url) { workspace.openUrl(url); }};
}

} // namespace

Windows::Windows(const WindowServices& services)
    : settings({.config = services.take.config,
                .mainQueue = services.mainQueue,
                .background = services.background,
                .notifications = services.notifications,
                .account = services.account,
                .localTranscriber = services.take.localTranscriber,
                .tones = services.tones,
                .workspace = services.workspace,
                .offersUpdates = services.deployment.offersUpdates()}),
      hotkeyTest(services.take.config, services.keys, services.notifications, services.mainQueue),
      snippets(Snippets::defaultFile(), services.clock),
      dashboard(
          {services.take.statistics, services.clock, services.mainQueue, services.background, services.notifications}),
      meeting({services.meetings, services.mainQueue, services.background, services.copyToClipboard,
               services.startMeeting, services.stopMeeting}),
      history({services.take.statistics, services.clock, services.mainQueue, services.background,
               services.notifications, services.copyToClipboard}),
      voice({services.audioInput, services.clock, services.mainQueue, services.background, services.take.config,
             services.notifications},
            voiceProfileFile()),
      about(aboutServices(services)),
      account({services.account, settings, services.notifications, services.deployment.offersSignIn()}),
      serviceKeys({services.secrets, services.take.keys, services.deployment, services.http, services.mainQueue,
                   services.background}),
      offlineModels({modelWork(services.deployment, services.http, services.clock), services.mainQueue,
                     services.background, services.deployment.offlineModel,
                     [&config = services.take.config] { return config.get().offlineMode; }, machineMemory()}),
      microphone(
          {services.audioInput, services.take.config, services.notifications, services.mainQueue, services.takeLevel}),
      m_models{.config = services.take.config,
               .mainQueue = services.mainQueue,
               .home = {.dashboard = dashboard,
                        .meeting = meeting,
                        .history = history,
                        .settings = settings,
                        .hotkeyTest = hotkeyTest,
                        .snippets = snippets,
                        .voice = voice,
                        .about = about,
                        .account = account,
                        .serviceKeys = serviceKeys,
                        .offlineModels = offlineModels,
                        .microphone = microphone},
               .firstStart = services.firstStart,
               .updater = services.updater,
               .hotkey = [&config = services.take.config, &keys = services.keys] {
                   return heldLabel(keys, config.get().hotkey);
               }} {}

Screens* Windows::screens() {
    if (!m_screens)
        m_screens = m_module.load(m_models);
    return m_screens.get();
}

void Windows::showHome(int tab) {
    if (Screens* const all = screens())
        all->showHome(static_cast<HomeTab>(tab));
}

void Windows::closeHome() {
    if (m_screens)
        m_screens->closeHome();
}

/// Without windows the first start counts as finished, so that the user can dictate.
void Windows::showOnboarding(OnboardingStart start) {
    if (Screens* const all = screens())
        all->showOnboarding(std::move(start));
    else
        start.onFinish();
}

void Windows::presentOnboarding() {
    if (m_screens)
        m_screens->presentOnboarding();
}

void Windows::showWelcome() {
    if (Screens* const all = screens())
        all->showWelcome();
}

void Windows::showUpdates() {
    if (Screens* const all = screens())
        all->showUpdates();
}

} // namespace fenlo
