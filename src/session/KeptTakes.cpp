#include "session/KeptTakes.h"

#include "audio/AbandonedClips.h"
#include "audio/ChunkWriter.h"
#include "base/Clock.h"
#include "base/Files.h"
#include "base/Log.h"
#include "session/TakeNote.h"
#include "settings/Config.h"

#include <algorithm>
#include <set>
#include <string>

namespace fenlo {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t mostTakes = 10;
constexpr std::chrono::hours longest{7 * 24};
constexpr std::size_t movedNameLength = 2 * 36 + 1; // the note's id, a hyphen and the recording's

std::vector<fs::path> filesIn(const fs::path& folder) {
    std::vector<fs::path> found;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error))
        found.push_back(entry.path());
    return found;
}

bool holdsSomething(const Take& take) {
    const auto isThere = [](const fs::path& chunk) {
        std::error_code error;
        return fs::is_regular_file(fs::symlink_status(chunk, error));
    };
    return !take.texts.empty() || std::ranges::any_of(take.chunks, isThere);
}

/// The take without chunks whose files are gone.
Take stillThere(Take take) {
    std::erase_if(take.chunks, [](const fs::path& chunk) {
        std::error_code error;
        return !fs::is_regular_file(fs::symlink_status(chunk, error));
    });
    return take;
}

} // namespace

KeptTakes::KeptTakes(Config& config, fs::path folder, const Clock& clock)
    : m_config(config), m_folder(std::move(folder)), m_clock(clock) {}

fs::path KeptTakes::defaultFolder() {
    return keptTakesFolder();
}

std::unique_ptr<TakeNote> KeptTakes::begin() const {
    return std::make_unique<TakeNote>(m_folder, m_clock.wallTime());
}

bool KeptTakes::keep(TakeNote& note) const {
    const Take take = note.take();
    if (take.isCopy || !m_config.get().keepFailedTakes || !holdsSomething(take)) {
        note.discard();
        return false;
    }
    dropOld(mostTakes - 1); // leaves room for this one
    if (note.gather()) {
        logInfo("The take is kept in {}; try it again from the menu", m_folder.string());
        return true;
    }
    std::string files;
    for (const fs::path& chunk : take.chunks)
        files += " " + chunk.string();
    logError("the take cannot be kept in {}; its recording stays here:{}", m_folder.string(), files);
    return note.write(take);
}

bool KeptTakes::recover() const {
    bool foundAny = false;
    for (const auto& note : waiting()) {
        const Take take = stillThere(note->take());
        const bool isHere = !take.isolated && std::ranges::all_of(take.chunks, [this](const fs::path& chunk) {
            return chunk.parent_path() == m_folder;
        });
        if (isHere && holdsSomething(take))
            continue;
        note->write(take);
        foundAny |= keep(*note);
    }
    dropOld(mostTakes);
    removeStrays();
    removeAbandonedClips(m_clock.wallTime());
    return foundAny;
}

std::unique_ptr<TakeNote> KeptTakes::newest() const {
    for (auto& note : waiting())
        if (holdsSomething(note->take()))
            return std::move(note);
    return nullptr;
}

bool KeptTakes::isEmpty() const {
    std::lock_guard lock(m_opening);
    return std::ranges::none_of(openNotes(), [](const auto& note) { return holdsSomething(note->take()); });
}

std::vector<std::unique_ptr<TakeNote>> KeptTakes::waiting() const {
    std::lock_guard lock(m_opening);
    return openNotes();
}

std::vector<std::unique_ptr<TakeNote>> KeptTakes::openNotes() const {
    std::vector<std::unique_ptr<TakeNote>> notes;
    for (const fs::path& file : filesIn(m_folder))
        if (file.extension() == TakeNote::extension)
            if (auto note = TakeNote::open(file))
                notes.push_back(std::move(note));
    std::ranges::stable_sort(notes, std::greater<>(), [](const auto& note) { return note->recorded(); });
    return notes;
}

void KeptTakes::dropOld(std::size_t most) const {
    const auto oldest = m_clock.wallTime() - longest;
    std::size_t count = 0;
    for (const auto& note : waiting())
        if (++count > most || note->recorded() < oldest)
            note->discard();
}

/// Removes recordings that are named after a note but that no note lists: a crash interrupted their move.
void KeptTakes::removeStrays() const {
    std::set<std::string> known;
    for (const fs::path& file : filesIn(m_folder))
        if (file.extension() == TakeNote::extension)
            known.insert(file.stem().string());
    std::set<fs::path> named;
    for (const auto& note : waiting()) {
        const Take take = note->take();
        named.insert(take.chunks.begin(), take.chunks.end());
        known.erase(note->file().stem().string());
    }
    const auto isInUse = [&](const fs::path& file) {
        const std::string name = file.filename().string();
        return std::ranges::any_of(known, [&](const std::string& id) { return name.starts_with(id); });
    };
    for (const fs::path& file : filesIn(m_folder))
        if (file.stem().string().size() == movedNameLength && !named.contains(file) && !isInUse(file))
            files::removeQuietly(file);
}

} // namespace fenlo
