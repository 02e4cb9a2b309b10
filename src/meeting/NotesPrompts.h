#pragma once

#include "meeting/Meeting.h"
#include "text/LanguageModelCalls.h"

#include <optional>
#include <string>
#include <string_view>

/// What a language model is asked about a meeting. The transcript goes along whole.
///
/// Threads: any; pure.
namespace fenlo {

/// What the notes of such a meeting are to stress.
std::string_view templateInstruction(MeetingTemplate kind);

/// The notes of a meeting that has just ended. `profession` is a key of the professions.
ModelPrompt notesPrompt(const std::string& transcript, const std::string& userNotes, MeetingTemplate kind,
                        const std::string& profession);

/// The notes of a meeting of the archive, from its whole file.
ModelPrompt pastNotesPrompt(const std::string& content, std::optional<MeetingTemplate> kind,
                            const std::string& profession);

/// The notes changed as the user says.
ModelPrompt refinePrompt(const EnhancedMeetingNotes& notes, const std::string& instruction,
                         const std::string& transcript);

ModelPrompt basicSummaryPrompt(const std::string& transcript);

} // namespace fenlo
