// The session from start to stop.

#include "meeting/MeetingModeController.h"

namespace fenlo {

void MeetingModeController::startMeeting(AudioRecorder&) {}
void MeetingModeController::stopMeeting() {}

void MeetingModeController::newSession() {
    cancelAutoSend();
    m_segments.clear();
    m_subject.clear();
    m_userNotes.clear();
    m_enhancedNotes.reset();
    m_changes.tell();
}

std::optional<std::filesystem::path> MeetingModeController::sessionFile() const {
    return std::nullopt;
}

void MeetingModeController::summarize() {}
void MeetingModeController::refineNotes(const EnhancedMeetingNotes&, const std::string&,
                                        const std::optional<std::string>&, NotesDone) {}
void MeetingModeController::summarizePastMeeting(const std::string&, std::optional<MeetingTemplate>, NotesDone) {}

std::string MeetingModeController::buildMarkdown() const {
    return transcriptText();
}

void MeetingModeController::saveTranscript() {}
void MeetingModeController::resaveWithNotes() {}
void MeetingModeController::loadPastMeetings() {}
void MeetingModeController::deletePastMeeting(const std::string&) {}
void MeetingModeController::saveNotesToPastMeeting(const std::string&, const EnhancedMeetingNotes&) {}

void MeetingModeController::startAutoSend() {}

void MeetingModeController::cancelAutoSend() {
    m_autoSendCountdown = 0;
    m_autoSendCancelled = true;
    m_changes.tell();
}

void MeetingModeController::sendEnhancedNotesEmail(SendDone) {}
void MeetingModeController::sendMeetingEmail(const std::string&, const std::string&, const std::vector<std::string>&,
                                             SendDone) {}
void MeetingModeController::sendTranscriptionEmail(SendDone) {}

} // namespace fenlo
