#include "shell/home/HomeViewModel.h"

#include "account/AccountStore.h"
#include "base/Background.h"
#include "base/NotificationCenter.h"
#include "base/Text.h"
#include "platform/Workspace.h"
#include "shell/Sounds.h"
#include "shell/home/OfflineModels.h"
#include "shell/home/VocabularyText.h"
#include "speech/LocalTranscriber.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <tuple>
#include <utility>

namespace fenlo {

namespace {

constexpr double setupElsewherePoll = 0.5; // seconds
constexpr double betweenTones = 0.8;       // seconds from the start tones to the end tones
constexpr double firstProgress = 0.1;
constexpr double fetchedProgress = 0.8; // most of the time goes into the download
constexpr double lastProgress = 0.95;   // of the steps that a set-up tells
constexpr char setupFailedLine[] = "Setup failed. Please try again.";

template <typename Value>
struct Mirror {
    Value HomeViewModel::*field;
    Value Settings::*setting;
};
template <typename Value>
Mirror(Value HomeViewModel::*, Value Settings::*) -> Mirror<Value>; // clang before 17 deduces no aggregate

constexpr auto mirrors = std::make_tuple(
    Mirror{&HomeViewModel::continuousMode, &Settings::continuousMode},
    Mirror{&HomeViewModel::voiceCommands, &Settings::voiceCommands},
    Mirror{&HomeViewModel::showOverlay, &Settings::showOverlay},
    Mirror{&HomeViewModel::playSounds, &Settings::playSounds},
    Mirror{&HomeViewModel::silenceNotification, &Settings::silenceNotification},
    Mirror{&HomeViewModel::voiceIsolation, &Settings::voiceIsolation},
    Mirror{&HomeViewModel::smartRewrite, &Settings::smartRewrite},
    Mirror{&HomeViewModel::autoCapitalize, &Settings::autoCapitalize},
    Mirror{&HomeViewModel::showAppInPill, &Settings::showAppInPill},
    Mirror{&HomeViewModel::showWordsInPill, &Settings::showWordsInPill},
    Mirror{&HomeViewModel::uploadWhileSpeaking, &Settings::uploadWhileSpeaking},
    Mirror{&HomeViewModel::offlineMode, &Settings::offlineMode},
    Mirror{&HomeViewModel::typeShortTexts, &Settings::typeShortTexts},
    Mirror{&HomeViewModel::typeAllTexts, &Settings::typeAllTexts},
    Mirror{&HomeViewModel::keepFailedTakes, &Settings::keepFailedTakes},
    Mirror{&HomeViewModel::checkForUpdates, &Settings::checkForUpdates},
    Mirror{&HomeViewModel::language, &Settings::language}, Mirror{&HomeViewModel::profession, &Settings::profession},
    Mirror{&HomeViewModel::hotkey, &Settings::hotkey}, Mirror{&HomeViewModel::soundScheme, &Settings::soundScheme},
    Mirror{&HomeViewModel::outputMode, &Settings::outputMode},
    Mirror{&HomeViewModel::smartRewriteModel, &Settings::smartRewriteModel},
    Mirror{&HomeViewModel::sttEngine, &Settings::sttEngine},
    Mirror{&HomeViewModel::smartRewriteStyle, &Settings::smartRewriteStyle},
    Mirror{&HomeViewModel::dictationMode, &Settings::dictationMode},
    Mirror{&HomeViewModel::micMode, &Settings::micMode});

template <typename Visit>
void forEachMirror(Visit visit) {
    std::apply([&](const auto&... mirror) { (visit(mirror), ...); }, mirrors);
}

template <typename Value>
bool isSame(const Value& one, const Value& other) {
    return one == other;
}

template <typename Enum>
bool isSame(const Choice<Enum>& one, const Choice<Enum>& other) {
    return one.word() == other.word(); // unknown words differ
}

/// The model is fetched first, and then prepared for this machine.
double progressOf(const SetupStep& step) {
    const bool isFetched = step.kind == SetupStep::Kind::preparing;
    const double from = isFetched ? fetchedProgress : firstProgress;
    const double to = isFetched ? lastProgress : fetchedProgress;
    return from + (to - from) * double(step.done) / double(step.total);
}

/// Tells how far the set-up is, at most a hundred times. Called from several threads.
LocalTranscriber::Steps telling(const std::function<void(double)>& progress, MainQueue& queue) {
    auto told = std::make_shared<std::atomic<int>>(0); // per cent
    return [progress, told, &queue](const SetupStep& step) {
        if (step.total == 0)
            return;
        const double fraction = progressOf(step);
        if (const int percent = int(fraction * 100); told->exchange(percent) != percent)
            queue.post([progress, fraction] { progress(fraction); });
    };
}

} // namespace

HomeViewModel::HomeViewModel(const HomeServices& services)
    : engineRunsHere(services.engineRunsHere), offersUpdates(services.offersUpdates), m_services(services) {
    readSettings();
    m_settingsChanged = m_services.config.watch([this] { followSettings(); });
}

HomeViewModel::~HomeViewModel() {
    m_cancelSetup.request_stop();
}

void HomeViewModel::readSettings() {
    m_shown = m_services.config.get();
    forEachMirror([&](const auto& mirror) { this->*mirror.field = m_shown.*mirror.setting; });
    customVocabularyText = joinVocabulary(m_shown.customVocabulary);
    professionVocabularyText = joinVocabulary(m_shown.professionVocabulary);
}

void HomeViewModel::followSettings() {
    readSettings();
    m_changes.tell();
}

void HomeViewModel::applySettings() {
    const Settings before = m_shown;
    m_services.config.update([&](Settings& settings) {
        forEachMirror([&](const auto& mirror) {
            if (!isSame(this->*mirror.field, before.*mirror.setting))
                settings.*mirror.setting = this->*mirror.field;
        });
        settings.customVocabulary =
            editedVocabulary(customVocabularyText, before.customVocabulary, settings.customVocabulary);
        settings.professionVocabulary =
            editedVocabulary(professionVocabularyText, before.professionVocabulary, settings.professionVocabulary);
    });
    readSettings();
    if (hotkey != before.hotkey)
        m_services.notifications.post(notification::hotkeyChanged, hotkey);
    if (!isSame(micMode, before.micMode))
        m_services.notifications.post(notification::micModeChanged);
    m_changes.tell();
}

void HomeViewModel::editCustomVocabulary(const std::string& text, const std::string& given) {
    editTerms(&Settings::customVocabulary, text, given);
}

void HomeViewModel::editProfessionVocabulary(const std::string& text, const std::string& given) {
    editTerms(&Settings::professionVocabulary, text, given);
}

void HomeViewModel::editTerms(std::vector<std::string> Settings::*list, const std::string& text,
                              const std::string& given) {
    m_services.config.update([&](Settings& settings) {
        settings.*list = editedVocabulary(text, parseVocabulary(given, settings.*list), settings.*list);
    });
    followSettings();
}

void HomeViewModel::selectProfession(const std::string& key) {
    changeProfession(m_services.config, key);
    followSettings();
}

void HomeViewModel::chooseAnswer(ProfessionTopic topic, const std::string& key, bool isChosen) {
    m_services.config.update([&](Settings& settings) { answer(settings, topic, key, isChosen); });
    followSettings();
}

void HomeViewModel::setOfflineMode(bool on) {
    if (on) {
        startOfflineSetup();
        return;
    }
    offlineMode = false;
    offlineSetupStatus.clear();
    applySettings();
}

void HomeViewModel::startOfflineSetup() {
    if (isSettingUpOffline || !engineRunsHere)
        return;
    isSettingUpOffline = true;
    offlineSetupProgress = firstProgress;
    offlineSetupStatus =
        m_services.localTranscriber.isModelDownloaded() ? "Loading model..." : "Setting up offline mode...";
    m_cancelSetup = {};
    m_changes.tell();

    const std::function<void(std::string, double)> tell = m_lifetime.bind([this](std::string status, double fraction) {
        offlineSetupStatus = std::move(status);
        offlineSetupProgress = fraction;
        m_changes.tell();
    });
    const std::function<void(double)> progress = m_lifetime.bind([this](double fraction) {
        offlineSetupProgress = fraction;
        m_changes.tell();
    });
    const std::function<void()> end = m_lifetime.bind([this] { offlineSetupEnded(); });
    m_services.background.run([tell, progress, end, cancel = m_cancelSetup, &queue = m_services.mainQueue,
                               &transcriber = m_services.localTranscriber](std::stop_token quit) mutable {
        const std::stop_callback onQuit(quit, [&cancel] { cancel.request_stop(); });
        transcriber.setup([&](const std::string& status,
                              double fraction) { queue.post([tell, status, fraction] { tell(status, fraction); }); },
                          cancel.get_token(), telling(progress, queue));
        queue.post(end);
    });
}

void HomeViewModel::cancelOfflineSetup() {
    if (isSettingUpOffline)
        m_cancelSetup.request_stop();
}

/// setup() returns at once while another part of the program has begun one, which then decides.
void HomeViewModel::offlineSetupEnded() {
    LocalTranscriber& transcriber = m_services.localTranscriber;
    if (m_cancelSetup.stop_requested()) {
        offlineSetupFailed({});
    } else if (transcriber.isReady()) {
        offlineSetupSucceeded();
    } else if (transcriber.isSettingUp()) {
        if (!m_setupElsewhere.isSet())
            m_setupElsewhere = m_services.mainQueue.every(setupElsewherePoll, [this] { offlineSetupEnded(); });
        return;
    } else {
        offlineSetupFailed(setupFailedLine);
    }
    m_setupElsewhere.cancel();
}

void HomeViewModel::offlineSetupSucceeded() {
    offlineMode = true;
    language = "en";
    outputMode = OutputMode::transcribe;
    isSettingUpOffline = false;
    offlineSetupStatus.clear();
    applySettings();
}

void HomeViewModel::offlineSetupFailed(const std::string& status) {
    offlineMode = false;
    offlineSetupStatus = status;
    isSettingUpOffline = false;
    applySettings();
}

std::string HomeViewModel::offlineLine() const {
    if (!engineRunsHere)
        return "Not supported on this computer";
    if (isSettingUpOffline || !offlineSetupStatus.empty()) {
        const std::string fetched = fetchedText(m_services.localTranscriber.setupStep());
        return fetched.empty() ? offlineSetupStatus : offlineSetupStatus + " " + fetched + " fetched";
    }
    if (!offlineMode)
        return {};
    if (m_services.localTranscriber.isReady())
        return "Using on-device transcription";
    return m_services.localTranscriber.isSettingUp()
               ? "Loading model..."
               : "The on-device model is not loaded, so the cloud service is used";
}

std::string HomeViewModel::offlineFault() const {
    const bool failed = offlineSetupStatus == setupFailedLine;
    return failed ? text::join(text::words(m_services.localTranscriber.setupFault()), " ") : "";
}

void HomeViewModel::chooseSoundScheme(const std::string& id) {
    soundScheme = Choice<SoundSchemeId>(id);
    applySettings();
    playSoundScheme();
}

void HomeViewModel::playSoundScheme() {
    m_endTones.cancel();
    Settings audible = m_services.config.get();
    audible.playSounds = true;
    playStartTones(m_services.tones, audible);
    m_endTones =
        m_services.mainQueue.postAfter(betweenTones, [this, audible] { playEndTones(m_services.tones, audible); });
}

bool HomeViewModel::opensAtLogin() const {
    return m_services.workspace.opensAtLogin();
}

void HomeViewModel::setOpensAtLogin(bool opens) {
    const auto error = m_services.workspace.setOpensAtLogin(opens);
    loginFault = error ? "This could not be changed: " + *error : "";
    m_changes.tell();
}

void HomeViewModel::importGlossary(const std::filesystem::path& file) {
    m_glossary.reset();
    m_changes.tell();
    const std::function<void(GlossaryOutcome)> tell = m_lifetime.bind([this](GlossaryOutcome outcome) {
        m_glossary = std::move(outcome);
        followSettings();
    });
    m_services.background.run(
        [tell, file, &config = m_services.config, &queue = m_services.mainQueue](std::stop_token) {
            queue.post([tell, outcome = GlossaryOutcome{file, importGlossaryFile(config, file)}] { tell(outcome); });
        });
}

void HomeViewModel::dismissGlossary() {
    m_glossary.reset();
    m_changes.tell();
}

void HomeViewModel::signOut(std::function<void()> onRefusal) {
    m_services.account.askAgain(); // the user is here to unlock the keyring
    m_services.account.forget(
        [&notifications = m_services.notifications, onRefusal = std::move(onRefusal)](bool isForgotten) {
            if (isForgotten)
                notifications.post(notification::userDidSignOut);
            else
                onRefusal();
        });
}

std::string HomeViewModel::storageLine() const {
    if (canSaveAgain())
        return "Your settings could not be written to " + Config::defaultFile().string() +
               ". They hold until Fenlo ends.";
    if (const auto kept = m_services.config.setAside())
        return "Your settings file was damaged, so Fenlo began with its own choices. The file is kept as " +
               kept->string() + ".";
    return {};
}

} // namespace fenlo
