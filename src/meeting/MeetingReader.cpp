#include "meeting/MeetingReader.h"

#include "base/Dates.h"
#include "base/Files.h"
#include "base/Text.h"
#include "meeting/ArchivedNotes.h"
#include "meeting/MeetingLines.h"

#include <algorithm>
#include <charconv>
#include <simdjson.h>

namespace fenlo {

namespace {

using namespace meetingLines;

constexpr std::string_view namePrefix = "meeting_";
constexpr std::string_view markdownExtension = ".md";
constexpr std::string_view legacyExtension = ".txt";

/// What follows the key, when the line begins with it.
std::optional<std::string_view> valueOf(std::string_view line, std::string_view key) {
    return line.starts_with(key) ? std::optional(line.substr(key.size())) : std::nullopt;
}

/// 0 for what is no count.
int countIn(std::string_view digits) {
    int count = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), count);
    return error == std::errc() && end == digits.data() + digits.size() ? std::max(count, 0) : 0;
}

std::string removed(std::string_view line, std::string_view mark) {
    return line.find(mark) == std::string_view::npos ? std::string(line) : text::replaceAll(line, mark, "");
}

/// Gives each label its number, in the order of their first appearance.
class SegmentReader {
public:
    /// Nothing for a line without a segment; it has no id yet.
    std::optional<PastMeetingSegment> segmentIn(std::string_view line) {
        if (!line.starts_with(segmentStart) && !line.starts_with('['))
            return {};
        const std::string_view plain = plainOf(line);
        const std::size_t close = plain.find(']');
        if (close == std::string_view::npos)
            return {};
        std::optional<PastMeetingSegment> segment(std::in_place);
        segment->timestamp = plain.substr(1, close - 1);
        const std::string_view rest = trimmed(plain.substr(close + 1));
        const std::size_t separator = rest.find(": ");
        if (separator == std::string_view::npos) {
            segment->speakerLabel = "Speaker 1";
            segment->text = rest;
            return segment;
        }
        segment->speakerLabel = rest.substr(0, separator);
        segment->speakerIndex = m_indices.try_emplace(segment->speakerLabel, m_indices.size()).first->second;
        segment->text = rest.substr(separator + 2);
        return segment;
    }

private:
    /// Without what makes it bold and without the mark of a bookmark; valid until the next call.
    std::string_view plainOf(std::string_view line) {
        if (line.starts_with(segmentStart)) {
            line.remove_prefix(2);
            if (const std::size_t end = line.find(":**"); end != std::string_view::npos) {
                m_plain.assign(line.substr(0, end + 1)).append(line.substr(end + 3));
                line = m_plain;
            }
        }
        return line.find(bookmarkMark) == std::string_view::npos ? line : m_plain = removed(line, bookmarkMark);
    }

    std::map<std::string, int, std::less<>> m_indices;
    std::string m_plain;
};

/// Ids that differ, numbered from one random id: a system call for each of a hundred thousand segments takes too long.
class NumberedIds {
public:
    std::string next() {
        std::string id = m_first;
        unsigned number = m_count++;
        for (std::size_t at = id.size(); number != 0 && at-- > 0; number /= 16)
            id[at] = "0123456789ABCDEF"[number % 16];
        return id;
    }

private:
    const std::string m_first = files::makeUuid().substr(0, 28) + "00000000";
    unsigned m_count = 0;
};

/// Of a file with a heading for it, the transcript is what follows: what the user typed above may look like a segment.
std::string_view transcriptIn(std::string_view content) {
    for (std::size_t begin = 0; begin < content.size();) {
        const std::size_t end = std::min(content.find('\n', begin), content.size());
        if (trimmed(content.substr(begin, end - begin)) == transcript)
            return content.substr(end);
        begin = end + 1;
    }
    return content;
}

std::vector<PastMeetingSegment> segmentsIn(std::string_view content) {
    std::vector<PastMeetingSegment> segments;
    SegmentReader reader;
    NumberedIds ids;
    forEachLine(content, [&](std::string_view line) {
        if (auto segment = reader.segmentIn(trimmed(line))) {
            segment->id = ids.next();
            segments.push_back(std::move(*segment));
        }
    });
    return segments;
}

/// The lines between the marks. At the end of the file they stand on lines of their own; the same words in a subject or
/// in notes do not count there.
std::string_view metadataIn(std::string_view content) {
    const std::string_view ended = content.substr(0, content.find_last_not_of(" \t\r\n") + 1);
    const std::string startLine = "\n" + std::string(metadataStart) + "\n";
    if (const std::size_t start = ended.rfind(startLine); ended.ends_with(metadataEnd) && start != std::string::npos) {
        const std::size_t begin = start + startLine.size();
        return ended.substr(begin, std::max(ended.size() - metadataEnd.size(), begin) - begin);
    }
    const std::size_t start = content.find(metadataStart);
    if (start == std::string_view::npos)
        return {};
    const std::size_t begin = start + metadataStart.size();
    const std::size_t end = content.find(metadataEnd, begin);
    return end == std::string_view::npos ? std::string_view() : content.substr(begin, end - begin);
}

void readNames(std::string_view value, PastMeeting& meeting) {
    for (const std::string& entry : text::split(value, '|'))
        if (const auto pieces = text::split(entry, '='); pieces.size() == 2)
            meeting.speakerNames[pieces[0]] = pieces[1];
}

void readBookmarks(std::string_view value, PastMeeting& meeting) {
    for (std::string& bookmark : text::split(value, ','))
        meeting.bookmarkedTimestamps.insert(std::move(bookmark));
}

void readMetadataLine(std::string_view line, PastMeeting& meeting) {
    if (const auto subject = valueOf(line, "subject: "))
        meeting.subject = *subject;
    else if (const auto duration = valueOf(line, "duration: "))
        meeting.duration = *duration;
    else if (const auto segments = valueOf(line, "segments: "))
        meeting.segmentCount = countIn(*segments);
    else if (const auto speakers = valueOf(line, "speakers: "))
        meeting.speakerCount = countIn(*speakers);
    else if (const auto kind = valueOf(line, "template: "))
        meeting.kind = meetingTemplateOf(*kind);
    else if (const auto mode = valueOf(line, "mode: "))
        meeting.mode = meetingModeOf(*mode);
    else if (const auto names = valueOf(line, "speakerNames: "))
        readNames(*names, meeting);
    else if (const auto bookmarks = valueOf(line, "bookmarks: "))
        readBookmarks(*bookmarks, meeting);
    else if (const auto notes = valueOf(line, "userNotes: "))
        meeting.userNotes = text::replaceAll(*notes, "\\n", "\n");
}

void readMarkdown(std::string_view content, PastMeeting& meeting) {
    meeting.kind = MeetingTemplate::general;
    meeting.mode = MeetingMode::meeting;
    if (const std::string_view metadata = metadataIn(content); !metadata.empty()) {
        forEachLine(metadata, [&](std::string_view line) { readMetadataLine(trimmed(line), meeting); });
        return;
    }
    const auto lines = split(content);
    const auto title = std::ranges::find_if(lines, [](std::string_view line) { return line.starts_with("# "); });
    if (title != lines.end())
        meeting.subject = title->substr(2);
}

/// "Duration: 12:05 | Segments: 40 | Speakers: 2"
void readFigures(std::string_view line, PastMeeting& meeting) {
    const std::vector<std::string> parts = text::split(line, '|');
    meeting.duration = removed(trimmed(parts.front()), "Duration: ");
    for (const std::string& part : parts)
        if (const auto segments = valueOf(trimmed(part), "Segments: "))
            meeting.segmentCount = countIn(*segments);
        else if (const auto speakers = valueOf(trimmed(part), "Speakers: "))
            meeting.speakerCount = countIn(*speakers);
}

void readLegacy(std::string_view content, PastMeeting& meeting) {
    const auto lines = split(content);
    const auto firstWith = [&](std::string_view key) {
        return std::ranges::find_if(lines, [&](std::string_view line) { return line.starts_with(key); });
    };
    constexpr std::string_view subjectKey = "Subject: ";
    if (const auto subject = firstWith(subjectKey); subject != lines.end())
        meeting.subject = subject->substr(subjectKey.size());
    if (const auto figures = firstWith("Duration:"); figures != lines.end())
        readFigures(*figures, meeting);
}

std::optional<std::chrono::system_clock::time_point> dateIn(std::string_view name) {
    if (!name.starts_with(namePrefix))
        return {};
    name.remove_prefix(namePrefix.size());
    return dates::parseLocalStamp(name.substr(0, name.rfind('.')));
}

} // namespace

bool isMeetingFile(std::string_view name) {
    return name.ends_with(markdownExtension) || name.ends_with(legacyExtension);
}

std::string meetingFileName(std::chrono::system_clock::time_point start) {
    return std::string(namePrefix) + dates::localStamp(start) + std::string(markdownExtension);
}

PastMeeting parsePastMeeting(std::string_view name, std::string content) {
    return withSegments(parseHead(name, std::move(content)));
}

PastMeeting withSegments(PastMeeting head) {
    head.segments = segmentsIn(head.isMarkdown ? transcriptIn(head.content) : head.content);
    return head;
}

std::vector<std::string> unrecognisedIn(std::string_view content) {
    std::vector<std::string> names;
    forEachLine(metadataIn(content), [&](std::string_view line) {
        if (const auto value = valueOf(trimmed(line), "unrecognised: "))
            names = text::split(*value, ',');
    });
    return names;
}

PastMeeting parseHead(std::string_view name, std::string content) {
    PastMeeting meeting;
    meeting.id = name;
    meeting.date = dateIn(name);
    meeting.content = simdjson::validate_utf8(content) ? std::move(content) : text::repairUtf8(content);
    meeting.isMarkdown = name.ends_with(markdownExtension);
    if (meeting.isMarkdown)
        readMarkdown(meeting.content, meeting);
    else
        readLegacy(meeting.content, meeting);
    meeting.enhancedNotes = notesInSections(meeting.content);
    return meeting;
}

} // namespace fenlo
