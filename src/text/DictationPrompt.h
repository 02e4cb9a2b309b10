#pragma once

#include "settings/Config.h"
#include "text/FocusContext.h"

#include <string>

/// The two strings that a language model gets for a dictation. They make it format the text instead of answering it.
/// Pure functions.
namespace fenlo {

/// Whether the output mode asks for another language or script than the spoken one.
bool isTranslating(const Settings& settings);

/// The prompt that the output mode asks for. `language` is a code, or "auto" for the language that was spoken.
std::string systemPrompt(const Settings& settings, const FocusContext& context, const std::string& language);

std::string dictationPrompt(const Settings& settings, const FocusContext& context, const std::string& language);
std::string translationPrompt(const FocusContext& context);
std::string transliterationPrompt(const FocusContext& context);

std::string languageRule(const std::string& language);

/// The dictated text with its surroundings.
std::string userMessage(const Settings& settings, const std::string& text, const FocusContext& context);

/// The name of the application in a prompt.
std::string promptedName(const FocusContext& context);

} // namespace fenlo
