#pragma once

#include "base/AskWorker.h"
#include "base/Changes.h"
#include "base/Lifetime.h"
#include "base/MainQueue.h"
#include "base/OrderedWork.h"
#include "meeting/AutoSend.h"
#include "meeting/ChunkQueue.h"
#include "meeting/ChunkRule.h"
#include "meeting/MeetingDelivery.h"
#include "meeting/MeetingNotesWriter.h"
#include "meeting/MeetingRecord.h"
#include "meeting/MeetingRun.h"
#include "meeting/MeetingSearch.h"
#include "shell/MenuBarController.h"

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace fenlo {

class AudioRecorder;
class Background;
class Clock;
class Config;
class MeetingArchive;
class SystemAudioCapture;
class SystemAudioInput;

/// The one model of meeting mode, which all its screens watch: the present session, from the choice of its mode to its
/// notes and its mail, and the meetings of the archive.
///
/// Being idle has two looks: nothing yet (no segments), and ended (segments, which stay until the next start or
/// newSession()).
///
/// Threads: main thread only. Operations with a `done` return at once and call it on the main thread, exactly once,
///          unless the controller dies before.
/// Errors:  none are thrown. What fails is logged, and left as it was; what the user must know is told by trouble().
class MeetingModeController {
public:
    /// All references outlive the controller.
    struct Services {
        Config& config;
        Clock& clock;
        MainQueue& mainQueue;
        Background& background;
        SystemAudioInput& systemAudio;
        MeetingArchive& archive;
        MeetingNotesWriter& notesWriter;
        MeetingDelivery& delivery;
        std::function<std::string(const TranscribeRequest&, std::stop_token)> transcribe; // on a worker; throws
        /// Why nothing can be recognised yet, one line: the engine is being loaded. Empty when it can.
        std::function<std::string()> recogniserDelay = [] { return std::string(); };
        std::function<void(const std::string& transcript, std::int64_t segments, double duration)> recordMeeting =
            [](auto&&...) {};
        std::function<void()> syncStats = [] {}; // returns at once
    };
    using NotesDone = std::function<void(const MeetingNotesWriter::Result& result)>;
    using MailDone = std::function<void(const MailOutcome& outcome)>;

    explicit MeetingModeController(Services services);
    ~MeetingModeController();
    MeetingModeController(const MeetingModeController&) = delete;
    MeetingModeController& operator=(const MeetingModeController&) = delete;

    // The session.

    /// Begins a session on the recorder, which it borrows until stopMeeting(). Ignored while one runs.
    void startMeeting(AudioRecorder& recorder);
    /// Ends the session. Its file is written at once; what is still being transcribed is added to it later. Ignored
    /// while none runs.
    void stopMeeting();
    /// Tells why a start was refused, until the next start or an empty reason.
    void refuse(const std::string& reason);
    const std::string& refusal() const { return m_refusal; }
    /// Leaves an ended session: stops its countdown and empties the screen for the next one.
    void newSession();

    bool isActive() const { return m_isActive; }
    const std::vector<TranscriptSegment>& segments() const { return m_segments; } // in the order of their completion
    double elapsedTime() const { return m_elapsedTime; }                          // seconds
    std::string elapsedFormatted() const;                                         // "75:00"
    float audioLevel() const { return m_audioLevel; }                             // 0 to 1
    /// Chunks that are still to be transcribed, with those that failed and are tried again.
    int pendingChunks() const;
    /// Chunks that are tried again in half an hour, or at the next start.
    int postponedChunks() const;
    /// Chunks whose words are missing for good.
    int lostChunks() const;
    /// What hampers the session, in one line: no microphone, a service that does not answer. Empty when all is well.
    std::string trouble() const;
    /// Of a running session, for the menu.
    std::optional<MeetingStatus> status() const;
    /// The archive file of the session; nothing before one is written.
    std::optional<std::filesystem::path> sessionFile() const;
    /// The mode of the session that is shown, or that of the next one.
    MeetingMode sessionMode() const { return m_session == 0 ? m_meetingMode : m_head.mode; }

    /// Chosen before the start, and kept for the next session.
    MeetingMode meetingMode() const { return m_meetingMode; }
    void setMeetingMode(MeetingMode mode);
    MeetingTemplate meetingTemplate() const { return m_meetingTemplate; }
    void setMeetingTemplate(MeetingTemplate kind);
    const std::string& subject() const { return m_subject; }
    void setSubject(const std::string& subject);
    bool captureSystemAudio() const { return m_captureSystemAudio; }
    void setCaptureSystemAudio(bool capture);

    /// Typed during the session.
    const std::string& userNotes() const { return m_userNotes; }
    void setUserNotes(const std::string& notes);
    const std::map<int, std::string>& speakerNames() const { return m_speakerNames; } // by id of the speaker
    /// An empty name, or blanks, gives the speaker the label again.
    void nameSpeaker(int speakerId, const std::string& name);
    /// The user's name for the speaker, or the label.
    std::string speakerDisplayName(const Speaker& speaker) const;
    const std::set<int>& bookmarks() const { return m_bookmarks; } // indices of segments
    void toggleBookmark(int segmentIndex);

    /// Subject and segments in the order of their indices, a paragraph each: for notes, mail and the clipboard.
    std::string transcriptText() const;

    // Notes.

    const std::optional<EnhancedMeetingNotes>& enhancedNotes() const { return m_enhancedNotes; }
    void setEnhancedNotes(std::optional<EnhancedMeetingNotes> notes);
    bool isEnhancing() const { return m_isEnhancing; }
    /// Why the session has no notes although they were asked for, in one sentence; else empty.
    const std::string& notesFault() const { return m_notesFault; }
    NotesHindrance notesHindrance() const { return m_notesHindrance; }
    /// What would keep notes from being made now.
    void findNotesHindrance(std::function<void(NotesHindrance)> done);
    /// Whether there is, or may still come, something that notes could be made of.
    bool hasWords() const { return !m_segments.empty() || pendingChunks() > 0; }
    /// Has the session's notes made, once the segments that are still coming have come; they go into its file, and the
    /// countdown to their mail begins.
    void summarize();
    /// The program ends: the notes are left for its next start, as soon as the session's words are complete there.
    void leaveNotesForNextStart();
    /// `transcript` is the source of truth; without it that of the session. Nothing on failure. The caller stores the
    /// result, but for notes of a session that was left meanwhile: these go into its file, and the caller has nothing.
    void refineNotes(const EnhancedMeetingNotes& notes, const std::string& instruction,
                     const std::optional<std::string>& transcript, NotesDone done);
    /// Notes for a meeting of the archive, from its whole file. Nothing on failure. The caller stores them.
    void summarizePastMeeting(const std::string& content, std::optional<MeetingTemplate> kind, NotesDone done);

    // The archive.

    /// Newest first, and without their segments, which withSegments() reads.
    const std::vector<PastMeeting>& pastMeetings() const { return *m_pastMeetings; }
    const std::string& searchQuery() const { return m_searchQuery; }
    void setSearchQuery(const std::string& query);
    /// Those that hold what is searched for, in the order of the list. A worker looks for them, so they come a little
    /// later, and watchArchive() tells; until then there are those of the search before. They live until it tells.
    std::vector<const PastMeeting*> filteredPastMeetings() const;
    /// The first line of the transcript with what is searched for, shortened; nothing without a search or such a line.
    std::optional<std::string> searchSnippet(const PastMeeting& meeting) const;

    /// The session as Markdown, as its file has it but for the metadata.
    std::string buildMarkdown() const;
    /// Writes the session's file, when it has segments.
    void saveTranscript();
    /// Writes the file of a running session again, with its notes.
    void resaveWithNotes();
    /// Reads the archive anew. The list comes a little later, and watchArchive() tells.
    void loadPastMeetings();
    void deletePastMeeting(const std::string& id);
    /// Takes up the meetings that an earlier process left behind, and has their notes made where it did not come to
    /// that. onRecovered is told of each meeting that is in the archive, and of each that has got its notes.
    void recoverMeetings();
    enum class Recovered { meeting, notes };
    std::function<void(Recovered)> onRecovered = [](Recovered) {};
    void saveNotesToPastMeeting(const std::string& id, const EnhancedMeetingNotes& notes);
    /// Notes could not be put into the file of the meeting `id`.
    std::function<void(const std::string& id)> onNotesNotSaved = [](auto&) {};

    // Mail.

    /// Of who is signed in; empty without one.
    const std::string& primaryRecipient() const { return m_primaryRecipient; }
    /// Of the session; a screen may change them.
    std::vector<std::string>& additionalRecipients() { return m_additionalRecipients; }
    /// Every later session begins with the present recipients.
    void saveRecipientsAsDefaults();

    int autoSendCountdown() const { return m_autoSend.countdown(); } // seconds; 0 when none runs
    bool autoSendCancelled() const { return m_autoSend.isCancelled(); }
    bool autoSendCompleted() const { return m_autoSend.isCompleted(); }
    /// Sends the notes in a minute, unless nobody is signed in or it is cancelled.
    void startAutoSend();
    void cancelAutoSend() { m_autoSend.cancel(); }

    /// The present notes of the session, to the primary and the additional recipients.
    void sendEnhancedNotesEmail(MailDone done);
    /// The transcript of the session, with a fresh summary.
    void sendMeetingEmail(MailDone done);
    /// The file of a past meeting, with a fresh summary.
    void sendPastMeetingEmail(const PastMeeting& meeting, const std::vector<std::string>& additionalRecipients,
                              MailDone done);
    /// The session of transcription mode.
    void sendTranscriptionEmail(MailDone done);

    /// Told of every change but those of elapsedTime(), audioLevel() and the archive.
    [[nodiscard]] Changes::Watch watch(std::function<void()> handler) { return m_changes.watch(std::move(handler)); }
    /// Told 30 times a second while a session runs: elapsedTime() and audioLevel().
    [[nodiscard]] Changes::Watch watchLevel(std::function<void()> handler) {
        return m_levelChanges.watch(std::move(handler));
    }
    /// Told when pastMeetings() or the search changed.
    [[nodiscard]] Changes::Watch watchArchive(std::function<void()> handler) {
        return m_archiveChanges.watch(std::move(handler));
    }

private:
    // The running session: MeetingModeSession.cpp.
    enum class Chunk { next, final };
    void clearSession();
    void startSystemCapture();
    void systemCaptureFailed(const SystemAudioCapture* capture, const std::string& error);
    void tick();
    void takeChunk(Chunk which);
    void noteMicrophone(bool isSilent);
    /// Beyond the fields of the session: what has changed goes into its folder, and into its file when it has one.
    void noteState();
    MeetingRecord record() const;
    /// The record without the segments, which may be thousands: for every letter that the user types.
    MeetingRecord state() const;

    // Sessions on the way to their files, by their number: MeetingModeRuns.cpp.
    MeetingRun* run() const { return runOf(m_session); }
    MeetingRun* runOf(int number) const;
    MeetingRun::Services runServices();
    MeetingRun::Listener listenerOf(int number);
    int addRun(std::function<std::unique_ptr<MeetingRun>(int number)> make);
    void runChanged(int number);
    void dropFinishedRuns();
    void takeUp(std::unique_ptr<RunningMeeting> folder);
    void search();

    // Notes: MeetingModeNotes.cpp.
    Timer wordsLimit(int number);
    void dropAwaitedNotes(int number);
    void makeNotes(int number);
    void notesMade(int number, const MeetingNotesWriter::Result& result);
    void recoveredNotesMade(int number, const MeetingNotesWriter::Result& result);
    bool notesRefined(int number, const MeetingNotesWriter::Result& result); // true where the session was left
    void keepNotes(int number, const EnhancedMeetingNotes& notes);
    /// On a worker, which hands what it says to `done` here.
    template <typename Work, typename Done>
    void ask(Work work, Done done) {
        askWorker(m_services.background, m_services.mainQueue, m_lifetime, std::move(work), std::move(done));
    }

    // Mail: MeetingModeMail.cpp.
    template <typename Mail>
    void send(MailOutcome (MeetingDelivery::*operation)(const Mail&, std::stop_token), Mail mail, MailDone done);
    void askForAddress();

    Services m_services;

    bool m_isActive = false;
    std::vector<TranscriptSegment> m_segments;
    double m_elapsedTime = 0;
    float m_audioLevel = 0;
    std::string m_subject;
    std::shared_ptr<const std::vector<PastMeeting>> m_pastMeetings = std::make_shared<std::vector<PastMeeting>>();
    std::optional<FoundMeetings> m_found; // nothing without a search
    std::stop_source m_searching;
    std::string m_userNotes;
    MeetingMode m_meetingMode = MeetingMode::meeting;
    MeetingTemplate m_meetingTemplate = MeetingTemplate::general;
    std::map<int, std::string> m_speakerNames;
    std::set<int> m_bookmarks;
    std::optional<EnhancedMeetingNotes> m_enhancedNotes;
    bool m_isEnhancing = false;
    std::string m_notesFault;
    NotesHindrance m_notesHindrance = NotesHindrance::none;
    AutoSend m_autoSend;
    std::string m_primaryRecipient;
    std::vector<std::string> m_additionalRecipients;
    bool m_captureSystemAudio = false;
    std::string m_searchQuery;

    std::shared_ptr<SystemAudioCapture> m_systemCapture;
    std::string m_systemFault;
    std::string m_refusal;               // of the last start
    AudioRecorder* m_recorder = nullptr; // of the running session
    std::optional<double> m_startTime;   // seconds of Clock::now(); of the running session
    MeetingRecord m_head;                // date, mode and kind, as the session began
    std::optional<ChunkRule> m_rule;
    bool m_isMicrophoneSilent = false;
    Timer m_elapsedTimer;

    OrderedWork m_work;
    ChunkQueue m_queue;
    int m_session = 0; // the number of the session that is shown; 0 for none
    int m_lastNumber = 0;
    std::map<int, std::unique_ptr<MeetingRun>> m_runs;
    std::map<int, Timer> m_awaitedNotes;  // a session's notes are to be made; until when words are waited for
    std::set<int> m_summarized;           // a language model is at work on them
    std::set<int> m_takenUp;              // an earlier process left them behind
    std::map<int, Recovered> m_recovered; // of those of them without a file, what to tell once it is there
    std::map<int, Timer> m_notesAgain;    // notes that failed are asked for once more

    Changes m_changes;
    Changes m_levelChanges;
    Changes m_archiveChanges;
    Lifetime m_lifetime;
};

} // namespace fenlo
