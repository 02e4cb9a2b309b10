// From the hotkey to the recorded take.

#include "session/DictationSession.h"

#include "audio/AudioRecorder.h"
#include "base/Background.h"
#include "base/Clock.h"
#include "base/Log.h"
#include "base/Text.h"
#include "session/EarlyRecognition.h"
#include "session/FaultOf.h"
#include "session/KeptTakes.h"
#include "session/TakeNote.h"
#include "settings/Config.h"
#include "shell/MenuBarController.h"
#include "shell/OverlayWindow.h"
#include "shell/Sounds.h"

#include <exception>
#include <utility>

namespace fenlo {

namespace {

constexpr double silenceToneGap = 0.0;
constexpr double shortestFailure = 0.3; // seconds of holding the key that are meant as a take
constexpr float silenceToneVolume = 0.06f;
constexpr std::size_t minimumSelection = 2; // characters; a single one does not count as a selection

OverlayWindow::WordsRoom wordsRoom(bool showsWords) {
    return showsWords ? OverlayWindow::WordsRoom::kept : OverlayWindow::WordsRoom::none;
}

void logContext(const FocusContext& context) {
    const auto orUnknown = [](const std::string& name) { return name.empty() ? "?" : name; };
    logInfo("Context: app={} bundle={} selected={}chars existing={}chars clipboard={}chars", orUnknown(context.appName),
            orUnknown(context.appBundleId), text::characterCount(context.selectedText),
            text::characterCount(context.existingText), text::characterCount(context.clipboardText));
}

} // namespace

DictationSession::DictationSession(SessionServices services, SessionHooks hooks)
    : m_services(services), m_hooks(std::move(hooks)) {}

/// An error ends this take only: the session is ready for the next press whatever the work threw.
template <typename Work>
void DictationSession::endTakeOnError(Work work) {
    try {
        work();
    } catch (...) {
        logError("The take ends: {}", messageOf(std::current_exception()));
        m_isRecording = false;
        m_isCommandMode = false;
        m_services.early.drop();
        if (m_services.recorder.isRecording())
            stopRecording();
        const bool isKept = m_note && m_services.keptTakes.keep(*m_note);
        m_note.reset();
        becomeIdle();
        tell(TakeFault::ownFault, isKept);
    }
}

void DictationSession::hotkeyPressed() {
    endTakeOnError([this] { press(); });
}

void DictationSession::hotkeyReleased() {
    endTakeOnError([this] { release(); });
}

void DictationSession::commandActivated() {
    endTakeOnError([this] { becomeCommand(); });
}

void DictationSession::press() {
    logInfo("Hotkey pressed");
    if (m_hooks.isMeetingActive()) {
        logInfo("Meeting active — normal dictation blocked");
        return;
    }
    if (m_hooks.isScreenLocked()) {
        logInfo("Screen locked: nothing is recorded");
        return;
    }
    if (m_isProcessing)
        return;
    m_isCommandMode = false;
    if (!m_isRecording)
        beginRecording();
    else if (m_services.config.get().continuousMode)
        endRecording();
}

void DictationSession::release() {
    logInfo("Hotkey released");
    if (m_hooks.isMeetingActive())
        return;
    if (!m_services.config.get().continuousMode && m_isRecording)
        endRecording();
}

void DictationSession::screenLocked() {
    endEarly("Screen locked");
}

void DictationSession::hotkeyPaused() {
    endEarly("Hotkey paused");
}

void DictationSession::endEarly(const char* why) {
    if (!m_isRecording)
        return;
    logInfo("{}: the take ends here", why);
    endTakeOnError([this] { endRecording(); });
}

void DictationSession::beginRecording() {
    m_isRecording = true;
    m_note = m_services.keptTakes.begin();
    // The microphone opens before the context is read, so that the recorder has the first syllable too.
    m_services.recorder.openMicrophone();
    m_capturedContext = m_services.contextReader.read();
    logContext(*m_capturedContext);
    m_services.menuBar.setFace(IconFace::recording);

    const bool isReplacing =
        text::characterCount(text::trimWhitespaceAndNewlines(m_capturedContext->selectedText)) >= minimumSelection;
    const bool external = m_services.recorder.isExternalInputActive();
    if (!external)
        m_recordStartTime = m_services.clock.now();
    const Settings settings = m_services.config.get();
    m_showsWords = settings.showOverlay && settings.showWordsInPill && m_services.early.givesWords();
    if (settings.showOverlay) {
        if (external)
            m_services.overlay.showWarming(isReplacing, m_capturedContext->appName, wordsRoom(m_showsWords));
        else
            m_services.overlay.showRecording(isReplacing, m_capturedContext->appName, wordsRoom(m_showsWords));
    }
    m_services.recorder.setOnReady(
        m_lifetime.bind([this, external, isReplacing] { recorderBecameReady(external, isReplacing); }));
    m_services.recorder.setOnFiles([note = m_note](const auto& files) { note->setChunks(files); });
    m_services.recorder.startRecording();
    m_services.early.begin(earlyTake());
    m_hooks.warmConnection();
    m_services.keys.prepareToPost();
    // A missing microphone is told at once, not after a minute of speech.
    m_hasToldFault = false;
    if (const auto fault = m_services.recorder.fault())
        m_faultNotice = m_services.mainQueue.postAfter(shortestFailure, [this, fault] {
            m_hasToldFault = true;
            tell(faultOf(*fault), false);
        });
}

/// Where the pill shows no words, none are told.
EarlyTake DictationSession::earlyTake() {
    EarlyTake take{.appName = m_capturedContext->appBundleId};
    if (m_showsWords)
        take.onWords = m_lifetime.bind([this](const std::string& words) { m_services.overlay.showWords(words); });
    return take;
}

void DictationSession::recorderBecameReady(bool wasExternalInput, bool isReplacing) {
    if (!m_isRecording)
        return;
    if (wasExternalInput) {
        // The time that the device took to wake up does not count.
        m_recordStartTime = m_services.clock.now();
        if (m_services.config.get().showOverlay)
            m_services.overlay.showRecording(isReplacing, m_capturedContext ? m_capturedContext->appName : "",
                                             wordsRoom(m_showsWords));
    }
    playStartTones(m_services.tones, m_services.config.get());
}

void DictationSession::silenceDetected() {
    if (m_services.config.get().silenceNotification && m_isRecording)
        m_services.tones.playTones({silenceTone}, silenceToneGap, silenceToneVolume);
}

void DictationSession::endRecording() {
    m_isRecording = false;
    m_services.early.release();
    const Take take = stopRecording();
    if (take.chunks.empty()) {
        m_services.early.drop();
        m_services.menuBar.setFace(IconFace::idle);
        const auto fault = m_services.recorder.fault();
        if (std::exchange(m_hasToldFault, false))
            return;
        if (fault && take.duration >= shortestFailure)
            tell(faultOf(*fault), false);
        else
            m_services.overlay.hide();
        return;
    }
    m_services.early.finish();
    m_services.menuBar.setFace(IconFace::processing);
    if (m_services.config.get().showOverlay)
        m_services.overlay.showProcessing();
    processChunks(take, std::move(m_note), Source::microphone);
}

Take DictationSession::stopRecording() {
    m_faultNotice.cancel();
    Take take;
    take.duration = m_recordStartTime ? m_services.clock.now() - *m_recordStartTime : 0.0;
    take.chunks = m_services.recorder.stopRecording();
    take.speechRatio = m_services.recorder.speechRatio();
    take.isCommand = m_isCommandMode;
    m_services.recorder.setOnFiles({});
    if (take.chunks.empty())
        m_note->discard();
    else
        m_note->write(take);
    m_services.recorder.dropRunningCopy();
    return take;
}

void DictationSession::chordDetected() {
    if (!m_isRecording)
        return;
    logInfo("Chord detected — cancelling recording silently");
    m_isRecording = false;
    m_isCommandMode = false;
    // The user did not mean to dictate, so the recording is deleted.
    m_services.early.drop();
    stopRecording();
    m_services.background.run([note = std::move(m_note)](std::stop_token) { note->discard(); });
    m_services.overlay.hide();
    m_services.menuBar.setFace(IconFace::idle);
}

void DictationSession::willTerminate() {
    if (!std::exchange(m_isRecording, false))
        return;
    m_services.early.drop();
    if (!stopRecording().chunks.empty())
        m_services.keptTakes.keep(*m_note);
    m_note.reset();
}

void DictationSession::becomeIdle() {
    m_isProcessing = false;
    m_services.menuBar.setFace(IconFace::idle);
}

} // namespace fenlo
