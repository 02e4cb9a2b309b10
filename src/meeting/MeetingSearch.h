#pragma once

#include "meeting/Meeting.h"

#include <optional>
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

} // namespace fenlo
