#include "meeting/PastMeetingDetail.h"

#include "base/Text.h"
#include "meeting/MeetingModeController.h"
#include "meeting/MeetingWords.h"

#include <utility>

namespace fenlo {

PastMeetingDetail::PastMeetingDetail(PastMeeting meeting, Services services)
    : m_services(std::move(services)), m_meeting(std::move(meeting)), m_outlet(outletServices()),
      m_effectiveNotes(m_meeting.enhancedNotes) {
    m_transcript.show(m_meeting);
}

MeetingOutlet::Services PastMeetingDetail::outletServices() {
    return {.mainQueue = m_services.mainQueue,
            .background = m_services.background,
            .primaryRecipient = m_services.controller.primaryRecipient(),
            .additionalRecipients = m_extraRecipients,
            .sendMail =
                [this](MeetingOutlet::MailDone done) {
                    m_services.controller.sendPastMeetingEmail(m_meeting, m_extraRecipients, std::move(done));
                },
            .text = [this] { return m_meeting.content; },
            .changed = [this] { m_changes.tell(); }};
}

void PastMeetingDetail::refresh(const PastMeeting& meeting) {
    m_meeting = meeting;
    m_transcript.show(m_meeting);
    if (!m_effectiveNotes)
        m_effectiveNotes = m_meeting.enhancedNotes;
    m_changes.tell();
}

std::string PastMeetingDetail::title() const {
    return meetingTitle(m_meeting);
}

std::string PastMeetingDetail::details() const {
    std::vector<std::string> parts{meetingTime(m_meeting),
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
    m_outlet.tell({});
    const std::string focus = text::trimWhitespaceAndNewlines(m_focusInstruction);
    // Notes that come after the view was left go into the file all the same.
    auto done = [&controller = m_services.controller, id = m_meeting.id,
                 finish = m_lifetime.bind([this](const MeetingNotesWriter::Result& result) { finishSummary(result); })](
                    const MeetingNotesWriter::Result& result) mutable {
        if (result.notes)
            controller.saveNotesToPastMeeting(id, *result.notes);
        finish(result);
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

void PastMeetingDetail::finishSummary(const MeetingNotesWriter::Result& result) {
    m_isGenerating = false;
    if (result.notes)
        m_effectiveNotes = result.notes;
    const MeetingNotice fault{.kind = MeetingNotice::Kind::error, .text = result.fault, .canClose = true};
    m_outlet.tell(m_effectiveNotes ? MeetingNotice() : withRemedy(fault, result.hindrance));
}

void PastMeetingDetail::remove() {
    const auto onBack = m_services.onBack; // which ends this
    m_services.controller.deletePastMeeting(m_meeting.id);
    onBack();
}

} // namespace fenlo
