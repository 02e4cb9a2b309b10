#pragma once

#include "base/Changes.h"
#include "base/Lifetime.h"
#include "base/MainQueue.h"
#include "settings/Config.h"
#include "shell/home/GlossaryImport.h"
#include "text/professions/Questions.h"

#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace fenlo {

class AccountStore;
class Background;
class LocalTranscriber;
class NotificationCenter;
class TonePlayer;
class Workspace;

/// What the settings' model works with. All outlive it.
struct HomeServices {
    Config& config;
    MainQueue& mainQueue;
    Background& background;
    NotificationCenter& notifications;
    AccountStore& account;
    LocalTranscriber& localTranscriber;
    TonePlayer& tones;
    Workspace& workspace;
    bool engineRunsHere = true; // on this processor
    bool offersUpdates = false; // the deployment
};

/// The settings as the screens show and change them: a mirror of each, which follows the settings whoever changes them.
/// A screen sets a mirror and calls applySettings(); what has an effect beyond its value has an operation of its own.
///
/// Threads: main thread only. Files and secrets are read and written on workers, but for the settings themselves.
/// Errors:  none; what failed is told in the fields, in words for people.
class HomeViewModel {
public:
    explicit HomeViewModel(const HomeServices& services);
    ~HomeViewModel();
    HomeViewModel(const HomeViewModel&) = delete;
    HomeViewModel& operator=(const HomeViewModel&) = delete;

    bool continuousMode = false;
    bool voiceCommands = false;
    bool showOverlay = false;
    bool playSounds = false;
    bool silenceNotification = false;
    bool voiceIsolation = false;
    bool smartRewrite = false;
    bool autoCapitalize = false;
    bool showAppInPill = false;
    bool showWordsInPill = false;
    bool uploadWhileSpeaking = false;
    bool offlineMode = false;
    bool typeShortTexts = false;
    bool typeAllTexts = false;
    bool keepFailedTakes = false;
    bool checkForUpdates = false;
    std::string language;
    std::string profession;
    std::string hotkey;
    Choice<SoundSchemeId> soundScheme = SoundSchemeId::gentle;
    Choice<OutputMode> outputMode = OutputMode::transcribe;
    Choice<SmartRewriteModel> smartRewriteModel = SmartRewriteModel::groq;
    Choice<SttEngine> sttEngine = SttEngine::byProvider;
    Choice<SmartRewriteStyle> smartRewriteStyle = SmartRewriteStyle::full;
    Choice<DictationMode> dictationMode = DictationMode::work;
    Choice<MicMode> micMode = MicMode::studio;
    std::string customVocabularyText;     // terms with commas between them
    std::string professionVocabularyText; // the same of what was learned

    double offlineSetupProgress = 0; // 0 to 1
    std::string offlineSetupStatus;  // empty when there is nothing to tell
    bool isSettingUpOffline = false;
    const bool engineRunsHere;
    const bool offersUpdates;
    bool showProfileEditor = false;

    /// Writes each mirror that was changed into the settings and saves them. The others are left to whoever changed
    /// the settings meanwhile: a take may have learned a word.
    void applySettings();

    /// The user has made `text` of the text `given`. Terms that came meanwhile stay.
    void editCustomVocabulary(const std::string& text, const std::string& given);
    void editProfessionVocabulary(const std::string& text, const std::string& given);

    /// Changes the profession; what was learned stays.
    void selectProfession(const std::string& key);
    std::vector<ProfessionQuestion> questions() const { return professionQuestions(profession); }
    /// The answers to them, as the settings have them.
    std::vector<std::string> answersTo(ProfessionTopic topic) const { return answers(m_shown, topic); }
    void chooseAnswer(ProfessionTopic topic, const std::string& key, bool isChosen);

    /// On: startOfflineSetup(). Off: the setting alone.
    void setOfflineMode(bool on);
    /// Makes the on-device engine ready, then turns offline mode on with English and plain transcription. Ignored
    /// while it runs.
    void startOfflineSetup();
    /// Offline mode stays off. A download goes on at the next set-up where it ended.
    void cancelOfflineSetup();
    /// The line below the switch of offline mode.
    std::string offlineLine() const;
    /// Why the last set-up failed, in one sentence; empty when it did not.
    std::string offlineFault() const;

    /// Chooses a scheme and plays its tones.
    void chooseSoundScheme(const std::string& id);
    void playSoundScheme();

    bool opensAtLogin() const;
    void setOpensAtLogin(bool opens);
    /// Why the last setOpensAtLogin() failed; empty when it did not.
    std::string loginFault;

    /// Adds the terms of a file to the vocabulary, on a worker. glossary() then has the outcome.
    void importGlossary(const std::filesystem::path& file);
    struct GlossaryOutcome {
        std::filesystem::path file;
        std::optional<GlossaryCounts> counts; // nothing: the file could not be read
    };
    /// Of the last import; nothing before the first, while one runs, and after dismissGlossary().
    const std::optional<GlossaryOutcome>& glossary() const { return m_glossary; }
    void dismissGlossary();

    /// Forgets the account's secrets; "FenloUserDidSignOut" follows when they are gone.
    /// `onRefusal` where the keyring keeps the sign-in, which then holds.
    void signOut(std::function<void()> onRefusal);

    /// A sentence when the settings are not in their file, or the file could not be used at the start; else empty.
    std::string storageLine() const;
    bool canSaveAgain() const { return !m_services.config.isSaved(); }
    void saveAgain() { m_services.config.save(); }

    [[nodiscard]] Changes::Watch watch(std::function<void()> handler) { return m_changes.watch(std::move(handler)); }

private:
    void readSettings();
    void followSettings();
    void editTerms(std::vector<std::string> Settings::*list, const std::string& text, const std::string& given);
    void offlineSetupEnded();
    void offlineSetupSucceeded();
    void offlineSetupFailed(const std::string& status);

    HomeServices m_services;
    Settings m_shown; // what the mirrors were read from
    std::stop_source m_cancelSetup;
    Timer m_setupElsewhere;
    Timer m_endTones;
    std::optional<GlossaryOutcome> m_glossary;
    Changes m_changes;
    Changes::Watch m_settingsChanged;
    Lifetime m_lifetime;
};

} // namespace fenlo
