// Sessions on the way to their files, and the archive of those that are there.

#include "meeting/MeetingModeController.h"

#include "base/Clock.h"
#include "base/Log.h"
#include "meeting/MeetingArchive.h"
#include "meeting/MeetingMarkdown.h"
#include "meeting/SystemAudioCapture.h"

namespace fenlo {

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
                    if (runOf(number)->id() && m_recovered.erase(number) > 0)
                        onRecovered();
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
    m_work.add([&archive = m_services.archive, &queue = m_services.mainQueue,
                loaded = m_lifetime.bind([this](std::vector<PastMeeting> meetings) {
                    m_pastMeetings = std::move(meetings);
                    m_archiveChanges.tell();
                })](std::stop_token stop) mutable {
        if (stop.stop_requested())
            return;
        queue.post([loaded = std::move(loaded), meetings = archive.load()]() mutable { loaded(std::move(meetings)); });
    });
}

void MeetingModeController::deletePastMeeting(const std::string& id) {
    for (const auto& [number, meeting] : m_runs)
        if (meeting->id() == id) {
            dropAwaitedNotes(number); // nobody is to read it any more
            meeting->discard();
        }
    m_work.add([&archive = m_services.archive, id](std::stop_token) { archive.remove(id); });
    loadPastMeetings();
}

void MeetingModeController::saveNotesToPastMeeting(const std::string& id, const EnhancedMeetingNotes& notes) {
    for (const auto& [number, meeting] : m_runs)
        if (meeting->id() == id)
            meeting->noteNotes(notes);
    m_work.add([&archive = m_services.archive, id, notes](std::stop_token) { archive.saveNotes(id, notes); });
    loadPastMeetings();
}

void MeetingModeController::recoverMeetings() {
    m_work.add([&archive = m_services.archive, &background = m_services.background, &queue = m_services.mainQueue,
                found = m_lifetime.bind([this](std::unique_ptr<RunningMeeting> folder) { takeUp(std::move(folder)); })](
                   std::stop_token) mutable {
        for (auto& folder : RunningMeeting::findUnfinished(archive.folder(), background))
            queue.post([found, shared = std::make_shared<std::unique_ptr<RunningMeeting>>(
                                   std::move(folder))]() mutable { found(std::move(*shared)); });
    });
}

void MeetingModeController::takeUp(std::unique_ptr<RunningMeeting> folder) {
    logInfo("An interrupted meeting is taken up: {}", folder->folder().filename().string());
    const int number = addRun(
        [&](int its) { return std::make_unique<MeetingRun>(runServices(), listenerOf(its), std::move(folder)); });
    m_recovered.insert(number);
}

} // namespace fenlo
