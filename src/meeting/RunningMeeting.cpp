#include "meeting/RunningMeeting.h"

#include "audio/WavFile.h"
#include "base/Background.h"
#include "base/Dates.h"
#include "base/Files.h"
#include "base/Log.h"
#include "base/NeighbourFile.h"
#include "base/WriteFault.h"
#include "media/AudioFileError.h"
#include "media/SpeechRate.h"
#include "meeting/RunningJournal.h"
#include "meeting/StateFile.h"
#include "shell/ElapsedText.h"

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace fenlo {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view runningPrefix = "running_";
constexpr std::string_view completePrefix = "complete_";
constexpr const char* journalName = "journal";
constexpr const char* stateName = "state.json";

/// Named after the meeting too: sound that nobody could recognise outlives the folder.
fs::path chunkFile(const fs::path& folder, int number) {
    const std::string meeting = folder.filename().string().substr(runningPrefix.size());
    return folder / (meeting + "_chunk-" + std::to_string(number) + ".wav");
}

struct NewFolder {
    fs::path path;
    LockedFile journal;
};

/// A new folder for the meeting; several may start in the same second. Nothing with errno when there can be none.
std::optional<NewFolder> makeFolder(const fs::path& archive, std::chrono::system_clock::time_point start) {
    files::makePrivateDirectory(archive);
    const std::string name = std::string(runningPrefix) + dates::localStamp(start);
    constexpr int most = 1000;
    for (int number = 1; number <= most; ++number) {
        fs::path folder = archive / (number == 1 ? name : name + "_" + std::to_string(number));
        if (::mkdir(folder.c_str(), 0700) != 0) {
            if (errno == EEXIST)
                continue;
            break;
        }
        if (auto journal = LockedFile::make(folder / journalName))
            return NewFolder{std::move(folder), std::move(*journal)};
        const int reason = errno;
        ::rmdir(folder.c_str());
        errno = reason;
        if (errno != ENOENT) // another process that starts took the empty folder for one left behind
            break;
    }
    return {};
}

std::optional<std::chrono::system_clock::time_point> startIn(const fs::path& folder) {
    constexpr std::size_t stampLength = std::string_view("2026-11-15_09-30-05").size();
    const std::string name = folder.filename().string();
    return dates::parseLocalStamp(std::string_view(name).substr(runningPrefix.size()).substr(0, stampLength));
}

bool removeFolder(const fs::path& folder) {
    std::error_code error;
    fs::remove_all(folder, error);
    return !error;
}

std::vector<fs::path> foldersIn(const fs::path& archive, std::string_view prefix) {
    std::vector<fs::path> found;
    std::error_code error;
    for (fs::directory_iterator entry(archive, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code unreadable;
        if (entry->path().filename().string().starts_with(prefix) && !entry->is_symlink(unreadable) &&
            entry->is_directory(unreadable))
            found.push_back(entry->path());
    }
    std::ranges::sort(found);
    return found;
}

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

} // namespace

RunningMeeting::RunningMeeting(const fs::path& archive, const MeetingRecord& record, Background& background) {
    m_contents.with([&](Contents& contents) { contents.record = record; });
    auto made = makeFolder(archive, record.date);
    if (!made) {
        setTrouble(files::writeFault(errno));
        return;
    }
    m_folder = std::move(made->path);
    m_journal.emplace(std::move(made->journal));
    m_state = std::make_shared<StateFile>(m_folder / stateName, background);
    noteState(record);
}

RunningMeeting::RunningMeeting(fs::path folder, LockedFile journal, Background& background)
    : m_folder(std::move(folder)), m_journal(std::move(journal)),
      m_state(std::make_shared<StateFile>(m_folder / stateName, background)) {
    Contents contents;
    contents.record.date = startIn(m_folder).value_or(contents.record.date);
    runningJournal::readState(files::read(m_folder / stateName).value_or(""), contents.record);
    runningJournal::Events events = runningJournal::eventsIn(files::read(m_folder / journalName).value_or(""));
    double lastCut = 0;
    for (const auto& [number, chunk] : events.chunks) {
        lastCut = std::max(lastCut, chunk.timestamp);
        std::error_code error;
        const fs::path file = chunkFile(m_folder, number);
        if (!chunk.isFinished && fs::is_regular_file(fs::symlink_status(file, error)))
            contents.chunks[number] = {number, chunk.timestamp, chunk.speaker, chunk.failures, file};
    }
    contents.savedAs = std::move(events.savedAs);
    contents.record.elapsedFormatted = contents.savedAs ? events.elapsedFormatted : elapsedText(lastCut);
    contents.record.segments = std::move(events.segments);
    m_contents.with([&](Contents& read) { read = std::move(contents); });
}

RunningMeeting::~RunningMeeting() = default;

std::vector<std::unique_ptr<RunningMeeting>> RunningMeeting::findUnfinished(const fs::path& archive,
                                                                            Background& background) {
    for (const fs::path& folder : foldersIn(archive, completePrefix))
        removeFolder(folder);
    std::vector<std::unique_ptr<RunningMeeting>> found;
    for (const fs::path& folder : foldersIn(archive, runningPrefix)) {
        auto journal = LockedFile::open(folder / journalName, LockedFile::Sharing::exclusive);
        if (!journal) {
            ::rmdir(folder.c_str()); // unless it has something in it
            continue;
        }
        std::unique_ptr<RunningMeeting> meeting(new RunningMeeting(folder, std::move(*journal), background));
        const MeetingRecord record = meeting->record();
        if (record.segments.empty() && record.userNotes.empty() && meeting->waiting().empty())
            meeting->complete();
        else
            found.push_back(std::move(meeting));
    }
    return found;
}

std::optional<fs::path> RunningMeeting::keepChunk(const KeptChunk& chunk, std::span<const float> samples) {
    KeptChunk kept = chunk;
    if (m_journal) {
        kept.file = chunkFile(m_folder, chunk.number);
        // First the line: when the program is killed now, a file of which nobody knows the time would be lost.
        const bool isNoted = append(runningJournal::chunkLine(chunk.number, chunk.timestamp, chunk.speaker));
        std::string failure = failureOf(kept.file, samples);
        if (isNoted && failure.empty()) {
            m_contents.with([&](Contents& contents) { contents.chunks[chunk.number] = kept; });
            return kept.file;
        }
        files::removeQuietly(kept.file);
        if (isNoted)
            setTrouble(std::move(failure));
    }
    kept.file = files::temporaryFile("", ".wav");
    if (!failureOf(kept.file, samples).empty())
        return {};
    m_contents.with([&](Contents& contents) { contents.chunks[chunk.number] = kept; });
    return kept.file;
}

bool RunningMeeting::finishChunk(const TranscriptSegment& segment) {
    m_contents.with([&](Contents& contents) { contents.record.segments.push_back(segment); });
    return finish(segment.index, runningJournal::segmentLine(segment));
}

bool RunningMeeting::finishChunk(int number) {
    return finish(number, runningJournal::withoutWordsLine(number));
}

bool RunningMeeting::finish(int number, const std::string& line) {
    const fs::path file = m_contents.with([&](Contents& contents) {
        const auto chunk = contents.chunks.extract(number);
        return chunk ? chunk.mapped().file : fs::path();
    });
    const bool isNoted = append(line);
    if (isNoted || file.parent_path() != m_folder)
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
    if (m_state)
        m_state->write(runningJournal::stateOf(record));
}

bool RunningMeeting::noteSaved(const std::string& id, const std::string& elapsedFormatted) {
    m_contents.with([&](Contents& contents) {
        contents.savedAs = id;
        contents.record.elapsedFormatted = elapsedFormatted;
    });
    return append(runningJournal::savedLine(id, elapsedFormatted));
}

std::optional<std::string> RunningMeeting::savedAs() const {
    return m_contents.with([](const Contents& contents) { return contents.savedAs; });
}

MeetingRecord RunningMeeting::record() const {
    return m_contents.with([](const Contents& contents) { return contents.record; });
}

std::string RunningMeeting::trouble() const {
    const auto reason = m_contents.with([](const Contents& contents) -> std::optional<std::string> {
        if (contents.isComplete)
            return ""; // a write that came too late found no folder
        return contents.trouble.empty() ? std::nullopt : std::optional(contents.trouble);
    });
    return reason.value_or(m_state ? m_state->trouble() : "");
}

bool RunningMeeting::complete() {
    const std::vector<KeptChunk> chunks = waiting();
    if (m_journal) {
        // Under its new name the folder is not taken up again, whatever happens to its files.
        const fs::path done = m_folder.parent_path() / (std::string(completePrefix) + files::makeUuid());
        m_contents.with([](Contents& contents) { contents.isComplete = true; });
        if (!renameToFreeName(m_folder, done)) {
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
    const bool isWritten = m_journal && m_journal->append("\n" + line + "\n");
    if (m_journal)
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
