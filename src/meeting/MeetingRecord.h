#pragma once

#include "meeting/Meeting.h"

namespace fenlo {

/// A meeting as its file tells it.
struct MeetingRecord {
    std::chrono::system_clock::time_point date; // of its start
    std::string subject;
    std::string elapsedFormatted;            // "75:00": minutes and seconds
    std::vector<TranscriptSegment> segments; // in any order; written by index
    std::map<int, std::string> speakerNames; // given by the user, by the speaker's id
    std::set<int> bookmarks;                 // indices of segments
    std::string userNotes;
    std::vector<std::string> unrecognised; // names of the sound that is kept of chunks whose words are missing
    MeetingTemplate kind = MeetingTemplate::general;
    MeetingMode mode = MeetingMode::meeting;
    std::optional<EnhancedMeetingNotes> notes;
};

/// The name that the user gave to the speaker, else the label.
const std::string& speakerDisplayName(const std::map<int, std::string>& names, const Speaker& speaker);

} // namespace fenlo
