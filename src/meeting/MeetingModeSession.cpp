// The session from start to stop.

#include "meeting/MeetingModeController.h"

#include "audio/AudioRecorder.h"
#include "base/Clock.h"
#include "base/Log.h"
#include "meeting/ChunkSound.h"
#include "meeting/MeetingArchive.h"
#include "meeting/SystemAudioCapture.h"
#include "session/FaultOf.h"
#include "settings/Config.h"

#include <algorithm>
#include <utility>

namespace fenlo {

void MeetingModeController::startMeeting(AudioRecorder& recorder) {
    if (m_isActive)
        return;
    m_recorder = &recorder;
    clearSession();
    m_startTime = m_services.clock.now();
    m_head.date = m_services.clock.wallTime();
    m_head.kind = m_meetingTemplate;
    m_head.mode = m_meetingMode;
    m_isActive = true;
    m_additionalRecipients = m_services.config.get().meetingEmailRecipients;
    recorder.startInPieces(m_services.background);
    m_rule.emplace(m_meetingMode, m_services.clock.now());
    m_session = addRun(
        [this](int number) { return std::make_unique<MeetingRun>(runServices(), listenerOf(number), record()); });
    if (m_captureSystemAudio)
        startSystemCapture();
    m_elapsedTimer = m_services.mainQueue.every(meetingTick, [this] { tick(); });
    logInfo("{} mode started{}", m_meetingMode == MeetingMode::meeting ? "Meeting" : "Transcription",
            m_captureSystemAudio ? " (with system audio)" : "");
    askForAddress();
    m_changes.tell();
}

/// What was shown of the session before goes its own way to its file.
void MeetingModeController::clearSession() {
    m_session = 0;
    m_segments.clear();
    m_elapsedTime = 0;
    m_userNotes.clear();
    m_speakerNames.clear();
    m_bookmarks.clear();
    m_enhancedNotes.reset();
    m_isEnhancing = false;
    m_notesFault.clear();
    m_notesHindrance = NotesHindrance::none;
    m_systemFault.clear();
    m_refusal.clear();
    m_isMicrophoneSilent = false;
    m_autoSend.reset();
    dropFinishedRuns();
}

void MeetingModeController::startSystemCapture() {
    m_systemCapture = std::make_shared<SystemAudioCapture>(m_services.systemAudio);
    ask([capture = m_systemCapture](const std::stop_token&) { return capture->start(); },
        [this, which = m_systemCapture.get()](const std::optional<std::string>& error) {
            if (error)
                systemCaptureFailed(which, *error);
        });
}

void MeetingModeController::systemCaptureFailed(const SystemAudioCapture* capture, const std::string& error) {
    logError("System audio capture failed: {}", error);
    if (m_systemCapture.get() != capture)
        return;
    m_captureSystemAudio = false;
    m_systemFault = "The computer's sound is not recorded: " + error;
    m_changes.tell();
}

/// Thirty times a second, so it compares and no more, unless a chunk closes.
void MeetingModeController::tick() {
    const double now = m_services.clock.now();
    m_elapsedTime = now - *m_startTime;
    m_audioLevel = m_recorder->currentRMS();
    // Who listens is quiet: the far side's words must not be cut there.
    const float farLevel = m_systemCapture ? m_systemCapture->currentRMS() : 0;
    if (const auto cut = m_rule->tick(std::max(m_audioLevel, farLevel), now)) {
        logInfo("Meeting chunk triggered ({}, {:.1f}s)", cut->reason, cut->length);
        takeChunk(Chunk::next);
    }
    m_levelChanges.tell();
}

/// Sound that is not recorded any more must not hold up what the computer plays: that is then taken alone, as it is at
/// the end, where no later chunk would take it.
void MeetingModeController::takeChunk(Chunk which) {
    MeetingCut cut{.microphone = m_recorder->takeSamples()};
    const bool isEmpty = cut.microphone.samples.empty();
    const bool takesAll = !isEmpty || m_isMicrophoneSilent || which == Chunk::final;
    if (m_systemCapture && takesAll)
        cut.system = m_systemCapture->take();
    if (which == Chunk::next)
        noteMicrophone(isEmpty);
    if (isEmpty && cut.system.empty()) {
        if (which == Chunk::final)
            logInfo("Final chunk was empty, skipping");
        return;
    }
    cut.timestamp = m_startTime ? m_services.clock.now() - *m_startTime : 0;
    run()->cut(std::move(cut));
}

void MeetingModeController::noteMicrophone(bool isSilent) {
    if (std::exchange(m_isMicrophoneSilent, isSilent) != isSilent)
        m_changes.tell();
}

void MeetingModeController::stopMeeting() {
    if (!m_isActive)
        return;
    m_isActive = false;
    m_elapsedTimer.cancel();
    takeChunk(Chunk::final);
    m_recorder->endWithoutSpeechTest();
    m_recorder = nullptr;
    if (m_systemCapture)
        std::exchange(m_systemCapture, nullptr)->stop();
    saveTranscript();
    const double duration = m_startTime ? m_services.clock.now() - *m_startTime : 0;
    m_services.recordMeeting(transcriptText(), static_cast<std::int64_t>(m_segments.size()), duration);
    m_services.syncStats();
    m_startTime.reset();
    run()->stop();
    loadPastMeetings();
    logInfo("Meeting mode stopped — {} segments, {}", m_segments.size(), elapsedFormatted());
    m_changes.tell();
}

void MeetingModeController::refuse(const std::string& reason) {
    if (std::exchange(m_refusal, reason) != reason)
        m_changes.tell();
}

void MeetingModeController::newSession() {
    if (m_isActive)
        return;
    m_autoSend.cancel();
    clearSession();
    m_subject.clear();
    m_changes.tell();
}

MeetingRecord MeetingModeController::record() const {
    MeetingRecord record = state();
    record.segments = m_segments;
    return record;
}

MeetingRecord MeetingModeController::state() const {
    MeetingRecord record = m_head;
    record.subject = m_subject;
    record.elapsedFormatted = elapsedFormatted();
    record.speakerNames = m_speakerNames;
    record.bookmarks = m_bookmarks;
    record.userNotes = m_userNotes;
    record.notes = m_enhancedNotes;
    return record;
}

void MeetingModeController::noteState() {
    if (MeetingRun* current = run())
        current->noteState(state());
    m_changes.tell();
}

std::string MeetingModeController::trouble() const {
    if (m_recorder && m_recorder->fault())
        return std::string(describe(faultOf(*m_recorder->fault())));
    if (m_isActive && m_isMicrophoneSilent)
        return std::string(describe(TakeFault::microphoneSilent));
    if (const MeetingRun* current = run(); current && !current->trouble().empty())
        return current->trouble();
    if (pendingChunks() > 0 && !m_queue.trouble().empty())
        return m_queue.trouble();
    return m_isActive ? m_systemFault : "";
}

} // namespace fenlo
