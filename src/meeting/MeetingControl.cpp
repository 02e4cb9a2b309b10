#include "meeting/MeetingControl.h"

#include "audio/AudioRecorder.h"
#include "base/Log.h"
#include "meeting/MeetingModeController.h"
#include "session/DictationSession.h"
#include "settings/Config.h"
#include "shell/MenuBarController.h"
#include "shell/OverlayWindow.h"

namespace fenlo {

namespace {

constexpr double pillInterval = 0.25; // seconds
constexpr int menuInterval = 20;      // of the pill's; an open menu must not be rebuilt under the pointer all the time
constexpr double noticeLength = 2;    // seconds, of the pill's

constexpr char dictationRunning[] = "A dictation is under way; start the meeting when it has ended";
constexpr char meetingRunning[] = "No dictation in a meeting";
constexpr char recovered[] = "Interrupted meeting recovered";
constexpr char recoveredNotes[] = "The last meeting has its notes";

} // namespace

bool MeetingControl::isActive() const {
    return m_services.meetings.isActive();
}

void MeetingControl::start() {
    if (isActive())
        return;
    if (m_services.dictation.isRecording() || m_services.dictation.isProcessing()) {
        logInfo("Meeting refused: a dictation is under way");
        m_services.meetings.refuse(dictationRunning);
        return;
    }
    m_services.meetings.startMeeting(m_services.recorder);
    m_services.menuBar.setFace(IconFace::recording);
    m_services.menuBar.refreshMenu();
    showPill();
    m_ticks = 0;
    m_pillTimer = m_services.mainQueue.every(pillInterval, [this] { showTime(); });
    logInfo("Meeting mode started");
}

void MeetingControl::stop() {
    if (isActive() && end())
        m_services.meetings.summarize();
}

void MeetingControl::stopForQuit() {
    if (isActive() && end())
        m_services.meetings.leaveNotesForNextStart();
}

/// Whether there are notes to make.
bool MeetingControl::end() {
    m_services.meetings.stopMeeting();
    m_services.menuBar.setFace(IconFace::idle);
    m_services.menuBar.refreshMenu();
    m_services.overlay.hide();
    m_pillTimer.cancel();
    m_pillAgain.cancel();
    logInfo("Meeting mode stopped");
    return m_services.meetings.hasWords() && m_services.meetings.sessionMode() != MeetingMode::transcription;
}

void MeetingControl::clearEnded() {
    MeetingModeController& meetings = m_services.meetings;
    const bool isAtWork = meetings.isEnhancing() || meetings.autoSendCountdown() > 0 || meetings.pendingChunks() > 0;
    if (!isActive() && !isAtWork)
        meetings.newSession();
}

void MeetingControl::showPill() {
    if (!m_services.config.get().showOverlay)
        return;
    m_services.overlay.showMeeting();
    m_services.overlay.updateMeetingTime(m_services.meetings.elapsedTime());
}

void MeetingControl::showTime() {
    m_services.overlay.updateMeetingTime(m_services.meetings.elapsedTime());
    if (++m_ticks % menuInterval == 0)
        m_services.menuBar.refreshMenu();
}

void MeetingControl::refuseDictation() {
    notice(meetingRunning);
}

void MeetingControl::tellRecovered() {
    tellRecovery(recovered);
}

void MeetingControl::tellRecoveredNotes() {
    tellRecovery(recoveredNotes);
}

void MeetingControl::tellRecovery(const char* line) {
    if (!m_services.dictation.isRecording() && !m_services.dictation.isProcessing())
        notice(line);
}

/// The pill of a running meeting comes back after the notice.
void MeetingControl::notice(const char* line) {
    if (!m_services.config.get().showOverlay)
        return;
    m_services.overlay.showNotice({line});
    if (isActive())
        m_pillAgain = m_services.mainQueue.postAfter(noticeLength, [this] { showPill(); });
}

} // namespace fenlo
