#include "meeting/MeetingMarkdown.h"

#include "base/Dates.h"
#include "base/Text.h"
#include "meeting/ArchivedNotes.h"
#include "meeting/MeetingLines.h"
#include "shell/ElapsedText.h"

#include <algorithm>

namespace fenlo {

namespace {

using meetingLines::oneLine;

std::string nameIn(const MeetingRecord& record, const Speaker& speaker) {
    return oneLine(speakerDisplayName(record.speakerNames, speaker));
}

std::string titleOf(const MeetingRecord& record) {
    if (record.notes && !record.notes->title.empty())
        return oneLine(record.notes->title);
    return record.subject.empty() ? "Meeting Notes" : oneLine(record.subject);
}

/// One segment of each speaker, in the order of their first.
std::vector<const TranscriptSegment*> firstOfEachSpeaker(const MeetingRecord& record) {
    std::vector<const TranscriptSegment*> first;
    for (const TranscriptSegment& segment : record.segments)
        if (std::ranges::none_of(first, [&](const auto* known) { return known->speaker.id == segment.speaker.id; }))
            first.push_back(&segment);
    return first;
}

std::string header(const MeetingRecord& record) {
    constexpr std::string_view lineEnd = "  \n"; // two blanks keep the lines apart in Markdown
    std::string text = "**Date:** " + dates::mediumText(record.date);
    text.append(lineEnd).append("**Duration:** ").append(record.elapsedFormatted).append(lineEnd);
    std::vector<std::string> attendees;
    for (const TranscriptSegment* segment : firstOfEachSpeaker(record))
        attendees.push_back(nameIn(record, segment->speaker));
    if (!attendees.empty())
        text.append("**Attendees:** ").append(text::join(attendees, ", ")).append(lineEnd);
    if (record.kind != MeetingTemplate::general)
        text.append("**Template:** ").append(displayName(record.kind)).append(lineEnd);
    return text;
}

std::string transcriptOf(const MeetingRecord& record) {
    std::vector<const TranscriptSegment*> sorted;
    for (const TranscriptSegment& segment : record.segments)
        sorted.push_back(&segment);
    std::ranges::stable_sort(sorted, {}, &TranscriptSegment::index);
    std::string text = std::string(meetingLines::transcript) + "\n\n";
    for (const TranscriptSegment* segment : sorted) {
        text.append(meetingLines::segmentStart).append(elapsedText(segment->timestamp));
        text += "] " + nameIn(record, segment->speaker) + ":**";
        if (record.bookmarks.contains(segment->index))
            text += meetingLines::bookmarkMark;
        text += " " + oneLine(segment->text) + "\n\n";
    }
    return text;
}

std::string namesIn(const MeetingRecord& record) {
    std::vector<std::string> entries;
    for (const auto& [id, name] : record.speakerNames)
        entries.push_back("Speaker " + std::to_string(id + 1) + "=" + oneLine(name));
    return text::join(entries, "|");
}

std::string bookmarksIn(const MeetingRecord& record) {
    std::vector<std::string> indices;
    for (const int index : record.bookmarks)
        indices.push_back(std::to_string(index));
    return text::join(indices, ",");
}

} // namespace

std::string buildMarkdown(const MeetingRecord& record, NotesSections sections) {
    std::string text = "# " + titleOf(record) + "\n\n" + header(record) + "\n";
    if (record.notes)
        text += notesAsSections(*record.notes, sections);
    if (const std::string notes = text::trimWhitespaceAndNewlines(record.userNotes); !notes.empty())
        text += std::string(meetingLines::myNotes) + "\n\n" + sheltered(notes) + "\n\n";
    return text + transcriptOf(record);
}

std::string metadataBlock(const MeetingRecord& record) {
    std::string text = "\n\n" + std::string(meetingLines::metadataStart) + "\n";
    const auto add = [&](std::string_view key, std::string_view value) {
        text.append(key).append(": ").append(value).append("\n");
    };
    add("subject", oneLine(record.subject));
    add("duration", record.elapsedFormatted);
    add("segments", std::to_string(record.segments.size()));
    add("speakers", std::to_string(firstOfEachSpeaker(record).size()));
    add("template", rawValue(record.kind));
    add("mode", rawValue(record.mode));
    if (!record.speakerNames.empty())
        add("speakerNames", namesIn(record));
    if (!record.bookmarks.empty())
        add("bookmarks", bookmarksIn(record));
    if (const std::string notes = text::trimWhitespaceAndNewlines(record.userNotes); !notes.empty())
        add("userNotes", text::replaceAll(notes, "\n", "\\n"));
    if (!record.unrecognised.empty())
        add("unrecognised", text::join(record.unrecognised, ","));
    return text.append(meetingLines::metadataEnd).append("\n");
}

} // namespace fenlo
