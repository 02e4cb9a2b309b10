#include "meeting/MeetingMail.h"

#include "base/Text.h"
#include "meeting/MeetingWords.h"
#include "shell/ElapsedText.h"

#include <algorithm>
#include <array>
#include <chrono>

namespace fenlo {

namespace {

constexpr const char* notesSubject = "Meeting Notes: ";

double secondsSince(const std::optional<dates::Moment>& start, dates::Moment now) {
    return start ? std::chrono::duration<double>(now - *start).count() : 0;
}

/// Takes the lines of a transcript, or of a meeting's file, that a reader of the mail is to see.
class LineFilter {
public:
    bool keeps(const std::string& line) {
        if (line.find("FENLO_META") != std::string::npos) {
            m_isInMetadata = !m_isInMetadata;
            return false;
        }
        if (m_isInMetadata || line.empty() || line == "-->" || line == "<!--")
            return false;
        constexpr std::array dropped{"# ",
                                     "## Transcript",
                                     "**Date:**",
                                     "**Duration:**",
                                     "**Attendees:**",
                                     "**Template:**",
                                     "Meeting Transcript",
                                     "Duration:",
                                     "Subject:",
                                     "Meeting Notes —"};
        return std::ranges::none_of(dropped, [&](const char* start) { return line.starts_with(start); });
    }

private:
    bool m_isInMetadata = false;
};

} // namespace

MeetingMail composeMail(const NotesMail& mail) {
    const EnhancedMeetingNotes& notes = mail.notes;
    MeetingMail composed;
    composed.subject = notesSubject + (mail.title.empty() ? notes.title : mail.title);
    composed.notes.title = notes.title;
    composed.notes.summary = notes.summary;
    composed.notes.lists = {{"key_decisions", "Key Decisions", notes.keyDecisions},
                            {"action_items", "Action Items", notes.actionItems},
                            {"discussion_points", "Discussion Points", notes.discussionPoints},
                            {"follow_ups", "Follow-ups", notes.followUps}};
    composed.notes.additionalSections = notes.additionalSections;
    composed.meetingDate = dates::mediumText(mail.date);
    composed.duration = mail.duration;
    composed.userNotes = mail.userNotes;
    composed.transcript = mail.transcript;
    composed.additionalRecipients = mail.additionalRecipients;
    return composed;
}

MeetingMail composeMail(const TranscriptMail& mail, const std::optional<BasicSummary>& summary, dates::Moment now) {
    MeetingMail composed;
    composed.notes.title = mail.subject.empty() ? "Meeting Transcript" : mail.subject;
    composed.subject = notesSubject + composed.notes.title;
    if (summary) {
        composed.notes.summary = summary->summary;
        composed.notes.lists = {{"takeaways", "Key Takeaways", summary->takeaways},
                                {"action_items", "Action Items", summary->actionItems}};
    }
    composed.meetingDate = dates::mediumText(mail.date.value_or(now));
    composed.duration = mail.duration.empty() ? elapsedText(secondsSince(mail.startTime, now)) : mail.duration;
    composed.transcript = cleanTranscript(mail.transcript);
    composed.additionalRecipients = mail.additionalRecipients;
    return composed;
}

MeetingMail composeMail(const TranscriptionMail& mail) {
    MeetingMail composed;
    composed.notes.title = mail.subject.empty() ? "Transcription" : mail.subject;
    composed.notes.summary =
        counted(mail.segmentCount, "segment") + " · " + counted(mail.speakerCount, "speaker") + " · " + mail.duration;
    composed.subject = "Transcription: " + composed.notes.title;
    composed.meetingDate = dates::mediumText(mail.date);
    composed.duration = mail.duration;
    composed.transcript = mail.transcript;
    composed.additionalRecipients = mail.additionalRecipients;
    return composed;
}

std::string cleanTranscript(std::string_view transcript) {
    LineFilter filter;
    std::vector<std::string> kept;
    for (std::string& line : text::split(transcript, '\n'))
        if (filter.keeps(text::trimWhitespace(line)))
            kept.push_back(std::move(line));
    return text::trimWhitespaceAndNewlines(text::join(kept, "\n"));
}

} // namespace fenlo
