// What the screens choose and show.

#include "meeting/MeetingModeController.h"

#include "base/Text.h"
#include "meeting/MeetingText.h"
#include "meeting/SystemAudioCapture.h"
#include "settings/Config.h"
#include "shell/ElapsedText.h"

#include <utility>

namespace fenlo {

namespace {

constexpr std::size_t mostAtOnce = 4; // requests to a service

} // namespace

MeetingModeController::MeetingModeController(Services services)
    : m_services(std::move(services)),
      m_autoSend(
          m_services.mainQueue,
          [this](AutoSend::Done done) {
              sendEnhancedNotesEmail([done = std::move(done)](const MailOutcome& outcome) { done(outcome.isSent()); });
          },
          [this] { m_changes.tell(); }),
      m_work(m_services.background),
      m_queue({m_services.clock, m_services.mainQueue, m_services.background,
               // On this machine one decoding uses all cores.
               [&config = m_services.config] { return config.get().offlineMode ? 1 : mostAtOnce; },
               m_services.recogniserDelay}) {
    m_queue.onTrouble = [this] { m_changes.tell(); };
    loadPastMeetings();
    askForAddress();
}

MeetingModeController::~MeetingModeController() {
    m_searching.request_stop();
}

std::string MeetingModeController::elapsedFormatted() const {
    return elapsedText(m_elapsedTime);
}

std::optional<MeetingStatus> MeetingModeController::status() const {
    if (!m_isActive)
        return std::nullopt;
    return MeetingStatus{m_elapsedTime, static_cast<int>(m_segments.size())};
}

void MeetingModeController::setMeetingMode(MeetingMode mode) {
    if (std::exchange(m_meetingMode, mode) != mode)
        m_changes.tell();
}

void MeetingModeController::setMeetingTemplate(MeetingTemplate kind) {
    if (std::exchange(m_meetingTemplate, kind) != kind)
        m_changes.tell();
}

/// Where no session is shown it is the next one's, and the last one keeps its own.
void MeetingModeController::setSubject(const std::string& subject) {
    if (std::exchange(m_subject, subject) == subject)
        return;
    if (m_isActive || !m_segments.empty())
        noteState();
    else
        m_changes.tell();
}

void MeetingModeController::setCaptureSystemAudio(bool capture) {
    if (std::exchange(m_captureSystemAudio, capture) != capture)
        m_changes.tell();
}

void MeetingModeController::setUserNotes(const std::string& notes) {
    if (std::exchange(m_userNotes, notes) != notes)
        noteState();
}

void MeetingModeController::nameSpeaker(int speakerId, const std::string& name) {
    const std::string trimmed = text::trimWhitespaceAndNewlines(name);
    if (trimmed.empty())
        m_speakerNames.erase(speakerId);
    else
        m_speakerNames[speakerId] = trimmed;
    noteState();
}

std::string MeetingModeController::speakerDisplayName(const Speaker& speaker) const {
    return fenlo::speakerDisplayName(m_speakerNames, speaker);
}

void MeetingModeController::toggleBookmark(int segmentIndex) {
    if (m_bookmarks.erase(segmentIndex) == 0)
        m_bookmarks.insert(segmentIndex);
    noteState();
}

std::string MeetingModeController::transcriptText() const {
    return fenlo::transcriptText(record());
}

void MeetingModeController::setSearchQuery(const std::string& query) {
    if (std::exchange(m_searchQuery, query) != query)
        search();
}

/// The newest query wins: an older one is given up.
void MeetingModeController::search() {
    m_searching.request_stop();
    m_searching = {};
    const std::string searched = meetingSearchText(m_searchQuery);
    if (searched.empty())
        m_found.reset();
    else
        ask([list = m_pastMeetings, searched,
             wanted = m_searching.get_token()](const std::stop_token&) { return findMeetings(list, searched, wanted); },
            [this, wanted = m_searching.get_token()](FoundMeetings found) {
                if (wanted.stop_requested())
                    return;
                m_found = std::move(found);
                m_archiveChanges.tell();
            });
    m_archiveChanges.tell();
}

std::vector<const PastMeeting*> MeetingModeController::filteredPastMeetings() const {
    std::vector<const PastMeeting*> found;
    if (m_found)
        for (const std::size_t place : m_found->places)
            found.push_back(&(*m_found->list)[place]);
    else
        for (const PastMeeting& meeting : *m_pastMeetings)
            found.push_back(&meeting);
    return found;
}

std::optional<std::string> MeetingModeController::searchSnippet(const PastMeeting& meeting) const {
    if (!m_found)
        return std::nullopt;
    const auto snippet = m_found->snippets.find(meeting.id);
    return snippet == m_found->snippets.end() ? std::nullopt : std::optional(snippet->second);
}

} // namespace fenlo
