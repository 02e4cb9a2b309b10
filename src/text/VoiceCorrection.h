#pragma once

#include <optional>
#include <string>

/// Corrections of the last dictation by voice ("no I meant Paris"). Pure functions.
namespace fenlo {

/// Seconds after a paste within which a correction is understood; exclusive.
inline constexpr double voiceCorrectionWindow = 5.0;

/// The correction that a transcript asks for, or nothing when it is none.
std::optional<std::string> matchCorrection(const std::string& rawText);

/// The last text with the correction worked in: it takes the place of one word near the end, keeping that word's
/// punctuation; of the whole text when it has four words or more; or is appended when no word qualifies.
std::string applyCorrection(const std::string& lastText, const std::string& correction);

} // namespace fenlo
