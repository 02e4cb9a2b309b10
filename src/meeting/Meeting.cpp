#include "meeting/Meeting.h"

namespace fenlo {

namespace {

struct TemplateRow {
    MeetingTemplate kind;
    std::string_view rawValue, displayName;
};

constexpr std::array<TemplateRow, 6> templateRows{{
    {MeetingTemplate::general, "general", "General"},
    {MeetingTemplate::oneOnOne, "oneOnOne", "1:1"},
    {MeetingTemplate::standup, "standup", "Standup"},
    {MeetingTemplate::sprintPlanning, "sprintPlanning", "Sprint Planning"},
    {MeetingTemplate::salesCall, "salesCall", "Sales Call"},
    {MeetingTemplate::interview, "interview", "Interview"},
}};

const TemplateRow& rowOf(MeetingTemplate kind) {
    return templateRows[static_cast<std::size_t>(kind)];
}

} // namespace

std::size_t speakersOf(const std::vector<TranscriptSegment>& segments) {
    std::set<int> speakers;
    for (const TranscriptSegment& segment : segments)
        speakers.insert(segment.speaker.id);
    return speakers.size();
}

std::string_view rawValue(MeetingMode mode) {
    return mode == MeetingMode::meeting ? "meeting" : "transcription";
}

std::string_view rawValue(MeetingTemplate kind) {
    return rowOf(kind).rawValue;
}

std::string_view displayName(MeetingTemplate kind) {
    return rowOf(kind).displayName;
}

std::optional<MeetingMode> meetingModeOf(std::string_view value) {
    for (const MeetingMode mode : meetingModes)
        if (rawValue(mode) == value)
            return mode;
    return std::nullopt;
}

std::optional<MeetingTemplate> meetingTemplateOf(std::string_view value) {
    for (const MeetingTemplate kind : meetingTemplates)
        if (rawValue(kind) == value)
            return kind;
    return std::nullopt;
}

} // namespace fenlo
