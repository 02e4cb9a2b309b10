// The composition root of the desktop program: makes one object of each service and hands them to each other.

#include "app/DesktopApp.h"

#include "Version.h"
#include "app/Account.h"
#include "app/DesktopPlatform.h"
#include "app/DesktopSession.h"
#include "app/ExitStatus.h"
#include "app/Meetings.h"
#include "app/ProgramRun.h"
#include "app/TakeServices.h"
#include "app/TerminationSignals.h"
#include "app/TriggerDoor.h"
#include "app/Updates.h"
#include "app/Windows.h"

#include "audio/AudioRecorder.h"
#include "audio/ChosenInput.h"
#include "audio/voice/VoiceProfile.h"
#include "base/Background.h"
#include "base/Clock.h"
#include "base/Log.h"
#include "base/NotificationCenter.h"
#include "meeting/MeetingControl.h"
#include "platform/KeyEvents.h"
#include "platform/Pasteboard.h"
#include "platform/PillWindow.h"
#include "platform/ResultCard.h"
#include "platform/linux/audio/PulseAudioInput.h"
#include "platform/linux/audio/PulseAudioOutput.h"
#include "platform/linux/control/ControlFile.h"
#include "platform/linux/desktop/DisplayLoss.h"
#include "platform/linux/desktop/accessibility/AtspiAccessibility.h"
#include "platform/linux/desktop/session/DesktopWorkspace.h"
#include "platform/linux/desktop/session/SparePower.h"
#include "platform/linux/net/CurlHttpClient.h"
#include "platform/linux/secrets/SecretServiceStore.h"
#include "session/AppDelegate.h"
#include "session/ContextReader.h"
#include "session/DictationSession.h"
#include "session/EarlyRecognition.h"
#include "session/TakePipeline.h"
#include "session/TextInserter.h"
#include "settings/Config.h"
#include "settings/Deployment.h"
#include "shell/MenuBarController.h"
#include "shell/OverlayWindow.h"
#include "shell/Sounds.h"
#include "ui/QtMainQueue.h"
#include "ui/QtStatusItem.h"

#include <QApplication>
#include <cstdio>
#include <malloc.h>
#include <random>

namespace fenlo {

namespace {

constexpr double startUp = 0.5; // seconds that the program's start may take

/// The platform: everything that knows this desktop. Declared in the order in which one needs the other.
struct Platform {
    Platform(DesktopSession& desktop, MainQueue& queue)
        : session(desktop), desktopKeys(makeKeys(desktop, queue)), keys(*desktopKeys.events),
          desktopPasteboard(makePasteboard(desktop)), pasteboard(*desktopPasteboard), accessibility(keys),
          audioInput(queue), desktopPills(makePills(desktop, queue)), pills(*desktopPills),
          desktopCards(makeCards(desktop, queue)), cards(*desktopCards) {
        session.setAccessibility(&accessibility);
    }
    ~Platform() { session.setAccessibility(nullptr); }
    Platform(const Platform&) = delete;
    Platform& operator=(const Platform&) = delete;

    QtStatusItem statusItem; // a panel is looked for while all others are made
    DesktopSession& session;
    DesktopKeys desktopKeys;
    KeyEvents& keys;
    std::unique_ptr<Pasteboard> desktopPasteboard;
    Pasteboard& pasteboard;
    AtspiAccessibility accessibility;
    PulseAudioInput audioInput;
    PulseAudioOutput audioOutput;
    CurlHttpClient http;
    SecretServiceStore secrets;
    std::unique_ptr<PillWindows> desktopPills;
    PillWindows& pills;
    std::unique_ptr<ResultCards> desktopCards;
    ResultCards& cards;
};

/// On a worker of its own: its priority stays low.
bool mayWorkAhead() {
    lowerThisThread();
    return hasSparePower();
}

MenuSources menuSources(const KeyEvents& keys, const AudioRecorder& recorder, const TakeServices& services,
                        const MeetingModeController& meetings, const AutoUpdater& updater) {
    MenuSources sources;
    sources.version = version;
    sources.hotkeyLabel = [&](const std::string& name) { return heldLabel(keys, name); };
    sources.inputDeviceName = [&] { return recorder.defaultInputDeviceName(); };
    sources.todayStats = [&] { return services.statistics.shownTodayStats(); };
    sources.allTimeStats = [&] { return services.statistics.shownAllTimeStats(); };
    sources.meetingStatus = [&] { return meetings.status(); };
    sources.hasKeptTake = [&] { return !services.keptTakes.isEmpty(); };
    sources.updateNotice = [&] { return updater.notice(); };
    return sources;
}

/// In a Wayland session there are several for each.
void logRoads(Platform& platform) {
    if (!platform.session.isWayland())
        return;
    std::vector<Diagnosis> findings;
    diagnoseDesktop(findings, platform.session, platform.desktopKeys, Diligence::looks);
    for (const Diagnosis& found : findings)
        logInfo("{}: {}{}", found.subject, found.finding, found.remedy.empty() ? "" : " (" + found.remedy + ")");
}

/// Before the QApplication is made.
void prepareToolkit(const DesktopSession& session) {
    session.chooseToolkitPlatform();
    // When the X server or the compositor ends, Qt says so in a line of its own and ends the process with status 1.
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext& context, const QString& message) {
        if (message.startsWith("The X11 connection broke"))
            tellDisplayLoss("X server");
        else if (message.startsWith("The Wayland connection broke"))
            tellDisplayLoss("Wayland compositor");
        else
            std::fprintf(stderr, "%s\n", qUtf8Printable(qFormatLogMessage(type, context, message)));
    });
    QApplication::setApplicationName("Fenlo");
    QApplication::setApplicationVersion(version);
    QApplication::setDesktopFileName("org.fenlo.Fenlo");
    QApplication::setQuitOnLastWindowClosed(false);
}

SessionHooks sessionHooks(Workspace& workspace, TakeServices& services, NotificationCenter& notifications,
                          const MeetingModeController& meetings, Account& account) {
    SessionHooks hooks;
    hooks.isMeetingActive = [&] { return meetings.isActive(); };
    hooks.isScreenLocked = [&] { return workspace.isScreenLocked(); };
    hooks.warmConnection = [&] { services.warmConnections(); };
    hooks.askKeyringAgain = [&] { services.keychain.askAgain(); };
    hooks.recordDictation = [&](const std::string& text, double duration) {
        services.statistics.recordDictation(
            text, duration, services.config.get().offlineMode ? SpokenWords::stayHere : SpokenWords::mayLeave);
        notifications.post(notification::statisticsChanged);
    };
    hooks.syncStats = [&] { account.statistics.ask(); };
    return hooks;
}

/// What the first start knows of this desktop and can do about it.
SystemChecks::Desktop desktopChecks(Platform& platform, Keychain& keychain, const AudioInput& microphone,
                                    Workspace& workspace, TextInserter& inserter) {
    return {
        .microphone =
            [&] {
                const auto device = microphone.defaultDevice();
                return device ? std::optional(device->name) : std::nullopt;
            },
        .hearsKeys = [&] { return platform.desktopKeys.hear(); },
        .postsKeys = [&] { return platform.keys.canPost(); },
        .hasAccessibility = [&] { return platform.accessibility.isAvailable(); },
        .hasTray = [&] { return platform.statusItem.isShown(); },
        .keyringAnswers = [&] { return keychain.answers(); },
        .enableAccessibility = [&] { platform.accessibility.request(); },
        .openSoundSettings = [&] { return workspace.openSoundSettings(); },
        .askKeyringAgain = [&] { keychain.askAgain(); },
        .copy = [&](const std::string& text) { inserter.copyToClipboard(text); },
    };
}

TextInserter::Typing typingOf(const Settings& settings) {
    using Typing = TextInserter::Typing;
    return settings.typeAllTexts ? Typing::allTexts : settings.typeShortTexts ? Typing::shortTexts : Typing::none;
}

Practice::Steps practiceSteps(TakeServices& services) {
    return {
        .prepare =
            [&](std::stop_token stop) {
                if (services.config.get().offlineMode)
                    services.localTranscriber.setup({}, stop);
                else
                    services.transcriber.setup(stop);
            },
        .transcribe = [&](const TranscribeRequest& request,
                          std::stop_token stop) { return services.transcriber.transcribe(request, stop); },
        .draw =
            [](std::size_t count) {
                std::random_device source;
                return std::uniform_int_distribution<std::size_t>(0, count - 1)(source);
            },
    };
}

void addMeetings(MeetingModeController& meetings, MeetingControl& control, MeetingTab& tab, AppHooks& hooks) {
    meetings.onRecovered = [&](MeetingModeController::Recovered what) {
        if (what == MeetingModeController::Recovered::meeting) {
            control.tellRecovered();
            tab.tellRecovered();
        } else {
            control.tellRecoveredNotes();
            tab.tellRecoveredNotes();
        }
    };
    hooks.isMeetingActive = [&] { return meetings.isActive(); };
    hooks.stopMeeting = [&] { control.stop(); };
    hooks.stopMeetingForQuit = [&] { control.stopForQuit(); };
    hooks.clearMeeting = [&] { control.clearEnded(); };
    hooks.refuseDictation = [&] { control.refuseDictation(); };
    hooks.recoverMeetings = [&] { meetings.recoverMeetings(); };
}

AppHooks appHooks(QtMainQueue& mainQueue, TakeServices& services, Windows& windows, const Deployment& deployment) {
    AppHooks hooks;
    hooks.showOnboarding = [&](OnboardingStart start) { windows.showOnboarding(std::move(start)); };
    hooks.presentOnboarding = [&] { windows.presentOnboarding(); };
    hooks.showWelcome = [&] { windows.showWelcome(); };
    hooks.showHome = [&](int tab) { windows.showHome(tab); };
    hooks.closeHome = [&] { windows.closeHome(); };
    hooks.hasAccounts = deployment.offersSignIn();
    hooks.terminate = [&] { mainQueue.quit(); };
    hooks.prepareLocalEngine = [&](std::stop_token stop) { services.localTranscriber.setup({}, stop); };
    hooks.prepareTranscriber = [&](std::stop_token stop) { services.transcriber.setup(stop); };
    hooks.recoverTakes = [&] { return services.keptTakes.recover(); };
    return hooks;
}

void runUntilQuit(AppDelegate& delegate, QtMainQueue& mainQueue, Platform& platform, ThreadBackground& background) {
    // No first press waits for the network's library, nor does the start.
    const Timer opening =
        mainQueue.postAfter(startUp, [&] { background.run([&](std::stop_token) { platform.http.open(); }); });
    // In the loop: the panel has answered meanwhile, and has the icon before the sound server is waited for.
    runProgram({.launch = [&] { mainQueue.post([&] { delegate.launch(); }); },
                .loop = [&] { mainQueue.run(); },
                .terminate = [&] { delegate.willTerminate(); },
                .release =
                    [&] {
                        mainQueue.end();
                        platform.secrets.close();
                    }},
               background);
}

/// Makes all services, in the order in which one needs the other, and runs until the user quits.
void runServices(QtMainQueue& mainQueue, DesktopSession& desktop, Workspace& workspace) {
    SystemClock clock;
    Config config(Config::defaultFile(), clock);
    config.tellOn(mainQueue);
    const Deployment deployment = Deployment::load();
    NotificationCenter notifications;
    Platform platform(desktop, mainQueue);
    logRoads(platform);
    ThreadBackground background;
    TakeServices services(config, deployment, platform.http, platform.secrets, clock);
    Account account({services, deployment, platform.http, workspace, clock, mainQueue, background, notifications});
    Updates updates({deployment, platform.http, config, clock, mainQueue, background});

    ChosenInput microphone(platform.audioInput, config, notifications);
    AudioRecorder recorder(microphone, clock, mainQueue, config, notifications);
    TakePipeline pipeline(config, services.steps());

    ContextReader contextReader(workspace, platform.accessibility, platform.pasteboard, clock);
    TextInserter inserter(platform.pasteboard, platform.keys, platform.accessibility, workspace, clock, mainQueue,
                          {.returning = TextInserter::Returning::everything,
                           .typing = [&] { return typingOf(config.get()); },
                           .waitsWithoutTrust = true});
    Meetings meetings({services, deployment, platform.http, platform.audioOutput, clock, mainQueue, background,
                       notifications, account});
    TonePlayer tones(meetings.sounds, background);
    OverlayWindow overlay({config, clock, mainQueue, platform.pills, platform.cards, platform.keys, workspace,
                           [&](const std::string& text) { inserter.copyToClipboard(text); }});
    MenuBarController menuBar(config, platform.statusItem, notifications, workspace, deployment,
                              menuSources(platform.keys, recorder, services, meetings.controller, updates.updater));
    EarlyRecognition early(recorder, mainQueue, background, services.earlySteps(mayWorkAhead));
    DictationSession session({config, clock, mainQueue, background, platform.keys, platform.pasteboard, recorder,
                              contextReader, inserter, overlay, tones, menuBar, pipeline, services.keptTakes, early},
                             sessionHooks(workspace, services, notifications, meetings.controller, account));
    MeetingControl meetingControl({config, mainQueue, recorder, session, overlay, menuBar, meetings.controller});
    Windows windows(
        {.take = services,
         .clock = clock,
         .mainQueue = mainQueue,
         .background = background,
         .notifications = notifications,
         .audioInput = microphone,
         .keys = platform.keys,
         .workspace = workspace,
         .tones = tones,
         .copyToClipboard = [&](const std::string& text) { inserter.copyToClipboard(text); },
         .firstStart =
             {{{microphone, clock, mainQueue, background, config, notifications}, platform.keys, tones, overlay},
              menuBar,
              practiceSteps(services),
              desktopChecks(platform, services.keychain, microphone, workspace, inserter),
              account.signIn(),
              voiceProfileFile(),
              [&](const std::string& name) { account.sendEvent(name); }},
         .updater = updates.updater,
         .deployment = deployment,
         .http = platform.http,
         .secrets = platform.secrets,
         .account = account.store,
         .meetings = meetings.controller,
         .startMeeting = [&] { meetingControl.start(); },
         .stopMeeting = [&] { meetingControl.stop(); },
         .takeLevel = [&] { return recorder.isRecording() ? std::optional(recorder.currentRMS()) : std::nullopt; }});
    updates.updater.isBusy = [&] {
        return session.isRecording() || session.isProcessing() || meetings.controller.isActive();
    };
    updates.addTo(menuBar, [&] { windows.showUpdates(); });
    AppHooks hooks = appHooks(mainQueue, services, windows, deployment);
    addMeetings(meetings.controller, meetingControl, windows.meeting, hooks);
    account.addTo(hooks);
    AppDelegate delegate({config, mainQueue, background, notifications, platform.keys, platform.accessibility,
                          workspace, services.keychain, recorder, overlay, menuBar, session},
                         std::move(hooks));
    const TriggerDoor triggers(platform.keys, mainQueue, controlFile());

    runUntilQuit(delegate, mainQueue, platform, background);
}

} // namespace

int runDesktopApp(int argc, char** argv) {
    // One heap for all threads. Each worker that reads a long history would otherwise leave as much memory in a heap of
    // its own, which malloc_trim() does not give back; no thread allocates so often that it waits for another.
    ::mallopt(M_ARENA_MAX, 1);
    TerminationSignals::block();
    DesktopSession desktop;
    // The toolkit would end the process without a word of help.
    if (const auto fault = desktop.fault()) {
        std::fprintf(stderr, "fenlo: %s\n", fault->c_str());
        return exitStatus::failed;
    }
    prepareToolkit(desktop);
    QApplication application(argc, argv);
    QtMainQueue mainQueue;
    const TerminationSignals termination([&] { mainQueue.quit(); });
    DesktopWorkspace workspace(mainQueue, desktop.frontWindow());
    if (AppDelegate::becomeOnlyInstance(workspace))
        runServices(mainQueue, desktop, workspace);
    return exitStatus::ok;
}

} // namespace fenlo
