#pragma once

#include "base/Lifetime.h"
#include "base/MainQueue.h"
#include "meeting/ChunkQueue.h"
#include "meeting/MeetingArchive.h"
#include "meeting/RunningMeeting.h"
#include "speech/Transcription.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>

namespace fenlo {

class Background;
class Clock;
struct MeetingCut;
class OrderedWork;

/// A meeting from its first chunk until its file is complete. Chunks become sound files in its folder, segments, and at
/// last lines of the file; what the user left for the next session, or an earlier process left behind, is brought to
/// its end in the same way.
///
/// Threads: main thread; what takes time is done on workers, one step after the other.
/// Errors:  none; see trouble() and lostChunks().
/// Lifetime: what was not brought to its end when it dies stays in its folder for the next start.
class MeetingRun {
public:
    /// All references outlive the run.
    struct Services {
        Clock& clock;
        MainQueue& mainQueue;
        Background& background;
        OrderedWork& work;
        ChunkQueue& queue;
        MeetingArchive& archive;
        std::function<std::string(const TranscribeRequest&, std::stop_token)> transcribe; // throws
    };
    /// What it tells the model. None may destroy the run.
    struct Listener {
        std::function<void(const TranscriptSegment&)> onSegment = [](const auto&) {};
        std::function<void()> onChange = [] {}; // of the counts of chunks, trouble(), isSettled()
        std::function<void()> onFiled = [] {};  // the archive has changed
    };

    /// Begins a meeting. `record` has no segments yet.
    MeetingRun(Services services, Listener listener, MeetingRecord record);
    /// Takes up a meeting that was left behind.
    MeetingRun(Services services, Listener listener, std::unique_ptr<RunningMeeting> folder);
    ~MeetingRun();
    MeetingRun(const MeetingRun&) = delete;
    MeetingRun& operator=(const MeetingRun&) = delete;

    /// The chunk gets the next number. Only swaps and posts.
    void cut(MeetingCut sound);
    /// What the user named, marked or typed; the segments of `record` are not looked at.
    void noteState(MeetingRecord record);
    /// The notes of the language model, for what is written from now on.
    void noteNotes(const EnhancedMeetingNotes& notes);
    /// Writes the file with the segments so far; blocks. Nothing happens without segments.
    void save();
    /// No more chunks come. The file is completed when their words have come, or when that takes too long.
    void stop();
    /// The user deleted it: nothing more is written.
    void discard();

    /// What happens to the notes of a language model. While they are due the folder stays, so that the next start makes
    /// them where this one does not come to it.
    void noteNotes(runningJournal::Notes event);
    RunningMeeting::NotesState notes() const;

    const MeetingRecord& record() const { return m_record; }
    /// Its file in the archive.
    const std::optional<std::string>& id() const { return m_id; }
    int pendingChunks() const { return m_beingPrepared + static_cast<int>(m_waiting.size()); }
    /// Those that are tried again much later, or at the next start.
    int postponedChunks() const { return static_cast<int>(m_left.size()); }
    /// Those that are not tried again.
    int lostChunks() const { return m_lost; }
    /// Whether it was stopped and no more words come.
    bool isSettled() const { return m_isStopped && pendingChunks() == 0; }
    /// Whether nothing is left to do for it.
    bool isDone() const;
    /// What hampers it, one line; empty when all is well.
    std::string trouble() const;

private:
    struct Hearing; // what its workers share

    struct Prepared; // what a worker made of cuts

    void prepared(Prepared done);
    void keepHeld();
    void enqueue(KeptChunk chunk, ChunkQueue::Urgency urgency);
    void heard(int number, ChunkQueue::Attempt attempt);
    void lose(int number);
    void noteChange();
    void beginPatience();
    void losePatience();
    void takeUpLeft();
    void settle();
    void file();
    struct Filing; // how that went
    void filed(Filing filing, bool wasSettled);

    Services m_services;
    Listener m_listener;
    MeetingRecord m_record;
    std::shared_ptr<Hearing> m_hearing;
    int m_nextNumber = 0;
    int m_beingPrepared = 0;
    std::map<int, KeptChunk> m_waiting; // without words
    std::map<int, KeptChunk> m_left;    // for a better hour, or for the next start
    int m_lost = 0;
    bool m_isStopped = false;
    bool m_isDiscarded = false;
    bool m_isDone = false;
    bool m_hasFolder = true;
    bool m_hasChanged = false; // since the file was written
    bool m_isFiling = false;
    std::optional<std::string> m_id;
    std::string m_fault;
    Timer m_patience;
    Timer m_nextKeeping;
    Timer m_nextFiling;
    Timer m_nextLook;
    Lifetime m_lifetime;
};

} // namespace fenlo
