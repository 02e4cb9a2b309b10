#include "meeting/MeetingWords.h"

#include "base/Text.h"

namespace fenlo {

std::string counted(std::size_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string meetingTitle(const PastMeeting& meeting) {
    if (!meeting.subject.empty())
        return meeting.subject;
    if (meeting.enhancedNotes && !meeting.enhancedNotes->title.empty())
        return meeting.enhancedNotes->title;
    return meeting.mode == MeetingMode::transcription ? "Transcription" : "Meeting";
}

std::string meetingTime(const PastMeeting& meeting) {
    std::vector<std::string> parts{meeting.displayDate, meeting.duration};
    std::erase(parts, "");
    return text::join(parts, " · ");
}

std::string fullTranscriptTitle(std::size_t segments) {
    return "Full Transcript (" + counted(segments, "segment") + ")";
}

} // namespace fenlo
