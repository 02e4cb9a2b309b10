#pragma once

#include "base/Guarded.h"
#include "base/LockedFile.h"
#include "meeting/HeldSound.h"
#include "meeting/KeptChunk.h"
#include "meeting/MeetingRecord.h"
#include "meeting/RunningJournal.h"

#include <filesystem>
#include <memory>
#include <span>

namespace fenlo {

class Background;
class StateFile;

/// What a meeting that is not in the archive yet has so far, in a folder of its own beside the archived files: when the
/// program is killed, only what was not yet cut is lost, and the next start takes the meeting up.
///
/// The folder has a journal of one JSON line for each event, which is only appended to; a line that was torn at its
/// end is passed over. `state.json` has what the user can change, and a WAV file each chunk without words. The journal
/// is locked while this object lives, so that another process leaves the meeting alone.
///
/// Threads: any; no lock is held while a file is written. keepChunk() and keepHeld() write samples, one at a time, and
///          complete() deletes files: call these on a worker. The others append a short line, and noteState() writes on
///          a worker of its own, so the main thread may call them.
/// Errors:  none are thrown. What cannot be written is told by the result and by trouble(), and the meeting goes on.
/// Lifetime: the folder stays until complete().
class RunningMeeting {
public:
    /// Makes the folder; where that fails, keepChunk() tries again. The background must live as long as its tasks.
    RunningMeeting(std::filesystem::path archive, const MeetingRecord& record, Background& background);
    ~RunningMeeting();
    RunningMeeting(const RunningMeeting&) = delete;
    RunningMeeting& operator=(const RunningMeeting&) = delete;

    /// The meetings that earlier runs of the program left behind in the archive's folder, oldest first. Those in use
    /// are left out, and folders without any words, sound or notes are removed.
    static std::vector<std::unique_ptr<RunningMeeting>> findUnfinished(const std::filesystem::path& archive,
                                                                       Background& background);

    struct Kept {
        std::vector<KeptChunk> chunks = {}; // that have a file now: this one, and those that waited in memory
        bool isLost = false;                // there was no room for it, not even in memory
    };
    /// Writes the samples as a file, at 16 kHz: in the folder, or in the temporary folder when it cannot be written
    /// there. When both fail they wait in memory.
    Kept keepChunk(const KeptChunk& chunk, std::vector<float> samples);
    /// Tries again to write what waits in memory. The chunks that have a file now.
    std::vector<KeptChunk> keepHeld();
    /// The number of chunks that wait in memory.
    std::size_t heldChunks() const { return m_held.count(); }

    /// The chunk's words are known, or it has none; its file goes. False when that could not be written down: the file
    /// stays then, so that a next start would ask again.
    bool finishChunk(const TranscriptSegment& segment);
    bool finishChunk(int number);
    /// Its words are missing, and its sound is kept elsewhere under this name.
    bool loseChunk(int number, const std::string& keptAs);
    /// Its file stays for another try.
    void failChunk(int number);
    /// The chunks without words in the order of their numbers, those under way included.
    std::vector<KeptChunk> waiting() const;

    /// All but the segments, and not the notes of the language model. Only the latest counts when they come fast.
    void noteState(const MeetingRecord& record);
    /// The meeting has its file in the archive, which late segments are still to join. A next start writes it again
    /// instead of another.
    bool noteSaved(const std::string& id, const std::string& elapsedFormatted);
    std::optional<std::string> savedAs() const;
    /// The file has all that is known by now, and a next start need not write it again: the user may have edited it.
    void noteFiled();
    /// Whether it had when the meeting was found.
    bool isFiled() const;

    void noteNotes(runningJournal::Notes event);
    struct NotesState {
        bool areDue = false;
        int asked = 0; // how often, by this process and earlier ones
    };
    NotesState notes() const;

    /// The meeting as far as it is known here. One that was never stopped lasts until its last cut.
    MeetingRecord record() const;

    /// Why the latest write failed, to follow "cannot be kept: "; empty when all is well.
    std::string trouble() const;

    /// Everything is in the archive: the folder goes. False when it is still there.
    bool complete();

    /// Of the folder, also where it could not be made.
    std::string name() const;
    /// Empty while it could not be made.
    std::filesystem::path folder() const;

private:
    struct Place {
        std::filesystem::path folder;
        LockedFile journal;
        std::shared_ptr<StateFile> state;
    };
    struct Contents {
        MeetingRecord record;
        std::map<int, KeptChunk> chunks; // without words, by number
        std::optional<std::string> savedAs;
        bool isFiled = false;
        NotesState notes;
        std::string unwritten; // lines of the journal that the disk had no room for
        std::string trouble;
        bool isComplete = false;
    };

    RunningMeeting(std::filesystem::path folder, LockedFile journal, Background& background);

    std::shared_ptr<const Place> place() const;
    std::shared_ptr<const Place> placeOrNew();
    std::string linesSoFar() const;
    std::optional<KeptChunk> write(const KeptChunk& chunk, std::span<const float> samples);
    bool finish(int number, const std::string& line);
    bool append(const std::string& line);
    void setTrouble(std::string reason);

    const std::filesystem::path m_archive;
    Background& m_background;
    Guarded<std::shared_ptr<const Place>> m_place; // null without a folder
    Guarded<Contents> m_contents;
    HeldSound m_held;
};

} // namespace fenlo
