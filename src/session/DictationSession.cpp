#include "session/DictationSession.h"

#include "audio/AudioRecorder.h"
#include "base/Background.h"
#include "base/Clock.h"
#include "base/Files.h"
#include "base/Log.h"
#include "base/Text.h"
#include "platform/KeyCodes.h"
#include "platform/KeyEvents.h"
#include "session/FaultOf.h"
#include "session/KeptTakes.h"
#include "session/TakeNote.h"
#include "session/TextInserter.h"
#include "settings/Config.h"
#include "shell/MenuBarController.h"
#include "shell/OverlayWindow.h"
#include "shell/Sounds.h"
#include "text/VoiceCorrection.h"

#include <algorithm>
#include <exception>
#include <type_traits>
#include <utility>

namespace fenlo {

namespace {

constexpr double copyDelay = 0.35; // seconds for the front application to answer the copy keys
constexpr double startToneGap = 0.02;
constexpr double silenceToneGap = 0.0;
constexpr double shortestFailure = 0.3; // seconds of holding the key that are meant as a take
constexpr float silenceToneVolume = 0.06f;
constexpr double clipboardReadLimit = 0.15;
constexpr std::size_t minimumSelection = 2; // characters; a single one is no selection to replace

std::string describe(const FocusContext& context) {
    const auto orUnknown = [](const std::string& name) { return name.empty() ? "?" : name; };
    const auto count = [](const std::string& content) {
        return std::to_string(text::characterCount(content)) + "chars";
    };
    return "[Fenlo] Context: app=" + orUnknown(context.appName) + " bundle=" + orUnknown(context.appBundleId) +
           " selected=" + count(context.selectedText) + " existing=" + count(context.existingText) +
           " clipboard=" + count(context.clipboardText);
}

} // namespace

DictationSession::DictationSession(SessionServices services, SessionHooks hooks)
    : m_services(services), m_hooks(std::move(hooks)) {}

// A take begins and ends with the hotkey.

/// Ends the take, not all takes: the session is ready for the next press whatever the work threw.
template <typename Work>
void DictationSession::endTakeOnError(Work work) {
    try {
        work();
    } catch (...) {
        log("[Fenlo] ERROR: The take ends: " + messageOf(std::current_exception()));
        m_isRecording = false;
        m_isCommandMode = false;
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
    log("[Fenlo] Hotkey pressed");
    if (m_hooks.isMeetingActive()) {
        log("[Fenlo] Meeting active — normal dictation blocked");
        return;
    }
    if (m_hooks.isScreenLocked()) {
        log("[Fenlo] Screen locked: nothing is recorded");
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
    log("[Fenlo] Hotkey released");
    if (m_hooks.isMeetingActive())
        return;
    if (!m_services.config.get().continuousMode && m_isRecording)
        endRecording();
}

void DictationSession::screenLocked() {
    if (!m_isRecording)
        return;
    log("[Fenlo] Screen locked: the take ends here");
    endTakeOnError([this] { endRecording(); });
}

void DictationSession::beginRecording() {
    m_isRecording = true;
    m_note = m_services.keptTakes.begin();
    // The microphone opens beside the context read, so that the first syllable is in its roll-back buffer.
    m_services.recorder.openMicrophone();
    m_capturedContext = m_services.contextReader.read();
    log(describe(*m_capturedContext));
    m_services.menuBar.setFace(IconFace::recording);

    const bool isReplacing =
        text::characterCount(text::trimWhitespaceAndNewlines(m_capturedContext->selectedText)) >= minimumSelection;
    const bool external = m_services.recorder.isExternalInputActive();
    if (!external)
        m_recordStartTime = m_services.clock.now();
    if (m_services.config.get().showOverlay) {
        if (external)
            m_services.overlay.showWarming(isReplacing, m_capturedContext->appName);
        else
            m_services.overlay.showRecording(isReplacing, m_capturedContext->appName);
    }
    m_services.recorder.setOnReady(
        m_lifetime.bind([this, external, isReplacing] { recorderBecameReady(external, isReplacing); }));
    m_services.recorder.setOnFiles([note = m_note](const auto& files) { note->setChunks(files); });
    m_services.recorder.startRecording();
    m_hooks.warmConnection();
    // Nobody should speak for a minute into a microphone that is not there.
    m_hasToldFault = false;
    if (const auto fault = m_services.recorder.fault())
        m_faultNotice = m_services.mainQueue.postAfter(shortestFailure, [this, fault] {
            m_hasToldFault = true;
            tell(faultOf(*fault), false);
        });
}

void DictationSession::recorderBecameReady(bool wasExternalInput, bool isReplacing) {
    if (!m_isRecording)
        return;
    if (wasExternalInput) {
        // The time that the device took to wake is no speech.
        m_recordStartTime = m_services.clock.now();
        if (m_services.config.get().showOverlay)
            m_services.overlay.showRecording(isReplacing, m_capturedContext ? m_capturedContext->appName : "");
    }
    playStartTones();
}

void DictationSession::silenceDetected() {
    if (m_services.config.get().silenceNotification && m_isRecording)
        m_services.tones.playTones({silenceTone}, silenceToneGap, silenceToneVolume);
}

void DictationSession::chordDetected() {
    if (!m_isRecording)
        return;
    log("[Fenlo] Chord detected — cancelling recording silently");
    m_isRecording = false;
    m_isCommandMode = false;
    // Nobody listens to this take any more, and what was said in it must not lie about.
    stopRecording();
    m_services.background.run([note = std::move(m_note)](std::stop_token) { note->discard(); });
    m_services.overlay.hide();
    m_services.menuBar.setFace(IconFace::idle);
}

// Space during a take makes it an AI command on the selected text.

void DictationSession::becomeCommand() {
    if (!m_isRecording)
        return;
    log("[Fenlo] Switched to AI command mode");
    m_isCommandMode = true;
    m_services.overlay.showCommandMode();
    m_capturedContext = m_services.contextReader.read();
    // A second command before the look finds what the first one copied.
    if (!m_clipboardBefore)
        rememberClipboard();
    m_services.inserter.keys().copy();
    m_clipboardLook = m_services.mainQueue.postAfter(copyDelay, [this] { captureSelection(); });
}

void DictationSession::rememberClipboard() {
    const double deadline = m_services.clock.now() + clipboardReadLimit;
    std::string text = m_services.pasteboard.string(clipboardReadLimit).text.value_or("");
    const double left = std::max(0.0, deadline - m_services.clock.now());
    m_clipboardBefore = {std::move(text), m_services.pasteboard.keep(left)};
}

/// The way to a selection in applications that give none through accessibility.
void DictationSession::captureSelection() {
    const auto before = std::exchange(m_clipboardBefore, {}).value();
    const std::string copied = m_services.pasteboard.string(clipboardReadLimit).text.value_or("");
    const bool different = copied != before.text;
    const bool selectedEmpty = !m_capturedContext || m_capturedContext->selectedText.empty();
    log("[Fenlo] Command mode clipboard: copied=" + std::to_string(text::characterCount(copied)) +
        "chars different=" + text::boolean(different) + " selectedEmpty=" + text::boolean(selectedEmpty));
    if (!copied.empty() && different && m_capturedContext && selectedEmpty) {
        m_capturedContext->selectedText = copied;
        log("[Fenlo] Command mode: captured selection (" + std::to_string(text::characterCount(copied)) + " chars)");
    }
    if (different)
        before.giveBack(Pasteboard::Return::afterCopy);
}

// From the recorded chunks to an outcome.

void DictationSession::endRecording() {
    m_isRecording = false;
    const Take take = stopRecording();
    if (take.chunks.empty()) {
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

void DictationSession::tryAgain() {
    if (m_isRecording || m_isProcessing || m_hooks.isMeetingActive() || m_hooks.isScreenLocked())
        return;
    std::shared_ptr<TakeNote> note = m_services.keptTakes.newest();
    if (!note)
        return;
    log("[Fenlo] Trying the last take again");
    m_hooks.askKeyringAgain();
    const Take take = note->take();
    m_isCommandMode = take.isCommand;
    m_capturedContext = m_services.contextReader.read();
    m_services.menuBar.setFace(IconFace::processing);
    if (m_services.config.get().showOverlay)
        m_services.overlay.showRetrying(take.duration, m_capturedContext->appName);
    processChunks(take, std::move(note), Source::keptTake);
}

void DictationSession::takesRecovered(bool foundAny) {
    if (foundAny && m_services.config.get().showOverlay && !m_isRecording && !m_isProcessing)
        m_services.overlay.showNotice({keptLine});
    m_services.menuBar.refreshMenu();
}

void DictationSession::willTerminate() {
    if (!std::exchange(m_isRecording, false))
        return;
    if (!stopRecording().chunks.empty())
        m_services.keptTakes.keep(*m_note);
    m_note.reset();
}

void DictationSession::processChunks(Take take, std::shared_ptr<TakeNote> note, Source source) {
    m_isProcessing = true;
    m_isCancelled = false;
    m_isDropped = std::make_shared<std::atomic<bool>>(false);
    m_services.background.run([this, take = std::move(take), note = std::move(note), listener = listener(),
                               dropsWhenCancelled = source == Source::microphone,
                               isDropped = m_isDropped](std::stop_token stop) mutable {
        walk(take, std::move(note), std::move(listener), dropsWhenCancelled, *isDropped, stop);
    });
}

TakeListener DictationSession::listener() {
    MainQueue& mainQueue = m_services.mainQueue;
    TakeListener listener;
    listener.isCancelled = [this] { return m_isCancelled.load(); };
    listener.onChunk = [this, &mainQueue](int index, int total) {
        mainQueue.call([this, index, total] {
            if (m_services.config.get().showOverlay)
                m_services.overlay.showChunkProgress(index, total);
        });
    };
    listener.situation = [this, &mainQueue] { return mainQueue.call([this] { return situation(); }); };
    return listener;
}

/// On a worker: from the recording to its delivery. Whatever happens meanwhile, the note knows what is not delivered.
void DictationSession::walk(const Take& take, std::shared_ptr<TakeNote> note, TakeListener listener,
                            bool dropsWhenCancelled, const std::atomic<bool>& isDropped, std::stop_token stop) {
    MainQueue& mainQueue = m_services.mainQueue;
    Trouble trouble;
    listener.onProgress = [&](const Take& rest) { note->write(rest); };
    listener.onFault = [&](TakeFault fault) { trouble.fault = fault; };
    TakeOutcome result = m_services.pipeline.run(take, listener, stop);
    if (isDropped && std::holds_alternative<outcome::Failed>(result))
        result = outcome::Cancelled{}; // nobody waits to be told of it

    const bool wasCancelled = std::holds_alternative<outcome::Cancelled>(result);
    const bool hasWords = !wasCancelled && !std::holds_alternative<outcome::Failed>(result);
    if (!hasWords) {
        if (wasCancelled && dropsWhenCancelled)
            note->discard();
        else
            trouble.isKept = m_services.keptTakes.keep(*note);
        note.reset(); // from here on it can be tried again
    }
    const bool isDelivered = mainQueue.call([&] { return deliver(result, take.duration, trouble); });
    if (!hasWords)
        return;
    if (isDelivered) {
        note->discard();
        return;
    }
    trouble.isKept = m_services.keptTakes.keep(*note);
    note.reset();
    mainQueue.call([&] { tell(TakeFault::ownFault, trouble.isKept); });
}

TakeSituation DictationSession::situation() const {
    TakeSituation situation{m_isCommandMode, m_capturedContext, m_lastText, {}};
    if (m_lastPasteTime)
        situation.secondsSincePaste = m_services.clock.now() - *m_lastPasteTime;
    return situation;
}

void DictationSession::cancelProcessing() {
    log("[Fenlo] Cancelled by user");
    m_isCancelled = true;
    if (m_isDropped)
        *m_isDropped = true;
    m_services.overlay.hide();
    becomeIdle();
}

void DictationSession::playStartTones() {
    const Settings settings = m_services.config.get();
    const SoundScheme* scheme = SoundScheme::find(settings.soundScheme);
    if (settings.playSounds && scheme && !scheme->start.empty())
        m_services.tones.playTones(scheme->start, startToneGap, scheme->startVol);
}

void DictationSession::becomeIdle() {
    m_isProcessing = false;
    m_services.menuBar.setFace(IconFace::idle);
}

} // namespace fenlo
