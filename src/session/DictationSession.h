#pragma once

#include "base/Lifetime.h"
#include "base/MainQueue.h"
#include "platform/Pasteboard.h"
#include "session/ContextReader.h"
#include "session/TakePipeline.h"
#include "shell/TakeFault.h"

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace fenlo {

class AudioRecorder;
class Background;
class Clock;
class Config;
class EarlyRecognition;
class KeptTakes;
class KeyEvents;
class MenuBarController;
class OverlayWindow;
class TakeNote;
class TextInserter;
class TonePlayer;
struct EarlyTake;

/// The services a session works with. All outlive it.
struct SessionServices {
    Config& config;
    Clock& clock;
    MainQueue& mainQueue;
    Background& background;
    KeyEvents& keys;
    Pasteboard& pasteboard;
    AudioRecorder& recorder;
    ContextReader& contextReader;
    TextInserter& inserter;
    OverlayWindow& overlay;
    TonePlayer& tones;
    MenuBarController& menuBar;
    TakePipeline& pipeline;
    KeptTakes& keptTakes;
    EarlyRecognition& early;
};

/// What the session tells or asks the rest of the program; by default nothing happens.
struct SessionHooks {
    std::function<bool()> isMeetingActive = [] { return false; };
    std::function<bool()> isScreenLocked = [] { return false; };
    /// Opens the connection to the recogniser while the user still speaks.
    std::function<void()> warmConnection = [] {};
    /// The user acted, so a keyring that was refused may ask again.
    std::function<void()> askKeyringAgain = [] {};
    std::function<void(const std::string& text, double duration)> recordDictation = [](auto&&...) {};
    std::function<void()> syncStats = [] {}; // returns at once
};

/// The dictation session: from the hotkey to the text at the cursor. There is one, and one take at a time; a take goes
/// through recording and processing back to idle.
///
/// Threads: main thread only. The pipeline of a take runs on a worker and comes back here with its outcome.
class DictationSession {
public:
    DictationSession(SessionServices services, SessionHooks hooks);
    DictationSession(const DictationSession&) = delete;
    DictationSession& operator=(const DictationSession&) = delete;

    // What the hotkey reports.
    void hotkeyPressed();
    void hotkeyReleased();
    void commandActivated();
    void chordDetected();
    /// The user gave up waiting. A network call goes on; the take ends at its next check.
    void cancelProcessing();
    /// Ends a take. Its words are recognised and recorded, but not pasted while the screen is locked.
    void screenLocked();
    /// Ends a take: the release of the hotkey will not be heard.
    void hotkeyPaused();
    /// The recorder heard nothing for a while.
    void silenceDetected();
    /// The user chose to have the last take that was kept recognised again. Ignored while another is under way.
    void tryAgain();
    /// Start-up has searched for takes that an earlier process could not finish.
    void takesRecovered(bool foundAny);
    /// The program ends: the current recording is kept.
    void willTerminate();

    bool isRecording() const { return m_isRecording; }
    bool isProcessing() const { return m_isProcessing; }
    const std::string& lastText() const { return m_lastText; }

private:
    // From the hotkey to the recorded take: DictationSession.cpp.
    void press();
    void release();
    void endEarly(const char* why);
    template <typename Work>
    void endTakeOnError(Work work);
    void beginRecording();
    EarlyTake earlyTake();
    void recorderBecameReady(bool wasExternalInput, bool isReplacing);
    void endRecording();
    Take stopRecording();
    void becomeIdle();

    // Space during a take makes it an AI command on the selected text: DictationCommand.cpp.
    void becomeCommand();
    void rememberClipboard();
    void captureSelection();

    // From the recorded chunks to an outcome: DictationProcessing.cpp.
    enum class Source { microphone, keptTake };
    void processChunks(Take take, std::shared_ptr<TakeNote> note, Source source);
    /// A take on its way through the pipeline.
    struct Job {
        Take take;
        std::shared_ptr<TakeNote> note;
        Source source;
        std::shared_ptr<const std::atomic<bool>> isDropped;
    };
    void walk(Job job, TakeListener listener, std::stop_token stop);
    TakeListener listener();
    TakeSituation situation() const;

    // From an outcome to the user: DictationDelivery.cpp.
    struct Trouble {
        std::optional<TakeFault> fault; // of the recogniser, also where the take was rescued
        bool isKept = false;
    };
    bool deliver(const TakeOutcome& outcome, double duration, const Trouble& trouble);
    void deliverWords(const TakeOutcome& outcome, double duration, const Trouble& trouble);
    void tell(TakeFault fault, bool isKept);
    void applyVoiceCorrection(const std::string& correction, double duration);
    void deliverCorrection(const std::string& newText, double duration);
    void deliverCommandResult(const outcome::CommandAnswer& answer, double duration);
    void deliverFailedCommand(const std::string& rawText, double duration);
    void deliverSnippet(const std::string& text, double duration);
    void finishDictation(const outcome::Dictation& dictation, double duration);
    void perform(const std::string& action);
    void insert(const std::string& text);
    void endPill();
    void record(const std::string& text, double duration);

    SessionServices m_services;
    SessionHooks m_hooks;

    bool m_isRecording = false;
    bool m_isProcessing = false;
    std::atomic<bool> m_isCancelled = false; // read by the worker
    bool m_isCommandMode = false;
    bool m_showsWords = false;               // of the running take, in the pill
    bool m_textWaits = false;                // on the clipboard, for the user to paste it
    std::optional<double> m_recordStartTime; // seconds of Clock::now()
    std::string m_lastText;                  // delivered last
    std::string m_lastRawText;               // the transcript behind it
    std::optional<double> m_lastPasteTime;
    std::optional<FocusContext> m_capturedContext;
    std::shared_ptr<TakeNote> m_note;               // of the take that is being recorded
    std::shared_ptr<std::atomic<bool>> m_isDropped; // whether the user cancelled the take that was processed last
    bool m_hasToldFault = false;                    // of this take, while it is recorded

    /// The clipboard before the copy keys of a command were pressed; empty again once the selection has been captured.
    struct ClipboardBefore {
        std::string text;
        Pasteboard::GiveBack giveBack;
    };
    std::optional<ClipboardBefore> m_clipboardBefore;
    Timer m_clipboardLook;
    Timer m_correctionPaste;
    Timer m_faultNotice;
    Lifetime m_lifetime;
};

} // namespace fenlo
