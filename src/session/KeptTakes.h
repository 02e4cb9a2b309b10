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

/// The takes whose words did not arrive, in `~/.fenlo/takes` until they are tried again: at most ten, for a week.
/// A setting turns the keeping off; what fails is deleted then.
///
/// Threads: any.
/// Errors:  none; a recording that cannot be moved stays where it is, and is looked for again at the next start.
class KeptTakes {
public:
    KeptTakes(Config& config, std::filesystem::path folder, const Clock& clock);

    /// The note of a take that begins. While it lives, nobody else takes the take for one that was left behind.
    std::unique_ptr<TakeNote> begin() const;

    /// Keeps the take of the note. False where there is nothing to try again: the setting forbids it, and the recording
    /// is gone, or the disk takes nothing.
    bool keep(TakeNote& note) const;

    /// Takes up what processes that ended too early left in the temporary folder, and throws away what is too old.
    /// True when a take was found that waits to be tried again.
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
    mutable std::mutex m_opening; // who only looks must not make a note seem in use
};

} // namespace fenlo
