#include "meeting/MeetingLines.h"

#include <algorithm>

namespace fenlo::meetingLines {

std::vector<std::string_view> split(std::string_view text) {
    std::vector<std::string_view> lines;
    for (std::size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
        lines.push_back(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    lines.push_back(text);
    return lines;
}

std::string_view trimmed(std::string_view line) {
    constexpr std::string_view blanks = " \t";
    line.remove_prefix(std::min(line.find_first_not_of(blanks), line.size()));
    return line.substr(0, line.find_last_not_of(blanks) + 1);
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
