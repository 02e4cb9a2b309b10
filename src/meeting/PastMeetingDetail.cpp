#include "meeting/PastMeetingDetail.h"

#include "base/Text.h"
#include "meeting/MeetingExport.h"
#include "meeting/MeetingModeController.h"
#include "meeting/MeetingWords.h"
#include "meeting/Recipients.h"

#include <utility>

namespace fenlo {

PastMeetingDetail::PastMeetingDetail(PastMeeting meeting, Services services)
    : m_services(std::move(services)), m_meeting(std::move(meeting)), m_effectiveNotes(m_meeting.enhancedNotes) {
    m_transcript.show(m_meeting);
}

void PastMeetingDetail::refresh(const PastMeeting& meeting) {
    const bool hasOtherRows = meeting.segments.size() != m_meeting.segments.size();
    m_meeting = meeting;
    if (hasOtherRows)
        m_transcript.show(m_meeting);
    if (!m_effectiveNotes)
        m_effectiveNotes = m_meeting.enhancedNotes;
    m_changes.tell();
}

std::string PastMeetingDetail::title() const {
    return meetingTitle(m_meeting);
}

std::string PastMeetingDetail::details() const {
    std::vector<std::string> parts{m_meeting.displayDate, m_meeting.duration,
                                   counted(static_cast<std::size_t>(m_meeting.speakerCount), "speaker")};
    if (m_meeting.kind)
        parts.emplace_back(displayName(*m_meeting.kind));
    std::erase(parts, "");
    return text::join(parts, " · ");
}

void PastMeetingDetail::setShowTranscript(bool show) {
    m_showTranscript = show;
    m_changes.tell();
}

std::string PastMeetingDetail::transcriptTitle() const {
    return fullTranscriptTitle(m_transcript.rows().size());
}

std::vector<NotesSection> PastMeetingDetail::notes() const {
    return m_effectiveNotes ? notesSections(*m_effectiveNotes) : std::vector<NotesSection>{};
}

void PastMeetingDetail::setShowSummarizePrompt(bool show) {
    m_showSummarizePrompt = show;
    m_changes.tell();
}

void PastMeetingDetail::setFocusInstruction(const std::string& instruction) {
    m_focusInstruction = instruction;
    m_changes.tell();
}

std::string PastMeetingDetail::summarizeCaption() const {
    return text::trimWhitespaceAndNewlines(m_focusInstruction).empty() ? "Summarize" : "Summarize with focus";
}

void PastMeetingDetail::summarize() {
    if (m_isGenerating)
        return;
    m_isGenerating = true;
    m_showSummarizePrompt = false;
    m_notice = {};
    const std::string focus = text::trimWhitespaceAndNewlines(m_focusInstruction);
    // Notes that come after the view was left go into the file all the same.
    auto done = [&controller = m_services.controller, id = m_meeting.id,
                 finish = m_lifetime.bind([this](const auto& notes, const std::string& fault) {
                     finishSummary(notes, fault);
                 })](const std::optional<EnhancedMeetingNotes>& notes, const std::string& fault) mutable {
        if (notes)
            controller.saveNotesToPastMeeting(id, *notes);
        finish(notes, fault);
    };
    if (focus.empty()) {
        m_services.controller.summarizePastMeeting(m_meeting.content, m_meeting.kind, std::move(done));
    } else {
        EnhancedMeetingNotes none;
        none.title = m_meeting.subject;
        m_services.controller.refineNotes(none, focus, m_meeting.content, std::move(done));
    }
    m_changes.tell();
}

void PastMeetingDetail::finishSummary(std::optional<EnhancedMeetingNotes> notes, const std::string& fault) {
    m_isGenerating = false;
    if (notes)
        m_effectiveNotes = std::move(notes);
    tell({MeetingNotice::Kind::error, m_effectiveNotes ? "" : fault});
}

void PastMeetingDetail::email() {
    if (m_emailStatus == EmailStatus::sending)
        return;
    m_emailStatus = EmailStatus::sending;
    m_notice = {};
    m_changes.tell();
    m_services.controller.sendPastMeetingEmail(
        m_meeting, m_extraRecipients, m_lifetime.bind([this](const MailOutcome& outcome) { finishEmail(outcome); }));
}

void PastMeetingDetail::finishEmail(const MailOutcome& outcome) {
    m_emailStatus = statusOf(outcome);
    tell(noticeOf(outcome));
}

void PastMeetingDetail::setShowRecipients(bool show) {
    m_showRecipients = show;
    m_changes.tell();
}

void PastMeetingDetail::addRecipient() {
    const auto address = addressToAdd(m_newRecipient, m_extraRecipients, m_services.controller.primaryRecipient());
    if (!address)
        return;
    m_extraRecipients.push_back(*address);
    m_newRecipient.clear();
    m_emailStatus = EmailStatus::idle;
    m_changes.tell();
}

void PastMeetingDetail::removeRecipient(const std::string& address) {
    std::erase(m_extraRecipients, address);
    m_changes.tell();
}

void PastMeetingDetail::exportTo(const std::filesystem::path& file) {
    exportMeeting(m_meeting.content, file, m_services.background, m_services.mainQueue,
                  m_lifetime.bind([this](MeetingNotice outcome) { tell(std::move(outcome)); }));
}

void PastMeetingDetail::remove() {
    const auto onBack = m_services.onBack; // which ends this
    m_services.controller.deletePastMeeting(m_meeting.id);
    onBack();
}

void PastMeetingDetail::tell(MeetingNotice notice) {
    m_notice = std::move(notice);
    m_changes.tell();
}

} // namespace fenlo
