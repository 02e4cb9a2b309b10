#pragma once

#include "base/LockedFile.h"
#include "session/Take.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>

namespace fenlo {

/// A small file about a take, which survives a crash. While this object lives the file is locked: a note without a lock
/// belongs to a take that was kept or left behind.
///
/// Each change appends a line with the whole state, as JSON. The last complete line counts, so a note is never half
/// written.
///
/// Threads: any.
/// Errors:  none; a note that cannot be written does not protect its take.
class TakeNote {
public:
    /// A new note in the folder. Its file comes with the first write().
    TakeNote(const std::filesystem::path& folder, std::chrono::system_clock::time_point recorded);
    /// The note in a file, with an empty take when the file has none; nothing when it is in use.
    static std::unique_ptr<TakeNote> open(const std::filesystem::path& file);

    TakeNote(const TakeNote&) = delete;
    TakeNote& operator=(const TakeNote&) = delete;

    bool write(const Take& take);
    /// The files of a take that is still being recorded.
    void setChunks(const std::vector<std::filesystem::path>& chunks);
    Take take() const; // the state written last

    const std::filesystem::path& file() const { return m_file; }
    std::chrono::system_clock::time_point recorded() const { return m_recorded; }

    /// Deletes the recording and the note: the words arrived, or the user dropped them.
    void discard();
    /// Moves the recording into the folder of the note, and makes sure that both are on the disk. False when that
    /// fails; the recording stays where it was then.
    bool gather();

    static constexpr char extension[] = ".take";

private:
    TakeNote(std::filesystem::path file, LockedFile lock);

    bool append(const Take& take);

    const std::filesystem::path m_file;
    std::chrono::system_clock::time_point m_recorded;
    mutable std::mutex m_mutex; // also held while the file is written
    std::optional<LockedFile> m_lock;
    Take m_take;
};

} // namespace fenlo
