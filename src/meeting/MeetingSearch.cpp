#include "meeting/MeetingSearch.h"

#include "base/Text.h"
#include "meeting/MeetingLines.h"

#include <algorithm>
#include <array>

namespace fenlo {

namespace {

constexpr std::size_t longestSnippet = 100; // characters, like the next
constexpr std::size_t around = 40;          // of a long line, before and after what was found

/// Lines that are not words of the meeting.
constexpr std::array<std::string_view, 5> headings{"#", "**Date:", "**Duration:", "<!--", "FENLO_META"};

bool isHeading(std::string_view line) {
    return std::ranges::any_of(headings, [line](std::string_view heading) { return line.starts_with(heading); });
}

bool containsLowered(std::string_view text, std::string_view searchText) {
    return text::lower(text).find(searchText) != std::string::npos;
}

/// Line by line, since most lines are ASCII, which is fast. Nobody can type a line feed into a search.
bool anyLineHolds(std::string_view content, std::string_view searchText) {
    for (std::size_t begin = 0; begin < content.size();) {
        const std::size_t end = std::min(content.find('\n', begin), content.size());
        if (containsLowered(content.substr(begin, end - begin), searchText))
            return true;
        begin = end + 1;
    }
    return false;
}

/// Around the first occurrence. Lower case may be longer or shorter than the letter itself, so places are counted in
/// characters.
std::string cutAround(std::string_view line, std::string_view searchText) {
    const std::vector<std::string_view> characters = text::characters(line);
    std::string lowered;
    std::vector<std::size_t> ends; // in `lowered`, of each character
    for (const std::string_view character : characters) {
        lowered += text::lower(character);
        ends.push_back(lowered.size());
    }
    const auto characterAt = [&ends](std::size_t place) {
        return static_cast<std::size_t>(std::ranges::upper_bound(ends, place) - ends.begin());
    };
    const std::size_t found = std::min(lowered.find(searchText), lowered.size());
    const std::size_t begin = characterAt(found);
    const std::size_t end = std::min(characterAt(found + searchText.size() - 1) + 1, characters.size());
    std::string snippet = "...";
    for (std::size_t i = begin - std::min(begin, around); i < std::min(end + around, characters.size()); ++i)
        snippet += characters[i];
    return snippet + "...";
}

} // namespace

std::string meetingSearchText(std::string_view query) {
    return text::lower(text::trimWhitespaceAndNewlines(query));
}

bool holds(const PastMeeting& meeting, std::string_view searchText) {
    if (containsLowered(meeting.subject, searchText) || anyLineHolds(meeting.content, searchText) ||
        containsLowered(meeting.userNotes, searchText))
        return true;
    return meeting.enhancedNotes && (containsLowered(meeting.enhancedNotes->title, searchText) ||
                                     containsLowered(meeting.enhancedNotes->summary, searchText));
}

FoundMeetings findMeetings(std::shared_ptr<const std::vector<PastMeeting>> list, std::string_view searchText,
                           const std::stop_token& stop) {
    FoundMeetings found{.list = std::move(list), .places = {}, .snippets = {}};
    for (std::size_t place = 0; place < found.list->size() && !stop.stop_requested(); ++place) {
        const PastMeeting& meeting = (*found.list)[place];
        if (!holds(meeting, searchText))
            continue;
        found.places.push_back(place);
        if (auto snippet = snippetOf(meeting, searchText))
            found.snippets[meeting.id] = std::move(*snippet);
    }
    return found;
}

std::optional<std::string> snippetOf(const PastMeeting& meeting, std::string_view searchText) {
    if (searchText.empty())
        return std::nullopt;
    const std::string_view content = meeting.content;
    for (std::size_t begin = 0; begin <= content.size();) {
        const std::size_t end = std::min(content.find('\n', begin), content.size());
        const std::string_view line = meetingLines::trimmed(content.substr(begin, end - begin));
        begin = end + 1;
        if (line.empty() || isHeading(line) || !containsLowered(line, searchText))
            continue;
        return text::characterCount(line) <= longestSnippet ? std::string(line) : cutAround(line, searchText);
    }
    return std::nullopt;
}

} // namespace fenlo
