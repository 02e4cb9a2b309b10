#pragma once

#include <string_view>

/// What the text intelligence makes of the application in front, by substrings of its id. The tables differ on purpose
/// and are kept apart: a dictation, a command and the voice commands ask different things.
///
/// Threads: any; pure.
namespace fenlo {

/// How a dictation should sound there.
std::string_view dictationTone(std::string_view appBundleId);

/// How the result of an AI command should sound there.
std::string_view commandTone(std::string_view appBundleId);

/// Whether a dictation is prompted for as a command line.
bool isPromptedAsDeveloperTool(std::string_view appBundleId);

/// Whether voice commands leave the capitalisation alone there.
bool keepsCaseOfVoiceCommands(std::string_view appBundleId);

} // namespace fenlo
