#include "session/DictationSession.h"

#include "audio/AudioRecorder.h"
#include "base/Background.h"
#include "base/Clock.h"
#include "base/Files.h"
#include "base/Log.h"
#include "base/Text.h"
#include "platform/KeyCodes.h"
#include "platform/KeyEvents.h"
#include "session/TextInserter.h"
#include "settings/Config.h"
#include "shell/MenuBarController.h"
#include "shell/OverlayWindow.h"
#include "shell/Sounds.h"
#include "text/VoiceCorrection.h"

#include <algorithm>
#include <type_traits>
#include <utility>

namespace fenlo {

namespace {

constexpr double copyDelay = 0.35;       // seconds for the front application to answer the copy keys
constexpr double correctionDelay = 0.05; // seconds between selecting the old text and pasting over it
constexpr double startToneGap = 0.02;
constexpr double endToneGap = 0.015;
constexpr double silenceToneGap = 0.0;
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

void tap(KeyEvents& keys, std::uint16_t keyCode, std::uint64_t flags) {
    keys.post(keyCode, flags, KeyDirection::down);
    keys.post(keyCode, flags, KeyDirection::up);
}

} // namespace

DictationSession::DictationSession(SessionServices services, SessionHooks hooks)
    : m_services(services), m_hooks(std::move(hooks)) {}

// A take begins and ends with the hotkey.

void DictationSession::hotkeyPressed() {
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

void DictationSession::hotkeyReleased() {
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
    endRecording();
}

void DictationSession::beginRecording() {
    m_isRecording = true;
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
    m_services.recorder.startRecording();
    m_hooks.warmConnection();
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
    m_services.background.run([dropped = m_services.recorder.stopRecording()](std::stop_token) {
        for (const auto& chunk : dropped)
            files::removeQuietly(chunk);
    });
    m_services.overlay.hide();
    m_services.menuBar.setFace(IconFace::idle);
}

// Space during a take makes it an AI command on the selected text.

void DictationSession::commandActivated() {
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
    const double duration = m_recordStartTime ? m_services.clock.now() - *m_recordStartTime : 0.0;
    auto chunks = m_services.recorder.stopRecording();
    if (chunks.empty()) {
        m_services.menuBar.setFace(IconFace::idle);
        m_services.overlay.hide();
        return;
    }
    m_services.menuBar.setFace(IconFace::processing);
    if (m_services.config.get().showOverlay)
        m_services.overlay.showProcessing();
    processChunks({std::move(chunks), duration, m_services.recorder.speechRatio()});
}

void DictationSession::processChunks(Take take) {
    m_isProcessing = true;
    m_isCancelled = false;
    MainQueue& mainQueue = m_services.mainQueue;
    const TakeListener listener{
        .isCancelled = [this] { return m_isCancelled.load(); },
        .onChunk =
            [this, &mainQueue](int index, int total) {
                mainQueue.call([this, index, total] {
                    if (m_services.config.get().showOverlay)
                        m_services.overlay.showChunkProgress(index, total);
                });
            },
        .situation = [this, &mainQueue] { return mainQueue.call([this] { return situation(); }); },
    };
    m_services.background.run([this, take = std::move(take), listener, &mainQueue](std::stop_token stop) {
        const TakeOutcome outcome = m_services.pipeline.run(take, listener, stop);
        mainQueue.call([&] { deliver(outcome, take.duration); });
    });
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
    m_services.overlay.hide();
    becomeIdle();
}

// From the outcome to the user.

void DictationSession::deliver(const TakeOutcome& result, double duration) {
    if (const auto* dictation = std::get_if<outcome::Dictation>(&result))
        finishDictation(*dictation, duration);
    else if (const auto* correction = std::get_if<outcome::Correction>(&result))
        applyVoiceCorrection(correction->correction, duration);
    else if (const auto* answer = std::get_if<outcome::CommandAnswer>(&result))
        deliverCommandResult(*answer, duration);
    else if (const auto* command = std::get_if<outcome::CommandFailed>(&result))
        deliverFailedCommand(command->rawText, duration);
    else if (const auto* snippet = std::get_if<outcome::Snippet>(&result))
        deliverSnippet(snippet->expansion, duration);
    else if (!std::holds_alternative<outcome::Cancelled>(result)) // cancelling has hidden the pill already
        m_services.overlay.hide();
    becomeIdle();
}

void DictationSession::finishDictation(const outcome::Dictation& dictation, double duration) {
    m_capturedContext.reset();
    if (!m_hooks.isScreenLocked())
        for (const std::string& action : dictation.actions)
            perform(action);
    if (!text::trimWhitespace(dictation.text).empty()) {
        m_services.inserter.insertText(dictation.text);
        m_lastText = dictation.text;
        m_lastRawText = dictation.rawText;
        m_lastPasteTime = m_services.clock.now();
    }
    if (dictation.rewriteFailed && dictation.rewriteRequested) {
        log("[Fenlo] AI command fell back to raw transcription — user notified via sound");
        if (m_services.config.get().playSounds)
            m_services.tones.beep();
    }
    record(dictation.text.empty() ? "(command)" : dictation.text, duration);
    m_services.overlay.hide();
    if (!dictation.rewriteFailed)
        playEndTones();
    m_services.menuBar.refreshMenu();
}

void DictationSession::perform(const std::string& action) {
    if (action == "undo")
        m_services.inserter.keys().command(key::x); // the settled key of this action
    else if (action == "select_all")
        m_services.inserter.keys().command(key::a);
    else if (action == "copy_last" && !m_lastText.empty())
        m_services.inserter.copyToClipboard(m_lastText);
}

void DictationSession::applyVoiceCorrection(const std::string& correction, double duration) {
    std::string newText = applyCorrection(m_lastText, correction);
    log("[Fenlo] Voice correction: '" + m_lastText + "' → '" + newText + "'");
    const bool isLocked = m_hooks.isScreenLocked();
    for (std::size_t left = isLocked ? 0 : text::characterCount(m_lastText); left > 0; --left)
        tap(m_services.keys, key::arrowLeft, mask::shift);
    m_correctionPaste = m_services.mainQueue.postAfter(
        correctionDelay, [this, newText = std::move(newText), duration] { deliverCorrection(newText, duration); });
}

void DictationSession::deliverCorrection(const std::string& newText, double duration) {
    m_services.inserter.insertText(newText);
    m_lastText = newText;
    m_lastPasteTime = m_services.clock.now(); // the window opens again, so corrections can be chained
    record("(correction) " + newText, duration);
    m_services.overlay.hide();
    playEndTones();
    m_services.menuBar.refreshMenu();
}

void DictationSession::deliverCommandResult(const outcome::CommandAnswer& result, double duration) {
    m_lastText = result.answer;
    record("AI: " + result.answer, duration);
    if (result.context.hasTextField) {
        m_services.inserter.insertText(result.answer);
        m_services.overlay.hide();
    } else {
        m_services.overlay.showResult(result.answer);
    }
    playEndTones();
    m_services.menuBar.refreshMenu();
}

void DictationSession::deliverFailedCommand(const std::string& rawText, double duration) {
    m_services.inserter.insertText(rawText);
    // Words that nobody saw arrive are at least in the history.
    if (m_hooks.isScreenLocked())
        record(rawText, duration);
    m_services.overlay.hide();
    playEndTones();
}

void DictationSession::deliverSnippet(const std::string& expansion, double duration) {
    m_services.inserter.insertText(expansion);
    record(expansion, duration);
    m_services.overlay.hide();
    playEndTones();
    m_services.menuBar.refreshMenu();
}

void DictationSession::record(const std::string& delivered, double duration) {
    m_hooks.recordDictation(delivered, duration);
    m_hooks.syncStats();
}

void DictationSession::playStartTones() {
    const Settings settings = m_services.config.get();
    const SoundScheme* scheme = SoundScheme::find(settings.soundScheme);
    if (settings.playSounds && scheme && !scheme->start.empty())
        m_services.tones.playTones(scheme->start, startToneGap, scheme->startVol);
}

void DictationSession::playEndTones() {
    const Settings settings = m_services.config.get();
    const SoundScheme* scheme = SoundScheme::find(settings.soundScheme);
    if (settings.playSounds && scheme && !scheme->end.empty())
        m_services.tones.playTones(scheme->end, endToneGap, scheme->endVol);
}

void DictationSession::becomeIdle() {
    m_isProcessing = false;
    m_services.menuBar.setFace(IconFace::idle);
}

} // namespace fenlo
