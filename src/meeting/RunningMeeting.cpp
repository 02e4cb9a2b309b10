#include "meeting/RunningMeeting.h"

#include "audio/WavFile.h"
#include "base/Background.h"
#include "base/Files.h"
#include "base/Log.h"
#include "base/NeighbourFile.h"
#include "base/WriteFault.h"
#include "media/AudioFileError.h"
#include "media/SpeechRate.h"
#include "meeting/RunningFolder.h"
#include "meeting/StateFile.h"
#include "shell/ElapsedText.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <fmt/core.h>

namespace fenlo {

namespace fs = std::filesystem;

namespace {

/// All but the segments, which may be thousands, and the notes.
void copyState(const MeetingRecord& from, MeetingRecord& to) {
    to.date = from.date;
    to.subject = from.subject;
    to.elapsedFormatted = from.elapsedFormatted;
    to.speakerNames = from.speakerNames;
    to.bookmarks = from.bookmarks;
    to.userNotes = from.userNotes;
    to.kind = from.kind;
    to.mode = from.mode;
}

/// Why the samples could not be written; empty when they were.
std::string failureOf(const fs::path& file, std::span<const float> samples) {
    try {
        files::removeQuietly(file); // of an earlier try
        writeWav(file, samples, speechRate, WavEncoding::float32);
        return {};
    } catch (const AudioFileError& error) {
        std::error_code unknown;
        const fs::space_info space = fs::space(file.parent_path(), unknown);
        return !unknown && space.available <= samples.size_bytes() ? files::writeFault(ENOSPC) : error.what();
    }
}

/// Sound that no line of the journal names: a loss of power took the line. Its time is known by what is before it.
void addStraySound(const fs::path& folder, std::map<int, runningJournal::Chunk>& chunks) {
    for (const auto& [number, seconds] : runningFolder::soundIn(folder)) {
        const auto next = chunks.lower_bound(number);
        if (next != chunks.end() && next->first == number)
            continue;
        double end = seconds;
        if (next != chunks.begin())
            end += std::prev(next)->second.timestamp;
        if (next != chunks.end())
            end = std::min(end, next->second.timestamp);
        chunks[number].timestamp = end;
    }
}

bool removeFolder(const fs::path& folder) {
    std::error_code error;
    fs::remove_all(folder, error);
    return !error;
}

} // namespace

RunningMeeting::RunningMeeting(fs::path archive, const MeetingRecord& record, Background& background)
    : m_archive(std::move(archive)), m_background(background) {
    m_contents.with([&](Contents& contents) { contents.record = record; });
    placeOrNew();
}

RunningMeeting::RunningMeeting(fs::path folder, LockedFile journal, Background& background)
    : m_archive(folder.parent_path()), m_background(background) {
    auto state = std::make_shared<StateFile>(folder / runningFolder::stateName, background);
    auto place = std::make_shared<const Place>(Place{std::move(folder), std::move(journal), std::move(state)});
    Contents contents;
    contents.record.date = runningFolder::startIn(place->folder).value_or(contents.record.date);
    runningJournal::readState(files::read(place->folder / runningFolder::stateName).value_or(""), contents.record);
    runningJournal::Events events =
        runningJournal::eventsIn(files::read(place->folder / runningFolder::journalName).value_or(""));
    addStraySound(place->folder, events.chunks);
    double lastCut = 0;
    for (const auto& [number, chunk] : events.chunks) {
        lastCut = std::max(lastCut, chunk.timestamp);
        std::error_code error;
        const fs::path file = runningFolder::chunkFile(place->folder, number);
        if (!chunk.isFinished && fs::is_regular_file(fs::symlink_status(file, error)))
            contents.chunks[number] = {number, chunk.timestamp, chunk.speaker, chunk.failures, file};
    }
    // A meeting that was killed while it ran never came to ask for its notes.
    const bool areDue = events.areNotesDue || (!events.savedAs && contents.record.mode == MeetingMode::meeting);
    contents.notes = {areDue && !events.areNotesSettled, events.notesAsked};
    contents.isFiled = events.isFiled;
    contents.savedAs = std::move(events.savedAs);
    contents.record.elapsedFormatted = contents.savedAs ? events.elapsedFormatted : elapsedText(lastCut);
    contents.record.segments = std::move(events.segments);
    contents.record.unrecognised = std::move(events.unrecognised);
    m_contents.with([&](Contents& read) { read = std::move(contents); });
    m_place.with([&](auto& its) { its = std::move(place); });
}

RunningMeeting::~RunningMeeting() = default;

std::vector<std::unique_ptr<RunningMeeting>> RunningMeeting::findUnfinished(const fs::path& archive,
                                                                            Background& background) {
    for (const fs::path& folder : runningFolder::in(archive, runningFolder::completePrefix))
        removeFolder(folder);
    std::vector<std::unique_ptr<RunningMeeting>> found;
    for (const fs::path& folder : runningFolder::in(archive, runningFolder::prefix)) {
        auto journal = runningFolder::takeOver(folder);
        if (!journal)
            continue;
        std::unique_ptr<RunningMeeting> meeting(new RunningMeeting(folder, std::move(*journal), background));
        const MeetingRecord record = meeting->record();
        if (record.segments.empty() && record.userNotes.empty() && meeting->waiting().empty())
            meeting->complete();
        else
            found.push_back(std::move(meeting));
    }
    return found;
}

std::shared_ptr<const RunningMeeting::Place> RunningMeeting::place() const {
    return m_place.with([](const auto& its) { return its; });
}

/// On a disk that was full at the start there is no folder yet.
std::shared_ptr<const RunningMeeting::Place> RunningMeeting::placeOrNew() {
    if (auto known = place())
        return known;
    const auto [record, isComplete] =
        m_contents.with([](const Contents& contents) { return std::pair(contents.record, contents.isComplete); });
    if (isComplete)
        return nullptr;
    auto made = runningFolder::make(m_archive, record.date);
    if (!made || !made->journal.append(linesSoFar())) {
        setTrouble(files::writeFault(errno));
        if (made)
            removeFolder(made->path);
        return nullptr;
    }
    auto state = std::make_shared<StateFile>(made->path / runningFolder::stateName, m_background);
    state->write(runningJournal::stateOf(record));
    auto place = std::make_shared<const Place>(Place{made->path, std::move(made->journal), std::move(state)});
    m_place.with([&](auto& its) { its = place; });
    setTrouble({});
    return place;
}

/// What a journal that begins now must tell.
std::string RunningMeeting::linesSoFar() const {
    return m_contents.with([](const Contents& contents) {
        std::string lines;
        for (const TranscriptSegment& segment : contents.record.segments)
            lines += runningJournal::segmentLine(segment) + "\n";
        if (contents.savedAs)
            lines += runningJournal::savedLine(*contents.savedAs, contents.record.elapsedFormatted) + "\n";
        if (contents.notes.areDue)
            lines += runningJournal::notesLine(runningJournal::Notes::due) + "\n";
        return lines;
    });
}

RunningMeeting::Kept RunningMeeting::keepChunk(const KeptChunk& chunk, std::vector<float> samples) {
    Kept kept{.chunks = keepHeld()};
    if (m_held.count() == 0)
        if (auto written = write(chunk, samples)) {
            kept.chunks.push_back(std::move(*written));
            return kept;
        }
    kept.isLost = !m_held.add(chunk, std::move(samples));
    return kept;
}

std::vector<KeptChunk> RunningMeeting::keepHeld() {
    std::vector<KeptChunk> kept;
    while (const auto piece = m_held.first()) {
        auto written = write(piece->chunk, *piece->samples);
        if (!written)
            break;
        kept.push_back(std::move(*written));
        m_held.removeFirst();
    }
    return kept;
}

std::optional<KeptChunk> RunningMeeting::write(const KeptChunk& chunk, std::span<const float> samples) {
    KeptChunk kept = chunk;
    if (const auto place = placeOrNew()) {
        kept.file = runningFolder::chunkFile(place->folder, chunk.number);
        // First the line: when the program is killed now, a file of which nobody knows the time would be lost.
        const bool isNoted = append(runningJournal::chunkLine(chunk.number, chunk.timestamp, chunk.speaker));
        std::string failure = failureOf(kept.file, samples);
        if (isNoted && failure.empty()) {
            place->state->tryAgain();
            m_contents.with([&](Contents& contents) { contents.chunks[chunk.number] = kept; });
            return kept;
        }
        files::removeQuietly(kept.file);
        if (isNoted)
            setTrouble(std::move(failure));
    }
    kept.file = files::temporaryFile("", ".wav");
    if (!failureOf(kept.file, samples).empty())
        return {};
    m_contents.with([&](Contents& contents) { contents.chunks[chunk.number] = kept; });
    return kept;
}

bool RunningMeeting::finishChunk(const TranscriptSegment& segment) {
    m_contents.with([&](Contents& contents) { contents.record.segments.push_back(segment); });
    return finish(segment.index, runningJournal::segmentLine(segment));
}

bool RunningMeeting::finishChunk(int number) {
    return finish(number, runningJournal::withoutWordsLine(number));
}

bool RunningMeeting::loseChunk(int number, const std::string& keptAs) {
    m_contents.with([&](Contents& contents) { contents.record.unrecognised.push_back(keptAs); });
    return finish(number, runningJournal::lostLine(number, keptAs));
}

bool RunningMeeting::finish(int number, const std::string& line) {
    const fs::path file = m_contents.with([&](Contents& contents) {
        const auto chunk = contents.chunks.extract(number);
        return chunk ? chunk.mapped().file : fs::path();
    });
    const bool isNoted = append(line);
    if (isNoted || file.parent_path() != folder())
        files::removeQuietly(file);
    return isNoted;
}

void RunningMeeting::failChunk(int number) {
    m_contents.with([&](Contents& contents) {
        if (const auto chunk = contents.chunks.find(number); chunk != contents.chunks.end())
            ++chunk->second.failures;
    });
    append(runningJournal::failedLine(number));
}

std::vector<KeptChunk> RunningMeeting::waiting() const {
    return m_contents.with([](const Contents& contents) {
        std::vector<KeptChunk> chunks;
        for (const auto& [number, chunk] : contents.chunks)
            chunks.push_back(chunk);
        return chunks;
    });
}

void RunningMeeting::noteState(const MeetingRecord& record) {
    m_contents.with([&](Contents& contents) { copyState(record, contents.record); });
    if (const auto its = place())
        its->state->write(runningJournal::stateOf(record));
}

bool RunningMeeting::noteSaved(const std::string& id, const std::string& elapsedFormatted) {
    m_contents.with([&](Contents& contents) {
        contents.savedAs = id;
        contents.record.elapsedFormatted = elapsedFormatted;
    });
    return append(runningJournal::savedLine(id, elapsedFormatted));
}

void RunningMeeting::noteFiled() {
    append(runningJournal::filedLine());
}

bool RunningMeeting::isFiled() const {
    return m_contents.with([](const Contents& contents) { return contents.isFiled; });
}

std::optional<std::string> RunningMeeting::savedAs() const {
    return m_contents.with([](const Contents& contents) { return contents.savedAs; });
}

void RunningMeeting::noteNotes(runningJournal::Notes event) {
    using runningJournal::Notes;
    m_contents.with([event](Contents& contents) {
        contents.notes.areDue = event == Notes::due || (contents.notes.areDue && event != Notes::settled);
        contents.notes.asked += event == Notes::asked;
    });
    append(runningJournal::notesLine(event));
}

RunningMeeting::NotesState RunningMeeting::notes() const {
    return m_contents.with([](const Contents& contents) { return contents.notes; });
}

std::string RunningMeeting::name() const {
    const auto its = place();
    return its ? its->folder.filename().string() : runningFolder::nameOf(record().date);
}

fs::path RunningMeeting::folder() const {
    const auto its = place();
    return its ? its->folder : fs::path();
}

MeetingRecord RunningMeeting::record() const {
    return m_contents.with([](const Contents& contents) { return contents.record; });
}

std::string RunningMeeting::trouble() const {
    const auto [reason, isComplete] =
        m_contents.with([](const Contents& contents) { return std::pair(contents.trouble, contents.isComplete); });
    if (isComplete)
        return {}; // a write that came too late found no folder
    const std::string why = reason.empty() ? files::writeFault(ENOSPC) : reason;
    if (m_held.isFull())
        return why + "; the room in memory is used up too, and what is said now is lost";
    if (m_held.count() > 0)
        return fmt::format("{}; what is said waits in memory ({:.0f} of {:.0f} minutes)", why,
                           std::ceil(m_held.seconds() / 60), HeldSound::most / 60);
    const auto its = place();
    return reason.empty() && its ? its->state->trouble() : reason;
}

bool RunningMeeting::complete() {
    const std::vector<KeptChunk> chunks = waiting();
    m_contents.with([](Contents& contents) { contents.isComplete = true; });
    while (m_held.count() > 0)
        m_held.removeFirst();
    if (const auto its = place()) {
        // Under its new name the folder is not taken up again, whatever happens to its files.
        const fs::path done = m_archive / (std::string(runningFolder::completePrefix) + files::makeUuid());
        if (!renameToFreeName(its->folder, done)) {
            const int reason = errno;
            m_contents.with([](Contents& contents) { contents.isComplete = false; });
            setTrouble(files::writeFault(reason));
            return false;
        }
        removeFolder(done);
    }
    for (const KeptChunk& chunk : chunks) // those in the temporary folder
        files::removeQuietly(chunk.file);
    return true;
}

bool RunningMeeting::append(const std::string& line) {
    // The newline comes first, so that a line that was cut off does not swallow this one.
    const auto its = place();
    const std::string lines =
        m_contents.with([](Contents& contents) { return std::exchange(contents.unwritten, {}); }) + "\n" + line + "\n";
    const bool isWritten = its && its->journal.append(lines);
    if (its && !isWritten) {
        const int reason = errno;
        m_contents.with([&](Contents& contents) { contents.unwritten.insert(0, lines); });
        errno = reason;
    }
    if (its)
        setTrouble(isWritten ? "" : files::writeFault(errno));
    return isWritten;
}

void RunningMeeting::setTrouble(std::string reason) {
    const bool isNew = m_contents.with([&](Contents& contents) {
        const bool differs = contents.trouble != reason;
        contents.trouble = reason;
        return differs;
    });
    if (isNew && !reason.empty())
        logError("the running meeting cannot be kept: {}", reason);
}

} // namespace fenlo
