#pragma once

#include "base/Changes.h"
#include "base/Lifetime.h"
#include "meeting/MeetingModeController.h"
#include "meeting/MeetingNotice.h"
#include "meeting/MeetingOutlet.h"
#include "meeting/NotesSections.h"
#include "meeting/PastMeetingDetail.h"
#include "meeting/TranscriptRows.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace fenlo {

class Background;
class MainQueue;

/// The meeting tab of the home window: which face it shows, what is folded, typed and under way there, and what its
/// buttons do. All else is the controller's.
///
/// Threads:  main thread only. Files and keys are read and written on workers.
/// Errors:   told by notices(), in sentences for people.
/// Lifetime: longer than the window, so that nothing typed is lost when it closes.
class MeetingTab {
public:
    enum class Face { setUp, history, active, ended, pastMeeting };

    /// All of them outlive the tab, and the references the background's tasks.
    struct Services {
        MeetingModeController& controller;
        MainQueue& mainQueue;
        Background& background;
        std::function<void(const std::string&)> copyToClipboard;
        std::function<void()> onStartMeeting; // may refuse
        std::function<void()> onStopMeeting;
    };

    using Notice = MeetingNotice;

    explicit MeetingTab(Services services);
    MeetingTab(const MeetingTab&) = delete;
    MeetingTab& operator=(const MeetingTab&) = delete;

    /// The tab comes into view: what lies outside the program is looked at anew.
    void open();

    Face face() const;
    /// The next session, as it is set up.
    bool isTranscription() const { return m_controller.meetingMode() == MeetingMode::transcription; }
    /// The one that is shown.
    bool isTranscriptionSession() const { return m_controller.sessionMode() == MeetingMode::transcription; }

    void start() { m_services.onStartMeeting(); }
    void stop() { m_services.onStopMeeting(); }
    std::string startCaption() const; // "Start Meeting"
    /// What the next meeting lacks without a language model.
    Notice setUpHint() const;
    std::string stopCaption() const;

    /// The newest meetings, for the set-up face.
    std::vector<const PastMeeting*> recentMeetings() const;
    bool showMeetingHistory() const { return m_showMeetingHistory; }
    void setShowMeetingHistory(bool show);
    /// The two lines in place of a list without rows.
    std::string historyTitle() const;
    std::string historyText() const;

    /// Shows the meeting of the archive with this file name.
    void select(const std::string& id);
    /// The meeting that is shown; null when none is.
    PastMeetingDetail* selectedPastMeeting() { return m_selected.get(); }
    /// What keeps it from being summarized.
    Notice selectedHint() const;
    /// Before the meeting with this file name is deleted for good.
    std::string deletionText(const std::string& id) const;
    void deletePastMeeting(const std::string& id) { m_controller.deletePastMeeting(id); }

    TranscriptRows& transcript() { return m_transcript; }
    std::string activeTitle() const; // "Recording"
    std::string countText() const;   // "12 segments"
    std::string hint() const;        // below "Listening..."
    std::string notesPrompt() const; // in the user's empty notes
    /// Whether there is something to copy, to export and to mail.
    bool hasTranscript() const { return !m_controller.segments().empty(); }
    /// What came of the user's last action, what hampers the session, and what is or will be missing; mostly nothing.
    std::vector<Notice> notices() const;
    /// The user has read the one with this text.
    void closeNotice(const std::string& text);

    std::optional<int> editingSpeakerId() const { return m_editingSpeakerId; }
    const std::string& editingSpeakerName() const { return m_editingSpeakerName; }
    /// Begins to name the speaker of a row of the transcript.
    void editSpeaker(std::size_t row);
    void setEditingSpeakerName(const std::string& name) { m_editingSpeakerName = name; }
    void commitSpeakerName();
    void cancelEditing();
    void toggleStar(std::size_t row);

    void copyAll();
    void copyFormatted();
    /// What was done a moment ago.
    enum class Done { nothing, transcriptCopied, formattedCopied, recipientsSaved };
    Done lastDone() const { return m_lastDone; }
    /// An interrupted meeting was taken up.
    void tellRecovered();
    /// It has got its notes.
    void tellRecoveredNotes();

    std::string endedTitle() const; // "Meeting ended — 12 segments · 2 speakers"
    std::string notesTitle() const;
    std::vector<NotesSection> notes() const;
    /// Why an ended meeting has no notes; empty while they may still come.
    Notice missingNotes() const;
    bool showTranscript() const { return m_showTranscript; }
    void setShowTranscript(bool show);
    std::string transcriptTitle() const; // "Full Transcript (12 segments)"

    const std::string& refinePrompt() const { return m_refinePrompt; }
    void setRefinePrompt(const std::string& prompt) { m_refinePrompt = prompt; }
    void refine();

    std::string autoSendText() const; // "Auto-sending in 42 s"; empty without a countdown
    /// Mail and export of the session.
    MeetingOutlet& outlet() { return m_outlet; }
    const MeetingOutlet& outlet() const { return m_outlet; }
    void saveRecipientsAsDefaults();
    /// Back to the set-up face.
    void newMeeting();

    /// The button of missingNotes() that is not about settings: shows the meeting in the archive.
    void openSession();

    const MeetingModeController& controller() const { return m_controller; }
    MeetingModeController& controller() { return m_controller; }

    [[nodiscard]] Changes::Watch watch(std::function<void()> handler) { return m_changes.watch(std::move(handler)); }

private:
    void follow();
    void followArchive();
    const PastMeeting* pastMeeting(const std::string& id) const;
    void leaveSelected();
    void endSession();
    void forgetSession();
    void lookForHindrance();
    MeetingOutlet::Services outletServices();
    void sendMail(MeetingOutlet::MailDone done);
    void copy(const std::string& text, Done what);
    void noteDone(Done what);
    void finishRefining(const MeetingNotesWriter::Result& result);
    void tellNotSaved(const std::string& id);

    const Services m_services;
    MeetingModeController& m_controller;
    std::shared_ptr<PastMeetingDetail> m_selected;
    MeetingOutlet m_outlet;
    bool m_showMeetingHistory = false;
    std::string m_refinePrompt;
    std::optional<int> m_editingSpeakerId;
    std::string m_editingSpeakerName;
    bool m_showTranscript = false;

    std::optional<int> m_editingSegment; // where the name is written
    bool m_wasActive = false;
    bool m_isRefining = false;
    NotesHindrance m_hindrance = NotesHindrance::none; // none until it is known
    Done m_lastDone = Done::nothing;
    int m_lossesRead = 0; // lost parts that the user knows of
    TranscriptRows m_transcript;
    Changes m_changes;
    Changes::Watch m_sessionChanged;
    Changes::Watch m_archiveChanged;
    Timer m_doneTimer;
    Lifetime m_lifetime;
};

} // namespace fenlo
