#pragma once

#include "meeting/MeetingMarkdown.h"
#include "meeting/MeetingReader.h"

#include <filesystem>
#include <mutex>

namespace fenlo {

/// The finished meetings, a Markdown file each.
///
/// Threads: any. Everything blocks on the disk; what is written is synced. Changes wait for one another, so that late
///          segments and notes that arrive together both stay.
/// Errors:  none are thrown; a failure is logged with its reason and told by the result. Files are replaced whole or
/// not at all.
class MeetingArchive {
public:
    explicit MeetingArchive(std::filesystem::path folder = defaultFolder());

    /// Writes the meeting under the name of its start second, over an older file of this name. The file's path; nothing
    /// when it could not be written, and for a meeting without segments, of which no file is kept.
    std::optional<std::filesystem::path> save(const MeetingRecord& record) const;

    /// The same for a meeting that has no file yet, and loses nothing: of two meetings that start in the same second
    /// the later is filed under the next free one, and a meeting in which only notes were typed is kept too.
    std::optional<std::filesystem::path> saveNew(const MeetingRecord& record) const;

    enum class Outcome { written, gone, failed };
    /// Writes a meeting again, as when late segments have come, with the notes that the record has or else the file.
    /// `gone` when the file is no longer there, as after its deletion; it stays so.
    Outcome rewrite(const std::string& id, const MeetingRecord& record) const;

    /// Whether there is a file under the name of this start second.
    bool holds(std::chrono::system_clock::time_point start) const;

    /// All meetings, newest first; those whose name tells no date come last.
    std::vector<PastMeeting> load() const;
    /// The same without their segments, which withSegments() reads from the content: for lists, a fraction of the time.
    std::vector<PastMeeting> loadHeads() const;

    /// Whether the meeting's file has notes.
    bool hasNotes(const std::string& id) const;

    /// Puts notes into a meeting's file in place of those it has. Title, header and metadata stay as they are.
    Outcome saveNotes(const std::string& id, const EnhancedMeetingNotes& notes) const;

    /// Deletes the meeting, and the sound that is kept of it. False when the file is still there.
    bool remove(const std::string& id) const;

    /// Moves sound that nobody could recognise into a folder beside the files. Nothing when it cannot be kept there.
    std::optional<std::filesystem::path> keepSound(const std::filesystem::path& file, const std::string& name) const;
    /// Deletes such sound that was recorded more than a month ago.
    void clearOldSound(std::chrono::system_clock::time_point now) const;

    const std::filesystem::path& folder() const { return m_folder; }
    std::filesystem::path fileOf(const std::string& id) const { return m_folder / id; }

    /// `~/.fenlo/meetings`.
    static std::filesystem::path defaultFolder();

private:
    std::filesystem::path soundFolder() const { return m_folder / "unrecognised"; }
    std::vector<PastMeeting> loadWith(PastMeeting (*parse)(std::string_view, std::string)) const;
    Outcome replace(const std::string& id, const std::string& content) const;

    const std::filesystem::path m_folder;
    mutable std::mutex m_changing; // held while a file is read and written again
};

} // namespace fenlo
