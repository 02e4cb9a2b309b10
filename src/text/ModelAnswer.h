#pragma once

#include <string>

/// Cleans and judges the answers of language models. Pure functions; the results are valid UTF-8.
namespace fenlo {

/// The answer without a label before it, without the model's reasoning, and without quotes around it.
std::string cleanResponse(const std::string& answer);

/// Whether a cleaned answer is a refusal of the model instead of the text.
bool isRefusal(const std::string& answer, const std::string& rawText);

} // namespace fenlo
