#include "meeting/MeetingLines.h"

#include <algorithm>

namespace fenlo::meetingLines {

std::vector<std::string_view> split(std::string_view text) {
    std::vector<std::string_view> lines;
    forEachLine(text, [&](std::string_view line) { lines.push_back(line); });
    return lines;
}

std::string oneLine(std::string text) {
    std::ranges::replace(text, '\n', ' ');
    return text;
}

bool beginsNotes(std::string_view line) {
    return std::ranges::any_of(headings, [&](std::string_view heading) { return line.starts_with(heading); });
}

bool endsNotes(std::string_view line) {
    return line.starts_with(transcript) || line.starts_with(myNotes) || line.starts_with(metadataStart);
}

} // namespace fenlo::meetingLines
