#pragma once

#include <optional>
#include <string>

/// Corrections of the last dictation by voice ("no I meant Paris"). Pure functions.
namespace fenlo {

/// A correction counts when it comes less than so many seconds after a paste.
inline constexpr double voiceCorrectionWindow = 5.0;

/// The correction that a transcript asks for; nothing when it asks for none.
std::optional<std::string> matchCorrection(const std::string& rawText);

/// The last text after the correction, which replaces one word near the end and keeps its punctuation. A correction of
/// four words or more replaces the whole text; one that fits no word is appended.
std::string applyCorrection(const std::string& lastText, const std::string& correction);

} // namespace fenlo
