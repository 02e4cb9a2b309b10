#pragma once

#include "meeting/Meeting.h"

#include <string>

/// What is said of meetings in more than one place.
namespace fenlo {

/// "12 segments", "1 speaker".
std::string counted(std::size_t count, const std::string& noun);

/// The subject; where there is none the title of the notes, or a word for it.
std::string meetingTitle(const PastMeeting& meeting);

/// "Nov 15, 2026, 9:30 AM · 75:00", as far as they are known.
std::string meetingTime(const PastMeeting& meeting);

/// "Full Transcript (12 segments)".
std::string fullTranscriptTitle(std::size_t segments);

} // namespace fenlo
