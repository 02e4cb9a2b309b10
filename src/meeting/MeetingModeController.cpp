// What the screens choose and show.

#include "meeting/MeetingModeController.h"

#include "base/Text.h"
#include "meeting/MeetingSearch.h"
#include "settings/Config.h"
#include "shell/ElapsedText.h"

#include <algorithm>

namespace fenlo {

MeetingModeController::MeetingModeController(Services services) : m_services(services) {}

MeetingModeController::~MeetingModeController() = default;

std::string MeetingModeController::elapsedFormatted() const {
    return elapsedText(m_elapsedTime);
}

void MeetingModeController::setMeetingMode(MeetingMode mode) {
    if (std::exchange(m_meetingMode, mode) != mode)
        m_changes.tell();
}

void MeetingModeController::setMeetingTemplate(MeetingTemplate kind) {
    if (std::exchange(m_meetingTemplate, kind) != kind)
        m_changes.tell();
}

void MeetingModeController::setSubject(const std::string& subject) {
    if (std::exchange(m_subject, subject) != subject)
        m_changes.tell();
}

void MeetingModeController::setCaptureSystemAudio(bool capture) {
    if (std::exchange(m_captureSystemAudio, capture) != capture)
        m_changes.tell();
}

void MeetingModeController::setUserNotes(const std::string& notes) {
    if (std::exchange(m_userNotes, notes) != notes)
        m_changes.tell();
}

void MeetingModeController::nameSpeaker(int speakerId, const std::string& name) {
    const std::string trimmed = text::trimWhitespaceAndNewlines(name);
    if (trimmed.empty())
        m_speakerNames.erase(speakerId);
    else
        m_speakerNames[speakerId] = trimmed;
    m_changes.tell();
}

std::string MeetingModeController::speakerDisplayName(const Speaker& speaker) const {
    const auto name = m_speakerNames.find(speaker.id);
    return name == m_speakerNames.end() ? speaker.label : name->second;
}

void MeetingModeController::toggleBookmark(int segmentIndex) {
    if (m_bookmarks.erase(segmentIndex) == 0)
        m_bookmarks.insert(segmentIndex);
    m_changes.tell();
}

std::string MeetingModeController::transcriptText() const {
    std::vector<const TranscriptSegment*> ordered;
    for (const TranscriptSegment& segment : m_segments)
        ordered.push_back(&segment);
    std::ranges::stable_sort(ordered, {}, &TranscriptSegment::index);
    std::vector<std::string> paragraphs;
    if (!m_subject.empty())
        paragraphs.push_back("Subject: " + m_subject);
    for (const TranscriptSegment* segment : ordered)
        paragraphs.push_back("[" + elapsedText(segment->timestamp) + "] " + speakerDisplayName(segment->speaker) +
                             ": " + segment->text);
    return text::join(paragraphs, "\n\n");
}

void MeetingModeController::setEnhancedNotes(std::optional<EnhancedMeetingNotes> notes) {
    m_enhancedNotes = std::move(notes);
    m_changes.tell();
}

void MeetingModeController::setSearchQuery(const std::string& query) {
    if (std::exchange(m_searchQuery, query) != query)
        m_archiveChanges.tell();
}

std::vector<const PastMeeting*> MeetingModeController::filteredPastMeetings() const {
    const std::string searched = meetingSearchText(m_searchQuery);
    std::vector<const PastMeeting*> found;
    for (const PastMeeting& meeting : m_pastMeetings)
        if (searched.empty() || holds(meeting, searched))
            found.push_back(&meeting);
    return found;
}

std::optional<std::string> MeetingModeController::searchSnippet(const PastMeeting& meeting) const {
    return snippetOf(meeting, meetingSearchText(m_searchQuery));
}

bool MeetingModeController::addRecipient(const std::string& address) {
    const std::string trimmed = text::trimWhitespace(address);
    const bool isAddress = trimmed.find('@') != std::string::npos && trimmed.find('.') != std::string::npos;
    if (!isAddress || trimmed == m_primaryRecipient ||
        std::ranges::find(m_additionalRecipients, trimmed) != m_additionalRecipients.end())
        return false;
    m_additionalRecipients.push_back(trimmed);
    m_changes.tell();
    return true;
}

void MeetingModeController::removeRecipient(const std::string& address) {
    if (std::erase(m_additionalRecipients, address) > 0)
        m_changes.tell();
}

void MeetingModeController::saveRecipientsAsDefaults() {
    m_services.config.update([this](Settings& settings) { settings.meetingEmailRecipients = m_additionalRecipients; });
}

} // namespace fenlo
