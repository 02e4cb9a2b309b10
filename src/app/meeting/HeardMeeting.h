#pragma once

#include "media/AudioDamage.h"
#include "meeting/Meeting.h"
#include "speech/Transcription.h"

#include <functional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo {

class Clock;
class SpeechStream;

/// What was heard in a recording of a meeting.
struct HeardMeeting {
    std::vector<TranscriptSegment> segments; // by index
    double duration = 0;                     // seconds that were listened to
    std::vector<double> missing;             // ends of chunks that nobody recognised, in seconds
    std::string fault;                       // why not; the first reason
    bool isWhole = false;                    // or a stop, or a recogniser that fails again and again, cut it short
};

/// How a recording is listened to.
struct Listening {
    using Recogniser = std::function<std::string(const TranscribeRequest&, std::stop_token)>;

    Clock& clock;
    MeetingMode mode = MeetingMode::meeting;
    Recogniser recognise;       // throws; called on several threads
    std::size_t sideBySide = 1; // chunks that are recognised at once
    /// How much was heard, and the words that came last.
    std::function<void(double fraction, const std::string& words)> onProgress = [](double, const std::string&) {};
    /// A fault that may pass by itself is waited for; on any thread.
    std::function<void(std::string_view fault)> onWait = [](std::string_view) {};
};

/// Walks over a recording as a meeting does: cuts it at pauses, gives each chunk a speaker, has it recognised and
/// strips what is no word. Chunks that nobody recognised are tried a second time at the end.
///
/// Errors: those of the stream, and std::runtime_error when a chunk cannot be written to the temporary folder. What the
///         recogniser throws is told by the result.
HeardMeeting hearMeeting(SpeechStream& recording, const Listening& listening, std::stop_token stop);

} // namespace fenlo
