#pragma once

#include "base/Changes.h"
#include "base/Lifetime.h"
#include "meeting/Meeting.h"
#include "meeting/MeetingOutlet.h"
#include "meeting/NotesSections.h"
#include "meeting/TranscriptRows.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace fenlo {

class Background;
class MainQueue;
class MeetingModeController;

/// A meeting of the archive as its view shows it: notes, transcript, and what can be done with them.
///
/// Threads: main thread only.
/// Errors:  told by the outlet.
class PastMeetingDetail {
public:
    /// All of them outlive the view, and the references the background's tasks.
    struct Services {
        MeetingModeController& controller;
        MainQueue& mainQueue;
        Background& background;
        std::function<void()> onBack;
    };

    PastMeetingDetail(PastMeeting meeting, Services services);
    PastMeetingDetail(const PastMeetingDetail&) = delete;
    PastMeetingDetail& operator=(const PastMeetingDetail&) = delete;

    const PastMeeting& meeting() const { return m_meeting; }
    /// The file was read anew.
    void refresh(const PastMeeting& meeting);
    std::string title() const;
    std::string details() const; // date, duration, number of speakers and template
    TranscriptRows& transcript() { return m_transcript; }
    bool showTranscript() const { return m_showTranscript; }
    void setShowTranscript(bool show);
    std::string transcriptTitle() const;

    /// The notes that are shown: those of the file, or newer ones.
    const std::optional<EnhancedMeetingNotes>& effectiveNotes() const { return m_effectiveNotes; }
    std::vector<NotesSection> notes() const;
    bool isGenerating() const { return m_isGenerating; }
    bool canSummarize() const { return !m_effectiveNotes && !m_isGenerating; }
    bool showSummarizePrompt() const { return m_showSummarizePrompt; }
    void setShowSummarizePrompt(bool show);
    const std::string& focusInstruction() const { return m_focusInstruction; }
    void setFocusInstruction(const std::string& instruction);
    std::string summarizeCaption() const; // "Summarize", or "Summarize with focus"
    void summarize();

    /// Mail and export of the file's content.
    MeetingOutlet& outlet() { return m_outlet; }
    const MeetingOutlet& outlet() const { return m_outlet; }
    void back() { m_services.onBack(); }
    /// Deletes the meeting for good and goes back.
    void remove();

    [[nodiscard]] Changes::Watch watch(std::function<void()> handler) { return m_changes.watch(std::move(handler)); }

private:
    MeetingOutlet::Services outletServices();
    void finishSummary(const MeetingNotesWriter::Result& result);

    const Services m_services;
    PastMeeting m_meeting;
    bool m_showTranscript = false;
    std::vector<std::string> m_extraRecipients;
    MeetingOutlet m_outlet;
    std::optional<EnhancedMeetingNotes> m_effectiveNotes;
    bool m_isGenerating = false;
    std::string m_focusInstruction;
    bool m_showSummarizePrompt = false;

    TranscriptRows m_transcript;
    Changes m_changes;
    Lifetime m_lifetime;
};

} // namespace fenlo
