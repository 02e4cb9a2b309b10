#pragma once

#include "base/Lifetime.h"
#include "base/MainQueue.h"
#include "platform/Pasteboard.h"
#include "session/ContextReader.h"
#include "session/TakePipeline.h"

#include <atomic>
#include <functional>
#include <optional>
#include <string>

namespace fenlo {

class AudioRecorder;
class Background;
class Clock;
class Config;
class KeyEvents;
class MenuBarController;
class OverlayWindow;
class TextInserter;
class TonePlayer;

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
};

/// What the session tells or asks of the rest of the program. Those that are not filled in are neutral.
struct SessionHooks {
    std::function<bool()> isMeetingActive = [] { return false; };
    std::function<bool()> isScreenLocked = [] { return false; };
    /// Opens the connection to the recogniser while the user still speaks.
    std::function<void()> warmConnection = [] {};
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
    /// The user gave up waiting. Stops no network call; the running take notices at its next look.
    void cancelProcessing();
    /// Ends a take. What was said is recognised and kept, and nothing is pasted while the screen stays locked.
    void screenLocked();
    /// The recorder heard nothing for a while.
    void silenceDetected();

    bool isRecording() const { return m_isRecording; }
    bool isProcessing() const { return m_isProcessing; }
    const std::string& lastText() const { return m_lastText; }

private:
    void beginRecording();
    void recorderBecameReady(bool wasExternalInput, bool isReplacing);
    void endRecording();
    void processChunks(Take take);
    TakeSituation situation() const;
    void rememberClipboard();
    void captureSelection();

    void deliver(const TakeOutcome& outcome, double duration);
    void applyVoiceCorrection(const std::string& correction, double duration);
    void deliverCorrection(const std::string& newText, double duration);
    void deliverCommandResult(const outcome::CommandAnswer& answer, double duration);
    void deliverFailedCommand(const std::string& rawText, double duration);
    void deliverSnippet(const std::string& text, double duration);
    void finishDictation(const outcome::Dictation& dictation, double duration);
    void perform(const std::string& action);

    void record(const std::string& text, double duration);
    void playStartTones();
    void playEndTones();
    void becomeIdle();

    SessionServices m_services;
    SessionHooks m_hooks;

    bool m_isRecording = false;
    bool m_isProcessing = false;
    std::atomic<bool> m_isCancelled = false; // read by the worker
    bool m_isCommandMode = false;
    std::optional<double> m_recordStartTime; // seconds of Clock::now()
    std::string m_lastText;                  // delivered last
    std::string m_lastRawText;               // the transcript behind it
    std::optional<double> m_lastPasteTime;
    std::optional<FocusContext> m_capturedContext;

    /// The clipboard before the copy keys of a command; nothing once it has been looked at.
    struct ClipboardBefore {
        std::string text;
        Pasteboard::GiveBack giveBack;
    };
    std::optional<ClipboardBefore> m_clipboardBefore;
    Timer m_clipboardLook;
    Timer m_correctionPaste;
    Lifetime m_lifetime;
};

} // namespace fenlo
