#pragma once

#include "settings/Config.h"
#include "text/VoiceCommandResult.h"

#include <string>

/// Words in a dictation that mean something else: an editing action, punctuation, a heading of the user's profession.
/// Pure functions; any input ends in valid UTF-8.
namespace fenlo {

/// `bundleId` is that of the application in front; the settings give the profession and the wish for capitals.
VoiceCommandResult processVoiceCommands(const std::string& text, const std::string& bundleId, const Settings& settings);

/// The text with a capital at the start of each sentence and line.
std::string capitalizeSentences(const std::string& text);

} // namespace fenlo
