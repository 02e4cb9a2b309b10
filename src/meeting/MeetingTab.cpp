#include "meeting/MeetingTab.h"

#include "base/Background.h"
#include "base/Text.h"
#include "meeting/MeetingExport.h"
#include "meeting/MeetingReader.h"
#include "meeting/MeetingWords.h"
#include "settings/ServiceKeys.h"

#include <algorithm>
#include <utility>

namespace fenlo {

namespace {

constexpr std::size_t recentCount = 5;
constexpr double copiedFor = 2.0; // seconds

} // namespace

MeetingTab::MeetingTab(Services services)
    : m_services(std::move(services)), m_controller(m_services.controller), m_wasActive(m_controller.isActive()) {
    m_sessionChanged = m_controller.watch([this] { follow(); });
    m_archiveChanged = m_controller.watchArchive([this] { followArchive(); });
}

void MeetingTab::open() {
    lookForKeys();
}

void MeetingTab::lookForKeys() {
    auto finish = m_lifetime.bind([this](bool found) {
        m_hasLanguageModel = found;
        m_changes.tell();
    });
    m_services.background.run([&keys = m_services.serviceKeys, &queue = m_services.mainQueue,
                               finish = std::move(finish)](std::stop_token stop) mutable {
        const bool found = keys.find(CloudService::gemini, KeyUse::rewriting, stop) ||
                           keys.find(CloudService::groq, KeyUse::rewriting, stop);
        queue.post([finish = std::move(finish), found]() mutable { finish(found); });
    });
}

void MeetingTab::follow() {
    const bool isActive = m_controller.isActive();
    if (isActive && !std::exchange(m_wasActive, true))
        forgetSession();
    else if (!isActive && std::exchange(m_wasActive, false))
        endSession();
    m_transcript.follow(
        {m_controller.segments(), m_controller.speakerNames(), m_controller.bookmarks(), m_editingSegment});
    m_changes.tell();
}

void MeetingTab::followArchive() {
    if (m_selected)
        if (const PastMeeting* meeting = pastMeeting(m_selected->meeting().id);
            meeting && meeting->content != m_selected->meeting().content)
            m_selected->refresh(withSegments(*meeting));
    m_changes.tell();
}

/// A new session begins with nothing of the last one's, and comes before all others.
void MeetingTab::forgetSession() {
    leaveSelected();
    m_reviewEmailStatus = EmailStatus::idle;
    m_showMeetingHistory = false;
    m_showRecipients = false;
    m_newRecipient.clear();
    m_refinePrompt.clear();
    m_editingSpeakerId.reset();
    m_editingSpeakerName.clear();
    m_editingSegment.reset();
    m_showTranscript = false;
    m_notice = {};
}

/// The face that had the field goes; what is written in it stays.
void MeetingTab::endSession() {
    commitSpeakerName();
    lookForKeys();
}

MeetingTab::Face MeetingTab::face() const {
    if (m_selected)
        return Face::pastMeeting;
    if (m_controller.isActive())
        return Face::active;
    if (!m_controller.segments().empty())
        return Face::ended;
    return m_showMeetingHistory ? Face::history : Face::setUp;
}

std::string MeetingTab::startCaption() const {
    return isTranscription() ? "Start Transcription" : "Start Meeting";
}

std::string MeetingTab::stopCaption() const {
    return isTranscription() ? "Stop Transcription" : "Stop Meeting";
}

std::string MeetingTab::languageModelHint() const {
    if (m_hasLanguageModel.value_or(true))
        return {};
    return "Notes are made by a language model, and no key for one is set. The transcript needs none.";
}

std::vector<const PastMeeting*> MeetingTab::recentMeetings() const {
    std::vector<const PastMeeting*> recent;
    for (const PastMeeting& meeting : m_controller.pastMeetings()) {
        if (recent.size() == recentCount)
            break;
        recent.push_back(&meeting);
    }
    return recent;
}

void MeetingTab::setShowMeetingHistory(bool show) {
    m_showMeetingHistory = show;
    if (!show)
        m_controller.setSearchQuery("");
    m_changes.tell();
}

std::string MeetingTab::historyTitle() const {
    return m_controller.pastMeetings().empty() ? "No meetings yet" : "No meetings found";
}

std::string MeetingTab::historyText() const {
    return m_controller.pastMeetings().empty() ? "Your meeting transcripts will appear here" : "";
}

const PastMeeting* MeetingTab::pastMeeting(const std::string& id) const {
    const auto& all = m_controller.pastMeetings();
    const auto found = std::ranges::find(all, id, &PastMeeting::id);
    return found == all.end() ? nullptr : &*found;
}

void MeetingTab::select(const std::string& id) {
    const PastMeeting* meeting = pastMeeting(id);
    if (!meeting)
        return;
    leaveSelected();
    m_selected = std::make_shared<PastMeetingDetail>(
        withSegments(*meeting),
        PastMeetingDetail::Services{m_controller, m_services.mainQueue, m_services.background, [this] {
                                        leaveSelected();
                                        m_changes.tell();
                                    }});
    m_changes.tell();
}

/// The view may be the one who asks: it goes when it has returned.
void MeetingTab::leaveSelected() {
    if (m_selected)
        m_services.mainQueue.post([gone = std::exchange(m_selected, nullptr)] {});
}

std::string MeetingTab::deletionText(const std::string& id) const {
    const PastMeeting* meeting = pastMeeting(id);
    if (!meeting)
        return {};
    return "“" + meetingTitle(*meeting) + "” of " + meeting->displayDate +
           " goes with its transcript and its notes, and cannot be brought back.";
}

std::string MeetingTab::activeTitle() const {
    return isTranscription() ? "Transcribing" : "Recording";
}

std::string MeetingTab::countText() const {
    return counted(m_controller.segments().size(), "segment");
}

std::string MeetingTab::hint() const {
    return isTranscription() ? "Text appears after pauses in speech" : "";
}

std::vector<MeetingTab::Notice> MeetingTab::troubles() const {
    std::vector<Notice> all;
    if (!m_controller.trouble().empty())
        all.push_back({Notice::Kind::warning, m_controller.trouble()});
    if (const int lost = m_controller.lostChunks(); lost > 0)
        all.push_back({Notice::Kind::warning, "The words of " + counted(std::size_t(lost), "part") +
                                                  " of this meeting could not be transcribed and are missing."});
    if (const int pending = m_controller.pendingChunks(); pending > 0 && !m_controller.isActive())
        all.push_back({Notice::Kind::info, counted(std::size_t(pending), "part") + " still to be transcribed."});
    return all;
}

void MeetingTab::editSpeaker(std::size_t row) {
    if (row >= m_transcript.rows().size())
        return;
    const TranscriptRows::Row& shown = m_transcript.rows()[row];
    m_editingSpeakerId = shown.speakerId;
    m_editingSpeakerName = shown.speaker;
    m_editingSegment = shown.index;
    follow();
}

void MeetingTab::commitSpeakerName() {
    const auto id = m_editingSpeakerId;
    const std::string name = text::trimWhitespaceAndNewlines(m_editingSpeakerName);
    cancelEditing();
    if (id)
        m_controller.nameSpeaker(*id, name);
}

void MeetingTab::cancelEditing() {
    if (!m_editingSpeakerId)
        return;
    m_editingSpeakerId.reset();
    m_editingSpeakerName.clear();
    m_editingSegment.reset();
    follow();
}

void MeetingTab::toggleStar(std::size_t row) {
    if (row < m_transcript.rows().size())
        m_controller.toggleBookmark(m_transcript.rows()[row].index);
}

void MeetingTab::copyAll() {
    copy(m_controller.transcriptText(), Copied::transcript);
}

void MeetingTab::copyFormatted() {
    copy(m_controller.buildMarkdown(), Copied::formatted);
}

void MeetingTab::copy(const std::string& text, Copied what) {
    m_services.copyToClipboard(text);
    m_copied = what;
    m_copiedTimer = m_services.mainQueue.postAfter(copiedFor, [this] {
        m_copied = Copied::nothing;
        m_changes.tell();
    });
    m_changes.tell();
}

void MeetingTab::tellRecovered() {
    tell({Notice::Kind::info, "A meeting that was interrupted has been saved; it is among the recent ones."});
}

void MeetingTab::tellRecoveredNotes() {
    tell({Notice::Kind::info, "The meeting that was interrupted has its notes now; it is among the recent ones."});
}

void MeetingTab::exportTo(const std::filesystem::path& file) {
    exportMeeting(m_controller.buildMarkdown(), file, m_services.background, m_services.mainQueue,
                  m_lifetime.bind([this](MeetingNotice outcome) { tell(std::move(outcome)); }));
}

std::string MeetingTab::endedTitle() const {
    return (isTranscription() ? "Transcription complete — " : "Meeting ended — ") + countText() + " · " +
           counted(speakersOf(m_controller.segments()), "speaker");
}

std::string MeetingTab::notesTitle() const {
    return m_controller.enhancedNotes() ? m_controller.enhancedNotes()->title : "";
}

std::vector<NotesSection> MeetingTab::notes() const {
    return m_controller.enhancedNotes() ? notesSections(*m_controller.enhancedNotes()) : std::vector<NotesSection>{};
}

MeetingTab::Notice MeetingTab::missingNotes() const {
    if (m_controller.enhancedNotes() || m_controller.isEnhancing() || m_controller.notesFault().empty())
        return {};
    const bool asksForSettings = m_controller.notesFault().find("Settings, ") != std::string::npos;
    const std::string action = asksForSettings ? "Open Settings" : m_controller.sessionFile() ? "Open Meeting" : "";
    return {Notice::Kind::warning, m_controller.notesFault(), action};
}

std::string MeetingTab::settingsSection() const {
    return m_controller.notesFault().find("Settings, Offline") == std::string::npos ? "Services" : "Offline";
}

void MeetingTab::openSession() {
    const auto file = m_controller.sessionFile();
    if (!file || !pastMeeting(file->filename().string()))
        return;
    const std::string id = file->filename().string();
    newMeeting();
    select(id);
}

void MeetingTab::setShowTranscript(bool show) {
    m_showTranscript = show;
    m_changes.tell();
}

std::string MeetingTab::transcriptTitle() const {
    return fullTranscriptTitle(m_controller.segments().size());
}

void MeetingTab::refine() {
    const std::string instruction = text::trimWhitespaceAndNewlines(m_refinePrompt);
    if (instruction.empty() || m_isRefining || !m_controller.enhancedNotes())
        return;
    m_isRefining = true;
    m_notice = {};
    m_controller.refineNotes(
        *m_controller.enhancedNotes(), instruction, std::nullopt,
        m_lifetime.bind([this](auto notes, const std::string& fault) { finishRefining(std::move(notes), fault); }));
    m_changes.tell();
}

void MeetingTab::finishRefining(std::optional<EnhancedMeetingNotes> notes, const std::string& fault) {
    m_isRefining = false;
    if (!notes)
        return tell({Notice::Kind::error, fault});
    m_refinePrompt.clear();
    m_controller.setEnhancedNotes(std::move(notes));
    m_controller.resaveWithNotes();
    m_changes.tell();
}

std::string MeetingTab::autoSendText() const {
    const int seconds = m_controller.autoSendCountdown();
    return seconds > 0 ? "Auto-sending in " + std::to_string(seconds) + " s" : "";
}

void MeetingTab::setShowRecipients(bool show) {
    m_showRecipients = show;
    m_changes.tell();
}

void MeetingTab::addRecipient() {
    if (!m_controller.addRecipient(m_newRecipient))
        return;
    m_newRecipient.clear();
    m_reviewEmailStatus = EmailStatus::idle;
    m_changes.tell();
}

void MeetingTab::emailNow() {
    if (m_reviewEmailStatus == EmailStatus::sending)
        return;
    m_controller.cancelAutoSend();
    m_reviewEmailStatus = EmailStatus::sending;
    m_notice = {};
    m_changes.tell();
    auto done = m_lifetime.bind([this](const MailOutcome& outcome) { finishEmail(outcome); });
    if (isTranscription())
        m_controller.sendTranscriptionEmail(std::move(done));
    else if (m_controller.enhancedNotes())
        m_controller.sendEnhancedNotesEmail(std::move(done));
    else
        m_controller.sendMeetingEmail(std::move(done));
}

void MeetingTab::finishEmail(const MailOutcome& outcome) {
    if (m_reviewEmailStatus != EmailStatus::sending)
        return; // another session has begun
    m_reviewEmailStatus = statusOf(outcome);
    tell(noticeOf(outcome));
}

void MeetingTab::newMeeting() {
    forgetSession();
    m_controller.newSession();
    m_changes.tell();
}

void MeetingTab::tell(Notice notice) {
    m_notice = std::move(notice);
    m_changes.tell();
}

} // namespace fenlo
