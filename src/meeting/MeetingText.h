#pragma once

#include "meeting/Meeting.h"

#include <optional>
#include <string>
#include <string_view>

/// What becomes of the words of a meeting.
///
/// Threads: any.
namespace fenlo {

struct MeetingRecord;

/// What counts as a filler.
enum class Fillers {
    asPrefixes, // also the beginning of a longer word: "umbrella" becomes "brella", and what follows may stick to a
                // word
    wholeWords,
};

/// Takes away "uh", "um", "you know" and their like, and blanks that are too many.
std::string stripFillers(std::string_view text, Fillers fillers = Fillers::asPrefixes);

/// Whether the text is nothing, or one of the short phrases that recognisers invent in silence. In a meeting a real
/// "yes" is rarer than an invented one, so it counts too.
bool isLowValue(std::string_view text);

/// What a meeting, live or recorded, keeps of a chunk whose text is as it was recognised: all but fillers. Nothing when
/// that is of low value. Told in the log.
std::optional<TranscriptSegment> withKeptWords(TranscriptSegment chunk);

/// Subject and segments in the order of their indices, a paragraph each: "[2:05] Ann: Good morning."
std::string transcriptText(const MeetingRecord& record);

} // namespace fenlo
