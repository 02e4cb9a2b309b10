// Files of meetings. Any file can be read, and an update of its notes keeps its transcript. And whatever was said and
// typed in a meeting comes back from the file that is written of it; there the input is a list of texts.

#include "base/Text.h"
#include "fuzz/Require.h"
#include "meeting/ArchivedNotes.h"
#include "meeting/MeetingReader.h"

#include <algorithm>
#include <cstdint>

using namespace fenlo;

namespace {

constexpr char separator = '\x01'; // of the texts
constexpr const char* name = "meeting_2026-11-15_09-30-05.md";

std::vector<std::string> textsOf(const PastMeeting& meeting) {
    std::vector<std::string> texts;
    for (const PastMeetingSegment& segment : meeting.segments)
        texts.push_back(segment.text);
    return texts;
}

void checkStrings(const PastMeeting& meeting) {
    for (const std::string* text : {&meeting.subject, &meeting.duration, &meeting.content, &meeting.userNotes})
        requireUtf8(*text);
    for (const PastMeetingSegment& segment : meeting.segments) {
        requireUtf8(segment.text);
        requireUtf8(segment.speakerLabel);
        require(segment.text.find('\n') == std::string::npos && segment.speakerIndex >= 0);
    }
    require(meeting.segmentCount >= 0 && meeting.speakerCount >= 0);
}

EnhancedMeetingNotes someNotes() {
    EnhancedMeetingNotes notes;
    notes.summary = "They met.";
    notes.actionItems = {"write"};
    notes.additionalSections = {{"Transcript", {"no"}}};
    return notes;
}

void checkFile(const std::string& content) {
    checkStrings(parsePastMeeting("a.txt", content));
    const PastMeeting read = parsePastMeeting(name, content);
    checkStrings(read);
    const std::string updated = withNotes(content, someNotes());
    require(withNotes(updated, someNotes()) == updated);
    const auto lines = text::split(read.content, '\n');
    if (std::ranges::find(lines, "## Transcript") != lines.end())
        require(textsOf(parsePastMeeting(name, updated)) == textsOf(read));
}

/// What is left of spoken words and a name when everything goes that the file's form is made of.
std::string essence(std::string text) {
    for (const char* mark : {"\u2B50", "\n", "*", ":", " ", "\t"})
        text = text::replaceAll(text, mark, "");
    return text;
}

MeetingRecord recordOf(const std::vector<std::string>& texts) {
    const auto textAt = [&](std::size_t i) { return i < texts.size() ? text::repairUtf8(texts[i]) : std::string(); };
    MeetingRecord record;
    record.subject = textAt(0);
    record.userNotes = textAt(1);
    record.speakerNames[0] = textAt(2);
    record.mode = MeetingMode::transcription;
    for (std::size_t i = 3; i < texts.size(); ++i)
        record.segments.push_back(
            {"", static_cast<int>(i), 60.0 * static_cast<double>(i), textAt(i), speakerAt(static_cast<int>(i % 2))});
    return record;
}

void checkWords(const MeetingRecord& record, const PastMeeting& read) {
    require(read.mode == record.mode && read.segmentCount == static_cast<int>(record.segments.size()));
    const std::string typed = text::trimWhitespaceAndNewlines(record.userNotes);
    require(essence(read.userNotes) == essence(text::replaceAll(typed, "\\n", "\n")));
    require(essence(read.subject) == essence(record.subject));
    require(read.segments.size() == record.segments.size());
    for (std::size_t i = 0; i < read.segments.size(); ++i) {
        const TranscriptSegment& said = record.segments[i];
        const std::string all = essence(speakerDisplayName(record.speakerNames, said.speaker) + said.text);
        const std::string text = essence(read.segments[i].text);
        require(text == all || essence(read.segments[i].speakerLabel) + text == all);
    }
}

void checkRoundTrip(const std::vector<std::string>& texts) {
    const MeetingRecord record = recordOf(texts);
    std::string content = buildMarkdown(record) + metadataBlock(record);
    checkWords(record, parsePastMeeting(name, content));
    EnhancedMeetingNotes notes = someNotes();
    if (texts.size() > 3) { // what a language model wrote of it
        notes.summary = text::trimWhitespaceAndNewlines(text::replaceAll(text::repairUtf8(texts[3]), "\n", " "));
        notes.followUps = {"x" + notes.summary};
    }
    content = withNotes(content, notes);
    const PastMeeting updated = parsePastMeeting(name, content);
    checkWords(record, updated);
    require(updated.enhancedNotes && updated.enhancedNotes->summary == notes.summary);
    require(updated.enhancedNotes->followUps == notes.followUps);
    require(updated.enhancedNotes->additionalSections == notes.additionalSections);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string content(reinterpret_cast<const char*>(data), size);
    checkFile(content);
    checkRoundTrip(text::split(content, separator));
    return 0;
}
