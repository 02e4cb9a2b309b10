#pragma once

#include "meeting/MeetingMarkdown.h"

/// The notes of a meeting as sections of its Markdown file.
///
/// Threads: pure functions.
namespace fenlo {

std::string notesAsSections(const EnhancedMeetingNotes& notes, NotesSections sections);

/// Nothing when the file has no notes.
std::optional<EnhancedMeetingNotes> notesInSections(std::string_view content);

/// The file's text with these notes in place of those it has, and everything else as it was.
std::string withNotes(std::string_view content, const EnhancedMeetingNotes& notes);

/// The user's notes as the file shows them: a line that looks like a heading of the file gets a backslash.
std::string sheltered(std::string_view typed);

} // namespace fenlo
