// Notes by a language model.

#include "meeting/MeetingModeController.h"

#include "base/Background.h"
#include "base/Log.h"
#include "meeting/MeetingText.h"
#include "meeting/SystemAudioCapture.h"

namespace fenlo {

namespace {

constexpr double patienceForWords = 60; // seconds without a segment, after which notes are made of those that came

} // namespace

/// Notes are made on a worker, and what comes of them is handed over here.
template <typename Work>
void MeetingModeController::askWriter(Work work, std::function<void(MeetingNotesWriter::Result)> done) {
    m_services.background.run([work = std::move(work), &writer = m_services.notesWriter, &queue = m_services.mainQueue,
                               done = m_lifetime.bind(std::move(done))](std::stop_token stop) mutable {
        queue.post([done = std::move(done), result = work(writer, stop)]() mutable { done(std::move(result)); });
    });
}

void MeetingModeController::summarize() {
    if (!run())
        return;
    m_isEnhancing = true;
    m_notesFault.clear();
    m_awaitedNotes[m_session] = wordsLimit(m_session);
    runChanged(m_session);
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
    const MeetingRecord& meeting = runOf(number)->record();
    if (meeting.segments.empty()) {
        if (number == m_session)
            m_isEnhancing = false;
        m_changes.tell();
        return;
    }
    m_summarized.insert(number);
    askWriter([asked = MeetingNotesWriter::Meeting{fenlo::transcriptText(meeting), meeting.userNotes, meeting.kind,
                                                   meeting.subject}](
                  MeetingNotesWriter& writer, std::stop_token stop) { return writer.summarize(asked, stop); },
              [this, number](const MeetingNotesWriter::Result& result) { notesMade(number, result); });
}

/// They belong to their meeting also where the screen shows another one by now.
void MeetingModeController::notesMade(int number, const MeetingNotesWriter::Result& result) {
    m_summarized.erase(number);
    if (number == m_session) {
        m_isEnhancing = false;
        m_notesFault = result.notes ? "" : result.fault;
        if (result.notes) {
            m_enhancedNotes = result.notes;
            resaveWithNotes();
            startAutoSend();
        }
    }
    if (result.notes)
        keepNotes(number, *result.notes);
    dropFinishedRuns();
    m_changes.tell();
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
    askWriter([asked = MeetingNotesWriter::Refinement{notes, instruction, transcript ? *transcript : transcriptText(),
                                                      m_subject}](
                  MeetingNotesWriter& writer, std::stop_token stop) { return writer.refine(asked, stop); },
              [this, number = m_session, isOfSession = !transcript,
               done = std::move(done)](const MeetingNotesWriter::Result& result) {
                  if (number == m_session)
                      m_isEnhancing = false;
                  if (isOfSession && notesRefined(number, result))
                      done({}, {});
                  else
                      done(result.notes, result.fault);
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
    askWriter(
        [content, kind, subject = m_subject](MeetingNotesWriter& writer, std::stop_token stop) {
            return writer.summarizePast(content, kind, subject, stop);
        },
        [done = std::move(done)](const MeetingNotesWriter::Result& result) { done(result.notes, result.fault); });
}

} // namespace fenlo
