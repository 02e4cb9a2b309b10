#include "meeting/MeetingRun.h"

#include "audio/ChunkWriter.h"
#include "base/AskWorker.h"
#include "base/Clock.h"
#include "base/Files.h"
#include "base/Log.h"
#include "base/LogThrown.h"
#include "base/OrderedWork.h"
#include "base/Text.h"
#include "media/SpeechRate.h"
#include "meeting/ChunkSound.h"
#include "meeting/MeetingText.h"
#include "meeting/SpeakerIdentifier.h"
#include "session/FaultOf.h"

#include <exception>
#include <utility>

namespace fenlo {

namespace {

constexpr double patience = 600;         // seconds after the end in which words may still come
constexpr double pauseAfterwards = 1800; // seconds until those that did not come are asked for again
constexpr double laterPatience = 120;    // seconds for the first of them to come
constexpr double filingRetry = 30;       // seconds
constexpr double keepingRetry = 10;      // seconds
constexpr std::chrono::days oldAge{7};   // after which sound is not tried again

/// Brings the record into the archive, where it then has an id. A file that the user deleted stays away.
bool write(const MeetingArchive& archive, const MeetingRecord& record, std::optional<std::string>& id) {
    if (id)
        return archive.rewrite(*id, record) != MeetingArchive::Outcome::failed;
    if (const auto file = archive.saveNew(record)) {
        id = file->filename();
        return true;
    }
    return record.segments.empty() && text::trimWhitespaceAndNewlines(record.userNotes).empty();
}

} // namespace

struct MeetingRun::Prepared {
    std::vector<KeptChunk> chunks = {}; // to be transcribed
    int lost = 0;
    int silent = 0;
};

struct MeetingRun::Filing {
    std::optional<std::string> id;
    bool isWritten = false;
    bool hasFolder = true;
};

/// Threads: prepare() on one worker at a time, hear() on any.
struct MeetingRun::Hearing {
    explicit Hearing(std::unique_ptr<RunningMeeting> meeting, MeetingMode chosenMode)
        : folder(std::move(meeting)), mode(chosenMode) {}

    Prepared prepare(int number, const MeetingCut& cut) {
        std::vector<float> samples = soundOf(cut);
        if (isSilent(samples)) {
            logInfo("Meeting chunk {} was silent/hallucination, skipping", number);
            return {.silent = 1};
        }
        const int speaker = mode == MeetingMode::meeting ? identifier.identify(samples, speechRate).id : 0;
        normalise(samples);
        RunningMeeting::Kept kept =
            folder->keepChunk({.number = number, .timestamp = cut.timestamp, .speaker = speaker}, std::move(samples));
        if (kept.isLost)
            logInfo("Meeting chunk {} WAV export failed", number);
        return {.chunks = std::move(kept.chunks), .lost = kept.isLost};
    }

    ChunkQueue::Attempt hear(const KeptChunk& chunk, const Services& services, const std::stop_token& stop) const {
        using Kind = ChunkQueue::Attempt::Kind;
        std::error_code error;
        if (!stop.stop_requested() && !std::filesystem::exists(chunk.file, error)) {
            logError("Meeting chunk {} has lost its sound", chunk.number);
            folder->finishChunk(chunk.number);
            return {};
        }
        try {
            if (stop.stop_requested())
                return {.kind = Kind::stopped};
            return understand(chunk, services.transcribe({.audio = chunk.file}, stop));
        } catch (...) {
            if (stop.stop_requested())
                return {.kind = Kind::stopped};
            logError("Meeting chunk {} transcription failed: {}", chunk.number, messageOf(std::current_exception()));
            folder->failChunk(chunk.number);
            return {.kind = Kind::failed, .fault = std::string(describe(faultOf(std::current_exception())))};
        }
    }

    ChunkQueue::Attempt understand(const KeptChunk& chunk, std::string text) const {
        const auto segment = withKeptWords(
            {files::makeUuid(), chunk.number, chunk.timestamp, std::move(text), speakerAt(chunk.speaker)});
        if (segment)
            folder->finishChunk(*segment);
        else
            folder->finishChunk(chunk.number);
        return {.segment = segment};
    }

    const std::unique_ptr<RunningMeeting> folder;
    const MeetingMode mode;
    SpeakerIdentifier identifier{keenMatchThreshold};
};

MeetingRun::MeetingRun(Services services, Listener listener, MeetingRecord record)
    : m_services(std::move(services)), m_listener(std::move(listener)), m_record(std::move(record)),
      m_hearing(std::make_shared<Hearing>(
          std::make_unique<RunningMeeting>(m_services.archive.folder(), m_record, m_services.background),
          m_record.mode)) {}

MeetingRun::MeetingRun(Services services, Listener listener, std::unique_ptr<RunningMeeting> folder)
    : m_services(std::move(services)), m_listener(std::move(listener)), m_record(folder->record()),
      m_hearing(std::make_shared<Hearing>(std::move(folder), m_record.mode)),
      m_hasChanged(!m_hearing->folder->isFiled()) {
    m_id = m_hearing->folder->savedAs();
    for (KeptChunk& chunk : m_hearing->folder->waiting())
        enqueue(std::move(chunk), ChunkQueue::Urgency::later);
    // Its words so far can be read before the rest comes.
    m_services.mainQueue.post(m_lifetime.bind([this] { file(); }));
    stop();
}

MeetingRun::~MeetingRun() {
    m_services.queue.withdraw(this);
}

std::string MeetingRun::trouble() const {
    if (!m_fault.empty())
        return m_fault;
    const std::string reason = m_hearing->folder->trouble();
    return reason.empty() ? "" : "The meeting cannot be kept: " + reason;
}

void MeetingRun::cut(MeetingCut sound) {
    ++m_beingPrepared;
    askWorker(
        m_services.work, m_services.mainQueue, m_lifetime,
        [hearing = m_hearing, number = m_nextNumber++, sound = std::move(sound)](const std::stop_token&) {
            Prepared done{.lost = 1};
            logThrown("a chunk of a meeting is lost", [&] { done = hearing->prepare(number, sound); });
            return done;
        },
        [this](Prepared done) { prepared(std::move(done)); });
    m_listener.onChange();
}

void MeetingRun::prepared(Prepared done) {
    m_beingPrepared -= static_cast<int>(done.chunks.size()) + done.lost + done.silent;
    if (m_isDiscarded)
        return;
    m_lost += done.lost;
    if (m_isStopped && !done.chunks.empty())
        beginPatience();
    for (KeptChunk& chunk : done.chunks)
        enqueue(std::move(chunk), ChunkQueue::Urgency::now);
    if (m_hearing->folder->heldChunks() > 0 && !m_nextKeeping.isSet())
        m_nextKeeping = m_services.mainQueue.postAfter(keepingRetry, [this] { keepHeld(); });
    settle();
}

/// Sound that no disk had room for.
void MeetingRun::keepHeld() {
    m_nextKeeping.cancel();
    askWorker(
        m_services.work, m_services.mainQueue, m_lifetime,
        [hearing = m_hearing](const std::stop_token&) { return Prepared{.chunks = hearing->folder->keepHeld()}; },
        [this](Prepared done) { prepared(std::move(done)); });
}

void MeetingRun::enqueue(KeptChunk chunk, ChunkQueue::Urgency urgency) {
    const int number = chunk.number;
    m_waiting[number] = chunk;
    m_services.queue.add(
        {.owner = this,
         .urgency = urgency,
         .attempt = [hearing = m_hearing, chunk = std::move(chunk),
                     services = m_services](std::stop_token stop) { return hearing->hear(chunk, services, stop); },
         .done = m_lifetime.bind([this, number](ChunkQueue::Attempt attempt) { heard(number, std::move(attempt)); })});
}

void MeetingRun::heard(int number, ChunkQueue::Attempt attempt) {
    if (m_isDiscarded)
        return;
    if (attempt.kind == ChunkQueue::Attempt::Kind::failed) {
        lose(number);
    } else {
        m_waiting.erase(number);
        if (m_left.erase(number) > 0) // it was under way when patience ended
            m_isDone = m_isDone && !m_left.empty();
        if (m_isStopped)
            beginPatience();
    }
    if (attempt.segment) {
        m_record.segments.push_back(*attempt.segment);
        noteChange();
        m_listener.onSegment(*attempt.segment);
    }
    settle();
}

void MeetingRun::noteChange() {
    m_hasChanged = true;
    if (m_isDone)
        file(); // at once: the program may be about to end
}

void MeetingRun::beginPatience() {
    m_patience = m_services.mainQueue.postAfter(patience, [this] { losePatience(); });
}

/// The words of the chunk will be missing; its sound stays.
void MeetingRun::lose(int number) {
    const auto chunk = m_waiting.extract(number);
    if (chunk.empty())
        return;
    ++m_lost;
    askWorker(
        m_services.work, m_services.mainQueue, m_lifetime,
        [hearing = m_hearing, kept = chunk.mapped(),
         &archive = m_services.archive](const std::stop_token&) -> std::optional<std::string> {
            const std::string name = hearing->folder->name() + "-" + std::to_string(kept.number) + ".wav";
            if (const auto place = archive.keepSound(kept.file, name)) {
                hearing->folder->loseChunk(kept.number, name);
                logError("Meeting chunk {} was not recognised; its sound is kept as {}", kept.number, place->string());
                return name;
            }
            hearing->folder->finishChunk(kept.number);
            logError("Meeting chunk {} was not recognised, and its sound cannot be kept", kept.number);
            return std::nullopt;
        },
        [this](const std::optional<std::string>& name) {
            if (!name)
                return;
            m_record.unrecognised.push_back(*name);
            noteChange();
        });
}

void MeetingRun::noteState(MeetingRecord record) {
    if (m_isDiscarded)
        return;
    record.segments = std::move(m_record.segments);
    record.notes = std::move(m_record.notes);
    record.unrecognised = std::move(m_record.unrecognised);
    m_record = std::move(record);
    noteChange();
    if (!isDone()) // a next start writes the file from the folder
        m_hearing->folder->noteState(m_record);
}

void MeetingRun::noteNotes(const EnhancedMeetingNotes& notes) {
    m_record.notes = notes;
    if (!m_id)
        noteChange();
}

void MeetingRun::save() {
    if (m_record.segments.empty())
        return;
    if (const auto file = m_services.archive.saveNew(m_record)) {
        m_id = file->filename();
        m_hasChanged = false;
        m_hearing->folder->noteSaved(*m_id, m_record.elapsedFormatted);
    } else {
        m_hasChanged = true;
    }
}

void MeetingRun::stop() {
    m_isStopped = true;
    beginPatience();
    if (m_beingPrepared > 0)
        keepHeld(); // the program may be about to end
    m_services.mainQueue.post(m_lifetime.bind([this] { settle(); }));
}

void MeetingRun::losePatience() {
    m_services.queue.withdraw(this);
    const bool isOld = m_services.clock.wallTime() - m_record.date > oldAge;
    for (const auto& [number, chunk] : std::map(m_waiting))
        if (isOld)
            lose(number);
        else
            logError("Meeting chunk {} is not recognised yet; it is tried again later", number);
    m_left.merge(m_waiting);
    if (!m_left.empty())
        m_nextLook = m_services.mainQueue.postAfter(pauseAfterwards, [this] { takeUpLeft(); });
    settle();
}

/// The program may run for weeks before a next start would ask for these words.
void MeetingRun::takeUpLeft() {
    if (m_left.empty())
        return;
    m_isDone = false;
    for (auto& [number, chunk] : std::exchange(m_left, {}))
        enqueue(std::move(chunk), ChunkQueue::Urgency::later);
    m_patience = m_services.mainQueue.postAfter(laterPatience, [this] { losePatience(); });
    m_listener.onChange();
}

void MeetingRun::discard() {
    m_isDiscarded = true;
    m_isDone = true;
    m_services.queue.withdraw(this);
    m_waiting.clear();
    m_left.clear();
    m_nextLook.cancel();
    m_nextFiling.cancel();
    m_nextKeeping.cancel();
    m_services.work.run([hearing = m_hearing](std::stop_token) { hearing->folder->complete(); });
    m_listener.onChange();
}

void MeetingRun::settle() {
    if (isSettled() && !m_isDone && !m_isFiling)
        file();
    m_listener.onChange();
}

void MeetingRun::noteNotes(runningJournal::Notes event) {
    if (m_isDiscarded)
        return;
    m_hearing->folder->noteNotes(event);
    if (event == runningJournal::Notes::settled && m_isDone)
        file(); // and the folder can go
}

RunningMeeting::NotesState MeetingRun::notes() const {
    return m_hearing->folder->notes();
}

bool MeetingRun::isDone() const {
    return m_isDiscarded || (m_isDone && !m_hasChanged && !m_isFiling && m_left.empty() && !notes().areDue);
}

/// Writes what has come since the file was written, and then the folder can go.
void MeetingRun::file() {
    if (m_isFiling)
        return;
    m_isFiling = true;
    const bool keepsFolder = !m_left.empty() || !m_hasFolder || !isSettled() || notes().areDue;
    askWorker(
        m_services.work, m_services.mainQueue, m_lifetime,
        [hearing = m_hearing, record = m_record, filing = Filing{.id = m_id, .hasFolder = m_hasFolder},
         isNeeded = m_hasChanged, isSettled = isSettled(), keepsFolder,
         &archive = m_services.archive](const std::stop_token&) mutable {
            const bool wasFiled = filing.id.has_value();
            filing.isWritten = !isNeeded || write(archive, record, filing.id);
            if (!wasFiled && filing.id) // where the folder stays, a next start must not file the meeting once more
                hearing->folder->noteSaved(*filing.id, record.elapsedFormatted);
            if (filing.isWritten && !keepsFolder)
                filing.hasFolder = !hearing->folder->complete();
            else if (filing.isWritten && filing.hasFolder && isSettled)
                hearing->folder->noteFiled();
            return filing;
        },
        [this, wasSettled = isSettled()](Filing filing) { filed(std::move(filing), wasSettled); });
    m_hasChanged = false;
}

void MeetingRun::filed(Filing filing, bool wasSettled) {
    m_isFiling = false;
    if (m_isDiscarded)
        return;
    m_id = std::move(filing.id);
    m_hasFolder = filing.hasFolder;
    const bool isWritten = filing.isWritten;
    m_isDone = isWritten && wasSettled && isSettled();
    m_fault = isWritten ? "" : "The meeting could not be written; it is kept, and tried again";
    if (!isWritten) {
        m_hasChanged = true;
        m_nextFiling = m_services.mainQueue.postAfter(filingRetry, [this] { file(); });
    } else if (m_isDone) {
        m_patience.cancel();
        if (m_hasChanged)
            noteChange();
        else if (m_hasFolder && m_left.empty() && !notes().areDue)
            file(); // the notes were settled meanwhile
    } else if (isSettled()) {
        file();
    }
    m_listener.onFiled();
    m_listener.onChange();
}

} // namespace fenlo
