// Notes out of a language model's answer: any bytes give notes with whole items, and what is written of them for the
// next prompt and for a mail stays within its bounds.

#include "base/Url.h"
#include "fuzz/Require.h"
#include "meeting/MeetingMail.h"
#include "meeting/MeetingNotes.h"
#include "platform/MailProgram.h"

#include <cstdint>

using namespace fenlo;

namespace {

void requireLine(const std::string& line) {
    require(line.find('\n') == std::string::npos);
}

void requireItems(const std::vector<std::string>& items) {
    for (const std::string& item : items)
        requireLine(item);
}

void checkNotes(const EnhancedMeetingNotes& notes) {
    requireLine(notes.title);
    requireLine(notes.summary);
    require(notes.attendees.empty());
    for (const auto* items : {&notes.keyDecisions, &notes.actionItems, &notes.discussionPoints, &notes.followUps})
        requireItems(*items);
    for (const auto& section : notes.additionalSections) {
        requireLine(section.heading);
        require(!section.items.empty());
        requireItems(section.items);
    }
}

void checkMail(const EnhancedMeetingNotes& notes, const std::string& answer) {
    const std::string encoded = url::percentEncode(
        readableMail(composeMail(NotesMail{notes, "", answer, {}, "1:00", answer, {}}), "meeting_1.md").text, "");
    require(encoded.size() <= maxMailText);
    const MeetingMail transcript = composeMail(TranscriptMail{answer, notes.title, {}}, parseBasicSummary(answer), {});
    require(transcript.transcript.size() <= answer.size());
    require(readableMail(transcript, "").text.size() <= maxMailText);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string answer(reinterpret_cast<const char*>(data), size);
    const EnhancedMeetingNotes notes = parseNotes(answer, "subject");
    checkNotes(notes);
    checkNotes(parseNotes(notesAsText(notes), notes.title));
    checkNotes(parseNotes(withoutMarkdown(answer), ""));
    checkMail(notes, answer);
    return 0;
}
