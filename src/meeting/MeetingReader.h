#pragma once

#include "meeting/Meeting.h"

#include <string_view>

namespace fenlo {

/// Whether a file of this name belongs to a meeting: it ends in ".md", or in ".txt" like those of earlier versions.
bool isMeetingFile(std::string_view name);

/// The name of the file of a meeting that starts then: "meeting_2026-11-15_09-30-05.md", in local time.
std::string meetingFileName(std::chrono::system_clock::time_point start);

/// The meeting in a file. Never fails: what cannot be understood is left at its default, and `content` has it all. The
/// display date is left empty; formatting it is a matter of whole lists.
///
/// Threads: pure.
PastMeeting parsePastMeeting(std::string_view name, std::string content);
/// The same without the segments, which take most of the time.
PastMeeting parseHead(std::string_view name, std::string content);
/// With the segments that its content has.
PastMeeting withSegments(PastMeeting head);

/// The names of the sound that is kept of parts of the meeting that nobody could recognise.
std::vector<std::string> unrecognisedIn(std::string_view content);

} // namespace fenlo
