#pragma once

#include <string_view>

/// How texts adapt to the application in front, which is recognised by parts of its id. Dictations, commands and voice
/// commands have tables of their own, which differ on purpose.
///
/// Threads: any; pure.
namespace fenlo {

/// How a dictation should sound there.
std::string_view dictationTone(std::string_view appBundleId);

/// How the result of an AI command should sound there.
std::string_view commandTone(std::string_view appBundleId);

/// Whether the prompt of a dictation asks for a command line.
bool isPromptedAsDeveloperTool(std::string_view appBundleId);

/// Whether voice commands leave the capitalisation alone there.
bool keepsCaseOfVoiceCommands(std::string_view appBundleId);

} // namespace fenlo
