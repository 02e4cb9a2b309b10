// Sessions on the way to their files, and the archive of those that are there.

#include "meeting/MeetingModeController.h"

#include "base/Clock.h"
#include "base/Log.h"
#include "meeting/MeetingArchive.h"
#include "meeting/MeetingMarkdown.h"
#include "meeting/SystemAudioCapture.h"

namespace fenlo {

namespace {

constexpr std::chrono::days oldestForNotes{7}; // later nobody expects them any more

} // namespace

MeetingRun* MeetingModeController::runOf(int number) const {
    const auto found = m_runs.find(number);
    return found == m_runs.end() ? nullptr : found->second.get();
}

MeetingRun::Services MeetingModeController::runServices() {
    return {m_services.clock, m_services.mainQueue, m_services.background, m_work,
            m_queue,          m_services.archive,   m_services.transcribe};
}

MeetingRun::Listener MeetingModeController::listenerOf(int number) {
    return {.onSegment =
                [this, number](const TranscriptSegment& segment) {
                    if (number == m_session)
                        m_segments.push_back(segment);
                    if (const auto awaited = m_awaitedNotes.find(number); awaited != m_awaitedNotes.end())
                        awaited->second = wordsLimit(number);
                },
            .onChange = [this, number] { runChanged(number); },
            .onFiled =
                [this, number] {
                    loadPastMeetings();
                    if (!runOf(number)->id())
                        return;
                    if (const auto told = m_recovered.extract(number))
                        onRecovered(told.mapped());
                }};
}

int MeetingModeController::addRun(std::function<std::unique_ptr<MeetingRun>(int number)> make) {
    const int number = ++m_lastNumber;
    m_runs[number] = make(number);
    return number;
}

void MeetingModeController::runChanged(int number) {
    const MeetingRun* changed = runOf(number);
    if (!changed)
        return; // it is being made
    if (changed->isSettled() && m_awaitedNotes.contains(number))
        makeNotes(number);
    if (number == m_session)
        m_changes.tell();
    else if (changed->isDone())
        m_services.mainQueue.post(m_lifetime.bind([this] { dropFinishedRuns(); }));
}

void MeetingModeController::dropFinishedRuns() {
    std::erase_if(m_runs, [this](const auto& entry) {
        const auto& [number, meeting] = entry;
        return meeting->isDone() && number != m_session && !m_summarized.contains(number);
    });
}

int MeetingModeController::pendingChunks() const {
    return run() ? run()->pendingChunks() : 0;
}

int MeetingModeController::postponedChunks() const {
    return run() ? run()->postponedChunks() : 0;
}

int MeetingModeController::lostChunks() const {
    return run() ? run()->lostChunks() : 0;
}

std::optional<std::filesystem::path> MeetingModeController::sessionFile() const {
    if (!run() || !run()->id())
        return std::nullopt;
    return m_services.archive.fileOf(*run()->id());
}

std::string MeetingModeController::buildMarkdown() const {
    return fenlo::buildMarkdown(record(), NotesSections::all);
}

void MeetingModeController::saveTranscript() {
    MeetingRun* current = run();
    if (!current)
        return;
    current->noteState(state());
    current->save();
}

void MeetingModeController::resaveWithNotes() {
    if (m_segments.empty() || !m_startTime || !m_services.archive.holds(m_head.date))
        return;
    m_services.archive.save(record());
    loadPastMeetings();
    logInfo("Meeting re-saved with enhanced notes");
}

void MeetingModeController::loadPastMeetings() {
    askWorker(
        m_work, m_services.mainQueue, m_lifetime,
        [&archive = m_services.archive](const std::stop_token& stop) {
            return stop.stop_requested() ? std::vector<PastMeeting>() : archive.loadHeads();
        },
        [this](std::vector<PastMeeting> meetings) {
            m_pastMeetings = std::make_shared<std::vector<PastMeeting>>(std::move(meetings));
            search();
        });
}

void MeetingModeController::deletePastMeeting(const std::string& id) {
    for (const auto& [number, meeting] : m_runs)
        if (meeting->id() == id) {
            dropAwaitedNotes(number); // nobody is to read it any more
            m_notesAgain.erase(number);
            meeting->discard();
        }
    m_work.run([&archive = m_services.archive, id](std::stop_token) { archive.remove(id); });
    loadPastMeetings();
}

void MeetingModeController::saveNotesToPastMeeting(const std::string& id, const EnhancedMeetingNotes& notes) {
    for (const auto& [number, meeting] : m_runs)
        if (meeting->id() == id)
            meeting->noteNotes(notes);
    m_work.run([&archive = m_services.archive, &queue = m_services.mainQueue, id, notes,
                failed = m_lifetime.bind([this, id] { onNotesNotSaved(id); })](std::stop_token) mutable {
        if (archive.saveNotes(id, notes) == MeetingArchive::Outcome::failed)
            queue.post(std::move(failed));
    });
    loadPastMeetings();
}

void MeetingModeController::recoverMeetings() {
    using Folders = std::vector<std::unique_ptr<RunningMeeting>>;
    askWorker(
        m_work, m_services.mainQueue, m_lifetime,
        [&archive = m_services.archive, &background = m_services.background,
         now = m_services.clock.wallTime()](const std::stop_token&) {
            archive.clearOldSound(now);
            return std::make_shared<Folders>(RunningMeeting::findUnfinished(archive.folder(), background));
        },
        [this](const std::shared_ptr<Folders>& found) {
            for (auto& folder : *found)
                takeUp(std::move(folder));
        });
}

/// One whose file is complete, and only waits for its notes, is nothing to be told of.
void MeetingModeController::takeUp(std::unique_ptr<RunningMeeting> folder) {
    logInfo("An interrupted meeting is taken up: {}", folder->folder().filename().string());
    const bool isComplete = folder->savedAs() && folder->waiting().empty();
    const bool areNotesDue = folder->notes().areDue;
    const int number = addRun(
        [&](int its) { return std::make_unique<MeetingRun>(runServices(), listenerOf(its), std::move(folder)); });
    m_takenUp.insert(number);
    if (!isComplete)
        m_recovered.emplace(number, Recovered::meeting);
    if (!areNotesDue)
        return;
    const bool isOld = m_services.clock.wallTime() - runOf(number)->record().date > oldestForNotes;
    runOf(number)->noteNotes(isOld ? runningJournal::Notes::settled : runningJournal::Notes::due);
    if (!isOld)
        m_awaitedNotes[number] = wordsLimit(number);
}

} // namespace fenlo
