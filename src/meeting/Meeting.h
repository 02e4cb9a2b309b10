#pragma once

#include "meeting/Speaker.h"

#include <array>
#include <chrono>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

/// What a meeting is made of, while it runs and in the archive.
namespace fenlo {

enum class MeetingMode {
    meeting,       // longer chunks, a speaker for each
    transcription, // short chunks for nearly live text, one speaker
};
inline constexpr std::array meetingModes{MeetingMode::meeting, MeetingMode::transcription};

/// What kind of meeting it is, which tells the language model what its notes are to stress.
enum class MeetingTemplate { general, oneOnOne, standup, sprintPlanning, salesCall, interview };
inline constexpr std::array meetingTemplates{MeetingTemplate::general,   MeetingTemplate::oneOnOne,
                                             MeetingTemplate::standup,   MeetingTemplate::sprintPlanning,
                                             MeetingTemplate::salesCall, MeetingTemplate::interview};

/// The word that the archive keeps: "transcription", "oneOnOne".
std::string_view rawValue(MeetingMode mode);
std::string_view rawValue(MeetingTemplate kind);
std::optional<MeetingMode> meetingModeOf(std::string_view rawValue);
std::optional<MeetingTemplate> meetingTemplateOf(std::string_view rawValue);
/// What people read: "1:1", "Sprint Planning".
std::string_view displayName(MeetingTemplate kind);

/// One chunk of a meeting with its text.
struct TranscriptSegment {
    std::string id;       // a fresh UUID
    int index = 0;        // of the chunk, from 0, in the order of cutting
    double timestamp = 0; // seconds from the start of the meeting to the end of the chunk
    std::string text;
    Speaker speaker;
};

/// What a language model made of a meeting.
struct EnhancedMeetingNotes {
    struct Section {
        std::string heading;
        std::vector<std::string> items;
        bool operator==(const Section&) const = default;
    };

    std::string title;
    std::vector<std::string> attendees; // empty as the models are asked; their guesses at names mislead
    std::string summary;                // one paragraph
    std::vector<std::string> keyDecisions;
    std::vector<std::string> actionItems;
    std::vector<std::string> discussionPoints;
    std::vector<std::string> followUps;
    std::vector<Section> additionalSections; // what the model added by itself or was asked for

    bool operator==(const EnhancedMeetingNotes&) const = default;
};

/// How many people these segments are by.
std::size_t speakersOf(const std::vector<TranscriptSegment>& segments);

struct PastMeetingSegment {
    std::string id;        // a fresh UUID at each load
    std::string timestamp; // "2:05"
    std::string speakerLabel;
    int speakerIndex = 0; // in the order in which the labels appear in the file
    std::string text;
};

/// A meeting of the archive.
struct PastMeeting {
    std::string id;                                            // its file's name
    std::optional<std::chrono::system_clock::time_point> date; // by its file's name; nothing when that tells none
    std::string displayDate;                                   // "Nov 15, 2026, 9:30 AM"
    std::string subject;
    std::string duration; // "75:00": minutes and seconds
    int segmentCount = 0;
    int speakerCount = 0;
    std::vector<PastMeetingSegment> segments;
    std::string content; // the whole file
    std::optional<EnhancedMeetingNotes> enhancedNotes;
    std::string userNotes;
    std::map<std::string, std::string> speakerNames; // by label
    std::set<std::string> bookmarkedTimestamps;      // what the file lists as its bookmarks: indices of segments
    std::optional<MeetingTemplate> kind;
    std::optional<MeetingMode> mode;
    bool isMarkdown = true;
};

} // namespace fenlo
