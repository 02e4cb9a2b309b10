#pragma once

#include "base/Changes.h"
#include "base/Clock.h"
#include "base/Lifetime.h"
#include "settings/Choices.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace fenlo {

class MainQueue;

/// The values of all user settings. Values are not checked beyond their type: each user of a choice deals with an
/// unknown one.
struct Settings {
    std::string hotkey = "ctrl_l"; // key name of HotkeyListener
    std::string whisperModel = "base";
    std::string language = "auto"; // code or "auto"
    bool playSounds = true;
    Choice<SoundSchemeId> soundScheme = SoundSchemeId::gentle;
    std::int64_t sampleRate = 16000; // hertz
    bool showOverlay = true;
    bool continuousMode = false; // toggle instead of hold
    bool voiceCommands = true;
    bool silenceNotification = true;
    bool voiceIsolation = false;
    bool smartRewrite = true;
    bool autoCapitalize = true;
    bool showAppInPill = true;
    bool showWordsInPill = false;     // those that are recognised while the user speaks
    bool uploadWhileSpeaking = false; // to a service, before it is known whether the take is meant
    bool offlineMode = false;
    Choice<OutputMode> outputMode = OutputMode::transcribe;
    std::vector<std::string> customVocabulary;
    std::vector<std::string> professionVocabulary; // newest last
    Choice<SmartRewriteModel> smartRewriteModel = SmartRewriteModel::groq;
    Choice<SttEngine> sttEngine = SttEngine::byProvider;
    Choice<SmartRewriteStyle> smartRewriteStyle = SmartRewriteStyle::full;
    std::string deviceId; // upper-case UUID of this installation
    std::string profession;
    Choice<DictationMode> dictationMode = DictationMode::work;
    std::vector<std::string> lawyerPracticeAreas;
    std::string professionRole;
    std::vector<std::string> professionSpecialties;
    std::vector<std::string> dictationTypes;
    std::vector<std::string> meetingEmailRecipients;
    Choice<MicMode> micMode = MicMode::studio;
    std::string micDevice;       // key of an InputDevice; empty for the desktop's default
    bool typeShortTexts = false; // instead of pasting them, which leaves a trace in some clipboard histories
    bool typeAllTexts = false;   // for programs that refuse to paste
    bool keepFailedTakes = true; // or what was not recognised is deleted
    Choice<ColourScheme> colourScheme = ColourScheme::system;
    bool checkForUpdates = false; // once a day, where the deployment has updates
};

/// What keeps a file of settings from being used. It is never overwritten.
struct SettingsFault {
    enum class Kind {
        damaged,    // it does not parse
        unreadable, // it is there, but the system does not let it be read
    };
    Kind kind;
    std::string message; // one line: the file, the place in it, what is wrong
};

struct StoredSettings {
    Settings settings; // with the defaults for what the file lacks
    std::optional<SettingsFault> fault;
};

/// Reads a file of settings and changes nothing. A missing file has the defaults.
StoredSettings readSettings(const std::filesystem::path& file);

/// The one record of user settings, kept in `~/.fenlo/config.json` and written back whole after each change.
///
/// Threads: any; get() hands out a copy, update() changes and saves. The file is written outside the lock. Those who
///          watch are on the main thread and are told there, soon after a change, once for changes in quick succession.
/// Errors:  none: a missing or wrong value leaves its default, and a failed save leaves the state in memory. A file
///          that does not parse is set aside before the next save replaces it, one that cannot be read stays as it is,
///          and the settings are kept in memory only; both are logged.
class Config {
public:
    /// Loads at once, and completes the file on a first start.
    Config(std::filesystem::path file, const Clock& clock);

    Settings get() const;

    /// Changes the settings under the lock and saves them.
    template <typename Change>
    void update(Change&& change) {
        {
            std::lock_guard lock(m_mutex);
            change(m_settings);
        }
        save();
    }

    void save();

    /// Whether the file has what get() returns, as far as the last save could tell.
    bool isSaved() const { return m_isSaved; }

    /// Where the file of the last run lies that could not be used, so that the settings began at their defaults.
    std::optional<std::filesystem::path> setAside() const;

    /// Lets changes be told from now on. Call once, before other threads change settings; the queue outlives the
    /// settings. Without it, as on the command line, nobody is told.
    void tellOn(MainQueue& mainQueue);
    [[nodiscard]] Changes::Watch watch(std::function<void()> handler) { return m_changes.watch(std::move(handler)); }

    /// `~/.fenlo/config.json`.
    static std::filesystem::path defaultFile();

private:
    void load();
    bool makeRoom();
    void announce();

    const std::filesystem::path m_file;
    const Clock& m_clock;
    mutable std::mutex m_mutex;
    std::mutex m_writing; // orders the writers of the file
    Settings m_settings;
    std::optional<SettingsFault> m_fault; // of the file on the disk
    std::optional<std::filesystem::path> m_setAside;
    std::atomic<bool> m_isSaved = true;
    MainQueue* m_mainQueue = nullptr;
    std::atomic<bool> m_isTelling = false; // a task of the main queue is on its way
    Changes m_changes;
    Lifetime m_lifetime;
};

} // namespace fenlo
