#pragma once

#include "meeting/MeetingRecord.h"

#include <string_view>

/// The text of a meeting's file, which people read and the archive reads again.
///
/// What would make the reader lose words is written a little differently: a line feed within a subject, a name or a
/// segment becomes a blank, and a line of the user's notes that looks like one of the file's own headings begins with a
/// backslash, which Markdown does not show.
///
/// Threads: pure functions.
namespace fenlo {

enum class NotesSections {
    standard, // the five that every meeting's notes have
    all,      // also those that the model added or that the user asked for
};

/// Title, header, notes, the user's notes and the transcript.
std::string buildMarkdown(const MeetingRecord& record, NotesSections sections = NotesSections::standard);

/// What must come back exactly, in a comment that viewers hide; it ends the file.
std::string metadataBlock(const MeetingRecord& record);

} // namespace fenlo
