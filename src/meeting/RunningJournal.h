#pragma once

#include "meeting/MeetingRecord.h"

#include <string_view>

/// The lines of a running meeting's journal and the text of its state, as JSON.
///
/// Threads: pure functions.
/// Errors:  none. What does not parse is passed over; numbers that no meeting has are dropped.
namespace fenlo::runningJournal {

std::string chunkLine(int number, double timestamp, int speaker);
std::string segmentLine(const TranscriptSegment& segment);
std::string withoutWordsLine(int number);
std::string failedLine(int number);
/// Its words are missing; its sound is kept under this name.
std::string lostLine(int number, const std::string& keptAs);
/// What has happened to the notes of the meeting.
enum class Notes {
    due,     // to be made, by the next start where this one ends before
    asked,   // a language model was asked for them
    settled, // made, or given up
};
std::string notesLine(Notes event);
/// The archive's file has everything up to here.
std::string filedLine();
std::string savedLine(const std::string& id, const std::string& elapsedFormatted);

struct Chunk {
    double timestamp = 0;
    int speaker = 0;
    int failures = 0;
    bool isFinished = false;
};

/// What a journal tells. A chunk is told of once more when it is finished.
struct Events {
    std::map<int, Chunk> chunks; // by number
    std::vector<TranscriptSegment> segments;
    std::optional<std::string> savedAs;
    std::string elapsedFormatted;          // when it was saved
    std::vector<std::string> unrecognised; // names of sound whose words are missing
    bool isFiled = false;                  // and no words have come since
    bool areNotesDue = false;
    bool areNotesSettled = false;
    int notesAsked = 0; // how often
};
Events eventsIn(std::string_view journal);

/// All of a record but its segments and notes.
std::string stateOf(const MeetingRecord& record);
/// Leaves what the text does not tell as it is.
void readState(std::string_view state, MeetingRecord& record);

} // namespace fenlo::runningJournal
