#pragma once

#include "meeting/Meeting.h"

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>

/// The search in the archive.
///
/// Threads: pure.
namespace fenlo {

/// What is searched for, as the other functions take it: in lower case, without whitespace at its ends.
std::string meetingSearchText(std::string_view query);

/// Whether subject, file or notes hold the text.
bool holds(const PastMeeting& meeting, std::string_view searchText);

/// The first line of the meeting's words that holds the text: some 40 characters before and after it of a long one.
/// Nothing without such a line or without a text.
std::optional<std::string> snippetOf(const PastMeeting& meeting, std::string_view searchText);

/// What a search has found in a list of meetings.
struct FoundMeetings {
    std::shared_ptr<const std::vector<PastMeeting>> list;
    std::vector<std::size_t> places;             // in the list, in its order
    std::map<std::string, std::string> snippets; // by the meeting's id, where there is one
};

/// Goes through all meetings, which takes tens of milliseconds where there are hundreds; a stop ends it early.
FoundMeetings findMeetings(std::shared_ptr<const std::vector<PastMeeting>> list, std::string_view searchText,
                           const std::stop_token& stop);

} // namespace fenlo
