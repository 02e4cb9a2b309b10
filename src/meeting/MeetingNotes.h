#pragma once

#include "meeting/Meeting.h"

#include <string>
#include <string_view>
#include <vector>

/// Notes of a meeting as a language model writes and reads them: plain text with headings in capital letters.
///
/// Threads: any; pure.
namespace fenlo {

/// Reads a model's answer. Never fails: an answer without any known heading gives notes that are empty but for the
/// title. `subject` is the title where the model wrote none.
EnhancedMeetingNotes parseNotes(std::string_view answer, const std::string& subject);

/// The answer of a model that wrote Markdown all the same, in the form that parseNotes() reads: "## Key decisions" and
/// "**Key Decisions:**" are headings, "* " and "• " begin items.
std::string withoutMarkdown(std::string_view answer);

/// Whether there is nothing in them but a title.
bool isEmpty(const EnhancedMeetingNotes& notes);

/// The notes in the form that parseNotes() reads.
std::string notesAsText(const EnhancedMeetingNotes& notes);

/// A short account of a transcript, for the mail that carries it.
struct BasicSummary {
    std::string summary; // one paragraph
    std::vector<std::string> takeaways;
    std::vector<std::string> actionItems;
    bool operator==(const BasicSummary&) const = default;
};

/// Reads a model's answer. Never fails.
BasicSummary parseBasicSummary(std::string_view answer);

} // namespace fenlo
