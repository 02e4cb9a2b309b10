#pragma once

#include <string>

/// What a language model's answer is worth. Pure functions; any input ends in valid UTF-8.
namespace fenlo {

/// The answer without a label before it, without the model's reasoning, and without quotes around it.
std::string cleanResponse(const std::string& answer);

/// Whether a cleaned answer is the model's refusal to work on the text rather than the text.
bool isRefusal(const std::string& answer, const std::string& rawText);

} // namespace fenlo
