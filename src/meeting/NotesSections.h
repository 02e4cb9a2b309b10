#pragma once

#include "meeting/Meeting.h"

#include <string>
#include <vector>

namespace fenlo {

/// A part of a meeting's notes as a screen shows it.
struct NotesSection {
    std::string heading;
    std::string text; // of the summary; the others have items
    std::vector<std::string> items;
    bool isToDo = false;

    bool operator==(const NotesSection&) const = default;
};

/// The sections that have content, in the order in which people read them.
std::vector<NotesSection> notesSections(const EnhancedMeetingNotes& notes);

} // namespace fenlo
