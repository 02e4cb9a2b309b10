// A take that becomes an AI command on the selected text.

#include "session/DictationSession.h"

#include "base/Clock.h"
#include "base/Log.h"
#include "base/Text.h"
#include "session/TextInserter.h"
#include "shell/OverlayWindow.h"

#include <algorithm>
#include <utility>

namespace fenlo {

namespace {

constexpr double copyDelay = 0.35;          // seconds for the front application to answer the copy keys
constexpr double clipboardReadLimit = 0.15; // seconds

} // namespace

void DictationSession::becomeCommand() {
    if (!m_isRecording)
        return;
    logInfo("Switched to AI command mode");
    m_isCommandMode = true;
    m_services.overlay.showCommandMode();
    m_capturedContext = m_services.contextReader.read();
    // After a second press of Space the clipboard holds what the first one copied.
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

/// Finds the selection in applications that do not tell it through accessibility.
void DictationSession::captureSelection() {
    const auto before = std::exchange(m_clipboardBefore, {}).value();
    const std::string copied = m_services.pasteboard.string(clipboardReadLimit).text.value_or("");
    const bool different = copied != before.text;
    const bool selectedEmpty = !m_capturedContext || m_capturedContext->selectedText.empty();
    logInfo("Command mode clipboard: copied={}chars different={} selectedEmpty={}", text::characterCount(copied),
            different, selectedEmpty);
    if (!copied.empty() && different && m_capturedContext && selectedEmpty) {
        m_capturedContext->selectedText = copied;
        logInfo("Command mode: captured selection ({} chars)", text::characterCount(copied));
    }
    if (different)
        before.giveBack(Pasteboard::Return::afterCopy);
}

} // namespace fenlo
