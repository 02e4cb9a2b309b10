// From an outcome to the user.

#include "session/DictationSession.h"

#include "base/Clock.h"
#include "base/Log.h"
#include "base/Text.h"
#include "platform/KeyCodes.h"
#include "platform/KeyEvents.h"
#include "session/FaultOf.h"
#include "session/TextInserter.h"
#include "settings/Config.h"
#include "shell/MenuBarController.h"
#include "shell/OverlayWindow.h"
#include "shell/Sounds.h"
#include "text/VoiceCorrection.h"

#include <exception>
#include <string_view>
#include <utility>

namespace fenlo {

namespace {

constexpr double correctionDelay = 0.05; // seconds between selecting the old text and pasting over it

constexpr std::string_view waitingLine = "Your text is on the clipboard";

void pressAndRelease(KeyEvents& keys, std::uint16_t keyCode, std::uint64_t flags) {
    keys.post(keyCode, flags, KeyDirection::down);
    keys.post(keyCode, flags, KeyDirection::up);
}

} // namespace

/// False when a step failed on the way, so that the words may not have arrived.
bool DictationSession::deliver(const TakeOutcome& result, double duration, const Trouble& trouble) {
    bool isDelivered = true;
    try {
        if (std::holds_alternative<outcome::Failed>(result))
            tell(trouble.fault.value_or(TakeFault::ownFault), trouble.isKept);
        else
            deliverWords(result, duration, trouble);
    } catch (...) {
        logError("the words could not be delivered: {}", messageOf(std::current_exception()));
        m_services.overlay.hide();
        isDelivered = false;
    }
    becomeIdle();
    return isDelivered;
}

void DictationSession::deliverWords(const TakeOutcome& result, double duration, const Trouble& trouble) {
    // A take that was rescued still had a fault of the service.
    if (!std::holds_alternative<outcome::Cancelled>(result) && !std::holds_alternative<outcome::Empty>(result))
        m_services.menuBar.setTrouble(trouble.fault ? std::string(describe(*trouble.fault)) : "");
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
    else if (!std::holds_alternative<outcome::Cancelled>(result)) { // cancelling has hidden the pill already
        m_services.overlay.hide();
        m_services.menuBar.refreshMenu(); // where this was the last take to be tried again
    }
}

/// Shows the user why a take failed.
void DictationSession::tell(TakeFault fault, bool isKept) {
    const std::string line(describe(fault));
    logError("The take came to no words: {}", line);
    std::vector<std::string> lines{line};
    if (isKept)
        lines.emplace_back(keptLine);
    if (m_services.config.get().showOverlay)
        m_services.overlay.showNotice(std::move(lines));
    else
        m_services.overlay.hide();
    m_services.menuBar.setTrouble(line);
    m_services.menuBar.refreshMenu(); // a kept take is offered there
}

void DictationSession::finishDictation(const outcome::Dictation& dictation, double duration) {
    m_capturedContext.reset();
    if (!m_hooks.isScreenLocked())
        for (const std::string& action : dictation.actions)
            perform(action);
    if (!text::trimWhitespace(dictation.text).empty()) {
        insert(dictation.text);
        m_lastText = dictation.text;
        m_lastRawText = dictation.rawText;
        m_lastPasteTime = m_services.clock.now();
    }
    if (dictation.rewriteFailed && dictation.rewriteRequested) {
        logInfo("AI command fell back to raw transcription — user notified via sound");
        if (m_services.config.get().playSounds)
            m_services.tones.beep();
    }
    record(dictation.text.empty() ? "(command)" : dictation.text, duration);
    endPill();
    if (!dictation.rewriteFailed)
        playEndTones(m_services.tones, m_services.config.get());
    m_services.menuBar.refreshMenu();
}

/// "undo" posts Cut, and Cut is meant, not Undo: "delete that" and "undo that" remove what is selected, the whole field
/// after "select all", and leave it on the clipboard. With nothing selected they remove nothing.
void DictationSession::perform(const std::string& action) {
    if (action == "undo")
        m_services.inserter.keys().command(key::x);
    else if (action == "select_all")
        m_services.inserter.keys().command(key::a);
    else if (action == "copy_last" && !m_lastText.empty())
        m_services.inserter.copyToClipboard(m_lastText);
}

void DictationSession::applyVoiceCorrection(const std::string& correction, double duration) {
    std::string newText = applyCorrection(m_lastText, correction);
    logInfo("Voice correction: '{}' → '{}'", m_lastText, newText);
    const bool isLocked = m_hooks.isScreenLocked();
    for (std::size_t left = isLocked ? 0 : text::characterCount(m_lastText); left > 0; --left)
        pressAndRelease(m_services.keys, key::arrowLeft, mask::shift);
    m_correctionPaste = m_services.mainQueue.postAfter(
        correctionDelay, [this, newText = std::move(newText), duration] { deliverCorrection(newText, duration); });
}

void DictationSession::deliverCorrection(const std::string& newText, double duration) {
    insert(newText);
    m_lastText = newText;
    m_lastPasteTime = m_services.clock.now(); // the window opens again, so corrections can be chained
    record("(correction) " + newText, duration);
    endPill();
    playEndTones(m_services.tones, m_services.config.get());
    m_services.menuBar.refreshMenu();
}

void DictationSession::deliverCommandResult(const outcome::CommandAnswer& result, double duration) {
    m_lastText = result.answer;
    record("AI: " + result.answer, duration);
    if (result.context.hasTextField) {
        insert(result.answer);
        endPill();
    } else {
        m_services.overlay.showResult(result.answer);
    }
    playEndTones(m_services.tones, m_services.config.get());
    m_services.menuBar.refreshMenu();
}

void DictationSession::deliverFailedCommand(const std::string& rawText, double duration) {
    insert(rawText);
    // The user did not see these words arrive, so they go to the history.
    if (m_hooks.isScreenLocked() || m_textWaits)
        record(rawText, duration);
    endPill();
    playEndTones(m_services.tones, m_services.config.get());
}

void DictationSession::deliverSnippet(const std::string& expansion, double duration) {
    insert(expansion);
    record(expansion, duration);
    endPill();
    playEndTones(m_services.tones, m_services.config.get());
    m_services.menuBar.refreshMenu();
}

void DictationSession::insert(const std::string& text) {
    m_textWaits = m_services.inserter.insertText(text) == TextInserter::Insertion::onClipboard;
}

/// Hides the pill, or tells the user what is left to do: also one who wants to see no pill would lose the text.
void DictationSession::endPill() {
    if (std::exchange(m_textWaits, false))
        m_services.overlay.showNotice(
            {"Press " + m_services.inserter.keys().pasteKeysName(), std::string(waitingLine)});
    else
        m_services.overlay.hide();
}

void DictationSession::record(const std::string& delivered, double duration) {
    m_hooks.recordDictation(delivered, duration);
    m_hooks.syncStats();
}

} // namespace fenlo
