#include "meeting/MeetingTab.h"

#include "base/Text.h"
#include "meeting/MeetingReader.h"
#include "meeting/MeetingWords.h"

#include <algorithm>
#include <utility>

namespace fenlo {

namespace {

constexpr std::size_t recentCount = 5;
constexpr double doneFor = 2.0; // seconds
constexpr const char* notSaved = "The notes could not be written into the meeting's file; copy or export them.";

MeetingNotice closable(MeetingNotice::Kind kind, const std::string& text) {
    return {.kind = kind, .text = text, .canClose = true};
}

std::string thatHave(std::size_t parts) {
    return counted(parts, "part") + (parts == 1 ? " of this meeting has" : " of this meeting have");
}

} // namespace

MeetingTab::MeetingTab(Services services)
    : m_services(std::move(services)), m_controller(m_services.controller), m_outlet(outletServices()),
      m_wasActive(m_controller.isActive()) {
    m_sessionChanged = m_controller.watch([this] { follow(); });
    m_archiveChanged = m_controller.watchArchive([this] { followArchive(); });
    m_controller.onNotesNotSaved = m_lifetime.bind([this](const std::string& id) { tellNotSaved(id); });
}

MeetingOutlet::Services MeetingTab::outletServices() {
    return {.mainQueue = m_services.mainQueue,
            .background = m_services.background,
            .primaryRecipient = m_controller.primaryRecipient(),
            .additionalRecipients = m_controller.additionalRecipients(),
            .sendMail = [this](MeetingOutlet::MailDone done) { sendMail(std::move(done)); },
            .text = [this] { return m_controller.buildMarkdown(); },
            .changed = [this] { m_changes.tell(); }};
}

void MeetingTab::open() {
    lookForHindrance();
}

void MeetingTab::lookForHindrance() {
    m_controller.findNotesHindrance(m_lifetime.bind([this](NotesHindrance found) {
        m_hindrance = found;
        m_changes.tell();
    }));
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
    m_outlet.reset();
    m_showMeetingHistory = false;
    m_refinePrompt.clear();
    m_editingSpeakerId.reset();
    m_editingSpeakerName.clear();
    m_editingSegment.reset();
    m_showTranscript = false;
    m_lossesRead = 0;
}

/// The face that had the field goes; what is written in it stays.
void MeetingTab::endSession() {
    commitSpeakerName();
    lookForHindrance();
}

MeetingTab::Face MeetingTab::face() const {
    if (m_selected)
        return Face::pastMeeting;
    if (m_controller.isActive())
        return Face::active;
    // Words that are still to come keep it, however short it was.
    if (m_controller.hasWords() || m_controller.postponedChunks() > 0)
        return Face::ended;
    return m_showMeetingHistory ? Face::history : Face::setUp;
}

std::string MeetingTab::startCaption() const {
    return isTranscription() ? "Start Transcription" : "Start Meeting";
}

std::string MeetingTab::stopCaption() const {
    return isTranscriptionSession() ? "Stop Transcription" : "Stop Meeting";
}

MeetingTab::Notice MeetingTab::setUpHint() const {
    if (isTranscription() || m_hindrance == NotesHindrance::none)
        return {};
    return withRemedy(
        {.text = m_hindrance == NotesHindrance::noKey
                     ? "Notes are made by a language model, and no key for one is set. The transcript needs none."
                     : "Offline mode is on, so the transcript stays on this machine and no notes are made of it."},
        m_hindrance);
}

MeetingTab::Notice MeetingTab::selectedHint() const {
    if (!m_selected || !m_selected->canSummarize() || !m_selected->outlet().notice().section.empty())
        return {};
    return withRemedy({.text = m_hindrance == NotesHindrance::none ? ""
                               : m_hindrance == NotesHindrance::noKey
                                   ? "A language model makes the summary, and no key for one is set."
                                   : "A language model makes the summary, and in offline mode none is asked."},
                      m_hindrance);
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
    return "“" + meetingTitle(*meeting) + "”" + (meeting->displayDate.empty() ? "" : " of " + meeting->displayDate) +
           " goes with its transcript and its notes, and cannot be brought back.";
}

std::string MeetingTab::activeTitle() const {
    return isTranscriptionSession() ? "Transcribing" : "Recording";
}

std::string MeetingTab::countText() const {
    return counted(m_controller.segments().size(), "segment");
}

std::string MeetingTab::hint() const {
    return isTranscriptionSession() ? "Text appears after pauses in speech" : "";
}

std::string MeetingTab::notesPrompt() const {
    const bool makesNotes = !isTranscriptionSession() && m_hindrance == NotesHindrance::none;
    return makesNotes ? "Jot notes here... AI will enhance them after the meeting" : "Jot notes here...";
}

std::vector<MeetingTab::Notice> MeetingTab::notices() const {
    using Kind = Notice::Kind;
    std::vector<Notice> all{
        m_outlet.notice(), closable(Kind::warning, m_controller.refusal()), {Kind::warning, m_controller.trouble()}};
    if (const auto lost = std::size_t(m_controller.lostChunks()); lost > std::size_t(m_lossesRead))
        all.push_back(closable(Kind::warning, "The words of " + counted(lost, "part") +
                                                  " of this meeting could not be transcribed and are missing."));
    if (const auto postponed = std::size_t(m_controller.postponedChunks()); postponed > 0)
        all.push_back({Kind::warning, thatHave(postponed) + " no words yet; Fenlo tries again in half an hour, and "
                                                            "when it starts the next time."});
    if (const auto pending = std::size_t(m_controller.pendingChunks()); pending > 0 && !m_controller.isActive())
        all.push_back({Kind::info, counted(pending, "part") + " still to be transcribed."});
    std::erase_if(all, [](const Notice& notice) { return notice.text.empty(); });
    return all;
}

void MeetingTab::closeNotice(const std::string& text) {
    if (text == m_outlet.notice().text)
        m_outlet.tell({});
    else if (text == m_controller.refusal())
        m_controller.refuse({});
    else
        m_lossesRead = m_controller.lostChunks();
    m_changes.tell();
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
    if (id && name != m_controller.speakerDisplayName(speakerAt(*id)))
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
    copy(m_controller.transcriptText(), Done::transcriptCopied);
}

void MeetingTab::copyFormatted() {
    copy(m_controller.buildMarkdown(), Done::formattedCopied);
}

void MeetingTab::copy(const std::string& text, Done what) {
    m_services.copyToClipboard(text);
    noteDone(what);
}

void MeetingTab::saveRecipientsAsDefaults() {
    m_controller.saveRecipientsAsDefaults();
    noteDone(Done::recipientsSaved);
}

void MeetingTab::noteDone(Done what) {
    m_lastDone = what;
    m_doneTimer = m_services.mainQueue.postAfter(doneFor, [this] {
        m_lastDone = Done::nothing;
        m_changes.tell();
    });
    m_changes.tell();
}

void MeetingTab::tellRecovered() {
    m_outlet.tell(
        closable(Notice::Kind::info, "A meeting that was interrupted has been saved; it is among the recent ones."));
}

void MeetingTab::tellRecoveredNotes() {
    m_outlet.tell(closable(Notice::Kind::info,
                           "The meeting that was interrupted has its notes now; it is among the recent ones."));
}

void MeetingTab::tellNotSaved(const std::string& id) {
    const bool isSelected = m_selected && m_selected->meeting().id == id;
    (isSelected ? m_selected->outlet() : m_outlet).tell(closable(Notice::Kind::error, notSaved));
}

std::string MeetingTab::endedTitle() const {
    return (isTranscriptionSession() ? "Transcription complete — " : "Meeting ended — ") + countText() + " · " +
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
    return withRemedy(
        {Notice::Kind::warning, m_controller.notesFault(), m_controller.sessionFile() ? "Open Meeting" : ""},
        m_controller.notesHindrance());
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
    m_outlet.tell({});
    m_controller.refineNotes(
        *m_controller.enhancedNotes(), instruction, std::nullopt,
        m_lifetime.bind([this](const MeetingNotesWriter::Result& result) { finishRefining(result); }));
    m_changes.tell();
}

void MeetingTab::finishRefining(const MeetingNotesWriter::Result& result) {
    m_isRefining = false;
    if (!result.notes)
        return m_outlet.tell(withRemedy(closable(Notice::Kind::error, result.fault), result.hindrance));
    m_refinePrompt.clear();
    m_controller.setEnhancedNotes(result.notes);
    m_controller.resaveWithNotes();
    m_changes.tell();
}

std::string MeetingTab::autoSendText() const {
    const int seconds = m_controller.autoSendCountdown();
    return seconds > 0 ? "Auto-sending in " + std::to_string(seconds) + " s" : "";
}

void MeetingTab::sendMail(MeetingOutlet::MailDone done) {
    m_controller.cancelAutoSend();
    if (isTranscriptionSession())
        m_controller.sendTranscriptionEmail(std::move(done));
    else if (m_controller.enhancedNotes())
        m_controller.sendEnhancedNotesEmail(std::move(done));
    else
        m_controller.sendMeetingEmail(std::move(done));
}

void MeetingTab::newMeeting() {
    forgetSession();
    m_controller.newSession();
    m_changes.tell();
}

} // namespace fenlo
