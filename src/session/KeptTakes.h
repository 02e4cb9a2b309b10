#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <mutex>
#include <vector>

namespace fenlo {

class Clock;
class Config;
class TakeNote;

/// The takes that failed, kept in `~/.fenlo/takes` until they are tried again: at most ten, for a week. A setting turns
/// this off; failed takes are deleted then.
///
/// Threads: any.
/// Errors:  none; a recording that cannot be moved stays where it is and is searched for at the next start.
class KeptTakes {
public:
    KeptTakes(Config& config, std::filesystem::path folder, const Clock& clock);

    /// The note of a new take. While it lives, the take does not count as left behind.
    std::unique_ptr<TakeNote> begin() const;

    /// Keeps the take of the note. False when it cannot be tried again: the setting forbids it, the recording is gone,
    /// or the disk is full.
    bool keep(TakeNote& note) const;

    /// Keeps the takes that crashed processes left in the temporary folder, and deletes takes that are too old. True
    /// when new takes were kept.
    bool recover() const;

    /// The newest take that waits; nothing when there is none.
    std::unique_ptr<TakeNote> newest() const;
    bool isEmpty() const;

    /// `~/.fenlo/takes`.
    static std::filesystem::path defaultFolder();

private:
    std::vector<std::unique_ptr<TakeNote>> waiting() const; // newest first
    std::vector<std::unique_ptr<TakeNote>> openNotes() const;
    void dropOld(std::size_t most) const;
    void removeStrays() const;

    Config& m_config;
    const std::filesystem::path m_folder;
    const Clock& m_clock;
    mutable std::mutex m_opening; // a note that is only looked at must not seem to be in use
};

} // namespace fenlo
