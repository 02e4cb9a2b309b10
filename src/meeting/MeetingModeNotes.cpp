// Notes by a language model.

#include "meeting/MeetingModeController.h"

#include "base/Log.h"
#include "meeting/MeetingArchive.h"
#include "meeting/MeetingText.h"
#include "meeting/SystemAudioCapture.h"

#include <cmath>

namespace fenlo {

namespace {

constexpr double patienceForWords = 60; // seconds without a segment, after which notes are made of those that came
constexpr int mostRequests = 5;         // for the notes of a meeting that an earlier process left behind
constexpr double firstPause = 60;       // seconds between them, twice as many each time

} // namespace

void MeetingModeController::summarize() {
    if (!run())
        return;
    m_isEnhancing = true;
    m_notesFault.clear();
    m_notesHindrance = NotesHindrance::none;
    m_awaitedNotes[m_session] = wordsLimit(m_session);
    run()->noteNotes(runningJournal::Notes::due);
    runChanged(m_session);
}

void MeetingModeController::leaveNotesForNextStart() {
    if (run())
        run()->noteNotes(runningJournal::Notes::due);
}

Timer MeetingModeController::wordsLimit(int number) {
    return m_services.mainQueue.postAfter(patienceForWords, [this, number] { makeNotes(number); });
}

void MeetingModeController::dropAwaitedNotes(int number) {
    if (m_awaitedNotes.erase(number) > 0 && number == m_session)
        m_isEnhancing = false;
}

void MeetingModeController::makeNotes(int number) {
    m_awaitedNotes.erase(number);
    m_notesAgain.erase(number);
    MeetingRun* const meeting = runOf(number);
    const MeetingRecord& record = meeting->record();
    if (record.segments.empty()) {
        if (number == m_session)
            m_isEnhancing = false;
        meeting->noteNotes(runningJournal::Notes::settled);
        m_changes.tell();
        return;
    }
    m_summarized.insert(number);
    ask(
        [asked =
             MeetingNotesWriter::Meeting{fenlo::transcriptText(record), record.userNotes, record.kind, record.subject},
         id = m_takenUp.contains(number) ? meeting->id().value_or("") : "", &archive = m_services.archive,
         &writer = m_services.notesWriter](std::stop_token stop) {
            // The user may have had them made by hand.
            return !id.empty() && archive.hasNotes(id) ? MeetingNotesWriter::Result() : writer.summarize(asked, stop);
        },
        [this, number](const MeetingNotesWriter::Result& result) { notesMade(number, result); });
}

/// They belong to their meeting also where the screen shows another one by now.
void MeetingModeController::notesMade(int number, const MeetingNotesWriter::Result& result) {
    m_summarized.erase(number);
    if (number == m_session) {
        m_isEnhancing = false;
        m_notesFault = result.notes ? "" : result.fault;
        m_notesHindrance = result.hindrance;
        if (result.notes) {
            m_enhancedNotes = result.notes;
            resaveWithNotes();
            startAutoSend();
        }
    }
    if (result.notes)
        keepNotes(number, *result.notes);
    if (m_takenUp.contains(number))
        recoveredNotesMade(number, result);
    else if (MeetingRun* meeting = runOf(number))
        meeting->noteNotes(runningJournal::Notes::settled);
    dropFinishedRuns();
    m_changes.tell();
}

/// Nobody looks at this meeting, so what failed is asked for again, and where nobody could be asked the next start
/// tries.
void MeetingModeController::recoveredNotesMade(int number, const MeetingNotesWriter::Result& result) {
    using runningJournal::Notes;
    MeetingRun* const meeting = runOf(number);
    if (!meeting || (!result.notes && result.hindrance != NotesHindrance::none))
        return;
    meeting->noteNotes(Notes::asked);
    const int asked = meeting->notes().asked;
    const bool hasFailed = !result.notes && !result.fault.empty();
    if (hasFailed && asked < mostRequests) {
        m_notesAgain[number] =
            m_services.mainQueue.postAfter(std::ldexp(firstPause, asked - 1), [this, number] { makeNotes(number); });
        return;
    }
    if (hasFailed)
        logError("The notes of an interrupted meeting could not be made: {}", result.fault);
    meeting->noteNotes(Notes::settled);
    if (!result.notes)
        return;
    if (const auto unfiled = m_recovered.find(number); unfiled != m_recovered.end())
        unfiled->second = Recovered::notes;
    else
        onRecovered(Recovered::notes);
}

/// Into the file, where the session has one already; into what is written later otherwise.
void MeetingModeController::keepNotes(int number, const EnhancedMeetingNotes& notes) {
    MeetingRun* meeting = runOf(number);
    if (!meeting)
        return;
    if (const auto id = meeting->id())
        saveNotesToPastMeeting(*id, notes);
    else
        meeting->noteNotes(notes);
}

void MeetingModeController::setEnhancedNotes(std::optional<EnhancedMeetingNotes> notes) {
    m_enhancedNotes = std::move(notes);
    if (m_enhancedNotes)
        keepNotes(m_session, *m_enhancedNotes);
    m_changes.tell();
}

void MeetingModeController::refineNotes(const EnhancedMeetingNotes& notes, const std::string& instruction,
                                        const std::optional<std::string>& transcript, NotesDone done) {
    m_isEnhancing = true;
    m_changes.tell();
    if (!transcript)
        m_summarized.insert(m_session);
    ask([asked =
             MeetingNotesWriter::Refinement{notes, instruction, transcript ? *transcript : transcriptText(), m_subject},
         &writer = m_services.notesWriter](std::stop_token stop) { return writer.refine(asked, stop); },
        [this, number = m_session, isOfSession = !transcript,
         done = std::move(done)](const MeetingNotesWriter::Result& result) {
            if (number == m_session)
                m_isEnhancing = false;
            if (isOfSession && notesRefined(number, result))
                done({});
            else
                done(result);
            m_changes.tell();
        });
}

/// Those of a session that was left meanwhile go to its own file, not to the one that is shown by now.
bool MeetingModeController::notesRefined(int number, const MeetingNotesWriter::Result& result) {
    m_summarized.erase(number);
    if (number == m_session)
        return false;
    if (result.notes)
        keepNotes(number, *result.notes);
    dropFinishedRuns();
    return true;
}

void MeetingModeController::summarizePastMeeting(const std::string& content, std::optional<MeetingTemplate> kind,
                                                 NotesDone done) {
    ask([content, kind, subject = m_subject, &writer = m_services.notesWriter](
            std::stop_token stop) { return writer.summarizePast(content, kind, subject, stop); },
        std::move(done));
}

void MeetingModeController::findNotesHindrance(std::function<void(NotesHindrance)> done) {
    ask([&writer = m_services.notesWriter](std::stop_token stop) { return writer.hindrance(stop); }, std::move(done));
}

} // namespace fenlo
