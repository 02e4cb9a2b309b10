#pragma once

#include "base/Dates.h"
#include "meeting/Meeting.h"
#include "meeting/MeetingNotes.h"

#include <filesystem>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The mails about a meeting: what they hold, as the service renders it and as a mail program shows it.
///
/// Threads: any; pure.
namespace fenlo {

/// A mail about a meeting, whichever way it goes.
struct MeetingMail {
    struct List {
        std::string key;     // of the service's message: "key_decisions"
        std::string heading; // for people
        std::vector<std::string> items;
    };

    struct Notes {
        std::string title;
        std::optional<std::string> summary;
        std::vector<List> lists;
        std::optional<std::vector<EnhancedMeetingNotes::Section>> additionalSections;
    };

    std::string email; // the user's own address; empty when it is not known
    std::string subject;
    Notes notes;
    std::string meetingDate; // "Nov 15, 2026, 9:30 AM"
    std::string duration;    // "75:00": minutes and seconds
    std::string userNotes;   // empty for none
    std::string transcript;  // empty for none
    std::vector<std::string> additionalRecipients;
};

/// The structured notes.
struct NotesMail {
    EnhancedMeetingNotes notes;
    std::string title; // empty for that of the notes
    std::string userNotes;
    dates::Moment date;
    std::string duration;
    std::string transcript;
    std::vector<std::string> additionalRecipients;
    std::filesystem::path file = {}; // the saved meeting; empty for none
};

/// The transcript of a meeting, or the file of a past one, with a fresh basic summary.
struct TranscriptMail {
    std::string transcript;
    std::string subject; // of the meeting
    std::vector<std::string> additionalRecipients;
    std::optional<dates::Moment> startTime = {}; // of the meeting, for the duration until now
    std::optional<dates::Moment> date = {};      // of a past meeting, or it is now
    std::string duration = {};                   // of a past meeting
    std::filesystem::path file = {};             // as above
};

/// What was said in the transcription mode.
struct TranscriptionMail {
    std::string subject;
    std::string transcript; // a line for each segment
    std::size_t segmentCount = 0;
    std::size_t speakerCount = 0;
    dates::Moment date;
    std::string duration;
    std::vector<std::string> additionalRecipients;
    std::filesystem::path file = {}; // as above
};

/// To these the sender's address and the clean list of recipients are still to be added.
MeetingMail composeMail(const NotesMail& mail);
MeetingMail composeMail(const TranscriptMail& mail, const std::optional<BasicSummary>& summary, dates::Moment now);
MeetingMail composeMail(const TranscriptionMail& mail);

/// The transcript without the title, header and data of its file, and without empty lines.
std::string cleanTranscript(std::string_view transcript);

/// The body of the request that has the service send it.
nlohmann::ordered_json requestBody(const MeetingMail& mail);

/// The text that a mail program is given.
struct ReadableMail {
    std::string text;
    bool isWhole = true; // or the transcript was cut, as a line at the end says
};

/// The notes whole, or the transcript where there are no notes, as far as mail programs take it. `file` is the name of
/// the saved meeting; empty for none.
ReadableMail readableMail(const MeetingMail& mail, const std::string& file);

} // namespace fenlo
