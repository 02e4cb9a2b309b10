#include "meeting/MeetingArchive.h"

#include "base/Dates.h"
#include "base/Files.h"
#include "base/Log.h"
#include "base/Text.h"
#include "base/WriteFault.h"
#include "meeting/ArchivedNotes.h"

#include <algorithm>
#include <cerrno>

namespace fenlo {

namespace fs = std::filesystem;

namespace {

std::string fileText(const MeetingRecord& record, NotesSections sections) {
    return buildMarkdown(record, sections) + metadataBlock(record);
}

/// Only what a listing of the folder gave is one of its meetings.
bool isName(const std::string& id) {
    return !id.empty() && fs::path(id).filename() == id && isMeetingFile(id);
}

/// What a file says is hostile: only sound that a meeting left behind may go with it.
bool isSoundName(const std::string& name) {
    return fs::path(name).filename() == name && name.starts_with("running_") && name.ends_with(".wav");
}

std::vector<fs::path> meetingFilesIn(const fs::path& folder) {
    constexpr std::uintmax_t largest = 64 << 20; // no meeting has so many words; a wrong file may
    std::vector<fs::path> found;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code unreadable;
        if (isMeetingFile(entry->path().filename().string()) && entry->is_regular_file(unreadable) &&
            entry->file_size(unreadable) <= largest)
            found.push_back(entry->path());
    }
    return found;
}

} // namespace

MeetingArchive::MeetingArchive(fs::path folder) : m_folder(std::move(folder)) {}

fs::path MeetingArchive::defaultFolder() {
    return files::dataDirectory() / "meetings";
}

std::optional<fs::path> MeetingArchive::save(const MeetingRecord& record) const {
    if (record.segments.empty())
        return {};
    std::lock_guard lock(m_changing);
    files::makePrivateDirectory(m_folder);
    const fs::path file = fileOf(meetingFileName(record.date));
    if (files::writeAtomically(file, fileText(record, NotesSections::standard))) {
        logInfo("Meeting transcript saved to {}", file.string());
        return file;
    }
    logError("the meeting cannot be saved to {}: {}", file.string(), files::writeFault(errno));
    return {};
}

std::optional<fs::path> MeetingArchive::saveNew(const MeetingRecord& record) const {
    if (record.segments.empty() && text::trimWhitespaceAndNewlines(record.userNotes).empty())
        return {};
    std::lock_guard lock(m_changing);
    files::makePrivateDirectory(m_folder);
    const std::string content = fileText(record, NotesSections::all);
    constexpr int mostTries = 1000;
    fs::path file;
    for (int second = 0; second < mostTries; ++second) {
        file = fileOf(meetingFileName(record.date + std::chrono::seconds(second)));
        if (files::writeNew(file, content)) {
            logInfo("Meeting transcript saved to {}", file.string());
            return file;
        }
        if (errno != EEXIST)
            break;
    }
    logError("the meeting cannot be saved to {}: {}", file.string(), files::writeFault(errno));
    return {};
}

MeetingArchive::Outcome MeetingArchive::rewrite(const std::string& id, const MeetingRecord& record) const {
    std::lock_guard lock(m_changing);
    const auto content = isName(id) ? files::read(fileOf(id)) : std::nullopt;
    if (!content)
        return Outcome::gone;
    MeetingRecord whole = record;
    if (!whole.notes)
        whole.notes = notesInSections(*content);
    return replace(id, fileText(whole, NotesSections::all));
}

bool MeetingArchive::holds(std::chrono::system_clock::time_point start) const {
    std::error_code error;
    return fs::is_regular_file(fileOf(meetingFileName(start)), error);
}

std::vector<PastMeeting> MeetingArchive::load() const {
    return loadWith(parsePastMeeting);
}

std::vector<PastMeeting> MeetingArchive::loadHeads() const {
    return loadWith(parseHead);
}

bool MeetingArchive::hasNotes(const std::string& id) const {
    return isName(id) && notesInSections(files::read(fileOf(id)).value_or("")).has_value();
}

std::vector<PastMeeting> MeetingArchive::loadWith(PastMeeting (*parse)(std::string_view, std::string)) const {
    const dates::MediumTexts texts;
    std::vector<PastMeeting> meetings;
    for (const fs::path& file : meetingFilesIn(m_folder))
        if (auto content = files::read(file)) {
            PastMeeting& meeting = meetings.emplace_back(parse(file.filename().string(), std::move(*content)));
            if (meeting.date)
                meeting.displayDate = texts.of(*meeting.date);
        }
    std::ranges::sort(meetings, [](const PastMeeting& a, const PastMeeting& b) {
        return a.date != b.date ? a.date > b.date : a.id > b.id;
    });
    return meetings;
}

MeetingArchive::Outcome MeetingArchive::saveNotes(const std::string& id, const EnhancedMeetingNotes& notes) const {
    std::lock_guard lock(m_changing);
    const auto content = isName(id) ? files::read(fileOf(id)) : std::nullopt;
    if (!content)
        return Outcome::gone;
    const Outcome outcome = replace(id, withNotes(*content, notes));
    if (outcome == Outcome::written)
        logInfo("Saved summary to past meeting: {}", id);
    return outcome;
}

MeetingArchive::Outcome MeetingArchive::replace(const std::string& id, const std::string& content) const {
    if (files::writeAtomically(fileOf(id), content))
        return Outcome::written;
    logError("the meeting {} cannot be written: {}", id, files::writeFault(errno));
    return Outcome::failed;
}

bool MeetingArchive::remove(const std::string& id) const {
    std::lock_guard lock(m_changing);
    std::error_code error;
    if (!isName(id))
        return false;
    const std::vector<std::string> sounds = unrecognisedIn(files::read(fileOf(id)).value_or(""));
    fs::remove(fileOf(id), error);
    if (error)
        return false;
    for (const std::string& name : sounds)
        if (isSoundName(name))
            files::removeQuietly(soundFolder() / name);
    return true;
}

std::optional<fs::path> MeetingArchive::keepSound(const fs::path& file, const std::string& name) const {
    files::makePrivateDirectory(soundFolder());
    const fs::path place = soundFolder() / name;
    std::error_code error;
    fs::rename(file, place, error);
    if (error) // the temporary folder may be on another file system
        fs::copy_file(file, place, error);
    return error ? std::nullopt : std::optional(place);
}

void MeetingArchive::clearOldSound(std::chrono::system_clock::time_point now) const {
    constexpr std::chrono::days longest{31};
    std::error_code error;
    for (fs::directory_iterator entry(soundFolder(), error), end; !error && entry != end; entry.increment(error)) {
        std::error_code unreadable;
        const auto written = entry->last_write_time(unreadable);
        if (unreadable || !isSoundName(entry->path().filename().string()) || !entry->is_regular_file(unreadable) ||
            now - std::chrono::file_clock::to_sys(written) < longest)
            continue;
        files::removeQuietly(entry->path());
        logInfo("Sound of a meeting that nobody could recognise was a month old and is deleted: {}",
                entry->path().filename().string());
    }
}

} // namespace fenlo
