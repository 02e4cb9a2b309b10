// Mail.

#include "meeting/MeetingModeController.h"

#include "base/Clock.h"
#include "meeting/MeetingArchive.h"
#include "meeting/MeetingText.h"
#include "meeting/SystemAudioCapture.h"
#include "settings/Config.h"

namespace fenlo {

/// The secure store may wait for the user, so it is asked on a worker.
void MeetingModeController::askForAddress() {
    ask([&delivery = m_services.delivery](const std::stop_token&) { return delivery.userAddress(); },
        [this](std::string address) {
            m_primaryRecipient = std::move(address);
            m_changes.tell();
        });
}

void MeetingModeController::saveRecipientsAsDefaults() {
    m_services.config.update([this](Settings& settings) { settings.meetingEmailRecipients = m_additionalRecipients; });
}

/// The user may send them while the secure store is still asked.
void MeetingModeController::startAutoSend() {
    m_autoSend.reset();
    ask([&delivery = m_services.delivery](const std::stop_token&) { return delivery.sendsByItself(); },
        [this, session = m_session](bool sendsByItself) {
            if (sendsByItself && session == m_session && !m_autoSend.isCancelled())
                m_autoSend.start();
        });
}

template <typename Mail>
void MeetingModeController::send(MailOutcome (MeetingDelivery::*operation)(const Mail&, std::stop_token), Mail mail,
                                 MailDone done) {
    ask([operation, mail = std::move(mail),
         &delivery = m_services.delivery](std::stop_token stop) { return (delivery.*operation)(mail, stop); },
        [done = std::move(done)](const MailOutcome& outcome) { done(outcome); });
}

void MeetingModeController::sendEnhancedNotesEmail(MailDone done) {
    if (!m_enhancedNotes) {
        done({});
        return;
    }
    send(&MeetingDelivery::sendEnhancedNotesEmail,
         NotesMail{.notes = *m_enhancedNotes,
                   .title = m_subject,
                   .userNotes = m_userNotes,
                   .date = m_head.date,
                   .duration = elapsedFormatted(),
                   .transcript = transcriptText(),
                   .additionalRecipients = m_additionalRecipients,
                   .file = sessionFile().value_or("")},
         std::move(done));
}

void MeetingModeController::sendMeetingEmail(MailDone done) {
    send(&MeetingDelivery::sendMeetingEmail,
         TranscriptMail{.transcript = transcriptText(),
                        .subject = m_subject,
                        .additionalRecipients = m_additionalRecipients,
                        .date = m_head.date,
                        .duration = elapsedFormatted(),
                        .file = sessionFile().value_or("")},
         std::move(done));
}

void MeetingModeController::sendPastMeetingEmail(const PastMeeting& meeting,
                                                 const std::vector<std::string>& additionalRecipients, MailDone done) {
    send(&MeetingDelivery::sendMeetingEmail,
         TranscriptMail{.transcript = meeting.content,
                        .subject = meeting.subject,
                        .additionalRecipients = additionalRecipients,
                        .date = meeting.date,
                        .duration = meeting.duration,
                        .file = m_services.archive.fileOf(meeting.id)},
         std::move(done));
}

void MeetingModeController::sendTranscriptionEmail(MailDone done) {
    MeetingRecord lines = record();
    lines.subject.clear();
    send(&MeetingDelivery::sendTranscriptionEmail,
         TranscriptionMail{.subject = m_subject,
                           .transcript = fenlo::transcriptText(lines),
                           .segmentCount = m_segments.size(),
                           .speakerCount = speakersOf(m_segments),
                           .date = m_head.date,
                           .duration = elapsedFormatted(),
                           .additionalRecipients = m_additionalRecipients,
                           .file = sessionFile().value_or("")},
         std::move(done));
}

} // namespace fenlo
